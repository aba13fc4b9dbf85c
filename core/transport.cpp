#include "core/transport.h"

#include <arpa/inet.h>
#include <sys/ioctl.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>

#include "core/report.h"

int mfgp_udpSocketCreate(ServiceContext* ctx) {
    // Close-on-exec, because a test tool left in the background would keep the port.
    ctx->sockFd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (ctx->sockFd >= FD_SETSIZE) {
        close(ctx->sockFd);
        ctx->sockFd = -1;
        errno = EMFILE;
    }
    return ctx->sockFd >= 0 ? 0 : report(-10101, "mfgp_udpSocketCreate failed");
}

int mfgp_udpSocketBind(ServiceContext* ctx) {
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(kServicePort);
    address.sin_addr.s_addr = htonl(INADDR_ANY);
    if (bind(ctx->sockFd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
        return report(-10103, "failed to bind socket");
    const int on = 1;
    return setsockopt(ctx->sockFd, SOL_SOCKET, SO_BROADCAST, &on, sizeof on);
}

int mfgp_udpSocketClose(ServiceContext* ctx) {
    // Also called when start-up failed before the socket, or the context, was created.
    if (ctx == nullptr || close(ctx->sockFd) != 0)
        return report(-10102, "mfgp_udpSocketClose failed");
    ctx->sockFd = -1;
    return 0;
}

int mfgp_udpReceive(ServiceContext* ctx, sockaddr_in* sender, size_t* length) {
    socklen_t senderSize = sizeof *sender;
    const ssize_t received = recvfrom(ctx->sockFd, ctx->recvBuf, kMaxDatagram, MSG_DONTWAIT,
                                      reinterpret_cast<sockaddr*>(sender), &senderSize);
    if (received < 0)
        return report(-10106, "receive error");
    *length = static_cast<size_t>(received);
    return 0;
}

bool mfgp_udpIsCongested(const ServiceContext* ctx) {
    constexpr int kMaxQueued = 64 * 1024;
    int queued = 0;  // bytes
    return ioctl(ctx->sockFd, TIOCOUTQ, &queued) == 0 && queued > kMaxQueued;
}

int mfgp_udpSend(ServiceContext* ctx, size_t length, const sockaddr_in& receiver) {
    const ssize_t sent = sendto(ctx->sockFd, ctx->replyBuf, length, MSG_DONTWAIT,
                                reinterpret_cast<const sockaddr*>(&receiver), sizeof receiver);
    return sent == static_cast<ssize_t>(length) ? 0
                                                : report(-10105, "mfgp_parserHandler sendto error");
}
