// Rig definitions are small hand-edited text. Whatever the reader accepts must come back
// through the writer unchanged.
#include "engine/assets/rig/RigDefinition.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace Brelk::Assets;
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    RigDefinition definition;
    std::string error;
    if (!ParseRigDefinition(text, &definition, &error)) {
        if (error.rfind("Rig definition line ", 0) != 0) std::abort();
        return 0;
    }
    const std::string written = SerializeRigDefinition(definition);
    RigDefinition reread;
    if (!ParseRigDefinition(written, &reread, &error) || !(reread == definition)) std::abort();
    return 0;
}
