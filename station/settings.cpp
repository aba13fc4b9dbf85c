#include "station/settings.h"

#include <algorithm>
#include <cerrno>
#include <sstream>

#include "station/account.h"

namespace station {
namespace {

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

// Applies the settings for all units, and those of the section that options->host names. Its own
// host comes in the place of the name. Collects the names of the sections. A missing file has no
// settings. Returns what is wrong, or an empty text.
std::string applySettings(Options* options, Words* aliases) {
    std::string text;
    std::string wrong = readFile(settingsFile(), &text);
    const Words names = settingNames();
    const std::string alias = options->host;
    bool applies = true;
    std::istringstream lines(text);
    std::string line;
    if (!wrong.empty())
        return errno == ENOENT ? "" : wrong;
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
            wrong = settingsFile() + ", line " + std::to_string(number) + ": " + wrong;
    }
    if (options->passwordTyped)
        warnOfReaders(*options, settingsFile());
    options->passwordTyped = false;
    return wrong;
}

// Reads MFGP_HOST and the command line.
std::string readTyped(int argc, char** argv, Options* options) {
    const std::string host = environmentText("MFGP_HOST");
    const std::string wrong = host.empty() ? "" : setOption("host", host, options);
    return wrong.empty() ? parseOptions(argc, argv, options) : "MFGP_HOST: " + wrong;
}

}  // namespace

std::string readOptions(int argc, char** argv, Options* options) {
    Options typed = *options;
    Words aliases;
    std::string wrong = readTyped(argc, argv, &typed);
    options->host = typed.host;
    options->quiet = typed.quiet;
    if (wrong.empty())
        wrong = applySettings(options, &aliases);
    const std::string host = options->host;
    if (wrong.empty())
        wrong = readTyped(argc, argv, options);
    options->host = host;
    return wrong;
}

Words hostAliases() {
    Options none;
    Words aliases;
    applySettings(&none, &aliases);
    return aliases;
}

}  // namespace station
