#pragma once

#include "engine/assets/AssetHandle.h"
#include "engine/reflection/AssetType.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Brelk::Assets {

// Where one asset stands in the loader. The names are also the words of the loader's
// profiler counters.
enum class AssetLoadState : std::uint8_t {
    Unloaded = 0,               // nothing is wanted, or the slot was reset
    Queued = 1,                 // waits for a place among the running loads
    Loading = 2,                // a read or decode job is in flight
    WaitingForDependencies = 3, // the payload is there (or none is needed); dependencies are not settled
    Uploading = 4,              // every dependency is settled; waits for the publish budget
    Ready = 5,                  // published
    Failed = 6,                 // the load failed; the message is in the slot
};

// "Unloaded" ... "Failed"; "Unknown" for a value outside the seven.
std::string_view AssetLoadStateName(AssetLoadState state) noexcept;

// States 1 to 4: the load is still moving. Unloaded, Ready and Failed are settled.
constexpr bool IsPendingLoadState(AssetLoadState state) noexcept {
    return state >= AssetLoadState::Queued && state <= AssetLoadState::Uploading;
}

// 0 to 3, a greater value goes first: 1 for background touches, 2 for reloads, 3 for a
// caller that blocks, which also makes the load urgent.
using AssetLoadPriority = std::uint8_t;
inline constexpr AssetLoadPriority kAssetLoadPriorityTouch = 1;
inline constexpr AssetLoadPriority kAssetLoadPriorityReload = 2;
inline constexpr AssetLoadPriority kAssetLoadPriorityBlocking = 3;

struct AssetLoaderConfig {
    // Payload bytes published per Update; the first publish of an Update passes whatever its size.
    std::uint64_t uploadBudgetBytes = 33554432;
    // Jobs in flight at once, urgent loads aside; 0 counts as 1.
    std::uint32_t maxConcurrentLoads = 8;
    // Updates between sweeps of unreferenced slots; 0 turns the sweep off.
    std::uint32_t sweepIntervalFrames = 120;
};

// What a decode hands to the publish step. `sizeBytes` is what the publish is charged
// against the upload budget, as the decoder declares it.
struct AssetLoadPayload {
    std::shared_ptr<void> data;
    std::uint64_t sizeBytes = 0;
};

using AssetDependency = std::pair<AssetHandle, AssetType>;

// How to load one asset, as a handler's prepare gives it. Only `read` and `decode` run on
// task threads, and they must not touch what `publish` changes; everything else runs on
// the thread that drives the loader.
struct AssetLoadRecipe {
    // Not empty: the asset cannot be loaded and the load fails with this text.
    std::string error;
    // Assets that must settle (be ready or failed) before this one is published.
    std::vector<AssetDependency> dependencies;
    // On an IO thread.
    std::function<std::vector<std::uint8_t>()> read;
    // On a worker thread, with what `read` gave (empty without a read).
    std::function<AssetLoadPayload(std::vector<std::uint8_t>)> decode;
    // Dependencies that only the decoded payload knows.
    std::function<std::vector<AssetDependency>(const AssetLoadPayload&)> discoverDependencies;
    // Makes the payload the asset's live data.
    std::function<void(AssetLoadPayload&)> publish;
    // Replaces the default error line for this asset's failure.
    std::function<void(const std::string&)> onFailure;
};

// One asset type's row of the loader. `prepare` is required; `isLoaded` says that the data
// is in place already, so that a request needs no job; `unload` drops published data when
// its slot is swept.
struct AssetLoadHandler {
    std::function<bool(AssetHandle)> isLoaded;
    std::function<AssetLoadRecipe(AssetHandle)> prepare;
    std::function<void(AssetHandle)> unload;
};

// Taken at the end of each Update; the six counts are slots by their true state, but
// `loading` counts slots with a job in flight.
struct AssetLoaderStats {
    std::uint64_t frame = 0;
    std::uint64_t uploadBytesThisFrame = 0;
    std::uint32_t uploadsThisFrame = 0;
    std::uint32_t publishedThisFrame = 0;
    std::uint64_t peakUploadBytes = 0;
    std::uint32_t queued = 0;
    std::uint32_t loading = 0;
    std::uint32_t waitingForDependencies = 0;
    std::uint32_t uploading = 0;
    std::uint32_t ready = 0;
    std::uint32_t failed = 0;
};

// A change of a slot's state, as listeners and one-shot callbacks see it.
struct AssetLoadEvent {
    AssetHandle handle = kNullAssetHandle;
    AssetType type = AssetType::Unknown;
    AssetLoadState state = AssetLoadState::Unloaded;
    std::uint64_t generation = 0;
    bool wasResident = false;
};

} // namespace Brelk::Assets
