// Factory actions that the firmware's own hook programs carry out. Neither takes an argument; the
// answer is empty. Each returns 0 or the command's code.
#pragma once

#include "core/service_context.h"

// 17: erases the radio calibration data, once per run. -10308 when that is used up.
int mfgp_hook_erase_radio(ServiceContext* ctx);

// 80: switches the unit into test mode, as often as asked. -10349 when it is not permitted or the
// hook could not be run.
int mfgp_hook_enable_testmode(ServiceContext* ctx);
