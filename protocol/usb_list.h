#pragma once

#include <cstddef>
#include <cstdio>
#include <span>

#include "core/service_context.h"

// Answers the USB test with the mass-storage interfaces of /proc/bus/usb/devices. Returns 0.
int mfgp_usbTest(ServiceContext* ctx);

// Reads a device list in the format of the kernel's usb devices file and writes
// "VERSION.00,VENDOR,PRODUCT,SERIAL;" for each mass-storage interface, terminated. An entry that
// does not fit is left out. Without any entry the text is "No USB!". Returns the length of the text
// in bytes.
size_t mfgp_listUsbStorage(FILE* devices, std::span<char> text);
