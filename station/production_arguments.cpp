#include "station/production_arguments.h"

#include <strings.h>

namespace station {
namespace {

constexpr unsigned kMaxByte = 255;
constexpr unsigned kMaxSeconds = 86400;

void putText(const std::string& text, Request* request) {
    request->payload.assign(text.begin(), text.end());
}

std::string readNumber(const char* name, const std::string& text, unsigned limit, unsigned* value) {
    if (parseNumber(text, limit, value))
        return "";
    return std::string(name) + " '" + text + "' is not a number from 0 to " + std::to_string(limit);
}

// Reads a band that is one of the known ones.
std::string readBand(const std::string& text, std::initializer_list<unsigned> known,
                     unsigned* band) {
    if (parseNumber(text, kMaxByte, band) &&
        std::find(known.begin(), known.end(), *band) != known.end())
        return "";
    std::string bands;
    for (const unsigned one : known)
        bands.append(" ").append(std::to_string(one));
    return "--band '" + text + "' is none of" + bands;
}

}  // namespace

std::string button(const Words& words, Request* request) {
    if (words.size() != 1)
        return "takes one NAME";
    for (const char* known : {"wifi", "reset", "wps"}) {
        if (strcasecmp(words[0].c_str(), known) != 0)
            continue;
        putText(words[0], request);
        return "";
    }
    return "NAME '" + words[0] + "' is none of wifi reset wps";
}

std::string gear(const Words& words, Request* request) {
    if (words.size() != 1)
        return "takes one GEAR";
    unsigned number = 0;
    std::string wrong = readNumber("GEAR", words[0], kMaxByte, &number);
    putText(std::to_string(number), request);
    return wrong;
}

std::string fanSetting(const Words& words, Request* request) {
    if (words.size() != 2)
        return "takes --gear and --time alone";
    unsigned number = 0;
    unsigned seconds = 0;
    std::string wrong = readNumber("--gear", words[0], kMaxByte, &number);
    if (wrong.empty())
        wrong = readNumber("--time", words[1], kMaxSeconds, &seconds);
    putText(
        "{\"gear\":\"" + std::to_string(number) + "\",\"time\":" + std::to_string(seconds) + "}",
        request);
    return wrong;
}

std::string smartAntenna(const Words& words, Request* request) {
    if (words.size() != 2)
        return "takes --band and --mode alone";
    unsigned band = 0;
    unsigned mode = 0;
    std::string wrong = readBand(words[0], {0, 1}, &band);
    if (wrong.empty())
        wrong = readNumber("--mode", words[1], kMaxByte, &mode);
    putText("{\"band\":\"" + std::to_string(band) + "\",\"antmode\":" + std::to_string(mode) + "}",
            request);
    return wrong;
}

std::string rssiSpread(const Words& words, Request* request) {
    if (words.size() != 2)
        return "takes --band and --nss alone";
    unsigned band = 0;
    unsigned nss = 0;
    std::string wrong = readBand(words[0], {0, 1, 4, 6}, &band);
    if (wrong.empty())
        wrong = readNumber("--nss", words[1], kMaxByte, &nss);
    putText("{\"band\":" + std::to_string(band) + ",\"nss\":" + std::to_string(nss) + "}", request);
    return wrong;
}

}  // namespace station
