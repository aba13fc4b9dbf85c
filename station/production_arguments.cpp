#include "station/arguments.h"

namespace station {
namespace {

// The numbers that an argument allows, from 0.
struct Range {
    const char* name;
    unsigned most;
};

constexpr unsigned kMaxByte = 255;

std::string readNumber(const Range& range, const std::string& text, unsigned* value) {
    if (parseNumber(text, range.most, value))
        return "";
    return std::string(range.name) + " '" + text + "' is not a number from 0 to " +
           std::to_string(range.most);
}

// Puts two numbers into a text with a place for each.
std::string twoNumbers(const Words& words, const Range& first, const Range& second,
                       std::string text, Request* request) {
    const Range ranges[] = {first, second};
    for (size_t i = 0; i < std::size(ranges); i++) {
        unsigned number = 0;
        std::string wrong = readNumber(ranges[i], words[i], &number);
        if (!wrong.empty())
            return wrong;
        text.replace(text.find('%'), 1, std::to_string(number));
    }
    putText(text, request);
    return "";
}

}  // namespace

std::string gear(const Words& words, Request* request) {
    unsigned number = 0;
    std::string wrong = readNumber({"GEAR", kMaxByte}, words[0], &number);
    putText(std::to_string(number), request);
    return wrong;
}

std::string fanSetting(const Words& words, Request* request) {
    return twoNumbers(words, {"--gear", kMaxByte}, {"--time", 86400}, R"({"gear":"%","time":%})",
                      request);
}

std::string smartAntenna(const Words& words, Request* request) {
    return twoNumbers(words, {"--band", kMaxByte}, {"--mode", kMaxByte},
                      R"({"band":"%","antmode":%})", request);
}

std::string rssiSpread(const Words& words, Request* request) {
    return twoNumbers(words, {"--band", kMaxByte}, {"--nss", kMaxByte}, R"({"band":%,"nss":%})",
                      request);
}

}  // namespace station
