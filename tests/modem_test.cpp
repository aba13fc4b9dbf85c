// The cellular side: detection, the lines of each module as its console gets them, test mode and
// antenna tests, card and IMEI, logger and external antenna.
#include <algorithm>
#include <ctime>
#include <functional>

#include "tests/support/commands.h"

namespace fs = std::filesystem;

namespace {

constexpr uint8_t kSetImei = 90, kGetImei = 91, kStartLogger = 92, kStopLogger = 93,
                  kExtAntenna = 94, kCardState = 106, kCardConn = 107, kCardSignal = 108,
                  kCardRegState = 109, kSimImei = 110, kSetAntenna = 112, kGetAntenna = 113,
                  kSetFtm = 114, kGetFtm = 115, kVersion = 116;
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

TEST_F(Modem, IsKnownFromItsProfile) {
    const std::string name = "[get_module_name():%] ", is = "[is_support_quectel_module():%] ";
    const std::string cut(29, 'x');
    for (const auto& [command, option, value, said, console] : {
             // The other options are absent.
             // clang-format off
             std::tuple{kGetFtm, "module_name", std::string("EG18-EA\nmore"), name + "result=EG18-EA,len=7\n", "atcon -c 'AT+QRFTESTMODE?'"},
             {kGetFtm, "module_name", cut + "xx", name + "result=" + cut + ",len=29\n", ""},
             {kGetFtm, "", "", name + "can't read module name from profile\n", ""},
             {kGetImei, "module_name", "", name + "result=,len=0\n", "atcon -c AT+CGSN"},
             {kVersion, "is_quectel_module", "yesterday", is + "result=yesterday\n,len=10\n", "atcon -c ATI"},
             {kVersion, "is_quectel_module", "Yes", is + "result=Yes\n,len=4\n", ""},
             {kVersion, "is_fibocom_module", "yes", is + "can't read is_support_quectel_module from profile\n", "cellcli -c ATI"},
             // clang-format on
         }) {
        const std::string asks = std::string("'get mobile.modem.") + option + " -c /etc/profile.d'";
        unit.fault("uci", "case \"$*\" in " + asks + ") echo '" + value + "' ;; esac; exit");
        ask(command, "");
        expectSaid(said);
        EXPECT_EQ(asked(), console);
    }
}

TEST_F(Modem, IsAskedForALevelInItsOwnWords) {
    const std::string cut = " | awk 'NR==2{split($0,a,\"[:_]\");print a[2]}'";
    const std::string first = " | awk 'NR==1{split($0,a,\"[ _]\");print a[2]}'";
    const std::string second = " | awk 'NR==1{split($0,a,\"[,_]\");print a[2]}'";
    const std::string lte = R"(atcon -c 'at+qrftestex="LTE","rx",)";
    const std::string nr = R"(atcon -c 'at+qrftestex="NR5G","rx",)";
    const std::string setUp = "cellcli -c AT+SPMAXRF=3,2,23,1,";
    const std::string ask4g = "cellcli -c 'AT+LTERXLEVELDBM?'";
    const std::string ask3g = "cellcli -c 'AT+WCDMARXLEVELDBM?'";
    unit.write("/modem/ftm", "1");
    unit.write("/modem/levels", "1 -58 -63\n3 -61 -66\n78 -74 -79\n9 -12345678 0\n");
    EXPECT_EQ(ask(kGetAntenna, kArgument), padded("999", 8));
    expectSaid("mfgp2_cmd_getantennaTest pRplyBuf is: 999, len is 3\n");
    for (const auto& [module, argument, before, line, end, level] : {
             // The line as the console sees it and as it is logged, where the cut stands behind it.
             // clang-format off
             std::tuple{"RG520N-EU", "2-78--+70-2-99999999999", std::string(), nr + "78,0,-70,2,2147483647'", cut, "-74"},
             {"RG520N-EU", "1-3-0-60-0-19850", "", lte + "3,0,-60,0,19850'", cut, "999"},
             {"RG520N-EU", "1-3-0-60-1-19850", "", lte + "3,0,-60,1,19850'", cut, "-61"},
             {"EG18-EA", "2-3-0-55.5", "", "atcon -c AT+QRXFTM=1,2,3,0,4,55.5", cut, "-61"},
             {"EG18-EA", "2-9-1-60.3-5", "", "atcon -c AT+QRXFTM=1,2,9,1,4,60.3", cut, "-123456"},
             {"EG18-EA", "2-1-0-1234567\r", "", "atcon -c AT+QRXFTM=1,2,1,0,4,1.23457e+06", cut, "-58"},
             {"EG060K-EA", "78-1-2-3-70", "", R"(atcon -c 'AT+QRFTEST="rx",78,1,2,3,-70')", cut, "-74"},
             {"FG621", "3-1-0-2-1", setUp + "2,0 then ", ask4g, first, "-61"},
             {"FG621", "3-1-7-2-1", setUp + "2,0 then ", ask4g, second, "-66"},
             {"FG621", "3-1-0-1-1", setUp + "1,0 then ", ask3g, first, "-61"},
             {"FG621", "3-1-1-3-1", setUp + "3,0 then ", ask3g, second, "-66"},
             {"FG621", "3-1-0-2-0", setUp + "2,0", "", "", "999"},
             // clang-format on
         }) {
        unit.write(kKind, module);
        EXPECT_EQ(ask(kSetAntenna, argument), "");
        expectSaid("mfgp2_cmd_setantennaTest at cmd:" + line + end + "\n");
        EXPECT_EQ(asked(), before + line);
        EXPECT_EQ(station.command(113, kArgument).payload, padded(level, 8));
    }
    // Once the module's name is found, a refused test has forgotten the level of the one before.
    const Row good = {"1-3-0-60-1-5", "", "", kKind, "RG520N-EU"};
    expectRows(kSetAntenna, {good, {"1-3", kFails, "", kKind, "none"}});
    EXPECT_EQ(station.command(113).text(), "-61");
    expectRows(kSetAntenna, {{"1-3", kFails, "", kKind, "EM05"}});
    EXPECT_EQ(station.command(113).text(), "999");
    // Without an answer to the set-up, then to the empty line of a test that is neither 0 nor 1.
    for (const char* answer : {"exit", "echo OK; exit"}) {
        unit.fault("cellcli", answer);
        const time_t before = time(nullptr);
        expectRows(kSetAntenna, {{"3-1-0-2-2", kFails, "we do not get result\n", kKind, "FG621"}});
        EXPECT_GE(time(nullptr) - before, 3);
    }
}

TEST_F(Modem, IsPutIntoItsTestModeAndTellsIt) {
    for (const auto& [module, value, set, get, answer] : {
             // The lines as the console sees them; none to get: this module cannot be asked.
             // clang-format off
             std::tuple{"EG18-EA", "1", std::string("atcon -c AT+QRFTESTMODE=1"), "atcon -c 'AT+QRFTESTMODE?'", "1\n"},
             {"EG060K-EA", "1", R"(atcon -c 'AT+QRFTEST="mode",1')", R"(atcon -c 'AT+QRFTEST="mode"')", "1\n"},
             {"RG520N-EU", "-1x", "atcon -c AT+QFTMMODE=-1", "atcon -c 'AT+QFTMMODE?'", "-1\n"},
             {"RG520N-EU", "9999999999", "atcon -c AT+QFTMMODE=2147483647", "atcon -c 'AT+QFTMMODE?'", "21474836"},
             {"FG621", "1", "cellcli -c at+sfun=5", "", ""},
             {"FG621", "0", "", "", ""},  // an empty line is run all the same
             // clang-format on
         }) {
        const std::string said = "mfgp2_cmd_setFtmState at cmd:" + set + "\n";
        expectRows(kSetFtm, {{value, "", said, kKind, module, {set}}});
        EXPECT_EQ(asked(), set);
        EXPECT_EQ(ask(kGetFtm, kArgument), *get == 0 ? kFails : padded(answer, 8));
        EXPECT_EQ(asked(), get);
    }
}

TEST_F(Modem, RefusesBeforeAnythingRuns) {
    const std::string noName = "we get device name fail,we don't know send which cmd for ";
    const std::string noFields = "fail to get RX Antenna test parameter for ";
    const std::string unknown =
        "we get device name fail,we don't know the parameters for setting Antenna\n";
    for (const auto& [module, command, argument, said] : {
             std::tuple{"none", kSetAntenna, "1-3-0-60-1-1", noName + "FTM\n"},
             {"none", kSetFtm, "1", noName + "FTM\n"},
             {"none", kGetFtm, "", noName + "FTM\n"},
             {"none", kGetImei, "", noName + "sim IMEI\n"},
             {"none", kVersion, "", "other module,we are not sure cmd,do not process\n"},
             {"EM05", kSetAntenna, "1-3-0-60-1-1", unknown},
             {"EM05", kSetFtm, "1", "Wrong device, no need to set FTM state\n"},
             {"FG621", kGetFtm, "", "Wrong device, no need to get FTM state\n"},
             {"EG18-EA", kSetAntenna, "1-2-3", noFields + "EG18-EA \n"},
             {"EG060K-EA", kSetAntenna, "1-2-3-4\r5", noFields + "EG060k-EA \n"},
             {"FG621", kSetAntenna, "1-2-3-4-", noFields + "FG621 \n"},
             {"RG520N-EU", kSetAntenna, "", noFields + "RG520N-EU \n"},
             {"RG520N-EU", kSetAntenna, "3-3-0-60-1-1", unknown},
             {"RG520N-EU", kExtAntenna, "", "ext_antenna switch status is:\n"},
         }) {
        expectRows(command, {{argument, kFails, said, kKind, module}});
        EXPECT_EQ(asked(), "");
    }
}

TEST_F(Modem, ExternalAntennaTakesOneCharacterUnchecked) {
    const auto set = [](const std::string& value) {
        return Lines{"uci set ext_antenna.ext_antenna.enable=" + value, "uci commit ext_antenna",
                     "reload_config"};
    };
    for (const auto& [argument, answer, calls] : {
             std::tuple{"1;>/c", Text(""), set("1")},
             {"%", "", set("%")},
             {"`", kFails, {}},
             {"'", kFails, {}},
         }) {
        unit.calls();
        expectRows(kExtAntenna, {{argument, answer}});
        EXPECT_EQ(unit.calls(), calls) << argument;
        EXPECT_FALSE(unit.exists("/c"));
    }
}

TEST_F(Modem, CardReadingsCountOneByteLessAndWrap) {
    const std::string uci = "/fault/uci", none = "pRplyBuf is: , len is -1\n";
    for (const auto& [command, handler, name] : {std::tuple{kCardState, "state", "card state"},
                                                 {kCardConn, "conn", "card conn"},
                                                 {kCardSignal, "siglvl", "card siglvl"},
                                                 {kCardRegState, "regstat", "card reg state"}}) {
        const std::string said = std::string("[mfgp2_cmd_getcard") + handler + "():%] get " + name +
                                 " is: 1\n, len is 1\n";
        expectRows(command, {{kArgument, "1", said, uci, "echo 1; exit"}});
        expectRows(command, {{"", "", none, uci, "echo; exit"}});
    }
}

TEST_F(Modem, ImeiIsWrittenOnceToFlashAndModem) {
    const std::string digits = "123456789012345", odd = "aZ9%+,-./:=@^_";
    for (const auto& [module, argument, imei, console] : {
             // clang-format off
             std::tuple{"RG520N-EU", digits + "678", digits, "atcon -c 'AT+EGMR=1,7,\"" + digits + "\"' then atcon -c AT+QPRTPARA=1"},
             {"EM05", padded("", 8), "", "atcon -c 'AT+EGMR=1,7,\"\"' then atcon -c AT+QPRTPARA=1"},
             {"FG621", odd, odd, "cellcli -c 'AT+GTCSNUM=1,7,\"" + odd + "\"' then cellcli -c AT+GTBACKUPDUT"},
             // clang-format on
         }) {
        unit.stop();
        unit.start();
        unit.write(kKind, "none");
        EXPECT_EQ(ask(kSetImei, argument), kFails);
        EXPECT_EQ(asked(), "");
        unit.write(kKind, module);
        EXPECT_EQ(ask(kSetImei, "-n"), kFails);
        EXPECT_EQ(ask(kSetImei, argument), "");
        expectSaid("new imei is:" + imei + "\r\n");
        EXPECT_EQ(shellLines(trace).at(0), "echo " + imei + "  > /tmp/imei-tmp");
        EXPECT_EQ(asked(), console);
        EXPECT_EQ(unit.read("/flash/default-imei"), imei + "\n");
    }
}

TEST_F(Modem, HasTheImeiOfFlashOrNines) {
    const std::string imei = "490154203237518", nines(15, '9');
    for (const auto& [module, flash, modem, answer] : {
             std::tuple{"RG520N-EU", imei + "\n", imei + "\n", imei},
             {"RG520N-EU", imei + "1\n", imei + "9\n", imei},
             {"RG520N-EU", imei + "\n", "490154203237519\n", nines},
             {"RG520N-EU", "49015\n", "49015\n", nines},  // the modem's keeps its newline
             {"EM05", "", "", std::string(15, '\0')},
         }) {
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
}

// The logger in the unit, seen from outside of it; 0 when there is none.
pid_t loggerOf(const Unit& unit) {
    std::error_code gone;
    for (const auto& entry : fs::directory_iterator("/proc"))
        // The folder, not its name: from within a chroot another namespace's paths read otherwise.
        if (readFile(entry.path() / "comm") == "QLog\n" &&
            fs::equivalent(entry.path() / "root/.", unit.path("/"), gone))
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
    // It waits at this once killall can find it.
    ASSERT_TRUE(comesTrue([&] {
        return std::ranges::any_of(fs::directory_iterator(unit.path("/run")),
                                   [](const auto& entry) {
                                       return entry.path().filename().string().starts_with("stay.");
                                   });
    }));
    EXPECT_EQ(unit.read("/calls.log"), "QLog -s 9000\nQLog -s 9000\n");
    const std::string process = "/proc/" + std::to_string(loggerOf(unit));
    std::error_code gone;  // as what a shell opens for a moment is
    for (const auto& entry : fs::directory_iterator(process + "/fd", gone))
        EXPECT_FALSE(fs::read_symlink(entry, gone).string().starts_with("socket:"));
    EXPECT_EQ(ask(kStopLogger, ""), "");
    EXPECT_TRUE(comesTrue([&] { return loggerOf(unit) == 0; }));
    // It can be killed once more until the unit has collected it.
    EXPECT_TRUE(comesTrue([&] { return ask(kStopLogger, "") == kFails; }));
}

}  // namespace
