#include "engine/assets/AssetFamilyLoads.h"

#include "engine/assets/AssetRegistry.h"
#include "engine/assets/animation/AnimationClipFile.h"
#include "engine/assets/tests/AssetTestSupport.h"

#include <gtest/gtest.h>

namespace Brelk::Assets {
namespace {

using Testing::LogCapture;
using Testing::ScratchFolder;
using Testing::WriteText;

TEST(AssetFamilyLoadsTest, LoadsEachFamilyAndLogsWhatFailsButAClipWithoutItsHead) {
    ScratchFolder folder;
    AssetRegistry registry;
    AnimationClip clip;
    clip.name = "Walk";
    ASSERT_TRUE(SaveAnimationClip(folder / "Clips/Walk.bclip", clip, registry));
    std::vector<std::uint8_t> cut = SerializeAnimationClip(clip, registry);
    cut.resize(cut.size() - 1);
    WriteText(folder / "Clips/Cut.bclip", std::string(cut.begin(), cut.end()));
    WriteText(folder / "Clips/Text.bclip", "not a clip");
    WriteText(folder / "Hero.bcontroller",
              "bcontroller 14\nname \"Hero\"\nskeleton \"\"\nnext_id 1\ndefault_state_id 0\nparameters 0\n"
              "motions 0\nstates 0\nlayer_groups 0\ntransitions 0\n");
    WriteText(folder / "Old.bcontroller", "bcontroller 15\n");
    WriteText(folder / "Hud.bui", "bui 1\n");
    WriteText(folder / "Menu.bui", "bui 1\nwidget_begin \"root\" Canvas\n");
    WriteText(folder / "Hero.brigdef", "brelk_rig_definition 1\nname \"Hero\"\n");
    WriteText(folder / "Bad.brigdef", "");
    registry.SetContentRoot(folder.Path(), AssetSourceMode::Authoring);

    AssetFamilyTables tables;
    LogCapture log;
    LoadAssetFamilies(registry, tables);
    EXPECT_EQ(tables.clips.size(), 1u);
    EXPECT_EQ(tables.clips.at(registry.HandleOfPath(folder / "Clips/Walk.bclip")).name, "Walk");
    EXPECT_EQ(tables.controllers.size(), 1u);
    EXPECT_EQ(tables.uiDocuments.size(), 1u);
    EXPECT_EQ(tables.rigDefinitions.at(registry.HandleOfPath(folder / "Hero.brigdef")).name, "Hero");
    const std::string root = folder.Path().string();
    EXPECT_EQ(log.Messages(Core::LogLevel::Warning),
              (std::vector<std::string>{
                  "Failed to load animation clip asset '" + root + "/Clips/Cut.bclip': Invalid animation clip payload.",
                  "Failed to load animator controller asset '" + root +
                      "/Old.bcontroller': Unsupported controller asset version.",
                  "Failed to load UI document asset '" + root +
                      "/Menu.bui': UI document ended with unclosed widget scopes.",
                  "Rig definition '" + root + "/Bad.brigdef' was not loaded: Rig definition line 1: empty file"}));

    // A later load asks first; an entry whose file fails now keeps what it had.
    WriteText(folder / "Hero.brigdef", "brelk_rig_definition 2\n");
    std::vector<std::string> asked;
    LoadAssetFamilies(registry, tables, [&](const AssetRecord& record, bool alreadyLoaded) {
        if (alreadyLoaded) asked.push_back(record.name);
        return record.type == AssetType::RigDefinition;
    });
    EXPECT_EQ(asked, (std::vector<std::string>{"Walk.bclip", "Hero.bcontroller", "Hud.bui", "Hero.brigdef"}));
    EXPECT_EQ(tables.rigDefinitions.at(registry.HandleOfPath(folder / "Hero.brigdef")).name, "Hero");
}

} // namespace
} // namespace Brelk::Assets
