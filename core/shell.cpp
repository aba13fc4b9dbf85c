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

[[gnu::format(printf, 2, 0)]] int formatArguments(std::span<char> line, const char* format,
                                                  va_list arguments) {
    const int length = vsnprintf(line.data(), line.size(), format, arguments);
    if (length >= 0 && static_cast<size_t>(length) < line.size())
        return 0;
    line[0] = '\0';
    return -1;
}

[[noreturn]] void becomeShell(char* line) {
    char name[] = "sh";
    char option[] = "-c";
    char* const arguments[] = {name, option, line, nullptr};
    char* const environment[] = {nullptr};
    execve("/bin/sh", arguments, environment);
    // _exit, because exit would write the parent's buffered log lines a second time.
    _exit(127);
}

}  // namespace

int mfgp_formatLine(std::span<char> line, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const int result = formatArguments(line, format, arguments);
    va_end(arguments);
    return result;
}

bool mfgp_isPlainText(const char* text) {
    for (; *text != '\0'; text++) {
        const bool letter = (*text >= 'A' && *text <= 'Z') || (*text >= 'a' && *text <= 'z');
        const bool digit = *text >= '0' && *text <= '9';
        if (!letter && !digit && strchr("%+,-./:=@^_", *text) == nullptr)
            return false;
    }
    return true;
}

int mfgp_execCmd(const char* format, ...) {
    char line[kCommandLineSize];
    va_list arguments;
    va_start(arguments, format);
    const int formatted = formatArguments(line, format, arguments);
    va_end(arguments);
    if (formatted != 0)
        return -1;
    MFGP_TRACE("cmd: %s \r\n", line);
    const pid_t child = fork();
    if (child < 0)
        return -1;
    if (child == 0)
        becomeShell(line);
    pid_t waited = 0;
    do
        waited = waitpid(child, nullptr, 0);
    while (waited < 0 && errno == EINTR);
    return waited < 0 ? -1 : 0;
}

int mfgp_system(const char* line) {
    const int status = system(line);
    return status != -1 && WIFEXITED(status) && WEXITSTATUS(status) == 0 ? 1 : 0;
}

ReadPipe::ReadPipe(const char* line) : stream_(popen(line, "r")) {
    // A background program of a later command must not inherit this pipe.
    if (stream_ != nullptr)
        fcntl(fileno(stream_), F_SETFD, FD_CLOEXEC);
}

ReadPipe::~ReadPipe() {
    if (stream_ != nullptr)
        pclose(stream_);
}

size_t ReadPipe::read(std::span<char> out) {
    return fread(out.data(), 1, out.size(), stream_);
}

bool ReadPipe::readLine(std::span<char> line) {
    return fgets(line.data(), static_cast<int>(line.size()), stream_) != nullptr;
}

int mfgp_readCommand(const char* line, std::span<char> text) {
    text[0] = '\0';
    ReadPipe pipe(line);
    if (!pipe.isOpen())
        return kPipeNotOpened;
    const size_t length = pipe.read(text.first(text.size() - 1));
    text[length] = '\0';
    return static_cast<int>(length);
}
