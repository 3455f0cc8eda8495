#include "engine/assets/image/ImageCommands.h"

#include <algorithm>
#include <cmath>

namespace Brelk::Assets {
namespace {

bool Fail(std::string* error, std::string_view message) {
    if (error) error->assign(message);
    return false;
}

std::uint64_t PixelCount(const ImageDocument& document) { return std::uint64_t{document.width} * document.height; }

bool IsFinitePixel(const ImagePixel& pixel) {
    return std::isfinite(pixel.r) && std::isfinite(pixel.g) && std::isfinite(pixel.b) && std::isfinite(pixel.a);
}

bool RectInside(const ImageRect& rect, const ImageDocument& document) {
    return rect.width > 0 && rect.height > 0 && rect.x <= document.width && rect.width <= document.width - rect.x &&
           rect.y <= document.height && rect.height <= document.height - rect.y;
}

template <class T>
std::vector<T> CopyRect(const std::vector<T>& source, std::uint32_t stride, const ImageRect& rect) {
    std::vector<T> out;
    out.reserve(std::size_t{rect.width} * rect.height);
    for (std::uint32_t y = 0; y < rect.height; ++y) {
        const auto row = source.begin() + static_cast<std::ptrdiff_t>(std::size_t{rect.y + y} * stride + rect.x);
        out.insert(out.end(), row, row + rect.width);
    }
    return out;
}

template <class T>
void PasteRect(std::vector<T>& target, std::uint32_t stride, const ImageRect& rect, const std::vector<T>& values) {
    for (std::uint32_t y = 0; y < rect.height; ++y) {
        std::copy_n(values.begin() + static_cast<std::ptrdiff_t>(std::size_t{y} * rect.width), rect.width,
                    target.begin() + static_cast<std::ptrdiff_t>(std::size_t{rect.y + y} * stride + rect.x));
    }
}

// Samples at pixel centres; the bilinear filter clamps at the edges.
template <class T, class Mix>
std::vector<T> Resample(const std::vector<T>& source, std::uint32_t width, std::uint32_t height, std::uint32_t newWidth,
                        std::uint32_t newHeight, ImageResampleFilter filter, Mix mix) {
    std::vector<T> out(std::size_t{newWidth} * newHeight);
    const float scaleX = static_cast<float>(width) / static_cast<float>(newWidth);
    const float scaleY = static_cast<float>(height) / static_cast<float>(newHeight);
    for (std::uint32_t y = 0; y < newHeight; ++y) {
        for (std::uint32_t x = 0; x < newWidth; ++x) {
            const float sx = (static_cast<float>(x) + 0.5f) * scaleX - 0.5f;
            const float sy = (static_cast<float>(y) + 0.5f) * scaleY - 0.5f;
            T& target = out[std::size_t{y} * newWidth + x];
            if (filter == ImageResampleFilter::Nearest) {
                const auto px = std::min(width - 1, static_cast<std::uint32_t>(std::max(0.0f, std::round(sx))));
                const auto py = std::min(height - 1, static_cast<std::uint32_t>(std::max(0.0f, std::round(sy))));
                target = source[std::size_t{py} * width + px];
                continue;
            }
            const float cx = std::clamp(sx, 0.0f, static_cast<float>(width - 1));
            const float cy = std::clamp(sy, 0.0f, static_cast<float>(height - 1));
            const auto x0 = static_cast<std::uint32_t>(cx);
            const auto y0 = static_cast<std::uint32_t>(cy);
            const std::uint32_t x1 = std::min(x0 + 1, width - 1);
            const std::uint32_t y1 = std::min(y0 + 1, height - 1);
            const float fx = cx - static_cast<float>(x0);
            const float fy = cy - static_cast<float>(y0);
            const T top = mix(source[std::size_t{y0} * width + x0], source[std::size_t{y0} * width + x1], fx);
            const T bottom = mix(source[std::size_t{y1} * width + x0], source[std::size_t{y1} * width + x1], fx);
            target = mix(top, bottom, fy);
        }
    }
    return out;
}

ImagePixel MixPixels(const ImagePixel& a, const ImagePixel& b, float t) {
    return {a.r + (b.r - a.r) * t, a.g + (b.g - a.g) * t, a.b + (b.b - a.b) * t, a.a + (b.a - a.a) * t};
}
float MixFloats(const float& a, const float& b, float t) { return a + (b - a) * t; }

std::uint64_t LayerBytes(const ImageLayer& layer) {
    return layer.pixels.size() * kImagePixelBytes + layer.mask.size() * kImageMaskValueBytes;
}

} // namespace

ImageLayer* ImageDocumentEditor::FindLayer(const Core::Guid& identity) {
    const std::optional<std::size_t> index = IndexOf(identity);
    return index ? &document_.layers[*index] : nullptr;
}

std::optional<std::size_t> ImageDocumentEditor::IndexOf(const Core::Guid& identity) const {
    for (std::size_t i = 0; i < document_.layers.size(); ++i) {
        if (document_.layers[i].identity == identity) return i;
    }
    return std::nullopt;
}

void ImageDocumentEditor::Push(Command command) {
    command.apply(document_);
    redo_.clear();
    historyBytes_ += command.cost;
    undo_.push_back(std::move(command));
    while (historyBytes_ > document_.historyBudget && !undo_.empty()) {
        historyBytes_ -= undo_.front().cost;
        undo_.pop_front();
    }
}

bool ImageDocumentEditor::AddPreparedLayer(ImageLayer layer, Core::Guid* identity, std::string* error) {
    if (!ValidateImageDocument(document_)) return Fail(error, "Invalid image document.");
    if (document_.layers.size() >= document_.maxLayers) return Fail(error, "Image layer limit exceeded.");
    const std::uint64_t bytes = LayerBytes(layer);
    if (bytes > document_.imageMemoryLimit - std::min(document_.imageMemoryLimit, ImageLayerMemory(document_))) {
        return Fail(error, "Image layer limit exceeded.");
    }
    if (!Fits(bytes)) return Fail(error, "Layer command exceeds history budget.");
    layer.identity = Core::Guid::New();
    if (identity) *identity = layer.identity;
    const Core::Guid id = layer.identity;
    Push({kImageCommandBaseCost + bytes,
          [layer = std::move(layer)](ImageDocument& document) { document.layers.push_back(layer); },
          [id](ImageDocument& document) {
              std::erase_if(document.layers, [&](const ImageLayer& l) { return l.identity == id; });
          }});
    return true;
}

bool ImageDocumentEditor::AddLayer(const ImageLayerSettings& settings, Core::Guid* identity, std::string* error) {
    if (!IsValidLayerSettings(settings)) return Fail(error, "Invalid layer settings.");
    ImageLayer layer;
    layer.settings = settings;
    layer.pixels.resize(PixelCount(document_));
    return AddPreparedLayer(std::move(layer), identity, error);
}

bool ImageDocumentEditor::AddLayerWithPixels(const ImageLayerSettings& settings, std::vector<ImagePixel> pixels,
                                             Core::Guid* identity, std::string* error) {
    if (!IsValidLayerSettings(settings)) return Fail(error, "Invalid layer settings.");
    if (pixels.size() != PixelCount(document_) || !std::all_of(pixels.begin(), pixels.end(), IsFinitePixel)) {
        return Fail(error, "Invalid layer pixels.");
    }
    ImageLayer layer;
    layer.settings = settings;
    layer.pixels = std::move(pixels);
    return AddPreparedLayer(std::move(layer), identity, error);
}

bool ImageDocumentEditor::DeleteLayer(const Core::Guid& identity, std::string* error) {
    const std::optional<std::size_t> index = IndexOf(identity);
    if (!index || document_.layers[*index].settings.locked) return Fail(error, "Layer is missing or locked.");
    const std::uint64_t bytes = LayerBytes(document_.layers[*index]);
    if (!Fits(bytes)) return Fail(error, "Layer command exceeds history budget.");
    ImageLayer kept = document_.layers[*index];
    const std::size_t at = *index;
    Push({kImageCommandBaseCost + bytes,
          [at](ImageDocument& document) { document.layers.erase(document.layers.begin() + static_cast<std::ptrdiff_t>(at)); },
          [at, kept = std::move(kept)](ImageDocument& document) {
              document.layers.insert(document.layers.begin() + static_cast<std::ptrdiff_t>(at), kept);
          }});
    return true;
}

bool ImageDocumentEditor::DuplicateLayer(const Core::Guid& identity, Core::Guid* copyIdentity, std::string* error) {
    const std::optional<std::size_t> index = IndexOf(identity);
    if (!index) return Fail(error, "Image layer is missing.");
    if (document_.layers.size() >= document_.maxLayers) return Fail(error, "Image layer limit exceeded.");
    ImageLayer copy = document_.layers[*index];
    const std::uint64_t bytes = LayerBytes(copy);
    if (ImageLayerMemory(document_) + bytes > document_.imageMemoryLimit) {
        return Fail(error, "Image layer memory exceeds limits.");
    }
    if (!Fits(bytes)) return Fail(error, "Layer command exceeds history budget.");
    copy.identity = Core::Guid::New();
    if (copyIdentity) *copyIdentity = copy.identity;
    const std::size_t at = *index + 1;
    Push({kImageCommandBaseCost + bytes,
          [at, copy = std::move(copy)](ImageDocument& document) {
              document.layers.insert(document.layers.begin() + static_cast<std::ptrdiff_t>(at), copy);
          },
          [at](ImageDocument& document) { document.layers.erase(document.layers.begin() + static_cast<std::ptrdiff_t>(at)); }});
    return true;
}

bool ImageDocumentEditor::MoveLayer(const Core::Guid& identity, std::size_t newIndex, std::string* error) {
    const std::optional<std::size_t> index = IndexOf(identity);
    if (!index || newIndex >= document_.layers.size() || newIndex == *index) return Fail(error, "Invalid layer move.");
    if (!Fits(0)) return Fail(error, "Layer command exceeds history budget.");
    auto move = [](std::size_t from, std::size_t to) {
        return [from, to](ImageDocument& document) {
            ImageLayer layer = std::move(document.layers[from]);
            document.layers.erase(document.layers.begin() + static_cast<std::ptrdiff_t>(from));
            document.layers.insert(document.layers.begin() + static_cast<std::ptrdiff_t>(to), std::move(layer));
        };
    };
    Push({kImageCommandBaseCost, move(*index, newIndex), move(newIndex, *index)});
    return true;
}

bool ImageDocumentEditor::EditLayerSettings(const Core::Guid& identity, const ImageLayerSettings& settings,
                                            std::string* error) {
    if (!IsValidLayerSettings(settings)) return Fail(error, "Invalid layer settings.");
    ImageLayer* layer = FindLayer(identity);
    if (!layer) return Fail(error, "Image layer is missing.");
    ImageLayerSettings unlockedOnly = layer->settings;
    unlockedOnly.locked = settings.locked;
    if (layer->settings.locked && unlockedOnly != settings) {
        return Fail(error, "Layer is locked; unlock before editing settings.");
    }
    const std::uint64_t bytes = layer->settings.name.size() + settings.name.size();
    if (!Fits(bytes)) return Fail(error, "Layer settings command exceeds history budget.");
    auto set = [id = identity](ImageLayerSettings value) {
        return [id, value = std::move(value)](ImageDocument& document) {
            for (ImageLayer& l : document.layers) {
                if (l.identity == id) l.settings = value;
            }
        };
    };
    Push({kImageCommandBaseCost + bytes, set(settings), set(layer->settings)});
    return true;
}

bool ImageDocumentEditor::BakeLayer(const Core::Guid& identity, std::string* error) {
    ImageLayer* layer = FindLayer(identity);
    if (!layer || layer->settings.locked) return Fail(error, "Layer is missing or locked.");
    const std::uint64_t bytes = layer->pixels.size() * kImagePixelBytes;
    if (!Fits(bytes)) return Fail(error, "Bake exceeds the undo memory budget.");
    // The undo keeps the old pixels; a redo bakes them again.
    ImageLayer before = *layer;
    const Core::Guid id = identity;
    Push({kImageCommandBaseCost + bytes,
          [id](ImageDocument& document) {
              for (ImageLayer& l : document.layers) {
                  if (l.identity != id) continue;
                  ApplyImageAdjustments(l.pixels, l.settings.adjustment);
                  l.settings.adjustment = ImageAdjustment{};
              }
          },
          [before = std::move(before)](ImageDocument& document) {
              for (ImageLayer& l : document.layers) {
                  if (l.identity == before.identity) l = before;
              }
          }});
    return true;
}

bool ImageDocumentEditor::WritePixels(const Core::Guid& identity, const ImageRect& rect,
                                      const std::vector<ImagePixel>& pixels, std::string* error) {
    ImageLayer* layer = FindLayer(identity);
    if (!layer || layer->settings.locked) return Fail(error, "Layer is missing or locked.");
    if (!RectInside(rect, document_) || pixels.size() != std::size_t{rect.width} * rect.height ||
        !std::all_of(pixels.begin(), pixels.end(), IsFinitePixel)) {
        return Fail(error, "Invalid pixel rectangle or values.");
    }
    const std::uint64_t bytes = 2 * pixels.size() * kImagePixelBytes;
    if (!Fits(bytes)) return Fail(error, "Pixel command exceeds history budget.");
    auto paste = [id = identity, rect, stride = document_.width](std::vector<ImagePixel> values) {
        return [=, values = std::move(values)](ImageDocument& document) {
            for (ImageLayer& l : document.layers) {
                if (l.identity == id) PasteRect(l.pixels, stride, rect, values);
            }
        };
    };
    Push({kImageCommandBaseCost + bytes, paste(pixels), paste(CopyRect(layer->pixels, document_.width, rect))});
    return true;
}

bool ImageDocumentEditor::AddMask(const Core::Guid& identity, std::string* error) {
    ImageLayer* layer = FindLayer(identity);
    if (!layer || layer->settings.locked || !layer->mask.empty()) {
        return Fail(error, "Layer is missing, locked or already masked.");
    }
    const std::uint64_t bytes = PixelCount(document_) * kImageMaskValueBytes;
    if (ImageLayerMemory(document_) + bytes > document_.imageMemoryLimit) {
        return Fail(error, "Mask exceeds image memory limit.");
    }
    if (!Fits(bytes)) return Fail(error, "Mask command exceeds history budget.");
    auto set = [id = identity](std::vector<float> mask) {
        return [id, mask = std::move(mask)](ImageDocument& document) {
            for (ImageLayer& l : document.layers) {
                if (l.identity == id) l.mask = mask;
            }
        };
    };
    Push({kImageCommandBaseCost + bytes, set(std::vector<float>(PixelCount(document_), 1.0f)), set({})});
    return true;
}

bool ImageDocumentEditor::WriteMaskValues(const Core::Guid& identity, const ImageRect& rect,
                                          const std::vector<float>& values, std::string* error) {
    ImageLayer* layer = FindLayer(identity);
    if (!layer || layer->settings.locked || layer->mask.empty()) {
        return Fail(error, "Layer is missing, locked or has no mask.");
    }
    if (!RectInside(rect, document_) || values.size() != std::size_t{rect.width} * rect.height ||
        !std::all_of(values.begin(), values.end(), [](float v) { return std::isfinite(v) && v >= 0.0f && v <= 1.0f; })) {
        return Fail(error, "Invalid mask rectangle or values.");
    }
    const std::uint64_t bytes = 2 * values.size() * kImageMaskValueBytes;
    if (!Fits(bytes)) return Fail(error, "Mask command exceeds history budget.");
    auto paste = [id = identity, rect, stride = document_.width](std::vector<float> mask) {
        return [=, mask = std::move(mask)](ImageDocument& document) {
            for (ImageLayer& l : document.layers) {
                if (l.identity == id) PasteRect(l.mask, stride, rect, mask);
            }
        };
    };
    Push({kImageCommandBaseCost + bytes, paste(values), paste(CopyRect(layer->mask, document_.width, rect))});
    return true;
}

bool ImageDocumentEditor::DeleteMask(const Core::Guid& identity, std::string* error) {
    ImageLayer* layer = FindLayer(identity);
    if (!layer || layer->settings.locked || layer->mask.empty()) {
        return Fail(error, "Layer is missing, locked or has no mask.");
    }
    const std::uint64_t bytes = layer->mask.size() * kImageMaskValueBytes;
    if (!Fits(bytes)) return Fail(error, "Mask command exceeds history budget.");
    auto set = [id = identity](std::vector<float> mask) {
        return [id, mask = std::move(mask)](ImageDocument& document) {
            for (ImageLayer& l : document.layers) {
                if (l.identity == id) l.mask = mask;
            }
        };
    };
    Push({kImageCommandBaseCost + bytes, set({}), set(layer->mask)});
    return true;
}

bool ImageDocumentEditor::CheckCanvasBudget(std::string* error) const {
    const std::uint64_t remembered = ImageLayerMemory(document_);
    if (remembered > document_.historyBudget) return Fail(error, "Canvas allocation exceeds undo budget.");
    if (document_.historyBudget < kImageCommandBaseCost) return Fail(error, "Canvas command exceeds undo budget.");
    if (!Fits(remembered)) {
        return Fail(error, "Canvas command requires at least " + std::to_string(kImageCommandBaseCost + remembered) +
                               " bytes of undo budget (available " + std::to_string(document_.historyBudget) +
                               " bytes).");
    }
    return true;
}

void ImageDocumentEditor::ReplaceCanvas(std::uint32_t width, std::uint32_t height, std::vector<ImageLayer> layers) {
    auto set = [](std::uint32_t w, std::uint32_t h, std::vector<ImageLayer> value) {
        return [w, h, value = std::move(value)](ImageDocument& document) {
            document.width = w;
            document.height = h;
            document.layers = value;
        };
    };
    Push({kImageCommandBaseCost + ImageLayerMemory(document_), set(width, height, std::move(layers)),
          set(document_.width, document_.height, document_.layers)});
}

bool ImageDocumentEditor::ResizeCanvas(std::uint32_t width, std::uint32_t height, ImageResampleFilter filter,
                                       std::string* error) {
    if (width == 0 || height == 0 || width > document_.maxDimension || height > document_.maxDimension) {
        return Fail(error, "Image dimensions exceed limits.");
    }
    if (static_cast<std::uint32_t>(filter) > 1) return Fail(error, "Invalid image resampling filter.");
    const std::uint64_t pixels = std::uint64_t{width} * height;
    if (pixels > document_.imageMemoryLimit / kImagePixelBytes) {
        return Fail(error, "Canvas allocation exceeds image memory limit.");
    }
    std::uint64_t layerBytes = 0;
    std::uint64_t maskBytes = 0;
    for (const ImageLayer& layer : document_.layers) {
        layerBytes += pixels * kImagePixelBytes;
        maskBytes += layer.mask.empty() ? 0 : pixels * kImageMaskValueBytes;
    }
    if (layerBytes > document_.imageMemoryLimit) return Fail(error, "Resized layers exceed image memory limit.");
    if (layerBytes + maskBytes > document_.imageMemoryLimit) return Fail(error, "Resized masks exceed image memory limit.");
    // The budget is checked before the new layers are made, as they may be large.
    if (!CheckCanvasBudget(error)) return false;
    std::vector<ImageLayer> layers = document_.layers;
    for (ImageLayer& layer : layers) {
        layer.pixels = Resample(layer.pixels, document_.width, document_.height, width, height, filter, MixPixels);
        if (!layer.mask.empty()) {
            layer.mask = Resample(layer.mask, document_.width, document_.height, width, height, filter, MixFloats);
        }
    }
    ReplaceCanvas(width, height, std::move(layers));
    return true;
}

bool ImageDocumentEditor::CropCanvas(const ImageRect& rect, std::string* error) {
    if (!RectInside(rect, document_)) return Fail(error, "Crop rectangle must be nonempty and inside the canvas.");
    if (!CheckCanvasBudget(error)) return false;
    std::vector<ImageLayer> layers = document_.layers;
    for (ImageLayer& layer : layers) {
        layer.pixels = CopyRect(layer.pixels, document_.width, rect);
        if (!layer.mask.empty()) layer.mask = CopyRect(layer.mask, document_.width, rect);
    }
    ReplaceCanvas(rect.width, rect.height, std::move(layers));
    return true;
}

bool ImageDocumentEditor::SetFlipbookSettings(float framesPerSecond, std::uint32_t columns, std::uint32_t mode,
                                              std::string* error) {
    if (!IsValidFlipbookSettings(framesPerSecond, columns, mode)) return Fail(error, "Invalid flipbook settings.");
    if (!Fits(0)) return Fail(error, "Flipbook command exceeds history budget.");
    auto set = [](float fps, std::uint32_t c, std::uint32_t m) {
        return [=](ImageDocument& document) {
            document.framesPerSecond = fps;
            document.flipbookColumns = c;
            document.flipbookMode = m;
        };
    };
    Push({kImageCommandBaseCost, set(framesPerSecond, columns, mode),
          set(document_.framesPerSecond, document_.flipbookColumns, document_.flipbookMode)});
    return true;
}

bool ImageDocumentEditor::Undo(std::string* error) {
    if (undo_.empty()) return Fail(error, "No command to undo.");
    Command command = std::move(undo_.back());
    undo_.pop_back();
    historyBytes_ -= command.cost;
    command.revert(document_);
    redo_.push_back(std::move(command));
    return true;
}

bool ImageDocumentEditor::Redo(std::string* error) {
    if (redo_.empty()) return Fail(error, "No command to redo.");
    Command command = std::move(redo_.back());
    redo_.pop_back();
    command.apply(document_);
    historyBytes_ += command.cost;
    undo_.push_back(std::move(command));
    return true;
}

} // namespace Brelk::Assets
