// The program's own tables for people, programs and the manual.
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

// Returns name and arguments.
std::string usageOf(const Entry& entry);

// Returns the columns of the longest usage.
int usageWidth(const Listing& listing);

// Prints the entries in the output's form: text with a line for each, JSON objects with all facts,
// one a line, or, with --quiet, the names alone.
void print(const Listing& listing, const Output& output);

// Prints the groups of commands and the options of every command.
void printOverview(const Listing& listing, const Output& output);

// Prints all that is known of one command.
void printDetails(const Command& command, const Output& output);

}  // namespace station
