#include "station/commands.h"

#include <algorithm>
#include <cctype>
#include <sstream>

namespace station {
namespace {

Words wordsOf(const char* name) {
    std::istringstream stream(name);
    Words words;
    for (std::string word; stream >> word;)
        words.push_back(word);
    return words;
}

// Checks how many words there are before the options' values.
std::string checkCount(const Command& command, const Words& words) {
    const Words form = wordsOf(command.arguments);
    size_t count = 0;
    for (size_t i = 0; i < form.size(); i++) {
        if (form[i].starts_with("[--"))
            continue;
        if (form[i].starts_with('[') || form[i].find("...") != std::string::npos)
            return "";  // the builder knows
        const bool isOption = form[i].starts_with("--");
        count += isOption ? 0 : 1;
        i += isOption ? 1 : 0;  // its value
    }
    if (words.size() == count)
        return "";
    if (form.empty())
        return "takes no arguments, but got '" + words[0] + "'";
    return "takes " + std::string(command.arguments) +
           (words.size() > count ? " (in quotes when it holds spaces)" : "");
}

// Appends the values of the command's own options to the words, and the name of a flag like
// [--flag]. Returns an error message, or an empty text.
std::string appendNamedValues(const Command& command, std::vector<NamedValue> named, Words* words) {
    for (const std::string& form : wordsOf(command.arguments)) {
        const bool isFlag = form.starts_with("[--");
        if (!isFlag && !form.starts_with("--"))
            continue;
        const std::string name = isFlag ? form.substr(3, form.size() - 4) : form.substr(2);
        const auto isGiven = [&name](const NamedValue& given) { return given.name == name; };
        const auto last = std::find_if(named.rbegin(), named.rend(), isGiven);
        if (last == named.rend() && !isFlag)
            return "needs " + form;
        if (last != named.rend())
            words->push_back(isFlag ? "--" + name : last->value);
        std::erase_if(named, isGiven);
    }
    return named.empty() ? "" : "does not take --" + named[0].name;
}

// Checks the words whose form lists the possible ones, and gives them their spelling in the row.
std::string checkChoices(const Command& command, Words* words) {
    std::string name = "argument";
    size_t at = 0;
    for (const std::string& form : wordsOf(command.arguments)) {
        if (form.starts_with("--")) {
            name = form;
            continue;
        }
        if (at == words->size())
            break;
        std::string& word = (*words)[at++];
        const Words choices = choicesOf(form);
        const auto same = [&word](const std::string& choice) {
            return plainName(choice) == plainName(word);
        };
        const auto chosen = std::find_if(choices.begin(), choices.end(), same);
        if (!choices.empty() && chosen == choices.end())
            return name + " '" + word + "' is none of " + form;
        if (!choices.empty())
            word = *chosen;
    }
    return "";
}

}  // namespace

Words choicesOf(const std::string& form) {
    Words choices;
    const bool isList =
        form.find('|') != std::string::npos && form.find("FILE") == std::string::npos;
    std::istringstream stream(isList ? form : "");
    for (std::string choice; std::getline(stream, choice, '|');)
        choices.push_back(choice);
    return choices;
}

const char* accessName(Access access) {
    static constexpr const char* kNames[] = {"read", "poll", "test", "write", "flash", "erase"};
    return kNames[static_cast<size_t>(access)];
}

bool isSecret(uint8_t type, uint8_t subType) {
    const auto table = commands();
    return std::any_of(table.begin(), table.end(), [=](const Command& command) {
        return command.isSecret && command.type == type && command.subType == subType;
    });
}

Words withoutSecrets(const Command* command, Words arguments) {
    const std::string kHidden = "********";
    unsigned type = 0;
    unsigned subType = 0;
    const bool isRaw = command != nullptr && command->type == kTypeFromWords &&
                       arguments.size() > 2 && parseNumber(arguments[0], UINT8_MAX, &type) &&
                       parseNumber(arguments[1], UINT8_MAX, &subType) &&
                       isSecret(static_cast<uint8_t>(type), static_cast<uint8_t>(subType));
    const size_t shown = isRaw ? 2 : command != nullptr && command->isSecret ? 0 : arguments.size();
    for (size_t i = 0; i < arguments.size(); i++) {
        const bool isPassword = arguments[i].starts_with("--password=");
        if (i >= shown || (i > 0 && arguments[i - 1] == "--password"))
            arguments[i] = kHidden;
        else if (isPassword)
            arguments[i] = "--password=" + kHidden;
    }
    return arguments;
}

const Command& commandNamed(std::string_view name) {
    const auto table = commands();
    return *std::find_if(table.begin(), table.end(),
                         [name](const Command& command) { return command.name == name; });
}

Access accessOf(const Request& request) {
    Access most = Access::Read;
    for (const Command& command : commands())
        if (command.type == request.type && command.subType == request.subType)
            most = std::max(most, command.access);
    return most;
}

bool isNothing(const Command& command, const Value& value) {
    if (command.nothing.text == nullptr || !value.exists())
        return false;
    if (const auto* const list = std::get_if<List>(&value.of))
        return list->items.empty();
    const std::string_view nothing = command.nothing.text;
    std::string text = textOf(value);
    text.erase(text.find_last_not_of(' ') + 1);
    return nothing.ends_with('*') ? text.starts_with(nothing.substr(0, nothing.size() - 1))
                                  : text.empty() || text == nothing;
}

std::string plainName(std::string name) {
    for (char& character : name)
        character = character == ' ' ? '-' : static_cast<char>(tolower(character));
    return name;
}

const Command* findCommand(const Words& words, Words* rest) {
    constexpr size_t kLongest = 3;  // words
    const Command* found = nullptr;
    size_t taken = 0;
    std::string typed;
    for (size_t i = 0; i < std::min(kLongest, words.size()); i++) {
        typed.append(i > 0 ? "-" : "").append(plainName(words[i]));
        for (const Command& command : commands())
            if (plainName(command.name) == typed) {
                found = &command;
                taken = i + 1;
            }
    }
    rest->assign(words.begin() + static_cast<ptrdiff_t>(taken), words.end());
    return found;
}

std::string buildCommand(const Command& command, Words words, const std::vector<NamedValue>& named,
                         Request* request) {
    *request = {command.type, command.subType, {}};
    std::string wrong = checkCount(command, words);
    if (wrong.empty())
        wrong = appendNamedValues(command, named, &words);
    if (wrong.empty())
        wrong = checkChoices(command, &words);
    if (wrong.empty())
        putText(command.fixedPayload, request);
    if (wrong.empty() && command.build != nullptr)
        wrong = command.build(words, request);
    if (!wrong.empty())
        return wrong;
    const size_t limit = payloadLimit(request->type);
    if (request->payload.size() > limit)
        return "the payload is longer than " + std::to_string(limit) + " bytes";
    return "";
}

}  // namespace station
