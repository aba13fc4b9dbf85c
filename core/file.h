// Files that the daemon itself opens. Their owner closes them, and the programs that the daemon
// starts do not inherit them.
#pragma once

#include <cstddef>
#include <cstdio>
#include <memory>

struct FileCloser {
    void operator()(FILE* file) const { fclose(file); }
};
using File = std::unique_ptr<FILE, FileCloser>;

// Opens a file for reading. Returns null when it cannot be opened or is a FIFO.
File mfgp_openToRead(const char* path);

// Creates a new file (mode 0600) for writing and removes what was at that path before, such as a
// FIFO or a link that another user put there. Returns null when it cannot be created.
File mfgp_createFile(const char* path);

// Creates a temporary file for writing and replaces the X of its name ("/tmp/xxx-XXXXXX"). Returns
// null when it cannot be created.
File mfgp_openTemporary(char* name);

// Closes the file. Returns 0, or -1 when any byte written so far could not be stored.
int mfgp_closeWritten(File file);

// Writes `length` bytes as the whole content of a file. The file is complete and closed on return.
// Returns 0, or -1 when it cannot be opened or written in full.
int mfgp_writeFile(const char* path, const void* data, size_t length);
