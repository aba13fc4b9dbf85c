// The cellular side: detection, the lines of each module as its console gets them, test mode and
// antenna tests, card and IMEI, logger and external antenna.
#include <climits>
#include <fstream>
#include <functional>
#include <memory>

#include "commands/antenna_test.h"
#include "commands/field_text.h"
#include "tests/support/commands.h"

namespace fs = std::filesystem;

static unsigned slept = 0;  // seconds

// Taken instead of the C library's in this program; the daemon in a unit really waits.
unsigned sleep(unsigned seconds) {
    slept += seconds;
    return 0;
}

namespace {

// A row is a line, from here on.
// clang-format off

const Command kSetImei = {90, "mfgp2_cmd_setImei", -10350, "set imei failed"},
    kGetImei = {91, "mfgp2_cmd_getImei", -10351, "get imei failed"},
    kStartLogger = {92, "mfgp2_cmd_startQLog", -10341, "QLog failed to start!"},
    kStopLogger = {93, "mfgp2_cmd_stopQLog", -10342, "QLog failed to stop!"},
    kExtAntenna = {94, "mfgp2_cmd_changeExtAntenna", -10343, "ExtAntenna failed to change!"},
    kCardState = {106, "mfgp2_cmd_getcardstate", -10344, "get card state failed"},
    kCardConn = {107, "mfgp2_cmd_getcardconn", -10345, "get card conn failed"},
    kCardSignal = {108, "mfgp2_cmd_getcardsiglvl", -10346, "get card siglvl failed"},
    kCardRegState = {109, "mfgp2_cmd_getcardregstat", -10347, "get card reg state failed"},
    kSimImei = {110, "mfgp2_cmd_getsimImei", -10348, "get sim imei failed"},
    kSetAntenna = {112, "mfgp2_cmd_setantennaTest", -10352, "set antenna failed"},
    kGetAntenna = {113, "mfgp2_cmd_getantennaTest", 0, "never fails"},
    kSetFtm = {114, "mfgp2_cmd_setFtmState", -10354, "set antenna FTM failed"},
    kGetFtm = {115, "mfgp2_cmd_getFtmState", -10355, "get antenna FTM failed"},
    kVersion = {116, "mfgp2_cmd_getlteSwVer", -10356, "get lte soft version failed"};
const std::string kKind = "/modem/kind";  // holds the name of the module that is plugged in

class Modem : public Commands {
  protected:
    // What the last command asked on the modem's consoles, in one text.
    std::string asked() {
        std::string all;
        for (const std::string& call : unit.calls())
            if (call.starts_with("atcon") || call.starts_with("cellcli"))
                all += (all.empty() ? "" : " then ") + call;
        return all;
    }
};

TEST(Number, IsWrittenInAnyRadix) {
    char text[33];
    EXPECT_STREQ(int_to_text(INT_MIN, text, 10), "-2147483648");
    EXPECT_EQ(int_to_text(INT_MIN, text, 2), "1" + std::string(31, '0'));
    EXPECT_STREQ(int_to_text(-1, text, 36), "1z141z3");
    EXPECT_STREQ(int_to_text(5, text, 1), "0");
    EXPECT_EQ(int_to_text(1, text, 0), nullptr);
    EXPECT_EQ(int_to_text(1, text, 37), nullptr);
    const std::unique_ptr<char, decltype(&free)> own(int_to_text(35, nullptr, 16), free);
    EXPECT_STREQ(own.get(), "23");
}

TEST_F(Modem, IsKnownFromItsProfile) {
    const std::string name = "[get_module_name():%] ", quectel = "[is_support_quectel_module():%] ", none = "";
    for (const auto& [command, option, value, said, console] : {
            // The other options are absent.
            std::tuple{kGetFtm, "module_name", std::string("EG18-EA\nmore"), name + "result=EG18-EA,len=7\n", "atcon -c 'AT+QRFTESTMODE?'"},
            {kGetFtm, "module_name", std::string(40, 'x'), name + "result=" + std::string(29, 'x') + ",len=29\n", ""},
            {kGetImei, "module_name", none, name + "result=,len=0\n", "atcon -c AT+CGSN"},
            {kGetFtm, "", none, name + "can't read module name from profile\n", ""},
            {kVersion, "is_quectel_module", "yesterday", quectel + "result=yesterday\n,len=10\n", "atcon -c ATI"},
            {kVersion, "is_quectel_module", "Yes", quectel + "result=Yes\n,len=4\n", ""},
            {kVersion, "", none, "[is_support_fibocom_module():%] can't read is_support_fibocom_module from profile\n", ""},
            {kVersion, "is_fibocom_module", "yes", quectel + "can't read is_support_quectel_module from profile\n", "cellcli -c ATI"}}) {
        unit.fault("uci", std::string("case \"$*\" in 'get mobile.modem.") + option + " -c /etc/profile.d') echo '" + value + "' ;; esac; exit");
        ask(command, "");
        expectSaid(command, said);
        EXPECT_EQ(asked(), console);
    }
}

TEST_F(Modem, IsAskedForALevelInItsOwnWords) {
    const std::string cut = " | awk 'NR==2{split($0,a,\"[:_]\");print a[2]}'";
    const std::string first = " | awk 'NR==1{split($0,a,\"[ _]\");print a[2]}'", second = " | awk 'NR==1{split($0,a,\"[,_]\");print a[2]}'";
    const std::string lte = R"(atcon -c 'at+qrftestex="LTE","rx",)", nr = R"(atcon -c 'at+qrftestex="NR5G","rx",)";
    const std::string setUp = "cellcli -c AT+SPMAXRF=3,2,23,1,", ask4g = "cellcli -c 'AT+LTERXLEVELDBM?'", ask3g = "cellcli -c 'AT+WCDMARXLEVELDBM?'";
    expectRows(kSetAntenna, {{"3-1-0-2-1", kFails, "param is wrong\n", kKind, "FG621"}});  // not in its test mode
    unit.write("/modem/ftm", "1");
    unit.write("/modem/levels", "1 -58 -63\n3 -61 -66\n78 -74 -79\n9 -12345678 0\n");
    expectRows(kGetAntenna, {{kArgument, padded("999", 8), "mfgp2_cmd_getantennaTest pRplyBuf is: 999, len is 3\n"}});
    for (const auto& [module, argument, before, line, end, level] : {
            // The line as the console sees it and as it is logged, where the cut stands behind it.
            std::tuple{"RG520N-EU", "2-78--+70-2-99999999999", std::string(), nr + "78,0,-70,2,2147483647'", cut, "-74"},
            {"RG520N-EU", "1-3-0-60-0-19850", "", lte + "3,0,-60,0,19850'", cut, "999"},
            {"RG520N-EU", "1-3-0-60-1-19850", "", lte + "3,0,-60,1,19850'", cut, "-61"},
            {"EG18-EA", "2-3-0-55.5", "", "atcon -c AT+QRXFTM=1,2,3,0,4,55.5", cut, "-61"},
            {"EG18-EA", "2-9-1-60.3-5", "", "atcon -c AT+QRXFTM=1,2,9,1,4,60.3", cut, "-123456"},
            {"EG18-EA", "2-1-0-1234567\r", "", "atcon -c AT+QRXFTM=1,2,1,0,4,1.23457e+06", cut, "-58"},
            {"EG18-EA", "2-1-0-\r", "", "atcon -c AT+QRXFTM=1,2,1,0,4,0", cut, "-58"},
            {"EG060K-EA", "78-1-2-3-70", "", R"(atcon -c 'AT+QRFTEST="rx",78,1,2,3,-70')", cut, "-74"},
            {"FG621", "3-1-0-2-1", setUp + "2,0 then ", ask4g, first, "-61"},
            {"FG621", "3-1-7-2-1", setUp + "2,0 then ", ask4g, second, "-66"},
            {"FG621", "3-1-0-1-1", setUp + "1,0 then ", ask3g, first, "-61"},
            {"FG621", "3-1-1-3-1", setUp + "3,0 then ", ask3g, second, "-66"},
            {"FG621", "3-1-0-2-0", setUp + "2,0", "", "", "999"}}) {
        expectRows(kSetAntenna, {{argument, "", "mfgp2_cmd_setantennaTest at cmd:" + line + end + "\n", kKind, module}});
        EXPECT_EQ(asked(), before + line);
        EXPECT_EQ(station.command(113, kArgument).payload, padded(level, 8));
    }
    expectRows(kSetAntenna, {{"1-3-0-60-1-5", "", "mfgp2_cmd_setantennaTest TECH=1,band=3,chain_index=0,expected_rxagc_dbm=60,rx_enable=1,channel=5\n", kKind, "RG520N-EU"}});
    unit.fault("atcon", "printf '\\n+QRXFTM:-12345678\\n'; exit");
    expectRows(kSetAntenna, {{"2-3-0-55.5", "", "", kKind, "EG18-EA"}});
    EXPECT_EQ(station.command(113).payload, "-1234567");
}

TEST(Console, ThatSaysNothingCostsThreeSeconds) {
    char folder[] = "/tmp/mfgp-tools-XXXXXX";
    const fs::path tools = mkdtemp(folder);
    setenv("PATH", (tools.string() + ":" + getenv("PATH")).c_str(), 1);
    const auto ctx = std::make_unique<ServiceContext>();
    // Without an answer to the set-up, then to the empty line of a test that is neither 0 nor 1.
    for (const char* answer : {"exit", "echo OK"}) {
        for (const auto& [tool, line] : {std::pair{"uci", "echo FG621"}, {"cellcli", answer}}) {
            std::ofstream(tools / tool) << "#!/bin/sh\n" << line << "\n";
            fs::permissions(tools / tool, fs::perms::owner_all);
        }
        mfgp_setVersion(ctx->recvBuf, 2);
        strcpy(reinterpret_cast<char*>(mfgp_payload(ctx->recvBuf)), "3-1-0-2-2");
        slept = 0;
        testing::internal::CaptureStdout();
        EXPECT_EQ(mfgp2_cmd_setantennaTest(ctx.get()), kSetAntenna.code);
        EXPECT_TRUE(testing::internal::GetCapturedStdout().ends_with("we do not get result\n"));
        EXPECT_EQ(slept, 3U);
    }
    fs::remove_all(tools);
}

TEST_F(Modem, IsPutIntoItsTestModeAndTellsIt) {
    for (const auto& [module, value, set, get, answer] : {
            // The lines as the console sees them; none to get: this module cannot be asked.
            std::tuple{"EG18-EA", "1", std::string("atcon -c AT+QRFTESTMODE=1"), "atcon -c 'AT+QRFTESTMODE?'", "1\n"},
            {"EG060K-EA", "1", R"(atcon -c 'AT+QRFTEST="mode",1')", R"(atcon -c 'AT+QRFTEST="mode"')", "1\n"},
            {"RG520N-EU", "0", "atcon -c AT+QFTMMODE=0", "atcon -c 'AT+QFTMMODE?'", "0\n"},
            {"RG520N-EU", "-1x", "atcon -c AT+QFTMMODE=-1", "atcon -c 'AT+QFTMMODE?'", "-1\n"},
            {"RG520N-EU", "9999999999", "atcon -c AT+QFTMMODE=2147483647", "atcon -c 'AT+QFTMMODE?'", "21474836"},
            {"FG621", "1", "cellcli -c at+sfun=5", "", ""},
            {"FG621", "0", "", "", ""}}) {  // an empty line is run all the same
        expectRows(kSetFtm, {{value, "", "mfgp2_cmd_setFtmState at cmd:" + set + "\n", kKind, module, {set}}});
        EXPECT_EQ(asked(), set);
        EXPECT_EQ(ask(kGetFtm, kArgument), *get == 0 ? kFails : padded(answer, 8));
        EXPECT_EQ(asked(), get);
    }
    unit.fault("atcon", "exit 1");
    expectRows(kSetFtm, {{"1", "", "", kKind, "EG18-EA", {"atcon -c AT+QRFTESTMODE=1"}}});  // that fails has been run
    expectRows(kGetFtm, {{"", kFails, "mfgp2_cmd_setFtmState at cmd:atcon -c AT+QRFTESTMODE? | awk 'NR==2{split($0,a,\"[ ]\");print a[2]}'\n"}});
    expectRows(kVersion, {{"", kFails, "get lte_swver fail\n"}});
}

TEST_F(Modem, RefusesBeforeAnythingRuns) {
    const std::string noName = "we get device name fail,we don't know send which cmd for ", noFields = "fail to get RX Antenna test parameter for ";
    const std::string unknown = "we get device name fail,we don't know the parameters for setting Antenna\n";
    for (const auto& [module, command, argument, said] : {
            std::tuple{"none", kSetAntenna, "1-3-0-60-1-1", noName + "FTM\n"},
            {"none", kSetFtm, "1", noName + "FTM\n"},
            {"none", kGetFtm, "", noName + "FTM\n"},
            {"none", kGetImei, "", noName + "sim IMEI\n"},
            {"none", kVersion, "", "other module,we are not sure cmd,do not process\n"},
            {"EM05", kSetAntenna, "1-3-0-60-1-1", unknown},
            {"EM05", kSetFtm, "1", "Wrong device, no need to set FTM state\n"},
            {"EM05", kGetFtm, "", "Wrong device, no need to get FTM state\n"},
            {"FG621", kGetFtm, "", "Wrong device, no need to get FTM state\n"},
            {"EG18-EA", kSetAntenna, "1-2-3", noFields + "EG18-EA \n"},
            {"EG060K-EA", kSetAntenna, "1-2-3-4\r5", noFields + "EG060k-EA \n"},
            {"FG621", kSetAntenna, "1-2-3-4-", noFields + "FG621 \n"},
            {"RG520N-EU", kSetAntenna, "", noFields + "RG520N-EU \n"},
            {"RG520N-EU", kSetAntenna, "3-3-0-60-1-1", unknown},
            {"RG520N-EU", kExtAntenna, ";id", "ext_antenna switch status is:;id\n"},
            {"RG520N-EU", kExtAntenna, "\n", ""}}) {
        expectRows(command, {{argument, kFails, said, kKind, module}});
        for (const std::string& call : unit.calls())
            EXPECT_TRUE(call.starts_with("uci get ") || call.starts_with("fwinfo ")) << call;
    }
    // Once the module's name is found, a refused test has forgotten the level of the one before.
    unit.write("/modem/ftm", "1");
    for (const auto& [module, level] : {std::pair{"none", "-61"}, {"EM05", "999"}, {"RG520N-EU", "999"}}) {
        expectRows(kSetAntenna, {{"1-3-0-60-1-19850", "", "", kKind, "RG520N-EU"}, {"1-3", kFails, "", kKind, module}});
        EXPECT_EQ(station.command(113).text(), level);
    }
}

TEST_F(Modem, CardReadingsCountOneByteLessAndWrap) {
    const std::string digits = "1234567890";
    for (const auto& [command, option, longest] : {
            std::tuple{kCardState, "sim.common_state.card_state", 3}, {kCardConn, "mobile_status.net_status.conn_stat", 3},
            {kCardSignal, "mobile_status.net_status.sig_lvl", 8}, {kCardRegState, "mobile_status.net_status.reg_stat", 8}}) {
        const std::string log = command.message.substr(0, command.message.rfind(' '));  // "get NAME failed"
        expectRows(command, {{kArgument, "1", log + " is: 1\n, len is 1\n", "/fault/uci", "printf '1\\n'; exit"}});
        EXPECT_EQ(unit.calls(), Lines{std::string("uci get ") + option});
        expectRows(command, {{"", digits.substr(0, size_t(longest)), "", "/fault/uci", "printf " + digits + "; exit"},
                             {"", "", "pRplyBuf is: , len is -1\n", "/fault/uci", "exit"},
                             {"", "", "pRplyBuf is: , len is -1\n", "/fault/uci", "echo; exit"}});
    }
    unit.allowPipes(false);
    for (const Command& command : {kCardState, kCardConn, kCardSignal, kCardRegState, kSimImei})
        EXPECT_EQ(ask(command, ""), kFails);
}

TEST_F(Modem, ImeiIsWrittenOnceToFlashAndModem) {
    const std::string digits = "123456789012345", odd = "aZ9%+,-./:=@^_";
    for (const char* bad : {"1;id", "1 2", "`id`", "$IFS", "1\"2", "1'2", "1\\2", "\n"})
        expectRows(kSetImei, {{bad, kFails}});
    for (const auto& [module, argument, imei, console] : {
            std::tuple{"RG520N-EU", digits + "678", digits, "atcon -c 'AT+EGMR=1,7,\"" + digits + "\"' then atcon -c AT+QPRTPARA=1"},
            {"EM05", "", "", "atcon -c 'AT+EGMR=1,7,\"\"' then atcon -c AT+QPRTPARA=1"},
            {"FG621", odd, odd, "cellcli -c 'AT+GTCSNUM=1,7,\"" + odd + "\"' then cellcli -c AT+GTBACKUPDUT"}}) {
        unit.stop();
        unit.start();
        fs::create_directories(unit.path("/tmp/imei-tmp"));
        EXPECT_EQ(ask(kSetImei, argument), kFails) << "the file cannot be written";
        EXPECT_EQ(unit.calls(), Lines{});
        unit.remove("/tmp/imei-tmp");
        unit.write(kKind, "none");
        EXPECT_EQ(ask(kSetImei, argument), kFails);
        EXPECT_EQ(asked(), "");
        unit.write(kKind, module);
        EXPECT_EQ(ask(kSetImei, argument), "");
        expectSaid(kSetImei, "new imei is:" + imei + "\r\n");
        EXPECT_EQ(shellLines(trace).at(0), "echo " + imei + "  > /tmp/imei-tmp");
        EXPECT_EQ(asked(), console);
        EXPECT_EQ(unit.read("/flash/default-imei"), imei + "\n");
        expectRows(kSetImei, {{argument, kFails}});
    }
}

TEST_F(Modem, HasTheImeiOfFlashOrNines) {
    const std::string imei = "490154203237518", nines(15, '9');
    for (const auto& [module, flash, modem, answer] : {
            std::tuple{"RG520N-EU", imei + "\n", imei + "\n", imei}, {"FG621", imei + "\n", imei + "\n", imei},
            {"RG520N-EU", imei + "1\n", imei + "9\n", imei},
            {"RG520N-EU", imei + "\n", "490154203237519\n", nines}, {"RG520N-EU", imei + "\n", "", nines},
            {"RG520N-EU", "49015\n", "49015\n", nines},  // the modem's keeps its newline
            {"EM05", "", "", std::string(15, '\0')}}) {
        unit.write("/flash/default-imei", flash);
        unit.write("/modem/imei", modem);
        unit.write("/tmp/fwinfo-imei", "stale");
        expectRows(kGetImei, {{kArgument, answer, "", kKind, module}});
        EXPECT_FALSE(unit.exists("/tmp/fwinfo-imei"));
    }
}

TEST_F(Modem, TellsItsVersionAndImei) {
    const std::string longText(70, 'v'), version = "/modem/version";
    unit.write("/modem/imei", "4901\n");
    unit.write(kKind, "EG060K-EA");
    expectRows(kVersion, {{longText + longText, padded("11.22", 65), "", version, "11.22 x\n"}});
    expectRows(kSimImei, {{longText, padded("4901\n", 16)}});
    unit.write(kKind, "FG621");
    expectRows(kVersion, {{"", padded(longText.substr(0, 64), 65), "", version, longText}});
    expectRows(kSimImei, {{longText, padded("", 16)}});
    EXPECT_EQ(asked(), "atcon -c AT+CGSN");
}

// The logger in the unit, seen from outside of it; 0 when there is none.
pid_t loggerOf(const Unit& unit) {
    std::error_code gone;
    for (const auto& entry : fs::directory_iterator("/proc"))
        // The folder, not its name: from within a chroot another namespace's paths read otherwise.
        if (readFile(entry.path() / "comm") == "QLog\n" && fs::equivalent(entry.path() / "root/.", unit.path("/"), gone))
            return std::stoi(entry.path().filename());
    return 0;
}

bool comesTrue(const std::function<bool()>& holds) {
    bool held = false;
    for (int i = 0; i < 500 && !(held = holds()); i++)
        usleep(10000);
    return held;
}

TEST_F(Modem, LoggerRunsOnWithoutADescriptorOfTheDaemon) {
    unit.fault("QLog", "[ $deaf ] || { trap '' TERM; deaf=yes exec $0 \"$@\"; }");
    EXPECT_EQ(ask(kStartLogger, ""), "");
    ASSERT_TRUE(comesTrue([&] { return loggerOf(unit) != 0; }));
    EXPECT_TRUE(comesTrue([&] { return unit.read("/calls.log") == "QLog -s 9000\nQLog -s 9000\n"; }));
    int count = 0;
    for (const auto& entry : fs::directory_iterator("/proc/" + std::to_string(loggerOf(unit)) + "/fd")) {
        EXPECT_FALSE(fs::read_symlink(entry).string().starts_with("socket:"));
        count++;
    }
    EXPECT_GE(count, 3);
    EXPECT_EQ(ask(kStopLogger, ""), "");
    EXPECT_TRUE(comesTrue([&] { return loggerOf(unit) == 0; }));
    // It can be killed once more until the unit has collected it.
    EXPECT_TRUE(comesTrue([&] { return station.command(kStopLogger.subType).info() == 3; }));
    expectRows(kStopLogger, {{"", kFails}});
    unit.remove("/bin/sh");
    expectRows(kStartLogger, {{"", kFails}});
}

TEST_F(Modem, ExternalAntennaIsSwitchedByOneCharacter) {
    EXPECT_EQ(ask(kExtAntenna, "1;ignored"), "");
    EXPECT_EQ(unit.calls(), (Lines{"uci set ext_antenna.ext_antenna.enable=1", "uci commit ext_antenna", "reload_config"}));
    EXPECT_NE(unit.read("/etc/config/ext_antenna").find("option enable '1'"), std::string::npos);
    EXPECT_EQ(ask(kExtAntenna, ""), kFails);
    EXPECT_EQ(unit.calls(), Lines{"uci set ext_antenna.ext_antenna.enable="});
    unit.fault("uci", "exit 1");
    expectRows(kExtAntenna, {{"0", ""}, {"0", kFails, "", "/fault/reload_config", "exit 1"}});  // the last tool decides
}

}  // namespace
