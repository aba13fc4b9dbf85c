#pragma once

#include <string>

#include "station/options.h"
#include "station/outcome.h"

namespace station {

// Fills in the account: what no option gives comes from the account file if one is named, else from
// MFGP_USER and MFGP_PASSWORD. Warns of a password that others can read. Returns what is wrong with
// the file.
Outcome loadAccount(Options* options);

// Reads a file's text of at most 65,536 bytes. Returns what is wrong, or an empty text.
std::string readFile(const std::string& name, std::string* text);

}  // namespace station
