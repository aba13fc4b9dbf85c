// Fields and numbers in arguments. The first byte chooses the module; the rest is the argument.
#include "commands/field_text.h"

#include <iterator>
#include <memory>

#include "commands/modem_lines.h"
#include "tests/fuzz/fuzz.h"

std::string answerOf(std::string_view input) {
    constexpr const char* kModules[] = {"EG18-EA", "RG520N-EU", "EG060K-EA", "FG621"};
    const Module& module = *mfgp_findModule(kModules[takeByte(&input) % std::size(kModules)]);
    const size_t length = input.substr(0, input.find('\0')).size();
    // Of exactly its size, so that a byte too far is seen.
    const std::unique_ptr<char[]> argument(new char[length + 1]());
    input.copy(argument.get(), length);

    std::string answer;
    for (const char* pattern : {"{\"gear\":\"#\",\"time\":#}", "{\"gear\":#}", "#-#"}) {
        int first = 0;
        int second = 0;
        int* const numbers[] = {&first, &second};
        mfgp_scanNumbers(argument.get(), pattern, numbers);
        answer += std::to_string(first) + ' ' + std::to_string(second) + ' ';
    }
    const int number = mfgp_textToInt(argument.get());
    char text[33];
    require(std::stoi(int_to_text(number, text, 10)) == number, "a number reads back");

    char* fields[kMaxTestFields] = {argument.get()};
    char line[kModemLineSize];
    if (mfgp_buildModemLine(module.setFtm, fields, line) == 0)
        answer += line;
    if (split_by_char('-', argument.get(), fields, module.testFields) != module.testFields)
        return answer;
    if (mfgp_buildModemLine(module.level, fields, line) == 0)
        answer += line;
    for (const char* pattern : {module.configuration, module.fieldLog})
        if (pattern != nullptr && mfgp_fillModemLine(pattern, fields, line) == 0)
            answer += line;
    return answer;
}
