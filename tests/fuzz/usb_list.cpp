// The USB list, by the command and into a small buffer. The first byte is the buffer's size.
#include "protocol/usb_test.h"

#include <memory>

#include "tests/fuzz/scripted_unit.h"

std::string answerOf(std::string_view input) {
    const size_t capacity = sizeof "No USB!" + takeByte(&input);
    layFile("/proc/bus/usb/devices", input);
    ServiceContext* const ctx = freshContext();
    const InUnit unit;
    mfgp_usbTest(ctx);
    const std::unique_ptr<FILE, decltype(&fclose)> file(fopen("/proc/bus/usb/devices", "r"),
                                                        fclose);
    const std::unique_ptr<char[]> text(new char[capacity]);
    const size_t length = mfgp_listUsbStorage(file.get(), text.get(), capacity);
    require(length < capacity && text[length] == '\0', "the list fits");
    return text.get() + std::string(reinterpret_cast<const char*>(mfgp_payload(ctx->replyBuf)),
                                    mfgp_payloadLength(ctx->replyBuf));
}
