// What every fuzz target is made of. A target defines answerOf; fuzz.cpp runs each input twice.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

// Everything that the daemon makes of an input: it must be the same when the input comes again.
std::string answerOf(std::string_view input);

// Takes what stands before the next byte 0xFF, or all of it, off the input's front.
std::string_view takePiece(std::string_view* input);

// Takes one byte off the front; zero when there is none.
uint8_t takeByte(std::string_view* input);

// Ends the process, which is a finding, unless it holds.
void require(bool holds, const char* what);

// Gives a datagram with a ciphered payload the digest that its receiver will compute: only behind a
// digest that is right lies code to be reached. `datagram` has a buffer of kBufferSize.
void seal(uint8_t* datagram, const uint8_t* key);
