// The result of one command and the two ways to print it.
#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "commands/json_handle.h"
#include "core/file.h"
#include "station/json_values.h"
#include "station/outcome.h"

namespace station {

inline constexpr int kSchema = 2;  // raised when a field changes its name or meaning

struct Result {
    std::string command;
    Words arguments;
    std::string unit;  // empty: none was asked
    Outcome outcome = {kExitDone, ""};
    std::optional<uint8_t> info;  // of a reply that has one
    Value value = {};
    std::optional<Bytes> raw;  // the reply's plain payload
    std::chrono::system_clock::time_point start = std::chrono::system_clock::now();
    double seconds = 0;
    unsigned tries = 0;
    const char* word = nullptr;  // the outcome in place of the exit code's word: DRYRUN, SKIPPED
    std::string measure;         // the value's unit of measure, empty if there is none
    NamedValues limits;          // that the value has to keep
    std::optional<uint16_t> packetId;  // of the last packet sent
    int line = 0;                      // of the recipe, 0 outside of one
    bool isSecret = false;             // value, raw reply and limits are shown with --show-secrets
    const Command* row = nullptr;      // the command's, for its secret arguments
};

enum class Layout : uint8_t {
    Single,  // the value
    Row,     // name and value in a table
};

// Where results go, and how.
struct Output {
    Format format;
    bool quiet;
    File owned = {};      // an --output-file
    FILE* file = stdout;  // where results go: there until that is open
    int nameWidth = 0;    // columns of a row's name
    const Options* options = nullptr;
    std::string prefix = {};     // before each row
    int lock = -1;               // file to lock while a record is written
    bool reachesErrors = false;  // the file and standard error are one, as on a terminal
};

// Replaces {KEY} in the name of the --output-file by the label, and {time} by the time in UTC.
// Returns an error message, or an empty text.
std::string fillOutputName(Options* options);

// Opens the --output-file if there is one, and empties it unless --append is given. Called after
// the command line was checked, so that a mistake does not empty the file of earlier results.
// Returns an error message, or an empty text.
std::string openOutput(const Options& options, Output* output);

// Prints the result as one JSON object or as text, and flushes the output. If the command did not
// pass, also prints the message on standard error, unless the rows of a batch already appear there.
// Returns the exit code of the result.
int print(const Result& result, Output* output, Layout layout = Layout::Single);

// A record with the members that all records of a call have. More members can be added.
struct JsonRecord {
    JsonRecord(const char* kind, const std::string& unit, const Output& output);
    void add(const char* name, json_object* value) const {
        json_object_object_add(object.get(), name, value);
    }
    Json object{json_object_new_object()};
};

// Prints the record on one line and flushes the output.
void print(const JsonRecord& record, const Output& output);

// Returns the time in ISO 8601 in UTC, to the millisecond.
std::string timeText(std::chrono::system_clock::time_point time);

// Returns a JSON string, or null for an empty text.
json_object* stringOrNull(const std::string& text);

// Writes the buffered record. It stays in one piece even if other processes write to the same
// output.
void flush(const Output& output);

// Returns false when anything could not be written.
bool isWritten(const Output& output);

// Returns the words with a blank between them.
std::string joined(const Words& words);

}  // namespace station
