// Datagrams told field by field, both directions, for `decode` and for --verbose.
#pragma once

#include <json-c/json.h>

#include <string>

#include "station/message.h"

namespace station {

// The fields of any datagram, however broken, as a JSON object that the caller owns. "reading" says
// whether it holds; the payload is there when its length does.
json_object* explainDatagram(const Bytes& datagram, const Key& key);

// How a datagram could be read, in words.
const char* readingText(Reading reading);

// The fields as lines of "name: value" without a line end behind the last.
std::string fieldLines(json_object* fields, const std::string& prefix = "");

// Tells of a datagram on standard error: nothing at verbosity 0, from 2 its header fields, from 3
// its plain payload and its bytes.
void traceDatagram(unsigned verbosity, const std::string& what, const Bytes& datagram,
                   const Key& key);

}  // namespace station
