// Verdicts of mfgp-station: values that fail, datagrams that are not replies, and secrets.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "commands/json_handle.h"
#include "station/json_values.h"
#include "tests/support/client.h"
#include "tests/support/unit.h"
#include "tests/support/wire.h"

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
        const std::string line =
            json + row.words + " | jq -c '[.outcome, .value, (.raw | length > 0), .message]'";
        expectShell(line, 0, R"(["FAIL",null,true)");
        expectShell(line, 0, row.message);
    }
}

TEST(StationVerdict, AnEchoOfTheRequest_IsNotAReply) {
    const Station unit({}, "127.0.0.1", 5000);
    std::atomic<bool> isOver = false;
    std::thread echo([&] {
        while (!isOver)
            if (const auto datagram = unit.receive(50))
                unit.send(*datagram);
    });
    const std::string to = "--timeout 0.1 --local-port 1040 --port 5000 ";
    expectRows({{to + "get calibration", 3, "no reply"},
                {to + "get mac", 3, "no reply"},
                {to + "set pin 12345678", 3, "no reply"},
                {to + "reset --yes", 3, "no reply"},
                {to + "raw 4 0", 6, "an echo of the request, not a reply"},
                {to + "heartbeat", 0, "OK"}});  // a unit sends it back in the same way
    isOver = true;
    echo.join();
}

TEST(StationVerdict, Secrets_AreHidden) {
    Unit unit;
    for (const std::string command : {"$station -o json -vvv set pin 12345678",
                                      "echo 'set pin 12345678' | $station -y -vvv run -",
                                      "echo 'get mac --password 12345678' | $station run -",
                                      "echo '--passw=12345678 get mac' | $station -o json run -",
                                      "echo 'set pn 12345678' | $station -o json run -",
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
