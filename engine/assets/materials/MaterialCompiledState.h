#pragma once

#include "engine/assets/AssetHandle.h"
#include "engine/assets/materials/MaterialAsset.h"
#include "engine/assets/shaders/MaterialShaderTypes.h"
#include "engine/assets/shaders/ShaderSource.h"

#include <array>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace Brelk::Assets {

// What the graph compiler needs besides the graph: the shader's file stem (the cleaned
// asset name) and the folder its files go to.
struct MaterialCompileInput {
    AssetHandle handle = kNullAssetHandle;
    std::string shaderStem;
    std::filesystem::path outputFolder;
};

// The value of one output pin.
struct MaterialValue {
    std::uint32_t type = kPinFloat;
    std::string expression;
    bool isConstant = false; // `constant` holds the exact value
    bool isTexture = false;
    std::uint32_t textureSlot = 0;
    std::array<float, 4> constant{};
};

struct MaterialParameter {
    std::string name;
    std::uint32_t type = kPinFloat; // 7 for a texture
    std::uint32_t slot = 0;
    std::array<float, 4> defaultValue{};
    AssetHandle defaultTexture = kNullAssetHandle;
    bool exposed = true;

    bool operator==(const MaterialParameter&) const = default;
};


// Texture slots shared by every Texture2D and ParameterTexture2D node, parameter vectors and
// rounds of function inlining: the numbers of the material descriptor layout.
inline constexpr std::uint32_t kMaxMaterialTextureSlots = 14;
inline constexpr std::uint32_t kMaxMaterialParameterVectors = 32;
inline constexpr std::uint32_t kMaxFunctionExpansionRounds = 8;

struct MaterialCompiledState {
    bool valid = false;
    bool succeeded = false; // set last, when no error stands
    bool translucent = false;
    bool alphaMasked = false;
    bool doubleSided = false;
    bool hasNormalInput = false;
    bool usesSceneData = false;
    bool isDecal = false;
    bool isVolume = false;
    std::uint64_t revision = 0;
    std::string shaderName;
    std::filesystem::path vertexPath;
    std::filesystem::path fragmentPath;
    std::filesystem::path vertexSpirvPath;
    std::filesystem::path fragmentSpirvPath;
    std::filesystem::path shadowFragmentPath;      // alpha-masked surfaces only
    std::filesystem::path shadowFragmentSpirvPath; // alpha-masked surfaces only
    std::string vertexSource;
    std::string fragmentSource;
    std::uint32_t templateIndex = 0;
    std::uint32_t variant = 0;
    std::uint64_t templateStamp = 0;
    std::uint64_t permutationStamp = 0;
    std::vector<MaterialParameter> parameters;
    std::vector<AssetHandle> textures;
    std::vector<bool> textureIsSrgb;
    std::vector<MaterialDiagnostic> diagnostics;
    std::vector<MaterialStatement> statements;
    std::vector<ShaderHelperFunction> helpers; // CustomCode nodes' GLSL functions
    std::uint32_t statementCount = 0;
    std::uint32_t foldedNodes = 0;
    std::uint32_t removedRepeats = 0;
    std::uint32_t removedDead = 0;

    // The first diagnostic of severity error, or null.
    const MaterialDiagnostic* FirstError() const;
};

// Hands the compiler the material functions that FunctionCall nodes name. The compiler may
// call it on any thread.
class MaterialGraphResolver {
public:
    virtual ~MaterialGraphResolver() = default;
    // The material of a handle, or null.
    virtual const MaterialAsset* ResolveMaterial(AssetHandle handle) const = 0;
};

} // namespace Brelk::Assets
