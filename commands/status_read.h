// Status of the unit: button, Bluetooth, SSID, versions, model and enable flags. Each command
// returns 0, or its own code when the status could not be read.
#pragma once

#include "core/service_context.h"

// Sub-type 50. Answers whether the button that the argument names was pressed: "BUTTON OK" or
// "BUTTON NOT OK" with its terminator. Returns -10331 outside calibration mode.
int mfgp_cmd_getGpioStatus(ServiceContext* ctx);

// Sub-type 87. Answers 13 zero bytes when Bluetooth is on, else returns -10340.
int mfgp_cmd_getBleStatus(ServiceContext* ctx);

int mfgp_cmd_getSSID(ServiceContext* ctx);         // 68: the text, at most 64 bytes; -10331
int mfgp_cmd_getEnableFlags(ServiceContext* ctx);  // 69: 4 bytes, little-endian; -10334

// These answer a text of at most 64 bytes into the command block.
int mfgp_cmd_getHwVer(ServiceContext* ctx);      // 70: -10333
int mfgp_cmd_getFwVer(ServiceContext* ctx);      // 71: -10332
int mfgp_cmd_getModelName(ServiceContext* ctx);  // 72, encrypted only: -10339
