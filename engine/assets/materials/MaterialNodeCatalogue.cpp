#include "engine/assets/materials/MaterialNodeCatalogue.h"

#include "engine/assets/materials/MaterialHash.h"
#include "engine/assets/materials/MaterialNodeRows.h"
#include "engine/core/Hash.h"

#include <algorithm>
#include <stdexcept>
#include <unordered_map>

namespace Brelk::Assets {
namespace {

// Four bytes of the id, as the table is keyed by the u32.
struct IdHash {
    std::size_t operator()(std::uint32_t id) const noexcept {
        const std::uint8_t bytes[4] = {static_cast<std::uint8_t>(id), static_cast<std::uint8_t>(id >> 8),
                                       static_cast<std::uint8_t>(id >> 16), static_cast<std::uint8_t>(id >> 24)};
        return static_cast<std::size_t>(Core::Fnv1a64(std::span<const std::uint8_t>(bytes)));
    }
};

struct Catalogue {
    std::vector<MaterialNodeDefinition> rows;
    std::unordered_map<std::uint32_t, const MaterialNodeDefinition*, IdHash> byType;
    std::unordered_map<std::string, const MaterialNodeDefinition*, MaterialNameHash, std::equal_to<>> byName;

    Catalogue() {
        rows.reserve(kMaterialNodeKindCount);
        detail::AddInputRows(rows);
        detail::AddMathRows(rows);
        detail::AddEffectRows(rows);
        std::sort(rows.begin(), rows.end(), [](const auto& a, const auto& b) { return a.type < b.type; });
        for (std::uint32_t i = 0; i < rows.size(); ++i) {
            if (rows[i].type != i)
                throw std::logic_error("Material node catalogue has a gap at " + std::to_string(i) + ".");
            byType.emplace(rows[i].type, &rows[i]);
            if (!byName.emplace(rows[i].name, &rows[i]).second) {
                throw std::logic_error("Material node word '" + rows[i].name + "' is used twice.");
            }
        }
        if (rows.size() != kMaterialNodeKindCount) throw std::logic_error("Material node catalogue is incomplete.");
    }
};

const Catalogue& TheCatalogue() {
    static const Catalogue catalogue;
    return catalogue;
}

bool IsUpper(char c) {
    return c >= 'A' && c <= 'Z';
}
bool IsLower(char c) {
    return c >= 'a' && c <= 'z';
}

} // namespace

namespace detail {

void AddRow(std::vector<MaterialNodeDefinition>& rows, const RowSpec& spec, std::initializer_list<PinSpec> pins,
            std::initializer_list<PropertySpec> properties) {
    MaterialNodeDefinition& row = rows.emplace_back();
    row.type = spec.type;
    row.name = spec.name;
    row.title = spec.title ? spec.title : SpacedNodeWord(spec.name);
    if (spec.category) {
        row.category = spec.category;
        row.label = spec.label ? spec.label : SpacedNodeWord(spec.name);
    }
    row.dynamicPins = spec.dynamicPins;
    for (const PinSpec& pin : pins) row.pins.push_back({pin.direction, pin.type, pin.name, pin.optional});
    for (const PropertySpec& property : properties) row.properties.push_back({property.key, property.value});
}

} // namespace detail

std::span<const MaterialNodeDefinition> MaterialNodeCatalogue() {
    return TheCatalogue().rows;
}

const MaterialNodeDefinition* FindMaterialNode(std::uint32_t type) {
    const auto& index = TheCatalogue().byType;
    const auto found = index.find(type);
    return found == index.end() ? nullptr : found->second;
}

const MaterialNodeDefinition* FindMaterialNode(std::string_view name) {
    const auto& index = TheCatalogue().byName;
    const auto found = index.find(name);
    return found == index.end() ? nullptr : found->second;
}

std::vector<std::string> UnknownInputPins(const MaterialGraphNode& node) {
    std::vector<std::string> unknown;
    const MaterialNodeDefinition* row = FindMaterialNode(node.type);
    if (!row || row->dynamicPins) return unknown;
    for (const MaterialGraphPin& pin : node.inputs) {
        const bool listed = std::any_of(row->pins.begin(), row->pins.end(), [&](const MaterialPinDefinition& known) {
            return known.direction == kPinInput && known.name == pin.name;
        });
        if (!listed) unknown.push_back(pin.name);
    }
    return unknown;
}

std::string SpacedNodeWord(std::string_view word) {
    std::string spaced;
    spaced.reserve(word.size() + 4);
    for (std::size_t i = 0; i < word.size(); ++i) {
        const char c = word[i];
        if (i > 0 && IsUpper(c)) {
            const char before = word[i - 1];
            const bool endsAcronym = IsUpper(before) && i + 1 < word.size() && IsLower(word[i + 1]);
            if (IsLower(before) || endsAcronym) spaced += ' ';
        }
        spaced += c;
    }
    return spaced;
}

MaterialGraphNode* AddMaterialNode(MaterialGraph& graph, std::uint32_t type, float x, float y) {
    const MaterialNodeDefinition* row = FindMaterialNode(type);
    if (!row) return nullptr;
    if (graph.nextId == 0) graph.nextId = 1;
    MaterialGraphNode node;
    node.id = graph.nextId++;
    node.type = type;
    node.title = row->title;
    node.x = x;
    node.y = y;
    for (const std::uint32_t direction : {kPinInput, kPinOutput}) {
        for (const MaterialPinDefinition& pin : row->pins) {
            if (pin.direction != direction) continue;
            MaterialGraphPin made{graph.nextId++, pin.direction, pin.type, pin.name, pin.optional, false};
            (direction == kPinInput ? node.inputs : node.outputs).push_back(std::move(made));
        }
    }
    for (const MaterialPropertyDefinition& property : row->properties) {
        node.properties[property.key] = property.defaultValue;
    }
    graph.nodes.push_back(std::move(node));
    return &graph.nodes.back();
}

} // namespace Brelk::Assets
