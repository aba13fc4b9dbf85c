// Argument builders of the commands that take arguments. Each builds the request's payload from the
// words after the command's name and returns an error message, or an empty text. The number of
// words is the one that the command's row names.
#pragma once

#include <string>

#include "station/message.h"
#include "station/options.h"

namespace station {

// MAC of one station, with colons, dashes or nothing between the bytes: six bytes.
std::string macAddress(const Words& words, Request* request);

// PIN: eight printable characters.
std::string pin(const Words& words, Request* request);

// TEXT: an identity field of 1 to 64 bytes without control characters.
std::string identityText(const Words& words, Request* request);

// Returns the regions that units can be made for.
Words regionNames();

// REGION: the two letters of one that units can be made for.
std::string region(const Words& words, Request* request);

// JSON: the text of a group object of at most 1,024 bytes.
std::string groupObject(const Words& words, Request* request);

// COUNT: a number of units above 0, as decimal text.
std::string unitCount(const Words& words, Request* request);

// VALUE: a whole number, the module's test mode.
std::string ftmValue(const Words& words, Request* request);

// Returns the words that can follow these arguments of an antenna test: modules, or fields.
Words antennaNames(const Words& before);

// MODULE NAME=VALUE...: the fields of the module's antenna test, each once and in any order.
std::string antennaFields(const Words& words, Request* request);

// IMEI: 15 digits, the last of which is the check digit unless a second word is given. The unit
// takes other texts too, but one write alone in a run of its daemon.
std::string imei(const Words& words, Request* request);

// CHARACTER: one letter or digit.
std::string antennaCharacter(const Words& words, Request* request);

// GEAR.
std::string gear(const Words& words, Request* request);

// The values of --gear and --time.
std::string fanSetting(const Words& words, Request* request);

// The values of --band and --mode.
std::string smartAntenna(const Words& words, Request* request);

// The values of --band and --nss.
std::string rssiSpread(const Words& words, Request* request);

}  // namespace station
