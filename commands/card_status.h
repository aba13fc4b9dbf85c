// SIM card status from the system's UCI data, and two values from the modem. Each command takes no
// argument and returns 0 or its code.
#pragma once

#include "core/service_context.h"

// The four UCI readings answer the text. The reply length does not count the newline after it.
int mfgp2_cmd_getcardstate(ServiceContext* ctx);    // 106
int mfgp2_cmd_getcardconn(ServiceContext* ctx);     // 107
int mfgp2_cmd_getcardsiglvl(ServiceContext* ctx);   // 108
int mfgp2_cmd_getcardregstat(ServiceContext* ctx);  // 109
int mfgp2_cmd_getsimImei(ServiceContext* ctx);      // 110: 16 bytes, the modem's IMEI
int mfgp2_cmd_getlteSwVer(ServiceContext* ctx);     // 116: 65 bytes, the modem's software version
