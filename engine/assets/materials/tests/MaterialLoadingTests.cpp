#include "engine/assets/materials/MaterialLoading.h"

#include "engine/assets/AssetReference.h"
#include "engine/assets/AssetRegistry.h"
#include "engine/assets/cooked/CookedMaterial.h"
#include "engine/assets/materials/MaterialDefaults.h"
#include "engine/assets/materials/MaterialFile.h"
#include "engine/assets/tests/AssetTestSupport.h"

#include <gtest/gtest.h>

namespace Brelk::Assets {
namespace {

using Testing::LogCapture;
using Testing::WriteText;

// What the asset manager gives the compiler: its own material table.
class TableResolver : public MaterialGraphResolver {
public:
    explicit TableResolver(const MaterialTable& table) : table_(table) {}
    const MaterialAsset* ResolveMaterial(AssetHandle handle) const override {
        const auto found = table_.find(handle);
        return found == table_.end() ? nullptr : &found->second.material;
    }

private:
    const MaterialTable& table_;
};

class MaterialLoadingTest : public ::testing::Test {
protected:
    std::filesystem::path Content(std::string_view relative) const { return root_ / "Content" / relative; }

    void Write(std::string_view relative, const MaterialAsset& material) {
        ASSERT_TRUE(WriteMaterialAsset(Content(relative), material, &registry_));
    }

    Testing::ScratchFolder root_;
    AssetRegistry registry_;
    MaterialTable materials_;
    TableResolver resolver_{materials_};
};

// A load that fails and an instance sharing its base's shader are the asset manager's tests, and
// references that fail are the reader's.
TEST_F(MaterialLoadingTest, LoadsCompilesAndResolvesInstancesLoggingWhatFails) {
    WriteText(Content("Base.bmat"), "");
    WriteText(Content("Inst.bmatinst"), "");
    registry_.SetContentRoot(root_ / "Content", AssetSourceMode::Authoring);
    const AssetHandle base = registry_.HandleOfPath(Content("Base.bmat"));
    MaterialAsset instance;
    instance.isInstance = true;
    instance.parentMaterial = base;
    Write("Inst.bmatinst", instance);
    WriteText(Content("Orphan.bmatinst"), "version 3\nis_instance 1\n");
    WriteText(Content("Cycle.bmat"), "version 3\nnode 1 Saturate 0 0 \"S\"\npin 1 2 Input Float 0 0 \"Value\"\n"
                                     "pin 1 3 Output Float 0 0 \"Result\"\nnode 4 MaterialOutput 0 0 \"Out\"\n"
                                     "pin 4 5 Input Float 0 0 \"Roughness\"\nlink 6 3 2\nlink 7 3 5\n");
    registry_.Rescan();

    LogCapture log;
    const MaterialLoadResult result =
        LoadMaterialAssetsFromRegistry(registry_, materials_, resolver_, root_ / "Shaders");
    EXPECT_EQ(result.loaded.size(), 4u);
    EXPECT_EQ(result.compiled.size(), 2u);
    EXPECT_EQ(
        log.Messages(Core::LogLevel::Error),
        (std::vector<std::string>{
            "Failed to compile material asset 'Cycle.bmat': Material graph contains a cycle. Only DAG graphs can "
            "compile.",
            "Failed to compile material asset 'Orphan.bmatinst': Material instance has an invalid parent material."}));
    EXPECT_EQ(materials_.at(base).compiled.shaderName.substr(0, 10), "Base_bmat_");

    // Nothing changed on disk and the manager says so: nothing is read or compiled again.
    MaterialLoadOptions unchanged;
    unchanged.shouldLoad = [](const AssetRecord&, bool loaded) { return !loaded; };
    const MaterialLoadResult again =
        LoadMaterialAssetsFromRegistry(registry_, materials_, resolver_, root_ / "Shaders", unchanged);
    EXPECT_TRUE(again.loaded.empty());
    EXPECT_TRUE(again.compiled.empty());
}

TEST_F(MaterialLoadingTest, AChangedFunctionRecompilesTheMaterialsThatMayCallIt) {
    WriteText(Content("Double.bmatfunc"), "kind Function\n");
    WriteText(Content("Rock.bmat"), "");
    registry_.SetContentRoot(root_ / "Content", AssetSourceMode::Authoring);
    const AssetHandle function = registry_.HandleOfPath(Content("Double.bmatfunc"));
    const AssetHandle rock = registry_.HandleOfPath(Content("Rock.bmat"));
    MaterialAsset caller;
    caller.graph = MakeDefaultSurfaceGraph();
    caller.graph.nodes.push_back({.id = 40, .type = 86, .title = "Call",
                                  .inputs = {{41, kPinInput, kPinFloat, "Value", true, false}},
                                  .outputs = {{42, kPinOutput, kPinFloat, "Result", false, false}},
                                  .properties = {{"asset", std::to_string(function)}}});
    caller.graph.links.push_back({43, 42, caller.graph.nodes[3].inputs[5].id});
    caller.graph.nextId = 44;
    Write("Rock.bmat", caller);

    EXPECT_EQ(LoadMaterialAssetsFromRegistry(registry_, materials_, resolver_, root_ / "Shaders").compiled.size(), 2u);
    EXPECT_TRUE(materials_.at(rock).compiled.succeeded) << materials_.at(rock).compiled.diagnostics.size();
    MaterialLoadOptions functionOnly;
    functionOnly.shouldLoad = [&](const AssetRecord& record, bool) { return record.handle == function; };
    const MaterialLoadResult onlyFunction =
        LoadMaterialAssetsFromRegistry(registry_, materials_, resolver_, root_ / "Shaders", functionOnly);
    EXPECT_EQ(onlyFunction.loaded, std::vector<AssetHandle>{function});
    EXPECT_EQ(onlyFunction.compiled.size(), 2u);
}

TEST(MaterialLoadingHelpersTest, TakesTheShadersOfCookedMaterialsAndRefusesAClaimWithoutThem) {
    CookedMaterial cooked;
    cooked.shaderName = "Rock_12";
    cooked.flags = 3;
    cooked.fragmentSpirv = {1, 2, 3, 4};
    cooked.shadowFragmentSpirv = {5, 6, 7, 8};
    PackagedShaderFiles shaders;
    std::vector<MaterialDiagnostic> diagnostics;
    EXPECT_EQ(TakeCookedShaders(cooked, shaders, diagnostics), 1u);
    EXPECT_EQ(shaders,
              (PackagedShaderFiles{{"Rock_12.frag.spv", {1, 2, 3, 4}}, {"Rock_12.shadow.frag.spv", {5, 6, 7, 8}}}));
    EXPECT_EQ(diagnostics, (std::vector<MaterialDiagnostic>{{1, 0, "The cooked material carries no shaders."}}));
    cooked.vertexSpirv = {9, 9, 9, 9};
    diagnostics.clear();
    EXPECT_EQ(TakeCookedShaders(cooked, shaders, diagnostics), 3u);
    EXPECT_TRUE(diagnostics.empty());
    cooked.kind = kDomainFunction;
    cooked.vertexSpirv.clear();
    EXPECT_EQ(TakeCookedShaders(cooked, shaders, diagnostics), 3u);
    EXPECT_EQ(shaders.size(), 3u);
}

TEST(MaterialLoadingHelpersTest, NamesShadersAndListsTextureDependencies) {
    EXPECT_EQ(MaterialShaderStem("Rock Wall.bmat"), "Rock_Wall_bmat");
    EXPECT_EQ(MaterialShaderStem("__a-b"), "a-b");
    EXPECT_EQ(MaterialShaderStem("..."), "Material");

    MaterialAsset material;
    material.normalTexture = 5;
    material.albedoTexture = 4;
    material.heightTexture = 4;
    material.overrides["b"] = {true, {}, 7};
    material.overrides["a"] = {true, {}, 6};
    MaterialGraphNode texture;
    texture.type = 11;
    texture.properties["asset"] = "8";
    MaterialGraphNode parameter;
    parameter.type = 35;
    parameter.properties["default_texture"] = "5";
    MaterialGraphNode other;
    other.type = 86;
    other.properties["asset"] = "9";
    material.graph.nodes = {texture, parameter, other};
    EXPECT_EQ(MaterialTextureDependencies(material), (std::vector<AssetHandle>{4, 5, 6, 7, 8}));
}

} // namespace
} // namespace Brelk::Assets
