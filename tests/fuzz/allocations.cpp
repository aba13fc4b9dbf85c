// Runs an input once for each allocation that the daemon makes for it, and lets this allocation
// fail. Prints the frames of a crash. The scripted unit uses operator new, which does not fail.
#include <execinfo.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <new>
#include <utility>

#include "tests/fuzz/fuzz.h"

extern "C" {
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* block, size_t size);
}

namespace {

constexpr long kNever = 1L << 40;
long left = kNever;  // allocations until the one that fails

bool fails() { return left-- == 0; }

long allocationsOf(std::string_view input, long failing) {
    left = failing;
    answerOf(input);
    return failing - std::exchange(left, kNever);
}

void showCrash(int signal) {
    void* frames[8];
    const int count = backtrace(frames, 8);
    dprintf(STDERR_FILENO, "crash with signal %d:\n", signal);
    backtrace_symbols_fd(frames, count, STDERR_FILENO);
    _exit(1);
}

}  // namespace

extern "C" {
void* malloc(size_t size) { return fails() ? nullptr : __libc_malloc(size); }
void* calloc(size_t count, size_t size) { return fails() ? nullptr : __libc_calloc(count, size); }
void* realloc(void* old, size_t size) { return fails() ? nullptr : __libc_realloc(old, size); }
}
void* operator new(size_t size) { return __libc_malloc(size); }

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    allocationsOf(input, kNever);  // fills the C library's own buffers
    const long count = allocationsOf(input, kNever);
    for (long failing = 0; failing < count; failing++) {
        const pid_t child = fork();
        if (child == 0) {
            signal(SIGSEGV, showCrash);
            signal(SIGABRT, showCrash);
            allocationsOf(input, failing);
            _exit(0);
        }
        waitpid(child, nullptr, 0);
    }
    dprintf(STDERR_FILENO, "%ld allocations failed\n", count);
    return 0;
}
