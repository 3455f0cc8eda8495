#pragma once

#include "engine/assets/image/ImageDocument.h"

#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <string>

namespace Brelk::Assets {

// The fixed cost of one command on the undo stack, on top of the bytes it remembers.
inline constexpr std::uint64_t kImageCommandBaseCost = 216;

struct ImageRect {
    std::uint32_t x = 0;
    std::uint32_t y = 0;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
};

enum class ImageResampleFilter : std::uint32_t { Nearest = 0, Bilinear = 1 };

// Edits an image document through commands that can be undone. Every command first checks
// its arguments, then the limits (layer count, memory, and that its cost of 216 bytes plus
// what it remembers fits `historyBudget`), and only then changes the document; a refused
// command changes nothing and says why. A new command clears the redo stack; the oldest
// commands leave the undo stack while the stack together costs more than the budget.
class ImageDocumentEditor {
public:
    explicit ImageDocumentEditor(ImageDocument document) : document_(std::move(document)) {}

    [[nodiscard]] const ImageDocument& Document() const noexcept { return document_; }
    [[nodiscard]] std::uint64_t HistoryBytes() const noexcept { return historyBytes_; }
    [[nodiscard]] std::size_t UndoCount() const noexcept { return undo_.size(); }
    [[nodiscard]] std::size_t RedoCount() const noexcept { return redo_.size(); }

    // Remembers the new layer: width * height * 16 bytes. The layer goes on top, with a new
    // identity, which `identity` receives.
    [[nodiscard]] bool AddLayer(const ImageLayerSettings& settings, Core::Guid* identity = nullptr,
                                std::string* error = nullptr);
    [[nodiscard]] bool AddLayerWithPixels(const ImageLayerSettings& settings, std::vector<ImagePixel> pixels,
                                          Core::Guid* identity = nullptr, std::string* error = nullptr);
    // Remembers the layer and its mask.
    [[nodiscard]] bool DeleteLayer(const Core::Guid& layer, std::string* error = nullptr);
    // Remembers the copy, which goes above the original.
    [[nodiscard]] bool DuplicateLayer(const Core::Guid& layer, Core::Guid* identity = nullptr,
                                      std::string* error = nullptr);
    // Remembers nothing beyond the record.
    [[nodiscard]] bool MoveLayer(const Core::Guid& layer, std::size_t newIndex, std::string* error = nullptr);
    // Remembers both names. A locked layer accepts only a change of the lock itself.
    [[nodiscard]] bool EditLayerSettings(const Core::Guid& layer, const ImageLayerSettings& settings,
                                         std::string* error = nullptr);
    // Writes the adjustments into the pixels and resets them; remembers the old pixels.
    [[nodiscard]] bool BakeLayer(const Core::Guid& layer, std::string* error = nullptr);
    // Remembers the old and the new pixels of the rectangle.
    [[nodiscard]] bool WritePixels(const Core::Guid& layer, const ImageRect& rect,
                                   const std::vector<ImagePixel>& pixels, std::string* error = nullptr);
    // A mask of full coverage; remembers the mask.
    [[nodiscard]] bool AddMask(const Core::Guid& layer, std::string* error = nullptr);
    [[nodiscard]] bool WriteMaskValues(const Core::Guid& layer, const ImageRect& rect, const std::vector<float>& values,
                                       std::string* error = nullptr);
    [[nodiscard]] bool DeleteMask(const Core::Guid& layer, std::string* error = nullptr);
    // Remembers every layer and mask as they were.
    [[nodiscard]] bool ResizeCanvas(std::uint32_t width, std::uint32_t height, ImageResampleFilter filter,
                                    std::string* error = nullptr);
    [[nodiscard]] bool CropCanvas(const ImageRect& rect, std::string* error = nullptr);
    [[nodiscard]] bool SetFlipbookSettings(float framesPerSecond, std::uint32_t columns, std::uint32_t mode,
                                           std::string* error = nullptr);

    [[nodiscard]] bool Undo(std::string* error = nullptr);
    [[nodiscard]] bool Redo(std::string* error = nullptr);

private:
    struct Command {
        std::uint64_t cost = 0;
        std::function<void(ImageDocument&)> apply;
        std::function<void(ImageDocument&)> revert;
    };

    ImageLayer* FindLayer(const Core::Guid& identity);
    std::optional<std::size_t> IndexOf(const Core::Guid& identity) const;
    // Applies and pushes; the budget was checked by the caller.
    void Push(Command command);
    bool Fits(std::uint64_t remembered) const noexcept {
        return remembered <= document_.historyBudget &&
               kImageCommandBaseCost <= document_.historyBudget - remembered;
    }
    bool AddPreparedLayer(ImageLayer layer, Core::Guid* identity, std::string* error);
    // The whole canvas is remembered: every layer and mask as it stands.
    bool CheckCanvasBudget(std::string* error) const;
    void ReplaceCanvas(std::uint32_t width, std::uint32_t height, std::vector<ImageLayer> layers);

    ImageDocument document_;
    std::deque<Command> undo_;
    std::deque<Command> redo_;
    std::uint64_t historyBytes_ = 0;
};

} // namespace Brelk::Assets
