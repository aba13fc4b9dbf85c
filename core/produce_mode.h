#pragma once

// Returns true when the UCI option wanDetect.settings.mode begins with "test", which means that the
// unit is on a production line. Reads the option at every call, because the mode can change while
// the daemon runs. Reports an option that cannot be read as text with -1 and returns false.
bool mfgp_isProduceMode();
