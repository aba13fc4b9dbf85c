#include "core/clock.h"

#include <ctime>

uint32_t mfgp_clock() {
    timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    return static_cast<uint32_t>(now.tv_sec);
}
