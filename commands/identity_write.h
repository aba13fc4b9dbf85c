// Writes of the unit's factory identity. A successful write clears its permission in the flags
// word, so each field can be written once per run. A failed write keeps the permission. The answer
// is empty. Each returns 0, or the command's code when the permission is cleared or a step failed.
// A failed step of set PIN returns -1.
#pragma once

#include "core/service_context.h"

int mfgp_cmd_setDevID(ServiceContext* ctx);        // 54: at most 64 characters
int mfgp_cmd_setOemID(ServiceContext* ctx);        // 60: at most 64 characters
int mfgp_cmd_setSpecialID(ServiceContext* ctx);    // 65: the letters of a region
int mfgp_cmd_setCountryCode(ServiceContext* ctx);  // 67: at most 64 characters
int mfgp2_cmd_setMac(ServiceContext* ctx);         // 75: six bytes
int mfgp2_cmd_setPin(ServiceContext* ctx);         // 76: eight characters
int mfgp_cmd_setModelName(ServiceContext* ctx);    // 82: at most 64 characters
