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

// Every kind from Bool (0) to EntityGuid (16) that the type may be registered as.
template <class V>
std::vector<int> AllowedKinds() {
    std::vector<int> allowed;
    for (int kind = 0; kind <= static_cast<int>(PropertyKind::EntityGuid); ++kind) {
        try {
            (void)MakeValueSchema<V>(static_cast<PropertyKind>(kind));
            allowed.push_back(kind);
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
    EXPECT_FALSE(floats.visitConst(&values, 2, [&](const ObjectView&) { seen = nullptr; }) ||
                 floats.visitMutable(&values, 2, [&](const ObjectView&) { seen = nullptr; }));
    EXPECT_EQ(seen, &values[1]);
}

} // namespace
} // namespace Brelk::Reflection
