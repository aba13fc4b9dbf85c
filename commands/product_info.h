// The product-info partition: text records of one line each, a key with its colon and the value
// right behind it. It is dumped to a working file, edited there and written back.
#pragma once

#include <cstddef>
#include <span>

// True when the text may become the value of a record: it holds no control character (a newline
// would forge a second record).
bool mfgp_isRecordValue(const char* text);

// Sets the record of a dumped partition file: every line that begins with `key` (colon included)
// becomes key and value; without one, the record is appended. Everything else keeps its bytes. The
// file is replaced as a whole by a temporary file in /tmp or left as it was. Returns 0; -1 when an
// argument is missing, the value is no record value or a file cannot be read, written in full or
// replaced.
int mfgp_editRecord(const char* path, const char* key, const char* value);

struct Record {
    const char* key;  // with its colon
    const char* value;
};

enum class EditStep { Dump, Edit, WriteBack, CleanUp, Done };

struct EditResult {
    EditStep reached;  // Done, or the step that failed
    size_t record;     // when Edit failed: which record
};

// Dumps product-info to /tmp/FIELD-tmp, sets the records in it in their order, writes it back and
// removes the working file; stops at the first step that fails. Nothing is written back after a
// dump that failed or did not arrive: each field has a working file of its own, and what an earlier
// failure left there is removed before the dump.
EditResult mfgp_editProductInfo(const char* field, std::span<const Record> records);
