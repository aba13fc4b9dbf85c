// An option that every section must carry: no command asks for one yet, so the look-up itself does.
#include <gtest/gtest.h>
#include <stdlib.h>
#include <uci.h>

#include <filesystem>
#include <fstream>

#include "commands/config_lookup.h"

static char folder[] = "/tmp/mfgp-config-XXXXXX";

// The linker puts this in front of the library's own, so that no unit is needed.
extern "C" int __real_uci_set_confdir(uci_context* context, const char* dir);
extern "C" int __wrap_uci_set_confdir(uci_context* context, const char* dir) {
    EXPECT_STREQ(dir, "/etc/config");
    return __real_uci_set_confdir(context, folder);
}

TEST(UciOption, WithoutASectionEverySectionMustCarryIt) {
    ASSERT_NE(mkdtemp(folder), nullptr);
    const std::string two = "config t 'a'\n option o '1'\nconfig t\n option o 'onwards and on'\n";
    const std::string said = "o of (null) in two is onwards and on.\n";
    for (const auto& [package, content, value, trace] :
         {std::tuple{"two", two, "onwards", said},
          {"lacks", "config t 'c'\n" + two, "", "uci: get o option failed.\n"},
          {"list", two + "config t\n list o '1'\n", "", "uci: get o option failed.\n"},
          {"empty", "# nothing\n", "", ""}}) {
        std::ofstream(std::string(folder) + "/" + package) << content;
        char out[8] = {};
        testing::internal::CaptureStdout();
        EXPECT_EQ(uci_get_option(package, nullptr, "o", out, sizeof out), *value == 0 ? -1 : 0);
        EXPECT_STREQ(out, value);
        EXPECT_TRUE(testing::internal::GetCapturedStdout().ends_with(trace)) << package;
    }
    testing::internal::CaptureStderr();
    char out[8] = {};
    EXPECT_EQ(uci_get_option("absent", "a", "o", out, sizeof out), -1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "absent: Entry not found\n");
    std::filesystem::remove_all(folder);
}
