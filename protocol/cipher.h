// MD5 and single DES. No other file uses the cryptographic library. The daemon and the station
// client share this file.
#pragma once

#include <cstddef>
#include <cstdint>

inline constexpr size_t kCipherBlock = 8;

enum class CipherDirection { Decrypt = 0, Encrypt = 1 };

// Writes the 16 bytes of the MD5 digest (RFC 1321) of `length` bytes of data.
void mfgp_md5(uint8_t* digest, const void* data, size_t length);

// Returns true when the MD5 digest of `length` bytes of data equals the 16 bytes at `expected`.
bool mfgp_md5Matches(const uint8_t* expected, const void* data, size_t length);

// Runs single DES (FIPS 46-3) in ECB mode over `length` bytes with the 8 key bytes as given. Parity
// bits are ignored and weak keys, such as the all-zero key, are accepted. A partial last block is
// filled with zero bytes. Returns the number of bytes written to out, a multiple of 8. Returns 0
// for a null pointer, no input, or an input longer than capacity - 8. In and out may be the same
// buffer.
uint32_t mfgp_desEcb(const uint8_t* in, uint32_t length, uint8_t* out, uint32_t capacity,
                     const uint8_t* key, CipherDirection direction);

// Writes the 8-byte payload key: the first half of the MD5 digest of the user name followed
// directly by the password.
void mfgp_deriveKey(uint8_t* key, const char* user, const char* password);
