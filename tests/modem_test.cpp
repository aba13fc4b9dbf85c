// The cellular side: detection, the lines of each module as its console gets them, test mode and
// antenna tests, card and IMEI, logger and external antenna.
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <chrono>
#include <climits>
#include <fstream>
#include <functional>
#include <thread>

#include "commands/field_text.h"
#include "commands/modem_detection.h"
#include "tests/support/unit.h"
#include "tests/support/wire.h"

namespace {

using Lines = std::vector<std::string>;
namespace fs = std::filesystem;

const std::string kArgument = "a text that no answer may hold";

std::string padded(std::string text, size_t length) {
    text.resize(length);
    return text;
}

// Whether a function has traced the text.
bool traced(const std::string& trace, const std::string& function, const std::string& text) {
    const std::string start = "[" + function + "():";
    for (size_t at = 0; (at = trace.find(start, at)) != std::string::npos; at++)
        if (trace.compare(trace.find(']', at) + 2, text.size(), text) == 0)
            return true;
    return false;
}

// clang-format off
const struct Command {
    uint8_t subType;
    std::string name;
    int code;
    std::string message;
} kSetImei = {90, "mfgp2_cmd_setImei", -10350, "set imei failed"},
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
  kSetFtm = {114, "mfgp2_cmd_setFtmState", -10354, "set antenna FTM failed"},
  kGetFtm = {115, "mfgp2_cmd_getFtmState", -10355, "get antenna FTM failed"},
  kVersion = {116, "mfgp2_cmd_getlteSwVer", -10356, "get lte soft version failed"};
// clang-format on

class Modem : public testing::Test {
  protected:
    Unit unit;
    Station station;

    void plug(const std::string& module) { unit.write("/modem/kind", module); }

    void expectDone(const Command& command, const std::string& argument = "") {
        const Answer answer = station.command(command.subType, argument);
        EXPECT_EQ(answer.info(), 0);
        EXPECT_EQ(answer.length(), 0U);
    }

    // `log` is what the handler traces on its way.
    void expectFailure(const Command& command, const std::string& argument = "",
                       const std::string& log = "") {
        unit.trace();
        const Answer answer = station.command(command.subType, argument);
        EXPECT_EQ(answer.info(), 3);
        EXPECT_EQ(answer.length(), 0U);
        const std::string errors = unit.errors();
        EXPECT_NE(errors.find(errorLine(command.code, command.message)), std::string::npos)
            << errors;
        EXPECT_TRUE(log.empty() || traced(unit.trace(), command.name, log)) << log;
    }

    // What the modem's consoles were asked since the last time; "" stands for nothing.
    void expectAsked(Lines expected) {
        std::erase(expected, "");
        Lines calls = unit.calls();
        std::erase_if(calls, [](const std::string& call) {
            return !call.starts_with("atcon") && !call.starts_with("cellcli");
        });
        EXPECT_EQ(calls, expected);
    }
};

TEST(FieldText, IsSplitInPlace) {
    const struct {
        std::string text;
        int maximum;
        Lines tokens;
    } rows[] = {{"3-1-0-60-1-19850", 6, {"3", "1", "0", "60", "1", "19850"}},
                {"1-2-3-4-5", 4, {"1", "2", "3", "4"}},
                {"1-2-3-4-", 5, {"1", "2", "3", "4"}},
                {"1--3", 4, {"1", "", "3"}},
                {"1-\r", 4, {"1", ""}},
                {"1\r2-3", 4, {"1"}},
                {"", 4, {}}};
    for (auto row : rows) {
        char* tokens[8] = {};
        const int count = split_by_char('-', row.text.data(), tokens, row.maximum);
        EXPECT_EQ(Lines(tokens, tokens + count), row.tokens);
    }
}

TEST(FieldText, TurnsIntoNumbersAndBack) {
    char text[33];
    EXPECT_STREQ(int_to_text(INT_MIN, text, 10), "-2147483648");
    EXPECT_STREQ(int_to_text(-1, text, 16), "ffffffff");
    EXPECT_EQ(int_to_text(INT_MIN, text, 2), "1" + std::string(31, '0'));
    EXPECT_STREQ(int_to_text(5, text, 1), "0");
    EXPECT_EQ(int_to_text(1, text, 0), nullptr);
    EXPECT_EQ(int_to_text(1, text, 37), nullptr);
    char* const own = int_to_text(35, nullptr, 36);
    EXPECT_STREQ(own, "z");
    free(own);
    EXPECT_EQ(mfgp_textToInt(" -62_3"), -62);
    EXPECT_EQ(mfgp_textToInt("99999999999999999999"), INT_MAX);
    EXPECT_EQ(mfgp_textToInt("-2147483649"), INT_MIN);
}

TEST(Model, IsTheFirstWordOfAtMost31Letters) {
    char folder[] = "/tmp/mfgp-tools-XXXXXX";
    ASSERT_NE(mkdtemp(folder), nullptr);
    setenv("PATH", (std::string(folder) + ":" + getenv("PATH")).c_str(), 1);
    const std::string tool = std::string(folder) + "/fwinfo";
    const std::string longText(40, 'x');
    for (const auto& [answer, word] : {std::pair("\n M31-5G V1\n", std::string("M31-5G")),
                                       {longText.c_str(), longText.substr(0, 31)},
                                       {"", ""}}) {
        std::ofstream(tool) << "#!/bin/sh\n[ \"$*\" = MODEL ] && echo '" << answer << "'\n";
        chmod(tool.c_str(), 0755);
        char model[32] = "left over";
        EXPECT_EQ(get_hostname(model), 0);
        EXPECT_EQ(model, word);
    }
    fs::remove_all(folder);
}

TEST_F(Modem, IsKnownFromItsProfile) {
    const std::string name = "get_module_name";
    const std::string quectel = "is_support_quectel_module";
    const std::string fibocom = "is_support_fibocom_module";
    // clang-format off
    const struct {
        const Command& command;
        std::string option;
        std::string value;  // of this option; the others are absent
        std::string function;
        std::string log;
        std::string asked;
    } rows[] = {
        {kGetFtm, "module_name", "EG18-EA\nmore", name, "result=EG18-EA,len=7\n", "atcon -c 'AT+QRFTESTMODE?'"},
        {kGetFtm, "module_name", std::string(40, 'x'), name, "result=" + std::string(29, 'x') + ",len=29\n", ""},
        {kGetImei, "module_name", "", name, "result=,len=0\n", "atcon -c AT+CGSN"},
        {kGetFtm, "", "", name, "can't read module name from profile\n", ""},
        {kVersion, "is_quectel_module", "yesterday", quectel, "result=yesterday\n,len=10\n", "atcon -c ATI"},
        {kVersion, "is_quectel_module", "Yes", quectel, "result=Yes\n,len=4\n", ""},
        {kVersion, "", "", fibocom, "can't read is_support_fibocom_module from profile\n", ""},
        {kVersion, "is_fibocom_module", "yes", quectel, "can't read is_support_quectel_module from profile\n", "cellcli -c ATI"},
        {kVersion, "is_fibocom_module", "no", fibocom, "result=no\n,len=3\n", ""},
    };
    // clang-format on
    for (const auto& row : rows) {
        SCOPED_TRACE(row.option + " " + row.value);
        unit.fault("uci", "case \"$*\" in 'get mobile.modem." + row.option +
                              " -c /etc/profile.d') echo '" + row.value + "' ;; esac; exit");
        unit.trace();
        station.command(row.command.subType);
        expectAsked({row.asked});
        EXPECT_TRUE(traced(unit.trace(), row.function, row.log));
    }
}

TEST_F(Modem, IsAskedForALevelInItsOwnWords) {
    const std::string cut = " | awk 'NR==2{split($0,a,\"[:_]\");print a[2]}'";
    const std::string first = " | awk 'NR==1{split($0,a,\"[ _]\");print a[2]}'";
    const std::string second = " | awk 'NR==1{split($0,a,\"[,_]\");print a[2]}'";
    const std::string lte = R"(atcon -c 'at+qrftestex="LTE","rx",)";
    const std::string nr = R"(atcon -c 'at+qrftestex="NR5G","rx",)";
    const std::string setUp = "cellcli -c AT+SPMAXRF=3,2,23,1,";
    // clang-format off
    const struct {
        std::string module;
        std::string argument;
        std::string setUp;  // as the console sees it
        std::string line;   // the same, and in the log
        std::string cut;
        std::string level;
    } rows[] = {
        {"RG520N-EU", "1-3-0-60-1-19850", "", lte + "3,0,-60,1,19850'", cut, "-61"},
        {"RG520N-EU", "2-78--+70-2-99999999999", "", nr + "78,0,-70,2,2147483647'", cut, "-74"},
        {"RG520N-EU", "1-3-0-60-0-19850", "", lte + "3,0,-60,0,19850'", cut, "999"},
        {"EG18-EA", "2-3-0-55.5", "", "atcon -c AT+QRXFTM=1,2,3,0,4,55.5", cut, "-61"},
        {"EG18-EA", "2-9-1-60.3-5", "", "atcon -c AT+QRXFTM=1,2,9,1,4,60.3", cut, "-123456"},
        {"EG18-EA", "2-1-0-1234567\r", "", "atcon -c AT+QRXFTM=1,2,1,0,4,1.23457e+06", cut, "-58"},
        {"EG060K-EA", "78-1-2-3-70", "", R"(atcon -c 'AT+QRFTEST="rx",78,1,2,3,-70')", cut, "-74"},
        {"FG621", "3-1-0-2-1", setUp + "2,0", "cellcli -c 'AT+LTERXLEVELDBM?'", first, "-61"},
        {"FG621", "3-1-7-2-1", setUp + "2,0", "cellcli -c 'AT+LTERXLEVELDBM?'", second, "-66"},
        {"FG621", "3-1-0-1-1", setUp + "1,0", "cellcli -c 'AT+WCDMARXLEVELDBM?'", first, "-61"},
        {"FG621", "3-1-1-3-1", setUp + "3,0", "cellcli -c 'AT+WCDMARXLEVELDBM?'", second, "-66"},
        {"FG621", "3-1-0-2-0", setUp + "2,0", "", "", "999"},
    };
    // clang-format on
    unit.write("/modem/ftm", "1");
    unit.write("/modem/levels", "1 -58 -63\n3 -61 -66\n78 -74 -79\n9 -12345678 0\n");
    EXPECT_EQ(station.command(113).payload, padded("999", 8));
    for (const auto& row : rows) {
        SCOPED_TRACE(row.module + " " + row.argument);
        plug(row.module);
        expectDone(kSetAntenna, row.argument);
        expectAsked({row.setUp, row.line});
        const std::string log = "mfgp2_cmd_setantennaTest at cmd:" + row.line + row.cut + "\n";
        EXPECT_TRUE(traced(unit.trace(), kSetAntenna.name, log));
        EXPECT_EQ(station.command(113, kArgument).payload, padded(row.level, 8));
        const std::string said = "mfgp2_cmd_getantennaTest pRplyBuf is: " + row.level;
        EXPECT_TRUE(traced(unit.trace(), "mfgp2_cmd_getantennaTest", said + ", len is "));
    }
    plug("EG18-EA");
    unit.fault("atcon", "printf '\\n+QRXFTM:-12345678\\n'; exit");
    expectDone(kSetAntenna, "2-3-0-55.5");
    EXPECT_EQ(station.command(113).payload, "-1234567");
}

TEST_F(Modem, CostsThreeSecondsWhenItSaysNothing) {
    plug("FG621");
    unit.write("/modem/ftm", "1");
    // Without an answer to the set-up, then to the empty line of a test that is neither 0 nor 1.
    for (const char* fault : {"exit 0", ":"}) {
        unit.fault("cellcli", fault);
        const auto start = std::chrono::steady_clock::now();
        expectFailure(kSetAntenna, "3-1-0-2-2", "we do not get result\n");
        const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
        EXPECT_GT(seconds.count(), 2.9);
        EXPECT_LT(seconds.count(), 3.9);
        expectAsked({"cellcli -c AT+SPMAXRF=3,2,23,1,2,0"});
    }
}

TEST_F(Modem, IsPutIntoItsTestModeAndTellsIt) {
    // clang-format off
    const struct {
        std::string module;
        std::string value;
        std::string set;
        std::string get;  // empty: this module cannot be asked
        std::string answer;
    } rows[] = {
        {"EG18-EA", "1", "atcon -c AT+QRFTESTMODE=1", "atcon -c 'AT+QRFTESTMODE?'", "1\n"},
        {"RG520N-EU", "0", "atcon -c AT+QFTMMODE=0", "atcon -c 'AT+QFTMMODE?'", "0\n"},
        {"RG520N-EU", "-1x", "atcon -c AT+QFTMMODE=-1", "atcon -c 'AT+QFTMMODE?'", "-1\n"},
        {"RG520N-EU", "9999999999", "atcon -c AT+QFTMMODE=2147483647", "atcon -c 'AT+QFTMMODE?'", "21474836"},
        {"EG060K-EA", "1", R"(atcon -c 'AT+QRFTEST="mode",1')", R"(atcon -c 'AT+QRFTEST="mode"')", "1\n"},
        {"FG621", "1", "cellcli -c at+sfun=5", "", ""},
        {"FG621", "0", "", "", ""},
    };
    // clang-format on
    for (const auto& row : rows) {
        SCOPED_TRACE(row.module + " " + row.value);
        plug(row.module);
        expectDone(kSetFtm, row.value);
        const Answer mode = station.command(115, kArgument);
        EXPECT_EQ(mode.payload, row.get.empty() ? "" : padded(row.answer, 8));
        expectAsked({row.set, row.get});
    }
    const std::string trace = unit.trace();
    unit.fault("atcon", "exit 1");
    plug("EG18-EA");
    expectDone(kSetFtm, "1");                                  // a console that fails has been run
    EXPECT_TRUE(traced(trace, "mfgp_execCmd", "cmd:  \r\n"));  // the last row's line is run too
    EXPECT_TRUE(traced(trace, kGetFtm.name,
                       "mfgp2_cmd_setFtmState at cmd:atcon -c AT+QFTMMODE? | awk "
                       "'NR==2{split($0,a,\"[ ]\");print a[2]}'\n"));
    EXPECT_TRUE(traced(trace, kGetFtm.name, "mfgp2_cmd_getantennaTest pRplyBuf is: 1\n, len is 2"));
}

TEST_F(Modem, RefusesBeforeAnythingRuns) {
    const std::string noName = "we get device name fail,we don't know send which cmd for ";
    const std::string noFields = "fail to get RX Antenna test parameter for ";
    const std::string unknown =
        "we get device name fail,we don't know the parameters for setting Antenna\n";
    const struct {
        std::string module;
        const Command& command;
        std::string argument;
        std::string log;
    } rows[] = {
        {"none", kSetAntenna, "1-3-0-60-1-1", noName + "FTM\n"},
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
        {"RG520N-EU", kExtAntenna, "$1", ""},
        {"RG520N-EU", kExtAntenna, "\n", ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.module + " " + row.command.name + " " + row.argument);
        plug(row.module);
        expectFailure(row.command, row.argument, row.log);
        for (const std::string& call : unit.calls())
            EXPECT_TRUE(call.starts_with("uci get ") || call.starts_with("fwinfo ")) << call;
    }
    // Once the module's name is found, a refused test has forgotten the level of the one before.
    unit.write("/modem/ftm", "1");
    for (const char* module : {"none", "EM05", "RG520N-EU"}) {
        plug("RG520N-EU");
        expectDone(kSetAntenna, "1-3-0-60-1-19850");
        plug(module);
        expectFailure(kSetAntenna, "1-3");
        EXPECT_EQ(station.command(113).text(), module == std::string("none") ? "-61" : "999");
    }
}

TEST_F(Modem, FailsWhenItsAnswerIsNone) {
    plug("FG621");
    expectFailure(kSetAntenna, "3-1-0-2-1", "param is wrong\n");  // not in its test mode
    plug("RG520N-EU");
    unit.fault("atcon", "exit 0");
    expectFailure(kGetFtm);
    expectFailure(kVersion, "", "get lte_swver fail\n");
}

TEST_F(Modem, CardReadingsCountOneByteLessAndWrap) {
    // clang-format off
    const struct Reading {
        const Command& command;
        std::string option;
        size_t longest;
    } readings[] = {
        {kCardState, "sim.common_state.card_state", 3},
        {kCardConn, "mobile_status.net_status.conn_stat", 3},
        {kCardSignal, "mobile_status.net_status.sig_lvl", 8},
        {kCardRegState, "mobile_status.net_status.reg_stat", 8},
    };
    // clang-format on
    for (const Reading& reading : readings) {
        const std::string& message = reading.command.message;  // "get NAME failed"
        SCOPED_TRACE(message);
        const auto answerTo = [&](const std::string& text) {
            unit.fault("uci", "printf '" + text + "'; exit");
            unit.trace();
            return station.command(reading.command.subType, kArgument);
        };
        unit.calls();
        EXPECT_EQ(answerTo("1\\n").payload, padded("1", 8));
        EXPECT_EQ(unit.calls(), Lines{"uci get " + reading.option});
        const std::string log = message.substr(0, message.rfind(' ')) + " is: 1\n, len is 1\n";
        EXPECT_TRUE(traced(unit.trace(), reading.command.name, log));
        EXPECT_EQ(answerTo("1234567890").payload,
                  padded(std::string("12345678").substr(0, reading.longest), 8));
        for (const char* nothing : {"", "\\n"}) {
            const Answer answer = answerTo(nothing);
            EXPECT_EQ(answer.info(), 0);
            EXPECT_EQ(answer.wire.size(), 28U);
            EXPECT_TRUE(traced(unit.trace(), reading.command.name, "pRplyBuf is: , len is -1\n"));
        }
    }
    // One descriptor left: enough to read the mode, too few for a pipe.
    const std::string open = "/proc/" + std::to_string(unit.daemon()) + "/fd/";
    rlim_t limit = 0;
    for (int left = 1; left >= 0; limit++)
        left -= !fs::is_symlink(open + std::to_string(limit));
    const rlimit few = {limit - 1, limit};
    ASSERT_EQ(prlimit(unit.daemon(), RLIMIT_NOFILE, &few, nullptr), 0);
    for (const Reading& reading : readings)
        expectFailure(reading.command);
    expectFailure(kSimImei);
}

TEST_F(Modem, ImeiIsWrittenOnceToFlashAndModem) {
    const std::string digits = "123456789012345";
    const std::string odd = "aZ9%+,-./:=@^_";
    // clang-format off
    const struct {
        std::string module;
        std::string argument;
        std::string imei;
        std::string write;
        std::string keep;
    } rows[] = {
        {"RG520N-EU", digits + "678", digits, "atcon -c 'AT+EGMR=1,7,\"" + digits + "\"'", "atcon -c AT+QPRTPARA=1"},
        {"EM05", "", "", "atcon -c 'AT+EGMR=1,7,\"\"'", "atcon -c AT+QPRTPARA=1"},
        {"FG621", odd, odd, "cellcli -c 'AT+GTCSNUM=1,7,\"" + odd + "\"'", "cellcli -c AT+GTBACKUPDUT"},
    };
    // clang-format on
    for (const auto& row : rows) {
        SCOPED_TRACE(row.module);
        unit.stop();
        unit.start();
        for (const char* bad : {"1;id", "1 2", "`id`", "$IFS", "1\"2", "1'2", "1\\2", "\n"})
            expectFailure(kSetImei, bad);
        EXPECT_EQ(unit.calls(), Lines{});
        plug("none");
        expectFailure(kSetImei, row.argument);
        expectAsked({});
        plug(row.module);
        unit.remove("/tmp/imei-tmp");
        fs::create_directory(unit.path("/tmp/imei-tmp"));
        expectFailure(kSetImei, row.argument);  // the file cannot be written
        EXPECT_EQ(unit.calls(), Lines{});
        unit.remove("/tmp/imei-tmp");
        unit.trace();
        expectDone(kSetImei, row.argument);
        const std::string trace = unit.trace();
        EXPECT_TRUE(traced(trace, kSetImei.name, "new imei is:" + row.imei + "\r\n"));
        EXPECT_TRUE(
            traced(trace, "mfgp_execCmd", "cmd: echo " + row.imei + "  > /tmp/imei-tmp \r\n"));
        const Lines calls = unit.calls();
        EXPECT_EQ(calls.at(0), "flashkv -w /tmp/imei-tmp -p default-imei");
        EXPECT_EQ(Lines(calls.begin() + 2, calls.end()), (Lines{row.write, row.keep}));
        EXPECT_EQ(unit.read("/flash/default-imei"), row.imei + "\n");
        expectFailure(kSetImei, row.argument);
        EXPECT_EQ(unit.calls(), Lines{});
    }
}

TEST_F(Modem, HasTheImeiOfFlashOrNines) {
    const std::string imei = "490154203237518";
    const std::string nines(15, '9');
    const struct {
        const char* module;
        std::string flash;
        std::string modem;
        std::string answer;
    } rows[] = {{"RG520N-EU", imei + "\n", imei + "\n", imei},
                {"FG621", imei + "\n", imei + "\n", imei},
                {"RG520N-EU", imei + "1\n", imei + "9\n", imei},
                {"RG520N-EU", imei + "\n", "490154203237519\n", nines},
                {"RG520N-EU", imei + "\n", "", nines},
                {"RG520N-EU", "49015\n", "49015\n", nines},  // the modem's keeps its newline
                {"EM05", "", "", ""}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.flash + row.modem);
        plug(row.module);
        unit.write("/flash/default-imei", row.flash);
        unit.write("/modem/imei", row.modem);
        unit.write("/tmp/fwinfo-imei", "stale");
        EXPECT_EQ(station.command(kGetImei.subType, kArgument).payload, padded(row.answer, 16));
        EXPECT_FALSE(unit.exists("/tmp/fwinfo-imei"));
    }
}

TEST_F(Modem, TellsItsVersionAndImei) {
    const std::string longText(70, 'v');
    unit.write("/modem/imei", "4901\n");
    unit.write("/modem/version", "11.22 x\n");
    plug("EG060K-EA");
    EXPECT_EQ(station.command(116, longText + longText).payload, padded("11.22", 72));
    EXPECT_EQ(station.command(110, longText).payload, padded("4901\n", 16));
    expectAsked({"atcon -c ATI", "atcon -c AT+CGSN"});
    unit.write("/modem/version", longText);
    plug("FG621");
    EXPECT_EQ(station.command(116).payload, padded(longText.substr(0, 64), 72));
    EXPECT_EQ(station.command(110, longText).payload, padded("", 16));
    expectAsked({"cellcli -c ATI", "atcon -c AT+CGSN"});
}

// The logger in the unit, seen from outside of it; 0 when there is none.
pid_t loggerOf(const Unit& unit) {
    std::error_code gone;
    for (const auto& entry : fs::directory_iterator("/proc")) {
        std::string name;
        std::getline(std::ifstream(entry.path() / "comm"), name);
        // The folder, not its name: from within a chroot another namespace's paths read otherwise.
        if (name == "QLog" && fs::equivalent(entry.path() / "root/.", unit.path("/"), gone))
            return std::stoi(entry.path().filename());
    }
    return 0;
}

TEST_F(Modem, LoggerRunsOnWithoutADescriptorOfTheDaemon) {
    const auto until = [](const std::function<bool()>& holds) {
        bool held = false;
        for (int i = 0; i < 500 && !(held = holds()); i++)
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        return held;
    };
    expectDone(kStartLogger);
    ASSERT_TRUE(until([&] { return loggerOf(unit) != 0; }));
    EXPECT_TRUE(until([&] { return unit.calls() == Lines{"QLog -s 9000"}; }));
    const std::string open = "/proc/" + std::to_string(loggerOf(unit)) + "/fd";
    int count = 0;
    for (const auto& entry : fs::directory_iterator(open)) {
        EXPECT_FALSE(fs::read_symlink(entry).string().starts_with("socket:"));
        count++;
    }
    EXPECT_GE(count, 3);
    expectDone(kStopLogger);
    EXPECT_TRUE(until([&] { return loggerOf(unit) == 0; }));
    // It can be killed once more until the unit has collected it.
    EXPECT_TRUE(until([&] { return station.command(kStopLogger.subType).info() == 3; }));
    expectFailure(kStopLogger);
    unit.remove("/bin/sh");
    expectFailure(kStartLogger);
}

TEST_F(Modem, ExternalAntennaIsSwitchedByOneCharacter) {
    expectDone(kExtAntenna, "1;ignored");
    EXPECT_EQ(unit.calls(), (Lines{"uci set ext_antenna.ext_antenna.enable=1",
                                   "uci commit ext_antenna", "reload_config"}));
    EXPECT_NE(unit.read("/etc/config/ext_antenna").find("option enable '1'"), std::string::npos);
    expectFailure(kExtAntenna);
    EXPECT_EQ(unit.calls(), Lines{"uci set ext_antenna.ext_antenna.enable="});
    unit.fault("uci", "exit 1");
    expectDone(kExtAntenna, "0");  // the last tool of the line decides
    unit.fault("reload_config", "exit 1");
    expectFailure(kExtAntenna, "0");
}

}  // namespace
