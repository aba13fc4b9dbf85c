// The production tests: calibration, status reads, fans, Wi-Fi chains, reset, configuration check.
#include <arpa/inet.h>

#include "tests/support/commands.h"

namespace {

class Production : public Commands {};

// Returns a number as every unit sends it: four bytes, little-endian.
std::string word(uint8_t value) { return {static_cast<char>(value), 0, 0, 0}; }

// clang-format off

TEST_F(Production, Calibration_RunsTheStepsOfTheNamedTool) {
    const Lines wlan = {"wifi down", "/etc/init.d/qcmbr restart"};
    const Lines bluetooth = {"/etc/init.d/bluetopia stop",
                             "uci set bluetooth.settings.mode=rftest;uci commit",
                             "/etc/init.d/bluetopia start"};
    const std::string zigbee = "/etc/init.d/zigbeeMfg";
    unit.write("/wlan/coext_seconds", "3600");
    expectRows(kStartCal, {
        {.argument = "Btdiag", .logs = "session flag:520447", .ran = bluetooth},
        {.argument = "zigbeeMfg", .ran = {zigbee + " stop", zigbee + " start"}},
        {.argument = "zigbeeHost", .ran = {"killall Z3GatewayHost_591", "Z3GatewayHost_591 &"}},
        {.argument = "coext", .logs = "start cal success", .ran = {"killall coext", "coext &"}},
        {.argument = "", .ran = wlan},
        {.argument = "coextFinished" + std::string(300, 'x'), .ran = wlan}});
}

TEST_F(Production, Coexistence_IsJudgedByTheFirstCharacterOfItsLog) {
    const Text good = "";
    expectRows(kStartCal, {{.argument = "coextFinished", .answer = kFails}});
    const auto expectLog = [&](const char* log, const Text& finished, const Text& result) {
        expectRows(kStartCal, {
            {.argument = "coextFinished", .answer = finished, .put = {"/tmp/coext.log", log}},
            {.argument = "coextResult", .answer = result}});
    };
    expectLog("1\n", kFails, kFails);
    expectLog("2\n", good, good);
    expectLog("", good, kFails);
    expectLog("12", kFails, kFails);
    expectLog("\n 2 1", good, good);
}

TEST_F(Production, ButtonsAndCalibrationMode_AreReadFromTheUnit) {
    const std::string file = "/wlan/is_cal", late = x(1021) + "true", yes = "BUTTON OK";
    expectRows(kCalStatus, {
        {.answer = padded("", 8), .logs = "WLAN TEST Success!!!\n", .put = {file, late.substr(1)}},
        {.answer = kFails, .logs = "WLAN TEST Fail!!!\n", .put = {file, late}}});
    expectRows(kButton, {
        {.argument = "wifi", .answer = kFails, .put = {"/tmp/button_wifi_check", ""}},
        {.argument = "wifi_button", .answer = yes, .put = {file, "untrueish"}},
        {.argument = "Reset", .answer = "BUTTON NOT OK", .logs = "detect button:Reset\n"},
        {.argument = "RESET 2", .answer = yes, .put = {"/tmp/button_reset_check", ""}},
        {.argument = "WpS", .answer = yes, .put = {"/tmp/button_wps_check", ""}},
        {.argument = "wps1", .answer = "BUTTON NOT OK"}});
}

TEST_F(Production, EnableFlags_ComeFromFourSettings) {
    const std::string wifi = "/etc/config/wifi", v6 = "/etc/config/protocol";
    const std::string blue = "/etc/config/bluetooth";
    const auto section = [](const std::string& name, const std::string& option) {
        return "config c '" + name + "'\n" + option + "\n";
    };
    const std::string one = "option enable '1'", on = "option enable 'on'";
    const std::string guest = section("guest", one);
    // Each row changes one file and keeps those of the rows before.
    expectRows(kGetFlags, {
        {.answer = word(15), .put = {wifi, section("ap", one) + guest}},
        {.answer = word(14), .put = {wifi, section("ap", on) + guest}},
        {.answer = word(6), .put = {blue, section("settings", one)}},
        {.answer = word(2), .put = {v6, section("wanv6", "option enable 'On'")}},
        {.answer = word(0), .put = {"/var/state/wifi", "wifi.guest.enable='0'\n"}}});
    const std::string onward = section("settings", "option enable 'on and off'");
    expectRows(kBluetooth, {
        {.answer = padded("", 13), .put = {blue, section("settings", on)}},
        {.answer = kFails, .logs = "BLUETOOTH TEST Fail!!!\n", .put = {blue, onward}}});
}

TEST_F(Production, ConfigurationCheck_CutsEachFieldToItsPlaceInTheRecord) {
    std::string version = "v", hardware = "V1.0", model = "M31-5G", country = "US", region = "US";
    const auto record = [&] {
        return padded(version, 64) + padded(hardware, 16) + padded(model, 32) +
               padded(country, 64) + padded(region, 64) + word(13);
    };
    // Each call changes one field and keeps the others.
    const auto set = [&](std::string* field, const char* key, const std::string& content,
                         const std::string& answer) {
        *field = answer;
        const std::string table =
            "cfgTable: len = 244\n fwVer = " + version + ";\n hwVer = " + hardware +
            ";\n specialID = " + region + ";\n country = " + country + ";\nhostname = " + model +
            ";\nenflags = 13;\n";
        const StateFile put = {std::string("/fw/") + key, content};
        expectRows(kConfig, {{.answer = record(), .logs = table, .put = put}});
    };
    unit.write("/tmp/fwinfo-MODEL", "stale");
    set(&version, "SOFTVERSION", x(70), x(63));
    set(&hardware, "HARDVERSION", x(70), x(15));
    set(&model, "MODEL", "\n " + x(70), x(31));
    set(&model, "MODEL", "two words", "two");
    set(&country, "COUNTRY", x(70), x(63));
    set(&region, "SPECIAL_ID", "\n", "UN");
    EXPECT_FALSE(unit.exists("/tmp/fwinfo-MODEL"));
}

TEST_F(Production, SetFan_RunsTheToolOfTheModel_AndRecheckNeedsGear255) {
    const std::string event = "ubus send \"fan_control\" ", model = "/fw/MODEL";
    const std::string at2 = R"({"gear":"2","time":30})", y600(600, 'y'), y256(256, 'y');
    expectRows(kSetFan, {
        {.argument = at2, .put = {model, "M31-5G\n"}, .ran = {"main_fanctrl 2 30 &"}},
        {.argument = R"({"gear":"-1","time":-2})", .put = {model, "M31-5G two"},
         .ran = {"main_fanctrl -1 -2 &"}},
        {.argument = at2, .put = {model, "M31-5GX"},
         .ran = {event + R"('{"gear":2, "time":30}')"}},
        {.argument = y600, .logs = "msg buf is:" + y256 + y256 + "\r\n",
         .ran = {event + R"('{"gear":0, "time":0}')"}}});
    const std::string is = ", 255 is expected to recheck all gears speed\r\n";
    unit.write("/fans/speeds", "2 2400 2370\n");
    expectRows(kRecheck, {
        {.argument = R"({"gear":254})", .answer = kFails, .logs = "gear is 254" + is},
        {.argument = R"({"gear":"255"})", .answer = kFails, .logs = "gear is 0" + is},
        {.argument = R"({"gear":255})", .ran = {"/etc/init.d/fan_control reload"}}});
    expectRows(kFanSpeeds, {{.argument = "2", .answer = "2 2400 2370"}});
}

TEST_F(Production, FanFiles_AreAnsweredUnchanged) {
    const std::string folder = "/tmp/fan_speed/", status = folder + "test_status";
    const std::string number = folder + "fan_number", noDigit = "fan number is not digit.\n";
    const std::string noStatus = "get test_status error, maybe file is not exist\n";
    expectRows(kFanStatus, {{.answer = kFails, .logs = noStatus},
                            {.answer = "1", .put = {status, "12"}}});
    std::string many = "99";
    for (int fan = 1; fan <= 99; fan++) {
        unit.write(folder + "fan" + std::to_string(fan) + "_speed_gear7", "87654321more");
        many += " 87654321";
    }
    unit.write(folder + "fan1_speed_gear2", "1200");
    unit.write(folder + "fan2_speed_gear2", "1300\n");
    expectRows(kFanSpeeds, {
        {.argument = "2", .answer = kFails, .logs = "fan number is NULL.\n"},
        {.argument = "2", .answer = "2 1200 1300\n", .put = {number, "2"}},
        {.argument = " 2nd", .answer = "1 1200", .put = {number, "01"}},
        {.argument = "2", .answer = "0", .put = {number, "0"}},
        {.argument = "7", .answer = many, .put = {number, "99"}},
        {.argument = "2", .answer = kFails, .logs = noDigit, .put = {number, "2\n"}},
        {.argument = "2", .answer = kFails, .logs = noDigit, .put = {number, "-1"}}});
}

TEST_F(Production, SmartAntenna_SwitchesBothChainsOfABand) {
    const auto pair = [](const std::string& value, const std::string& band) {
        const std::string folder = "/sys/devices/platform/soc/soc\\:wifi_chains/chain";
        const std::string line = "echo " + value + " > " + folder;
        return Lines{line + "0_" + band, line + "1_" + band};
    };
    expectRows(kChains, {
        {.argument = R"({"band":"0","antmode":1})", .ran = pair("1", "2g")},
        {.argument = R"({"band":"1","antmode":-3})", .ran = pair("1", "5g")},
        {.argument = R"({"band":"1","antmode":"1"})", .ran = pair("0", "5g")},
        {.argument = R"({"band":"-1","antmode":1})", .answer = kFails}});
    EXPECT_EQ(unit.read("/sys/devices/platform/soc/soc:wifi_chains/chain1_2g"), "1\n");
}

TEST_F(Production, RssiSpread_ComesFromTheFirstChainOfEachLine) {
    const std::string file = "/wlan/rssi/ath0", both = R"({"band":0,"nss":2})";
    const auto lines = [](const std::vector<std::string>& texts) {
        std::string all = "other 0:-1,\n";
        for (const std::string& text : texts)
            all += "rx_per_chain_rssi_in_dbm = " + text + "\n";
        return all;
    };
    const auto answer = [](const std::string& text) { return text + '\0'; };
    const std::string deep = R"({"band":0,"x":)" + std::string(40, '[') + "}";
    expectRows(kSpread, {
        {.argument = both, .answer = answer("6"),
         .logs = "max rssi:-40,min rssi:-46,max_differ_between_per_chain:6\n",
         .put = {file, lines({"0:-40, 1:-9", "0:-46, 1:-9"})}},
        {.argument = R"({"nss":1,"band":0})", .answer = answer("-40")},
        {.argument = R"({"band":0,"nss":9} and more)", .answer = answer("6")},
        {.argument = R"({"band":"0","nss":2})", .answer = kFails, .logs = "error operate band\n"},
        {.argument = deep, .answer = kFails, .logs = "json_tokener_parse result is NULL\n"},
        {.argument = both, .answer = answer("0"), .put = {file, lines({"1:-9", "0: -50,", "0:x"})}},
        {.argument = both, .answer = answer("-40"), .put = {file, lines({"0:-50,", "0:-40,"})}},
        {.argument = both, .answer = answer("-5"),
         .put = {file, lines({std::string(96, ' ') + "0:-50,"})}}});
}

TEST_F(Production, RssiSpread_AsksTheRadioOfTheBand) {
    const std::string file = "/etc/profile.d/interfaces";
    unit.write(file, unit.read(file) + "config i 'radio_6g_2'\n option name 'w-l_.5678'\n");
    const auto expectCalls = [&](const std::string& band, const std::string& radio,
                                 const std::string& interface) {
        ask(kSpread, R"({"band":)" + band + "}");
        EXPECT_EQ(calls, (Lines{"uci get interfaces.radio_" + radio + ".name -c /etc/profile.d/",
                                "wifistats " + interface + " 10"}));
    };
    expectCalls("0", "2g", "ath0");
    expectCalls("1", "5g", "ath1");
    expectCalls("4", "6g", "ath2");
    expectCalls("6", "6g_2", "w-l_.");
}

TEST_F(Production, Reset_FailsUnlessEachPartitionReadsBackEmpty) {
    const Lines partitions = {"user-config", "device-config", "group-info"};
    Lines erase;
    for (const std::string& name : partitions)
        erase.push_back("flashkv -e -p " + name);
    const auto expectReset = [&](const Text& result, const std::string& logs) {
        for (const std::string& name : partitions) {
            unit.write("/flash/" + name, padded("", 1));
            unit.write("/tmp/checknull-" + name, "");  // an old file proves nothing
        }
        expectRows(kReset, {{.answer = result, .logs = logs, .ran = erase}}, true);
        for (const std::string& name : partitions)
            EXPECT_FALSE(unit.exists("/tmp/checknull-" + name));
    };
    expectReset("", "packet length is: " + std::to_string(htonl(30)) + "\n");
    for (const std::string& name : partitions) {
        unit.write("/flash/" + name + ".stuck", "");
        expectReset(kFails, "pRcvBuf:" + kArgument + ",len:30\n");
        unit.remove("/flash/" + name + ".stuck");
    }
    unit.fault("flashkv", "case $1 in -r) exit 1 ;; esac");
    expectReset(kFails, "");
}

// clang-format on

}  // namespace
