// What the system knows of the SIM card, and what the modem says of itself. Each takes no argument
// and returns 0 or its command's code.
#pragma once

#include "core/service_context.h"

// The four UCI readings: the text with its newline, whose length counts one byte less.
int mfgp2_cmd_getcardstate(ServiceContext* ctx);    // 106
int mfgp2_cmd_getcardconn(ServiceContext* ctx);     // 107
int mfgp2_cmd_getcardsiglvl(ServiceContext* ctx);   // 108
int mfgp2_cmd_getcardregstat(ServiceContext* ctx);  // 109
int mfgp2_cmd_getsimImei(ServiceContext* ctx);      // 110: 16 bytes, the IMEI that the modem has
int mfgp2_cmd_getlteSwVer(ServiceContext* ctx);     // 116: 65 bytes, the modem's software version
