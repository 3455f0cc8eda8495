#pragma once

#include <ctime>

namespace Brelk::Platform {

// Breaks a time down in the host's local time zone; false if the host cannot.
[[nodiscard]] bool LocalTime(std::time_t time, std::tm* out) noexcept;
// Breaks a time down as universal time; false if the host cannot.
[[nodiscard]] bool UniversalTime(std::time_t time, std::tm* out) noexcept;

} // namespace Brelk::Platform
