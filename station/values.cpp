#include "station/values.h"

#include <algorithm>

namespace station {
namespace {

constexpr char kHexDigits[] = "0123456789abcdef";

bool isPrintable(uint8_t byte) {
    return byte >= 0x20 && byte < 0x7F;
}

std::string hexOf(uint8_t byte) {
    return {kHexDigits[byte >> 4], kHexDigits[byte & 15]};
}

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

}  // namespace

std::string decodeText(const Reply& reply) {
    std::string text;
    for (const uint8_t byte : reply.payload) {
        if (byte == 0)
            break;
        text += isPrintable(byte) ? std::string(1, static_cast<char>(byte)) : "\\x" + hexOf(byte);
    }
    return text;
}

std::string decodeLine(const Reply& reply) {
    Reply line = reply;
    line.payload.erase(std::find(line.payload.begin(), line.payload.end(), '\n'),
                       line.payload.end());
    return decodeText(line);
}

std::string decodeRaw(const Reply& reply) {
    std::string hex;
    std::string text;
    for (const uint8_t byte : reply.payload) {
        hex += hexOf(byte);
        text += isPrintable(byte) ? static_cast<char>(byte) : '.';
    }
    return "info: " + std::to_string(reply.info) +
           "\nlength: " + std::to_string(reply.payload.size()) + "\nhex: " + hex +
           "\ntext: " + text;
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
