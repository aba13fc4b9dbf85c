// Formats and runs shell lines. Only this file starts processes, and it waits for each shell. A
// program that a line starts in the background keeps running.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdio>
#include <span>

inline constexpr size_t kCommandLineSize = 1024;  // bytes, with the terminator

// Formats a command line (printf rules). Returns 0, or -1 when it does not fit. The line is then
// empty, so that a cut line is never run.
[[nodiscard, gnu::format(printf, 2, 3)]] int mfgp_formatLine(std::span<char> line,
                                                             const char* format, ...);

// Returns true when the text contains only ASCII letters, digits and %+,-./:=@^_ and can therefore
// appear unquoted in a shell line. Also true for an empty text.
bool mfgp_isPlainText(const char* text);

// Runs one shell line, formatted by printf rules into at most 1,023 characters, with an empty
// environment, and waits for it. Returns 0 once the child process has ended, with any exit status
// and even if /bin/sh could not be executed. Returns -1 when the line does not fit or no process
// can be created or waited for.
[[gnu::format(printf, 1, 2)]] int mfgp_execCmd(const char* format, ...);

// Runs one line through system(). Returns 1 when it exited normally with status 0, else 0.
int mfgp_system(const char* line);

// Owns the reading end of a shell line's output. The shell does not expand file names (sh -f), so
// that text which a tool printed is never replaced by names of files. The destructor closes it and
// waits for the shell.
class ReadPipe {
  public:
    explicit ReadPipe(const char* line);
    ~ReadPipe();
    ReadPipe(const ReadPipe&) = delete;
    ReadPipe& operator=(const ReadPipe&) = delete;

    bool isOpen() const { return stream_ != nullptr; }

    // Reads as many bytes as `out` holds in one fread. Returns the number of bytes read. Adds no
    // terminator.
    size_t read(std::span<char> out);

    // Reads one line with its newline and terminates it. A line longer than the buffer continues in
    // the next call. Returns false at the end of the output.
    bool readLine(std::span<char> line);

  private:
    FILE* stream_ = nullptr;
    pid_t child_ = -1;
};

inline constexpr int kPipeNotOpened = -1;

// Runs one shell line and reads at most text.size() - 1 bytes of its output into `text`, which is
// then terminated. Returns the number of bytes read, or kPipeNotOpened.
int mfgp_readCommand(const char* line, std::span<char> text);
