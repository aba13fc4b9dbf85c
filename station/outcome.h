// The outcome of a command, and the table of exit codes and outcome words.
#pragma once

#include <span>
#include <string>

#include "station/commands.h"
#include "station/link.h"

namespace station {

// Scripts depend on these numbers. Do not renumber them.
enum ExitCode : int {
    kExitDone = 0,
    kExitFailed = 1,  // the unit failed or refused
    kExitUsage = 2,
    kExitNoAnswer = 3,
    kExitOtherStation = 4,  // bound to another station
    kExitAccount = 5,       // wrong account or digest
    kExitNotUnderstood = 6,
    kExitLocalFault = 7,
    kExitInterrupted = 128,  // and the number of the signal
};

struct ExitCodeRow {
    int code;
    const char* word;  // PASS, FAIL, ERROR, TIMEOUT or ABORTED
    const char* meaning;
};

// Returns the rows in the order of their codes.
std::span<const ExitCodeRow> exits();

// Returns the outcome word of an exit code.
const char* outcomeWord(int code);

struct Outcome {
    int code;             // an ExitCode
    std::string message;  // what went wrong, empty when done
};

// Returns the outcome of a command that was sent over the link.
Outcome outcomeOf(const Command& command, const Request& request, const Answer& answer,
                  const Link& link);

// The unit's mode, if it is known.
enum class Mode : uint8_t { Unknown, Produce, Other };

// Returns the causes that a refusal with info 3 can have in this mode.
std::string refusalText(const Command& command, Mode mode);

// Returns "deadline of 1.0 s reached".
std::string deadlineText(const Link& link);

// Returns the outcome of a command that a signal ended.
Outcome interrupted(const std::string& what);

// Returns the meaning of a reply's info code.
const char* infoMeaning(uint8_t info);

}  // namespace station
