#include "engine/scene/CommandBuffer.h"

#include "engine/scene/Registry.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace Brelk::Scene {
namespace {

struct Marker {
    int value = 0;
};

TEST(CommandBuffer, CreateOnABufferThatDidNotComeFromDeferThrows) {
    CommandBuffer buffer;
    try {
        (void)buffer.CreateEntity();
        FAIL() << "expected std::logic_error";
    } catch (const std::logic_error& error) {
        EXPECT_EQ(std::string(error.what()),
                  "CommandBuffer::CreateEntity requires a buffer obtained from Registry::Defer().");
    }
    EXPECT_TRUE(buffer.Empty());
}

TEST(CommandBuffer, CreateThroughDeferWorks) {
    Registry registry;
    CommandBuffer& buffer = registry.Defer();
    EXPECT_EQ(buffer.Target(), &registry);
    EXPECT_EQ(buffer.CreateEntity(), 1u);
    EXPECT_EQ(buffer.Size(), 1u);
}

TEST(CommandBuffer, ADeferredCreateIsAliveOnlyAfterTheFlushAndThenStandsLast) {
    Registry registry;
    const Entity early = registry.CreateEntity();
    const Entity deferred = registry.Defer().CreateEntity();
    const Entity late = registry.CreateEntity();
    EXPECT_FALSE(registry.IsAlive(deferred));
    EXPECT_EQ(registry.Slots()[EntityIndex(deferred)].state, EntityState::Reserved);
    registry.FlushDeferred();
    EXPECT_TRUE(registry.IsAlive(deferred));
    EXPECT_EQ(registry.Entities(), (std::vector<Entity>{early, late, deferred}));
}

TEST(CommandBuffer, ComponentsMayBeAttachedToADeferredCreateBeforeItRuns) {
    Registry registry;
    const Entity deferred = registry.Defer().CreateEntity();
    registry.Emplace(deferred, Marker{4});
    registry.FlushDeferred();
    EXPECT_EQ(registry.Get<Marker>(deferred).value, 4);
}

TEST(CommandBuffer, CreateAndDestroyOfOneHandleInOneBatchLeaveAFreeSlot) {
    Registry registry;
    CommandBuffer& buffer = registry.Defer();
    const Entity entity = buffer.CreateEntity();
    buffer.DestroyEntity(entity);
    registry.FlushDeferred();
    EXPECT_FALSE(registry.IsAlive(entity));
    EXPECT_TRUE(registry.Entities().empty());
    EXPECT_EQ(registry.Slots()[EntityIndex(entity)].state, EntityState::Free);
    EXPECT_EQ(registry.FreeIndexCount(), 1u);
}

TEST(CommandBuffer, DestroyOfADeadHandleIsHarmless) {
    Registry registry;
    const Entity entity = registry.CreateEntity();
    registry.DestroyEntity(entity);
    registry.Defer().DestroyEntity(entity);
    registry.Defer().DestroyEntity(kNullEntity);
    const std::uint64_t before = registry.Revision();
    registry.FlushDeferred();
    EXPECT_EQ(registry.Revision(), before);
}

TEST(CommandBuffer, DestroyWaitsForTheFlush) {
    Registry registry;
    const Entity entity = registry.CreateEntity();
    registry.Defer().DestroyEntity(entity);
    EXPECT_TRUE(registry.IsAlive(entity));
    registry.FlushDeferred();
    EXPECT_FALSE(registry.IsAlive(entity));
}

TEST(CommandBuffer, CommandsRunInTheOrderTheyWereRecorded) {
    Registry registry;
    std::vector<int> order;
    CommandBuffer& buffer = registry.Defer();
    for (int i = 0; i < 5; ++i) {
        buffer.Invoke([&order, i](Registry&) { order.push_back(i); });
    }
    registry.FlushDeferred();
    EXPECT_EQ(order, (std::vector<int>{0, 1, 2, 3, 4}));
}

TEST(CommandBuffer, CommandsRecordedDuringAFlushRunAfterTheCurrentBatch) {
    Registry registry;
    std::vector<std::string> order;
    registry.Defer().Invoke([&](Registry& target) {
        order.push_back("a");
        target.Defer().Invoke([&](Registry& inner) {
            order.push_back("c");
            inner.Defer().Invoke([&](Registry&) { order.push_back("d"); });
        });
    });
    registry.Defer().Invoke([&](Registry&) { order.push_back("b"); });
    registry.FlushDeferred();
    EXPECT_EQ(order, (std::vector<std::string>{"a", "b", "c", "d"}));
    EXPECT_FALSE(registry.HasDeferred());
}

TEST(CommandBuffer, AnInvokeThatDefersADestroyHasItDoneInTheSameFlush) {
    Registry registry;
    const Entity entity = registry.CreateEntity();
    registry.Defer().Invoke([entity](Registry& target) { target.Defer().DestroyEntity(entity); });
    registry.FlushDeferred();
    EXPECT_FALSE(registry.IsAlive(entity));
    EXPECT_FALSE(registry.HasDeferred());
}

TEST(CommandBuffer, InvokeReceivesTheFlushingRegistry) {
    Registry registry;
    Registry* seen = nullptr;
    registry.Defer().Invoke([&](Registry& target) { seen = &target; });
    registry.FlushDeferred();
    EXPECT_EQ(seen, &registry);
}

TEST(CommandBuffer, AnEmptyInvokeDoesNothing) {
    Registry registry;
    registry.Defer().Invoke(nullptr);
    EXPECT_TRUE(registry.HasDeferred());
    registry.FlushDeferred();
    EXPECT_FALSE(registry.HasDeferred());
}

TEST(CommandBuffer, HasDeferredIsFalseAfterAFlush) {
    Registry registry;
    EXPECT_FALSE(registry.HasDeferred());
    (void)registry.Defer().CreateEntity();
    EXPECT_TRUE(registry.HasDeferred());
    registry.FlushDeferred();
    EXPECT_FALSE(registry.HasDeferred());
}

TEST(CommandBuffer, AThrowingCommandDropsItsBatchButKeepsWhatRunningCommandsRecorded) {
    Registry registry;
    std::vector<std::string> order;
    registry.Defer().Invoke([&](Registry& target) {
        order.push_back("first");
        target.Defer().Invoke([&](Registry&) { order.push_back("recorded"); });
    });
    registry.Defer().Invoke([&](Registry&) { throw std::runtime_error("boom"); });
    registry.Defer().Invoke([&](Registry&) { order.push_back("never"); });
    EXPECT_THROW(registry.FlushDeferred(), std::runtime_error);
    EXPECT_EQ(order, (std::vector<std::string>{"first"}));
    ASSERT_TRUE(registry.HasDeferred());
    registry.FlushDeferred();
    EXPECT_EQ(order, (std::vector<std::string>{"first", "recorded"}));
}

TEST(CommandBuffer, ClearDropsCommandsWithoutRunningThemAndKeepsReservations) {
    Registry registry;
    bool ran = false;
    CommandBuffer& buffer = registry.Defer();
    const Entity reserved = buffer.CreateEntity();
    buffer.Invoke([&](Registry&) { ran = true; });
    buffer.Clear();
    registry.FlushDeferred();
    EXPECT_FALSE(ran);
    EXPECT_FALSE(registry.IsAlive(reserved));
    EXPECT_EQ(registry.Slots()[EntityIndex(reserved)].state, EntityState::Reserved);
    registry.ReleaseIndex(EntityIndex(reserved));
    EXPECT_EQ(registry.Slots()[EntityIndex(reserved)].state, EntityState::Free);
}

TEST(CommandBuffer, ACopiedRegistryClonesTheCommandsButItsBufferTargetsNothing) {
    Registry source;
    const Entity deferred = source.Defer().CreateEntity();
    int runs = 0;
    source.Defer().Invoke([&](Registry&) { ++runs; });
    Registry copy(source);
    EXPECT_TRUE(copy.HasDeferred());
    copy.FlushDeferred();
    EXPECT_TRUE(copy.IsAlive(deferred));
    EXPECT_FALSE(source.IsAlive(deferred));
    EXPECT_EQ(runs, 1);
    EXPECT_TRUE(source.HasDeferred());
    source.FlushDeferred();
    EXPECT_EQ(runs, 2);
}

TEST(CommandBuffer, ACopiedBufferNeedsDeferBeforeItCanCreate) {
    Registry source;
    (void)source.Defer().CreateEntity();
    Registry copy(source);
    CommandBuffer& copied = copy.Defer();
    EXPECT_EQ(copied.Target(), &copy);
    EXPECT_EQ(copied.CreateEntity(), 2u);

    CommandBuffer standalone(source.Defer());
    EXPECT_EQ(standalone.Target(), nullptr);
    EXPECT_EQ(standalone.Size(), 1u);
    EXPECT_THROW((void)standalone.CreateEntity(), std::logic_error);
}

TEST(CommandBuffer, AMovedRegistryTakesItsQueuedCommands) {
    Registry source;
    (void)source.Defer().CreateEntity();
    Registry moved(std::move(source));
    EXPECT_TRUE(moved.HasDeferred());
    moved.FlushDeferred();
    EXPECT_EQ(moved.Entities(), (std::vector<Entity>{1u}));
}

} // namespace
} // namespace Brelk::Scene
