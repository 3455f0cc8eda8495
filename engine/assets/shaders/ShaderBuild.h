#pragma once

#include "engine/assets/AssetSourceMode.h"
#include "engine/assets/shaders/MaterialShaderTypes.h"
#include "engine/assets/shaders/ShaderSource.h"
#include "engine/assets/shaders/ShaderTools.h"

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace Brelk::Assets {

inline constexpr std::string_view kGlslcMissingMessage = "glslc was not found on this machine.";

// Where compiled shaders go: in ReadOnly mode <engine root>/GeneratedShaders when that folder
// exists (shaders shipped with a build); otherwise the user settings folder's
// "GeneratedShaders".
std::filesystem::path GeneratedShaderFolder(AssetSourceMode mode);

// Writes `text` to `path` unless the file already holds exactly it. The bytes go to
// <path>.partial first and are renamed over the target, so that builds in other threads and
// processes never see half a file; one that lost the race to an equal text counts as
// success. After false the partial file is gone.
[[nodiscard]] bool WriteTextIfChanged(const std::filesystem::path& path, std::string_view text,
                                      std::string* error = nullptr);

// Compiles `source` to `spirv` with the compiler at `glslc` unless something already stands
// at `spirv`. The compiler writes <spirv>.partial, which is renamed over `spirv`; a rename
// that loses to another build of the same file counts as success. `output` gets what the
// compiler printed, or why it could not run.
bool CompileShaderStage(const std::filesystem::path& glslc, const std::filesystem::path& source,
                        const std::filesystem::path& spirv, const std::filesystem::path& includeFolder,
                        std::string& output);

// The six files of one material's shaders. The shadow pair is empty for materials without
// a coverage-only shadow variant.
struct ShaderBuildFiles {
    std::filesystem::path vertexSource;
    std::filesystem::path fragmentSource;
    std::filesystem::path vertexSpirv;
    std::filesystem::path fragmentSpirv;
    std::filesystem::path shadowFragmentSource;
    std::filesystem::path shadowFragmentSpirv;
};

// Brings one material's shader files up to date: nothing happens when the SPIR-V files
// already stand (the name holds the hash of the text); otherwise the sources are written and
// each missing stage compiled. False when the material has no usable shaders, with its
// errors in `diagnostics` (mapped to nodes through `lineTable` where the fragment's lines
// allow). A shadow variant that fails only adds a warning.
bool BuildShaderFiles(const ShaderBuildFiles& files, std::string_view vertexSource, std::string_view fragmentSource,
                      const ShaderLineTable& lineTable, const std::filesystem::path& includeFolder,
                      const ShaderToolOptions& options, std::vector<MaterialDiagnostic>& diagnostics);

// Compiled shaders of a cooked package, by file name.
using PackagedShaderFiles = std::map<std::string, std::vector<std::uint8_t>, std::less<>>;

// Writes each SPIR-V file of `files` that is not yet a file from the package's entry of its
// file name, through the same partial file and rename, so that a following build finds them
// and runs no compiler. Files the package lacks are left to the build.
void InstallPackagedShaders(const PackagedShaderFiles& packaged, const ShaderBuildFiles& files);

} // namespace Brelk::Assets
