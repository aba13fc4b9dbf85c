// Recipes, their records, many commands on one socket, and many units at a time.
#include <gtest/gtest.h>
#include <signal.h>

#include "tests/support/client.h"

namespace {

// Turns JSON records into outcome words, messages and the counts of the end record.
constexpr char kShort[] =
    R"j(jq -r 'if .record == "end" then "\(.passed)/\(.failed)/\(.errors)/\(.skipped)" else
        select(.record == "result") | .outcome + " " + (.message // "") end' | sed 's/ $//')j";

TEST(Line, Recipe_ReportsTheOutcomeOfEachLineAndTheCounts) {
    Unit unit;
    // Pipes the lines to the station and checks the outcomes.
    const auto judge = [&](const std::string& lines, const std::string& words, int exitCode,
                           const std::string& output) {
        SCOPED_TRACE(lines);
        unit.write("/lines", lines);
        expectShell("cat $unit/lines | $station -o json " + words +
                        " >$unit/out 2>&-; code=$?; <$unit/out " + kShort + "; exit $code",
                    exitCode, output);
    };
    const std::string file = "run $unit/lines";
    judge("get card-signal --min 4 --max 4.0\nget mac --match '^02.*0$'", file, 0,
          "PASS\nPASS\n2/0/0/0\n");
    judge("get card-signal --min 5\nget card-signal --max 3", "-k " + file, 1,
          "FAIL '4' does not keep --min 5\nFAIL '4' does not keep --max 3\n0/2/0/0\n");
    judge("get mac --max 9", file, 2, "ERROR --max: the command does not return a number\n");
    judge("# nothing", file, 2, "ERROR no commands in the recipe\n");
    judge("fan recheck\nfan speeds 3 --min 3550\nget mac\nget ssid", file, 1,
          "PASS\nFAIL '2 fans: 3600 3540' does not keep --min 3550\n"
          "SKIPPED not reached\nSKIPPED not reached\n1/1/0/2\n");
    judge(
        "\xEF\xBB\xBF"
        "ensure oem-id ${ID}\nensure oem-id 'é b'\nensure mac 02:1a:2b:13:7b:00",
        "-y --set 'ID=é b' " + file, 0,
        "PASS written\nPASS already set\nPASS already set\n3/0/0/0\n");
    judge(R"(ensure group '{"gid":"","key":"","pack":0}')", "-y " + file, 0,
          "PASS already set\n1/0/0/0\n");
    judge("get button wps --expect 'BUTTON OK' --until --for 0.9", file, 1,
          "FAIL expected 'BUTTON OK', got 'BUTTON NOT OK'\n0/1/0/0\n");
    judge("sleep 9\nget mac", "--deadline 0.2 " + file, 3,
          "TIMEOUT deadline of 0.2 s reached; 1 command was not sent\nSKIPPED");
    const std::string failing =
        "get mac\n# a comment\n\nset pin \"12 4567\\8\"\nqlog stop\nget mac";
    judge(failing, "--yes run -", 1, "PASS\nPASS\nFAIL refused or failed (info 3). Cause: the");
    judge(failing, "-y -k run -", 1, "PASS\n2/2/0/0\n");
    judge("get mac\r\nset oem-id x\nget mac", "run -", 2, "PASS\nERROR needs --yes");
    judge("get mac\nget 'mac", "run -", 2, "PASS\nERROR a quote is not closed");
    judge("get mac --host 10.0.0.1", "run -", 2, "ERROR --host belongs on the command line");
    judge("", "run $unit/none", 7, "ERROR cannot read");
    judge("set special-id NZ --yes\nget special-id", file, 0, "PASS\nPASS\n2/0/0/0");
    EXPECT_EQ(unit.read("/flash/pin"), "12 45678\n");
    // `ensure` has written once.
    expectShell("grep -c 'flashkv -w /tmp/oemid' $unit/calls.log", 0, "1\n");
    EXPECT_EQ(shell("echo 'get mac\ninit' | $station -q run -").output, "02-1A-2B-13-7B-00\n");
    shell(
        "rm $unit/tmp/fan_speed/fan2_speed_gear3; (sleep 0.7; touch $unit/tmp/button_wps_check) &");
    expectRows(
        {{"get button wps --expect 'BUTTON OK' --until --for 9", 0, "BUTTON OK"},
         {"-n --deadline 1e-9 -y run $unit/lines", 3, "; 2 commands were not sent"},
         {"get mac --for x", 2, "'x' is not a time"},
         {"--deadline 0.6 get mac --expect x --until", 3, "0.6 s reached: expected 'x', got"},
         {"run - </dev/null", 2, "no commands in the recipe"},
         {"--units a,a run $unit/lines", 2, "'a' is named twice"},
         {"--interface x -y --units a run $unit/lines", 7, "1 errors, 1 skipped"},
         {"-q -o json fan speeds 3 --min 3000", 1, "[3600,null]\n"},
         {"set country DE --until", 2, "does not take --until"}});
}

TEST(Line, EveryFaultOfARecipe_IsListedBeforeAnythingIsSent) {
    Unit unit;
    unit.write("/lines",
               "get mac\nget nothing\nget mac --match [\nsheet\nsleep 0\nensure pin 12345678\n"
               "ensure oem-id ' a'\nget ${NO}");
    for (const char* fault :
         {"line 2: get: unknown command", "line 3: get mac: --match '['",
          "line 4: sheet: `sheet` is not allow", "line 5: sleep: '0' is not a time",
          "line 6: ensure pin: no command reads", "line 7: ensure oem-id: ' a' cannot be read back",
          "line 8: get: ${NO} is not defined"})
        expectRows({{"run $unit/lines", 2, fault}});
    EXPECT_EQ(unit.read("/calls.log"), "");
}

TEST(Line, JsonRecords_ContainStationLabelsAndLimits_ButNoSecrets) {
    Unit unit;
    unit.write("/lines", "raw 3 76 3132333435363738 --expect 87654321\nget antenna-level --max 9");
    const std::string run =
        "$station -o json -k -y --station B2 --label unit=a/b --append "
        "--output-file \"$unit/r-{unit}.json\" run $unit/lines; ";
    const std::string all = shell(run + run).output + unit.read("/r-a_b.json");
    for (const char* secret : {"12345678", "3132333435363738", "87654321"})
        EXPECT_FALSE(contains(all, secret)) << all;
    expectShell(
        "jq -c '[.record, .station, .labels.unit, .line, .limits, .measure, .exit]' "
        "$unit/r-a_b.json",
        0,
        "[\"start\",\"B2\",\"a/b\",null,null,null,null]\n"
        "[\"result\",\"B2\",\"a/b\",1,{\"expect\":\"********\"},null,1]\n"
        "[\"result\",\"B2\",\"a/b\",2,{\"max\":9},\"dBm\",1]\n"
        "[\"end\",\"B2\",\"a/b\",null,null,null,1]\n[\"start\"");  // appended
    unit.write("/lines", "get mac\nqlog stop");
    expectRows(
        {{"run $unit/lines 2>$unit/errors", 1, "1 passed, 1 failed, 0 errors, 0 skipped in "},
         {"run $unit/lines | grep -c refused", 0, "1\n"},
         {"--output-file {a} list; $station --output-file {a} --label a= list", 2, "no label 'a'"},
         {"--units 127.0.0.1 get mac", 2, "--units belongs to `run`"},
         {"-o json --output-file /dev/full --units 127.0.0.1 run $unit/lines", 7, "ERROR"}});
    EXPECT_EQ(unit.read("/errors").rfind("mfgp-station: line 2: qlog stop: refused", 0), 0U);
}

TEST(Line, RunOnManyUnits_RecordsTheValuesOfEachUnit) {
    const Unit unit;  // its folder holds the files
    unit.write("/lines", "get mac\nget device-id\nget button wps --expect 'BUTTON OK' --until\n");
    const ShellResult result = shell(
        MFGP_SIM " line 3 --state $unit/line --daemon " MFGPD " --runner '" MFGP_RUNNER
                 "' -- sh -c '" MFGP_STATION
                 " --release -o json --units $MFGP_UNITS run $unit/lines >$unit/r & "
                 "await() { until [ $(grep -c $1 $unit/r) = $2 ]; do sleep 0.1; done; }; "
                 "await get.device-id 3; set -- $(cat /proc/$!/task/$!/children); kill -9 $2; "
                 "touch $unit/line/1/tmp/button_wps_check; await end 2; kill $!; wait $!; "
                 "echo code $? $(grep -c end $unit/r)'");
    if (result.exitCode == 77)
        GTEST_SKIP() << result.output;
    for (const char* part : {"10.77.1.1  PASS     3 passed, 0 failed", "code 137 3\n",
                             "10.77.1.2  ABORTED  2 passed, 0 failed, 1 errors",
                             "10.77.1.3  ABORTED  2 passed, 0 failed, 1 errors"})
        EXPECT_TRUE(contains(result.output, part)) << result.output;
    expectShell("jq -r 'select(.value != null and .line < 3) | .unit + .value' $unit/r | sort", 0,
                "10.77.1.1:104002-1A-2B-20-00-01\n10.77.1.1:104080061A2B20000001\n"
                "10.77.1.2:104002-1A-2B-20-00-02\n10.77.1.2:104080061A2B20000002\n"
                "10.77.1.3:104002-1A-2B-20-00-03\n10.77.1.3:104080061A2B20000003\n");
    expectShell("cat $unit/line/3/log/stdout", 0, "receive CANCEL TEST");
}

TEST(Line, RunThatWaitsForInput_SendsHeartbeatsUntilRelease) {
    const Unit unit;
    expectShell(
        "{ echo get mac; await heartbeat $unit/log/stdout 2; echo release; "
        "await CANCEL $unit/log/stdout; sleep 0.5; } | $station --heartbeat 0.1 run -",
        0, "");
    expectShell("sed '/CANCEL TEST/q' $unit/log/stdout | grep -c heartbeat | grep -v '^[01]$'", 0,
                "");
    EXPECT_EQ(
        shell("sed -n '/CANCEL TEST/,$p' $unit/log/stdout | grep -cE 'CANCEL|heartbeat'").output,
        "1\n");
    // Input that never ends.
    expectShell("mkfifo $unit/pipe; { echo init >&0; $station --deadline 0.4 run -; } <>$unit/pipe",
                3, "deadline of 0.4 s reached; no further commands were sent\n");
}

TEST(Line, Interrupt_EndsTheRun_AndAnUnansweredWriteIsAborted) {
    Unit unit;
    shell("mkfifo $unit/pipe");
    // Sends the signal when so many lines of the output contain the word.
    const auto interrupt = [&](const std::string& word, const std::string& times,
                               const std::string& commands, const std::string& options) {
        unit.remove("/seen");
        expectShell("{ { " + commands + "; } >$unit/pipe & { await '" + word + "' $unit/seen " +
                        times + "; kill -INT $$; } & exec $station -v -o json " + options +
                        " run - >$unit/seen 2>&1; } <>$unit/pipe",
                    128 + SIGINT, "");
    };
    const std::string outcomes = "grep -o 'outcome\":\"[A-Z]*' $unit/seen";
    interrupt("PASS", "1", "echo get mac", "");
    EXPECT_EQ(shell(outcomes).output, "outcome\":\"PASS\n");
    // The daemon is stopped after the reply that proves the account.
    interrupt("sent to", "2",
              "echo get mac; await PASS $unit/seen; kill -STOP $daemon; "
              "echo set oem-id x --yes",
              "--release");
    expectShell(outcomes, 0, "outcome\":\"PASS\noutcome\":\"ABORTED\n");
    EXPECT_TRUE(contains(unit.read("/seen"), "`get oem-id` shows it"));
    kill(unit.daemon(), SIGCONT);
    expectRows({{"--local-port 1042 get oem-id", 0, "x\n"}});  // written, and the unit was released
}

}  // namespace
