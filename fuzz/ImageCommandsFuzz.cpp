// Drives an image document through a stream of commands decoded from the input. After every
// command the document must still be valid, and undoing everything the history kept, then
// redoing it, must give the same document back.
#include "engine/assets/image/ImageCommands.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

using namespace Brelk::Assets;

class Input {
public:
    Input(const std::uint8_t* data, std::size_t size) : data_(data), size_(size) {}
    bool Empty() const { return position_ >= size_; }
    std::uint8_t Byte() { return position_ < size_ ? data_[position_++] : 0; }
    float Unit() { return static_cast<float>(Byte()) / 200.0f - 0.1f; }

private:
    const std::uint8_t* data_;
    std::size_t size_;
    std::size_t position_ = 0;
};

ImageLayerSettings Settings(Input& in) {
    ImageLayerSettings settings;
    settings.visible = in.Byte() & 1;
    settings.locked = (in.Byte() & 7) == 0;
    settings.opacity = in.Unit();
    settings.blendMode = static_cast<ImageBlendMode>(in.Byte() % 5);
    settings.adjustment.brightness = in.Unit() - 0.5f;
    return settings;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Input in(data, size);
    ImageDocument document = MakeImageDocument(1 + in.Byte() % 6, 1 + in.Byte() % 6);
    document.maxLayers = 1 + in.Byte() % 6;
    document.maxDimension = 8;
    document.historyBudget = 216 + in.Byte() * 16;
    document.imageMemoryLimit = 64 * 16 * (1 + in.Byte() % 8);
    ImageDocumentEditor editor(document);
    std::vector<Brelk::Core::Guid> layers;
    auto pick = [&] { return layers.empty() ? Brelk::Core::Guid::New() : layers[in.Byte() % layers.size()]; };
    auto rect = [&] { return ImageRect{in.Byte() % 8u, in.Byte() % 8u, in.Byte() % 8u, in.Byte() % 8u}; };
    std::size_t commands = 0;
    while (!in.Empty()) {
        Brelk::Core::Guid id;
        bool done = false;
        switch (in.Byte() % 16) {
        case 0: done = editor.AddLayer(Settings(in), &id); break;
        case 1: done = editor.DeleteLayer(pick()); break;
        case 2: done = editor.DuplicateLayer(pick(), &id); break;
        case 3: done = editor.MoveLayer(pick(), in.Byte() % 8); break;
        case 4: done = editor.EditLayerSettings(pick(), Settings(in)); break;
        case 5: done = editor.BakeLayer(pick()); break;
        case 6: {
            const ImageRect r = rect();
            done = editor.WritePixels(pick(), r, std::vector<ImagePixel>(std::size_t{r.width} * r.height, {in.Unit(), 0, 0, 1}));
            break;
        }
        case 7: done = editor.AddMask(pick()); break;
        case 8: {
            const ImageRect r = rect();
            done = editor.WriteMaskValues(pick(), r, std::vector<float>(std::size_t{r.width} * r.height, in.Unit()));
            break;
        }
        case 9: done = editor.DeleteMask(pick()); break;
        case 10:
            done = editor.ResizeCanvas(in.Byte() % 10, in.Byte() % 10, static_cast<ImageResampleFilter>(in.Byte() % 3));
            break;
        case 11: done = editor.CropCanvas(rect()); break;
        case 12: done = editor.SetFlipbookSettings(in.Unit() * 300.0f, in.Byte(), in.Byte() % 4); break;
        case 13: (void)editor.Undo(); break;
        case 14: (void)editor.Redo(); break;
        default: {
            FlipbookAtlasLayout layout;
            std::vector<ImagePixel> atlas;
            (void)BuildFlipbookAtlas(editor.Document(), &layout, &atlas);
            break;
        }
        }
        if (id.IsValid()) layers.push_back(id);
        commands += done ? 1 : 0;
        if (!ValidateImageDocument(editor.Document())) std::abort();
        if (editor.HistoryBytes() > editor.Document().historyBudget) std::abort();
    }
    const ImageDocument end = editor.Document();
    const std::size_t kept = editor.UndoCount();
    while (editor.Undo()) {
    }
    for (std::size_t i = 0; i < kept; ++i) {
        if (!editor.Redo()) std::abort();
    }
    if (!(editor.Document() == end)) std::abort();
    (void)commands;
    return 0;
}
