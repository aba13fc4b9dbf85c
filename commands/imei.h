// The IMEI, which is stored in flash and in the modem. Each command returns 0 or its code.
#pragma once

#include "core/service_context.h"

// Sub-type 90. Writes the argument, at most 15 bytes, to flash and then to the modem, once per run.
// A write that fails does not undo its earlier steps.
int mfgp2_cmd_setImei(ServiceContext* ctx);

// Sub-type 91. Answers 15 bytes: the IMEI in flash, or fifteen "9" when the modem's IMEI differs.
int mfgp2_cmd_getImei(ServiceContext* ctx);
