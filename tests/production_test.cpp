// The production tests: calibration, status reads, fans, Wi-Fi chains, reset, configuration check.
#include <arpa/inet.h>

#include "tests/support/commands.h"

namespace {

constexpr uint8_t kStartCal = 18, kButton = 50, kFlags = 69, kReset = 73, kCalStatus = 86,
                  kBluetooth = 87, kFanStatus = 88, kRecheck = 89, kSetFan = 104, kFanSpeeds = 105,
                  kAntenna = 128, kSpread = 131, kConfig = 135;

class Production : public Commands {};

// Little-endian, whatever the unit's byte order is.
std::string word(uint8_t value) { return {static_cast<char>(value), 0, 0, 0}; }

TEST_F(Production, CalibrationRunsTheStepsOfTheToolItNames) {
    const std::string done = "start cal success\n";
    const Lines wlan = {"wifi down", "/etc/init.d/qcmbr restart"};
    const Lines bluetooth = {"/etc/init.d/bluetopia stop",
                             "uci set bluetooth.settings.mode=rftest;uci commit",
                             "/etc/init.d/bluetopia start"};
    const std::vector<Row> rows = {
        // clang-format off
        {"Btdiag", "", "[mfgp_cmd_StartCal():%] session flag:520447\n", "", "", bluetooth},
        {"zigbeeMfg", "", done, "", "", {"/etc/init.d/zigbeeMfg stop", "/etc/init.d/zigbeeMfg start"}},
        {"zigbeeHost", "", done, "", "", {"killall Z3GatewayHost_591", "Z3GatewayHost_591 &"}},
        {"coext", "", done, "/wlan/coext_seconds", "3600", {"killall coext", "coext &"}},
        {"", "", done, "", "", wlan},
        {"btdiag", "", done, "", "", wlan},
        {"coextFinished" + std::string(300, 'x'), "", done, "", "", wlan},
        // clang-format on
    };
    expectRows(kStartCal, rows);
}

TEST_F(Production, CoexistenceIsJudgedByTheFirstCharacterOfItsLog) {
    const Text good = "";
    expectRows(kStartCal, {{"coextFinished", kFails}, {"coextResult", kFails}});
    for (const auto& [log, finished, passed] : {
             std::tuple{"1\n", kFails, kFails},
             {"2\n", good, good},
             {"", good, kFails},
             {"12", kFails, kFails},
             {"\n\n 2 1", good, good},
         })
        expectRows(kStartCal, {{"coextFinished", finished, "", "/tmp/coext.log", log},
                               {"coextResult", passed}});
}

TEST_F(Production, ButtonsAndCalibrationModeAreAskedOfTheSystem) {
    const std::string good = "WLAN TEST Success!!!\n", bad = "WLAN TEST Fail!!!\n",
                      file = "/wlan/is_cal";
    const std::string yes("BUTTON OK", 10), no("BUTTON NOT OK", 14);
    const std::string late = std::string(1021, 'x') + "true";
    expectRows(kCalStatus, {{kArgument, padded("", 8), good, file, late.substr(1)}});
    expectRows(kCalStatus, {{"", kFails, bad, file, late}});
    const std::vector<Row> rows = {
        {"wifi", kFails, bad, "/tmp/button_wifi_check"},
        {"wifi_button", yes, "detect button:wifi_button\n", file, "it is untrueish"},
        {"Reset", no, "detect button:Reset\n"},
        {"RESET 2", yes, "detect result:BUTTON OK\n", "/tmp/button_reset_check"},
        {"WpS", yes, "detect button:WpS\n", "/tmp/button_wps_check"},
        {"wps1", no, "detect button:wps1\n"},
    };
    expectRows(kButton, rows);
}

TEST_F(Production, EnableFlagsAreFoldedFromFourSettings) {
    const std::string wifi = "/etc/config/wifi", v6 = "/etc/config/protocol";
    const std::string blue = "/etc/config/bluetooth";
    const auto section = [](const std::string& name, const std::string& option) {
        return "config c '" + name + "'\n" + option + "\n";
    };
    const std::string one = "option enable '1'", on = "option enable 'on'";
    // Each on top of those before.
    const std::vector<Row> rows = {
        // clang-format off
        {kArgument, word(15), "enableFlags = 15.\n", wifi, section("ap", one) + section("guest", one)},
        {"", word(14), "enableFlags = 14.\n", wifi, section("ap", on) + section("guest", one)},
        {"", word(6), "enableFlags = 6.\n", blue, section("settings", one)},
        {"", word(2), "enableFlags = 2.\n", v6, section("wanv6", "option enable 'On'")},
        {"", word(0), "enableFlags = 0.\n", "/var/state/wifi", "wifi.guest.enable='0'\n"},  // not committed
        {"", kFails, "[get_enable_flags():%] get bluetooth enable status failed.\n", blue, section("settings", "")},
        {"", kFails, "[get_enable_flags():%] get ipv6 enable status failed.\n", v6, section("wan", on)},
        {"", kFails, "[get_enable_flags():%] get ap enable status failed.\n", wifi, section("ap", "list enable 'on'")},
        // clang-format on
    };
    expectRows(kFlags, rows);
    expectRows(kBluetooth, {{"", kFails, "uci get bluetooth enable failed.\n"}});
    const std::string success = "BLUETOOTH TEST Success!!!\n", fail = "BLUETOOTH TEST Fail!!!\n";
    const std::string onward = section("settings", "option enable 'on and off'");
    expectRows(kBluetooth, {{kArgument, padded("", 13), success, blue, section("settings", on)}});
    expectRows(kBluetooth, {{"", kFails, fail, blue, onward}});
}

TEST_F(Production, ConfigurationCheckAnswersTheRecord) {
    const auto record = [](const std::string& version, const std::string& hardware,
                           const std::string& model, const std::string& country,
                           const std::string& region) {
        return padded(version, 64) + padded(hardware, 16) + padded(model, 32) +
               padded(country, 64) + padded(region, 64) + word(13);
    };
    const std::string x63(63, 'x'), x15(15, 'x'), x31(31, 'x'), x70(70, 'x');
    const std::string special = "/fw/SPECIAL_ID", get = "[get_dut_config():%] ";
    const std::string table =
        "cfgTable: len = 244\n fwVer = v;\n hwVer = V1.0;\n specialID = US;\n "
        "country = US;\nhostname = M31-5G;\nenflags = 13;\n";
    unit.write("/tmp/fwinfo-MODEL", "stale");
    // Each on top of those before.
    const std::vector<Row> rows = {
        // clang-format off
        {kArgument, record("v", "V1.0", "M31-5G", "US", "US"), table, "/fw/SOFTVERSION", "v"},
        {"", record(x63, "V1.0", "M31-5G", "US", "US"), get + "pCfg->enableFlags = 13, len is 4.\n", "/fw/SOFTVERSION", x70},
        {"", record(x63, x15, "M31-5G", "US", "US"), get + "pCfg->hwVer is: " + x15 + ", len is 15\n", "/fw/HARDVERSION", x70},
        {"", record(x63, x15, x31, "US", "US"), "", "/fw/MODEL", "\n " + x70},
        {"", record(x63, x15, "two", "US", "US"), "", "/fw/MODEL", "two words"},
        {"", record(x63, x15, "two", x63, "US"), get + "pCfg->country is: ", "/fw/COUNTRY", x70},
        {"", record(x63, x15, "two", x63, "UN"), get + "pCfg->specialID is: UN, len is 2\n", special, "\n"},
        // clang-format on
    };
    expectRows(kConfig, rows);
    EXPECT_FALSE(unit.exists("/tmp/fwinfo-MODEL"));
}

TEST_F(Production, FansAreDrivenThroughTheModelsOwnTool) {
    const std::string event = "ubus send \"fan_control\" ", model = "/fw/MODEL";
    const std::string message = "msg buf is:", y600(600, 'y'), at2 = R"({"gear":"2","time":30})";
    const std::vector<Row> rows = {
        // clang-format off
        {at2, "", message + at2 + "\r\n", model, "M31-5G\n", {"main_fanctrl 2 30 &"}},
        {R"({"gear":"-1","time":-2})", "", message, model, "M31-5G two", {"main_fanctrl -1 -2 &"}},
        {at2, "", message, model, "M31-5GX", {event + R"('{"gear":2, "time":30}')"}},
        {R"({"gear":2,"time":30})", "", message, model, "", {event + R"('{"gear":0, "time":0}')"}},
        {y600, "", message + std::string(512, 'y') + "\r\n", "", "", {event + R"('{"gear":0, "time":0}')"}},
        {R"({"gear":"7","time":99999999999})", "", message, "", "", {event + R"('{"gear":7, "time":2147483647}')"}},
        // clang-format on
    };
    expectRows(kSetFan, rows);
    const std::string expected = ", 255 is expected to recheck all gears speed\r\n";
    expectRows(kRecheck, {{R"({"gear":254})", kFails, "gear is 254" + expected}});
    expectRows(kRecheck, {{R"({"gear":"255"})", kFails, "gear is 0" + expected}});
    expectRows(kRecheck, {{y600, kFails, message + std::string(256, 'y') + "\r\n"}});
    unit.write("/fans/speeds", "2 2400 2370\n");
    EXPECT_EQ(ask(kRecheck, R"({"gear":255})"), "");
    EXPECT_EQ(shellLines(trace), Lines{"/etc/init.d/fan_control reload"});
    EXPECT_EQ(ask(kFanSpeeds, "2"), padded("2 2400 2370", 16));
}

TEST_F(Production, FanFilesAreAnsweredAsTheyAre) {
    const std::string folder = "/tmp/fan_speed/", status = folder + "test_status";
    const std::string number = folder + "fan_number", noDigit = "fan number is not digit.\n";
    const std::string noStatus = "get test_status error, maybe file is not exist\n";
    expectRows(kFanStatus, {{kArgument, kFails, noStatus}});
    expectRows(kFanStatus, {{"", "1", "fan speed status is: 1\n", status, "12"}});
    std::string many = "99";
    for (int fan = 1; fan <= 99; fan++) {
        unit.write(folder + "fan" + std::to_string(fan) + "_speed_gear7", "87654321more");
        many += " 87654321";
    }
    unit.write(folder + "fan1_speed_gear2", "1200");
    unit.write(folder + "fan2_speed_gear2", "1300\n");
    const std::vector<Row> rows = {
        {"2", kFails, "fan number is NULL.\n"},
        {"2", "2 1200 1300\n", "get fan1 SpeedValue : 1200\n", number, "2"},
        {" 2nd", "1 1200", "read all fans gear2 speed \n", number, "01"},
        {"x", "1 ", "read all fans gear0 speed \n"},
        {"2", "0", "fan num is: 0\n", number, "0"},
        {"7", many, "pRplyBuf is: 99 87654321 87654321 ", number, "99"},
        {"2", kFails, noDigit, number, "2\n"},
        {"2", kFails, noDigit, number, "-1"},
    };
    expectRows(kFanSpeeds, rows);
}

TEST_F(Production, SmartAntennaSwitchesBothChainsOfABand) {
    const auto pair = [](const std::string& value, const std::string& band) {
        const std::string line =
            "echo " + value + " > /sys/devices/platform/soc/soc\\:wifi_chains/";
        return Lines{line + "chain0_" + band, line + "chain1_" + band};
    };
    const std::string text = R"({"band":"0","antmode":1})";
    const std::vector<Row> rows = {
        {text, "", "msg buf is:" + text + "\r\n", "", "", pair("1", "2g")},
        {R"({"band":"1","antmode":-3})", "", "", "", "", pair("1", "5g")},
        {R"({"band":"1","antmode":"1"})", "", "", "", "", pair("0", "5g")},
        {R"({"band":"2","antmode":1})", kFails},
        {R"({"band":"-1","antmode":1})", kFails},
    };
    expectRows(kAntenna, rows);
    EXPECT_EQ(unit.read("/sys/devices/platform/soc/soc:wifi_chains/chain1_2g"), "1\n");
}

TEST_F(Production, RssiSpreadIsTakenFromTheFirstChainOfEachLine) {
    const std::string file = "/wlan/rssi/ath0", both = R"({"band":0,"nss":2})";
    const auto heard = [](const std::string& text) {
        return "rx_per_chain_rssi_in_dbm = " + text + "\n";
    };
    const auto answer = [](const std::string& text) { return text + '\0'; };
    const std::string two = "other 0:-1,\n" + heard("0:-40, 1:-9") + heard("0:-46, 1:-9");
    const std::string deep = R"({"band":0,"x":)" + std::string(40, '[') + std::string(40, ']');
    const std::string noJson = "Set GroupInfo error, json_tokener_parse result is NULL\n";
    const std::vector<Row> rows = {
        // clang-format off
        {both, answer("6"), "max rssi:-40,min rssi:-46,max_differ_between_per_chain:6\n", file, two},
        {R"({"nss":1,"band":0})", answer("-40"), "value:{\"nss\":1,\"band\":0} len:18\n"},
        {R"({"band":0,"nss":"2"})", answer("-40")},
        {R"({"band":0,"nss":9} and more)", answer("6")},
        {R"({"band":"0","nss":2})", kFails, "error operate band\n"},
        {R"({"band":2})", kFails, "error operate band\n"},
        {deep + "}", kFails, noJson},
        {both, answer("0"), "max rssi:0,min rssi:0,", file, heard("1:-9") + heard("0: -50,") + heard("0:x, 1:-9")},
        {both, answer("-40"), "max rssi:-40,min rssi:0,", file, heard("0:-50,") + heard("0:-40,")},
        {both, answer("2147483520"), "max rssi:-128,", file, heard("0:-99999999999,")},
        {both, answer("-5"), "max rssi:-5,", file, heard(std::string(96, ' ') + "0:-50,")},
        // clang-format on
    };
    expectRows(kSpread, rows);
}

TEST_F(Production, RssiSpreadAsksTheRadioOfTheBand) {
    unit.write("/etc/profile.d/interfaces",
               unit.read("/etc/profile.d/interfaces") +
                   "config i 'radio_6g_2'\n option name 'w-l_.5678'\n");
    for (const auto& [band, radio, name] : {std::tuple{"0", "2g", "ath0"},
                                            {"1", "5g", "ath1"},
                                            {"4", "6g", "ath2"},
                                            {"6", "6g_2", "w-l_."}}) {
        ask(kSpread, std::string("{\"band\":") + band + "}");
        const std::string asked = std::string("uci get interfaces.radio_") + radio + ".name";
        EXPECT_EQ(unit.calls(),
                  (Lines{asked + " -c /etc/profile.d/", std::string("wifistats ") + name + " 10"}));
    }
}

TEST_F(Production, ResetProvesThatThePartitionsAreEmpty) {
    const Lines partitions = {"user-config", "device-config", "group-info"};
    Lines run;
    for (const std::string& one : partitions)
        run.push_back("flashkv -e -p " + one);
    const auto expectReset = [&](const Text& result, const std::string& said) {
        for (const std::string& one : partitions) {
            unit.write("/flash/" + one, padded("", 1));
            unit.write("/tmp/checknull-" + one, "");  // a stale one proves nothing
        }
        expectRows(kReset, {{kArgument, result, said, "", "", run}}, true);
        for (const std::string& one : partitions)
            EXPECT_FALSE(unit.exists("/tmp/checknull-" + one));
    };
    expectReset("", "packet length is: " + std::to_string(htonl(30)) + "\n");
    for (const std::string& one : partitions) {
        unit.write("/flash/" + one + ".stuck", "");
        expectReset(kFails, "pRcvBuf:" + kArgument + ",len:30\n");
        unit.remove("/flash/" + one + ".stuck");
    }
    unit.fault("flashkv", "case $1 in -r) exit 1 ;; esac");
    expectReset(kFails, "");
}

}  // namespace
