// Lines of a batch or of an operator, read without ever waiting longer than told.
#pragma once

#include <unistd.h>

#include <string>

#include "station/options.h"

namespace station {

struct LineReader {
    int fd = STDIN_FILENO;
    std::string ahead = {};  // read but not yet given out
};

enum class LineEvent { Line, End, TimedOut, Interrupted, Fault };

// Takes the next line without its line end. Negative milliseconds: waits without end. Of a Fault
// errno tells; a line of more than 65,536 bytes is one (EMSGSIZE).
LineEvent nextLine(LineReader* reader, int milliseconds, std::string* line);

// Splits a line into words: blanks part them; in single quotes all stands for itself, in double
// quotes and outside a backslash takes its meaning from the next character; # where a word would
// begin starts a comment. Returns what is wrong, or an empty text.
std::string splitWords(const std::string& line, Words* words);

}  // namespace station
