#include "protocol/usb_list.h"

#include "core/file.h"

namespace {

constexpr size_t kLineSize = 256;
constexpr char kNothing[] = "No USB!";

// The last line of each kind. They are kept from device to device, so a stick without a serial
// number is listed with the serial number of the device before it.
struct RememberedLines {
    char device[kLineSize];
    char product[kLineSize];
    char serial[kLineSize];
};

bool contains(const char* line, const char* word) { return strstr(line, word) != nullptr; }

// Reads the value after the "=" that follows `name`, up to white space. Returns false when the line
// does not contain the name.
bool readValue(const char* line, const char* name, char (&value)[kLineSize]) {
    const char* const place = strstr(line, name);
    value[0] = '\0';
    if (place == nullptr)
        return false;
    sscanf(place, "%*[^=]=%255s", value);
    return true;
}

// Writes the entry of one mass-storage interface. Returns its length in bytes, or 0 when a line is
// missing or the entry does not fit.
size_t writeEntry(const RememberedLines& lines, std::span<char> out) {
    constexpr size_t kMajorDigit = 5;  // from "Ver" in "Ver= 2.00"
    const char* const version = strstr(lines.device, "Ver");
    char vendor[kLineSize];
    char product[kLineSize];
    char serial[kLineSize];
    if (version == nullptr || strlen(version) <= kMajorDigit ||
        !readValue(lines.product, "Vendor=", vendor) ||
        !readValue(lines.product, "ProdID=", product) ||
        !readValue(lines.serial, "SerialNumber", serial))
        return 0;
    const int length = snprintf(out.data(), out.size(), "%c.00,%s,%s,%s;", version[kMajorDigit],
                                vendor, product, serial);
    if (length > 0 && static_cast<size_t>(length) < out.size())
        return static_cast<size_t>(length);
    out[0] = '\0';
    return 0;
}

}  // namespace

size_t mfgp_listUsbStorage(FILE* devices, std::span<char> text) {
    RememberedLines lines = {};
    char line[kLineSize];
    size_t length = 0;
    while (fgets(line, sizeof line, devices) != nullptr) {
        if (contains(line, "D:"))
            memcpy(lines.device, line, sizeof line);
        if (contains(line, "P:"))
            memcpy(lines.product, line, sizeof line);
        if (contains(line, "S:") && contains(line, "SerialNumber"))
            memcpy(lines.serial, line, sizeof line);
        if (contains(line, "I:") && contains(line, "Cls=08"))
            length += writeEntry(lines, text.subspan(length));
    }
    if (length == 0)
        length = static_cast<size_t>(snprintf(text.data(), text.size(), "%s", kNothing));
    return length;
}

int mfgp_usbTest(ServiceContext* ctx) {
    mfgp_startReply(ctx->replyBuf, ctx->recvBuf, kInfoSuccess);
    // Limited to the longest payload that can be encoded.
    const std::span text(reinterpret_cast<char*>(mfgp_payload(ctx->replyBuf)), kMaxPayload + 1);
    memset(text.data(), 0, text.size());
    const File devices = mfgp_openToRead("/proc/bus/usb/devices");
    const size_t length =
        devices ? mfgp_listUsbStorage(devices.get(), text)
                : static_cast<size_t>(snprintf(text.data(), text.size(), "%s", kNothing));
    mfgp_setPayloadLength(ctx->replyBuf, static_cast<uint32_t>(length));
    return 0;
}
