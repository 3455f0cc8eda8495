#pragma once

#include "engine/reflection/PropertyAttributes.h"
#include "engine/reflection/ValueSchema.h"

#include <string>

namespace Brelk::Reflection {

// The checks of one property that need nothing but its own schema and attributes, run at
// registration and again by ReflectionRegistry::Validate. The attribute checks look at
// the innermost schema, so a vector of enums needs its enum name like a single enum.
// Throws std::invalid_argument with the engine's message and the property name.
void ValidateProperty(const std::string& name, const ValueSchema& schema, const PropertyAttributes& attributes);

} // namespace Brelk::Reflection
