#pragma once

#include "core/service_context.h"

// Serves a special command (type 3): logs it, refuses a gated sub-type outside produce mode, or
// runs the handler. For an unknown sub-type the reply is the decoded request with info 5. Returns
// the handler's result, -10300 for a refusal, or 0 for an unknown sub-type.
int mfgp_cmd_spCmd(ServiceContext* ctx);

// Serves an encrypted command (type 7), whose payload is a 12-byte inner header and an inner
// payload: points the command block at them, refuses a gated sub-type outside produce mode, or runs
// the handler. Copies the inner reply info to the outer header. For an unknown sub-type the info
// is 5. Returns the handler's result, -10300 for a refusal, or 0 for an unknown sub-type.
int mfgp_cmd_encCmd(ServiceContext* ctx);
