#include "protocol/region_table.h"

#include <cstring>

namespace {

// Returns the value of a hexadecimal digit in either case, and 0 for any other character.
int mfgp_hexDigit(char digit) {
    if (digit >= '0' && digit <= '9')
        return digit - '0';
    if (digit >= 'a' && digit <= 'f')
        return digit - 'a' + 10;
    if (digit >= 'A' && digit <= 'F')
        return digit - 'A' + 10;
    return 0;
}

}  // namespace

RegionLetters mfgp_regionOfSpecialId(const char* specialId) {
    for (const Region& row : kRegions) {
        if (row.specialId == nullptr)
            break;
        if (strstr(specialId, row.specialId) != nullptr)
            return {row.letters[0], row.letters[1]};
    }
    char digits[4] = {};
    memcpy(digits, specialId, strnlen(specialId, sizeof digits));
    return {static_cast<char>(mfgp_hexDigit(digits[0]) * 16 + mfgp_hexDigit(digits[1])),
            static_cast<char>(mfgp_hexDigit(digits[2]) * 16 + mfgp_hexDigit(digits[3]))};
}

const char* mfgp_specialIdOfRegion(const char* region) {
    for (const Region& row : kRegions) {
        if (row.letters == nullptr)
            break;
        if (strcmp(region, row.letters) == 0)
            return row.specialId;
    }
    return nullptr;
}
