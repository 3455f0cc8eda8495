#include "engine/assets/materials/MaterialNodeCatalogue.h"

#include "tests/support/TextCases.h"

#include <gtest/gtest.h>

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

TEST(MaterialNodeCatalogueTest, MatchesTheGoldenTableAndFindsRowsByIdAndExactWord) {
    // Titles and labels spaced from the words (acronyms kept whole) are part of the table. Worked out
    // by hand: the module's own data folder need not exist for the kernel to walk through it.
    Brelk::Testing::ExpectGoldenText(std::filesystem::path(BRELK_TEST_DATA_DIR).parent_path().parent_path() /
                                         "materials/tests/data/MaterialNodeCatalogue.txt",
                                     DumpCatalogue());
    // Lookups by id and by the exact word only.
    EXPECT_EQ(FindMaterialNode(93u)->name, "VolumeSphere");
    EXPECT_EQ(FindMaterialNode("MaterialOutput")->type, 0u);
    EXPECT_EQ(FindMaterialNode("CustomCode")->type, 85u);
    EXPECT_EQ(FindMaterialNode(94u), nullptr);
    EXPECT_EQ(FindMaterialNode("constantfloat"), nullptr);
}

} // namespace
} // namespace Brelk::Assets
