// Memory for the one Lua state that exists at a time, and an image from which each new state is
// copied.
//
// A Lua state consists of many small objects that are all freed together. The arena hands out
// consecutive pieces of an array and frees them together when the next state is opened. When the
// array is full, blocks come from malloc. Lua's garbage collector is off until then. Opening the
// standard libraries produces the same bytes each time, so the array is saved after the first
// opening and copied back for each later state. docs/performance.md has the measurements.
#pragma once

#include <cstddef>

struct lua_State;

// Must be zero before its first use. It must not be moved or copied, because the image contains
// addresses of the array.
struct LuaArena {
    size_t used;           // bytes, a multiple of the alignment
    lua_State* arenaOnly;  // the state, while all its blocks are in the array; null afterwards
    lua_State* imageState;
    size_t imageSize;  // bytes; 0 without an image
    // The alignment of double on MIPS, and the one that Lua guarantees for its userdata.
    alignas(8) unsigned char bytes[64 * 1024];
    unsigned char image[64 * 1024];
};

// Opens a Lua state with its standard libraries. The arena must have no open state. The first call
// saves the image if the array holds the whole state, and later calls copy it. lua_close frees the
// blocks that came from malloc. Returns null when out of memory.
lua_State* mfgp_openLua(LuaArena* arena);

// Opens a Lua state in the same way, but never from the image. Like luaL_newstate, installs a panic
// handler that prints unprotected errors before the process aborts.
lua_State* mfgp_newLua(LuaArena* arena);
