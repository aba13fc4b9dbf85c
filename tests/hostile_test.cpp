// What a network can send to several lives of a daemon: nothing of it runs, and process,
// descriptors and memory stay what they were. MFGP_DATAGRAMS says how many datagrams, MFGP_SEED
// which.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <fstream>
#include <random>

#include "tests/support/kernel.h"
#include "tests/support/unit.h"
#include "tests/support/wire.h"

namespace {

namespace fs = std::filesystem;

#ifdef __SANITIZE_ADDRESS__
constexpr bool kSanitized = true;  // freed memory is kept, so its size says nothing
#else
constexpr bool kSanitized = false;
#endif
constexpr long kWarmUp = 1100;  // each command twice
constexpr long kLife = 10000;   // datagrams until a restart permits the once-only writes again

long setting(const char* name, long otherwise) {
    const char* const text = getenv(name);
    return text != nullptr ? std::stol(text) : otherwise;
}

class HostileNetwork {
  public:
    explicit HostileNetwork(unsigned seed) : random_(seed) {}
    const Station main, stranger;

    // All commands in the warm-up, few later, because the tools that they run take time.
    void send(long number) {
        if (number < kWarmUp ? number % 2 == 0 : number % 40 == 0)
            main.send(nextCommand());
        else
            (below(3) == 0 ? stranger : main).send(datagram());
    }

    // Waits until everything is handled, and binds the main station. Returns false without an
    // answer.
    bool settle() {
        for (int attempt = 0; attempt < 3; attempt++) {
            const std::string fence = wireOf({.type = 4, .packetId = ++fence_});
            main.send(fence);
            std::optional<std::string> reply;
            do
                reply = main.receive();
            while (reply && (reply->size() < 28 || reply->at(1) != 4 ||
                             reply->compare(8, 2, fence, 8, 2) != 0));
            while (stranger.receive(0)) {
            }
            if (!reply || reply->at(3) == 0)
                return reply.has_value();
            stranger.send(wireOf({.type = 6}));  // it was bound
        }
        return false;
    }

  private:
    size_t below(size_t bound) { return random_() % bound; }
    std::string bytes(size_t length) {
        std::string text(length, '\0');
        std::ranges::generate(text, [this] { return static_cast<char>(random_()); });
        return text;
    }
    // A valid argument, text that makes a file if a shell runs it, both, or neither.
    std::string argument() {
        static const std::string kTexts[] = {"US",
                                             "5",
                                             "{\"gear\":255}",
                                             "{\"band\":0,\"nss\":2}",
                                             "1-3-0-60-1-19850",
                                             "123456789012345",
                                             kGroup};
        static const std::string kCanaries[] = {"$(>/c)", "`>/c`", "';>/c;'", "|>/c&", "\n>/c"};
        const size_t kind = below(4);
        return (kind % 2 == 1 ? kTexts[below(std::size(kTexts))] : "") +
               (kind >= 2 ? kCanaries[below(std::size(kCanaries))] : "") +
               (kind == 0 ? bytes(below(200)) : "");
    }
    std::string request(uint8_t type, uint8_t subType) {
        return wireOf({.type = type,
                       .subType = subType,
                       .payload = type == 7 ? innerOf(subType, argument()) : argument()});
    }
    std::string nextCommand() {
        const auto subType = static_cast<uint8_t>(commands_++ / 2);
        return request(commands_ % 2 == 0 ? 7 : 3, subType);
    }
    // Whole, damaged, cut or of random bytes.
    std::string datagram() {
        std::string wire =
            request(static_cast<uint8_t>(below(10)), static_cast<uint8_t>(random_()));
        for (size_t i = below(2) * below(4); i > 0; i--)
            wire[below(wire.size())] = static_cast<char>(random_());
        const size_t kind = below(8);
        return kind == 0   ? bytes(below(below(500) == 0 ? 60000 : 100))
               : kind == 1 ? wire.substr(0, below(wire.size()))
                           : wire;
    }

    const std::string kGroup = R"({"pack":3,"gid":")" + std::string(36, 'g') + R"(","key":")" +
                               std::string(304, 'k') + "\"}";
    std::mt19937 random_;
    uint32_t commands_ = 0;
    uint16_t fence_ = 0;
};

struct State {
    long descriptors;
    long pages;  // resident
};

State stateOf(const Unit& unit) {
    unit.awaitRest();
    const fs::path process = "/proc/" + std::to_string(unit.daemon());
    State state = {std::distance(fs::directory_iterator(process / "fd"), {}), 0};
    std::ifstream(process / "statm") >> state.pages >> state.pages;  // after the total
    return state;
}

void live(Unit* unit, HostileNetwork* network, long count) {
    State before = {};
    for (long sent = 0; sent < count; sent++) {
        const bool isMarked = sent == std::min(kWarmUp, count / 2);
        ASSERT_TRUE((sent % 32 != 0 && !isMarked) || network->settle()) << "datagram " << sent;
        if (isMarked)
            before = stateOf(*unit);
        if (sent % 700 == 0)
            unit->setMode(sent % 1400 == 0 ? "test" : "normal");
        if (sent % 1000 == 999)  // the logs would fill the disk
            for (const char* file : {"/log/stdout", "/log/stderr", "/calls.log"})
                fs::resize_file(unit->path(file), 0);
        network->send(sent);
    }
    ASSERT_TRUE(network->settle() && unit->running());
    constexpr long kGrowth = 16;
    const State after = stateOf(*unit);
    EXPECT_EQ(after.descriptors, before.descriptors);
    EXPECT_TRUE(kSanitized || after.pages <= before.pages + kGrowth)
        << before.pages << " pages, then " << after.pages;
    EXPECT_FALSE(unit->exists("/c"));
}

TEST(Hostile, NothingThatIsSentChangesTheDaemon) {
    const long count = setting("MFGP_DATAGRAMS", kSanitized ? 20000 : 100000);
    const auto seed = static_cast<unsigned>(setting("MFGP_SEED", 20240517));
    std::cout << count << " datagrams, MFGP_SEED=" << seed << "\n";
    HostileNetwork network(seed);
    Unit unit;
    for (long sent = 0; sent < count && !HasFailure(); sent += kLife) {
        unit.stop();
        unit.start();
        live(&unit, &network, std::min(kLife, count - sent));
    }
    unit.write("/fw/MAC", "02-1A-2B-13-7B-99\n");
    EXPECT_EQ(network.main.command(55).text(), "02-1A-2B-13-7B-99");
    {
        // The wait ends without a datagram, so the daemon ends by itself and a sanitizer looks for
        // memory that is not freed. The delay lasts until strace detaches, because a sanitizer
        // cannot examine a traced process.
        const Injection silence(unit, kSelects, "retval=0:when=1:delay_exit=60000000");
        while (unit.read("/strace").find("INJECTED") == std::string::npos)
            usleep(10000);
    }
    for (int i = 0; i < 3000 && unit.running(); i++)
        usleep(10000);
    EXPECT_FALSE(unit.running());
    EXPECT_NE(unit.read("/log/stdout").find("mfgp task exit"), std::string::npos);
    const std::string errors = unit.read("/log/stderr");
    EXPECT_EQ(errors.find("Sanitizer"), std::string::npos) << errors;
}

// The sources are neighbours that do not exist, so answers to them wait for address resolution.
TEST(Hostile, ForgedSources_DoNotDelayTheBoundStation) {
    if (system("ip link add f0 type veth peer name f1 && ip addr add 10.0.0.1/16 dev f0 && "
               "ip link set f0 up && ip link set f1 up") != 0)
        GTEST_SKIP() << "needs iproute2 and a network of its own";
    Unit unit;
    const Station station;
    station.command(53);
    for (int host = 0; host < 300; host++, usleep(1000))
        Station({}, ("10.0." + std::to_string(host + 256)).c_str()).send("\1");
    const auto start = std::chrono::steady_clock::now();
    station.command(53);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(500));
}

}  // namespace
