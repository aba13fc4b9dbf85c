// The service context, which holds all state of the daemon, and the one-slot session table in which
// it is registered. main owns the table and the task loop owns the context. Handlers borrow the
// context for one call and keep no pointer into it.
#pragma once

#include <netinet/in.h>

#include <cstdint>

#include "core/packet.h"

// Bits of the flags word. Each bit from 2 upward is a permission, except the cancel guard. A
// factory write clears its permission after a success, so that each field can be written once per
// run.
enum Flag : uint32_t {
    kFlagSendReply = 1U << 0,
    kFlagSystemReady = 1U << 1,
    kFlagSetMac = 1U << 2,
    kFlagSetPin = 1U << 3,
    kFlagCancelGuard = 1U << 4,  // read only by the cancel-test packet
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

// The request and reply that an encrypted command works on. The commands that both dispatchers
// share use it too.
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
    uint8_t payloadKey[9];  // DES key and a terminating zero byte
    char sessionName[17];
    uint8_t replyBuf[kBufferSize];
    uint8_t recvBuf[kBufferSize];
    CommandBlock cmdBlock;
};

// Creates the session table of one slot. Returns 0, or -10201 when out of memory.
int mfgp_sessionTableCreate();

// Frees the session table. A context registered in it is not freed.
void mfgp_sessionTableFree();

// Allocates a zeroed context, registers it and stores it in *out. Returns 0, -10202 (null argument
// or out of memory) or the error of the registration. On an error *out is unchanged.
int mfgp_contextCreate(ServiceContext** out);

// Removes the context from the table and frees it. Returns 0, -10203 (no context) or -10205 (not
// registered).
int mfgp_contextDestroy(ServiceContext* ctx);
