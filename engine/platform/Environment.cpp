#include "engine/platform/Environment.h"

#include <unistd.h>

#include <cstdlib>
#include <string>

namespace Brelk::Platform {

std::optional<std::string> GetEnvironmentValue(std::string_view name) {
    if (name.empty()) return std::nullopt;
    const char* value = std::getenv(std::string(name).c_str());
    if (value == nullptr || *value == '\0') return std::nullopt;
    return std::string(value);
}

bool StandardErrorIsTerminal() noexcept {
    return ::isatty(STDERR_FILENO) == 1;
}

} // namespace Brelk::Platform
