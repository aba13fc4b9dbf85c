// The commands of the protocol, one row each. Dispatch, help, list and sheet all read the rows.
#pragma once

#include <span>
#include <string>

#include "station/message.h"
#include "station/options.h"
#include "station/values.h"

namespace station {

// Turns the words behind the command's name into the request's payload; type and sub-type are the
// row's when it is called. Returns what is wrong with the words, or an empty text.
using ArgumentBuilder = std::string (*)(const Words& words, Request* request);

enum class Access : uint8_t {
    Read,   // may be sent again when the answer is lost
    Write,  // is sent once: a second one could do harm, or be refused for what the first has done
};

enum class Gate : uint8_t {
    Open,
    ProduceMode,  // the unit refuses outside produce mode, and in no other words than it fails
};

enum class Sheet : uint8_t { No, Yes };

// In a row's type: type and sub-type come from the words, and any reply is shown as it is.
inline constexpr uint8_t kTypeFromWords = 0;

struct Command {
    const char* name;  // words with one space between them
    uint8_t type;
    uint8_t subType;  // of an encrypted command the inner one
    Access access;
    Gate gate;
    Sheet sheet;            // only for reads without arguments
    const char* arguments;  // as help shows them, empty when there are none
    ArgumentBuilder build;
    Decoder decode;  // null: the reply carries no value
    const char* help;
    double unitSeconds = 0;  // what the unit may wait for its tools, given to it above --timeout
};

std::span<const Command> commands();

// Finds the row whose name the words begin with, the longest if there are several, and leaves the
// words behind the name in *rest. Returns null when there is none.
const Command* findCommand(const Words& words, Words* rest);

// Fills the request of a command. The options that the row's arguments name must be there, no
// others; their values reach the row's builder as words behind the others, in the row's order.
// Returns what is wrong with the words, or an empty text.
std::string buildCommand(const Command& command, Words words, const std::vector<NamedValue>& named,
                         Request* request);

}  // namespace station
