// Receive, peer binding, packet types and bad input, against the real daemon.
#include <gtest/gtest.h>
#include <signal.h>

#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>

#include "tests/support/unit.h"
#include "tests/support/wire.h"

namespace {

std::string header(uint8_t type, uint8_t code, uint8_t info) {
    return {2, static_cast<char>(type), static_cast<char>(code), static_cast<char>(info)};
}

TEST(Receive, AnotherVersionGetsTheShortReplyAndDoesNotBind) {
    Unit unit;
    const Station bound;
    const Station other;
    const std::string shortReply = std::string("\0\0\0\7", 4) + std::string(8, '\0');
    for (int version = 0; version < 256; version++) {
        if (version == 2)
            continue;
        other.send(std::string(1, static_cast<char>(version)) + std::string(40, 'x'));
        EXPECT_EQ(other.receive(), shortReply) << version;
    }
    other.send("");
    EXPECT_EQ(other.receive(), shortReply) << "an empty datagram";
    EXPECT_EQ(bound.ask({.type = 4}).info(), 0);
    other.send("\1");
    EXPECT_EQ(other.receive(), shortReply) << "while another station is bound";
}

TEST(Receive, OneStationAtATimeUntilItCancels) {
    Unit unit;
    const Station first({}, "127.0.0.1", 5000);
    const Station second({}, "127.0.0.2", 5000);  // another address, the same port
    EXPECT_EQ(first.ask({.type = 4}).info(), 0);
    const Answer refused = second.ask({.type = 4, .subType = 7, .payload = "secret"});
    EXPECT_EQ(refused.header.substr(0, 4), header(4, 2, 8));
    EXPECT_EQ(refused.header.substr(10, 2), std::string(2, '\0'));
    EXPECT_EQ(refused.wire.size(), 28U);
    EXPECT_EQ(first.ask({.type = 4}).info(), 0);
    first.send(wireOf({.type = 6}));
    EXPECT_FALSE(first.receive(200)) << "a cancelled test gets no reply";
    EXPECT_EQ(second.ask({.type = 4}).info(), 0);
    EXPECT_EQ(first.ask({.type = 4}).info(), 8);
    const Station third({}, "127.0.0.2", 5001);  // the same address, another port
    EXPECT_EQ(third.ask({.type = 4}).info(), 8);
}

TEST(Receive, ADamagedRequestIsRefusedButBinds) {
    Unit unit;
    const Station station;
    station.send(wireOf({.subType = 55, .payload = "12345678", .spoilDigest = true}));
    const auto reply = station.receive();
    ASSERT_TRUE(reply);
    const Answer answer = openAnswer(*reply);
    EXPECT_EQ(answer.header.substr(0, 4), header(3, 2, 9));
    EXPECT_EQ(answer.wire.size(), 28U);
    EXPECT_EQ(answer.header.at(10), 55) << "the request's sub-type is kept";
    EXPECT_NE(unit.errors().find(errorLine(-10306, "v2 decode md5 error")), std::string::npos);
    EXPECT_EQ(unit.calls(), std::vector<std::string>{});
    const Station other;
    EXPECT_EQ(other.ask({.type = 4}).info(), 8);
}

TEST(PacketTypes, AnswerAsAgreed) {
    Unit unit;
    const Station station;
    EXPECT_EQ(unit.errors(), "");
    const Answer set = station.ask({.type = 1, .subType = 77, .payload = "key value"});
    EXPECT_EQ(set.header.substr(0, 4), header(1, 2, 0));
    EXPECT_EQ(set.header.at(10), 77);
    EXPECT_EQ(set.length(), 0U);
    const std::string setTrace = unit.trace();
    EXPECT_NE(setTrace.find("] MFGPv2: Set basic configure\n"), std::string::npos);
    EXPECT_NE(setTrace.find("] setCfg: key value\n"), std::string::npos);

    const Answer get =
        station.ask({.type = 2, .subType = 78, .payload = "lan_ip of the unit, please"});
    EXPECT_EQ(get.header.substr(0, 4), header(2, 2, 0));
    EXPECT_EQ(get.header.at(10), 78);
    EXPECT_EQ(get.wire.size(), 52U);
    EXPECT_EQ(get.payload, std::string("lan_ip 192.168.1.123\0\0\0\0", 24));
    const std::string trace = unit.trace();
    EXPECT_NE(trace.find("] MFGPv2: Get basic configure\n"), std::string::npos);
    EXPECT_NE(trace.find("] getCfg: lan_ip of the unit, please\n"), std::string::npos);

    const Answer beat = station.ask({.type = 4, .subType = 9, .payload = "echoed"});
    EXPECT_EQ(beat.header.substr(0, 4), header(4, 0, 0));
    EXPECT_EQ(beat.payload, std::string("echoed\0\0", 8));

    EXPECT_NE(unit.trace().find("] MFGPv2: Recive heartbeat packet\n"), std::string::npos);
    const Answer init = station.ask({.type = 5, .payload = "x"});
    EXPECT_EQ(init.header.substr(0, 4), header(5, 2, 0));
    EXPECT_EQ(init.length(), 0U);
    EXPECT_NE(unit.trace().find("] MFGPv2: Receive sys init packet 0X7F0FF\n"), std::string::npos);

    EXPECT_EQ(station.ask({.type = 8, .payload = std::string(400, 'x')}).text().substr(1, 4),
              ".00,");
    EXPECT_NE(unit.trace().find("] MFGPv2: receive TYPE_FTEST_USB\n"), std::string::npos);
    unit.remove("/proc/bus/usb/devices");
    const Answer usb = station.ask({.type = 8, .payload = std::string(400, 'x')});
    EXPECT_EQ(usb.header.substr(0, 4), header(8, 2, 0));
    EXPECT_EQ(usb.payload, std::string("No USB!\0", 8));
    EXPECT_EQ(unit.errors(), "");
}

TEST(PacketTypes, UnknownOnesGetAnEmptyDatagram) {
    Unit unit;
    const Station station;
    for (int type = 0; type < 256; type += type == 0 ? 9 : 1) {
        station.send(wireOf({.type = static_cast<uint8_t>(type)}));
        EXPECT_EQ(station.receive(), "") << type;
    }
    EXPECT_NE(unit.trace().find("] MFGPv2: unknow packet type: 255\n"), std::string::npos);
}

TEST(BadInput, EveryLengthFieldIsAnsweredOrRefused) {
    Unit unit;
    const Station station;
    const std::string body(44960, 'b');
    for (const uint32_t length : {0U, 1U, 7U, 8U, 9U, 44960U, 44965U, 44972U, 45000U, 0x7FFFFFFFU,
                                  0x80000000U, 0xFFFFFFE4U, 0xFFFFFFFFU}) {
        station.send(wireOf({.type = 4, .length = length}) + body);
        const auto reply = station.receive();
        ASSERT_TRUE(reply) << length;
        EXPECT_EQ(reply->at(3), length == 0 ? 0 : 9) << length;
    }
    EXPECT_EQ(station.ask({.type = 4, .payload = body}).payload, body);
    // A length within a block is deciphered to the block's end, and echoed with it.
    station.send(wireOfCipherText(4, std::string(13, 'c')));
    const auto echoed = station.receive();
    ASSERT_TRUE(echoed);
    EXPECT_EQ(openAnswer(*echoed).length(), 16U);
    // These decipher, but cannot be padded and ciphered again: an empty datagram and two reports.
    for (const size_t length : {44961U, 44964U}) {
        unit.errors();
        station.send(wireOfCipherText(4, std::string(length, 'c')));
        EXPECT_EQ(station.receive(), "");
        const std::string errors = unit.errors();
        EXPECT_NE(errors.find(errorLine(-10307, "v2 encode error")), std::string::npos);
        EXPECT_NE(errors.find(errorLine(-10307, "version 2 parser error")), std::string::npos);
    }
}

TEST(BadInput, RandomAndCutDatagramsChangeNothing) {
    Unit unit;
    const Station station;
    std::mt19937 random(1040);
    const std::string good = wireOf({.subType = 55, .payload = "argument"});
    for (int i = 0; i < 2000; i++) {
        std::string datagram = good.substr(0, random() % (good.size() + 1));
        if (i % 2 == 0)
            datagram += std::string(random() % 300, static_cast<char>(random()));
        for (char& byte : datagram)
            if (random() % 16 == 0)
                byte = static_cast<char>(random());
        if (datagram.size() > 1 && datagram[1] == 6)
            continue;  // gets no answer
        station.send(datagram);
        ASSERT_TRUE(station.receive()) << i;
    }
    EXPECT_EQ(station.command(55).text(), "02-1A-2B-13-7B-00");
}

TEST(Process, KeepsItsSocketFromTheToolsItRuns) {
    Unit unit;
    const Station station;
    std::string socketFd;
    for (const auto& entry :
         std::filesystem::directory_iterator("/proc/" + std::to_string(unit.daemon()) + "/fd"))
        if (std::filesystem::read_symlink(entry).string().rfind("socket:", 0) == 0)
            socketFd = entry.path().filename();
    ASSERT_NE(socketFd, "");
    unit.fault("fwinfo", "(: <&" + socketFd + ") 2>/dev/null && echo inherited && exit");
    EXPECT_EQ(station.command(55).text(), "02-1A-2B-13-7B-00");
}

TEST(Process, NeedsNoLibstdcxx) {
    std::ostringstream program;
    program << std::ifstream(MFGPD, std::ios::binary).rdbuf();
    if (program.str().find("libasan.so") != std::string::npos)
        GTEST_SKIP() << "a sanitizer brings it along";
    EXPECT_EQ(program.str().find("libstdc++.so"), std::string::npos);
}

}  // namespace
