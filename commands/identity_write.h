// Writes of the unit's factory identity, each once per run: a write that succeeds uses up its
// permission in the flags word, one that fails leaves it for the next try. The answer is empty.
// Each returns 0, or the command's code when the permission is used up or a step failed; a failed
// step of set PIN returns -1.
#pragma once

#include "core/service_context.h"

int mfgp_cmd_setDevID(ServiceContext* ctx);        // 54: at most 64 characters
int mfgp_cmd_setOemID(ServiceContext* ctx);        // 60: at most 64 characters
int mfgp_cmd_setSpecialID(ServiceContext* ctx);    // 65: a region's letters
int mfgp_cmd_setCountryCode(ServiceContext* ctx);  // 67: at most 64 characters
int mfgp2_cmd_setMac(ServiceContext* ctx);         // 75: six bytes
int mfgp2_cmd_setPin(ServiceContext* ctx);         // 76: eight characters
int mfgp_cmd_setModelName(ServiceContext* ctx);    // 82: at most 64 characters
