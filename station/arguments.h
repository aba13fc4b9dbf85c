// The arguments of commands: the forms that the rows of the command table name, and the builders of
// the payloads that are more than the arguments' text.
#pragma once

#include <string>

#include "station/message.h"
#include "station/options.h"

namespace station {

// Checks an argument by its form in the row, such as "PIN" or "wifi|reset|wps". Gives a number its
// decimal form, and one of several words its spelling in the row. Returns what is wrong, or an
// empty text. An unknown form allows any text.
std::string checkArgument(const std::string& form, std::string* argument);

// Returns the words that an argument of this form can be. Empty if it can be others.
Words choicesOf(const std::string& form);

// Returns the words that can follow these arguments of an antenna test: modules, or fields.
Words antennaNames(const Words& before);

// Builders: each builds the payload from all arguments. Returns an error message, or an empty text.

// MAC address of one station: six bytes.
std::string macAddress(const Words& words, Request* request);

// The text of a group object of at most 1,024 bytes.
std::string groupObject(const Words& words, Request* request);

// The module and the fields of its antenna test, each once and in any order.
std::string antennaFields(const Words& words, Request* request);

// IMEI: 15 digits, the last of which is the check digit unless a second word is given. The unit
// takes other texts too, but one write alone in a run of its daemon.
std::string imei(const Words& words, Request* request);

// Packet type, sub-type and the bytes in hexadecimal.
std::string rawPacket(const Words& words, Request* request);

}  // namespace station
