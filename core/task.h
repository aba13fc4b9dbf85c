#pragma once

// Serves stations on UDP port 1040 until no datagram has come for 600 seconds (1,800 in produce
// mode). Returns when the wait has run out or the socket cannot be had; errors are reported.
void mfgp_taskEntry();
