#include "station/arguments.h"

#include <climits>
#include <regex>

#include "protocol/region_table.h"
#include "station/commands.h"

namespace station {
namespace {

constexpr unsigned kMaxByte = 255;

struct ArgumentForm {
    const char* name;
    const char* pattern;  // null: a number
    const char* meaning;
    unsigned least = 0;
    unsigned most = kMaxByte;
};

constexpr ArgumentForm kForms[] = {
    {"TEXT", "[^\\x00-\\x1F\\x7F]{1,64}", "1 to 64 bytes without control characters"},
    {"PIN", "[ -~]{8}", "8 printable characters"},
    {"MAC", "[0-9A-Fa-f]{2}([-:]?)([0-9A-Fa-f]{2}\\1){4}[0-9A-Fa-f]{2}",
     "like 02-1A-2B-13-7B-00, 02:1A:2B:13:7B:00 or 021A2B137B00"},
    {"CHARACTER", "[0-9A-Za-z]", "one letter or digit"},
    {"VALUE", "[0-9]{1,9}", "a whole number"},
    {"COUNT", nullptr, "", 1, INT_MAX},
    {"SECONDS", nullptr, "", 0, 86400},
    {"N", nullptr, ""},
    {"GEAR", nullptr, ""},
    {"MODE", nullptr, ""},
    {"TYPE", nullptr, ""},
    {"SUBTYPE", nullptr, ""},
};

std::string checkChoice(const std::string& form, std::string* argument) {
    std::string known;
    for (const std::string& choice : choicesOf(form)) {
        if (plainName(choice) == plainName(*argument)) {
            *argument = choice;
            return "";
        }
        known += (known.empty() ? "one of " : ", ") + choice;
    }
    return known;
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

std::string checkArgument(const std::string& form, std::string* argument) {
    std::string expected = checkChoice(form, argument);
    for (const ArgumentForm& known : kForms) {
        unsigned number = 0;
        if (form == known.name && known.pattern == nullptr) {
            expected = parseNumber(*argument, known.least, known.most, &number);
            *argument = expected.empty() ? std::to_string(number) : *argument;
        } else if (form == known.name && !std::regex_match(*argument, std::regex(known.pattern))) {
            expected = known.meaning;
        }
    }
    return expected.empty() ? "" : "is not " + expected;
}

Words choicesOf(const std::string& form) {
    Words choices;
    if (form == "MODULE")
        choices = antennaNames({});
    if (form == "REGION")
        for (const Region& row : kRegions)
            if (row.letters != nullptr)
                choices.emplace_back(row.letters);
    const std::regex word("[a-z0-9][a-z0-9-]*");  // a name in capitals allows any text
    if (form.find('|') != std::string::npos)
        choices.assign(std::sregex_token_iterator(form.begin(), form.end(), word), {});
    return choices;
}

std::string macAddress(const Words& words, Request* request) {
    constexpr uint8_t kGroupBit = 1;  // IEEE 802: multicast and broadcast
    std::string digits = words[0];
    std::erase_if(digits, [](char character) { return character == ':' || character == '-'; });
    std::string wrong = parseHex(digits, &request->payload);
    const Bytes& bytes = request->payload;
    if (wrong.empty() && ((bytes[0] & kGroupBit) != 0 || bytes == Bytes(bytes.size())))
        wrong = "MAC address " + words[0] +
                " is a broadcast, multicast or all-zero address and is not valid for a unit. "
                "`raw 3 75 " +
                digits + "` writes it anyway";
    return wrong;
}

std::string groupObject(const Words& words, Request* request) {
    putText(words[0], request);
    return checkGroup(words[0]);
}

std::string rawPacket(const Words& words, Request* request) {
    if (words.size() > 3)
        return "takes TYPE SUBTYPE [HEX]";
    request->type = static_cast<uint8_t>(std::stoul(words[0]));
    request->subType = static_cast<uint8_t>(std::stoul(words[1]));
    const std::string wrong = words.size() == 3 ? parseHex(words[2], &request->payload) : "";
    return wrong.empty() ? "" : "HEX: " + wrong;
}

}  // namespace station
