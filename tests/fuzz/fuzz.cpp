#include "tests/fuzz/fuzz.h"

// The two runs of an input follow different earlier inputs, so that anything an input leaves in
// memory shows as a difference.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static std::string earlier[2];
    static int turn = 0;
    const std::string input(reinterpret_cast<const char*>(data), size);
    const std::string first = answerOf(input);
    answerOf(earlier[turn]);
    require(answerOf(input) == first, "the same input gets the same answer");
    earlier[turn] = input;
    turn ^= 1;
    return 0;
}
