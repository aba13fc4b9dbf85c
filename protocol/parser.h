#pragma once

#include "core/service_context.h"

// Handles one version-2 request of the bound station: decodes it, lets the handler of its packet
// type fill replyBuf, encodes the reply and stores the number of bytes to send. Returns 0 or the
// encoder's error. For an unknown type, returns -1 and leaves the number at 0, so that an empty
// datagram is sent.
int mfgp_parserVerTwoOpt(ServiceContext* ctx, size_t* replyLength);
