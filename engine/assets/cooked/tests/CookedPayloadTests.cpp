#include "engine/assets/ByteStream.h"
#include "engine/assets/cooked/CookedMaterial.h"
#include "engine/assets/cooked/CookedModel.h"

#include <gtest/gtest.h>

#include <functional>

namespace Brelk::Assets {
namespace {

CookedMaterial SampleMaterial() {
    CookedMaterial material;
    material.sourceText = "bmat 3\n";
    material.shaderName = "Rock_0123";
    material.flags = 2;
    material.vertexSpirv = {3, 2, 35, 7};
    material.fragmentSpirv = {1, 2, 3, 4, 5, 6, 7, 8};
    material.parameters = {{"Tint", 3, 1, {1, 0.5f, 0, 1}, ""}, {"Albedo", 5, 0, {}, "builtin:White"}};
    material.kind = 2;
    material.domain = 4;
    material.stampB = 99;
    material.surfaceFlags = 1023;
    material.baseColor = {0.1f, 0.2f, 0.3f, 1};
    material.roughness = 0.65f;
    material.alphaCutoff = 0.5f;
    material.textureReferences[6] = "content:Textures/H.png";
    material.generatedTextures = {{"derived:x", 3}};
    return material;
}

// Field-wise equality through the encoder: two materials are equal when they encode alike.
void ExpectSameMaterial(const CookedMaterial& a, const CookedMaterial& b) {
    EXPECT_EQ(EncodeCookedMaterial(a), EncodeCookedMaterial(b));
}

TEST(CookedPayloadTest, MaterialRoundTripsAndRefusesEachBadField) {
    const std::vector<std::uint8_t> good = EncodeCookedMaterial(SampleMaterial());
    const auto decoded = DecodeCookedMaterial(good, "Rock", nullptr);
    ASSERT_TRUE(decoded);
    ExpectSameMaterial(*decoded, SampleMaterial());
    EXPECT_EQ(decoded->parameters[1].textureReference, "builtin:White");

    struct Row {
        const char* reason;
        std::function<void(CookedMaterial&)> change;
    };
    const Row rows[] = {
        {"unknown material flags.", [](CookedMaterial& m) { m.flags = 4; }},
        {"SPIR-V blob is not a whole number of words.", [](CookedMaterial& m) { m.shadowFragmentSpirv.resize(6); }},
        {"unknown material kind or domain.", [](CookedMaterial& m) { m.kind = 3; }},
        {"unknown material kind or domain.", [](CookedMaterial& m) { m.domain = 5; }},
        {"unknown material surface flags.", [](CookedMaterial& m) { m.surfaceFlags = 1024; }},
        {"Cooked string exceeds its limit.", [](CookedMaterial& m) { m.shaderName.assign(4097, 'x'); }},
        {"Cooked item count exceeds its limit.", [](CookedMaterial& m) { m.generatedTextures.resize(65); }},
    };
    for (const Row& row : rows) {
        CookedMaterial material = SampleMaterial();
        row.change(material);
        std::string error;
        EXPECT_FALSE(DecodeCookedMaterial(EncodeCookedMaterial(material), "Rock", &error));
        EXPECT_EQ(error, std::string("Invalid cooked material Rock: ") + row.reason);
    }

    std::string error;
    std::vector<std::uint8_t> trailing = good;
    trailing.push_back(0);
    EXPECT_FALSE(DecodeCookedMaterial(trailing, "Rock", &error));
    EXPECT_EQ(error, "Invalid cooked material Rock: trailing data.");
    // Every cut of the payload fails cleanly, never reading past it.
    for (std::size_t size = 0; size < good.size(); ++size) {
        EXPECT_FALSE(DecodeCookedMaterial(std::span(good.data(), size), "Rock", nullptr)) << size;
    }
}

TEST(CookedPayloadTest, CountsAreHeldAgainstTheDataBeforeAnythingIsReserved) {
    ByteWriter writer;
    writer.WriteString("");
    writer.WriteString("");
    writer.WriteU32(0);
    for (int blob = 0; blob < 3; ++blob) writer.WriteU32(0);
    writer.WriteU32(4096); // parameters at their limit, with no bytes behind them
    std::string error;
    EXPECT_FALSE(DecodeCookedMaterial(writer.Bytes(), "M", &error));
    EXPECT_EQ(error, "Invalid cooked material M: Cooked item count exceeds the data.");

    ByteWriter blob;
    blob.WriteU32(0xFFFFFFFF);
    EXPECT_FALSE(DecodeCookedModel(blob.Bytes(), "Tree", &error));
    EXPECT_EQ(error, "Invalid cooked model Tree: Cooked item count exceeds the data.");
}

TEST(CookedPayloadTest, ModelRoundTripsAndRefusesPathsAsShaderNames) {
    CookedModel model{{1, 2, 3}, {{"a.vert.spv", {3, 2, 35, 7}}, {"b.frag.spv", {}}}};
    const auto decoded = DecodeCookedModel(EncodeCookedModel(model), "Tree", nullptr);
    ASSERT_TRUE(decoded);
    EXPECT_EQ(decoded->cache, model.cache);
    ASSERT_EQ(decoded->shaders.size(), 2u);
    EXPECT_EQ(decoded->shaders[0].bytes, model.shaders[0].bytes);
    EXPECT_EQ(decoded->shaders[1].fileName, "b.frag.spv");

    for (const char* name : {"a/b.spv", "a\\b.spv", "c:b.spv", ""}) {
        model.shaders[1].fileName = name;
        std::string error;
        EXPECT_FALSE(DecodeCookedModel(EncodeCookedModel(model), "Tree", &error));
        EXPECT_EQ(error, "Invalid cooked model Tree: invalid shader file name.") << name;
    }
}

} // namespace
} // namespace Brelk::Assets
