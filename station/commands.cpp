#include "station/commands.h"

#include <algorithm>
#include <cctype>
#include <utility>

#include "station/arguments.h"

namespace station {
namespace {

// Removes the last value of the option from *named and stores it. Returns false if there is none.
bool takeNamed(const std::string& name, std::vector<NamedValue>* named, std::string* value) {
    return std::erase_if(*named, [&](const NamedValue& given) {
               const bool isThis = "--" + given.name == name;
               if (isThis)
                   *value = given.value;
               return isThis;
           }) > 0;
}

// Checks one argument by its form. The message does not show a secret one.
std::string checkValue(const Command& command, std::string name, const std::string& form,
                       std::string* value) {
    const std::string wrong = checkArgument(form, value);
    if (name.find('|') != std::string::npos)
        name = "argument";
    if (!wrong.empty() && !command.isSecret)
        name.append(" '").append(printable(*value)).append("'");
    return wrong.empty() ? "" : name.append(" ").append(wrong);
}

// Puts the words and the values of the command's own options into the order of its forms, and
// checks each. A form in brackets or with dots is left to the builder. Returns an error message, or
// an empty text.
std::string arrange(const Command& command, const Words& words, std::vector<NamedValue> named,
                    Words* values) {
    const Words forms = splitAtBlanks(command.arguments);
    std::string wrong =
        "takes " + (forms.empty() ? std::string("no arguments") : command.arguments);
    auto word = words.begin();
    for (auto form = forms.begin(); form != forms.end(); ++form) {
        const std::string& name = *form;
        const bool isOption = name.starts_with("--");
        std::string value;
        if (name.starts_with("[--")) {
            const std::string flag = name.substr(1, name.size() - 2);
            if (takeNamed(flag, &named, &value))
                values->push_back(flag);
            continue;
        }
        if (name.starts_with('[') || name.ends_with("...")) {
            values->insert(values->end(), std::exchange(word, words.end()), words.end());
            continue;
        }
        if (isOption && !takeNamed(name, &named, &value))
            return "needs " + name;
        if (!isOption && word != words.end())
            value = *word++;
        else if (!isOption && choicesOf(name).empty())
            return wrong;
        std::string fault = checkValue(command, name, isOption ? *++form : name, &value);
        if (!fault.empty())
            return fault;
        values->push_back(value);
    }
    if (!named.empty())
        return "does not take --" + named[0].name;
    if (word == words.end())
        return "";
    return wrong.append(", but got '").append(*word).append("' (quotes keep a text together)");
}

// Returns true for `--password` and its short forms.
bool isPassword(const std::string& option) {
    constexpr std::string_view kOption = "--password";
    return option.size() > 2 && kOption.starts_with(option);
}

// Returns the text with each % replaced by the next value.
std::string filled(std::string text, const Words& values) {
    size_t at = 0;
    for (const std::string& value : values) {
        at = text.find('%', at);
        if (at == std::string::npos)
            break;
        text.replace(at, 1, value);
        at += value.size();
    }
    return text;
}

}  // namespace

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
                       arguments.size() > 2 &&
                       parseNumber(arguments[0], 0, UINT8_MAX, &type).empty() &&
                       parseNumber(arguments[1], 0, UINT8_MAX, &subType).empty() &&
                       isSecret(static_cast<uint8_t>(type), static_cast<uint8_t>(subType));
    // The command is also unknown in a faulty line, and the second word is the rest of its name.
    const size_t shown = command == nullptr  ? 1
                         : isRaw             ? 2
                         : command->isSecret ? 0
                                             : arguments.size();
    for (size_t i = 0; i < arguments.size(); i++) {
        const size_t equals = arguments[i].find('=');
        if (i >= shown || (i > 0 && isPassword(arguments[i - 1])))
            arguments[i] = kHidden;
        else if (equals != std::string::npos && isPassword(arguments[i].substr(0, equals)))
            arguments[i] = arguments[i].substr(0, equals + 1) + kHidden;
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
        return std::ranges::none_of(list->items, &Value::exists);
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

std::string unknownCommand(const Words& words) {
    if (words[0] == "ensure" || words[0] == "sleep")
        return "`" + words[0] + "` is only possible in a recipe, as a line of `run`.";
    Words names;
    for (const Command& command : commands())
        names.emplace_back(command.name);
    // Shows at most two words, because the next one can be a secret argument.
    const std::string typed = words[0] + (words.size() > 1 ? ' ' + words[1] : "");
    const std::string near = suggestion(typed, names, '`');
    return "unknown command '" + typed + "'" +
           (near.empty() ? suggestion(words[0], names, '`') : near);
}

std::string buildCommand(const Command& command, const Words& words,
                         const std::vector<NamedValue>& named, Request* request) {
    *request = {command.type, command.subType, {}};
    Words values;
    std::string wrong = arrange(command, words, named, &values);
    if (wrong.empty() && command.build != nullptr)
        wrong = command.build(values, request);
    else if (wrong.empty())
        putText(filled(command.payload, values), request);
    const size_t limit = payloadLimit(request->type);
    if (wrong.empty() && request->payload.size() > limit)
        wrong = "the payload is longer than " + std::to_string(limit) + " bytes";
    return wrong;
}

}  // namespace station
