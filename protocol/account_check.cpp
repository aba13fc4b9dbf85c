#include "protocol/account_check.h"

#include <cstdio>
#include <memory>

extern "C" {
#include <lauxlib.h>
#include <lua.h>
}

#include "protocol/cipher.h"
#include "protocol/lua_arena.h"

// The Lua bridge to the web controller. The protocol defines its messages without a function name,
// most of them with "\r" and no newline at the end.
namespace {

LuaArena luaArena;

constexpr size_t kAccountFieldSize = 16;  // 15 characters and a terminator
constexpr char kDefaultAccountText[] = "kiosk";

struct Account {
    char username[kAccountFieldSize];
    char password[kAccountFieldSize];
};

// Handles one table field, whose value is on top of the Lua stack. `place` is the record's address
// plus the descriptor's offset. Returns 0, or -1 to end the exchange.
using FieldCallback = int (*)(lua_State* lua, char* place);

// One field of a table that is sent to the controller or received from it. A list of fields ends
// with a null name. A field without a callback pushes its argument as a string.
struct FieldDescriptor {
    const char* name;
    size_t offset;
    FieldCallback callback;
    const char* argument;
};

// Prints the error value on top of the stack, which can be of any type. Allocates nothing in Lua,
// because an allocation can run a finalizer that raises an error outside of a protected call.
void printRaised(lua_State* lua) {
    if (lua_type(lua, -1) == LUA_TNUMBER)
        printf("ERROR: pcall: " LUA_NUMBER_FMT "\r\n", lua_tonumber(lua, -1));
    else
        printf("ERROR: pcall: %s\r\n",
               lua_type(lua, -1) == LUA_TSTRING ? lua_tolstring(lua, -1, nullptr) : "");
}

int copyText(lua_State* lua, char* place) {
    const char* const text = lua_tolstring(lua, -1, nullptr);  // null unless string or number
    snprintf(place, kAccountFieldSize, "%s", text != nullptr ? text : "");
    return 0;
}

constexpr FieldDescriptor kRequest[] = {
    {"form", 0, nullptr, "account"},
    {"operation", 0, nullptr, "appget"},
    {},
};

constexpr FieldDescriptor kAccountFields[] = {
    {"username", offsetof(Account, username), copyText, nullptr},
    {"password", offsetof(Account, password), copyText, nullptr},
    {},
};

// Pushes a new table that is filled from the descriptor. Returns 0, or -1 when a callback failed.
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

// Calls the function below the request table on the stack. Leaves the answer's "data", a table or
// nil, on the stack. Returns 0, or -1 after printing the reason.
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

// Reads the fields of the table on top of the stack into the record at `base`. Returns 0, or -1
// when a callback failed.
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
    const char* failure;  // printed when the current step fails
};

// Leaves the controller's dispatch function on the stack. Returns 0 or -1.
int findDispatch(lua_State* lua, Query* query) {
    query->failure = "ERROR: require the administration moudle!\r";
    lua_getfield(lua, LUA_GLOBALSINDEX, "require");
    lua_pushstring(lua, "luci.controller.admin.administration");
    if (lua_pcall(lua, 1, 1, 0) != 0)
        return -1;
    query->failure = "ERROR: this is not function.\r";
    if (!lua_istable(lua, -1)) {
        if (luaL_getmetafield(lua, -1, "__index") == 0)
            return -1;
        lua_settop(lua, -2);
    }
    lua_getfield(lua, -1, "dispatch");
    return lua_isfunction(lua, -1) ? 0 : -1;
}

// Runs as one protected call, so that a field access that raises an error, or a lack of memory,
// fails the query instead of ending the daemon. An error skips destructors, so no function of the
// query owns anything.
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
    if (fxApp_lua_pop_table(lua, kAccountFields, reinterpret_cast<char*>(&query->account)) != 0)
        return 0;
    query->answered = true;
    return 0;
}

struct LuaCloser {
    void operator()(lua_State* lua) const { lua_close(lua); }
};

const char* textOrDefault(const char* text) { return text[0] != '\0' ? text : kDefaultAccountText; }

int updateKey(ServiceContext* ctx) {
    const std::unique_ptr<lua_State, LuaCloser> lua(mfgp_openLua(&luaArena));
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

}  // namespace

int mfgp_checkAccount(ServiceContext* ctx) {
    const int result = updateKey(ctx);
    // Most messages end without a newline and would otherwise wait for the next one.
    fflush(stdout);
    return result;
}
