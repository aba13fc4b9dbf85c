// What came of a command: its value or the reason why there is none, and the exit code.
#pragma once

#include <string>

#include "station/commands.h"
#include "station/link.h"

namespace station {

// Scripts on the line branch on these numbers: never renumber them.
enum ExitCode : int {
    kExitDone = 0,
    kExitFailed = 1,  // the unit failed or refused
    kExitUsage = 2,
    kExitNoAnswer = 3,
    kExitOtherStation = 4,  // bound to another station
    kExitAccount = 5,       // wrong account or digest
    kExitNotUnderstood = 6,
    kExitLocalFault = 7,
};

struct Outcome {
    ExitCode code;
    std::string text;  // when done the value, empty if the command has none; else what went wrong
};

// `unit` is what messages call the unit.
Outcome outcomeOf(const Command& command, const Request& request, const Answer& answer,
                  const std::string& unit);

}  // namespace station
