// Converts packets between the wire form (ciphered payload, digest in the header) and plain text.
#pragma once

#include "core/service_context.h"

// Deciphers the request in recvBuf and checks its digest. On success recvBuf holds the plain
// request followed by zeros, and replyBuf holds a copy with a zeroed digest. Returns 0, or -10306
// for a wrong digest or a length that cannot be deciphered. recvBuf then still holds the request
// header.
int mfgp_decode(ServiceContext* ctx);

// Pads the payload in replyBuf with zero bytes to a multiple of 8, writes the digest, ciphers the
// payload and stores the number of bytes to send. Overwrites recvBuf, which is its working space.
// Returns 0, or -10307 when the padded length, computed in 32 bits, is above 44,960. On a
// failure the number is unchanged.
int mfgp_encode(ServiceContext* ctx, size_t* replyLength);
