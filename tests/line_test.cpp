// Recipes, their records, and many units at a time.
#include <gtest/gtest.h>

#include "tests/support/client.h"
#include "tests/support/unit.h"

namespace {

// Turns JSON records into outcome words, messages and the counts of the end record.
constexpr char kShort[] =
    R"j( | jq -r 'if .record == "end" then "\(.passed)/\(.failed)/\(.errors)/\(.skipped)" else
        select(.record == "result") | .outcome + " " + (.message // "") end' | sed 's/ $//')j";

TEST(Line, Recipe_JudgesRepeatsAndEnsures) {
    Unit unit;
    const struct {
        std::string lines;
        std::string options;
        const char* output;
    } rows[] = {
        {.lines = "get card-signal --min 4 --max 4.5\nget mac --match '^02.*0$'",
         .options = "",
         .output = "PASS\nPASS\n2/0/0/0\n"},
        {.lines = "get card-signal --min 5\nget card-signal --max 3\nget mac --max 9",
         .options = "-k",
         .output = "FAIL '4' does not keep --min 5\nFAIL '4' does not keep --max 3\n"
                   "FAIL '02-1A-2B-13-7B-00' does not keep --max 9\n0/3/0/0\n"},
        {.lines = "fan recheck\nfan speeds 3 --min 3550\nget mac\nget ssid",
         .options = "",
         .output = "PASS\nFAIL '2 fans: 3600 3540' does not keep --min 3550\n"
                   "SKIPPED not reached\nSKIPPED not reached\n1/1/0/2\n"},
        {.lines = "\xEF\xBB\xBF"
                  "ensure oem-id ${ID}\nensure oem-id 'a b'\nensure mac 02:1a:2b:13:7b:00",
         .options = "-y --set 'ID=a b'",
         .output = "PASS written\nPASS already set\nPASS already set\n3/0/0/0\n"},
        {.lines = "ensure group '{\"gid\":\"\",\"key\":\"\",\"pack\":0}'",
         .options = "-y",
         .output = "PASS already set\n1/0/0/0\n"},
        {.lines = "get button wps --expect 'BUTTON OK' --until --for 0.9",
         .options = "",
         .output = "FAIL expected 'BUTTON OK', got 'BUTTON NOT OK'\n0/1/0/0\n"},
        {.lines = "sleep 9", .options = "--deadline 0.2", .output = "TIMEOUT deadline of 0.2 s"},
    };
    for (const auto& row : rows) {
        unit.write("/lines", row.lines);
        const ShellResult result = shell("$station -o json " + row.options + " run " +
                                         unit.path("/lines").string() + " 2>&-" + kShort);
        EXPECT_EQ(result.output.rfind(row.output, 0), 0U) << row.lines << "\n" << result.output;
    }
    const std::string calls = unit.read("/calls.log");
    EXPECT_EQ(calls.find("flashkv -w"), calls.rfind("flashkv -w")) << calls;  // one write in all
    shell("(sleep 0.7; touch " + unit.path("/tmp/button_wps_check").string() + ") &");
    expectRows({{"get button wps --expect 'BUTTON OK' --until --for 9", 0, "BUTTON OK"},
                {"get mac --for x", 2, "'x' is not a time"},
                {"set country DE --until", 2, "does not take --until"}});
}

TEST(Line, EveryFaultOfARecipe_IsListed) {
    Unit unit;
    unit.write("/lines",
               "get nothing\nget mac --match [\nsheet\nsleep 0\nensure pin 12345678\nget ${NO}");
    const ShellResult result = shell("$station run " + unit.path("/lines").string());
    EXPECT_EQ(result.exitCode, 2);
    for (const char* fault :
         {"line 1: get: unknown command", "line 2: get mac: --match '['",
          "line 3: sheet: `sheet` is not allow", "line 4: sleep: '0' is not a time",
          "line 5: set pin: no command reads", "line 6: get: ${NO} is not defined"})
        EXPECT_NE(result.output.find(fault), std::string::npos) << fault << "\n" << result.output;
    EXPECT_EQ(unit.read("/calls.log"), "");
}

TEST(Line, Records_NameStationLabelsAndLimits_AndHideSecrets) {
    Unit unit;
    const std::string folder = unit.path("/").string();
    unit.write("/lines", "raw 3 76 3132333435363738 --expect 87654321\nget antenna-level --max 9");
    const std::string run =
        "$station -o json -k -y --station B2 --label unit=a/b --append "
        "--output-file '" +
        folder + "r-{unit}.json' run " + folder + "lines; ";
    const ShellResult errors = shell(run + run);
    const std::string all = unit.read("/r-a_b.json");
    for (const char* secret : {"12345678", "3132333435363738", "87654321"})
        EXPECT_EQ((all + errors.output).find(secret), std::string::npos) << all << errors.output;
    EXPECT_EQ(shell("jq -c '[.record, .station, .labels.unit, .line, .limits, .measure, .exit]' " +
                    folder + "r-a_b.json | head -n 4")
                  .output,
              "[\"start\",\"B2\",\"a/b\",null,null,null,null]\n"
              "[\"result\",\"B2\",\"a/b\",1,{\"expect\":\"********\"},null,1]\n"
              "[\"result\",\"B2\",\"a/b\",2,{\"max\":9},\"dBm\",1]\n"
              "[\"end\",\"B2\",\"a/b\",null,null,null,1]\n");
    EXPECT_EQ(shell("wc -l <" + folder + "r-a_b.json").output, "8\n");
    unit.write("/lines", "get mac\nqlog stop");
    const ShellResult text = shell("$station run " + folder + "lines 2>" + folder + "errors");
    EXPECT_NE(text.output.find("1 passed, 1 failed, 0 errors, 0 skipped in "), std::string::npos);
    EXPECT_EQ(unit.read("/errors").rfind("mfgp-station: line 2: qlog stop: refused", 0), 0U);
    const std::string both = shell("$station run " + folder + "lines").output;
    EXPECT_EQ(both.find("refused"), both.rfind("refused")) << both;  // not twice
    expectRows({{"--output-file x{no} get mac", 7, "there is no label 'no'"},
                {"--units 127.0.0.1 get mac", 2, "--units belongs to `run`"},
                {"-o json --output-file /dev/full --units 127.0.0.1 run " + folder + "lines", 7,
                 "ERROR"}});
}

TEST(Line, ManyUnits_AnswerForThemselves) {
    const Unit unit;  // for a folder
    unit.write("/lines", "get mac\nget device-id\nget button wps --expect 'BUTTON OK' --until\n");
    const std::string folder = unit.path("/").string();
    const std::string line = MFGP_SIM " line 3 --state " + folder +
                             "line --daemon " MFGPD " -- sh -c '" MFGP_STATION
                             " --release -o json --units ";
    const ShellResult result =
        shell(line + "$MFGP_UNITS run " + folder + "lines >" + folder +
              "r & await() { until grep -q $1 " + folder +
              "r; do sleep 0.1; done; }; await 0003; for i in 1 2; do touch " + folder +
              "line/$i/tmp/button_wps_check; done; until [ $(grep -c end " + folder +
              "r) = 2 ]; do sleep 0.1; done; kill $!; wait $!; echo code $?'");
    if (result.exitCode == 77)
        GTEST_SKIP() << result.output;
    EXPECT_NE(result.output.find("10.77.1.1  PASS     3 passed, 0 failed"), std::string::npos);
    EXPECT_NE(result.output.find("10.77.1.3  ABORTED  2 passed, 0 failed, 1 errors"),
              std::string::npos);
    EXPECT_NE(result.output.find("code 143\n"), std::string::npos) << result.output;
    EXPECT_EQ(shell("jq -r 'select(.value != null and .line < 3) | .unit + .value' " + folder +
                    "r | sort")
                  .output,
              "10.77.1.1:104002-1A-2B-20-00-01\n10.77.1.1:104080061A2B20000001\n"
              "10.77.1.2:104002-1A-2B-20-00-02\n10.77.1.2:104080061A2B20000002\n"
              "10.77.1.3:104002-1A-2B-20-00-03\n10.77.1.3:104080061A2B20000003\n");
    EXPECT_NE(readFile(folder + "line/3/log/stdout").find("receive CANCEL TEST"),
              std::string::npos);
}

}  // namespace
