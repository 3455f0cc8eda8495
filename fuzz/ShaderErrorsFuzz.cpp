#include "engine/assets/shaders/ShaderErrors.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string_view>

// Compiler output of any shape against a line table taken from the input's head: no crash,
// every diagnostic is an error in one of the two forms, and a node comes only from the table.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace Brelk::Assets;
    // The head: a count, then that many (line, node) pairs of two bytes each.
    const std::size_t pairs = size == 0 ? 0 : data[0] % 16;
    const std::size_t head = 1 + pairs * 2;
    if (size < head) return 0;
    ShaderLineTable table;
    std::uint32_t line = 0;
    for (std::size_t i = 0; i < pairs; ++i) {
        line += 1 + data[1 + i * 2] % 8;
        table.entries.push_back({line, static_cast<std::uint64_t>(data[2 + i * 2]) + 1});
    }
    const std::string_view output(reinterpret_cast<const char*>(data + head), size - head);
    for (const MaterialDiagnostic& diagnostic : MapShaderErrors(output, "/cache/Mat_1.frag", table)) {
        if (diagnostic.severity != 1) std::abort();
        if (diagnostic.node != 0) {
            bool known = false;
            for (const ShaderLineNode& entry : table.entries) known = known || entry.node == diagnostic.node;
            if (!known || !diagnostic.message.starts_with("Shader error in node ")) std::abort();
        } else if (!diagnostic.message.starts_with("Shader error (")) {
            std::abort();
        }
        if (diagnostic.message.find('\n') != std::string::npos) std::abort();
    }
    return 0;
}
