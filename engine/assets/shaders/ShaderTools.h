#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace Brelk::Assets {

// Where to look for the shader compiler. Taken once on the owner thread and copied into
// compile tasks, so that no task reads the environment.
struct ShaderToolOptions {
    std::filesystem::path executableFolder;
    std::filesystem::path engineRoot;
    std::optional<std::filesystem::path> vulkanSdk;
    std::optional<std::string> pathVariable;
};

// The program's folder, the engine root, VULKAN_SDK and PATH of this process.
ShaderToolOptions MakeShaderToolOptions();

// The compiler's file name on this host.
inline constexpr std::string_view kGlslcName = "glslc";
// What separates the entries of PATH on this host.
inline constexpr char kPathListSeparator = ':';

// The first regular file of: <engine root>/Tools/ShaderCompiler/glslc when the root is a
// source tree (it holds Config/EngineVersion.json and CMakeLists.txt); the same below the
// program's folder; the same below the engine root; <VULKAN_SDK>/Bin/glslc; each non-empty
// PATH entry. An empty path when none is.
std::filesystem::path LocateGlslc(const ShaderToolOptions& options);

} // namespace Brelk::Assets
