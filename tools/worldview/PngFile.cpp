#include "tools/worldview/PngFile.h"

#include "engine/platform/Files.h"

#include <png.h>
#include <zlib.h>

#include <csetjmp>
#include <cstring>
#include <new>

namespace Brelk::WorldView {
namespace {

// What libpng's callbacks share with the encoder. libpng reports an error by a long jump,
// so the encoder keeps no object with a destructor between the jump's two ends: the
// output vector and the message live here, outside that frame.
struct PngSink {
    std::vector<std::uint8_t>* bytes = nullptr;
    char message[256] = {};
};

void OnError(png_structp png, png_const_charp message) {
    auto* sink = static_cast<PngSink*>(png_get_error_ptr(png));
    std::strncpy(sink->message, message != nullptr ? message : "unknown error", sizeof(sink->message) - 1);
    png_longjmp(png, 1);
}

void OnWarning(png_structp, png_const_charp) {}

void OnWrite(png_structp png, png_bytep data, png_size_t length) {
    auto* sink = static_cast<PngSink*>(png_get_io_ptr(png));
    try {
        sink->bytes->insert(sink->bytes->end(), data, data + length);
    } catch (const std::bad_alloc&) {
        png_error(png, "out of memory");
    }
}

void OnFlush(png_structp) {}

// True when the whole image went through; `sink.message` says why not.
bool EncodeRows(png_structp png, png_infop info, std::uint32_t width, std::uint32_t height, const PngRowSource& rows,
                PngSink& sink) {
    if (setjmp(png_jmpbuf(png))) {
        return false;
    }
    png_set_write_fn(png, &sink, OnWrite, OnFlush);
    png_set_IHDR(png, info, width, height, 8, PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
                 PNG_FILTER_TYPE_DEFAULT);
    // One filter and run-length matching at the fastest level: maps of large worlds are tens
    // of megapixels, and a search for longer matches or the best filter per row would cost
    // several times the reading of the whole world. Smooth relief filtered against the row
    // above is mostly runs anyway.
    png_set_filter(png, PNG_FILTER_TYPE_BASE, PNG_FILTER_UP);
    png_set_compression_level(png, 1);
    png_set_compression_strategy(png, Z_RLE);
    png_write_info(png, info);
    for (std::uint32_t row = 0; row < height; ++row) {
        png_write_row(png, rows(row));
    }
    png_write_end(png, info);
    return true;
}

// Frees libpng's structures on every way out, also when a row source throws.
class PngWriter {
public:
    explicit PngWriter(PngSink& sink)
        : png_(png_create_write_struct(PNG_LIBPNG_VER_STRING, &sink, OnError, OnWarning)),
          info_(png_ != nullptr ? png_create_info_struct(png_) : nullptr) {}
    ~PngWriter() { png_destroy_write_struct(&png_, &info_); }
    PngWriter(const PngWriter&) = delete;
    PngWriter& operator=(const PngWriter&) = delete;

    png_structp Png() const noexcept { return png_; }
    png_infop Info() const noexcept { return info_; }

private:
    png_structp png_;
    png_infop info_;
};

} // namespace

bool EncodePng(std::uint32_t width, std::uint32_t height, const PngRowSource& rows, std::vector<std::uint8_t>& png,
               std::string* error) {
    png.clear();
    PngSink sink;
    sink.bytes = &png;
    bool written = false;
    {
        const PngWriter writer(sink);
        written = writer.Info() != nullptr && EncodeRows(writer.Png(), writer.Info(), width, height, rows, sink);
    }
    if (!written) {
        if (error != nullptr) {
            *error = std::string("Cannot encode the picture: ") +
                     (sink.message[0] != '\0' ? sink.message : "libpng could not start") + ".";
        }
        png.clear();
        return false;
    }
    return true;
}

bool EncodePng(std::uint32_t width, std::uint32_t height, std::span<const std::uint8_t> rgb,
               std::vector<std::uint8_t>& png, std::string* error) {
    png.clear();
    if (rgb.size() != std::size_t{width} * height * 3) {
        if (error != nullptr) *error = "The image's pixels do not match its size.";
        return false;
    }
    const std::size_t stride = std::size_t{width} * 3;
    return EncodePng(
        width, height, [&](std::uint32_t row) { return rgb.data() + row * stride; }, png, error);
}

bool WritePngFile(const std::filesystem::path& path, std::uint32_t width, std::uint32_t height,
                  const PngRowSource& rows, std::string* error) {
    std::vector<std::uint8_t> png;
    if (!EncodePng(width, height, rows, png, error)) return false;
    return Platform::WriteFileAtomic(path, std::span<const std::uint8_t>(png), error);
}

} // namespace Brelk::WorldView
