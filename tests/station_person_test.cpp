// Features for a person at the bench, and verdicts: values that fail, datagrams that are not
// replies, and secrets.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "commands/json_handle.h"
#include "station/json_values.h"
#include "tests/support/client.h"
#include "tests/support/wire.h"

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

// Every example of the help is a command line that the program accepts.
TEST(StationPerson, ExamplesInTheHelp_AreAccepted) {
    const ShellResult result = shell(
        "$station -q list | while read -r name; do $station help $name; done |"
        " sed -n 's/^example: mfgp-station //p' |"
        " grep -vE '^(set group|run|check|discover|sheet)' | { count=0; while read -r line; do "
        "eval \"$station -n $line\" >/dev/null || echo \"$line\"; count=$((count + 1)); done; "
        "[ $count -ge 50 ] || echo \"only $count examples\"; }");
    EXPECT_EQ(result.output, "");
}

TEST(StationPerson, SettingsFile_AppliesToTheUnitItNames) {
    const Unit unit(
        {StateFile{"/mfgp-station.conf",
                   "# all\n timeout = 3\n[bench1]\nhost = 127.0.0.1\n"
                   "user = x\npassword = a b#c\n[bad]\nhots = 1\n"},
         StateFile{"/good/mfgp-station.conf",
                   "retries=0\r\ntimeout=3\n[bench1]\r\nhost=127.0.0.1\r\nport=1040\r\n"},
         StateFile{"/account/username", "x"}, StateFile{"/account/password", "a b#c"}});
    const std::string good = "XDG_CONFIG_HOME=$unit/good ", bad = "XDG_CONFIG_HOME=$unit ";
    const std::string station = "${station%% --host*} ";
    const StationRow rows[] = {
        {bad + station + "--host bench1 get mac", 2,
         "line 8: 'hots' is not a setting; did you mean"},
        {good + station + "--host bench1 --user x --password 'a b#c' get mac", 0, "02-1A"},
        {good + "MFGP_HOST=bench1 " + station + "--port 9 --timeout 0.1 get mac", 3,
         "(1 attempt): Connection"},
        {good + station + "--timeout 0.1 --host 127.0.0.1:9 get mac", 3, "(1 attempt): Connection"},
        {good + station + "--host 127.0.0.1:x get mac", 2, "--host: 'x' is not a number from 1 to"},
        {"sed -i '/bad/,$d' $unit/mfgp-station.conf; " + bad + station + "--host bench1 get mac", 0,
         "mfgp-station.conf' (chmod 600 keeps it private)\n02-1A"},
        {"printf 'y\\nz\\n' >$unit/y; " + bad + station +
             "--account-file $unit/y --host bench1 get mac",
         5, "(user 'y' was used)"},
        {"while sleep 0.3; do echo 'a b#c'; done | script -qec \"" + station +
             "--host 127.0.0.1 --user x get mac\" /dev/null",
         0, "02-1A"},
        {"echo \"[$(" + bad + station + "completions -- --host '' 2>&1)]\"", 0, "[bench1]\n"},
    };
    for (const StationRow& row : rows)
        expectShell(row.words, row.exitCode, row.output);
}

TEST(StationPerson, CheckAndDiscover_NameTheCauseOfAFailure) {
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

TEST(StationPerson, EraseOnATerminal_NeedsConfirmation) {
    Unit unit;
    const std::string erase = " | script -qec \"$station erase radio\" /dev/null";
    expectShell("echo n" + erase, 2, "not confirmed");
    expectShell("echo y" + erase, 0, "OK");
    EXPECT_EQ(shellLines(unit.trace()), std::vector<std::string>{"mfgp_hook_erase_radio"});
}

TEST(StationPerson, SecondCallFromTheSamePort_WaitsOrFails) {
    Unit unit;
    // The first call has the port until the file /end exists.
    const std::string busy =
        "rm -f $unit/end; : >$unit/first; { echo get mac; until [ -e $unit/end ]; do sleep 0.1; "
        "done; } | $station -q run - >$unit/first & await 02-1A $unit/first; ";
    expectShell(busy + "$station --timeout 0.1 get mac; code=$?; touch $unit/end; exit $code", 7,
                "another mfgp-station talks to 127.0.0.1:1040 from port 1041");
    expectShell(busy + "{ sleep 0.5; touch $unit/end; } & $station --timeout 30 get mac", 0,
                "02-1A-2B-13-7B-00\n");
}

// Writes a script that runs the station.
void layProgram(const Unit& unit) {
    unit.write("/station", "#!/bin/sh\nexec " MFGP_STATION " \"$@\"\n");
    shell("chmod 755 $unit/station");
}

TEST(StationPerson, ExampleScripts_ReportPassAndFail) {
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

TEST(StationVerdict, ReplyWithoutAValue_Fails) {
    Unit unit({StateFile{"/fw/OEM_ID", ""}, StateFile{"/fans/speeds", "2\n"},
               StateFile{"/modem/imei", "123456789012345"}});
    shell("$station fan recheck");
    for (const auto& [words, message] : std::initializer_list<std::pair<std::string, std::string>>{
             {"get oem-id", "' (the unit has no value for it"},
             {"get antenna-level", "999' (no level was measured)"},
             {"get imei", "999999999999999' (flash and modem differ"},
             {"fan speeds 2", "0 fans:' (no speed is known"},
             {"rssi-spread --band 1 --nss 1", "-52' (fewer than two readings"}})
        expectRows(
            {{"-o json " + words + " | jq -c '[.outcome, .value, (.raw | length > 0), .message]'",
              0, R"(["FAIL",null,true,"no value: the unit returned ')" + message}});
}

TEST(StationVerdict, AnEchoOfTheRequest_IsNotAReply) {
    const Station unit({}, "127.0.0.1", 5000);
    std::atomic<bool> isOver = false;
    std::thread echo([&] {
        while (!isOver)
            if (const auto datagram = unit.receive(50))
                unit.send(*datagram);
    });
    const std::string to = "--timeout 0.1 --local-port 1040 --port 5000 ";
    expectRows({{to + "get calibration", 3, "no reply"},
                {to + "get mac", 3, "no reply"},
                {to + "set pin 12345678", 3, "no reply"},
                {to + "reset --yes", 3, "no reply"},
                {to + "raw 4 0", 6, "an echo of the request, not a reply"},
                {to + "heartbeat", 0, "OK"}});  // a unit too returns it unchanged
    isOver = true;
    echo.join();
}

TEST(StationVerdict, Secrets_AreHidden) {
    Unit unit;
    for (const std::string command : {"$station -o json -vvv set pin 12345678",
                                      "echo 'set pin 12345678' | $station -y -vvv run -",
                                      "echo 'get mac --password 12345678' | $station run -",
                                      "echo '--passw=12345678 get mac' | $station -o json run -",
                                      "echo 'set pn 12345678' | $station -o json run -",
                                      "$station -o json -vvv -y raw 3 76 3132333435363738"}) {
        const ShellResult result = shell(command);
        EXPECT_TRUE(contains(result.output, "********")) << result.output;
        for (const char* secret : {"12345678", "3132333435363738"})
            EXPECT_FALSE(contains(result.output, secret)) << result.output;
    }
    expectRows({{"-o json --show-secrets set pin 12345678", 1, R"(["12345678"])"}});
}

TEST(StationVerdict, JsonInAReply_IsParsedOnlyIfAllOfItIsValid) {
    using station::decodeJson, station::jsonLine, station::jsonOf;
    for (const auto& [sent, line] : std::initializer_list<std::pair<std::string_view, const char*>>{
             {R"({"pack":3})", R"({"pack":3})"},
             {R"({"pack":3} x)", R"("{\"pack\":3} x")"},
             {"[NaN]", R"("[NaN]")"},
             {"[Infinity]", R"("[Infinity]")"},
             {"[1e999]", R"("[1e999]")"},
             {R"(["\u001b[2J\u007f\u00e9\ud83d\ude00"])",
              R"(["\u001b[2J\u007f\u00e9\ud83d\ude00"])"},
             {"\x1b[2J", R"("\\x1b[2J")"}}) {
        station::Reply reply = {};
        reply.payload.assign(sent.begin(), sent.end());
        const Json json(jsonOf(decodeJson(reply)));
        EXPECT_EQ(jsonLine(json.get()), line);
    }
}

}  // namespace
