#include "protocol/codec.h"

#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <memory>
#include <sstream>
#include <vector>

#include "protocol/cipher.h"
#include "tests/support/wire.h"

namespace {

std::vector<uint8_t> fromHex(const std::string& text) {
    std::vector<uint8_t> bytes;
    for (size_t i = 0; i + 1 < text.size(); i += 2)
        bytes.push_back(static_cast<uint8_t>(std::stoi(text.substr(i, 2), nullptr, 16)));
    return bytes;
}

std::string toHex(const void* data, size_t length) {
    static constexpr char kDigits[] = "0123456789abcdef";
    std::string text;
    for (size_t i = 0; i < length; i++) {
        const uint8_t byte = static_cast<const uint8_t*>(data)[i];
        text += {kDigits[byte >> 4], kDigits[byte & 15]};
    }
    return text;
}

// Expected values by OpenSSL 3.0: `printf TEXT | openssl dgst -md5 -r`, and for the cipher
// `echo PLAIN | xxd -r -p | openssl enc -des-ecb -nopad -K KEY -provider legacy -provider default
// | xxd -p`.
TEST(Cipher, AgreesWithAnOutsideTool) {
    uint8_t key[8];
    mfgp_deriveKey(key, "kiosk", "kiosk");  // printf kioskkiosk, first half
    EXPECT_EQ(toHex(key, sizeof key), "31d1352a8f7591c2");

    const struct {
        const char* key;
        const char* plain;
        const char* cipher;
    } rows[] = {
        {"0123456789abcdef", "4e6f772069732074", "3fa40e8a984d4815"},
        {"0022446688aaccee", "4e6f772069732074", "3fa40e8a984d4815"},  // parity does not count
        {"0000000000000000", "0000000000000000",
         "8ca64de9c1b123a7"},  // a weak key is used all the same
        {"31d1352a8f7591c2", "6c616e5f69700000", "a1aea4f2cf4c0ed4"},
        {"31d1352a8f7591c2", "30322d31412d32422d31332d37422d303000000000000000",
         "bdb523307e6e3123007222eaee766a908a69a117d754ccd6"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.plain);
        const auto rowKey = fromHex(row.key);
        const auto plain = fromHex(row.plain);
        const auto length = static_cast<uint32_t>(plain.size());
        uint8_t out[64] = {};
        EXPECT_EQ(mfgp_desEcb(plain.data(), length, out, sizeof out, rowKey.data(),
                              CipherDirection::Encrypt),
                  length);
        EXPECT_EQ(toHex(out, length), row.cipher);
        EXPECT_EQ(
            mfgp_desEcb(out, length, out, sizeof out, rowKey.data(), CipherDirection::Decrypt),
            length);
        EXPECT_EQ(toHex(out, length), row.plain);
    }
}

TEST(Cipher, RefusesWhatDoesNotFitAndFillsAPartialBlock) {
    const uint8_t key[8] = {};
    uint8_t in[32] = {1, 2, 3};
    uint8_t out[32] = {};
    const auto run = [&](const uint8_t* from, uint32_t length, uint8_t* to, uint32_t capacity,
                         const uint8_t* with) {
        return mfgp_desEcb(from, length, to, capacity, with, CipherDirection::Decrypt);
    };
    EXPECT_EQ(run(nullptr, 8, out, 32, key), 0U);
    EXPECT_EQ(run(in, 8, nullptr, 32, key), 0U);
    EXPECT_EQ(run(in, 8, out, 32, nullptr), 0U);
    EXPECT_EQ(run(in, 25, out, 32, key), 0U);
    EXPECT_EQ(run(in, 0xFFFFFFFFU, out, 32, key), 0U);
    EXPECT_EQ(run(in, 0, out, 4, key), 0U);
    EXPECT_EQ(run(in, 24, out, 32, key), 24U);

    uint8_t filled[8] = {1, 2, 3, 0, 0, 0, 0, 0};
    uint8_t expected[8];
    run(filled, 8, expected, 32, key);
    memset(in + 3, 0xEE, 5);  // behind the length: must not be deciphered
    EXPECT_EQ(run(in, 3, out, 32, key), 8U);
    EXPECT_EQ(toHex(out, 8), toHex(expected, 8));
}

class Codec : public testing::Test {
  protected:
    void SetUp() override { mfgp_deriveKey(ctx->payloadKey, "kiosk", "kiosk"); }

    void receive(const std::string& wire) {
        memset(ctx->recvBuf, 0, kBufferSize);
        memset(ctx->replyBuf, 0, kBufferSize);
        memcpy(ctx->recvBuf, wire.data(), wire.size());
    }

    std::unique_ptr<ServiceContext> ctx = std::make_unique<ServiceContext>();
};

TEST_F(Codec, DecodesEveryLengthThatFits) {
    for (const size_t length : {0U, 8U, 16U, 44960U}) {
        SCOPED_TRACE(length);
        const std::string wire = wireOf({.type = 4, .payload = std::string(length, 'x')});
        receive((wire + "behind the packet").substr(0, kMaxDatagram));
        ASSERT_EQ(mfgp_decode(ctx.get()), 0);
        EXPECT_EQ(std::string(reinterpret_cast<char*>(mfgp_payload(ctx->recvBuf))),
                  std::string(length, 'x'))
            << "nothing behind the payload may be read as text";
    }
}

TEST_F(Codec, RefusesLengthsThatCannotBeDeciphered) {
    for (const uint32_t length : {44965U, 44972U, 45000U, 0x80000000U, 0xFFFFFFFFU}) {
        SCOPED_TRACE(length);
        receive(wireOf({.type = 4, .length = length}));
        testing::internal::CaptureStderr();
        EXPECT_EQ(mfgp_decode(ctx.get()), -10306);
        fflush(stderr);
        EXPECT_NE(testing::internal::GetCapturedStderr().find("v2 decode des error"),
                  std::string::npos);
    }
}

TEST_F(Codec, EveryByteIsDigested) {
    const std::string good = wireOf({.type = 3, .subType = 55, .payload = "argument"});
    for (size_t byte = 0; byte < good.size(); byte++) {
        std::string bad = good;
        bad[byte] = static_cast<char>(bad[byte] ^ 0x10);
        receive(bad);
        EXPECT_EQ(mfgp_decode(ctx.get()), -10306) << "byte " << byte;
    }
}

TEST_F(Codec, EncodesByTheLengthInTheHeader) {
    const struct {
        uint32_t length;
        int result;
        size_t datagram;
        uint32_t padded;
    } rows[] = {
        {0, 0, 28, 0},
        {1, 0, 36, 8},
        {8, 0, 36, 8},
        {20, 0, 52, 24},
        {44960, 0, 44988, 44960},
        {44961, -10307, 7777, 44961},
        {0x80000000U, -10307, 7777, 0x80000000U},
        {0xFFFFFFFFU, 0, 28, 0},  // a text of no bytes, less one
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.length);
        memset(ctx->replyBuf, 0, kBufferSize);
        memset(mfgp_payload(ctx->replyBuf), 'y', kPayloadCapacity);
        mfgp_setVersion(ctx->replyBuf, 2);
        mfgp_setPayloadLength(ctx->replyBuf, row.length);
        size_t datagram = 7777;
        EXPECT_EQ(mfgp_encode(ctx.get(), &datagram), row.result);
        EXPECT_EQ(datagram, row.datagram);
        EXPECT_EQ(mfgp_payloadLength(ctx->replyBuf), row.padded);
        if (row.result != 0)
            continue;
        const Answer answer = openAnswer({reinterpret_cast<char*>(ctx->replyBuf), datagram});
        std::string expected(row.padded == 0 ? 0 : row.length, 'y');
        expected.resize(row.padded);
        EXPECT_EQ(answer.payload, expected) << "padding is zero";
    }
}

// The worked packet of docs/protocol.md is what these functions make of it.
TEST_F(Codec, TheDocumentedPacketIsRight) {
    std::ifstream file(MFGP_SOURCE_DIR "/docs/protocol.md");
    std::string name;
    std::map<std::string, std::string> hex;
    for (std::string line; std::getline(file, line);) {
        std::istringstream words(line);
        std::string word;
        if (line.rfind("    ", 0) == 0 && words >> word &&
            word.find_first_not_of("0123456789abcdef") == std::string::npos)
            hex[name] += word;
        else if (line.rfind("The ", 0) == 0)
            name = line.substr(4, line.find(':') - 4);
    }
    EXPECT_EQ(hex["request"], toHex(wireOf({.subType = 55, .packetId = 0x0102}).data(), 28));
    const auto reply = fromHex(hex["reply"]);
    const Answer answer = openAnswer({reply.begin(), reply.end()});
    EXPECT_EQ(answer.text(), "02-1A-2B-13-7B-00");
    EXPECT_EQ(hex["key"], toHex(ctx->payloadKey, 8));
}

}  // namespace
