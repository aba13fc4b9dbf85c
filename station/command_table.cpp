#include <algorithm>

#include "station/arguments.h"
#include "station/batch.h"
#include "station/check.h"
#include "station/run.h"

namespace station {
namespace {

using enum Access;
constexpr Gate kOpen = Gate::Open;
constexpr Gate kGated = Gate::ProduceMode;

// An AT console takes seconds to answer, and a silent one is asked again for a few seconds.
constexpr double kConsoleSeconds = 10;
// A service takes seconds to stop and start, flash to be erased, a radio to give its readings.
constexpr double kServiceSeconds = 10;

constexpr Nothing kEmpty = {"", "the unit has no value for it"};
constexpr Nothing kNoProduct = {"00000000", "the unit has no product ID"};
constexpr Nothing kNoImei = {"999999999999999", "flash and modem differ, or the modem has none"};
constexpr Nothing kNoLevel = {"999", "no level was measured"};
constexpr Nothing kNoSpeeds = {"", "no speed is known for this gear"};
// A spread is never negative: the unit sends the single reading, or -128 if there was none.
constexpr Nothing kNoSpread = {"-*", "fewer than two readings; a single reading is not a spread"};

// A command with the columns that most rows leave empty. Each function fills one column.
// clang-format off
struct Row : Command {
    constexpr Row begins(const char* title) { group = title; return *this; }
    constexpr Row takes(const char* forms, const char* sample, const char* text = "%") { arguments = forms; example = sample; payload = text; return *this; }
    constexpr Row builtBy(ArgumentBuilder builder) { build = builder; return *this; }
    constexpr Row sends(const char* text) { payload = text; return *this; }
    constexpr Row gives(ReplyFormat how, size_t least = 0) { format = how; leastReply = least; return *this; }
    constexpr Row nothingAt(Nothing value) { nothing = value; return *this; }
    constexpr Row in(const char* measure) { unit = measure; return *this; }
    constexpr Row onSheet() { isOnSheet = true; return *this; }
    constexpr Row onlyOnce() { once = true; return *this; }
    constexpr Row hidden() { isSecret = true; return *this; }
    constexpr Row refusesAs(const char* meaning) { refusal = meaning; return *this; }
    constexpr Row shownBy(const char* read) { readBack = read; return *this; }
    constexpr Row slow(double seconds) { toolSeconds = seconds; return *this; }
};

constexpr Row row(uint8_t type, uint8_t subType, Access access, Gate gate, const char* name, const char* help) {
    return {{name, type, subType, access, gate, help}};
}

constexpr Row own(const char* name, int (*run)(const Options&, Output*), const char* help) {
    Row made = {{name, kTypeFromWords, 0, Read, kOpen, help}};
    made.run = run;
    return made;
}

constexpr Command kCommands[] = {
    // type          sub  access  gate    name                          help, then the optional columns
    // identity
    row(kTypeSpecial,     55, Read,   kOpen,  "get mac",                    "MAC address").gives(decodeText, 17).nothingAt(kEmpty).onSheet().begins("identity"),
    row(kTypeSpecial,     75, Flash,  kGated, "set mac",                    "write the MAC address and name the default Wi-Fi network after it").takes("MAC", "02-1A-2B-13-7B-00").builtBy(macAddress).onlyOnce().shownBy("get mac"),
    row(kTypeSpecial,     53, Read,   kOpen,  "get device-id",              "device ID").gives(decodeText, 64).nothingAt(kEmpty).onSheet(),
    row(kTypeSpecial,     54, Flash,  kGated, "set device-id",              "write the device ID; each identity field can be written once while the daemon runs").takes("TEXT", "80061A2B137B00C4").onlyOnce().shownBy("get device-id"),
    row(kTypeEncrypted,   72, Read,   kOpen,  "get model-name",             "model name").gives(decodeText).nothingAt(kEmpty).onSheet(),
    row(kTypeSpecial,     82, Flash,  kOpen,  "set model-name",             "write the model name").takes("TEXT", "M31-5G").onlyOnce().shownBy("get model-name"),
    row(kTypeSpecial,     70, Read,   kOpen,  "get hardware-version",       "hardware version").gives(decodeText).nothingAt(kEmpty).onSheet(),
    row(kTypeSpecial,     58, Read,   kGated, "get hardware-description",   "model and hardware version").gives(decodeText, 128).nothingAt(kEmpty).onSheet(),
    row(kTypeSpecial,     71, Read,   kOpen,  "get firmware-version",       "firmware version").gives(decodeText).nothingAt(kEmpty).onSheet(),
    row(kTypeSpecial,     57, Read,   kGated, "get hardware-id",            "hardware ID").gives(decodeText, 64).nothingAt(kEmpty).onSheet(),
    row(kTypeSpecial,     56, Read,   kGated, "get firmware-id",            "firmware ID").gives(decodeText, 64).nothingAt(kEmpty).onSheet(),
    row(kTypeSpecial,     10, Read,   kGated, "get product-id",             "product ID").gives(decodeText, 16).nothingAt(kNoProduct).onSheet(),
    row(kTypeSpecial,     59, Read,   kGated, "get oem-id",                 "OEM ID").gives(decodeText, 64).nothingAt(kEmpty).onSheet(),
    row(kTypeSpecial,     60, Flash,  kGated, "set oem-id",                 "write the OEM ID").takes("TEXT", "OEM-7").onlyOnce().shownBy("get oem-id"),
    row(kTypeSpecial,     64, Read,   kOpen,  "get special-id",             "region of the special ID").gives(decodeText, 64).nothingAt(kEmpty).onSheet(),
    row(kTypeSpecial,     65, Flash,  kGated, "set special-id",             "write the special ID of a region (US, EU, ...)").takes("REGION", "EU").onlyOnce().shownBy("get special-id"),
    row(kTypeSpecial,     66, Read,   kOpen,  "get country",                "country code").gives(decodeText, 64).nothingAt(kEmpty).onSheet(),
    row(kTypeSpecial,     67, Flash,  kGated, "set country",                "write the country code").takes("TEXT", "DE").onlyOnce().shownBy("get country"),
    row(kTypeSpecial,     76, Flash,  kOpen,  "set pin",                    "write the PIN").takes("PIN", "12345678").onlyOnce().hidden(),
    row(kTypeSpecial,     78, Read,   kGated, "get group",                  "group data, in the form of `set group`").gives(decodeJson).onSheet(),
    row(kTypeSpecial,     77, Flash,  kGated, "set group",                  "write the group data: gid, key and pack").takes("JSON|@FILE", "@group.json").builtBy(groupObject).onlyOnce().shownBy("get group"),
    row(kTypeSpecial,     79, Write,  kGated, "generate group",             "make new group data for a number of units; stores nothing").takes("COUNT", "3").gives(decodeJson),

    // cellular
    row(kTypeSpecial,     91, Read,   kOpen,  "get imei",                   "IMEI").gives(decodeText, 15).nothingAt(kNoImei).onSheet().slow(kConsoleSeconds).begins("cellular"),
    row(kTypeSpecial,     90, Flash,  kOpen,  "set imei",                   "write the IMEI (15 digits) to flash and modem").takes("IMEI [--any-check-digit]", "490154203237518").builtBy(imei).onlyOnce().shownBy("get imei").slow(kConsoleSeconds),
    row(kTypeSpecial,    110, Read,   kOpen,  "get sim-imei",               "IMEI of the modem").gives(decodeLine, 16).nothingAt(kEmpty).onSheet().slow(kConsoleSeconds),
    row(kTypeSpecial,    116, Read,   kOpen,  "get modem-version",          "software version of the modem").gives(decodeText, 65).nothingAt(kEmpty).onSheet().slow(kConsoleSeconds),
    row(kTypeSpecial,    106, Read,   kOpen,  "get card-state",             "SIM card state").gives(decodeLine).nothingAt(kEmpty).onSheet(),
    row(kTypeSpecial,    107, Read,   kOpen,  "get card-connection",        "cellular connection state").gives(decodeLine).nothingAt(kEmpty).onSheet(),
    row(kTypeSpecial,    108, Read,   kOpen,  "get card-signal",            "cellular signal level").gives(decodeNumber).nothingAt(kEmpty).onSheet(),
    row(kTypeSpecial,    109, Read,   kOpen,  "get card-registration",      "cellular registration state").gives(decodeLine).nothingAt(kEmpty).onSheet(),
    row(kTypeSpecial,    115, Read,   kOpen,  "get ftm",                    "the modem's factory test mode").gives(decodeNumber, 8).nothingAt(kEmpty).slow(kConsoleSeconds),
    row(kTypeSpecial,    114, Write,  kOpen,  "set ftm",                    "switch the modem's factory test mode on (1) or off").takes("VALUE", "1").shownBy("get ftm").slow(kConsoleSeconds),
    row(kTypeSpecial,    112, Test,   kOpen,  "antenna-test",               "measure one antenna path; with only MODULE, list the names").takes("MODULE NAME=VALUE...", "FG621 t0=1 t1=2 separator=0 technology=1 read_level=1").builtBy(antennaFields).shownBy("get antenna-level").slow(2 * kConsoleSeconds),
    row(kTypeSpecial,    113, Read,   kOpen,  "get antenna-level",          "level of the last antenna test").gives(decodeNumber, 8).nothingAt(kNoLevel).in("dBm"),
    row(kTypeSpecial,     94, Write,  kOpen,  "set external-antenna",       "switch the external antenna; CHARACTER is a letter or digit").takes("CHARACTER", "1").slow(kConsoleSeconds),
    row(kTypeSpecial,     92, Write,  kOpen,  "qlog start",                 "start the modem's logger"),
    row(kTypeSpecial,     93, Write,  kOpen,  "qlog stop",                  "stop the modem's logger"),

    // tests
    row(kTypeSpecial,     18, Test,   kGated, "calibrate wifi",             "take Wi-Fi down and start its calibration tool").sends("wifi").shownBy("get calibration").slow(kServiceSeconds).begins("tests"),
    row(kTypeSpecial,     18, Test,   kGated, "calibrate bluetooth",        "restart Bluetooth in its radio test mode").sends("Btdiag").shownBy("get bluetooth").slow(kServiceSeconds),
    row(kTypeSpecial,     18, Test,   kGated, "calibrate zigbee",           "restart the Zigbee test tool").sends("zigbeeMfg").slow(kServiceSeconds),
    row(kTypeSpecial,     18, Test,   kGated, "calibrate zigbee-host",      "restart the Zigbee host").sends("zigbeeHost"),
    row(kTypeSpecial,     18, Test,   kGated, "calibrate coexistence",      "start the coexistence test, which continues in the background").sends("coext").shownBy("coexistence finished"),
    row(kTypeSpecial,     18, Read,   kGated, "coexistence finished",       "whether the coexistence test has ended (exit code 0)").sends("coextFinished").refusesAs("the coexistence test has not ended"),
    row(kTypeSpecial,     18, Read,   kGated, "coexistence result",         "whether the coexistence test has passed (exit code 0)").sends("coextResult").refusesAs("the coexistence test has not passed"),
    row(kTypeSpecial,     86, Read,   kGated, "get calibration",            "whether the unit is in calibration mode (exit code 0)").gives(decodeYes, 8).refusesAs("the unit is not in calibration mode"),
    row(kTypeSpecial,     87, Read,   kGated, "get bluetooth",              "whether Bluetooth is on (exit code 0)").gives(decodeYes, 13).refusesAs("Bluetooth is off"),
    row(kTypeSpecial,     50, Read,   kGated, "get button",                 "whether a button was pressed").takes("wifi|reset|wps", "wps").gives(decodeText, 10).nothingAt(kEmpty).refusesAs("the unit is not in calibration mode"),
    row(kTypeSpecial,     88, Read,   kGated, "fan status",                 "verdict of the fan test, one character").gives(decodeText).nothingAt(kEmpty),
    row(kTypeSpecial,     89, Test,   kGated, "fan recheck",                "measure all fans at all gears again").sends(R"({"gear":255})").shownBy("fan status").slow(kServiceSeconds),
    row(kTypeSpecial,    104, Write,  kGated, "fan set",                    "run the fans at a gear for a time").takes("--gear N --time SECONDS", "--gear 2 --time 30", R"({"gear":"%","time":%})"),
    row(kTypeSpecial,    105, Read,   kGated, "fan speeds",                 "measured speed of each fan at a gear").takes("GEAR", "3").gives(decodeFanSpeeds).nothingAt(kNoSpeeds),
    row(kTypeSpecial,    128, Write,  kGated, "smart-antenna",              "switch the antenna chains of band 0 or 1").takes("--band 0|1 --mode MODE", "--band 1 --mode 2", R"({"band":"%","antmode":%})"),
    row(kTypeSpecial,    131, Test,   kOpen,  "rssi-spread",                "difference between the strongest and the weakest signal of a radio").takes("--band 0|1|4|6 --nss N", "--band 6 --nss 20", R"({"band":%,"nss":%})").gives(decodeNumber).nothingAt(kNoSpread).in("dB").slow(kServiceSeconds),

    // status
    row(kTypeSpecial,     68, Read,   kOpen,  "get ssid",                   "name of the Wi-Fi network").gives(decodeText).nothingAt(kEmpty).onSheet().begins("status"),
    row(kTypeSpecial,     69, Read,   kOpen,  "get enable-flags",           "which of Wi-Fi, guest Wi-Fi, IPv6 and Bluetooth are on").gives(decodeEnableFlags, 4).onSheet(),
    row(kTypeSpecial,    135, Read,   kGated, "config-check",               "the unit's configuration, field by field").gives(decodeConfigCheck, 244),
    row(kTypeUsbTest,      0, Read,   kOpen,  "usb",                        "USB mass-storage devices").gives(decodeDevices).onSheet(),

    // unit
    row(kTypeSpecial,     80, Write,  kGated, "enable test-mode",           "switch the unit into test mode").begins("unit"),
    row(kTypeSpecial,     17, Erase,  kGated, "erase radio",                "erase the radio calibration data; asks first, or use --yes").onlyOnce(),
    row(kTypeEncrypted,   73, Erase,  kGated, "reset",                      "erase the partitions user-config, device-config and group-info and verify that they read back empty; asks first, or use --yes").slow(kServiceSeconds),

    // protocol
    row(kTypeHeartbeat,    0, Poll,   kOpen,  "wait",                       "wait until the unit answers, at most --deadline (60 s), and bind it").begins("protocol"),
    row(kTypeSystemInit,   0, Read,   kOpen,  "init",                       "ask whether the unit is ready for a test (if not, there is no reply)"),
    row(kTypeHeartbeat,    0, Read,   kOpen,  "heartbeat",                  "keep the unit bound to this station"),
    row(kTypeCancelTest,   0, Write,  kOpen,  "release",                    "end the test, so that another station can use the unit; has no reply"),
    row(kTypeCancelTest,   0, Write,  kOpen,  "cancel",                     "the same as release"),
    row(kTypeGetConfig,    0, Read,   kOpen,  "config get",                 "the unit's basic configuration, the same text on every unit").gives(decodeText),
    row(kTypeSetConfig,    0, Write,  kOpen,  "config set",                 "send a text to the unit's log; nothing is stored").takes("LINE", "'a text'"),
    row(kTypeEncrypted,   70, Read,   kOpen,  "encrypted hardware-version", "hardware version, by an encrypted command").gives(decodeText).nothingAt(kEmpty),
    row(kTypeEncrypted,   71, Read,   kOpen,  "encrypted firmware-version", "firmware version, by an encrypted command").gives(decodeText).nothingAt(kEmpty),
    row(kTypeFromWords,    0, Write,  kGated, "raw",                        "send any packet; for type 7, the inner packet").takes("TYPE SUBTYPE [HEX]", "3 55").builtBy(rawPacket).gives(decodeRaw),

    // client
    own("discover", discover, "find units on all interfaces, or at a broadcast address, without binding them").takes("[ADDRESS]", "192.168.1.255").begins("client"),
    own("check", check, "check route, daemon, binding, account and produce mode"),
    own("run", runBatch, "carry out a recipe with one command per line").takes("FILE|-", "recipe.txt"),
    own("sheet", readSheet, "show the identity and state of a unit as a table"),
    own("decode", decode, "explain a captured datagram, given the account").takes("HEX...", "020300000000000001023700ffdb440863683849f4287601b004120e"),
    own("list", list, "print a table of this program").takes("[commands|options|exit-codes]", "options"),
    own("completions", complete, "print the words that a shell can offer next").takes("WORD...", "-- get m"),
    own("help", help, "explain a command, a group, options or exit-codes").takes("[TOPIC]", "get mac"),
};
// clang-format on

constexpr bool hasRead(std::string_view name) {
    return std::any_of(std::begin(kCommands), std::end(kCommands), [name](const Command& command) {
        return command.name == name && command.access == Access::Read;
    });
}

constexpr bool rowsAreConsistent() {
    for (const Command& command : kCommands) {
        const bool takesNothing = command.arguments[0] == '\0';
        if (command.isOnSheet && !(command.access == Access::Read && takesNothing))
            return false;
        if (command.readBack != nullptr && !hasRead(command.readBack))
            return false;
    }
    return true;
}
static_assert(rowsAreConsistent(),
              "the sheet takes reads without arguments; a read-back is a read");

}  // namespace

std::span<const Command> commands() { return kCommands; }

}  // namespace station
