#include "engine/assets/materials/MaterialShaders.h"

#include "engine/assets/materials/MaterialAsset.h"
#include "engine/assets/shaders/ShaderStamps.h"

#include <system_error>

namespace Brelk::Assets {

namespace fs = std::filesystem;

namespace {

bool IsRegularFile(const fs::path& path) {
    std::error_code ignored;
    return fs::is_regular_file(path, ignored);
}

} // namespace

bool HasShaderText(const MaterialCompiledState& state, std::uint32_t domain) {
    return state.succeeded && (domain == kDomainSurface || domain == kDomainPostProcess) &&
           !state.vertexSource.empty() && !state.fragmentSource.empty();
}

bool ShaderFilesMissing(const MaterialCompiledState& state) {
    const bool hasShadow = !state.shadowFragmentSpirvPath.empty();
    return !IsRegularFile(state.vertexSpirvPath) || !IsRegularFile(state.fragmentSpirvPath) ||
           (hasShadow && !IsRegularFile(state.shadowFragmentSpirvPath));
}

ShaderBuildFiles ShaderFilesOf(const MaterialCompiledState& state) {
    return ShaderBuildFiles{state.vertexPath,          state.fragmentPath,       state.vertexSpirvPath,
                            state.fragmentSpirvPath,   state.shadowFragmentPath, state.shadowFragmentSpirvPath};
}

void BuildMaterialShaders(MaterialCompiledState& state, const MaterialShaderBuild& build) {
    const ShaderBuildFiles files = ShaderFilesOf(state);
    if (build.packaged && !build.packaged->empty()) InstallPackagedShaders(*build.packaged, files);
    if (!BuildShaderFiles(files, state.vertexSource, state.fragmentSource, state.fragmentLines, LocateShaderFolder(),
                          build.tools, state.diagnostics)) {
        state.succeeded = false;
    }
}

} // namespace Brelk::Assets
