// Argument builders of the commands that take arguments. Each turns the words behind the command's
// name into the request's payload and returns what is wrong with them, or an empty text.
#pragma once

#include <algorithm>
#include <string>

#include "station/message.h"
#include "station/options.h"

namespace station {

template <size_t kSize>
struct Literal {
    consteval Literal(const char (&literal)[kSize]) { std::copy_n(literal, kSize, text); }
    char text[kSize] = {};
};

// No words: the payload is the same text every time.
template <Literal kLiteral>
std::string fixedText(const Words& words, Request* request) {
    if (!words.empty())
        return "takes no arguments, but got '" + words[0] + "'";
    request->payload.assign(std::begin(kLiteral.text), std::end(kLiteral.text) - 1);
    return "";
}

// NAME of a button.
std::string button(const Words& words, Request* request);

// GEAR.
std::string gear(const Words& words, Request* request);

// The values of --gear and --time.
std::string fanSetting(const Words& words, Request* request);

// The values of --band, 0 or 1, and --mode.
std::string smartAntenna(const Words& words, Request* request);

// The values of --band, 0, 1, 4 or 6, and --nss.
std::string rssiSpread(const Words& words, Request* request);

}  // namespace station
