// Between the wire form of a packet (payload ciphered, digest in the header) and its plain form.
#pragma once

#include "core/service_context.h"

// Deciphers the request in recvBuf and checks its digest. On success recvBuf holds the plain
// request, zero behind its payload, and replyBuf a copy of it with a zeroed digest. Returns 0 or
// -10306; replyBuf then still holds a copy of the request header.
int mfgp_decode(ServiceContext* ctx);

// Gives the plain reply in replyBuf its digest, pads the payload with zero bytes to a multiple of 8
// and ciphers it; recvBuf is used up as working space. Stores the number of bytes to send. Returns
// 0, or -10307 when the padded length, computed in 32 bits, is above 44,960; the number is then
// left as it was.
int mfgp_encode(ServiceContext* ctx, size_t* replyLength);
