// What the daemon relies on in <uci.h>, whichever library was linked: the real one or the simulated
// unit's stand-in; and the daemon's own look-up where no command needs it yet.
#include <gtest/gtest.h>
#include <stdlib.h>

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
        std::filesystem::create_directory(folder + "/saved");
    }
    void TearDown() override { std::filesystem::remove_all(folder); }

    static void put(const std::string& text, const std::string& file = "/pkg") {
        std::ofstream(folder + file, std::ios::binary) << text;
    }

    // The value at the path; "-" when the look-up is incomplete, "list" for a list, else the error.
    static std::string look(std::string path) {
        const UciContext context(uci_alloc_context());
        uci_set_confdir(context.get(), "/etc/config");
        uci_set_savedir(context.get(), (folder + "/saved").c_str());
        uci_ptr found = {};
        if (uci_lookup_ptr(context.get(), &found, path.data(), true) != UCI_OK) {
            char* text = nullptr;
            uci_get_errorstr(context.get(), &text, "look");
            const std::string error = text;
            free(text);
            return error.substr(0, error.find(" ("));
        }
        if ((found.flags & uci_ptr::UCI_LOOKUP_COMPLETE) == 0 || found.o == nullptr)
            return "-";
        return found.o->type == UCI_TYPE_STRING ? found.o->v.string : "list";
    }
};

TEST_F(Uci, ReadsTheFileForm) {
    const std::string two = "config s\n option a 1\nconfig s\n option a 2\n";
    const std::string broken = "look: Parse error";
    EXPECT_EQ(look("pkg.a.b"), "look: Entry not found");
    for (const auto& [file, path, value] :
         {std::tuple{std::string("config t 'n'\n\toption a 'v'\n"), "pkg.n.a", std::string("v")},
          {"config t 'n'\n\toption a 'v'\n", "pkg.n.other", "-"},
          {"config t 'n'\n\toption a 'v'\n", "pkg.other.a", "-"},
          {two, "pkg.@s[1].a", "2"},
          {two, "pkg.@s[-2].a", "1"},
          {two, "pkg.s.a", "-"},
          {"# c\n\n\tconfig t n # c\n  option a bare#x\n", "pkg.n.a", "bare"},
          {"package pkg\nconfig t-x n\n option a \"b \\\" c\"\n", "pkg.n.a", "b \" c"},
          {"config t n\n option a 1\n option a 2\nconfig t n\n option b 3\n", "pkg.n.a", "2"},
          {"config t n\n list a 1\n list a 2\n", "pkg.n.a", "list"},
          {"config t 'n\n", "pkg.n.a", broken},
          {"option a b\n", "pkg.n.a", broken},
          {"config t n\n option a-b c\n", "pkg.n.a", broken},
          {"nonsense\n", "pkg.n.a", broken}}) {
        put(file);
        EXPECT_EQ(look(path), value) << file;
    }
    put("config t n\n option a old\n option b old\n");
    put("pkg.n.a='new'\n-pkg.n.b\n", "/saved/pkg");
    EXPECT_EQ(look("pkg.n.a") + look("pkg.n.b"), "new-") << "changes that are not committed";
}

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
        EXPECT_EQ(uci_get_option("pkg", nullptr, "o", out, sizeof out), *value == 0 ? -1 : 0);
        EXPECT_STREQ(out, value);
        EXPECT_TRUE(testing::internal::GetCapturedStdout().ends_with(trace));
    }
    testing::internal::CaptureStderr();
    EXPECT_EQ(uci_get_option("absent", "a", "o", nullptr, 0), -1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "absent: Entry not found\n");
}

}  // namespace
