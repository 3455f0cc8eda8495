#pragma once

#include "engine/assets/loader/AssetLoadLease.h"
#include "engine/assets/loader/AssetLoadTypes.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <unordered_map>
#include <vector>

namespace Brelk::Assets {

// The cancellation flag of the load job that the calling thread decodes, or null outside a
// decode. Long decoders poll it and give up early; their result is dropped anyway.
const std::atomic<bool>* CurrentLoadCancellation() noexcept;

// The asynchronous load machine: a table of load slots keyed by handle, a state machine per
// slot, and a per-frame Update that moves slots along under an upload budget. It knows no
// asset family: each type's handler gives a recipe of functions. Reads run on the task
// system's IO lane, decodes on its workers, and everything that changes a slot (prepare,
// publish, unload, dependency settling) on the thread that calls Update or Wait.
//
// Every operation takes the loader's recursive mutex, so publish functions and handlers may
// call back into the loader. Jobs never take it: they report through a completion queue of
// their own, and only the driving thread turns a report into a state change.
class AssetLoader {
public:
    using Listener = std::function<void(const AssetLoadEvent&)>;

    explicit AssetLoader(AssetLoaderConfig config = {});
    // Reset(): no job outlives the loader.
    ~AssetLoader();
    AssetLoader(const AssetLoader&) = delete;
    AssetLoader& operator=(const AssetLoader&) = delete;

    // Replaces the type's row.
    void RegisterHandler(AssetType type, AssetLoadHandler handler);

    // A lease on the handle's load, made on first request. Priority only rises; priority 3
    // also makes the load and its dependencies urgent. Handle 0 gives an empty lease; a type
    // without a handler gives a lease on a Failed load.
    AssetLoadLease Request(AssetHandle handle, AssetType type, AssetLoadPriority priority);
    // Keeps the slot from being reclaimed while unreferenced; no effect without a slot.
    void Pin(AssetHandle handle);
    // Loads the asset again; resident data stays in use (and the state Ready) until the new
    // data is published. False without a slot.
    bool Reload(AssetHandle handle);
    // Unloaded without a slot.
    AssetLoadState State(AssetHandle handle) const;
    // Forgets the slot as if nobody referred to it, without unloading published data.
    void Release(AssetHandle handle);
    // Forgets every Failed slot, so that the next request tries again.
    void ReleaseFailed();

    // One frame: drains finished jobs, drops unreferenced pending loads, starts queued loads
    // up to the limit, settles dependencies and publishes within the budget (up to four
    // rounds), sweeps now and then, counts, and delivers events. An exception out of a
    // listener or callback ends the delivery and leaves through Update.
    void Update();
    // Forces the lease's load and its dependencies through, blocking on their jobs; true if
    // it ended Ready. The loader's mutex is released while this thread blocks on a job, so
    // other threads may use the loader meanwhile.
    bool Wait(const AssetLoadLease& lease);

    AssetLoaderStats Stats() const;
    void SetConfig(const AssetLoaderConfig& config);
    AssetLoaderConfig Config() const;

    // Listeners see every state change at the end of an Update. Ids begin at 1.
    std::uint64_t AddListener(Listener listener);
    void RemoveListener(std::uint64_t id);
    // Called once, at the end of the first Update that finds the lease's load settled. An
    // empty lease or function is ignored.
    void OnSettled(const AssetLoadLease& lease, std::function<void(const AssetLoadEvent&)> callback);

    // Frees every unpinned slot that nobody refers to, unloading published data; repeated
    // until a pass frees nothing, as a freed slot drops its dependencies. Returns the count.
    std::size_t SweepUnused();

    // Cancels every job and waits for it, and empties all tables without unloading.
    // Handlers and listeners stay.
    void Reset();

private:
    using SlotPtr = std::shared_ptr<Detail::AssetLoadSlot>;
    struct CompletionQueue;
    struct Completion;

    // The recursive mutex with its depth, so that Wait can let go of it entirely.
    class Lock {
    public:
        void lock() {
            mutex_.lock();
            ++depth_;
        }
        void unlock() {
            --depth_;
            mutex_.unlock();
        }
        // Only by the owner: the number of times it holds the mutex.
        int Depth() const noexcept { return depth_; }

    private:
        std::recursive_mutex mutex_;
        int depth_ = 0;
    };

    SlotPtr FindSlot(AssetHandle handle) const;
    AssetLoadLease RequestLocked(AssetHandle handle, AssetType type, AssetLoadPriority priority);
    void MarkUrgent(Detail::AssetLoadSlot& slot, int depth);
    void AddDependencies(Detail::AssetLoadSlot& slot, const std::vector<AssetDependency>& dependencies);
    void Start(const SlotPtr& slot);
    void Submit(const SlotPtr& slot, std::function<std::vector<std::uint8_t>()> read,
                std::function<AssetLoadPayload(std::vector<std::uint8_t>)> decode);
    bool DrainCompletions();
    bool StartQueued(bool forced);
    bool SettleDependencies();
    bool PublishUploads(bool forced);
    void Publish(const SlotPtr& slot);
    void Fail(Detail::AssetLoadSlot& slot, const std::string& message);
    void ResetSlot(const SlotPtr& slot, bool unload);
    void CancelUnreferenced();
    void CountStats();
    void Deliver();
    void PushEvent(const Detail::AssetLoadSlot& slot, bool wasResident);
    void WaitForJob(const SlotPtr& blocker);
    void ForgetFinishedJobs();

    mutable Lock mutex_;
    AssetLoaderConfig config_;
    std::unordered_map<AssetHandle, SlotPtr> slots_;
    std::unordered_map<AssetType, AssetLoadHandler> handlers_;
    std::vector<SlotPtr> queued_;
    std::vector<SlotPtr> uploading_;
    std::vector<AssetLoadEvent> events_;
    std::vector<std::pair<AssetLoadLease, std::function<void(const AssetLoadEvent&)>>> callbacks_;
    std::vector<std::pair<std::uint64_t, Listener>> listeners_;
    std::uint64_t nextListenerId_ = 1;
    std::uint64_t nextSequence_ = 1;
    std::uint64_t frame_ = 0;
    std::uint64_t lastSweepFrame_ = 0;
    AssetLoaderStats stats_;
    bool delivering_ = false;
    std::shared_ptr<CompletionQueue> completions_;
    // Every job submitted and maybe not finished, also of slots that were reset since, so
    // that Reset can wait for all of them.
    std::vector<Core::Tasks::TaskCounter> jobs_;
};

} // namespace Brelk::Assets
