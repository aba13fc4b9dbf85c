// The commands as rows: how each fails, and what it changes.
#pragma once

#include <cstdint>
#include <optional>
#include <set>
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
    std::string field = {};      // the factory field that it answers with
    size_t length = 64;          // to which this answer is padded with zero bytes; 0: not padded
    std::string whenEmpty = {};  // the answer for an empty field
    std::string error;           // code and message
    // The default is kReads, or kStores for a command that changes a partition.
    std::optional<unsigned> failsUnder = {};
    std::vector<std::string> needs = {};    // fails unless these tools do their work
    std::set<std::string> background = {};  // tools that it starts and does not wait for
    std::string changes = {};  // the partition that the command writes, once unless it is the reset
};

inline std::vector<CommandRow> allCommands() {
    // clang-format off
    const std::string kInfo = "product-info", kCalibration = "-10309 start calibration data failed";
    return {
        {.subType = kGetDescription, .error = "-10323 get hw desc failed"},
        {.subType = kGetSpecialId, .error = "-10326 get special ID failed"},
        {.subType = kGetGroup, .error = "-10337 get Groupinfo failed"},
        {.subType = kGetImei, .error = "-10351 get imei failed", .needs = {"uci"}},
        {.subType = kConfig, .error = "-10335 get config for check failed"},
        {.subType = kSetFan, .argument = R"({"gear":"2","time":3})",
         .error = "-10300 Set Fan Control Error", .background = {"main_fanctrl"}},
        {.subType = kCardState, .error = "-10344 get card state failed"},
        {.subType = kCardConn, .error = "-10345 get card conn failed"},
        {.subType = kCardSignal, .error = "-10346 get card siglvl failed"},
        {.subType = kCardRegState, .error = "-10347 get card reg state failed"},
        {.subType = kSimImei, .error = "-10348 get sim imei failed"},
        {.subType = kSetAntenna, .argument = "1-3-0-60-1-19850",
         .error = "-10352 set antenna failed", .needs = {"uci", "atcon"}},
        {.subType = kSetFtm, .argument = "1", .error = "-10354 set antenna FTM failed",
         .needs = {"uci"}},
        {.subType = kGetFtm, .error = "-10355 get antenna FTM failed", .needs = {"uci", "atcon"}},
        {.subType = kLteVersion, .error = "-10356 get lte soft version failed",
         .needs = {"uci", "atcon"}},
        {.subType = kSpread, .argument = R"({"band":0,"nss":2})",
         .error = "-10357 get wifi rssi error"},
        {.subType = kStopLog, .error = "-10342 QLog failed to stop!", .failsUnder = 0},
        {.subType = kStartLog, .error = "-10341 QLog failed to start!", .failsUnder = kNoFork,
         .background = {"QLog"}},
        {.subType = kExtAntenna, .argument = "1", .error = "-10343 ExtAntenna failed to change!",
         .failsUnder = kNoFork, .needs = {"reload_config"}},
        {.subType = kButton, .argument = "WIFI", .error = "-10331 get SSID failed",
         .needs = {"is_cal"}},
        {.subType = kCalStatus, .error = "-10331 get SSID failed", .needs = {"is_cal"}},
        {.subType = kGetFlags, .error = "-10334 get enable flags failed", .failsUnder = 0},
        {.subType = kBluetooth, .error = "-10340 get bluetooth enable failed", .failsUnder = 0},
        {.subType = kStartCal, .error = kCalibration, .failsUnder = kNoFork},
        {.subType = kStartCal, .argument = "Btdiag", .error = kCalibration, .failsUnder = kNoFork},
        {.subType = kStartCal, .argument = "coext", .error = kCalibration, .failsUnder = kNoFork,
         .background = {"coext"}},
        {.subType = kRecheck, .argument = R"({"gear":255})",
         .error = "-10300 recheck all gears fanspeed failed!", .failsUnder = kNoFork},
        {.subType = kChains, .argument = R"({"band":"0","antmode":1})",
         .error = "-10300 Set Smart Antenna Error", .failsUnder = kNoFork},
        {.subType = kTestMode, .error = "-10349 enable test mode failed", .failsUnder = kNoFork},
        {.subType = kGenerateGroup, .argument = "3", .error = "-10338 generate Groupinfo failed",
         .failsUnder = kStores, .needs = {"generate_group"}},
        {.subType = kEraseRadio, .error = "-10308 erase calibration data failed", .failsUnder = 0,
         .changes = "radio"},
        {.subType = kSetDeviceId, .argument = "ID", .error = "-10315 set device ID failed",
         .changes = "device-id"},
        {.subType = kSetPin, .argument = "00000000", .error = "-1 get product id failed",
         .changes = "pin"},
        {.subType = kSetMac, .argument = "\x02\x1A\x2B\x13\x7B\x0F",
         .error = "-10303 set mac failed", .background = {"essid.sh"}, .changes = "default-mac"},
        {.subType = kSetImei, .argument = "123456789012345", .error = "-10350 set imei failed",
         .failsUnder = kReads | kStores, .needs = {"uci"}, .changes = "default-imei"},
        {.subType = kSetOemId, .argument = "OEM", .error = "-10325 set OEM ID failed",
         .needs = {"flashkv"}, .changes = kInfo},
        {.subType = kSetSpecialId, .argument = "NZ", .error = "-10327 set Special ID failed",
         .needs = {"flashkv"}, .changes = kInfo},
        {.subType = kSetCountry, .argument = "DE", .error = "-10329 set Country Code failed",
         .needs = {"flashkv"}, .changes = kInfo},
        {.subType = kSetModel, .argument = "M60", .error = "-10327 set model name failed",
         .needs = {"flashkv"}, .changes = kInfo},
        {.subType = kSetGroup, .argument = groupObject(),
         .error = "-10336 set group failed", .needs = {"flashkv", "check_group"}, .changes = kInfo},
        {.subType = kReset, .error = "-10300 soft reset fail", .failsUnder = kNoFork | kReadOnlyTmp,
         .needs = {"flashkv"}, .changes = "user-config"},
        {.subType = kGetProductId, .field = "PRODUCT_ID", .length = 16, .whenEmpty = "00000000",
         .error = "-10330 get Product ID failed"},
        {.subType = kGetDeviceId, .field = "DEV_ID", .error = "-10316 get device ID failed"},
        {.subType = kGetMac, .field = "MAC", .length = 17, .error = "-10320 get mac failed"},
        {.subType = kGetFirmwareId, .field = "FW_ID", .error = "-10321 get fw ID failed"},
        {.subType = kGetHardwareId, .field = "HW_ID", .error = "-10322 get fw ID failed"},
        {.subType = kGetOemId, .field = "OEM_ID", .error = "-10324 get OEM ID failed"},
        {.subType = kGetCountry, .field = "COUNTRY", .whenEmpty = "UN",
         .error = "-10328 get Country Code failed"},
        {.subType = kGetSsid, .field = "SSID", .length = 0, .error = "-10331 get SSID failed"},
        {.subType = kGetHardware, .field = "HARDVERSION", .length = 0,
         .error = "-10333 get hw version failed"},
        {.subType = kGetFirmware, .field = "SOFTVERSION", .length = 0,
         .error = "-10332 get fw version failed"},
        {.subType = kGetModel, .field = "MODEL", .length = 0,
         .error = "-10339 get model name failed"},
    };
    // clang-format on
}
