#pragma once

// Serves stations on UDP port 1040 until no datagram has arrived for 600 seconds (1,800 in produce
// mode). Returns after that wait, or when the socket cannot be opened and bound. Reports errors.
void mfgp_taskEntry();
