// The commands for a bench that does not work yet: `discover` finds units, and `check` shows why a
// unit cannot be used.
#pragma once

#include "station/session.h"

namespace station {

// Sends a question to a broadcast address (default: that of each interface) and prints the units
// that answer. Binds no unit. Returns the exit code.
int discover(const Options& options, Output* output);

// Checks one after the other what a command to the unit needs, and stops at the first fault. Binds
// the unit. Returns the exit code.
int check(const Options& options, Output* output);

}  // namespace station
