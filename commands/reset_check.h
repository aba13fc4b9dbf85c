// The soft factory reset, and the configuration record that a station checks before delivery.
#pragma once

#include "core/service_context.h"

// Sub-type 73, encrypted only. Erases the three configuration partitions and reads them back. The
// answer is empty. Returns 0, or -10300 when one of them is not empty afterwards.
int mfgp_cmd_reset(ServiceContext* ctx);

// Sub-type 135. Answers the 244-byte configuration record. Returns 0, or -10335 when a field of it
// cannot be read.
int mfgp_cmd_getConfigCheck(ServiceContext* ctx);
