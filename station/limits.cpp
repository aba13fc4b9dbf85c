#include "station/limits.h"

#include <algorithm>
#include <cmath>
#include <regex>

namespace station {
namespace {

const Number* numberIn(const Value& value) { return std::get_if<Number>(&value.of); }

std::string checkLimit(const NamedValue& limit) {
    if (limit.name == "match") {
        try {
            const std::regex expression(limit.value, std::regex::extended);
        } catch (const std::regex_error& error) {
            return "--match '" + limit.value + "': " + error.what();
        }
    } else if (limit.name != "expect" && numberIn(numberOrText(limit.value)) == nullptr) {
        return "--" + limit.name + " '" + limit.value + "' is not a number";
    }
    return "";
}

// Each number of a list has to keep --min and --max.
bool keeps(const NamedValue& limit, const Value& value) {
    if (limit.name == "expect")
        return textOf(value) == limit.value;
    if (limit.name == "match")
        return std::regex_search(textOf(value), std::regex(limit.value, std::regex::extended));
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
        std::string fault;
        if (isLimit) {
            limits->push_back(given);
            fault = checkLimit(given);
        } else if (isUntil && name == "for") {
            fault = parseSeconds(given.value, untilSeconds);
        } else if (isUntil && *untilSeconds == 0) {
            *untilSeconds = kUntilSeconds;
        }
        wrong = wrong.empty() ? fault : wrong;
        return isLimit || isUntil;
    });
    return wrong;
}

std::string parseSeconds(const std::string& text, double* seconds) {
    constexpr double kMaxSeconds = 86400;
    const Value value = numberOrText(text);
    const Number* const number = numberIn(value);
    *seconds = number != nullptr ? number->real : 0;
    return *seconds > 0 && *seconds <= kMaxSeconds
               ? ""
               : "'" + text + "' is not a time of more than 0 and at most 86400 seconds";
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
