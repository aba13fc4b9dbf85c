// Many commands on one socket: `run` and `sheet`.
#pragma once

#include "station/session.h"

namespace station {

// Runs the lines of a file, or as they come from standard input ("-") or another stream. A file is
// checked to its end before anything is sent. Returns the exit code.
int runBatch(const Options& options, Output* output);

// Reads identity and state of a unit. Returns the exit code.
int readSheet(const Options& options, Output* output);

}  // namespace station
