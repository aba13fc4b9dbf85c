// The modem's logger and the switch of the external antenna. Each command returns 0 or its code.
#pragma once

#include "core/service_context.h"

int mfgp2_cmd_startQLog(ServiceContext* ctx);         // 92: starts the logger in the background
int mfgp2_cmd_stopQLog(ServiceContext* ctx);          // 93: fails when no logger is running
int mfgp2_cmd_changeExtAntenna(ServiceContext* ctx);  // 94: the option's value, one character
