#pragma once

#include "engine/core/Guid.h"

#include <glm/vec2.hpp>
#include <glm/vec3.hpp>
#include <glm/vec4.hpp>

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

namespace Brelk::Reflection {
struct SchemaCodecContext;
} // namespace Brelk::Reflection

namespace Brelk::Scene {

class Registry;
struct ComponentTypeEntry;

// The value types a plugin field may have, in the order of the variant below.
enum class PluginFieldKind : std::uint8_t {
    Bool = 0,
    Int = 1,
    Float = 2,
    Vec2 = 3,
    Vec3 = 4,
    Vec4 = 5,
    String = 6,
    Guid = 7,
};

using PluginFieldValue =
    std::variant<bool, std::int32_t, float, glm::vec2, glm::vec3, glm::vec4, std::string, Core::Guid>;

struct PluginFieldDefinition {
    std::string name;
    std::string displayName;
    std::string category;
    PluginFieldKind kind = PluginFieldKind::Bool;
    // Must hold the alternative of `kind`.
    PluginFieldValue defaultValue;
    bool hidden = false;
    bool readOnly = false;
    bool color = false;
    bool angle = false;
    bool notSaved = false;
    bool entityReference = false;
    // Only for Int and Float fields.
    bool hasRange = false;
    float minimum = 0.0f;
    float maximum = 0.0f;

    friend bool operator==(const PluginFieldDefinition&, const PluginFieldDefinition&) = default;
};

struct PluginComponentDefinition {
    // "<plugin id>.<name>", the record name in files.
    std::string name;
    std::string displayName; // empty: the name
    std::string group;       // empty: "Plugins"
    std::string description; // empty: "Plugin component of <plugin id>."
    std::string pluginId;
    std::uint32_t version = 1; // below 2 means 1
    bool userAddable = false;
    bool saved = false;
    std::vector<PluginFieldDefinition> fields; // in file order

    friend bool operator==(const PluginComponentDefinition&, const PluginComponentDefinition&) = default;
};

// Equal in every member, floats by their bits: a NaN default equals the same NaN, and a
// negative zero isn't the zero it would be saved as. A definition given again is the same
// component only when this holds.
[[nodiscard]] bool SamePluginFieldValue(const PluginFieldValue& a, const PluginFieldValue& b);
[[nodiscard]] bool SamePluginDefinition(const PluginComponentDefinition& a, const PluginComponentDefinition& b);

// The number of component types plugins may define in one process.
inline constexpr std::size_t kPluginComponentSlots = 64;

// Registers the definition as a component type in the next free slot, and returns its
// entry; the same definition again returns the same entry. On failure returns null with
// one sentence in `error`; a refused definition leaves its slot free. A slot stays taken
// until the process ends: a plugin that changes its fields needs a restart.
// Thread-safe against itself, but must not overlap a load or save.
[[nodiscard]] ComponentTypeEntry* DefinePluginComponent(const PluginComponentDefinition& definition,
                                                        std::string* error);

[[nodiscard]] bool IsPluginComponentDefined(const std::string& name);

// Turns records kept for plugins that were not loaded back then into components, now that
// their types are defined. Only main records come back; a record that fails stays kept,
// with "<record>: <reason>" in `errors`. Returns the number of records applied.
std::uint64_t RehydratePreservedComponents(Registry& registry, const Reflection::SchemaCodecContext& codec,
                                           std::vector<std::string>* errors);

} // namespace Brelk::Scene
