// The receive path in this process, with the clock and the account check of this program: what is
// left in the context after a datagram.
#include "core/receive.h"

#include <gtest/gtest.h>

#include <memory>

#include "core/clock.h"
#include "core/transport.h"
#include "protocol/account_check.h"
#include "protocol/cipher.h"
#include "tests/support/wire.h"

uint32_t mfgp_clock() { return 1234; }

int mfgp_checkAccount(ServiceContext* ctx) {
    mfgp_deriveKey(ctx->payloadKey, "kiosk", "kiosk");
    return 0;
}

namespace {

class ReceivePath : public testing::Test {
  protected:
    void SetUp() override {
        ASSERT_EQ(mfgp_udpSocketCreate(ctx.get()), 0);
        ASSERT_EQ(mfgp_udpSocketBind(ctx.get()), 0);
        ctx->flags = kFlagsAtStart;
    }
    void TearDown() override { mfgp_udpSocketClose(ctx.get()); }

    // Sends the datagram, lets it be handled and returns the reply, if any.
    std::optional<std::string> handle(const Station& from, const std::string& datagram) {
        from.send(datagram);
        mfgp_parserHandler(ctx.get());
        return from.receive(0);
    }

    std::unique_ptr<ServiceContext> ctx = std::make_unique<ServiceContext>();
    const Station station, other;
};

TEST_F(ReceivePath, SystemInitAndCancelFollowTheFlags) {
    constexpr uint8_t kInit = 5, kCancel = 6;
    for (const auto& [type, before, after, replied] :
         {std::tuple{kInit, kFlagsAtStart, kFlagsAtStart | 1U, true},
          {kInit, kFlagsAtStart & ~2U, kFlagsAtStart & ~2U, false},
          {kCancel, kFlagsAtStart, kFlagsAtStart, false},
          {kCancel, kFlagsAtStart & ~4U, kFlagsAtStart & ~6U, false},   // a MAC was written
          {kCancel, kFlagsAtStart & ~8U, kFlagsAtStart & ~10U, false},  // a PIN
          {kCancel, kFlagsAtStart & ~0x2000U, kFlagsAtStart & ~0x2000U, false}}) {
        ctx->flags = before;
        EXPECT_EQ(handle(station, wireOf({.type = type})).has_value(), replied);
        EXPECT_EQ(ctx->flags, after) << before;
        EXPECT_EQ(ctx->peerBound, type == kInit ? 1 : 0);
    }
}

TEST_F(ReceivePath, OnlyTheBoundStationKeepsTheBindingAlive) {
    EXPECT_TRUE(handle(other, "\1"));
    EXPECT_EQ(ctx->peerBound, 0);
    for (const auto& [from, type, beat] : {std::tuple{&station, uint8_t{4}, 1234U},
                                           {&other, uint8_t{4}, 7U},
                                           {&station, uint8_t{99}, 1234U}}) {
        ctx->lastBeat = 7;
        EXPECT_TRUE(handle(*from, wireOf({.type = type})));
        EXPECT_EQ(ctx->peerBound, 1);
        EXPECT_EQ(ctx->lastBeat, beat);
    }
    EXPECT_EQ(mfgp_parserHandler(ctx.get()), -10106) << "nothing is there";
}

TEST_F(ReceivePath, BytesThatDidNotComeReadAsZero) {
    EXPECT_TRUE(handle(station, wireOf({.type = 4, .payload = "of an earlier packet"})));
    const std::string whole = wireOfCipherText(4, std::string(8, '\0'));
    EXPECT_EQ(handle(station, whole.substr(0, 28)).value_or("none").at(3), 0);
}

TEST_F(ReceivePath, ADatagramThatIsTheShortReply_IsNotAnswered) {
    const std::string shortReply("\0\0\0\7\0\0\0\0\0\0\0\0", 12);
    EXPECT_FALSE(handle(station, shortReply));
    EXPECT_EQ(handle(station, shortReply + '\0'), shortReply);
    EXPECT_EQ(handle(station, shortReply.substr(0, 11)), shortReply);
}

}  // namespace
