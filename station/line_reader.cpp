#include "station/line_reader.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>

#include "station/interrupt.h"

namespace station {
namespace {

constexpr size_t kMostLineBytes = 65536;  // more than any packet needs; stops at an endless line

bool isBlank(char character) { return character == ' ' || character == '\t'; }

bool extractLine(LineReader* reader, std::string* line) {
    const size_t end = reader->ahead.find('\n');
    if (end == std::string::npos)
        return false;
    *line = reader->ahead.substr(0, end);
    reader->ahead.erase(0, end + 1);
    if (line->ends_with('\r'))
        line->pop_back();
    return true;
}

// Appends the value of the ${NAME} at *at, and moves *at to its end. Returns false if the variable
// is not defined.
bool readVariable(const std::string& line, const NamedValues& variables, size_t* at,
                  std::string* word) {
    const size_t end = std::min(line.find('}', *at), line.size());
    const std::string name = line.substr(*at + 2, end - *at - 2);
    const auto set =
        std::ranges::find(variables.rbegin(), variables.rend(), name, &NamedValue::name);
    const char* const value = set != variables.rend() ? set->value.c_str() : getenv(name.c_str());
    *word = value != nullptr ? *word + value : name;
    *at = end;
    return value != nullptr;
}

// Reads one word that begins at *at. Returns what is wrong with it, or an empty text.
std::string readWord(const std::string& line, const NamedValues& variables, size_t* at,
                     std::string* word) {
    char quote = 0;
    for (; *at < line.size() && (quote != 0 || !isBlank(line[*at])); ++*at) {
        const char character = line[*at];
        if (character == quote)
            quote = 0;
        else if (quote == 0 && (character == '\'' || character == '"'))
            quote = character;
        else if (quote != '\'' && line.compare(*at, 2, "${") == 0) {
            if (!readVariable(line, variables, at, word))
                return "${" + *word + "} is not defined (--set " + *word + "=VALUE defines it)";
        } else if (character == '\\' && quote != '\'' && *at + 1 < line.size())
            *word += line[++*at];
        else
            *word += character;
    }
    return quote == 0 ? "" : "a quote is not closed";
}

}  // namespace

LineEvent nextLine(LineReader* reader, int milliseconds, std::string* line) {
    std::array<char, 4096> part = {};
    while (!extractLine(reader, line)) {
        if (reader->ahead.size() > kMostLineBytes) {
            errno = EMSGSIZE;
            return LineEvent::Fault;
        }
        const int error = waitReadable(reader->fd, milliseconds);
        if (error == EAGAIN)
            return LineEvent::TimedOut;
        if (error != 0) {
            errno = error;
            return error == EINTR ? LineEvent::Interrupted : LineEvent::Fault;
        }
        const ssize_t length = read(reader->fd, part.data(), part.size());
        if (length < 0 && errno != EINTR)
            return LineEvent::Fault;
        if (length == 0 && reader->ahead.empty())
            return LineEvent::End;
        if (length == 0)
            reader->ahead += '\n';  // the last line has no newline
        else if (length > 0)
            reader->ahead.append(part.data(), static_cast<size_t>(length));
    }
    return LineEvent::Line;
}

std::string splitWords(const std::string& line, const NamedValues& variables, Words* words) {
    if (line.find('\0') != std::string::npos)
        return "the line holds a zero byte";
    for (size_t at = 0; at < line.size();) {
        if (isBlank(line[at])) {
            at++;
            continue;
        }
        if (line[at] == '#')
            break;
        words->emplace_back();
        std::string wrong = readWord(line, variables, &at, &words->back());
        if (!wrong.empty())
            return wrong;
    }
    return "";
}

}  // namespace station
