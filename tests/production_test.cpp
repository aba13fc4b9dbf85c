// The production tests: calibration, status reads, fans, Wi-Fi chains, reset, configuration check.
#include "commands/calibration.h"
#include "tests/support/commands.h"

namespace {

// A row is a line, from here on.
// clang-format off

const Command kStartCal = {18, "mfgp_cmd_StartCal", -10309, "start calibration data failed"},
    kButton = {50, "mfgp_cmd_getGpioStatus", -10331, "get SSID failed"},
    kSsid = {68, "mfgp_cmd_getSSID", -10331, "get SSID failed"},
    kFlags = {69, "mfgp_cmd_getEnableFlags", -10334, "get enable flags failed"},
    kHwVer = {70, "mfgp_cmd_getHwVer", -10333, "get hw version failed"},
    kFwVer = {71, "mfgp_cmd_getFwVer", -10332, "get fw version failed"},
    kModel = {72, "mfgp_cmd_getModelName", -10339, "get model name failed"},
    kReset = {73, "mfgp_cmd_reset", -10300, "soft reset fail"},
    kCalStatus = {86, "mfgp_cmd_getCalStatus", -10331, "get SSID failed"},
    kBluetooth = {87, "mfgp_cmd_getBleStatus", -10340, "get bluetooth enable failed"},
    kFanStatus = {88, "mfgp_cmd_getAllFanStatus", -10346, "get card siglvl failed"},
    kRecheck = {89, "mfgp_cmd_setAllFanGear", -10300, "recheck all gears fanspeed failed!"},
    kSetFan = {104, "mfgp_cmd_setFanSpeed", -10300, "Set Fan Control Error"},
    kFanSpeeds = {105, "mfgp_cmd_getMultiFanSpeed", -10337, "get fanspeed failed"},
    kAntenna = {128, "mfgp2_cmd_setSmartAntenna", -10300, "Set Smart Antenna Error"},
    kSpread = {131, "mfgp_cmd_getMaxDifferPerChain", -10357, "get wifi rssi error"},
    kConfig = {135, "mfgp_cmd_getConfigCheck", -10335, "get config for check failed"};

class Production : public Commands {};

std::string word(uint32_t value) {
    return {reinterpret_cast<const char*>(&value), sizeof value};
}

TEST_F(Production, CalibrationRunsTheStepsOfTheToolItNames) {
    const std::string done = "start cal success\n";
    const Lines wlan = {"wifi down", "/etc/init.d/qcmbr restart"};
    expectRows(kStartCal, {
        {"Btdiag", "", "session flag:520447\n", "/fault/qcmbr", "exit 1",
         {"/etc/init.d/bluetopia stop", "uci set bluetooth.settings.mode=rftest;uci commit", "/etc/init.d/bluetopia start"}},
        {"zigbeeMfg", "", done, "", "", {"/etc/init.d/zigbeeMfg stop", "/etc/init.d/zigbeeMfg start"}},
        {"zigbeeHost", "", done, "", "", {"killall Z3GatewayHost_591", "Z3GatewayHost_591 &"}},
        {"coext", "", done, "/wlan/coext_seconds", "3600", {"killall coext", "coext &"}},
        {"", "", done, "", "", wlan},
        {"btdiag", "", done, "", "", wlan},
        {"coextFinished" + std::string(300, 'x'), "", done, "", "", wlan},
    });
    static ServiceContext withoutPermission;
    EXPECT_EQ(mfgp_cmd_StartCal(&withoutPermission), -10309);
}

TEST_F(Production, CoexistenceIsJudgedByTheFirstCharacterOfItsLog) {
    const Text good = "";
    expectRows(kStartCal, {{"coextFinished", kFails}, {"coextResult", kFails}});
    for (const auto& [log, finished, passed] : {
            std::tuple{"1\n", kFails, kFails}, {"2\n", good, good}, {"0", good, kFails}, {"", good, kFails},
            {"12", kFails, kFails}, {"\n\n 2 1", good, good}})
        expectRows(kStartCal, {{"coextFinished", finished, "", "/tmp/coext.log", log}, {"coextResult", passed}});
}

TEST_F(Production, ButtonsAndCalibrationModeAreAskedOfTheSystem) {
    const std::string good = "WLAN TEST Success!!!\n", bad = "WLAN TEST Fail!!!\n", file = "/wlan/is_cal";
    const std::string yes("BUTTON OK", 10), no("BUTTON NOT OK", 14), late = std::string(1021, 'x') + "true";
    expectRows(kCalStatus, {{kArgument, padded("", 8), good, file, late.substr(1)}, {"", kFails, bad, file, late}});
    expectRows(kButton, {
        {"wifi", kFails, bad, "/tmp/button_wifi_check"},
        {"wifi_button", yes, "detect button:wifi_button\n", file, "it is untrueish"},
        {"Reset", no, "detect button:Reset\n"},
        {"RESET 2", yes, "detect result:BUTTON OK\n", "/tmp/button_reset_check"},
        {"wps", no, "detect button:wps\n"},
        {"WpS", yes, "detect button:WpS\n", "/tmp/button_wps_check"},
        {"wps1", no, "detect button:wps1\n"},
    });
    unit.remove("/sbin/is_cal");
    expectRows(kCalStatus, {{"", kFails, bad}});
}

TEST_F(Production, EnableFlagsAreFoldedFromFourSettings) {
    const std::string wifi = "/etc/config/wifi", v6 = "/etc/config/protocol", blue = "/etc/config/bluetooth";
    const auto section = [](const std::string& name, const std::string& option) {
        return "config c '" + name + "'\n" + option + "\n";
    };
    const std::string one = "option enable '1'", on = "option enable 'on'", list = "list enable 'on'";
    // Each on top of those before.
    expectRows(kFlags, {
        {kArgument, word(15), "enableFlags = 15.\n", wifi, section("ap", one) + section("guest", one)},
        {"", word(14), "enableFlags = 14.\n", wifi, section("ap", on) + section("guest", one)},
        {"", word(6), "enableFlags = 6.\n", blue, section("settings", one)},
        {"", word(2), "enableFlags = 2.\n", v6, section("wanv6", "option enable 'On'")},
        {"", kFails, "[get_enable_flags():%] get bluetooth enable status failed.\n", blue, section("settings", "")},
        {"", kFails, "[get_enable_flags():%] get ipv6 enable status failed.\n", v6, section("wan", on)},
        {"", kFails, "[get_enable_flags():%] get guest enable status failed.\n", wifi, section("ap", one)},
        {"", kFails, "[get_enable_flags():%] get ap enable status failed.\n", wifi, section("ap", list)},
        {"", kFails, "get enable flags failed.\n"},
    });
    expectRows(kConfig, {{"", kFails, "get config table failed.\n"}, {"", kFails, "[get_dut_config():%] get enable flags failed.\n"}});
    expectRows(kBluetooth, {
        {kArgument, padded("", 13), "BLUETOOTH TEST Success!!!\n", blue, section("settings", on)},
        {"", kFails, "BLUETOOTH TEST Fail!!!\n", blue, section("settings", "option enable 'on and off'")},
        {"", kFails, "uci get bluetooth enable failed.\n", blue, section("settings", list)},
    });
}

TEST_F(Production, ConfigurationCheckAnswersTheRecord) {
    const auto record = [](const std::string& version, const std::string& hardware, const std::string& model,
                           const std::string& country, const std::string& region) {
        return padded(version, 64) + padded(hardware, 16) + padded(model, 32) + padded(country, 64) +
               padded(region, 64) + word(13);
    };
    const std::string x63(63, 'x'), x15(15, 'x'), x31(31, 'x'), x70(70, 'x');
    const std::string special = "/fw/SPECIAL_ID", get = "[get_dut_config():%] ";
    unit.write("/tmp/fwinfo-MODEL", "stale");
    // Each on top of those before.
    expectRows(kConfig, {
        {kArgument, record("v", "V1.0", "M31-5G", "US", "US"),
         "cfgTable: len = 244\n fwVer = v;\n hwVer = V1.0;\n specialID = US;\n country = US;\nhostname = M31-5G;\nenflags = 13;\n", "/fw/SOFTVERSION", "v"},
        {"", record(x63, "V1.0", "M31-5G", "US", "US"), get + "pCfg->fwVer is: " + x63 + ", len is 63\n", "/fw/SOFTVERSION", x70},
        {"", record(x63, x15, "M31-5G", "US", "US"), get + "pCfg->hwVer is: " + x15 + ", len is 15\n", "/fw/HARDVERSION", x70},
        {"", record(x63, x15, x31, "US", "US"), get + "pCfg->enableFlags = 13, len is 4.\n", "/fw/MODEL", "\n " + x70},
        {"", record(x63, x15, "two", "US", "US"), "", "/fw/MODEL", "two words"},
        {"", record(x63, x15, "two", x63, "US"), get + "pCfg->country is: ", "/fw/COUNTRY", x70},
        {"", record(x63, x15, "two", "", "US"), get + "pCfg->country is: , len is 0\n", "/fw/COUNTRY", "\n"},
        {"", record(x63, x15, "two", "", "UN"), get + "pCfg->specialID is: UN, len is 2\n", special, "\n"},
        {"", record(x63, x15, "two", "", std::string("\0\x42", 2)), get + "pCfg->specialID is: , len is 0\n", special, "0042"},
    });
    EXPECT_FALSE(unit.exists("/tmp/fwinfo-MODEL"));
}

TEST_F(Production, FieldsAreAnsweredThroughEachDispatcher) {
    const std::string long64(64, 'x'), firm = "[get_firm_info():%] get ", hardware = "get hwver is: value, len is 5\n";
    for (const auto& [command, key, said, encrypted] : {
            // Through type 3 first, where nothing may lean on an earlier encrypted command.
            std::tuple{kHwVer, "HARDVERSION", hardware, false},
            {kFwVer, "SOFTVERSION", firm + "SOFTVERSION is: value, len is 5\n", false},
            {kSsid, "SSID", firm + "SSID is: value, len is 5\n", false},
            {kHwVer, "HARDVERSION", hardware, true}, {kFwVer, "SOFTVERSION", firm, true},
            {kModel, "MODEL", "pRcvBuf:" + kArgument + ",len:30\n", true}, {kModel, "MODEL", "get modelname is: value, len is 5\n", true}}) {
        const std::string file = std::string("/fw/") + key;
        unit.write("/tmp/fwinfo-cache", "stale");
        expectRows(command, {{kArgument, "value", said, file, "value\n"},
                             {"", "value", "pRplyBuf is: value, len is 5\n"},
                             {"", long64, "pRplyBuf is: ", file, long64 + "more"},
                             {"", "a b", "pRplyBuf is: ", file, "a\nb"},
                             {"", "", "pRplyBuf is: , len is 0\n", file, "\n"}}, encrypted);
        EXPECT_EQ(unit.exists("/tmp/fwinfo-cache"), command.subType == kSsid.subType);
    }
}

TEST_F(Production, FansAreDrivenThroughTheModelsOwnTool) {
    const std::string event = "ubus send \"fan_control\" ", model = "/fw/MODEL";
    const std::string message = "msg buf is:", y600(600, 'y'), at2 = R"({"gear":"2","time":30})";
    expectRows(kSetFan, {
        {at2, "", message + at2 + "\r\n", model, "M31-5G\n", {"main_fanctrl 2 30 &"}},
        {R"({"gear":"-1","time":-2})", "", message, model, "M31-5G two", {"main_fanctrl -1 -2 &"}},
        {at2, "", message, model, "M31-5GX", {event + R"('{"gear":2, "time":30}')"}},
        {R"({"gear":2,"time":30})", "", message, model, "", {event + R"('{"gear":0, "time":0}')"}},
        {y600, "", message + std::string(512, 'y') + "\r\n", "", "", {event + R"('{"gear":0, "time":0}')"}},
        {R"({"gear":"7","time":99999999999})", "", message, "", "", {event + R"('{"gear":7, "time":2147483647}')"}},
    });
    expectRows(kRecheck, {
        {R"({"gear":254})", kFails, "gear is 254, 255 is expected to recheck all gears speed\r\n"},
        {R"({"gear":"255"})", kFails, "gear is 0, 255 is expected to recheck all gears speed\r\n"},
        {y600, kFails, message + std::string(256, 'y') + "\r\n"},
        {R"({"gear":255})", "", message, "", "", {"/etc/init.d/fan_control reload"}},
    });
    expectRows(kFanSpeeds, {{"2", "2 2400 2370", "read all fans gear2 speed \n"}});
}

TEST_F(Production, FanFilesAreAnsweredAsTheyAre) {
    const std::string folder = "/tmp/fan_speed/", status = folder + "test_status", number = folder + "fan_number";
    expectRows(kFanStatus, {
        {kArgument, kFails, "get test_status error, maybe file is not exist\n"},
        {"", "1", "fan speed status is: 1\n", status, "12"},
        {"", "", "fan speed status is: ", status, "\n"},
    });
    std::string many = "99";
    for (int fan = 1; fan <= 99; fan++) {
        unit.write(folder + "fan" + std::to_string(fan) + "_speed_gear7", "87654321more");
        many += " 87654321";
    }
    unit.write(folder + "fan1_speed_gear2", "1200");
    unit.write(folder + "fan2_speed_gear2", "1300\n");
    expectRows(kFanSpeeds, {
        {"2", kFails, "fan number is NULL.\n"},
        {"2", "2 1200 1300\n", "get fan1 SpeedValue : 1200\n", number, "2"},
        {" 2nd", "1 1200", "read all fans gear2 speed \n", number, "01"},
        {"x", "1 ", "read all fans gear0 speed \n"},
        {"2", "0", "fan num is: 0\n", number, "0"},
        {"7", many, "pRplyBuf is: 99 87654321 87654321 ", number, "99"},
        {"2", kFails, "fan number is not digit.\n", number, "2\n"},
        {"2", kFails, "fan number is not digit.\n", number, "-1"},
    });
}

TEST_F(Production, SmartAntennaSwitchesBothChainsOfABand) {
    const auto pair = [](const std::string& value, const std::string& band) {
        const std::string line = "echo " + value + " > /sys/devices/platform/soc/soc\\:wifi_chains/";
        return Lines{line + "chain0_" + band, line + "chain1_" + band};
    };
    const std::string text = R"({"band":"0","antmode":1})";
    expectRows(kAntenna, {
        {text, "", "msg buf is:" + text + "\r\n", "", "", pair("1", "2g")},
        {R"({"band":"1","antmode":-3})", "", "", "", "", pair("1", "5g")},
        {R"({"band":"1","antmode":"1"})", "", "", "", "", pair("0", "5g")},
        {R"({"band":"2","antmode":1})", kFails},
        {R"({"band":"-1","antmode":1})", kFails},
    });
    for (const auto& [file, value] : {std::pair{"chain1_2g", "1\n"}, {"chain0_5g", "0\n"}})
        EXPECT_EQ(unit.read(std::string("/sys/devices/platform/soc/soc:wifi_chains/") + file), value);
}

TEST_F(Production, RssiSpreadIsTakenFromTheFirstChainOfEachLine) {
    const std::string file = "/wlan/rssi/ath0", both = R"({"band":0,"nss":2})";
    const auto heard = [](const std::string& text) { return "rx_per_chain_rssi_in_dbm = " + text + "\n"; };
    const auto answer = [](const std::string& text) { return text + '\0'; };
    const std::string two = "other 0:-1,\n" + heard("0:-40, 1:-9") + heard("0:-46, 1:-9");
    const std::string deep = R"({"band":0,"x":)" + std::string(40, '[') + std::string(40, ']') + "}";
    const std::string noJson = "Set GroupInfo error, json_tokener_parse result is NULL\n";
    expectRows(kSpread, {
        {both, answer("6"), "max rssi:-40,min rssi:-46,max_differ_between_per_chain:6\n", file, two},
        {R"({"nss":1,"band":0})", answer("-40"), "value:{\"nss\":1,\"band\":0} len:18\n"},
        {R"({"band":0,"nss":"2"})", answer("-40")},
        {R"({"band":0,"nss":9} and more)", answer("6")},
        {R"({"band":"0","nss":2})", kFails, "error operate band\n"},
        {R"({"band":2})", kFails, "error operate band\n"},
        {"", kFails, noJson},
        {deep, kFails, noJson},
        {R"({"band":0,"x":")" + std::string(1024, 'x') + "\"}", kFails, noJson},
        {both, answer("0"), "max rssi:0,min rssi:0,", file, heard("1:-9") + heard("0: -50,") + heard("0:x, 1:-9")},
        {both, answer("-40"), "max rssi:-40,min rssi:0,", file, heard("0:-50,") + heard("0:-40,")},
        {both, answer("2147483520"), "max rssi:-128,", file, heard("0:-99999999999,")},
        {both, answer("-5"), "max rssi:-5,", file, heard(std::string(96, ' ') + "0:-50,")},
        {both, answer("-128"), "max rssi:-128,min rssi:0,", file, ""},
    });
}

TEST_F(Production, RssiSpreadAsksTheRadioOfTheBand) {
    const auto expectAsked = [this](const std::string& band, const std::string& radio, const std::string& stats) {
        EXPECT_EQ(ask(kSpread, "{\"band\":" + band + "}").has_value(), !stats.empty());
        Lines expected = {"uci get interfaces.radio_" + radio + ".name -c /etc/profile.d/", stats};
        std::erase(expected, "");
        EXPECT_EQ(unit.calls(), expected);
    };
    for (const auto& [band, radio, name] : {
            std::tuple{"0", "2g", "ath0"}, {"1", "5g", "ath1"}, {"4", "6g", "ath2"}, {"6", "6g_2", "ath3"}})
        expectAsked(band, radio, std::string("wifistats ") + name + " 10");
    for (const auto& [text, stats] : {std::pair{"a;b", ""}, {"a/b", ""}, {"w-l_.5678", "wifistats w-l_. 10"}}) {
        unit.write("/etc/profile.d/interfaces", std::string("config i 'radio_2g'\n option name '") + text + "'\n");
        expectAsked("0", "2g", stats);
    }
}

TEST_F(Production, ResetProvesThatThePartitionsAreEmpty) {
    const Lines partitions = {"user-config", "device-config", "group-info"};
    Lines run;
    for (const std::string& one : partitions)
        run.push_back("flashkv -e -p " + one);
    for (const std::string& one : partitions)
        run.push_back("rm /tmp/checknull-" + one);
    const auto expectReset = [&](const Text& result, const std::string& said) {
        for (const std::string& one : partitions) {
            unit.write("/flash/" + one, padded("", 1));
            unit.write("/tmp/checknull-" + one, "");  // a stale one proves nothing
        }
        expectRows(kReset, {{kArgument, result, said, "", "", run}}, true);
    };
    expectReset("", "packet length is: 503316480\n");
    for (const std::string& one : partitions) {
        unit.write("/flash/" + one + ".stuck", "");
        expectReset(kFails, "pRcvBuf:" + kArgument + ",len:30\n");
        unit.remove("/flash/" + one + ".stuck");
    }
    unit.fault("flashkv", "case $1 in -r) exit 1 ;; esac");
    expectReset(kFails, "");
}

TEST_F(Production, WithoutADescriptorForThePipeEachFailsWithItsOwnCode) {
    unit.write("/tmp/coext.log", "2");
    unit.allowPipes(false);
    for (const auto& [command, argument, said] : {
            std::tuple{kStartCal, "coextFinished", ""}, {kButton, "wifi", "WLAN TEST Fail!!!\n"},
            {kSsid, "", "get firm info failed.\n"}, {kConfig, "", "[get_dut_config():%] get firm info failed.\n"},
            {kFanStatus, "", "open fanstatusOk file error\n"}, {kFanSpeeds, "", "open fan_number file error\n"},
            {kSetFan, "", "we get device name fail,we don't know send which cmd for FTM\n"},
            {kSpread, R"({"band":0})", "get dev name filed\n"}})
        expectRows(command, {{argument, kFails, said}});
    for (const Command& command : {kHwVer, kFwVer, kModel})
        EXPECT_EQ(ask(command, kArgument, true), kFails);
}

}  // namespace
