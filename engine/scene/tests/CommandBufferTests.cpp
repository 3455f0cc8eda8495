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
    EXPECT_TRUE(buffer.Empty());
    Registry source;
    EXPECT_EQ(source.Defer().CreateEntity(), 1u);
    CommandBuffer standalone(source.Defer());
    EXPECT_EQ(standalone.Size(), 1u);
    EXPECT_THROW((void)standalone.CreateEntity(), std::logic_error);
    Registry copy(source);
    EXPECT_EQ(copy.Defer().Target(), &copy);
    EXPECT_EQ(copy.Defer().CreateEntity(), 2u);
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
    EXPECT_EQ(std::pair(registry.HasDeferred(), registry.IsAlive(deferred)), std::pair(false, true));
    EXPECT_EQ(registry.Entities(), (std::vector<Entity>{early, late, deferred}));
    EXPECT_EQ(registry.Get<Marker>(deferred).value, 4);
}

TEST(CommandBuffer, DestroyWaitsForTheFlushIgnoresDeadHandlesAndFreesACreateOfTheSameBatch) {
    Registry registry;
    const Entity entity = registry.CreateEntity();
    registry.Defer().DestroyEntity(entity);
    const Entity created = registry.Defer().CreateEntity();
    registry.Defer().DestroyEntity(created);
    EXPECT_TRUE(registry.IsAlive(entity));
    registry.FlushDeferred();
    EXPECT_TRUE(registry.Entities().empty());
    EXPECT_EQ(registry.Slots()[EntityIndex(created)].state, EntityState::Free);
    EXPECT_EQ(registry.FreeIndexCount(), 2u);
    for (const Entity dead : {entity, kNullEntity}) registry.Defer().DestroyEntity(dead);
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

TEST(CommandBuffer, AThrowingCommandDropsItsBatchButKeepsWhatRunningCommandsRecordedAndClearRunsNothing) {
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

    // Clear drops commands without running them and keeps reservations.
    const Entity reserved = registry.Defer().CreateEntity();
    registry.Defer().Invoke([&](Registry&) { order.push_back("cleared"); });
    registry.Defer().Clear();
    registry.FlushDeferred();
    EXPECT_EQ(order.size(), 2u);
    EXPECT_FALSE(registry.IsAlive(reserved));
    EXPECT_EQ(registry.Slots()[EntityIndex(reserved)].state, EntityState::Reserved);
}

} // namespace
} // namespace Brelk::Scene
