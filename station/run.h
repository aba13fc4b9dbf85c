// The client without main, so that tests link the real code.
#pragma once

namespace station {

// Carries out the command line. Returns the exit code.
int run(int argc, char** argv);

}  // namespace station
