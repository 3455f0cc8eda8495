#include "engine/reflection/ReflectedTypeBuilder.h"
#include "engine/reflection/ReflectionRegistry.h"

#include "engine/core/Guid.h"

#include "tests/support/TestSupport.h"

#include <gtest/gtest.h>
#include <glm/vec3.hpp>

#include <cstring>
#include <stdexcept>
#include <string>
#include <vector>

namespace Brelk::Reflection {
namespace {

using Testing::ThrownMessage;

enum class Mood : std::uint8_t { Calm, Angry };

struct Pose {
    glm::vec3 position{0.0f};
    glm::vec3 scale{1.0f};
    float weight = 0.5f;
    Mood mood = Mood::Angry;
    std::vector<float> samples{1.0f, 2.0f};
    bool locked = true;
};

struct Other {
    int value = 0;
};

TEST(ReflectionRegistry, RegisteringATypeUnderANewNameForgetsTheOldNameAndKeepsTheProperties) {
    ReflectionRegistry registry;
    registry.RegisterType<Pose>("Pose", "Pose", "Core", 1);
    registry.AddProperty<Pose, float>("Pose", "weight", &Pose::weight, PropertyKind::Float, {});
    registry.RegisterType<Pose>("BodyPose", "", "Core", 2);
    EXPECT_EQ(registry.FindType("Pose"), nullptr);
    const TypeInfo* info = registry.FindType("BodyPose");
    ASSERT_NE(info, nullptr);
    EXPECT_EQ(info, registry.FindType(typeid(Pose)));
    EXPECT_EQ(info->version, 2u);
    ASSERT_EQ(info->properties.size(), 1u);
    EXPECT_EQ(info->properties[0].name, "weight");
}

TEST(ReflectionRegistry, RegisteringATypeTwiceUnderOneNameTakesTheLaterVersionAndGroup) {
    ReflectionRegistry registry;
    registry.RegisterType<Pose>("Pose", "Pose", "Core", 1);
    TypeInfo& info = registry.RegisterType<Pose>("Pose", "Pose", "Animation", 3);
    EXPECT_EQ(info.version, 3u);
    EXPECT_EQ(info.group, "Animation");
}

TEST(ReflectionRegistry, InconsistentRegistrationsFailWithTheirExactMessage) {
    using Call = void (*)(ReflectionRegistry&);
    const std::pair<Call, std::string> cases[] = {
        {[](ReflectionRegistry& r) { r.RegisterType<Other>("Pose"); },
         "Reflection type name already belongs to another C++ type: Pose"},
        {[](ReflectionRegistry& r) { r.RegisterType<Pose>("", "", "", 1); },
         "Reflection schema requires a name and a positive version."},
        {[](ReflectionRegistry& r) { r.RegisterType<Pose>("Pose", "", "", 0); },
         "Reflection schema requires a name and a positive version."},
        {[](ReflectionRegistry& r) {
             r.AddProperty<Pose, float>("Pose", "weight", &Pose::weight, PropertyKind::Int, {});
         },
         "Reflection property kind does not match its C++ value type."},
        {[](ReflectionRegistry& r) {
             r.AddProperty<Pose, bool>("Pose", "locked", &Pose::locked, PropertyKind::Object, {});
         },
         "Reflection property kind does not match its C++ value type."},
        {[](ReflectionRegistry& r) { r.AddProperty<Pose, float>("Pose", "weight", nullptr, PropertyKind::Float, {}); },
         "Reflection property requires a member pointer: weight"},
        {[](ReflectionRegistry& r) {
             r.RegisterType<Other>("Other");
             r.AddProperty<Pose, float>("Other", "weight", &Pose::weight, PropertyKind::Float, {});
         },
         "Reflection property owner does not match type: Other"},
        {[](ReflectionRegistry& r) {
             r.AddProperty<Pose, float>("Pose", "weight", &Pose::weight, PropertyKind::Float, {});
             r.AddProperty<Pose, bool>("Pose", "weight", &Pose::locked, PropertyKind::Bool, {});
         },
         "Duplicate reflection property: Pose.weight"},
        {[](ReflectionRegistry& r) { r.AddOffsetProperty<float>("Acme.Door", "open", 0, PropertyKind::Float, {}, 1.0f); },
         "Reflection offset property needs a registered owner type: Acme.Door"},
        {[](ReflectionRegistry& r) { ReflectedTypeBuilder<Other>("Other", "", "", r).Version(0); },
         "Value schema versions start at 1: Other"},
    };
    for (const auto& [call, message] : cases) {
        ReflectionRegistry registry;
        registry.RegisterType<Pose>("Pose");
        EXPECT_EQ(ThrownMessage([&] { call(registry); }), message);
        EXPECT_EQ(registry.FindType(typeid(Other)) == nullptr, message.find("Other") == std::string::npos) << message;
        EXPECT_LE(registry.FindType("Pose")->properties.size(), 1u);
    }
    ReflectionRegistry registry;
    EXPECT_THROW(registry.RegisterType<Pose>("", "", "", 1), std::invalid_argument);
}

TEST(ReflectionRegistry, APropertyAddedBeforeItsTypeCreatesTheTypeAtVersionOne) {
    ReflectionRegistry registry;
    registry.AddProperty<Pose, float>("Pose", "weight", &Pose::weight, PropertyKind::Float, {});
    const TypeInfo* created = registry.FindType("Pose");
    ASSERT_NE(created, nullptr);
    EXPECT_EQ(created->version, 1u);
    EXPECT_EQ(created->displayName, "Pose");
    EXPECT_EQ(created->group, "");
    EXPECT_EQ(created->properties[0].attributes.displayName, "weight");
    registry.RegisterType<Pose>("Pose", "Body Pose", "Animation", 4);
    EXPECT_EQ(created->version, 4u);
    EXPECT_EQ(created->displayName, "Body Pose");
    EXPECT_EQ(created->properties.size(), 1u);
}

TEST(ReflectionRegistry, TheSchemaDefaultIsWhatTheDefaultConstructorGivesTheMember) {
    ReflectionRegistry registry;
    registry.AddProperty<Pose, std::vector<float>>("Pose", "samples", &Pose::samples, PropertyKind::Float, {});
    const PropertyInfo& property = registry.FindType("Pose")->properties[0];
    const auto* stored = std::any_cast<std::vector<float>>(&property.defaultValue);
    ASSERT_NE(stored, nullptr);
    EXPECT_EQ(*stored, (std::vector<float>{1.0f, 2.0f}));
    EXPECT_EQ(property.size, sizeof(std::vector<float>));
    EXPECT_EQ(property.schema.shape, SchemaShape::Collection);
    EXPECT_EQ(property.schema.kind, PropertyKind::Custom);
    ASSERT_TRUE(property.schema.element);
    EXPECT_EQ(property.schema.element->kind, PropertyKind::Float);
}

TEST(ReflectionRegistry, ApplyDefaultRestoresAChangedMemberSoThatItComparesEqualAgain) {
    ReflectionRegistry registry;
    registry.AddProperty<Pose, glm::vec3>("Pose", "scale", &Pose::scale, PropertyKind::Vec3, {});
    const PropertyInfo& property = registry.FindType("Pose")->properties[0];
    Pose pose;
    pose.scale = glm::vec3(2.0f);
    EXPECT_FALSE(property.EqualsDefault(MakeConstView(pose)));
    EXPECT_TRUE(property.ApplyDefault(MakeView(pose)));
    EXPECT_EQ(pose.scale, glm::vec3(1.0f));
    EXPECT_TRUE(property.EqualsDefault(MakeConstView(pose)));
}

TEST(ReflectionRegistry, ApplyDefaultOnAReadOnlyPropertyReturnsFalse) {
    ReflectionRegistry registry;
    registry.AddProperty<Pose, float>("Pose", "weight", &Pose::weight, PropertyKind::Float,
                                      FieldAttr().ReadOnly());
    const PropertyInfo& property = registry.FindType("Pose")->properties[0];
    Pose pose;
    pose.weight = 3.0f;
    EXPECT_FALSE(property.ApplyDefault(MakeView(pose)));
    EXPECT_EQ(pose.weight, 3.0f);
    EXPECT_TRUE(property.MutableView(MakeView(pose)).IsNull());
    EXPECT_FALSE(property.ConstView(MakeView(pose)).IsNull());
}

TEST(ReflectionRegistry, CheckedAccessRefusesAViewOfAnotherTypeOrWithoutStorage) {
    ReflectionRegistry registry;
    registry.AddProperty<Pose, float>("Pose", "weight", &Pose::weight, PropertyKind::Float, {});
    const PropertyInfo& property = registry.FindType("Pose")->properties[0];
    Other other;
    Pose pose;
    EXPECT_TRUE(property.ConstView(MakeConstView(other)).IsNull());
    EXPECT_TRUE(property.MutableView(MakeConstView(pose)).IsNull());
    EXPECT_FALSE(property.ApplyDefault(MakeConstView(pose)));
    EXPECT_FALSE(property.EqualsDefault(ObjectView{}));
    const ObjectView view = property.MutableView(MakeView(pose));
    ASSERT_FALSE(view.IsNull());
    EXPECT_EQ(view.type, std::type_index(typeid(float)));
    EXPECT_EQ(view.mutableData, &pose.weight);
}

TEST(ReflectionRegistry, AnEnumPropertyReadsAndWritesItsNumber) {
    ReflectionRegistry registry;
    registry.AddProperty<Pose, Mood>("Pose", "mood", &Pose::mood, PropertyKind::Enum, FieldAttr().Enum("Mood"));
    const PropertyInfo& property = registry.FindType("Pose")->properties[0];
    Pose pose;
    const auto number = property.GetEnumValue(MakeConstView(pose));
    ASSERT_TRUE(number.has_value());
    EXPECT_TRUE(EnumNumbersEqual(*number, EnumNumber{std::uint64_t{1}}));
    EXPECT_TRUE(property.SetEnumValue(MakeView(pose), EnumNumber{std::int64_t{0}}));
    EXPECT_EQ(pose.mood, Mood::Calm);
    EXPECT_FALSE(property.SetEnumValue(MakeView(pose), EnumNumber{std::int64_t{256}}));
    EXPECT_FALSE(property.SetEnumValue(MakeView(pose), EnumNumber{std::int64_t{-1}}));
    EXPECT_EQ(pose.mood, Mood::Calm);
}

TEST(ReflectionRegistry, TypesAreListedByGroupThenDisplayNameWhateverTheRegistrationOrder) {
    struct Camera {};
    struct RigidBody {};
    struct Light {};
    ReflectionRegistry registry;
    registry.RegisterType<Camera>("CameraComponent", "Camera", "Rendering");
    registry.RegisterType<Light>("LightComponent", "Light", "Rendering");
    registry.RegisterType<RigidBody>("RigidBodyComponent", "Rigid Body", "Physics");
    const auto types = registry.Types();
    ASSERT_EQ(types.size(), 3u);
    EXPECT_EQ(types[0]->name, "RigidBodyComponent");
    EXPECT_EQ(types[1]->name, "CameraComponent");
    EXPECT_EQ(types[2]->name, "LightComponent");
}

TEST(ReflectionRegistry, OffsetPropertiesReadAtTheirOffsetWithTheGivenDefault) {
    struct Block {
        unsigned char data[64]{};
    };
    ReflectionRegistry registry;
    registry.RegisterType<Block>("Acme.Door");
    registry.AddOffsetProperty<float>("Acme.Door", "open", 8, PropertyKind::Float, {}, 0.25f);
    EXPECT_EQ(ThrownMessage([&] {
                  registry.AddOffsetProperty<bool>("Acme.Door", "open", 12, PropertyKind::Bool, {}, true);
              }),
              "Duplicate reflection property: Acme.Door.open");
    const PropertyInfo& property = registry.FindType("Acme.Door")->properties[0];
    EXPECT_EQ(property.ownerType, std::type_index(typeid(Block)));
    Block block;
    EXPECT_TRUE(property.ApplyDefault(MakeView(block)));
    float stored = 0.0f;
    std::memcpy(&stored, block.data + 8, sizeof stored);
    EXPECT_EQ(stored, 0.25f);
    EXPECT_EQ(property.ConstView(MakeConstView(block)).constData, block.data + 8);
}

TEST(ReflectedTypeBuilder, FieldTakesTheNaturalKindAndTheFieldNameAsDisplayName) {
    ReflectionRegistry registry;
    registry.RegisterAssetType("Mesh", 1);
    struct Holder {
        std::uint64_t mesh = 0;
        std::uint64_t count = 0;
        std::uint32_t target = 0;
    };
    ReflectedTypeBuilder<Holder>("Holder", "Holder", "Test", registry)
        .Field("mesh", &Holder::mesh, FieldAttr().AssetType("Mesh"))
        .Field("count", &Holder::count)
        .Field("target", &Holder::target, FieldAttr("Target Entity").Kind(PropertyKind::Entity));
    const TypeInfo* info = registry.FindType("Holder");
    ASSERT_NE(info, nullptr);
    ASSERT_EQ(info->properties.size(), 3u);
    EXPECT_EQ(info->properties[0].schema.kind, PropertyKind::Asset);
    EXPECT_EQ(info->properties[1].schema.kind, PropertyKind::UInt64);
    EXPECT_EQ(info->properties[2].schema.kind, PropertyKind::Entity);
    EXPECT_EQ(info->properties[0].attributes.displayName, "mesh");
    EXPECT_EQ(info->properties[2].attributes.displayName, "Target Entity");
}

} // namespace
} // namespace Brelk::Reflection
