#include "engine/reflection/ReflectedTypeBuilder.h"
#include "engine/reflection/ReflectionRegistry.h"
#include "engine/reflection/SchemaValidation.h"

#include <gtest/gtest.h>
#include <glm/ext/quaternion_float.hpp>
#include <glm/vec3.hpp>

#include <cstdint>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

namespace Brelk::Reflection {
namespace {

enum class Tint : std::uint8_t { Red, Green };
enum class Level : std::int32_t { Low, High };

struct Unlisted {
    float value = 0.0f;
};

struct Holder {
    bool flag = false;
    float ratio = 0.0f;
    glm::vec3 offset{0.0f};
    glm::quat rotation{1.0f, 0.0f, 0.0f, 0.0f};
    std::string label;
    Tint tint = Tint::Red;
    std::vector<Tint> tints;
    std::uint64_t mesh = 0;
    std::vector<Unlisted> items;
};

template <class F>
std::string InvalidArgumentOf(F&& call) {
    try {
        call();
    } catch (const std::invalid_argument& exception) {
        return exception.what();
    }
    return "no exception";
}

PropertyAttributes Interval(std::uint32_t since, std::uint32_t until) {
    PropertyAttributes attributes;
    attributes.sinceVersion = since;
    attributes.untilVersion = until;
    return attributes;
}

const ValueSchema kFloat = MakeValueSchema<float>(PropertyKind::Float);

TEST(ValidateProperty, AnIntervalThatEndsWhereItStartsIsRefused) {
    EXPECT_EQ(InvalidArgumentOf([] { ValidateProperty("speed", kFloat, Interval(3, 3)); }),
              "Property requires a name and valid schema-version interval: speed");
    EXPECT_EQ(InvalidArgumentOf([] { ValidateProperty("speed", kFloat, Interval(3, 2)); }),
              "Property requires a name and valid schema-version interval: speed");
}

TEST(ValidateProperty, AnIntervalThatEndsAfterItStartsOrNeverEndsPasses) {
    EXPECT_NO_THROW(ValidateProperty("speed", kFloat, Interval(3, 4)));
    EXPECT_NO_THROW(ValidateProperty("speed", kFloat, Interval(7, 0)));
}

TEST(ValidateProperty, AnEmptyNameOrSinceVersionZeroIsRefused) {
    EXPECT_EQ(InvalidArgumentOf([] { ValidateProperty("", kFloat, Interval(1, 0)); }),
              "Property requires a name and valid schema-version interval: ");
    EXPECT_EQ(InvalidArgumentOf([] { ValidateProperty("speed", kFloat, Interval(0, 0)); }),
              "Property requires a name and valid schema-version interval: speed");
}

TEST(ValidateProperty, EnumKindAndEnumNameMustCoincide) {
    const ValueSchema tint = MakeValueSchema<Tint>(PropertyKind::Enum);
    EXPECT_EQ(InvalidArgumentOf([&] { ValidateProperty("tint", tint, {}); }),
              "Enum property requires matching enum metadata: tint");
    EXPECT_EQ(InvalidArgumentOf([&] { ValidateProperty("ratio", kFloat, FieldAttr().Enum("Tint")); }),
              "Enum property requires matching enum metadata: ratio");
    EXPECT_NO_THROW(ValidateProperty("tint", tint, FieldAttr().Enum("Tint")));
}

TEST(ValidateProperty, AVectorOfEnumsNeedsItsEnumName) {
    const ValueSchema tints = MakeValueSchema<std::vector<Tint>>(PropertyKind::Enum);
    EXPECT_EQ(InvalidArgumentOf([&] { ValidateProperty("tints", tints, {}); }),
              "Enum property requires matching enum metadata: tints");
    EXPECT_NO_THROW(ValidateProperty("tints", tints, FieldAttr().Enum("Tint")));
}

TEST(ValidateProperty, AssetKindAndAssetTypeMustCoincide) {
    const ValueSchema asset = MakeValueSchema<std::uint64_t>(PropertyKind::Asset);
    const ValueSchema plain = MakeValueSchema<std::uint64_t>(PropertyKind::UInt64);
    EXPECT_EQ(InvalidArgumentOf([&] { ValidateProperty("mesh", asset, {}); }),
              "Asset property requires an asset-type constraint: mesh");
    EXPECT_EQ(InvalidArgumentOf([&] { ValidateProperty("count", plain, FieldAttr().AssetType("Mesh")); }),
              "Asset property requires an asset-type constraint: count");
    EXPECT_NO_THROW(ValidateProperty("mesh", asset, FieldAttr().AssetType("Mesh")));
}

TEST(ValidateProperty, ARangeOnABoolStringOrQuatIsRefused) {
    const FieldAttr range = FieldAttr().Range(0.0f, 1.0f);
    const ValueSchema boolean = MakeValueSchema<bool>(PropertyKind::Bool);
    const ValueSchema text = MakeValueSchema<std::string>(PropertyKind::String);
    const ValueSchema rotation = MakeValueSchema<glm::quat>(PropertyKind::Quat);
    const std::string message = "Property has an invalid numeric authoring range: p";
    EXPECT_EQ(InvalidArgumentOf([&] { ValidateProperty("p", boolean, range); }), message);
    EXPECT_EQ(InvalidArgumentOf([&] { ValidateProperty("p", text, range); }), message);
    EXPECT_EQ(InvalidArgumentOf([&] { ValidateProperty("p", rotation, range); }), message);
}

TEST(ValidateProperty, ARangeOnNumbersAndVectorsPasses) {
    const FieldAttr range = FieldAttr().Range(-1.0f, 1.0f);
    EXPECT_NO_THROW(ValidateProperty("p", MakeValueSchema<glm::vec3>(PropertyKind::Vec3), range));
    EXPECT_NO_THROW(ValidateProperty("p", MakeValueSchema<std::int32_t>(PropertyKind::Int), range));
    EXPECT_NO_THROW(ValidateProperty("p", MakeValueSchema<std::vector<float>>(PropertyKind::Float), range));
}

TEST(ValidateProperty, ARangeMustBeFiniteAndOrdered) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float infinity = std::numeric_limits<float>::infinity();
    const std::string message = "Property has an invalid numeric authoring range: p";
    EXPECT_EQ(InvalidArgumentOf([&] { ValidateProperty("p", kFloat, FieldAttr().Range(nan, 1.0f)); }), message);
    EXPECT_EQ(InvalidArgumentOf([&] { ValidateProperty("p", kFloat, FieldAttr().Range(0.0f, infinity)); }), message);
    EXPECT_EQ(InvalidArgumentOf([&] { ValidateProperty("p", kFloat, FieldAttr().Range(2.0f, 1.0f)); }), message);
    EXPECT_NO_THROW(ValidateProperty("p", kFloat, FieldAttr().Range(1.0f, 1.0f)));
}

TEST(ValidateProperty, RegistrationRunsTheSameChecks) {
    ReflectionRegistry registry;
    EXPECT_EQ(InvalidArgumentOf([&] {
                  registry.AddProperty<Holder, bool>("Holder", "flag", &Holder::flag, PropertyKind::Bool,
                                                     FieldAttr().Range(0.0f, 1.0f));
              }),
              "Property has an invalid numeric authoring range: flag");
}

class ValidateTable : public ::testing::Test {
protected:
    ValidateTable() {
        registry.RegisterAssetType("Mesh", 1);
        registry.RegisterEnum<Tint>("Tint", {EnumValueOf(Tint::Red, "Red"), EnumValueOf(Tint::Green, "Green")});
        registry.RegisterEnum<Level>("Level", {EnumValueOf(Level::Low, "Low"), EnumValueOf(Level::High, "High")});
        registry.RegisterType<Holder>("Holder", "Holder", "Test", 2);
    }

    std::string Failure() const {
        std::string error = "stale";
        const bool valid = registry.Validate(&error);
        return valid ? "valid" + error : error;
    }

    ReflectionRegistry registry;
};

TEST_F(ValidateTable, AConsistentTablePassesAndClearsTheError) {
    ReflectedTypeBuilder<Holder>("Holder", "Holder", "Test", registry)
        .Version(2)
        .Field("flag", &Holder::flag)
        .Field("tint", &Holder::tint, FieldAttr().Enum("Tint"))
        .Field("tints", &Holder::tints, FieldAttr().Enum("Tint"))
        .Field("mesh", &Holder::mesh, FieldAttr().AssetType("Mesh"))
        .Field("ratio", &Holder::ratio, FieldAttr().Since(2));
    EXPECT_EQ(Failure(), "valid");
    EXPECT_TRUE(registry.Validate(nullptr));
}

TEST_F(ValidateTable, ASinceVersionAboveTheTypeVersionFailsWithTypeAndProperty) {
    registry.AddProperty<Holder, float>("Holder", "ratio", &Holder::ratio, PropertyKind::Float, FieldAttr().Since(3));
    EXPECT_EQ(Failure(), "Holder.ratio: Property version exceeds the enclosing schema version.");
}

TEST_F(ValidateTable, AnUntilVersionAboveTheTypeVersionFails) {
    registry.AddProperty<Holder, float>("Holder", "ratio", &Holder::ratio, PropertyKind::Float, FieldAttr().Until(3));
    EXPECT_EQ(Failure(), "Holder.ratio: Property version exceeds the enclosing schema version.");
}

TEST_F(ValidateTable, AnUnregisteredStructureInAVectorFailsAtThePropertyThatHoldsIt) {
    registry.AddProperty<Holder, std::vector<Unlisted>>("Holder", "items", &Holder::items, PropertyKind::Object, {});
    EXPECT_EQ(Failure(), "Holder.items: Nested object schema has not been registered.");
    registry.RegisterType<Unlisted>("Unlisted");
    EXPECT_EQ(Failure(), "valid");
}

TEST_F(ValidateTable, ACustomPropertyCannotSurvive) {
    registry.AddProperty<Holder, float>("Holder", "ratio", &Holder::ratio, PropertyKind::Custom, {});
    EXPECT_EQ(Failure(), "Holder.ratio: Opaque custom property has no value schema.");
}

TEST_F(ValidateTable, AnAssetConstraintMustBeRegistered) {
    registry.AddProperty<Holder, std::uint64_t>("Holder", "mesh", &Holder::mesh, PropertyKind::Asset,
                                                FieldAttr().AssetType("Texture"));
    EXPECT_EQ(Failure(), "Holder.mesh: Asset-type constraint has not been registered.");
}

TEST_F(ValidateTable, AnEnumMustBeRegisteredForTheSameNativeType) {
    registry.AddProperty<Holder, Tint>("Holder", "tint", &Holder::tint, PropertyKind::Enum, FieldAttr().Enum("Level"));
    EXPECT_EQ(Failure(), "Holder.tint: Enum schema is missing or belongs to another C++ enum.");
    registry.FindType("Holder")->properties[0].attributes.enumName = "Missing";
    EXPECT_EQ(Failure(), "Holder.tint: Enum schema is missing or belongs to another C++ enum.");
}

TEST_F(ValidateTable, AnAccessorOfAnotherTypeFails) {
    registry.AddProperty<Holder, float>("Holder", "ratio", &Holder::ratio, PropertyKind::Float, {});
    registry.FindType("Holder")->properties[0].valueType = typeid(double);
    EXPECT_EQ(Failure(), "Holder.ratio: Property schema disagrees with its checked accessor.");
}

TEST_F(ValidateTable, PropertyChecksRunAgainOnTheStoredAttributes) {
    registry.AddProperty<Holder, bool>("Holder", "flag", &Holder::flag, PropertyKind::Bool, {});
    registry.FindType("Holder")->properties[0].attributes.hasRange = true;
    EXPECT_EQ(Failure(), "Holder.flag: Property has an invalid numeric authoring range: flag");
}

TEST_F(ValidateTable, TheFirstFailingPropertyEndsTheWalk) {
    registry.AddProperty<Holder, float>("Holder", "ratio", &Holder::ratio, PropertyKind::Custom, {});
    registry.AddProperty<Holder, std::uint64_t>("Holder", "mesh", &Holder::mesh, PropertyKind::Asset,
                                                FieldAttr().AssetType("Texture"));
    EXPECT_EQ(Failure(), "Holder.ratio: Opaque custom property has no value schema.");
}

TEST(RegisterEnum, ValuesMustFitTheEnumsStorage) {
    ReflectionRegistry registry;
    EXPECT_EQ(InvalidArgumentOf([&] {
                  registry.RegisterEnum<Tint>("Tint", {EnumValue{std::int64_t{256}, "Big", "Big"}});
              }),
              "Enum value is outside its C++ storage range: Tint");
    EXPECT_EQ(InvalidArgumentOf([&] {
                  registry.RegisterEnum<Tint>("Tint", {EnumValue{std::int64_t{-1}, "Minus", "Minus"}});
              }),
              "Enum value is outside its C++ storage range: Tint");
    EXPECT_EQ(InvalidArgumentOf([&] {
                  registry.RegisterEnum<Level>("Level", {EnumValue{std::uint64_t{2147483648u}, "Big", "Big"}});
              }),
              "Enum value is outside its C++ storage range: Level");
    EXPECT_NO_THROW(registry.RegisterEnum<Tint>("Tint", {EnumValue{std::uint64_t{255}, "Top", "Top"}}));
    EXPECT_NO_THROW(registry.RegisterEnum<Level>(
        "Level", {EnumValue{std::int64_t{-2147483647 - 1}, "Bottom", "Bottom"},
                  EnumValue{std::int64_t{2147483647}, "Top", "Top"}}));
}

TEST(RegisterEnum, ANameAndValuesAreRequired) {
    ReflectionRegistry registry;
    EXPECT_EQ(InvalidArgumentOf([&] { registry.RegisterEnum<Tint>("", {EnumValueOf(Tint::Red, "Red")}); }),
              "Enum schema requires a name and values.");
    EXPECT_EQ(InvalidArgumentOf([&] { registry.RegisterEnum<Tint>("Tint", {}); }),
              "Enum schema requires a name and values.");
}

TEST(RegisterEnum, TwoNamesForOneNumberPassButOneNameTwiceFails) {
    ReflectionRegistry registry;
    EXPECT_NO_THROW(registry.RegisterEnum<Tint>(
        "Tint", {EnumValue{std::uint64_t{1}, "A", "A"}, EnumValue{std::uint64_t{1}, "B", "B"}}));
    EXPECT_EQ(InvalidArgumentOf([&] {
                  registry.RegisterEnum<Tint>(
                      "Tint", {EnumValue{std::uint64_t{0}, "A", "A"}, EnumValue{std::uint64_t{1}, "A", "A"}});
              }),
              "Enum schema contains an empty or duplicate name: Tint");
    EXPECT_EQ(InvalidArgumentOf([&] { registry.RegisterEnum<Tint>("Tint", {EnumValue{std::uint64_t{0}, "", ""}}); }),
              "Enum schema contains an empty or duplicate name: Tint");
}

TEST(RegisterEnum, NameAndNativeTypeMustAgreeWithEarlierRegistrations) {
    ReflectionRegistry registry;
    registry.RegisterEnum<Tint>("Tint", {EnumValueOf(Tint::Red, "Red")});
    EXPECT_EQ(InvalidArgumentOf([&] { registry.RegisterEnum<Level>("Tint", {EnumValueOf(Level::Low, "Low")}); }),
              "Enum schema name and C++ type disagree: Tint");
    EXPECT_EQ(InvalidArgumentOf([&] { registry.RegisterEnum<Tint>("Colour", {EnumValueOf(Tint::Red, "Red")}); }),
              "Enum schema name and C++ type disagree: Colour");
    registry.RegisterEnum<Tint>("Tint", {EnumValueOf(Tint::Red, "Red"), EnumValueOf(Tint::Green, "Green")});
    ASSERT_NE(registry.FindEnum("Tint"), nullptr);
    EXPECT_EQ(registry.FindEnum("Tint")->values.size(), 2u);
}

TEST(EnumValues, LookupByNameIsExactAndByNumberComparesAcrossSignedness) {
    EnumInfo info;
    info.values = {EnumValue{std::int64_t{-1}, "Minus", "Minus"}, EnumValue{std::int64_t{3}, "Three", "Three"}};
    EXPECT_EQ(FindEnumValue(info, std::string_view("Three")), &info.values[1]);
    EXPECT_EQ(FindEnumValue(info, std::string_view("three")), nullptr);
    EXPECT_EQ(FindEnumValue(info, EnumNumber{std::uint64_t{3}}), &info.values[1]);
    EXPECT_EQ(FindEnumValue(info, EnumNumber{std::numeric_limits<std::uint64_t>::max()}), nullptr);
    EXPECT_EQ(FindEnumValue(info, EnumNumber{std::int64_t{-1}}), &info.values[0]);
}

TEST(RegisterAssetType, ANameAndANonzeroIdAreRequired) {
    ReflectionRegistry registry;
    EXPECT_EQ(InvalidArgumentOf([&] { registry.RegisterAssetType("", 1); }),
              "Asset schema requires a name and a nonzero native ID.");
    EXPECT_EQ(InvalidArgumentOf([&] { registry.RegisterAssetType("Mesh", 0); }),
              "Asset schema requires a name and a nonzero native ID.");
}

TEST(RegisterAssetType, NameAndIdMustPairAsBefore) {
    ReflectionRegistry registry;
    registry.RegisterAssetType("Mesh", 1);
    EXPECT_NO_THROW(registry.RegisterAssetType("Mesh", 1));
    EXPECT_EQ(InvalidArgumentOf([&] { registry.RegisterAssetType("Mesh", 2); }),
              "Asset schema name and native ID disagree: Mesh");
    EXPECT_EQ(InvalidArgumentOf([&] { registry.RegisterAssetType("Foo", 1); }),
              "Asset schema name and native ID disagree: Foo");
    ASSERT_NE(registry.FindAssetType("Mesh"), nullptr);
    EXPECT_EQ(registry.FindAssetType("Mesh")->nativeId, 1u);
    EXPECT_EQ(registry.FindAssetType("Foo"), nullptr);
}

} // namespace
} // namespace Brelk::Reflection
