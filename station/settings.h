// The settings file ~/.config/mfgp-station.conf: options that hold for all units, and a section
// with the options of each unit under its alias.
#pragma once

#include "station/options.h"

namespace station {

// Reads the options: the command line's, then those of MFGP_HOST, then those of the settings file.
// An alias as the host is replaced by the host of its section. Returns what is wrong, or an empty
// text.
std::string readOptions(int argc, char** argv, Options* options);

// Returns the names of the file's sections.
Words hostAliases();

}  // namespace station
