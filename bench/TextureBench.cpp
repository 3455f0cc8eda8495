// Texture work against its floors, in one run: .btex encode and decode against a bare zlib
// compress2 / inflate of the same pixels; BC7 compression of a 2048x2048 image on one thread
// and on all workers, in megapixels per second; HDR and TGA decoding against reading the file.
#include "engine/assets/textures/CookedTexture.h"
#include "engine/assets/textures/HdrTextureImporter.h"
#include "engine/assets/textures/TextureCompression.h"
#include "engine/assets/textures/TgaTextureImporter.h"
#include "engine/core/Guid.h"
#include "engine/core/TaskSystem.h"
#include "engine/platform/Files.h"

#include <benchmark/benchmark.h>
#include <zlib.h>

#include <cmath>
#include <filesystem>
#include <optional>
#include <vector>

namespace {

namespace fs = std::filesystem;
using namespace Brelk::Assets;
using Brelk::Core::Tasks::TaskSystem;
using Brelk::Core::Tasks::TaskSystemConfig;

// A photo-like image: smooth gradients with a little grain, so zlib and BC7 both have work.
TextureAsset PhotoLike(std::uint32_t side) {
    TextureAsset image;
    image.width = side;
    image.height = side;
    image.pixels.resize(std::size_t{side} * side * 4);
    std::uint32_t grain = 12345;
    for (std::uint32_t y = 0; y < side; ++y) {
        for (std::uint32_t x = 0; x < side; ++x) {
            grain = grain * 1664525u + 1013904223u;
            std::uint8_t* p = &image.pixels[(std::size_t{y} * side + x) * 4];
            p[0] = static_cast<std::uint8_t>(128 + 100 * std::sin(x * 0.01) + (grain >> 29));
            p[1] = static_cast<std::uint8_t>(128 + 100 * std::cos(y * 0.013) + (grain >> 30));
            p[2] = static_cast<std::uint8_t>((x + y) / 16);
            p[3] = 255;
        }
    }
    return image;
}

const TextureAsset& Image1024() {
    static const TextureAsset image = PhotoLike(1024);
    return image;
}

void SetBytes(benchmark::State& state, std::size_t bytes) {
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * bytes));
}

void BM_CookedTextureEncode(benchmark::State& state) {
    for (auto _ : state) benchmark::DoNotOptimize(EncodeCookedTexture(Image1024()));
    SetBytes(state, Image1024().pixels.size());
}
BENCHMARK(BM_CookedTextureEncode)->Unit(benchmark::kMillisecond);

void BM_CookedTextureEncodeFloor_Compress2(benchmark::State& state) {
    const std::vector<std::uint8_t>& pixels = Image1024().pixels;
    std::vector<std::uint8_t> out(compressBound(pixels.size()));
    for (auto _ : state) {
        uLongf size = out.size();
        compress2(out.data(), &size, pixels.data(), pixels.size(), Z_DEFAULT_COMPRESSION);
        benchmark::DoNotOptimize(size);
    }
    SetBytes(state, pixels.size());
}
BENCHMARK(BM_CookedTextureEncodeFloor_Compress2)->Unit(benchmark::kMillisecond);

void BM_CookedTextureDecode(benchmark::State& state) {
    const std::vector<std::uint8_t> bytes = EncodeCookedTexture(Image1024());
    for (auto _ : state) benchmark::DoNotOptimize(DecodeCookedTexture(bytes, "bench"));
    SetBytes(state, Image1024().pixels.size());
}
BENCHMARK(BM_CookedTextureDecode)->Unit(benchmark::kMillisecond);

void BM_CookedTextureDecodeFloor_Inflate(benchmark::State& state) {
    const std::vector<std::uint8_t>& pixels = Image1024().pixels;
    std::vector<std::uint8_t> packed(compressBound(pixels.size()));
    uLongf packedSize = packed.size();
    compress2(packed.data(), &packedSize, pixels.data(), pixels.size(), Z_DEFAULT_COMPRESSION);
    std::vector<std::uint8_t> out(pixels.size());
    for (auto _ : state) {
        uLongf size = out.size();
        uncompress(out.data(), &size, packed.data(), packedSize);
        benchmark::DoNotOptimize(out.data());
    }
    SetBytes(state, pixels.size());
}
BENCHMARK(BM_CookedTextureDecodeFloor_Inflate)->Unit(benchmark::kMillisecond);

// Arg 0: one thread (an inline task system); arg 1: every worker of the machine.
void BM_Bc7Compress2048(benchmark::State& state) {
    static const TextureAsset image = PhotoLike(2048);
    TaskSystemConfig config;
    if (state.range(0) == 0) config.workerCount = 0;
    TaskSystem system(config);
    TaskSystem* previous = TaskSystem::Install(&system);
    for (auto _ : state) benchmark::DoNotOptimize(CompressTexture(image, TextureEncoding::Color, 0, nullptr));
    TaskSystem::Install(previous);
    state.counters["workers"] = system.WorkerCount();
    state.counters["MPix/s"] =
        benchmark::Counter(2048.0 * 2048.0 / 1e6 * static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
}
BENCHMARK(BM_Bc7Compress2048)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->Iterations(1)->UseRealTime();

class ImageFiles {
public:
    ImageFiles() : folder_(fs::temp_directory_path() / ("brelk-bench-" + Brelk::Core::Guid::New().ToString())) {
        constexpr std::uint32_t kSide = 1024;
        const TextureAsset image = PhotoLike(kSide);
        std::vector<std::uint8_t> tga{0, 0, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 4, 0, 4, 32, 0x28};
        for (std::size_t i = 0; i < image.pixels.size(); i += 4) {
            tga.insert(tga.end(), {image.pixels[i + 2], image.pixels[i + 1], image.pixels[i], image.pixels[i + 3]});
        }
        (void)Brelk::Platform::WriteFileAtomic(folder_ / "image.tga", tga);
        const std::string header = "#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n-Y 1024 +X 1024\n";
        std::vector<std::uint8_t> hdr(header.begin(), header.end());
        for (std::uint32_t y = 0; y < kSide; ++y) {
            hdr.insert(hdr.end(), {2, 2, 4, 0});
            for (int channel = 0; channel < 4; ++channel) {
                for (std::uint32_t x = 0; x < kSide; x += 128) {
                    hdr.push_back(128);
                    for (std::uint32_t i = 0; i < 128; ++i) {
                        hdr.push_back(channel == 3 ? 130 : image.pixels[(std::size_t{y} * kSide + x + i) * 4 + channel]);
                    }
                }
            }
        }
        (void)Brelk::Platform::WriteFileAtomic(folder_ / "image.hdr", hdr);
    }
    ~ImageFiles() {
        std::error_code ignored;
        fs::remove_all(folder_, ignored);
    }
    fs::path Tga() const { return folder_ / "image.tga"; }
    fs::path Hdr() const { return folder_ / "image.hdr"; }

private:
    fs::path folder_;
};

const ImageFiles& Files() {
    static const ImageFiles files;
    return files;
}

void BM_TgaDecode(benchmark::State& state) {
    for (auto _ : state) benchmark::DoNotOptimize(TgaTextureImporter::ImportTexture(Files().Tga()));
}
BENCHMARK(BM_TgaDecode)->Unit(benchmark::kMillisecond);

void BM_TgaDecodeFloor_ReadFile(benchmark::State& state) {
    for (auto _ : state) benchmark::DoNotOptimize(Brelk::Platform::ReadFileBytes(Files().Tga()));
}
BENCHMARK(BM_TgaDecodeFloor_ReadFile)->Unit(benchmark::kMillisecond);

void BM_HdrDecode(benchmark::State& state) {
    for (auto _ : state) benchmark::DoNotOptimize(HdrTextureImporter::ImportTexture(Files().Hdr()));
}
BENCHMARK(BM_HdrDecode)->Unit(benchmark::kMillisecond);

void BM_HdrDecodeFloor_ReadFile(benchmark::State& state) {
    for (auto _ : state) benchmark::DoNotOptimize(Brelk::Platform::ReadFileBytes(Files().Hdr()));
}
BENCHMARK(BM_HdrDecodeFloor_ReadFile)->Unit(benchmark::kMillisecond);

} // namespace
