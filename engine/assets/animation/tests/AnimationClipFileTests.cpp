#include "engine/assets/animation/AnimationClipFile.h"

#include "engine/assets/AssetReference.h"
#include "engine/assets/AssetRegistry.h"
#include "engine/assets/ByteStream.h"
#include "engine/assets/cooked/CookedContainer.h"
#include "engine/assets/tests/AssetTestSupport.h"
#include "engine/platform/Files.h"

#include <gtest/gtest.h>

#include <cmath>
#include <tuple>
#include <type_traits>

namespace Brelk::Assets {
namespace {

namespace fs = std::filesystem;
using Testing::LogCapture;
using Testing::ScratchFolder;
using Testing::WriteText;

class AnimationClipFileTest : public ::testing::Test {
protected:
    void SetUp() override {
        WriteText(folder_ / "Hero.bskel", "skeleton");
        registry_.SetContentRoot(folder_.Path(), AssetSourceMode::Authoring);
        skeleton_ = registry_.HandleOfPath(folder_ / "Hero.bskel");
    }

    static AnimationClip FullClip(AssetHandle skeleton) {
        AnimationClip clip;
        clip.name = "Walk \"fast\"";
        clip.skeleton = skeleton;
        clip.duration = 1.25f;
        clip.valueA = 0.5f;
        clip.looping = true;
        clip.modes = {0, 1, 2, 2, 1, 0, 1};
        clip.flagB = true;
        clip.valueB = -3.5f;
        clip.flagD = true;
        clip.text = "root";
        clip.count = 7;
        clip.events.push_back(AnimationEvent{.time = 0.25f, .name = "step", .value = 1.0f, .flag = true,
                                             .textA = "a", .textB = "b", .action = 3, .audio = 0,
                                             .audioValue = 0.75f, .audioFlag = true, .actionText = "jump"});
        clip.tracks.push_back({.boneName = "Hips",
                               .index = 0,
                               .positionKeys = {{0.0f, 1.0f, 2.0f, 3.0f}, {1.0f, 4.0f, 5.0f, 6.0f}},
                               .rotationKeys = {{0.5f, 0.0f, 0.0f, 0.0f, 1.0f}},
                               .scaleKeys = {{0.0f, 1.0f, 1.0f, 1.0f}}});
        clip.tracks.push_back({.boneName = "Spine", .index = 1, .positionKeys = {}, .rotationKeys = {}, .scaleKeys = {}});
        return clip;
    }

    // Every field the file holds; the track map and last key time are derived on load.
    static auto FileFields(const AnimationClip& c) {
        return std::tie(c.name, c.skeleton, c.duration, c.valueA, c.looping, c.modes, c.flagA, c.flagB, c.flagC,
                        c.valueB, c.flagD, c.text, c.count, c.events, c.tracks);
    }

    ScratchFolder folder_;
    AssetRegistry registry_;
    AssetHandle skeleton_ = 0;
};

// Writes each value in the form its type says: a float as f32, a bool as one byte, any other number
// as u32, text as a string.
template <typename... Values>
std::vector<std::uint8_t> Bytes(const Values&... values) {
    ByteWriter writer;
    const auto put = [&](const auto& value) {
        using T = std::decay_t<decltype(value)>;
        if constexpr (std::is_same_v<T, float>) writer.WriteF32(value);
        else if constexpr (std::is_same_v<T, bool>) writer.WriteU8(value ? 1 : 0);
        else if constexpr (std::is_integral_v<T>) writer.WriteU32(static_cast<std::uint32_t>(value));
        else writer.WriteString(value);
    };
    (put(values), ...);
    return writer.TakeBytes();
}

// The head and payload of a version 2 file with the given modes, no events, no tracks.
std::vector<std::uint8_t> VersionTwoClip(std::int32_t firstMode, std::int32_t lastMode, float valueA) {
    return Bytes(kAnimationClipMagic, 2, "Old", "", 2.0f, valueA, true, firstMode, 1, 1, 1, 1, 1, lastMode, false,
                 false, false, 0.0f, false, "", 0, 0, 0);
}

TEST_F(AnimationClipFileTest, RawAndCookedFilesRoundTripEveryFieldButTheAudioHandle) {
    AnimationClip clip = FullClip(skeleton_);
    clip.events[0].audio = 0x100000001;
    ASSERT_TRUE(SaveAnimationClip(folder_ / "Clips/Walk.bclip", clip, registry_));
    ASSERT_TRUE(Platform::WriteFileAtomic(folder_ / "Walk.cooked", CookAnimationClip(clip, registry_)));
    clip.events[0].audio = 0;
    for (const char* name : {"Clips/Walk.bclip", "Walk.cooked"}) {
        AnimationClip loaded;
        std::string error;
        ASSERT_TRUE(LoadAnimationClip(folder_ / name, registry_, &loaded, &error)) << name << ": " << error;
        EXPECT_EQ(FileFields(loaded), FileFields(clip));
        EXPECT_EQ(loaded.FindTrack("Spine"), 1);
        EXPECT_EQ(loaded.lastKeyTime, 1.0f);
    }
    EXPECT_TRUE(HasAnimationClipHead(folder_ / "Clips/Walk.bclip"));
    EXPECT_TRUE(HasAnimationClipHead(folder_ / "Walk.cooked"));
}

TEST_F(AnimationClipFileTest, OldVersionsReadWithClampedModesAndDefaultsAndAGoneSkeletonWarns) {
    AnimationClip clip;
    ASSERT_TRUE(ParseAnimationClip(VersionTwoClip(-1, 7, -2.0f), registry_, "Old", &clip));
    EXPECT_EQ(clip.modes, (std::array<std::int32_t, 7>{0, 1, 1, 1, 1, 1, 2}));
    EXPECT_EQ(clip.valueA, 0.0f);
    ASSERT_TRUE(ParseAnimationClip(VersionTwoClip(0, 0, std::nanf("")), registry_, "Old", &clip));
    EXPECT_EQ(clip.valueA, 0.0f);

    // Version 1: duration and looping; one event of time, name, value and flag; one track of bone,
    // index and counts of position, rotation and scale keys, and its scale key. Its skeleton is gone.
    const std::vector<std::uint8_t> v1 = Bytes(kAnimationClipMagic, 1, "V1", "content:Gone.bskel", 3.0f, true, 1, 0.5f,
                                               "hit", 2.0f, true, 1, "Hips", 4, 0, 0, 1, 0.0f, 2.0f, 2.0f, 2.0f);
    LogCapture log;
    ASSERT_TRUE(ParseAnimationClip(v1, registry_, "Clips/V1.bclip", &clip));
    EXPECT_EQ(log.Messages(Core::LogLevel::Warning),
              std::vector<std::string>{
                  "Unresolved animation clip skeleton reference in Clips/V1.bclip (clip.skeleton): content:Gone.bskel"});
    EXPECT_EQ(std::tie(clip.skeleton, clip.name, clip.duration, clip.looping),
              std::tuple(AssetHandle{0}, "V1", 3.0f, true));
    AnimationEvent hit;
    std::tie(hit.time, hit.name, hit.value, hit.flag) = std::tuple(0.5f, "hit", 2.0f, true);
    EXPECT_EQ(clip.events, std::vector<AnimationEvent>{hit});
    ASSERT_EQ(clip.tracks.size(), 1u);
    EXPECT_EQ(clip.tracks[0].index, 4);
    EXPECT_EQ(clip.tracks[0].scaleKeys, (std::vector<AnimationVectorKey>{{0.0f, 2.0f, 2.0f, 2.0f}}));
}

TEST_F(AnimationClipFileTest, BrokenFilesGiveTheirMessages) {
    const std::vector<std::uint8_t> good = SerializeAnimationClip(FullClip(skeleton_), registry_);
    auto withU32At = [&](std::size_t offset, std::uint32_t value) {
        std::vector<std::uint8_t> bytes = good;
        for (int i = 0; i < 4; ++i) bytes[offset + i] = static_cast<std::uint8_t>(value >> (8 * i));
        return bytes;
    };
    auto cut = [&](std::size_t size) { return std::vector<std::uint8_t>(good.begin(), good.begin() + size); };
    std::vector<std::uint8_t> trailing = good;
    trailing.push_back(0);
    // The event count sits behind the fixed fields, the name "Walk \"fast\"" and the text "root".
    const std::size_t eventCountAt = 8 + 4 + 11 + 4 + 41 + 4 + 4 + 1 + 28 + 3 + 4 + 1 + 4 + 4 + 4;
    const struct {
        const char* what;
        std::vector<std::uint8_t> bytes;
        const char* message;
    } rows[] = {
        {"version 0", withU32At(4, 0), "Invalid animation clip asset header."},
        {"version 5", withU32At(4, 5), "Invalid animation clip asset header."},
        {"other magic", withU32At(0, 0x42434C51), "Invalid animation clip asset header."},
        {"name past the end", withU32At(8, 1000), "Invalid animation clip asset header."},
        {"three bytes", cut(3), "Invalid animation clip asset header."},
        {"no payload", cut(8 + 4 + 11 + 4 + 41), "Invalid animation clip payload."},
        {"last key cut", cut(good.size() - 1), "Invalid animation clip payload."},
        {"huge event count", withU32At(eventCountAt, 0xFFFFFFFF), "Invalid animation clip payload."},
        {"a byte behind the tracks", trailing, "Invalid animation clip payload."},
    };
    for (const auto& row : rows) {
        AnimationClip clip;
        std::string error;
        EXPECT_FALSE(ParseAnimationClip(row.bytes, registry_, "Walk", &clip, &error)) << row.what;
        EXPECT_EQ(error, row.message) << row.what;
    }
}

TEST_F(AnimationClipFileTest, AFileThatIsNoClipSaysWhy) {
    AnimationClip clip;
    std::string error;
    EXPECT_FALSE(LoadAnimationClip(folder_ / "Missing.bclip", registry_, &clip, &error));
    EXPECT_TRUE(error.starts_with("Failed to open animation clip asset. Failed to open ")) << error;
    const std::vector<std::uint8_t> scene = WriteCookedContainer(kCookedKindScene, 1, std::vector<std::uint8_t>(4));
    ASSERT_TRUE(Platform::WriteFileAtomic(folder_ / "Scene.bclip", scene));
    EXPECT_FALSE(LoadAnimationClip(folder_ / "Scene.bclip", registry_, &clip, &error));
    EXPECT_TRUE(error.starts_with("Failed to open animation clip asset. Invalid cooked file ")) << error;
    EXPECT_FALSE(HasAnimationClipHead(folder_ / "Scene.bclip"));
    WriteText(folder_ / "Version5.bclip", std::string("PLCB\x05\0\0\0", 8));
    EXPECT_FALSE(HasAnimationClipHead(folder_ / "Version5.bclip"));
    WriteText(folder_ / "Version4.bclip", std::string("PLCB\x04\0\0\0", 8));
    EXPECT_TRUE(HasAnimationClipHead(folder_ / "Version4.bclip"));
}

} // namespace
} // namespace Brelk::Assets
