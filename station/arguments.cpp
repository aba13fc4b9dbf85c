#include "station/arguments.h"

#include <algorithm>
#include <climits>

#include "protocol/region_table.h"
#include "station/values.h"

namespace station {
namespace {

bool isControl(char character) {
    const auto byte = static_cast<unsigned char>(character);
    return byte < ' ' || byte == 0x7F;
}

// The twelve digits of an address with one kind of separator; any other text as it is.
std::string withoutSeparators(const std::string& text) {
    constexpr size_t kLength = 17;
    if (text.size() != kLength || (text[2] != ':' && text[2] != '-'))
        return text;
    std::string digits;
    for (size_t i = 0; i < text.size(); i++) {
        if (i % 3 != 2)
            digits += text[i];
        else if (text[i] != text[2])
            return text;
    }
    return digits;
}

std::string checkGroup(const std::string& text) {
    constexpr size_t kLongest = 1024;
    if (text.size() > kLongest)
        return "the group object is " + std::to_string(text.size()) + " bytes long, more than 1024";
    if (text.empty() || text.front() != '{' || text.back() != '}')
        return "the group object is not a JSON object in braces";
    for (const char* part : {"gid", "key", "pack"})
        if (text.find(std::string("\"") + part + "\"") == std::string::npos)
            return std::string("the group object has no \"") + part + "\"";
    return "";
}

}  // namespace

std::string macAddress(const Words& words, Request* request) {
    constexpr size_t kDigits = 12;
    constexpr uint8_t kGroupBit = 1;  // IEEE 802: multicast and broadcast
    const std::string digits = withoutSeparators(words[0]);
    if (digits.size() != kDigits || !parseHex(digits, &request->payload).empty())
        return "MAC '" + words[0] +
               "' is none of 02:1A:2B:13:7B:00, 02-1A-2B-13-7B-00 and 021A2B137B00";
    const Bytes& bytes = request->payload;
    if ((bytes[0] & kGroupBit) != 0 || bytes == Bytes(bytes.size()))
        return "MAC address " + words[0] +
               " is a broadcast, multicast or all-zero address and is not valid for a unit. "
               "`raw 3 75 " +
               digits + "` writes it anyway";
    return "";
}

std::string pin(const Words& words, Request* request) {
    constexpr size_t kLength = 8;
    if (words[0].size() != kLength)
        return "PIN has " + std::to_string(words[0].size()) + " characters, not 8";
    if (!std::all_of(words[0].begin(), words[0].end(), isPrintable))
        return "PIN holds a character that cannot be printed";
    putText(words[0], request);
    return "";
}

std::string identityText(const Words& words, Request* request) {
    constexpr size_t kLongest = 64;
    const std::string& text = words[0];
    if (text.empty())
        return "TEXT is empty";
    if (text.size() > kLongest)
        return "TEXT is " + std::to_string(text.size()) + " bytes long, more than 64";
    if (std::any_of(text.begin(), text.end(), isControl))
        return "TEXT holds a control character";
    putText(text, request);
    return "";
}

Words regionNames() {
    Words names;
    for (const Region& row : kRegions)
        if (row.letters != nullptr)
            names.emplace_back(row.letters);
    return names;
}

std::string region(const Words& words, Request* request) {
    putText(words[0], request);
    std::string known;
    for (const std::string& name : regionNames()) {
        if (name == words[0])
            return "";
        known += ' ' + name;
    }
    return "REGION '" + words[0] + "' is none of" + known;
}

std::string groupObject(const Words& words, Request* request) {
    putText(words[0], request);
    return checkGroup(words[0]);
}

std::string unitCount(const Words& words, Request* request) {
    unsigned count = 0;
    if (!parseNumber(words[0], INT_MAX, &count) || count == 0)
        return "COUNT '" + words[0] + "' is not a number above 0";
    putText(std::to_string(count), request);
    return "";
}

}  // namespace station
