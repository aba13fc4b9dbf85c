// The group pre-configuration in product-info. The units of one group share a group id and a key,
// and each has a pack number. On the wire it is a JSON object with "gid", "key" and "pack". Each
// command returns 0 or its code.
#pragma once

#include "core/service_context.h"

// Sub-type 77. Stores the object of the argument, once per run. The answer is empty. Returns -10336
// when the permission is cleared, the object is not valid or a step failed.
int mfgp2_cmd_setGroupInfo(ServiceContext* ctx);

// Sub-type 78. Answers the stored object as text. Returns -10337 when it cannot be read.
int mfgp2_cmd_getGroupInfo(ServiceContext* ctx);

// Sub-type 79. Answers at most 1,023 bytes of new group data for the number of units in the
// argument. Returns -10338 when that number is not above 0 or the firmware's generator wrote
// nothing.
int mfgp2_cmd_generateGroupInfo(ServiceContext* ctx);
