// Replaces libFuzzer with other compilers: fuzz_TARGET FOLDER [allocations]
// Runs the inputs in the folder. With `allocations`, an input runs once for each allocation of the
// product, and this allocation fails. Prints the frames of a crash. The scripted unit uses operator
// new, which does not fail.
#include <execinfo.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "tests/fuzz/fuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

static constexpr long kNever = 1L << 40;
static long left = kNever;  // allocations until the one that fails

#ifndef __SANITIZE_ADDRESS__
extern "C" {
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* block, size_t size);
void* malloc(size_t size) { return left-- == 0 ? nullptr : __libc_malloc(size); }
void* calloc(size_t nmemb, size_t size) {
    return left-- == 0 ? nullptr : __libc_calloc(nmemb, size);
}
void* realloc(void* ptr, size_t size) { return left-- == 0 ? nullptr : __libc_realloc(ptr, size); }
}
void* operator new(size_t size) { return __libc_malloc(size); }
#endif

static void showCrash(int) {
    void* frames[8];
    dprintf(STDERR_FILENO, "crash:\n");
    backtrace_symbols_fd(frames, backtrace(frames, 8), STDERR_FILENO);
    _exit(1);
}

static void failEach(const std::string& input) {
    answerOf(input);  // fills the C library's own buffers
    left = kNever;
    answerOf(input);
    const long count = kNever - left;
    for (long failing = 0; failing < count; failing++) {
        if (fork() == 0) {
            signal(SIGSEGV, showCrash);
            signal(SIGABRT, showCrash);
            left = failing;
            answerOf(input);
            _exit(0);
        }
        wait(nullptr);
    }
    dprintf(STDERR_FILENO, "%ld allocations failed\n", count);
}

int main(int count, char** words) {
    long inputs = 0;
    for (const auto& entry : std::filesystem::directory_iterator(words[1])) {
        fprintf(stderr, "%s\n", entry.path().c_str());
        std::ifstream file(entry.path(), std::ios::binary);
        const std::string input{std::istreambuf_iterator<char>(file), {}};
        if (count > 2)
            failEach(input);
        else
            LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(input.data()), input.size());
        inputs++;
    }
    return inputs > 0 ? 0 : 1;
}
