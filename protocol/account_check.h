#pragma once

#include "core/service_context.h"

// Asks the web controller (the Lua module luci.controller.admin.administration, run in a fresh Lua
// state) for the administrator account and derives ctx->payloadKey from it. An empty user name or
// password counts as "kiosk". Returns 0, or -1 after printing why; the key then stays as it was.
int mfgp_checkAccount(ServiceContext* ctx);
