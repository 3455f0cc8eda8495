#include "engine/scene/CookedScene.h"

#include "engine/assets/AssetManager.h"
#include "engine/assets/ByteStream.h"
#include "engine/assets/cooked/CookedContainer.h"
#include "engine/platform/Files.h"
#include "engine/scene/InstallComponents.h"
#include "engine/scene/Scene.h"
#include "engine/scene/SceneFile.h"
#include "engine/scene/SceneTextParser.h"

#include "tests/support/TestSupport.h"

#include <gtest/gtest.h>

#include <functional>

namespace Brelk::Scene {
namespace {

namespace fs = std::filesystem;
using Assets::ByteWriter;
using Reflection::SchemaArray;
using Reflection::SchemaRecord;

SceneDocument DoorDocument() {
    SceneDocument document;
    EXPECT_TRUE(ParseSceneText(Testing::ReadText(fs::path(BRELK_TEST_DATA_DIR) / "DoorAndHandle.bscene"), document,
                               "Door.bscene", nullptr));
    return document;
}

// A payload written field by field, so that each test can break exactly one field.
struct Payload {
    ByteWriter writer;
    Payload& U8(std::uint8_t v) { return writer.WriteU8(v), *this; }
    Payload& U32(std::uint32_t v) { return writer.WriteU32(v), *this; }
    Payload& U64(std::uint64_t v) { return writer.WriteU64(v), *this; }
    Payload& Str(std::string_view v) { return writer.WriteString(v), *this; }
    // An entity header up to its record count.
    Payload& Entity(std::uint64_t low, std::uint8_t parentFlag = 0) {
        return U64(0).U64(low).Str("E").U8(parentFlag).U64(0).U64(0);
    }
    std::vector<std::uint8_t> File() const {
        return Assets::WriteCookedContainer(Assets::kCookedKindScene, kCookedSceneFormatVersion, writer.Bytes());
    }
};

std::string DecodeError(const std::vector<std::uint8_t>& file) {
    SceneDocument document;
    std::string error;
    return DecodeCookedScene(file, document, "S.bscene", &error) ? "<decoded>" : error;
}

// A record whose one field nests records `depth` levels deep.
SchemaRecord Nested(std::uint32_t depth) {
    SchemaRecord record{"T", 1, {}};
    if (depth > 0) record.fields.push_back({"f", Nested(depth - 1)});
    return record;
}

std::vector<std::uint8_t> OneRecordFile(const SchemaRecord& record) {
    SceneDocument document;
    document.version = SceneFormatVersion;
    SceneEntityBlock& entity = document.entities.emplace_back();
    entity.guid = Core::Guid::FromName("e");
    entity.records.push_back({record, ~std::uint64_t{0}, 0});
    return EncodeCookedScene(document);
}

TEST(CookedSceneTest, AnEmptyDocumentIsFortyNineKnownBytes) {
    SceneDocument document;
    document.version = SceneFormatVersion;
    const std::vector<std::uint8_t> file = EncodeCookedScene(document);
    ASSERT_EQ(file.size(), 49u);
    EXPECT_EQ(std::vector<std::uint8_t>(file.begin() + 40, file.end()),
              (std::vector<std::uint8_t>{6, 0, 0, 0, 0, 0, 0, 0, 0}));
    EXPECT_EQ(Assets::ParseCookedHeader(file)->checksum, 0xc6cf81b008f15a11ull);
    EXPECT_EQ(DecodeError(file), "<decoded>");
}

TEST(CookedSceneTest, ADocumentRoundTripsWithItsSourceSizesRaisedToTheRecords) {
    SceneDocument text = DoorDocument();
    text.entities[1].hasParentRecord = false; // kept as it stands, the parent still counts
    text.entities[0].records[0].sourceBytes = 3;
    SceneDocument cooked;
    std::string error;
    ASSERT_TRUE(DecodeCookedScene(EncodeCookedScene(text), cooked, "Door", &error)) << error;
    ASSERT_EQ(cooked.entities.size(), 2u);
    // Names, parents and records are compared through a load below; these are what a load hides.
    for (std::size_t i = 0; i < 2; ++i) {
        EXPECT_EQ(cooked.entities[i].hasParentRecord, text.entities[i].hasParentRecord);
        EXPECT_EQ(cooked.entities[i].line, 0u);
    }
    EXPECT_GT(cooked.entities[0].records[0].sourceBytes, 3u);
    EXPECT_EQ(cooked.entities[1].records[0].sourceBytes, text.entities[1].records[0].sourceBytes);
}

TEST(CookedSceneTest, EachMalformedPayloadGivesItsMessage) {
    const auto scene = [](std::function<void(Payload&)> body) {
        Payload p;
        p.U32(6);
        body(p);
        return p.File();
    };
    const std::pair<std::vector<std::uint8_t>, std::string> rows[] = {
        {Payload().U32(5).U8(0).U32(0).File(), "Cooked scene holds scene version 5; recook the content."},
        {scene([](Payload& p) { p.U8(2).U32(0); }), "Malformed environment flag."},
        {scene([](Payload& p) { p.U8(1).Str("Other").U32(1).U32(0).U32(0); }), "Malformed environment record."},
        {scene([](Payload& p) { p.U8(0).U32(1).U64(0).U64(0).Str("E").U8(0).U64(0).U64(0).U32(0); }),
         "Null entity GUID."},
        {scene([](Payload& p) { p.U8(0).U32(1).Entity(1, 2).U32(0); }), "Malformed parent flag."},
        {scene([](Payload& p) { p.U8(0).U32(1).Entity(1).U32(1).U64(0).Str("EnvironmentSettings").U32(1).U32(0); }),
         "Environment record inside an entity."},
        {scene([](Payload& p) { p.U8(0).U32(1).Entity(1).U32(1).U64(0).Str("").U32(1).U32(0); }),
         "Record without a type name."},
        {scene([](Payload& p) { p.U8(0).U32(1).Entity(1).U32(1).U64(0).Str("T").U32(1).U32(1).Str("f").U8(3); }),
         "Unknown record value tag."},
        {scene([](Payload& p) { p.U8(0).U32(0).U8(0); }), "Trailing data after the last entity."},
        {scene([](Payload& p) { p.U8(0).U32(1); }), "Cooked item count exceeds the data."},
        {scene([](Payload& p) { p.U8(0).U32(0x1000001); }), "Cooked item count exceeds its limit."},
        {scene([](Payload& p) { p.U8(0).U32(1).Entity(1).U32(65537); }), "Cooked item count exceeds its limit."},
        {scene([](Payload& p) { p.U8(0).U32(1).Entity(1).U32(1).U64(0).Str("T").U32(1).U32(1025); }),
         "Cooked item count exceeds its limit."},
        {scene([](Payload& p) { p.U8(0).U32(1).Entity(1).U32(1).U64(0).Str("T").U32(1).U32(1).Str("f").U8(0).U32(9); }),
         "Cooked data ends early."},
    };
    for (const auto& [file, message] : rows) EXPECT_EQ(DecodeError(file), "Invalid cooked scene S.bscene: " + message);
}

TEST(CookedSceneTest, RecordLimitsPassAtTheirEdgeAndFailOnePast) {
    const std::string prefix = "Invalid cooked scene S.bscene: ";
    EXPECT_EQ(DecodeError(OneRecordFile(Nested(16))), "<decoded>");
    EXPECT_EQ(DecodeError(OneRecordFile(Nested(17))), prefix + "Record nesting exceeds the schema depth limit.");

    // 4 arrays of 1023 elements and 4 fields hold 4096 counted items; one more is too many.
    SchemaRecord wide{"T", 1, {}};
    for (int i = 0; i < 4; ++i) {
        wide.fields.push_back({"a", SchemaArray{std::vector<Reflection::SchemaValue>(1023, std::string())}});
    }
    EXPECT_EQ(DecodeError(OneRecordFile(wide)), "<decoded>");
    wide.fields.push_back({"b", std::string()});
    EXPECT_EQ(DecodeError(OneRecordFile(wide)), prefix + "Record exceeds the total field limit.");

    // Name 5 + version 4 + count 4 + field name 5 + tag 1 + length 4 = 23 bytes around the text.
    SchemaRecord large{"T", 1, {{"f", std::string(1048576 - 23, 'x')}}};
    EXPECT_EQ(DecodeError(OneRecordFile(large)), "<decoded>");
    std::get<std::string>(large.fields[0].value) += 'x';
    EXPECT_EQ(DecodeError(OneRecordFile(large)), prefix + "Record exceeds the schema size limit.");
}

class CookedSceneLoadTest : public ::testing::Test {
protected:
    void SetUp() override {
        InstallComponents();
        assets_.Initialize(root_ / "Content", Assets::AssetSourceMode::Authoring);
    }

    Testing::ScratchFolder root_;
    Assets::AssetManager assets_;
};

TEST_F(CookedSceneLoadTest, TextAndCookedFormsLoadToTheSameSceneFailuresSayWhyAndACookedPackageRefusesText) {
    const fs::path text = fs::path(BRELK_TEST_DATA_DIR) / "DoorAndHandle.bscene";
    std::vector<std::uint8_t> cooked;
    std::string error;
    ASSERT_TRUE(CookSceneFile(text, cooked, &error)) << error;
    ASSERT_TRUE(Platform::WriteFileAtomic(root_ / "Content" / "Door.bscene", cooked));
    Scene fromText;
    Scene fromCooked;
    ASSERT_TRUE(LoadScene(text, fromText, assets_, &error)) << error;
    ASSERT_TRUE(LoadScene(root_ / "Content" / "Door.bscene", fromCooked, assets_, &error)) << error;
    ASSERT_TRUE(SaveScene(root_ / "a.bscene", fromText, assets_, &error)) << error;
    ASSERT_TRUE(SaveScene(root_ / "b.bscene", fromCooked, assets_, &error)) << error;
    EXPECT_EQ(Testing::ReadText(root_ / "a.bscene"), Testing::ReadText(root_ / "b.bscene"));

    EXPECT_FALSE(CookSceneFile(root_ / "none.bscene", cooked, &error));
    EXPECT_EQ(error, "Failed to open scene file for reading: " + Platform::PathToUtf8(root_ / "none.bscene"));

    // Cooked failures are reported in their own words.
    const fs::path path = root_ / "Content" / "S.bscene";
    Scene scene;

    std::vector<std::uint8_t> corrupt = Payload().U32(6).U8(0).U32(0).File();
    corrupt[44] = 1;
    ASSERT_TRUE(Platform::WriteFileAtomic(path, corrupt));
    EXPECT_FALSE(LoadScene(path, scene, assets_, &error));
    EXPECT_EQ(error, "Failed to read cooked scene: Invalid cooked file " + Platform::PathToUtf8(path) +
                         ": checksum mismatch (corrupt file).");

    ASSERT_TRUE(Platform::WriteFileAtomic(path, Payload().U32(6).U8(0).U32(1).Entity(1).U32(0).File()));
    EXPECT_FALSE(LoadScene(path, scene, assets_, &error));
    EXPECT_EQ(error, "Failed to load cooked scene entity 0: Entity is missing its TransformComponent record.");

    // A read-only package that demands cooked scenes refuses text.
    const fs::path packaged = root_ / "Content" / "Main.bscene";
    Testing::WriteText(packaged, "scene_version 6\n");
    Testing::WriteText(root_ / "Content" / "CookedAssetManifest.bmanifest", "brelk_cooked_manifest 3\nrequire_cooked_scenes 1\n");
    ASSERT_TRUE(LoadScene(packaged, scene, assets_, &error)) << error; // authoring projects still read text
    Assets::AssetManager package;
    package.Initialize(root_ / "Content", Assets::AssetSourceMode::ReadOnly);
    EXPECT_FALSE(LoadScene(packaged, scene, package, &error));
    EXPECT_EQ(error, "Scene \"" + Platform::PathToUtf8(packaged) +
                         "\" is not cooked. This package loads only cooked scenes; cook the project with brelk-cook "
                         "or the packager.");
    ASSERT_TRUE(CookSceneFile(packaged, cooked, &error));
    ASSERT_TRUE(Platform::WriteFileAtomic(packaged, cooked));
    EXPECT_TRUE(LoadScene(packaged, scene, package, &error)) << error;
}

} // namespace
} // namespace Brelk::Scene
