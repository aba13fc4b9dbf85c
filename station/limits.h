// Limits that a value has to keep.
#pragma once

#include "station/commands.h"
#include "station/result.h"

namespace station {

// Moves the options that judge a value out of *named: --expect, --min, --max and --match into
// *limits, and the seconds of --until and --for into *untilSeconds. Options that the command cannot
// have stay in *named. Returns an error message, or an empty text.
std::string extractLimits(const Command& command, NamedValues* named, NamedValues* limits,
                          double* untilSeconds);

// Turns a PASS into a FAIL if the value means "nothing" or does not keep a limit of the result. A
// value that means "nothing" is removed, and the raw reply stays. With `hides`, the message
// contains neither the value nor the limit.
void judge(const Command& command, bool hides, Result* result);

}  // namespace station
