#include "station/diagnostics.h"

#include <unistd.h>

#include <cstdio>

namespace station {
namespace {

bool progressShown = false;

}  // namespace

void say(const std::string& text) {
    clearProgress();
    fflush(stdout);  // what was printed before comes first where both go to one place
    fprintf(stderr, "mfgp-station: %s\n", text.c_str());
}

void showProgress(const std::string& text) {
    if (isatty(STDERR_FILENO) == 0)
        return;
    fprintf(stderr, "\r%s\033[K", text.c_str());
    progressShown = true;
}

void clearProgress() {
    if (progressShown)
        fputs("\r\033[K", stderr);
    progressShown = false;
}

}  // namespace station
