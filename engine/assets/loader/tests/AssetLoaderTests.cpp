#include "engine/assets/loader/AssetLoader.h"

#include "engine/assets/tests/AssetTestSupport.h"
#include "engine/core/TaskSystem.h"
#include "tests/support/Deadline.h"

#include <gtest/gtest.h>

#include <future>
#include <map>
#include <set>
#include <stdexcept>
#include <thread>

namespace Brelk::Assets {
namespace {

using Core::LogLevel;
using Core::Tasks::TaskSystem;
using Core::Tasks::TaskSystemConfig;
using Brelk::Testing::kDeadline;
using Brelk::Testing::RunWithDeadline;
using Testing::LogCapture;

constexpr AssetType kType = AssetType::Texture;

// How the fake family loads one handle.
struct Script {
    std::string error;
    bool hasRead = true;
    std::vector<AssetDependency> dependencies;
    std::vector<AssetDependency> discovered;
    std::uint64_t sizeBytes = 1;
    std::function<void()> duringRead;   // runs on the IO lane
    std::function<void()> duringDecode; // runs on a worker
    bool publishThrows = false;
};

// A family of assets whose loads follow scripts, and which records what the loader did.
class FakeFamily {
public:
    Script& operator[](AssetHandle handle) { return scripts_[handle]; }

    AssetLoadHandler Handler() {
        AssetLoadHandler handler;
        handler.isLoaded = [this](AssetHandle handle) { return preloaded.count(handle) != 0; };
        handler.unload = [this](AssetHandle handle) { unloaded.push_back(handle); };
        handler.prepare = [this](AssetHandle handle) {
            ++prepares[handle];
            const Script script = scripts_[handle];
            AssetLoadRecipe recipe;
            recipe.error = script.error;
            recipe.dependencies = script.dependencies;
            if (script.hasRead) {
                recipe.read = [script] {
                    if (script.duringRead) script.duringRead();
                    return std::vector<std::uint8_t>{1, 2, 3};
                };
            }
            recipe.decode = [script, generation = prepares[handle]](std::vector<std::uint8_t> bytes) {
                if (script.duringDecode) script.duringDecode();
                return AssetLoadPayload{std::make_shared<int>(static_cast<int>(bytes.size()) * 100 + generation),
                                        script.sizeBytes};
            };
            if (!script.discovered.empty()) {
                recipe.discoverDependencies = [script](const AssetLoadPayload&) { return script.discovered; };
            }
            recipe.publish = [this, handle, script](AssetLoadPayload& payload) {
                if (script.publishThrows) throw std::runtime_error("The device refused the upload.");
                published.emplace_back(handle, payload.data ? *static_cast<int*>(payload.data.get()) : 0);
            };
            return recipe;
        };
        return handler;
    }

    std::map<AssetHandle, int> prepares;
    std::vector<std::pair<AssetHandle, int>> published; // handle, payload value
    std::vector<AssetHandle> unloaded;
    std::set<AssetHandle> preloaded;

private:
    std::map<AssetHandle, Script> scripts_;
};

std::vector<AssetHandle> PublishedHandles(const FakeFamily& family) {
    std::vector<AssetHandle> handles;
    for (const auto& entry : family.published) handles.push_back(entry.first);
    return handles;
}

// Jobs run inline at submission, so every step of the machine is deterministic.
class AssetLoaderTest : public ::testing::Test {
protected:
    explicit AssetLoaderTest(std::optional<std::uint32_t> workers = 0) : tasks_(TaskSystemConfig{workers, 1, {}}) {
        loader_.RegisterHandler(kType, family_.Handler());
    }

    Core::Tasks::ScopedTaskSystem tasks_;
    FakeFamily family_;
    AssetLoader loader_{AssetLoaderConfig{100, 8, 0}};
};

// Jobs run on real threads.
class AssetLoaderThreadTest : public AssetLoaderTest {
protected:
    AssetLoaderThreadTest() : AssetLoaderTest(2) {}
};

// Holds a job until the test opens it, and tells the test when the job got there.
struct Gate {
    std::promise<void> reached, open;
    std::shared_future<void> opened = open.get_future().share();
    std::function<void()> Hold() {
        // The job keeps its own copy of the future: the gate may be gone before it wakes.
        return [this, opened = opened] {
            reached.set_value();
            opened.wait();
        };
    }
    void AwaitReached() { reached.get_future().wait(); }
};

TEST(AssetLoadState, NamesAreTheCounterWords) {
    const std::vector<std::string_view> names = {"Unloaded", "Queued", "Loading", "WaitingForDependencies",
                                                 "Uploading", "Ready", "Failed", "Unknown"};
    for (std::size_t value = 0; value < names.size(); ++value) {
        EXPECT_EQ(AssetLoadStateName(static_cast<AssetLoadState>(value)), names[value]);
    }
}

TEST_F(AssetLoaderTest, LoadsThroughReadDecodeAndPublishInOneUpdateAndTellsListenersAndCallbacks) {
    std::vector<AssetLoadEvent> events, callbacks;
    EXPECT_EQ(loader_.AddListener([&](const AssetLoadEvent& event) { events.push_back(event); }), 1u);
    AssetLoadLease lease = loader_.Request(7, kType, 0);
    loader_.OnSettled(lease, [&](const AssetLoadEvent& event) { callbacks.push_back(event); });
    EXPECT_EQ(lease.State(), AssetLoadState::Queued);

    loader_.Update();
    EXPECT_EQ(lease.State(), AssetLoadState::Ready);
    EXPECT_EQ(lease.Generation(), 1u);
    EXPECT_EQ(family_.published, (std::vector<std::pair<AssetHandle, int>>{{7, 301}}));
    ASSERT_EQ(events.size(), 1u);
    EXPECT_EQ(std::tuple(events[0].handle, events[0].state, events[0].wasResident),
              std::tuple(7u, AssetLoadState::Ready, false));
    ASSERT_EQ(callbacks.size(), 1u);
    EXPECT_EQ(callbacks[0].generation, 1u);

    loader_.Update();
    EXPECT_EQ(events.size(), 1u);
    EXPECT_EQ(callbacks.size(), 1u);
}

TEST_F(AssetLoaderTest, EmptyUnregisteredAndAlreadyLoadedRequests) {
    EXPECT_FALSE(loader_.Request(0, kType, 3));
    EXPECT_FALSE(loader_.Wait(AssetLoadLease()));

    LogCapture log;
    const AssetLoadLease unknown = loader_.Request(11, static_cast<AssetType>(99), 1);
    EXPECT_EQ(unknown.State(), AssetLoadState::Failed);
    EXPECT_EQ(unknown.Error(), "No asset loader is registered for asset type 99.");
    EXPECT_FALSE(loader_.Wait(unknown));
    EXPECT_EQ(log.Messages(LogLevel::Error),
              std::vector<std::string>{"Failed to load asset 11: No asset loader is registered for asset type 99."});

    family_.preloaded.insert(12);
    const AssetLoadLease loaded = loader_.Request(12, kType, 1);
    EXPECT_EQ(loaded.State(), AssetLoadState::Ready);
    EXPECT_EQ(loaded.Generation(), 1u);
    EXPECT_EQ(family_.prepares.count(12), 0u);
}

TEST_F(AssetLoaderTest, RequestsShareASlotAndADroppedLoadIsResetWithTheDependenciesOnlyItHeld) {
    AssetLoadLease first = loader_.Request(5, kType, 1);
    AssetLoadLease second = loader_.Request(5, kType, 0);
    EXPECT_EQ(first.Slot(), second.Slot());
    EXPECT_EQ(first.Slot()->referenceCount.load(), 2);
    first = AssetLoadLease();
    loader_.Update();
    EXPECT_EQ(second.State(), AssetLoadState::Ready);

    // Dropped while queued: never prepared.
    loader_.Request(6, kType, 1);
    EXPECT_EQ(loader_.State(6), AssetLoadState::Queued);
    loader_.Update();
    EXPECT_EQ(loader_.State(6), AssetLoadState::Unloaded);
    EXPECT_EQ(family_.prepares.count(6), 0u);

    family_[1].dependencies = {{2, kType}, {5, kType}};
    AssetLoadLease lease = loader_.Request(1, kType, 1);
    loader_.Update();
    EXPECT_EQ(loader_.State(2), AssetLoadState::Queued);
    lease = AssetLoadLease();
    loader_.Update();
    EXPECT_EQ(loader_.State(1), AssetLoadState::Unloaded);
    EXPECT_EQ(loader_.State(2), AssetLoadState::Unloaded);
    EXPECT_EQ(family_.prepares.count(2), 0u);
    EXPECT_EQ(loader_.State(5), AssetLoadState::Ready); // still claimed by its own lease
}

TEST_F(AssetLoaderTest, BudgetLetsTheFirstUploadThroughNeverLetsALaterOneOvertakeAndPriorityOrdersStarts) {
    // Budget 100. Frame 1: 150 goes first whatever its size; frame 2: 50, then 80 does not
    // fit and the 10 behind it waits too; frame 3: the rest.
    const std::vector<std::uint64_t> sizes = {150, 50, 80, 10};
    std::vector<AssetLoadLease> leases;
    for (AssetHandle handle = 1; handle <= sizes.size(); ++handle) {
        family_[handle].sizeBytes = sizes[handle - 1];
        leases.push_back(loader_.Request(handle, kType, 1));
    }
    loader_.Update();
    EXPECT_EQ(PublishedHandles(family_), (std::vector<AssetHandle>{1}));
    EXPECT_EQ(loader_.Stats().uploadBytesThisFrame, 150u);
    loader_.Update();
    EXPECT_EQ(PublishedHandles(family_), (std::vector<AssetHandle>{1, 2}));
    loader_.Update();
    EXPECT_EQ(PublishedHandles(family_), (std::vector<AssetHandle>{1, 2, 3, 4}));
    const AssetLoaderStats s = loader_.Stats();
    EXPECT_EQ(std::tuple(s.frame, s.uploadBytesThisFrame, s.uploadsThisFrame, s.publishedThisFrame, s.peakUploadBytes,
                         s.ready),
              std::tuple(3u, 90u, 2u, 2u, 150u, 4u));

    // One start a frame: the higher priority goes first, the rest stays queued.
    loader_.SetConfig(AssetLoaderConfig{1000, 1, 0});
    const AssetLoadLease low = loader_.Request(5, kType, 0);
    const AssetLoadLease high = loader_.Request(6, kType, 0);
    loader_.Request(6, kType, 2);
    loader_.Update();
    EXPECT_EQ(PublishedHandles(family_), (std::vector<AssetHandle>{1, 2, 3, 4, 6}));
    EXPECT_EQ(low.State(), AssetLoadState::Queued);
    loader_.Update();
    EXPECT_EQ(PublishedHandles(family_), (std::vector<AssetHandle>{1, 2, 3, 4, 6, 5}));
}

TEST_F(AssetLoaderTest, JobFailuresGiveTheirExactMessages) {
    struct Case {
        bool inRead;
        std::function<void()> thrower;
        std::string message;
    };
    const std::vector<Case> cases = {
        {true, [] { throw std::runtime_error("Disk gone."); }, "Disk gone."},
        {true, [] { throw std::runtime_error(""); }, "Asset read failed."},
        {true, [] { throw 42; }, "Asset read failed with an unknown exception."},
        {false, [] { throw std::runtime_error("Bad pixels."); }, "Bad pixels."},
        {false, [] { throw std::runtime_error(""); }, "Asset decode failed."},
        {false, [] { throw 42; }, "Asset decode failed with an unknown exception."},
    };
    AssetHandle handle = 100;
    for (const Case& row : cases) {
        ++handle;
        (row.inRead ? family_[handle].duringRead : family_[handle].duringDecode) = row.thrower;
        const AssetLoadLease lease = loader_.Request(handle, kType, 1);
        loader_.Update();
        EXPECT_EQ(lease.State(), AssetLoadState::Failed) << row.message;
        EXPECT_EQ(lease.Error(), row.message);
    }
    family_[200].error = "Unknown texture asset 200.";
    loader_.Request(200, kType, 1);
    const AssetLoadLease refused = loader_.Request(200, kType, 1);
    loader_.Update();
    EXPECT_EQ(refused.Error(), "Unknown texture asset 200.");
    EXPECT_EQ(family_.published.size(), 0u);
    // A failure stays until released; then the next request tries again.
    family_[200].error.clear();
    loader_.ReleaseFailed();
    EXPECT_EQ(refused.State(), AssetLoadState::Unloaded);
    const AssetLoadLease again = loader_.Request(200, kType, 1);
    loader_.Update();
    EXPECT_EQ(again.State(), AssetLoadState::Ready);
}

TEST_F(AssetLoaderTest, DependenciesDeclaredAndDiscoveredArePublishedFirstAndAFailedOneDoesNotFailTheDependent) {
    family_[1].dependencies = {{2, kType}, {1, kType}, {0, kType}, {2, kType}};
    family_[1].discovered = {{3, kType}};
    family_[2].hasRead = false;
    family_[3].error = "Broken.";
    const AssetLoadLease lease = loader_.Request(1, kType, 1);
    loader_.Update();
    EXPECT_EQ(lease.State(), AssetLoadState::WaitingForDependencies);
    EXPECT_EQ(lease.Slot()->dependencies.size(), 2u);
    loader_.Update();
    EXPECT_EQ(lease.State(), AssetLoadState::Ready);
    EXPECT_EQ(PublishedHandles(family_), (std::vector<AssetHandle>{2, 1}));
    EXPECT_EQ(loader_.State(3), AssetLoadState::Failed);
}

TEST_F(AssetLoaderTest, TwoAssetsThatListEachOtherBothPublishButAThreeCycleOnlyEndsInWait) {
    family_[1].dependencies = {{2, kType}};
    family_[2].dependencies = {{1, kType}};
    const AssetLoadLease pair = loader_.Request(1, kType, 1);
    for (int frame = 0; frame < 3; ++frame) loader_.Update();
    EXPECT_EQ(pair.State(), AssetLoadState::Ready);
    EXPECT_EQ(loader_.State(2), AssetLoadState::Ready);

    family_[11].dependencies = {{12, kType}};
    family_[12].dependencies = {{13, kType}};
    family_[13].dependencies = {{11, kType}};
    const AssetLoadLease cycle = loader_.Request(11, kType, 1);
    for (int frame = 0; frame < 5; ++frame) loader_.Update();
    EXPECT_EQ(cycle.State(), AssetLoadState::WaitingForDependencies);
    EXPECT_FALSE(loader_.Wait(cycle));
    EXPECT_EQ(cycle.Error(), "Asset load could not make progress (dependency cycle or lost job).");
}

TEST_F(AssetLoaderTest, ReloadKeepsResidentDataReadyAndAFailedReloadKeepsItSilently) {
    std::vector<AssetLoadEvent> events;
    loader_.AddListener([&](const AssetLoadEvent& event) { events.push_back(event); });
    const AssetLoadLease lease = loader_.Request(4, kType, 1);
    loader_.Update();
    EXPECT_FALSE(loader_.Reload(99));
    EXPECT_TRUE(loader_.Reload(4));
    EXPECT_EQ(lease.State(), AssetLoadState::Ready);
    EXPECT_EQ(lease.Slot()->state, AssetLoadState::Queued);
    loader_.Update();
    EXPECT_EQ(lease.Generation(), 2u);
    ASSERT_EQ(events.size(), 2u);
    EXPECT_TRUE(events[1].wasResident);

    family_[4].publishThrows = true;
    EXPECT_TRUE(loader_.Reload(4));
    loader_.Update();
    EXPECT_EQ(lease.State(), AssetLoadState::Ready);
    EXPECT_EQ(lease.Generation(), 2u);
    EXPECT_EQ(events.size(), 2u);
}

TEST_F(AssetLoaderTest, SweepUnloadsUnreferencedSlotsAndTheirDependenciesButNotPinnedOnesInTheMachinesZones) {
    family_[1].dependencies = {{2, kType}};
    AssetLoadLease lease = loader_.Request(1, kType, 1);
    const AssetLoadLease pinned = loader_.Request(3, kType, 1);
    loader_.Pin(3);
    const std::set<std::string> zones = Testing::ProfiledZones("Assets", [&] {
        ASSERT_TRUE(loader_.Wait(lease));
        loader_.Update(); // the pinned one is not part of the wait
        lease = AssetLoadLease();
        EXPECT_EQ(loader_.SweepUnused(), 2u);
    });
    EXPECT_EQ(zones, (std::set<std::string>{"AssetLoader Decode", "AssetLoader Publish", "AssetLoader Read",
                                            "AssetLoader::Start", "AssetLoader::SweepUnused", "AssetLoader::Wait"}));
    EXPECT_EQ(family_.unloaded, (std::vector<AssetHandle>{1, 2}));
    EXPECT_EQ(loader_.State(1), AssetLoadState::Unloaded);
    EXPECT_EQ(loader_.State(3), AssetLoadState::Ready);
}

TEST_F(AssetLoaderThreadTest, ADecodeThatEndsAfterItsSlotWasReleasedIsDroppedAndOneThatNeverReportsFailsItsWait) {
    RunWithDeadline(kDeadline, [&] {
        Gate gate;
        family_[8].duringDecode = [&gate] {
            gate.Hold()();
            // The loader told the decode to stop; a long decoder would give up here.
            EXPECT_TRUE(CurrentLoadCancellation()->load());
        };
        const AssetLoadLease lease = loader_.Request(8, kType, 1);
        loader_.Update();
        gate.AwaitReached();
        loader_.Release(8);
        gate.open.set_value();
        family_[8].duringDecode = nullptr;
        const AssetLoadLease again = loader_.Request(8, kType, 1);
        EXPECT_TRUE(loader_.Wait(again));
        EXPECT_EQ(family_.published, (std::vector<std::pair<AssetHandle, int>>{{8, 302}}));
        EXPECT_EQ(lease.State(), AssetLoadState::Unloaded);

        // A slot that lost track of its job (its token one that finished with no report) fails its wait.
        Gate lost;
        family_[2].duringDecode = lost.Hold();
        const AssetLoadLease stuck = loader_.Request(2, kType, 1);
        loader_.Update();
        lost.AwaitReached();
        stuck.Slot()->cancelToken = Core::Tasks::TaskCounter();
        EXPECT_FALSE(loader_.Wait(stuck));
        EXPECT_EQ(stuck.Error(), "Asset load job ended without a result.");
        lost.open.set_value();
    });
}

TEST_F(AssetLoaderThreadTest, ReloadDuringLoadingDiscardsTheRunningResultAndPreparesAgain) {
    RunWithDeadline(kDeadline, [&] {
        const AssetLoadLease lease = loader_.Request(9, kType, 1);
        EXPECT_TRUE(loader_.Wait(lease));
        Gate gate;
        family_[9].duringDecode = gate.Hold();
        loader_.Reload(9);
        loader_.Update();
        gate.AwaitReached();
        family_[9].duringDecode = nullptr;
        EXPECT_TRUE(loader_.Reload(9));
        EXPECT_EQ(lease.State(), AssetLoadState::Ready);
        gate.open.set_value();
        // Wait has nothing to do for a slot that stays Ready through its reload.
        EXPECT_TRUE(loader_.Wait(lease));
        while (lease.Generation() < 2) {
            loader_.Update();
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        EXPECT_EQ(lease.State(), AssetLoadState::Ready);
        EXPECT_EQ(family_.prepares[9], 3);
        EXPECT_EQ(family_.published, (std::vector<std::pair<AssetHandle, int>>{{9, 301}, {9, 303}}));
        EXPECT_EQ(lease.Generation(), 2u);
    });
}

TEST_F(AssetLoaderThreadTest, WaitLetsOtherThreadsUseTheLoaderWhileItBlocks) {
    // The decode finishes only after another thread got through the loader's mutex, which
    // it could not while a Wait held it.
    RunWithDeadline(kDeadline, [&] {
        Gate gate;
        family_[20].dependencies = {{21, kType}};
        family_[21].dependencies = {{22, kType}};
        family_[22].duringDecode = gate.Hold();
        std::thread other([&] {
            gate.AwaitReached();
            const AssetLoadLease lease = loader_.Request(30, kType, 1);
            EXPECT_EQ(loader_.State(30), AssetLoadState::Queued);
            gate.open.set_value();
        });
        const AssetLoadLease lease = loader_.Request(20, kType, 3);
        EXPECT_TRUE(loader_.Wait(lease));
        other.join();
        EXPECT_EQ(PublishedHandles(family_), (std::vector<AssetHandle>{22, 21, 20}));
    });
}

TEST(AssetLoaderShutdown, WaitFailsALoadThatTheTaskSystemDroppedAtShutdown) {
    RunWithDeadline(kDeadline, [] {
        Core::Tasks::ScopedTaskSystem scoped(TaskSystemConfig{1, 1, std::nullopt});
        TaskSystem& tasks = scoped.Get();
        Gate ioBusy;
        (void)tasks.Submit(Core::Tasks::TaskPriority::Io, ioBusy.Hold());
        ioBusy.AwaitReached();
        {
            FakeFamily family;
            AssetLoader loader;
            loader.RegisterHandler(kType, family.Handler());
            const AssetLoadLease lease = loader.Request(1, kType, 1);
            loader.Update(); // the read queues behind the busy IO thread
            std::thread stopper([&] { tasks.Shutdown(TaskSystem::ShutdownMode::Cancel); });
            while (!tasks.IsComplete(lease.Slot()->cancelToken)) std::this_thread::yield();
            EXPECT_FALSE(loader.Wait(lease));
            EXPECT_EQ(lease.Error(), "Asset load was cancelled by task system shutdown.");
            ioBusy.open.set_value();
            stopper.join();
        }
    });
}

} // namespace
} // namespace Brelk::Assets
