// The unit's fans during production. The firmware's fan service drives and measures the fans. These
// commands start it and read its files under /tmp/fan_speed. Each returns 0, or its own code when
// the argument is wrong or a tool could not be run or printed nothing.
#pragma once

#include "core/service_context.h"

// Sub-type 104. Runs the fans at gear G for T seconds. Argument: {"gear":"G","time":T}; a value
// that cannot be parsed is 0. Returns 0 or -10300.
int mfgp_cmd_setFanSpeed(ServiceContext* ctx);

// Sub-type 89. Measures all fans at all gears again. Argument: {"gear":255}. Returns 0, or -10300
// also for any other gear.
int mfgp_cmd_setAllFanGear(ServiceContext* ctx);

// Sub-type 88. Answers the one character of the fan test's status file, or nothing for an empty
// line. Returns -10346 for an empty or missing file.
int mfgp_cmd_getAllFanStatus(ServiceContext* ctx);

// Sub-type 105. Argument: a gear in decimal. Answers the number of fans and the speed of each at
// that gear, separated by blanks. Returns -10337 when a file cannot be read.
int mfgp_cmd_getMultiFanSpeed(ServiceContext* ctx);
