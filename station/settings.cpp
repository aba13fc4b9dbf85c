#include "station/settings.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <sstream>

#include "station/account.h"
#include "station/suggest.h"

namespace station {
namespace {

struct Setting {
    std::string alias;  // empty: for all units
    std::string name;   // empty: the section's own line
    std::string value;
};

std::string settingsFile() {
    const std::string folder = environmentText("XDG_CONFIG_HOME");
    return (folder.empty() ? environmentText("HOME") + "/.config" : folder) + "/mfgp-station.conf";
}

std::string trimmed(const std::string& text) {
    constexpr const char* kBlanks = " \t\r";
    const size_t begin = text.find_first_not_of(kBlanks);
    return begin == std::string::npos
               ? ""
               : text.substr(begin, text.find_last_not_of(kBlanks) + 1 - begin);
}

// The long names of the options that have an argument and concern every command.
Words settingNames() {
    Words names;
    for (const OptionHelp& option : optionsHelp())
        if (!option.argument.empty() &&
            (option.place == Place::CommandLine || option.place == Place::AlsoInBatch))
            names.push_back(option.name.substr(option.name.find("--") + 2));
    return names;
}

// Reads all settings. A missing file has none. Returns what is wrong, or an empty text.
std::string readSettings(std::vector<Setting>* settings) {
    std::string text;
    const std::string wrong = readFile(settingsFile(), &text);
    if (!wrong.empty())
        return access(settingsFile().c_str(), F_OK) == 0 ? wrong : "";
    const Words names = settingNames();
    std::istringstream lines(text);
    std::string alias;
    std::string line;
    for (int number = 1; std::getline(lines, line); number++) {
        line = trimmed(line);
        const size_t equals = line.find('=');
        const std::string name = trimmed(line.substr(0, equals));
        if (line.empty() || line[0] == '#' || line[0] == ';')
            continue;
        if (line.front() == '[' && line.back() == ']')
            settings->push_back({alias = trimmed(line.substr(1, line.size() - 2)), "", ""});
        else if (equals == std::string::npos ||
                 std::find(names.begin(), names.end(), name) == names.end())
            return settingsFile() + " line " + std::to_string(number) + ": '" + name +
                   "' is not a setting" + suggestion(name, names, '\'');
        else
            settings->push_back({alias, name, trimmed(line.substr(equals + 1))});
    }
    return "";
}

// Applies the settings for all units, and those of the alias. Its host replaces the alias.
std::string applySettings(const Options& typed, Options* options) {
    std::vector<Setting> settings;
    std::string wrong = readSettings(&settings);
    const std::string alias = typed.host;
    options->host = alias.empty() ? options->host : alias;
    for (const Setting& setting : settings) {
        if (setting.name == "password")
            warnOfReaders(typed, settingsFile());
        const bool isForAll = setting.alias.empty() && (setting.name != "host" || alias.empty());
        if (wrong.empty() && !setting.name.empty() && (isForAll || setting.alias == alias))
            wrong = setOption(setting.name, setting.value, options);
    }
    options->passwordTyped = false;
    return wrong.empty() ? "" : "settings: " + wrong;
}

// Reads MFGP_HOST and the command line.
std::string readTyped(int argc, char** argv, Options* options) {
    const std::string host = environmentText("MFGP_HOST");
    const std::string wrong = host.empty() ? "" : setOption("host", host, options);
    return wrong.empty() ? parseOptions(argc, argv, options) : "MFGP_HOST: " + wrong;
}

}  // namespace

std::string readOptions(int argc, char** argv, Options* options) {
    Options typed;
    typed.host.clear();
    std::string wrong = readTyped(argc, argv, &typed);
    if (wrong.empty())
        wrong = applySettings(typed, options);
    const std::string host = options->host;
    if (wrong.empty())
        wrong = readTyped(argc, argv, options);
    options->host = host;
    return wrong;
}

Words hostAliases() {
    std::vector<Setting> settings;
    readSettings(&settings);
    Words aliases;
    for (const Setting& setting : settings)
        if (setting.name.empty())
            aliases.push_back(setting.alias);
    return aliases;
}

}  // namespace station
