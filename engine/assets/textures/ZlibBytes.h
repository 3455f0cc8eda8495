#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace Brelk::Assets {

// zlib's compress2 at the default level; empty if zlib fails.
std::vector<std::uint8_t> ZlibCompress(std::span<const std::uint8_t> bytes);

// Inflates a whole zlib stream that must give exactly `expectedSize` bytes; false for a
// broken stream, a different size, or a size that no stream of this length can reach
// (which refuses to allocate for a hostile header).
[[nodiscard]] bool ZlibInflate(std::span<const std::uint8_t> stream, std::uint64_t expectedSize,
                               std::vector<std::uint8_t>& out);

} // namespace Brelk::Assets
