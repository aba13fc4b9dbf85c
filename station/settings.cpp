#include "station/settings.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <sstream>

#include "core/file.h"
#include "station/diagnostics.h"

namespace station {
namespace {

// Larger than any account or group object. A longer file is a mistake or an endless device.
constexpr size_t kMostFileBytes = 65536;

void warn(const Options& options, const std::string& text) {
    if (!options.quiet)
        say("warning: " + text);
}

void warnOfReaders(const Options& options, const std::string& file) {
    struct stat status = {};
    if (stat(file.c_str(), &status) == 0 && (status.st_mode & (S_IRGRP | S_IROTH)) != 0)
        warn(options, "other users can read '" + file + "' (chmod 600 keeps it private)");
}

std::string environmentText(const char* name) {
    const char* const text = getenv(name);
    return text != nullptr ? text : "";
}

std::string settingsFile() {
    const std::string folder = environmentText("XDG_CONFIG_HOME");
    return (folder.empty() ? environmentText("HOME") + "/.config" : folder) + "/mfgp-station.conf";
}

std::string trimmed(const std::string& text) {
    constexpr const char* kBlanks = " \t\r";
    const size_t begin = std::min(text.find_first_not_of(kBlanks), text.size());
    return text.substr(begin, text.find_last_not_of(kBlanks) + 1 - begin);
}

// Returns the names of the options that concern every command and have an argument.
Words settingNames() {
    Words names;
    for (const OptionRow& row : optionRows())
        if (row.argument[0] != '\0' && row.place != Place::Run && row.place <= Place::AlsoInBatch)
            names.emplace_back(row.name);
    return names;
}

// Applies the settings for all units, and those of the section that options->host names. The host
// of this section replaces the name. Collects the names of the sections. A missing file has no
// settings. Returns an error message, or an empty text.
std::string applySettings(Options* options, Words* aliases) {
    std::string text;
    std::string wrong = readFile(settingsFile(), &text);
    const Words names = settingNames();
    const std::string alias = options->host;
    bool applies = true;
    std::istringstream lines(text);
    std::string line;
    if (!wrong.empty())
        return access(settingsFile().c_str(), F_OK) != 0 ? "" : wrong;
    for (int number = 1; wrong.empty() && std::getline(lines, line); number++) {
        line = trimmed(line);
        const size_t equals = line.find('=');
        const std::string name = trimmed(line.substr(0, equals));
        if (line.empty() || line[0] == '#' || line[0] == ';')
            continue;
        if (line.front() == '[' && line.back() == ']') {
            aliases->push_back(trimmed(line.substr(1, line.size() - 2)));
            applies = aliases->back() == alias;
        } else if (aliases->empty() && name == "host") {
            wrong = "'host' belongs in a section; MFGP_HOST holds without one";
        } else if (equals == std::string::npos ||
                   std::find(names.begin(), names.end(), name) == names.end()) {
            wrong = "'" + name + "' is not a setting" + suggestion(name, names, '\'');
        } else if (applies) {
            wrong = setOption(name, trimmed(line.substr(equals + 1)), options);
        }
        if (!wrong.empty())
            wrong.insert(0, settingsFile() + ", line " + std::to_string(number) + ": ");
    }
    if (options->passwordTyped)
        warnOfReaders(*options, settingsFile());
    options->passwordTyped = false;
    return wrong;
}

// Reads MFGP_HOST and the command line. The unit comes in the place of their host unless it is "".
std::string readTyped(const std::string& unit, Options* options) {
    const std::string host = environmentText("MFGP_HOST");
    std::string wrong = host.empty() ? "" : setOption("host", host, options);
    if (!wrong.empty())
        return "MFGP_HOST: " + wrong;
    wrong = parseOptions(static_cast<int>(options->commandLine.size()), options->commandLine.data(),
                         options);
    return wrong.empty() && !unit.empty() ? setOption("host", unit, options) : wrong;
}

// Reads all options: for the unit, or for the host of the command line if the unit is "".
std::string readFor(const std::string& unit, Options* options) {
    Options typed = *options;
    Words aliases;
    std::string wrong = readTyped(unit, &typed);
    options->host = typed.host;
    options->quiet = typed.quiet;
    const bool isCompletion = !typed.words.empty() && typed.words[0] == "completions";
    if (wrong.empty() && !isCompletion)
        wrong = applySettings(options, &aliases);
    const std::string host = options->host;
    if (!typed.accountFile.empty())  // has priority over an account of the settings
        options->user = options->password = std::nullopt;
    if (wrong.empty())
        wrong = readTyped(unit, options);
    options->host = host;
    return wrong;
}

// Reads the user name and the password from two lines.
Outcome readAccountFile(const Options& options, std::string* user, std::string* password) {
    const std::string& name = options.accountFile;
    std::string text;
    std::string more;
    const std::string wrong = readFile(name, &text);
    if (!wrong.empty())
        return {kExitLocalFault, "--account-file: " + wrong};
    warnOfReaders(options, name);
    std::erase(text, '\r');
    std::istringstream lines(text);
    if (!std::getline(lines, *user) || !std::getline(lines, *password) || lines >> more)
        return {kExitUsage, "--account-file: '" + name +
                                "' is not two lines, the user name and then the password"};
    return {kExitDone, ""};
}

}  // namespace

std::string readOptions(int argc, char** argv, Options* options) {
    options->commandLine = {argv, static_cast<size_t>(argc)};
    return readFor("", options);
}

std::string readOptionsOf(const std::string& unit, const Options& call, Options* options) {
    options->commandLine = call.commandLine;
    std::string wrong = readFor(unit, options);
    const bool hasOwn = options->accountFile != call.accountFile ||
                        options->password.value_or(*call.password) != call.password ||
                        options->user.value_or(*call.user) != call.user;
    if (wrong.empty() && hasOwn)
        return loadAccount(options).message;
    options->user = call.user;
    options->password = call.password;
    return wrong;
}

Words hostAliases() {
    Options none;
    none.quiet = true;  // the shell shows the words in the middle of a command line
    Words aliases;
    applySettings(&none, &aliases);
    return aliases;
}

Outcome loadAccount(Options* options) {
    if (options->passwordTyped)
        warn(*options,
             "other users can read a password on the command line; MFGP_PASSWORD and "
             "--account-file keep it private");
    std::string user = environmentText("MFGP_USER");
    std::string password = environmentText("MFGP_PASSWORD");
    if (!options->accountFile.empty()) {
        Outcome read = readAccountFile(*options, &user, &password);
        if (read.code != kExitDone)
            return read;
    }
    options->user = options->user.value_or(user);
    const bool isMissing = !options->password && password.empty() && !options->user->empty();
    if (isMissing && isatty(STDIN_FILENO) != 0 && isatty(STDERR_FILENO) != 0) {
        const char* const typed = getpass(("password of " + *options->user + ": ").c_str());
        password = typed != nullptr ? typed : "";
    }
    options->password = options->password.value_or(password);
    return {kExitDone, ""};
}

std::string readFile(const std::string& name, std::string* text) {
    text->clear();
    const File file(fopen(name.c_str(), "rb"));
    for (int byte = 0; file && text->size() <= kMostFileBytes && (byte = getc(file.get())) != EOF;)
        text->push_back(static_cast<char>(byte));
    const bool isLong = text->size() > kMostFileBytes;
    const int error = isLong ? EFBIG : errno;
    const bool isRead = file && !isLong && ferror(file.get()) == 0;
    return isRead ? "" : "cannot read '" + name + "': " + strerror(error);
}

}  // namespace station
