#include "protocol/lua_arena.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

constexpr size_t kAlignment = 8;

constexpr size_t roundUp(size_t size) {
    return (size + kAlignment - 1) & ~(kAlignment - 1);
}

bool holds(const LuaArena* arena, const void* block) {
    return reinterpret_cast<uintptr_t>(block) - reinterpret_cast<uintptr_t>(arena->bytes) <
           sizeof arena->bytes;
}

// Cuts off the next bytes; null when there are too few.
void* cut(LuaArena* arena, size_t size) {
    if (size > sizeof arena->bytes - arena->used)
        return nullptr;
    void* const block = arena->bytes + arena->used;
    arena->used += roundUp(size);
    return block;
}

// A block from malloc. From the first one on Lua collects its garbage as usual.
void* overflow(LuaArena* arena, size_t size) {
    if (arena->lua != nullptr)
        lua_gc(arena->lua, LUA_GCRESTART, 0);  // sets a number, touches no memory
    arena->lua = nullptr;
    return malloc(size);
}

// A block that grows may stay where it is when it is the last one.
void* grow(LuaArena* arena, void* block, size_t oldSize, size_t newSize) {
    const bool isLast =
        static_cast<unsigned char*>(block) + roundUp(oldSize) == arena->bytes + arena->used;
    if (isLast && cut(arena, roundUp(newSize) - roundUp(oldSize)) != nullptr)
        return block;
    void* moved = cut(arena, newSize);
    if (moved == nullptr)
        moved = overflow(arena, newSize);
    if (moved != nullptr)
        memcpy(moved, block, oldSize);
    return moved;
}

// Lua's allocator function (lua_Alloc).
void* allocate(void* place, void* block, size_t oldSize, size_t newSize) {
    auto* const arena = static_cast<LuaArena*>(place);
    if (block == nullptr) {
        if (newSize == 0)
            return nullptr;
        void* const fresh = cut(arena, newSize);
        return fresh != nullptr ? fresh : overflow(arena, newSize);
    }
    if (holds(arena, block)) {
        if (newSize == 0)
            return nullptr;
        return newSize <= oldSize ? block : grow(arena, block, oldSize, newSize);
    }
    if (newSize != 0)
        return realloc(block, newSize);
    free(block);
    return nullptr;
}

int panic(lua_State* lua) {
    const char* const text = lua_tolstring(lua, -1, nullptr);
    fprintf(stderr, "PANIC: unprotected error in call to Lua API (%s)\n",
            text != nullptr ? text : "");
    return 0;
}

}  // namespace

lua_State* mfgp_openLua(LuaArena* arena) {
    lua_State* const lua = lua_newstate(allocate, arena);
    if (lua == nullptr)
        return nullptr;
    lua_atpanic(lua, panic);
    lua_gc(lua, LUA_GCSTOP, 0);
    arena->lua = lua;
    return lua;
}
