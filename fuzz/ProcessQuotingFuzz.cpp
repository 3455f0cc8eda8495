#include "engine/platform/Process.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

// Arguments of any bytes, separated by zero bytes in the input, quoted and joined into a
// command line, must split back into exactly themselves.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace Brelk::Platform;
    std::vector<std::string> arguments(1);
    for (std::size_t i = 0; i < size; ++i) {
        if (data[i] == 0) {
            arguments.emplace_back();
        } else {
            arguments.back() += static_cast<char>(data[i]);
        }
    }
    std::string line;
    for (const std::string& argument : arguments) {
        if (!line.empty()) line += ' ';
        line += QuoteProcessArgument(argument);
    }
    if (SplitProcessCommandLine(line) != arguments) std::abort();
    return 0;
}
