// The shell lines that send AT commands to each cellular module. To add a module, add a row to
// kModules.
#pragma once

#include <cstddef>

inline constexpr size_t kModemLineSize = 512;  // bytes, with the terminator
inline constexpr size_t kMaxTestFields = 10;

// The fields of an antenna test's argument.
struct TestFields {
    char* text[kMaxTestFields];

    // Returns field `index`, counted from 0, as an integer.
    int integer(int index) const;

    // Returns field `index` as a decimal number in single precision.
    double decimal(int index) const;
};

using ModemLine = char[kModemLineSize];

// Formats the line that reads the level. Traces under `function`. Returns 0, or -1 when the module
// does not have the requested technology, which is logged, or the line does not fit.
using LevelLine = int (*)(const TestFields& fields, ModemLine& line, const char* function);

struct Module {
    const char* name;
    int (*setFtmLine)(int mode, ModemLine& line);  // returns 0, or -1 when the line does not fit
    const char* getFtmLine;                        // null: this module cannot be asked
    size_t fieldCount;                             // of an antenna test's argument
    const char* wrongFieldCount;                   // logged
    LevelLine levelLine;
    // A line that must answer "OK" before the level is read. Null: none.
    int (*configurationLine)(const TestFields& fields, ModemLine& line) = nullptr;
    bool (*skipsLevel)(const TestFields& fields) = nullptr;  // the level is not read; null: never
    bool (*dropsLevel)(const TestFields& fields) = nullptr;  // it is read but not kept; null: never
};

// Returns the row of a module, or null for an unknown name.
const Module* mfgp_findModule(const char* name);
