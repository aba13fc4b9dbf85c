// What a batch has done, and the records at its start and end.
#pragma once

#include <atomic>

#include "station/result.h"

namespace station {

// Atomic: with several units, the parent process reads what the child counts.
struct Tally {
    std::atomic<unsigned> counts[4] = {};   // passed, failed, errors, skipped
    std::atomic<unsigned> total = 0;        // commands, 0: not known
    std::atomic<const char*> command = "";  // that is being carried out
};

// Counts a result by its word. ERROR, TIMEOUT and ABORTED say nothing about the unit: errors.
void count(const Result& result, Tally* tally);

// Returns "3 passed, 1 failed, 0 errors, 2 skipped".
std::string countsText(const Tally& tally);

// Prints the record at the start of a batch, in JSON only.
void printStart(const Tally& tally, const Result& batch, const Output& output);

// Prints the record at the end, or the counts as the last line. `batch` has its exit code, message,
// unit, start and seconds.
void printEnd(const Tally& tally, const Result& batch, const Output& output);

}  // namespace station
