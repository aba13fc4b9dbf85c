#include "commands/argument_text.h"

#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstdlib>
#include <cstring>

int split_by_char(char separator, char* text, std::span<char*> tokens) {
    size_t count = 0;
    char* start = text;
    for (char* at = text; *at != '\0' && count < tokens.size(); at++) {
        if (*at != separator && *at != '\r')
            continue;
        const bool isLast = *at == '\r';
        tokens[count++] = start;
        *at = '\0';
        if (isLast)
            return static_cast<int>(count);
        start = at + 1;
    }
    if (count < tokens.size() && *start != '\0')
        tokens[count++] = start;
    return static_cast<int>(count);
}

char* int_to_text(int32_t value, char* buffer, int radix) {
    static constexpr char kDigits[] = "0123456789abcdefghijklmnopqrstuvwxyz";
    constexpr int kMostRadix = sizeof kDigits - 1;
    if (radix < 1 || radix > kMostRadix)
        return nullptr;
    const bool isNegative = radix == 10 && value < 0;
    const auto base = static_cast<uint32_t>(radix);
    uint32_t rest = isNegative ? 0U - static_cast<uint32_t>(value) : static_cast<uint32_t>(value);
    char reversed[32];
    size_t length = 0;
    do {
        reversed[length++] = kDigits[rest % base];
        rest = base > 1 ? rest / base : 0;
    } while (rest != 0);
    if (isNegative)
        reversed[length++] = '-';
    if (buffer == nullptr)
        buffer = static_cast<char*>(malloc(length + 1));
    if (buffer == nullptr)
        return nullptr;
    for (size_t i = 0; i < length; i++)
        buffer[i] = reversed[length - 1 - i];
    buffer[length] = '\0';
    return buffer;
}

int mfgp_textToInt(const char* text) {
    constexpr int kDecimal = 10;
    // On the unit, a long has 32 bits and strtol already limits the value to an int.
    return static_cast<int>(std::clamp<long>(strtol(text, nullptr, kDecimal), INT_MIN, INT_MAX));
}

const char* mfgp_scanNumber(const char* text, const char* label, int* number) {
    constexpr int kDecimal = 10;
    if (text == nullptr || strncmp(text, label, strlen(label)) != 0)
        return nullptr;
    text += strlen(label);
    char* end = nullptr;
    strtol(text, &end, kDecimal);
    if (end == text)
        return nullptr;
    *number = mfgp_textToInt(text);
    return end;
}
