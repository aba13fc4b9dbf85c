// Which unit and which cellular module this is, asked of the system and never of the modem.
#pragma once

#include <cstddef>

inline constexpr size_t kModelWordSize = 32;   // bytes, with the terminator
inline constexpr size_t kModuleNameSize = 32;  // bytes, with the terminator

// Reads the first word of the unit's model, at most 31 characters, into model[kModelWordSize],
// cleared first. Returns 0 when the question could be asked, also when the word is empty; else -1.
int mfgp_readModelWord(char* model);

// The same, and logs a failure under its own name.
int get_hostname(char* model);

// Whether the module is driven through the atcon console. Returns 0 for yes; -1 for no, or when
// the question could not be asked.
int is_support_quectel_module();

// The same for the cellcli console.
int is_support_fibocom_module();

// Copies the module's name ("RG520N-EU"), the first line of at most 29 bytes and maybe empty, into
// name[kModuleNameSize], which the caller has zeroed: no terminator is written. Returns 0, or -1
// when there is none.
int get_module_name(char* name);
