// Programs as their users have them: in a shell line.
#pragma once

#include <initializer_list>
#include <string>

struct ShellResult {
    int exitCode;
    std::string output;  // both streams
};

// Runs a shell line; $station stands for the program and the address of the test's units, and
// `await WORD FILE [TIMES]` waits until so many lines of the file hold the word, half a minute at
// most.
ShellResult shell(const std::string& line);

struct StationRow {
    std::string words;
    int exitCode;
    std::string output;  // stands in it
};

// Runs the station with the words of each row, put into a shell line as they are.
void expectRows(std::initializer_list<StationRow> rows);
