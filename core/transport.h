// The UDP socket of the service context. Every function returns 0 or, after reporting it, a code
// of the -101xx group.
#pragma once

#include "core/service_context.h"

// Opens the socket into ctx->sockFd, closed in every program the daemon starts: a test tool left
// in the background must not keep the port after the daemon has ended. -10101 on failure.
int mfgp_udpSocketCreate(ServiceContext* ctx);

// Binds the socket to port 1040 of every address (-10103 on failure) and allows broadcast (-1 on
// failure, the one that is not reported).
int mfgp_udpSocketBind(ServiceContext* ctx);

// Closes ctx->sockFd. -10102 on failure, also when it was never opened or there is no context.
int mfgp_udpSocketClose(ServiceContext* ctx);

// Receives one datagram of at most 45,000 bytes into ctx->recvBuf. -10106 on failure, also when
// the datagram that woke the daemon turned out damaged and nothing is there.
int mfgp_udpReceive(ServiceContext* ctx, sockaddr_in* sender);

// Sends the first `length` bytes of ctx->replyBuf. -10105 on failure.
int mfgp_udpSend(ServiceContext* ctx, size_t length, const sockaddr_in& receiver);
