// mfgp-station through its built program: values, messages and exit codes that scripts rely on.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>

#include <algorithm>
#include <array>

#include "tests/support/unit.h"
#include "tests/support/wire.h"

namespace {

struct Result {
    int exitCode;
    std::string output;  // both streams
};

// `words` are put into a shell line as they are.
Result run(const std::string& words) {
    const std::string line = std::string(MFGP_STATION) + " --host 127.0.0.1 " + words + " 2>&1";
    FILE* const pipe = popen(line.c_str(), "r");
    std::string output;
    std::array<char, 4096> part = {};
    for (size_t length = 0; (length = fread(part.data(), 1, part.size(), pipe)) > 0;)
        output.append(part.data(), length);
    const int status = pclose(pipe);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, output};
}

struct Row {
    const char* words;
    int exitCode;
    const char* output;  // stands in it
};

void expectRows(std::initializer_list<Row> rows) {
    for (const Row& row : rows) {
        const Result result = run(row.words);
        EXPECT_EQ(result.exitCode, row.exitCode) << row.words << "\n" << result.output;
        EXPECT_NE(result.output.find(row.output), std::string::npos) << row.words << "\n"
                                                                     << result.output;
    }
}

TEST(StationClient, ReadsAUnit) {
    Unit unit({StateFile{"/fw/OEM_ID", "tab\there"}});
    expectRows({
        {"get mac", 0, "02-1A-2B-13-7B-00\n"},
        {"get oem-id", 0, "tab here\n"},
        {"get special-id", 0, "US\n"},
        {"config get", 0, "lan_ip 192.168.1.123\n"},
        {"config set 'a text'", 0, "OK\n"},
        {"heartbeat", 0, "OK\n"},
        {"init", 0, "OK\n"},
        {"usb", 0, ".00,"},
        {"raw 3 55", 0, "text: 02-1A-2B-13-7B-00"},
        {"raw 3 200", 6, "the unit does not know sub-type 200 (info 5)"},
        {"raw 7 9 00ff", 6, "the unit does not know sub-type 9 (info 5)"},
        {"raw 9 0", 6, "the unit does not know packet type 9"},
        {"sheet", 0, "02-1A-2B-13-7B-00\n"},
    });
    EXPECT_NE(unit.trace().find("] setCfg: a text\n"), std::string::npos);
    unit.setMode("normal");
    expectRows({
        {"get oem-id", 1, "failed or refused outside produce mode (info 3)"},
        {"sheet", 1, "! failed or refused"},
        {"--user wrong get mac", 5, "wrong user name or password"},
        {"--user wrong raw 1 0 00", 5, "wrong user name or password"},
        {"--local-port 1042 get mac", 4, "bound to another station"},
        {"cancel", 0, "OK\n"},
        {"--local-port 1042 get mac", 0, "02-1A-2B-13-7B-00\n"},
    });
}

TEST(StationClient, WritesAUnitOnceAndReadsItBack) {
    const std::string group = "{ \"key\": \"" + std::string(304, 'k') + "\", \"gid\": \"" +
                              std::string(36, 'g') + "\", \"pack\": 3 }";
    Unit unit({StateFile{"/group.json", group + "\n"}});
    const std::string setGroup = "set group @" + unit.path("/group.json").string();
    expectRows({
        {"set mac 02-1a-2B-13-7B-0F", 0, "OK\n"},
        {"get mac", 0, "02-1A-2B-13-7B-0F\n"},
        {"set mac 021A2B137B00", 1, "failed"},
        {"set pin 12345678", 0, "OK\n"},
        {"set special-id NZ", 0, "OK\n"},
        {"get special-id", 0, "NZ\n"},
        {"set model-name M60", 0, "OK\n"},
        {"get hardware-description", 0, "M60 V1.0\n"},
        {setGroup.c_str(), 0, "OK\n"},
        {"get group", 0, group.c_str()},
        {"generate group 12", 0, "\"pack\": 12}\n"},
        {"erase radio", 0, "OK\n"},
        {"enable test-mode", 0, "OK\n"},
    });
    EXPECT_EQ(unit.read("/flash/pin"), "12345678\n");
}

TEST(StationClient, RunsTheProductionTests) {
    Unit unit({StateFile{"/wlan/coext_seconds", "3600"}, StateFile{"/fw/COUNTRY", "DE"}});
    expectRows({
        {"calibrate wifi", 0, "OK\n"},
        {"calibrate bluetooth", 0, "OK\n"},
        {"calibrate zigbee", 0, "OK\n"},
        {"calibrate zigbee-host", 0, "OK\n"},
        {"calibrate coexistence", 0, "OK\n"},
        {"coexistence finished", 1, "failed or refused"},
        {"coexistence result", 1, "failed or refused"},
        {"get calibration", 0, "yes\n"},
        {"get button wifi", 0, "BUTTON NOT OK\n"},
        {"get bluetooth", 0, "yes\n"},
        {"get enable-flags", 0, "Wi-Fi on, guest Wi-Fi off, IPv6 on, Bluetooth on\n"},
        {"get model-name", 0, "M31-5G\n"},
        {"fan set --gear 2 --time 30", 0, "OK\n"},
        {"--time 0x1E fan set --gear=1 --gear 3", 0, "OK\n"},
        {"fan recheck", 0, "OK\n"},
        {"fan status", 0, "1\n"},
        {"fan speeds 3", 0, "2 fans: 3600 3540\n"},
        {"smart-antenna --band 1 --mode 2", 0, "OK\n"},
        {"rssi-spread --nss 2 --band 6", 0, "7\n"},
        {"config-check", 0, "model: M31-5G\ncountry: DE\nregion: US\nenabled: Wi-Fi on, guest"},
        {"reset", 2, "needs --yes"},
        {"reset --yes", 0, "OK\n"},
    });
    const std::vector<std::string> lines = shellLines(unit.trace());
    for (const char* line :
         {"/etc/init.d/qcmbr restart", "/etc/init.d/zigbeeMfg start", "/etc/init.d/bluetopia start",
          "Z3GatewayHost_591 &", "coext &", "main_fanctrl 2 30 &", "main_fanctrl 3 30 &"})
        EXPECT_EQ(std::count(lines.begin(), lines.end(), line), 1) << line;
}

TEST(StationClient, NamesWhatIsWrong) {
    const std::string tooLong = "set oem-id " + std::string(65, 'x');
    expectRows({
        {"set mac 02:1A:2B:13:7B", 2, "MAC '02:1A:2B:13:7B' is none of"},
        {"set mac 02:1A-2B:13:7B:00", 2, "is none of"},
        {"set pin 1234567", 2, "PIN '1234567' has 7 characters, not 8"},
        {"set pin \"$(printf '1234567\\t')\"", 2, "cannot be printed"},
        {"set special-id us", 2, "REGION 'us' is none of UN US EU"},
        {"set device-id ''", 2, "TEXT is empty"},
        {tooLong.c_str(), 2, "TEXT is 65 bytes long, more than 64"},
        {"set model-name \"$(printf 'a\\nb')\"", 2, "TEXT holds a control character"},
        {"set group /no/such/file", 2, "cannot read '/no/such/file': No such file"},
        {"set group @/", 2, "cannot read '/': Is a directory"},
        {"set group '{\"gid\": 1}'", 2, "has no \"key\""},
        {"set group \"{$(printf %1023d 1)}\"", 2, "is 1025 bytes long, more than 1024"},
        {"generate group 0", 2, "COUNT '0' is not a number above 0"},
        {"fan set --gear 2", 2, "needs --time"},
        {"fan set --gear 256 --time 1", 2, "--gear '256' is not a number from 0 to 255"},
        {"fan set 3 --gear 2 --time 1", 2, "takes --gear and --time alone"},
        {"fan speeds", 2, "takes one GEAR"},
        {"smart-antenna --band 4 --mode 1", 2, "--band '4' is none of 0 1"},
        {"rssi-spread --band 0 --nss x", 2, "--nss 'x' is not a number"},
        {"get button power", 2, "NAME 'power' is none of wifi reset wps"},
        {"calibrate wifi 2", 2, "takes no arguments, but got '2'"},
        {"get mac --yes", 2, "does not take --yes"},
        {"help --yes", 2, "help: takes no arguments"},
        {"", 2, "no command"},
        {"get nothing", 2, "unknown command 'get nothing'"},
        {"get mac now", 2, "takes no arguments"},
        {"raw 3", 2, "takes TYPE SUBTYPE [HEX]"},
        {"raw 256 0", 2, "TYPE '256' is not a number from 0 to 255"},
        {"raw 3 55 0g", 2, "'g' is not a hexadecimal digit"},
        {"--timeout 0 get mac", 2, "--timeout: '0' is not a time"},
        {"--bogus get mac", 2, "--bogus"},
        {"--port 0 get mac", 2, "is not a port"},
        {"get mac --timeout", 2, "--timeout needs an argument"},
        {"--host no.such.host.invalid get mac", 7, "cannot find host"},
        {"--timeout 0.1 --retries 1 get mac", 3, "within 0.1 s (2 tries)"},
        {"--timeout 0.1 --retries 0 sheet", 3, "! no answer"},
        {"--timeout 0.1 config set x", 3, "within 0.1 s (1 try)"},
        {"help", 0, "get hardware-description"},
        {"list", 0, "get mac"},
    });
}

TEST(StationClient, RepeatsReadsOnly) {
    Unit unit;
    const auto count = [](const std::string& text, const std::string& word) {
        size_t times = 0;
        for (size_t at = 0; (at = text.find(word, at)) != std::string::npos; at++)
            times++;
        return times;
    };
    kill(unit.daemon(), SIGSTOP);  // the requests wait in its socket
    expectRows({{"--timeout 0.1 --retries 2 config get", 3, "(3 tries)"},
                {"--timeout 0.1 --retries 2 config set x", 3, "(1 try)"}});
    kill(unit.daemon(), SIGCONT);
    expectRows({{"heartbeat", 0, "OK\n"}});  // is answered behind them
    const std::string trace = unit.trace();
    EXPECT_EQ(count(trace, "] getCfg: "), 3U);
    EXPECT_EQ(count(trace, "] setCfg: "), 1U);
}

TEST(StationClient, TestsTheCellularSide) {
    Unit unit;
    const std::string rg520 = "antenna-test RG520N-EU tech=1 chain_index=0 expected_rxagc_dbm=60 ";
    const std::string whole = rg520 + "rx_enable=1 channel=19850 band=3";
    const std::string signedBand = rg520 + "band=-3";
    expectRows({
        {"set ftm 1", 0, "OK\n"},
        {"get ftm", 0, "1\n"},
        {whole.c_str(), 0, "OK\n"},
        {"get antenna-level", 0, "-61\n"},
        {"antenna-test 2-78-0-60-1-620000", 0, "OK\n"},
        {"get antenna-level", 0, "-74\n"},
        {"get sim-imei", 0, "860000000000017\n"},
        {"get card-signal", 0, "4\n"},
        {"qlog stop", 1, "failed (info 3)"},
        {"set ftm 0x1", 2, "VALUE '0x1' is not a whole number"},
        {"set ftm 2147483648", 2, "is not a whole number"},
        {"antenna-test", 2, "a MODULE is one of EG18-EA, RG520N-EU, EG060K-EA, FG621"},
        {"antenna-test FG621", 2, "t0 is missing: FG621 takes t0= t1= separator="},
        {signedBand.c_str(), 2, "band '-3' is not a whole number without a sign"},
        {"antenna-test EG18-EA t0=1 t0=2", 2, "t0 is given twice"},
        {"antenna-test EG18-EA t0=1 t3=.", 2, "t3 '.' is not a decimal number"},
        {"antenna-test EG18-EA t9=1", 2, "'t9=1' is no field: EG18-EA takes t0="},
        {"set imei 1234567890123456", 2, "longer than 15 characters"},
        {"set imei '12 34'", 2, "holds a character other than"},
        {"set external-antenna 10", 2, "CHARACTER '10' is not one letter or digit"},
    });
    EXPECT_EQ(unit.read("/modem/imei"), "860000000000017\n");
}

}  // namespace
