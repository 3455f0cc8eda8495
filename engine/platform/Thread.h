#pragma once

#include <string>
#include <string_view>

namespace Brelk::Platform {

// Names the calling thread for debuggers and profilers. The host may keep only a prefix of
// the name (Linux keeps 15 bytes); the whole name stays readable through
// GetCurrentThreadName. Never throws; a failure of the host is swallowed.
void SetCurrentThreadName(std::string_view name) noexcept;

// The name last given to the calling thread through SetCurrentThreadName; empty if none.
std::string GetCurrentThreadName();

} // namespace Brelk::Platform
