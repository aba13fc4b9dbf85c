// The cellular commands: module detection, the lines that each module's console receives, test mode
// and antenna tests, card and IMEI, logger and external antenna.
#include <ctime>

#include "tests/support/commands.h"

namespace {

const std::string kKind = "/modem/kind";  // holds the name of the module that is plugged in

class Modem : public Commands {
  protected:
    // Returns the console calls of the last command.
    std::string consoleCalls() const {
        std::string all;
        for (const std::string& call : calls)
            if (call.starts_with("atcon") || call.starts_with("cellcli"))
                all += (all.empty() ? "" : " then ") + call;
        return all;
    }
};

TEST_F(Modem, ModuleNameAndMaker_AreReadFromTheProfile) {
    const auto test = [&](uint8_t command, const std::string& option, const std::string& value,
                          const std::string& console) {
        unit.fault("uci", "case \"$*\" in 'get mobile.modem." + option +
                              " -c /etc/profile.d') echo '" + value + "' ;; esac; exit");
        ask(command, "");
        EXPECT_EQ(consoleCalls(), console);
    };
    test(kGetFtm, "module_name", "EG18-EA\nmore", "atcon -c 'AT+QRFTESTMODE?'");
    EXPECT_TRUE(contains(trace, "[get_module_name():%] result=EG18-EA,len=7\n"));
    test(kGetImei, "module_name", "", "atcon -c AT+CGSN");
    test(kLteVersion, "is_quectel_module", "yesterday", "atcon -c ATI");
    test(kLteVersion, "is_quectel_module", "Yes", "");
    test(kLteVersion, "is_fibocom_module", "yes", "cellcli -c ATI");
}

TEST_F(Modem, AntennaTest_SendsTheAtCommandsOfTheModule) {
    const std::string lte = R"(atcon -c 'at+qrftestex="LTE","rx",)";
    const std::string set = "cellcli -c AT+SPMAXRF=3,2,23,1,";
    const std::string fourG = ",0 then cellcli -c 'AT+LTERXLEVELDBM?'";
    const std::string threeG = ",0 then cellcli -c 'AT+WCDMARXLEVELDBM?'";
    const auto test = [&](const char* module, const char* argument, const std::string& console,
                          const char* level) {
        unit.write(kKind, module);
        EXPECT_EQ(ask(kSetAntenna, argument), "");
        EXPECT_EQ(consoleCalls(), console);
        EXPECT_EQ(ask(kGetAntenna, ""), padded(level, 8));
    };
    unit.write("/modem/ftm", "1");
    unit.write("/modem/levels", "1 -58 -63\n3 -61 -66\n78 -74 -79\n9 -12345678 0\n");
    EXPECT_EQ(ask(kGetAntenna, kArgument), padded("999", 8));
    test("RG520N-EU", "1-3-0-60-0-19850", lte + "3,0,-60,0,19850'", "999");
    test("RG520N-EU", "1-3-0-60-1-19850", lte + "3,0,-60,1,19850'", "-61");
    test("RG520N-EU", "2-78--+70-2-99999999999",
         R"(atcon -c 'at+qrftestex="NR5G","rx",78,0,-70,2,2147483647')", "-74");
    test("EG18-EA", "2-9-1-60.3-5", "atcon -c AT+QRXFTM=1,2,9,1,4,60.3", "-123456");
    test("EG060K-EA", "78-1-2-3-70", R"(atcon -c 'AT+QRFTEST="rx",78,1,2,3,-70')", "-74");
    test("FG621", "3-1-0-2-1", set + "2" + fourG, "-61");
    test("FG621", "3-1-7-2-1", set + "2" + fourG, "-66");
    test("FG621", "3-1-1-3-1", set + "3" + threeG, "-66");
    test("FG621", "3-1-0-2-0", set + "2,0", "999");
}

TEST_F(Modem, FailedAntennaTest_ForgetsTheLevel_UnlessTheModuleIsUnknown) {
    unit.write("/modem/ftm", "1");
    expectRows(kSetAntenna, {{.argument = "1-3-0-60-1-5", .put = {kKind, "RG520N-EU"}},
                             {.argument = "1-3", .answer = kFails, .put = {kKind, "none"}}});
    EXPECT_NE(station.command(kGetAntenna).text(), "999");
    expectRows(kSetAntenna, {{.argument = "1-3", .answer = kFails, .put = {kKind, "EM05"}}});
    EXPECT_EQ(station.command(kGetAntenna).text(), "999");
    // First the set-up gets no answer, then the level: its line is empty for a test of 2.
    for (const char* answer : {"exit", "echo OK; exit"}) {
        unit.fault("cellcli", answer);
        unit.write(kKind, "FG621");
        const time_t before = time(nullptr);
        EXPECT_EQ(ask(kSetAntenna, "3-1-0-2-2"), kFails);
        EXPECT_TRUE(contains(trace, "we do not get result\n"));
        EXPECT_GE(time(nullptr) - before, 3);
    }
}

TEST_F(Modem, FactoryTestMode_IsSetAndRead) {
    const auto test = [&](const char* module, const char* value, const std::string& set,
                          const std::string& get, const Text& answer) {
        unit.write(kKind, module);
        expectRows(kSetFtm, {{.argument = value, .ran = {set}}});
        EXPECT_EQ(consoleCalls(), set);
        expectRows(kGetFtm, {{.answer = answer}});
        EXPECT_EQ(consoleCalls(), get);
    };
    test("EG18-EA", "1", "atcon -c AT+QRFTESTMODE=1", "atcon -c 'AT+QRFTESTMODE?'", "1\n");
    test("EG060K-EA", "1", R"(atcon -c 'AT+QRFTEST="mode",1')", R"(atcon -c 'AT+QRFTEST="mode"')",
         "1\n");
    test("RG520N-EU", "9999999999", "atcon -c AT+QFTMMODE=2147483647", "atcon -c 'AT+QFTMMODE?'",
         "21474836");
    test("FG621", "1", "cellcli -c at+sfun=5", "", kFails);
    test("FG621", "0", "", "", kFails);  // the shell line is empty
}

TEST_F(Modem, AnUnknownModuleOrTooFewFields_AreRefusedBeforeAnythingRuns) {
    const std::string noName = "we get device name fail,we don't know send which cmd for ";
    const std::string few = "fail to get RX Antenna test parameter for ";
    const std::string unknown =
        "we get device name fail,we don't know the parameters for setting Antenna\n";
    const auto refused = [&](uint8_t command, const char* module, const char* argument,
                             const std::string& logs) {
        const StateFile kind = {kKind, module};
        expectRows(command, {{.argument = argument, .answer = kFails, .logs = logs, .put = kind}});
        EXPECT_EQ(consoleCalls(), "");
    };
    refused(kSetFtm, "none", "1", noName + "FTM\n");
    refused(kGetImei, "none", "", noName + "sim IMEI\n");
    refused(kLteVersion, "none", "", "other module,we are not sure cmd,do not process\n");
    refused(kGetFtm, "FG621", "", "Wrong device, no need to get FTM state\n");
    refused(kExtAntenna, "RG520N-EU", "", "ext_antenna switch status is:\n");
    refused(kSetAntenna, "EM05", "1-3-0-60-1-1", unknown);
    refused(kSetAntenna, "RG520N-EU", "3-3-0-60-1-1", unknown);
    refused(kSetAntenna, "RG520N-EU", "", few + "RG520N-EU \n");
    refused(kSetAntenna, "EG060K-EA", "1-2-3\r-4-5", few + "EG060k-EA \n");
    refused(kSetAntenna, "FG621", "1-2-3-4-", few + "FG621 \n");
}

TEST_F(Modem, ExternalAntenna_TakesOneUncheckedCharacter) {
    for (const char character : {'1', '%', '`', '\''}) {
        const bool isSyntax = character == '`' || character == '\'';
        const Lines set = {std::string("uci set ext_antenna.ext_antenna.enable=") + character,
                           "uci commit ext_antenna", "reload_config"};
        EXPECT_EQ(ask(kExtAntenna, character + std::string(";>/c")), isSyntax ? kFails : "");
        EXPECT_EQ(calls, isSyntax ? Lines{} : set);
        EXPECT_FALSE(unit.exists("/c"));
    }
}

TEST_F(Modem, CardReading_LogsItsLengthLessOne_WhichWrapsIfEmpty) {
    const auto read = [&](uint8_t command, const std::string& function, const std::string& name) {
        const std::string logs = "[" + function + "():%] get " + name + " is: 1\n, len is 1\n";
        expectRows(command, {{.answer = "1", .logs = logs, .put = {"/fault/uci", "echo 1; exit"}},
                             {.logs = ": , len is -1\n", .put = {"/fault/uci", "echo; exit"}}});
    };
    read(kCardState, "mfgp2_cmd_getcardstate", "card state");
    read(kCardConn, "mfgp2_cmd_getcardconn", "card conn");
    read(kCardSignal, "mfgp2_cmd_getcardsiglvl", "card siglvl");
    read(kCardRegState, "mfgp2_cmd_getcardregstat", "card reg state");
}

TEST_F(Modem, SetImei_WritesFlashAndModem) {
    const std::string digits = "123456789012345", odd = "aZ9%+,-./:=@^_";
    const auto write = [&](const char* module, const std::string& imei,
                           const std::string& console) {
        unit.stop();
        unit.start();
        unit.write(kKind, "none");
        EXPECT_EQ(ask(kSetImei, imei), kFails);
        EXPECT_EQ(consoleCalls(), "");
        unit.write(kKind, module);
        EXPECT_EQ(ask(kSetImei, "-n"), kFails);
        EXPECT_EQ(ask(kSetImei, imei + (imei == digits ? "678" : "")), "");
        EXPECT_TRUE(contains(trace, "new imei is:" + imei + "\r\n"));
        EXPECT_EQ(shellLines(trace).at(0), "echo " + imei + "  > /tmp/imei-tmp");
        EXPECT_EQ(consoleCalls(), console);
        EXPECT_EQ(unit.read("/flash/default-imei"), imei + "\n");
    };
    write("RG520N-EU", digits,
          "atcon -c 'AT+EGMR=1,7,\"" + digits + "\"' then atcon -c AT+QPRTPARA=1");
    write("FG621", odd,
          "cellcli -c 'AT+GTCSNUM=1,7,\"" + odd + "\"' then cellcli -c AT+GTBACKUPDUT");
}

TEST_F(Modem, GetImei_AnswersNinesIfFlashAndModemDiffer) {
    const std::string imei = "490154203237518", nines(15, '9');
    const auto test = [&](const char* module, const std::string& flash, const std::string& modem,
                          const std::string& answer) {
        unit.write("/flash/default-imei", flash);
        unit.write("/modem/imei", modem);
        unit.write("/tmp/fwinfo-imei", "stale");
        expectRows(kGetImei, {{.answer = answer, .put = {kKind, module}}});
        EXPECT_FALSE(unit.exists("/tmp/fwinfo-imei"));
    };
    test("RG520N-EU", imei + "1\n", imei + "9\n", imei);
    test("RG520N-EU", imei + "\n", x(15) + "\n", nines);
    test("RG520N-EU", "49015\n", "49015\n", nines);  // the newline of the modem's short text counts
    test("EM05", "", "", std::string(15, '\0'));
}

TEST_F(Modem, ModemVersionAndSimImei_ArePadded) {
    unit.write(kKind, "EG060K-EA");
    unit.write("/modem/version", "11.22 x\n");
    unit.write("/modem/imei", "4901\n");
    expectRows(kLteVersion, {{.argument = x(140), .answer = padded("11.22", 65)}});
    expectRows(kSimImei, {{.argument = x(70), .answer = padded("4901\n", 16)}});
}

TEST_F(Modem, Logger_RunsUntilItIsStopped) {
    EXPECT_EQ(ask(kStartLog, ""), "");
    EXPECT_TRUE(eventually([&] { return ask(kStopLog, "") == ""; }));
    // A killed logger can be killed again until the unit has reaped it.
    EXPECT_TRUE(eventually([&] { return ask(kStopLog, "") == kFails; }));
}

TEST_F(Modem, ATool_InheritsNoDescriptor) {
    for (const char* tool : {"QLog", "flashkv", "fwinfo"})
        unit.fault(tool,
                   "for fd in 3 4 5 6 7 8 9; do (: >&$fd) 2>/dev/null && echo $fd; done >>/open; "
                   "echo ${0##*/} >>/done; exit");
    for (const uint8_t command : {kStartLog, kGetMac, kSetPin})
        ask(command, "12345678");
    EXPECT_TRUE(eventually([&] { return unit.read("/done").size() == 20; }));
    // The loop's own redirection takes the first free descriptor.
    EXPECT_EQ(unit.read("/open"), "3\n3\n3\n");
}

}  // namespace
