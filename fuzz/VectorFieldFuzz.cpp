// A vector field is a header and raw floats; the reader must refuse anything else without
// taking memory the bytes don't justify, and leave the field alone when it does.
#include "engine/assets/vectorfield/VectorField.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace Brelk::Assets;
    VectorFieldAsset field;
    std::string error;
    if (!ParseVectorField({data, size}, &field, &error)) {
        if (error.empty() || !field.values.empty()) std::abort();
        return 0;
    }
    if (field.values.size() != std::size_t{field.width} * field.height * field.depth) std::abort();
    return 0;
}
