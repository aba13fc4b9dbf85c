// Reads of what the unit under test is and does: button, Bluetooth, SSID, versions, model, enable
// flags. Each returns 0, or its own code when what it asks could not be read.
#pragma once

#include "core/service_context.h"

// 50: whether the button that the payload names was pressed: "BUTTON OK" or "BUTTON NOT OK" with
// its terminator. -10331 outside calibration mode.
int mfgp_cmd_getGpioStatus(ServiceContext* ctx);

// 87: answers 13 zero bytes when Bluetooth is on, else -10340.
int mfgp_cmd_getBleStatus(ServiceContext* ctx);

int mfgp_cmd_getSSID(ServiceContext* ctx);         // 68: the text, at most 64 bytes; -10331
int mfgp_cmd_getEnableFlags(ServiceContext* ctx);  // 69: 4 bytes, little-endian; -10334

// These answer into the command block: a text of at most 64 bytes.
int mfgp_cmd_getHwVer(ServiceContext* ctx);      // 70: -10333
int mfgp_cmd_getFwVer(ServiceContext* ctx);      // 71: -10332
int mfgp_cmd_getModelName(ServiceContext* ctx);  // 72, encrypted only: -10339
