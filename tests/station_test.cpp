// mfgp-station through its built program: values, messages and exit codes.
#include <gtest/gtest.h>
#include <signal.h>

#include <algorithm>

#include "tests/support/client.h"

namespace {

TEST(StationClient, PrintsValuesAndTheCauseOfAFailure) {
    Unit unit({StateFile{"/fw/OEM_ID", "tab\there"}, StateFile{"/old", "old"},
               StateFile{"/lines", "get oem-id\nqlog stop"}});
    expectRows({
        {"get oem-id", 0, "tab here\n"},
        {"config set 'a text'", 0, "OK\n"},
        {"raw 3 55", 0, "text: 02-1A-2B-13-7B-00"},
        {"raw 7 9 00ff", 6, "the unit does not know the sub-type (info 5)"},
        {"sheet", 0, "02-1A-2B-13-7B-00\n"},
        {"--output-file $unit/old set mac zz; cat $unit/old", 0, "021A2B137B00\nold"},
        {"--output-file $unit/old get mac; cat $unit/old", 0, "02-1A-2B-13-7B-00\n"},
        {"get mac >&-", 7, "cannot write the results"},
        {"run - <&-", 7, "Bad file descriptor"},
    });
    EXPECT_TRUE(contains(unit.trace(), "] setCfg: a text\n"));
    unit.setMode("normal");
    expectRows({
        {"get oem-id", 1, "(info 3). Cause: the unit is not in produce mode\n"},
        {"sheet", 0, "not readable: the unit is not in produce mode\n"},
        {"--retries 0 get oem-id", 1, "Possible causes: the unit is not in produce mode; the"},
        {"-v get oem-id", 1, "asking `get product-id` to learn"},
        {"--user wrong sheet", 5,
         "produce mode                          ! cannot decrypt the reply"},
        {"--user wrong qlog stop", 5,
         "account is right, the datagram was damaged; try again. `qlog stop` was not sent"},
        {"--user wrong raw 1 0 00", 5, "wrong user name or password"},
        // A refusal has no payload, and therefore does not prove the account.
        {"--user wrong -k run $unit/lines", 1, "`qlog stop` was not sent"},
        {"--local-port 1042 get mac", 4, "bound to another station"},
        {"cancel", 0, "OK\n"},
        {"--local-port 1042 --release get mac", 0, "02-1A-2B-13-7B-00\n"},
        {"get mac", 0, "02-1A-2B-13-7B-00\n"},
    });
}

// The commands that are not in examples/production-line.txt.
TEST(StationClient, WritesAndTests_SucceedAndReadBack) {
    const std::string group = "{ \"key\": \"" + std::string(304, 'k') + "\", \"gid\": \"" +
                              std::string(36, 'g') + "\", \"pack\": 3 }";
    Unit unit({StateFile{"/group.json", group + "\n"}, {"/wlan/coext_seconds", "3600"}});
    expectRows({
        {"set mac 02-1a-2B-13-7B-0F", 0, "OK\n"},
        {"get mac", 0, "02-1A-2B-13-7B-0F\n"},
        {"set mac 021A2B137B00", 1, "Possible causes: this field was already written since mfgpd"},
        {"set model-name M60", 0, "OK\n"},
        {"get hardware-description", 0, "M60 V1.0\n"},
        {"set group @$unit/group.json", 0, "OK\n"},
        {"get group", 0, group},
        {"generate group 12", 0, "\"pack\": 12}\n"},
        {"erase radio", 2, "needs --yes"},
        {"erase radio --yes", 0, "OK\n"},
        {"calibrate bluetooth", 0, "OK\n"},
        {"calibrate coexistence", 0, "OK\n"},
        {"--time 0x1E fan set --gear=1 --gear 3", 0, "OK\n"},
        {"smart-antenna --band 1 --mode 2", 0, "OK\n"},
        {"rssi-spread --nss 2 --band 6", 0, "7\n"},
        {"config-check", 0, "model: M60\ncountry: US\nregion: US\nenabled: Wi-Fi on, guest"},
        {"reset --yes", 0, "OK\n"},
    });
    const std::vector<std::string> lines = shellLines(unit.trace());
    for (const char* line : {"/etc/init.d/bluetopia start", "coext &",
                             "ubus send \"fan_control\" '{\"gear\":3, \"time\":30}'"})
        EXPECT_EQ(std::count(lines.begin(), lines.end(), line), 1) << line;
}

TEST(StationClient, WrongArguments_AreNamedInTheError) {
    expectRows({
        {"", 2, "no command"},
        {"get cuntry", 2, "unknown command 'get cuntry'; did you mean `get country`?\n"},
        {"set pni 12345678", 2, "unknown command 'set pni'; did you mean `set pin`?\n"},
        {"country", 2, "did you mean `get country`, `set country`?\n"},
        {"--hots x get mac", 2, "unknown option '--hots'; did you mean '--host'?\n"},
        {"--re get mac", 2, "did you mean '--retries', '--release'?\n"},
        {"-n calibrate zigbee host", 0, "0203"},
        {"-n Get-MAC", 0, "0203"},
        {"run", 2, "run: expected one recipe file, or '-' for standard input.\n"},
        {"antenna-test FG621 t0=1 foo", 2, "'foo' is not a field"},
        {"-n set imei 490154203237519", 2, "check digit: the last digit would be 8; --any"},
        {"-n set imei 490154203237519 --any-check-digit", 0, "0203"},
        {"config", 2, "'config'; did you mean `config-check`, `config get`, `config set`?\n"},
        {"fan speeds", 2, "takes GEAR"},
        {"fan set --gear 2", 2, "needs --time"},
        {"fan set --gear 256 --time 1", 2, "--gear '256' is not a number from 0 to 255"},
        {"get mac --nss 1", 2, "does not take --nss"},
        {"get card-signal --min 5x", 2, "--min '5x' is not a number"},
        {"--timeout 0 get mac", 2, "--timeout: '0' is not a time in seconds from 0.01"},
        {"get mac --timeout", 2, "--timeout needs an argument"},
        {"set mac FFFFFFFFFFFF", 2, "`raw 3 75 FFFFFFFFFFFF` writes it anyway"},
        {"set imei 12345678901234x", 2, "digits; `raw 3 90 313233343536373839303132333478` sends"},
        {"set pin 1234567", 2, "set pin: PIN is not 8 printable characters"},
        {"set special-id uk", 2, "REGION 'uk' is not one of UN, US, EU"},
        {"set oem-id " + std::string(65, 'x'), 2, "xxx' is not 1 to 64 bytes without"},
        {"set model-name \"$(printf 'a\\nb')\"", 2, "TEXT 'a\\x0ab' is not 1 to 64 bytes without"},
        {"set group @/dev/zero", 7, "cannot read '/dev/zero': File too large"},
        {"set group '{\"gid\": 1}'", 2, "has no \"key\""},
        {"set group \"{$(printf %1023d 1)}\"", 2, "is 1025 bytes long, more than 1024"},
        {"generate group 0", 2, "COUNT '0' is not a number from 1 to"},
        {"set ftm 0x1", 2, "VALUE '0x1' is not a whole number"},
        {"antenna-test FG621", 2, "t0 is missing: FG621 takes t0= t1= separator="},
        {"antenna-test EG18-EA t0=1 t3=.", 2, "t3 '.' is not a decimal number"},
        {"set external-antenna 10", 2, "CHARACTER '10' is not one letter or digit"},
        {"run /dev/zero", 7, "run: cannot read '/dev/zero': Message too long"},
        {"help", 0, "get hardware-description"},
    });
}

TEST(StationClient, UnansweredReads_AreRepeated_WritesAreNot) {
    Unit unit;
    // While the daemon is stopped, requests wait in its socket.
    const std::string stop = "kill -STOP $daemon; ";
    const std::string late = stop +
                             ": >$unit/sent; { await 'sent to' $unit/sent 3; "
                             "kill -CONT $daemon; } & 2>$unit/sent $station -v --timeout 1 ";
    EXPECT_TRUE(contains(shell(late + "-o json get mac").output, "\"tries\":3}"));
    EXPECT_EQ(shell(late + "--deadline 30 wait").output, "OK\n");
    shell(stop);
    expectRows({{"--timeout 0.1 set oem-id y", 3, "`set oem-id` was not sent"},
                {"--timeout 0.1 --retries 1 get mac", 3, "(2 attempts)"},
                {"--deadline 0.2 get mac", 3,
                 "deadline of 0.2 s reached while waiting for the reply to `get mac`"},
                {"--deadline 4.5 --timeout 1 wait", 3, "deadline of 4.5 s reached while"},
                {"--timeout 0.1 init", 3, "(3 attempts). A unit that was released after"},
                {"--timeout 0.1 sheet 2>&- | wc -l", 0, "2\n"}});
    kill(unit.daemon(), SIGCONT);
    // The daemon is stopped after the first reply, which proves the account.
    const std::string once = ": >$unit/sent; { echo get mac; await 02-1A $unit/sent; " + stop +
                             "echo set oem-id x --yes --timeout 0.1 --retries 2; } | "
                             "$station run - >$unit/sent; cat $unit/sent";
    expectShell(once, 0, "in 0.3 s (1 attempt). The command was sent once, and the unit may");
    EXPECT_TRUE(contains(unit.read("/sent"), "`get oem-id` shows it"));
    kill(unit.daemon(), SIGCONT);
    expectRows({{"get oem-id", 0, "x\n"}, {"set oem-id z", 1, "failed"}, {"release", 0, "OK\n"}});
}

TEST(StationClient, Datagrams_AreShownAndDecoded) {
    Unit unit({StateFile{"/account/username", "admin"}, StateFile{"/account/password", "secret"},
               StateFile{"/private", "admin\r\nsecret\r\n"}, StateFile{"/public", "admin\nsecret"},
               StateFile{"/long", "admin\nsecret\nmore"}});
    const std::string account = "--account-file $unit/";
    shell("chmod 600 $unit/private");
    const std::string request = "020300000000000001023700ffdb440863683849f4287601b004120e",
                      reply =
                          "0203020000000018010237000add92e5c51a860c1c80b57f84102fc9"
                          "bdb523307e6e3123007222eaee766a908a69a117d754ccd6";
    std::string page = readFile(MFGP_SOURCE_DIR "/docs/protocol.md");
    std::erase_if(page, [](char c) { return c == ' ' || c == '\n'; });
    EXPECT_TRUE(contains(page, request + "Thereply:" + reply)) << "the example there";
    expectRows({
        {"-n --packet-id 0x0102 get mac", 0, request + "\n"},
        {"-n -v get mac", 0, "direction: request\nversion: 2\ntype: 3\n"},
        {"decode " + reply, 0, "command: get mac\npayload: 30322d31412d32422d31332d37"},
        {"--user x decode " + reply, 5, "reading: wrong digest"},
        {"decode 000000070000000000000000", 0, "reading: short form"},
        {"decode " + reply.substr(0, reply.size() - 16), 6, "malformed"},
        {"decode $($station -n reset --yes)", 0,
         "inner sub type: 73\ninner reserved: 0\ncommand: reset"},
        {"get mac", 5, "wrong user name or password"},
        {"--user admin --password secret get mac", 0, "warning: other users can read a password"},
        {account + "public get mac", 0, "(chmod 600 keeps it private)\n02-1A"},
        {account + "private -vv get mac", 0, "\ndirection: reply\nversion: 2\ntype: 3\n"},
        {account + "private -vvv get mac", 0, "00000000000000000000000030322d"},
        {account + "long get mac", 2, "is not two lines"},
        {"--interface nodev get mac", 7, "cannot use interface 'nodev': No such device"},
        {"--interface lo " + account + "private get mac", 0, "02-1A"},
        {"--host 10.0.0.1 get mac", 7, "cannot talk to 10.0.0.1:1040: Network is unreachable"},
        {"--host 10.0.0.1 --deadline 0.3 wait", 3, "(1 attempt): Network is unreachable"},
        {"-q list exit-codes > /dev/full", 7, "cannot write the results"},
    });
    for (const char* line : {"MFGP_USER=admin MFGP_PASSWORD=secret $station get mac",
                             "$station -q --user admin --password secret get mac"})
        EXPECT_EQ(shell(line).output, "02-1A-2B-13-7B-00\n");
}

// Checks that an object has these keys and contains the exit code.
constexpr char kCheck[] =
    R"(jq -c --argjson code $code 'if .exit == $code and (keys_unsorted | join(" ")) ==
        "schema record client station labels recipe unit line command arguments outcome exit )"
    R"(message info meaning value measure limits raw packet_id start milliseconds tries" then
        [.exit, .outcome, .value] else . end')";

TEST(StationClient, JsonResults_AllHaveTheSameKeys) {
    Unit unit;
    const std::string flags = R"({"wifi":true,"guest_wifi":false,"ipv6":true,"bluetooth":true})";
    const struct {
        const char* words;
        std::string result;
    } rows[] = {
        {"get mac", R"(0,"PASS","02-1A-2B-13-7B-00")"},
        {"get card-signal --expect 4", R"(0,"PASS",4)"},
        {"get card-signal --expect 5", R"(1,"FAIL",4)"},
        {"get enable-flags", R"(0,"PASS",)" + flags},
        {"fan recheck", R"(0,"PASS",null)"},  // measures what the next row reads
        {"fan speeds 3", R"(0,"PASS",[3600,3540])"},
        {"usb", R"(0,"PASS",[{"version":"2.00","vendor":"1234","product":"5678",)"
                R"("serial":"60A44C413A5FE3B0"}])"},
        {"config-check", R"(0,"PASS",{"firmware_version":"1.2.3 Build 20260401",)"
                         R"("hardware_version":"V1.0","model":"M31-5G","country":"US",)"
                         R"("region":"US","enabled":)" +
                             flags + "}"},
        {"raw 3 200 00", R"(6,"ERROR","........")"},
        {"set pin 1", R"(2,"ERROR",null)"},
        {"--port 9 --timeout 0.1 get mac", R"(3,"TIMEOUT",null)"},
        {"--local-port 1042 get mac", R"(4,"ERROR",null)"},
        {"--user wrong get mac", R"(5,"ERROR",null)"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(shell("json=$($station --output json 2>/dev/null " + std::string(row.words) +
                        "); code=$?; echo \"$json\" | " + kCheck)
                      .output,
                  "[" + row.result + "]\n")
            << row.words;
    EXPECT_EQ(shell("$station -q -o json get enable-flags").output, flags + "\n");
    expectRows(
        {{"-o json --output-file $unit/sheet sheet; jq -cs '.[0].commands as $count |"
          " map(select(.record == \"result\")) | [length > 20 and length == $count,"
          " (map(keys_unsorted) | unique | length), .[1].command]' $unit/sheet",
          0, "[true,1,\"get mac\"]\n"}});
}

}  // namespace
