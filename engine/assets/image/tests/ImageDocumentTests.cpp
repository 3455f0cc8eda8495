#include "engine/assets/image/ImageCommands.h"
#include "engine/assets/image/ImageDocumentFile.h"

#include "engine/assets/tests/AssetTestSupport.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <tuple>

namespace Brelk::Assets {
namespace {

using Testing::ScratchFolder;

std::vector<ImagePixel> Filled(std::size_t count, float value) {
    return std::vector<ImagePixel>(count, ImagePixel{value, value, value, 1.0f});
}

// A 4x4 canvas with blank layers of 256 bytes each.
ImageDocument WithLayers(std::size_t count) {
    ImageDocument document = MakeImageDocument(4, 4);
    for (std::size_t i = 0; i < count; ++i) {
        ImageLayer& layer = document.layers.emplace_back();
        layer.identity = Core::Guid::New();
        layer.pixels.resize(16);
    }
    return document;
}

TEST(ImageDocumentTest, ValidationChecksItsThreeInvariantsInOrder) {
    const char* const kDocument = "Invalid image document identity, dimensions or flipbook settings.";
    const char* const kMemory = "Image layer memory exceeds limits.";
    const char* const kLayer = "Invalid image layer identity, settings or pixels.";
    const struct {
        const char* what;
        std::function<void(ImageDocument&)> change;
        const char* message;
    } rows[] = {
        {"240 frames a second", [](ImageDocument& d) { d.framesPerSecond = 240.0f; }, nullptr},
        {"240.5 frames a second", [](ImageDocument& d) { d.framesPerSecond = 240.5f; }, kDocument},
        {"0 frames a second", [](ImageDocument& d) { d.framesPerSecond = 0.0f; }, kDocument},
        {"NaN frames a second", [](ImageDocument& d) { d.framesPerSecond = std::nanf(""); }, kDocument},
        {"255 columns", [](ImageDocument& d) { d.flipbookColumns = 255; }, nullptr},
        {"256 columns", [](ImageDocument& d) { d.flipbookColumns = 256; }, kDocument},
        {"mode 3", [](ImageDocument& d) { d.flipbookMode = 3; }, kDocument},
        {"nil identity", [](ImageDocument& d) { d.identity = {}; }, kDocument},
        {"width past the limit", [](ImageDocument& d) { d.maxDimension = 3; }, kDocument},
        {"pixels past memory", [](ImageDocument& d) { d.imageMemoryLimit = 255; }, kDocument},
        {"too many layers", [](ImageDocument& d) { d.maxLayers = 1; }, kMemory},
        {"layers past memory", [](ImageDocument& d) { d.imageMemoryLimit = 511; }, kMemory},
        {"shared layer identity", [](ImageDocument& d) { d.layers[1].identity = d.layers[0].identity; }, kLayer},
        {"bad opacity", [](ImageDocument& d) { d.layers[0].settings.opacity = 1.5f; }, kLayer},
        {"short pixels", [](ImageDocument& d) { d.layers[1].pixels.pop_back(); }, kLayer},
        {"short mask", [](ImageDocument& d) { d.layers[1].mask.resize(3); }, kLayer},
    };
    for (const auto& row : rows) {
        ImageDocument document = WithLayers(2);
        row.change(document);
        std::string error;
        EXPECT_EQ(ValidateImageDocument(document, &error), row.message == nullptr) << row.what;
        EXPECT_EQ(error, row.message ? row.message : "") << row.what;
    }
}

TEST(ImageDocumentTest, CommandsUndoRedoAndOldOnesLeaveAFullHistory) {
    // A 4x4 layer remembers 256 bytes, so adding one costs 472: a budget one byte
    // smaller changes nothing.
    ImageDocument document = MakeImageDocument(4, 4);
    document.historyBudget = 471;
    std::string error;
    ImageDocumentEditor refused(document);
    EXPECT_FALSE(refused.AddLayer({}, nullptr, &error));
    EXPECT_EQ(error, "Layer command exceeds history budget.");
    EXPECT_EQ(std::tuple(refused.HistoryBytes(), refused.UndoCount(), refused.Document() == document),
              std::tuple(0u, 0u, true));
    document.historyBudget = 472;
    EXPECT_TRUE(ImageDocumentEditor(document).AddLayer({}));
    document.historyBudget = 472 + 216 + 2 * 4 * 16;
    ImageDocumentEditor editor(document);
    Core::Guid layer;
    ASSERT_TRUE(editor.AddLayer({}, &layer));
    const ImageDocument blank = editor.Document();
    ASSERT_TRUE(editor.WritePixels(layer, {1, 1, 2, 2}, Filled(4, 0.5f)));
    EXPECT_EQ(editor.Document().layers[0].pixels[5], (ImagePixel{0.5f, 0.5f, 0.5f, 1.0f}));
    EXPECT_EQ(editor.Document().layers[0].pixels[4], ImagePixel{});
    EXPECT_EQ(editor.HistoryBytes(), 472u + 216u + 128u);
    ASSERT_TRUE(editor.Undo());
    EXPECT_EQ(editor.Document(), blank);
    ASSERT_TRUE(editor.Redo());
    EXPECT_EQ(editor.Document().layers[0].pixels[10], (ImagePixel{0.5f, 0.5f, 0.5f, 1.0f}));
    EXPECT_FALSE(editor.Redo(&error));
    EXPECT_EQ(error, "No command to redo.");

    // A third command pushes the first out of the history.
    ASSERT_TRUE(editor.SetFlipbookSettings(24.0f, 2, 1));
    EXPECT_EQ(editor.UndoCount(), 2u);
    EXPECT_EQ(editor.HistoryBytes(), 216u + 128u + 216u);
    ASSERT_TRUE(editor.Undo());
    ASSERT_TRUE(editor.Undo());
    EXPECT_FALSE(editor.Undo(&error));
    EXPECT_EQ(error, "No command to undo.");
    EXPECT_EQ(editor.Document(), blank);
}

TEST(ImageDocumentTest, RefusedCommandsSayWhyAndChangeNothing) {
    ImageDocument document = MakeImageDocument(4, 4);
    document.maxLayers = 2;
    ImageDocumentEditor editor(document);
    Core::Guid open;
    Core::Guid locked;
    ASSERT_TRUE(editor.AddLayer({}, &open));
    ImageLayerSettings lockedSettings;
    lockedSettings.locked = true;
    ASSERT_TRUE(editor.AddLayer(lockedSettings, &locked));
    const Core::Guid missing = Core::Guid::New();
    ImageLayerSettings bad;
    bad.blendMode = static_cast<ImageBlendMode>(4);
    ImageLayerSettings renamed = lockedSettings;
    renamed.name = "new";
    const ImageDocument before = editor.Document();
    std::string error;
    const struct {
        const char* what;
        std::function<bool()> command;
        const char* message;
    } rows[] = {
        {"bad settings", [&] { return editor.AddLayer(bad, nullptr, &error); }, "Invalid layer settings."},
        {"third layer", [&] { return editor.AddLayer({}, nullptr, &error); }, "Image layer limit exceeded."},
        {"short pixels", [&] { return editor.AddLayerWithPixels({}, Filled(15, 0), nullptr, &error); },
         "Invalid layer pixels."},
        {"NaN pixels", [&] { return editor.AddLayerWithPixels({}, Filled(16, std::nanf("")), nullptr, &error); },
         "Invalid layer pixels."},
        {"delete locked", [&] { return editor.DeleteLayer(locked, &error); }, "Layer is missing or locked."},
        {"duplicate missing", [&] { return editor.DuplicateLayer(missing, nullptr, &error); },
         "Image layer is missing."},
        {"duplicate third", [&] { return editor.DuplicateLayer(open, nullptr, &error); },
         "Image layer limit exceeded."},
        {"move out of range", [&] { return editor.MoveLayer(open, 2, &error); }, "Invalid layer move."},
        {"bake locked", [&] { return editor.BakeLayer(locked, &error); }, "Layer is missing or locked."},
        {"rename locked", [&] { return editor.EditLayerSettings(locked, renamed, &error); },
         "Layer is locked; unlock before editing settings."},
        {"pixels outside", [&] { return editor.WritePixels(open, {3, 3, 2, 1}, Filled(2, 0), &error); },
         "Invalid pixel rectangle or values."},
        {"mask on locked", [&] { return editor.AddMask(locked, &error); },
         "Layer is missing, locked or already masked."},
        {"mask values without mask", [&] { return editor.WriteMaskValues(open, {0, 0, 1, 1}, {0.5f}, &error); },
         "Layer is missing, locked or has no mask."},
        {"delete absent mask", [&] { return editor.DeleteMask(open, &error); },
         "Layer is missing, locked or has no mask."},
        {"resize to zero", [&] { return editor.ResizeCanvas(0, 4, ImageResampleFilter::Nearest, &error); },
         "Image dimensions exceed limits."},
        {"resize filter", [&] { return editor.ResizeCanvas(8, 8, static_cast<ImageResampleFilter>(2), &error); },
         "Invalid image resampling filter."},
        {"empty crop", [&] { return editor.CropCanvas({1, 1, 0, 1}, &error); },
         "Crop rectangle must be nonempty and inside the canvas."},
        {"flipbook fps", [&] { return editor.SetFlipbookSettings(240.5f, 0, 0, &error); },
         "Invalid flipbook settings."},
    };
    for (const auto& row : rows) {
        error.clear();
        EXPECT_FALSE(row.command()) << row.what;
        EXPECT_EQ(error, row.message) << row.what;
        EXPECT_EQ(editor.Document(), before) << row.what;
    }
    lockedSettings.locked = false;
    EXPECT_TRUE(editor.EditLayerSettings(locked, lockedSettings));
}

TEST(ImageDocumentTest, MasksCanvasAndBakeCommandsRoundTripThroughUndo) {
    ImageDocument document = MakeImageDocument(4, 4);
    ImageDocumentEditor editor(document);
    Core::Guid layer;
    std::vector<ImagePixel> pixels;
    for (int i = 0; i < 16; ++i) pixels.push_back({static_cast<float>(i) / 16.0f, 0.25f, 0.5f, 1.0f});
    ImageLayerSettings settings;
    settings.adjustment.brightness = 0.25f;
    ASSERT_TRUE(editor.AddLayerWithPixels(settings, pixels, &layer));
    const ImageDocument start = editor.Document();
    ASSERT_TRUE(editor.AddMask(layer));
    ASSERT_TRUE(editor.WriteMaskValues(layer, {2, 0, 2, 1}, {0.25f, 0.75f}));
    ASSERT_TRUE(editor.CropCanvas({1, 0, 3, 2}));
    EXPECT_EQ(editor.Document().width, 3u);
    EXPECT_EQ(editor.Document().layers[0].pixels[0], pixels[1]);
    EXPECT_EQ(editor.Document().layers[0].pixels[3], pixels[5]);
    EXPECT_EQ(editor.Document().layers[0].mask, (std::vector<float>{1.0f, 0.25f, 0.75f, 1, 1, 1}));
    ASSERT_TRUE(editor.ResizeCanvas(6, 4, ImageResampleFilter::Nearest));
    EXPECT_EQ(editor.Document().layers[0].pixels[2], pixels[2]);
    ASSERT_TRUE(editor.BakeLayer(layer));
    EXPECT_EQ(editor.Document().layers[0].pixels[0].g, 0.5f);
    EXPECT_EQ(editor.Document().layers[0].settings.adjustment, ImageAdjustment{});
    for (int i = 0; i < 5; ++i) ASSERT_TRUE(editor.Undo());
    EXPECT_EQ(editor.Document(), start);
    for (int i = 0; i < 5; ++i) ASSERT_TRUE(editor.Redo());
    EXPECT_EQ(editor.Document().width, 6u);
    EXPECT_EQ(editor.Document().layers[0].pixels[0].g, 0.5f);

    // The canvas commands remember every layer: here none, or one of 256 bytes.
    const struct {
        std::uint64_t budget;
        std::size_t layers;
        const char* message;
    } budgets[] = {
        {215, 0, "Canvas command exceeds undo budget."},
        {300, 1, "Canvas command requires at least 472 bytes of undo budget (available 300 bytes)."},
        {255, 1, "Canvas allocation exceeds undo budget."},
    };
    for (const auto& row : budgets) {
        ImageDocument tight = WithLayers(row.layers);
        tight.historyBudget = row.budget;
        ImageDocumentEditor small(tight);
        std::string error;
        EXPECT_FALSE(small.CropCanvas({0, 0, 2, 2}, &error));
        EXPECT_EQ(error, row.message);
        EXPECT_FALSE(small.ResizeCanvas(2, 2, ImageResampleFilter::Bilinear, &error));
        EXPECT_EQ(error, row.message);
        EXPECT_EQ(small.Document(), tight);
    }
}

TEST(ImageDocumentTest, FlipbookAtlasGridFollowsTheVisibleFrames) {
    ImageDocument document = MakeImageDocument(4, 4);
    auto addFrames = [&](int count, bool visible) {
        for (int i = 0; i < count; ++i) {
            ImageLayer& layer = document.layers.emplace_back();
            layer.identity = Core::Guid::New();
            layer.settings.visible = visible;
            layer.pixels = Filled(16, static_cast<float>(document.layers.size()));
        }
    };
    std::string error;
    FlipbookAtlasLayout layout;
    addFrames(2, false);
    EXPECT_FALSE(PlanFlipbookAtlas(document, &layout, &error));
    EXPECT_EQ(error, "A flipbook needs at least one visible frame.");
    addFrames(5, true);
    ASSERT_TRUE(PlanFlipbookAtlas(document, &layout));
    EXPECT_EQ(layout, (FlipbookAtlasLayout{5, 3, 2, 12, 8}));
    document.flipbookColumns = 2;
    ASSERT_TRUE(PlanFlipbookAtlas(document, &layout));
    EXPECT_EQ(layout, (FlipbookAtlasLayout{5, 2, 3, 8, 12}));
    std::vector<ImagePixel> atlas;
    ASSERT_TRUE(BuildFlipbookAtlas(document, &layout, &atlas));
    EXPECT_EQ(atlas[0].r, 3.0f);
    EXPECT_EQ(atlas[4].r, 4.0f);
    EXPECT_EQ(atlas[4 * 8 + 0].r, 5.0f);
    document.flipbookColumns = 0;
    document.maxDimension = 11;
    EXPECT_FALSE(PlanFlipbookAtlas(document, &layout, &error));
    EXPECT_EQ(error, "Flipbook atlas exceeds its size limit; reduce frames or canvas size.");
}

TEST(ImageDocumentTest, FilesRoundTripAndRefuseBrokenPayloads) {
    ScratchFolder folder;
    ImageDocument document = MakeImageDocument(4, 4);
    ImageDocumentEditor editor(document);
    Core::Guid layer;
    ImageLayerSettings settings;
    settings.name = "Ink";
    settings.opacity = 0.5f;
    ASSERT_TRUE(editor.AddLayerWithPixels(settings, Filled(16, 0.125f), &layer));
    ASSERT_TRUE(editor.AddMask(layer));
    ASSERT_TRUE(editor.AddLayer({}));
    ASSERT_TRUE(SaveImageDocument(folder / "Art/Sprite.bimg", editor.Document()));
    ImageDocument loaded;
    std::string error;
    ASSERT_TRUE(LoadImageDocument(folder / "Art/Sprite.bimg", &loaded, &error)) << error;
    EXPECT_EQ(loaded, editor.Document());

    const std::vector<std::uint8_t> bytes = SerializeImageDocument(editor.Document());
    std::vector<std::uint8_t> payload(bytes.begin() + kCookedHeaderSize, bytes.end());
    auto rewrap = [](std::vector<std::uint8_t> body) {
        return WriteCookedContainer(kCookedKindImage, kImageDocumentFormatVersion, body);
    };
    std::vector<std::uint8_t> huge = payload;
    huge[16] = 0xFF;  // width 255: the layers hold fewer pixels than that
    std::vector<std::uint8_t> invalid = payload;
    std::fill_n(invalid.begin() + 16 + 4 * 4 + 8, 4, 0);  // 0 frames a second
    const std::pair<std::vector<std::uint8_t>, std::string> rows[] = {
        {rewrap({payload.begin(), payload.end() - 1}), "Invalid image document payload."},
        {rewrap(huge), "Invalid image document payload."},
        {rewrap(invalid), "Invalid image document identity, dimensions or flipbook settings."},
        {WriteCookedContainer(kCookedKindClip, 1, payload), ""},
    };
    for (const auto& [file, message] : rows) {
        ImageDocument parsed = loaded;
        EXPECT_FALSE(ParseImageDocument(file, "Sprite.bimg", &parsed, &error));
        EXPECT_EQ(error.substr(0, message.empty() ? 33 : std::string::npos),
                  message.empty() ? "Invalid cooked file Sprite.bimg: " : message);
        EXPECT_EQ(parsed, loaded);
    }
}

} // namespace
} // namespace Brelk::Assets
