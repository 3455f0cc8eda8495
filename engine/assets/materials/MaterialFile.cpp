#include "engine/assets/materials/MaterialFile.h"

#include "engine/assets/AssetReference.h"
#include "engine/assets/AssetRegistry.h"
#include "engine/assets/cooked/CookedContainer.h"
#include "engine/assets/cooked/CookedMaterial.h"
#include "engine/assets/materials/MaterialDefaults.h"
#include "engine/assets/materials/MaterialLineCursor.h"
#include "engine/assets/materials/MaterialNodeCatalogue.h"
#include "engine/assets/materials/MaterialText.h"
#include "engine/core/Logger.h"
#include "engine/core/NumberText.h"
#include "engine/platform/ErrorText.h"
#include "engine/platform/Files.h"
#include "engine/platform/Folders.h"

#include <algorithm>
#include <system_error>

namespace Brelk::Assets {

namespace fs = std::filesystem;

namespace {

constexpr const char* kKindWords[] = {"Surface", "Function", "PostProcess"};
constexpr const char* kDepthWords[] = {"TestAndWrite", "TestOnly", "Always"};

void Warn(std::string message) {
    Core::Logger::Get().Log(Core::LogCategory::Assets, Core::LogLevel::Warning, message);
}

void AppendQuoted(std::string& out, std::string_view text) {
    out += '"';
    while (!text.empty()) {
        const std::size_t special = text.find_first_of("\"\\");
        out.append(text.substr(0, special));
        if (special == std::string_view::npos) break;
        out += '\\';
        out += text[special];
        text.remove_prefix(special + 1);
    }
    out += '"';
}

void AppendFloats(std::string& out, std::span<const float> values) {
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (i) out += ',';
        AppendMaterialFloat(out, values[i]);
    }
}

void AppendLine(std::string& out, std::string_view key, std::string_view value) {
    out += key;
    out += ' ';
    out += value;
    out += '\n';
}

void AppendFloatLine(std::string& out, std::string_view key, float value) {
    out += key;
    out += ' ';
    AppendMaterialFloat(out, value);
    out += '\n';
}

void AppendHandleLine(std::string& out, std::string_view key, AssetHandle handle, const AssetRegistry* registry) {
    out += key;
    if (registry) {
        out += "_ref ";
        AppendQuoted(out, AssetReferenceOf(*registry, handle));
    } else {
        out += ' ';
        Core::AppendInteger(out, handle);
    }
    out += '\n';
}

template <class Map>
std::vector<typename Map::const_pointer> SortedByKey(const Map& map) {
    std::vector<typename Map::const_pointer> entries;
    entries.reserve(map.size());
    for (const auto& entry : map) entries.push_back(&entry);
    std::sort(entries.begin(), entries.end(), [](auto a, auto b) { return a->first < b->first; });
    return entries;
}

bool IsHandleProperty(std::string_view key) {
    return key == "asset" || key == "default_texture";
}

// Folders in which old projects kept their content, for handles saved there.
std::vector<fs::path> LegacyRoots() {
    std::vector<fs::path> roots;
    try {
        roots.push_back(Platform::GetUserSettingsFolder() / "UnsavedProject" / "Content");
        roots.push_back(Platform::GetEngineContentFolder());
    } catch (const std::exception&) {
        // A host that can't name the program's folder has no engine content to look in.
    }
    return roots;
}

} // namespace

bool IsMaterialExtension(const fs::path& path) {
    std::string extension = path.extension().string();
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return static_cast<char>(c >= 'A' && c <= 'Z' ? c + 32 : c); });
    return extension == ".bmat" || extension == ".bmatpp" || extension == ".bmatinst" || extension == ".bmatfunc";
}

std::string SerializeMaterialAsset(const MaterialAsset& material, const AssetRegistry* registry) {
    std::string out;
    out.reserve(1024 + material.graph.nodes.size() * 256);
    out += "version ";
    Core::AppendInteger(out, registry ? kMaterialFileVersion : kMaterialFileLegacyVersion);
    out += '\n';
    AppendLine(out, "kind", kKindWords[material.graph.domain < 3 ? material.graph.domain : 0]);
    AppendLine(out, "opaque", material.opaque ? "1" : "0");
    AppendLine(out, "alpha_masked", material.alphaMasked ? "1" : "0");
    AppendLine(out, "double_sided", material.doubleSided ? "1" : "0");
    AppendLine(out, "shading_model", material.shadingModel == 1 ? "Unlit" : "Lit");
    AppendLine(out, "blend_mode", std::to_string(material.blendMode));
    AppendLine(out, "cull_mode", material.cullMode == 1 ? "None" : "Back");
    AppendLine(out, "depth_mode", kDepthWords[material.depthMode < 3 ? material.depthMode : 0]);
    AppendLine(out, "is_instance", material.isInstance ? "1" : "0");
    AppendHandleLine(out, "parent_material", material.parentMaterial, registry);

    out += "base_color ";
    AppendFloats(out, material.baseColor);
    out += "\nemissive ";
    AppendFloats(out, material.emissive);
    out += ',';
    AppendMaterialFloat(out, material.emissiveIntensity);
    out += '\n';
    // A fourth number that isn't positive reads as 1.0; this line gives the true value back.
    if (!(material.emissiveIntensity > 0.0f)) AppendFloatLine(out, "emissive_intensity", material.emissiveIntensity);
    AppendFloatLine(out, "metallic", material.metallic);
    AppendFloatLine(out, "roughness", material.roughness);
    AppendFloatLine(out, "ao_strength", material.aoStrength);
    AppendFloatLine(out, "normal_scale", material.normalScale);
    AppendFloatLine(out, "height_scale", material.heightScale);
    out += "uv_scale ";
    AppendFloats(out, material.uvScale);
    out += '\n';
    AppendFloatLine(out, "alpha_cutoff", material.alphaCutoff);
    for (const MaterialTextureSlot& slot : kMaterialTextureSlots) {
        AppendHandleLine(out, slot.key, material.*slot.field, registry);
    }
    out += "graph_next_id ";
    Core::AppendInteger(out, material.graph.nextId);
    out += '\n';

    for (const auto* entry : SortedByKey(material.overrides)) {
        const MaterialParameterOverride& value = entry->second;
        out += registry ? "override_ref " : "override ";
        AppendQuoted(out, entry->first);
        out += value.enabled ? " 1 " : " 0 ";
        AppendFloats(out, value.value);
        out += ' ';
        if (registry) {
            AppendQuoted(out, AssetReferenceOf(*registry, value.texture));
        } else {
            Core::AppendInteger(out, value.texture);
        }
        out += '\n';
    }

    for (const MaterialGraphNode& node : material.graph.nodes) {
        const MaterialNodeDefinition* row = FindMaterialNode(node.type);
        out += "node ";
        Core::AppendInteger(out, node.id);
        out += ' ';
        out += row ? row->name : "ConstantFloat";
        out += ' ';
        AppendMaterialFloat(out, node.x);
        out += ' ';
        AppendMaterialFloat(out, node.y);
        out += ' ';
        AppendQuoted(out, node.title);
        out += '\n';
        for (const auto* pins : {&node.inputs, &node.outputs}) {
            for (const MaterialGraphPin& pin : *pins) {
                out += "pin ";
                Core::AppendInteger(out, node.id);
                out += ' ';
                Core::AppendInteger(out, pin.id);
                out += pins == &node.inputs ? " Input " : " Output ";
                out += MaterialPinTypeWord(pin.type);
                out += pin.optional ? " 1" : " 0";
                out += pin.flagB ? " 1 " : " 0 ";
                AppendQuoted(out, pin.name);
                out += '\n';
            }
        }
        for (const auto* property : SortedByKey(node.properties)) {
            const auto& [key, value] = *property;
            if (registry && IsHandleProperty(key) && value != "0") {
                std::uint64_t handle = 0;
                const auto parsed = std::from_chars(value.data(), value.data() + value.size(), handle);
                // A value that reads as decimal 0 stays "0"; anything else is a handle to name.
                if (!(parsed.ec == std::errc() && parsed.ptr == value.data() + value.size() && handle == 0)) {
                    out += "prop_ref ";
                    Core::AppendInteger(out, node.id);
                    out += ' ';
                    AppendQuoted(out, key);
                    out += ' ';
                    AppendQuoted(out, AssetReferenceOf(*registry, parsed.ec == std::errc() ? handle : 0));
                    out += '\n';
                    continue;
                }
            }
            out += "prop ";
            Core::AppendInteger(out, node.id);
            out += ' ';
            AppendQuoted(out, key);
            out += ' ';
            AppendQuoted(out, registry && IsHandleProperty(key) ? std::string_view("0") : std::string_view(value));
            out += '\n';
        }
    }
    for (const MaterialGraphLink& link : material.graph.links) {
        out += "link ";
        Core::AppendInteger(out, link.id);
        out += ' ';
        Core::AppendInteger(out, link.fromPin);
        out += ' ';
        Core::AppendInteger(out, link.toPin);
        out += '\n';
    }
    return out;
}

bool WriteMaterialAsset(const fs::path& path, const MaterialAsset& material, const AssetRegistry* registry,
                        std::string* error) {
    if (path.has_parent_path()) {
        std::error_code failure;
        fs::create_directories(path.parent_path(), failure);
        if (failure) throw fs::filesystem_error("create_directories", path.parent_path(), failure);
    }
    const std::string text = SerializeMaterialAsset(material, registry);
    if (!Platform::WriteFileAtomic(path, text)) {
        SetError(error, "Failed to open material asset for writing.");
        return false;
    }
    return true;
}

AssetHandle MigrateLegacyMaterialHandle(std::uint64_t value, const AssetRegistry* registry, const fs::path& path,
                                        std::string_view label, bool legacyAllowed) {
    if (value == 0 || !registry) return value;
    if (!legacyAllowed) return kNullAssetHandle;
    const std::vector<fs::path> roots = LegacyRoots();
    const AssetHandle handle = registry->RemapLegacyHandle(value, roots);
    if (handle == value) return handle;
    if (handle != kNullAssetHandle) {
        const std::optional<AssetRecord> record = registry->Copy(handle);
        Warn("Migrated legacy material asset handle in " + Platform::PathToUtf8(path) + " (" + std::string(label) +
             ") to current project asset: " + (record ? Platform::PathToUtf8(record->path) : std::string()));
        return handle;
    }
    Warn("Unresolved material asset reference in " + Platform::PathToUtf8(path) + " (" + std::string(label) +
         "): " + std::to_string(value));
    return kNullAssetHandle;
}

AssetHandle ResolveMaterialReference(std::string_view text, const AssetRegistry* registry, const fs::path& path,
                                     std::string_view label, AssetType expectedType) {
    if (text.empty() || !registry) return kNullAssetHandle;
    const AssetHandle handle = ResolveAssetReference(*registry, text, expectedType);
    if (handle == kNullAssetHandle) {
        Warn("Unresolved material asset reference in " + Platform::PathToUtf8(path) + " (" + std::string(label) +
             "): " + std::string(text));
    }
    return handle;
}

bool ReadMaterialAssetBytes(std::span<const std::uint8_t> bytes, const fs::path& path, MaterialAsset& material,
                            const AssetRegistry* registry, std::string* error, CookedMaterial* cookedOut) {
    if (IsCookedFile(bytes)) {
        const std::string name = Platform::PathToUtf8(path);
        const auto payload = OpenCookedContainer(bytes, kCookedKindMaterial, kCookedMaterialFormatVersion, name, error);
        if (!payload) return false;
        std::optional<CookedMaterial> cooked = DecodeCookedMaterial(*payload, name, error);
        if (!cooked) return false;
        ParseMaterialText(cooked->sourceText, path, material, registry);
        if (cookedOut) *cookedOut = std::move(*cooked);
        return true;
    }
    ParseMaterialText(std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size()), path, material,
                      registry);
    return true;
}

bool ReadMaterialAsset(const fs::path& path, MaterialAsset& material, const AssetRegistry* registry, std::string* error,
                       CookedMaterial* cooked) {
    const std::optional<std::vector<std::uint8_t>> bytes = Platform::ReadFileBytes(path);
    if (!bytes) {
        SetError(error, "Failed to open material asset file.");
        return false;
    }
    return ReadMaterialAssetBytes(*bytes, path, material, registry, error, cooked);
}

} // namespace Brelk::Assets
