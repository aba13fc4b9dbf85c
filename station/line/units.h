// One recipe on several units side by side.
#pragma once

#include "station/batch.h"

namespace station {

// Carries the recipe out on the units of --units, each in a child process with its own socket, and
// prints a table at the end. A signal is handed to every child. Returns the exit code of the first
// unit that has not passed; one that a signal ended goes before it.
int runUnits(Session* session, LineReader* lines);

}  // namespace station
