// The soft factory reset, and the record that shows a unit's configuration before it leaves.
#pragma once

#include "core/service_context.h"

// 73, encrypted only: erases the three configuration partitions and reads them back. No answer
// payload. Returns 0, or -10300 when one of them has not come back empty.
int mfgp_cmd_reset(ServiceContext* ctx);

// 135: answers the 244-byte configuration record. Returns 0, or -10335 when it cannot be filled.
int mfgp_cmd_getConfigCheck(ServiceContext* ctx);
