// What the unit's configuration says: single UCI options, the enable flags, and the record that the
// configuration check compares. A failure is logged and returned as -1; the commands
// that ask add their own codes.
#pragma once

#include <cstddef>
#include <cstdint>

// The record of the configuration check, which goes over the wire as it is stored, but for the
// flags.
struct DutConfig {
    char fwVer[64];
    char hwVer[16];
    char hostname[32];
    char country[64];
    char specialID[64];    // two letters, or two raw bytes of a special ID that no region has
    uint32_t enableFlags;  // little-endian on the wire
};
static_assert(offsetof(DutConfig, hwVer) == 64 && offsetof(DutConfig, hostname) == 80 &&
                  offsetof(DutConfig, country) == 112 && offsetof(DutConfig, specialID) == 176 &&
                  offsetof(DutConfig, enableFlags) == 240 && sizeof(DutConfig) == 244,
              "stations cut the record at these places");

// Reads a string option of the unit's configuration into out[size], terminated and cut to fit.
// Without a section (null) every section of the package must carry the option, and the last one's
// value counts. Returns 0; -1 when the package, the section or the option is missing, the package
// has no section to walk, or the option is a list.
int uci_get_option(const char* config, const char* section, const char* option, char* out,
                   size_t size);

// Folds the unit's four on/off settings into *enableFlags: bit 0 Wi-Fi, bit 1 guest Wi-Fi, bit 2
// IPv6, bit 3 Bluetooth. Returns 0, or -1 with *enableFlags untouched when one cannot be read.
int get_enable_flags(uint32_t* enableFlags);

// Fills the record. Returns 0; -1 without a record, or when a field cannot be read: those read
// before it are then filled, the rest is zero.
int get_dut_config(DutConfig* pCfg);
