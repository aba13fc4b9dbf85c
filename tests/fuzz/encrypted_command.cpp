// Type 7, see answerToRequest; the argument is the inner header and payload.
#include "tests/fuzz/scripted_unit.h"

std::string answerOf(std::string_view input) {
    return answerToRequest(kTypeEncrypted, input);
}
