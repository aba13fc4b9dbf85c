// The commands, one row each. Dispatch, help, list, completion, manual and sheet all use these
// rows.
#pragma once

#include <span>
#include <string>

#include "station/message.h"
#include "station/options.h"
#include "station/values.h"

namespace station {

// Builds the request's payload from the arguments in the order of the row's forms. Type and
// sub-type are already set from the row. Returns an error message, or an empty text.
using ArgumentBuilder = std::string (*)(const Words& words, Request* request);

// The effect of a command on the unit, mildest first.
enum class Access : uint8_t {
    Read,   // may be sent again when the answer is lost
    Poll,   // is sent until there is an answer
    Test,   // takes long; is sent once, because the unit would run a second one too
    Write,  // is sent once, because a second one can do harm or be refused
    Flash,  // like Write, and changes a partition
    Erase,  // like Write, and empties a partition
};

enum class Gate : uint8_t {
    Open,
    ProduceMode,  // the unit refuses it outside produce mode, with the same info as for a failure
};

// The type of a row whose type and sub-type come from the arguments. Any reply to it is shown.
inline constexpr uint8_t kTypeFromWords = 0;

// A value that means "no reading" or "not set".
struct Nothing {
    const char* text;  // this text; with * at its end, any that begins so; "": empty
    const char* meaning;
};

struct Output;

struct Command {
    const char* name;  // words with one space between them
    uint8_t type;
    uint8_t subType;  // of an encrypted command the inner one
    Access access;
    Gate gate;
    const char* help;
    const char* arguments = "";       // their forms, as help shows them (see arguments.h)
    const char* payload = "";         // with a % in the place of each argument
    const char* example = "";         // arguments that are possible
    ArgumentBuilder build = nullptr;  // null: the payload is the text
    ReplyFormat format = nullptr;     // null: the reply carries no value
    Nothing nothing = {nullptr, ""};  // text null: every value says something
    size_t leastReply = 0;            // payload bytes; a shorter reply is not understood
    const char* unit = "";            // unit of measure
    bool isOnSheet = false;           // only for reads without arguments
    bool once = false;                // the unit does it once per run of its daemon
    bool isSecret = false;            // its arguments are shown only with --show-secrets
    const char* refusal = "";         // what info 3 says in produce mode, if not that a tool failed
    const char* readBack = nullptr;   // the command that shows what became of one without a reply
    const char* group = "";           // in its first row: begins a group of help
    // Carries out a command of the client itself, and returns the exit code. Null: one of the unit.
    int (*run)(const Options& options, Output* output) = nullptr;
    double toolSeconds = 0;  // what the unit may wait for its tools, in addition to --timeout
};

// Returns true if the value is one that the command's row lists as nothing.
bool isNothing(const Command& command, const Value& value);

inline bool isRepeatable(const Command& command) { return command.access <= Access::Poll; }

// Returns "read", "poll", ...
const char* accessName(Access access);

// Returns the row of a name that is in the table.
const Command& commandNamed(std::string_view name);

// Returns what the request does to the unit, also for a raw packet.
Access accessOf(const Request& request);

std::span<const Command> commands();

// Returns true if the payload of this request is shown only with --show-secrets.
bool isSecret(uint8_t type, uint8_t subType);

// Returns a command's arguments with the secret ones hidden: the PIN, also in hexadecimal after
// `raw`, and a password. `command` is null if the words do not name one.
Words withoutSecrets(const Command* command, Words arguments);

// Returns the name in lower case with a dash between its words: the same for "get mac", "get-mac"
// and "Get MAC".
std::string plainName(std::string name);

// Finds the row whose name the words begin with, and the longest name if there are several. Case
// and the dash in place of a space do not matter. Stores the words after the name in *rest. Returns
// null if there is no such row.
const Command* findCommand(const Words& words, Words* rest);

// Returns the message for words that are not a command, with the nearest names.
std::string unknownCommand(const Words& words);

// Fills the request of a command from its words and options. Returns what is wrong with them, or an
// empty text.
std::string buildCommand(const Command& command, const Words& words,
                         const std::vector<NamedValue>& named, Request* request);

}  // namespace station
