#include "completions/complete.h"

#include <net/if.h>

#include <algorithm>
#include <memory>
#include <utility>

#include "station/arguments.h"
#include "station/commands.h"
#include "station/settings.h"

namespace station {
namespace {

Words interfaceNames() {
    Words names;
    const std::unique_ptr<struct if_nameindex, decltype(&if_freenameindex)> all(if_nameindex(),
                                                                                if_freenameindex);
    for (const auto* one = all.get(); one != nullptr && one->if_name != nullptr; one++)
        names.emplace_back(one->if_name);
    return names;
}

// Returns the possible values of an argument, given its form and the arguments before it.
Words valuesOf(const std::string& form, const Words& before) {
    if (form == "HOST")
        return hostAliases();
    if (form == "DEV")
        return interfaceNames();
    if (form == "NAME=VALUE...")
        return antennaNames(before);
    return choicesOf(form);
}

// Returns the form of an option's argument. Empty if it has none.
std::string argumentOf(const std::string& typed) {
    for (const OptionRow& row : optionRows())
        if (typed == std::string("--") + row.name || typed == std::string("-") + row.letter)
            return row.argument;
    return "";
}

// If the words begin with the command's name, returns the values of the argument after them. If
// they are a part of it, returns its next word.
Words wordsAfter(Words typed, const Command& command) {
    for (const std::string& word : splitAtBlanks(command.name)) {
        if (typed.empty())
            return {word};
        if (plainName(typed.front()) != word)
            return {};
        typed.erase(typed.begin());
    }
    const Words forms = splitAtBlanks(command.arguments);
    if (forms.empty())
        return {};
    const bool isLastOpen = forms.back().ends_with("...");
    const size_t at = isLastOpen ? std::min(typed.size(), forms.size() - 1) : typed.size();
    return at < forms.size() ? valuesOf(forms[at], typed) : Words();
}

}  // namespace

Words nextWords(Words words) {
    std::string current;
    if (!words.empty()) {
        current = words.back();
        words.pop_back();
    }
    Words typed;
    std::string open;  // the form of the argument that an option waits for
    for (const std::string& word : words) {
        const bool isValue = !std::exchange(open, "").empty();
        if (!isValue && word.starts_with("-"))
            open = argumentOf(word);
        else if (!isValue && (word != "help" || !typed.empty()))  // what follows help is a command
            typed.push_back(word);
    }
    Words next = open.empty() ? Words() : valuesOf(open, {});
    for (const OptionRow& row : optionRows())
        if (open.empty() && current.starts_with('-'))
            next.push_back(std::string("--") + row.name);
    for (const Command& command : commands())
        if (open.empty() && !current.starts_with('-'))
            for (const std::string& word : wordsAfter(typed, command))
                next.push_back(word);
    std::sort(next.begin(), next.end());
    next.erase(std::unique(next.begin(), next.end()), next.end());
    return next;
}

}  // namespace station
