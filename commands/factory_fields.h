// The unit's factory fields, read by key through the firmware's fwinfo tool.
#pragma once

#include <cstddef>

// Removes the tool's cached answers, so that the next read sees what is in flash.
void mfgp_dropFirmCache();

// Reads one factory field, without its newlines, into text[maxBytes + 1], cut at maxBytes and
// terminated. Returns 0, also when the tool had nothing to say (an empty text); -1 when it could
// not be started.
int mfgp_readFirmField(const char* key, size_t maxBytes, char* text);

// Reads one factory field of at most max_length bytes (below 512), logs it and copies it without
// terminator into out, which the caller has zeroed; an empty field leaves out untouched. Returns 0
// when the tool could be started, whether or not it printed anything, else -1.
int get_firm_info(const char* key, size_t max_length, char* out);

// Lets the shell write the text and a newline to a file that a flash tool reads next, as
// "echo TEXT  > FILE"; the text must be safe unquoted. Returns 0, or -1 when the file is not
// complete: without that look an empty file would be flashed from a full /tmp.
int mfgp_echoToFile(const char* text, const char* file);

// The value of one hexadecimal digit in either case, and 0 for any other character: a bad digit is
// read as "0", which is how a special ID of unknown form comes out as a region of zero bytes.
int mfgp_hexDigit(char digit);
