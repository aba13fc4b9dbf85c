// The service context: the one record of the daemon's state, and the one-slot table it is
// registered in. main owns the table, the task loop owns the context; handlers borrow the context
// for one call and keep nothing of it.
#pragma once

#include <netinet/in.h>

#include <cstdint>

#include "core/lua_arena.h"
#include "core/packet.h"

// Bits of the flags word. From bit 2 upward each but the cancel guard is a permission; a factory
// write clears its own after it has written, so that each field can be written once per run.
enum Flag : uint32_t {
    kFlagSendReply = 1U << 0,
    kFlagSystemReady = 1U << 1,
    kFlagSetMac = 1U << 2,
    kFlagSetPin = 1U << 3,
    kFlagCancelGuard = 1U << 4,  // only a cancelled test looks at it
    kFlagEraseRadio = 1U << 5,
    kFlagCalibrate = 1U << 6,
    kFlagTestMode = 1U << 7,
    kFlagSetDeviceId = 1U << 12,
    kFlagSetOemId = 1U << 13,
    kFlagSetSpecialId = 1U << 14,
    kFlagSetCountry = 1U << 15,
    kFlagSetGroup = 1U << 16,
    kFlagSetModelName = 1U << 17,
    kFlagSetImei = 1U << 18,
};
inline constexpr uint32_t kFlagsAtStart = 0x7F0FE;

// Where the commands of the encrypted-command dispatcher, and those that both dispatchers share,
// read and write.
struct CommandBlock {
    uint8_t* requestHeader;
    uint8_t* replyHeader;
    uint8_t* requestPayload;
    uint8_t* replyPayload;
    uint32_t payloadCapacity;  // bytes at replyPayload
};

struct ServiceContext {
    sockaddr_in peerAddr;  // the bound station
    int32_t peerBound;     // 1: only peerAddr is served
    int32_t sockFd;        // -1 until created
    uint32_t slotWord;
    uint32_t flags;
    int32_t idleLimit;      // seconds without a packet after which the binding lapses
    uint32_t lastBeat;      // clock value of the last accepted packet
    uint8_t payloadKey[9];  // DES key and a zero byte
    char sessionName[17];
    uint8_t replyBuf[kBufferSize];
    uint8_t recvBuf[kBufferSize];
    CommandBlock cmdBlock;
    LuaArena luaArena;  // the account query's memory, anew for each
};

// Creates the session table of one slot. Returns 0, or -10201 when out of memory.
int mfgp_sessionTableCreate();

// Frees the session table; a context in it is not touched.
void mfgp_sessionTableFree();

// Puts the context into the free slot and names it after the registration counter. Returns 0,
// -10204 (no context or no table) or -10206 (slot taken).
int mfgp_sessionRegister(ServiceContext* ctx);

// Empties the slot that holds the context. Returns 0 or -10205.
int mfgp_sessionRemove(ServiceContext* ctx);

// Allocates a zeroed context, registers it and stores it in *out. Returns 0, -10202 (no place to
// store it or out of memory) or the error of the registration; *out is then left as it was.
int mfgp_contextCreate(ServiceContext** out);

// Takes the context out of the table and frees it. Returns 0, -10203 (no context) or -10205.
int mfgp_contextDestroy(ServiceContext* ctx);
