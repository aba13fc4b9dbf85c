// Faults of the kernel.
#pragma once

#include <signal.h>

#include "tests/support/unit.h"

// While it exists, strace answers system calls of the unit's unchanged daemon.
class Injection {
  public:
    // `calls` and `answer` are in strace's words: "wait4", "error=EINTR:when=1". The calls that
    // were answered are in the unit's /strace. Throws UnitImpossible if tracing is not permitted.
    Injection(const Unit& unit, const std::string& calls, const std::string& answer) {
        output_ = popen(("echo $$; exec strace -p " + std::to_string(unit.daemon()) + " -o " +
                         unit.path("/strace").string() + " -e trace=" + calls +
                         " -e inject=" + calls + ":" + answer + " 2>&1")
                            .c_str(),
                        "re");
        char line[512] = {};
        if (fscanf(output_, "%d ", &tracer_) == 1 && fgets(line, sizeof line, output_) != nullptr &&
            std::string(line).ends_with(" attached\n"))
            return;
        pclose(output_);
        throw UnitImpossible("no process may trace another here, or strace is missing");
    }
    ~Injection() {
        kill(tracer_, SIGTERM);
        pclose(output_);
    }
    Injection(const Injection&) = delete;
    Injection& operator=(const Injection&) = delete;

  private:
    FILE* output_;
    pid_t tracer_ = -1;
};

inline const std::string kForks = "clone,?clone3,?fork,?vfork";
inline const std::string kSelects = "pselect6,?pselect6_time64,?select,?_newselect";
