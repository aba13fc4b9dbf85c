// MD5 and single DES, the only place that names the cryptographic library. The station client is
// linked with it as well.
#pragma once

#include <cstddef>
#include <cstdint>

inline constexpr size_t kCipherBlock = 8;

enum class CipherDirection { Decrypt = 0, Encrypt = 1 };

// Writes the MD5 digest (RFC 1321) of data[length], 16 bytes, as MD5 puts them out.
void mfgp_md5(uint8_t* digest, const void* data, size_t length);

// True when the MD5 digest of data[length] equals the 16 bytes at `expected`.
bool mfgp_md5Matches(const uint8_t* expected, const void* data, size_t length);

// Runs single DES (FIPS 46-3) in ECB mode over in[length] with the 8 key bytes as given: parity
// bits do not count and no key is refused, not even the all-zero one. A partial block at the end
// is filled with zero bytes. Returns the bytes written to out, a multiple of 8; 0 when a pointer is
// missing or the input is longer than capacity - 8. In and out may be the same place.
uint32_t mfgp_desEcb(const uint8_t* in, uint32_t length, uint8_t* out, uint32_t capacity,
                     const uint8_t* key, CipherDirection direction);

// Derives the 8-byte payload key: the first half of the MD5 digest over user name and password,
// one behind the other without a separator.
void mfgp_deriveKey(uint8_t* key, const char* user, const char* password);
