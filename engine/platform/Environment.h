#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace Brelk::Platform {

// The value of an environment variable; none for an empty name, an unset variable or an
// empty value.
std::optional<std::string> GetEnvironmentValue(std::string_view name);

// Standard error is a terminal that a person reads (not a file, pipe or nothing).
bool StandardErrorIsTerminal() noexcept;

} // namespace Brelk::Platform
