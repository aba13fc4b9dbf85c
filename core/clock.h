#pragma once

#include <cstdint>

// The seconds of the current time of day, as the 32-bit number that idle times are counted in.
uint32_t mfgp_clock();
