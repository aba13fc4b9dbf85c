// What the daemon relies on in <uci.h>, whichever library was linked: the real one or the simulated
// unit's stand-in.
#include <gtest/gtest.h>
#include <stdlib.h>
#include <uci.h>

#include <filesystem>
#include <fstream>

namespace {

class Uci : public testing::Test {
  protected:
    void SetUp() override {
        ASSERT_NE(mkdtemp(folder), nullptr);
        std::filesystem::create_directory(saved());
        context = uci_alloc_context();
        ASSERT_NE(context, nullptr);
        uci_set_confdir(context, folder);
        uci_set_savedir(context, saved().c_str());
    }
    void TearDown() override {
        uci_free_context(context);
        std::filesystem::remove_all(folder);
    }

    std::string saved() const { return std::string(folder) + "/saved"; }
    void put(const std::string& text) const {
        std::ofstream(std::string(folder) + "/pkg", std::ios::binary) << text;
    }

    // The value at the path; "-" when the look-up is incomplete, "list" for a list, else the error.
    std::string look(std::string path) {
        uci_ptr found = {};
        if (uci_lookup_ptr(context, &found, path.data(), true) != UCI_OK) {
            char* text = nullptr;
            uci_get_errorstr(context, &text, "look");
            const std::string error = text;
            free(text);
            return error;
        }
        if ((found.flags & uci_ptr::UCI_LOOKUP_COMPLETE) == 0 || found.o == nullptr)
            return "-";
        return found.o->type == UCI_TYPE_STRING ? found.o->v.string : "list";
    }

    std::string lookOnce(const std::string& file, const std::string& path) {
        put(file);
        const std::string value = look(path);
        uci_package* package = nullptr;
        if (uci_load(context, "pkg", &package) == UCI_ERR_DUPLICATE) {
            uci_ptr found = {};
            std::string name = "pkg";
            uci_lookup_ptr(context, &found, name.data(), false);
            package = found.p;
        }
        if (package != nullptr)
            uci_unload(context, package);
        return value;
    }

    char folder[32] = "/tmp/mfgp-uci-XXXXXX";
    uci_context* context = nullptr;
};

TEST_F(Uci, ReadsTheFileForm) {
    const std::string named = "config settings 'settings'\n\toption mode 'test'\n";
    const struct {
        const char* what;
        std::string file;
        const char* path;
        const char* value;
    } rows[] = {
        {"named", named, "pkg.settings.mode", "test"},
        {"no such option", named, "pkg.settings.other", "-"},
        {"no such section", named, "pkg.other.mode", "-"},
        {"anonymous by index", "config s\n option a 1\nconfig s\n option a 2\n", "pkg.@s[1].a",
         "2"},
        {"anonymous from the end", "config s\n option a 1\nconfig s\n option a 2\n", "pkg.@s[-2].a",
         "1"},
        {"not by its type's name", "config s\n option a 1\n", "pkg.s.a", "-"},
        {"bare, comments, blanks", "# c\n\n\tconfig t n # c\n  option a bare#x\n", "pkg.n.a",
         "bare"},
        {"double quotes", "config t n\n option a \"b \\\" c\"\n", "pkg.n.a", "b \" c"},
        {"package line", "package pkg\nconfig t n\n option a v\n", "pkg.n.a", "v"},
        {"repeated option", "config t n\n option a 1\n option a 2\n", "pkg.n.a", "2"},
        {"merged section", "config t n\n option a 1\nconfig t n\n option b 2\n", "pkg.n.a", "1"},
        {"a list", "config t n\n list a 1\n list a 2\n", "pkg.n.a", "list"},
        {"type with dash", "config t-x 'n'\n option a 'v'\n", "pkg.n.a", "v"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(lookOnce(row.file, row.path), row.value) << row.what;
}

TEST_F(Uci, TellsABrokenFileFromAMissingOne) {
    EXPECT_EQ(look("pkg.a.b"), "look: Entry not found");
    for (const char* broken :
         {"config t 'n\n", "option a b\n", "config t n\n option a-b c\n", "nonsense\n"})
        EXPECT_EQ(lookOnce(broken, "pkg.n.a").rfind("look: Parse error (", 0), 0U) << broken;
}

TEST_F(Uci, SeesUncommittedChanges) {
    put("config t n\n option a old\n option b old\n");
    std::ofstream(saved() + "/pkg") << "pkg.n.a='new'\n-pkg.n.b\n";
    EXPECT_EQ(look("pkg.n.a"), "new");
    EXPECT_EQ(look("pkg.n.b"), "-");
}

TEST_F(Uci, ManyFailuresLeaveOneLineEach) {
    for (int i = 0; i < 300; i++)
        ASSERT_EQ(look("pkg.a.b"), "look: Entry not found");
}

TEST_F(Uci, WalksSectionsInFileOrder) {
    put("config t n\n option a 1\nconfig u\n option a 2\nconfig t m\n option b 3\n");
    uci_package* package = nullptr;
    ASSERT_EQ(uci_load(context, "pkg", &package), UCI_OK);
    uci_package* again = nullptr;
    EXPECT_EQ(uci_load(context, "pkg", &again), UCI_ERR_DUPLICATE);
    std::string walked;
    uci_element* section = nullptr;
    uci_foreach_element(&package->sections, section) {
        uci_element* option = nullptr;
        const bool found =
            uci_lookup_next(context, &option, &uci_to_section(section)->options, "a") == UCI_OK;
        walked += found ? uci_to_option(option)->v.string : "-";
    }
    EXPECT_EQ(walked, "12-");
}

}  // namespace
