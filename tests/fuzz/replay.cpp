// Runs the inputs in the files given as arguments; stands in for libFuzzer with other compilers.
#include <cstdio>
#include <fstream>
#include <iterator>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

int main(int count, char** names) {
    for (int i = 1; i < count; i++) {
        std::ifstream file(names[i], std::ios::binary);
        const std::string input{std::istreambuf_iterator<char>(file), {}};
        if (!file)
            return fprintf(stderr, "cannot read %s\n", names[i]);
        fprintf(stderr, "%s\n", names[i]);
        LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(input.data()), input.size());
    }
    fprintf(stderr, "%d inputs\n", count - 1);
    return count > 1 ? 0 : 1;
}
