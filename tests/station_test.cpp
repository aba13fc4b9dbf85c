// mfgp-station through its built program: values, messages and exit codes that scripts rely on.
#include <gtest/gtest.h>
#include <signal.h>

#include <algorithm>

#include "tests/support/client.h"
#include "tests/support/unit.h"

namespace {

TEST(StationClient, ReadsAUnit) {
    Unit unit({StateFile{"/fw/OEM_ID", "tab\there"}, StateFile{"/old", "old"}});
    const std::string old = unit.path("/old").string();
    expectRows({
        {"get oem-id", 0, "tab here\n"},
        {"config set 'a text'", 0, "OK\n"},
        {"raw 3 55", 0, "text: 02-1A-2B-13-7B-00"},
        {"raw 7 9 00ff", 6, "the unit does not know the sub-type (info 5)"},
        {"raw 9 0", 6, "the unit does not know packet type 9"},
        {"sheet", 0, "02-1A-2B-13-7B-00\n"},
        {"--output-file " + old + " set mac zz; cat " + old, 0, "021A2B137B00\nold"},
        {"--output-file " + old + " run none; cat " + old, 0, "No such file or directory\nold"},
        {"--output-file " + old + " get mac; cat " + old, 0, "02-1A-2B-13-7B-00\n"},
        {"get mac >&-", 7, "cannot write the results"},
        {"run - <&-", 7, "Bad file descriptor"},
    });
    EXPECT_NE(unit.trace().find("] setCfg: a text\n"), std::string::npos);
    unit.setMode("normal");
    expectRows({
        {"get oem-id", 1, "(info 3). Cause: the unit is not in produce mode\n"},
        {"sheet", 0, "not readable: the unit is not in produce mode\n"},
        {"sheet", 0, "produce mode "},
        {"--retries 0 get oem-id", 1, "Possible causes: the unit is not in produce mode; the"},
        {"-v get oem-id", 1, "asking `get product-id` to learn"},
        {"--user wrong sheet", 5,
         "produce mode                          ! cannot decrypt the reply"},
        {"--user wrong qlog stop", 5,
         "account is right, the datagram was damaged; try again. `qlog stop` was not sent"},
        {"--user wrong get mac", 5, "(user 'wrong' was used)"},
        {"--user wrong raw 3 55", 5, "was sent once, and the unit may have"},
        {"--user wrong raw 1 0 00", 5, "wrong user name or password"},
        {"--local-port 1042 get mac", 4, "bound to another station"},
        {"cancel", 0, "OK\n"},
        {"--local-port 1042 --release get mac", 0, "02-1A-2B-13-7B-00\n"},
        {"--local-port 1043 --release sheet", 0, "02-1A-2B-13-7B-00\n"},
        {"get mac", 0, "02-1A-2B-13-7B-00\n"},
    });
}

TEST(StationClient, WritesAUnitOnceAndReadsItBack) {
    const std::string group = "{ \"key\": \"" + std::string(304, 'k') + "\", \"gid\": \"" +
                              std::string(36, 'g') + "\", \"pack\": 3 }";
    Unit unit({StateFile{"/group.json", group + "\n"}});
    const std::string setGroup = "set group @" + unit.path("/group.json").string();
    expectRows({
        {"set mac 02-1a-2B-13-7B-0F", 0, "OK\n"},
        {"get mac", 0, "02-1A-2B-13-7B-0F\n"},
        {"set mac 021A2B137B00", 1, "Possible causes: this field was already written since mfgpd"},
        {"set model-name M60", 0, "OK\n"},
        {"get hardware-description", 0, "M60 V1.0\n"},
        {setGroup, 0, "OK\n"},
        {"get group", 0, group},
        {"generate group 12", 0, "\"pack\": 12}\n"},
        {"erase radio", 2, "needs --yes"},
        {"erase radio --yes", 0, "OK\n"},
    });
}

TEST(StationClient, RunsTheProductionTests) {
    Unit unit({StateFile{"/wlan/coext_seconds", "3600"}, StateFile{"/fw/COUNTRY", "DE"}});
    expectRows({
        {"calibrate wifi", 0, "OK\n"},
        {"calibrate bluetooth", 0, "OK\n"},
        {"calibrate zigbee", 0, "OK\n"},
        {"calibrate zigbee-host", 0, "OK\n"},
        {"calibrate coexistence", 0, "OK\n"},
        {"get enable-flags", 0, "Wi-Fi on, guest Wi-Fi off, IPv6 on, Bluetooth on\n"},
        {"fan set --gear 2 --time 30", 0, "OK\n"},
        {"--time 0x1E fan set --gear=1 --gear 3", 0, "OK\n"},
        {"fan recheck", 0, "OK\n"},
        {"fan speeds 3", 0, "2 fans: 3600 3540\n"},
        {"smart-antenna --band 1 --mode 2", 0, "OK\n"},
        {"rssi-spread --nss 2 --band 6", 0, "7\n"},
        {"config-check", 0, "model: M31-5G\ncountry: DE\nregion: US\nenabled: Wi-Fi on, guest"},
        {"reset", 2, "needs --yes"},
        {"reset --yes", 0, "OK\n"},
    });
    const std::vector<std::string> lines = shellLines(unit.trace());
    for (const char* line :
         {"/etc/init.d/qcmbr restart", "/etc/init.d/zigbeeMfg start", "/etc/init.d/bluetopia start",
          "Z3GatewayHost_591 &", "coext &", "main_fanctrl 2 30 &", "main_fanctrl 3 30 &"})
        EXPECT_EQ(std::count(lines.begin(), lines.end(), line), 1) << line;
}

TEST(StationClient, NamesWhatIsWrong) {
    const std::string tooLong = "set oem-id " + std::string(65, 'x');
    expectRows({
        {"set mac 02:1A:2B:13:7B", 2, "MAC '02:1A:2B:13:7B' is not like 02-1A-2B-13-7B-00,"},
        {"set mac FFFFFFFFFFFF", 2, "`raw 3 75 FFFFFFFFFFFF` writes it anyway"},
        {"set imei ''", 2, "IMEI '' is not 15 digits\n"},
        {"set pin 1234567", 2, "set pin: PIN is not 8 printable characters"},
        {"set special-id uk", 2, "REGION 'uk' is not one of UN, US, EU"},
        {"set device-id ''", 2, "TEXT '' is not 1 to 64 bytes"},
        {tooLong, 2, "xxx' is not 1 to 64 bytes without"},
        {"set model-name \"$(printf 'a\\nb')\"", 2, "'a\\x0ab' is not 1 to 64 bytes without"},
        {"set group /no/such/file", 7, "cannot read '/no/such/file': No such file"},
        {"set group @/dev/zero", 7, "cannot read '/dev/zero': File too large"},
        {"--account-file /dev/zero get mac", 7,
         "--account-file: cannot read '/dev/zero': File too"},
        {"set group '{\"gid\": 1}'", 2, "has no \"key\""},
        {"set group \"{$(printf %1023d 1)}\"", 2, "is 1025 bytes long, more than 1024"},
        {"generate group 0", 2, "COUNT '0' is not a number from 1 to"},
        {"fan set --gear 2", 2, "needs --time"},
        {"fan set --gear 256 --time 1", 2, "--gear '256' is not a number from 0 to 255"},
        {"fan speeds", 2, "takes GEAR"},
        {"calibrate wifi 2", 2, "takes no arguments, but got '2'"},
        {"get mac --nss 1", 2, "does not take --nss"},
        {"set pin 12345678 --expect OK", 2, "set pin: does not take --expect"},
        {"--expect x sheet", 2, "sheet: does not take --expect"},
        {"", 2, "no command"},
        {"config", 2, "'config'; did you mean `config-check`, `config get`, `config set`?\n"},
        {"nothing", 2, "unknown command 'nothing' (see"},
        {"raw 3", 2, "takes TYPE SUBTYPE [HEX]"},
        {"--timeout 0 get mac", 2, "--timeout: '0' is not a time in seconds from 0.01"},
        {"--bogus get mac", 2, "--bogus"},
        {"--port 0 get mac", 2, "is not a number from 1 to 65535"},
        {"get mac --timeout", 2, "--timeout needs an argument"},
        {"set ftm 0x1", 2, "VALUE '0x1' is not a whole number"},
        {"antenna-test", 2, "MODULE '' is not one of EG18-EA, RG520N-EU, EG060K-EA, FG621"},
        {"antenna-test FG621", 2, "t0 is missing: FG621 takes t0= t1= separator="},
        {"antenna-test EG18-EA t0=1 t0=2", 2, "t0 is given twice"},
        {"antenna-test EG18-EA t0=1 t3=.", 2, "t3 '.' is not a decimal number"},
        {"antenna-test EG18-EA t9=1", 2, "'t9=1' is not a field: EG18-EA takes t0="},
        {"set imei 1234567890123456", 2, "is not 15 digits\n"},
        {"set imei 12345678901234x", 2, "digits; `raw 3 90 313233343536373839303132333478` sends"},
        {"decode $($station -n set imei 490154203237518)", 0,
         "payload: 343930313534323033323337353138"},
        {"set external-antenna 10", 2, "CHARACTER '10' is not one letter or digit"},
        {"run /", 7, "run: cannot read '/': Is a directory"},
        {"run /dev/zero", 7, "run: cannot read '/dev/zero': Message too long"},
        {"help", 0, "get hardware-description"},
    });
}

TEST(StationClient, RepeatsReadsOnly) {
    Unit unit;
    // While the daemon stands still, requests wait in its socket.
    const std::string stop = "kill -STOP " + std::to_string(unit.daemon()) + "; ";
    const std::string sent = unit.path("/sent").string();
    const std::string late = stop + ": >" + sent + "; { await 'sent to' " + sent +
                             " 3; kill -CONT " + std::to_string(unit.daemon()) + "; } & 2>" + sent +
                             " $station -v --timeout 1 ";
    EXPECT_NE(shell(late + "-o json get mac").output.find("\"tries\":3}"), std::string::npos);
    EXPECT_EQ(shell(late + "--deadline 30 wait").output, "OK\n");
    shell(stop);
    expectRows({{"--timeout 0.1 set oem-id y", 3, "`set oem-id` was not sent"},
                {"--timeout 0.1 --retries 1 get mac", 3, "(2 attempts)"},
                {"--deadline 0.2 get mac", 3,
                 "deadline of 0.2 s reached while waiting for the reply to `get mac`"},
                {"--deadline 4.5 --timeout 1 wait", 3, "deadline of 4.5 s reached while"},
                {"--timeout 0.1 init", 3, "(3 attempts). A unit that was released after"},
                {"--timeout 0.1 sheet", 3, "! no reply"},
                {"--timeout 0.1 sheet 2>&- | wc -l", 0, "2\n"}});
    kill(unit.daemon(), SIGCONT);
    // The first reply proves the account; then the daemon stands still.
    const ShellResult once =
        shell(": >" + sent + "; { echo get mac; await 02-1A " + sent + "; " + stop +
              "echo set oem-id x --yes --timeout 0.1 --retries 2; } | "
              "$station run - >" +
              sent + "; cat " + sent);
    EXPECT_NE(once.output.find("in 0.3 s (1 attempt). The command was sent once, and the unit may"),
              std::string::npos)
        << once.output;
    EXPECT_NE(once.output.find("`get oem-id` shows it"), std::string::npos) << once.output;
    kill(unit.daemon(), SIGCONT);
    expectRows({{"get oem-id", 0, "x\n"}, {"set oem-id z", 1, "failed"}, {"release", 0, "OK\n"}});
}

constexpr char kReply[] =
    "020302000000001801023700 0add92e5c51a860c1c80b57f84102fc9 "
    "bdb523307e6e3123007222eaee766a908a69a117d754ccd6";

TEST(StationClient, TellsWhatGoesOverTheWire) {
    Unit unit({StateFile{"/account/username", "admin"}, StateFile{"/account/password", "secret"},
               StateFile{"/private", "admin\nsecret\n"}, StateFile{"/public", "admin\nsecret"},
               StateFile{"/long", "admin\nsecret\nmore"}, StateFile{"/short", "admin\n"}});
    const std::string account = "--account-file " + unit.path("/").string();
    shell("chmod 600 " + unit.path("/private").string());
    const std::string reply = kReply;
    expectRows({
        {"-n --packet-id 0x0102 get mac", 0,
         "020300000000000001023700ffdb440863683849f4287601b004120e\n"},
        {"-n -v get mac", 0, "direction: request\nversion: 2\ntype: 3\n"},
        {"-n -o json get mac", 0, "\"outcome\":\"DRYRUN\""},
        {"-n get mac --expect x", 2, "--expect needs a reply, and --dry-run sends nothing"},
        {"decode " + reply, 0, "command: get mac\npayload: 30322d31412d32422d31332d37"},
        {"--user x decode " + reply, 5, "reading: wrong digest"},
        {"decode 000000070000000000000000", 0, "reading: short form"},
        {"decode 0203020000000018", 6, "malformed"},
        {"decode ''", 2, "no hexadecimal digits"},
        {"decode 0g", 2, "'g' is not a hexadecimal digit"},
        {"decode $($station -n reset --yes)", 0,
         "inner sub type: 73\ninner reserved: 0\ncommand: reset"},
        {"get mac", 5, "wrong user name or password"},
        {"--user admin --password secret get mac", 0, "warning: other users can read a password"},
        {account + "public get mac", 0, "(chmod 600 keeps it private)\n02-1A"},
        {account + "private -vv get mac", 0, "\ndirection: reply\nversion: 2\ntype: 3\n"},
        {account + "private -vvv get mac", 0, "00000000000000000000000030322d"},
        {account + "long get mac", 2, "is not two lines"},
        {account + "short get mac", 2, "is not two lines"},
        {account + "none get mac", 7, "cannot read"},
        {"--interface nodev get mac", 7, "cannot use interface 'nodev': No such device"},
        {"--interface lo " + account + "private get mac", 0, "02-1A"},
        {"--host no.such.host.invalid get mac", 7, "cannot find host"},
        {"--host 10.0.0.1 get mac", 7, "cannot talk to 10.0.0.1:1040: Network is unreachable"},
        {"--host 10.0.0.1 --deadline 0.3 wait", 3, "(1 attempt): Network is unreachable"},
        {"--output-file /no/such/file get mac", 7, "cannot write '/no/such/file'"},
        {"-q list exit-codes > /dev/full", 7, "cannot write the results"},
    });
    for (const char* line : {"MFGP_USER=admin MFGP_PASSWORD=secret $station get mac",
                             "$station -q --user admin --password secret get mac"})
        EXPECT_EQ(shell(line).output, "02-1A-2B-13-7B-00\n");
}

// Whatever the command, the object has these keys, and the exit code is in it.
constexpr char kCheck[] =
    R"(jq -c --argjson code $code 'if .exit == $code and (keys_unsorted | join(" ")) ==
        "schema record client station labels recipe unit line command arguments outcome exit )"
    R"(message info meaning value measure limits raw packet_id start milliseconds tries" then
        [.exit, .outcome, .value] else . end')";

TEST(StationClient, GivesJsonOfOneShape) {
    Unit unit;
    const std::string flags = R"({"wifi":true,"guest_wifi":false,"ipv6":true,"bluetooth":true})";
    const struct {
        const char* words;
        std::string result;
    } rows[] = {
        {"get mac", R"(0,"PASS","02-1A-2B-13-7B-00")"},
        {"get card-signal", R"(0,"PASS",4)"},
        {"get card-signal --expect 4", R"(0,"PASS",4)"},
        {"get card-signal --expect 5", R"(1,"FAIL",4)"},
        {"get calibration", R"(0,"PASS",true)"},
        {"get enable-flags", R"(0,"PASS",)" + flags},
        {"fan recheck", R"(0,"PASS",null)"},  // else there are no speeds yet
        {"fan speeds 3", R"(0,"PASS",[3600,3540])"},
        {"get group", R"(0,"PASS",{"key":"","gid":"","pack":0})"},
        {"usb", R"(0,"PASS",[{"version":"2.00","vendor":"1234","product":"5678",)"
                R"("serial":"60A44C413A5FE3B0"}])"},
        {"config-check", R"(0,"PASS",{"firmware_version":"1.2.3 Build 20260401",)"
                         R"("hardware_version":"V1.0","model":"M31-5G","country":"US",)"
                         R"("region":"US","enabled":)" +
                             flags + "}"},
        {"encrypted hardware-version", R"(0,"PASS","V1.0")"},
        {"raw 3 200 00", R"(6,"ERROR","........")"},
        {"qlog stop", R"(1,"FAIL",null)"},
        {"set pin 1", R"(2,"ERROR",null)"},
        {"--port 9 --timeout 0.1 get mac", R"(3,"TIMEOUT",null)"},
        {"--local-port 1042 get mac", R"(4,"ERROR",null)"},
        {"--user wrong get mac", R"(5,"ERROR",null)"},
        {"release", R"(0,"PASS",null)"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(shell("json=$($station --output json 2>/dev/null " + std::string(row.words) +
                        "); code=$?; echo \"$json\" | " + kCheck)
                      .output,
                  "[" + row.result + "]\n")
            << row.words;
    EXPECT_EQ(shell("$station -q -o json get enable-flags").output, flags + "\n");
    const std::string sheet = unit.path("/sheet").string();
    EXPECT_EQ(shell("$station -o json --output-file " + sheet +
                    " sheet; jq -cs 'map(select(.record == \"result\")) | [length, "
                    "(map(keys_unsorted) | unique | length), .[1].command]' " +
                    sheet)
                  .output,
              "[24,1,\"get mac\"]\n");
}

}  // namespace
