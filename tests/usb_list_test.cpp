#include "protocol/usb_list.h"

#include <gtest/gtest.h>

namespace {

std::string listOf(const std::string& devices, size_t capacity = 1000) {
    FILE* const file = fmemopen(const_cast<char*>(devices.data()), devices.size(), "r");
    std::string text(capacity, '#');
    text.resize(mfgp_listUsbStorage(file, text));
    fclose(file);
    return text;
}

TEST(UsbList, ReadsTheKernelsForm) {
    const std::string hub =
        "T:  Bus=01 Lev=00 Prnt=00 Port=00 Cnt=00 Dev#=  1 Spd=480 MxCh= 1\n"
        "D:  Ver= 2.00 Cls=09(hub  ) Sub=00 Prot=01 MxPS=64 #Cfgs=  1\n"
        "P:  Vendor=1d6b ProdID=0002 Rev= 4.04\n"
        "S:  SerialNumber=ehci\n"
        "I:* If#= 0 Alt= 0 #EPs= 1 Cls=09(hub  ) Sub=00 Prot=00 Driver=hub\n";
    const std::string device = "D:  Ver= 3.10 Cls=00(>ifc ) Sub=00\n";
    const std::string product = "P:  Vendor=0781 ProdID=5567 Rev= 1.26\n";
    const std::string serial = "S:  SerialNumber=4C53 0001\n";
    const std::string disk = "I:* If#= 0 Alt= 0 #EPs= 2 Cls=08(stor.) Sub=06 Prot=50\n";
    const std::string stick = "3.00,0781,5567,4C53;", none = "No USB!";
    EXPECT_EQ(listOf(hub), none);
    EXPECT_EQ(listOf(hub + device + product + serial + disk), stick);
    EXPECT_EQ(listOf(hub + device + product + disk), "3.00,0781,5567,ehci;") << "the one before";
    EXPECT_EQ(listOf(device + product + disk), none) << "no serial number at all";
    EXPECT_EQ(listOf(device + "P:  Vendor=0781\n" + serial + disk), none);
    EXPECT_EQ(listOf("D:  Ver=\n" + product + serial + disk), none);
    // An entry that does not fit is dropped whole; the ones before it stay.
    const std::string two = device + product + serial + disk + disk;
    EXPECT_EQ(listOf(two), stick + stick);
    EXPECT_EQ(listOf(two, 40), stick);
    EXPECT_EQ(listOf(two, 20), none);
}

}  // namespace
