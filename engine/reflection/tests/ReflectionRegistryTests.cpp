#include "engine/reflection/ReflectedTypeBuilder.h"
#include "engine/reflection/ReflectionRegistry.h"

#include "tests/support/TextCases.h"

#include <gtest/gtest.h>
#include <glm/vec3.hpp>

#include <cstring>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

namespace Brelk::Reflection {
namespace {

using Testing::ThrownMessage;

enum class Mood : std::uint8_t { Calm, Angry };
enum class Level : std::int32_t { Low, High };

struct Pose {
    glm::vec3 scale{1.0f};
    float weight = 0.5f;
    Mood mood = Mood::Angry;
    std::vector<float> samples{1.0f, 2.0f};
    bool locked = true;
};

struct Other {
    int value = 0;
};

TEST(ReflectionRegistry, InconsistentRegistrationsFailWithTheirExactMessageAndEdgeValuesLoad) {
    using R = ReflectionRegistry;
    using Call = std::function<void(R&)>;
    const auto mood = [](std::vector<EnumValue> values, std::string name = "Mood") -> Call {
        return [=](R& r) { r.RegisterEnum<Mood>(name, values); };
    };
    const auto asset = [](std::string name, std::uint32_t id) -> Call {
        return [=](R& r) { r.RegisterAssetType(name, id); };
    };
    const std::string schema = "Reflection schema requires a name and a positive version.";
    const std::string range = "Enum value is outside its C++ storage range: ";
    const std::string emptyEnum = "Enum schema requires a name and values.";
    const std::string badName = "Enum schema contains an empty or duplicate name: Mood";
    const std::string emptyAsset = "Asset schema requires a name and a nonzero native ID.";
    const std::pair<Call, std::string> cases[] = {
        {[](R& r) { r.RegisterType<Other>("Pose"); }, "Reflection type name already belongs to another C++ type: Pose"},
        {[](R& r) { r.RegisterType<Pose>("", "", "", 1); }, schema},
        {[](R& r) { r.RegisterType<Pose>("Pose", "", "", 0); }, schema},
        {[](R& r) { r.AddProperty<Pose, float>("Pose", "weight", &Pose::weight, PropertyKind::Int, {}); },
         "Reflection property kind does not match its C++ value type."},
        {[](R& r) {
             r.AddProperty<Pose, bool>("Pose", "b", &Pose::locked, PropertyKind::Bool, FieldAttr().Range(0, 1));
         },
         "Property has an invalid numeric authoring range: b"},
        {[](R& r) { r.AddProperty<Pose, float>("Pose", "weight", nullptr, PropertyKind::Float, {}); },
         "Reflection property requires a member pointer: weight"},
        {[](R& r) {
             r.RegisterType<Other>("Other");
             r.AddProperty<Pose, float>("Other", "weight", &Pose::weight, PropertyKind::Float, {});
         },
         "Reflection property owner does not match type: Other"},
        {[](R& r) {
             r.AddProperty<Pose, float>("Pose", "weight", &Pose::weight, PropertyKind::Float, {});
             r.AddProperty<Pose, bool>("Pose", "weight", &Pose::locked, PropertyKind::Bool, {});
         },
         "Duplicate reflection property: Pose.weight"},
        {[](R& r) { r.AddOffsetProperty<float>("Acme.Door", "open", 0, PropertyKind::Float, {}, 1); },
         "Reflection offset property needs a registered owner type: Acme.Door"},
        {[](R& r) { ReflectedTypeBuilder<Other>("Other", "", "", r).Version(0); },
         "Value schema versions start at 1: Other"},
        {mood({{std::int64_t{256}, "Big", ""}}), range + "Mood"},
        {mood({{std::int64_t{-1}, "Minus", ""}}), range + "Mood"},
        {[](R& r) { r.RegisterEnum<Level>("Level", {EnumValue{std::uint64_t{1u << 31}, "B", ""}}); }, range + "Level"},
        {mood({EnumValueOf(Mood::Calm, "Calm")}, ""), emptyEnum},
        {mood({}), emptyEnum},
        {mood({{std::uint64_t{0}, "A", ""}, {std::uint64_t{1}, "A", ""}}), badName},
        {mood({{std::uint64_t{0}, "", ""}}), badName},
        {[](R& r) { r.RegisterEnum<Level>("Mood", {EnumValueOf(Level::Low, "Low")}); },
         "Enum schema name and C++ type disagree: Mood"},
        {mood({EnumValueOf(Mood::Calm, "Calm")}, "Feeling"), "Enum schema name and C++ type disagree: Feeling"},
        {asset("", 1), emptyAsset},
        {asset("Mesh", 0), emptyAsset},
        {asset("Mesh", 2), "Asset schema name and native ID disagree: Mesh"},
        {asset("Foo", 1), "Asset schema name and native ID disagree: Foo"},
        {[](R& r) {
             r.RegisterEnum<Level>("Level", {{std::int64_t{-2147483647 - 1}, "Bottom", ""},
                                             {std::int64_t{2147483647}, "Top", ""}});
         },
         "<no exception>"},
        {mood({{std::uint64_t{255}, "A", ""}, {std::uint64_t{255}, "B", ""}}), "<no exception>"},
    };
    for (const auto& [call, message] : cases) {
        ReflectionRegistry registry;
        registry.RegisterType<Pose>("Pose");
        registry.RegisterEnum<Mood>("Mood", {EnumValueOf(Mood::Calm, "Calm")});
        registry.RegisterAssetType("Mesh", 1);
        EXPECT_EQ(ThrownMessage([&] { call(registry); }), message);
        EXPECT_EQ(registry.FindType(typeid(Other)) == nullptr, message.find("Other") == std::string::npos) << message;
        EXPECT_LE(registry.FindType("Pose")->properties.size(), 1u);
    }
    ReflectionRegistry registry;
    EXPECT_THROW(registry.RegisterType<Pose>("", "", "", 1), std::invalid_argument);
    // A later registration of an enum replaces its values.
    registry.RegisterEnum<Mood>("Mood", {EnumValueOf(Mood::Calm, "Calm")});
    registry.RegisterEnum<Mood>("Mood", {{std::uint64_t{0}, "A", ""}, {std::uint64_t{1}, "B", ""}});
    EXPECT_EQ(registry.FindEnum("Mood")->values.size(), 2u);
}

// Each type as "name, display name, group, version:" and its properties with their display names.
std::string Listing(const ReflectionRegistry& registry) {
    std::string text;
    for (const TypeInfo* type : registry.Types()) {
        text += type->name + ", " + type->displayName + ", " + type->group + ", " + std::to_string(type->version) + ":";
        for (const PropertyInfo& p : type->properties) text += " " + p.name + " (" + p.attributes.displayName + ")";
        text += "\n";
    }
    return text + "\n";
}

TEST(ReflectionRegistry, APropertyAddedFirstCreatesItsTypeWhichRegistrationsUpdateOrRenameListedByGroupAndName) {
    struct Camera {};
    struct Light {};
    struct RigidBody {};
    ReflectionRegistry registry;
    registry.RegisterType<Light>("LightComponent", "Light", "Rendering");
    registry.RegisterType<Camera>("CameraComponent", "Camera", "Rendering");
    registry.RegisterType<RigidBody>("RigidBodyComponent", "Rigid Body", "Physics");
    registry.AddProperty<Pose, float>("Pose", "weight", &Pose::weight, PropertyKind::Float, {});
    const TypeInfo* created = registry.FindType("Pose");
    std::string listings = Listing(registry);
    ReflectedTypeBuilder<Pose>("Pose", "Pose", "Test", registry)
        .Field("samples", &Pose::samples)
        .Field("locked", &Pose::locked, FieldAttr("Locked"));
    listings += Listing(registry);
    registry.RegisterType<Pose>("Pose", "Body Pose", "Animation", 4);
    listings += Listing(registry);
    registry.RegisterType<Pose>("BodyPose", "", "Core", 2);
    Testing::ExpectGoldenText(std::string(BRELK_TEST_DATA_DIR) + "/RegistryListings.txt", listings + Listing(registry));
    EXPECT_EQ(registry.FindType("Pose"), nullptr);
    EXPECT_TRUE(registry.FindType("BodyPose") == created && registry.FindType(typeid(Pose)) == created);
}

TEST(ReflectionRegistry, PropertiesAccessTheirStorageAtItsOffsetHonouringReadOnlyTheViewTypeAndTheEnumStorage) {
    struct Block {
        unsigned char data[64]{};
    };
    ReflectionRegistry registry;
    registry.AddProperty<Pose, glm::vec3>("Pose", "scale", &Pose::scale, PropertyKind::Vec3, {});
    registry.AddProperty<Pose, float>("Pose", "weight", &Pose::weight, PropertyKind::Float, FieldAttr().ReadOnly());
    registry.AddProperty<Pose, Mood>("Pose", "mood", &Pose::mood, PropertyKind::Enum, FieldAttr().Enum("Mood"));
    const PropertyInfo& scale = registry.FindType("Pose")->properties[0];
    const PropertyInfo& weight = registry.FindType("Pose")->properties[1];
    const PropertyInfo& mood = registry.FindType("Pose")->properties[2];
    Pose pose;
    pose.scale = glm::vec3(2.0f);
    pose.weight = 3.0f;
    // Defaults apply through a mutable view only, and never to a read-only property.
    EXPECT_FALSE(scale.EqualsDefault(MakeConstView(pose)) || scale.ApplyDefault(MakeConstView(pose)));
    EXPECT_TRUE(scale.ApplyDefault(MakeView(pose)) && scale.EqualsDefault(MakeConstView(pose)));
    EXPECT_FALSE(weight.ApplyDefault(MakeView(pose)) || pose.weight != 3.0f);
    // A view needs an owner of the property's type; a mutable one also a writable property and owner.
    EXPECT_TRUE(weight.MutableView(MakeView(pose)).IsNull() && !weight.ConstView(MakeView(pose)).IsNull());
    const Other other;
    EXPECT_TRUE(scale.ConstView(MakeConstView(other)).IsNull() && scale.MutableView(MakeConstView(pose)).IsNull());
    EXPECT_FALSE(scale.EqualsDefault(ObjectView{}));
    EXPECT_EQ(scale.MutableView(MakeView(pose)).mutableData, &pose.scale);
    // A uint8 enum takes 0 to 255 only.
    EXPECT_TRUE(EnumNumbersEqual(mood.GetEnumValue(MakeConstView(pose)).value(), EnumNumber{std::uint64_t{1}}));
    EXPECT_TRUE(mood.SetEnumValue(MakeView(pose), EnumNumber{std::int64_t{0}}));
    EXPECT_FALSE(mood.SetEnumValue(MakeView(pose), EnumNumber{std::int64_t{256}}) ||
                 mood.SetEnumValue(MakeView(pose), EnumNumber{std::int64_t{-1}}) || pose.mood != Mood::Calm);

    registry.RegisterType<Block>("Acme.Door");
    registry.AddOffsetProperty<float>("Acme.Door", "open", 8, PropertyKind::Float, {}, 0.25f);
    EXPECT_EQ(ThrownMessage([&] { registry.AddOffsetProperty<int>("Acme.Door", "open", 0, PropertyKind::Int, {}, 1); }),
              "Duplicate reflection property: Acme.Door.open");
    const PropertyInfo& open = registry.FindType("Acme.Door")->properties[0];
    Block block;
    EXPECT_TRUE(open.ownerType == typeid(Block) && open.ApplyDefault(MakeView(block)));
    EXPECT_EQ(open.ConstView(MakeConstView(block)).constData, block.data + 8);
    float stored = 0.0f;
    EXPECT_EQ(*static_cast<float*>(std::memcpy(&stored, block.data + 8, sizeof stored)), 0.25f);
}

} // namespace
} // namespace Brelk::Reflection
