// The regions a unit can be made for: two letters on the wire, a special-ID code in flash.
#pragma once

#include <cstddef>

inline constexpr size_t kRegionSize = 2;  // bytes, not terminated

// Finds the region of a special ID into region[2]: the first row of the table whose code stands
// anywhere in the text; without one, its first four characters read as two hexadecimal bytes, which
// may be zero. `specialId` is a text of a buffer of at least four bytes, zero behind it.
void mfgp_regionOfSpecialId(const char* specialId, char* region);

// The special-ID code of a region given by its exact letters ("US"); null for an unknown one.
const char* mfgp_specialIdOfRegion(const char* region);
