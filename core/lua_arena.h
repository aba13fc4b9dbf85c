// Memory for the one Lua state that lives at a time, and the image each new one is copied from.
//
// Lua's objects are many, small and gone together, so the allocator and the collector are much of
// what a fresh state costs. Here a block is the next piece of an array and is given back with it;
// when the array is used up, blocks come from malloc. The collector sleeps until then. Opening the
// standard libraries is the same work each time: what the array holds when they are open is kept,
// and is copied back for the next state, which is then, bit for bit, one that nobody has used.
//
// Measured with the simulated unit's controller (x86-64), a heartbeat from request to answer: with
// glibc 108 us with Lua's own allocator, 93 us with the array, 79 us with the image as well
// (650,000, 430,000 and 265,000 instructions); with musl, the routers' C library, 450, 91 and 79
// us.
#pragma once

#include <cstddef>

struct lua_State;

// All zero before its first use. The addresses in the image are the array's own, so it stays where
// it is.
struct LuaArena {
    size_t used;        // bytes, a multiple of the alignment
    lua_State* asleep;  // the state whose collector sleeps; null when blocks come from malloc too
    lua_State* atStart;
    size_t imageSize;  // bytes; 0 without an image
    // Doubles need this on MIPS, and Lua promises its userdata no more on any machine.
    alignas(8) unsigned char bytes[64 * 1024];
    unsigned char image[64 * 1024];
};

// Opens a Lua state with its standard libraries in an arena that has none open: from the image, or
// with mfgp_newLua, and then keeps the image when the array holds all of it. lua_close gives back
// what came from malloc. Returns null when there is no memory.
lua_State* mfgp_openLua(LuaArena* arena);

// The same, but always by opening the libraries. As luaL_newstate's, the state says an error
// outside of a protected call on standard error before the process ends.
lua_State* mfgp_newLua(LuaArena* arena);
