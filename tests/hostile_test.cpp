// What a network can send, and a long life of requests: the daemon's process, descriptors and
// memory are afterwards what they were. MFGP_DATAGRAMS and MFGP_REQUESTS say how many, MFGP_SEED
// which.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <deque>
#include <fstream>
#include <random>
#include <set>

#include "tests/support/kernel.h"
#include "tests/support/unit.h"
#include "tests/support/wire.h"

namespace {

namespace fs = std::filesystem;

#ifdef __SANITIZE_ADDRESS__
constexpr bool kSanitized = true;  // keeps freed memory back: its size says nothing
#else
constexpr bool kSanitized = false;
#endif
constexpr long kWarmUp = 1000;  // messages after which the daemon is looked at first

long setting(const char* name, long otherwise) {
    const char* const text = getenv(name);
    return text != nullptr ? std::stol(text) : otherwise;
}

// What must stay as it is.
struct State {
    std::set<std::string> descriptors;
    long memory = 0;  // resident, in pages
};

std::set<std::string> descriptorsOf(const fs::path& process) {
    std::set<std::string> descriptors;
    std::error_code closed;  // meanwhile
    for (const auto& entry : fs::directory_iterator(process / "fd"))
        descriptors.insert(entry.path().filename().string() +
                           fs::read_symlink(entry, closed).string());
    return descriptors;
}

State stateOf(const Unit& unit) {
    unit.awaitRest();
    const fs::path process = "/proc/" + std::to_string(unit.daemon());
    State state = {descriptorsOf(process)};
    std::ifstream(process / "statm") >> state.memory >> state.memory;  // behind the size of all
    return state;
}

void expectUnchanged(const Unit& unit, const State& before) {
    constexpr long kGrowth = 16;
    ASSERT_TRUE(unit.running());
    const State after = stateOf(unit);
    EXPECT_EQ(after.descriptors, before.descriptors);
    EXPECT_TRUE(kSanitized || after.memory <= before.memory + kGrowth);
    std::cout << "resident: " << before.memory << " pages, then " << after.memory << "\n";
}

// Between two messages: the mode changes every now and then, and the logs, which would fill the
// disk, are emptied.
void prepare(const Unit& unit, long message) {
    constexpr long kModeLasts = 700;
    if (message % kModeLasts == 0)
        unit.setMode(message / kModeLasts % 2 == 0 ? "test" : "normal");
    if (message % 1000 == 999)
        for (const char* file : {"/log/stdout", "/log/stderr", "/calls.log"})
            fs::resize_file(unit.path(file), 0);
}

class HostileNetwork {
  public:
    explicit HostileNetwork(unsigned seed) : random_(seed) {
        for (int i = 1; i <= 16; i++)
            others_.emplace_back(Account{}, ("127.0.1." + std::to_string(i)).c_str());
    }
    Station main;

    // Commands that run tools take their time: all are met in the warm-up, and some later.
    void send(long number) {
        if (number < kWarmUp ? number % 2 == 0 : number % 40 == 0)
            main.send(nextCommand());
        else
            (below(3) == 0 ? others_[below(others_.size())] : main).send(datagram());
    }

    // Waits until what was sent has been handled, and has the main station bound. False when the
    // daemon does not answer.
    bool settle() {
        for (int attempt = 0; attempt < 3; attempt++) {
            const std::string fence = wireOf({.type = 4, .packetId = ++fence_});
            main.send(fence);
            std::optional<std::string> reply;
            do
                reply = main.receive();
            while (reply && (reply->size() < 28 || reply->at(1) != 4 ||
                             reply->compare(8, 2, fence, 8, 2) != 0));
            for (const Station& other : others_)
                while (other.receive(0)) {
                }
            if (!reply || reply->at(3) == 0)
                return reply.has_value();
            for (const Station& other : others_)  // one of them is bound; its cancel lets go
                other.send(wireOf({.type = 6}));
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
    std::string argument() {
        static const std::string kTexts[] = {
            "", "US", "{\"gear\":255}", "{\"band\":0,\"nss\":2}", "5", "1-3-0-60-1-19850"};
        return below(2) == 0 ? kTexts[below(std::size(kTexts))] : bytes(below(200));
    }
    // All sub-types and inner sub-types in their turn.
    std::string nextCommand() {
        const auto subType = static_cast<uint8_t>(commands_++ / 2);
        return commands_ % 2 == 0 ? wireOf({.type = 7, .payload = innerOf(subType, argument())})
                                  : wireOf({.type = 3, .subType = subType, .payload = argument()});
    }
    // Every class of length; some of those that can be deciphered rightly digested over it all,
    // however much of it is sent.
    std::string ofLength() {
        static constexpr uint32_t kLengths[] = {0, 1, 7, 8, 9, 1U << 31, 0xFFFFFFFF};
        static constexpr uint8_t kTypes[] = {3, 4, 7, 8, 99};
        // Half of them about the largest payload.
        const uint32_t length = below(2) == 0 ? kLengths[below(std::size(kLengths))]
                                              : static_cast<uint32_t>(44959 + below(14));
        const uint8_t type = kTypes[below(std::size(kTypes))];
        if (length > 44972 || (length > 9 && below(10) != 0))
            return wireOf({.type = type, .payload = bytes(below(60)), .length = length});
        const std::string whole = wireOfCipherText(type, std::string(length, '\0'));
        return below(2) == 0 ? whole : whole.substr(0, below(whole.size()));
    }
    // Of every type in its turn, digested and ciphered as it should be whatever it holds.
    std::string ofType() {
        const bool isInner = ++type_ == 7;
        const auto subType = static_cast<uint8_t>(below(isInner ? 70 : 10));
        return wireOf({.type = type_,
                       .subType = subType,
                       .payload = isInner ? innerOf(subType, argument()) : argument(),
                       .packetId = static_cast<uint16_t>(random_())});
    }
    std::string mutated() {
        std::string wire = wireOf({.type = static_cast<uint8_t>(below(10)), .payload = argument()});
        for (size_t i = below(3) + 1; i > 0; i--)
            wire[below(wire.size())] = static_cast<char>(random_());
        return below(4) == 0 ? wire.substr(0, below(wire.size() + 1)) : wire;
    }
    std::string datagram() {
        const size_t kind = below(5);
        if (kind < 2)  // some of the right version, at least
            return std::string(kind, '\2') + bytes(below(below(500) == 0 ? 60000 : 100));
        return kind == 2 ? ofLength() : kind == 3 ? mutated() : ofType();
    }

    std::mt19937 random_;
    std::deque<Station> others_;
    uint32_t commands_ = 0;
    uint8_t type_ = 0;
    uint16_t fence_ = 0;
};

TEST(Hostile, NothingThatIsSentChangesTheDaemon) {
    const long count = setting("MFGP_DATAGRAMS", kSanitized ? 20000 : 100000);
    const auto seed = static_cast<unsigned>(setting("MFGP_SEED", 20240517));
    std::cout << count << " datagrams, MFGP_SEED=" << seed << "\n";
    Unit unit;
    HostileNetwork network(seed);
    State before;
    for (long sent = 0; sent < count; sent++) {
        const bool isMarked = sent == std::min(kWarmUp, count / 2);
        ASSERT_TRUE((sent % 32 != 0 && !isMarked) || network.settle())
            << "before datagram " << sent;
        if (isMarked)
            before = stateOf(unit);
        prepare(unit, sent);
        network.send(sent);
    }
    ASSERT_TRUE(network.settle());
    expectUnchanged(unit, before);
    unit.write("/fw/MAC", "02-1A-2B-13-7B-99\n");
    EXPECT_EQ(network.main.command(55).text(), "02-1A-2B-13-7B-99");
}

// clang-format off
const Request kReads[] = {
    {.type = 1}, {.type = 2}, {.type = 4}, {.type = 5}, {.type = 8}, {.subType = 69}, {.subType = 87}, {.subType = 113}, {.subType = 0}};
constexpr uint8_t kToolReads[] = {
    10, 50, 53, 55, 56, 57, 58, 59, 64, 66, 68, 70, 71, 78, 79, 86, 88, 91, 105, 106, 107, 108, 109, 110, 115, 116, 131, 135};
// clang-format on

// Every request that reads, in and outside produce mode, then the gated ones without the mode's
// option. At last the kernel says that nothing has come for long enough: the daemon ends by itself,
// and a sanitizer looks for what it has not freed.
TEST(LongLife, ReadsLeaveNothingBehind) {
    const long count = setting("MFGP_REQUESTS", 2000);
    Unit unit;
    const Station station;
    State before;
    for (long asked = 0; asked < count; asked++) {
        if (asked == std::min(kWarmUp, count / 2))
            before = stateOf(unit);
        prepare(unit, asked);
        // One in five runs tools, which takes far longer than all that the daemon itself does.
        const auto turn = static_cast<size_t>(asked);
        const uint8_t subType = kToolReads[turn / 5 % std::size(kToolReads)];
        if (turn % 5 != 0)
            station.ask(kReads[turn % std::size(kReads)]);
        else if (subType == 70 || subType == 71)
            station.encrypted(static_cast<uint8_t>(subType + turn % 2));
        else
            station.command(subType, R"({"band":0,"nss":2})");
    }
    unit.write("/etc/config/wanDetect", "config settings 'settings'\n");
    for (int i = 0; i < 300; i++)
        ASSERT_EQ(station.command(10).info(), 3);
    expectUnchanged(unit, before);
    {
        // Held until strace has let go: who is traced cannot be looked through by a sanitizer.
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

}  // namespace
