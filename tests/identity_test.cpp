// The reads of a factory field.
#include "tests/support/commands.h"

namespace {

class IdentityReads : public Commands {};

TEST_F(IdentityReads, AnswerAFieldInItsLength) {
    const std::string argument(140, 'x');  // longer than any answer
    const std::string firm = "[get_firm_info():%] get ",
                      hardware = "get hwver is: value, len is 5\n";
    for (const auto& [subType, key, length, cleansUp, encrypted, said] : {
             // Through type 3 first, where nothing may lean on an earlier encrypted command.
             std::tuple{10, "PRODUCT_ID", 16, false, false,
                        std::string("get proID is: value,len is 5\n")},
             {53, "DEV_ID", 64, true, false, "get device id is: value,len is 5\n"},
             {55, "MAC", 17, true, false, "get mac is: value, len is 5\n"},
             {56, "FW_ID", 64, false, false, "get fw id is: value, len is 5\n"},
             {57, "HW_ID", 64, false, false, "get hw id is: value, len is 5\n"},
             {59, "OEM_ID", 64, true, false, "get oem id is: value,len is 5\n"},
             {66, "COUNTRY", 64, true, false, "get countryCode is: value,len is 5\n"},
             {68, "SSID", 0, false, false, firm + "SSID is: value, len is 5\n"},
             {70, "HARDVERSION", 0, true, false, hardware},
             {71, "SOFTVERSION", 0, true, false, firm + "SOFTVERSION is: value, len is 5\n"},
             {70, "HARDVERSION", 0, true, true, hardware},
             {71, "SOFTVERSION", 0, true, true, firm},
             {72, "MODEL", 0, true, true, "get modelname is: value, len is 5\n"},
         }) {
        const auto command = static_cast<uint8_t>(subType);
        const auto fixed = [&](const std::string& text) {
            return padded(text, std::max(text.size(), size_t(length)));
        };
        const std::string file = std::string("/fw/") + key;
        unit.write("/tmp/fwinfo-cache", "stale");
        expectRows(command, {{argument, fixed("value"), said, file, "value\n"}}, encrypted);
        EXPECT_EQ(unit.exists("/tmp/fwinfo-cache"), !cleansUp);
        expectRows(command, {{"", fixed("a b"), "", file, "a\nb"}}, encrypted);
        expectRows(command, {{"", fixed("/*/* ?"), "", file, "/*/* ?"}}, encrypted);
    }
}

TEST_F(IdentityReads, SpecialIdIsAnsweredAsARegion) {
    const uint8_t command = 64;
    const std::string file = "/fw/SPECIAL_ID", said = "get special id is: 55530000,len is 8\n";
    expectRows(command, {{kArgument, padded("US", 64), said, file, "55530000"}});
    expectRows(command, {{"", padded("UN", 64), "", file, "\n"}});
}

TEST_F(IdentityReads, HardwareDescriptionJoinsTwoFields) {
    const std::string said = "get device id is: M31-5G V1.0, len is 11\n";
    expectRows(58, {{kArgument, padded("M31-5G V1.0", 128), said}});
}

}  // namespace
