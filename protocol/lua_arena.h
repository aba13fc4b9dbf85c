// Memory for one Lua state that lives for one datagram.
//
// Lua's own objects are many, small and gone together, so most of what a fresh state costs is the
// allocator. Blocks here are cut off one array and given back by its end; once it is used up,
// blocks come from malloc. The collector sleeps until then.
#pragma once

#include <cstddef>

extern "C" {
#include <lua.h>
}

struct LuaArena {
    size_t used = 0;           // bytes, a multiple of the alignment
    lua_State* lua = nullptr;  // whose collector sleeps
    // Doubles need this on MIPS, and Lua promises its userdata no more on any machine.
    alignas(8) unsigned char bytes[64 * 1024];
};

// Opens a Lua state in an unused arena that must outlive it; lua_close gives back what did not fit.
// As luaL_newstate else: an error outside of a protected call is said on standard error before the
// process ends. Returns null when there is no memory.
lua_State* mfgp_openLua(LuaArena* arena);
