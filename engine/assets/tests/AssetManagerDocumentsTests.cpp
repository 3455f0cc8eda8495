#include "engine/assets/AssetManager.h"

#include "engine/assets/animation/AnimationClipFile.h"
#include "engine/assets/tests/AssetTestSupport.h"
#include "tests/support/TextCases.h"

#include <gtest/gtest.h>

namespace Brelk::Assets {
namespace {

namespace fs = std::filesystem;
using Testing::LogCapture;
using Testing::ReadText;
using Testing::ThrownMessage;
using Testing::WriteText;

constexpr std::string_view kHealthyController =
    "bcontroller 14\nname \"Hero\"\nskeleton \"\"\nnext_id 1\ndefault_state_id "
    "0\nparameters 0\n"
    "motions 0\nstates 0\nlayer_groups 0\ntransitions 0\n";

class AssetManagerDocumentsTest : public Testing::ProjectTest {
protected:
    AssetHandle Handle(std::string_view relative) const {
        return manager_.GetRegistry().HandleOfPath(Content(relative));
    }

    AssetManager manager_;
};

TEST_F(AssetManagerDocumentsTest, InitializeLoadsEachFamilyAndLogsWhatFailsButAClipWithoutItsHead) {
    AnimationClip clip;
    clip.name = "Walk";
    ASSERT_TRUE(SaveAnimationClip(Content("Clips/Walk.bclip"), clip, manager_.GetRegistry()));
    std::vector<std::uint8_t> cut = SerializeAnimationClip(clip, manager_.GetRegistry());
    cut.resize(cut.size() - 1);
    WriteText(Content("Clips/Cut.bclip"), std::string(cut.begin(), cut.end()));
    WriteText(Content("Clips/Text.bclip"), "not a clip");
    WriteText(Content("Hero.bcontroller"), kHealthyController);
    WriteText(Content("Old.bcontroller"), "bcontroller 15\n");
    WriteText(Content("Hud.bui"), "bui 1\n");
    WriteText(Content("Menu.bui"), "bui 1\nwidget_begin \"root\" Canvas\n");
    WriteText(Content("Hero.brigdef"), "brelk_rig_definition 1\nname \"Hero\"\n");
    WriteText(Content("Bad.brigdef"), "");

    LogCapture log;
    manager_.Initialize(Content(), AssetSourceMode::Authoring);
    ASSERT_NE(manager_.GetAnimationClip(Handle("Clips/Walk.bclip")), nullptr);
    EXPECT_EQ(manager_.GetAnimationClip(Handle("Clips/Walk.bclip"))->name, "Walk");
    EXPECT_EQ(manager_.GetAnimationClip(Handle("Clips/Text.bclip")), nullptr);
    EXPECT_NE(manager_.GetUiDocument(Handle("Hud.bui")), nullptr);
    EXPECT_EQ(manager_.GetRigDefinition(Handle("Hero.brigdef"))->name, "Hero");
    EXPECT_EQ(manager_.GetAnimatorController(Handle("Hero.bcontroller"))->name, "Hero");
    std::string warnings;
    for (const std::string& message : log.Messages(Core::LogLevel::Warning)) warnings += message + "\n";
    const std::string root = Content().string();
    for (std::size_t at; (at = warnings.find(root)) != std::string::npos;) warnings.replace(at, root.size(), "<content>");
    Brelk::Testing::ExpectGoldenText(fs::path(BRELK_TEST_DATA_DIR) / "DocumentLoadWarnings.txt", warnings);
    // A healthy controller is never rewritten by a load.
    EXPECT_EQ(ReadText(Content("Hero.bcontroller")), kHealthyController);

    // A refresh reads only what changed, and a file that fails now keeps the old entry.
    WriteText(Content("Hero.brigdef"), "brelk_rig_definition 2\n");
    WriteText(Content("Old.bcontroller"), kHealthyController);
    manager_.Refresh();
    EXPECT_EQ(manager_.GetRigDefinition(Handle("Hero.brigdef"))->name, "Hero");
    EXPECT_NE(manager_.GetAnimatorController(Handle("Old.bcontroller")), nullptr);
    fs::remove(Content("Hud.bui"));
    manager_.Refresh();
    EXPECT_EQ(manager_.GetUiDocument(Handle("Hud.bui")), nullptr);
}

TEST_F(AssetManagerDocumentsTest, CreateAndSaveWriteFilesThatTheNextLoadReads) {
    manager_.Initialize(Content(), AssetSourceMode::Authoring);
    const AssetHandle controller = manager_.CreateAnimatorControllerAsset("Animation", "Hero Moves");
    EXPECT_EQ(manager_.GetRegistry().Copy(controller)->sourcePath, Content("Animation/Hero_Moves.bcontroller"));
    AnimatorController edited = *manager_.GetAnimatorController(controller);
    EXPECT_EQ(edited.name, "Hero_Moves");
    edited.parameters.push_back({.name = "Speed", .floatValue = 2.5f});
    ASSERT_TRUE(manager_.SaveAnimatorControllerAsset(controller, edited));

    const AssetHandle ui = manager_.CreateUiDocumentAsset({}, "!!!");
    EXPECT_EQ(manager_.GetRegistry().Copy(ui)->sourcePath, Content("UiDocument.bui"));
    RigDefinition rig;
    rig.name = "Hero";
    const AssetHandle first = manager_.CreateRigDefinitionAsset({}, "Hero", rig);
    const AssetHandle second = manager_.CreateRigDefinitionAsset({}, "Hero", rig);
    EXPECT_EQ(manager_.GetRegistry().Copy(second)->sourcePath, Content("Hero_1.brigdef"));
    AnimationClip clip;
    clip.name = "Run";
    std::string error;
    EXPECT_FALSE(manager_.SaveAnimationClipAsset(first, clip, &error));
    EXPECT_EQ(error, "Unknown animation clip asset " + std::to_string(first) + ".");

    AssetManager reader;
    reader.Initialize(Content(), AssetSourceMode::ReadOnly);
    const auto handleIn = [&](std::string_view relative) {
        return reader.GetRegistry().HandleOfPath(Content(relative));
    };
    EXPECT_EQ(*reader.GetAnimatorController(handleIn("Animation/Hero_Moves.bcontroller")), edited);
    EXPECT_EQ(*reader.GetUiDocument(handleIn("UiDocument.bui")), *manager_.GetUiDocument(ui));
    EXPECT_EQ(*reader.GetRigDefinition(handleIn("Hero_1.brigdef")), rig);
    EXPECT_EQ(ThrownMessage([&] { (void)reader.SaveRigDefinitionAsset(handleIn("Hero.brigdef"), rig); }),
              "SaveRigDefinitionAsset is unavailable with read-only asset sources.");
    EXPECT_EQ(ThrownMessage([&] { reader.CreateUiDocumentAsset({}, "Menu"); }),
              "CreateUiDocumentAsset is unavailable with read-only asset sources.");
}

} // namespace
} // namespace Brelk::Assets
