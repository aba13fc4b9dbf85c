// Factory actions of the firmware's hook programs. Neither command takes an argument, and the
// answer is empty. Each returns 0 or its code.
#pragma once

#include "core/service_context.h"

// Sub-type 17. Erases the radio calibration data, once per run. Returns -10308 when the permission
// is cleared.
int mfgp_hook_erase_radio(ServiceContext* ctx);

// Sub-type 80. Switches the unit into test mode, any number of times. Returns -10349 when it is not
// permitted or the hook could not be run.
int mfgp_hook_enable_testmode(ServiceContext* ctx);
