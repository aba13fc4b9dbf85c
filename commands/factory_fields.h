// The unit's factory fields, which the firmware's fwinfo tool reads by key.
#pragma once

#include <cstddef>
#include <span>

// Removes the tool's cached answers, so that the next read sees what is in flash.
void mfgp_dropFirmCache();

// Reads one factory field, without its newlines, into `text`, cut to fit and terminated. Returns 0,
// also for an empty field, or -1 when the tool could not be started.
int mfgp_readFirmField(const char* key, std::span<char> text);

// Reads at most max_length bytes (below 512) of one factory field, logs it and copies it without
// terminator into `out`, which has at least max_length zeroed bytes. An empty field leaves `out`
// unchanged. Returns 0, whether or not the tool printed anything, or -1 when it could not be
// started or max_length is too large.
int get_firm_info(const char* key, size_t max_length, std::span<char> out);

// Writes the text and a newline to a file for a flash tool, with the shell line "echo TEXT  >
// FILE". The text must be safe unquoted. Returns 0, or -1 when the file is not complete, as in a
// full /tmp.
int mfgp_echoToFile(const char* text, const char* file);
