// Signals that end the program. A wait ends when one arrives.
#pragma once

namespace station {

// Starts to record SIGINT, SIGTERM and SIGHUP. A second signal of the same number ends the program
// at once. Signals that were ignored stay ignored. Ignores SIGPIPE, so that if the reader of the
// results exits, the write fails and the unit is still released.
void watchInterrupts();

// Returns the recorded signal, or 0.
int interruptSignal();

// Waits until the descriptor can be read (-1: none). Returns 0 when it can, EAGAIN after the
// timeout, EINTR after a signal, else an errno. Waits without a limit if milliseconds is negative.
int waitReadable(int fd, int milliseconds);

}  // namespace station
