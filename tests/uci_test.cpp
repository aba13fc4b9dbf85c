// The look-up of a configuration option where no command needs it yet.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "commands/config_lookup.h"
#include "core/uci_handle.h"

static std::string folder;

// The linker puts this in front of the library's own, so that no unit is needed.
extern "C" int __real_uci_set_confdir(uci_context* context, const char* dir);
extern "C" int __wrap_uci_set_confdir(uci_context* context, const char* dir) {
    EXPECT_STREQ(dir, "/etc/config");
    return __real_uci_set_confdir(context, folder.c_str());
}

namespace {

class Uci : public testing::Test {
  protected:
    void SetUp() override {
        char name[] = "/tmp/mfgp-uci-XXXXXX";
        folder = mkdtemp(name);
    }
    void TearDown() override { std::filesystem::remove_all(folder); }

    static void put(const std::string& text) { std::ofstream(folder + "/pkg") << text; }
};

TEST_F(Uci, WithoutASectionEverySectionMustCarryTheOption) {
    const std::string two = "config t 'a'\n option o '1'\nconfig t\n option o 'onwards and on'\n";
    const std::string none = "uci: get o option failed.\n";
    for (const auto& [content, value, trace] :
         {std::tuple{two, "onwards", std::string("o of (null) in pkg is onwards and on.\n")},
          {"config t 'c'\n" + two, "", none},
          {two + "config t\n list o '1'\n", "", none},
          {"# nothing\n", "", ""}}) {
        put(content);
        char out[8] = {};
        testing::internal::CaptureStdout();
        EXPECT_EQ(uci_get_option("pkg", nullptr, "o", out), *value == 0 ? -1 : 0);
        EXPECT_STREQ(out, value);
        EXPECT_TRUE(testing::internal::GetCapturedStdout().ends_with(trace));
    }
}

}  // namespace
