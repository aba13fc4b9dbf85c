#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "commands/product_info.h"
#include "commands/region_table.h"

namespace {

class RecordEditor : public testing::Test {
  protected:
    void SetUp() override { ASSERT_NE(mkdtemp(folder), nullptr); }
    void TearDown() override { std::filesystem::remove_all(folder); }

    void put(const std::string& text) const { std::ofstream(file(), std::ios::binary) << text; }
    std::string get() const {
        std::ostringstream out;
        out << std::ifstream(file(), std::ios::binary).rdbuf();
        return out.str();
    }
    std::string file() const { return std::string(folder) + "/dump"; }

    char folder[32] = "/tmp/mfgp-editor-XXXXXX";
};

TEST_F(RecordEditor, SetsTheRecordAndKeepsEveryOtherByte) {
    using std::string;
    const string filler(10239, 'x');
    const struct {
        const char* what;
        string before;
        string after;
    } rows[] = {
        {"replaced", "a:1\noem_id:OLD\nb:2\n", "a:1\noem_id:NEW\nb:2\n"},
        {"empty value", "oem_id:\n", "oem_id:NEW\n"},
        {"every line with the key", "oem_id:1\na:\noem_id:2\n", "oem_id:NEW\na:\noem_id:NEW\n"},
        {"appended", "a:1\n", "a:1\noem_id:NEW\n"},
        {"appended behind an open line", "a:1", "a:1\noem_id:NEW\n"},
        {"open line replaced", "a:1\noem_id:OLD", "a:1\noem_id:NEW\n"},
        {"empty file", "", "oem_id:NEW\n"},
        {"key later in a line", "x_oem_id:1\n oem_id:2\n", "x_oem_id:1\n oem_id:2\noem_id:NEW\n"},
        {"key is a prefix", "oem_id2:1\noem_i:2\n", "oem_id2:1\noem_i:2\noem_id:NEW\n"},
        {"CRLF lines", "a:1\r\noem_id:OLD\r\nb:2\r\n", "a:1\r\noem_id:NEW\nb:2\r\n"},
        {"zero bytes", string("a\0b\noem_id:1\n\0\xFF", 16),
         string("a\0b\noem_id:NEW\n\0\xFF", 18)},
        {"long line", filler + "yz\noem_id:1\n", filler + "yz\noem_id:NEW\n"},
        {"piece that begins with the key", filler + "oem_id:1\nb:2\n",
         filler + "oem_id:NEW\nb:2\n"},
        {"long old value", "oem_id:" + filler + filler + "\nb:2\n", "oem_id:NEW\nb:2\n"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        put(row.before);
        EXPECT_EQ(mfgp_editRecord(file().c_str(), "oem_id:", "NEW"), 0);
        EXPECT_EQ(get(), row.after);
    }
}

TEST_F(RecordEditor, RefusesAndLeavesTheFileAlone) {
    const std::string before = "oem_id:OLD\n";
    put(before);
    const std::string path = file();
    EXPECT_EQ(mfgp_editRecord(nullptr, "oem_id:", "x"), -1);
    EXPECT_EQ(mfgp_editRecord(path.c_str(), nullptr, "x"), -1);
    EXPECT_EQ(mfgp_editRecord(path.c_str(), "oem_id:", nullptr), -1);
    for (const char* value : {"x\nspecial_id:1", "x\r", "\x7F", "\x01"})
        EXPECT_EQ(mfgp_editRecord(path.c_str(), "oem_id:", value), -1);
    EXPECT_EQ(mfgp_editRecord((path + "-missing").c_str(), "oem_id:", "x"), -1);
    EXPECT_EQ(get(), before);
}

TEST_F(RecordEditor, AShortWriteLeavesTheFileAndNoTemporaryBehind) {
    const std::string before = "a:" + std::string(8192, 'a') + "\n";
    put(before);
    signal(SIGXFSZ, SIG_IGN);
    rlimit limit = {};
    getrlimit(RLIMIT_FSIZE, &limit);
    const rlimit small = {4097, limit.rlim_max};
    setrlimit(RLIMIT_FSIZE, &small);
    EXPECT_EQ(mfgp_editRecord(file().c_str(), "oem_id:", "NEW"), -1);
    setrlimit(RLIMIT_FSIZE, &limit);
    EXPECT_EQ(get(), before);
    for (const auto& entry : std::filesystem::directory_iterator("/tmp"))
        EXPECT_FALSE(entry.is_regular_file() && entry.file_size() == small.rlim_cur) << entry;
}

TEST(RegionTable, MapsBothWays) {
    const struct {
        const char* specialId;
        std::string region;
    } rows[] = {
        {"55530000", "US"},         {"4E5A0000", "NZ"}, {"00000000", "UN"},
        {"xx4B520000yy", "KR"},     {"4D580000", "MX"}, {"4d58", "MX"},
        {"ZZZZ", {"\0\0", 2}},      {"4", {"@\0", 2}},  {"4D5855530000", "US"},
        {"5553000000000000", "UN"},  // row 0 stands in it, further back
    };
    for (const auto& row : rows) {
        char text[32] = {};
        strcpy(text, row.specialId);
        char region[2] = {};
        mfgp_regionOfSpecialId(text, region);
        EXPECT_EQ(std::string(region, 2), row.region) << row.specialId;
    }
    EXPECT_STREQ(mfgp_specialIdOfRegion("US"), "55530000");
    EXPECT_STREQ(mfgp_specialIdOfRegion("UN"), "00000000");
    for (const char* unknown : {"", "XX", "us", "USA", "U"})
        EXPECT_EQ(mfgp_specialIdOfRegion(unknown), nullptr) << unknown;
}

}  // namespace
