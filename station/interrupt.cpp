#include "station/interrupt.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <iterator>

namespace station {
namespace {

volatile sig_atomic_t noted = 0;
// The handler also writes to this pipe, so that a signal that arrives just before a wait ends it.
int wakePipe[2] = {-1, -1};

void note(int signal) {
    const int error = errno;
    noted = signal;
    const ssize_t written = write(wakePipe[1], "", 1);
    (void)written;  // a full pipe already wakes the wait
    errno = error;
}

}  // namespace

void watchInterrupts() {
    if (wakePipe[0] >= 0 || pipe2(wakePipe, O_CLOEXEC | O_NONBLOCK) != 0)
        return;
    signal(SIGPIPE, SIG_IGN);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction before = {};
        struct sigaction action = {};
        action.sa_handler = note;
        action.sa_flags = static_cast<int>(SA_RESTART | SA_RESETHAND);
        sigaction(signal, nullptr, &before);
        if (before.sa_handler != SIG_IGN)
            sigaction(signal, &action, nullptr);
    }
}

int interruptSignal() { return noted; }

int waitReadable(int fd, int milliseconds) {
    pollfd wait[] = {{fd, POLLIN, 0}, {wakePipe[0], POLLIN, 0}};
    int ready = 0;
    do
        ready = poll(wait, std::size(wait), milliseconds);
    while (ready < 0 && errno == EINTR && noted == 0);
    if (noted != 0)
        return EINTR;
    if (ready < 0)
        return errno;
    return ready == 0 ? EAGAIN : 0;
}

}  // namespace station
