#include "tests/fuzz/fuzz.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "core/packet.h"
#include "protocol/cipher.h"

std::string_view takePiece(std::string_view* input) {
    const std::string_view piece = input->substr(0, input->find('\xFF'));
    input->remove_prefix(std::min(piece.size() + 1, input->size()));
    return piece;
}

uint8_t takeByte(std::string_view* input) {
    const uint8_t byte = input->empty() ? 0 : static_cast<uint8_t>(input->front());
    input->remove_prefix(input->empty() ? 0 : 1);
    return byte;
}

void require(bool holds, const char* what) {
    if (holds)
        return;
    fprintf(stderr, "does not hold: %s\n", what);
    abort();
}

void seal(uint8_t* datagram, const uint8_t* key) {
    static uint8_t plain[kBufferSize];
    memcpy(plain, datagram, kHeaderSize);
    memset(mfgp_digest(plain), 0, kDigestSize);
    const uint32_t length =
        mfgp_desEcb(mfgp_payload(datagram), mfgp_payloadLength(datagram), mfgp_payload(plain),
                    kPayloadCapacity, key, CipherDirection::Decrypt);
    mfgp_md5(mfgp_digest(datagram), plain, kHeaderSize + length);
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    // The first run comes behind the input before, the second behind the one before that: what an
    // input leaves behind for the next shows as well.
    static std::string earlier[2];
    static int turn = 0;
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    const std::string first = answerOf(input);
    answerOf(earlier[turn]);
    const std::string second = answerOf(input);
    if (first != second)
        fprintf(stderr, "first:\n%s\nsecond:\n%s\n", first.c_str(), second.c_str());
    require(first == second, "the same input gets the same answer");
    earlier[turn] = input;
    turn ^= 1;
    return 0;
}
