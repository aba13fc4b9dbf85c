#pragma once

// Returns 1 when the unit is in calibration mode, as its own tool says, else 0: also when the unit
// has no such tool or it cannot be asked.
int is_cal();
