#include "station/result.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>

#include "station/diagnostics.h"

namespace station {
namespace {

// ISO 8601 in UTC, to the millisecond.
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

json_object* arrayOf(const Words& words) {
    json_object* const array = json_object_new_array();
    for (const std::string& word : words)
        json_object_array_add(array, jsonString(word));
    return array;
}

Words shownArguments(const Result& result, const Output& output) {
    const auto table = commands();
    const auto row = std::find_if(table.begin(), table.end(), [&result](const Command& command) {
        return command.name == result.command;
    });
    const Command* const command = row != table.end() ? &*row : nullptr;
    return output.showSecrets ? result.arguments : withoutSecrets(command, result.arguments);
}

Json objectOf(const Result& result, const Output& output) {
    Json object(json_object_new_object());
    const auto add = [&object](const char* name, json_object* value) {
        json_object_object_add(object.get(), name, value);
    };
    const bool informed = result.info.has_value();
    add("schema", json_object_new_int(kSchema));
    add("command", jsonString(result.command));
    add("arguments", arrayOf(shownArguments(result, output)));
    add("unit", stringOrNull(result.unit));
    add("outcome",
        jsonString(result.word != nullptr ? result.word : outcomeWord(result.outcome.code)));
    add("exit", json_object_new_int(result.outcome.code));
    add("message", stringOrNull(result.outcome.message));
    add("info", informed ? json_object_new_int(*result.info) : nullptr);
    add("meaning", informed ? jsonString(infoMeaning(*result.info)) : nullptr);
    add("value", jsonOf(result.value));
    add("raw", result.raw ? jsonString(hexOf(*result.raw)) : nullptr);
    add("start", jsonString(timeText(result.start)));
    add("milliseconds", json_object_new_int64(std::lround(result.seconds * 1000)));
    add("tries", json_object_new_int(static_cast<int>(result.tries)));
    return object;
}

void printJson(const Result& result, const Output& output) {
    const Json object = output.quiet ? Json(jsonOf(result.value)) : objectOf(result, output);
    if (object)
        fprintf(output.file, "%s\n", jsonLine(object.get()).c_str());
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
    fprintf(output.file, "%-*s  %s\n", output.nameWidth, joined(name).c_str(), text.c_str());
}

}  // namespace

std::string openOutput(const Options& options, Output* output) {
    if (options.outputFile.empty())
        return "";
    output->owned.reset(fopen(options.outputFile.c_str(), "we"));
    if (!output->owned)
        return "cannot write '" + options.outputFile + "': " + strerror(errno);
    output->file = output->owned.get();
    return "";
}

void print(const Result& result, Layout layout, Output* output) {
    clearProgress();
    if (output->format == Format::Json)
        printJson(result, *output);
    else
        printText(result, layout, *output);
    fflush(output->file);
    if ((layout == Layout::Single || output->quiet) && result.outcome.code != kExitDone)
        say((result.command.empty() ? "" : result.command + ": ") + result.outcome.message);
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
