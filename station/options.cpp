#include "station/options.h"

#include <getopt.h>

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <iterator>

namespace station {
namespace {

constexpr double kMaxTimeout = 3600;
constexpr unsigned kMaxRetries = 100;
constexpr unsigned kMaxPort = 65535;

// Takes the argument of one option. Returns what is wrong with it, or an empty text.
using Setter = std::string (*)(const std::string& argument, Options* options);

struct Option {
    const char* name;
    char letter;           // 0: long only
    const char* argument;  // null: none
    Setter set;            // null: one of single commands, which check its argument
    const char* help;
};

std::string setHost(const std::string& argument, Options* options) {
    options->host = argument;
    return argument.empty() ? "no name" : "";
}

std::string setPort(const std::string& argument, Options* options) {
    unsigned port = 0;
    if (!parseNumber(argument, kMaxPort, &port) || port == 0)
        return "'" + argument + "' is not a port (1 to 65535)";
    options->port = static_cast<uint16_t>(port);
    return "";
}

std::string setLocalPort(const std::string& argument, Options* options) {
    unsigned port = 0;
    if (!parseNumber(argument, kMaxPort, &port))
        return "'" + argument + "' is not a port (1 to 65535, or 0 for any)";
    options->localPort = static_cast<uint16_t>(port);
    return "";
}

std::string setUser(const std::string& argument, Options* options) {
    options->user = argument;
    return "";
}

std::string setPassword(const std::string& argument, Options* options) {
    options->password = argument;
    return "";
}

std::string setTimeout(const std::string& argument, Options* options) {
    const char* const end = argument.data() + argument.size();
    const auto [place, error] = std::from_chars(argument.data(), end, options->timeout);
    // The comparison is false for "nan" as well.
    if (error != std::errc() || place != end ||
        !(options->timeout > 0 && options->timeout <= kMaxTimeout))
        return "'" + argument + "' is not a time in seconds (above 0, at most 3600)";
    return "";
}

std::string setRetries(const std::string& argument, Options* options) {
    if (!parseNumber(argument, kMaxRetries, &options->retries))
        return "'" + argument + "' is not a number from 0 to 100";
    return "";
}

std::string setHelp(const std::string&, Options* options) {
    options->help = true;
    return "";
}

std::string setVersion(const std::string&, Options* options) {
    options->version = true;
    return "";
}

constexpr Option kOptions[] = {
    {"host", 0, "HOST", setHost, "address or name of the unit (192.168.1.1)"},
    {"port", 0, "PORT", setPort, "its UDP port (1040)"},
    {"user", 0, "NAME", setUser, "user name of its web account (MFGP_USER, else the default)"},
    {"password", 0, "TEXT", setPassword, "password (MFGP_PASSWORD, else the default)"},
    {"timeout", 0, "SECONDS", setTimeout, "wait for each reply, fractions allowed (3)"},
    {"retries", 0, "N", setRetries, "how often an unanswered read is sent again (2)"},
    {"local-port", 0, "PORT", setLocalPort,
     "send from this port, so that calls in a row are one station (any)"},
    {"gear", 0, "N", nullptr, "fan set: gear of the fans, 0 to 255"},
    {"time", 0, "SECONDS", nullptr, "fan set: how long they run so"},
    {"band", 0, "BAND", nullptr, "radio: 0 2.4 GHz, 1 5 GHz, 4 6 GHz, 6 the second 6 GHz"},
    {"mode", 0, "MODE", nullptr, "smart-antenna: antenna mode, 0 off"},
    {"nss", 0, "N", nullptr, "rssi-spread: how many readings to take"},
    {"yes", 0, nullptr, nullptr, "reset: the configuration is to be erased indeed"},
    {"help", 'h', nullptr, setHelp, "show this help"},
    {"version", 0, nullptr, setVersion, "show the version"},
};
constexpr size_t kOptionCount = std::size(kOptions);

// Keys of the parser: above every letter, the row's place in the table.
constexpr int kFirstKey = 256;

std::vector<option> parserTable() {
    std::vector<option> table;
    for (size_t i = 0; i < kOptionCount; i++)
        table.push_back({kOptions[i].name, kOptions[i].argument != nullptr ? 1 : 0, nullptr,
                         kFirstKey + static_cast<int>(i)});
    table.push_back({});
    return table;
}

const Option* optionOf(int key) {
    for (size_t i = 0; i < kOptionCount; i++)
        if (key == kFirstKey + static_cast<int>(i) || key == kOptions[i].letter)
            return &kOptions[i];
    return nullptr;
}

// The option as typed, without its argument: that may be a password.
std::string typedOption(char** argv) {
    const std::string typed = argv[optind - 1];
    if (!typed.starts_with("--") && optopt != 0 && optopt < kFirstKey)
        return std::string("-") + static_cast<char>(optopt);
    return typed.substr(0, typed.find('='));
}

std::string environmentText(const char* name) {
    const char* const text = getenv(name);
    return text != nullptr ? text : "";
}

std::string parseOne(int key, char** argv, Options* options) {
    if (key == 1) {
        options->words.emplace_back(optarg);
        return "";
    }
    if (key == ':')
        return typedOption(argv) + " needs an argument";
    const Option* const row = optionOf(key);
    if (row == nullptr)
        return (optopt >= kFirstKey ? "needless argument of " : "unknown or ambiguous option ") +
               typedOption(argv);
    if (row->set == nullptr) {
        options->named.push_back({row->name, {}});
        if (optarg != nullptr)
            options->named.back().value = optarg;
        return "";
    }
    const std::string wrong = row->set(optarg != nullptr ? optarg : "", options);
    return wrong.empty() ? "" : std::string("--") + row->name + ": " + wrong;
}

}  // namespace

std::string parseOptions(int argc, char** argv, Options* options) {
    options->user = environmentText("MFGP_USER");
    options->password = environmentText("MFGP_PASSWORD");
    const std::vector<option> table = parserTable();
    optind = 0;  // start anew, also when called a second time
    opterr = 0;
    // The dash hands over the words in their order, whatever POSIXLY_CORRECT says; the colon tells
    // a missing argument from an unknown option.
    for (int key = 0; (key = getopt_long(argc, argv, "-:h", table.data(), nullptr)) != -1;) {
        std::string wrong = parseOne(key, argv, options);
        if (!wrong.empty())
            return wrong;
    }
    options->words.insert(options->words.end(), argv + optind, argv + argc);
    return "";
}

std::string optionsHelp() {
    constexpr size_t kColumn = 24;
    std::string text;
    for (const Option& row : kOptions) {
        std::string line = row.letter != 0 ? std::string("  -") + row.letter + ", --" : "  --";
        line += row.name;
        if (row.argument != nullptr)
            line += std::string(" ") + row.argument;
        line.resize(std::max(line.size() + 1, kColumn), ' ');
        text += line + row.help + '\n';
    }
    return text;
}

bool parseNumber(const std::string& text, unsigned limit, unsigned* number) {
    const bool hex = text.starts_with("0x") || text.starts_with("0X");
    const char* const begin = text.data() + (hex ? 2 : 0);
    const char* const end = text.data() + text.size();
    const auto [place, error] = std::from_chars(begin, end, *number, hex ? 16 : 10);
    return error == std::errc() && place == end && *number <= limit;
}

}  // namespace station
