#include "station/arguments.h"

#include <algorithm>
#include <climits>
#include <span>

#include "station/result.h"

namespace station {
namespace {

constexpr const char* kDigits = "0123456789";
bool consistsOf(const std::string& text, const std::string& alphabet) {
    return text.find_first_not_of(alphabet) == std::string::npos;
}

bool isWholeNumber(const std::string& text) {
    unsigned number = 0;
    return consistsOf(text, kDigits) && parseNumber(text, 0, INT_MAX, &number).empty();
}

bool isDecimalNumber(const std::string& text) {
    return consistsOf(text, std::string(kDigits) + '.') &&
           text.find_first_of(kDigits) != std::string::npos &&
           std::count(text.begin(), text.end(), '.') <= 1;
}

// The fields of a module's antenna test in their order on the wire. The fields t0, t1, ... have no
// other name and go into the module's AT command unchanged.
struct AntennaForm {
    const char* module;
    std::span<const char* const> fields;
    const char* decimalField;  // may have decimals; "": all fields are whole numbers
};

constexpr const char* kEg18Fields[] = {"t0", "t1", "t2", "t3"};
constexpr const char* kRg520Fields[] = {"tech",      "band",   "chain_index", "expected_rxagc_dbm",
                                        "rx_enable", "channel"};
constexpr const char* kEg060Fields[] = {"t0", "t1", "t2", "t3", "expected_rxagc_dbm"};
constexpr const char* kFg621Fields[] = {"t0", "t1", "separator", "technology", "read_level"};
constexpr AntennaForm kAntennaForms[] = {
    {"EG18-EA", kEg18Fields, "t3"},
    {"RG520N-EU", kRg520Fields, ""},
    {"EG060K-EA", kEg060Fields, ""},
    {"FG621", kFg621Fields, ""},
};

std::string namesOf(const AntennaForm& form) {
    return std::string(form.module) + " takes " + joined(antennaNames({form.module}));
}

// Stores one NAME=VALUE at its place in *values. A dash separates the fields on the wire, so no
// value can have a minus sign.
std::string readField(const AntennaForm& form, const std::string& word, Words* values) {
    const size_t equals = word.find('=');
    const std::string name = word.substr(0, equals);
    const auto place = std::find(form.fields.begin(), form.fields.end(), name);
    if (equals == std::string::npos || place == form.fields.end())
        return "'" + word + "' is not a field: " + namesOf(form);
    const std::string value = word.substr(equals + 1);
    const bool isDecimal = name == form.decimalField;
    if (!(isDecimal ? isDecimalNumber(value) : isWholeNumber(value)))
        return name + " '" + value + "' is not a " + (isDecimal ? "decimal" : "whole") +
               " number without a sign";
    std::string& slot = values->at(static_cast<size_t>(place - form.fields.begin()));
    if (!slot.empty())
        return name + " is given twice";
    slot = value;
    return "";
}

std::string namedFields(const AntennaForm& form, const Words& words, Request* request) {
    Words values(form.fields.size());
    for (size_t i = 1; i < words.size(); i++) {
        std::string wrong = readField(form, words[i], &values);
        if (!wrong.empty())
            return wrong;
    }
    std::string text;
    for (size_t i = 0; i < values.size(); i++) {
        if (values[i].empty())
            return std::string(form.fields[i]) + " is missing: " + namesOf(form);
        text += (i > 0 ? "-" : "") + values[i];
    }
    putText(text, request);
    return "";
}

// Returns the check digit for the first 14 digits of an IMEI (Luhn).
char checkDigit(const std::string& digits) {
    int sum = 0;
    for (size_t i = 0; i < 14; i++) {
        const int digit = (digits[i] - '0') * (i % 2 == 0 ? 1 : 2);
        sum += digit / 10 + digit % 10;
    }
    return static_cast<char>('0' + (10 - sum % 10) % 10);
}

}  // namespace

Words antennaNames(const Words& before) {
    Words names;
    for (const AntennaForm& form : kAntennaForms)
        if (before.empty())
            names.emplace_back(form.module);
        else if (before[0] == form.module)
            for (const char* field : form.fields)
                names.push_back(std::string(field) + '=');
    return names;
}

std::string antennaFields(const Words& words, Request* request) {
    const auto* const form =
        std::find_if(std::begin(kAntennaForms), std::end(kAntennaForms),
                     [&words](const auto& row) { return words[0] == row.module; });
    return namedFields(*form, words, request);
}

std::string imei(const Words& words, Request* request) {
    constexpr size_t kLength = 15;
    const std::string& text = words[0];
    putText(text, request);
    if (text.size() != kLength || !consistsOf(text, kDigits)) {
        std::string wrong = "IMEI '" + text + "' is not 15 digits";
        if (!text.empty() && text.size() <= kLength)
            wrong += "; `raw 3 90 " + hexOf(request->payload) + "` sends it anyway";
        return wrong;
    }
    const char digit = checkDigit(text);
    if (words.size() > 1 || text.back() == digit)
        return "";
    return "IMEI '" + text + "' has a wrong check digit: the last digit would be " + digit +
           "; --any-check-digit writes it anyway";
}

}  // namespace station
