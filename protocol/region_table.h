// The regions that a unit can be made for: two letters on the wire, a special-ID code in flash.
#pragma once

#include <array>

using RegionLetters = std::array<char, 2>;  // not terminated

struct Region {
    const char* specialId;  // except for UN, the letters in hexadecimal and four zeros
    const char* letters;
};

// Searched in this order up to the first empty slot. Four slots are free.
inline constexpr Region kRegions[20] = {
    {"00000000", "UN"}, {"55530000", "US"}, {"45550000", "EU"}, {"4B520000", "KR"},
    {"42520000", "BR"}, {"4A500000", "JP"}, {"43410000", "CA"}, {"41550000", "AU"},
    {"52550000", "RU"}, {"54570000", "TW"}, {"53570000", "SW"}, {"42340000", "B4"},
    {"5A470000", "ZG"}, {"45470000", "EG"}, {"53470000", "SG"}, {"4E5A0000", "NZ"},
};

// Returns the region of a special ID: the first row of the table whose code occurs anywhere in the
// text. Without such a row, returns the first four characters read as two hexadecimal bytes, which
// may be zero.
RegionLetters mfgp_regionOfSpecialId(const char* specialId);

// Returns the special-ID code of a region given by its exact letters ("US"), or null for an unknown
// region.
const char* mfgp_specialIdOfRegion(const char* region);
