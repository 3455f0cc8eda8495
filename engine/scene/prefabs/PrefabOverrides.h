#pragma once

#include "engine/core/Guid.h"
#include "engine/reflection/SchemaRecord.h"
#include "engine/scene/components/CoreComponents.h"

#include <string>
#include <string_view>
#include <vector>

// Overrides are text: a property path from the component's name down through nested
// fields ("LightComponent.color.r"), and a value that is a leaf's text, or record text for
// a whole component or a nested record or array.
namespace Brelk::Scene {

struct ComponentTypeEntry;

// The reserved path of an entity's name.
inline constexpr std::string_view kPrefabNameOverridePath = "NameComponent.name";
// The record a nested value is wrapped in, with the single field "value".
inline constexpr std::string_view kPrefabOverrideValueRecord = "PrefabOverrideValue";

// The text of records one after another.
[[nodiscard]] std::string RenderSchemaRecords(const std::vector<Reflection::SchemaRecord>& records);

// Reads override text: every record must start with `component_schema`. Throws
// std::runtime_error with the exact message.
[[nodiscard]] std::vector<Reflection::SchemaRecord> ParseOverrideRecords(std::string_view text);

// Puts one override on the records of one component. Throws std::runtime_error with the
// exact message when the override no longer fits the component.
void ApplyOverrideToRecords(std::vector<Reflection::SchemaRecord>& records, const ComponentTypeEntry& entry,
                            const std::string& path, const std::string& value);

// Appends to `out` the overrides that turn `expected` into `live`, both the rendered
// records of one component of the entity `localGuid`.
void DiffComponentRecords(const ComponentTypeEntry& entry, const Core::Guid& localGuid,
                          const std::vector<Reflection::SchemaRecord>& expected, const std::string& expectedText,
                          const std::vector<Reflection::SchemaRecord>& live, const std::string& liveText,
                          std::vector<PrefabOverride>& out);

} // namespace Brelk::Scene
