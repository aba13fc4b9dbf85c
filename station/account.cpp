#include "station/account.h"

#include <sys/stat.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <sstream>

#include "core/file.h"
#include "station/diagnostics.h"

namespace station {
namespace {

// Far above any account or group object: what is longer is another file, or a device without end.
constexpr size_t kMostFileBytes = 65536;

void warn(const Options& options, const std::string& text) {
    if (!options.quiet)
        say("warning: " + text);
}

Outcome readAccountFile(const Options& options, std::string* user, std::string* password) {
    const std::string& name = options.accountFile;
    warnOfReaders(options, name);
    std::string text;
    std::string wrong = readFile(name, &text);
    if (!wrong.empty())
        return {kExitLocalFault, wrong};
    std::istringstream lines(text);
    std::getline(lines, *user);
    const bool hasPassword = !std::getline(lines, *password).fail();
    for (std::string* line : {user, password})
        if (line->ends_with('\r'))
            line->pop_back();
    std::string more;
    if (!hasPassword || lines >> more)
        return {kExitUsage, "'" + name + "' is not two lines, the user name and then the password"};
    return {kExitDone, ""};
}

// Reads a line from the terminal without showing it, if there is a terminal.
void askPassword(const std::string& user, std::string* password) {
    termios shown = {};
    if (isatty(STDERR_FILENO) == 0 || tcgetattr(STDIN_FILENO, &shown) != 0)
        return;
    termios hidden = shown;
    hidden.c_lflag &= ~static_cast<tcflag_t>(ECHO);
    fprintf(stderr, "password of %s: ", user.c_str());
    tcsetattr(STDIN_FILENO, TCSAFLUSH, &hidden);
    std::getline(std::cin, *password);
    tcsetattr(STDIN_FILENO, TCSAFLUSH, &shown);
    fputc('\n', stderr);
}

}  // namespace

Outcome loadAccount(Options* options) {
    if (options->passwordTyped)
        warn(*options,
             "other users can read a password on the command line; MFGP_PASSWORD and "
             "--account-file keep it private");
    std::string user = environmentText("MFGP_USER");
    std::string password = environmentText("MFGP_PASSWORD");
    if (!options->accountFile.empty()) {
        const Outcome read = readAccountFile(*options, &user, &password);
        if (read.code != kExitDone)
            return {read.code, "--account-file: " + read.message};
    }
    options->user = options->user.value_or(user);
    if (!options->password && password.empty() && !options->user->empty())
        askPassword(*options->user, &password);
    options->password = options->password.value_or(password);
    return {kExitDone, ""};
}

void warnOfReaders(const Options& options, const std::string& file) {
    struct stat status = {};
    if (stat(file.c_str(), &status) == 0 && (status.st_mode & (S_IRGRP | S_IROTH)) != 0)
        warn(options, "other users can read '" + file + "' (chmod 600 keeps it private)");
}

std::string environmentText(const char* name) {
    const char* const text = getenv(name);
    return text != nullptr ? text : "";
}

std::string readFile(const std::string& name, std::string* text) {
    const File file(fopen(name.c_str(), "rb"));
    text->clear();
    for (int byte = 0; file && text->size() <= kMostFileBytes && (byte = getc(file.get())) != EOF;)
        text->push_back(static_cast<char>(byte));
    const bool isLong = text->size() > kMostFileBytes;
    if (isLong)
        errno = EFBIG;
    if (!file || isLong || ferror(file.get()) != 0)
        return "cannot read '" + name + "': " + strerror(errno);
    return "";
}

}  // namespace station
