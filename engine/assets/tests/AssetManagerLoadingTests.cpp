#include "engine/assets/AssetManager.h"

#include "engine/assets/AssetNames.h"
#include "engine/assets/tests/AssetTestSupport.h"
#include "engine/platform/Files.h"
#include "tests/support/TextCases.h"

#include <gtest/gtest.h>

#include <map>

namespace Brelk::Assets {
namespace {

namespace fs = std::filesystem;
using Core::LogLevel;
using Testing::AgeFile;
using Testing::LogCapture;
using Testing::ThrownMessage;
using Testing::WriteText;

// A texture family that reads the file's text as its loaded form.
struct FakeTextures {
    std::map<AssetHandle, std::string> table;
    std::vector<std::string> steps;
    bool failPrepare = false;

    AssetFamilyRow Row(AssetManager& manager) {
        AssetFamilyRow row;
        row.type = AssetType::Texture;
        row.table = ViewOfTable(table);
        row.releasesLoaderSlot = true;
        row.handler.isLoaded = [this](AssetHandle handle) { return table.count(handle) != 0; };
        row.handler.unload = [this](AssetHandle handle) { table.erase(handle); };
        row.handler.prepare = [this, &manager](AssetHandle handle) {
            AssetLoadRecipe recipe;
            const std::optional<AssetRecord> record = manager.GetRegistry().Copy(handle);
            if (!record || failPrepare) {
                recipe.error = "Unknown texture asset " + std::to_string(handle) + ".";
                return recipe;
            }
            recipe.read = [path = record->sourcePath] { return *Platform::ReadFileBytes(path); };
            recipe.decode = [](std::vector<std::uint8_t> bytes) {
                return AssetLoadPayload{std::make_shared<std::string>(bytes.begin(), bytes.end()), bytes.size()};
            };
            recipe.publish = [this, handle](AssetLoadPayload& payload) {
                table[handle] = *static_cast<std::string*>(payload.data.get());
            };
            return recipe;
        };
        row.addBuiltins = [this] { steps.push_back("builtins"); };
        row.loadFromRegistry = [this] { steps.push_back("load"); };
        return row;
    }
};

class AssetManagerLoadingTest : public Testing::ProjectTest {
protected:
    void SetUp() override {
        WriteText(Content("Art/Rock.png"), "rock");
        WriteText(Content("Materials/Stone.bmat"), "stone");
        manager_.RegisterAssetFamily(textures_.Row(manager_));
        manager_.Initialize(Content(), AssetSourceMode::Authoring);
        rock_ = manager_.GetRegistry().HandleOfPath(Content("Art/Rock.png"));
        stone_ = manager_.GetRegistry().HandleOfPath(Content("Materials/Stone.bmat"));
    }

    FakeTextures textures_;
    AssetManager manager_;
    AssetHandle rock_ = 0;
    AssetHandle stone_ = 0;
};

TEST_F(AssetManagerLoadingTest, RequestLoadServesOnlyMeshesMaterialsAndTexturesOfKnownHandles) {
    EXPECT_FALSE(manager_.RequestLoad(12345, 1));
    const AssetHandle world = manager_.GetRegistry().RegisterFile(AssetType::World, Content("W.bworld"));
    EXPECT_FALSE(manager_.RequestLoad(world, 1));
    // A loaded material refers to no texture here: its load has nothing to wait for.
    const AssetLoadLease material = manager_.RequestLoad(stone_, 1);
    EXPECT_NE(material.State(), AssetLoadState::Failed);

    const AssetHandle both[] = {rock_, 12345};
    const AssetLoadGroup group = manager_.RequestLoads(both, 1);
    EXPECT_EQ(group.SettledCount(), 1u);
    EXPECT_EQ(manager_.UpdateAsyncLoads(), 2u);
    EXPECT_EQ(material.State(), AssetLoadState::Ready);
    EXPECT_EQ(group.ReadyCount(), 1u);
    EXPECT_FLOAT_EQ(group.Progress(), 1.0f);
    EXPECT_EQ(textures_.table.at(rock_), "rock");
}

TEST_F(AssetManagerLoadingTest, TouchIsFalseOnlyOnceTheLoadFailedAndRefreshLetsItTryAgain) {
    textures_.failPrepare = true;
    EXPECT_TRUE(manager_.TouchTexture(rock_));
    EXPECT_EQ(manager_.UpdateAsyncLoads(), 0u);
    EXPECT_FALSE(manager_.TouchTexture(rock_));
    textures_.failPrepare = false;
    manager_.Refresh();
    EXPECT_EQ(manager_.GetLoader().State(rock_), AssetLoadState::Unloaded);
    EXPECT_TRUE(manager_.TouchTexture(rock_));
    manager_.UpdateAsyncLoads();
    EXPECT_TRUE(manager_.TouchTexture(rock_));
}

TEST_F(AssetManagerLoadingTest, InitializeEmptiesTablesAndRunsTheFamiliesStepsAndPruningDropsStaleEntries) {
    EXPECT_EQ(textures_.steps, (std::vector<std::string>{"builtins", "load"}));
    (void)manager_.TouchTexture(rock_);
    manager_.UpdateAsyncLoads();
    textures_.table[stone_] = "a material handle in the texture table";
    textures_.table[777] = "a handle without a record";
    fs::remove(Content("Art/Rock.png"));
    manager_.Refresh();
    EXPECT_TRUE(textures_.table.empty());
    EXPECT_EQ(manager_.GetLoader().State(rock_), AssetLoadState::Unloaded);

    textures_.table[777] = "left from before";
    manager_.Initialize(Content(), AssetSourceMode::Authoring);
    EXPECT_TRUE(textures_.table.empty());
    EXPECT_EQ(textures_.steps, (std::vector<std::string>{"builtins", "load", "load", "builtins", "load"}));
}

TEST_F(AssetManagerLoadingTest, ShouldLoadFromDiskFollowsTheStampAndKeepsUnsavedEditsWithOneWarning) {
    const AssetRecord stone = *manager_.GetRegistry().Copy(stone_);
    EXPECT_TRUE(manager_.ShouldLoadFromDisk(stone, false));
    AgeFile(stone.sourcePath);
    manager_.RememberSourceStamp(stone_, stone.sourcePath);
    EXPECT_FALSE(manager_.ShouldLoadFromDisk(stone, true));

    WriteText(stone.sourcePath, "changed");
    EXPECT_TRUE(manager_.ShouldLoadFromDisk(stone, true));
    manager_.SetUnsavedEditsCheck([&](AssetHandle handle) { return handle == stone_; });
    LogCapture log;
    EXPECT_FALSE(manager_.ShouldLoadFromDisk(stone, true));
    EXPECT_EQ(manager_.ChangedWhileEdited(), std::vector<AssetHandle>{stone_});
    EXPECT_EQ(log.Messages(LogLevel::Warning),
              std::vector<std::string>{"'Stone.bmat' changed on disk while it has unsaved edits; the edits are kept "
                                       "and the next save overwrites the file."});
}

TEST(AssetNames, CleaningKeepsLettersDigitsUnderscoresAndDashesAndDropsLeadingUnderscores) {
    Brelk::Testing::ExpectTextCases(fs::path(BRELK_TEST_DATA_DIR) / "CleanedAssetNames.txt",
                                    [](const auto& c) { return CleanAssetName(c.input.substr(0, c.input.size() - 1)); });
}

TEST_F(AssetManagerLoadingTest, NewAssetPathsAreCleanedMadeUniqueAndTheirFolderCreated) {
    const fs::path content = Content();
    EXPECT_EQ(manager_.NewAssetPath({}, "!!!", ".bmat", "Material"), content / "Material.bmat");
    EXPECT_EQ(manager_.NewAssetPath("Materials", "Stone", ".bmat"), content / "Materials/Stone_1.bmat");
    WriteText(content / "Materials/Stone_1.bmat", "");
    EXPECT_EQ(manager_.NewAssetPath(content / "Materials", "Stone", ".bmat"), content / "Materials/Stone_2.bmat");
    EXPECT_EQ(manager_.NewAssetPath("New/Deep", "My Mat!", ".bmat"), content / "New/Deep/My_Mat_.bmat");
    EXPECT_TRUE(fs::is_directory(content / "New/Deep"));
    EXPECT_NE(ThrownMessage([&] { (void)manager_.NewAssetPath("Art/Rock.png/Sub", "x", ".bmat"); })
                  .find("create_directories"),
              std::string::npos);
}

} // namespace
} // namespace Brelk::Assets
