// The handler contract. A handler begins its reply, gets its argument, does its steps, and ends in
// one statement that completes the reply or fails it:
//
//     int mfgp_cmd_getSSID(ServiceContext* ctx) {
//         const Reply reply = mfgp_replyBegin(ctx, 68);
//         char ssid[65] = {};
//         if (get_firm_info("SSID", 64, ssid) != 0) {
//             MFGP_TRACE("get firm info failed.\n");
//             return mfgp_replyFail(reply, -10331, "get SSID failed");
//         }
//         return mfgp_replyText(reply, ssid);
//     }
//
// A handler never sends. The parser encodes the reply and the receive path sends it once.
#pragma once

#include <span>

#include "core/report.h"
#include "core/service_context.h"

// A reply under construction.
struct Reply {
    ServiceContext* ctx;
    uint8_t* argument;  // the request's payload, followed by zeros
    uint8_t* header;
    std::span<uint8_t> payload;  // zeroed; includes room for a terminator
    const char* function;        // the handler's name, for the trace lines of shared workers
};

// Begins the reply of a special command with the handler's own sub-type: writes a successful, empty
// reply and zeroes the payload. Decoding left the request's plain text there, and it must not
// follow a short answer.
Reply mfgp_replyBegin(ServiceContext* ctx, uint8_t subType,
                      const char* function = __builtin_FUNCTION());

// Begins the reply of a command that works on the command block, in the same way.
Reply mfgp_replyBeginInner(ServiceContext* ctx, const char* function = __builtin_FUNCTION());

// Returns the argument as a terminated text in the receive buffer.
char* mfgp_argumentText(const Reply& reply);

// Returns true when the request has a payload. A write must not obey a request without one, because
// nothing authenticates it: its digest does not depend on the key.
bool mfgp_hasArgument(const Reply& reply);

// Copies the start of the argument, one byte less than `text` holds, terminates it and logs it.
void mfgp_argumentMessage(const Reply& reply, std::span<char> text);

// Logs the argument as text.
void mfgp_replyLogArgument(const Reply& reply);

// Returns the payload as text.
char* mfgp_payloadText(const Reply& reply);

// Completes the reply with `length` payload bytes. Returns 0.
int mfgp_replyOk(const Reply& reply, uint32_t length);

// Copies the text without its terminator into the payload, cut to its capacity. A text that
// begins with a newline counts as empty, and the payload stays zero.
void mfgp_replyPut(const Reply& reply, const char* text);

// Logs the payload as text.
void mfgp_replyLogPayload(const Reply& reply);

// Puts the text like mfgp_replyPut, logs the payload, and completes the reply with `length` bytes.
// Returns 0.
int mfgp_replyText(const Reply& reply, const char* text, uint32_t length);

// Puts and logs the text in the same way and completes the reply with the length of what was put.
// Returns 0.
int mfgp_replyText(const Reply& reply, const char* text);

// Turns the reply into a failure (info 3) and reports the handler's code and message. Returns the
// code.
int mfgp_replyFail(const Reply& reply, int code, const char* message);
