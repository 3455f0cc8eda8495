#include "engine/assets/textures/ZlibBytes.h"

#include <zlib.h>

#include <limits>

namespace Brelk::Assets {
namespace {

// Deflate cannot expand data by more than about 1032 to 1; anything claiming more is corrupt.
constexpr std::uint64_t kMaxInflateRatio = 1032;
constexpr std::uint64_t kInflateSlack = 4096;

} // namespace

std::vector<std::uint8_t> ZlibCompress(std::span<const std::uint8_t> bytes) {
    uLongf size = compressBound(static_cast<uLong>(bytes.size()));
    std::vector<std::uint8_t> out(size);
    if (compress2(out.data(), &size, bytes.data(), static_cast<uLong>(bytes.size()), Z_DEFAULT_COMPRESSION) != Z_OK) {
        return {};
    }
    out.resize(size);
    return out;
}

bool ZlibInflate(std::span<const std::uint8_t> stream, std::uint64_t expectedSize, std::vector<std::uint8_t>& out) {
    if (expectedSize > stream.size() * kMaxInflateRatio + kInflateSlack ||
        expectedSize > std::numeric_limits<uInt>::max() || stream.size() > std::numeric_limits<uInt>::max()) {
        return false;
    }
    out.assign(expectedSize, 0);
    z_stream z{};
    if (inflateInit(&z) != Z_OK) {
        return false;
    }
    z.next_in = const_cast<Bytef*>(stream.data());
    z.avail_in = static_cast<uInt>(stream.size());
    z.next_out = out.data();
    z.avail_out = static_cast<uInt>(expectedSize);
    const int status = inflate(&z, Z_FINISH);
    const bool whole = status == Z_STREAM_END && z.total_out == expectedSize && z.avail_in == 0;
    inflateEnd(&z);
    if (!whole) {
        out.clear();
    }
    return whole;
}

} // namespace Brelk::Assets
