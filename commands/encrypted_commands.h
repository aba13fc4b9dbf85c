#pragma once

#include "core/service_context.h"

// Serves an encrypted command (type 7), a packet whose payload is a 12-byte inner header and an
// inner payload: points the command block at them, prepares both reply headers, refuses gated
// sub-types outside produce mode and runs the inner sub-type's handler. An unknown one gets inner
// and outer reply info 5. Returns the handler's result, -10300 for a refusal, 0 for an unknown
// sub-type.
int mfgp_cmd_encCmd(ServiceContext* ctx);

// Fills the inner reply header of an encrypted command that was refused outside produce mode.
void mfgp_encCmd_replyRefused(ServiceContext* ctx);
