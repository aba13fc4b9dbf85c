// Many commands on one socket: `run` and `sheet`.
#pragma once

#include <atomic>

#include "station/line/recipe.h"

namespace station {

// The counts of a batch. They are atomic because, with several units, the parent process reads the
// counts of its children. It reads the times only after a child has ended.
struct Tally {
    std::atomic<unsigned> passed = 0;
    std::atomic<unsigned> failed = 0;
    std::atomic<unsigned> errors = 0;  // no verdict about the unit
    std::atomic<unsigned> skipped = 0;
    std::atomic<unsigned> total = 0;             // commands, 0: not known
    std::atomic<const char*> command = "start";  // that is being carried out
    Clock::time_point start = Clock::now();
    std::chrono::system_clock::time_point time = std::chrono::system_clock::now();  // of the start
};

// Returns "3 passed, 1 failed, 0 errors, 2 skipped".
std::string countsText(const Tally& tally);

// Runs the lines of a file or, one by one, of standard input ("-") or another stream. Checks a file
// completely before anything is sent. Returns the exit code.
int runBatch(const Options& options, Output* output);

// Carries out the steps in an open session, prints the start and end records, and ends the session.
// Returns the exit code.
int runSteps(Session* session, std::span<const Step> steps, Tally* tally);

// Prints the counts of the unit's batch or, in JSON, its end record.
void printEnd(const Tally& tally, const Outcome& end, const std::string& unit,
              const Output& output);

// Reads and prints the identity and state of a unit. Returns the exit code.
int readSheet(const Options& options, Output* output);

}  // namespace station
