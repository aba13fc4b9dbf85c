#include "protocol/lua_arena.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

extern "C" {
#include <lauxlib.h>
#include <lua.h>
#include <lualib.h>
}

namespace {

constexpr size_t kAlignment = 8;

constexpr size_t roundUp(size_t size) { return (size + kAlignment - 1) & ~(kAlignment - 1); }

bool holds(const LuaArena* arena, const void* block) {
    return reinterpret_cast<uintptr_t>(block) - reinterpret_cast<uintptr_t>(arena->bytes) <
           sizeof arena->bytes;
}

// Takes the next bytes of the array, or falls back to malloc. The first fallback turns Lua's
// garbage collector on.
void* takeBlock(LuaArena* arena, size_t size) {
    if (size <= sizeof arena->bytes - arena->used) {
        void* const block = arena->bytes + arena->used;
        arena->used += roundUp(size);
        return block;
    }
    if (arena->arenaOnly != nullptr)
        lua_gc(arena->arenaOnly, LUA_GCRESTART, 0);  // Allocates nothing.
    arena->arenaOnly = nullptr;
    return malloc(size);
}

// Lua's allocator function (lua_Alloc).
void* allocate(void* place, void* block, size_t oldSize, size_t newSize) {
    auto* const arena = static_cast<LuaArena*>(place);
    const bool ours = block != nullptr && holds(arena, block);
    if (newSize == 0) {
        if (!ours)
            free(block);
        return nullptr;
    }
    if (block == nullptr)
        return takeBlock(arena, newSize);
    if (!ours)
        return realloc(block, newSize);
    if (newSize <= oldSize)
        return block;
    void* const moved = takeBlock(arena, newSize);
    if (moved != nullptr)
        memcpy(moved, block, oldSize);
    return moved;
}

int panic(lua_State* lua) {
    const bool isText = lua_type(lua, -1) == LUA_TSTRING;
    fprintf(stderr, "PANIC: unprotected error in call to Lua API (%s)\n",
            isText ? lua_tolstring(lua, -1, nullptr) : "");
    return 0;
}

int openLibraries(lua_State* lua) {
    luaL_openlibs(lua);
    return 0;
}

}  // namespace

lua_State* mfgp_openLua(LuaArena* arena) {
    if (arena->imageSize != 0) {
        memcpy(arena->bytes, arena->image, arena->imageSize);
        arena->used = arena->imageSize;
        arena->arenaOnly = arena->imageState;
        return arena->imageState;
    }
    lua_State* const lua = mfgp_newLua(arena);
    if (lua != nullptr && arena->arenaOnly != nullptr) {
        memcpy(arena->image, arena->bytes, arena->used);
        arena->imageSize = arena->used;
        arena->imageState = lua;
    }
    return lua;
}

lua_State* mfgp_newLua(LuaArena* arena) {
    arena->used = 0;
    arena->arenaOnly = nullptr;
    lua_State* const lua = lua_newstate(allocate, arena);
    if (lua == nullptr)
        return nullptr;
    lua_atpanic(lua, panic);
    lua_gc(lua, LUA_GCSTOP, 0);
    arena->arenaOnly = lua;
    if (lua_cpcall(lua, openLibraries, nullptr) == 0)
        return lua;
    lua_close(lua);
    return nullptr;
}
