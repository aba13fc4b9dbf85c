// The kernel as a unit meets it.
#pragma once

#include "tests/support/unit.h"

// While it lives, system calls of the unit's unchanged daemon are answered by strace instead of
// being carried out.
class Injection {
  public:
    // `calls` and `answer` in strace's words: "wait4", "error=EINTR:when=1". Those that are met
    // stand in the unit's /strace. Throws UnitImpossible where no process may trace another.
    Injection(const Unit& unit, const std::string& calls, const std::string& answer);
    ~Injection();
    Injection(const Injection&) = delete;
    Injection& operator=(const Injection&) = delete;

  private:
    FILE* output_;
    pid_t tracer_ = -1;
};

inline const std::string kForks = "clone,?clone3,?fork,?vfork";
inline const std::string kSelects = "pselect6,?pselect6_time64,?select,?_newselect";
