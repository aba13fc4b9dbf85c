#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstring>

#include "core/service_context.h"
#include "core/task.h"

namespace {

void ignoreClosedLog(int) {}

// Sets up the standard streams and signals that the daemon needs.
void prepareProcess() {
    // With a closed standard stream, the next file would get its number and receive log text.
    int fd = 0;
    do
        fd = open("/dev/null", O_RDWR);
    while (fd >= 0 && fd <= STDERR_FILENO);
    if (fd > STDERR_FILENO)
        close(fd);
    // With SIGCHLD ignored, waiting for a child fails and every command would fail.
    signal(SIGCHLD, SIG_DFL);
    // A handler instead of SIG_IGN: the daemon survives when the reader of its log exits, while
    // the tools, which do not inherit the handler, still end when nobody reads their output.
    signal(SIGPIPE, ignoreClosedLog);
    // A complete log line appears at once, even in a pipe or a file.
    setvbuf(stdout, nullptr, _IOLBF, 0);
}

// Handles command-line arguments. Returns the exit code.
int explain(int argc, char** argv) {
    if (argc == 2 && strcmp(argv[1], "--version") == 0) {
        puts("mfgpd " MFGPD_VERSION);
        return 0;
    }
    fputs("mfgpd takes no arguments; see mfgpd(8)\n", stderr);
    return 2;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc > 1)
        return explain(argc, argv);
    prepareProcess();
    const int result = mfgp_sessionTableCreate();
    if (result != 0)
        return result;
    mfgp_taskEntry();
    mfgp_sessionTableFree();
    return 0;
}
