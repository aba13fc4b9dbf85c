#include <sys/resource.h>

#include <csignal>
#include <fstream>

#include "commands/record_editor.h"
#include "protocol/region_table.h"
#include "tests/support/commands.h"

namespace {

namespace fs = std::filesystem;

class RecordEditor : public testing::Test {
  protected:
    RecordEditor() : file(std::string(mkdtemp(folder)) + "/dump") {}
    ~RecordEditor() override { fs::remove_all(folder); }
    void put(const std::string& text) const { std::ofstream(file, std::ios::binary) << text; }

    char folder[32] = "/tmp/mfgp-editor-XXXXXX";
    const std::string file;
};

TEST_F(RecordEditor, SetsTheRecordAndKeepsEveryOtherByte) {
    const std::string filler(10239, 'x'), zeros("a\0b\n\0\xFF\n", 7), noZeros = "ab\n\xFF\n";
    const std::string cut = filler.substr(7);
    for (const auto& [before, after] :
         {std::pair<std::string, std::string>{"a:1\noem_id:OLD\nb:2\n", "a:1\noem_id:NEW\nb:2\n"},
          {"oem_id:1\na:\noem_id:2\n", "oem_id:NEW\na:\noem_id:NEW\n"},
          {"a:1", "a:1\noem_id:NEW\n"},
          {"x_oem_id:1\n oem_id:2\noem_id2:\n", "x_oem_id:1\n oem_id:2\noem_id2:\noem_id:NEW\n"},
          {"a:1\r\noem_id:OLD\r\nb:2\r\n", "a:1\r\noem_id:NEW\nb:2\r\n"},
          {zeros + "oem_id:1\n" + zeros, noZeros + "oem_id:NEW\n" + noZeros},
          {std::string("a:1\n\0\0", 6), "a:1\noem_id:NEW\n"},
          {filler + "yz\noem_id:1\n", filler + "yz\noem_id:NEW\n"},
          {filler + "oem_id:1\nb:2\n", filler + "oem_id:NEW\nb:2\n"},  // a piece that begins so
          {"oem_id:" + cut + filler + "\nb:2\n", "oem_id:NEW\n" + filler + "\nb:2\n"}}) {
        put(before);
        EXPECT_EQ(mfgp_editRecord(file.c_str(), "oem_id:", "NEW"), 0);
        EXPECT_EQ(readFile(file), after);
    }
}

TEST_F(RecordEditor, RefusesAndLeavesTheFileAlone) {
    const std::string before = "a:" + std::string(8192, 'a') + "\n";
    put(before);
    EXPECT_EQ(mfgp_editRecord(file.c_str(), "oem_id:", "x\nspecial_id:1"), -1);
    signal(SIGXFSZ, SIG_IGN);
    rlimit limit = {};
    getrlimit(RLIMIT_FSIZE, &limit);
    const rlimit small = {4097, limit.rlim_max};
    setrlimit(RLIMIT_FSIZE, &small);
    EXPECT_EQ(mfgp_editRecord(file.c_str(), "oem_id:", "NEW"), -1) << "a short write";
    setrlimit(RLIMIT_FSIZE, &limit);
    std::error_code gone;  // the tests beside this one make and remove files there, too
    for (const auto& entry : fs::directory_iterator("/tmp"))
        EXPECT_NE(entry.file_size(gone), small.rlim_cur) << entry;
    EXPECT_EQ(readFile(file), before);
}

TEST(RegionTable, MapsBothWays) {
    for (const auto& [specialId, region] :
         {std::pair{"55530000", "US"},
          {"xx4B520000yy", "KR"},
          {"4", "@"},
          {"5553000000000000", "UN"}}) {  // row 0 stands in it, further back
        const RegionLetters letters = mfgp_regionOfSpecialId(specialId);
        EXPECT_EQ(std::string(letters.data(), 2), padded(region, 2)) << specialId;
    }
    EXPECT_STREQ(mfgp_specialIdOfRegion("UN"), "00000000");
    for (const char* unknown : {"", "XX", "us", "USA", "U"})
        EXPECT_EQ(mfgp_specialIdOfRegion(unknown), nullptr) << unknown;
}

}  // namespace
