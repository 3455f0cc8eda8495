#include "engine/scene/CommandBuffer.h"

#include "engine/scene/Registry.h"

#include "tests/support/TestSupport.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace Brelk::Scene {
namespace {

struct Marker { int value = 0; };

TEST(CommandBuffer, CreateNeedsABufferFromDefer) {
    CommandBuffer buffer;
    EXPECT_EQ(Testing::ThrownMessage([&] { (void)buffer.CreateEntity(); }),
              "CommandBuffer::CreateEntity requires a buffer obtained from Registry::Defer().");
    EXPECT_THROW((void)buffer.CreateEntity(), std::logic_error);
    EXPECT_TRUE(buffer.Empty());
    Registry registry;
    EXPECT_EQ(registry.Defer().Target(), &registry);
    EXPECT_EQ(registry.Defer().CreateEntity(), 1u);
    EXPECT_EQ(registry.Defer().Size(), 1u);
}

TEST(CommandBuffer, ADeferredCreateTakesComponentsAtOnceButIsAliveOnlyAfterTheFlushAndThenStandsLast) {
    Registry registry;
    const Entity early = registry.CreateEntity();
    const Entity deferred = registry.Defer().CreateEntity();
    const Entity late = registry.CreateEntity();
    registry.Emplace(deferred, Marker{4});
    EXPECT_FALSE(registry.IsAlive(deferred));
    EXPECT_EQ(registry.Slots()[EntityIndex(deferred)].state, EntityState::Reserved);
    EXPECT_TRUE(registry.HasDeferred());
    registry.FlushDeferred();
    EXPECT_FALSE(registry.HasDeferred());
    EXPECT_TRUE(registry.IsAlive(deferred));
    EXPECT_EQ(registry.Entities(), (std::vector<Entity>{early, late, deferred}));
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

TEST(CommandBuffer, DestroyWaitsForTheFlushAndIgnoresDeadHandles) {
    Registry registry;
    const Entity entity = registry.CreateEntity();
    registry.Defer().DestroyEntity(entity);
    EXPECT_TRUE(registry.IsAlive(entity));
    registry.FlushDeferred();
    EXPECT_FALSE(registry.IsAlive(entity));
    registry.Defer().DestroyEntity(entity);
    registry.Defer().DestroyEntity(kNullEntity);
    const std::uint64_t before = registry.Revision();
    registry.FlushDeferred();
    EXPECT_EQ(registry.Revision(), before);
}

TEST(CommandBuffer, CommandsRunInRecordedOrderAndThoseRecordedDuringAFlushAfterTheBatch) {
    Registry registry;
    const Entity entity = registry.CreateEntity();
    std::vector<std::string> order;
    registry.Defer().Invoke([&](Registry& target) {
        EXPECT_EQ(&target, &registry);
        order.push_back("a");
        target.Defer().Invoke([&](Registry& inner) {
            order.push_back("c");
            inner.Defer().Invoke([&](Registry&) { order.push_back("d"); });
            inner.Defer().DestroyEntity(entity);
        });
    });
    registry.Defer().Invoke(nullptr);
    registry.Defer().Invoke([&](Registry&) { order.push_back("b"); });
    registry.FlushDeferred();
    EXPECT_EQ(order, (std::vector<std::string>{"a", "b", "c", "d"}));
    EXPECT_FALSE(registry.IsAlive(entity));
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

TEST(CommandBuffer, ACopiedRegistryClonesTheCommandsAndAMovedOneTakesThem) {
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
    Registry moved(std::move(source));
    moved.FlushDeferred();
    EXPECT_EQ(runs, 2);
    EXPECT_EQ(moved.Entities(), (std::vector<Entity>{deferred}));
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

} // namespace
} // namespace Brelk::Scene
