#include "station/account.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <sstream>

#include "core/file.h"
#include "station/diagnostics.h"

namespace station {
namespace {

void warn(const Options& options, const std::string& text) {
    if (!options.quiet)
        say("warning: " + text);
}

std::string readAccountFile(const Options& options, std::string* user, std::string* password) {
    const std::string& name = options.accountFile;
    struct stat status = {};
    if (stat(name.c_str(), &status) == 0 && (status.st_mode & (S_IRGRP | S_IROTH)) != 0)
        warn(options, "other users can read '" + name + "' (chmod 600 keeps it private)");
    std::string text;
    std::string wrong = readFile(name, &text);
    if (!wrong.empty())
        return wrong;
    std::istringstream lines(text);
    std::getline(lines, *user);
    std::getline(lines, *password);
    for (std::string* line : {user, password})
        if (line->ends_with('\r'))
            line->pop_back();
    std::string more;
    return std::getline(lines, more) ? "'" + name + "' has more than two lines" : "";
}

std::string environmentText(const char* name) {
    const char* const text = getenv(name);
    return text != nullptr ? text : "";
}

}  // namespace

std::string loadAccount(Options* options) {
    if (options->passwordTyped)
        warn(*options,
             "other users can read a password on the command line; MFGP_PASSWORD and "
             "--account-file keep it private");
    std::string user = environmentText("MFGP_USER");
    std::string password = environmentText("MFGP_PASSWORD");
    if (!options->accountFile.empty()) {
        std::string wrong = readAccountFile(*options, &user, &password);
        if (!wrong.empty())
            return "--account-file: " + wrong;
    }
    options->user = options->user.value_or(user);
    options->password = options->password.value_or(password);
    return "";
}

std::string readFile(const std::string& name, std::string* text) {
    const File file(fopen(name.c_str(), "rb"));
    text->clear();
    for (int byte = 0; file && (byte = getc(file.get())) != EOF;)
        text->push_back(static_cast<char>(byte));
    if (!file || ferror(file.get()) != 0)
        return "cannot read '" + name + "': " + strerror(errno);
    while (!text->empty() && (text->back() == '\n' || text->back() == '\r'))
        text->pop_back();
    return "";
}

}  // namespace station
