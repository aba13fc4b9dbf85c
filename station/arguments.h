// Argument builders of the commands that take arguments. Each turns the words behind the command's
// name into the request's payload and returns what is wrong with them, or an empty text.
#pragma once

#include <string>

#include "station/message.h"
#include "station/options.h"

namespace station {

// MAC, with colons, dashes or nothing between the bytes: six bytes.
std::string macAddress(const Words& words, Request* request);

// PIN: eight printable characters.
std::string pin(const Words& words, Request* request);

// TEXT: an identity field of 1 to 64 bytes without control characters.
std::string identityText(const Words& words, Request* request);

// REGION: the two letters of one that units can be made for.
std::string region(const Words& words, Request* request);

// JSON, or the name of a file that holds it, with or without @ in front: the text of a group object
// of at most 1,024 bytes.
std::string groupObject(const Words& words, Request* request);

// COUNT: a number of units above 0, as decimal text.
std::string unitCount(const Words& words, Request* request);

}  // namespace station
