// The client without main, so that tests link the real code, and its own commands.
#pragma once

#include "station/result.h"

namespace station {

// Carries out the command line. Returns the exit code.
int run(int argc, char** argv);

// Carries out a command that needs no unit. Returns the exit code.
int list(const Options& options, Output* output);
int decode(const Options& options, Output* output);
int help(const Options& options, Output* output);
int complete(const Options& options, Output* output);

}  // namespace station
