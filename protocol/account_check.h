#pragma once

#include "core/service_context.h"

// Asks the web controller (the Lua module luci.controller.admin.administration, run in a fresh Lua
// state) for the administrator account and derives ctx->payloadKey from it. An empty user name or
// password counts as "kiosk". Returns 0. On a failure, prints the reason, leaves the key unchanged
// and returns -1.
int mfgp_checkAccount(ServiceContext* ctx);
