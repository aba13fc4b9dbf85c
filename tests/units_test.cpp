// The parts of the daemon that need no unit: reports, shell, record editor, region table.
#include <sys/resource.h>

#include <cctype>
#include <cerrno>
#include <csignal>
#include <fstream>

#include "commands/record_editor.h"
#include "core/report.h"
#include "core/service_context.h"
#include "core/shell.h"
#include "protocol/region_table.h"
#include "tests/support/commands.h"

namespace {

namespace fs = std::filesystem;

TEST(Report, Report_PrintsAndKeepsTheErrnoFromBeforeTheCall) {
    testing::internal::CaptureStderr();
    errno = EADDRINUSE;
    EXPECT_EQ(report(-1, nullptr) + report(-2, "text"), -3);
    EXPECT_EQ(errno, EADDRINUSE);
    char error[16];
    snprintf(error, sizeof error, "%x]\n", EADDRINUSE);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              std::string("[Error][errCode: -1]|[errno: ") + error + errorLine(-2, "text") + error);
}

TEST(Session, ASecondContext_IsRefused) {
    const auto createTwo = [] {
        ServiceContext* ctx = nullptr;
        const bool isFirst = mfgp_sessionTableCreate() == 0 && mfgp_contextCreate(&ctx) == 0;
        _exit(isFirst && mfgp_contextCreate(&ctx) == -10206 ? 0 : 1);  // the second is not freed
    };
    EXPECT_EXIT(createTwo(), testing::ExitedWithCode(0), "too many sessions");
}

TEST(Shell, ExecCmd_HidesTheEnvironment_SystemPassesItOn) {
    setenv("MFGP_TEST_VARIABLE", "seen", 1);
    const std::string file = testing::TempDir() + "mfgp-seen";
    for (const std::string& line : {"echo \"=$MFGP_TEST_VARIABLE=\" >" + file,
                                    std::string("exit 3"), std::string("kill -9 $$")}) {
        testing::internal::CaptureStdout();
        EXPECT_EQ(mfgp_execCmd("%s", line.c_str()), 0);
        const std::string trace = withoutLines(testing::internal::GetCapturedStdout());
        EXPECT_EQ(trace, "[mfgp_execCmd():%] cmd: " + line + " \r\n");
    }
    EXPECT_EQ(readFile(file), "==\n");
    EXPECT_EQ(mfgp_system("test \"$MFGP_TEST_VARIABLE\" = seen"), 1);
    EXPECT_EQ(mfgp_system("exit 3") + mfgp_system("kill -9 $$"), 0);
    EXPECT_EQ(mfgp_execCmd("echo %s", x(1019).c_str()), -1);
}

TEST(Shell, PlainText_AllowsLettersDigitsAndElevenMarks) {
    const std::string marks = "%+,-./:=@^_";
    for (int byte = 1; byte < 256; byte++) {
        const std::string text(1, static_cast<char>(byte));
        const bool isPlain = (byte < 128 && isalnum(byte) != 0) || contains(marks, text);
        EXPECT_EQ(mfgp_isPlainText(("a" + text).c_str()), isPlain) << byte;
    }
}

class RecordEditor : public testing::Test {
  protected:
    RecordEditor() : file(std::string(mkdtemp(folder)) + "/dump") {}
    ~RecordEditor() override { fs::remove_all(folder); }
    void put(const std::string& text) const { std::ofstream(file, std::ios::binary) << text; }

    char folder[32] = "/tmp/mfgp-editor-XXXXXX";
    const std::string file;
};

TEST_F(RecordEditor, ReplacesOrAppendsTheRecord_AndKeepsTheOtherLines) {
    const std::string filler = x(10239), zeros("a\0b\n\0\xFF\n", 7), noZeros = "ab\n\xFF\n";
    for (const auto& [before, after] :
         {std::pair<std::string, std::string>{"a:1\noem_id:OLD\nb:2\n", "a:1\noem_id:NEW\nb:2\n"},
          {"oem_id:1\na:\noem_id:2\n", "oem_id:NEW\na:\noem_id:NEW\n"},
          {"a:1", "a:1\noem_id:NEW\n"},
          {"x_oem_id:1\n oem_id:2\noem_id2:\n", "x_oem_id:1\n oem_id:2\noem_id2:\noem_id:NEW\n"},
          {"a:1\r\noem_id:OLD\r\nb:2\r\n", "a:1\r\noem_id:NEW\nb:2\r\n"},
          {zeros + "oem_id:1\n" + zeros, noZeros + "oem_id:NEW\n" + noZeros},
          {filler + "yz\noem_id:1\n", filler + "yz\noem_id:NEW\n"},
          {filler + "oem_id:1\nb:2\n", filler + "oem_id:NEW\nb:2\n"},  // a piece of a long line
          {"oem_id:" + x(10232) + filler + "\nb:2\n", "oem_id:NEW\n" + filler + "\nb:2\n"}}) {
        put(before);
        EXPECT_EQ(mfgp_editRecord(file.c_str(), "oem_id:", "NEW"), 0);
        EXPECT_EQ(readFile(file), after);
    }
}

TEST_F(RecordEditor, NewlineInTheValueOrShortWrite_LeavesTheFileUnchanged) {
    const std::string before = "a:" + x(8192) + "\n";
    put(before);
    EXPECT_EQ(mfgp_editRecord(file.c_str(), "oem_id:", "x\nspecial_id:1"), -1);
    signal(SIGXFSZ, SIG_IGN);
    rlimit limit = {};
    getrlimit(RLIMIT_FSIZE, &limit);
    const rlimit small = {4097, limit.rlim_max};
    setrlimit(RLIMIT_FSIZE, &small);
    EXPECT_EQ(mfgp_editRecord(file.c_str(), "oem_id:", "NEW"), -1) << "a short write";
    setrlimit(RLIMIT_FSIZE, &limit);
    std::error_code gone;  // other tests may remove their files
    for (const auto& entry : fs::directory_iterator("/tmp"))
        EXPECT_NE(entry.file_size(gone), small.rlim_cur) << entry;
    EXPECT_EQ(readFile(file), before);
}

TEST(RegionTable, MapsSpecialIdsToRegions_AndRegionsToSpecialIds) {
    for (const auto& [specialId, region] :
         {std::pair{"55530000", "US"},
          {"xx4B520000yy", "KR"},
          {"4b52", "KR"},
          {"4", "@"},
          {"5553000000000000", "UN"}}) {  // contains row 0, but not at its start
        const RegionLetters letters = mfgp_regionOfSpecialId(specialId);
        EXPECT_EQ(std::string(letters.data(), 2), padded(region, 2)) << specialId;
    }
    EXPECT_STREQ(mfgp_specialIdOfRegion("UN"), "00000000");
    for (const char* unknown : {"", "XX", "us", "USA", "U"})
        EXPECT_EQ(mfgp_specialIdOfRegion(unknown), nullptr) << unknown;
}

}  // namespace
