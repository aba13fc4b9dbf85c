// The least that a server of this protocol does, to compare the daemon's figures with.
//
//   bench-floor echo|own|array|image PORT
//     answers each datagram with itself. Except as echo, it first opens a Lua state, asks the web
//     controller, deciphers, digests twice and ciphers, as a heartbeat needs. The state is in
//     memory of Lua's own allocator, in an array, or in an array and copied from an image.
#include <arpa/inet.h>
#include <sys/socket.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

extern "C" {
#include <lauxlib.h>
#include <lua.h>
#include <lualib.h>
}

#include "protocol/cipher.h"
#include "protocol/lua_arena.h"

namespace {

constexpr uint32_t kHeader = 28, kDigest = 16;
uint8_t datagram[65536], plain[65536];
LuaArena arena;

lua_State* openLua(const std::string& form) {
    if (form != "own")
        return form == "array" ? mfgp_newLua(&arena) : mfgp_openLua(&arena);
    lua_State* const lua = luaL_newstate();
    luaL_openlibs(lua);
    return lua;
}

const char* textField(lua_State* lua, const char* name) {
    lua_getfield(lua, -1, name);
    const char* const text = lua_tostring(lua, -1);
    lua_pop(lua, 1);  // the table still holds the text
    return text != nullptr && text[0] != '\0' ? text : "kiosk";
}

// Asks the web controller for the account and derives the key from it.
void askKey(lua_State* lua, uint8_t* key) {
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
    mfgp_deriveKey(key, textField(lua, "username"), textField(lua, "password"));
    lua_close(lua);
}

void answer(uint32_t length, const uint8_t* key) {
    uint8_t* const digest = datagram + kHeader - kDigest;
    uint8_t expected[kDigest];
    memcpy(plain, datagram, kHeader - kDigest);
    memset(plain + kHeader - kDigest, 0, kDigest);
    mfgp_desEcb(datagram + kHeader, length - kHeader, plain + kHeader, sizeof plain - kHeader, key,
                CipherDirection::Decrypt);
    mfgp_md5(expected, plain, length);
    if (memcmp(expected, digest, kDigest) != 0)
        exit(1);
    mfgp_md5(digest, plain, length);
    mfgp_desEcb(plain + kHeader, length - kHeader, datagram + kHeader, sizeof datagram - kHeader,
                key, CipherDirection::Encrypt);
}

}  // namespace

int main(int argc, char** argv) {
    const std::string form = argc == 3 ? argv[1] : "";
    if (form != "echo" && form != "own" && form != "array" && form != "image") {
        fprintf(stderr, "usage: bench-floor echo|own|array|image PORT\n");
        return 2;
    }
    const int fd = socket(AF_INET, SOCK_DGRAM, 0);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<uint16_t>(strtoul(argv[2], nullptr, 10)));
    if (bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
        perror("bench-floor: bind");
        return 1;
    }
    for (;;) {
        socklen_t size = sizeof address;
        const ssize_t length = recvfrom(fd, datagram, sizeof datagram, 0,
                                        reinterpret_cast<sockaddr*>(&address), &size);
        uint8_t key[kCipherBlock];
        if (form != "echo" && length >= static_cast<ssize_t>(kHeader)) {
            askKey(openLua(form), key);
            answer(static_cast<uint32_t>(length), key);
        }
        sendto(fd, datagram, length < 0 ? 0 : static_cast<size_t>(length), 0,
               reinterpret_cast<sockaddr*>(&address), size);
    }
}
