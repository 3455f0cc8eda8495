#include "engine/assets/animation/AnimatorControllerFile.h"

#include "engine/assets/AssetReference.h"
#include "engine/assets/AssetRegistry.h"
#include "engine/assets/tests/AssetTestSupport.h"

#include <gtest/gtest.h>

#include <cstdlib>
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
        walk_ = Reference("Walk.bclip");
        run_ = Reference("Run.bclip");
    }

    std::string Reference(const char* name) const {
        return AssetReferenceOf(registry_, registry_.HandleOfPath(folder_ / name));
    }

    static fs::path Data() {
        return fs::path(BRELK_TEST_DATA_DIR).parent_path().parent_path() / "animation" / "tests" / "data";
    }

    // The healthy version-14 file of the data folder, as the writer gives it, with the references put in.
    std::string Healthy() const {
        std::string text = ReadText(Data() / "Hero.bcontroller");
        for (const char* name : {"Hero.bskel", "Walk.bclip", "Run.bclip", "Step.wav"}) {
            const std::string slot = std::string("@") + name;
            for (std::size_t at = text.find(slot); at != std::string::npos; at = text.find(slot))
                text.replace(at, slot.size(), Reference(name));
        }
        return text;
    }

    AnimatorController Parse(const std::string& text, AnimatorControllerLoadReport* report = nullptr) {
        AnimatorController controller;
        std::string error;
        EXPECT_TRUE(ParseAnimatorController(text, &controller, registry_, &error, report)) << error;
        return controller;
    }

    ScratchFolder folder_;
    AssetRegistry registry_;
    std::string walk_;
    std::string run_;
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

// Version 1 shares one motion per clip; version 10 lacks later columns, which take their defaults.
TEST_F(AnimatorControllerFileTest, OldVersionsUpgradeAsTheGoldenFileHolds) {
    const std::string v1 = "bcontroller 1\nname \"Old\"\nskeleton \"\"\nnext_id 1\ndefault_state \"A\"\n"
                           "parameters 0\nstates 3\n"
                           "state \"A\" \"" + walk_ + "\" 1 1\n"
                           "state \"B\" \"" + walk_ + "\" 0 2\n"
                           "state \"C\" \"" + run_ + "\" 1 0.5\n"
                           "transitions 1\ntransition \"A\" \"C\" 0.25 1 0 0\n";
    const std::string v10 = "bcontroller 10\nname \"Mid\"\nskeleton \"\"\nnext_id 5\ndefault_state \"S\"\n"
                            "parameters 1\nparameter \"p\" 2 0 0 7 1 0 0 0 0\n"
                            "motions 1\nmotion 1 \"M\" 0 \"\" \"t\" \"u\" 1\n"
                            "motion_child \"c\" \"\" 0.5 2\n"
                            "motion_child_event 1 \"e\" 0 0 \"a\" \"b\"\n"
                            "\n"
                            "motion_child_event 2 \"f\" 0 1 \"\" \"\"\n"
                            "states 1\nstate 2 \"S\" 1 1 2 1 3 1 0\n"
                            "state_event 0 \"s\" 0 0 \"\" \"\"\n"
                            "transitions 1\ntransition 3 \"S\" \"S\" 0.5 0 0 0 0 0 0\n";
    AnimatorControllerLoadReport report;
    std::string text = "== version 1\n" + SerializeAnimatorController(Parse(v1, &report), registry_);
    // An upgrade alone is no repair: the old file is left as it is.
    EXPECT_FALSE(report.Repaired());
    text += "== version 10\n" + SerializeAnimatorController(Parse(v10), registry_);
    for (const char* name : {"Walk.bclip", "Run.bclip"}) {
        const std::string reference = Reference(name);
        for (std::size_t at = text.find(reference); at != std::string::npos; at = text.find(reference))
            text.replace(at, reference.size(), std::string("@") + name);
    }
    const fs::path golden = Data() / "Upgraded.bcontroller";
    if (std::getenv("BRELK_UPDATE_GOLDEN")) WriteText(golden, text);
    EXPECT_EQ(text, ReadText(golden));
}

TEST_F(AnimatorControllerFileTest, EachBrokenLineGivesItsMessage) {
    const std::string good = Healthy();
    auto replace = [&](std::string_view from, std::string_view to) {
        std::string text = good;
        const std::size_t at = text.find(from);
        EXPECT_NE(at, std::string::npos) << from;
        return text.replace(at, from.size(), to);
    };
    auto cutBefore = [&](std::string_view from) { return good.substr(0, good.find(from)); };
    const struct {
        std::string text;
        const char* message;
    } rows[] = {
        {"", "Invalid controller asset header."},
        {replace("bcontroller 14", "bcontrol 14"), "Invalid controller asset header."},
        {replace("bcontroller 14", "bcontroller 15"), "Unsupported controller asset version."},
        {replace("bcontroller 14", "bcontroller 0"), "Unsupported controller asset version."},
        {cutBefore("name "), "Missing controller name."},
        {replace("name \"", "name "), "Missing controller name."},
        {cutBefore("skeleton"), "Missing controller skeleton reference."},
        {replace("next_id 9", "next_id -9"), "Missing controller stable id counter."},
        {replace("default_state_id 3", "default_state \"Idle\""), "Missing controller default state."},
        {cutBefore("parameters"), "Missing controller parameter list."},
        {replace("\"jump\" 3", "\"jump\" 4"), "Failed to parse controller parameter."},
        {replace("parameters 2", "parameters 3"), "Failed to parse controller parameter."},
        {cutBefore("motions"), "Missing controller motion list."},
        {replace("\"Blend\" 1", "\"Blend\" x"), "Failed to parse controller motion."},
        {replace("\"y\" 1\n", "\"y\" 2\n"), "Failed to parse controller blend-tree child."},
        {replace("motion_child 2", "motion_child"), "Failed to parse controller blend-tree child."},
        {replace("0.25 \"step\" 1 1", "0.25 \"step\" 1 2"), "Failed to parse controller blend-tree child event."},
        {replace("\"b\" 2", "\"b\" two"), "Failed to parse controller blend-tree child event action."},
        {cutBefore("states"), "Missing controller state list."},
        {replace("\"blink\" 0 0", "\"blink\" 0 x"), "Failed to parse controller state event."},
        {replace("0 0 \"\"\nstate_layer", "0 9 \"\"\nstate_layer"), "Failed to parse controller state event action."},
        {replace("\"Upper\" 1 1", "\"Upper\" 1 2"), "Failed to parse controller state layer."},
        {replace("\"Spine\" 1 0.75", "\"Spine\" 1"), "Failed to parse controller state layer mask."},
        {replace("state 4 \"Run\"", "state x \"Run\""), "Failed to parse controller state."},
        {cutBefore("layer_groups"), "Missing controller layer group list."},
        {replace("\"Arms\" 1 0", "\"Arms\" 1 5"), "Failed to parse controller layer group."},
        {replace("1 2 3 4\n", "1 2 3\n"), "Failed to parse controller layer group members."},
        {replace("1 2 3 4\n", "1 2 3 4 5\n"), "Failed to parse controller layer group members."},
        {replace("\"LeftArm\" 0 1", "\"LeftArm\" 0 1 1"), "Failed to parse controller layer group mask."},
        {cutBefore("transitions"), "Missing controller transition list."},
        {replace("transition 6 3 4", "transition 6 3"), "Failed to parse controller transition."},
        {replace("\"speed\" 1 0.5", "\"speed\" 1.5 0.5"), "Failed to parse controller condition."},
        {replace("transitions 1", "transitions 4000000000"), "Failed to parse controller transition."},
    };
    for (const auto& row : rows) {
        AnimatorController controller;
        std::string error;
        EXPECT_FALSE(ParseAnimatorController(row.text, &controller, registry_, &error)) << row.message;
        EXPECT_EQ(error, row.message) << row.text;
    }
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
        text.replace(text.find(run_), run_.size(), resolves ? "content:Run.bclip" : "content:Gone.bclip");
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
