// Lines of a batch or of an operator, read with a timeout.
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

// Reads the next line without its line end. Waits without a limit if milliseconds is negative. On
// Fault, errno holds the cause (EMSGSIZE for a line longer than 65,536 bytes).
LineEvent nextLine(LineReader* reader, int milliseconds, std::string* line);

// Splits a line into words at blanks. Single quotes keep every character. In double quotes and
// outside of quotes, a backslash keeps the next character, and ${NAME} is replaced by the last
// variable of that name, or else by the environment variable. The value is not split. A # at the
// start of a word begins a comment. Returns an error message, or an empty text.
std::string splitWords(const std::string& line, const NamedValues& variables, Words* words);

}  // namespace station
