#include "protocol/cipher.h"

#include <nettle/des.h>
#include <nettle/md5.h>
#include <nettle/version.h>

#include <cstring>

#include "core/packet.h"

namespace {

void finishDigest(md5_ctx* md5, uint8_t* digest) {
#if NETTLE_VERSION_MAJOR >= 4
    md5_digest(md5, digest);
#else
    md5_digest(md5, kDigestSize, digest);
#endif
}

}  // namespace

void mfgp_md5(uint8_t* digest, const void* data, size_t length) {
    md5_ctx md5;
    md5_init(&md5);
    md5_update(&md5, length, static_cast<const uint8_t*>(data));
    finishDigest(&md5, digest);
}

bool mfgp_md5Matches(const uint8_t* expected, const void* data, size_t length) {
    uint8_t digest[kDigestSize];
    mfgp_md5(digest, data, length);
    return memcmp(digest, expected, sizeof digest) == 0;
}

uint32_t mfgp_desEcb(const uint8_t* in, uint32_t length, uint8_t* out, uint32_t capacity,
                     const uint8_t* key, CipherDirection direction) {
    if (in == nullptr || out == nullptr || key == nullptr || capacity < kCipherBlock ||
        length > capacity - kCipherBlock || length == 0)
        return 0;
    des_ctx des;
    des_set_key(&des, key);  // returns 0 for a weak key but sets it
    const auto run = direction == CipherDirection::Encrypt ? des_encrypt : des_decrypt;
    const uint32_t partial = length % kCipherBlock;
    const uint32_t whole = length - partial;
    uint8_t last[kCipherBlock] = {};
    memcpy(last, in + whole, partial);
    run(&des, whole, out, in);
    if (partial == 0)
        return whole;
    run(&des, kCipherBlock, out + whole, last);
    return whole + static_cast<uint32_t>(kCipherBlock);
}

void mfgp_deriveKey(uint8_t* key, const char* user, const char* password) {
    md5_ctx md5;
    md5_init(&md5);
    md5_update(&md5, strlen(user), reinterpret_cast<const uint8_t*>(user));
    md5_update(&md5, strlen(password), reinterpret_cast<const uint8_t*>(password));
    uint8_t digest[kDigestSize];
    finishDigest(&md5, digest);
    memcpy(key, digest, kCipherBlock);
}
