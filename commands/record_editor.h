// The product-info partition: text records, one per line, each a key with its colon followed
// directly by the value. The partition is dumped to a working file, edited there and written back.
#pragma once

#include <span>

// Sets a record in a dumped partition file. Every line that begins with `key` (colon included)
// becomes key and value, or the record is appended if there is no such line. A line longer than
// 10,239 bytes counts as several lines. Zero bytes, which pad a dump, are dropped. A temporary file
// in /tmp replaces the file as a whole, or the file stays as it was. Returns 0, or -1 when an
// argument is null, the value contains a newline, or a file cannot be read, written or replaced.
int mfgp_editRecord(const char* path, const char* key, const char* value);

struct Record {
    const char* key;  // with its colon
    const char* value;
    const char* editError;  // for the caller's log; may be null
};

enum class EditStep { Dump, Edit, WriteBack, CleanUp, Done };

struct EditResult {
    EditStep reached;      // Done, or the step that failed
    const Record* record;  // the record that could not be set when Edit failed, else null
};

// Dumps product-info to /tmp/STEM-tmp, sets the records in order, writes the partition back and
// removes the working file. Stops at the first step that fails. A working file left by an earlier
// failure is removed before the dump, so a dump that leaves no file fails the edit and nothing is
// written back.
EditResult mfgp_editProductInfo(const char* fileStem, std::span<const Record> records);
