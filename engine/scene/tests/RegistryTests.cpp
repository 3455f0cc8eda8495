#include "engine/scene/Registry.h"

#include "engine/scene/PreservedRecordSet.h"
#include "engine/scene/components/CoreComponents.h"

#include <gtest/gtest.h>

#include <functional>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace Brelk::Scene {
namespace {

using Core::Guid;

struct Position { float x = 0.0f; float y = 0.0f; };

struct Velocity { float dx = 0.0f; };

struct Tag {};

struct NeverStored { int value = 0; };

Guid MakeGuid(std::uint64_t low) {
    return Guid{0x1234, low};
}

std::vector<Entity> CreateMany(Registry& registry, std::size_t count) {
    std::vector<Entity> created;
    for (std::size_t i = 0; i < count; ++i) created.push_back(registry.CreateEntity());
    return created;
}

template <class T>
void ExpectThrowsWithMessage(const std::function<void()>& action, const std::string& message) {
    try {
        action();
        ADD_FAILURE() << "expected an exception";
    } catch (const T& error) {
        EXPECT_EQ(std::string(error.what()), message);
    }
}

// --- Handles and slots ------------------------------------------------------------------

TEST(EntityHandle, PacksIndexAndLowTwelveGenerationBitsAndIndexZeroIsNull) {
    EXPECT_EQ(MakeEntity(1, 0), 1u);
    EXPECT_EQ(MakeEntity(0xfffff, 0xfff), 0xffffffffu);
    EXPECT_EQ(MakeEntity(0x1fffff, 0), 0xfffffu);
    EXPECT_EQ(MakeEntity(3, 1), 0x100003u);
    EXPECT_EQ(MakeEntity(7, 4096 + 3), MakeEntity(7, 3));
    EXPECT_EQ(EntityIndex(MakeEntity(77, 9)), 77u);
    EXPECT_EQ(EntityGeneration(MakeEntity(77, 9)), 9u);
    EXPECT_TRUE(IsNullEntity(kNullEntity));
    EXPECT_TRUE(IsNullEntity(MakeEntity(0, 5)));
    EXPECT_FALSE(IsNullEntity(MakeEntity(1, 0)));
}

TEST(Registry, CreatesFromIndexOneInOrderAndRaisesRevision) {
    Registry registry;
    EXPECT_EQ(registry.Revision(), 1u);
    EXPECT_EQ(registry.MinimumFreeIndices(), 1024u);
    EXPECT_FALSE(registry.IsAlive(MakeEntity(1, 0)));
    const auto all = CreateMany(registry, 3);
    EXPECT_EQ(all[0], 1u);
    ASSERT_EQ(registry.Slots().size(), 4u);
    EXPECT_EQ(registry.Slots()[0].state, EntityState::Free);
    EXPECT_EQ(registry.Entities(), all);
    EXPECT_EQ(registry.Revision(), 4u);
    EXPECT_FALSE(registry.IsAlive(kNullEntity));
    EXPECT_FALSE(registry.IsAlive(MakeEntity(4, 0)));
}

TEST(Registry, DestroyKillsTheHandleOnceAndKeepsTheOthersInOrder) {
    Registry registry;
    const auto all = CreateMany(registry, 4);
    const std::uint64_t before = registry.Revision();
    registry.DestroyEntity(all[1]);
    EXPECT_FALSE(registry.IsAlive(all[1]));
    EXPECT_EQ(registry.Entities(), (std::vector<Entity>{all[0], all[2], all[3]}));
    EXPECT_EQ(registry.Revision(), before + 1);
    registry.DestroyEntity(all[1]);
    registry.DestroyEntity(kNullEntity);
    registry.DestroyEntity(MakeEntity(500, 0));
    EXPECT_EQ(registry.Revision(), before + 1);
    EXPECT_EQ(registry.Slots()[2].generation, 1u);
    EXPECT_EQ(registry.FreeIndexCount(), 1u);
}

TEST(Registry, ReusesAnIndexOnlyOnceMoreThanTheMinimumAreQueued) {
    for (const std::size_t destroyed : {std::size_t{1024}, std::size_t{1025}}) {
        SCOPED_TRACE(destroyed);
        Registry registry;
        for (const Entity entity : CreateMany(registry, destroyed)) registry.DestroyEntity(entity);
        const bool reuses = destroyed > 1024;
        EXPECT_EQ(registry.CreateEntity(), reuses ? MakeEntity(1, 1) : MakeEntity(1025, 0));
        EXPECT_EQ(registry.FreeIndexCount(), 1024u);
    }
}

TEST(Registry, FreeIndicesComeBackInFirstInFirstOutOrder) {
    Registry registry;
    registry.SetMinimumFreeIndices(0);
    const auto all = CreateMany(registry, 3);
    registry.DestroyEntity(all[2]);
    registry.DestroyEntity(all[0]);
    registry.DestroyEntity(all[1]);
    EXPECT_EQ(registry.CreateEntity(), MakeEntity(3, 1));
    EXPECT_EQ(registry.CreateEntity(), MakeEntity(1, 1));
    EXPECT_EQ(registry.CreateEntity(), MakeEntity(2, 1));
}

TEST(Registry, GenerationWrapsAfter4096ReusesAndTheOldHandleComparesEqualAgain) {
    Registry registry;
    registry.SetMinimumFreeIndices(0);
    const Entity first = registry.CreateEntity();
    Entity current = first;
    for (int i = 0; i < 4096; ++i) {
        registry.DestroyEntity(current);
        ASSERT_FALSE(registry.IsAlive(first));
        current = registry.CreateEntity();
    }
    EXPECT_EQ(registry.Slots()[1].generation, 4096u);
    EXPECT_EQ(current, first);
    EXPECT_TRUE(registry.IsAlive(first));
}

TEST(Registry, AFullIndexSpaceThrowsUntilAnIndexIsQueuedWhateverTheMinimum) {
    Registry registry;
    for (std::uint32_t i = 0; i < kMaxEntityIndex; ++i) (void)registry.ReserveEntity();
    ASSERT_EQ(registry.Slots().size(), 1048576u);
    const std::uint64_t before = registry.Revision();
    ExpectThrowsWithMessage<std::length_error>([&] { registry.CreateEntity(); }, "Entity index space exhausted.");
    ExpectThrowsWithMessage<std::length_error>([&] { registry.ReserveEntity(); }, "Entity index space exhausted.");
    EXPECT_EQ(registry.Slots().size(), 1048576u);
    EXPECT_EQ(registry.Revision(), before);
    registry.ReleaseIndex(77);
    EXPECT_EQ(registry.CreateEntity(), MakeEntity(77, 1));
    EXPECT_EQ(registry.Slots().size(), 1048576u);
}

// --- Reserve, commit, release ----------------------------------------------------------

TEST(Registry, CommitMakesOnlyAMatchingReservationAliveAtTheEnd) {
    Registry registry;
    const Entity reserved = registry.ReserveEntity();
    EXPECT_EQ(reserved, 1u);
    EXPECT_FALSE(registry.IsAlive(reserved));
    EXPECT_EQ(registry.Slots()[1].state, EntityState::Reserved);
    EXPECT_EQ(registry.Revision(), 1u);
    const Entity created = registry.CreateEntity();
    registry.CommitEntity(MakeEntity(EntityIndex(reserved), 1));
    registry.CommitEntity(created);
    registry.CommitEntity(kNullEntity);
    registry.CommitEntity(MakeEntity(99, 0));
    EXPECT_EQ(registry.Entities(), (std::vector<Entity>{created}));
    EXPECT_EQ(registry.Revision(), 2u);
    registry.CommitEntity(reserved);
    EXPECT_TRUE(registry.IsAlive(reserved));
    EXPECT_EQ(registry.Entities(), (std::vector<Entity>{created, reserved}));
    EXPECT_EQ(registry.Revision(), 3u);
}

TEST(Registry, ReleaseIndexFreesOnlyReservedOrDeadSlots) {
    Registry registry;
    const Entity reserved = registry.ReserveEntity();
    const Entity alive = registry.CreateEntity();
    registry.ReleaseIndex(EntityIndex(reserved));
    EXPECT_EQ(registry.Slots()[1].state, EntityState::Free);
    EXPECT_EQ(registry.Slots()[1].generation, 1u);
    registry.CommitEntity(reserved);
    EXPECT_FALSE(registry.IsAlive(reserved));
    registry.ReleaseIndex(EntityIndex(alive));
    registry.ReleaseIndex(0);
    registry.ReleaseIndex(12345);
    registry.ReleaseIndex(EntityIndex(reserved));
    EXPECT_TRUE(registry.IsAlive(alive));
    EXPECT_EQ(registry.FreeIndexCount(), 1u);
    EXPECT_EQ(registry.Slots()[1].generation, 1u);
}

// --- Components ------------------------------------------------------------------------

TEST(Registry, EmplaceStoresOnceAndAssignsInPlaceAfterwards) {
    Registry registry;
    const Entity entity = registry.CreateEntity();
    const std::uint64_t before = registry.Revision();
    Position& first = registry.Emplace(entity, Position{1.0f, 2.0f});
    EXPECT_EQ(registry.Revision(), before + 1);
    EXPECT_EQ(&registry.Get<Position>(entity), &first);
    EXPECT_EQ(registry.TryGet<Position>(entity), &first);
    const Registry& constRegistry = registry;
    EXPECT_EQ(constRegistry.Get<Position>(entity).y, 2.0f);
    EXPECT_EQ(constRegistry.TryGet<Position>(entity), &first);
    Position& second = registry.Emplace(entity, Position{5.0f, 6.0f});
    EXPECT_EQ(&first, &second);
    EXPECT_EQ(second.x, 5.0f);
    EXPECT_EQ(registry.Revision(), before + 1);
    EXPECT_EQ(registry.FindStorage<Position>()->Revision(), 1u);
    EXPECT_EQ(registry.FindStorage<Position>()->Size(), 1u);
    registry.Emplace<Velocity>(entity);
    EXPECT_EQ(registry.Get<Velocity>(entity).dx, 0.0f);
}

TEST(Registry, GetThrowsForAMissingStorageOrComponent) {
    Registry registry;
    const Entity with = registry.CreateEntity();
    const Entity without = registry.CreateEntity();
    registry.Emplace(with, Position{});
    const Registry& constRegistry = registry;
    ExpectThrowsWithMessage<std::runtime_error>([&] { (void)registry.Get<NeverStored>(with); },
                                                "Component storage does not exist.");
    ExpectThrowsWithMessage<std::runtime_error>([&] { (void)constRegistry.Get<NeverStored>(with); },
                                                "Component storage does not exist.");
    ExpectThrowsWithMessage<std::out_of_range>([&] { (void)registry.Get<Position>(without); },
                                               "Entity does not have the requested component.");
    ExpectThrowsWithMessage<std::out_of_range>([&] { (void)constRegistry.Get<Position>(without); },
                                               "Entity does not have the requested component.");
}

TEST(Registry, LookupsNeverCreateAStorage) {
    Registry registry;
    const Entity entity = registry.CreateEntity();
    registry.Emplace(entity, Position{});
    EXPECT_FALSE(registry.Has<NeverStored>(entity));
    EXPECT_EQ(registry.TryGet<NeverStored>(entity), nullptr);
    registry.Remove<NeverStored>(entity);
    int calls = 0;
    registry.Each<NeverStored>([&](Entity, NeverStored&) { ++calls; });
    registry.Each<Position, NeverStored>([&](Entity, Position&, NeverStored&) { ++calls; });
    EXPECT_EQ(calls, 0);
    EXPECT_EQ(registry.FindStorage<NeverStored>(), nullptr);
    EXPECT_EQ(registry.FindStorage(ComponentTypeId<NeverStored>()), nullptr);
}

TEST(Registry, RemoveAndDestroyDropComponentsAndRaiseRevisions) {
    Registry registry;
    const Entity keep = registry.CreateEntity();
    const Entity gone = registry.CreateEntity();
    registry.Emplace(keep, Position{});
    registry.Emplace(gone, Position{});
    registry.Emplace(gone, Velocity{});
    const std::uint64_t before = registry.Revision();
    registry.Remove<Velocity>(gone);
    registry.Remove<Velocity>(gone);
    EXPECT_FALSE(registry.Has<Velocity>(gone));
    EXPECT_EQ(registry.Revision(), before + 1);
    registry.Emplace(gone, Velocity{});
    registry.DestroyEntity(gone);
    EXPECT_EQ(registry.FindStorage<Position>()->Entities(), (std::vector<Entity>{keep}));
    EXPECT_TRUE(registry.FindStorage<Velocity>()->Empty());
    EXPECT_EQ(registry.FindStorage<Position>()->Revision(), 3u);
    EXPECT_EQ(registry.FindStorage<Velocity>()->Revision(), 4u);
}

TEST(Registry, AStaleHandleDoesNotSeeTheComponentOfItsReusedIndex) {
    Registry registry;
    registry.SetMinimumFreeIndices(0);
    const Entity old = registry.CreateEntity();
    registry.Emplace(old, Position{1.0f, 0.0f});
    registry.DestroyEntity(old);
    const Entity reused = registry.CreateEntity();
    ASSERT_EQ(EntityIndex(reused), EntityIndex(old));
    registry.Emplace(reused, Position{2.0f, 0.0f});
    EXPECT_FALSE(registry.Has<Position>(old));
    EXPECT_EQ(registry.TryGet<Position>(old), nullptr);
    EXPECT_EQ(registry.Get<Position>(reused).x, 2.0f);
    ExpectThrowsWithMessage<std::out_of_range>([&] { (void)registry.Get<Position>(old); },
                                               "Entity does not have the requested component.");
}

TEST(Registry, EmplaceNeedsNoLiveEntityAndDisplacesAnotherHandleOfItsIndex) {
    Registry registry;
    registry.SetMinimumFreeIndices(0);
    const Entity old = registry.CreateEntity();
    registry.DestroyEntity(old);
    registry.Emplace(old, Position{1.0f, 0.0f});
    ASSERT_TRUE(registry.Has<Position>(old));
    const Entity reused = registry.CreateEntity();
    registry.Emplace(reused, Position{2.0f, 0.0f});
    const auto* storage = registry.FindStorage<Position>();
    EXPECT_EQ(storage->Entities(), (std::vector<Entity>{reused}));
    EXPECT_FALSE(registry.Has<Position>(old));
    EXPECT_EQ(storage->Revision(), 3u);
}

// --- Storage ---------------------------------------------------------------------------

TEST(RegistryStorage, PagesAreMadeOnlyWhereUsedAndRemoveSwapsTheLastIntoTheGap) {
    Registry registry;
    Registry::Storage<Position> storage;
    const Entity low = MakeEntity(511, 1);
    const Entity high = MakeEntity(512, 0);
    const Entity top = MakeEntity(0xfffff, 0);
    for (const Entity entity : {low, high, top}) storage.Insert(registry, entity, Position{float(EntityIndex(entity))});
    EXPECT_EQ(storage.PageCount(), 3u);
    EXPECT_EQ(storage.Find(top)->x, float(0xfffff));
    EXPECT_FALSE(storage.Contains(MakeEntity(511, 2)));
    // Only 12 bits of generation exist in a handle.
    EXPECT_TRUE(storage.Contains(MakeEntity(511, 4097)));
    for (const std::uint32_t index : {510u, 513u, 1024u, 0xffffeu}) {
        EXPECT_FALSE(storage.Contains(MakeEntity(index, 0))) << index;
    }
    storage.Remove(registry, MakeEntity(512, 1));
    EXPECT_EQ(storage.Revision(), 3u);
    storage.Remove(registry, low);
    EXPECT_EQ(storage.Entities(), (std::vector<Entity>{top, high}));
    EXPECT_EQ(storage.Find(high)->x, 512.0f);
    EXPECT_EQ(storage.Find(low), nullptr);
    EXPECT_EQ(storage.Revision(), 4u);
    EXPECT_EQ(storage.PageCount(), 3u);
}

// --- Iteration -------------------------------------------------------------------------

TEST(RegistryEach, WalksTheFirstNamedTypeInDenseOrderAndSkipsEntitiesMissingTheRest) {
    Registry registry;
    const auto e = CreateMany(registry, 4);
    registry.Emplace(e[3], Position{3.0f, 0.0f});
    registry.Emplace(e[1], Position{1.0f, 0.0f});
    registry.Emplace(e[2], Position{2.0f, 0.0f});
    registry.Emplace(e[2], Velocity{20.0f});
    registry.Emplace(e[3], Velocity{30.0f});
    registry.Emplace(e[0], Velocity{0.0f});
    std::vector<Entity> byPosition;
    registry.Each<Position, Velocity>([&](Entity entity, Position& position, Velocity& velocity) {
        EXPECT_EQ(position.x * 10.0f, velocity.dx);
        byPosition.push_back(entity);
    });
    EXPECT_EQ(byPosition, (std::vector<Entity>{e[3], e[2]}));
    std::vector<Entity> byVelocity;
    registry.Each<Velocity, Position>([&](Entity entity, Velocity&, Position&) { byVelocity.push_back(entity); });
    EXPECT_EQ(byVelocity, (std::vector<Entity>{e[2], e[3]}));
    registry.Emplace(e[3], Tag{});
    const Registry& constRegistry = registry;
    float sum = 0.0f;
    constRegistry.Each<Position, Tag>([&](Entity, const Position& position, const Tag&) { sum += position.x; });
    EXPECT_EQ(sum, 3.0f);
}

TEST(RegistryEach, ARemovalSkipsTheElementSwappedInAndAnAppendIsVisited) {
    Registry registry;
    const auto e = CreateMany(registry, 5);
    for (std::size_t i = 0; i < 4; ++i) registry.Emplace(e[i], Position{});
    std::vector<Entity> visited;
    registry.Each<Position>([&](Entity entity, Position&) {
        visited.push_back(entity);
        if (entity == e[1]) registry.Remove<Position>(entity);
        if (entity == e[2]) registry.Emplace(e[4], Position{});
    });
    // e[3] moved into e[1]'s place and was passed over.
    EXPECT_EQ(visited, (std::vector<Entity>{e[0], e[1], e[2], e[4]}));
    EXPECT_EQ(registry.FindStorage<Position>()->Entities(), (std::vector<Entity>{e[0], e[3], e[2], e[4]}));
}

// --- Component type ids ----------------------------------------------------------------

template <int N>
struct ThreadedType {};

template <int... N>
std::vector<std::size_t> IdsFromThreads(std::integer_sequence<int, N...>) {
    std::vector<std::size_t> ids(sizeof...(N));
    std::vector<std::thread> threads;
    (threads.emplace_back([&ids] { ids[N] = ComponentTypeId<ThreadedType<N>>(); }), ...);
    for (auto& thread : threads) thread.join();
    return ids;
}

TEST(ComponentTypeIds, AreStableDistinctAndSafeToAssignFromSeveralThreads) {
    const std::size_t position = ComponentTypeId<Position>();
    EXPECT_EQ(ComponentTypeId<const Position>(), position);
    EXPECT_NE(ComponentTypeId<Velocity>(), position);
    const std::vector<std::size_t> ids = IdsFromThreads(std::make_integer_sequence<int, 8>{});
    EXPECT_EQ(std::set<std::size_t>(ids.begin(), ids.end()).size(), 8u);
    EXPECT_EQ(ComponentTypeId<ThreadedType<3>>(), ids[3]);
    Registry a;
    Registry b;
    a.Emplace(a.CreateEntity(), Velocity{});
    b.Emplace(b.CreateEntity(), Velocity{});
    EXPECT_EQ(a.FindStorage(ComponentTypeId<Velocity>()), a.FindStorage<Velocity>());
    EXPECT_EQ(b.FindStorage(ComponentTypeId<Velocity>()), b.FindStorage<Velocity>());
}

// --- GUID index ------------------------------------------------------------------------

TEST(RegistryGuidIndex, FollowsEmplaceReplaceRemoveAndDestroy) {
    Registry registry;
    const Entity entity = registry.CreateEntity();
    const Entity other = registry.CreateEntity();
    registry.Emplace(other, EntityGuidComponent{});
    EXPECT_EQ(registry.FindEntityByGuid(Guid{}), kNullEntity);
    registry.Emplace(entity, EntityGuidComponent{MakeGuid(1)});
    EXPECT_EQ(registry.FindEntityByGuid(MakeGuid(1)), entity);
    const std::uint64_t before = registry.Revision();
    registry.Emplace(entity, EntityGuidComponent{MakeGuid(2)});
    EXPECT_EQ(registry.FindEntityByGuid(MakeGuid(1)), kNullEntity);
    EXPECT_EQ(registry.FindEntityByGuid(MakeGuid(2)), entity);
    EXPECT_EQ(registry.Revision(), before);
    registry.Remove<EntityGuidComponent>(entity);
    EXPECT_EQ(registry.FindEntityByGuid(MakeGuid(2)), kNullEntity);
    registry.Emplace(other, EntityGuidComponent{MakeGuid(2)});
    registry.Emplace(entity, EntityGuidComponent{MakeGuid(2)});
    // A pair left behind by the removal would put `entity` ahead of `other`.
    EXPECT_EQ(registry.FindEntityByGuid(MakeGuid(2)), other);
    registry.DestroyEntity(other);
    registry.DestroyEntity(entity);
    EXPECT_EQ(registry.FindEntityByGuid(MakeGuid(2)), kNullEntity);
}

TEST(RegistryGuidIndex, OfTwoEntitiesWithOneGuidTheFirstIndexedWinsUntilItIsDestroyed) {
    Registry registry;
    const auto e = CreateMany(registry, 3);
    registry.Emplace(e[1], EntityGuidComponent{MakeGuid(7)});
    registry.Emplace(e[0], EntityGuidComponent{MakeGuid(7)});
    registry.Emplace(e[2], EntityGuidComponent{MakeGuid(7)});
    EXPECT_EQ(registry.FindEntityByGuid(MakeGuid(7)), e[1]);
    registry.DestroyEntity(e[1]);
    EXPECT_EQ(registry.FindEntityByGuid(MakeGuid(7)), e[0]);
    registry.UnindexGuid(e[0], MakeGuid(4));
    EXPECT_EQ(registry.FindEntityByGuid(MakeGuid(7)), e[0]);
    registry.UnindexGuid(e[0], MakeGuid(7));
    EXPECT_EQ(registry.FindEntityByGuid(MakeGuid(7)), e[2]);
}

TEST(RegistryGuidIndex, SkipsPairsWhoseEntityHoldsAnotherGuidOrNoneOrIsDead) {
    Registry registry;
    const Entity holdsOther = registry.CreateEntity();
    const Entity holdsNone = registry.CreateEntity();
    const Entity reserved = registry.ReserveEntity();
    const Entity right = registry.CreateEntity();
    registry.Emplace(holdsOther, EntityGuidComponent{MakeGuid(2)});
    registry.IndexGuid(kNullEntity, MakeGuid(1));
    registry.IndexGuid(holdsOther, MakeGuid(1));
    registry.IndexGuid(holdsNone, MakeGuid(1));
    registry.Emplace(reserved, EntityGuidComponent{MakeGuid(1)});
    registry.Emplace(right, EntityGuidComponent{MakeGuid(1)});
    EXPECT_EQ(registry.FindEntityByGuid(MakeGuid(1)), right);
}

// --- Restore ---------------------------------------------------------------------------

TEST(RegistryRestore, BringsADestroyedEntityBackAtItsPlaceOrAtTheEnd) {
    Registry registry;
    const auto e = CreateMany(registry, 3);
    registry.DestroyEntity(e[1]);
    const std::uint64_t before = registry.Revision();
    ASSERT_TRUE(registry.RestoreEntity(e[1], 1));
    EXPECT_EQ(registry.Entities(), e);
    EXPECT_EQ(registry.Revision(), before + 1);
    registry.DestroyEntity(e[0]);
    ASSERT_TRUE(registry.RestoreEntity(e[0], 1000));
    EXPECT_EQ(registry.Entities(), (std::vector<Entity>{e[1], e[2], e[0]}));
    EXPECT_EQ(registry.FreeIndexCount(), 0u);
}

TEST(RegistryRestore, TheNextDestroySkipsEveryGenerationTheSlotHasUsed) {
    Registry registry;
    registry.SetMinimumFreeIndices(0);
    const Entity first = registry.CreateEntity();
    registry.DestroyEntity(first);
    const Entity second = registry.CreateEntity();
    registry.DestroyEntity(second);
    ASSERT_TRUE(registry.RestoreEntity(first, 0));
    EXPECT_EQ(registry.Slots()[1].generation, 0u);
    registry.DestroyEntity(first);
    EXPECT_EQ(registry.Slots()[1].generation, 2u);
    EXPECT_EQ(registry.CreateEntity(), MakeEntity(1, 2));
    EXPECT_FALSE(registry.IsAlive(first));
    EXPECT_FALSE(registry.IsAlive(second));

    Registry current;
    current.DestroyEntity(current.CreateEntity());
    ASSERT_TRUE(current.RestoreEntity(MakeEntity(1, 1), 0));
    EXPECT_EQ(current.Slots()[1].generationFloor, 2u);
    current.DestroyEntity(MakeEntity(1, 1));
    EXPECT_EQ(current.Slots()[1].generation, 2u);
}

TEST(RegistryRestore, RefusesLiveReservedNullOutOfRangeAndFutureHandles) {
    Registry registry;
    const Entity alive = registry.CreateEntity();
    const Entity dead = registry.CreateEntity();
    const Entity reserved = registry.ReserveEntity();
    registry.DestroyEntity(dead);
    const std::uint64_t before = registry.Revision();
    EXPECT_FALSE(registry.RestoreEntity(alive, 0));
    EXPECT_FALSE(registry.RestoreEntity(reserved, 0));
    EXPECT_FALSE(registry.RestoreEntity(kNullEntity, 0));
    EXPECT_FALSE(registry.RestoreEntity(MakeEntity(0, 1), 0));
    EXPECT_FALSE(registry.RestoreEntity(MakeEntity(4, 0), 0));
    // The slot's counter is 1; a handle of generation 3 would need it to step back past 0.
    EXPECT_FALSE(registry.RestoreEntity(MakeEntity(EntityIndex(dead), 3), 0));
    EXPECT_EQ(registry.Revision(), before);
    EXPECT_EQ(registry.Entities(), (std::vector<Entity>{alive}));
    EXPECT_EQ(registry.FreeIndexCount(), 1u);
    EXPECT_EQ(registry.Slots()[EntityIndex(dead)].generation, 1u);
    EXPECT_EQ(registry.Slots()[EntityIndex(dead)].generationFloor, 0u);
}

// --- Clear -----------------------------------------------------------------------------

TEST(RegistryClear, DestroysEverythingLastToFirstAndKeepsGenerationsRising) {
    Registry registry;
    registry.SetMinimumFreeIndices(0);
    const auto e = CreateMany(registry, 3);
    registry.Emplace(e[0], Position{});
    registry.Emplace(e[1], EntityGuidComponent{MakeGuid(1)});
    registry.SetPreservedRecords(e[2], std::make_shared<PreservedRecordSet>());
    registry.Emplace(MakeEntity(40, 3), Velocity{});
    const std::uint64_t before = registry.Revision();
    registry.Clear();
    EXPECT_GT(registry.Revision(), before);
    EXPECT_TRUE(registry.Entities().empty());
    for (const Entity entity : e) EXPECT_FALSE(registry.IsAlive(entity));
    EXPECT_TRUE(registry.FindStorage<Position>()->Empty());
    EXPECT_TRUE(registry.FindStorage<Velocity>()->Empty());
    EXPECT_EQ(registry.FindEntityByGuid(MakeGuid(1)), kNullEntity);
    EXPECT_TRUE(registry.EntitiesWithPreservedRecords().empty());
    EXPECT_EQ(registry.Slots().size(), 4u);
    EXPECT_EQ(registry.FreeIndexCount(), 3u);
    // The free queue shows the order of destruction.
    EXPECT_EQ(registry.CreateEntity(), MakeEntity(3, 1));
    EXPECT_EQ(registry.CreateEntity(), MakeEntity(2, 1));
    EXPECT_EQ(registry.CreateEntity(), MakeEntity(1, 1));
}

TEST(RegistryClear, DropsDeferredCommandsAndFreesReservedSlotsInIndexOrder) {
    Registry registry;
    registry.SetMinimumFreeIndices(0);
    bool ran = false;
    registry.Defer().Invoke([&](Registry&) { ran = true; });
    const Entity reserved = registry.ReserveEntity();
    registry.Emplace(reserved, Position{});
    const Entity deferred = registry.Defer().CreateEntity();
    registry.Clear();
    EXPECT_FALSE(registry.IsAlive(reserved));
    EXPECT_FALSE(registry.IsAlive(deferred));
    EXPECT_TRUE(registry.FindStorage<Position>()->Empty());
    EXPECT_FALSE(registry.HasDeferred());
    registry.FlushDeferred();
    EXPECT_FALSE(ran);
    EXPECT_EQ(registry.CreateEntity(), MakeEntity(1, 1));
    EXPECT_EQ(registry.CreateEntity(), MakeEntity(2, 1));
}

// --- Replacing a registry --------------------------------------------------------------

TEST(RegistryAdvanceGenerations, RaisesTheFloorOfSlotsInUseAndAddsTheMissingSlotsFree) {
    Registry old;
    old.SetMinimumFreeIndices(0);
    const Entity a = old.CreateEntity();
    old.DestroyEntity(old.CreateEntity());
    Registry fresh;
    fresh.SetMinimumFreeIndices(0);
    ASSERT_EQ(fresh.CreateEntity(), a);
    fresh.AdvanceGenerationsPast(old);
    EXPECT_EQ(fresh.Slots()[1].generationFloor, 1u);
    ASSERT_EQ(fresh.Slots().size(), 3u);
    EXPECT_EQ(fresh.Slots()[2].generation, 1u);
    EXPECT_EQ(fresh.Slots()[2].state, EntityState::Free);
    EXPECT_EQ(fresh.FreeIndexCount(), 1u);
    EXPECT_EQ(fresh.CreateEntity(), MakeEntity(2, 1));
    const std::uint64_t revision = fresh.Revision();
    fresh.AdvanceGenerationsPast(fresh);
    EXPECT_EQ(fresh.Revision(), revision);
}

TEST(RegistryAdvanceGenerations, AFreeSlotSkipsTheGenerationsTheOldRegistryUsed) {
    Registry old;
    old.SetMinimumFreeIndices(0);
    old.DestroyEntity(old.CreateEntity());
    old.DestroyEntity(old.CreateEntity());
    const Entity oldLive = old.CreateEntity();
    ASSERT_EQ(oldLive, MakeEntity(1, 2));
    Registry fresh;
    fresh.SetMinimumFreeIndices(0);
    fresh.DestroyEntity(fresh.CreateEntity());
    fresh.AdvanceGenerationsPast(old);
    EXPECT_EQ(fresh.CreateEntity(), MakeEntity(1, 3));
    EXPECT_FALSE(fresh.IsAlive(oldLive));

    Registry restored;
    restored.SetMinimumFreeIndices(0);
    const Entity entity = restored.CreateEntity();
    restored.DestroyEntity(entity);
    restored.DestroyEntity(restored.CreateEntity());
    ASSERT_TRUE(restored.RestoreEntity(entity, 0));
    ASSERT_EQ(restored.Slots()[1].generationFloor, 2u);
    Registry next;
    next.AdvanceGenerationsPast(restored);
    EXPECT_EQ(next.Slots()[1].generation, 2u);
}

TEST(RegistryAdvanceGenerations, RaisesBothRevisionsPastTheOldOnes) {
    Registry old;
    const Entity o = old.CreateEntity();
    old.Emplace(o, Position{});
    old.Emplace(o, Velocity{});
    old.Remove<Velocity>(o);
    old.Emplace(o, Velocity{});
    Registry fresh;
    const Entity f = fresh.CreateEntity();
    fresh.Emplace(f, Velocity{});
    fresh.Emplace(f, Tag{});
    fresh.AdvanceGenerationsPast(old);
    EXPECT_EQ(fresh.Revision(), old.Revision() + 1);
    EXPECT_EQ(fresh.FindStorage<Velocity>()->Revision(), 4u);
    EXPECT_EQ(fresh.FindStorage<Tag>()->Revision(), 2u);
    EXPECT_EQ(fresh.FindStorage<Position>(), nullptr);
}

// --- Copy and move ---------------------------------------------------------------------

TEST(RegistryCopy, IsDeepKeepsCountersAndSharesPreservedRecords) {
    Registry source;
    source.SetMinimumFreeIndices(0);
    const Entity entity = source.CreateEntity();
    source.Emplace(entity, Position{1.0f, 0.0f});
    source.Emplace(entity, EntityGuidComponent{MakeGuid(5)});
    const auto records = std::make_shared<PreservedRecordSet>();
    source.SetPreservedRecords(entity, records);
    source.DestroyEntity(source.CreateEntity());
    Registry copy(source);
    EXPECT_EQ(copy.Revision(), source.Revision());
    EXPECT_EQ(copy.FindStorage<Position>()->Revision(), 1u);
    EXPECT_EQ(copy.FreeIndexCount(), 1u);
    EXPECT_EQ(copy.MinimumFreeIndices(), 0u);
    EXPECT_EQ(copy.GetPreservedRecords(entity), records);
    copy.Get<Position>(entity).x = 9.0f;
    copy.DestroyEntity(entity);
    EXPECT_TRUE(source.IsAlive(entity));
    EXPECT_EQ(source.Get<Position>(entity).x, 1.0f);
    EXPECT_EQ(source.FindEntityByGuid(MakeGuid(5)), entity);
    EXPECT_EQ(copy.FindEntityByGuid(MakeGuid(5)), kNullEntity);
}

TEST(RegistryCopy, AssignmentAndMoveReplaceEverything) {
    Registry source;
    const Entity entity = source.CreateEntity();
    source.Emplace(entity, EntityGuidComponent{MakeGuid(6)});
    Registry target;
    target.Emplace(target.CreateEntity(), Velocity{});
    target = source;
    EXPECT_EQ(target.FindStorage<Velocity>(), nullptr);
    EXPECT_EQ(target.Entities(), (std::vector<Entity>{entity}));
    Registry moved(std::move(source));
    EXPECT_TRUE(moved.IsAlive(entity));
    Registry assigned;
    assigned = std::move(moved);
    EXPECT_EQ(assigned.FindEntityByGuid(MakeGuid(6)), entity);
}

// --- Preserved records -----------------------------------------------------------------

TEST(RegistryPreservedRecords, BelongToALiveEntityUntilReplacedErasedOrDestroyed) {
    Registry registry;
    const Entity keep = registry.CreateEntity();
    const Entity gone = registry.CreateEntity();
    auto first = std::make_shared<PreservedRecordSet>();
    Reflection::SchemaRecord record;
    record.name = "Vendor.Thing";
    first->records.push_back(record);
    const auto second = std::make_shared<PreservedRecordSet>();
    registry.SetPreservedRecords(keep, first);
    EXPECT_EQ(registry.GetPreservedRecords(keep)->records.at(0).name, "Vendor.Thing");
    registry.SetPreservedRecords(keep, second);
    EXPECT_EQ(registry.GetPreservedRecords(keep), second);
    EXPECT_EQ(first.use_count(), 1);
    registry.SetPreservedRecords(gone, first);
    EXPECT_EQ(registry.EntitiesWithPreservedRecords(), (std::vector<Entity>{keep, gone}));
    registry.DestroyEntity(gone);
    EXPECT_EQ(registry.GetPreservedRecords(gone), nullptr);
    registry.SetPreservedRecords(gone, first);
    EXPECT_EQ(registry.GetPreservedRecords(gone), nullptr);
    EXPECT_EQ(registry.GetPreservedRecords(kNullEntity), nullptr);
    EXPECT_EQ(registry.EntitiesWithPreservedRecords(), (std::vector<Entity>{keep}));
    registry.SetPreservedRecords(keep, nullptr);
    EXPECT_TRUE(registry.EntitiesWithPreservedRecords().empty());
}

} // namespace
} // namespace Brelk::Scene
