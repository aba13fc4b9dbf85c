// The handler contract. A handler begins its reply, gets its argument, does its steps, and ends in
// one statement that finishes the reply or fails it:
//
//     int mfgp_cmd_getSSID(ServiceContext* ctx) {
//         const Reply reply = mfgp_replyBegin(ctx, 68);
//         char ssid[65] = {};
//         if (get_firm_info("SSID", 64, ssid) != 0)
//             return mfgp_replyFail(reply, -10331, "get SSID failed");
//         return mfgp_replyText(reply, ssid);
//     }
//
// It fills, it never sends: the parser encodes the reply and the receive path sends it, once.
#pragma once

#include "core/report.h"
#include "core/service_context.h"

// A command handler: takes the context for the length of the call, fills the reply in it and
// returns 0 or its own negative code, which it has reported.
using Handler = int (*)(ServiceContext* ctx);

// A reply under construction, and the handler it is built for.
struct Reply {
    ServiceContext* ctx;
    const uint8_t* argument;  // request payload; a zero byte always follows what was received
    uint8_t* header;
    uint8_t* payload;   // zeroed
    uint32_t capacity;  // bytes at payload, with room for a terminator
    CallSite site;      // trace lines of shared workers are printed for it
};

// Begins the reply of a special command: type 3, code 2, the handler's own sub-type, length 0, the
// request's packet id. The whole payload is zeroed first: decoding has left the request's plain
// text there, which must not come back behind a short answer.
Reply mfgp_replyBegin(ServiceContext* ctx, uint8_t subType, CallSite site = mfgp_callSite());

// Begins the reply of a command that works on the command block. Its dispatcher has prepared the
// header; info and length are reset and the payload is zeroed.
Reply mfgp_replyBeginBlock(ServiceContext* ctx, CallSite site = mfgp_callSite());

// The argument as a text, terminated within the receive buffer.
const char* mfgp_argumentText(const Reply& reply);

// Copies the argument's first maxBytes bytes into text[maxBytes + 1], terminated, and logs them as
// the commands do whose argument is scanned.
void mfgp_argumentMessage(const Reply& reply, char* text, size_t maxBytes);

// Logs the argument as the commands do that only log it.
void mfgp_replyLogArgument(const Reply& reply);

// The payload as a text.
char* mfgp_payloadText(const Reply& reply);

// Finishes the reply with info 0 and `length` payload bytes. Returns 0.
int mfgp_replyOk(const Reply& reply, uint32_t length);

// Copies the text without its terminator into the payload, cut to the capacity; an empty text or
// one that begins with a newline (a tool with nothing to say) is left out and the payload stays
// zero.
void mfgp_replyPut(const Reply& reply, const char* text);

// Logs the payload as the readers do before they answer.
void mfgp_replyLogPayload(const Reply& reply);

// Puts the text as mfgp_replyPut does, logs it, and finishes the reply with the length of what was
// put. Returns 0.
int mfgp_replyText(const Reply& reply, const char* text);

// Finishes the reply with info 3 and reports the handler's own code and message. Returns the code.
int mfgp_replyFail(const Reply& reply, int code, const char* message);
