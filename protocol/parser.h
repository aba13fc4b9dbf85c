#pragma once

#include "core/service_context.h"

// Handles one version-2 request of an accepted station: decodes it, lets its packet type's handler
// fill replyBuf and encodes the reply. Stores the number of bytes to send. Returns 0, -1 for an
// unknown type (nothing is encoded, so an empty datagram goes out) or the encoder's error.
int mfgp_parserVerTwoOpt(ServiceContext* ctx, size_t* replyLength);

// Set configuration: prints the request's text and stores nothing. Returns 0.
int mfgp_cmd_setCfg(ServiceContext* ctx);

// Get configuration: answers the fixed LAN address. Returns 0.
int mfgp_cmd_getCfg(ServiceContext* ctx);
