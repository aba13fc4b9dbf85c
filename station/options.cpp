#include "station/options.h"

#include <getopt.h>

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <iterator>

namespace station {
namespace {

constexpr unsigned kLeastTimeout = 10;  // milliseconds: a shorter one floods the unit
constexpr unsigned kMaxRetries = 100;
constexpr unsigned kMaxPort = 65535;

template <auto kMember, bool kMayBeEmpty = false>
std::string setText(const std::string& argument, Options* options) {
    options->*kMember = argument;
    return argument.empty() && !kMayBeEmpty ? "is empty" : "";
}

template <auto kMember>
std::string setFlag(const std::string&, Options* options) {
    options->*kMember = true;
    return "";
}

template <auto kMember, unsigned kLeast, unsigned kMost>
std::string setNumber(const std::string& argument, Options* options) {
    unsigned number = 0;
    const std::string wrong = parseNumber(argument, kLeast, kMost, &number);
    if (wrong.empty())
        options->*kMember = number;
    return wrong.empty() ? "" : "'" + argument + "' is not " + wrong;
}

template <auto kMember, unsigned kLeastMilliseconds>
std::string setSeconds(const std::string& argument, Options* options) {
    return parseSeconds(argument, kLeastMilliseconds, &(options->*kMember));
}

template <auto kMember>
std::string addPair(const std::string& argument, Options* options) {
    const size_t equals = argument.find('=');
    if (equals == 0 || equals == std::string::npos)
        return "takes NAME=VALUE";
    (options->*kMember).push_back({argument.substr(0, equals), argument.substr(equals + 1)});
    return "";
}

std::string setHost(const std::string& argument, Options* options) {
    const size_t colon = argument.find(':');
    options->host = argument.substr(0, colon);
    if (colon == std::string::npos)
        return argument.empty() ? "is empty" : "";
    return setNumber<&Options::port, 1, kMaxPort>(argument.substr(colon + 1), options);
}

std::string setPassword(const std::string& argument, Options* options) {
    options->password = argument;
    options->passwordTyped = true;
    return "";
}

std::string setFormat(const std::string& argument, Options* options) {
    options->format = argument == "json" ? Format::Json : Format::Text;
    return argument == "json" || argument == "text" ? "" : "'" + argument + "' is not text or json";
}

std::string raiseVerbosity(const std::string&, Options* options) {
    options->verbosity++;
    return "";
}

using enum Place;
constexpr OptionRow kOptions[] = {
    {"host", 0, CommandLine, "HOST", setHost,
     "alias, name or address of the unit, or HOST:PORT (192.168.1.1)"},
    {"port", 0, CommandLine, "PORT", setNumber<&Options::port, 1, kMaxPort>,
     "UDP port of the unit (1040)"},
    {"bind", 0, CommandLine, "ADDRESS", setText<&Options::bindAddress>,
     "send from this address of the station; does not choose the interface (any)"},
    {"interface", 0, CommandLine, "DEV", setText<&Options::interface>,
     "use only this network interface (any)"},
    {"local-port", 0, CommandLine, "PORT", setNumber<&Options::localPort, 0, kMaxPort>,
     "send from this port; all calls from one port are one station (1041; 0: any)"},
    {"user", 0, CommandLine, "NAME", setText<&Options::user, true>,
     "user name of the unit's web account"},
    {"password", 0, CommandLine, "TEXT", setPassword,
     "password of the web account; other users of this machine can read it here"},
    {"account-file", 0, CommandLine, "FILE", setText<&Options::accountFile>,
     "file with the user name in its first line and the password in its second"},
    {"timeout", 0, AlsoInBatch, "SECONDS", setSeconds<&Options::timeout, kLeastTimeout>,
     "how long to wait for each reply, with decimals (3)"},
    {"retries", 0, AlsoInBatch, "N", setNumber<&Options::retries, 0, kMaxRetries>,
     "how often to repeat a read without a reply (2)"},
    {"deadline", 0, CommandLine, "SECONDS", setSeconds<&Options::deadline, 0>,
     "end the call after this time (60 for wait, otherwise none)"},
    {"output", 'o', CommandLine, "text|json", setFormat, "json: one object per line (text)"},
    {"quiet", 'q', CommandLine, "", setFlag<&Options::quiet>, "print only values, and no warnings"},
    {"output-file", 0, CommandLine, "FILE", setText<&Options::outputFile>,
     "write results to FILE (-: standard output); {KEY}: a label, {time}: the time"},
    {"append", 0, CommandLine, "", setFlag<&Options::append>,
     "add to the --output-file instead of emptying it"},
    {"station", 0, CommandLine, "NAME", setText<&Options::station>,
     "name of this station in the records (the machine's name)"},
    {"label", 0, CommandLine, "KEY=VALUE", addPair<&Options::labels>,
     "add this label to each record; can be repeated"},
    {"set", 0, Run, "NAME=VALUE", addPair<&Options::variables>,
     "run: value of ${NAME} in the recipe; can be repeated"},
    {"units", 0, Run, "FILE|HOST,...", setText<&Options::units>,
     "run: carry out the recipe on all these units in parallel"},
    {"keep-going", 'k', Run, "", setFlag<&Options::keepGoing>,
     "run: continue after a command fails"},
    {"release", 0, CommandLine, "", setFlag<&Options::release>,
     "release the unit when finished, even after a failure"},
    {"heartbeat", 0, Run, "SECONDS", setSeconds<&Options::heartbeat, 0>,
     "run: time between heartbeats while waiting for a line (20; 0: none)"},
    {"yes", 'y', AlsoInBatch, "", setFlag<&Options::yes>,
     "do not ask before reset, erase radio or, in run, a write to flash"},
    {"dry-run", 'n', CommandLine, "", setFlag<&Options::dryRun>,
     "print the datagram in hex and send nothing"},
    {"packet-id", 0, CommandLine, "N", setNumber<&Options::packetId, 0, 0xFFFF>,
     "id of the first packet (any)"},
    {"verbose", 'v', CommandLine, "", raiseVerbosity,
     "show what is done; -vv: header fields too; -vvv: plain and wire bytes too"},
    {"show-secrets", 0, CommandLine, "", setFlag<&Options::showSecrets>,
     "show PINs in results and traces, and passwords in faulty recipe lines"},
    {"expect", 0, ValueCommands, "TEXT", nullptr,
     "fail (exit code 1) unless the returned value is exactly TEXT"},
    {"min", 0, ValueCommands, "N", nullptr, "fail unless the returned number is at least N"},
    {"max", 0, ValueCommands, "N", nullptr, "fail unless the returned number is at most N"},
    {"match", 0, ValueCommands, "REGEX", nullptr,
     "fail unless this extended regular expression is found in the returned value"},
    {"until", 0, ValueCommands, "", nullptr, "repeat a read until it passes"},
    {"for", 0, ValueCommands, "SECONDS", nullptr, "how long --until repeats; implies --until (60)"},
    {"gear", 0, NamingCommands, "N", nullptr, "gear of the fans, 0 to 255"},
    {"time", 0, NamingCommands, "SECONDS", nullptr, "run time of the fans"},
    {"band", 0, NamingCommands, "0|1|4|6", nullptr,
     "radio: 0 = 2.4 GHz, 1 = 5 GHz, 4 = 6 GHz, 6 = second 6 GHz"},
    {"mode", 0, NamingCommands, "MODE", nullptr, "antenna mode; 0 is off"},
    {"nss", 0, NamingCommands, "N", nullptr, "number of readings"},
    {"any-check-digit", 0, NamingCommands, "", nullptr,
     "accept an IMEI whose check digit is wrong"},
    {"help", 'h', CommandLine, "", setFlag<&Options::help>,
     "explain the command, or list all commands"},
    {"version", 0, CommandLine, "", setFlag<&Options::version>, "show the version"},
};
constexpr size_t kOptionCount = std::size(kOptions);

// Keys of the parser: above every letter, the row's place in the table.
constexpr int kFirstKey = 256;

std::vector<option> parserTable() {
    std::vector<option> table;
    for (size_t i = 0; i < kOptionCount; i++)
        table.push_back({kOptions[i].name, kOptions[i].argument[0] != '\0' ? 1 : 0, nullptr,
                         kFirstKey + static_cast<int>(i)});
    table.push_back({});
    return table;
}

// With the dash, getopt_long returns the words in their order and ignores POSIXLY_CORRECT. With the
// first colon, it distinguishes a missing argument from an unknown option.
std::string parserLetters() {
    std::string letters = "-:";
    for (const OptionRow& row : kOptions)
        if (row.letter != 0)
            letters.append(1, row.letter).append(row.argument[0] != '\0' ? ":" : "");
    return letters;
}

const OptionRow* optionOf(int key) {
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

std::string unknownOption(const std::string& typed) {
    Words names;
    for (const OptionRow& row : kOptions)
        names.push_back(std::string("--") + row.name);
    return "unknown option '" + typed + "'" + suggestion(typed, names, '\'');
}

std::string parseOne(int key, char** argv, bool inBatch, Options* options) {
    if (key == 1) {
        options->words.emplace_back(optarg);
        return "";
    }
    if (key == ':')
        return typedOption(argv) + " needs an argument";
    const OptionRow* const row = optionOf(key);
    if (row == nullptr && optopt >= kFirstKey)
        return typedOption(argv) + " takes no argument";
    if (row == nullptr)
        return unknownOption(typedOption(argv));
    if (inBatch && row->place < Place::AlsoInBatch)
        return std::string("--") + row->name + " belongs on the command line of run";
    return setOption(row->name, optarg != nullptr ? optarg : "", options);
}

std::string parse(int argc, char** argv, bool inBatch, Options* options) {
    const std::vector<option> table = parserTable();
    const std::string letters = parserLetters();
    optind = 0;  // start again, also in a second call
    opterr = 0;
    for (int key = 0; (key = getopt_long(argc, argv, letters.c_str(), table.data(), nullptr)) != -1;
         optarg = nullptr) {
        std::string wrong = parseOne(key, argv, inBatch, options);
        if (!wrong.empty())
            return wrong;
    }
    options->words.insert(options->words.end(), argv + optind, argv + argc);
    return "";
}

}  // namespace

std::string parseOptions(int argc, char** argv, Options* options) {
    return parse(argc, argv, false, options);
}

std::string parseLine(Words line, Options* options) {
    options->words.clear();
    options->named.clear();
    std::string program = "run";
    std::vector<char*> argv = {program.data()};
    for (std::string& word : line)
        argv.push_back(word.data());
    argv.push_back(nullptr);
    return parse(static_cast<int>(argv.size() - 1), argv.data(), true, options);
}

std::string setOption(const std::string& name, const std::string& argument, Options* options) {
    const OptionRow& row = *std::find_if(std::begin(kOptions), std::end(kOptions),
                                         [&name](const auto& one) { return one.name == name; });
    if (row.set == nullptr)
        options->named.push_back({name, argument});
    const std::string wrong = row.set != nullptr ? row.set(argument, options) : "";
    return wrong.empty() ? "" : "--" + name + ": " + wrong;
}

std::span<const OptionRow> optionRows() { return kOptions; }

std::string optionName(const OptionRow& row) {
    return (row.letter != 0 ? std::string("-") + row.letter + ", --" : "--") + row.name;
}

std::string parseSeconds(const std::string& text, unsigned leastMilliseconds, double* seconds) {
    constexpr double kMaxSeconds = 86400;
    const double least = leastMilliseconds / 1e3;
    const char* const end = text.data() + text.size();
    *seconds = -1;
    const auto [place, error] = std::from_chars(text.data(), end, *seconds);
    char wrong[64];
    snprintf(wrong, sizeof wrong, "' is not a time in seconds from %g to %g", least, kMaxSeconds);
    // The comparison is false for "nan" as well.
    const bool isTime =
        error == std::errc() && place == end && *seconds >= least && *seconds <= kMaxSeconds;
    return isTime ? "" : "'" + text + wrong;
}

std::string parseNumber(const std::string& text, unsigned least, unsigned most, unsigned* number) {
    const bool hex = text.starts_with("0x") || text.starts_with("0X");
    const char* const begin = text.data() + (hex ? 2 : 0);
    const char* const end = text.data() + text.size();
    const auto [place, error] = std::from_chars(begin, end, *number, hex ? 16 : 10);
    return error == std::errc() && place == end && *number >= least && *number <= most
               ? ""
               : "a number from " + std::to_string(least) + " to " + std::to_string(most);
}

}  // namespace station
