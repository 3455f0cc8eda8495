#pragma once

#include <string>
#include <string_view>

namespace Brelk::Scene {

// "<plugin id>.<name>": at least three characters, a dot among them, a letter first, and
// only letters, digits, '-', '.' and '_'. The only test a load makes of a record name
// that no installed component claims.
[[nodiscard]] bool IsPluginComponentName(std::string_view name) noexcept;

// 1 to 64 characters, a letter first, then letters, digits and '_'.
[[nodiscard]] bool IsValidPluginFieldName(std::string_view name) noexcept;

// Records that a file named a component of a plugin that isn't loaded; warns once per
// name per process. Thread-safe.
void NoteUnloadedPlugin(const std::string& name);

} // namespace Brelk::Scene
