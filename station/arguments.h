// The arguments of commands: the forms that the rows of the command table name, and builders for
// the payloads that are not simply the text of the arguments.
#pragma once

#include <string>

#include "station/message.h"
#include "station/options.h"

namespace station {

// Checks an argument by its form in the row, such as "PIN" or "wifi|reset|wps". Rewrites a number
// in decimal, and one of several words in the row's spelling. An unknown form allows any text.
// Returns an error message, or an empty text.
std::string checkArgument(const std::string& form, std::string* argument);

// Returns the words that an argument of this form can be. Empty if the form allows other words.
Words choicesOf(const std::string& form);

// Returns the words that can follow these arguments of an antenna test: modules, or fields.
Words antennaNames(const Words& before);

// Builders. Each builds the payload, and returns an error message, or an empty text.

// Writes six bytes. Refuses a multicast or all-zero address.
std::string macAddress(const Words& words, Request* request);

// Checks the JSON object of a group, of at most 1,024 bytes.
std::string groupObject(const Words& words, Request* request);

// Takes the module and the fields of its antenna test, each once and in any order.
std::string antennaFields(const Words& words, Request* request);

// Checks that an IMEI has 15 digits, and the check digit unless a second word is given. The unit
// accepts any text, but only once while its daemon runs.
std::string imei(const Words& words, Request* request);

// Takes packet type, sub-type and the payload in hexadecimal.
std::string rawPacket(const Words& words, Request* request);

}  // namespace station
