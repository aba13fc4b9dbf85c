// Everything that starts a process. Commands wait for what they run; no other file forks, opens a
// pipe or formats a command line.
#pragma once

#include <cstddef>
#include <cstdio>

inline constexpr size_t kCommandLineSize = 1024;  // bytes, with the terminator

// Formats a command line (printf rules) into line[size]. Returns 0, or -1 when it does not fit;
// the line is then empty, so that a cut line is never run.
[[gnu::format(printf, 3, 4)]] int mfgp_formatLine(char* line, size_t size, const char* format, ...);

// True when the text holds nothing but ASCII letters, digits and the given marks, so that a line it
// stands in unquoted runs as it reads. Also true for an empty text.
bool mfgp_isPlainText(const char* text, const char* marks);

// Runs one shell line, formatted by printf rules into at most 1,023 characters, with an empty
// environment, and waits for it. Returns 0 once the child process has ended, whatever its status
// and even if it could not become a shell; -1 when the line does not fit or no process can be made
// or waited for.
[[gnu::format(printf, 1, 2)]] int mfgp_execCmd(const char* format, ...);

// As mfgp_execCmd for a finished line, and tells in *succeeded whether the line exited normally
// with status 0.
int mfgp_execLine(const char* line, bool* succeeded);

// Runs one line through system(). Returns 1 when it exited normally with status 0, else 0.
int mfgp_system(const char* line);

// The reading end of a shell line's output, closed (and the line waited for) by its destructor.
class ReadPipe {
  public:
    explicit ReadPipe(const char* line);
    ~ReadPipe() { close(); }
    ReadPipe(const ReadPipe&) = delete;
    ReadPipe& operator=(const ReadPipe&) = delete;

    bool isOpen() const { return stream_ != nullptr; }

    // Reads up to maxBytes bytes in one fread; returns how many came. Nothing is terminated.
    size_t read(char* out, size_t maxBytes);

    // Reads one line with its newline into line[size], terminated; the rest of a longer one is
    // read as a next line. Returns false at the end of the output.
    bool readLine(char* line, size_t size);

    // Ends the reading early; what the line still prints is lost.
    void close();

  private:
    FILE* stream_;
};

inline constexpr int kPipeNotOpened = -1;

// Runs one shell line and reads at most maxBytes bytes of its output into out[maxBytes + 1], which
// is then terminated. Returns the number of bytes read, or kPipeNotOpened.
int mfgp_readCommand(const char* line, char* out, size_t maxBytes);
