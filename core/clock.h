#pragma once

#include <cstdint>

// Returns the seconds of the current time of day as an unsigned 32-bit number.
uint32_t mfgp_clock();
