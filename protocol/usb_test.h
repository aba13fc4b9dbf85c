#pragma once

#include <cstddef>
#include <cstdio>

#include "core/service_context.h"

// Answers the USB test: lists the mass-storage interfaces of /proc/bus/usb/devices. Returns 0.
int mfgp_usbTest(ServiceContext* ctx);

// Reads a device list in the kernel's usb-devices form and writes
// "VERSION.00,VENDOR,PRODUCT,SERIAL;" for each mass-storage interface into text[capacity],
// terminated. An entry that does not fit is dropped whole. Without any entry the text is "No USB!".
// Returns the text's length in bytes.
size_t mfgp_listUsbStorage(FILE* devices, char* text, size_t capacity);
