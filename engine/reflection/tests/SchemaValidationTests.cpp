#include "engine/reflection/ReflectedTypeBuilder.h"
#include "engine/reflection/ReflectionRegistry.h"
#include "engine/reflection/SchemaValidation.h"

#include "tests/support/TestSupport.h"

#include <gtest/gtest.h>
#include <glm/vec3.hpp>

#include <cstdint>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace Brelk::Reflection {
namespace {

using Testing::ThrownMessage;

enum class Tint : std::uint8_t { Red, Green };
enum class Level : std::int32_t { Low, High };

struct Unlisted {
    float value = 0.0f;
};

struct Holder {
    bool flag = false;
    float ratio = 0.0f;
    Tint tint = Tint::Red;
    std::vector<Tint> tints;
    std::uint64_t mesh = 0;
    std::vector<Unlisted> items;
};

FieldAttr Interval(std::uint32_t since, std::uint32_t until) { return FieldAttr().Since(since).Until(until); }

TEST(ValidateProperty, RefusesInconsistentMetadataWithItsExactMessage) {
    const ValueSchema real = MakeValueSchema<float>(PropertyKind::Float);
    const std::string interval = "Property requires a name and valid schema-version interval: ";
    const std::string enumMeta = "Enum property requires matching enum metadata: ";
    const std::string assetMeta = "Asset property requires an asset-type constraint: ";
    const std::string range = "Property has an invalid numeric authoring range: ";
    const std::string passes = "<no exception>";
    const struct {
        const char* name;
        ValueSchema schema;
        PropertyAttributes attributes;
        std::string message;
    } cases[] = {
        {"speed", real, Interval(3, 3), interval + "speed"},
        {"", real, Interval(1, 0), interval},
        {"speed", real, Interval(0, 0), interval + "speed"},
        {"tint", MakeValueSchema<Tint>(PropertyKind::Enum), {}, enumMeta + "tint"},
        {"ratio", real, FieldAttr().Enum("Tint"), enumMeta + "ratio"},
        {"mesh", MakeValueSchema<std::uint64_t>(PropertyKind::Asset), {}, assetMeta + "mesh"},
        {"n", MakeValueSchema<std::uint64_t>(PropertyKind::UInt64), FieldAttr().AssetType("Mesh"), assetMeta + "n"},
        {"p", MakeValueSchema<bool>(PropertyKind::Bool), FieldAttr().Range(0.0f, 1.0f), range + "p"},
        {"p", MakeValueSchema<glm::vec3>(PropertyKind::Vec3), FieldAttr().Range(-1.0f, 1.0f), passes},
        {"p", MakeValueSchema<std::vector<float>>(PropertyKind::Float), FieldAttr().Range(-1.0f, 1.0f), passes},
        {"p", real, FieldAttr().Range(std::numeric_limits<float>::quiet_NaN(), 1.0f), range + "p"},
        {"p", real, FieldAttr().Range(2.0f, 1.0f), range + "p"},
        {"p", real, FieldAttr().Range(1.0f, 1.0f), passes},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(ThrownMessage([&] { ValidateProperty(c.name, c.schema, c.attributes); }), c.message)
            << c.name << " -> " << c.message;
    }
    EXPECT_THROW(ValidateProperty("", real, {}), std::invalid_argument);
}

std::unique_ptr<ReflectionRegistry> TableRegistry() {
    auto registry = std::make_unique<ReflectionRegistry>();
    registry->RegisterAssetType("Mesh", 1);
    registry->RegisterEnum<Tint>("Tint", {EnumValueOf(Tint::Red, "Red"), EnumValueOf(Tint::Green, "Green")});
    registry->RegisterEnum<Level>("Level", {EnumValueOf(Level::Low, "Low"), EnumValueOf(Level::High, "High")});
    return registry;
}

std::string Failure(const ReflectionRegistry& registry) {
    std::string error = "stale";
    return registry.Validate(&error) ? "valid" + error : error;
}

TEST(ValidateTable, TheFirstInconsistentPropertyFailsWithTypeAndPropertyNameAndAConsistentOnePasses) {
    using Builder = ReflectedTypeBuilder<Holder>;
    const std::string enumSchema = "Holder.tint: Enum schema is missing or belongs to another C++ enum.";
    const std::pair<void (*)(Builder&), std::string> cases[] = {
        {[](Builder& h) { h.Field("ratio", &Holder::ratio, FieldAttr().Since(3)); },
         "Holder.ratio: Property version exceeds the enclosing schema version."},
        {[](Builder& h) { h.Field("items", &Holder::items); },
         "Holder.items: Nested object schema has not been registered."},
        {[](Builder& h) { h.Field("mesh", &Holder::mesh, FieldAttr().AssetType("Texture")); },
         "Holder.mesh: Asset-type constraint has not been registered."},
        {[](Builder& h) { h.Field("tint", &Holder::tint, FieldAttr().Enum("Level")); }, enumSchema},
        {[](Builder& h) {
             h.Field("tint", &Holder::tint, FieldAttr().Enum("Tint")).Type().properties[0].attributes.enumName = "Gone";
         },
         enumSchema},
        {[](Builder& h) { h.Field("ratio", &Holder::ratio).Type().properties[0].valueType = typeid(double); },
         "Holder.ratio: Property schema disagrees with its checked accessor."},
        {[](Builder& h) { h.Field("flag", &Holder::flag).Type().properties[0].attributes.hasRange = true; },
         "Holder.flag: Property has an invalid numeric authoring range: flag"},
        {[](Builder& h) {
             h.Field("ratio", &Holder::ratio, FieldAttr().Kind(PropertyKind::Custom))
                 .Field("mesh", &Holder::mesh, FieldAttr().AssetType("Texture"));
         },
         "Holder.ratio: Opaque custom property has no value schema."},
    };
    for (const auto& [add, message] : cases) {
        const auto registry = TableRegistry();
        add(Builder("Holder", "Holder", "Test", *registry).Version(2));
        EXPECT_EQ(Failure(*registry), message);
    }
    const auto registry = TableRegistry();
    Builder("Holder", "Holder", "Test", *registry)
        .Version(2)
        .Field("tint", &Holder::tint, FieldAttr().Enum("Tint"))
        .Field("tints", &Holder::tints, FieldAttr().Enum("Tint"))
        .Field("mesh", &Holder::mesh, FieldAttr().AssetType("Mesh"))
        .Field("ratio", &Holder::ratio, FieldAttr().Since(2))
        .Field("items", &Holder::items);
    registry->RegisterType<Unlisted>("Unlisted");
    EXPECT_EQ(Failure(*registry), "valid");
    EXPECT_TRUE(registry->Validate(nullptr));
}

// Lookup by name is the codec's (an enum's names are case-sensitive leaf texts there).
TEST(EnumValues, LookupByNumberComparesAcrossSignedness) {
    EnumInfo info;
    info.values = {EnumValue{std::int64_t{-1}, "Minus", "Minus"}, EnumValue{std::int64_t{3}, "Three", "Three"}};
    EXPECT_EQ(FindEnumValue(info, EnumNumber{std::uint64_t{3}}), &info.values[1]);
    EXPECT_EQ(FindEnumValue(info, EnumNumber{std::numeric_limits<std::uint64_t>::max()}), nullptr);
    EXPECT_EQ(FindEnumValue(info, EnumNumber{std::int64_t{-1}}), &info.values[0]);
}

} // namespace
} // namespace Brelk::Reflection
