// The record editor. The input is a value and the dump it is set in.
#include "commands/record_editor.h"

#include <cstring>

#include "tests/fuzz/scripted_unit.h"

std::string answerOf(std::string_view input) {
    constexpr char kDump[] = "/tmp/oemid-tmp";
    constexpr size_t kPiece = 10239;  // longer lines are looked at in pieces of this size
    std::string value(takePiece(&input));
    value.resize(strlen(value.c_str()));
    layFile(kDump, input);
    const InUnit unit;
    const int result = mfgp_editRecord(kDump, "oem_id:", value.c_str());
    std::string edited = readFile(kDump);
    if (result != 0) {
        require(edited == input, "a dump that cannot be edited stays as it was");
        return "refused";
    }
    const std::string record = std::string("\noem_id:") + value + '\n';
    require(('\n' + edited).find(record) != std::string::npos, "the record is there");
    mfgp_editRecord(kDump, "oem_id:", value.c_str());
    require(readFile(kDump) == edited || input.size() >= kPiece, "a record set twice is set once");
    return edited;
}
