#pragma once

// True when the UCI option wanDetect.settings.mode begins with "test": the unit is on a production
// line. Read afresh at every call, since the mode changes while the daemon runs. An absent option,
// section or file, or a list in its place, is not produce mode and is reported (-1).
bool mfgp_isProduceMode();
