// Numbers and fields in the texts that stations and modems send.
#pragma once

#include <cstdint>

// Splits the text in place at each separator; a carriage return ends the last field. Stores the
// start of each field, an empty one included, in tokens[maximum]; what is behind the last separator
// counts only when it is not empty. Returns the number of fields; those beyond `maximum` are
// dropped.
int split_by_char(char separator, char* text, char** tokens, int maximum);

// Writes the value in a radix from 1 to 36 (0-9, a-z) into the buffer, 12 bytes for radix 10 and 33
// for any; without a buffer into one of exactly the bytes needed, which the caller frees. Only
// radix 10 has a sign, elsewhere the value is taken as unsigned; radix 1 has no digit but "0".
// Returns the buffer, or null for any other radix or when out of memory.
char* int_to_text(int32_t value, char* buffer, int radix);

// The number a text begins with, blanks and a sign in front allowed, 0 when there is none. A number
// out of range becomes the nearest one within.
int mfgp_textToInt(const char* text);

// Reads a text that follows the pattern, in which each '#' stands for a number as above, into the
// numbers in their order. Where the text departs from the pattern the reading ends: numbers behind
// that place keep their values.
void mfgp_scanNumbers(const char* text, const char* pattern, int* const* numbers);
