// Receive, peer binding, packet types and bad input, against the real daemon.
#include "tests/support/commands.h"

namespace {

std::string header(uint8_t type, uint8_t code, uint8_t info) {
    return {2, static_cast<char>(type), static_cast<char>(code), static_cast<char>(info)};
}

class Protocol : public testing::Test {
  protected:
    Unit unit;
    const Station station = Station({}, "127.0.0.1", 5000), other = Station({}, "127.0.0.2", 5000);
};

TEST_F(Protocol, AnotherVersionGetsTheShortReplyAndDoesNotBind) {
    const std::string shortReply = std::string("\0\0\0\7", 4) + std::string(8, '\0');
    for (int version = 0; version < 256; version++) {
        if (version == 2)
            continue;
        other.send(std::string(1, static_cast<char>(version)) + std::string(40, 'x'));
        EXPECT_EQ(other.receive(), shortReply) << version;
    }
    EXPECT_EQ(station.ask({.type = 4}).info(), 0);
    for (const char* datagram : {"", "\1"}) {
        other.send(datagram);
        EXPECT_EQ(other.receive(), shortReply) << "while another station is bound";
    }
}

TEST_F(Protocol, ServesOneStationUntilItCancels) {
    // A damaged request is refused, but binds.
    station.send(wireOf({.subType = 55, .payload = "12345678", .spoilDigest = true}));
    const Answer damaged = openAnswer(station.receive().value_or(""));
    EXPECT_EQ(damaged.header.substr(0, 4), header(3, 2, 9));
    EXPECT_EQ(damaged.header.substr(10, 2), std::string("\x37\0", 2)) << "as in the request";
    EXPECT_EQ(damaged.wire.size(), 28U);
    EXPECT_NE(unit.errors().find(errorLine(-10306, "v2 decode md5 error")), std::string::npos);
    EXPECT_EQ(unit.calls(), Lines{});

    const Answer refused = other.ask({.type = 4, .subType = 7, .payload = "secret"});
    EXPECT_EQ(refused.header.substr(0, 4), header(4, 2, 8));
    EXPECT_EQ(refused.header.substr(10, 2), std::string(2, '\0'));
    EXPECT_EQ(refused.wire.size(), 28U);
    EXPECT_EQ(station.ask({.type = 4}).info(), 0);
    station.send(wireOf({.type = 6}));
    EXPECT_FALSE(station.receive(200)) << "a cancelled test gets no reply";
    EXPECT_EQ(other.ask({.type = 4}).info(), 0);
    EXPECT_EQ(station.ask({.type = 4}).info(), 8);
    EXPECT_EQ(Station({}, "127.0.0.2", 5001).ask({.type = 4}).info(), 8) << "another port";
}

TEST_F(Protocol, EachPacketTypeIsAnsweredAsAgreed) {
    const std::string lanIp("lan_ip 192.168.1.123\0\0\0\0", 24);
    const std::string set = "set this", get = "lan_ip of the unit?";
    for (const auto& [type, payload, code, answer, said] :
         {std::tuple{uint8_t{1}, set, 2, std::string(), "] setCfg: set this\n"},
          {uint8_t{2}, get + get, 2, lanIp, "] getCfg: lan_ip of the unit?lan_ip"},
          {uint8_t{4}, set, 0, set, "] MFGPv2: Recive heartbeat packet\n"},
          {uint8_t{5}, set, 2, "", "] MFGPv2: Receive sys init packet 0X7F0FF\n"},
          {uint8_t{8}, get, 2, std::string("No USB!\0", 8),
           "] MFGPv2: receive TYPE_FTEST_USB\n"}}) {
        if (type == 8)
            unit.remove("/proc/bus/usb/devices");
        const Answer reply = station.ask({.type = type, .subType = 77, .payload = payload});
        EXPECT_EQ(reply.header.substr(0, 4), header(type, static_cast<uint8_t>(code), 0));
        EXPECT_EQ(reply.payload, answer);
        EXPECT_TRUE(type == 5 || type == 8 || reply.header.at(10) == 77);
        EXPECT_NE(unit.trace().find(said), std::string::npos) << said;
    }
    unit.write("/proc/bus/usb/devices",
               "D:  Ver= 3.1\nP: Vendor=a ProdID=b\nS: SerialNumber=c\nI: Cls=08\n");
    EXPECT_EQ(station.ask({.type = 8, .payload = get}).payload,
              "3.00,a,b,c;" + std::string(5, '\0'));
    EXPECT_EQ(unit.errors(), "");
    for (int type = 0; type < 256; type += type == 0 ? 9 : 1) {
        station.send(wireOf({.type = static_cast<uint8_t>(type)}));
        EXPECT_EQ(station.receive(), "") << type;
    }
    EXPECT_NE(unit.trace().find("] MFGPv2: unknow packet type: 255\n"), std::string::npos);
}

TEST_F(Protocol, WhatCannotBeCipheredAgainIsAnsweredByNothing) {
    station.send(wireOfCipherText(4, std::string(44964, 'c')));
    EXPECT_EQ(station.receive(), "");
    const std::string errors = unit.errors();
    EXPECT_NE(errors.find(errorLine(-10307, "v2 encode error")), std::string::npos);
    EXPECT_NE(errors.find(errorLine(-10307, "version 2 parser error")), std::string::npos);
}

}  // namespace
