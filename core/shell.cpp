#include "core/shell.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdlib>
#include <cstring>

#include "core/report.h"

namespace {

[[gnu::format(printf, 3, 0)]] int formatArguments(char* line, size_t size, const char* format,
                                                  va_list arguments) {
    const int length = vsnprintf(line, size, format, arguments);
    if (length >= 0 && static_cast<size_t>(length) < size)
        return 0;
    line[0] = '\0';
    return -1;
}

[[noreturn]] void becomeShell(const char* line) {
    char name[] = "sh";
    char option[] = "-c";
    char* const arguments[] = {name, option, const_cast<char*>(line), nullptr};
    char* const environment[] = {nullptr};
    execve("/bin/sh", arguments, environment);
    // _exit, so that the parent's buffered log lines are not written a second time.
    _exit(127);
}

bool exitedWithZero(int status) {
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

}  // namespace

int mfgp_formatLine(char* line, size_t size, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const int result = formatArguments(line, size, format, arguments);
    va_end(arguments);
    return result;
}

bool mfgp_isPlainText(const char* text, const char* marks) {
    for (; *text != '\0'; text++) {
        const bool letter = (*text >= 'A' && *text <= 'Z') || (*text >= 'a' && *text <= 'z');
        const bool digit = *text >= '0' && *text <= '9';
        if (!letter && !digit && strchr(marks, *text) == nullptr)
            return false;
    }
    return true;
}

int mfgp_execCmd(const char* format, ...) {
    char line[kCommandLineSize];
    va_list arguments;
    va_start(arguments, format);
    const int formatted = formatArguments(line, sizeof line, format, arguments);
    va_end(arguments);
    bool succeeded = false;
    return formatted == 0 ? mfgp_execLine(line, &succeeded) : -1;
}

int mfgp_execLine(const char* line, bool* succeeded) {
    *succeeded = false;
    mfgp_traceAt({"mfgp_execCmd", __LINE__}, "cmd: %s \r\n", line);
    const pid_t child = fork();
    if (child < 0)
        return -1;
    if (child == 0)
        becomeShell(line);
    int status = 0;
    pid_t waited = 0;
    do
        waited = waitpid(child, &status, 0);
    while (waited < 0 && errno == EINTR);
    if (waited < 0)
        return -1;
    *succeeded = exitedWithZero(status);
    return 0;
}

int mfgp_system(const char* line) {
    const int status = system(line);
    return status != -1 && exitedWithZero(status) ? 1 : 0;
}

ReadPipe::ReadPipe(const char* line) : stream_(popen(line, "r")) {
    // A tool that a later command leaves in the background must not hold this pipe.
    if (stream_ != nullptr)
        fcntl(fileno(stream_), F_SETFD, FD_CLOEXEC);
}

size_t ReadPipe::read(char* out, size_t maxBytes) {
    return fread(out, 1, maxBytes, stream_);
}

bool ReadPipe::readLine(char* line, size_t size) {
    return fgets(line, static_cast<int>(size), stream_) != nullptr;
}

void ReadPipe::close() {
    if (stream_ != nullptr)
        pclose(stream_);
    stream_ = nullptr;
}

int mfgp_readCommand(const char* line, char* out, size_t maxBytes) {
    out[0] = '\0';
    ReadPipe pipe(line);
    if (!pipe.isOpen())
        return kPipeNotOpened;
    const size_t length = pipe.read(out, maxBytes);
    out[length] = '\0';
    return static_cast<int>(length);
}
