// Names that a mistyped one may stand for.
#pragma once

#include <string>

#include "station/options.h"

namespace station {

// Returns "; did you mean 'A', 'B'?" with the names that begin or end with the typed text, or else
// with the nearest names. Empty if no name is near.
std::string suggestion(const std::string& typed, const Words& names, char quote);

}  // namespace station
