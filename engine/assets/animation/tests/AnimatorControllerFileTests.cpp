#include "engine/assets/animation/AnimatorControllerFile.h"

#include "engine/assets/AssetReference.h"
#include "engine/assets/AssetRegistry.h"
#include "engine/assets/tests/AssetTestSupport.h"
#include "tests/support/TextCases.h"

#include <gtest/gtest.h>

#include <tuple>

namespace Brelk::Assets {
namespace {

namespace fs = std::filesystem;
using Testing::AgeFile;
using Testing::LogCapture;
using Testing::ReadText;
using Testing::ScratchFolder;
using Testing::WriteText;

class AnimatorControllerFileTest : public ::testing::Test {
protected:
    void SetUp() override {
        for (const char* name : {"Hero.bskel", "Walk.bclip", "Run.bclip", "Step.wav"}) WriteText(folder_ / name, "x");
        registry_.SetContentRoot(folder_.Path(), AssetSourceMode::Authoring);
    }

    std::string Reference(const char* name) const {
        return AssetReferenceOf(registry_, registry_.HandleOfPath(folder_ / name));
    }

    static fs::path Data() {
        return fs::path(BRELK_TEST_DATA_DIR).parent_path().parent_path() / "animation" / "tests" / "data";
    }

    // The data files name the assets of the scratch folder as "@Walk.bclip"; `in` puts the references
    // in, and taking them out again keeps the expected texts free of the folder's guids.
    std::string References(std::string text, bool in = true) const {
        for (const char* name : {"Hero.bskel", "Walk.bclip", "Run.bclip", "Step.wav"}) {
            const std::string slot = std::string("@") + name, reference = Reference(name);
            const std::string& from = in ? slot : reference;
            for (std::size_t at = text.find(from); at != std::string::npos; at = text.find(from))
                text.replace(at, from.size(), in ? reference : slot);
        }
        return text;
    }

    // The healthy version-14 file of the data folder, as the writer gives it.
    std::string Healthy() const { return References(ReadText(Data() / "Hero.bcontroller")); }

    AnimatorController Parse(const std::string& text, AnimatorControllerLoadReport* report = nullptr) {
        AnimatorController controller;
        std::string error;
        EXPECT_TRUE(ParseAnimatorController(text, &controller, registry_, &error, report)) << error;
        return controller;
    }

    ScratchFolder folder_;
    AssetRegistry registry_;
};

TEST_F(AnimatorControllerFileTest, AHealthyFileReadsWritesBackByteForByteAndSavesEveryField) {
    AnimatorControllerLoadReport report;
    AnimatorController controller = Parse(Healthy(), &report);
    // Ids on disk become names in memory, references become handles.
    EXPECT_EQ(std::tie(controller.name, controller.defaultState, controller.states[0].motion,
                       controller.transitions[0].source, controller.transitions[0].target),
              std::tuple("Hero \"A\" \\ B", "Idle", "Blend", "Idle", "Run"));
    EXPECT_EQ(std::tuple(controller.stableIds.NextId(), controller.stableIds.Find("Run")), std::tuple(9u, 4u));
    EXPECT_EQ(controller.states[0].layers[0].clip, registry_.HandleOfPath(folder_ / "Run.bclip"));
    EXPECT_EQ(controller.motions[0].children[0].events[0].audio, registry_.HandleOfPath(folder_ / "Step.wav"));
    EXPECT_EQ(controller.layerGroups[0].members, (std::vector<std::string>{"Idle", "Run"}));
    EXPECT_FALSE(report.Repaired());
    EXPECT_EQ(SerializeAnimatorController(controller, registry_), Healthy());

    WriteText(folder_ / "Hero.bcontroller", Healthy());
    AgeFile(folder_ / "Hero.bcontroller");
    const auto before = fs::last_write_time(folder_ / "Hero.bcontroller");
    ASSERT_TRUE(LoadAnimatorControllerAsset(folder_ / "Hero.bcontroller", registry_));
    EXPECT_EQ(fs::last_write_time(folder_ / "Hero.bcontroller"), before);

    // A save keeps the id counter past a state added since.
    controller.states.push_back(AnimatorState{});
    controller.states.back().name = "Fall\\\"";
    ASSERT_EQ(controller.stableIds.Assign("Fall\\\""), 9u);
    ASSERT_TRUE(SaveAnimatorController(folder_ / "Out/Hero.bcontroller", controller, registry_));
    AnimatorController loaded;
    std::string error;
    ASSERT_TRUE(LoadAnimatorController(folder_ / "Out/Hero.bcontroller", &loaded, registry_, &error)) << error;
    EXPECT_EQ(loaded, controller);
    EXPECT_EQ(loaded.stableIds.NextId(), 10u);
}

TEST_F(AnimatorControllerFileTest, OldVersionsUpgradeAsTheCaseFileHolds) {
    Brelk::Testing::ExpectTextCases(Data() / "UpgradedControllers.txt", [&](const Brelk::Testing::TextCase& c) {
        AnimatorControllerLoadReport report;
        const std::string text = SerializeAnimatorController(Parse(References(c.input), &report), registry_);
        return References(text, false) + (report.Repaired() ? "(repaired)" : "");
    });
}

TEST_F(AnimatorControllerFileTest, EachBrokenLineGivesItsMessage) {
    const std::string good = "\n" + ReadText(Data() / "Hero.bcontroller");
    Brelk::Testing::ExpectTextCases(Data() / "BrokenControllers.txt", [&](const Brelk::Testing::TextCase& c) {
        const std::size_t split = c.input.find('\n') + 1;
        const std::size_t at = good.find("\n" + c.input.substr(0, split));
        if (at == std::string::npos) return "no such line: " + c.input.substr(0, split);
        std::string text = good.substr(1);
        text = split == c.input.size() ? text.substr(0, at) : text.replace(at, split, c.input.substr(split));
        AnimatorController controller;
        std::string error;
        return ParseAnimatorController(References(text), &controller, registry_, &error) ? "read" : error;
    });
    std::string error;
    AnimatorController controller;
    EXPECT_FALSE(LoadAnimatorController(folder_ / "None.bcontroller", &controller, registry_, &error));
    EXPECT_EQ(error, "Failed to open controller asset.");
    WriteText(folder_ / "Broken.bcontroller", "bcontroller 15\n");
    LogCapture log;
    ASSERT_FALSE(LoadAnimatorControllerAsset(folder_ / "Broken.bcontroller", registry_));
    EXPECT_EQ(log.Messages(Core::LogLevel::Warning),
              std::vector<std::string>{"Failed to load animator controller asset '" +
                                       (folder_ / "Broken.bcontroller").string() +
                                       "': Unsupported controller asset version."});
}

// The run clip is named once by an older reference that still resolves, once by one that does not.
TEST_F(AnimatorControllerFileTest, MissingIdsAreRepairedAndRewrittenUnlessAReferenceFailsToResolve) {
    for (const bool resolves : {true, false}) {
        std::string text = Healthy();
        text.replace(text.find("default_state_id 3"), 18, "default_state_id 8");
        text.replace(text.find("transition 6 3 4"), 16, "transition 6 7 4");
        const std::string run = Reference("Run.bclip");
        text.replace(text.find(run), run.size(), resolves ? "content:Run.bclip" : "content:Gone.bclip");
        WriteText(folder_ / "Hero.bcontroller", text);
        LogCapture log;
        const std::optional<AnimatorController> controller =
            LoadAnimatorControllerAsset(folder_ / "Hero.bcontroller", registry_);
        ASSERT_TRUE(controller);
        EXPECT_EQ(controller->defaultState, "");
        std::vector<std::string> warnings = {
            "Animator controller 'Hero \"A\" \\ B': default state refers to missing state id 8.",
            "Animator controller 'Hero \"A\" \\ B': transition source refers to missing state id 7."};
        if (!resolves)
            warnings.insert(warnings.begin(),
                            "Unresolved animator controller asset reference in state 'Idle' layer 'Upper'.clip");
        EXPECT_EQ(log.Messages(Core::LogLevel::Warning), warnings);
        std::string repaired = Healthy();
        repaired.replace(repaired.find("default_state_id 3"), 18, "default_state_id 0");
        repaired.replace(repaired.find("transition 6 3 4"), 16, "transition 6 0 4");
        EXPECT_EQ(ReadText(folder_ / "Hero.bcontroller"), resolves ? repaired : text);
    }
}

TEST_F(AnimatorControllerFileTest, SavingWarnsForALostHandleAndIsRefusedReadOnly) {
    AnimatorController controller = MakeAnimatorController("Lost");
    controller.motions.push_back(AnimatorMotion{});
    controller.motions[0].name = "M";
    controller.motions[0].clip = 0xDEAD;
    LogCapture log;
    const std::string text = SerializeAnimatorController(controller, registry_);
    EXPECT_NE(text.find("motion 0 \"M\" 0 \"\" \"\" \"\" 0\n"), std::string::npos) << text;
    EXPECT_EQ(log.Messages(Core::LogLevel::Warning),
              std::vector<std::string>{"Unresolved live animator controller asset handle while saving motion 'M'.clip"});

    AssetRegistry readOnly;
    readOnly.SetContentRoot(folder_.Path(), AssetSourceMode::ReadOnly);
    std::string error;
    EXPECT_FALSE(SaveAnimatorController(folder_ / "Lost.bcontroller", controller, readOnly, &error));
    EXPECT_EQ(error, "SaveAnimatorControllerAsset is unavailable with read-only asset sources.");
    EXPECT_FALSE(fs::exists(folder_ / "Lost.bcontroller"));
}

} // namespace
} // namespace Brelk::Assets
