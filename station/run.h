// The client without main, so that tests link the real code.
#pragma once

#include "station/options.h"

namespace station {

// Carries out the command line. Returns the exit code.
int run(int argc, char** argv);

// Returns the names of the commands that the client carries out itself.
Words localNames();

}  // namespace station
