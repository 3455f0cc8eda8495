#pragma once

#include "engine/assets/materials/MaterialCompiledState.h"
#include "engine/assets/shaders/ShaderBuild.h"
#include "engine/assets/shaders/ShaderTools.h"

#include <cstdint>

namespace Brelk::Assets {

// What a shader build of a compiled material needs besides the material: where the
// compiler is (taken once, on the owner thread) and a package's compiled shaders, if any.
struct MaterialShaderBuild {
    ShaderToolOptions tools;
    const PackagedShaderFiles* packaged = nullptr; // null or empty: no package
};

// Whether a compile has shader text to build: it succeeded, the material is drawn (a
// surface or a post process) and both stages have text.
bool HasShaderText(const MaterialCompiledState& state, std::uint32_t domain);

// Whether a SPIR-V file of the compile is not yet a file, the coverage-only shadow stage
// included where the material has one. The name holds the hash of the text, so a file that
// stands is current.
bool ShaderFilesMissing(const MaterialCompiledState& state);

// The six files of a compile, as the shader build takes them.
ShaderBuildFiles ShaderFilesOf(const MaterialCompiledState& state);

// Brings the compile's shader files up to date: the package's shaders first, so that a
// packaged project runs no compiler, then the build. A build that fails clears `succeeded`
// and adds its diagnostics; a failed shadow stage only adds a warning. Touches nothing but
// `state` and the files, so it may run on any thread.
void BuildMaterialShaders(MaterialCompiledState& state, const MaterialShaderBuild& build);

} // namespace Brelk::Assets
