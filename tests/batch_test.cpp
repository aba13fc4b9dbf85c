// Many commands on one socket, and the examples, the manual page and the completion.
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

// Returns the outcome words of JSON lines.
std::string outcomes(const std::string& lines) {
    static const std::regex kOutcome(R"re("outcome":"(\w+)")re");
    std::string words;
    for (std::sregex_iterator at(lines.begin(), lines.end(), kOutcome), end; at != end; ++at)
        words += (*at)[1].str() + " ";
    return words;
}

TEST(Batch, Lines_RunOneAtATime) {
    Unit unit;
    const std::string failing =
        "get mac\n# a comment\n\nset pin \"12 4567\\8\"\nqlog stop\nget mac";
    const auto run = [&](const std::string& lines, const std::string& options, int exitCode,
                         const std::string& words, const std::string& message) {
        unit.write("/lines", lines);
        const ShellResult result = shell("file=" + unit.path("/lines").string() +
                                         "; cat $file | $station -o json " + options);
        EXPECT_EQ(result.exitCode, exitCode) << lines << "\n" << result.output;
        EXPECT_EQ(outcomes(result.output), words) << lines << "\n" << result.output;
        EXPECT_NE(result.output.find(message), std::string::npos) << result.output;
    };
    run(failing, "--yes run -", 1, "PASS PASS FAIL ", "(info 3). Cause: the unit's tool failed");
    run(failing, "--yes -k run -", 1, "PASS FAIL FAIL PASS ", "failed");
    run("get button wps --expect 'BUTTON OK'\nget mac", "run -", 1, "FAIL ",
        "expected 'BUTTON OK', got 'BUTTON NOT OK'");
    run("get mac\r\nset oem-id x\nget mac", "run -", 2, "PASS ERROR ", "needs --yes");
    run("get mac\nget 'mac", "run -", 2, "PASS ERROR ", "a quote is not closed");
    run("get mac --host 10.0.0.1", "run -", 2, "ERROR ", "--host belongs on the command line");
    run("set special-id NZ --yes\nget special-id", "run $file", 0, "PASS PASS ", "\"NZ\"");
    run("config set x\nget nothing", "run $file", 2, "ERROR ",
        "line 2: get: unknown command 'get n");
    run("get mac\nget ssid", "-n --deadline 1e-9 run $file", 3, "SKIPPED SKIPPED ",
        "; 2 commands were not sent");
    run("get mac", "run $file.none", 7, "ERROR ", "No such file");
    EXPECT_EQ(unit.read("/flash/pin"), "12 45678\n");
    EXPECT_EQ(count(unit.trace(), "] setCfg: "), 0U);  // a file is checked before its first line
    EXPECT_EQ(shell("echo 'get mac\ninit' | $station -q run -").output, "02-1A-2B-13-7B-00\n");
}

TEST(Batch, HeartbeatsKeepTheUnitBoundWhileItWaits) {
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

TEST(Batch, ASignal_EndsItWithTheOutcomeOfTheCommand) {
    Unit unit;
    const std::string seen = unit.path("/seen").string(), lines = unit.path("/lines").string();
    shell("mkfifo " + unit.path("/pipe").string());
    // Returns the output of a station that gets the signal after it has printed the word.
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
    // The daemon is stopped after the reply that proves the account.
    const std::string output =
        interruptedAt("sent to",
                      "get mac; await PASS " + seen + "; kill -STOP " +
                          std::to_string(unit.daemon()) + "; echo set oem-id x --yes",
                      "--release", 2);
    EXPECT_EQ(outcomes(output), "PASS ABORTED ");
    EXPECT_NE(output.find("`get oem-id` shows it"), std::string::npos) << output;
    kill(unit.daemon(), SIGCONT);
    expectRows(
        {{"--local-port 1042 get oem-id", 0, "x\n"}});  // the unit was written, then released
}

TEST(Batch, OnATerminal_AnEraseIsConfirmed) {
    Unit unit;
    const std::string erase = " | script -qec \"$station erase radio\" /dev/null";
    expectShell("echo n" + erase, 2, "not confirmed");
    expectShell("echo y" + erase, 0, "OK");
    EXPECT_EQ(shellLines(unit.trace()), std::vector<std::string>{"mfgp_hook_erase_radio"});
}

TEST(Batch, ASecondCallFromOnePort_WaitsOrFails) {
    Unit unit;
    const std::string busy = "sleep 1 | $station -q run - & sleep 0.3; ";
    expectShell(busy + "$station --timeout 5 get mac", 0, "02-1A-2B-13-7B-00\n");
    expectShell(busy + "$station --timeout 0.1 get mac", 7,
                "another mfgp-station talks to 127.0.0.1:1040 from port 1041");
}

// Returns the path of a script that runs the station.
std::string program(const Unit& unit) {
    unit.write("/station", "#!/bin/sh\nexec " MFGP_STATION " \"$@\"\n");
    const std::string file = unit.path("/station").string();
    shell("chmod 755 " + file);
    return file;
}

TEST(Batch, Examples_Run) {
    Unit unit;
    const std::string examples = "cd " MFGP_SOURCE_DIR "/examples; ";
    const std::string check = "MFGP_STATION=" + program(unit) + " ./check-limits --host 127.0.0.1";
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

TEST(Batch, Completion_OffersCommandsAndOptions) {
    const Unit unit;
    const std::string station = program(unit);
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
