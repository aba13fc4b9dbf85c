// What each cellular module is asked on its AT console: one row per module, so that a new module is
// a new row.
#pragma once

#include <cstddef>
#include <span>

inline constexpr size_t kModemLineSize = 512;  // bytes, with the terminator
inline constexpr int kMaxTestFields = 10;

// Holds when the field, as a whole number, has the value.
struct FieldIs {
    int field = -1;  // -1: holds always
    int value = 0;
};

// Which line of the console's answer counts, and the characters that part it: its second piece is
// the value.
struct AnswerCut {
    int line = 0;
    const char* separators = nullptr;  // null: the whole answer is taken
};

// In a command {2} stands for field 2 as a whole number, {3:g} for field 3 as a decimal one.
struct ModemLine {
    FieldIs when[3];  // all must hold
    const char* command;
    AnswerCut cut = {};
};

struct Module {
    const char* name;

    std::span<const ModemLine> setFtm;  // field 0 is the mode; the first line that holds
    std::span<const ModemLine> getFtm;  // empty: this module cannot be asked

    int testFields;
    const char* wrongFieldCount;       // logged
    const char* fieldLog;              // logged before the test; null: nothing is
    const char* configuration;         // must answer "OK" before the level is read; null: none
    std::span<const ModemLine> level;  // the first line that holds
    std::span<const FieldIs> configureOnly;  // if one holds, no level is read
    std::span<const FieldIs> dropLevel;      // if one holds, the level that was read is dropped
};

// Returns the row of a module, or null for a name that is none.
const Module* mfgp_findModule(const char* name);

// Whether one of the conditions holds.
bool mfgp_anyHolds(std::span<const FieldIs> conditions, const char* const* fields);

// Puts the fields into a command or log text, into line[kModemLineSize]. Returns 0, or -1 when it
// does not fit.
int mfgp_fillModemLine(const char* pattern, const char* const* fields, char* line);

// Builds the first of the lines that holds, with the cut of its answer, into line[kModemLineSize].
// Returns 0, or -1 when none holds or it does not fit.
int mfgp_buildModemLine(std::span<const ModemLine> lines, const char* const* fields, char* line);
