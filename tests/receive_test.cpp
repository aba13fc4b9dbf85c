// The receive path in this process, with this program's clock and account check. The tests look at
// the context after a datagram.
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

TEST_F(ReceivePath, Init_IsAnsweredUntilACancelAfterSetMacOrSetPin) {
    constexpr uint32_t kNone = 0;
    const auto expectFlags = [&](uint8_t type, uint32_t spentBefore, uint32_t clearedByPacket) {
        ctx->flags = kFlagsAtStart & ~spentBefore;
        const uint32_t reply = type == kInit && spentBefore == kNone ? kFlagSendReply : kNone;
        EXPECT_EQ(handle(station, wireOf({.type = type})).has_value(), reply != kNone);
        EXPECT_EQ(ctx->flags, (kFlagsAtStart & ~spentBefore & ~clearedByPacket) | reply);
        EXPECT_EQ(ctx->peerBound, type == kInit ? 1 : 0);
    };
    expectFlags(kInit, kNone, kNone);
    expectFlags(kInit, kFlagSystemReady, kNone);
    expectFlags(kCancel, kNone, kNone);
    expectFlags(kCancel, kFlagSetMac, kFlagSystemReady);
    expectFlags(kCancel, kFlagSetPin, kFlagSystemReady);
    expectFlags(kCancel, kFlagSetOemId, kNone);
}

TEST_F(ReceivePath, OnlyTheBoundStation_KeepsTheBindingAlive) {
    EXPECT_TRUE(handle(other, "\1"));
    EXPECT_EQ(ctx->peerBound, 0);
    for (const auto& [from, beat] : {std::pair{&station, 1234U}, {&other, 7U}, {&station, 1234U}}) {
        ctx->lastBeat = 7;
        EXPECT_TRUE(handle(*from, wireOf({.type = kHeartbeat})));
        EXPECT_EQ(ctx->peerBound, 1);
        EXPECT_EQ(ctx->lastBeat, beat);
    }
    EXPECT_EQ(mfgp_parserHandler(ctx.get()), -10106) << "without a datagram";
}

TEST_F(ReceivePath, ADatagramThatIsTheShortReply_IsNotAnswered) {
    const std::string shortReply("\0\0\0\7\0\0\0\0\0\0\0\0", 12);
    EXPECT_FALSE(handle(station, shortReply));
    EXPECT_EQ(handle(station, shortReply + '\0'), shortReply);
}

}  // namespace
