// The least that a server of this protocol does, to compare the daemon's figures with.
//
//   bench-floor echo|own|array|image PORT
//     answers each datagram with itself. Except as echo, it first opens a Lua state, asks the web
//     controller, deciphers, digests twice and ciphers, as a heartbeat needs. The state is in
//     memory of Lua's own allocator, in an array, or in an array and copied from an image.
#include <arpa/inet.h>
#include <nettle/des.h>
#include <nettle/md5.h>
#include <sys/socket.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

extern "C" {
#include <lauxlib.h>
#include <lua.h>
#include <lualib.h>
}

#include "protocol/lua_arena.h"

namespace {

uint8_t datagram[65536];
uint8_t plain[65536];
LuaArena arena;

std::string textField(lua_State* lua, const char* name) {
    lua_getfield(lua, -1, name);
    const char* const text = lua_tostring(lua, -1);
    const std::string value = text != nullptr && text[0] != '\0' ? text : "kiosk";
    lua_pop(lua, 1);
    return value;
}

// Asks the controller for the account; returns user name and password in one.
std::string account(lua_State* lua) {
    lua_getglobal(lua, "require");
    lua_pushstring(lua, "luci.controller.admin.administration");
    lua_call(lua, 1, 1);
    lua_getfield(lua, -1, "dispatch");
    lua_newtable(lua);
    lua_pushstring(lua, "account");
    lua_setfield(lua, -2, "form");
    lua_pushstring(lua, "appget");
    lua_setfield(lua, -2, "operation");
    lua_call(lua, 1, 1);
    lua_getfield(lua, -1, "data");
    std::string both = textField(lua, "username") + textField(lua, "password");
    lua_close(lua);
    return both;
}

void md5(const void* data, size_t length, uint8_t* digest) {
    md5_ctx md5;
    md5_init(&md5);
    md5_update(&md5, length, static_cast<const uint8_t*>(data));
    md5_digest(&md5, MD5_DIGEST_SIZE, digest);
}

void answer(size_t length, const std::string& text) {
    uint8_t digest[MD5_DIGEST_SIZE];
    md5(text.data(), text.size(), digest);
    des_ctx des;
    des_set_key(&des, digest);
    memcpy(plain, datagram, 12);
    memset(plain + 12, 0, 16);
    des_decrypt(&des, length - 28, plain + 28, datagram + 28);
    md5(plain, length, digest);
    if (memcmp(digest, datagram + 12, sizeof digest) != 0)
        return;
    md5(plain, length, datagram + 12);
    des_encrypt(&des, length - 28, datagram + 28, plain + 28);
}

[[noreturn]] void serve(const std::string& form, uint16_t port) {
    const int fd = socket(AF_INET, SOCK_DGRAM, 0);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    if (bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
        perror("bench-floor: bind");
        exit(1);
    }
    for (;;) {
        socklen_t size = sizeof address;
        const ssize_t length = recvfrom(fd, datagram, sizeof datagram, 0,
                                        reinterpret_cast<sockaddr*>(&address), &size);
        if (length < 28)
            continue;
        if (form == "own") {
            lua_State* const lua = luaL_newstate();
            luaL_openlibs(lua);
            answer(static_cast<size_t>(length), account(lua));
        } else if (form == "array" || form == "image") {
            lua_State* const lua = form == "array" ? mfgp_newLua(&arena) : mfgp_openLua(&arena);
            answer(static_cast<size_t>(length), account(lua));
        }
        sendto(fd, datagram, static_cast<size_t>(length), 0, reinterpret_cast<sockaddr*>(&address),
               size);
    }
}

}  // namespace

int main(int argc, char** argv) {
    const std::string form = argc > 1 ? argv[1] : "";
    if (argc == 3 && (form == "echo" || form == "own" || form == "array" || form == "image"))
        serve(form, static_cast<uint16_t>(strtoul(argv[2], nullptr, 10)));
    fprintf(stderr, "usage: bench-floor echo|own|array|image PORT\n");
    return 2;
}
