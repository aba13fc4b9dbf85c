// What goes to standard error: complaints, notes and the progress line.
#pragma once

#include <string>

namespace station {

// Prints a line with the program's name in front.
void say(const std::string& text);

// Shows the text in place of the progress line before it. Does nothing where standard error is no
// terminal.
void showProgress(const std::string& text);

// Takes the progress line away, so that a result can be printed.
void clearProgress();

}  // namespace station
