#include "engine/assets/cooked/CookedContainer.h"

#include "engine/assets/tests/AssetTestSupport.h"
#include "engine/platform/Files.h"

#include <gtest/gtest.h>

#include <functional>
#include <sstream>

namespace Brelk::Assets {
namespace {

using Testing::ScratchFolder;

std::vector<std::uint8_t> Bytes(std::string_view text) { return {text.begin(), text.end()}; }

TEST(CookedContainerTest, EmptyPayloadHasTheHashOfNothingAndOpensAndRawBytesPassWhole) {
    EXPECT_EQ(Xxh64({}), 0xef46db3751d8e999ull);
    const std::vector<std::uint8_t> file = WriteCookedContainer(kCookedKindScene, 1, {});
    ASSERT_EQ(file.size(), 40u);
    EXPECT_EQ(std::string(file.begin(), file.begin() + 4), "BCKD");
    EXPECT_EQ(std::string(file.begin() + 8, file.begin() + 12), "SCNE");
    std::string error;
    const auto payload = OpenCookedContainer(file, kCookedKindScene, 1, "a", &error);
    ASSERT_TRUE(payload) << error;
    EXPECT_TRUE(payload->empty());

    // Raw bytes pass whole; cooked ones are checked.
    const std::vector<std::uint8_t> text = Bytes("bmat 3\n");
    auto raw = OpenCookedOrRaw(text, kCookedKindMaterial, 2, "x", nullptr);
    ASSERT_TRUE(raw);
    EXPECT_EQ(raw->data(), text.data());
    EXPECT_EQ(raw->size(), text.size());
    EXPECT_FALSE(IsCookedFile(Bytes("BCK")));
    EXPECT_FALSE(OpenCookedOrRaw(Bytes("BCKD"), kCookedKindMaterial, 2, "x", &error));
    EXPECT_EQ(error, "Invalid cooked file x: unknown header or container version.");
}

TEST(CookedContainerTest, EachDamageGivesItsReasonInCheckOrder) {
    const std::vector<std::uint8_t> good = WriteCookedContainer(kCookedKindMaterial, 2, Bytes("payload"));
    struct Row {
        const char* what;
        std::function<void(std::vector<std::uint8_t>&)> damage;
        std::uint32_t kind;
        std::uint32_t version;
        const char* reason;
    };
    const Row rows[] = {
        {"short with magic", [](auto& b) { b.resize(39); }, kCookedKindMaterial, 2, "unknown header or container version."},
        {"header size 41", [](auto& b) { b[6] = 41; }, kCookedKindMaterial, 2, "unknown header or container version."},
        {"container version 2", [](auto& b) { b[4] = 2; }, kCookedKindMaterial, 2, "unknown header or container version."},
        {"other kind", [](auto&) {}, kCookedKindModel, 2, "it holds a different kind of asset."},
        // The kind is checked before the version, and the version before the size.
        {"kind and size", [](auto& b) { b.push_back(0); }, kCookedKindScene, 1, "it holds a different kind of asset."},
        {"format version", [](auto& b) { b.push_back(0); }, kCookedKindMaterial, 1,
         "format version 2, expected 1; recook the content."},
        {"one byte more", [](auto& b) { b.push_back(0); }, kCookedKindMaterial, 2, "truncated or oversized payload."},
        {"one byte less", [](auto& b) { b.pop_back(); }, kCookedKindMaterial, 2, "truncated or oversized payload."},
        {"flipped payload", [](auto& b) { b[41] ^= 1; }, kCookedKindMaterial, 2, "checksum mismatch (corrupt file)."},
        {"reserved bytes", [](auto& b) { b[35] = 7; }, kCookedKindMaterial, 2, nullptr},
    };
    for (const Row& row : rows) {
        std::vector<std::uint8_t> bytes = good;
        row.damage(bytes);
        std::string error;
        const auto payload = OpenCookedContainer(bytes, row.kind, row.version, "M.bmat", &error);
        if (row.reason == nullptr) {
            EXPECT_TRUE(payload) << row.what << ": " << error;
        } else {
            EXPECT_FALSE(payload) << row.what;
            EXPECT_EQ(error, std::string("Invalid cooked file M.bmat: ") + row.reason) << row.what;
        }
    }
}

TEST(CookedContainerTest, FilesAreRecognisedStreamedAndHashed) {
    ScratchFolder folder;
    const std::vector<std::uint8_t> file = WriteCookedContainer(kCookedKindClip, 1, Bytes("clip data"));
    ASSERT_TRUE(Platform::WriteFileAtomic(folder / "a.bclip", file));
    Testing::WriteText(folder / "b.bclip", "plain");
    EXPECT_TRUE(IsCookedFileOfKind(folder / "a.bclip", kCookedKindClip));
    EXPECT_FALSE(IsCookedFileOfKind(folder / "a.bclip", kCookedKindMesh));
    EXPECT_FALSE(IsCookedFileOfKind(folder / "b.bclip", kCookedKindClip));

    for (const char* name : {"a.bclip", "b.bclip"}) {
        const auto stream = OpenCookedOrRawStream(folder / name, kCookedKindClip, 1, nullptr);
        ASSERT_TRUE(stream);
        std::ostringstream content;
        content << stream->rdbuf();
        EXPECT_EQ(content.str(), name[0] == 'a' ? "clip data" : "plain");
        stream->clear();
        stream->seekg(-4, std::ios::end);
        EXPECT_EQ(stream->get(), name[0] == 'a' ? 'd' : 'l');
    }

    const auto hash = HashFile(folder / "a.bclip", nullptr);
    ASSERT_TRUE(hash);
    EXPECT_EQ(*hash, Xxh64(file));
    std::string error;
    EXPECT_FALSE(HashFile(folder / "missing", &error));
    EXPECT_EQ(error, "Failed to open file for hashing: " + Platform::PathToUtf8(folder / "missing"));
    EXPECT_EQ(FormatHash(0xef46db3751d8e999ull), "ef46db3751d8e999");
    EXPECT_EQ(FormatHash(10), "000000000000000a");
}

} // namespace
} // namespace Brelk::Assets
