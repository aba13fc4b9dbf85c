#include "station/result.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cmath>
#include <cstring>

#include "station/diagnostics.h"

namespace station {
namespace {

constexpr const char* kHidden = "********";

json_object* arrayOf(const Words& words) {
    json_object* const array = json_object_new_array();
    for (const std::string& word : words)
        json_object_array_add(array, jsonString(word));
    return array;
}

Words shownArguments(const Result& result, const Output& output) {
    return output.options->showSecrets ? result.arguments
                                       : withoutSecrets(result.row, result.arguments);
}

json_object* objectOf(const NamedValues& limits) {
    Record record;
    for (const auto& [name, text] : limits) {
        const bool isText = name == "expect" || name == "match";
        record.members.push_back({name, isText ? Value{text} : numberOrText(text)});
    }
    return limits.empty() ? nullptr : jsonOf({record});
}

JsonRecord recordOf(const Result& result, const Output& output) {
    JsonRecord record("result", result.unit, output);
    const bool informed = result.info.has_value();
    record.add("line", result.line > 0 ? json_object_new_int(result.line) : nullptr);
    record.add("command", jsonString(result.command));
    record.add("arguments", arrayOf(shownArguments(result, output)));
    const bool isJudged = result.word == nullptr;
    record.add("outcome", jsonString(isJudged ? outcomeWord(result.outcome.code) : result.word));
    record.add("exit", json_object_new_int(result.outcome.code));
    record.add("message", stringOrNull(result.outcome.message));
    record.add("info", informed ? json_object_new_int(*result.info) : nullptr);
    record.add("meaning", informed ? jsonString(infoMeaning(*result.info)) : nullptr);
    record.add("value", jsonOf(result.value));
    record.add("measure", stringOrNull(result.measure));
    record.add("limits", objectOf(result.limits));
    record.add("raw", result.raw ? jsonString(hexOf(*result.raw)) : nullptr);
    record.add("packet_id", result.packetId ? json_object_new_int(*result.packetId) : nullptr);
    record.add("start", jsonString(timeText(result.start)));
    record.add("milliseconds", json_object_new_int64(std::lround(result.seconds * 1000)));
    record.add("tries", json_object_new_int(static_cast<int>(result.tries)));
    return record;
}

void printJson(const Result& result, const Output& output) {
    const Json value(output.quiet ? jsonOf(result.value) : nullptr);
    if (!output.quiet)
        print(recordOf(result, output), output);
    else if (value)
        fprintf(output.file, "%s\n", jsonLine(value.get()).c_str());
}

// Returns the result without the secret that the unit sent back.
Result withoutSecrets(Result result) {
    if (result.raw && result.value.exists())
        result.value = {kHidden};
    result.raw.reset();
    for (NamedValue& limit : result.limits)
        limit.value = kHidden;
    return result;
}

void printText(const Result& result, Layout layout, const Output& output) {
    const bool done = result.outcome.code == kExitDone;
    if (output.quiet || layout == Layout::Single) {
        if (result.value.exists())
            fprintf(output.file, "%s\n", textOf(result.value).c_str());
        else if (done && !output.quiet)
            fprintf(output.file, "OK\n");
        return;
    }
    std::string text = done ? textOf(result.value) : "! " + result.outcome.message;
    if (done && !result.outcome.message.empty())
        text = result.outcome.message;
    if (done && !result.measure.empty())
        text += " " + result.measure;
    if (text.empty())
        text = result.value.exists() ? "(empty)" : "OK";
    Words name = {result.command};
    const Words arguments = shownArguments(result, output);
    name.insert(name.end(), arguments.begin(), arguments.end());
    fprintf(output.file, "%s%-*s  %s\n", output.prefix.c_str(), output.nameWidth,
            joined(name).c_str(), text.c_str());
}

}  // namespace

std::string fillOutputName(Options* options) {
    std::string& name = options->outputFile;
    const NamedValues& labels = options->labels;
    for (size_t at = 0; (at = name.find('{', at)) != std::string::npos;) {
        const size_t end = std::min(name.find('}', at), name.size());
        const std::string key = name.substr(at + 1, end - at - 1);
        std::string text = timeText(std::chrono::system_clock::now());
        std::erase(text, ':');  // some file systems do not allow it
        const auto label =
            std::ranges::find(labels.rbegin(), labels.rend(), key, &NamedValue::name);
        if (label != labels.rend())
            text = label->value;
        else if (key != "time")
            return "--output-file: there is no label '" + key + "'";
        if (text.empty())  // the records of several units would have one name
            return "--output-file: the label '" + key + "' is empty";
        std::replace(text.begin(), text.end(), '/', '_');  // a label cannot choose another folder
        name.replace(at, end - at + 1, text);
        at += text.size();
    }
    return "";
}

std::string openOutput(const Options& options, Output* output) {
    const std::string& name = options.outputFile;
    if (!name.empty() && name != "-") {
        output->owned.reset(fopen(name.c_str(), options.append ? "ae" : "we"));
        if (!output->owned)
            return "cannot write '" + name + "': " + strerror(errno);
        output->file = output->owned.get();
    }
    struct stat results = {};
    struct stat errors = {};
    output->reachesErrors = fstat(fileno(output->file), &results) == 0 &&
                            fstat(STDERR_FILENO, &errors) == 0 && results.st_dev == errors.st_dev &&
                            results.st_ino == errors.st_ino;
    return "";
}

int print(const Result& result, Output* output, Layout layout) {
    clearProgress();
    const bool hides = result.isSecret && !output->options->showSecrets;
    const Result shown = hides ? withoutSecrets(result) : result;
    if (output->format == Format::Json)
        printJson(shown, *output);
    else
        printText(shown, layout, *output);
    flush(*output);
    const bool isSeen = layout == Layout::Row && !output->quiet && output->reachesErrors;
    if (!isSeen && result.outcome.code != kExitDone)
        say(output->prefix + (result.line > 0 ? "line " + std::to_string(result.line) + ": " : "") +
            (result.command.empty() ? "" : result.command + ": ") + result.outcome.message);
    return result.outcome.code;
}

void print(const JsonRecord& record, const Output& output) {
    fprintf(output.file, "%s\n", jsonLine(record.object.get()).c_str());
    flush(output);
}

JsonRecord::JsonRecord(const char* kind, const std::string& unit, const Output& output) {
    const Options& options = *output.options;
    char host[HOST_NAME_MAX + 1] = {};
    gethostname(host, sizeof host - 1);
    json_object* const labels = json_object_new_object();
    for (const NamedValue& label : options.labels)
        json_object_object_add(labels, label.name.c_str(), jsonString(label.value));
    const bool isRun = options.words.size() > 1 && options.words[0] == "run";
    add("schema", json_object_new_int(kSchema));
    add("record", jsonString(kind));
    add("client", jsonString(MFGP_STATION_VERSION));
    add("station", jsonString(options.station.empty() ? host : options.station));
    add("labels", labels);
    add("recipe", isRun ? jsonString(options.words[1]) : nullptr);
    add("unit", stringOrNull(unit));
}

std::string timeText(std::chrono::system_clock::time_point time) {
    const auto milliseconds =
        std::chrono::duration_cast<std::chrono::milliseconds>(time.time_since_epoch()).count();
    const auto seconds = static_cast<time_t>(milliseconds / 1000);
    tm parts = {};
    gmtime_r(&seconds, &parts);
    char text[64];
    const size_t length = strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S", &parts);
    snprintf(text + length, sizeof text - length, ".%03dZ", static_cast<int>(milliseconds % 1000));
    return text;
}

json_object* stringOrNull(const std::string& text) {
    return text.empty() ? nullptr : jsonString(text);
}

void flush(const Output& output) {
    const bool isLocked = output.lock >= 0 && lockf(output.lock, F_LOCK, 0) == 0;
    fflush(output.file);
    if (isLocked && lockf(output.lock, F_ULOCK, 0) != 0)
        say("cannot unlock the output");
}

bool isWritten(const Output& output) {
    return fflush(output.file) == 0 && ferror(output.file) == 0;
}

std::string joined(const Words& words) {
    std::string text;
    for (const std::string& word : words)
        text += (text.empty() ? "" : " ") + word;
    return text;
}

}  // namespace station
