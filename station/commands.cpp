#include "station/commands.h"

#include <algorithm>
#include <sstream>

#include "station/arguments.h"

namespace station {
namespace {

std::string noArguments(const Words&, Request*) {
    return "";
}

std::string anyText(const Words& words, Request* request) {
    putText(words[0], request);
    return "";
}

std::string rawPacket(const Words& words, Request* request) {
    constexpr unsigned kMaxByte = 255;
    if (words.size() < 2 || words.size() > 3)
        return "takes TYPE SUBTYPE [HEX]";
    unsigned type = 0;
    unsigned subType = 0;
    if (!parseNumber(words[0], kMaxByte, &type))
        return "TYPE '" + words[0] + "' is not a number from 0 to 255";
    if (!parseNumber(words[1], kMaxByte, &subType))
        return "SUBTYPE '" + words[1] + "' is not a number from 0 to 255";
    request->type = static_cast<uint8_t>(type);
    request->subType = static_cast<uint8_t>(subType);
    const std::string wrong = words.size() == 3 ? parseHex(words[2], &request->payload) : "";
    return wrong.empty() ? "" : "HEX: " + wrong;
}

constexpr Access kRead = Access::Read;
constexpr Access kPoll = Access::Poll;
constexpr Access kTest = Access::Test;
constexpr Access kWrite = Access::Write;
constexpr Access kFlash = Access::Flash;
constexpr Access kErase = Access::Erase;
constexpr Gate kOpen = Gate::Open;
constexpr Gate kGated = Gate::ProduceMode;
constexpr Sheet kSheet = Sheet::Yes;
constexpr Sheet kNoSheet = Sheet::No;

// An AT console takes seconds to answer, and one that stays silent is asked for some more.
constexpr double kConsoleSeconds = 10;
// A service takes seconds to stop and start, flash to be erased, a radio to give its readings.
constexpr double kServiceSeconds = 10;

constexpr Command kCommands[] = {
    {"get product-id", kTypeSpecial, 10, kRead, kGated, kSheet, "", noArguments, &kText,
     "product ID"},
    {"erase radio", kTypeSpecial, 17, kErase, kGated, kNoSheet, "", noArguments, nullptr,
     "erase the radio calibration data, once per run of the daemon; asks, or takes --yes"},
    {"calibrate wifi", kTypeSpecial, 18, kTest, kGated, kNoSheet, "", fixedText<"wifi">, nullptr,
     "take Wi-Fi down and start its calibration tool", "get calibration", kServiceSeconds},
    {"calibrate bluetooth", kTypeSpecial, 18, kTest, kGated, kNoSheet, "", fixedText<"Btdiag">,
     nullptr, "restart Bluetooth in its radio test mode", "get bluetooth", kServiceSeconds},
    {"calibrate zigbee", kTypeSpecial, 18, kTest, kGated, kNoSheet, "", fixedText<"zigbeeMfg">,
     nullptr, "restart the Zigbee test tool", nullptr, kServiceSeconds},
    {"calibrate zigbee-host", kTypeSpecial, 18, kTest, kGated, kNoSheet, "",
     fixedText<"zigbeeHost">, nullptr, "restart the Zigbee host"},
    {"calibrate coexistence", kTypeSpecial, 18, kTest, kGated, kNoSheet, "", fixedText<"coext">,
     nullptr, "start the coexistence test, which goes on by itself", "coexistence finished"},
    {"coexistence finished", kTypeSpecial, 18, kRead, kGated, kNoSheet, "",
     fixedText<"coextFinished">, nullptr, "whether the coexistence test has ended (exit code 0)"},
    {"coexistence result", kTypeSpecial, 18, kRead, kGated, kNoSheet, "", fixedText<"coextResult">,
     nullptr, "whether the coexistence test has passed (exit code 0)"},
    {"get button", kTypeSpecial, 50, kRead, kGated, kNoSheet, "NAME", button, &kText,
     "whether the button wifi, reset or wps was pressed"},
    {"get device-id", kTypeSpecial, 53, kRead, kOpen, kSheet, "", noArguments, &kText, "device ID"},
    {"set device-id", kTypeSpecial, 54, kFlash, kGated, kNoSheet, "TEXT", identityText, nullptr,
     "write the device ID; like every identity write, once per run of the daemon", "get device-id"},
    {"get mac", kTypeSpecial, 55, kRead, kOpen, kSheet, "", noArguments, &kText, "MAC address"},
    {"get firmware-id", kTypeSpecial, 56, kRead, kGated, kSheet, "", noArguments, &kText,
     "firmware ID"},
    {"get hardware-id", kTypeSpecial, 57, kRead, kGated, kSheet, "", noArguments, &kText,
     "hardware ID"},
    {"get hardware-description", kTypeSpecial, 58, kRead, kGated, kSheet, "", noArguments, &kText,
     "model and hardware version"},
    {"get oem-id", kTypeSpecial, 59, kRead, kGated, kSheet, "", noArguments, &kText, "OEM ID"},
    {"set oem-id", kTypeSpecial, 60, kFlash, kGated, kNoSheet, "TEXT", identityText, nullptr,
     "write the OEM ID", "get oem-id"},
    {"get special-id", kTypeSpecial, 64, kRead, kOpen, kSheet, "", noArguments, &kText,
     "region that the special ID stands for"},
    {"set special-id", kTypeSpecial, 65, kFlash, kGated, kNoSheet, "REGION", region, nullptr,
     "write the special ID of a region (US, EU, ...)", "get special-id"},
    {"get country", kTypeSpecial, 66, kRead, kOpen, kSheet, "", noArguments, &kText,
     "country code"},
    {"set country", kTypeSpecial, 67, kFlash, kGated, kNoSheet, "TEXT", identityText, nullptr,
     "write the country code", "get country"},
    {"get ssid", kTypeSpecial, 68, kRead, kOpen, kSheet, "", noArguments, &kText,
     "name of the Wi-Fi network"},
    {"get enable-flags", kTypeSpecial, 69, kRead, kOpen, kSheet, "", noArguments, &kFlags,
     "which of Wi-Fi, guest Wi-Fi, IPv6 and Bluetooth are on"},
    {"get hardware-version", kTypeSpecial, 70, kRead, kOpen, kSheet, "", noArguments, &kText,
     "hardware version"},
    {"get firmware-version", kTypeSpecial, 71, kRead, kOpen, kSheet, "", noArguments, &kText,
     "firmware version"},
    {"set mac", kTypeSpecial, 75, kFlash, kGated, kNoSheet, "MAC", macAddress, nullptr,
     "write the MAC address, name the default Wi-Fi network after it", "get mac"},
    {"set pin", kTypeSpecial, 76, kFlash, kOpen, kNoSheet, "PIN", pin, nullptr, "write the PIN"},
    {"set group", kTypeSpecial, 77, kFlash, kGated, kNoSheet, "JSON|@FILE", groupObject, nullptr,
     "write the group data: gid, key and pack", "get group"},
    {"get group", kTypeSpecial, 78, kRead, kGated, kSheet, "", noArguments, &kParsed,
     "group data, as set group takes it"},
    {"generate group", kTypeSpecial, 79, kWrite, kGated, kNoSheet, "COUNT", unitCount, &kParsed,
     "let the unit make fresh group data for a number of units; nothing is stored"},
    {"enable test-mode", kTypeSpecial, 80, kWrite, kGated, kNoSheet, "", noArguments, nullptr,
     "switch the unit into test mode"},
    {"set model-name", kTypeSpecial, 82, kFlash, kOpen, kNoSheet, "TEXT", identityText, nullptr,
     "write the model name", "get model-name"},
    {"get calibration", kTypeSpecial, 86, kRead, kGated, kNoSheet, "", noArguments, &kYes,
     "whether the unit is in calibration mode (exit code 0)"},
    {"get bluetooth", kTypeSpecial, 87, kRead, kGated, kNoSheet, "", noArguments, &kYes,
     "whether Bluetooth is on (exit code 0)"},
    {"fan status", kTypeSpecial, 88, kRead, kGated, kNoSheet, "", noArguments, &kText,
     "verdict of the fan test, one character"},
    {"fan recheck", kTypeSpecial, 89, kTest, kGated, kNoSheet, "", fixedText<R"({"gear":255})">,
     nullptr, "measure all fans at all gears anew", "fan status", kServiceSeconds},
    {"set imei", kTypeSpecial, 90, kFlash, kOpen, kNoSheet, "IMEI", imei, nullptr,
     "write the IMEI, 15 digits, to flash and modem, once per run of the daemon", "get imei",
     kConsoleSeconds},
    {"get imei", kTypeSpecial, 91, kRead, kOpen, kSheet, "", noArguments, &kText,
     "IMEI; fifteen 9 when flash and modem differ", nullptr, kConsoleSeconds},
    {"qlog start", kTypeSpecial, 92, kWrite, kOpen, kNoSheet, "", noArguments, nullptr,
     "start the modem's logger"},
    {"qlog stop", kTypeSpecial, 93, kWrite, kOpen, kNoSheet, "", noArguments, nullptr,
     "stop the modem's logger"},
    {"set external-antenna", kTypeSpecial, 94, kWrite, kOpen, kNoSheet, "CHARACTER",
     antennaCharacter, nullptr, "switch the external antenna (one letter or digit)", nullptr,
     kConsoleSeconds},
    {"fan set", kTypeSpecial, 104, kWrite, kGated, kNoSheet, "--gear N --time SECONDS", fanSetting,
     nullptr, "run the fans at a gear for a time"},
    {"fan speeds", kTypeSpecial, 105, kRead, kGated, kNoSheet, "GEAR", gear, &kFans,
     "measured speed of each fan at a gear"},
    {"get card-state", kTypeSpecial, 106, kRead, kOpen, kSheet, "", noArguments, &kLine,
     "SIM card state"},
    {"get card-connection", kTypeSpecial, 107, kRead, kOpen, kSheet, "", noArguments, &kLine,
     "cellular connection state"},
    {"get card-signal", kTypeSpecial, 108, kRead, kOpen, kSheet, "", noArguments, &kNumber,
     "cellular signal level"},
    {"get card-registration", kTypeSpecial, 109, kRead, kOpen, kSheet, "", noArguments, &kLine,
     "cellular registration state"},
    {"get sim-imei", kTypeSpecial, 110, kRead, kOpen, kSheet, "", noArguments, &kLine,
     "IMEI that the modem has", nullptr, kConsoleSeconds},
    {"antenna-test", kTypeSpecial, 112, kTest, kOpen, kNoSheet, "MODULE NAME=VALUE...|TEXT",
     antennaFields, nullptr, "measure on one antenna path; with MODULE alone it tells the names",
     "get antenna-level", 2 * kConsoleSeconds},
    {"get antenna-level", kTypeSpecial, 113, kRead, kOpen, kNoSheet, "", noArguments, &kNumber,
     "level of the last antenna test in dBm; 999 when none was measured"},
    {"set ftm", kTypeSpecial, 114, kWrite, kOpen, kNoSheet, "VALUE", ftmValue, nullptr,
     "put the modem into its factory test mode (1) or back", "get ftm", kConsoleSeconds},
    {"get ftm", kTypeSpecial, 115, kRead, kOpen, kNoSheet, "", noArguments, &kNumber,
     "the modem's factory test mode", nullptr, kConsoleSeconds},
    {"get modem-version", kTypeSpecial, 116, kRead, kOpen, kSheet, "", noArguments, &kText,
     "software version of the modem", nullptr, kConsoleSeconds},
    {"smart-antenna", kTypeSpecial, 128, kWrite, kGated, kNoSheet, "--band BAND --mode MODE",
     smartAntenna, nullptr, "switch the antenna chains of band 0 or 1"},
    {"rssi-spread", kTypeSpecial, 131, kTest, kOpen, kNoSheet, "--band BAND --nss N", rssiSpread,
     &kNumber, "difference between the strongest and the weakest signal of a radio, in dB", nullptr,
     kServiceSeconds},
    {"config-check", kTypeSpecial, 135, kRead, kGated, kNoSheet, "", noArguments, &kConfig,
     "the unit's configuration, field by field"},
    {"encrypted hardware-version", kTypeEncrypted, 70, kRead, kOpen, kNoSheet, "", noArguments,
     &kText, "hardware version, by an encrypted command"},
    {"encrypted firmware-version", kTypeEncrypted, 71, kRead, kOpen, kNoSheet, "", noArguments,
     &kText, "firmware version, by an encrypted command"},
    {"get model-name", kTypeEncrypted, 72, kRead, kOpen, kSheet, "", noArguments, &kText,
     "model name"},
    {"reset", kTypeEncrypted, 73, kErase, kGated, kNoSheet, "", noArguments, nullptr,
     "erase the unit's configuration and prove that it is gone; asks, or takes --yes", nullptr,
     kServiceSeconds},
    {"config get", kTypeGetConfig, 0, kRead, kOpen, kNoSheet, "", noArguments, &kText,
     "the unit's basic configuration, the same text on every unit"},
    {"config set", kTypeSetConfig, 0, kWrite, kOpen, kNoSheet, "TEXT", anyText, nullptr,
     "send a text to the unit's log; nothing is stored"},
    {"heartbeat", kTypeHeartbeat, 0, kRead, kOpen, kNoSheet, "", noArguments, nullptr,
     "keep the unit bound to this station"},
    {"wait", kTypeHeartbeat, 0, kPoll, kOpen, kNoSheet, "", noArguments, nullptr,
     "wait until the unit answers, for at most --deadline (60 s); it is bound then"},
    {"init", kTypeSystemInit, 0, kRead, kOpen, kNoSheet, "", noArguments, nullptr,
     "ask whether the unit is ready for a test (one that is not stays silent)"},
    {"cancel", kTypeCancelTest, 0, kWrite, kOpen, kNoSheet, "", noArguments, nullptr,
     "the same as release"},
    {"release", kTypeCancelTest, 0, kWrite, kOpen, kNoSheet, "", noArguments, nullptr,
     "end the test, so that another station can have the unit; no answer comes"},
    {"usb", kTypeUsbTest, 0, kRead, kOpen, kSheet, "", noArguments, &kDevices,
     "USB mass-storage devices"},
    {"raw", kTypeFromWords, 0, kWrite, kGated, kNoSheet, "TYPE SUBTYPE [HEX]", rawPacket, &kRaw,
     "send any packet; of type 7 the inner one"},
};

constexpr bool hasRead(std::string_view name) {
    return std::any_of(std::begin(kCommands), std::end(kCommands), [name](const Command& command) {
        return command.name == name && command.access == Access::Read;
    });
}

constexpr bool rowsHold() {
    for (const Command& command : kCommands) {
        const bool takesNothing = command.arguments[0] == '\0';
        if (command.sheet == Sheet::Yes && !(command.access == Access::Read && takesNothing))
            return false;
        if (command.readBack != nullptr && !hasRead(command.readBack))
            return false;
    }
    return true;
}
static_assert(rowsHold(), "the sheet takes reads without arguments; a read-back is a read");

Words wordsOf(const char* name) {
    std::istringstream stream(name);
    Words words;
    for (std::string word; stream >> word;)
        words.push_back(word);
    return words;
}

// Checks how many words there are before the options' values.
std::string checkCount(const Command& command, const Words& words) {
    const Words form = wordsOf(command.arguments);
    size_t count = 0;
    for (size_t i = 0; i < form.size(); i++) {
        if (form[i].starts_with('[') || form[i].find("...") != std::string::npos)
            return "";  // the builder knows
        const bool isOption = form[i].starts_with("--");
        count += isOption ? 0 : 1;
        i += isOption ? 1 : 0;  // its value
    }
    if (words.size() == count)
        return "";
    if (form.empty())
        return "takes no arguments, but got '" + words[0] + "'";
    return "takes " + std::string(command.arguments) +
           (words.size() > count ? " (in quotes when it holds spaces)" : "");
}

// Puts the values of the command's own options behind the words. Returns what is wrong with the
// options, or an empty text.
std::string takeNamed(const Command& command, const std::vector<NamedValue>& named, Words* words) {
    Words wanted;
    for (const std::string& word : wordsOf(command.arguments))
        if (word.starts_with("--"))
            wanted.push_back(word.substr(2));
    for (const NamedValue& given : named)
        if (std::find(wanted.begin(), wanted.end(), given.name) == wanted.end())
            return "does not take --" + given.name;
    for (const std::string& name : wanted) {
        const auto last = std::find_if(named.rbegin(), named.rend(),
                                       [&name](const auto& given) { return given.name == name; });
        if (last == named.rend())
            return "needs --" + name;
        words->push_back(last->value);
    }
    return "";
}

}  // namespace

std::span<const Command> commands() {
    return kCommands;
}

const char* accessName(Access access) {
    static constexpr const char* kNames[] = {"read", "poll", "test", "write", "flash", "erase"};
    return kNames[static_cast<size_t>(access)];
}

Access accessOf(const Request& request) {
    Access most = Access::Read;
    for (const Command& command : kCommands)
        if (command.type == request.type && command.subType == request.subType)
            most = std::max(most, command.access);
    return most;
}

const Command* findCommand(const Words& words, Words* rest) {
    const Command* found = nullptr;
    size_t longest = 0;
    for (const Command& command : kCommands) {
        const Words name = wordsOf(command.name);
        if (name.size() > longest && name.size() <= words.size() &&
            std::equal(name.begin(), name.end(), words.begin())) {
            found = &command;
            longest = name.size();
        }
    }
    rest->assign(words.begin() + static_cast<ptrdiff_t>(longest), words.end());
    return found;
}

std::string buildCommand(const Command& command, Words words, const std::vector<NamedValue>& named,
                         Request* request) {
    *request = {command.type, command.subType, {}};
    std::string wrong = checkCount(command, words);
    if (wrong.empty())
        wrong = takeNamed(command, named, &words);
    if (wrong.empty())
        wrong = command.build(words, request);
    if (!wrong.empty())
        return wrong;
    const size_t limit = payloadLimit(request->type);
    if (request->payload.size() > limit)
        return "the payload is longer than " + std::to_string(limit) + " bytes";
    return "";
}

}  // namespace station
