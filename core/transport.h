// The UDP socket of the service context. Each function returns 0. Unless stated otherwise, it
// reports a failure and returns an error code of the -101xx group.
#pragma once

#include "core/service_context.h"

// Opens the socket as ctx->sockFd. Returns -10101 on failure, and also when its number is too large
// for select() because the daemon inherited too many open files.
int mfgp_udpSocketCreate(ServiceContext* ctx);

// Binds the socket to port 1040 of every address and allows broadcast. Returns -10103 when it
// cannot be bound. Returns -1 without a report when broadcast cannot be allowed.
int mfgp_udpSocketBind(ServiceContext* ctx);

// Closes ctx->sockFd. Returns -10102 on failure, and also when the socket was never opened or the
// context is null.
int mfgp_udpSocketClose(ServiceContext* ctx);

// Receives one datagram of at most 45,000 bytes into ctx->recvBuf and stores its length in bytes.
// Returns -10106 on failure, including when select() reported a datagram that the kernel then
// dropped (bad checksum).
int mfgp_udpReceive(ServiceContext* ctx, sockaddr_in* sender, size_t* length);

// Returns true when more than 64 KiB wait to be sent, because answers to absent hosts wait for
// their address resolution.
bool mfgp_udpIsCongested(const ServiceContext* ctx);

// Sends the first `length` bytes of ctx->replyBuf without waiting. Returns -10105 on failure, and
// also when the send would have to wait.
int mfgp_udpSend(ServiceContext* ctx, size_t length, const sockaddr_in& receiver);
