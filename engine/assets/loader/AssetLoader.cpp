#include "engine/assets/loader/AssetLoader.h"

#include "engine/core/Logger.h"
#include "engine/core/Profiler.h"
#include "engine/core/TaskSystem.h"

#include <algorithm>
#include <exception>
#include <string>
#include <utility>

namespace Brelk::Assets {

using Core::Tasks::TaskCounter;
using Core::Tasks::TaskPriority;
using Core::Tasks::TaskSystem;
using Detail::AssetLoadSlot;

namespace {

// Urgency reaches this many levels of a dependency tree, the waited slot included, so that
// a deep chain cannot make one Wait walk without end.
constexpr int kUrgentDepth = 16;

thread_local const std::atomic<bool>* tCurrentCancellation = nullptr;

// Publishes a job's cancellation flag to the decoding thread for the length of a scope.
class CancellationScope {
public:
    explicit CancellationScope(const std::atomic<bool>* flag) noexcept : previous_(tCurrentCancellation) {
        tCurrentCancellation = flag;
    }
    ~CancellationScope() { tCurrentCancellation = previous_; }
    CancellationScope(const CancellationScope&) = delete;
    CancellationScope& operator=(const CancellationScope&) = delete;

private:
    const std::atomic<bool>* previous_;
};

// The text of the exception being handled; call inside a catch block.
std::string CaughtText(std::string_view emptyText, std::string_view unknownText) {
    try {
        throw;
    } catch (const std::exception& error) {
        std::string text = error.what();
        return text.empty() ? std::string(emptyText) : text;
    } catch (...) {
        return std::string(unknownText);
    }
}

void LogAssetError(const std::string& message) {
    Core::Logger::Get().Log(Core::LogCategory::Assets, Core::LogLevel::Error, message);
}

bool ComesFirst(const std::shared_ptr<AssetLoadSlot>& a, const std::shared_ptr<AssetLoadSlot>& b) {
    if (a->priority != b->priority) return a->priority > b->priority;
    return a->sequence < b->sequence;
}

// Keeps the slots that are still in `state`, once each, in the order of the settle rules.
void Compact(std::vector<std::shared_ptr<AssetLoadSlot>>& slots, AssetLoadState state) {
    std::erase_if(slots, [state](const auto& slot) { return slot->state != state; });
    std::sort(slots.begin(), slots.end(), ComesFirst);
    slots.erase(std::unique(slots.begin(), slots.end()), slots.end());
}

bool ListsDependency(const AssetLoadSlot& slot, const AssetLoadSlot* dependency) {
    return std::any_of(slot.dependencies.begin(), slot.dependencies.end(),
                       [dependency](const AssetLoadLease& lease) { return lease.Slot().get() == dependency; });
}

bool JobFinished(const TaskCounter& token) {
    return token.State()->pending.load(std::memory_order_acquire) == 0;
}

} // namespace

const std::atomic<bool>* CurrentLoadCancellation() noexcept {
    return tCurrentCancellation;
}

struct AssetLoader::Completion {
    AssetHandle handle = kNullAssetHandle;
    std::uint64_t requestId = 0;
    AssetLoadPayload payload;
    std::string error;
    bool cancelled = false;
};

// Shared by the loader and its jobs; the only thing a job touches besides its own inputs.
struct AssetLoader::CompletionQueue {
    std::mutex mutex;
    std::vector<Completion> records;

    void Push(Completion record) {
        std::lock_guard lock(mutex);
        records.push_back(std::move(record));
    }
    bool Holds(std::uint64_t requestId) {
        std::lock_guard lock(mutex);
        return std::any_of(records.begin(), records.end(),
                           [requestId](const Completion& record) { return record.requestId == requestId; });
    }
};

namespace {

// What the read and decode tasks of one job share.
struct LoadJob {
    std::function<void(AssetLoadPayload, std::string, bool)> report;
    std::shared_ptr<std::atomic<bool>> cancelled;
    std::function<std::vector<std::uint8_t>()> read;
    std::function<AssetLoadPayload(std::vector<std::uint8_t>)> decode;
    TaskCounter token;
    TaskSystem* tasks = nullptr;
};

void RunDecode(const std::shared_ptr<LoadJob>& job, std::vector<std::uint8_t> bytes) {
    const CancellationScope scope(job->cancelled.get());
    if (job->cancelled->load(std::memory_order_acquire)) {
        job->report({}, {}, true);
        return;
    }
    AssetLoadPayload payload;
    try {
        const Core::ProfilerZone zone("Assets", "AssetLoader Decode");
        if (job->decode) payload = job->decode(std::move(bytes));
    } catch (...) {
        job->report({}, CaughtText("Asset decode failed.", "Asset decode failed with an unknown exception."), false);
        return;
    }
    if (job->cancelled->load(std::memory_order_acquire)) {
        job->report({}, {}, true);
        return;
    }
    job->report(std::move(payload), {}, false);
}

void RunRead(const std::shared_ptr<LoadJob>& job) {
    if (job->cancelled->load(std::memory_order_acquire)) {
        job->report({}, {}, true);
        return;
    }
    std::vector<std::uint8_t> bytes;
    try {
        const Core::ProfilerZone zone("Assets", "AssetLoader Read");
        bytes = job->read();
    } catch (...) {
        job->report({}, CaughtText("Asset read failed.", "Asset read failed with an unknown exception."), false);
        return;
    }
    // The decode joins the same counter before the read's task ends, so that a waiter on
    // the token sees the job as one.
    job->tasks->AddTask(
        TaskPriority::Normal,
        [job, bytes = std::move(bytes)]() mutable { RunDecode(job, std::move(bytes)); }, job->token);
}

} // namespace

AssetLoader::AssetLoader(AssetLoaderConfig config)
    : config_(config), completions_(std::make_shared<CompletionQueue>()) {}

AssetLoader::~AssetLoader() {
    Reset();
}

void AssetLoader::RegisterHandler(AssetType type, AssetLoadHandler handler) {
    std::lock_guard lock(mutex_);
    handlers_[type] = std::move(handler);
}

AssetLoader::SlotPtr AssetLoader::FindSlot(AssetHandle handle) const {
    const auto found = slots_.find(handle);
    return found == slots_.end() ? nullptr : found->second;
}

AssetLoadLease AssetLoader::Request(AssetHandle handle, AssetType type, AssetLoadPriority priority) {
    std::lock_guard lock(mutex_);
    return RequestLocked(handle, type, priority);
}

AssetLoadLease AssetLoader::RequestLocked(AssetHandle handle, AssetType type, AssetLoadPriority priority) {
    if (handle == kNullAssetHandle) return {};
    priority = std::min(priority, kAssetLoadPriorityBlocking);
    if (SlotPtr slot = FindSlot(handle)) {
        slot->priority = std::max(slot->priority, priority);
        if (priority == kAssetLoadPriorityBlocking) MarkUrgent(*slot, 0);
        return AssetLoadLease(slot);
    }

    auto slot = std::make_shared<AssetLoadSlot>();
    slot->handle = handle;
    slot->type = type;
    slot->sequence = nextSequence_++;
    slot->priority = priority;
    slot->urgent = priority == kAssetLoadPriorityBlocking;
    slots_.emplace(handle, slot);
    AssetLoadLease lease(slot);

    const auto handler = handlers_.find(type);
    if (handler == handlers_.end() || !handler->second.prepare) {
        Fail(*slot, "No asset loader is registered for asset type " +
                        std::to_string(static_cast<std::uint32_t>(type)) + ".");
        return lease;
    }
    if (handler->second.isLoaded && handler->second.isLoaded(handle)) {
        slot->resident = true;
        slot->generation.store(1, std::memory_order_release);
        slot->SetState(AssetLoadState::Ready);
        return lease;
    }
    slot->SetState(AssetLoadState::Queued);
    queued_.push_back(slot);
    return lease;
}

void AssetLoader::MarkUrgent(AssetLoadSlot& slot, int depth) {
    slot.priority = kAssetLoadPriorityBlocking;
    slot.urgent = true;
    if (depth + 1 >= kUrgentDepth) return;
    for (const AssetLoadLease& dependency : slot.dependencies) {
        AssetLoadSlot& next = *dependency.Slot();
        if (!next.urgent) MarkUrgent(next, depth + 1);
    }
}

void AssetLoader::AddDependencies(AssetLoadSlot& slot, const std::vector<AssetDependency>& dependencies) {
    for (const AssetDependency& dependency : dependencies) {
        const AssetHandle handle = dependency.first;
        const AssetType type = dependency.second;
        if (handle == kNullAssetHandle || handle == slot.handle) continue;
        const bool known = std::any_of(slot.dependencies.begin(), slot.dependencies.end(),
                                       [handle](const AssetLoadLease& lease) { return lease.Handle() == handle; });
        if (known) continue;
        AssetLoadLease lease = RequestLocked(handle, type, slot.urgent ? kAssetLoadPriorityBlocking : slot.priority);
        if (slot.urgent) MarkUrgent(*lease.Slot(), 1);
        slot.dependencies.push_back(std::move(lease));
    }
}

void AssetLoader::Pin(AssetHandle handle) {
    std::lock_guard lock(mutex_);
    if (SlotPtr slot = FindSlot(handle)) slot->pinned = true;
}

bool AssetLoader::Reload(AssetHandle handle) {
    std::lock_guard lock(mutex_);
    const SlotPtr slot = FindSlot(handle);
    if (!slot) return false;
    switch (slot->state) {
    case AssetLoadState::Queued:
        break;
    case AssetLoadState::Loading:
        slot->reloadRequested = true;
        break;
    default:
        slot->payload = {};
        slot->keepsOldData = slot->resident;
        slot->SetState(AssetLoadState::Queued);
        queued_.push_back(slot);
        break;
    }
    return true;
}

AssetLoadState AssetLoader::State(AssetHandle handle) const {
    std::lock_guard lock(mutex_);
    const SlotPtr slot = FindSlot(handle);
    return slot ? slot->publicState.load(std::memory_order_acquire) : AssetLoadState::Unloaded;
}

void AssetLoader::Release(AssetHandle handle) {
    std::lock_guard lock(mutex_);
    if (const SlotPtr slot = FindSlot(handle)) ResetSlot(slot, false);
}

void AssetLoader::ReleaseFailed() {
    std::lock_guard lock(mutex_);
    std::vector<SlotPtr> failed;
    for (const auto& [handle, slot] : slots_) {
        if (slot->state == AssetLoadState::Failed) failed.push_back(slot);
    }
    for (const SlotPtr& slot : failed) ResetSlot(slot, false);
}

void AssetLoader::Start(const SlotPtr& slot) {
    const Core::ProfilerZone zone("Assets", "AssetLoader::Start");
    AssetLoadRecipe recipe;
    const auto handler = handlers_.find(slot->type);
    if (handler == handlers_.end() || !handler->second.prepare) {
        recipe.error = "No asset loader is registered for this asset type.";
    } else {
        try {
            recipe = handler->second.prepare(slot->handle);
        } catch (...) {
            recipe = {};
            recipe.error = CaughtText("Asset load preparation failed.",
                                      "Asset load preparation failed with an unknown exception.");
        }
    }
    slot->discoverDependencies = std::move(recipe.discoverDependencies);
    slot->publish = std::move(recipe.publish);
    slot->onFailure = std::move(recipe.onFailure);
    slot->payload = {};
    if (!recipe.error.empty()) {
        Fail(*slot, recipe.error);
        return;
    }
    slot->dependencies.clear();
    AddDependencies(*slot, recipe.dependencies);
    if (recipe.read || recipe.decode) {
        Submit(slot, std::move(recipe.read), std::move(recipe.decode));
        slot->SetState(AssetLoadState::Loading);
    } else {
        slot->SetState(AssetLoadState::WaitingForDependencies);
    }
}

void AssetLoader::Submit(const SlotPtr& slot, std::function<std::vector<std::uint8_t>()> read,
                         std::function<AssetLoadPayload(std::vector<std::uint8_t>)> decode) {
    slot->requestId = nextSequence_++;
    slot->jobInFlight = true;
    slot->cancelled = std::make_shared<std::atomic<bool>>(false);
    slot->cancelToken = TaskCounter();
    jobs_.push_back(slot->cancelToken);

    TaskSystem& tasks = TaskSystem::Get();
    auto job = std::make_shared<LoadJob>();
    job->report = [queue = completions_, handle = slot->handle, requestId = slot->requestId](
                      AssetLoadPayload payload, std::string error, bool cancelled) {
        queue->Push(Completion{handle, requestId, cancelled ? AssetLoadPayload{} : std::move(payload),
                               std::move(error), cancelled});
    };
    job->cancelled = slot->cancelled;
    job->read = std::move(read);
    job->decode = std::move(decode);
    job->token = slot->cancelToken;
    job->tasks = &tasks;
    if (job->read) {
        tasks.AddTask(TaskPriority::Io, [job] { RunRead(job); }, job->token);
    } else {
        tasks.AddTask(TaskPriority::Normal, [job] { RunDecode(job, {}); }, job->token);
    }
}

bool AssetLoader::DrainCompletions() {
    std::vector<Completion> records;
    {
        std::lock_guard lock(completions_->mutex);
        records.swap(completions_->records);
    }
    bool changed = false;
    for (Completion& record : records) {
        const SlotPtr slot = FindSlot(record.handle);
        if (!slot || !slot->jobInFlight || slot->requestId != record.requestId) continue;
        changed = true;
        slot->jobInFlight = false;
        if (record.cancelled) continue;
        if (slot->reloadRequested) {
            // The job read the file as it was before the reload was asked for.
            slot->reloadRequested = false;
            slot->keepsOldData = slot->resident;
            slot->SetState(AssetLoadState::Queued);
            queued_.push_back(slot);
            continue;
        }
        if (!record.error.empty()) {
            Fail(*slot, record.error);
            continue;
        }
        slot->payload = std::move(record.payload);
        if (slot->discoverDependencies) {
            try {
                AddDependencies(*slot, slot->discoverDependencies(slot->payload));
            } catch (...) {
                Fail(*slot, CaughtText("Asset dependency discovery failed.",
                                       "Asset dependency discovery failed with an unknown exception."));
                continue;
            }
        }
        slot->SetState(AssetLoadState::WaitingForDependencies);
    }
    return changed;
}

bool AssetLoader::StartQueued(bool forced) {
    Compact(queued_, AssetLoadState::Queued);
    const std::uint32_t limit = std::max<std::uint32_t>(config_.maxConcurrentLoads, 1);
    std::uint64_t inFlight = 0;
    for (const auto& [handle, slot] : slots_) inFlight += slot->jobInFlight;

    bool started = false;
    const std::vector<SlotPtr> candidates = queued_;
    for (const SlotPtr& slot : candidates) {
        if (slot->state != AssetLoadState::Queued) continue;
        const bool allowed = forced ? slot->urgent : (slot->urgent || inFlight < limit);
        if (!allowed) continue;
        Start(slot);
        started = true;
        inFlight += slot->jobInFlight;
    }
    return started;
}

bool AssetLoader::SettleDependencies() {
    std::vector<SlotPtr> waiting;
    for (const auto& [handle, slot] : slots_) {
        if (slot->state == AssetLoadState::WaitingForDependencies) waiting.push_back(slot);
    }
    std::sort(waiting.begin(), waiting.end(), ComesFirst);

    bool moved = false;
    for (const SlotPtr& slot : waiting) {
        if (slot->state != AssetLoadState::WaitingForDependencies) continue;
        // A failed dependency counts as settled: the dependent is published without it. Two
        // assets that list each other would wait for ever, so a direct cycle does not block.
        const bool blocked = std::any_of(slot->dependencies.begin(), slot->dependencies.end(), [&](const AssetLoadLease& lease) {
            const AssetLoadSlot& dependency = *lease.Slot();
            return IsPendingLoadState(dependency.publicState.load(std::memory_order_relaxed)) &&
                   !ListsDependency(dependency, slot.get());
        });
        if (blocked) continue;
        slot->SetState(AssetLoadState::Uploading);
        uploading_.push_back(slot);
        moved = true;
    }
    return moved;
}

bool AssetLoader::PublishUploads(bool forced) {
    Compact(queued_, AssetLoadState::Queued);
    Compact(uploading_, AssetLoadState::Uploading);
    bool published = false;
    const std::vector<SlotPtr> candidates = uploading_;
    for (const SlotPtr& slot : candidates) {
        if (slot->state != AssetLoadState::Uploading) continue;
        if (!slot->urgent) {
            if (forced) continue;
            const std::uint64_t spent = stats_.uploadBytesThisFrame;
            const std::uint64_t rest = spent >= config_.uploadBudgetBytes ? 0 : config_.uploadBudgetBytes - spent;
            // The first upload of a frame goes whatever its size, and nothing overtakes a
            // slot that does not fit: the order of publishing is the order of the list.
            if (stats_.uploadsThisFrame > 0 && slot->payload.sizeBytes > rest) break;
            stats_.uploadBytesThisFrame += slot->payload.sizeBytes;
            ++stats_.uploadsThisFrame;
        }
        Publish(slot);
        published = true;
    }
    stats_.peakUploadBytes = std::max(stats_.peakUploadBytes, stats_.uploadBytesThisFrame);
    return published;
}

void AssetLoader::Publish(const SlotPtr& slot) {
    const Core::ProfilerZone zone("Assets", "AssetLoader Publish");
    const bool wasResident = slot->resident;
    try {
        if (slot->publish) slot->publish(slot->payload);
    } catch (...) {
        Fail(*slot, CaughtText("Asset publish failed.", "Asset publish failed with an unknown exception."));
        return;
    }
    // A publish function that called back and released its own slot leaves it released.
    if (slot->state != AssetLoadState::Uploading) return;
    slot->payload = {};
    slot->resident = true;
    slot->hasPublished = true;
    slot->keepsOldData = false;
    slot->urgent = false;
    slot->SetError({});
    slot->generation.fetch_add(1, std::memory_order_acq_rel);
    slot->SetState(AssetLoadState::Ready);
    ++stats_.publishedThisFrame;
    PushEvent(*slot, wasResident);
}

void AssetLoader::Fail(AssetLoadSlot& slot, const std::string& message) {
    slot.payload = {};
    slot.urgent = false;
    if (slot.onFailure) {
        try {
            slot.onFailure(message);
        } catch (...) {
            // A reporter that fails must not leave the slot half failed.
        }
    } else {
        LogAssetError("Failed to load asset " + std::to_string(slot.handle) + ": " + message);
    }
    if (slot.keepsOldData && slot.resident) {
        slot.keepsOldData = false;
        slot.SetState(AssetLoadState::Ready);
        return;
    }
    slot.SetError(message);
    slot.SetState(AssetLoadState::Failed);
    PushEvent(slot, false);
}

void AssetLoader::ResetSlot(const SlotPtr& slot, bool unload) {
    if (unload && slot->hasPublished && slot->resident) {
        const auto handler = handlers_.find(slot->type);
        if (handler != handlers_.end() && handler->second.unload) {
            try {
                handler->second.unload(slot->handle);
            } catch (...) {
                LogAssetError("Failed to unload asset " + std::to_string(slot->handle) + ": " +
                              CaughtText("unknown exception", "unknown exception"));
            }
        }
    }
    if (slot->jobInFlight && slot->cancelled) slot->cancelled->store(true, std::memory_order_release);
    slot->jobInFlight = false;
    slot->keepsOldData = false;
    slot->reloadRequested = false;
    slot->resident = false;
    slot->payload = {};
    // Dropped after the slot has left the table, so that a dependency that goes with it is
    // never looked at half reset.
    std::vector<AssetLoadLease> dependencies = std::move(slot->dependencies);
    slot->dependencies.clear();
    slot->SetState(AssetLoadState::Unloaded);
    const auto found = slots_.find(slot->handle);
    if (found != slots_.end() && found->second == slot) slots_.erase(found);
}

void AssetLoader::CancelUnreferenced() {
    // Repeated until nothing more goes: a cancelled load drops its dependencies, which may
    // leave them unreferenced too, and they would otherwise start in this very frame.
    for (;;) {
        std::vector<SlotPtr> unreferenced;
        for (const auto& [handle, slot] : slots_) {
            if (!slot->pinned && slot->referenceCount.load(std::memory_order_acquire) < 1 && !slot->resident &&
                IsPendingLoadState(slot->state)) {
                unreferenced.push_back(slot);
            }
        }
        if (unreferenced.empty()) return;
        for (const SlotPtr& slot : unreferenced) ResetSlot(slot, false);
    }
}

std::size_t AssetLoader::SweepUnused() {
    const Core::ProfilerZone zone("Assets", "AssetLoader::SweepUnused");
    std::lock_guard lock(mutex_);
    std::size_t freed = 0;
    for (;;) {
        std::vector<SlotPtr> unused;
        for (const auto& [handle, slot] : slots_) {
            if (!slot->pinned && slot->referenceCount.load(std::memory_order_acquire) <= 0) unused.push_back(slot);
        }
        if (unused.empty()) break;
        for (const SlotPtr& slot : unused) ResetSlot(slot, true);
        freed += unused.size();
    }
    return freed;
}

void AssetLoader::ForgetFinishedJobs() {
    std::erase_if(jobs_, JobFinished);
}

void AssetLoader::Update() {
    std::lock_guard lock(mutex_);
    ++frame_;
    stats_.frame = frame_;
    stats_.uploadBytesThisFrame = 0;
    stats_.uploadsThisFrame = 0;
    stats_.publishedThisFrame = 0;
    ForgetFinishedJobs();

    DrainCompletions();
    CancelUnreferenced();
    StartQueued(false);
    DrainCompletions();
    for (int round = 0; round < 4; ++round) {
        const bool settled = SettleDependencies();
        const bool published = PublishUploads(false);
        if (!settled && !published) break;
    }
    if (config_.sweepIntervalFrames != 0 && frame_ - lastSweepFrame_ >= config_.sweepIntervalFrames) {
        lastSweepFrame_ = frame_;
        SweepUnused();
    }
    CountStats();
    Deliver();
}

void AssetLoader::CountStats() {
    stats_.queued = stats_.loading = stats_.waitingForDependencies = 0;
    stats_.uploading = stats_.ready = stats_.failed = 0;
    for (const auto& [handle, slot] : slots_) {
        stats_.loading += slot->jobInFlight;
        switch (slot->state) {
        case AssetLoadState::Queued: ++stats_.queued; break;
        case AssetLoadState::WaitingForDependencies: ++stats_.waitingForDependencies; break;
        case AssetLoadState::Uploading: ++stats_.uploading; break;
        case AssetLoadState::Ready: ++stats_.ready; break;
        case AssetLoadState::Failed: ++stats_.failed; break;
        default: break;
        }
    }
}

void AssetLoader::PushEvent(const AssetLoadSlot& slot, bool wasResident) {
    events_.push_back(AssetLoadEvent{slot.handle, slot.type, slot.publicState.load(std::memory_order_relaxed),
                                     slot.generation.load(std::memory_order_relaxed), wasResident});
}

void AssetLoader::Deliver() {
    if (delivering_) return;
    delivering_ = true;
    struct Guard {
        bool& flag;
        ~Guard() { flag = false; }
    } guard{delivering_};

    std::vector<AssetLoadEvent> events = std::move(events_);
    events_.clear();
    std::vector<std::pair<AssetLoadLease, std::function<void(const AssetLoadEvent&)>>> settled;
    for (auto entry = callbacks_.begin(); entry != callbacks_.end();) {
        if (IsPendingLoadState(entry->first.State())) {
            ++entry;
        } else {
            settled.push_back(std::move(*entry));
            entry = callbacks_.erase(entry);
        }
    }
    const auto listeners = listeners_;
    for (const AssetLoadEvent& event : events) {
        for (const auto& [id, listener] : listeners) listener(event);
    }
    for (const auto& [lease, callback] : settled) {
        const AssetLoadSlot& slot = *lease.Slot();
        callback(AssetLoadEvent{slot.handle, slot.type, slot.publicState.load(std::memory_order_relaxed),
                                slot.generation.load(std::memory_order_relaxed), slot.resident});
    }
}

bool AssetLoader::Wait(const AssetLoadLease& lease) {
    const Core::ProfilerZone zone("Assets", "AssetLoader::Wait");
    if (!lease) return false;
    std::lock_guard lock(mutex_);
    const SlotPtr& slot = lease.Slot();
    while (IsPendingLoadState(slot->publicState.load(std::memory_order_acquire))) {
        MarkUrgent(*slot, 0);
        bool progressed = DrainCompletions();
        progressed |= StartQueued(true);
        progressed |= DrainCompletions();
        progressed |= SettleDependencies();
        progressed |= PublishUploads(true);
        if (!IsPendingLoadState(slot->publicState.load(std::memory_order_acquire))) break;
        if (progressed) continue;

        SlotPtr blocker;
        for (const auto& [handle, candidate] : slots_) {
            if (candidate->urgent && candidate->jobInFlight &&
                (!blocker || candidate->sequence < blocker->sequence)) {
                blocker = candidate;
            }
        }
        if (!blocker) {
            Fail(*slot, "Asset load could not make progress (dependency cycle or lost job).");
            break;
        }
        WaitForJob(blocker);
    }
    return slot->publicState.load(std::memory_order_acquire) == AssetLoadState::Ready;
}

void AssetLoader::WaitForJob(const SlotPtr& blocker) {
    const TaskCounter token = blocker->cancelToken;
    const std::uint64_t requestId = blocker->requestId;
    bool shutDown = false;
    // Blocking with the mutex held would stall every other thread that touches the loader
    // for the length of a job, and dead-lock one that a job waits for. Nothing here needs
    // the mutex: the job reports through the completion queue. So it is let go entirely,
    // however deep this thread holds it, and taken back as deep afterwards.
    const int depth = mutex_.Depth();
    for (int level = 0; level < depth; ++level) mutex_.unlock();
    try {
        TaskSystem::Get().Wait(token);
    } catch (...) {
        // The jobs catch their own failures; what reaches the token is the task system
        // dropping them at shutdown.
        shutDown = true;
    }
    for (int level = 0; level < depth; ++level) mutex_.lock();

    // Meanwhile another thread may have drained the record, reset the slot or started a
    // new job for it; only the same job in flight is still this wait's business.
    if (!blocker->jobInFlight || blocker->requestId != requestId) return;
    if (shutDown) {
        blocker->jobInFlight = false;
        Fail(*blocker, "Asset load was cancelled by task system shutdown.");
    } else if (JobFinished(token) && !completions_->Holds(requestId)) {
        blocker->jobInFlight = false;
        Fail(*blocker, "Asset load job ended without a result.");
    }
}

AssetLoaderStats AssetLoader::Stats() const {
    std::lock_guard lock(mutex_);
    return stats_;
}

void AssetLoader::SetConfig(const AssetLoaderConfig& config) {
    std::lock_guard lock(mutex_);
    config_ = config;
}

AssetLoaderConfig AssetLoader::Config() const {
    std::lock_guard lock(mutex_);
    return config_;
}

std::uint64_t AssetLoader::AddListener(Listener listener) {
    std::lock_guard lock(mutex_);
    const std::uint64_t id = nextListenerId_++;
    listeners_.emplace_back(id, std::move(listener));
    return id;
}

void AssetLoader::RemoveListener(std::uint64_t id) {
    std::lock_guard lock(mutex_);
    std::erase_if(listeners_, [id](const auto& entry) { return entry.first == id; });
}

void AssetLoader::OnSettled(const AssetLoadLease& lease, std::function<void(const AssetLoadEvent&)> callback) {
    if (!lease || !callback) return;
    std::lock_guard lock(mutex_);
    callbacks_.emplace_back(lease, std::move(callback));
}

void AssetLoader::Reset() {
    std::lock_guard lock(mutex_);
    for (const auto& [handle, slot] : slots_) {
        if (slot->jobInFlight && slot->cancelled) slot->cancelled->store(true, std::memory_order_release);
    }
    for (const TaskCounter& token : jobs_) {
        if (JobFinished(token)) continue;
        try {
            TaskSystem::Get().Wait(token);
        } catch (...) {
            // A dropped job has nothing left to wait for.
        }
    }
    jobs_.clear();
    std::vector<SlotPtr> all;
    all.reserve(slots_.size());
    for (const auto& [handle, slot] : slots_) all.push_back(slot);
    for (const SlotPtr& slot : all) ResetSlot(slot, false);
    slots_.clear();
    queued_.clear();
    uploading_.clear();
    events_.clear();
    callbacks_.clear();
    std::lock_guard queueLock(completions_->mutex);
    completions_->records.clear();
}

} // namespace Brelk::Assets
