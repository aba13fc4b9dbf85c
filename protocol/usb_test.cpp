#include "protocol/usb_test.h"

#include "core/file.h"

namespace {

constexpr size_t kLineSize = 256;
constexpr char kNothing[] = "No USB!";

// The last line of each kind that was seen. They are not forgotten at the next device: a stick
// without a serial number is listed with the one before it, as test sheets on the line expect.
struct RememberedLines {
    char device[kLineSize];
    char product[kLineSize];
    char serial[kLineSize];
};

bool contains(const char* line, const char* word) {
    return strstr(line, word) != nullptr;
}

// Reads the value behind the "=" that follows `name`, up to white space. Returns false when the
// line does not hold the name.
bool readValue(const char* line, const char* name, char (&value)[kLineSize]) {
    const char* const place = strstr(line, name);
    value[0] = '\0';
    if (place == nullptr)
        return false;
    sscanf(place, "%*[^=]=%255s", value);
    return true;
}

// Appends the entry of one mass-storage interface; returns the text's new length.
size_t appendEntry(const RememberedLines& lines, char* text, size_t length, size_t capacity) {
    constexpr size_t kMajorDigit = 5;  // from "Ver" in "Ver= 2.00"
    const char* const version = strstr(lines.device, "Ver");
    char vendor[kLineSize];
    char product[kLineSize];
    char serial[kLineSize];
    if (version == nullptr || strlen(version) <= kMajorDigit ||
        !readValue(lines.product, "Vendor=", vendor) ||
        !readValue(lines.product, "ProdID=", product) ||
        !readValue(lines.serial, "SerialNumber", serial))
        return length;
    const int added = snprintf(text + length, capacity - length, "%c.00,%s,%s,%s;",
                               version[kMajorDigit], vendor, product, serial);
    if (added > 0 && static_cast<size_t>(added) < capacity - length)
        return length + static_cast<size_t>(added);
    text[length] = '\0';
    return length;
}

}  // namespace

size_t mfgp_listUsbStorage(FILE* devices, char* text, size_t capacity) {
    RememberedLines lines = {};
    char line[kLineSize];
    size_t length = 0;
    text[0] = '\0';
    while (fgets(line, sizeof line, devices) != nullptr) {
        if (contains(line, "D:"))
            memcpy(lines.device, line, sizeof line);
        if (contains(line, "P:"))
            memcpy(lines.product, line, sizeof line);
        if (contains(line, "S:") && contains(line, "SerialNumber"))
            memcpy(lines.serial, line, sizeof line);
        if (contains(line, "I:") && contains(line, "Cls=08"))
            length = appendEntry(lines, text, length, capacity);
    }
    if (length == 0)
        length = static_cast<size_t>(snprintf(text, capacity, "%s", kNothing));
    return length;
}

int mfgp_usbTest(ServiceContext* ctx) {
    mfgp_startReply(ctx->replyBuf, ctx->recvBuf, kInfoSuccess);
    char* const text = reinterpret_cast<char*>(mfgp_payload(ctx->replyBuf));
    // No longer than what can be encoded, so that a long list is answered with what fits.
    constexpr size_t kCapacity = kMaxPayload + 1;
    memset(text, 0, kPayloadCapacity);
    const File devices = mfgp_openToRead("/proc/bus/usb/devices");
    const size_t length = devices ? mfgp_listUsbStorage(devices.get(), text, kCapacity)
                                  : static_cast<size_t>(snprintf(text, kCapacity, "%s", kNothing));
    mfgp_setPayloadLength(ctx->replyBuf, static_cast<uint32_t>(length));
    return 0;
}
