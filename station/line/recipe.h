// The lines of a recipe: read, checked as a whole, and carried out one by one.
#pragma once

#include "station/session.h"

namespace station {

struct Step {
    int line = 0;                             // 0 outside of a recipe
    Words words = {};                         // as written
    bool ensures = false;                     // `ensure`, prepared as `set`
    PreparedCommand prepared = {};            // of `sleep`, the time is in untilSeconds
    std::optional<PreparedCommand> readBack;  // of `ensure`: shows if there is anything to write
};

// Makes a step of a line; an empty line leaves the step without a command. Returns the outcome of
// what is wrong with the line.
Outcome prepareStep(const Options& options, std::string line, int number, Step* step);

// Reads all lines, prints every fault, and asks for confirmation where it is needed. Returns the
// highest exit code of the faults.
int readRecipe(Session* session, LineReader* lines, std::vector<Step>* steps);

// Returns the outcome of a file that cannot be read, by errno.
Outcome unreadable(const std::string& name);

// Returns the outcome of a recipe without commands, which would otherwise pass every unit.
Outcome emptyRecipe();

// Carries the step out.
Result executeStep(Session* session, const Step& step);

// Returns the result of a step that was not sent.
Result unsentStep(const Step& step, const Outcome& outcome);

}  // namespace station
