// The client but for main, so that tests link the real code.
#pragma once

namespace station {

// Does what the command line says. Returns the exit code.
int run(int argc, char** argv);

}  // namespace station
