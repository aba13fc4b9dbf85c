// The command handlers, each with its sub-type, grouped by the file that implements them. A handler
// takes the service context for one call, fills the reply in it and returns 0. On a failure it
// reports its own error code, which is given here, and returns it. Answers are empty unless stated.
#pragma once

#include "core/service_context.h"

// identity_read.cpp. Each answers a factory field (58: two), padded with zeros to a fixed length,
// and fails only when the field reader could not be started.
int mfgp_cmd_getProdId(ServiceContext* ctx);       // 10: 16 bytes; "00000000" if empty; -10330
int mfgp_cmd_getDevID(ServiceContext* ctx);        // 53: 64 bytes; -10316
int mfgp_cmd_getMAC(ServiceContext* ctx);          // 55: 17 bytes; -10320
int mfgp_cmd_getFwID(ServiceContext* ctx);         // 56: 64 bytes; -10321
int mfgp_cmd_getHwID(ServiceContext* ctx);         // 57: 64 bytes; -10322
int mfgp_cmd_getHwDesc(ServiceContext* ctx);       // 58: 128 bytes: model, hardware version; -10323
int mfgp_cmd_getOemID(ServiceContext* ctx);        // 59: 64 bytes; -10324
int mfgp_cmd_getSpecialID(ServiceContext* ctx);    // 64: 64 bytes: two letters or bytes; -10326
int mfgp_cmd_getCountryCode(ServiceContext* ctx);  // 66: 64 bytes; "UN" if empty; -10328

// identity_write.cpp. A successful write clears its permission in the flags word, so each field can
// be written once per run. A failed write keeps the permission.
int mfgp_cmd_setDevID(ServiceContext* ctx);        // 54: at most 64 characters; -10315
int mfgp_cmd_setOemID(ServiceContext* ctx);        // 60: at most 64 characters; -10325
int mfgp_cmd_setSpecialID(ServiceContext* ctx);    // 65: the letters of a region; -10327
int mfgp_cmd_setCountryCode(ServiceContext* ctx);  // 67: at most 64 characters; -10329
int mfgp2_cmd_setMac(ServiceContext* ctx);         // 75: six bytes; -10303
int mfgp2_cmd_setPin(ServiceContext* ctx);         // 76: eight characters; -1 or -10304
int mfgp_cmd_setModelName(ServiceContext* ctx);    // 82: at most 64 characters; -10327

// group_info.cpp. The units of one group share a group id and a key, and each has a pack number. On
// the wire the group is a JSON object with "gid", "key" and "pack".
int mfgp2_cmd_setGroupInfo(ServiceContext* ctx);       // 77: stores an object once per run; -10336
int mfgp2_cmd_getGroupInfo(ServiceContext* ctx);       // 78: answers the stored object; -10337
int mfgp2_cmd_generateGroupInfo(ServiceContext* ctx);  // 79: at most 1,023 bytes of new group
                                                       // data for a number of units; -10338

// radio_hooks.cpp. Actions of the firmware's hook programs, without an argument.
int mfgp_hook_erase_radio(ServiceContext* ctx);      // 17: once per run; -10308
int mfgp_hook_enable_testmode(ServiceContext* ctx);  // 80: any number of times; -10349

// modem_antenna.cpp. The factory test mode (FTM) of the cellular module and its receive-antenna
// tests. A test takes two commands: 112 measures a level and stores it, and 113 answers it.
int mfgp2_cmd_setantennaTest(ServiceContext* ctx);  // 112: fields separated by "-"; -10352
int mfgp2_cmd_getantennaTest(ServiceContext* ctx);  // 113: 8 bytes; "999" without a level
int mfgp2_cmd_setFtmState(ServiceContext* ctx);     // 114: the mode, a number; -10354
int mfgp2_cmd_getFtmState(ServiceContext* ctx);     // 115: 8 bytes, the module's text; -10355

// imei.cpp. The IMEI is stored in flash and in the modem. A failed write does not undo its earlier
// steps.
int mfgp2_cmd_setImei(ServiceContext* ctx);  // 90: at most 15 bytes, once per run; -10350
int mfgp2_cmd_getImei(ServiceContext* ctx);  // 91: 15 bytes; all "9" if the two differ; -10351

// modem_tools.cpp.
int mfgp2_cmd_startQLog(ServiceContext* ctx);         // 92: starts the modem's logger; -10341
int mfgp2_cmd_stopQLog(ServiceContext* ctx);          // 93: fails if none is running; -10342
int mfgp2_cmd_changeExtAntenna(ServiceContext* ctx);  // 94: one character; -10343

// card_status.cpp. 106 to 109 answer a UCI option. The reply length does not count its newline.
int mfgp2_cmd_getcardstate(ServiceContext* ctx);    // 106: -10344
int mfgp2_cmd_getcardconn(ServiceContext* ctx);     // 107: -10345
int mfgp2_cmd_getcardsiglvl(ServiceContext* ctx);   // 108: -10346
int mfgp2_cmd_getcardregstat(ServiceContext* ctx);  // 109: -10347
int mfgp2_cmd_getsimImei(ServiceContext* ctx);      // 110: 16 bytes, the modem's IMEI; -10348
int mfgp2_cmd_getlteSwVer(ServiceContext* ctx);     // 116: 65 bytes, its software version; -10356

// calibration.cpp. 18 runs the steps of the tool that the argument names, or judges the log of the
// running coexistence test. Any other argument starts the Wi-Fi calibration.
int mfgp_cmd_StartCal(ServiceContext* ctx);  // 18: -10309
int mfgp_cmd_getCalStatus(
    ServiceContext* ctx);  // 86: 8 zero bytes; -10331 outside calibration mode

// status_read.cpp. 70 to 72 answer into the command block.
int mfgp_cmd_getGpioStatus(ServiceContext* ctx);   // 50: was the named button pressed? A text and
                                                   // its terminator; -10331 unless in calibration
int mfgp_cmd_getBleStatus(ServiceContext* ctx);    // 87: 13 zero bytes; -10340 if Bluetooth is off
int mfgp_cmd_getSSID(ServiceContext* ctx);         // 68: at most 64 bytes; -10331
int mfgp_cmd_getEnableFlags(ServiceContext* ctx);  // 69: 4 bytes, little-endian; -10334
int mfgp_cmd_getHwVer(ServiceContext* ctx);        // 70: at most 64 bytes; -10333
int mfgp_cmd_getFwVer(ServiceContext* ctx);        // 71: at most 64 bytes; -10332
int mfgp_cmd_getModelName(ServiceContext* ctx);    // 72, encrypted: at most 64 bytes; -10339

// fan.cpp. The firmware's fan service drives and measures the fans. These commands start it and
// read its files under /tmp/fan_speed. A number that cannot be parsed is 0.
int mfgp_cmd_setFanSpeed(ServiceContext* ctx);       // 104: {"gear":"G","time":T}: runs the fans
                                                     // at gear G for time T; -10300
int mfgp_cmd_setAllFanGear(ServiceContext* ctx);     // 89: {"gear":255}: measures all again; -10300
int mfgp_cmd_getAllFanStatus(ServiceContext* ctx);   // 88: one character, the test's status; -10346
int mfgp_cmd_getMultiFanSpeed(ServiceContext* ctx);  // 105: a gear; answers the number of fans and
                                                     // the speed of each, with blanks; -10337

// wifi_chain.cpp. 128 switches both chains of band 0 (2.4 GHz) or 1 (5 GHz). It does not check
// whether the radio accepted the value. 131 reads up to N signal strengths, but at least one, of
// the radio of band 0, 1, 4 or 6 and answers the strongest minus the weakest, with a terminator.
int mfgp2_cmd_setSmartAntenna(ServiceContext* ctx);      // 128: {"band":"B","antmode":M}; -10300
int mfgp_cmd_getMaxDifferPerChain(ServiceContext* ctx);  // 131: {"band":B,"nss":N}; -10357

// reset_check.cpp. The soft factory reset erases the three configuration partitions and fails when
// one of them does not read back empty.
int mfgp_cmd_reset(ServiceContext* ctx);           // 73, encrypted: -10300
int mfgp_cmd_getConfigCheck(ServiceContext* ctx);  // 135: the 244-byte record; -10335
