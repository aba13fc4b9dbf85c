// What commands with arguments of their own make of their words. Each builder returns what is wrong
// with the words, or an empty text.
#pragma once

#include <string>

#include "station/message.h"
#include "station/options.h"

namespace station {

// VALUE: a whole number, the module's test mode.
std::string ftmValue(const Words& words, Request* request);

// MODULE NAME=VALUE...: the fields of the module's antenna test, each once and in any order. One
// TEXT alone is sent as it is.
std::string antennaFields(const Words& words, Request* request);

// IMEI: what the unit takes, at most 15 characters and none that its shell could act on.
std::string imeiText(const Words& words, Request* request);

// CHARACTER: one letter or digit.
std::string antennaCharacter(const Words& words, Request* request);

}  // namespace station
