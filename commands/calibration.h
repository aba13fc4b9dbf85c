// Start of the radio calibration and test tools, and the calibration mode of the unit.
#pragma once

#include "core/service_context.h"

// Sub-type 18. Runs the steps of the tool that the argument names, or judges the log of the running
// coexistence test. Any other argument starts the Wi-Fi calibration. The answer is empty. Returns
// 0, or -10309 when the permission is missing, a step could not be run, or the log is missing or
// its verdict is bad.
int mfgp_cmd_StartCal(ServiceContext* ctx);

// Sub-type 86. Answers 8 zero bytes in calibration mode. Returns 0, or -10331 outside it.
int mfgp_cmd_getCalStatus(ServiceContext* ctx);
