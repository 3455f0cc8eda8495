#include "engine/reflection/ValueTraits.h"

#include "engine/core/Guid.h"

#include "tests/support/TextCases.h"

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

// The type's name and every kind from Bool (0) to EntityGuid (16) it may be registered as.
template <class V>
std::string AllowedKinds(std::string_view name) {
    std::string allowed(name);
    for (int kind = 0; kind <= static_cast<int>(PropertyKind::EntityGuid); ++kind) {
        try {
            (void)MakeValueSchema<V>(static_cast<PropertyKind>(kind));
            allowed += " " + std::to_string(kind);
        } catch (const std::invalid_argument& exception) {
            EXPECT_STREQ(exception.what(), "Reflection property kind does not match its C++ value type.");
        }
    }
    return allowed + "\n";
}

TEST(ValueTraits, EachNativeTypeAllowsItsKinds) {
    const std::string kinds =
        AllowedKinds<bool>("bool") + AllowedKinds<std::int32_t>("int32") + AllowedKinds<std::uint32_t>("uint32") +
        AllowedKinds<std::uint64_t>("uint64") + AllowedKinds<float>("float") + AllowedKinds<std::string>("string") +
        AllowedKinds<glm::vec2>("vec2") + AllowedKinds<glm::vec3>("vec3") + AllowedKinds<glm::vec4>("vec4") +
        AllowedKinds<glm::quat>("quat") + AllowedKinds<Core::Guid>("Guid") + AllowedKinds<Shape>("enum") +
        AllowedKinds<Point>("struct") + AllowedKinds<std::vector<std::uint32_t>>("vector<uint32>");
    Testing::ExpectGoldenText(std::string(BRELK_TEST_DATA_DIR) + "/AllowedKinds.txt", kinds);
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
    // Visits in range are the codec's every collection; one past the end visits nothing.
    std::vector<float> values{1.0f, 2.0f};
    bool visited = false;
    EXPECT_FALSE(floats.visitConst(&values, 2, [&](const ObjectView&) { visited = true; }) ||
                 floats.visitMutable(&values, 2, [&](const ObjectView&) { visited = true; }));
    EXPECT_FALSE(visited);
}

} // namespace
} // namespace Brelk::Reflection
