// Signals that end the program, told to whatever waits.
#pragma once

namespace station {

// From now on SIGINT, SIGTERM and SIGHUP are noted, each once: a second one ends the program at
// once. One that was ignored stays so. SIGPIPE is ignored: a reader of the results that goes away
// is a write that fails, behind which the unit is still released.
void watchInterrupts();

// The signal that was noted, or 0.
int interruptSignal();

// Waits until the descriptor can be read (-1: none). Returns 0 when it can, EAGAIN when the time is
// over, EINTR after a signal, else an errno. Negative milliseconds: no end.
int waitReadable(int fd, int milliseconds);

}  // namespace station
