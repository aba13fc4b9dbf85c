// Datagrams explained field by field, in both directions, for `decode` and --verbose.
#pragma once

#include <string>

#include "station/values.h"

namespace station {

// Returns the fields of any datagram, even of a broken one. The field "reading" says whether the
// datagram is complete. The payload is included if the digest is right.
Record explainDatagram(const Bytes& datagram, const Key& key);

// Returns the same fields without the payload.
Record headerFields(const Bytes& datagram, const Key& key);

// Returns in words how a datagram was decoded.
const char* decodeStatusText(DecodeStatus status);

// Prints a datagram on standard error: nothing at verbosity 0, from 2 its header fields, from 3 its
// plain payload and its bytes.
void traceDatagram(unsigned verbosity, const std::string& what, const Bytes& datagram,
                   const Key& key);

}  // namespace station
