#include "protocol/codec.h"

#include <gtest/gtest.h>

#include <memory>

#include "protocol/cipher.h"
#include "tests/support/unit.h"
#include "tests/support/wire.h"

namespace {

std::string fromHex(const std::string& text) {
    std::string bytes;
    for (size_t i = 0; i + 1 < text.size(); i += 2)
        bytes += static_cast<char>(std::stoi(text.substr(i, 2), nullptr, 16));
    return bytes;
}

uint8_t* bytesOf(std::string& text) { return reinterpret_cast<uint8_t*>(text.data()); }

class Codec : public testing::Test {
  protected:
    void SetUp() override { mfgp_deriveKey(ctx->payloadKey, "kiosk", "kiosk"); }

    int decode(const std::string& wire) {
        memset(ctx->recvBuf, 0, kBufferSize);
        memset(ctx->replyBuf, 0, kBufferSize);
        memcpy(ctx->recvBuf, wire.data(), wire.size());
        return mfgp_decode(ctx.get());
    }

    std::unique_ptr<ServiceContext> ctx = std::make_unique<ServiceContext>();
};

// The expected values are from OpenSSL 3.0: `printf kioskkiosk | openssl dgst -md5 -r`, and
// `echo PLAIN | xxd -r -p | openssl enc -des-ecb -nopad -K KEY -provider legacy -provider default
// | xxd -p`.
TEST_F(Codec, Cipher_AgreesWithOpenSsl) {
    EXPECT_EQ(memcmp(ctx->payloadKey, fromHex("31d1352a8f7591c2").data(), 8), 0);
    const auto expectCipher = [](const char* key, const char* plain, const char* cipher) {
        std::string keyBytes = fromHex(key), text = fromHex(plain);
        const auto length = static_cast<uint32_t>(text.size());
        const auto run = [&](CipherDirection direction) {
            return mfgp_desEcb(bytesOf(text), length, bytesOf(text), length + 8, bytesOf(keyBytes),
                               direction);
        };
        EXPECT_EQ(run(CipherDirection::Encrypt), length);
        EXPECT_EQ(text, fromHex(cipher));
        EXPECT_EQ(run(CipherDirection::Decrypt), length);
        EXPECT_EQ(text, fromHex(plain));
    };
    expectCipher("0123456789abcdef", "4e6f772069732074", "3fa40e8a984d4815");
    expectCipher("0022446688aaccee", "4e6f772069732074", "3fa40e8a984d4815");  // other parity bits
    expectCipher("0000000000000000", "0000000000000000", "8ca64de9c1b123a7");  // a weak key
    expectCipher("31d1352a8f7591c2", "30322d31412d32422d31332d37422d303000000000000000",
                 "bdb523307e6e3123007222eaee766a908a69a117d754ccd6");
}

TEST_F(Codec, TheCipher_RefusesALengthThatDoesNotFitAndPadsAPartialBlock) {
    uint8_t in[32] = {1, 2, 3, 0, 0, 0, 0, 0}, out[32] = {}, expected[8];
    const uint8_t key[8] = {};
    const auto run = [&](uint32_t length, uint8_t* to, uint32_t capacity) {
        return mfgp_desEcb(in, length, to, capacity, key, CipherDirection::Decrypt);
    };
    EXPECT_EQ(run(25, out, 32), 0U);
    EXPECT_EQ(run(0xFFFFFFFFU, out, 32), 0U);
    EXPECT_EQ(run(24, out, 32), 24U);
    run(8, expected, 32);
    memset(in + 3, 0xEE, 5);  // after the length
    EXPECT_EQ(run(3, out, 32), 8U);
    EXPECT_EQ(memcmp(out, expected, 8), 0);
}

TEST_F(Codec, Packet_IsDecoded_UnlessItsLengthExceedsTheBuffer) {
    for (const size_t length : {0U, 8U, 44960U}) {
        const std::string text(length, 'x'), wire = wireOf({.type = kHeartbeat, .payload = text});
        ASSERT_EQ(decode((wire + "after the packet").substr(0, kMaxDatagram)), 0) << length;
        EXPECT_EQ(text, reinterpret_cast<char*>(mfgp_payload(ctx->recvBuf)));
    }
    for (const uint32_t length : {44965U, 45000U, 0x80000000U, 0xFFFFFFFFU}) {
        testing::internal::CaptureStderr();
        EXPECT_EQ(decode(wireOf({.type = kHeartbeat, .length = length})), -10306) << length;
        const std::string errors = testing::internal::GetCapturedStderr();
        EXPECT_TRUE(errors.starts_with(errorLine(-10306, "v2 decode des error")));
    }
}

TEST_F(Codec, Reply_IsPaddedToWholeBlocks_OrRefusedIfTooLong) {
    for (const auto& [length, padded] : {std::pair{0U, 0U},
                                         {1U, 8U},
                                         {8U, 8U},
                                         {20U, 24U},
                                         {44960U, 44960U},
                                         {44961U, 0U},
                                         {0x80000000U, 0U},
                                         {0xFFFFFFFFU, 0U}}) {  // a text of no bytes, less one
        const bool fits = length <= 44960 || length == 0xFFFFFFFFU;
        memset(ctx->replyBuf, 0, kBufferSize);
        memset(mfgp_payload(ctx->replyBuf), 'y', kPayloadCapacity);
        mfgp_setPayloadLength(ctx->replyBuf, length);
        size_t written = 7777;
        EXPECT_EQ(mfgp_encode(ctx.get(), &written), fits ? 0 : -10307) << length;
        EXPECT_EQ(written, fits ? 28 + padded : 7777);
        if (!fits)
            continue;
        std::string expected(padded == 0 ? 0 : length, 'y');
        expected.resize(padded);
        EXPECT_EQ(openAnswer({reinterpret_cast<char*>(ctx->replyBuf), written}).payload, expected);
    }
}

}  // namespace
