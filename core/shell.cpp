#include "core/shell.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdlib>
#include <cstring>

#include "core/report.h"

// musl does not declare it for POSIX.1-2008.
extern char** environ;  // NOLINT(readability-redundant-declaration)

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

// Waits for the child. Returns 0 when it has ended, or -1 when it cannot be waited for.
int awaitShell(pid_t child) {
    pid_t waited = 0;
    do
        waited = waitpid(child, nullptr, 0);
    while (waited < 0 && errno == EINTR);
    return waited < 0 ? -1 : 0;
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
    return awaitShell(child);
}

int mfgp_system(const char* line) {
    const int status = system(line);
    return status != -1 && WIFEXITED(status) && WEXITSTATUS(status) == 0 ? 1 : 0;
}

ReadPipe::ReadPipe(const char* line) {
    int ends[2];
    if (pipe(ends) != 0)
        return;
    for (const int end : ends)
        fcntl(end, F_SETFD, FD_CLOEXEC);
    char name[] = "sh";
    char noFileNames[] = "-f";
    char option[] = "-c";
    char* const arguments[] = {name, noFileNames, option, const_cast<char*>(line), nullptr};
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
    const int error = posix_spawn(&child_, "/bin/sh", &actions, nullptr, arguments, environ);
    posix_spawn_file_actions_destroy(&actions);
    close(ends[1]);
    stream_ = error == 0 ? fdopen(ends[0], "r") : nullptr;
    if (stream_ == nullptr)
        close(ends[0]);
    if (error != 0) {
        child_ = -1;
        errno = error;
    }
}

ReadPipe::~ReadPipe() {
    if (stream_ != nullptr)
        fclose(stream_);
    if (child_ != -1)
        awaitShell(child_);
}

size_t ReadPipe::read(std::span<char> out) { return fread(out.data(), 1, out.size(), stream_); }

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
