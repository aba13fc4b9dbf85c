// Many commands on one socket, as stations script them; what comes with the station is run as well.
#include <gtest/gtest.h>
#include <signal.h>

#include <regex>

#include "tests/support/client.h"
#include "tests/support/unit.h"

namespace {

size_t count(const std::string& text, const std::string& word) {
    size_t times = 0;
    for (size_t at = 0; (at = text.find(word, at)) != std::string::npos; at++)
        times++;
    return times;
}

// The outcome words of JSON lines.
std::string outcomes(const std::string& lines) {
    static const std::regex kOutcome(R"re("outcome":"(\w+)")re");
    std::string words;
    for (std::sregex_iterator at(lines.begin(), lines.end(), kOutcome), end; at != end; ++at)
        words += (*at)[1].str() + " ";
    return words;
}

TEST(Batch, CarriesOutALineAtATime) {
    Unit unit;
    const std::string failing =
        "get mac\n# a comment\n\nset pin \"12 4567\\8\"\nqlog stop\nget mac";
    const struct {
        std::string lines;
        const char* options;
        int exitCode;
        const char* outcomes;
        const char* message;
    } rows[] = {
        {failing, "--yes run -", 1, "PASS PASS FAIL ",
         "\"refused or failed (info 3). Cause: the unit's tool failed"},
        {failing, "--yes -k run -", 1, "PASS FAIL FAIL PASS ", "failed"},
        {"get button wps --expect 'BUTTON OK'\nget mac", "run -", 1, "FAIL ",
         "expected 'BUTTON OK', got 'BUTTON NOT OK'"},
        {"get mac\r\nset oem-id x\nget mac", "run -", 2, "PASS ERROR ", "needs --yes"},
        {"raw 7 73", "run -", 2, "ERROR ", "needs --yes"},
        {"get mac\nget 'mac", "run -", 2, "PASS ERROR ", "a quote is not closed"},
        {"get mac --host 10.0.0.1", "run -", 2, "ERROR ", "--host belongs on the command line"},
        {"init; init", "run -", 2, "ERROR ", "unknown command 'init; init'"},
        {"set special-id NZ --yes\nget special-id", "run $file", 0, "PASS PASS ", "\"NZ\""},
        {"config set x\nget nothing", "run $file", 2, "ERROR ",
         "line 2: get: unknown command 'get n"},
        {"config set x\nraw 3 60 61", "run $file", 2, "ERROR ", "lines 2 raw 3 60 61: needs --yes"},
        {"get mac\nget ssid", "-n --deadline 1e-9 run $file", 3, "SKIPPED SKIPPED ",
         "reached; 2 commands were not sent"},
        {"get mac", "-n --deadline 1e-9 run -", 3, "", "deadline of 0.0 s reached"},
        {"get mac", "run $file.none", 7, "ERROR ", "No such file"},
    };
    for (const auto& row : rows) {
        unit.write("/lines", row.lines);
        const ShellResult result = shell("file=" + unit.path("/lines").string() +
                                         "; cat $file | $station -o json " + row.options);
        EXPECT_EQ(result.exitCode, row.exitCode) << row.lines << "\n" << result.output;
        EXPECT_EQ(outcomes(result.output), row.outcomes) << row.lines << "\n" << result.output;
        EXPECT_NE(result.output.find(row.message), std::string::npos) << result.output;
    }
    EXPECT_EQ(unit.read("/flash/pin"), "12 45678\n");
    EXPECT_EQ(count(unit.trace(), "] setCfg: "), 0U);  // a file is checked before it is begun
    EXPECT_EQ(shell("echo 'get mac\ninit' | $station -q run -").output, "02-1A-2B-13-7B-00\n");
}

TEST(Batch, KeepsTheUnitBoundWhileItWaits) {
    Unit unit;
    const std::string log = unit.path("/log/stdout").string();
    const ShellResult result =
        shell("{ echo get mac; await heartbeat " + log + " 2; echo release; await CANCEL " + log +
              "; sleep 0.5; } | $station --heartbeat 0.1 run -");
    EXPECT_EQ(result.exitCode, 0) << result.output;
    const std::string trace = unit.trace();
    const size_t end = trace.find("receive CANCEL TEST");
    EXPECT_GE(count(trace.substr(0, end), "Recive heartbeat packet"), 2U);
    EXPECT_EQ(count(trace.substr(end), "Recive heartbeat packet"), 0U);
    const std::string pipe = unit.path("/pipe").string();  // never ends
    EXPECT_EQ(
        shell("mkfifo " + pipe + "; { echo init >&0; $station --deadline 0.4 run -; } <>" + pipe)
            .exitCode,
        3);
}

TEST(Batch, EndsOnASignal) {
    Unit unit;
    const std::string seen = unit.path("/seen").string(), lines = unit.path("/lines").string();
    shell("mkfifo " + unit.path("/pipe").string());
    // The output of a station that gets the signal when it has said the word.
    const auto interruptedAt = [&](const std::string& word, const std::string& line,
                                   const std::string& options, int times = 1) {
        const ShellResult result =
            shell("{ { echo " + line + "; } >" + unit.path("/pipe").string() + " & { await '" +
                  word + "' " + seen + " " + std::to_string(times) +
                  "; kill -INT $$; } & exec $station -v -o json " + options + " run - >" + seen +
                  " 2>&1; } <>" + unit.path("/pipe").string());
        EXPECT_EQ(result.exitCode, 128 + SIGINT);
        return unit.read("/seen");
    };
    EXPECT_EQ(outcomes(interruptedAt("PASS", "get mac", "")), "PASS ");
    unit.remove("/seen");
    // The daemon stands still after the reply that proves the account.
    const std::string output =
        interruptedAt("sent to",
                      "get mac; await PASS " + seen + "; kill -STOP " +
                          std::to_string(unit.daemon()) + "; echo set oem-id x --yes",
                      "--release", 2);
    EXPECT_EQ(outcomes(output), "PASS ABORTED ");
    EXPECT_NE(output.find("`get oem-id` shows it"), std::string::npos) << output;
    kill(unit.daemon(), SIGCONT);
    expectRows({{"--local-port 1042 get oem-id", 0, "x\n"}});  // it was done, then released
    unit.write("/lines", "get mac\nset device-id abc");
    unit.remove("/seen");
    // It cannot write its first result before it has got the signal.
    const std::string pid = unit.path("/station.pid").string();
    const ShellResult result = shell("{ head -c 65536 /dev/zero; sh -c 'echo $$ >" + pid +
                                     "; exec \"$@\"' sh $station -v -y "
                                     "--local-port 1042 run " +
                                     lines + " 2>" + seen + "; } | { await received " + seen +
                                     "; kill $(cat " + pid + "); tr -d '\\0'; }");
    EXPECT_NE(result.output.find("signal 15. The command was not sent"), std::string::npos)
        << result.output;
    expectRows({{"--local-port 1042 get device-id", 0, "80061A2B137B00C4"}});  // not sent
}

TEST(Batch, AsksOnATerminal) {
    Unit unit;
    const std::string erase = " | script -qec \"$station erase radio\" /dev/null";
    EXPECT_NE(shell("echo n" + erase).output.find("not confirmed"), std::string::npos);
    EXPECT_NE(shell("echo y" + erase).output.find("OK"), std::string::npos);
    EXPECT_EQ(shellLines(unit.trace()), std::vector<std::string>{"mfgp_hook_erase_radio"});
}

TEST(Batch, TwoCallsFromOnePort_TheSecondWaitsOrFails) {
    Unit unit;
    const std::string first = "sleep 1 | $station -q run - & ";
    const ShellResult waited = shell(first + "sleep 0.3; $station --timeout 5 get mac; wait");
    EXPECT_EQ(waited.output, "02-1A-2B-13-7B-00\n");
    const ShellResult failed = shell(first +
                                     "sleep 0.3; $station --timeout 0.1 get mac; echo $?; "
                                     "$station --local-port 0 --release get mac; wait");
    EXPECT_NE(failed.output.find("another mfgp-station talks to 127.0.0.1:1040 from port 1041"),
              std::string::npos)
        << failed.output;
    EXPECT_NE(failed.output.find("\n7\n"), std::string::npos) << failed.output;
}

TEST(Batch, TheDeadline_IsNamedInTheMessage) {
    Unit unit;
    unit.write("/lines", "get mac\nget ssid\nget country");
    kill(unit.daemon(), SIGSTOP);
    expectRows({{"--deadline 0.3 run " + unit.path("/lines").string(), 3,
                 "deadline of 0.3 s reached while waiting for the reply to `get mac` (1 attempt)"},
                {"-k --deadline 0.3 run " + unit.path("/lines").string(), 3,
                 "; 2 commands were not sent"}});
    kill(unit.daemon(), SIGCONT);
}

TEST(Batch, ServesTwoUnitsFromOneStation) {
    Unit one;
    Unit other({StateFile{"/fw/MAC", "02-00-00-00-00-02"}}, {"--net", "own"});
    const std::string net = "nsenter --net=/proc/" + std::to_string(other.daemon()) + "/ns/net ";
    const std::string input = "{ echo get mac; sleep 0.5; echo get mac; } | ", run = "$station -q ";
    const std::string file = one.path("/other").string();
    const ShellResult result = shell(input + net + run + "run - >" + file + " & " + input + run +
                                     "--bind 127.0.0.1 run -; wait");
    EXPECT_EQ(result.output, "02-1A-2B-13-7B-00\n02-1A-2B-13-7B-00\n");
    EXPECT_EQ(one.read("/other"), "02-00-00-00-00-02\n02-00-00-00-00-02\n");
}

// The station as one word, whatever runs it.
std::string program(const Unit& unit) {
    unit.write("/station", "#!/bin/sh\nexec " MFGP_STATION " \"$@\"\n");
    const std::string file = unit.path("/station").string();
    shell("chmod 755 " + file);
    return file;
}

TEST(Batch, ExamplesRun) {
    Unit unit;
    const std::string examples = "cd " MFGP_SOURCE_DIR "/examples; ";
    const ShellResult line = shell(examples + "$station -y run production-line.txt");
    EXPECT_EQ(line.exitCode, 0) << line.output;
    EXPECT_TRUE(std::regex_search(line.output, std::regex("get antenna-level +-61 dBm\n")));
    const std::string check =
        examples + "MFGP_STATION=" + program(unit) + " ./check-limits --host 127.0.0.1";
    const ShellResult passed = shell(check);
    EXPECT_EQ(passed.exitCode, 0) << passed.output;
    unit.write("/fans/speeds", "3 3600 900\n");
    const ShellResult failed = shell(check);
    EXPECT_EQ(failed.exitCode, 1) << failed.output;
    EXPECT_NE(failed.output.find("FAIL  all fans between"), std::string::npos) << failed.output;
    EXPECT_EQ(count(failed.output, "FAIL"), 2U) << failed.output;
    const ShellResult noAccount = shell(check + " --user wrong");
    EXPECT_EQ(noAccount.exitCode, 5) << noAccount.output;
    const ShellResult noUnit = shell(check + " --port 9 --timeout 0.1 --retries 0");
    EXPECT_EQ(noUnit.exitCode, 3) << noUnit.output;
    EXPECT_NE(noUnit.output.find("no verdict: get mac: no reply"), std::string::npos);
    EXPECT_EQ(
        shell("MFGP_STATION=/no/such/program " MFGP_SOURCE_DIR "/examples/check-limits").exitCode,
        127);
    EXPECT_EQ(shell(MFGP_SOURCE_DIR "/examples/check-limits --help").exitCode, 0);
}

TEST(Batch, ManualAndCompletionAreInStep) {
    const Unit unit;
    const std::string station = program(unit);
    const ShellResult tables = shell(MFGP_SOURCE_DIR "/scripts/manual --check " + station);
    EXPECT_EQ(tables.exitCode, 0) << tables.output;
    const auto complete = [&station](const std::string& words) {
        return shell("bash -c '. " MFGP_SOURCE_DIR "/completions/mfgp.bash; COMP_WORDS=(" +
                     station + " " + words + "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); " +
                     "_mfgp; echo \"${COMPREPLY[@]}\"'")
            .output;
    };
    EXPECT_EQ(complete("--host get get ma"), "mac\n");
    EXPECT_EQ(complete("-o json calibrate zig"), "zigbee zigbee-host\n");
    EXPECT_EQ(complete("get mac --ti"), "--time --timeout\n");
}

}  // namespace
