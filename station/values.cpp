#include "station/values.h"

#include <algorithm>
#include <span>

namespace station {
namespace {

constexpr char kHexDigits[] = "0123456789abcdef";

// Returns -1 for what is no hex digit.
int hexValue(char digit) {
    if (digit >= '0' && digit <= '9')
        return digit - '0';
    if (digit >= 'a' && digit <= 'f')
        return digit - 'a' + 10;
    if (digit >= 'A' && digit <= 'F')
        return digit - 'A' + 10;
    return -1;
}

std::string textOf(std::span<const uint8_t> bytes) {
    const std::string_view all(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    return printable(all.substr(0, all.find('\0')));
}

std::string flagsOf(std::span<const uint8_t> bytes) {
    static constexpr const char* kNames[] = {"Wi-Fi", "guest Wi-Fi", "IPv6", "Bluetooth"};
    std::string text;
    for (size_t i = 0; i < std::size(kNames); i++)
        text += std::string(i == 0 ? "" : ", ") + kNames[i] +
                ((bytes[0] >> i & 1) != 0 ? " on" : " off");
    return text;
}

// A part of the configuration record.
struct Field {
    const char* name;
    size_t offset;
    size_t size;
    std::string (*show)(std::span<const uint8_t> bytes);
};

constexpr Field kConfigRecord[] = {
    {"firmware version", 0, 64, textOf}, {"hardware version", 64, 16, textOf},
    {"model", 80, 32, textOf},           {"country", 112, 64, textOf},
    {"region", 176, 64, textOf},         {"enabled", 240, 4, flagsOf},
};

}  // namespace

std::string decodeText(const Reply& reply) {
    return textOf(reply.payload);
}

std::string decodeLine(const Reply& reply) {
    Reply line = reply;
    line.payload.erase(std::find(line.payload.begin(), line.payload.end(), '\n'),
                       line.payload.end());
    return decodeText(line);
}

std::string decodeRaw(const Reply& reply) {
    std::string text;
    for (const uint8_t byte : reply.payload)
        text += isPrintable(static_cast<char>(byte)) ? static_cast<char>(byte) : '.';
    return "info: " + std::to_string(reply.info) +
           "\nlength: " + std::to_string(reply.payload.size()) + "\nhex: " + hexOf(reply.payload) +
           "\ntext: " + text;
}

std::string decodeYes(const Reply&) {
    return "yes";
}

std::string decodeEnableFlags(const Reply& reply) {
    return flagsOf(reply.payload);
}

std::string decodeFanSpeeds(const Reply& reply) {
    Bytes bytes = reply.payload;
    std::erase(bytes, '\n');  // a fan service may end each speed with one
    std::string text = textOf(bytes);
    return text.insert(std::min(text.find(' '), text.size()), " fans:");
}

std::string decodeConfigCheck(const Reply& reply) {
    std::string text;
    for (const Field& field : kConfigRecord)
        text += std::string(text.empty() ? "" : "\n") + field.name + ": " +
                field.show({reply.payload.data() + field.offset, field.size});
    return text;
}

bool isPrintable(char character) {
    return character >= ' ' && character <= '~';
}

std::string printable(std::string_view bytes) {
    std::string text;
    for (const char character : bytes) {
        const auto byte = static_cast<uint8_t>(character);
        text += isPrintable(character) ? std::string(1, character) : "\\x" + hexOf({&byte, 1});
    }
    return text;
}

std::string hexOf(std::span<const uint8_t> bytes) {
    std::string hex;
    for (const uint8_t byte : bytes)
        hex.append(1, kHexDigits[byte >> 4]).append(1, kHexDigits[byte & 15]);
    return hex;
}

std::string parseHex(const std::string& digits, Bytes* bytes) {
    for (const char digit : digits)
        if (hexValue(digit) < 0)
            return std::string("'") + digit + "' is not a hexadecimal digit";
    if (digits.size() % 2 != 0)
        return "an odd number of hexadecimal digits";
    bytes->clear();
    for (size_t i = 0; i < digits.size(); i += 2)
        bytes->push_back(static_cast<uint8_t>(hexValue(digits[i]) << 4 | hexValue(digits[i + 1])));
    return "";
}

}  // namespace station
