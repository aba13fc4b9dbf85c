#pragma once

#include "core/service_context.h"

// Receives one datagram, refreshes the payload key, checks the peer, runs the parser and sends the
// reply to the datagram's sender. Returns 0, the parser's error, -10301 for a packet from a station
// other than the bound one, or a transport error.
int mfgp_parserHandler(ServiceContext* ctx);
