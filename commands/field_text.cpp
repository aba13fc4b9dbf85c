#include "commands/field_text.h"

#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstdlib>

int split_by_char(char separator, char* text, char** tokens, int maximum) {
    int count = 0;
    char* start = text;
    for (char* at = text; *at != '\0' && count < maximum; at++) {
        if (*at != separator && *at != '\r')
            continue;
        const bool isLast = *at == '\r';
        tokens[count++] = start;
        *at = '\0';
        if (isLast)
            return count;
        start = at + 1;
    }
    if (count < maximum && *start != '\0')
        tokens[count++] = start;
    return count;
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
    // On the unit a long has 32 bits and strtol itself stops at the ends of an int.
    return static_cast<int>(std::clamp<long>(strtol(text, nullptr, kDecimal), INT_MIN, INT_MAX));
}

void mfgp_scanNumbers(const char* text, const char* pattern, int* const* numbers) {
    constexpr int kDecimal = 10;
    for (; *pattern != '\0'; pattern++) {
        if (*pattern != '#') {
            if (*text++ != *pattern)
                return;
            continue;
        }
        char* end = nullptr;
        strtol(text, &end, kDecimal);
        if (end == text)
            return;
        **numbers++ = mfgp_textToInt(text);
        text = end;
    }
}
