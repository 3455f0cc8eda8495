#pragma once

#include "engine/core/Guid.h"

#include <cstdint>

namespace Brelk::Assets {

// Run-time identity of an asset, valid inside one process only; 0 is no asset. Files never
// store handles: they store reference text (AssetReference.h).
using AssetHandle = std::uint64_t;

inline constexpr AssetHandle kNullAssetHandle = 0;

// What a reference decoder returns for an unresolved reference of a tolerated missing type:
// known to be absent, stored as 0.
inline constexpr AssetHandle kMissingAssetHandle = ~AssetHandle{0};

// The process-wide handle of a Guid. The first request for a Guid takes the next value of a
// counter that starts at 0x100000001, so a Guid keeps its handle for the life of the process,
// across re-created registries, and no handle is ever reused. Any thread may call this.
AssetHandle HandleForGuid(const Core::Guid& guid);

} // namespace Brelk::Assets
