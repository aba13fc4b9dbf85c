#include "station/limits.h"

#include <regex.h>

#include <algorithm>
#include <cmath>

namespace station {
namespace {

const Number* numberIn(const Value& value) { return std::get_if<Number>(&value.of); }

// Searches the text for the extended regular expression (POSIX). Returns 0 if it is found, or what
// regcomp and regexec return. std::regex needs a stack as deep as the text is long, and a unit
// chooses its text.
int search(const std::string& expression, const std::string& text) {
    regex_t compiled = {};
    int error = regcomp(&compiled, expression.c_str(), REG_EXTENDED | REG_NOSUB);
    if (error != 0)
        return error;
    error = regexec(&compiled, text.c_str(), 0, nullptr, 0);
    regfree(&compiled);
    return error;
}

std::string checkLimit(const NamedValue& limit) {
    if (limit.name == "match") {
        const int error = search(limit.value, "");
        if (limit.value.empty() || (error != 0 && error != REG_NOMATCH))  // "" matches any value
            return "--match '" + limit.value + "' is not an extended regular expression";
    } else if (limit.name != "expect" && numberIn(numberOrText(limit.value)) == nullptr) {
        return "--" + limit.name + " '" + limit.value + "' is not a number";
    }
    return "";
}

// Returns true if the value keeps the limit. In a list, every number must keep --min and --max.
bool keeps(const NamedValue& limit, const Value& value) {
    if (limit.name == "expect")
        return textOf(value) == limit.value;
    if (limit.name == "match")
        return search(limit.value, textOf(value)) == 0;
    if (const auto* const list = std::get_if<List>(&value.of))
        return std::ranges::all_of(list->items,
                                   [&](const Value& item) { return keeps(limit, item); });
    const Number* const number = numberIn(value);
    const Value bound = numberOrText(limit.value);
    const double excess = number != nullptr ? number->real - numberIn(bound)->real : NAN;
    return limit.name == "min" ? excess >= 0 : excess <= 0;
}

}  // namespace

std::string extractLimits(const Command& command, NamedValues* named, NamedValues* limits,
                          double* untilSeconds) {
    constexpr double kUntilSeconds = 60;
    std::string wrong;
    std::erase_if(*named, [&](const NamedValue& given) {
        const std::string& name = given.name;
        const bool isUntil = command.access == Access::Read && (name == "until" || name == "for");
        const bool isLimit = command.format != nullptr && (name == "expect" || name == "min" ||
                                                           name == "max" || name == "match");
        const bool isNumeric = command.format == decodeNumber || command.format == decodeFanSpeeds;
        std::string fault;
        if (isLimit && !isNumeric && (name == "min" || name == "max")) {
            fault = "--" + name + ": the command does not return a number";
        } else if (isLimit) {
            limits->push_back(given);
            fault = checkLimit(given);
        } else if (isUntil && name == "for") {
            fault = parseSeconds(given.value, 1, untilSeconds);
        } else if (isUntil && *untilSeconds == 0) {
            *untilSeconds = kUntilSeconds;
        }
        wrong = wrong.empty() ? fault : wrong;
        return isLimit || isUntil;
    });
    return wrong;
}

void judge(const Command& command, bool hides, Result* result) {
    if (result->outcome.code != kExitDone)
        return;
    const std::string text = textOf(result->value);
    std::string wrong;
    for (const NamedValue& limit : result->limits) {
        if (keeps(limit, result->value))
            continue;
        wrong = "'" + text + "' does not keep --" + limit.name + " " + limit.value;
        if (limit.name == "expect")
            wrong = "expected '" + limit.value + "', got '" + text + "'";
        if (hides)
            wrong = "the value does not keep --" + limit.name;
        break;
    }
    if (isNothing(command, result->value)) {
        result->value = {};
        wrong = "no value: the unit returned '" + text + "' (" + command.nothing.meaning + ")";
    }
    if (!wrong.empty())
        result->outcome = {kExitFailed, wrong};
}

}  // namespace station
