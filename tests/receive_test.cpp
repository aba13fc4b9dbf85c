// The receive path in this process, with the clock and the account check of this program: what is
// left in the context after a datagram.
#include "core/receive.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <sys/socket.h>

#include <memory>

#include "core/clock.h"
#include "core/transport.h"
#include "protocol/account_check.h"
#include "protocol/cipher.h"
#include "tests/support/wire.h"

uint32_t mfgp_clock() {
    return 1234;
}

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
    std::optional<std::string> handle(const Station& station, const std::string& datagram) {
        station.send(datagram);
        mfgp_parserHandler(ctx.get());
        return station.receive(0);
    }

    std::unique_ptr<ServiceContext> ctx = std::make_unique<ServiceContext>();
};

TEST_F(ReceivePath, SystemInitAndCancelFollowTheFlags) {
    constexpr uint32_t kAll = kFlagsAtStart | kFlagSendReply;
    const struct {
        const char* what;
        uint8_t type;
        uint32_t before;
        uint32_t after;
        bool replied;
    } rows[] = {
        {"ready", 5, kFlagsAtStart, kAll, true},
        {"not ready", 5, kFlagsAtStart & ~2U, kFlagsAtStart & ~2U, false},
        {"nothing written", 6, kFlagsAtStart, kFlagsAtStart, false},
        {"MAC written", 6, kFlagsAtStart & ~4U, kFlagsAtStart & ~6U, false},
        {"PIN written", 6, kFlagsAtStart & ~8U, kFlagsAtStart & ~10U, false},
        {"OEM ID written", 6, kFlagsAtStart & ~0x2000U, kFlagsAtStart & ~0x2000U, false},
    };
    const Station station;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        ctx->flags = row.before;
        EXPECT_EQ(handle(station, wireOf({.type = row.type})).has_value(), row.replied);
        EXPECT_EQ(ctx->flags, row.after);
        EXPECT_EQ(ctx->peerBound, row.type == 6 ? 0 : 1);
    }
}

TEST_F(ReceivePath, OnlyTheBoundStationKeepsTheBindingAlive) {
    const Station bound;
    const Station other;
    EXPECT_TRUE(handle(other, std::string("\1", 1)));
    EXPECT_EQ(ctx->peerBound, 0);
    EXPECT_TRUE(handle(bound, wireOf({.type = 4})));
    EXPECT_EQ(ctx->peerBound, 1);
    EXPECT_EQ(ctx->lastBeat, 1234U);
    ctx->lastBeat = 7;
    EXPECT_TRUE(handle(other, wireOf({.type = 4})));
    EXPECT_EQ(ctx->lastBeat, 7U);
    EXPECT_TRUE(handle(bound, wireOf({.type = 99})));
    EXPECT_EQ(ctx->lastBeat, 1234U);
}

TEST_F(ReceivePath, BytesThatDidNotComeReadAsZero) {
    const Station station;
    EXPECT_TRUE(handle(station, wireOf({.type = 4, .payload = "of an earlier packet"})));
    const std::string whole = wireOfCipherText(4, std::string(8, '\0'));
    const auto reply = handle(station, whole.substr(0, 28));
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->at(3), 0);
}

TEST_F(ReceivePath, AWakeUpWithoutADatagramDoesNotBlock) {
    EXPECT_EQ(mfgp_parserHandler(ctx.get()), -10106);
}

}  // namespace
