// Reads of the unit's factory identity. Each command takes no argument and answers one factory
// field, padded with zeros to a fixed length. Returns 0, or the command's code when the field
// reader could not be started.
#pragma once

#include "core/service_context.h"

int mfgp_cmd_getProdId(ServiceContext* ctx);       // 10: 16 bytes; "00000000" if empty
int mfgp_cmd_getDevID(ServiceContext* ctx);        // 53: 64 bytes
int mfgp_cmd_getMAC(ServiceContext* ctx);          // 55: 17 bytes
int mfgp_cmd_getFwID(ServiceContext* ctx);         // 56: 64 bytes
int mfgp_cmd_getHwID(ServiceContext* ctx);         // 57: 64 bytes
int mfgp_cmd_getHwDesc(ServiceContext* ctx);       // 58: 128 bytes: model and hardware version
int mfgp_cmd_getOemID(ServiceContext* ctx);        // 59: 64 bytes
int mfgp_cmd_getSpecialID(ServiceContext* ctx);    // 64: 64 bytes: the region's two letters
int mfgp_cmd_getCountryCode(ServiceContext* ctx);  // 66: 64 bytes; "UN" if empty
