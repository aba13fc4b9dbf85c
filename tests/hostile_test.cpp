// Hostile datagrams to a daemon that is restarted now and then. No text in them runs as a command,
// and the daemon's process, descriptors and memory do not change. MFGP_DATAGRAMS sets their number.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <fstream>
#include <random>

#include "tests/support/command_rows.h"
#include "tests/support/unit.h"

namespace {

namespace fs = std::filesystem;

#ifdef __SANITIZE_ADDRESS__
constexpr bool kSanitized = true;  // freed memory is kept, so its size says nothing
#else
constexpr bool kSanitized = false;
#endif
constexpr long kWarmUp = 1120;  // each command, in both forms
constexpr long kLife = 10000;   // datagrams until a restart permits the once-only writes again

class HostileNetwork {
  public:
    const Station main, stranger;

    // All commands in the warm-up, few later, because the tools that they run take time.
    void send(long number) {
        const bool isCommand = number < kWarmUp ? number % 2 == 0 : number % 40 == 0;
        commands_ += isCommand ? 1 : 0;
        if (isCommand)
            main.send(request(commands_ % 2 == 0 ? 3 : 7, commands_ / 2));
        else
            (below(3) == 0 ? stranger : main).send(datagram());
    }

    // Waits until every datagram is handled, and binds the main station. Returns false if no answer
    // arrives.
    bool settle() {
        for (const Station* bound : {&stranger, &main})
            bound->send(wireOf({.type = kCancel}));
        const std::string heartbeat = wireOf({.type = kHeartbeat, .packetId = ++heartbeats_});
        main.send(heartbeat);
        std::optional<std::string> reply;
        do
            reply = main.receive();
        while (reply && *reply != heartbeat);
        while (stranger.receive(0)) {
        }
        return reply.has_value();
    }

  private:
    size_t below(size_t bound) { return random_() % bound; }
    std::string bytes(size_t length) {
        std::string text(length, '\0');
        std::ranges::generate(text, [this] { return static_cast<char>(random_()); });
        return text;
    }
    // Returns random bytes, a command's argument, text that makes a file if it runs, or these two.
    std::string argument() {
        static const std::vector<CommandRow> kRows = allCommands();
        static const std::string kCanaries[] = {"$(>/c)", "`>/c`", "';>/c;'", "|>/c&", "\n>/c"};
        const size_t kind = below(4);
        if (kind == 0)
            return bytes(below(200));
        return (kind != 2 ? kRows[below(kRows.size())].argument : "") +
               (kind != 1 ? kCanaries[below(std::size(kCanaries))] : "");
    }
    std::string request(size_t type, size_t subType) {
        const auto sub = static_cast<uint8_t>(subType);
        return wireOf({.type = static_cast<uint8_t>(type),
                       .subType = sub,
                       .payload = type == 7 ? innerOf(sub, argument()) : argument()});
    }
    // Returns a whole, damaged or cut packet, or random bytes.
    std::string datagram() {
        std::string wire = request(below(10), random_());
        for (size_t i = below(2) * below(4); i > 0; i--)
            wire[below(wire.size())] = static_cast<char>(random_());
        const size_t kind = below(8);
        return kind == 0 ? bytes(below(100)) : kind == 1 ? wire.substr(0, below(28)) : wire;
    }

    std::mt19937 random_;
    uint32_t commands_ = 0;
    uint16_t heartbeats_ = 0;
};

struct Resources {
    long descriptors = 0, pages = 0;  // resident pages
};

// Waits until the daemon is back in select().
Resources resourcesOf(const Unit& unit) {
    const fs::path process = "/proc/" + std::to_string(unit.daemon());
    eventually([&] { return contains(readFile(process / "stat"), ") S "); });
    Resources used = {.descriptors = std::distance(fs::directory_iterator(process / "fd"), {})};
    std::ifstream(process / "statm") >> used.pages >> used.pages;  // after the total
    return used;
}

TEST(Hostile, HostileDatagrams_RunNoCommandOfTheirOwn_AndLeakNothing) {
    const char* const wanted = getenv("MFGP_DATAGRAMS");
    const long count = wanted != nullptr ? std::stol(wanted) : kSanitized ? 20000 : 100000;
    const long life = std::min(count, kLife);
    HostileNetwork network;
    Unit unit;
    Resources before;
    for (long sent = 0; sent < count; sent++) {
        const long age = sent % life;
        if (age == 0) {
            unit.stop();
            unit.start();
        }
        ASSERT_TRUE(age % 32 != 0 || network.settle()) << sent;
        if (age == kWarmUp)
            before = resourcesOf(unit);
        if (age % 700 == 0)
            unit.setMode(age % 1400 == 0 ? "test" : "normal");
        if (age % 1000 == 999)  // the logs would fill the disk
            for (const char* file : {"/log/stdout", "/log/stderr", "/calls.log"})
                fs::resize_file(unit.path(file), 0);
        network.send(age);
        if (age < life - 1)
            continue;
        ASSERT_TRUE(network.settle()) << sent;
        const Resources after = resourcesOf(unit);
        EXPECT_EQ(after.descriptors, before.descriptors);
        EXPECT_LE(kSanitized ? 0 : after.pages, before.pages + 16);
        EXPECT_FALSE(unit.exists("/c"));
    }
}

// The sources are neighbours that do not exist, so answers to them wait for address resolution.
TEST(Hostile, ForgedSources_DoNotDelayTheBoundStation) {
    if (system("ip link add f0 type veth peer name f1 && ip addr add 10.0.0.1/16 dev f0 && "
               "ip link set f0 up && ip link set f1 up") != 0)
        GTEST_SKIP() << "needs iproute2 and a network of its own";
    Unit unit;
    const Station station;
    station.command(kGetDeviceId);
    for (int host = 0; host < 300; host++, usleep(4000))
        Station({},
                ("10.0.1" + std::to_string(host % 100) + '.' + std::to_string(host / 100)).c_str())
            .send("\1");
    const auto start = std::chrono::steady_clock::now();
    station.command(kGetDeviceId);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(500));
}

}  // namespace
