#include "tools/worldgen/Sampling.h"

#include "engine/core/NumberText.h"

#include <cmath>
#include <string_view>

namespace Brelk::WorldGen {

namespace {

// 2^-24 (bits 0x33800000): a 24-bit draw times this lies in [0, 1) and is exact.
constexpr float kInverseTwoPow24 = 5.9604645e-8f;

constexpr std::string_view kProceduralGuidPrefix = "brelk-procedural-world:";

} // namespace

float RandomStream::NextFloat(float lo, float hi) noexcept {
    return NextFloatInSpan(lo, hi - lo);
}

float RandomStream::NextFloatInSpan(float lo, float span) noexcept {
    const std::uint64_t r = Next() >> 40;
    const float unit = static_cast<float>(r) * kInverseTwoPow24;
    const float scaled = unit * span;
    return scaled + lo;
}

// Each product and sum is a statement of its own and the build forbids contraction, so no
// step is fused or kept wider: heights end up in files with nine digits and must be the same
// on every machine with the same C library.
float SampleHeight(float worldX, float worldZ, const ProceduralWorldSettings& settings) noexcept {
    const float phase = static_cast<float>(settings.seed & 0x3FFu) * 0.37f;

    const float ax = worldX * 0.051f;
    const float az = worldZ * 0.013f;
    const float a = std::sin(ax + az);

    const float bz = worldZ * 0.047f;
    const float bx = worldX * 0.009f;
    const float b = std::sin(bz - bx);

    const float cx = worldX * 0.0123f;
    const float c = std::sin(cx + phase);

    const float dz = worldZ * 0.0107f;
    const float d = std::cos(dz - phase);

    const float shortWave = (a * 0.15f) * b;
    const float longWave = ((c * 0.3f) * d) + 0.5f;
    float v = shortWave + longWave;
    if (v < 0.0f) v = 0.0f;
    if (v > 1.0f) v = 1.0f;
    return v * settings.heightScale;
}

Core::Guid MakeProceduralGuid(std::uint32_t seed, std::int32_t x, std::int32_t z, std::uint32_t index) noexcept {
    // Prefix, three numbers of at most 11 characters with their separators, and the room
    // that FormatInteger asks for behind the last one.
    char buffer[kProceduralGuidPrefix.size() + 3 * 12 + Core::kMaxNumberChars];
    char* out = buffer;
    for (const char c : kProceduralGuidPrefix) *out++ = c;
    out = Core::FormatInteger(out, seed);
    *out++ = ':';
    out = Core::FormatInteger(out, x);
    *out++ = ':';
    out = Core::FormatInteger(out, z);
    *out++ = ':';
    out = Core::FormatInteger(out, index);
    return Core::Guid::FromName(std::string_view(buffer, static_cast<std::size_t>(out - buffer)));
}

std::string CellFileStem(CellCoord coord) {
    std::string stem = "cell_";
    Core::AppendInteger(stem, coord.x);
    stem += '_';
    Core::AppendInteger(stem, coord.z);
    return stem;
}

std::string CellDisplayName(CellCoord coord) {
    std::string name;
    Core::AppendInteger(name, coord.x);
    name += ',';
    Core::AppendInteger(name, coord.z);
    return name;
}

} // namespace Brelk::WorldGen
