// Verdicts of mfgp-station: what is not a PASS, what is not a reply, and what is never shown.
#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <stdexcept>
#include <thread>

#include "commands/json_handle.h"
#include "station/json_values.h"
#include "tests/support/client.h"
#include "tests/support/unit.h"

namespace {

TEST(StationVerdict, AValueThatMeansNothing_Fails) {
    Unit unit({StateFile{"/fw/OEM_ID", ""}, StateFile{"/fans/speeds", "2\n"},
               StateFile{"/modem/imei", "123456789012345"}});
    const std::string json = "$station -o json ";
    shell("$station fan recheck");
    const struct {
        const char* words;
        const char* message;
    } rows[] = {
        {"get oem-id", "no value for it"},
        {"get antenna-level", "'999' (no level was measured)"},
        {"get imei", "'999999999999999' (flash and modem differ"},
        {"fan speeds 2", "no speed is known for this gear"},
        {"rssi-spread --band 1 --nss 1", "a single reading is not a spread"},
    };
    for (const auto& row : rows) {
        const ShellResult result = shell(json + row.words +
                                         " | jq -c '[.outcome, .value, (.raw | "
                                         "length > 0), .message]'");
        EXPECT_NE(result.output.find(R"(["FAIL",null,true)"), std::string::npos) << result.output;
        EXPECT_NE(result.output.find(row.message), std::string::npos) << result.output;
    }
}

// Sends every datagram back to its sender.
class UdpEcho {
  public:
    UdpEcho() : fd_(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
        sockaddr_in address = {};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t length = sizeof address;
        if (bind(fd_, reinterpret_cast<sockaddr*>(&address), length) != 0 ||
            getsockname(fd_, reinterpret_cast<sockaddr*>(&address), &length) != 0)
            throw std::runtime_error("no echo");
        port = ntohs(address.sin_port);
        thread_ = std::thread([this] { run(); });
    }
    ~UdpEcho() {
        shutdown(fd_, SHUT_RDWR);
        isOver_ = true;
        thread_.join();
        close(fd_);
    }
    int port = 0;

  private:
    void run() const {
        char buffer[2048];
        while (!isOver_) {
            pollfd poll = {fd_, POLLIN, 0};
            sockaddr_in from = {};
            socklen_t length = sizeof from;
            if (::poll(&poll, 1, 50) != 1)
                continue;
            const ssize_t size = recvfrom(fd_, buffer, sizeof buffer, MSG_DONTWAIT,
                                          reinterpret_cast<sockaddr*>(&from), &length);
            if (size > 0)
                sendto(fd_, buffer, static_cast<size_t>(size), 0,
                       reinterpret_cast<sockaddr*>(&from), length);
        }
    }
    int fd_;
    std::atomic<bool> isOver_ = false;
    std::thread thread_;
};

TEST(StationVerdict, AnEchoOfTheRequest_IsNotAReply) {
    const UdpEcho echo;
    const std::string to = "--timeout 0.1 --port " + std::to_string(echo.port) + " ";
    for (const char* command : {"get calibration", "get mac", "set pin 12345678", "reset --yes"}) {
        const ShellResult result = shell("$station " + to + command);
        EXPECT_EQ(result.exitCode, 3) << command << result.output;
    }
    expectRows({{to + "raw 4 0", 6, "an echo of the request, not a reply"},
                {to + "heartbeat", 0, "OK"}});  // a unit sends it back in the same way
}

TEST(StationVerdict, Secrets_AreHidden) {
    Unit unit;
    for (const std::string command : {"$station -o json -vvv set pin 12345678",
                                      "echo 'set pin 12345678' | $station -y -vvv run -",
                                      "echo 'get mac --password 12345678' | $station run -",
                                      "$station -o json -vvv -y raw 3 76 3132333435363738"}) {
        const ShellResult result = shell(command);
        EXPECT_NE(result.output.find("********"), std::string::npos) << result.output;
        for (const char* secret : {"12345678", "3132333435363738"})
            EXPECT_EQ(result.output.find(secret), std::string::npos) << result.output;
    }
    expectRows({{"-o json --show-secrets set pin 12345678", 1, R"(["12345678"])"}});
}

TEST(StationVerdict, JsonOfAUnit_IsParsedWholeOrNotAtAll) {
    using station::decodeJson, station::jsonLine, station::jsonOf;
    const struct {
        std::string_view sent;
        const char* line;
    } rows[] = {
        {R"({"pack":3})", R"({"pack":3})"},
        {R"({"pack":3} x)", R"("{\"pack\":3} x")"},
        {"[NaN]", R"("[NaN]")"},
        {"[Infinity]", R"("[Infinity]")"},
        {"[1e999]", R"("[1e999]")"},
        {R"(["\u001b[2J\u007f\u00e9\ud83d\ude00"])", R"(["\u001b[2J\u007f\u00e9\ud83d\ude00"])"},
        {"\x1b[2J", R"("\\x1b[2J")"},
    };
    for (const auto& row : rows) {
        station::Reply reply = {};
        reply.payload.assign(row.sent.begin(), row.sent.end());
        const Json json(jsonOf(decodeJson(reply)));
        EXPECT_EQ(jsonLine(json.get()), row.line);
    }
}

}  // namespace
