// The Wi-Fi antenna chains: how they are switched, and how far apart they hear.
#pragma once

#include "core/service_context.h"

// 128: {"band":"B","antmode":M}, the band quoted: switches both chains of band 0 (2.4 GHz) or 1
// (5 GHz) to 1 for any mode but 0. No answer payload. Returns 0, or -10300 for another band or when
// a chain's tool could not be run; whether the radio took the value is not seen.
int mfgp2_cmd_setSmartAntenna(ServiceContext* ctx);

// 131: {"band":B,"nss":N}: takes up to N (at least one) signal strengths of the radio of band 0, 1,
// 4 or 6 and answers the spread between strongest and weakest in decimal with its terminator.
// Returns 0, or -10357 for a bad argument or when the radio cannot be asked.
int mfgp_cmd_getMaxDifferPerChain(ServiceContext* ctx);
