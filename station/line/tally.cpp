#include "station/line/tally.h"

#include <cmath>

namespace station {
namespace {

constexpr const char* kNames[] = {"passed", "failed", "errors", "skipped"};
enum : size_t { kErrors = 2, kSkipped = 3 };

bool isWanted(const Output& output) { return !output.quiet && output.format == Format::Json; }

}  // namespace

void count(const Result& result, Tally* tally) {
    const int code = result.outcome.code;
    const bool isSkipped = result.word != nullptr;  // DRYRUN or SKIPPED
    tally->counts[isSkipped            ? kSkipped
                  : code > kExitFailed ? kErrors
                                       : static_cast<size_t>(code)]++;
}

std::string countsText(const Tally& tally) {
    std::string text;
    for (size_t i = 0; i < std::size(kNames); i++)
        text.append(i > 0 ? ", " : "").append(std::to_string(tally.counts[i]) + " " + kNames[i]);
    return text;
}

void printStart(const Tally& tally, const Result& batch, const Output& output) {
    if (!isWanted(output))
        return;
    JsonRecord record("start", batch.unit, output);
    record.add("commands", tally.total > 0 ? json_object_new_int64(tally.total) : nullptr);
    record.add("start", jsonString(timeText(batch.start)));
    print(record, output);
}

void printEnd(const Tally& tally, const Result& batch, const Output& output) {
    if (output.format == Format::Text && !output.quiet)
        fprintf(output.file, "%s%s in %.1f s\n", output.prefix.c_str(), countsText(tally).c_str(),
                batch.seconds);
    flush(output);
    if (!isWanted(output))
        return;
    JsonRecord record("end", batch.unit, output);
    record.add("exit", json_object_new_int(batch.outcome.code));
    record.add("message", stringOrNull(batch.outcome.message));
    for (size_t i = 0; i < std::size(kNames); i++)
        record.add(kNames[i], json_object_new_int64(tally.counts[i]));
    record.add("start", jsonString(timeText(batch.start)));
    record.add("milliseconds", json_object_new_int64(std::lround(batch.seconds * 1000)));
    print(record, output);
}

}  // namespace station
