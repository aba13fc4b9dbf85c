// mfgp-station as its users have it: the built program in a shell line.
#pragma once

#include <sys/types.h>

#include <initializer_list>
#include <string>

#include "tests/support/unit.h"

struct ShellResult {
    int exitCode;
    std::string output;  // both streams
};

// Runs a shell line; $station stands for the program and the address of the test's units.
ShellResult shell(const std::string& line);

struct StationRow {
    std::string words;
    int exitCode;
    std::string output;  // stands in it
};

// Runs the station with the words of each row, put into a shell line as they are.
void expectRows(std::initializer_list<StationRow> rows);

// A way to a unit by another port, which also leads into the network of a unit with --net own.
class Relay {
  public:
    // Drops the first replies.
    Relay(const Unit& unit, uint16_t port, int drops = 0);
    ~Relay();
    Relay(const Relay&) = delete;
    Relay& operator=(const Relay&) = delete;

  private:
    pid_t process_;
};
