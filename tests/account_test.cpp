// The account check through the real Lua: what the web controller may answer, and which key the
// station then needs.
#include "tests/support/commands.h"

namespace {

constexpr char kModule[] = "/usr/lib/lua/luci/controller/admin/administration.lua";

std::string moduleThat(const std::string& body) {
    return "local M = {}\nfunction M.dispatch(request)\n" + body + "\nend\nreturn M\n";
}

std::string names(const std::string& user, const std::string& password) {
    return "return {success = true, data = {username = " + user + ", password = " + password + "}}";
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
    for (const auto& [body, user, password] :
         {std::tuple{names("'admin'", "'secret'"), "admin", "secret"},
          {names("''", "''"), "kiosk", "kiosk"},
          {names("'admin'", "''"), "admin", "kiosk"},
          {"return {success = true}", "kiosk", "kiosk"},
          {names("'abcdefghijklmnopqrst'", "'123456789012345'"), "abcdefghijklmno",
           "123456789012345"},
          {names("42", "7"), "42", "7"},
          {names("'ad\\0min'", "'p'"), "ad", "p"},
          {names("{}", "true"), "kiosk", "kiosk"},
          {names("request.form", "request.operation"), "account", "appget"},
          {"return {success = 0, data = {username = 'z'}}", "z", "kiosk"}}) {
        unit.write(kModule, moduleThat(body));
        EXPECT_TRUE(understood({user, password})) << body << unit.trace();
    }
}

TEST(AccountCheck, AFailureKeepsTheLastKeyAndSaysWhy) {
    Unit unit({StateFile{"/account/username", "admin\n"}, {"/account/password", "secret\n"}});
    ASSERT_TRUE(understood({"admin", "secret"}));
    const std::string raises = "setmetatable({}, {__index = function() error('no') end})";
    const std::string noModule = "ERROR: require the administration moudle!\r";
    const std::string noFunction = "ERROR: this is not function.\r";
    const std::string noCall = "ERROR: fxApp_lua_call_luci failed\r";
    for (const auto& [module, said] :
         {std::pair{std::string("syntax error ("), noModule},
          {"error('at load')", noModule},
          {"return true", noFunction},
          {"return function() return {success = true} end", noFunction},
          {"return {dispatch = 1}", noFunction},
          {"return " + raises, "ERROR: pcall: "},
          {moduleThat("error('at call')"), "at call\r\n" + noCall},
          {moduleThat("error({})"), "ERROR: pcall: \r\n" + noCall},
          {moduleThat("return 7"), "ERROR: lua_istable\r" + noCall},
          {moduleThat("return {success = false}"), "ERROR: success != true\r" + noCall},
          {moduleThat("return {success = true, data = 7}"), "ERROR: lua_istable\r" + noCall},
          {moduleThat("return {success = true, data = " + raises + "}"),
           "callback username\r\nERROR: pcall: "}}) {
        unit.write(kModule, module);
        unit.trace();
        EXPECT_TRUE(understood({"admin", "secret"})) << module;
        EXPECT_NE(unit.trace().find(said), std::string::npos) << module;
    }
}

TEST(AccountCheck, WithoutAnyAccountTheKeyIsZero) {
    Unit unit;
    unit.remove(kModule);
    EXPECT_FALSE(understood({}));
    unit.stop();
    unit.start();
    unit.remove(kModule);
    EXPECT_TRUE(understood({.key = std::string(8, '\0')}));
}

}  // namespace
