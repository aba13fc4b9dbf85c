#pragma once

#include "core/service_context.h"

// Serves a special command (type 3): logs it, refuses gated sub-types outside produce mode, and
// runs the sub-type's handler. An unknown sub-type gets reply info 5 on the decoded request as it
// is. Returns the handler's result, -10300 for a refusal, 0 for an unknown sub-type.
int mfgp_cmd_spCmd(ServiceContext* ctx);

// Fills the reply header of a special command that was refused outside produce mode.
void mfgp_spCmd_replyRefused(ServiceContext* ctx);
