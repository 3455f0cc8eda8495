#include "engine/assets/textures/BlockCodecs.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

namespace Brelk::Assets {
namespace {

constexpr std::array<int, 16> kBc7Weights4{0, 4, 9, 13, 17, 21, 26, 30, 34, 38, 43, 47, 51, 55, 60, 64};
// A pixel that is fully transparent or fully opaque must stay so: an entry with any other
// alpha costs this much more, which outweighs any colour error of a block.
constexpr int kAlphaEdgePenalty = 4194304;

using Vec4 = std::array<float, 4>;

struct Mode6Candidate {
    std::array<int, 4> end0{}; // 8-bit endpoint values: q * 2 + p
    std::array<int, 4> end1{};
    int p0 = 1;
    int p1 = 1;
    std::array<std::uint8_t, 16> selectors{};
    int error = 0;
};

int QuantizeEndpoint(float value, int pBit) noexcept {
    const int q = static_cast<int>(std::lround((value - static_cast<float>(pBit)) / 2.0f));
    return std::clamp(q, 0, 127) * 2 + pBit;
}

Mode6Candidate FitSelectors(BlockPixels pixels, const std::array<int, 4>& weights, const std::array<int, 4>& end0,
                            const std::array<int, 4>& end1) noexcept {
    Mode6Candidate candidate;
    candidate.end0 = end0;
    candidate.end1 = end1;
    std::array<std::array<int, 4>, 16> palette{};
    for (std::size_t s = 0; s < 16; ++s) {
        for (std::size_t c = 0; c < 4; ++c) {
            palette[s][c] = ((64 - kBc7Weights4[s]) * end0[c] + kBc7Weights4[s] * end1[c] + 32) >> 6;
        }
    }
    // Integer errors: the inputs are bytes and the weights small integers, so this is exact.
    int total = 0;
    for (std::size_t i = 0; i < 16; ++i) {
        const std::uint8_t* pixel = &pixels[i * 4];
        const bool alphaEdge = pixel[3] == 0 || pixel[3] == 255;
        int best = 0;
        std::uint8_t bestIndex = 0;
        for (std::size_t s = 0; s < 16; ++s) {
            const int dr = palette[s][0] - pixel[0];
            const int dg = palette[s][1] - pixel[1];
            const int db = palette[s][2] - pixel[2];
            const int da = palette[s][3] - pixel[3];
            int error = weights[0] * dr * dr + weights[1] * dg * dg + weights[2] * db * db + weights[3] * da * da;
            if (alphaEdge && da != 0) {
                error += kAlphaEdgePenalty;
            }
            if (s == 0 || error < best) {
                best = error;
                bestIndex = static_cast<std::uint8_t>(s);
            }
        }
        candidate.selectors[i] = bestIndex;
        total += best;
    }
    candidate.error = total;
    return candidate;
}

Mode6Candidate SearchPBits(BlockPixels pixels, const std::array<int, 4>& weights, bool opaque, const Vec4& low,
                           const Vec4& high) noexcept {
    Mode6Candidate best;
    bool first = true;
    for (int p0 = 0; p0 < 2; ++p0) {
        for (int p1 = 0; p1 < 2; ++p1) {
            // An opaque block needs endpoint alphas that reach 255, which only odd values do.
            if (opaque && (p0 != 1 || p1 != 1)) {
                continue;
            }
            std::array<int, 4> end0{};
            std::array<int, 4> end1{};
            for (std::size_t c = 0; c < 4; ++c) {
                end0[c] = QuantizeEndpoint(low[c], p0);
                end1[c] = QuantizeEndpoint(high[c], p1);
            }
            Mode6Candidate candidate = FitSelectors(pixels, weights, end0, end1);
            candidate.p0 = p0;
            candidate.p1 = p1;
            if (first || candidate.error < best.error) {
                best = candidate;
                first = false;
            }
        }
    }
    return best;
}

// Least-squares endpoints for the selectors, channel by channel; a degenerate system (all
// selectors alike) keeps the ends it had.
void RefitEndpoints(BlockPixels pixels, const Mode6Candidate& candidate, Vec4& low, Vec4& high) noexcept {
    float aa = 0.0f;
    float ab = 0.0f;
    float bb = 0.0f;
    Vec4 ax{};
    Vec4 bx{};
    for (std::size_t i = 0; i < 16; ++i) {
        const float b = static_cast<float>(kBc7Weights4[candidate.selectors[i]]) / 64.0f;
        const float a = 1.0f - b;
        aa += a * a;
        ab += a * b;
        bb += b * b;
        for (std::size_t c = 0; c < 4; ++c) {
            ax[c] += a * pixels[i * 4 + c];
            bx[c] += b * pixels[i * 4 + c];
        }
    }
    const float determinant = aa * bb - ab * ab;
    if (determinant < 0.0001f) {
        return;
    }
    for (std::size_t c = 0; c < 4; ++c) {
        low[c] = std::clamp((bb * ax[c] - ab * bx[c]) / determinant, 0.0f, 255.0f);
        high[c] = std::clamp((aa * bx[c] - ab * ax[c]) / determinant, 0.0f, 255.0f);
    }
}

class BitWriter {
public:
    explicit BitWriter(std::span<std::uint8_t, 16> out) noexcept : out_(out) { std::fill(out_.begin(), out_.end(), 0); }
    void Write(unsigned value, unsigned bits) noexcept {
        for (unsigned i = 0; i < bits; ++i, ++position_) {
            out_[position_ >> 3] |= static_cast<std::uint8_t>(((value >> i) & 1u) << (position_ & 7));
        }
    }

private:
    std::span<std::uint8_t, 16> out_;
    unsigned position_ = 0;
};

class BitReader {
public:
    explicit BitReader(std::span<const std::uint8_t, 16> in) noexcept : in_(in) {}
    unsigned Read(unsigned bits) noexcept {
        unsigned value = 0;
        for (unsigned i = 0; i < bits; ++i, ++position_) {
            value |= ((in_[position_ >> 3] >> (position_ & 7)) & 1u) << i;
        }
        return value;
    }

private:
    std::span<const std::uint8_t, 16> in_;
    unsigned position_ = 0;
};

} // namespace

void EncodeBc7Mode6Block(BlockPixels pixels, TextureEncoding encoding, std::span<std::uint8_t, 16> out) noexcept {
    const std::array<int, 4> weights =
        encoding == TextureEncoding::Color ? std::array<int, 4>{3, 6, 1, 3} : std::array<int, 4>{1, 1, 1, 1};
    Vec4 root{};
    for (std::size_t c = 0; c < 4; ++c) {
        root[c] = std::sqrt(static_cast<float>(weights[c]));
    }
    bool opaque = true;
    Vec4 mean{};
    for (std::size_t i = 0; i < 16; ++i) {
        opaque = opaque && pixels[i * 4 + 3] == 255;
        for (std::size_t c = 0; c < 4; ++c) {
            mean[c] += pixels[i * 4 + c];
        }
    }
    for (float& m : mean) {
        m /= 16.0f;
    }

    // The principal axis of the weighted colours: the ends lie along it.
    std::array<Vec4, 16> scaled{};
    std::array<Vec4, 4> covariance{};
    for (std::size_t i = 0; i < 16; ++i) {
        for (std::size_t c = 0; c < 4; ++c) {
            scaled[i][c] = (pixels[i * 4 + c] - mean[c]) * root[c];
        }
        for (std::size_t r = 0; r < 4; ++r) {
            for (std::size_t c = 0; c < 4; ++c) {
                covariance[r][c] += scaled[i][r] * scaled[i][c];
            }
        }
    }
    Vec4 axis{0.5f, 0.5f, 0.5f, 0.5f};
    for (int round = 0; round < 6; ++round) {
        Vec4 next{};
        for (std::size_t r = 0; r < 4; ++r) {
            for (std::size_t c = 0; c < 4; ++c) {
                next[r] += covariance[r][c] * axis[c];
            }
        }
        const float length = std::sqrt(next[0] * next[0] + next[1] * next[1] + next[2] * next[2] + next[3] * next[3]);
        if (length < 0.000001f) {
            break;
        }
        for (std::size_t c = 0; c < 4; ++c) {
            axis[c] = next[c] / length;
        }
    }
    float lowest = 0.0f;
    float highest = 0.0f;
    for (std::size_t i = 0; i < 16; ++i) {
        const float t = scaled[i][0] * axis[0] + scaled[i][1] * axis[1] + scaled[i][2] * axis[2] + scaled[i][3] * axis[3];
        lowest = i == 0 ? t : std::min(lowest, t);
        highest = i == 0 ? t : std::max(highest, t);
    }
    Vec4 low{};
    Vec4 high{};
    for (std::size_t c = 0; c < 4; ++c) {
        low[c] = std::clamp(mean[c] + lowest * axis[c] / root[c], 0.0f, 255.0f);
        high[c] = std::clamp(mean[c] + highest * axis[c] / root[c], 0.0f, 255.0f);
    }

    // Two rounds of p-bit search, each refitting the float ends to its selectors for the next.
    Mode6Candidate best;
    for (int round = 0; round < 2; ++round) {
        const Mode6Candidate candidate = SearchPBits(pixels, weights, opaque, low, high);
        if (round == 0 || candidate.error < best.error) {
            best = candidate;
        }
        RefitEndpoints(pixels, candidate, low, high);
    }

    // The anchor selector's top bit isn't stored, so it must be below 8; the weight table
    // is symmetric, which makes the swap exact.
    if (best.selectors[0] >= 8) {
        std::swap(best.end0, best.end1);
        std::swap(best.p0, best.p1);
        for (std::uint8_t& s : best.selectors) {
            s = static_cast<std::uint8_t>(15 - s);
        }
    }

    BitWriter writer(out);
    writer.Write(1u << 6, 7);
    for (std::size_t c = 0; c < 4; ++c) {
        writer.Write(static_cast<unsigned>(best.end0[c] >> 1), 7);
        writer.Write(static_cast<unsigned>(best.end1[c] >> 1), 7);
    }
    writer.Write(static_cast<unsigned>(best.p0), 1);
    writer.Write(static_cast<unsigned>(best.p1), 1);
    writer.Write(best.selectors[0], 3);
    for (std::size_t i = 1; i < 16; ++i) {
        writer.Write(best.selectors[i], 4);
    }
}

bool DecodeBc7Mode6Block(std::span<const std::uint8_t, 16> block, std::span<std::uint8_t, 64> out) noexcept {
    if ((block[0] & 0x7F) != 64) {
        return false;
    }
    BitReader reader(block);
    reader.Read(7);
    std::array<int, 4> end0{};
    std::array<int, 4> end1{};
    for (std::size_t c = 0; c < 4; ++c) {
        end0[c] = static_cast<int>(reader.Read(7)) << 1;
        end1[c] = static_cast<int>(reader.Read(7)) << 1;
    }
    const int p0 = static_cast<int>(reader.Read(1));
    const int p1 = static_cast<int>(reader.Read(1));
    for (std::size_t c = 0; c < 4; ++c) {
        end0[c] |= p0;
        end1[c] |= p1;
    }
    for (std::size_t i = 0; i < 16; ++i) {
        const int weight = kBc7Weights4[reader.Read(i == 0 ? 3 : 4)];
        for (std::size_t c = 0; c < 4; ++c) {
            out[i * 4 + c] = static_cast<std::uint8_t>(((64 - weight) * end0[c] + weight * end1[c] + 32) >> 6);
        }
    }
    return true;
}

void EncodeBc4Block(std::span<const std::uint8_t, 16> values, std::span<std::uint8_t, 8> out) noexcept {
    const auto [lowIt, highIt] = std::minmax_element(values.begin(), values.end());
    const int lo = *lowIt;
    const int hi = *highIt;
    std::fill(out.begin(), out.end(), 0);
    if (lo == hi) {
        out[0] = static_cast<std::uint8_t>(hi);
        out[1] = static_cast<std::uint8_t>(lo);
        return;
    }
    int bestError = -1;
    std::uint64_t bestBits = 0;
    int bestA = hi;
    int bestB = lo;
    for (int da = 0; da < 3; ++da) {
        for (int db = 0; db < 3; ++db) {
            const int a = hi - da;
            const int b = lo + db;
            if (a <= b) {
                continue;
            }
            std::array<int, 8> palette{a, b};
            for (int k = 1; k < 7; ++k) {
                palette[static_cast<std::size_t>(k + 1)] = ((7 - k) * a + k * b + 3) / 7;
            }
            int error = 0;
            std::uint64_t bits = 0;
            for (std::size_t i = 0; i < 16; ++i) {
                int nearest = 0;
                int nearestError = -1;
                for (std::size_t s = 0; s < 8; ++s) {
                    const int d = palette[s] - values[i];
                    if (nearestError < 0 || d * d < nearestError) {
                        nearestError = d * d;
                        nearest = static_cast<int>(s);
                    }
                }
                error += nearestError;
                bits |= static_cast<std::uint64_t>(nearest) << (3 * i);
            }
            if (bestError < 0 || error < bestError) {
                bestError = error;
                bestBits = bits;
                bestA = a;
                bestB = b;
            }
        }
    }
    out[0] = static_cast<std::uint8_t>(bestA);
    out[1] = static_cast<std::uint8_t>(bestB);
    for (std::size_t i = 0; i < 6; ++i) {
        out[2 + i] = static_cast<std::uint8_t>(bestBits >> (8 * i));
    }
}

void DecodeBc4Block(std::span<const std::uint8_t, 8> block, std::span<std::uint8_t, 16> values) noexcept {
    const int a = block[0];
    const int b = block[1];
    std::array<int, 8> palette{a, b};
    if (a > b) {
        for (int k = 1; k < 7; ++k) {
            palette[static_cast<std::size_t>(k + 1)] = ((7 - k) * a + k * b + 3) / 7;
        }
    } else {
        for (int k = 1; k < 5; ++k) {
            palette[static_cast<std::size_t>(k + 1)] = ((5 - k) * a + k * b + 2) / 5;
        }
        palette[6] = 0;
        palette[7] = 255;
    }
    std::uint64_t bits = 0;
    for (std::size_t i = 0; i < 6; ++i) {
        bits |= static_cast<std::uint64_t>(block[2 + i]) << (8 * i);
    }
    for (std::size_t i = 0; i < 16; ++i) {
        values[i] = static_cast<std::uint8_t>(palette[(bits >> (3 * i)) & 7u]);
    }
}

void EncodeBc5Block(BlockPixels pixels, std::span<std::uint8_t, 16> out) noexcept {
    std::array<std::uint8_t, 16> red{};
    std::array<std::uint8_t, 16> green{};
    for (std::size_t i = 0; i < 16; ++i) {
        red[i] = pixels[i * 4];
        green[i] = pixels[i * 4 + 1];
    }
    EncodeBc4Block(red, out.first<8>());
    EncodeBc4Block(green, out.last<8>());
}

void DecodeBc5Block(std::span<const std::uint8_t, 16> block, std::span<std::uint8_t, 64> out) noexcept {
    std::array<std::uint8_t, 16> red{};
    std::array<std::uint8_t, 16> green{};
    DecodeBc4Block(block.first<8>(), red);
    DecodeBc4Block(block.last<8>(), green);
    for (std::size_t i = 0; i < 16; ++i) {
        const float x = red[i] / 127.5f - 1.0f;
        const float y = green[i] / 127.5f - 1.0f;
        const float z = std::sqrt(std::max(0.0f, 1.0f - x * x - y * y));
        out[i * 4] = red[i];
        out[i * 4 + 1] = green[i];
        out[i * 4 + 2] = static_cast<std::uint8_t>(std::lround((z + 1.0f) * 127.5f));
        out[i * 4 + 3] = 255;
    }
}

} // namespace Brelk::Assets
