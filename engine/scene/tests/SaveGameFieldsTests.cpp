#include "engine/assets/ByteStream.h"
#include "engine/scene/ComponentRegistry.h"
#include "engine/scene/Scene.h"
#include "engine/scene/SaveGameFields.h"

#include "tests/support/TestSupport.h"

#include <gtest/gtest.h>

#include <glm/vec3.hpp>

#include <stdexcept>
#include <string>
#include <vector>

namespace Brelk::Scene {
namespace {

struct SaveGameTestComponent {
    float speed = 1.0f;
    bool awake = true;
    glm::vec3 velocity{0.0f, 0.0f, 0.0f};
    std::string state = "idle";
    Entity target = kNullEntity;
    std::vector<float> layerTimes;
    bool operator==(const SaveGameTestComponent&) const = default;
};

const ComponentTypeEntry& SaveGameEntry() {
    static ComponentRegistry registry;
    static const ComponentTypeEntry& entry = [] () -> const ComponentTypeEntry& {
        using C = SaveGameTestComponent;
        ComponentBuilder<C> builder(
            registry.RegisterComponent<C>("SaveGameTestComponent", "Save Game Test", "Test", ComponentFlags::Saved));
        return builder.SaveGame("speed", &C::speed)
            .SaveGame("awake", &C::awake)
            .SaveGame("velocity", &C::velocity)
            .SaveGame("state", &C::state)
            .SaveGameEntity("target", &C::target)
            .SaveGameValue(
                "layerTimes",
                [](const C& component, Assets::ByteWriter& writer, const SaveGameFieldCodecContext&) {
                    writer.WriteU32(static_cast<std::uint32_t>(component.layerTimes.size()));
                    for (float time : component.layerTimes) writer.WriteF32(time);
                },
                [](C& component, Assets::ByteReader& reader, const SaveGameFieldCodecContext&) {
                    const std::uint32_t count = reader.ReadCount(4, 1024);
                    for (std::uint32_t i = 0; i < count; ++i) {
                        const float time = reader.ReadF32();
                        if (i < component.layerTimes.size()) component.layerTimes[i] = time;
                    }
                }).Validate().Entry();
    }();
    return entry;
}

using Testing::ThrownMessage;

TEST(SaveGameFieldsTest, CapturesFieldsInDeclarationOrderAndAppliesThemBackWithEntitiesByGuid) {
    const ComponentSaveGameFields& fields = SaveGameEntry().saveGameFields;
    const SaveGameTestComponent fresh;
    const SaveGameFieldSet defaults = fields.Capture(&fresh, {});
    EXPECT_EQ(defaults.version, 1u);
    ASSERT_EQ(defaults.fields.size(), 6u);
    EXPECT_EQ(defaults.fields[0].name, "speed");
    EXPECT_EQ(defaults.fields[0].bytes, (std::vector<std::uint8_t>{0x00, 0x00, 0x80, 0x3f}));
    EXPECT_EQ(defaults.fields[1].bytes, (std::vector<std::uint8_t>{1}));
    EXPECT_EQ(defaults.fields[3].bytes, (std::vector<std::uint8_t>{4, 0, 0, 0, 'i', 'd', 'l', 'e'}));
    EXPECT_EQ(defaults.fields[4].bytes, std::vector<std::uint8_t>(16, 0));

    Scene scene;
    const Entity target = scene.CreateEntity("target");
    const SaveGameTestComponent source{2.5f, false, {1.0f, -2.0f, 3.0f}, "running", target, {0.5f, 1.5f, 9.0f}};
    const SaveGameFieldCodecContext context{&scene, &scene};
    const SaveGameFieldSet set = fields.Capture(&source, context);
    SaveGameTestComponent restored;
    restored.layerTimes = {0.0f, 0.0f};
    fields.Apply(&restored, set, context, nullptr);
    // The layer times fill only the layers the component has.
    EXPECT_EQ(restored, (SaveGameTestComponent{2.5f, false, {1.0f, -2.0f, 3.0f}, "running", target, {0.5f, 1.5f}}));
    // In a world without the target the link comes back empty.
    Scene loaded;
    fields.Apply(&restored, set, SaveGameFieldCodecContext{&loaded, &loaded}, nullptr);
    EXPECT_EQ(restored.target, kNullEntity);
}

TEST(SaveGameFieldsTest, ReportsUndeclaredFieldsAndRefusesMalformedValuesLeavingTheComponentUntouched) {
    const ComponentSaveGameFields& fields = SaveGameEntry().saveGameFields;
    SaveGameFieldSet known{1, {SaveGameFieldValue{"retired", {1, 2, 3}}, SaveGameFieldValue{"awake", {0}}}};
    SaveGameTestComponent component;
    std::vector<std::string> unknown;
    fields.Apply(&component, known, {}, &unknown);
    EXPECT_EQ(unknown, (std::vector<std::string>{"retired"}));
    EXPECT_FALSE(component.awake);
    const struct { std::vector<SaveGameFieldValue> values; const char* message; } cases[] = {
        {{{"speed", {0x00, 0x00, 0x20, 0x41}}, {"awake", {2}}}, "Malformed save-game bool."},
        {{{"speed", {0x00, 0x00, 0x20, 0x41}}, {"awake", {1, 0}}}, "Save-game field 'awake' has trailing bytes."},
        {{{"speed", {1, 2}}}, "Cooked data ends early."},
    };
    for (const auto& c : cases) {
        const SaveGameFieldSet set{1, c.values};
        EXPECT_EQ(ThrownMessage([&] { fields.Apply(&component, set, {}, nullptr); }), c.message);
        EXPECT_EQ(component.speed, 1.0f) << c.message;
        EXPECT_FALSE(component.awake) << c.message;
    }
}

TEST(SaveGameFieldsTest, RefusesVersionsThisBuildCannotReadAndUpgradesOnlyOlderSets) {
    const ComponentSaveGameFields& fields = SaveGameEntry().saveGameFields;
    for (const std::uint32_t version : {0u, 2u}) {
        SaveGameFieldSet set;
        set.version = version;
        EXPECT_EQ(ThrownMessage([&] { fields.Upgrade(set, "RigidBodyComponent"); }),
                  "Save-game state of RigidBodyComponent has version " + std::to_string(version) +
                      "; this build reads versions 1 to 1.");
    }

    ComponentSaveGameFields upgraded;
    upgraded.version = 3;
    int calls = 0;
    upgraded.upgrade = [&](SaveGameFieldSet& changed, std::uint32_t from) {
        ++calls;
        EXPECT_EQ(from, 2u);
        changed.Rename("old", "new");
    };
    SaveGameFieldSet older;
    older.version = 2;
    older.fields.push_back(SaveGameFieldValue{"old", {}});
    upgraded.Upgrade(older, "X");
    EXPECT_EQ(older.version, 3u);
    EXPECT_NE(older.Find("new"), nullptr);
    upgraded.Upgrade(older, "X");
    EXPECT_EQ(calls, 1);
    older.fields.push_back(SaveGameFieldValue{"kept", {}});
    older.Rename("kept", "new");
    EXPECT_NE(older.Find("kept"), nullptr);
}
} // namespace
} // namespace Brelk::Scene
