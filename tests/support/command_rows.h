// The commands as rows: how each fails, and what it changes.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tests/support/wire.h"

// Faults of the system, as a set of bits.
enum SystemFault : unsigned { kNoPipe = 1, kNoFork = 2, kFullTmp = 4, kReadOnlyTmp = 8 };
constexpr unsigned kReads = kNoPipe | kNoFork;                   // those that stop a tool's answer
constexpr unsigned kStores = kNoFork | kFullTmp | kReadOnlyTmp;  // those that stop a write to flash

struct CommandRow {
    uint8_t subType;
    std::string argument = {};
    std::string error;  // code and message
    // Without a value: those of a read, or those of a write if it changes a partition.
    std::optional<unsigned> failsUnder = {};
    std::vector<std::string> needs = {};  // fails unless these tools do their work
    std::string changes = {};  // the partition that the command writes, once unless it is the reset
};

// A command that answers with one factory field.
struct FieldRead {
    uint8_t subType;
    const char* key;
    size_t length = 0;  // of the answer, which is padded with zero bytes
    const char* error;
    const char* whenEmpty = "";
};

// clang-format off
inline const std::vector<FieldRead> kFieldReads = {
    {.subType = 10, .key = "PRODUCT_ID", .length = 16, .error = "-10330 get Product ID failed",
     .whenEmpty = "00000000"},
    {.subType = 53, .key = "DEV_ID", .length = 64, .error = "-10316 get device ID failed"},
    {.subType = 55, .key = "MAC", .length = 17, .error = "-10320 get mac failed"},
    {.subType = 56, .key = "FW_ID", .length = 64, .error = "-10321 get fw ID failed"},
    {.subType = 57, .key = "HW_ID", .length = 64, .error = "-10322 get fw ID failed"},
    {.subType = 59, .key = "OEM_ID", .length = 64, .error = "-10324 get OEM ID failed"},
    {.subType = 66, .key = "COUNTRY", .length = 64, .error = "-10328 get Country Code failed",
     .whenEmpty = "UN"},
    {.subType = 68, .key = "SSID", .error = "-10331 get SSID failed"},
    {.subType = 70, .key = "HARDVERSION", .error = "-10333 get hw version failed"},
    {.subType = 71, .key = "SOFTVERSION", .error = "-10332 get fw version failed"},
    {.subType = 72, .key = "MODEL", .error = "-10339 get model name failed"},
};

inline std::vector<CommandRow> allCommands() {
    const std::string kInfo = "product-info", kCalibration = "-10309 start calibration data failed";
    std::vector<CommandRow> rows = {
        {.subType = 58, .error = "-10323 get hw desc failed"},
        {.subType = 64, .error = "-10326 get special ID failed"},
        {.subType = 78, .error = "-10337 get Groupinfo failed"},
        {.subType = 91, .error = "-10351 get imei failed", .needs = {"uci"}},
        {.subType = 135, .error = "-10335 get config for check failed"},
        {.subType = 104, .argument = R"({"gear":"2","time":3})",
         .error = "-10300 Set Fan Control Error"},
        {.subType = 106, .error = "-10344 get card state failed"},
        {.subType = 107, .error = "-10345 get card conn failed"},
        {.subType = 108, .error = "-10346 get card siglvl failed"},
        {.subType = 109, .error = "-10347 get card reg state failed"},
        {.subType = 110, .error = "-10348 get sim imei failed"},
        {.subType = 112, .argument = "1-3-0-60-1-19850", .error = "-10352 set antenna failed",
         .needs = {"uci", "atcon"}},
        {.subType = 114, .argument = "1", .error = "-10354 set antenna FTM failed",
         .needs = {"uci"}},
        {.subType = 115, .error = "-10355 get antenna FTM failed", .needs = {"uci", "atcon"}},
        {.subType = 116, .error = "-10356 get lte soft version failed", .needs = {"uci", "atcon"}},
        {.subType = 131, .argument = R"({"band":0,"nss":2})",
         .error = "-10357 get wifi rssi error"},
        {.subType = 93, .error = "-10342 QLog failed to stop!", .failsUnder = 0},  // no logger runs
        {.subType = 92, .error = "-10341 QLog failed to start!", .failsUnder = kNoFork},
        {.subType = 94, .argument = "1", .error = "-10343 ExtAntenna failed to change!",
         .failsUnder = kNoFork, .needs = {"reload_config"}},
        {.subType = 50, .argument = "WIFI", .error = "-10331 get SSID failed", .needs = {"is_cal"}},
        {.subType = 86, .error = "-10331 get SSID failed", .needs = {"is_cal"}},
        {.subType = 69, .error = "-10334 get enable flags failed", .failsUnder = 0},
        {.subType = 87, .error = "-10340 get bluetooth enable failed", .failsUnder = 0},
        {.subType = 18, .error = kCalibration, .failsUnder = kNoFork},
        {.subType = 18, .argument = "Btdiag", .error = kCalibration, .failsUnder = kNoFork},
        {.subType = 18, .argument = "coext", .error = kCalibration, .failsUnder = kNoFork},
        {.subType = 89, .argument = R"({"gear":255})",
         .error = "-10300 recheck all gears fanspeed failed!", .failsUnder = kNoFork},
        {.subType = 128, .argument = R"({"band":"0","antmode":1})",
         .error = "-10300 Set Smart Antenna Error", .failsUnder = kNoFork},
        {.subType = 80, .error = "-10349 enable test mode failed", .failsUnder = kNoFork},
        {.subType = 79, .argument = "3", .error = "-10338 generate Groupinfo failed",
         .failsUnder = kStores, .needs = {"generate_group"}},
        {.subType = 17, .error = "-10308 erase calibration data failed", .failsUnder = 0,
         .changes = "radio"},
        {.subType = 54, .argument = "ID", .error = "-10315 set device ID failed",
         .changes = "device-id"},
        {.subType = 76, .argument = "00000000", .error = "-1 get product id failed",
         .changes = "pin"},
        {.subType = 75, .argument = "\x02\x1A\x2B\x13\x7B\x0F", .error = "-10303 set mac failed",
         .changes = "default-mac"},
        {.subType = 90, .argument = "123456789012345", .error = "-10350 set imei failed",
         .failsUnder = kReads | kStores, .needs = {"uci"}, .changes = "default-imei"},
        {.subType = 60, .argument = "OEM", .error = "-10325 set OEM ID failed",
         .needs = {"flashkv"}, .changes = kInfo},
        {.subType = 65, .argument = "NZ", .error = "-10327 set Special ID failed",
         .needs = {"flashkv"}, .changes = kInfo},
        {.subType = 67, .argument = "DE", .error = "-10329 set Country Code failed",
         .needs = {"flashkv"}, .changes = kInfo},
        {.subType = 82, .argument = "M60", .error = "-10327 set model name failed",
         .needs = {"flashkv"}, .changes = kInfo},
        {.subType = 77, .argument = groupObject(std::string(304, 'k'), std::string(36, 'g')),
         .error = "-10336 set group failed", .needs = {"flashkv", "check_group"}, .changes = kInfo},
        {.subType = 73, .error = "-10300 soft reset fail", .failsUnder = kNoFork | kReadOnlyTmp,
         .needs = {"flashkv"}, .changes = "user-config"},
    };
    for (const FieldRead& field : kFieldReads)
        rows.push_back({.subType = field.subType, .error = field.error});
    return rows;
}
// clang-format on
