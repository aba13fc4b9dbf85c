// The profile of the unit: its model, its cellular module and whether it is in calibration mode.
// All answers come from the system's tools. Nothing here queries the modem.
#pragma once

#include <cstddef>

inline constexpr size_t kModelWordSize = 32;   // bytes, with the terminator
inline constexpr size_t kModuleNameSize = 32;  // bytes, with the terminator

// Reads the first word of the unit's model, at most 31 characters. Clears `model` first. Returns 0,
// also for an empty word. If the tool could not be started, logs it under `function` and returns
// -1.
int get_hostname(char (&model)[kModelWordSize], const char* function = "get_hostname");

// Returns 0 when the module is driven through the atcon console, else -1. Also -1 when the
// configuration could not be read.
int is_support_quectel_module();

// Returns 0 when the module is driven through the cellcli console, else -1, in the same way.
int is_support_fibocom_module();

// Copies the module's name ("RG520N-EU"), the first line of at most 29 bytes, into `name`, which
// the caller has zeroed. The name may be empty. Returns 0, or -1 when uci could not be started or
// printed nothing.
int get_module_name(char (&name)[kModuleNameSize]);

// Reads the module's name for a handler, whose name and purpose appear in the log line of a
// failure. Returns 0 or -1.
int mfgp_readModuleName(char (&name)[kModuleNameSize], const char* purpose, const char* function);

// Returns 1 when the unit is in calibration mode, according to its own tool, else 0. Also 0 when
// the unit has no such tool or it could not be started.
int is_cal();
