#pragma once

#include "engine/assets/loader/AssetLoadTypes.h"
#include "engine/core/TaskCounter.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace Brelk::Assets {

class AssetLoadLease;

namespace Detail {

// One asset's place in the loader. Only the loader's thread (under its mutex) changes it;
// the atomics and the error may be read from any thread through a lease.
struct AssetLoadSlot {
    AssetHandle handle = kNullAssetHandle;
    AssetType type = AssetType::Unknown;
    // What callers see: `state`, but Ready while a reload of resident data runs.
    std::atomic<AssetLoadState> publicState{AssetLoadState::Unloaded};
    // Live leases, dependency edges included.
    std::atomic<std::int32_t> referenceCount{0};
    // Rises at each publish.
    std::atomic<std::uint64_t> generation{0};

    AssetLoadState state = AssetLoadState::Unloaded;
    AssetLoadPriority priority = 0; // only ever rises
    std::uint64_t sequence = 0;
    // The job in flight; a completion that carries another id is stale.
    std::uint64_t requestId = 0;
    bool pinned = false;
    bool hasPublished = false;
    bool resident = false;
    bool urgent = false;
    bool jobInFlight = false;
    bool keepsOldData = false;
    bool reloadRequested = false;

    std::function<std::vector<AssetDependency>(const AssetLoadPayload&)> discoverDependencies;
    std::function<void(AssetLoadPayload&)> publish;
    std::function<void(const std::string&)> onFailure;
    AssetLoadPayload payload;
    std::vector<AssetLoadLease> dependencies;
    Core::Tasks::TaskCounter cancelToken;
    std::shared_ptr<std::atomic<bool>> cancelled;

    void SetState(AssetLoadState next) noexcept {
        state = next;
        publicState.store(keepsOldData && resident ? AssetLoadState::Ready : next, std::memory_order_release);
    }
    std::string Error() const {
        std::lock_guard lock(errorMutex);
        return error;
    }
    void SetError(std::string text) {
        std::lock_guard lock(errorMutex);
        error = std::move(text);
    }

private:
    mutable std::mutex errorMutex;
    std::string error;
};

} // namespace Detail

// A claim on one asset's load: while a lease lives, the loader keeps the load going and its
// result in place. Leases may be copied and read on any thread. A lease keeps its slot's
// memory, not its place in the loader: after a reset it reports Unloaded.
class AssetLoadLease {
public:
    AssetLoadLease() = default;
    explicit AssetLoadLease(std::shared_ptr<Detail::AssetLoadSlot> slot) noexcept;
    AssetLoadLease(const AssetLoadLease& other) noexcept;
    AssetLoadLease(AssetLoadLease&& other) noexcept = default;
    AssetLoadLease& operator=(AssetLoadLease other) noexcept;
    ~AssetLoadLease();

    explicit operator bool() const noexcept { return slot_ != nullptr; }
    AssetHandle Handle() const noexcept { return slot_ ? slot_->handle : kNullAssetHandle; }
    // Unloaded for an empty lease.
    AssetLoadState State() const noexcept;
    std::uint64_t Generation() const noexcept;
    // The failure text of a Failed load; empty otherwise.
    std::string Error() const;

    const std::shared_ptr<Detail::AssetLoadSlot>& Slot() const noexcept { return slot_; }

private:
    std::shared_ptr<Detail::AssetLoadSlot> slot_;
};

// The leases of several requests, with their progress.
class AssetLoadGroup {
public:
    AssetLoadGroup() = default;
    explicit AssetLoadGroup(std::vector<AssetLoadLease> leases) : leases_(std::move(leases)) {}

    void Add(AssetLoadLease lease) { leases_.push_back(std::move(lease)); }
    const std::vector<AssetLoadLease>& Leases() const noexcept { return leases_; }

    std::size_t FailedCount() const noexcept;
    std::size_t ReadyCount() const noexcept;
    // An empty lease counts as settled.
    std::size_t SettledCount() const noexcept;
    // Settled over total; 1 for an empty group.
    float Progress() const noexcept;

private:
    std::vector<AssetLoadLease> leases_;
};

} // namespace Brelk::Assets
