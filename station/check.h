// For a bench that does not work yet: finds units, and names what is missing.
#pragma once

#include "station/session.h"

namespace station {

// Asks at a broadcast address, by default that of each interface, and prints who answers. Binds no
// unit. Returns the exit code.
int discover(const Options& options, Output* output);

// Checks each condition of a command to the unit in turn, and stops at the first that does not
// hold. Binds the unit. Returns the exit code.
int check(const Options& options, Output* output);

}  // namespace station
