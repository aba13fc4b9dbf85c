// The command line: options anywhere, the command words in between.
#pragma once

#include <cstdint>
#include <optional>
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
};

// Reads the command line into *options, which holds the defaults before. Returns what is wrong, or
// an empty text.
std::string parseOptions(int argc, char** argv, Options* options);

// Reads the words of one line of a batch in place of the command line's, whose options hold for it.
// Only options that concern a single command are allowed there.
std::string parseLine(Words line, Options* options);

// An option as help and manual show it.
struct OptionHelp {
    std::string name;  // with its dashes
    const char* argument;
    const char* help;
};
std::vector<OptionHelp> optionsHelp();

// Reads a whole number, decimal or with 0x in front. Returns false when it is none or larger.
bool parseNumber(const std::string& text, unsigned limit, unsigned* number);

}  // namespace station
