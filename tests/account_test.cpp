// The account check through the real Lua: the answers of the web controller, and the key that the
// station then needs.
#include <sys/resource.h>

#include "tests/support/commands.h"

namespace {

constexpr char kModule[] = "/usr/lib/lua/luci/controller/admin/administration.lua";

std::string moduleThat(const std::string& body) {
    return "local M = {}\nfunction M.dispatch(request)\n" + body + "\nend\nreturn M\n";
}

std::string success(const std::string& user, const std::string& password) {
    return "return {success = true, data = {username = " + user + ", password = " + password + "}}";
}

// Returns true if the daemon decrypts the packets of a station with this account.
bool isDecrypted(const Account& account) {
    const Station station(account);
    station.send(wireOf({.type = kHeartbeat, .payload = "ciphered"}, account));
    const auto reply = station.receive();
    station.send(wireOf({.type = kCancel}, account));  // releases the unit for the next station
    return reply && reply->at(3) == 0 && openAnswer(*reply, account).payload == "ciphered";
}

TEST(AccountCheck, ControllersAnswer_DeterminesTheKey) {
    Unit unit;
    const auto expectAccount = [&](const std::string& body, const Account& account) {
        unit.write(kModule, moduleThat(body));
        EXPECT_TRUE(isDecrypted(account)) << body << unit.trace();
    };
    expectAccount(success("'admin'", "'secret'"), {.user = "admin", .password = "secret"});
    expectAccount(success("'admin'", "''"), {.user = "admin"});
    expectAccount(success("'abcdefghijklmnopqrst'", "'123456789012345'"),
                  {.user = "abcdefghijklmno", .password = "123456789012345"});
    expectAccount(success("42", "7"), {.user = "42", .password = "7"});
    expectAccount(success("'ad\\0min'", "'p'"), {.user = "ad", .password = "p"});
    expectAccount(success("{}", "true"), {.user = "kiosk", .password = "kiosk"});
    expectAccount(success("request.form", "request.operation"),
                  {.user = "account", .password = "appget"});
    expectAccount("return {success = 0, data = {username = 'z'}}", {.user = "z"});
    unit.write(kModule,
               "local u = newproxy(true) getmetatable(u).__index = {dispatch = function() "
               "return {success = true, data = {username = 'userdata'}} end} return u");
    EXPECT_TRUE(isDecrypted({"userdata", "kiosk"})) << unit.trace();
}

TEST(AccountCheck, FailedCheck_KeepsTheLastKey_AndLogsTheCause) {
    Unit unit({StateFile{"/account/username", "admin\n"}, {"/account/password", "secret\n"}});
    ASSERT_TRUE(isDecrypted({"admin", "secret"}));
    const std::string raises = "setmetatable({}, {__index = function() error('no') end})";
    // Raises a number while finalizers that raise errors are pending.
    const std::string number =
        "local big = string.rep('x', 70000) collectgarbage('stop') "
        "for i = 1, 3000 do getmetatable(newproxy(true)).__gc = error end "
        "return setmetatable({}, {__index = function() collectgarbage('restart') "
        "collectgarbage('setstepmul', 1000000) error(42, 0) end})";
    const std::string noFunction = "ERROR: this is not function.\r";
    const std::string noCall = "ERROR: fxApp_lua_call_luci failed\r";
    for (const auto& [module, printed] :
         {std::pair{std::string("syntax error ("),
                    std::string("ERROR: require the administration")},
          {"return true", noFunction},
          {"return " + raises, ": no\r\n" + noFunction},
          {number, "ERROR: pcall: 42\r\n" + noFunction},
          {moduleThat("error('at call')"), "at call\r\n" + noCall},
          {moduleThat("return 7"), "ERROR: lua_istable\r" + noCall},
          {moduleThat("return {success = false}"), "ERROR: success != true\r" + noCall},
          {moduleThat("return {success = true, data = " + raises + "}"),
           "callback username\r\nERROR: pcall: "}}) {
        unit.write(kModule, module);
        unit.trace();
        EXPECT_TRUE(isDecrypted({"admin", "secret"})) << module;
        EXPECT_TRUE(contains(unit.trace(), printed)) << module;
    }
}

TEST(AccountCheck, WithoutAnyAccount_TheKeyIsZero) {
    Unit unit;
    unit.remove(kModule);
    EXPECT_FALSE(isDecrypted({}));
    unit.stop();
    unit.start();
    unit.remove(kModule);
    EXPECT_TRUE(isDecrypted({.key = std::string(8, '\0')}));
}

// These controllers need more memory than the account check's own array.
TEST(AccountCheck, ControllerThatNeedsMuchMemory_StillReturnsTheAccount) {
    Unit unit;
    const std::string answer = "return {success = true, data = {username = u, password = 'p'}}";
    const std::string text = "local s = string.rep('x', 40000) ";
    std::vector<std::pair<std::string, std::string>> rows = {
        {"local t = {} for i = 1, 50000 do t[i] = i end local u = #t " + answer, "50000"},
        // More garbage than there is memory.
        {text + "local u for i = 1, 3000 do u = #(s .. i) end " + answer, "40004"},
        // Each check has a fresh state.
        {"local u = seen and 'old' or 'new' seen = true " + answer, "new"},
    };
#if defined(__x86_64__) && !defined(__SANITIZE_ADDRESS__)  // the limit is for the daemon alone
    constexpr rlim_t kAddresses = 64 << 20;
    const rlimit limit = {kAddresses, kAddresses};
    ASSERT_EQ(prlimit(unit.daemon(), RLIMIT_AS, &limit, nullptr), 0);
    rows.push_back({text + "local t = {} while true do t[#t + 1] = s .. #t end", "new"});
    rows.push_back(rows[2]);
#endif
    for (const auto& [body, user] : rows) {
        unit.write(kModule, moduleThat(body));
        EXPECT_TRUE(isDecrypted({user, "p"})) << body << unit.trace();
    }
}

}  // namespace
