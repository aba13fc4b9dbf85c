// The group pre-configuration in product-info: units of one group share a group id and a key and
// are delivered in packs. On the wire it is a JSON object with "gid", "key" and "pack". Each
// returns 0 or the command's code.
#pragma once

#include "core/service_context.h"

// 77: stores the object of the argument, once per run. -10336 when that is used up, the object is
// not valid or a step failed; the answer is empty.
int mfgp2_cmd_setGroupInfo(ServiceContext* ctx);

// 78: answers the stored object; -10337 when it cannot be read.
int mfgp2_cmd_getGroupInfo(ServiceContext* ctx);

// 79: answers at most 1,023 bytes of fresh group data for the number of units in the argument;
// -10338 when that is no number above 0 or the firmware's generator wrote nothing.
int mfgp2_cmd_generateGroupInfo(ServiceContext* ctx);
