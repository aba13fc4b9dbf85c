// Programs in a shell line, as their users run them.
#pragma once

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <initializer_list>
#include <string>

#include "tests/support/unit.h"

struct ShellResult {
    int exitCode;
    std::string output;  // both streams
};

// Runs a shell line. In it, $station is the program with the address of the unit, $unit the folder
// of the unit and $daemon its process. `await WORD FILE [TIMES]` waits for at most half a minute
// until that many lines of the file, or one, contain the word.
inline ShellResult shell(const std::string& line) {
    const std::string prepared =
        "station='" MFGP_STATION
        " --host 127.0.0.1'; await() { for _ in $(seq 300); do "
        "[ $(cat $2 2>&- | grep -c \"$1\") -ge ${3-1} ] && return; sleep 0.1; done; }; ";
    FILE* const pipe = popen((prepared + "{ " + line + "\n} 2>&1 </dev/null").c_str(), "r");
    std::string output;
    for (int byte = 0; (byte = getc(pipe)) != EOF;)
        output += static_cast<char>(byte);
    const int status = pclose(pipe);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, output};
}

// Runs a shell line and checks its exit code and a part of its output.
inline void expectShell(const std::string& line, int exitCode, const std::string& part) {
    const ShellResult result = shell(line);
    EXPECT_EQ(result.exitCode, exitCode) << line << "\n" << result.output;
    EXPECT_TRUE(contains(result.output, part)) << line << "\n" << result.output;
}

struct StationRow {
    std::string words;  // part of a shell line
    int exitCode;
    std::string output;  // a part of it
};

// Runs the station with the words of each row.
inline void expectRows(std::initializer_list<StationRow> rows) {
    for (const StationRow& row : rows)
        expectShell("$station " + row.words, row.exitCode, row.output);
}
