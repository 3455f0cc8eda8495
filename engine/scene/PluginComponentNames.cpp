#include "engine/scene/PluginComponentNames.h"

#include "engine/core/Logger.h"

#include <mutex>
#include <unordered_set>

namespace Brelk::Scene {

namespace {

// The C locale's classes, spelled out so that no locale setting can widen them.
bool IsAsciiLetter(char c) noexcept {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

bool IsAsciiDigit(char c) noexcept {
    return c >= '0' && c <= '9';
}

} // namespace

bool IsPluginComponentName(std::string_view name) noexcept {
    if (name.size() < 3 || !IsAsciiLetter(name.front()) || name.find('.') == std::string_view::npos) {
        return false;
    }
    for (char c : name) {
        if (!IsAsciiLetter(c) && !IsAsciiDigit(c) && c != '-' && c != '.' && c != '_') {
            return false;
        }
    }
    return true;
}

bool IsValidPluginFieldName(std::string_view name) noexcept {
    if (name.empty() || name.size() > 64 || !IsAsciiLetter(name.front())) {
        return false;
    }
    for (char c : name) {
        if (!IsAsciiLetter(c) && !IsAsciiDigit(c) && c != '_') {
            return false;
        }
    }
    return true;
}

void NoteUnloadedPlugin(const std::string& name) {
    static std::mutex mutex;
    static std::unordered_set<std::string> noted;
    {
        std::lock_guard lock(mutex);
        if (!noted.insert(name).second) {
            return;
        }
    }
    Core::Logger::Get().Log(Core::LogCategory::Scene, Core::LogLevel::Warning,
                            "Component '" + name +
                                "' belongs to a plugin that is not loaded; its data is kept and saved back unchanged.");
}

} // namespace Brelk::Scene
