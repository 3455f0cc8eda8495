#include "engine/assets/ui/UiDocumentFile.h"

#include "engine/assets/AssetReference.h"
#include "engine/assets/AssetRegistry.h"
#include "engine/assets/tests/AssetTestSupport.h"
#include "tests/support/TextCases.h"

#include <gtest/gtest.h>

namespace Brelk::Assets {
namespace {

using Testing::LogCapture;
using Testing::ReadText;
using Testing::ScratchFolder;
using Testing::WriteText;

class UiDocumentFileTest : public ::testing::Test {
protected:
    void SetUp() override {
        WriteText(folder_ / "Icon.png", "x");
        registry_.SetContentRoot(folder_.Path(), AssetSourceMode::Authoring);
        icon_ = registry_.HandleOfPath(folder_ / "Icon.png");
    }

    UiDocumentAsset Parse(std::string_view text) {
        UiDocumentAsset document;
        std::string error;
        EXPECT_TRUE(ParseUiDocument(text, "Hud.bui", &document, registry_, &error)) << error;
        return document;
    }

    static UiWidgetDefinition Widget(std::string id, std::string name = {}) {
        UiWidgetDefinition widget;
        widget.id = std::move(id);
        widget.name = std::move(name);
        return widget;
    }

    static std::filesystem::path Data(std::string_view name) {
        return std::filesystem::path(BRELK_TEST_DATA_DIR) / "ui" / name;
    }

    // Widget lines of a tree given in the file's own words.
    static std::string WidgetLines(std::string_view id, std::string_view body = {}) {
        return "widget_begin \"" + std::string(id) + "\" Panel\n" + std::string(body) + "widget_end\n";
    }

    ScratchFolder folder_;
    AssetRegistry registry_;
    AssetHandle icon_ = 0;
};

TEST_F(UiDocumentFileTest, ADocumentRoundTripsAndWritesTheGoldenLayout) {
    UiDocumentAsset document = MakeUiDocument("Hud \"main\"");
    document.pixelPerfect = true;
    document.scaleMode = UiScaleMode::Expand;
    document.styles.push_back({"title", {}});
    document.styles[0].style.fontSize = 24.5f;
    document.styles[0].style.clipChildren = true;
    UiWidgetDefinition button = Widget("play", "Play");
    button.type = UiWidgetType::Button;
    button.image = icon_;
    button.imageFit = UiImageFit::Cover;
    button.gridColumns = 4;
    button.valueMax = 10.0f;
    button.wrap = true;
    button.textLayoutB = true;
    button.tabIndex = 2;
    button.templateSlotImage = icon_;
    button.templateTitleText = "Bag \\ 1";
    button.templateSlotStyle.opacity = 0.5f;
    button.templateTitleStyle.padding = {1.0f, 2.0f, 3.0f, 4.0f};
    button.style.background = {0.1f, 0.2f, 0.3f, 1.0f};
    UiWidgetDefinition spacer = Widget("gap");
    spacer.type = UiWidgetType::Spacer;
    button.children.push_back(spacer);
    document.root.children.push_back(button);

    // The writer leaves out what equals the default (a spacer's grid of 3, every flex_shrink).
    ASSERT_TRUE(SaveUiDocument(folder_ / "Ui/Hud.bui", document, registry_));
    std::string text = ReadText(folder_ / "Ui/Hud.bui");
    const std::string icon = AssetReferenceOf(registry_, icon_);
    for (std::size_t at = text.find(icon); at != std::string::npos; at = text.find(icon)) text.replace(at, icon.size(), "ICON");
    Brelk::Testing::ExpectGoldenText(Data("Hud.bui"), text);
    UiDocumentAsset loaded;
    std::string error;
    ASSERT_TRUE(LoadUiDocument(folder_ / "Ui/Hud.bui", &loaded, registry_, &error)) << error;
    EXPECT_EQ(loaded, document);
    EXPECT_EQ(loaded.root.children[0].children[0].gridColumns, 3);

    // An out-of-range type is written as Spacer, like 8.
    document.root.children[0].type = static_cast<UiWidgetType>(99);
    EXPECT_NE(SerializeUiDocument(document, registry_).find("\n  widget_begin \"play\" Spacer\n"), std::string::npos);
}

TEST_F(UiDocumentFileTest, OnlyTheHeaderGivesTheDefaultDocumentAndValuesReadLeniently) {
    EXPECT_EQ(Parse("# a comment before the header\nbui 1\n"), UiDocumentAsset{});
    const UiDocumentAsset document =
        Parse("bui 1\nwidget_begin \"\" Canvas\nvisible TRUE\nenabled yes\nfocusable True\n"
              "image \"\" 1 Diagonal\nprogress x\nwidget_end\n");
    EXPECT_EQ(document.root.id, "root");
    EXPECT_TRUE(document.root.visible);
    EXPECT_FALSE(document.root.enabled);
    EXPECT_TRUE(document.root.focusable);
    EXPECT_TRUE(document.root.preserveAspect);
    EXPECT_EQ(document.root.imageFit, UiImageFit::Stretch);
    EXPECT_EQ(document.root.progress, 0.0f);
}

TEST_F(UiDocumentFileTest, BrokenDocumentsGiveTheirMessages) {
    Brelk::Testing::ExpectTextCases(Data("BrokenUiDocuments.txt"), [&](const auto& c) {
        UiDocumentAsset document;
        std::string error;
        return ParseUiDocument(c.input, "Hud.bui", &document, registry_, &error) ? "parsed" : error;
    });
    std::string deep = "bui 1\n";
    for (int level = 0; level < 258; ++level) deep += "widget_begin \"w\" Panel\n";
    UiDocumentAsset nested;
    std::string nestedError;
    EXPECT_FALSE(ParseUiDocument(deep, "Hud.bui", &nested, registry_, &nestedError));
    EXPECT_EQ(nestedError, "UI document nests widgets deeper than 256 levels at line 259");
    UiDocumentAsset document;
    std::string error;
    EXPECT_FALSE(LoadUiDocument(folder_ / "None.bui", &document, registry_, &error));
    EXPECT_EQ(error, "Failed to open UI document file for reading.");
}

TEST_F(UiDocumentFileTest, RepairsIdsWithoutCollidingWithLaterOnesAndLeavesTheFileAlone) {
    Brelk::Testing::ExpectTextCases(Data("RepairedWidgetIds.txt"), [](const auto& c) {
        UiDocumentAsset document;
        for (std::size_t at = 0, end; (end = c.input.find('\n', at)) != std::string::npos; at = end + 1)
            document.root.children.push_back(Widget(c.input.substr(at, end - at)));
        RepairUiWidgetIds(document);
        std::string ids = HasUniqueUiWidgetIds(document) ? "" : "still repeated:\n";
        for (const UiWidgetDefinition& widget : document.root.children) ids += widget.id + "\n";
        return ids;
    });

    const std::string text = "bui 1\nname \"Hud\"\nwidget_begin \"root\" Canvas\n" + WidgetLines("item") +
                             WidgetLines("item") + WidgetLines("", "name \"Play Button\"\n") + WidgetLines("") +
                             "widget_end\n";
    WriteText(folder_ / "Hud.bui", text);
    LogCapture log;
    UiDocumentAsset document;
    ASSERT_TRUE(LoadUiDocument(folder_ / "Hud.bui", &document, registry_));
    // Which ids the repair gives is the case file's; here that a load repairs, says so, and keeps the name.
    EXPECT_EQ(document.root.children[1].name, "item");
    EXPECT_EQ(log.Messages(Core::LogLevel::Warning),
              (std::vector<std::string>{
                  "UI document 'Hud': duplicate widget id 'item' renamed to 'item_2'. Save the document to keep the new id.",
                  "UI document 'Hud': a widget without an id renamed to 'Play Button_2'. Save the document to keep the new id.",
                  "UI document 'Hud': a widget without an id renamed to 'widget_2'. Save the document to keep the new id."}));
    EXPECT_EQ(ReadText(folder_ / "Hud.bui"), text);
}

TEST_F(UiDocumentFileTest, ReferencesThatDontResolveWarnAndStayEmpty) {
    LogCapture log;
    const UiDocumentAsset document =
        Parse("bui 1\nwidget_begin \"root\" Canvas\nimage \"content:Gone.png\" 0 Contain\nwidget_end\n");
    EXPECT_EQ(document.root.image, 0u);
    EXPECT_EQ(document.root.imageFit, UiImageFit::Contain);
    EXPECT_EQ(log.Messages(Core::LogLevel::Warning),
              std::vector<std::string>{"Unresolved UI document asset reference in Hud.bui at line 3 (widget 'root'): "
                                       "no asset answers to 'content:Gone.png'."});

    UiDocumentAsset lost;
    lost.root.image = 0xBAD;
    EXPECT_NE(SerializeUiDocument(lost, registry_).find("\nimage \"\" 0 Stretch\n"), std::string::npos);
    EXPECT_EQ(log.Messages(Core::LogLevel::Warning).back(),
              "Unresolved live UI document asset handle while saving widget 'root'.image");
}

} // namespace
} // namespace Brelk::Assets
