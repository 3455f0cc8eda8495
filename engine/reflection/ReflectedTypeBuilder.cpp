#include "engine/reflection/ReflectedTypeBuilder.h"

#include <stdexcept>

namespace Brelk::Reflection {

void ThrowZeroSchemaVersion(const std::string& typeName) {
    throw std::invalid_argument("Value schema versions start at 1: " + typeName);
}

} // namespace Brelk::Reflection
