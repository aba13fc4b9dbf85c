#include "station/line_reader.h"

#include <array>
#include <cerrno>

#include "station/interrupt.h"

namespace station {
namespace {

constexpr size_t kMostLineBytes = 65536;  // no packet takes as much; a device may have no line end

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

// Reads one word that begins at *at. Returns false when a quote is not closed.
bool readWord(const std::string& line, size_t* at, std::string* word) {
    char quote = 0;
    for (; *at < line.size() && (quote != 0 || !isBlank(line[*at])); ++*at) {
        const char character = line[*at];
        if (character == quote)
            quote = 0;
        else if (quote == 0 && (character == '\'' || character == '"'))
            quote = character;
        else if (character == '\\' && quote != '\'' && *at + 1 < line.size())
            *word += line[++*at];
        else
            *word += character;
    }
    return quote == 0;
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
            reader->ahead += '\n';  // the last line has no end of its own
        else if (length > 0)
            reader->ahead.append(part.data(), static_cast<size_t>(length));
    }
    return LineEvent::Line;
}

std::string splitWords(const std::string& line, Words* words) {
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
        if (!readWord(line, &at, &words->back()))
            return "a quote is not closed";
    }
    return "";
}

}  // namespace station
