#include "engine/platform/Folders.h"

#include "engine/platform/Environment.h"

#include <stdexcept>
#include <string>
#include <system_error>
#include <unistd.h>

namespace Brelk::Platform {

namespace {

namespace fs = std::filesystem;

constexpr int kEngineRootLevels = 8;
constexpr std::size_t kMaxExecutablePathBytes = 0x7FFFFFFF;

[[noreturn]] void ThrowNoExecutablePath() {
    throw std::runtime_error("Failed to resolve executable path.");
}

// Absence is an answer; any other failure to look is not, and must not pass as absence.
bool Exists(const fs::path& path) {
    std::error_code ec;
    const bool exists = fs::exists(path, ec);
    if (ec) throw fs::filesystem_error("exists", path, ec);
    return exists;
}

fs::path EnvironmentPath(std::string_view name) {
    const std::optional<std::string> value = GetEnvironmentValue(name);
    return value ? fs::path(*value) : fs::path();
}

} // namespace

fs::path GetExecutablePath() {
    std::string buffer(512, '\0');
    for (;;) {
        const ssize_t length = ::readlink("/proc/self/exe", buffer.data(), buffer.size());
        if (length <= 0) return {};
        // readlink truncates silently; a result that fills the buffer may have been cut.
        if (static_cast<std::size_t>(length) < buffer.size()) {
            buffer.resize(static_cast<std::size_t>(length));
            return fs::path(std::move(buffer));
        }
        if (buffer.size() * 2 > kMaxExecutablePathBytes) return {};
        buffer.assign(buffer.size() * 2, '\0');
    }
}

fs::path GetExecutableFolder() {
    const fs::path executable = GetExecutablePath();
    if (executable.empty()) ThrowNoExecutablePath();
    return executable.parent_path();
}

fs::path GetEngineRoot() {
    return FindEngineRoot(GetExecutablePath());
}

fs::path FindEngineRoot(const fs::path& executablePath) {
    if (executablePath.empty()) ThrowNoExecutablePath();
    const fs::path programFolder = executablePath.parent_path();
    fs::path dir = programFolder;
    for (int level = 0; level < kEngineRootLevels; ++level) {
        if (Exists(dir / "CMakeLists.txt") || Exists(dir / "Config" / "EngineVersion.json")) return dir;
        fs::path parent = dir.parent_path();
        if (parent.empty()) break;
        dir = std::move(parent);
    }
    return programFolder.parent_path().parent_path();
}

fs::path GetEngineContentFolder() {
    return GetEngineRoot() / "Assets" / "Content";
}

fs::path GetEngineExportsFolder() {
    return GetEngineRoot() / "Assets" / "Exports";
}

fs::path ResolveInstalledAsset(const fs::path& relative) {
    const fs::path programFolder = GetExecutableFolder();
    const fs::path beside = programFolder / "Assets" / relative;
    if (Exists(beside)) return beside;
    const fs::path above = programFolder.parent_path() / "Assets" / relative;
    if (Exists(above)) return above;
    const fs::path inTree = GetEngineRoot() / "Assets" / relative;
    if (Exists(inTree)) return inTree;
    return beside;
}

fs::path GetUserSettingsFolder() {
    if (fs::path folder = EnvironmentPath("BRELK_USER_SETTINGS_DIR"); !folder.empty()) return folder;
    if (fs::path appData = EnvironmentPath("APPDATA"); !appData.empty()) return appData / "BrelkEngine";
    if (fs::path localAppData = EnvironmentPath("LOCALAPPDATA"); !localAppData.empty())
        return localAppData / "BrelkEngine";
    // A relative XDG_CONFIG_HOME is invalid by its own rules and is ignored.
    if (fs::path config = EnvironmentPath("XDG_CONFIG_HOME"); config.is_absolute()) return config / "BrelkEngine";
    if (fs::path home = EnvironmentPath("HOME"); !home.empty()) return home / ".config" / "BrelkEngine";
    return GetEngineRoot() / ".brelk_user";
}

fs::path GetGeneratedShadersFolder() {
    return GetUserSettingsFolder() / "GeneratedShaders";
}

fs::path GetEditorPreferencesPath() {
    return GetUserSettingsFolder() / "editor_preferences.cfg";
}

fs::path GetLocalAppDataFolder() {
    return EnvironmentPath("LOCALAPPDATA");
}

std::vector<fs::path> GetFontCandidates() {
    return {fs::path("/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf"),
            fs::path("/usr/share/fonts/truetype/liberation/LiberationSans-Regular.ttf")};
}

} // namespace Brelk::Platform
