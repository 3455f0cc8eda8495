#include "engine/assets/AssetTypeWords.h"

#include <array>

namespace Brelk::Assets {
namespace {

constexpr std::array<std::string_view, kAssetTypeCount> kWords{
    "unknown",    "mesh",       "scene",       "material",     "texture",    "audio",
    "ui",         "skeleton",   "rig",         "clip",         "controller", "prefab",
    "navmesh",    "behaviortree", "image",     "procedural",   "vectorfield", "vfx",
    "rigdefinition", "inputmap", "world",
};

struct ExtensionRow {
    std::string_view extension;
    AssetType type;
};

constexpr std::array<ExtensionRow, 40> kExtensions{{
    {".obj", AssetType::Mesh},
    {".bmesh", AssetType::Mesh},
    {".fbx", AssetType::Scene},
    {".gltf", AssetType::Scene},
    {".glb", AssetType::Scene},
    {".bscene", AssetType::Scene},
    {".bmat", AssetType::Material},
    {".bmatpp", AssetType::Material},
    {".bmatinst", AssetType::Material},
    {".bmatfunc", AssetType::Material},
    {".png", AssetType::Texture},
    {".jpg", AssetType::Texture},
    {".jpeg", AssetType::Texture},
    {".tga", AssetType::Texture},
    {".bmp", AssetType::Texture},
    {".hdr", AssetType::Texture},
    {".exr", AssetType::Texture},
    {".wav", AssetType::Audio},
    {".mp3", AssetType::Audio},
    {".m4a", AssetType::Audio},
    {".aac", AssetType::Audio},
    {".wma", AssetType::Audio},
    {".flac", AssetType::Audio},
    {".bui", AssetType::Ui},
    {".bskel", AssetType::Skeleton},
    {".brig", AssetType::Rig},
    {".bclip", AssetType::Clip},
    {".bcontroller", AssetType::Controller},
    {".bprefab", AssetType::Prefab},
    {".bnav", AssetType::NavMesh},
    {".bbtree", AssetType::BehaviorTree},
    {".bimg", AssetType::Image},
    {".bproc", AssetType::Procedural},
    {".bvfield", AssetType::VectorField},
    {".bvfx", AssetType::Vfx},
    {".brigdef", AssetType::RigDefinition},
    {".binput", AssetType::InputMap},
    {".bworld", AssetType::World},
    // Kept explicit so that the table documents what the scan passes over on purpose.
    {".bcell", AssetType::Unknown},
    {".bmeta", AssetType::Unknown},
}};

constexpr char AsciiLower(char c) noexcept { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

// The longest extension in the table; anything longer cannot match and is not copied.
constexpr std::size_t kMaxExtensionLength = 12;

} // namespace

std::string_view AssetTypeWord(AssetType type) noexcept {
    const auto index = static_cast<std::uint32_t>(type);
    return index < kAssetTypeCount ? kWords[index] : kWords[0];
}

AssetType AssetTypeFromWord(std::string_view word) noexcept {
    for (std::uint32_t index = 0; index < kAssetTypeCount; ++index) {
        if (kWords[index] == word) {
            return static_cast<AssetType>(index);
        }
    }
    return AssetType::Unknown;
}

AssetType AssetTypeOfExtension(std::string_view extension) noexcept {
    if (extension.size() > kMaxExtensionLength) {
        return AssetType::Unknown;
    }
    char lower[kMaxExtensionLength];
    for (std::size_t i = 0; i < extension.size(); ++i) {
        lower[i] = AsciiLower(extension[i]);
    }
    const std::string_view key(lower, extension.size());
    for (const ExtensionRow& row : kExtensions) {
        if (row.extension == key) {
            return row.type;
        }
    }
    return AssetType::Unknown;
}

AssetType AssetTypeOfPath(const std::filesystem::path& path) {
    return AssetTypeOfExtension(LowerExtension(path));
}

std::string LowerExtension(const std::filesystem::path& path) {
    std::string extension = path.extension().string();
    for (char& c : extension) {
        c = AsciiLower(c);
    }
    return extension;
}

} // namespace Brelk::Assets
