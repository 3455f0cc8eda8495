#include "engine/assets/materials/MaterialNodeCatalogue.h"

#include "engine/assets/tests/AssetTestSupport.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

namespace Brelk::Assets {
namespace {

// One line a row: id, word, title, label, category, the dynamic flag, pins and defaults.
std::string DumpCatalogue() {
    std::string text;
    for (const MaterialNodeDefinition& row : MaterialNodeCatalogue()) {
        text += std::to_string(row.type) + " " + row.name + " | " + row.title + " | " + row.label + " | " +
                row.category + (row.dynamicPins ? " | dynamic" : " | fixed") + "\n";
        for (const MaterialPinDefinition& pin : row.pins) {
            text += std::string("  ") + (pin.direction == kPinInput ? "in " : "out ") + MaterialPinTypeWord(pin.type) +
                    " \"" + pin.name + "\"" + (pin.optional ? " optional" : "") + "\n";
        }
        for (const MaterialPropertyDefinition& property : row.properties) {
            text += "  prop " + property.key + " = \"" + property.defaultValue + "\"\n";
        }
    }
    return text;
}

TEST(MaterialNodeCatalogueTest, MatchesTheGoldenTableOfIdsWordsTitlesCategoriesPinsAndDefaults) {
    // Worked out by hand: the module's own data folder need not exist for the kernel to walk
    // through it.
    const std::filesystem::path golden = std::filesystem::path(BRELK_TEST_DATA_DIR).parent_path().parent_path() /
                                         "materials" / "tests" / "data" / "MaterialNodeCatalogue.txt";
    if (std::getenv("BRELK_UPDATE_GOLDEN")) Testing::WriteText(golden, DumpCatalogue());
    EXPECT_EQ(DumpCatalogue(), Testing::ReadText(golden));
}

TEST(MaterialNodeCatalogueTest, FindsRowsByIdAndWordOnly) {
    EXPECT_EQ(MaterialNodeCatalogue().size(), 94u);
    EXPECT_EQ(FindMaterialNode(93u)->name, "VolumeSphere");
    EXPECT_EQ(FindMaterialNode("MaterialOutput")->type, 0u);
    EXPECT_EQ(FindMaterialNode("CustomCode")->type, 85u);
    EXPECT_EQ(FindMaterialNode(94u), nullptr);
    EXPECT_EQ(FindMaterialNode("constantfloat"), nullptr);
}

TEST(MaterialNodeCatalogueTest, SpacesWordsKeepingAcronymsWhole) {
    const std::pair<const char*, const char*> table[] = {
        {"RGBToHSV", "RGB To HSV"},        {"HSVToRGB", "HSV To RGB"},
        {"VertexUV1", "Vertex UV1"},       {"ScreenUV", "Screen UV"},
        {"FlipbookUV", "Flipbook UV"},     {"Texture2D", "Texture2D"},
        {"ConstantVec2", "Constant Vec2"}, {"PostProcessOutput", "Post Process Output"},
    };
    for (const auto& [word, spaced] : table) EXPECT_EQ(SpacedNodeWord(word), spaced);
}

TEST(MaterialNodeCatalogueTest, ListsLinkedInputNamesThatTheRowDoesNotKnowUnlessItsPinsAreDynamic) {
    MaterialGraphNode node;
    node.type = kNodeLerp;
    node.inputs = {{1, kPinInput, kPinVec3, "A", true, false}, {2, kPinInput, kPinVec3, "Q", true, false}};
    EXPECT_EQ(UnknownInputPins(node), std::vector<std::string>{"Q"});
    node.type = kNodeAdd;
    EXPECT_TRUE(UnknownInputPins(node).empty());
    node.type = 500;
    EXPECT_TRUE(UnknownInputPins(node).empty());
}

} // namespace
} // namespace Brelk::Assets
