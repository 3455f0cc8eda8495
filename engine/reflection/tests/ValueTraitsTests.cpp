#include "engine/reflection/ValueTraits.h"

#include "engine/core/Guid.h"

#include <gtest/gtest.h>
#include <glm/ext/quaternion_float.hpp>
#include <glm/vec2.hpp>
#include <glm/vec3.hpp>
#include <glm/vec4.hpp>

#include <array>
#include <memory>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

namespace Brelk::Reflection {
namespace {

enum class Shape : std::uint8_t { Box, Sphere };

struct Point {
    float x = 0.0f;
};

constexpr PropertyKind kAllKinds[] = {
    PropertyKind::Bool,  PropertyKind::Int,    PropertyKind::UInt,       PropertyKind::UInt64, PropertyKind::Float,
    PropertyKind::String, PropertyKind::Vec2,  PropertyKind::Vec3,       PropertyKind::Vec4,   PropertyKind::Quat,
    PropertyKind::Enum,  PropertyKind::Asset,  PropertyKind::Entity,     PropertyKind::Guid,   PropertyKind::Custom,
    PropertyKind::Object, PropertyKind::EntityGuid,
};

template <class V>
std::vector<int> AllowedKinds() {
    std::vector<int> allowed;
    for (const PropertyKind kind : kAllKinds) {
        try {
            (void)MakeValueSchema<V>(kind);
            allowed.push_back(static_cast<int>(kind));
        } catch (const std::invalid_argument& exception) {
            EXPECT_STREQ(exception.what(), "Reflection property kind does not match its C++ value type.");
        }
    }
    return allowed;
}

TEST(ValueTraits, EachNativeTypeAllowsItsKinds) {
    using Kinds = std::vector<int>;
    EXPECT_EQ(AllowedKinds<bool>(), (Kinds{0, 14}));
    EXPECT_EQ(AllowedKinds<std::int32_t>(), (Kinds{1, 14}));
    EXPECT_EQ(AllowedKinds<std::uint32_t>(), (Kinds{2, 12, 14}));
    EXPECT_EQ(AllowedKinds<std::uint64_t>(), (Kinds{3, 11, 14}));
    EXPECT_EQ(AllowedKinds<float>(), (Kinds{4, 14}));
    EXPECT_EQ(AllowedKinds<std::string>(), (Kinds{5, 14, 15}));
    EXPECT_EQ(AllowedKinds<glm::vec2>(), (Kinds{6, 14, 15}));
    EXPECT_EQ(AllowedKinds<glm::vec3>(), (Kinds{7, 14, 15}));
    EXPECT_EQ(AllowedKinds<glm::vec4>(), (Kinds{8, 14, 15}));
    EXPECT_EQ(AllowedKinds<glm::quat>(), (Kinds{9, 14, 15}));
    EXPECT_EQ(AllowedKinds<Core::Guid>(), (Kinds{13, 14, 15}));
    EXPECT_EQ(AllowedKinds<Shape>(), (Kinds{10, 14}));
    EXPECT_EQ(AllowedKinds<Point>(), (Kinds{14, 15}));
    EXPECT_EQ(AllowedKinds<std::vector<std::uint32_t>>(), (Kinds{2, 12, 14}));
}

TEST(ValueTraits, TheShapeOfAScalarSchemaFollowsItsKind) {
    EXPECT_EQ(MakeValueSchema<Point>(PropertyKind::Object).shape, SchemaShape::Object);
    EXPECT_EQ(MakeValueSchema<Point>(PropertyKind::Custom).shape, SchemaShape::Scalar);
    EXPECT_EQ(MakeValueSchema<std::string>(PropertyKind::String).shape, SchemaShape::Scalar);
    const ValueSchema schema = MakeValueSchema<float>(PropertyKind::Float);
    EXPECT_EQ(schema.type, std::type_index(typeid(float)));
    EXPECT_EQ(schema.extent, 0u);
    EXPECT_FALSE(schema.element);
}

TEST(ValueTraits, CollectionsChainTheirElementSchemas) {
    const ValueSchema schema = MakeValueSchema<std::vector<std::array<Shape, 32>>>(PropertyKind::Enum);
    EXPECT_EQ(schema.shape, SchemaShape::Collection);
    EXPECT_EQ(schema.kind, PropertyKind::Custom);
    EXPECT_EQ(schema.extent, 0u);
    ASSERT_TRUE(schema.element);
    EXPECT_EQ(schema.element->shape, SchemaShape::Collection);
    EXPECT_EQ(schema.element->extent, 32u);
    const ValueSchema& leaf = InnermostSchema(schema);
    EXPECT_EQ(leaf.kind, PropertyKind::Enum);
    EXPECT_EQ(leaf.type, std::type_index(typeid(Shape)));
}

TEST(ValueTraits, FieldsTakeTheNaturalKindOfTheirType) {
    PropertyAttributes none;
    PropertyAttributes asset;
    asset.assetType = "Mesh";
    EXPECT_EQ(DefaultPropertyKind<std::uint64_t>(none), PropertyKind::UInt64);
    EXPECT_EQ(DefaultPropertyKind<std::uint64_t>(asset), PropertyKind::Asset);
    EXPECT_EQ(DefaultPropertyKind<std::vector<std::uint64_t>>(asset), PropertyKind::Asset);
    EXPECT_EQ(DefaultPropertyKind<std::uint32_t>(none), PropertyKind::UInt);
    EXPECT_EQ(DefaultPropertyKind<Shape>(none), PropertyKind::Enum);
    EXPECT_EQ(DefaultPropertyKind<Point>(none), PropertyKind::Object);
    EXPECT_EQ(DefaultPropertyKind<std::vector<Point>>(none), PropertyKind::Object);
    PropertyAttributes entity;
    entity.kind = PropertyKind::Entity;
    entity.hasKind = true;
    EXPECT_EQ(ResolvePropertyKind<std::uint32_t>(entity), PropertyKind::Entity);
}

TEST(ValueTraits, OperationsAcceptOnlyTheirOwnSchema) {
    const ObjectViewOperations& floats = ViewOperationsFor<std::vector<float>>();
    EXPECT_TRUE(floats.accepts(MakeValueSchema<std::vector<float>>(PropertyKind::Float)));
    ValueSchema rebuiltElement = MakeValueSchema<std::vector<float>>(PropertyKind::Float);
    rebuiltElement.element = std::make_shared<const ValueSchema>(MakeValueSchema<float>(PropertyKind::Float));
    EXPECT_TRUE(floats.accepts(rebuiltElement));
    ValueSchema foreignElement = rebuiltElement;
    foreignElement.element = std::make_shared<const ValueSchema>(MakeValueSchema<std::int32_t>(PropertyKind::Int));
    EXPECT_FALSE(floats.accepts(foreignElement));
    EXPECT_FALSE(floats.accepts(MakeValueSchema<std::vector<std::int32_t>>(PropertyKind::Int)));
    EXPECT_FALSE(floats.accepts(MakeValueSchema<float>(PropertyKind::Float)));
    ValueSchema wrongShape = MakeValueSchema<Point>(PropertyKind::Object);
    wrongShape.shape = SchemaShape::Scalar;
    EXPECT_FALSE(ViewOperationsFor<Point>().accepts(wrongShape));
    EXPECT_EQ(floats.shape, 2);
    EXPECT_EQ(ViewOperationsFor<float>().shape, 0);
}

TEST(ValueTraits, AFixedArrayResizesOnlyToItsExtent) {
    std::array<float, 4> values{};
    const ObjectViewOperations& operations = ViewOperationsFor<std::array<float, 4>>();
    EXPECT_EQ(operations.size(&values), 4u);
    EXPECT_TRUE(operations.resize(&values, 4));
    EXPECT_FALSE(operations.resize(&values, 3));
    EXPECT_FALSE(operations.accepts(MakeValueSchema<std::array<float, 3>>(PropertyKind::Float)));
}

TEST(ValueTraits, AVectorGrowsWithDefaultConstructedElementsAndVisitsInRange) {
    struct Spaced {
        float value = 7.0f;
    };
    std::vector<Spaced> values;
    const ObjectViewOperations& operations = ViewOperationsFor<std::vector<Spaced>>();
    EXPECT_TRUE(operations.resize(&values, 2));
    ASSERT_EQ(values.size(), 2u);
    EXPECT_EQ(values[1].value, 7.0f);
    const void* seen = nullptr;
    EXPECT_TRUE(operations.visitConst(&values, 1, [&](const ObjectView& view) { seen = view.constData; }));
    EXPECT_EQ(seen, &values[1]);
    EXPECT_FALSE(operations.visitMutable(&values, 2, [&](const ObjectView&) { seen = nullptr; }));
    EXPECT_EQ(seen, &values[1]);
}

TEST(ValueTraits, EnumOperationsRefuseNumbersOutsideTheStorage) {
    Shape shape = Shape::Box;
    const ObjectViewOperations& operations = ViewOperationsFor<Shape>();
    EXPECT_TRUE(operations.setEnumValue(&shape, EnumValue{std::int64_t{1}, "Sphere", "Sphere"}));
    EXPECT_EQ(shape, Shape::Sphere);
    EXPECT_FALSE(operations.setEnumValue(&shape, EnumValue{std::uint64_t{256}, "Big", "Big"}));
    EXPECT_EQ(shape, Shape::Sphere);
    EXPECT_TRUE(EnumNumbersEqual(operations.getEnumValue(&shape), EnumNumber{std::uint64_t{1}}));
}

} // namespace
} // namespace Brelk::Reflection
