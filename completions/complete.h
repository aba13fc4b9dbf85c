// Words that can come next on a command line, for the completion of the shells.
#pragma once

#include "station/options.h"

namespace station {

// Returns the words that are possible in the place of the last one, in alphabetical order. Empty if
// any text is possible, such as the name of a file.
Words nextWords(Words words);

}  // namespace station
