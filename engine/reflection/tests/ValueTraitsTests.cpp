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

TEST(ValueTraits, SchemasTakeTheirShapeAndCollectionsChainTheirElementSchemas) {
    EXPECT_EQ(MakeValueSchema<Point>(PropertyKind::Object).shape, SchemaShape::Object);
    EXPECT_EQ(MakeValueSchema<Point>(PropertyKind::Custom).shape, SchemaShape::Scalar);
    const ValueSchema schema = MakeValueSchema<std::vector<std::array<Shape, 32>>>(PropertyKind::Enum);
    EXPECT_EQ(schema.shape, SchemaShape::Collection);
    EXPECT_EQ(schema.kind, PropertyKind::Custom);
    ASSERT_TRUE(schema.element);
    EXPECT_EQ(schema.element->extent, 32u);
    EXPECT_EQ(InnermostSchema(schema).type, std::type_index(typeid(Shape)));
    EXPECT_EQ(InnermostSchema(schema).kind, PropertyKind::Enum);
}

TEST(ValueTraits, FieldsTakeTheNaturalKindOfTheirType) {
    PropertyAttributes none, asset, entity;
    asset.assetType = "Mesh";
    entity.kind = PropertyKind::Entity;
    entity.hasKind = true;
    EXPECT_EQ(DefaultPropertyKind<std::uint64_t>(none), PropertyKind::UInt64);
    EXPECT_EQ(DefaultPropertyKind<std::vector<std::uint64_t>>(asset), PropertyKind::Asset);
    EXPECT_EQ(DefaultPropertyKind<Shape>(none), PropertyKind::Enum);
    EXPECT_EQ(DefaultPropertyKind<std::vector<Point>>(none), PropertyKind::Object);
    EXPECT_EQ(ResolvePropertyKind<std::uint32_t>(entity), PropertyKind::Entity);
}

TEST(ValueTraits, OperationsAcceptOnlyTheirOwnSchemaAndVisitInRange) {
    const ObjectViewOperations& floats = ViewOperationsFor<std::vector<float>>();
    ValueSchema rebuilt = MakeValueSchema<std::vector<float>>(PropertyKind::Float);
    rebuilt.element = std::make_shared<const ValueSchema>(MakeValueSchema<float>(PropertyKind::Float));
    EXPECT_TRUE(floats.accepts(rebuilt));
    rebuilt.element = std::make_shared<const ValueSchema>(MakeValueSchema<std::int32_t>(PropertyKind::Int));
    EXPECT_FALSE(floats.accepts(rebuilt));
    EXPECT_FALSE(floats.accepts(MakeValueSchema<float>(PropertyKind::Float)));
    using Four = std::array<float, 4>;
    EXPECT_FALSE(ViewOperationsFor<Four>().accepts(MakeValueSchema<std::array<float, 3>>(PropertyKind::Float)));
    std::vector<float> values{1.0f, 2.0f};
    const void* seen = nullptr;
    EXPECT_TRUE(floats.visitConst(&values, 1, [&](const ObjectView& view) { seen = view.constData; }));
    EXPECT_EQ(seen, &values[1]);
    EXPECT_FALSE(floats.visitMutable(&values, 2, [&](const ObjectView&) { seen = nullptr; }));
    EXPECT_EQ(seen, &values[1]);
}

} // namespace
} // namespace Brelk::Reflection
