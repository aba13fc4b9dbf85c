#include "protocol/account_check.h"

#include <cstdio>
#include <memory>

extern "C" {
#include <lua.h>
}

#include "core/lua_arena.h"
#include "protocol/cipher.h"

// The bridge to the web controller. Its messages are printed bare and most end in "\r" without a
// newline; log readers split at either.
namespace {

constexpr size_t kAccountFieldSize = 16;  // 15 characters and a terminator
constexpr char kDefaultAccountText[] = "kiosk";

struct Account {
    char username[kAccountFieldSize];
    char password[kAccountFieldSize];
};

// Handles one table field: the value is on top of the Lua stack, `place` points to where the
// descriptor's offset leads. Returns 0, or -1 to give up.
using FieldCallback = int (*)(lua_State* lua, char* place);

// One field of a table that goes to the controller or comes from it; a list of them ends at a null
// name. An entry to push that has no callback pushes its argument as a text.
struct FieldDescriptor {
    const char* name;
    size_t offset;
    FieldCallback callback;
    const char* argument;
};

// Prints the error on top of the stack, which need not be a text.
void printRaised(lua_State* lua) {
    const char* const text = lua_tolstring(lua, -1, nullptr);
    printf("ERROR: pcall: %s\r\n", text != nullptr ? text : "");
}

int copyText(lua_State* lua, char* place) {
    const char* const text = lua_tolstring(lua, -1, nullptr);  // null for what is not a text
    snprintf(place, kAccountFieldSize, "%s", text != nullptr ? text : "");
    return 0;
}

constexpr FieldDescriptor kRequest[] = {
    {"form", 0, nullptr, "account"},
    {"operation", 0, nullptr, "appget"},
    {},
};

constexpr FieldDescriptor kAnswer[] = {
    {"username", offsetof(Account, username), copyText, nullptr},
    {"password", offsetof(Account, password), copyText, nullptr},
    {},
};

// Leaves a new table filled after the descriptor on the stack.
int fxApp_lua_push_table(lua_State* lua, const FieldDescriptor* fields, char* base) {
    lua_createtable(lua, 0, 0);
    for (; fields->name != nullptr; fields++) {
        if (fields->callback == nullptr) {
            lua_pushstring(lua, fields->argument);
        } else if (fields->callback(lua, base + fields->offset) != 0) {
            printf("ERROR: callback failed\r");
            return -1;
        }
        lua_setfield(lua, -2, fields->name);
    }
    return 0;
}

// Calls the function under the request table on the stack and leaves the answer's data there: a
// table or nil.
int fxApp_lua_call_luci(lua_State* lua) {
    if (lua_pcall(lua, 1, 1, 0) != 0) {
        printRaised(lua);
        return -1;
    }
    if (!lua_istable(lua, -1)) {
        printf("ERROR: lua_istable\r");
        return -1;
    }
    lua_getfield(lua, -1, "success");
    const int success = lua_toboolean(lua, -1);
    lua_settop(lua, -2);
    if (success == 0) {
        printf("ERROR: success != true\r");
        return -1;
    }
    lua_getfield(lua, -1, "data");
    lua_remove(lua, -2);
    if (!lua_istable(lua, -1) && !lua_isnil(lua, -1)) {
        printf("ERROR: lua_istable\r");
        return -1;
    }
    return 0;
}

// Reads the fields of the table on top of the stack after the descriptor.
int fxApp_lua_pop_table(lua_State* lua, const FieldDescriptor* fields, char* base) {
    if (lua_isnil(lua, -1)) {
        printf("ERROR: lua_isnil\r");
        return 0;
    }
    for (; fields->name != nullptr; fields++) {
        printf("callback %s\r\n", fields->name);
        lua_getfield(lua, -1, fields->name);
        const int result = fields->callback(lua, base + fields->offset);
        lua_settop(lua, -2);
        if (result != 0) {
            printf("ERROR: callback failed %s\r\n", fields->name);
            return -1;
        }
    }
    return 0;
}

struct Query {
    Account account;
    bool answered;
    const char* failure;  // what is said when the step in hand does not end well
};

// Leaves the controller's dispatch function on the stack.
int findDispatch(lua_State* lua, Query* query) {
    query->failure = "ERROR: require the administration moudle!\r";
    lua_getfield(lua, LUA_GLOBALSINDEX, "require");
    lua_pushstring(lua, "luci.controller.admin.administration");
    if (lua_pcall(lua, 1, 1, 0) != 0)
        return -1;
    query->failure = "ERROR: this is not function.\r";
    if (!lua_istable(lua, -1))
        return -1;
    lua_getfield(lua, -1, "dispatch");
    return lua_isfunction(lua, -1) ? 0 : -1;
}

// Runs protected as a whole, so that a field access that raises an error, or memory running out,
// fails the query instead of ending the daemon. Nothing in here needs a destructor.
int runQuery(lua_State* lua) {
    auto* const query = static_cast<Query*>(lua_touserdata(lua, 1));
    if (findDispatch(lua, query) != 0)
        return 0;
    query->failure = "ERROR: fxApp_lua_push_table failed.\r";
    if (fxApp_lua_push_table(lua, kRequest, nullptr) != 0)
        return 0;
    query->failure = "ERROR: fxApp_lua_call_luci failed\r";
    if (fxApp_lua_call_luci(lua) != 0)
        return 0;
    query->failure = "ERROR: fxApp_lua_pop_table failed\r";
    if (fxApp_lua_pop_table(lua, kAnswer, reinterpret_cast<char*>(&query->account)) != 0)
        return 0;
    query->answered = true;
    return 0;
}

struct LuaCloser {
    void operator()(lua_State* lua) const { lua_close(lua); }
};

const char* textOrDefault(const char* text) {
    return text[0] != '\0' ? text : kDefaultAccountText;
}

}  // namespace

int mfgp_checkAccount(ServiceContext* ctx) {
    const std::unique_ptr<lua_State, LuaCloser> lua(mfgp_openLua(&ctx->luaArena));
    if (!lua) {
        printf("ERROR: luaL_newstate failed\r\n");
        return -1;
    }
    Query query = {{}, false, ""};
    if (lua_cpcall(lua.get(), runQuery, &query) != 0)
        printRaised(lua.get());
    if (!query.answered) {
        printf("%s", query.failure);
        return -1;
    }
    mfgp_deriveKey(ctx->payloadKey, textOrDefault(query.account.username),
                   textOrDefault(query.account.password));
    return 0;
}
