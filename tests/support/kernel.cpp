#include "tests/support/kernel.h"

#include <signal.h>

Injection::Injection(const Unit& unit, const std::string& calls, const std::string& answer) {
    const std::string line = "echo $$; exec strace -p " + std::to_string(unit.daemon()) + " -o " +
                             unit.path("/strace").string() + " -e trace=" + calls +
                             " -e inject=" + calls + ":" + answer + " 2>&1";
    output_ = popen(line.c_str(), "re");
    char said[512] = {};
    if (fscanf(output_, "%d ", &tracer_) == 1 && fgets(said, sizeof said, output_) != nullptr &&
        std::string(said).ends_with(" attached\n"))
        return;
    pclose(output_);
    throw UnitImpossible("no process may trace another here, or strace is missing");
}

Injection::~Injection() {
    kill(tracer_, SIGTERM);
    pclose(output_);
}
