#pragma once

#include <filesystem>
#include <vector>

namespace Brelk::Platform {

// The engine's well-known folders. Nothing here creates a folder; whoever writes there does.

// The running program; an empty path if the host cannot tell.
std::filesystem::path GetExecutablePath();

// The program's folder. Throws std::runtime_error "Failed to resolve executable path." when
// the program's path is unknown.
std::filesystem::path GetExecutableFolder();

// The nearest of the program's folder and its 7 ancestors that holds "CMakeLists.txt" or
// "Config/EngineVersion.json" (a build below the source tree finds the tree); otherwise the
// folder two levels above the program's. Throws as GetExecutableFolder, and
// std::filesystem::filesystem_error when a look fails other than by absence.
std::filesystem::path GetEngineRoot();
// The same walk for a program at `executablePath`.
std::filesystem::path FindEngineRoot(const std::filesystem::path& executablePath);

std::filesystem::path GetEngineContentFolder();
std::filesystem::path GetEngineExportsFolder();

// The first existing of <program folder>/Assets/<relative>, <its parent>/Assets/<relative>
// and <engine root>/Assets/<relative>; the first of them when none exists. Throws as
// GetEngineRoot.
std::filesystem::path ResolveInstalledAsset(const std::filesystem::path& relative);

// BRELK_USER_SETTINGS_DIR; else APPDATA/BrelkEngine; else LOCALAPPDATA/BrelkEngine; else the
// user's configuration folder (XDG_CONFIG_HOME, or HOME/.config) /BrelkEngine; else
// <engine root>/.brelk_user. Empty variables count as unset.
std::filesystem::path GetUserSettingsFolder();

std::filesystem::path GetGeneratedShadersFolder();
std::filesystem::path GetEditorPreferencesPath();

// LOCALAPPDATA as a path, or an empty path.
std::filesystem::path GetLocalAppDataFolder();

// Fonts to try for text rendering, most preferred first.
std::vector<std::filesystem::path> GetFontCandidates();

} // namespace Brelk::Platform
