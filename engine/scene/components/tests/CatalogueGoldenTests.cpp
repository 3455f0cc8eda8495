#include "engine/core/NumberText.h"
#include "engine/reflection/ReflectionRegistry.h"
#include "engine/reflection/SchemaCodec.h"
#include "engine/reflection/SchemaRecordText.h"
#include "engine/scene/ComponentRegistry.h"
#include "engine/scene/InstallComponents.h"
#include "engine/scene/Registry.h"
#include "engine/scene/components/AiComponents.h"
#include "engine/scene/components/AnimationComponents.h"
#include "engine/scene/components/ClothComponent.h"
#include "engine/scene/components/CoreComponents.h"
#include "engine/scene/components/EnvironmentSettings.h"
#include "engine/scene/components/OceanComponent.h"
#include "engine/scene/components/ParticleComponents.h"
#include "engine/scene/components/PhysicsComponents.h"
#include "engine/scene/components/ScriptComponents.h"
#include "engine/scene/components/SplineComponents.h"
#include "engine/scene/components/TerrainComponent.h"
#include "engine/scene/components/VfxComponents.h"
#include "engine/scene/components/tests/CatalogueTestSupport.h"
#include "tests/support/TextCases.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <set>
#include <string>
#include <string_view>
#include <type_traits>
#include <unordered_map>
#include <vector>

// Every type of a family as one text: the reflected header, one line per property with all
// of its metadata (and the stored names of an enum where the file first meets it), the
// component's table entries, and the records that a default value saves. The expected texts
// are data files beside this test, one per family.
namespace Brelk::Scene {
namespace {

using Testing::InstalledReflection;

// Files store enumerator names, but saves and tools size their fields by these.
static_assert(std::is_same_v<std::underlying_type_t<GameplayLayer>, std::uint8_t>);
static_assert(std::is_same_v<std::underlying_type_t<TerrainSampleKind>, std::uint8_t>);

std::string Quoted(std::string_view text) {
    std::string out = "\"";
    Reflection::AppendEscapedSchemaToken(out, text);
    return out + '"';
}

std::string Float(float value) {
    char buffer[Core::kMaxNumberChars];
    return std::string(buffer, Core::FormatFloat9(buffer, value));
}

std::string FlagNames(std::uint32_t flags) {
    using Reflection::PropertyFlags;
    static constexpr std::pair<std::uint32_t, const char*> kNames[] = {
        {PropertyFlags::Hidden, "Hidden"}, {PropertyFlags::ReadOnly, "ReadOnly"},
        {PropertyFlags::Color, "Color"},   {PropertyFlags::Angle, "Angle"},
        {PropertyFlags::NotSaved, "NotSaved"}, {PropertyFlags::EntityReference, "EntityReference"},
    };
    std::string text;
    for (const auto& [bit, name] : kNames) {
        if ((flags & bit) != 0) text += (text.empty() ? "" : ",") + std::string(name);
        flags &= ~bit;
    }
    return flags == 0 ? text : text + (text.empty() ? "" : ",") + std::to_string(flags);
}

// `Float`, `Object[]` for a vector, `Object[32]` for a fixed array.
std::string KindText(const Reflection::ValueSchema& schema) {
    if (schema.shape != Reflection::SchemaShape::Collection) return Reflection::PropertyKindName(schema.kind);
    return KindText(*schema.element) + "[" + (schema.extent != 0 ? std::to_string(schema.extent) : "") + "]";
}

// "Stored=Shown" per enumerator, in order; a number out of its place shows as "#".
std::string DescribeEnum(const std::string& name) {
    const Reflection::EnumInfo* info = InstalledReflection().FindEnum(name);
    if (info == nullptr) return "missing enum " + name;
    std::string text = "enum " + name + " ";
    for (std::size_t i = 0; i < info->values.size(); ++i) {
        const Reflection::EnumValue& value = info->values[i];
        const bool inPlace = Reflection::EnumNumbersEqual(value.value, Reflection::EnumNumber(std::uint64_t{i}));
        text += (i > 0 ? "," : "") + (inPlace ? value.name : "#" + value.name);
        if (value.displayName != value.name) text += "=" + value.displayName;
    }
    return text;
}

// `enums` holds the enums the file has described: each is spelled out under its first field.
void DescribeProperty(std::string& out, const Reflection::PropertyInfo& property, std::set<std::string>& enums) {
    const Reflection::PropertyAttributes& attributes = property.attributes;
    out += "field " + Quoted(property.name) + ' ' + KindText(property.schema) + ' ' + Quoted(attributes.displayName);
    if (!attributes.category.empty()) out += " category " + Quoted(attributes.category);
    if (attributes.hasRange) out += " range " + Float(attributes.minimum) + ' ' + Float(attributes.maximum);
    if (attributes.flags != 0) out += " flags " + FlagNames(attributes.flags);
    if (!attributes.enumName.empty()) out += " enum " + attributes.enumName;
    if (!attributes.assetType.empty()) out += " asset " + attributes.assetType;
    if (attributes.sinceVersion != 1 || attributes.untilVersion != 0)
        out += " versions " + std::to_string(attributes.sinceVersion) + " " + std::to_string(attributes.untilVersion);
    if (!attributes.description.empty()) out += " description " + Quoted(attributes.description);
    out += '\n';
    if (!attributes.enumName.empty() && enums.insert(attributes.enumName).second)
        out += DescribeEnum(attributes.enumName) + '\n';
}

void DescribeComponent(std::string& out, const ComponentTypeEntry& entry) {
    out += "component " + std::to_string(entry.flags) + ' ' + Quoted(entry.description) + "\nrecords";
    for (const ComponentRecordSpec& spec : entry.records) out += ' ' + spec.name + (spec.repeatable ? "*" : "");
    out += '\n';
    if (!entry.saveGameFields.fields.empty()) {
        out += "save_game";
        for (const SaveGameField& field : entry.saveGameFields.fields) out += ' ' + field.name;
        out += '\n';
    }
    for (const ReplicatedField& field : entry.replicatedFields) {
        const ReplicationSettings& settings = field.settings;
        out += "replicated " + field.path + " mode " + std::to_string(settings.mode);
        if (settings.hasTolerance) out += " tolerance " + Float(settings.tolerance);
        if (settings.hasRange) out += " range " + Float(settings.minimum) + ' ' + Float(settings.maximum);
        out += '\n';
    }
    if (entry.HasFlag(ComponentFlags::RuntimeOnly) || entry.HasFlag(ComponentFlags::EntityHeader)) return;
    // The records a default entity holding the component saves.
    Registry registry;
    const Entity entity = registry.CreateEntity();
    entry.addDefault(registry, entity);
    for (const Reflection::SchemaRecord& record : Testing::SaveOne(registry, entity, entry.name))
        Reflection::AppendSchemaRecord(out, record);
}

// The records of default values keyed by record name.
template <class... T>
std::unordered_map<std::string, std::string> DefaultsOf() {
    return {{Testing::Encode(T{}).name, Reflection::FormatSchemaRecord(Testing::Encode(T{}))}...};
}

// The record of a default value of each value structure of the catalogue.
std::string ValueStructureDefault(const std::string& name) {
    static const std::unordered_map<std::string, std::string> kDefaults = DefaultsOf<
        Transform, PrefabOverride, PrefabComponentChange, PrefabInstanceRecord, PostProcessSettings,
        EnvironmentSettings, TerrainLayer, TerrainSampleCounts, TerrainSampleChunk, PhysicsMaterial, CollisionFilter,
        BuoyancyPoint, Physics::ClothSettings, Physics::ClothPinWeightCount, Physics::ClothPinWeightChunk,
        OceanWaveSettings, CurveKey, GradientKey, VfxParameterDefinition, VfxParameterBinding, VfxEventDefinition,
        VfxGraphNodeLayout, VfxParameterValue, ScriptFieldRecord, ScriptAttachmentRecord, ScriptComponentRecord,
        BonePose, AnimatorParameterValue, AnimatorBoneMaskRule, AnimatorLayer, AnimatorIkChain, AnimatorLookAtChain,
        RagdollBoneSettings, SplinePoint, SplineMeshSettings, SplineCurveRecord, SplineComponentRecord,
        BlackboardValue>();
    const auto found = kDefaults.find(name);
    return found != kDefaults.end() ? found->second : "no default value of " + name + "\n";
}

std::string DescribeType(const std::string& name, std::set<std::string>& enums) {
    const Reflection::TypeInfo* type = InstalledReflection().FindType(name);
    if (type == nullptr) return "missing type " + name + "\n";
    std::string out = "type " + Quoted(type->name) + ' ' + Quoted(type->displayName) + ' ' + Quoted(type->group) + ' ' +
                      std::to_string(type->version) + '\n';
    for (const Reflection::PropertyInfo& property : type->properties) DescribeProperty(out, property, enums);
    if (const ComponentTypeEntry* entry = ComponentRegistry::Instance().Find(name)) {
        DescribeComponent(out, *entry);
    } else {
        out += ValueStructureDefault(name);
    }
    return out + '\n';
}

// The golden files list the types they describe; each block starts with its `type` line.
std::vector<std::string> TypeNamesOf(const std::string& golden) {
    std::vector<std::string> names;
    Reflection::SchemaLineCursor lines(golden);
    std::string_view line;
    while (lines.NextLine(line)) {
        if (line.rfind("type \"", 0) == 0) names.emplace_back(line.substr(6, line.find('"', 6) - 6));
    }
    return names;
}

class CatalogueGoldenTests : public ::testing::TestWithParam<const char*> {};

TEST_P(CatalogueGoldenTests, EveryTypeOfTheFamilyMatchesItsGolden) {
    const std::filesystem::path path = std::filesystem::path(BRELK_TEST_DATA_DIR) / GetParam();
    std::string actual;
    std::set<std::string> enums;
    for (const std::string& name : TypeNamesOf(Brelk::Testing::ReadText(path))) actual += DescribeType(name, enums);
    ASSERT_FALSE(actual.empty()) << path;
    Brelk::Testing::ExpectGoldenText(path, actual);
}

INSTANTIATE_TEST_SUITE_P(Families, CatalogueGoldenTests,
                         ::testing::Values("CoreAndWorld.golden", "PhysicsAndWater.golden",
                                           "RenderingEffectsAudioUi.golden", "AnimationGameplayNavigationAi.golden"),
                         [](const ::testing::TestParamInfo<const char*>& info) {
                             const std::string_view name = info.param;
                             return std::string(name.substr(0, name.find('.')));
                         });

} // namespace
} // namespace Brelk::Scene
