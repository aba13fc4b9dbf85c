// The factory test mode (FTM) of the cellular module and its receive-antenna tests. A test takes
// two commands: 112 measures a level and stores it, and 113 answers it. Each command returns 0 or
// its code.
#pragma once

#include "core/service_context.h"

int mfgp2_cmd_setantennaTest(ServiceContext* ctx);  // 112: fields separated by "-"
int mfgp2_cmd_getantennaTest(ServiceContext* ctx);  // 113: 8 bytes; "999" without a level
int mfgp2_cmd_setFtmState(ServiceContext* ctx);     // 114: the mode, a number
int mfgp2_cmd_getFtmState(ServiceContext* ctx);     // 115: 8 bytes, the module's own text
