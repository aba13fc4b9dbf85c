// Memory for one Lua state that lives for one datagram.
//
// Lua's objects are many, small and gone together, so the allocator and the collector are much of
// what a fresh state costs. Here a block is the next piece of an array and is given back with it;
// when the array is used up, blocks come from malloc. The collector sleeps until then.
//
// Measured with the simulated unit's controller, which uses 44 KB of the array (x86-64, glibc): a
// heartbeat takes 430,000 instructions instead of 650,000. Of that the sleeping collector is
// 40,000; an array of 32 KB leaves it at 526,000.
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
