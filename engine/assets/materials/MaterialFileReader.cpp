#include "engine/assets/materials/MaterialFile.h"

#include "engine/assets/materials/MaterialDefaults.h"
#include "engine/assets/materials/MaterialHash.h"
#include "engine/assets/materials/MaterialLineCursor.h"
#include "engine/assets/materials/MaterialNodeCatalogue.h"
#include "engine/assets/materials/MaterialText.h"

#include <unordered_map>

namespace Brelk::Assets {

namespace fs = std::filesystem;

namespace {

using detail::MaterialLineCursor;

std::string_view Trim(std::string_view line) {
    const auto blank = [](char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\v' || c == '\f'; };
    while (!line.empty() && blank(line.front())) line.remove_prefix(1);
    while (!line.empty() && blank(line.back())) line.remove_suffix(1);
    return line;
}

// One reading of one file: the options that every reference of it shares.
struct Reading {
    const fs::path& path;
    const AssetRegistry* registry;
    std::uint32_t version = 1;

    bool LegacyAllowed() const { return version < 2 || !registry; }

    AssetHandle Bare(std::uint64_t value, std::string_view label) const {
        return MigrateLegacyMaterialHandle(value, registry, path, label, LegacyAllowed());
    }

    AssetHandle Reference(std::string_view text, std::string_view label, AssetType type) const {
        return ResolveMaterialReference(text, registry, path, label, type);
    }
};

bool ReadBool(MaterialLineCursor& cursor, bool fallback) {
    std::int64_t value = fallback ? 1 : 0;
    cursor.ReadInt(&value);
    return value != 0;
}

void ReadFloatInto(MaterialLineCursor& cursor, float& field) {
    float value = 0.0f;
    if (cursor.ReadFloat(&value)) field = value;
}

std::string_view WordOrEmpty(MaterialLineCursor& cursor) {
    std::string_view word;
    cursor.ReadWord(&word);
    return word;
}

struct PendingLines {
    std::vector<std::string_view> pins;
    std::vector<std::string_view> properties;
    std::vector<std::string_view> propertyReferences;
};

class GraphIndex {
public:
    explicit GraphIndex(MaterialGraph& graph) : graph_(graph) {}

    void Add(std::uint64_t id, std::size_t position) { positions_[id] = position; }

    MaterialGraphNode* Find(std::uint64_t id) {
        const auto found = positions_.find(id);
        return found == positions_.end() ? nullptr : &graph_.nodes[found->second];
    }

private:
    MaterialGraph& graph_;
    std::unordered_map<std::uint64_t, std::size_t, MaterialIdHash> positions_;
};

void ReadPin(std::string_view line, GraphIndex& index) {
    MaterialLineCursor cursor(line);
    std::uint64_t nodeId = 0;
    MaterialGraphPin pin;
    std::string_view direction;
    std::string_view type;
    std::int64_t optional = 0;
    std::int64_t flagB = 0;
    if (!cursor.ReadUnsigned(&nodeId) || !cursor.ReadUnsigned(&pin.id) || !cursor.ReadWord(&direction) ||
        !cursor.ReadWord(&type) || !cursor.ReadInt(&optional) || !cursor.ReadInt(&flagB) ||
        !cursor.ReadQuoted(&pin.name)) {
        return;
    }
    MaterialGraphNode* node = index.Find(nodeId);
    if (!node) return;
    if (!MaterialPinTypeFromWord(type, &pin.type)) pin.type = kPinFloat;
    pin.direction = direction == "Output" ? kPinOutput : kPinInput;
    pin.optional = optional != 0;
    pin.flagB = flagB != 0;
    (pin.direction == kPinOutput ? node->outputs : node->inputs).push_back(std::move(pin));
}

std::string NodeLabel(const MaterialGraphNode& node, std::string_view key) {
    return "node '" + node.title + "' " + std::string(key);
}

bool IsHandleProperty(std::string_view key) {
    return key == "asset" || key == "default_texture";
}

void ReadProperty(std::string_view line, GraphIndex& index, const Reading& reading, bool isReference) {
    MaterialLineCursor cursor(line);
    std::uint64_t nodeId = 0;
    std::string key;
    std::string value;
    if (!cursor.ReadUnsigned(&nodeId) || !cursor.ReadQuoted(&key)) return;
    cursor.ReadQuoted(&value);
    MaterialGraphNode* node = index.Find(nodeId);
    if (!node) return;
    if (isReference) {
        node->properties[key] = std::to_string(reading.Reference(value, NodeLabel(*node, key), AssetType::Unknown));
    } else if (reading.registry && IsHandleProperty(key)) {
        const std::uint64_t handle = std::stoull(value);
        node->properties[key] = std::to_string(reading.Bare(handle, NodeLabel(*node, key)));
    } else {
        node->properties[key] = std::move(value);
    }
}

void ReadOverride(MaterialLineCursor& cursor, MaterialAsset& material, const Reading& reading, bool isReference) {
    std::string name;
    if (!cursor.ReadQuoted(&name)) return;
    MaterialParameterOverride entry;
    std::int64_t enabled = 0;
    cursor.ReadInt(&enabled);
    entry.enabled = enabled != 0;
    entry.value = ParseMaterialVector(WordOrEmpty(cursor), {0.0f, 0.0f, 0.0f, 0.0f});
    const std::string label = "override '" + name + "'.texture";
    if (isReference) {
        std::string reference;
        cursor.ReadQuoted(&reference);
        entry.texture = reading.Reference(reference, label, AssetType::Texture);
    } else {
        std::uint64_t handle = 0;
        cursor.ReadUnsigned(&handle);
        entry.texture = reading.Bare(handle, label);
    }
    material.overrides[name] = entry;
}

const MaterialTextureSlot* FindSlot(std::string_view key, bool* isReference) {
    *isReference = key.size() > 4 && key.substr(key.size() - 4) == "_ref";
    if (*isReference) key.remove_suffix(4);
    for (const MaterialTextureSlot& slot : kMaterialTextureSlots) {
        if (key == slot.key) return &slot;
    }
    return nullptr;
}

} // namespace

void ParseMaterialText(std::string_view text, const fs::path& path, MaterialAsset& material,
                       const AssetRegistry* registry) {
    const std::uint64_t revision = material.graph.revision;
    material.graph = MaterialGraph{};
    material.graph.revision = revision;
    material.overrides.clear();

    Reading reading{path, registry};
    MaterialGraph& graph = material.graph;
    GraphIndex index(graph);
    PendingLines pending;
    bool blendModePresent = false;
    bool cullModePresent = false;
    bool hasIntensity = false;
    float intensity = 0.0f;

    while (!text.empty()) {
        const std::size_t end = text.find('\n');
        const std::string_view line = Trim(text.substr(0, end));
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
        if (line.empty()) continue;
        MaterialLineCursor cursor(line);
        std::string_view key;
        if (!cursor.ReadWord(&key)) continue;
        const std::string_view rest = line.substr(static_cast<std::size_t>(key.data() + key.size() - line.data()));

        // Graph lines outnumber all others together.
        if (key == "pin") {
            pending.pins.push_back(rest);
        } else if (key == "node") {
            MaterialGraphNode node;
            std::string_view word;
            if (!cursor.ReadUnsigned(&node.id) || !cursor.ReadWord(&word)) continue;
            if (const MaterialNodeDefinition* row = FindMaterialNode(word)) node.type = row->type;
            cursor.ReadFloat(&node.x);
            cursor.ReadFloat(&node.y);
            cursor.ReadQuoted(&node.title);
            index.Add(node.id, graph.nodes.size());
            graph.nodes.push_back(std::move(node));
        } else if (key == "prop") {
            pending.properties.push_back(rest);
        } else if (key == "prop_ref") {
            pending.propertyReferences.push_back(rest);
        } else if (key == "link") {
            MaterialGraphLink link;
            if (cursor.ReadUnsigned(&link.id) && cursor.ReadUnsigned(&link.fromPin) &&
                cursor.ReadUnsigned(&link.toPin)) {
                graph.links.push_back(link);
            }
        } else if (key == "version") {
            std::uint64_t version = 0;
            if (cursor.ReadUnsigned(&version))
                reading.version = static_cast<std::uint32_t>(std::min<std::uint64_t>(version, 0xFFFFFFFFu));
        } else if (key == "kind") {
            const std::string_view word = WordOrEmpty(cursor);
            graph.domain = word == "Function"      ? kDomainFunction
                           : word == "PostProcess" ? kDomainPostProcess
                                                   : kDomainSurface;
        } else if (key == "opaque") {
            material.opaque = ReadBool(cursor, true);
        } else if (key == "alpha_masked") {
            material.alphaMasked = ReadBool(cursor, false);
        } else if (key == "double_sided") {
            material.doubleSided = ReadBool(cursor, false);
        } else if (key == "is_instance") {
            material.isInstance = ReadBool(cursor, false);
        } else if (key == "shading_model") {
            material.shadingModel = WordOrEmpty(cursor) == "Unlit" ? 1 : 0;
        } else if (key == "blend_mode") {
            std::int64_t mode = 0;
            if (cursor.ReadInt(&mode) && mode >= 0 && mode <= 4) {
                material.blendMode = static_cast<std::uint32_t>(mode);
                blendModePresent = true;
            }
        } else if (key == "cull_mode") {
            material.cullMode = WordOrEmpty(cursor) == "None" ? 1 : 0;
            cullModePresent = true;
        } else if (key == "depth_mode") {
            const std::string_view word = WordOrEmpty(cursor);
            material.depthMode = word == "TestOnly" ? 1 : word == "Always" ? 2 : 0;
        } else if (key == "parent_material") {
            std::uint64_t handle = 0;
            if (cursor.ReadUnsigned(&handle)) material.parentMaterial = reading.Bare(handle, "parent_material");
        } else if (key == "parent_material_ref") {
            std::string reference;
            cursor.ReadQuoted(&reference);
            material.parentMaterial = reading.Reference(reference, "parent_material", AssetType::Material);
        } else if (key == "base_color") {
            material.baseColor = ParseMaterialVector(WordOrEmpty(cursor), {1.0f, 1.0f, 1.0f, 1.0f});
        } else if (key == "emissive") {
            const auto value = ParseMaterialVector(WordOrEmpty(cursor), {0.0f, 0.0f, 0.0f, 0.0f});
            material.emissive = {value[0], value[1], value[2]};
            material.emissiveIntensity = value[3] > 0.0f ? value[3] : 1.0f;
        } else if (key == "emissive_intensity") {
            hasIntensity = cursor.ReadFloat(&intensity) || hasIntensity;
        } else if (key == "metallic") {
            ReadFloatInto(cursor, material.metallic);
        } else if (key == "roughness") {
            ReadFloatInto(cursor, material.roughness);
        } else if (key == "ao_strength") {
            ReadFloatInto(cursor, material.aoStrength);
        } else if (key == "normal_scale") {
            ReadFloatInto(cursor, material.normalScale);
        } else if (key == "height_scale") {
            ReadFloatInto(cursor, material.heightScale);
        } else if (key == "alpha_cutoff") {
            ReadFloatInto(cursor, material.alphaCutoff);
        } else if (key == "uv_scale") {
            std::string_view word = WordOrEmpty(cursor);
            float u = 0.0f;
            float v = 0.0f;
            bool ok = ReadMaterialNumber(word, &u) && !word.empty();
            if (ok) word.remove_prefix(1);
            ok = ok && ReadMaterialNumber(word, &v);
            material.uvScale = ok ? std::array<float, 2>{u, v} : std::array<float, 2>{1.0f, 1.0f};
        } else if (key == "graph_next_id") {
            cursor.ReadUnsigned(&graph.nextId);
        } else if (key == "override" || key == "override_ref") {
            ReadOverride(cursor, material, reading, key == "override_ref");
        } else {
            bool isReference = false;
            if (const MaterialTextureSlot* slot = FindSlot(key, &isReference)) {
                if (isReference) {
                    std::string reference;
                    cursor.ReadQuoted(&reference);
                    material.*slot->field = reading.Reference(reference, slot->key, AssetType::Texture);
                } else {
                    std::uint64_t handle = 0;
                    if (cursor.ReadUnsigned(&handle)) material.*slot->field = reading.Bare(handle, slot->key);
                }
            }
            // Any other key belongs to a newer engine and is passed over.
        }
    }

    if (hasIntensity) material.emissiveIntensity = intensity;
    if (!blendModePresent) material.blendMode = 0;
    if (!cullModePresent) material.cullMode = material.doubleSided ? 1 : 0;
    for (const std::string_view line : pending.pins) ReadPin(line, index);
    for (const std::string_view line : pending.properties) ReadProperty(line, index, reading, false);
    for (const std::string_view line : pending.propertyReferences) ReadProperty(line, index, reading, true);

    // An instance keeps an empty graph: its nodes are its parent's.
    if (graph.nodes.empty() && !material.isInstance) {
        graph = MakeDefaultGraph(graph.domain);
        graph.revision = revision;
    }
    graph.dirty = true;
    ++graph.revision;
}

} // namespace Brelk::Assets
