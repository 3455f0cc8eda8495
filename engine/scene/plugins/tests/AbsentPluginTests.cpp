#include "engine/assets/AssetManager.h"
#include "engine/core/Logger.h"
#include "engine/reflection/SchemaRecordText.h"
#include "engine/scene/ComponentRegistry.h"
#include "engine/scene/InstallComponents.h"
#include "engine/scene/Scene.h"
#include "engine/scene/SceneFile.h"
#include "engine/scene/plugins/PluginComponents.h"
#include "tests/support/TestSupport.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <iostream>

namespace Brelk::Scene {
namespace {

using Testing::ReadText;
using Testing::WriteText;

// A project opened without the plugin that made one of its components: the scene must come
// back from a save as it was, and the component must come alive once the plugin is there.
void LoadSaveAndDefineAnAbsentPlugin() {
    Testing::ScratchFolder root;
    Testing::ScopedEnvironmentVariable settings("BRELK_USER_SETTINGS_DIR", root / "Settings");
    InstallComponents();
    Assets::AssetManager assets;
    assets.Initialize(root / "Content", Assets::AssetSourceMode::Authoring);
    const Core::Guid doorGuid = Core::Guid::FromName("front door");
    std::string error;
    {
        Scene scene;
        scene.SetEntityGuid(scene.CreateEntity("Front door"), doorGuid);
        ASSERT_TRUE(SaveScene(root / "Plain.bscene", scene, assets, &error)) << error;
    }
    // The plugin's record stands behind the engine's records of its entity, as a save puts it.
    std::string record;
    Reflection::AppendSchemaRecord(record, {"Acme.Gate", 1, {{"open", std::string("1")}, {"speed", std::string("4")}}});
    // Another absent plugin's record stays kept when the first plugin comes.
    Reflection::AppendSchemaRecord(record, Reflection::SchemaRecord{"Other.Thing", 1, {}});
    std::string text = ReadText(root / "Plain.bscene");
    text.insert(text.rfind("end_entity\n"), record);
    WriteText(root / "Door.bscene", text);

    std::uint64_t before = 0;
    (void)Core::Logger::Get().HistorySince(0, &before);
    Scene scene;
    ASSERT_TRUE(LoadScene(root / "Door.bscene", scene, assets, &error)) << error;
    std::vector<std::string> warnings;
    for (const Core::LogEntry& entry : Core::Logger::Get().HistorySince(before))
        if (entry.level == Core::LogLevel::Warning) warnings.push_back(entry.message);
    const std::string absent = "' belongs to a plugin that is not loaded; its data is kept and saved back unchanged.";
    EXPECT_EQ(warnings, (std::vector<std::string>{"Component 'Acme.Gate" + absent, "Component 'Other.Thing" + absent}));
    ASSERT_TRUE(SaveScene(root / "Again.bscene", scene, assets, &error)) << error;
    EXPECT_EQ(ReadText(root / "Again.bscene"), text);

    PluginComponentDefinition definition;
    definition.name = "Acme.Gate", definition.pluginId = "Acme", definition.saved = true;
    for (const auto& [name, value] : {std::pair<const char*, PluginFieldValue>{"open", false}, {"speed", 1.0f}}) {
        PluginFieldDefinition& field = definition.fields.emplace_back();
        field.name = name, field.kind = static_cast<PluginFieldKind>(value.index()), field.defaultValue = value;
    }
    const ComponentTypeEntry* entry = DefinePluginComponent(definition, &error);
    ASSERT_NE(entry, nullptr) << error;
    std::vector<std::string> errors;
    EXPECT_EQ(RehydratePreservedComponents(scene.GetRegistry(), MakeSceneCodecContext(assets.GetRegistry()), &errors),
              1u);
    EXPECT_TRUE(errors.empty());
    const auto* bytes =
        static_cast<const std::byte*>(entry->getConst(scene.GetRegistry(), scene.FindEntityByGuid(doorGuid)));
    ASSERT_NE(bytes, nullptr);
    float speed = 0.0f;
    std::memcpy(&speed, bytes + 4, sizeof(speed));
    EXPECT_EQ(std::pair(static_cast<bool>(bytes[0]), speed), std::pair(true, 4.0f));
    // Now a component of its own type, it is saved from the component, to the same text.
    ASSERT_TRUE(SaveScene(root / "Defined.bscene", scene, assets, &error)) << error;
    EXPECT_EQ(ReadText(root / "Defined.bscene"), text);
}

// A definition, and the warning of an absence, come once a process: in a fresh process of its
// own the plugin is absent at first however often and in whatever order the tests run.
TEST(AbsentPluginTest, ARecordOfAnAbsentPluginSurvivesALoadAndSaveAndComesAliveOnceDefined) {
    const std::string style = GTEST_FLAG_GET(death_test_style);
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            LoadSaveAndDefineAnAbsentPlugin();
            // A child prints no results of its own: its failures reach the report through stderr.
            const ::testing::TestResult& result = *::testing::UnitTest::GetInstance()->current_test_info()->result();
            for (int i = 0; i < result.total_part_count(); ++i) std::cerr << result.GetTestPartResult(i);
            std::exit(result.Failed() ? 1 : 0);
        },
        ::testing::ExitedWithCode(0), "");
    GTEST_FLAG_SET(death_test_style, style);
}

} // namespace
} // namespace Brelk::Scene
