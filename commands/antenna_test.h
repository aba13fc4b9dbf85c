// The factory test mode (FTM) of the cellular module and its receive-antenna tests. A test is two
// commands: 112 measures a level and keeps it, 113 tells it. Each returns 0 or its command's code.
#pragma once

#include "core/service_context.h"

int mfgp2_cmd_setantennaTest(ServiceContext* ctx);  // 112: the fields with "-" between them
int mfgp2_cmd_getantennaTest(ServiceContext* ctx);  // 113: 8 bytes; "999" when none was measured
int mfgp2_cmd_setFtmState(ServiceContext* ctx);     // 114: the mode, a number
int mfgp2_cmd_getFtmState(ServiceContext* ctx);     // 115: 8 bytes, as the module says it
