#include "commands/region_table.h"

#include <cstring>

#include "commands/factory_fields.h"

namespace {

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
