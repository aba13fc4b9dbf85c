// The kernel as a unit meets it: system calls of its unchanged daemon answer what a test says
// instead of being carried out. Works for root and for an ordinary user.
#pragma once

#include <sys/types.h>

#include <functional>
#include <mutex>
#include <thread>
#include <vector>

class Kernel {
  public:
    // Runs `start`; the calls of all processes that come of it go through here. Throws
    // UnitImpossible where this machine does not let one process answer another's calls.
    // To be destroyed after the unit: waits for the end of all that was started.
    explicit Kernel(const std::function<void()>& start);

    enum Kind { kForks, kWaits, kSelects };
    // The next calls of a kind by a process answer `result` (a negative errno or a value).
    void answer(pid_t process, Kind kind, int result, int times = 1);
    // How many such answers have not been given.
    int left();

  private:
    void serve(int listener);

    std::mutex mutex_;
    pid_t process_ = 0;
    Kind kind_ = kForks;
    int result_ = 0;
    int left_ = 0;
    std::jthread server_;
};
