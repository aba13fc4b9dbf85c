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
    std::optional<std::string> value;  // none: the option takes none
};

struct Options {
    std::string host = "192.168.1.1";
    uint16_t port = kServicePort;
    uint16_t localPort = 1041;  // 0: chosen by the kernel
    std::string user;
    std::string password;
    double timeout = 3;  // seconds for each try
    unsigned retries = 2;
    bool help = false;
    bool version = false;
    std::vector<NamedValue> named;
    Words words;
};

// Reads the command line into *options, which holds the defaults before. The account comes from
// the environment where no option gives it. Returns what is wrong, or an empty text.
std::string parseOptions(int argc, char** argv, Options* options);

// One line per option.
std::string optionsHelp();

// Reads a whole number, decimal or with 0x in front. Returns false when it is none or larger.
bool parseNumber(const std::string& text, unsigned limit, unsigned* number);

}  // namespace station
