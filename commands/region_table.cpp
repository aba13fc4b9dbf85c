#include "commands/region_table.h"

#include <cstring>

#include "commands/factory_fields.h"

namespace {

struct Region {
    const char* specialId;  // the letters in hexadecimal and four zeros
    const char* letters;
};

// Searched in this order; four slots are left for regions to come.
constexpr Region kRegions[20] = {
    {"00000000", "UN"}, {"55530000", "US"}, {"45550000", "EU"}, {"4B520000", "KR"},
    {"42520000", "BR"}, {"4A500000", "JP"}, {"43410000", "CA"}, {"41550000", "AU"},
    {"52550000", "RU"}, {"54570000", "TW"}, {"53570000", "SW"}, {"42340000", "B4"},
    {"5A470000", "ZG"}, {"45470000", "EG"}, {"53470000", "SG"}, {"4E5A0000", "NZ"},
};

char hexByte(const char* digits) {
    return static_cast<char>(mfgp_hexDigit(digits[0]) * 16 + mfgp_hexDigit(digits[1]));
}

}  // namespace

void mfgp_regionOfSpecialId(const char* specialId, char* region) {
    for (const Region& row : kRegions) {
        if (row.specialId == nullptr)
            break;
        if (strstr(specialId, row.specialId) != nullptr) {
            memcpy(region, row.letters, kRegionSize);
            return;
        }
    }
    region[0] = hexByte(specialId);
    region[1] = hexByte(specialId + 2);
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
