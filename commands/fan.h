// The unit's fans during production. The fan service beside the daemon drives and measures them;
// these start it and read its files under /tmp/fan_speed. Each returns 0, or its own code when the
// argument is wrong or a tool could not be run or had nothing to say.
#pragma once

#include "core/service_context.h"

// 104: {"gear":"G","time":T}, the gear quoted: drives the fans at a gear for a time. What cannot be
// scanned counts as 0. -10300.
int mfgp_cmd_setFanSpeed(ServiceContext* ctx);

// 89: {"gear":255}: measures all fans at all gears anew. -10300, also for any other gear.
int mfgp_cmd_setAllFanGear(ServiceContext* ctx);

// 88: answers the one character that the fan service left of its test, or nothing for an empty
// line. -10346 when there is not even that.
int mfgp_cmd_getAllFanStatus(ServiceContext* ctx);

// 105: a gear in decimal: answers the number of fans and each one's speed at that gear, a blank
// before each. -10337.
int mfgp_cmd_getMultiFanSpeed(ServiceContext* ctx);
