// The tables of commands, options and exit codes, for people, programs and the manual.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "station/result.h"

namespace station {

struct Entry {
    std::string name;
    std::string arguments;  // empty: none
    std::string help;
    std::vector<Member> facts = {};  // for programs
    std::string group = {};          // of a command
};
using Listing = std::vector<Entry>;

Listing listCommands();
Listing listOptions(const std::function<bool(const OptionRow&)>& isListed);
Listing listExits();

// Returns the entry's name and arguments.
std::string usageOf(const Entry& entry);

// Returns the number of columns of the longest usage.
int usageWidth(const Listing& listing);

// Prints the entries: as text with one line each, as one JSON object each, or, with --quiet, only
// the names.
void print(const Listing& listing, const Output& output);

// Prints the groups of commands and the options of every command.
void printOverview(const Listing& listing, const Output& output);

// Prints everything about one command.
void printDetails(const Command& command, const Output& output);

}  // namespace station
