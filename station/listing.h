// The program's own tables for people, programs and the manual.
#pragma once

#include <string>
#include <vector>

#include "station/result.h"

namespace station {

struct Entry {
    std::string name;
    std::string arguments;  // empty: none
    Words facts;            // "-": none
    std::string help;
};

struct Listing {
    const char* title;
    Words factNames;
    std::vector<Entry> entries;
    size_t factsInText = 100;  // how many of the facts the text form has
};

Listing listCommands(const std::vector<Entry>& local);
Listing listOptions();
Listing listExits();

// Name and arguments.
std::string usageOf(const Entry& entry);

// Columns of the longest usage.
int usageWidth(const Listing& listing);

// Prints the table in the output's form: text with a heading and the facts of each entry, JSON
// objects, one a line, or, with --quiet, the names alone.
void print(const Listing& listing, const Output& output);

// Prints the entries with what they are for.
void printHelp(const Listing& listing, const Output& output);

}  // namespace station
