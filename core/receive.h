#pragma once

#include "core/service_context.h"

// Receives one datagram, refreshes the payload key, checks the peer, lets the parser build the
// reply and sends it to the datagram's sender. Returns 0, the parser's error, -10301 for a packet
// from a station other than the bound one, or a transport error.
int mfgp_parserHandler(ServiceContext* ctx);
