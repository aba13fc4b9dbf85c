// Start of the radio calibration and test tools, and whether the unit is in calibration mode.
#pragma once

#include "core/service_context.h"

// 18: runs the steps of the tool that the payload names, or judges the log of the coexistence test,
// which goes on by itself; any other payload is the Wi-Fi calibration. No answer payload. Returns
// 0, or -10309 without the permission, when the shell could not run a step, or when the log is
// missing or its verdict bad.
int mfgp_cmd_StartCal(ServiceContext* ctx);

// 86: answers 8 zero bytes in calibration mode. Returns 0, or -10331 outside it.
int mfgp_cmd_getCalStatus(ServiceContext* ctx);
