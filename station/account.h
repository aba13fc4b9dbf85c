#pragma once

#include <string>

#include "station/options.h"
#include "station/outcome.h"

namespace station {

// Fills in the account: what no option gives comes from the account file if one is named, else from
// MFGP_USER and MFGP_PASSWORD. If there is a user name without a password, asks for it on the
// terminal if there is one. Warns of a password that others can read. Returns what is wrong with
// the file.
Outcome loadAccount(Options* options);

// Warns if users other than the owner can read the file.
void warnOfReaders(const Options& options, const std::string& file);

// Returns the variable's text, or an empty one.
std::string environmentText(const char* name);

// Reads a file's text of at most 65,536 bytes. Returns what is wrong, or an empty text.
std::string readFile(const std::string& name, std::string* text);

}  // namespace station
