// The regions a unit can be made for: two letters on the wire, a special-ID code in flash.
#pragma once

#include <cstddef>

inline constexpr size_t kRegionSize = 2;  // bytes, not terminated

struct Region {
    const char* specialId;  // of all but UN the letters in hexadecimal and four zeros
    const char* letters;
};

// Searched in this order up to the first empty slot; four are left for regions to come.
inline constexpr Region kRegions[20] = {
    {"00000000", "UN"}, {"55530000", "US"}, {"45550000", "EU"}, {"4B520000", "KR"},
    {"42520000", "BR"}, {"4A500000", "JP"}, {"43410000", "CA"}, {"41550000", "AU"},
    {"52550000", "RU"}, {"54570000", "TW"}, {"53570000", "SW"}, {"42340000", "B4"},
    {"5A470000", "ZG"}, {"45470000", "EG"}, {"53470000", "SG"}, {"4E5A0000", "NZ"},
};

// Finds the region of a special ID into region[2]: the first row of the table whose code stands
// anywhere in the text; without one, its first four characters read as two hexadecimal bytes, which
// may be zero. `specialId` is a text of a buffer of at least four bytes, zero behind it.
void mfgp_regionOfSpecialId(const char* specialId, char* region);

// The special-ID code of a region given by its exact letters ("US"); null for an unknown one.
const char* mfgp_specialIdOfRegion(const char* region);
