// The two commands whose argument is JSON, in a unit where all goes well.
#include "tests/fuzz/scripted_unit.h"

std::string answerOf(std::string_view input) {
    const std::string argument(takePiece(&input));
    std::string answer;
    for (const char* command : {"\1\x4D", "\1\x83"})  // set the group, read the RSSI spread
        answer += answerToRequest(kTypeSpecial, command + argument + "\xFF\xFF" +
                                                    (command[1] == 'M' ? "+success" : "+ath0") +
                                                    "\xFF+rssi 0: -40\nrssi 0: -46\n");
    return answer;
}
