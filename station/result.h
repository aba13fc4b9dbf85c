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

inline constexpr int kSchema = 1;  // raised when a field changes its name or meaning

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
    bool showSecrets = false;
};

// Opens the --output-file, which it empties, if the options name one. Called late, so that a
// mistake in the words leaves the file of earlier results alone. Returns what went wrong, or an
// empty text.
std::string openOutput(const Options& options, Output* output);

// Prints the result as one JSON object or as text, at once. For a single
// command, error messages go to standard error.
void print(const Result& result, Layout layout, Output* output);

// Returns false when anything could not be written.
bool isWritten(const Output& output);

// Words with a blank between them.
std::string joined(const Words& words);

}  // namespace station
