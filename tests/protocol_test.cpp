// Receive, peer binding, packet types and bad input, against the real daemon.
#include "tests/support/commands.h"

namespace {

std::string header(uint8_t type, uint8_t info, uint8_t code = 2) {
    return {2, static_cast<char>(type), static_cast<char>(code), static_cast<char>(info)};
}

class Protocol : public testing::Test {
  protected:
    Unit unit;
    const Station station = Station({}, "127.0.0.1", 5000), other = Station({}, "127.0.0.2", 5000);
};

TEST_F(Protocol, AnotherVersion_GetsTheShortReplyAndDoesNotBind) {
    const std::string shortReply = std::string("\0\0\0\7", 4) + std::string(8, '\0');
    for (const char version : {'\0', '\1', '\3', '2', '\xFF'}) {
        other.send(version + x(40));
        EXPECT_EQ(other.receive(), shortReply) << int{version};
    }
    EXPECT_EQ(station.ask({.type = kHeartbeat}).info(), 0);
    for (const char* datagram : {"", "\1"}) {
        other.send(datagram);
        EXPECT_EQ(other.receive(), shortReply) << "while another station is bound";
    }
}

TEST_F(Protocol, OneStation_IsServedUntilItCancels) {
    // A damaged request is refused, but binds the daemon to its sender.
    station.send(wireOf({.subType = kGetMac, .payload = "12345678", .spoilDigest = true}));
    const Answer damaged = openAnswer(station.receive().value_or(""));
    EXPECT_EQ(damaged.header.substr(0, 4), header(kSpecial, kNotDecoded));
    EXPECT_EQ(damaged.header.substr(10, 2), std::string("\x37\0", 2)) << "as in the request";
    EXPECT_EQ(damaged.wire.size(), 28U);
    EXPECT_TRUE(contains(unit.errors(), errorLine(-10306, "v2 decode md5 error")));
    EXPECT_EQ(unit.calls(), Lines{});

    const Answer refused = other.ask({.type = kHeartbeat, .subType = 7, .payload = "secret"});
    EXPECT_EQ(refused.header.substr(0, 4), header(kHeartbeat, kBoundToAnother));
    EXPECT_EQ(refused.header.substr(10, 2), std::string(2, '\0'));
    EXPECT_EQ(refused.wire.size(), 28U);
    EXPECT_EQ(station.ask({.type = kHeartbeat}).info(), 0);
    station.send(wireOf({.type = kCancel}));
    EXPECT_EQ(other.ask({.type = kHeartbeat}).info(), 0);
    EXPECT_FALSE(station.receive(0)) << "a cancelled test gets no reply";
    EXPECT_EQ(station.ask({.type = kHeartbeat}).info(), kBoundToAnother);
    EXPECT_EQ(Station({}, "127.0.0.2", 5001).ask({.type = kHeartbeat}).info(), kBoundToAnother);
}

TEST_F(Protocol, EachPacketType_IsAnswered) {
    const std::string set = "set this", get = "lan_ip of the unit?";
    const auto expectAnswer = [&](uint8_t type, const std::string& payload,
                                  const std::string& answer, const std::string& logs) {
        const Answer reply = station.ask({.type = type, .subType = kSetGroup, .payload = payload});
        EXPECT_EQ(reply.header.substr(0, 4), header(type, 0, type == kHeartbeat ? 0 : 2));
        EXPECT_EQ(reply.payload, answer);
        EXPECT_TRUE(type == kInit || type == kListUsb || reply.header.at(10) == kSetGroup);
        EXPECT_TRUE(contains(unit.trace(), logs)) << logs;
    };
    unit.remove("/proc/bus/usb/devices");
    unit.errors();  // a sanitizer without /proc warns when it starts
    expectAnswer(kSetConfig, set, "", "] setCfg: set this\n");
    expectAnswer(kGetConfig, get + get, padded("lan_ip 192.168.1.123", 24), "] getCfg: lan_ip of");
    expectAnswer(kHeartbeat, set, set, "] MFGPv2: Recive heartbeat packet\n");
    expectAnswer(kInit, set, "", "] MFGPv2: Receive sys init packet 0X7F0FF\n");
    expectAnswer(kListUsb, get, padded("No USB!", 8), "] MFGPv2: receive TYPE_FTEST_USB\n");
    // A hub is not listed. Its serial number stays until a device has one.
    const std::string hub = "D:  Ver= 2.00\nP: Vendor=a ProdID=b\nS: SerialNumber=c\nI: Cls=09\n";
    const std::string disk = "D:  Ver= 3.10 Cls=00\nP: Vendor=d ProdID=e\nI: Cls=08\n";
    const std::string serial = "S: SerialNumber=f g\n", none = padded("No USB!", 8);
    for (const auto& [devices, answer] :
         {std::pair{hub, none},
          {disk, none},
          {hub + disk, padded("3.00,d,e,c;", 16)},
          {hub + serial + disk + disk, padded("3.00,d,e,f;3.00,d,e,f;", 24)}}) {
        unit.write("/proc/bus/usb/devices", devices);
        EXPECT_EQ(station.ask({.type = kListUsb}).payload, answer);
    }
    EXPECT_EQ(unit.errors(), "");
    for (const uint8_t type : std::initializer_list<uint8_t>{0, 9, 10, 127, 255}) {
        station.send(wireOf({.type = type}));
        EXPECT_EQ(station.receive(), "") << int{type};
    }
    EXPECT_TRUE(contains(unit.trace(), "] MFGPv2: unknow packet type: 255\n"));
}

TEST_F(Protocol, AHeartbeatThatCannotBeEncodedAgain_GetsAnEmptyDatagram) {
    station.send(wireOfCipherText(4, std::string(44964, 'c')));
    EXPECT_EQ(station.receive(), "");
    const std::string errors = unit.errors();
    EXPECT_TRUE(contains(errors, errorLine(-10307, "v2 encode error")));
    EXPECT_TRUE(contains(errors, errorLine(-10307, "version 2 parser error")));
}

}  // namespace
