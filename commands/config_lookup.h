// Look-ups in the unit's UCI configuration. A failure is logged and returned as -1. The calling
// commands add their own codes.
#pragma once

#include <cstdint>
#include <span>

// Reads a string option of the unit's configuration, terminated and cut to fit. If section is null,
// every section of the package must have the option, and the last section's value counts. Returns
// 0, or -1 when the package, the section or the option is missing, the package has no section, or
// the option is a list.
int uci_get_option(const char* config, const char* section, const char* option,
                   std::span<char> out);

// Combines four on/off settings into *enableFlags: bit 0 Wi-Fi, bit 1 guest Wi-Fi, bit 2 IPv6, bit
// 3 Bluetooth. Returns 0, or -1 with *enableFlags unchanged when one setting cannot be read.
int get_enable_flags(uint32_t* enableFlags);
