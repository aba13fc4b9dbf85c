// The Wi-Fi antenna chains: their switches and the spread of their signal strengths.
#pragma once

#include "core/service_context.h"

// Sub-type 128. Switches both chains of band 0 (2.4 GHz) or 1 (5 GHz) to 0 for mode 0, else to 1.
// Argument: {"band":"B","antmode":M}. The answer is empty. Returns 0, or -10300 for another band or
// when a shell line could not be run. Does not check whether the radio accepted the value.
int mfgp2_cmd_setSmartAntenna(ServiceContext* ctx);

// Sub-type 131. Reads up to N signal strengths, but at least one, of the radio of band 0, 1, 4 or 6
// and answers the difference between the strongest and the weakest, in decimal with a terminator.
// Argument: {"band":B,"nss":N}. Returns 0, or -10357 for a wrong argument or when the radio's tool
// could not be run.
int mfgp_cmd_getMaxDifferPerChain(ServiceContext* ctx);
