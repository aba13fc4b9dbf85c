// Many commands on one socket: `run` and `sheet`.
#pragma once

#include "station/line/recipe.h"
#include "station/line/tally.h"

namespace station {

// Runs the lines of a file, or as they come from standard input ("-") or another stream. A file is
// checked to its end before anything is sent. Returns the exit code.
int runBatch(const Options& options, Output* output);

// Carries out the steps in an open session, prints the records of start and end, and ends the
// session. Returns the exit code.
int runSteps(Session* session, std::span<const Step> steps, Tally* tally);

// Reads identity and state of a unit. Returns the exit code.
int readSheet(const Options& options, Output* output);

}  // namespace station
