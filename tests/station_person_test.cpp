// Features for a person at the bench: help, wrong names, settings, check, discover, confirmation,
// examples, completion.
#include <gtest/gtest.h>

#include "tests/support/client.h"
#include "tests/support/unit.h"

namespace {

TEST(StationPerson, Help_ExplainsATopic) {
    expectRows({
        {"help | wc -l | awk '{ print $1 < 60 }'", 0, "1\n"},
        {"help", 0, "cellular  get imei, set imei,"},
        {"help get mac", 0, "--expect TEXT  fail (exit code 1) unless"},
        {"fan set --help", 0, "--time SECONDS  run time of the fans\n"},
        {"help SET-mac", 0, "outside produce mode.\nThe unit carries it out once."},
        {"help rssi-spread", 0, "The value is in dB."},
        {"help fan", 0, "fan speeds GEAR"},
        {"-o json help unit | jq -r .name | tail -n 1", 0, "reset\n"},
    });
}

TEST(StationPerson, AMistypedName_GetsTheNearestOnes) {
    expectRows({
        {"get cuntry", 2, "unknown command 'get cuntry'; did you mean `get country`?\n"},
        {"set pni 12345678", 2, "unknown command 'set pni'; did you mean `set pin`?\n"},
        {"country", 2, "did you mean `get country`, `set country`?\n"},
        {"--hots x get mac", 2, "unknown option '--hots'; did you mean '--host'?\n"},
        {"--re get mac", 2, "did you mean '--retries', '--release'?\n"},
        {"-n calibrate zigbee host", 0, "0203"},
        {"-n Get-MAC", 0, "0203"},
        {"run", 2, "run: expected one recipe file, or '-' for standard input.\n"},
        {"antenna-test FG621 t0=1 foo", 2, "'foo' is not a field"},
        {"-n set imei 490154203237519", 2, "check digit: the last digit would be 8; --any"},
        {"-n set imei 490154203237519 --any-check-digit", 0, "0203"},
        {"run - <<E\nsheet\nE", 2, "`sheet` is not allowed in a recipe"},
    });
}

// Every example of the help is a command line that the program accepts.
TEST(StationPerson, Examples_AreValid) {
    const ShellResult result = shell(
        "$station -q list | while read -r name; do $station help $name; done |"
        " sed -n 's/^example: mfgp-station //p' |"
        " grep -vE '^(set group|run|check|discover|sheet)' | while read -r line; do "
        "eval \"$station -n $line\" >/dev/null || echo \"$line\"; done");
    EXPECT_EQ(result.output, "");
}

TEST(StationPerson, Settings_HoldForTheirUnit) {
    const Unit unit(
        {StateFile{"/mfgp-station.conf",
                   "# all\n timeout = 0.5\n[bench1]\nhost = 127.0.0.1\n"
                   "user = x\npassword = a b#c\n[bad]\nhots = 1\n"},
         StateFile{"/good/mfgp-station.conf",
                   "retries=0\r\ntimeout=0.3\n[bench1]\r\nhost=127.0.0.1\r\nport=1040\r\n"},
         StateFile{"/account/username", "x"}, StateFile{"/account/password", "a b#c"}});
    const std::string good = "XDG_CONFIG_HOME=$unit/good ", bad = "XDG_CONFIG_HOME=$unit ";
    const std::string station = "${station%% --host*} ";
    const std::pair<std::string, const char*> rows[] = {
        {bad + station + "--host bench1 get mac", "line 8: 'hots' is not a setting; did you mean"},
        {good + station + "--host bench1 --user x --password 'a b#c' get mac", "02-1A"},
        {good + "MFGP_HOST=bench1 " + station + "--port 9 get mac", "(1 attempt): Connection"},
        {good + station + "--host 127.0.0.1:9 get mac", "(1 attempt): Connection"},
        {good + station + "--host 127.0.0.1:x get mac", "--host: 'x' is not a number from 1 to"},
        {"sed -i '/bad/,$d' $unit/mfgp-station.conf; " + bad + station + "--host bench1 get mac",
         "mfgp-station.conf' (chmod 600 keeps it private)\n02-1A"},
        {"{ sleep 1; echo 'a b#c'; } | script -qec \"" + station +
             "--host 127.0.0.1 --user x get mac\" /dev/null",
         "02-1A"},
        {good + station + "completions -- --host ''", "bench1\n"},
    };
    for (const auto& [line, output] : rows)
        EXPECT_NE(shell(line).output.find(output), std::string::npos) << line << shell(line).output;
}

TEST(StationPerson, CheckAndDiscover_NameWhatIsMissing) {
    const Unit unit;
    expectRows({
        {"discover 127.255.255.255", 0, "127.0.0.1\n"},
        {"-n discover", 2, "needs replies"},
        {"--port 9 discover 127.255.255.255", 3, "no unit answers. Check power and cable"},
        {"--user wrong check", 5, "account       ! cannot decrypt the reply"},
        {"check", 0,
         "interface     lo, from 127.0.0.1\ndaemon        answers\naccount       right"},
        {"--local-port 1042 check", 4, "binding       ! the unit is bound to another station"},
        {"--port 9 check", 3, "daemon        ! the unit is there, but mfgpd does not run"},
        {"--host 10.0.0.1 check", 7, "interface     ! Network is unreachable. Connect the cable"},
    });
    unit.setMode("normal");
    expectRows({{"-o json check | jq -r .value", 0, "\nno. The unit refuses factory commands"}});
}

TEST(StationPerson, OnATerminal_AnEraseIsConfirmed) {
    Unit unit;
    const std::string erase = " | script -qec \"$station erase radio\" /dev/null";
    expectShell("echo n" + erase, 2, "not confirmed");
    expectShell("echo y" + erase, 0, "OK");
    EXPECT_EQ(shellLines(unit.trace()), std::vector<std::string>{"mfgp_hook_erase_radio"});
}

TEST(StationPerson, ASecondCallFromOnePort_WaitsOrFails) {
    Unit unit;
    const std::string busy = "sleep 1 | $station -q run - & sleep 0.3; ";
    expectShell(busy + "$station --timeout 5 get mac", 0, "02-1A-2B-13-7B-00\n");
    expectShell(busy + "$station --timeout 0.1 get mac", 7,
                "another mfgp-station talks to 127.0.0.1:1040 from port 1041");
}

// Writes a script that runs the station.
void layProgram(const Unit& unit) {
    unit.write("/station", "#!/bin/sh\nexec " MFGP_STATION " \"$@\"\n");
    shell("chmod 755 $unit/station");
}

TEST(StationPerson, Examples_Run) {
    Unit unit;
    const std::string examples = "cd " MFGP_SOURCE_DIR "/examples; ";
    const std::string check = "MFGP_STATION=$unit/station ./check-limits --host 127.0.0.1";
    layProgram(unit);
    const std::string set = "$station -y --set MAC=02-1A-2B-13-7B-0F --set PIN=12345678 ";
    expectShell(examples + set + "run production-line.txt", 0, " -61 dBm\n");
    expectShell(examples + check, 0, "");
    unit.write("/fans/speeds", "3 3600 900\n");
    expectShell(examples + check, 1, "FAIL  all fans between");
    expectShell(examples + check + " --user wrong", 5, "");
    expectShell(examples + check + " --port 9 --timeout 0.1 --retries 0", 3,
                "no verdict: get mac: no reply");
    expectShell(examples + "MFGP_STATION=/no/such/program ./check-limits", 127, "");
}

TEST(StationPerson, Completion_OffersCommandsAndOptions) {
    const Unit unit;
    layProgram(unit);
    for (const auto& [words, completed] : {std::pair{"--host get get ma", "mac\n"},
                                           {"-o json calibrate zig", "zigbee zigbee-host\n"},
                                           {"get mac --ti", "--time --timeout\n"}})
        EXPECT_EQ(shell("bash -c '. " MFGP_SOURCE_DIR "/completions/mfgp.bash; "
                        "COMP_WORDS=($unit/station " +
                        std::string(words) + "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); " +
                        "_mfgp; echo \"${COMPREPLY[@]}\"'")
                      .output,
                  completed);
}

}  // namespace
