#include "station/diagnostics.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>

namespace station {
namespace {

size_t progressLines = 0;

}  // namespace

void say(const std::string& text) {
    clearProgress();
    fflush(stdout);  // keeps the order if both streams go to the same terminal or file
    fprintf(stderr, "mfgp-station: %s\n", text.c_str());
}

void showProgress(const std::string& text) {
    if (isatty(STDERR_FILENO) == 0)
        return;
    clearProgress();
    fputs(text.c_str(), stderr);
    progressLines = 1 + static_cast<size_t>(std::ranges::count(text, '\n'));
}

void clearProgress() {
    if (progressLines > 1)
        fprintf(stderr, "\033[%zuA", progressLines - 1);
    if (progressLines > 0)
        fputs("\r\033[J", stderr);
    progressLines = 0;
}

}  // namespace station
