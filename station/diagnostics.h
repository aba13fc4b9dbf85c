// Output on standard error: error messages, notes and the progress line.
#pragma once

#include <string>

namespace station {

// Prints a line that begins with the program's name.
void say(const std::string& text);

// Replaces the progress line with the text. Does nothing if standard error is not a terminal.
void showProgress(const std::string& text);

// Removes the progress line, so that a result can be printed.
void clearProgress();

}  // namespace station
