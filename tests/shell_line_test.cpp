// Text that is made to run more than the command it is part of, wherever a text from the wire, from
// a factory field or from the configuration comes near a shell line: the tools that run are those
// of the command, and what would be run besides, which makes the file /c, is not.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <regex>

#include "tests/support/unit.h"
#include "tests/support/wire.h"

namespace {

using std::string;
using Lines = std::vector<string>;

// Short enough for every field.
const char* const kTexts[] = {"`>/c`$(>/c);>/c", "|>/c&>/c&", "\n>/c\n", "';>/c;'",
                              "\";>/c;\"",       "a b>/c",    "%s%n"};

// Expressions for the texts that a command refuses.
const char* const kNone = "^$";
const char* const kAll = "";
const char* const kNewline = "\n";
const char* const kImeiMarks = "^[^%]";

string replaced(string text, const string& from, const string& to) {
    for (size_t at = 0; (at = text.find(from, at)) != string::npos; at += to.size())
        text.replace(at, from.size(), to);
    return text;
}

string groupOf(const string& gid) {
    const string json = replaced(replaced(gid, "\"", "\\\""), "\n", "\\n");
    return R"({"key":")" + string(304, 'k') + R"(","gid":")" + json + string(36 - gid.size(), 'g') +
           R"(","pack":3})";
}

const string kAsked = "uci get mobile.modem.module_name -c /etc/profile.d";

// clang-format off
const struct {
    uint8_t subType;
    string argument;  // {}: the text
    const char* refused;
    string error;
    size_t ranBefore;  // of the calls, when the text is refused
    Lines calls;
} kCommands[] = {
    {18, "{}", kNone, "", 0, {"wifi down", "qcmbr restart"}},
    {50, "{}", kNone, "", 0, {"is_cal"}},
    {54, "{}", kNone, "", 0, {"flashkv -w /tmp/device-tmp -p device-id"}},
    {60, "{}", kNewline, errorLine(-10325, "set OEM ID failed"), 1,
     {"flashkv -r /tmp/oemid-tmp -p product-info", "flashkv -w /tmp/oemid-tmp -p product-info"}},
    {65, "{}", kAll, errorLine(-10327, "set Special ID failed"), 0, {}},
    {67, "{}", kNewline, errorLine(-10329, "set Country Code failed"), 1,
     {"flashkv -r /tmp/cc-tmp -p product-info", "flashkv -w /tmp/cc-tmp -p product-info"}},
    {76, "{}", kNone, "", 0, {"flashkv -w /tmp/pin-tmp -p pin"}},
    {77, "{}", kNewline, errorLine(-10336, "set group failed"), 2,
     {"check_group /tmp/mfgp_group.input /tmp/mfgp_group.output",
      "flashkv -r /tmp/group-tmp -p product-info", "flashkv -w /tmp/group-tmp -p product-info"}},
    {79, "3{}", kNone, "", 0, {"generate_group 3 /tmp/mfgp_generate_group"}},
    {89, "{\"gear\":255{}", kNone, "", 0, {"fan_control reload"}},
    {90, "{}", kImeiMarks, errorLine(-10350, "set imei failed"), 0,
     {"flashkv -w /tmp/imei-tmp -p default-imei", kAsked, R"(atcon -c 'AT+EGMR=1,7,"{}"')", "atcon -c AT+QPRTPARA=1"}},
    {94, "1{}", kNone, "", 0,
     {"uci set ext_antenna.ext_antenna.enable=1", "uci commit ext_antenna", "reload_config"}},
    {104, "{\"gear\":\"2{}", kNone, "", 0, {"fwinfo MODEL", "main_fanctrl 2 0"}},
    {105, "2{}", kNone, "", 0, {}},
    {112, "1-3-0-60-1-{}", kNone, "", 0, {kAsked, R"(atcon -c 'at+qrftestex="LTE","rx",3,0,-60,1,0')"}},
    {114, "1{}", kNone, "", 0, {kAsked, "atcon -c AT+QFTMMODE=1"}},
    {128, "{\"band\":\"1\",\"antmode\":1{}", kNone, "", 0, {}},
    {131, "{\"band\":0}{}", kNone, "", 0, {"uci get interfaces.radio_2g.name -c /etc/profile.d/", "wifistats ath0 10"}},
    {82, "{}", kNewline, errorLine(-10327, "set model name failed"), 1,
     {"flashkv -r /tmp/model-tmp -p product-info", "flashkv -w /tmp/model-tmp -p product-info"}},
};

const std::pair<uint8_t, Lines> kReaders[] = {
    {10, {"fwinfo PRODUCT_ID"}}, {53, {"fwinfo DEV_ID"}}, {55, {"fwinfo MAC"}}, {56, {"fwinfo FW_ID"}},
    {57, {"fwinfo HW_ID"}}, {58, {"fwinfo MODEL", "fwinfo HARDVERSION"}}, {59, {"fwinfo OEM_ID"}},
    {64, {"fwinfo SPECIAL_ID"}}, {66, {"fwinfo COUNTRY"}}, {68, {"fwinfo SSID"}}, {70, {"fwinfo HARDVERSION"}},
    {71, {"fwinfo SOFTVERSION"}}, {78, {"fwinfo PRECONF_KEY", "fwinfo PRECONF_GID", "fwinfo PRECONF_PACK"}},
    {104, {"fwinfo MODEL", R"(ubus send fan_control '{"gear":0, "time":0}')"}},
    {135, {"fwinfo SOFTVERSION", "fwinfo HARDVERSION", "fwinfo SPECIAL_ID", "fwinfo COUNTRY", "fwinfo MODEL"}},
    {91, {"fwinfo IMEI", kAsked, "atcon -c AT+CGSN"}}, {112, {kAsked}}, {114, {kAsked}}, {115, {kAsked}},
    {106, {"uci get sim.common_state.card_state"}}, {107, {"uci get mobile_status.net_status.conn_stat"}},
    {108, {"uci get mobile_status.net_status.sig_lvl"}}, {109, {"uci get mobile_status.net_status.reg_stat"}},
    {116, {"uci get mobile.modem.is_quectel_module -c /etc/profile.d",
           "uci get mobile.modem.is_fibocom_module -c /etc/profile.d"}},
    {131, {"uci get interfaces.radio_2g.name -c /etc/profile.d/"}},
    {75, {"flashkv -w /tmp/mac-tmp -p default-mac", "fwinfo MODEL", "essid.sh {} 300000", "mfgp_hook_setmac 7B:22:62:30:00:00"}},
};
// clang-format on

class ShellLine : public testing::TestWithParam<const char*> {
  protected:
    // What has run since the last time, in any order, and in the background too.
    void expectCalls(Lines expected) {
        Lines ran;
        for (int i = 0; i < 500 && ran.size() < expected.size(); i++, usleep(10000))
            std::ranges::copy(unit.calls(), std::back_inserter(ran));
        std::ranges::sort(ran);
        std::ranges::sort(expected);
        EXPECT_EQ(ran, expected);
        EXPECT_FALSE(unit.exists("/c"));
    }

    const string text = GetParam();
    Unit unit;
    Station station;
};
INSTANTIATE_TEST_SUITE_P(, ShellLine, testing::ValuesIn(kTexts));

TEST_P(ShellLine, RunsNoTextFromTheWire) {
    const string before = unit.read("/flash/product-info");
    unit.write("/modem/ftm", "1\n");
    Lines calls;
    for (const auto& row : kCommands) {
        SCOPED_TRACE(int{row.subType});
        const bool refused = std::regex_search(text, std::regex(row.refused));
        const string argument =
            row.subType == 77 ? groupOf(text) : replaced(row.argument, "{}", text);
        EXPECT_EQ(station.command(row.subType, argument).info(), refused ? 3 : 0);
        EXPECT_EQ(unit.errors().find(row.error) != string::npos, refused || row.error.empty());
        const size_t count = refused ? row.ranBefore : row.calls.size();
        for (size_t i = 0; i < count; i++)
            calls.push_back(replaced(row.calls[i], "{}", text));
    }
    expectCalls(calls);
    // A record holds what was sent, and none is forged.
    const string records = unit.read("/flash/product-info");
    if (text[0] == '\n') {
        EXPECT_EQ(records, before);
        return;
    }
    for (const char* key : {"\noem_id:", "\ncountry:", "\nproduct_name:"})
        EXPECT_NE(records.find(key + text + "\n"), string::npos);
    EXPECT_NE(records.find("\npreconf_g:" + text + "ggg"), string::npos);
    EXPECT_EQ(std::ranges::count(records, '\n'), std::ranges::count(before, '\n') + 3);
}

TEST_P(ShellLine, RunsNoTextOfAFieldOrTheConfiguration) {
    unit.fault("fwinfo", "printf %s '" + replaced(text, "'", "'\\''") + "'; exit");
    unit.fault("uci", unit.read("/fault/fwinfo"));
    Lines calls;
    for (const auto& [subType, run] : kReaders) {
        station.command(subType, subType == 75 ? "{\"b0" : R"({"band":0})");
        const string error = errorLine(-10357, "get wifi rssi error");
        EXPECT_EQ(unit.errors().find(error) != string::npos, subType == 131 && text != "%s%n");
        const string word = text[0] == 'a' ? "a" : text == "%s%n" ? text : "NORVANE";
        for (const string& line : run)
            calls.push_back(replaced(line, "{}", word));
    }
    if (text == "%s%n")  // plain text: the radio is asked
        calls.push_back("wifistats %s%n 10");
    expectCalls(calls);
}

}  // namespace
