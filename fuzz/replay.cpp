// Runs a target on files of inputs, without a fuzzer and with any compiler: what is kept is a test.
//   replay FILE...   folders are walked, what is not there is passed over
#include "inputs_file.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <memory>

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size);

int main(int argc, char** argv)
try {
    std::size_t runs = 0;
    for (int i = 1; i < argc; ++i) {
        for (auto const& file : fuzz::FilesOf(argv[i])) {
            std::size_t number = 0;
            for (auto const& input : fuzz::ReadInputs(file)) {
                ++number;
                // Should it end here, the last line tells with what.
                std::printf("%s, input %zu, %zu bytes\n", file.string().c_str(), number, input.size());
                std::fflush(stdout);
                // A copy of exactly that size, so that a sanitizer sees a read beyond.
                auto const bytes = std::make_unique<std::uint8_t[]>(input.size());
                std::copy(input.begin(), input.end(), bytes.get());
                LLVMFuzzerTestOneInput(bytes.get(), input.size());
                ++runs;
            }
        }
    }
    std::printf("%zu inputs\n", runs);
    return runs > 0 ? EXIT_SUCCESS : EXIT_FAILURE;
} catch (std::exception const& error) {
    std::fprintf(stderr, "replay: %s\n", error.what());
    return EXIT_FAILURE;
}
