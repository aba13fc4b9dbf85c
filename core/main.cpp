#include <csignal>
#include <cstdio>

#include "core/service_context.h"
#include "core/task.h"

namespace {

void outliveLogReader(int) {}

}  // namespace

int main() {
    // A handler and not SIG_IGN: the tools behind a pipe, which do not inherit it, still end when
    // nobody reads them.
    signal(SIGPIPE, outliveLogReader);
    // Log lines appear as they happen, also into a pipe or a file.
    setvbuf(stdout, nullptr, _IOLBF, 0);
    const int result = mfgp_sessionTableCreate();
    if (result != 0)
        return result;
    mfgp_taskEntry();
    mfgp_sessionTableFree();
    return 0;
}
