#include "engine/assets/materials/MaterialFile.h"

#include "engine/assets/AssetReference.h"
#include "engine/assets/AssetRegistry.h"
#include "engine/assets/cooked/CookedContainer.h"
#include "engine/assets/cooked/CookedMaterial.h"
#include "engine/assets/materials/MaterialDefaults.h"
#include "engine/assets/materials/MaterialText.h"
#include "engine/assets/tests/AssetTestSupport.h"
#include "engine/core/Hash.h"
#include "tests/support/TextCases.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace Brelk::Assets {
namespace {

namespace fs = std::filesystem;
using Testing::LogCapture;
using Testing::ReadText;
using Testing::WriteText;

const fs::path kData = fs::path(BRELK_TEST_DATA_DIR).parent_path().parent_path() / "materials" / "tests" / "data";

// Ordinary values are pinned by the golden files; these are the edges of the float form, and vectors
// that are not four finite numbers, which give the fallback whole.
TEST(MaterialVectorTextTest, ParsesAndFormatsAsTheCaseFileHolds) {
    Brelk::Testing::ExpectTextCases(kData / "MaterialVectors.txt", [](const Brelk::Testing::TextCase& c) {
        const std::string_view text = std::string_view(c.input).substr(0, c.input.find('\n'));
        return FormatMaterialVector(ParseMaterialVector(text, {9.0f, 9.0f, 9.0f, 9.0f}));
    });
    EXPECT_EQ(FormatMaterialFloat(std::numeric_limits<float>::infinity()), "inf");
    EXPECT_EQ(FormatMaterialFloat(-std::numeric_limits<float>::quiet_NaN()), "-nan");
}

class MaterialFileTest : public ::testing::Test {
protected:
    void SetUp() override {
        WriteText(root_ / "Content/Textures/Rock.png", "png");
        WriteText(root_ / "Content/Materials/Base.bmat", "");
        registry_.SetContentRoot(root_ / "Content", AssetSourceMode::Authoring);
        rock_ = registry_.HandleOfPath(root_ / "Content/Textures/Rock.png");
        base_ = registry_.HandleOfPath(root_ / "Content/Materials/Base.bmat");
    }

    MaterialAsset ReadBack(std::string_view text, const AssetRegistry* registry) {
        WriteText(root_ / "In.bmat", text);
        MaterialAsset material;
        std::string error;
        EXPECT_TRUE(ReadMaterialAsset(root_ / "In.bmat", material, registry, &error)) << error;
        return material;
    }

    Testing::ScratchFolder root_;
    AssetRegistry registry_;
    AssetHandle rock_ = 0;
    AssetHandle base_ = 0;
};

TEST_F(MaterialFileTest, EachKindsDefaultGraphAndAGraphOfLateLinesWriteBackAsTheGoldenFileHolds) {
    std::string text;
    for (const char* kind : {"", "kind Function\n", "kind PostProcess\n"}) {
        MaterialAsset material = ReadBack(kind, nullptr);
        EXPECT_TRUE(material.graph.dirty);
        EXPECT_EQ(material.graph.revision, 1u);
        ASSERT_TRUE(WriteMaterialAsset(root_ / "Out/Fresh.bmat", material, nullptr));
        text += "== " + std::string(kind) + ReadText(root_ / "Out/Fresh.bmat");
    }
    EXPECT_TRUE(ReadBack("is_instance 1\n", nullptr).graph.nodes.empty());
    // A graph given in the file is read whatever order its lines come in; what it cannot use is dropped.
    const MaterialAsset late =
        ReadBack("pin 9 10 Output Bogus 1 1 \"Out\"\nprop 9 \"k\" \"v\"\npin 9 11 Input Vec3 0 0\n"
                 "pin 8 12 Input Vec3 0 0 \"Nowhere\"\nnode 9 NoSuchNode 1.5 -2 \"Late\"\n"
                 "node 13 CustomCode 0 0 \"Code\"\nlink 1 2 3\nlink 4 x 5\nfuture_key 1\n",
                 nullptr);
    ASSERT_TRUE(WriteMaterialAsset(root_ / "Out/Late.bmat", late, nullptr));
    Brelk::Testing::ExpectGoldenText(kData / "MaterialStartingGraphs.txt", text + "== late lines\n" + ReadText(root_ / "Out/Late.bmat"));
}

// Every field of the golden file is off its default; it names the two assets of the project by word.
TEST_F(MaterialFileTest, RoundTripsEveryFieldWithReferencesThroughTheRegistry) {
    std::string text = ReadText(kData / "FullInstance.bmatinst");
    for (const auto& [handle, word] : {std::pair{rock_, "\"ROCK\""}, std::pair{base_, "\"BASE\""}}) {
        const std::string reference = "\"" + AssetReferenceOf(registry_, handle) + "\"";
        for (std::size_t at = text.find(word); at != std::string::npos; at = text.find(word))
            text.replace(at, std::string_view(word).size(), reference);
    }
    const MaterialAsset material = ReadBack(text, &registry_);
    ASSERT_TRUE(WriteMaterialAsset(root_ / "Out/Full.bmatinst", material, &registry_));
    EXPECT_EQ(ReadText(root_ / "Out/Full.bmatinst"), text);

    MaterialAsset legacy;
    ASSERT_TRUE(WriteMaterialAsset(root_ / "Out/Legacy.bmat", material, nullptr));
    ASSERT_TRUE(ReadMaterialAsset(root_ / "Out/Legacy.bmat", legacy, nullptr));
    EXPECT_EQ(legacy, material);
}

TEST_F(MaterialFileTest, ReadsCookedMaterialsByTheirSourceTextAndReportsBrokenContainers) {
    CookedMaterial cooked;
    cooked.sourceText = "version 1\nkind PostProcess\nroughness 0.25\n";
    cooked.shaderName = "Grade_5";
    const std::vector<std::uint8_t> payload = EncodeCookedMaterial(cooked);
    std::vector<std::uint8_t> file = WriteCookedContainer(kCookedKindMaterial, kCookedMaterialFormatVersion, payload);
    WriteText(root_ / "Cooked.bmatpp", std::string_view(reinterpret_cast<const char*>(file.data()), file.size()));
    MaterialAsset material;
    CookedMaterial read;
    ASSERT_TRUE(ReadMaterialAsset(root_ / "Cooked.bmatpp", material, nullptr, nullptr, &read));
    EXPECT_EQ(material.roughness, 0.25f);
    EXPECT_EQ(read.shaderName, "Grade_5");
    EXPECT_EQ(material.graph.domain, 2u);

    const std::string name = (root_ / "Broken.bmat").string();
    const struct {
        std::vector<std::uint8_t> bytes;
        std::string message;
    } table[] = {
        {WriteCookedContainer(kCookedKindMaterial, 1, payload),
         "Invalid cooked file " + name + ": format version 1, expected 2; recook the content."},
        {WriteCookedContainer(kCookedKindMaterial, 2, std::vector<std::uint8_t>{1, 0, 0}),
         "Invalid cooked material " + name + ": Cooked data ends early."},
    };
    for (const auto& row : table) {
        WriteText(root_ / "Broken.bmat",
                  std::string_view(reinterpret_cast<const char*>(row.bytes.data()), row.bytes.size()));
        std::string error;
        EXPECT_FALSE(ReadMaterialAsset(root_ / "Broken.bmat", material, nullptr, &error));
        EXPECT_EQ(error, row.message);
    }
    std::string error;
    EXPECT_FALSE(ReadMaterialAsset(root_ / "Missing.bmat", material, nullptr, &error));
    EXPECT_EQ(error, "Failed to open material asset file.");
    fs::create_directories(root_ / "Folder.bmat");
    EXPECT_FALSE(WriteMaterialAsset(root_ / "Folder.bmat", material, nullptr, &error));
    EXPECT_EQ(error, "Failed to open material asset for writing.");
    EXPECT_NE(Testing::ThrownMessage([&] {
                  (void)WriteMaterialAsset(root_ / "Cooked.bmatpp" / "In.bmat", material, nullptr);
              }).find("create_directories"),
              std::string::npos);
}

TEST_F(MaterialFileTest, AppliesTheReadersRulesForModesAndValues) {
    EXPECT_EQ(ReadBack("double_sided 1\n", nullptr).cullMode, 1u);
    EXPECT_EQ(ReadBack("double_sided 1\ncull_mode Back\n", nullptr).cullMode, 0u);
    EXPECT_EQ(ReadBack("blend_mode 2\nblend_mode 5\n", nullptr).blendMode, 2u);
    MaterialAsset preset;
    preset.blendMode = 4;
    WriteText(root_ / "Blend.bmat", "blend_mode 5\n");
    ASSERT_TRUE(ReadMaterialAsset(root_ / "Blend.bmat", preset, nullptr));
    EXPECT_EQ(preset.blendMode, 0u);
    EXPECT_EQ(ReadBack("emissive 1,0,0,0\n", nullptr).emissiveIntensity, 1.0f);
    EXPECT_EQ(ReadBack("emissive_intensity 0\nemissive 1,0,0,0\n", nullptr).emissiveIntensity, 0.0f);
    EXPECT_TRUE(ReadBack("opaque\n", nullptr).opaque);
    EXPECT_EQ(ReadBack("shading_model Unlit\ndepth_mode Always\nuv_scale 3,x\n", nullptr).depthMode, 2u);
    EXPECT_EQ(ReadBack("uv_scale 3,x\n", nullptr).uvScale, (std::array<float, 2>{1.0f, 1.0f}));

}

TEST_F(MaterialFileTest, BareHandlesAreMigratedOnlyInOldFilesAndReferencesThatFailWarn) {
    const std::string in = (root_ / "In.bmat").string();
    const std::uint64_t legacyRock = Core::Fnv1a64((root_ / "Content/Textures/Rock.png").generic_string());
    {
        LogCapture log;
        EXPECT_EQ(ReadBack("version 3\nalbedo_texture 123\n", &registry_).albedoTexture, 0u);
        EXPECT_TRUE(log.Messages(Core::LogLevel::Warning).empty());
    }
    {
        LogCapture log;
        const MaterialAsset material =
            ReadBack("version 1\nalbedo_texture 123\nnormal_texture " + std::to_string(legacyRock) + "\nao_texture " +
                         std::to_string(rock_) + "\n",
                     &registry_);
        EXPECT_EQ(material.albedoTexture, 0u);
        EXPECT_EQ(material.normalTexture, rock_);
        EXPECT_EQ(material.aoTexture, rock_);
        EXPECT_EQ(log.Messages(Core::LogLevel::Warning),
                  (std::vector<std::string>{"Unresolved material asset reference in " + in + " (albedo_texture): 123",
                                            "Migrated legacy material asset handle in " + in +
                                                " (normal_texture) to current project asset: " +
                                                (root_ / "Content/Textures/Rock.png").string()}));
    }
    {
        LogCapture log;
        const MaterialAsset material = ReadBack(
            "version 3\nalbedo_texture_ref \"content:Textures/Gone.png\"\noverride_ref \"Tint\" 1 1,1,1,1 \"guid:x\"\n"
            "node 4 Texture2D 0 0 \"Tex\"\nprop_ref 4 \"asset\" \"content:Textures/Rock.png\"\n"
            "prop 4 \"default_texture\" \"77\"\nprop_ref 4 \"other\" \"builtin:Nope\"\n",
            &registry_);
        EXPECT_EQ(material.graph.nodes[0].properties.at("asset"), std::to_string(rock_));
        EXPECT_EQ(material.graph.nodes[0].properties.at("default_texture"), "0");
        EXPECT_EQ(material.graph.nodes[0].properties.at("other"), "0");
        EXPECT_EQ(log.Messages(Core::LogLevel::Warning),
                  (std::vector<std::string>{
                      "Unresolved material asset reference in " + in + " (albedo_texture): content:Textures/Gone.png",
                      "Unresolved material asset reference in " + in + " (override 'Tint'.texture): guid:x",
                      "Unresolved material asset reference in " + in + " (node 'Tex' other): builtin:Nope"}));
    }
    const MaterialAsset without =
        ReadBack("version 3\nalbedo_texture 123\nnormal_texture_ref \"content:x\"\n", nullptr);
    EXPECT_EQ(without.albedoTexture, 123u);
    EXPECT_EQ(without.normalTexture, 0u);
}

TEST(MaterialExtensionTest, KnowsTheFourKindsInAnyCase) {
    for (const char* path : {"a.bmat", "b/c.BMATPP", "d.bmatinst", "e.BmatFunc"})
        EXPECT_TRUE(IsMaterialExtension(path));
    for (const char* path : {"a.bmats", "bmat", "a.bmat.bmeta", "a.mat"}) EXPECT_FALSE(IsMaterialExtension(path));
}

TEST(DefaultMaterialTest, UsesTheBuiltinTexturesAndRoughnessOfTheEngine) {
    const MaterialAsset material = MakeDefaultMaterial({.white = 11, .black = 12, .flatNormal = 13});
    EXPECT_EQ(material.roughness, 0.65f);
    EXPECT_EQ(
        (std::array{material.albedoTexture, material.normalTexture, material.metallicTexture, material.roughnessTexture,
                    material.aoTexture, material.emissiveTexture, material.heightTexture}),
        (std::array<AssetHandle, 7>{11, 13, 11, 11, 11, 12, 12}));
    EXPECT_TRUE(material.graph.nodes.empty());
}

} // namespace
} // namespace Brelk::Assets
