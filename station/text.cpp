#include <algorithm>
#include <iterator>
#include <numeric>
#include <sstream>
#include <utility>

#include "station/options.h"
#include "station/values.h"

namespace station {
namespace {

constexpr char kHexDigits[] = "0123456789abcdef";

// Returns the number of characters to insert, delete or replace to turn one text into the other.
size_t editDistance(const std::string& from, const std::string& into) {
    std::vector<size_t> row(into.size() + 1);
    std::iota(row.begin(), row.end(), size_t{0});
    for (size_t i = 0; i < from.size(); i++) {
        size_t diagonal = std::exchange(row[0], i + 1);
        for (size_t j = 0; j < into.size(); j++) {
            const size_t replaced = diagonal + (from[i] == into[j] ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({replaced, diagonal + 1, row[j] + 1});
        }
    }
    return row.back();
}

}  // namespace

bool isPrintable(char character) { return character >= ' ' && character <= '~'; }

std::string printable(std::string_view bytes) {
    std::string text;
    for (const char character : bytes) {
        const auto byte = static_cast<uint8_t>(character);
        text += isPrintable(character) ? std::string(1, character) : "\\x" + hexOf({&byte, 1});
    }
    return text;
}

Words splitAtBlanks(const std::string& text) {
    std::istringstream stream(text);
    return {std::istream_iterator<std::string>(stream), {}};
}

std::string hexOf(std::span<const uint8_t> bytes) {
    std::string hex;
    for (const uint8_t byte : bytes)
        hex.append(1, kHexDigits[byte >> 4]).append(1, kHexDigits[byte & 15]);
    return hex;
}

std::string parseHex(const std::string& digits, Bytes* bytes) {
    const size_t wrong = digits.find_first_not_of("0123456789abcdefABCDEF");
    if (wrong != std::string::npos)
        return std::string("'") + digits[wrong] + "' is not a hexadecimal digit";
    if (digits.size() % 2 != 0)
        return "an odd number of hexadecimal digits";
    bytes->clear();
    for (size_t i = 0; i < digits.size(); i += 2)
        bytes->push_back(static_cast<uint8_t>(std::stoi(digits.substr(i, 2), nullptr, 16)));
    return "";
}

std::string suggestion(const std::string& typed, const Words& names, char quote) {
    std::string nearest;
    size_t least = std::min<size_t>(3, 1 + typed.size() / 3);
    for (const std::string& name : names) {
        const bool isPart = name.starts_with(typed) || name.ends_with(' ' + typed);
        const size_t distance = isPart ? 0 : editDistance(typed, name);
        if (distance > least)
            continue;
        if (distance < least)
            nearest.clear();
        nearest.append(nearest.empty() ? "" : ", ").append(1, quote).append(name).append(1, quote);
        least = distance;
    }
    return nearest.empty() ? "" : "; did you mean " + nearest + "?";
}

}  // namespace station
