// Options that do not come from the command line: the settings file ~/.config/mfgp-station.conf,
// environment variables, and the account.
#pragma once

#include "station/outcome.h"

namespace station {

// Reads the options of the command line, MFGP_HOST and the settings file, in this order of
// priority. Replaces an alias by the host of its section. Returns an error message, or an empty
// text.
std::string readOptions(int argc, char** argv, Options* options);

// Reads the same for one unit of --units, with the settings of its section if its name is an alias.
// Takes the account of the call unless the section has one. Returns an error message, or an empty
// text.
std::string readOptionsOf(const std::string& unit, const Options& call, Options* options);

// Returns the aliases of the settings file.
Words hostAliases();

// Completes the account. Without an option, user name and password come from the account file, or
// else from MFGP_USER and MFGP_PASSWORD. If there is a user name but no password, asks on the
// terminal. Warns if other users can read the password. Returns an error if the file is wrong.
Outcome loadAccount(Options* options);

// Reads a text file of at most 65,536 bytes. Returns an error message, or an empty text.
std::string readFile(const std::string& name, std::string* text);

}  // namespace station
