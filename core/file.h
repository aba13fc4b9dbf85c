// Files of the daemon's own: closed by their owner, closed in every program the daemon starts.
#pragma once

#include <cstddef>
#include <cstdio>
#include <memory>

struct FileCloser {
    void operator()(FILE* file) const { fclose(file); }
};
using File = std::unique_ptr<FILE, FileCloser>;

// Opens a file for reading; null when it cannot be opened.
File mfgp_openToRead(const char* path);

// Creates (mode 0644) or empties a file for writing; a symbolic link in its place is refused. Null
// when it cannot be opened.
File mfgp_openToWrite(const char* path);

// Opens a fresh temporary file for writing: replaces the X of name ("/tmp/xxx-XXXXXX"). Null when
// it cannot be created.
File mfgp_openTemporary(char* name);

// Closes the file. Returns 0, or -1 when anything written to it so far could not be written.
int mfgp_closeWritten(File file);

// Writes data[length] as the whole content of a file opened by mfgp_openToWrite, complete and
// closed when this returns. Returns 0, or -1 when it cannot be opened or written in full.
int mfgp_writeFile(const char* path, const void* data, size_t length);
