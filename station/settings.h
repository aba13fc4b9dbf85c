// Options from elsewhere than the command line: the settings file ~/.config/mfgp-station.conf,
// environment variables, and the account. The file has options that hold for all units, and a
// section of options for each unit under its alias.
#pragma once

#include "station/outcome.h"

namespace station {

// Reads the options: the command line's, then MFGP_HOST, then those of the settings file. A host
// that is an alias is replaced by the host of its section. Returns what is wrong, or an empty text.
std::string readOptions(int argc, char** argv, Options* options);

// Returns the aliases of the settings file.
Words hostAliases();

// Fills in the account: what no option gives comes from the account file if one is named, else from
// MFGP_USER and MFGP_PASSWORD. Asks for a missing password of a user on the terminal if there is
// one. Warns of a password that others can read. Returns what is wrong with the file.
Outcome loadAccount(Options* options);

// Reads a file's text of at most 65,536 bytes. Returns what is wrong, or an empty text.
std::string readFile(const std::string& name, std::string* text);

}  // namespace station
