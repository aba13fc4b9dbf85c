// Type 3: every special command, see answerToRequest.
#include "commands/antenna_test.h"
#include "tests/fuzz/scripted_unit.h"

std::string answerOf(std::string_view input) {
    constexpr uint8_t kSetAntennaTest = 112;
    {
        // The level of an antenna test outlives the command on purpose. A module of a name that is
        // not known takes it back to what it was at the start.
        const InUnit unit("+no such module");
        mfgp2_cmd_setantennaTest(freshContext());
    }
    std::string answer = answerToRequest(kTypeSpecial, input);
    if (input.size() > 1 && input[1] == kSetAntennaTest)
        answer += answerToRequest(kTypeSpecial, "\1\x71");  // asks for the level
    return answer;
}
