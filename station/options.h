// The command line: options anywhere, the command words in between.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "core/packet.h"

namespace station {

using Words = std::vector<std::string>;

// An option that belongs to single commands.
struct NamedValue {
    std::string name;
    std::string value;
};

using NamedValues = std::vector<NamedValue>;

enum class Format : uint8_t { Text, Json };

struct Options {
    std::string host = "192.168.1.1";
    unsigned port = kServicePort;
    std::string bindAddress;    // empty: any
    std::string interface;      // empty: any
    unsigned localPort = 1041;  // 0: chosen by the kernel
    std::optional<std::string> user;
    std::optional<std::string> password;
    bool passwordTyped = false;
    std::string accountFile;
    double timeout = 3;  // seconds for each try
    unsigned retries = 2;
    double deadline = 0;  // seconds for the whole call, 0: none
    double heartbeat = 20;
    bool yes = false;
    bool keepGoing = false;
    bool release = false;
    bool dryRun = false;
    std::optional<unsigned> packetId;  // of the first packet; none: any
    Format format = Format::Text;
    bool quiet = false;
    std::string outputFile;  // empty: standard output
    bool append = false;
    std::string station;    // empty: the name of this machine
    NamedValues labels;     // of the records
    NamedValues variables;  // of the recipe
    std::string units;      // file or list of hosts, empty: host alone
    unsigned verbosity = 0;
    bool showSecrets = false;
    bool help = false;
    bool version = false;
    NamedValues named;
    Words words;
    std::span<char*> commandLine;  // is read again for each of --units
};

// Reads the command line into *options, which holds the defaults before. Returns what is wrong, or
// an empty text.
std::string parseOptions(int argc, char** argv, Options* options);

// Reads the words of one line of a batch in place of the command line's, whose options hold for it.
// Only options that concern a single command are allowed there.
std::string parseLine(Words line, Options* options);

// Sets an option that exists, given by its long name. Returns what is wrong with the argument, or
// an empty text.
std::string setOption(const std::string& name, const std::string& argument, Options* options);

// Where an option is allowed, and which commands it belongs to.
enum class Place : uint8_t {
    CommandLine,
    Run,             // the command line of `run` only
    AlsoInBatch,     // the command line, and each line of a recipe
    ValueCommands,   // commands that return a value, here and below also in a recipe
    NamingCommands,  // commands whose arguments name it
};

struct OptionRow {
    const char* name;  // long, without its dashes
    char letter;       // 0: long only
    Place place;
    const char* argument;  // its form; empty: none
    // Takes the argument. Returns what is wrong with it, or an empty text. Null: the value goes to
    // the command.
    std::string (*set)(const std::string& argument, Options* options);
    const char* help;
};
std::span<const OptionRow> optionRows();

// Returns "-o, --output".
std::string optionName(const OptionRow& row);

// Returns the words of a text.
Words splitAtBlanks(const std::string& text);

// Returns "; did you mean 'A', 'B'?" with the names that begin or end with the typed text, or else
// with the nearest names. Empty if no name is near.
std::string suggestion(const std::string& typed, const Words& names, char quote);

// Reads a time of at least that many milliseconds and at most 86400 seconds. Returns an error
// message, or an empty text.
std::string parseSeconds(const std::string& text, unsigned leastMilliseconds, double* seconds);

// Reads a whole number, decimal or with 0x in front. Returns what the text should have been, or an
// empty text.
std::string parseNumber(const std::string& text, unsigned least, unsigned most, unsigned* number);

}  // namespace station
