// The account check through the real Lua: what the web controller may answer, and which key the
// station then needs.
#include <gtest/gtest.h>
#include <sys/resource.h>

#include "tests/support/unit.h"
#include "tests/support/wire.h"

namespace {

constexpr char kModule[] = "/usr/lib/lua/luci/controller/admin/administration.lua";

std::string moduleThat(const std::string& body) {
    return "local M = {}\nfunction M.dispatch(request)\n" + body + "\nend\nreturn M\n";
}

std::string account(const std::string& user, const std::string& password) {
    return moduleThat("return {success = true, data = {username = " + user +
                      ", password = " + password + "}}");
}

// True when a station with this account is understood.
bool understood(const Account& account) {
    const Station station(account);
    station.send(wireOf({.type = 4, .payload = "ciphered"}, account));
    const auto reply = station.receive();
    station.send(wireOf({.type = 6}, account));  // lets the next station in
    return reply && reply->at(3) == 0 && openAnswer(*reply, account).payload == "ciphered";
}

TEST(AccountCheck, TheControllersAnswerMakesTheKey) {
    Unit unit;
    const struct {
        const char* what;
        std::string module;
        Account account;
    } rows[] = {
        {"named", account("'admin'", "'secret'"), {"admin", "secret"}},
        {"both empty", account("''", "''"), {"kiosk", "kiosk"}},
        {"one empty", account("'admin'", "''"), {"admin", "kiosk"}},
        {"no data", moduleThat("return {success = true}"), {"kiosk", "kiosk"}},
        {"cut to 15",
         account("'abcdefghijklmnopqrst'", "'123456789012345'"),
         {"abcdefghijklmno", "123456789012345"}},
        {"numbers are text", account("42", "7"), {"42", "7"}},
        {"ends at a zero byte", account("'ad\\0min'", "'p'"), {"ad", "p"}},
        {"not a text", account("{}", "true"), {"kiosk", "kiosk"}},
        {"asked as agreed",
         moduleThat("return {success = request.form == 'account' and "
                    "request.operation == 'appget', data = {username = 'a', password = 'b'}}"),
         {"a", "b"}},
        {"success is anything true",
         moduleThat("return {success = 0, data = {username = 'z'}}"),
         {"z", "kiosk"}},
    };
    for (const auto& row : rows) {
        unit.write(kModule, row.module);
        EXPECT_TRUE(understood(row.account)) << row.what << unit.trace();
    }
}

TEST(AccountCheck, AFailureKeepsTheLastKeyAndSaysWhy) {
    Unit unit(
        {StateFile{"/account/username", "admin\n"}, StateFile{"/account/password", "secret\n"}});
    ASSERT_TRUE(understood({"admin", "secret"}));
    const struct {
        std::string module;
        const char* said;
    } rows[] = {
        {"syntax error (", "ERROR: require the administration moudle!\r"},
        {"error('at load')", "ERROR: require the administration moudle!\r"},
        {"return true", "ERROR: this is not function.\r"},
        {"return function() return {success = true} end", "ERROR: this is not function.\r"},
        {"return {dispatch = 1}", "ERROR: this is not function.\r"},
        {"return setmetatable({}, {__index = function() error('no') end})", "ERROR: pcall: "},
        {moduleThat("error('at call')"), "at call\r\nERROR: fxApp_lua_call_luci failed\r"},
        {moduleThat("error({})"), "ERROR: pcall: \r\nERROR: fxApp_lua_call_luci failed\r"},
        {moduleThat("return 7"), "ERROR: lua_istable\rERROR: fxApp_lua_call_luci failed\r"},
        {moduleThat("return {success = false}"), "ERROR: success != true\r"},
        {moduleThat("return {success = true, data = 7}"), "ERROR: lua_istable\r"},
        {moduleThat("return {success = true, data = setmetatable({}, "
                    "{__index = function() error('no') end})}"),
         "callback username\r\nERROR: pcall: "},
    };
    for (const auto& row : rows) {
        unit.write(kModule, row.module);
        unit.trace();
        EXPECT_TRUE(understood({"admin", "secret"})) << row.module;
        EXPECT_NE(unit.trace().find(row.said), std::string::npos) << row.module;
    }
    EXPECT_TRUE(unit.running());
}

TEST(AccountCheck, WithoutAnyAccountTheKeyIsZero) {
    Unit unit({StateFile{"/account/username", "admin\n"}});
    unit.remove(kModule);
    EXPECT_FALSE(understood({}));
    EXPECT_NE(unit.errors().find(errorLine(-10306, "v2 decode md5 error")), std::string::npos);
    unit.stop();
    unit.start();
    unit.remove(kModule);
    EXPECT_TRUE(understood({.key = std::string(8, '\0')}));
}

// The state's memory is an array of the account check's own; these controllers need more than that.
TEST(AccountCheck, AControllerMayNeedMuchMemory) {
    Unit unit;
    const std::string answer = "return {success = true, data = {username = u, password = 'p'}}";
    const std::string text = "local s = string.rep('x', 40000) ";
    const struct {
        const char* what;
        std::string body;
        Account account;
    } rows[] = {
        {"one large text", text + "s = s .. s .. s local u = #s " + answer, {"120000", "p"}},
        {"a growing table",
         "local t = {} for i = 1, 50000 do t[i] = i end local u = #t " + answer,
         {"50000", "p"}},
        {"more garbage than there is memory",
         text + "local u for i = 1, 3000 do u = #(s .. i) end " + answer,
         {"40004", "p"}},
        {"a fresh state", "local u = seen and 'old' or 'new' seen = true " + answer, {"new", "p"}},
#ifndef __SANITIZE_ADDRESS__  // whose own memory no limit can hold
        {"no end", text + "local t = {} while true do t[#t + 1] = s .. #t end", {"new", "p"}},
        {"the next", "local u = seen and 'old' or 'new' seen = true " + answer, {"new", "p"}},
#endif
    };
#ifndef __SANITIZE_ADDRESS__
    constexpr rlim_t kAddresses = 64 << 20;
    const rlimit limit = {kAddresses, kAddresses};
    ASSERT_EQ(prlimit(unit.daemon(), RLIMIT_AS, &limit, nullptr), 0);
#endif
    for (const auto& row : rows) {
        unit.write(kModule, moduleThat(row.body));
        EXPECT_TRUE(understood(row.account)) << row.what << unit.trace();
    }
}

}  // namespace
