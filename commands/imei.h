// The IMEI, which the unit holds twice: in flash and in the modem. Each returns 0 or its command's
// code.
#pragma once

#include "core/service_context.h"

// 90: writes the argument, at most 15 bytes, to both; once per run. What a failing write has
// already written stays.
int mfgp2_cmd_setImei(ServiceContext* ctx);

// 91: 15 bytes, the IMEI in flash, or fifteen "9" when the modem has another one.
int mfgp2_cmd_getImei(ServiceContext* ctx);
