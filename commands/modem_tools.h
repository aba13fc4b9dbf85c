// The modem's logger and the switch of the external antenna. Each returns 0 or its command's code.
#pragma once

#include "core/service_context.h"

int mfgp2_cmd_startQLog(ServiceContext* ctx);         // 92: the logger stays in the background
int mfgp2_cmd_stopQLog(ServiceContext* ctx);          // 93: fails when no logger runs
int mfgp2_cmd_changeExtAntenna(ServiceContext* ctx);  // 94: a letter or digit
