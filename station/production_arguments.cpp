#include "station/arguments.h"

#include <strings.h>

namespace station {
namespace {

// The numbers that an argument allows.
struct Range {
    const char* name;
    unsigned most;
    unsigned known;  // one bit for each number that is allowed, 0: all are
};

constexpr unsigned kMaxByte = 255;
constexpr unsigned kChainBands = 0b11;        // 0 and 1
constexpr unsigned kRadioBands = 0b01010011;  // 0, 1, 4 and 6

std::string readNumber(const Range& range, const std::string& text, unsigned* value) {
    const bool isInRange = parseNumber(text, range.most, value);
    if (isInRange && (range.known == 0 || (range.known >> *value & 1) != 0))
        return "";
    const std::string given = std::string(range.name) + " '" + text + "' is ";
    if (range.known == 0)
        return given + "not a number from 0 to " + std::to_string(range.most);
    std::string known;
    for (unsigned one = 0; one <= range.most; one++)
        if ((range.known >> one & 1) != 0)
            known.append(" ").append(std::to_string(one));
    return given + "none of" + known;
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

std::string button(const Words& words, Request* request) {
    for (const char* known : {"wifi", "reset", "wps"}) {
        if (strcasecmp(words[0].c_str(), known) != 0)
            continue;
        putText(words[0], request);
        return "";
    }
    return "NAME '" + words[0] + "' is none of wifi reset wps";
}

std::string gear(const Words& words, Request* request) {
    unsigned number = 0;
    std::string wrong = readNumber({"GEAR", kMaxByte, 0}, words[0], &number);
    putText(std::to_string(number), request);
    return wrong;
}

std::string fanSetting(const Words& words, Request* request) {
    return twoNumbers(words, {"--gear", kMaxByte, 0}, {"--time", 86400, 0},
                      R"({"gear":"%","time":%})", request);
}

std::string smartAntenna(const Words& words, Request* request) {
    return twoNumbers(words, {"--band", 7, kChainBands}, {"--mode", kMaxByte, 0},
                      R"({"band":"%","antmode":%})", request);
}

std::string rssiSpread(const Words& words, Request* request) {
    return twoNumbers(words, {"--band", 7, kRadioBands}, {"--nss", kMaxByte, 0},
                      R"({"band":%,"nss":%})", request);
}

}  // namespace station
