#pragma once

// Plays a byte string as a sequence of loader operations against a family whose assets fail,
// throw, take their time or find dependencies, and checks the loader's invariants after each
// operation. Shared by the fuzz target and the thread stress test.

#include "engine/assets/loader/AssetLoader.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <span>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace Brelk::Assets::Testing {

// Jobs' inputs still alive anywhere; none may be once the loader is gone.
inline std::atomic<int>& LiveJobInputs() {
    static std::atomic<int> count{0};
    return count;
}

struct JobProbe {
    JobProbe() { LiveJobInputs().fetch_add(1); }
    JobProbe(const JobProbe&) { LiveJobInputs().fetch_add(1); }
    JobProbe& operator=(const JobProbe&) = default;
    ~JobProbe() { LiveJobInputs().fetch_sub(1); }
};

class LoaderScript {
public:
    static constexpr AssetType kType = AssetType::Mesh;
    static constexpr AssetHandle kHandles = 8;

    explicit LoaderScript(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}

    // The first broken invariant, or empty.
    std::string Play() {
        std::string failure;
        {
            AssetLoaderConfig config;
            config.uploadBudgetBytes = Next() % 64;
            config.maxConcurrentLoads = Next() % 4;
            config.sweepIntervalFrames = Next() % 4;
            for (AssetHandle handle = 1; handle <= kHandles; ++handle) modes_[handle] = Next();
            AssetLoader loader(config);
            loader.RegisterHandler(kType, Handler());
            for (int step = 0; step < 256 && !AtEnd() && failure.empty(); ++step) {
                failure = Step(loader);
            }
            leases_.clear();
        }
        if (failure.empty() && LiveJobInputs().load() != 0) failure = "a job's inputs outlived the loader";
        return failure;
    }

private:
    using Slot = Detail::AssetLoadSlot;

    bool AtEnd() const { return position_ >= bytes_.size(); }
    std::uint8_t Next() { return AtEnd() ? 0 : bytes_[position_++]; }
    AssetHandle NextHandle() { return Next() % (kHandles + 1); } // 0 included

    AssetLoadHandler Handler() {
        AssetLoadHandler handler;
        handler.isLoaded = [this](AssetHandle handle) { return modes_[handle] % 12 == 11; };
        handler.unload = [](AssetHandle) {};
        handler.prepare = [this](AssetHandle handle) {
            const std::uint8_t mode = modes_[handle];
            AssetLoadRecipe recipe;
            const std::uint64_t size = mode / 12;
            const AssetHandle next = handle % kHandles + 1;
            const AssetHandle other = (handle * 3) % kHandles + 1;
            JobProbe probe;
            auto decode = [probe, size, mode](std::vector<std::uint8_t>) {
                if (mode % 12 == 4) throw 7;
                if (mode % 12 == 6) std::this_thread::sleep_for(std::chrono::microseconds(200));
                return AssetLoadPayload{std::make_shared<int>(1), size};
            };
            auto read = [probe, mode] {
                if (mode % 12 == 3) throw std::runtime_error("No such file.");
                return std::vector<std::uint8_t>(4, 1);
            };
            switch (mode % 12) {
            case 1: recipe.error = "Refused."; return recipe;
            case 2: throw std::runtime_error("Prepare broke.");
            case 7: recipe.discoverDependencies = [next, other](const AssetLoadPayload&) {
                    return std::vector<AssetDependency>{{next, kType}, {other, kType}};
                };
                break;
            case 8: recipe.dependencies = {{next, kType}, {0, kType}, {handle, kType}}; break;
            default: break;
            }
            if (mode % 12 != 9) recipe.decode = decode;
            if (mode % 12 != 9 && mode % 12 != 10) recipe.read = read;
            if (mode % 12 == 5) recipe.publish = [](AssetLoadPayload&) { throw std::logic_error(""); };
            return recipe;
        };
        return handler;
    }

    struct Seen {
        AssetLoadState state;
        std::uint64_t generation;
    };

    std::string Step(AssetLoader& loader) {
        const std::uint8_t op = Next() % 11;
        const AssetHandle handle = NextHandle();
        const std::uint8_t argument = Next();
        const auto before = Observe();
        switch (op) {
        case 0:
            if (leases_.size() < 32) leases_.push_back(loader.Request(handle, kType, argument % 4));
            break;
        case 1:
            if (!leases_.empty()) leases_.erase(leases_.begin() + argument % leases_.size());
            break;
        case 2: loader.Release(handle); break;
        case 3: loader.Pin(handle); break;
        case 4: loader.Reload(handle); break;
        case 5:
        case 6: loader.Update(); break;
        case 7:
            if (!leases_.empty()) loader.Wait(leases_[argument % leases_.size()]);
            break;
        case 8: loader.ReleaseFailed(); break;
        case 9: loader.SweepUnused(); break;
        default:
            if (argument % 8 == 0) loader.Reset();
            break;
        }
        return Check(loader, op, handle, before);
    }

    // Every slot that the script can reach: its leases and their dependencies, and every
    // slot seen before.
    std::map<Slot*, Seen> Observe() {
        std::vector<std::shared_ptr<Slot>> pending(known_.begin(), known_.end());
        for (const AssetLoadLease& lease : leases_) {
            if (lease) pending.push_back(lease.Slot());
        }
        std::set<std::shared_ptr<Slot>> expanded;
        while (!pending.empty()) {
            std::shared_ptr<Slot> slot = std::move(pending.back());
            pending.pop_back();
            if (!expanded.insert(slot).second) continue;
            known_.insert(slot);
            for (const AssetLoadLease& dependency : slot->dependencies) pending.push_back(dependency.Slot());
        }
        std::map<Slot*, Seen> seen;
        for (const auto& slot : known_) seen[slot.get()] = Seen{slot->state, slot->generation.load()};
        return seen;
    }

    std::string Check(AssetLoader& loader, std::uint8_t op, AssetHandle handle,
                      const std::map<Slot*, Seen>& before) {
        const auto after = Observe();
        std::map<Slot*, int> references;
        for (const AssetLoadLease& lease : leases_) {
            if (lease) ++references[lease.Slot().get()];
        }
        for (const auto& slot : known_) {
            for (const AssetLoadLease& dependency : slot->dependencies) ++references[dependency.Slot().get()];
        }
        for (const auto& slot : known_) {
            const std::string name = "slot " + std::to_string(slot->handle) + " ";
            const AssetLoadState state = slot->state;
            const AssetLoadState shown = slot->publicState.load();
            if (shown != (slot->keepsOldData && slot->resident ? AssetLoadState::Ready : state))
                return name + "shows a state that is not its own";
            if (slot->referenceCount.load() != references[slot.get()])
                return name + "miscounts its references: " + std::to_string(slot->referenceCount.load()) + " for " +
                       std::to_string(references[slot.get()]) + " in " + std::string(AssetLoadStateName(state)) +
                       " after operation " + std::to_string(op);
            if (state == AssetLoadState::Unloaded) {
                if (slot->jobInFlight || !slot->dependencies.empty()) return name + "was reset only in part";
            } else {
                if (loader.State(slot->handle) != shown) return name + "is no longer the table's";
                if (slot->jobInFlight != (state == AssetLoadState::Loading)) return name + "has a job out of step";
            }
            if (state == AssetLoadState::Ready && !slot->resident) return name + "is ready without data";
            if (state == AssetLoadState::Failed && slot->Error().empty()) return name + "failed without a message";

            const auto previous = before.find(slot.get());
            if (previous == before.end()) continue;
            const Seen& was = previous->second;
            const std::uint64_t generation = slot->generation.load();
            if (generation < was.generation) return name + "lost a generation";
            if (generation > was.generation && state != AssetLoadState::Ready && state != AssetLoadState::Unloaded)
                return name + "published without becoming ready";
            if (!Allowed(op, handle, *slot, was.state, state))
                return name + "moved from " + std::string(AssetLoadStateName(was.state)) + " to " +
                       std::string(AssetLoadStateName(state)) + " by operation " + std::to_string(op);
        }
        return {};
    }

    static bool Allowed(std::uint8_t op, AssetHandle handle, const Slot& slot, AssetLoadState from,
                        AssetLoadState to) {
        if (from == to) return true;
        if (from == AssetLoadState::Unloaded) return false; // a reset slot is never used again
        switch (op) {
        case 0:
        case 1:
        case 3: return false;
        case 2: return slot.handle == handle && to == AssetLoadState::Unloaded;
        case 4: return slot.handle == handle && to == AssetLoadState::Queued;
        case 8: return from == AssetLoadState::Failed && to == AssetLoadState::Unloaded;
        case 9: return to == AssetLoadState::Unloaded;
        case 7: return IsPendingLoadState(from);
        case 5:
        case 6: return IsPendingLoadState(from) || to == AssetLoadState::Unloaded;
        default: return to == AssetLoadState::Unloaded;
        }
    }

    std::span<const std::uint8_t> bytes_;
    std::size_t position_ = 0;
    std::map<AssetHandle, std::uint8_t> modes_;
    std::vector<AssetLoadLease> leases_;
    std::set<std::shared_ptr<Slot>> known_;
};

} // namespace Brelk::Assets::Testing
