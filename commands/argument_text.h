// Numbers and fields in the texts that stations and modems send.
#pragma once

#include <cstdint>
#include <span>

// Splits the text in place at each separator. A carriage return ends the last field. Stores the
// start of each field, including empty ones, in `tokens`. The rest after the last separator counts
// only when it is not empty. Returns the number of fields. Fields beyond tokens.size() are dropped.
int split_by_char(char separator, char* text, std::span<char*> tokens);

// Writes the value in a radix from 1 to 36 (digits 0-9, a-z) into the buffer, which needs 12 bytes
// for radix 10 and 33 for any radix. If the buffer is null, allocates exactly the bytes needed,
// which the caller frees. Only radix 10 has a sign. In any other radix the value is unsigned. Radix
// 1 has only the digit "0". Returns the buffer, or null for any other radix or when out of memory.
char* int_to_text(int32_t value, char* buffer, int radix);

// Returns the number that a text begins with, after optional blanks and a sign, or 0 when there is
// none. A number out of range becomes the nearest int.
int mfgp_textToInt(const char* text);

// Reads `label` and a number after it from the start of a text. Returns the place after the number.
// Where the text differs, leaves the number unchanged and returns null. A null text is returned as
// null, so that calls can be chained.
const char* mfgp_scanNumber(const char* text, const char* label, int* number);
