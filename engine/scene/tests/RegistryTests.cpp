#include "engine/scene/Registry.h"

#include "engine/scene/PreservedRecordSet.h"
#include "engine/scene/components/CoreComponents.h"

#include <gtest/gtest.h>

#include <functional>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace Brelk::Scene {
namespace {

using Core::Guid;

struct Position {
    float x = 0.0f;
    float y = 0.0f;
};

struct Velocity {
    float dx = 0.0f;
};

struct Tag {};

struct NeverStored {
    int value = 0;
};

Guid MakeGuid(std::uint64_t low) {
    return Guid{0x1234, low};
}

std::vector<Entity> CreateMany(Registry& registry, std::size_t count) {
    std::vector<Entity> created;
    created.reserve(count);
    for (std::size_t i = 0; i < count; ++i) {
        created.push_back(registry.CreateEntity());
    }
    return created;
}

template <class T>
void ExpectThrowsWithMessage(const std::function<void()>& action, const std::string& message) {
    try {
        action();
        FAIL() << "expected an exception";
    } catch (const T& error) {
        EXPECT_EQ(std::string(error.what()), message);
    }
}

// --- Handles ---------------------------------------------------------------------------

TEST(EntityHandle, PacksIndexAndLowTwelveGenerationBits) {
    EXPECT_EQ(MakeEntity(1, 0), 1u);
    EXPECT_EQ(MakeEntity(0xfffff, 0xfff), 0xffffffffu);
    EXPECT_EQ(MakeEntity(0x1fffff, 0), 0xfffffu);
    EXPECT_EQ(MakeEntity(3, 1), 0x100003u);
    EXPECT_EQ(MakeEntity(7, 4096 + 3), MakeEntity(7, 3));
    EXPECT_EQ(EntityIndex(MakeEntity(77, 9)), 77u);
    EXPECT_EQ(EntityGeneration(MakeEntity(77, 9)), 9u);
}

TEST(EntityHandle, EveryHandleWithIndexZeroIsNull) {
    EXPECT_TRUE(IsNullEntity(kNullEntity));
    EXPECT_TRUE(IsNullEntity(MakeEntity(0, 5)));
    EXPECT_FALSE(IsNullEntity(MakeEntity(1, 0)));
}

// --- Creation and destruction ----------------------------------------------------------

TEST(Registry, FirstCreatedEntityIsIndexOneGenerationZero) {
    Registry registry;
    EXPECT_EQ(registry.CreateEntity(), 1u);
    ASSERT_EQ(registry.Slots().size(), 2u);
    EXPECT_EQ(registry.Slots()[0].state, EntityState::Free);
}

TEST(Registry, StartsAtRevisionOneWithNoSlots) {
    Registry registry;
    EXPECT_EQ(registry.Revision(), 1u);
    EXPECT_TRUE(registry.Slots().empty());
    EXPECT_TRUE(registry.Entities().empty());
    EXPECT_EQ(registry.MinimumFreeIndices(), 1024u);
}

TEST(Registry, CreateAppendsInCreationOrderAndRaisesRevision) {
    Registry registry;
    const Entity a = registry.CreateEntity();
    const Entity b = registry.CreateEntity();
    const Entity c = registry.CreateEntity();
    EXPECT_EQ(registry.Entities(), (std::vector<Entity>{a, b, c}));
    EXPECT_EQ(registry.Revision(), 4u);
    EXPECT_TRUE(registry.IsAlive(a) && registry.IsAlive(b) && registry.IsAlive(c));
}

TEST(Registry, NullAndOutOfRangeHandlesAreNotAlive) {
    Registry registry;
    EXPECT_FALSE(registry.IsAlive(kNullEntity));
    EXPECT_FALSE(registry.IsAlive(MakeEntity(1, 0)));
    registry.CreateEntity();
    EXPECT_FALSE(registry.IsAlive(MakeEntity(0, 0)));
    EXPECT_FALSE(registry.IsAlive(MakeEntity(2, 0)));
}

TEST(Registry, DestroyedHandleIsDeadAndLeavesTheOthersInOrder) {
    Registry registry;
    const auto all = CreateMany(registry, 4);
    const std::uint64_t before = registry.Revision();
    registry.DestroyEntity(all[1]);
    EXPECT_FALSE(registry.IsAlive(all[1]));
    EXPECT_EQ(registry.Entities(), (std::vector<Entity>{all[0], all[2], all[3]}));
    EXPECT_EQ(registry.Revision(), before + 1);
    EXPECT_EQ(registry.Slots()[EntityIndex(all[1])].generation, 1u);
    EXPECT_EQ(registry.FreeIndexCount(), 1u);
}

TEST(Registry, DestroyingADeadHandleChangesNothing) {
    Registry registry;
    const Entity entity = registry.CreateEntity();
    registry.DestroyEntity(entity);
    const std::uint64_t before = registry.Revision();
    registry.DestroyEntity(entity);
    registry.DestroyEntity(kNullEntity);
    registry.DestroyEntity(MakeEntity(500, 0));
    EXPECT_EQ(registry.Revision(), before);
    EXPECT_EQ(registry.FreeIndexCount(), 1u);
    EXPECT_EQ(registry.Slots()[1].generation, 1u);
}

TEST(Registry, DoesNotReuseAnIndexWhileAtMostTheMinimumAreQueued) {
    Registry registry;
    const auto all = CreateMany(registry, 1024);
    for (const Entity entity : all) {
        registry.DestroyEntity(entity);
    }
    ASSERT_EQ(registry.FreeIndexCount(), 1024u);
    EXPECT_EQ(registry.CreateEntity(), MakeEntity(1025, 0));
    EXPECT_EQ(registry.FreeIndexCount(), 1024u);
}

TEST(Registry, ReusesTheOldestIndexOnceMoreThanTheMinimumAreQueued) {
    Registry registry;
    const auto all = CreateMany(registry, 1025);
    for (const Entity entity : all) {
        registry.DestroyEntity(entity);
    }
    ASSERT_EQ(registry.FreeIndexCount(), 1025u);
    EXPECT_EQ(registry.CreateEntity(), MakeEntity(1, 1));
    EXPECT_EQ(registry.FreeIndexCount(), 1024u);
    EXPECT_EQ(registry.CreateEntity(), MakeEntity(1026, 0));
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

TEST(Registry, ThrowsWhenTheIndexSpaceIsExhausted) {
    Registry registry;
    for (std::uint32_t i = 0; i < kMaxEntityIndex; ++i) {
        (void)registry.ReserveEntity();
    }
    ASSERT_EQ(registry.Slots().size(), 1048576u);
    const std::uint64_t before = registry.Revision();
    ExpectThrowsWithMessage<std::length_error>([&] { registry.CreateEntity(); }, "Entity index space exhausted.");
    ExpectThrowsWithMessage<std::length_error>([&] { registry.ReserveEntity(); }, "Entity index space exhausted.");
    EXPECT_EQ(registry.Slots().size(), 1048576u);
    EXPECT_EQ(registry.Revision(), before);
    EXPECT_TRUE(registry.Entities().empty());
}

TEST(Registry, AFullTableReusesAQueuedIndexWhateverTheMinimum) {
    Registry registry;
    for (std::uint32_t i = 0; i < kMaxEntityIndex; ++i) {
        (void)registry.ReserveEntity();
    }
    registry.ReleaseIndex(77);
    ASSERT_EQ(registry.FreeIndexCount(), 1u);
    EXPECT_EQ(registry.CreateEntity(), MakeEntity(77, 1));
    EXPECT_EQ(registry.Slots().size(), 1048576u);
}

// --- Reserve, commit, release ----------------------------------------------------------

TEST(Registry, ReservedEntityIsNotAliveNorListed) {
    Registry registry;
    const Entity reserved = registry.ReserveEntity();
    EXPECT_EQ(reserved, 1u);
    EXPECT_FALSE(registry.IsAlive(reserved));
    EXPECT_TRUE(registry.Entities().empty());
    EXPECT_EQ(registry.Slots()[1].state, EntityState::Reserved);
    EXPECT_EQ(registry.Revision(), 1u);
}

TEST(Registry, CommitMakesAReservedEntityAliveAtTheEnd) {
    Registry registry;
    const Entity reserved = registry.ReserveEntity();
    const Entity created = registry.CreateEntity();
    registry.CommitEntity(reserved);
    EXPECT_TRUE(registry.IsAlive(reserved));
    EXPECT_EQ(registry.Entities(), (std::vector<Entity>{created, reserved}));
    EXPECT_EQ(registry.Revision(), 3u);
}

TEST(Registry, CommitIgnoresHandlesThatAreNotReservedUnderThatGeneration) {
    Registry registry;
    const Entity reserved = registry.ReserveEntity();
    const Entity alive = registry.CreateEntity();
    registry.CommitEntity(MakeEntity(EntityIndex(reserved), 1));
    registry.CommitEntity(alive);
    registry.CommitEntity(kNullEntity);
    registry.CommitEntity(MakeEntity(99, 0));
    EXPECT_EQ(registry.Entities(), (std::vector<Entity>{alive}));
    EXPECT_EQ(registry.Slots()[1].state, EntityState::Reserved);
    EXPECT_EQ(registry.Revision(), 2u);
}

TEST(Registry, ReleaseIndexFreesAReservedSlotWithTheNextGeneration) {
    Registry registry;
    const Entity reserved = registry.ReserveEntity();
    registry.ReleaseIndex(EntityIndex(reserved));
    EXPECT_EQ(registry.Slots()[1].state, EntityState::Free);
    EXPECT_EQ(registry.Slots()[1].generation, 1u);
    EXPECT_EQ(registry.FreeIndexCount(), 1u);
    registry.CommitEntity(reserved);
    EXPECT_FALSE(registry.IsAlive(reserved));
}

TEST(Registry, ReleaseIndexLeavesLiveAndFreeSlotsAlone) {
    Registry registry;
    const Entity alive = registry.CreateEntity();
    registry.ReleaseIndex(EntityIndex(alive));
    registry.ReleaseIndex(0);
    registry.ReleaseIndex(12345);
    EXPECT_TRUE(registry.IsAlive(alive));
    EXPECT_EQ(registry.FreeIndexCount(), 0u);
    registry.DestroyEntity(alive);
    registry.ReleaseIndex(EntityIndex(alive));
    EXPECT_EQ(registry.FreeIndexCount(), 1u);
    EXPECT_EQ(registry.Slots()[1].generation, 1u);
}

// --- Components ------------------------------------------------------------------------

TEST(Registry, EmplaceStoresAndGetReturnsTheComponent) {
    Registry registry;
    const Entity entity = registry.CreateEntity();
    Position& stored = registry.Emplace(entity, Position{1.0f, 2.0f});
    EXPECT_EQ(stored.x, 1.0f);
    EXPECT_TRUE(registry.Has<Position>(entity));
    EXPECT_EQ(&registry.Get<Position>(entity), &stored);
    EXPECT_EQ(registry.TryGet<Position>(entity), &stored);
    const Registry& constRegistry = registry;
    EXPECT_EQ(constRegistry.Get<Position>(entity).y, 2.0f);
    EXPECT_EQ(constRegistry.TryGet<Position>(entity), &stored);
}

TEST(Registry, EmplaceWithoutAValueStoresTheDefault) {
    Registry registry;
    const Entity entity = registry.CreateEntity();
    registry.Emplace<Velocity>(entity);
    EXPECT_EQ(registry.Get<Velocity>(entity).dx, 0.0f);
}

TEST(Registry, NewComponentRaisesBothRevisions) {
    Registry registry;
    const Entity entity = registry.CreateEntity();
    const std::uint64_t before = registry.Revision();
    registry.Emplace(entity, Position{});
    EXPECT_EQ(registry.Revision(), before + 1);
    EXPECT_EQ(registry.FindStorage<Position>()->Revision(), 1u);
}

TEST(Registry, EmplaceOverAnExistingComponentAssignsInPlaceAndRaisesNothing) {
    Registry registry;
    const Entity entity = registry.CreateEntity();
    Position& first = registry.Emplace(entity, Position{1.0f, 1.0f});
    const std::uint64_t before = registry.Revision();
    Position& second = registry.Emplace(entity, Position{5.0f, 6.0f});
    EXPECT_EQ(&first, &second);
    EXPECT_EQ(second.x, 5.0f);
    EXPECT_EQ(registry.Revision(), before);
    EXPECT_EQ(registry.FindStorage<Position>()->Revision(), 1u);
    EXPECT_EQ(registry.FindStorage<Position>()->Size(), 1u);
}

TEST(Registry, GetWithoutAStorageThrowsRuntimeError) {
    Registry registry;
    const Entity entity = registry.CreateEntity();
    ExpectThrowsWithMessage<std::runtime_error>([&] { (void)registry.Get<NeverStored>(entity); },
                                                "Component storage does not exist.");
    const Registry& constRegistry = registry;
    ExpectThrowsWithMessage<std::runtime_error>([&] { (void)constRegistry.Get<NeverStored>(entity); },
                                                "Component storage does not exist.");
}

TEST(Registry, GetOfAMissingComponentThrowsOutOfRange) {
    Registry registry;
    const Entity with = registry.CreateEntity();
    const Entity without = registry.CreateEntity();
    registry.Emplace(with, Position{});
    ExpectThrowsWithMessage<std::out_of_range>([&] { (void)registry.Get<Position>(without); },
                                               "Entity does not have the requested component.");
    const Registry& constRegistry = registry;
    ExpectThrowsWithMessage<std::out_of_range>([&] { (void)constRegistry.Get<Position>(without); },
                                               "Entity does not have the requested component.");
}

TEST(Registry, LookupsNeverCreateAStorage) {
    Registry registry;
    const Entity entity = registry.CreateEntity();
    EXPECT_FALSE(registry.Has<NeverStored>(entity));
    EXPECT_EQ(registry.TryGet<NeverStored>(entity), nullptr);
    registry.Remove<NeverStored>(entity);
    registry.Each<NeverStored>([](Entity, NeverStored&) {});
    EXPECT_EQ(registry.FindStorage<NeverStored>(), nullptr);
    EXPECT_EQ(registry.FindStorage(ComponentTypeId<NeverStored>()), nullptr);
}

TEST(Registry, RemoveDropsThePresentComponentAndRaisesRevision) {
    Registry registry;
    const Entity entity = registry.CreateEntity();
    registry.Emplace(entity, Position{});
    const std::uint64_t before = registry.Revision();
    registry.Remove<Position>(entity);
    EXPECT_FALSE(registry.Has<Position>(entity));
    EXPECT_EQ(registry.Revision(), before + 1);
    registry.Remove<Position>(entity);
    EXPECT_EQ(registry.Revision(), before + 1);
    EXPECT_EQ(registry.FindStorage<Position>()->Revision(), 2u);
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

TEST(Registry, InsertingForAHandleDisplacesTheComponentOfAnotherHandleOfItsIndex) {
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

TEST(Registry, EmplaceDoesNotRequireALiveEntity) {
    Registry registry;
    const Entity reserved = registry.ReserveEntity();
    registry.Emplace(reserved, Position{3.0f, 0.0f});
    EXPECT_TRUE(registry.Has<Position>(reserved));
}

TEST(Registry, DestroyRemovesEveryComponentOfTheEntity) {
    Registry registry;
    const Entity keep = registry.CreateEntity();
    const Entity gone = registry.CreateEntity();
    registry.Emplace(keep, Position{});
    registry.Emplace(gone, Position{});
    registry.Emplace(gone, Velocity{});
    registry.DestroyEntity(gone);
    EXPECT_EQ(registry.FindStorage<Position>()->Entities(), (std::vector<Entity>{keep}));
    EXPECT_TRUE(registry.FindStorage<Velocity>()->Empty());
    EXPECT_EQ(registry.FindStorage<Position>()->Revision(), 3u);
    EXPECT_EQ(registry.FindStorage<Velocity>()->Revision(), 2u);
}

// --- Storage ---------------------------------------------------------------------------

TEST(RegistryStorage, RemovingTheLastDenseElementMovesNothing) {
    Registry registry;
    Registry::Storage<Position> storage;
    storage.Insert(registry, 1, Position{1.0f, 0.0f});
    storage.Insert(registry, 2, Position{2.0f, 0.0f});
    storage.Insert(registry, 3, Position{3.0f, 0.0f});
    storage.Remove(registry, 3);
    EXPECT_EQ(storage.Entities(), (std::vector<Entity>{1, 2}));
    EXPECT_EQ(storage.Components()[0].x, 1.0f);
    EXPECT_EQ(storage.Components()[1].x, 2.0f);
}

TEST(RegistryStorage, RemovingAnInnerElementMovesTheLastIntoItsPlace) {
    Registry registry;
    Registry::Storage<Position> storage;
    storage.Insert(registry, 1, Position{1.0f, 0.0f});
    storage.Insert(registry, 2, Position{2.0f, 0.0f});
    storage.Insert(registry, 3, Position{3.0f, 0.0f});
    storage.Remove(registry, 1);
    EXPECT_EQ(storage.Entities(), (std::vector<Entity>{3, 2}));
    EXPECT_EQ(storage.Components()[0].x, 3.0f);
    EXPECT_EQ(storage.Find(3)->x, 3.0f);
    EXPECT_EQ(storage.Find(2)->x, 2.0f);
    EXPECT_EQ(storage.Find(1), nullptr);
    EXPECT_EQ(storage.Revision(), 4u);
}

TEST(RegistryStorage, RemovingAHandleThatIsNotStoredChangesNothing) {
    Registry registry;
    Registry::Storage<Position> storage;
    storage.Insert(registry, MakeEntity(4, 2), Position{});
    storage.Remove(registry, MakeEntity(4, 3));
    storage.Remove(registry, MakeEntity(900, 0));
    EXPECT_EQ(storage.Size(), 1u);
    EXPECT_EQ(storage.Revision(), 1u);
}

TEST(RegistryStorage, ContainsComparesTheFullHandle) {
    Registry registry;
    Registry::Storage<Tag> storage;
    storage.Insert(registry, MakeEntity(5, 1), Tag{});
    EXPECT_TRUE(storage.Contains(MakeEntity(5, 1)));
    EXPECT_FALSE(storage.Contains(MakeEntity(5, 2)));
    EXPECT_FALSE(storage.Contains(MakeEntity(6, 1)));
    // Only 12 bits of generation exist in a handle.
    EXPECT_TRUE(storage.Contains(MakeEntity(5, 4097)));
}

TEST(RegistryStorage, PagesAreCreatedOnlyWhereIndicesAreStored) {
    Registry registry;
    Registry::Storage<Position> storage;
    EXPECT_EQ(storage.PageCount(), 0u);
    storage.Insert(registry, MakeEntity(511, 0), Position{511.0f, 0.0f});
    EXPECT_EQ(storage.PageCount(), 1u);
    storage.Insert(registry, MakeEntity(512, 0), Position{512.0f, 0.0f});
    EXPECT_EQ(storage.PageCount(), 2u);
    storage.Insert(registry, MakeEntity(0xfffff, 0), Position{1.0f, 0.0f});
    EXPECT_EQ(storage.PageCount(), 3u);
    EXPECT_EQ(storage.Find(MakeEntity(511, 0))->x, 511.0f);
    EXPECT_EQ(storage.Find(MakeEntity(512, 0))->x, 512.0f);
    EXPECT_EQ(storage.Find(MakeEntity(0xfffff, 0))->x, 1.0f);
    EXPECT_FALSE(storage.Contains(MakeEntity(510, 0)));
    EXPECT_FALSE(storage.Contains(MakeEntity(513, 0)));
    EXPECT_FALSE(storage.Contains(MakeEntity(1024, 0)));
    EXPECT_FALSE(storage.Contains(MakeEntity(0xffffe, 0)));
}

TEST(RegistryStorage, PagesStayAfterTheirLastComponentIsRemoved) {
    Registry registry;
    Registry::Storage<Position> storage;
    storage.Insert(registry, MakeEntity(2000, 0), Position{});
    storage.Remove(registry, MakeEntity(2000, 0));
    EXPECT_EQ(storage.PageCount(), 1u);
    EXPECT_FALSE(storage.Contains(MakeEntity(2000, 0)));
}

TEST(RegistryStorage, CloneCopiesValuesAndRevision) {
    Registry registry;
    Registry::Storage<Position> storage;
    storage.Insert(registry, 1, Position{1.0f, 0.0f});
    storage.Insert(registry, 2, Position{2.0f, 0.0f});
    const auto clone = storage.Clone();
    storage.Remove(registry, 1);
    EXPECT_EQ(clone->Revision(), 2u);
    EXPECT_EQ(clone->Entities(), (std::vector<Entity>{1, 2}));
    EXPECT_TRUE(clone->Contains(1));
}

// --- Iteration -------------------------------------------------------------------------

TEST(RegistryEach, VisitsEntitiesWithAllTypesInTheFirstTypesDenseOrder) {
    Registry registry;
    const auto e = CreateMany(registry, 4);
    registry.Emplace(e[3], Position{3.0f, 0.0f});
    registry.Emplace(e[1], Position{1.0f, 0.0f});
    registry.Emplace(e[2], Position{2.0f, 0.0f});
    registry.Emplace(e[2], Velocity{20.0f});
    registry.Emplace(e[3], Velocity{30.0f});
    registry.Emplace(e[0], Velocity{0.0f});
    std::vector<Entity> visited;
    registry.Each<Position, Velocity>([&](Entity entity, Position& position, Velocity& velocity) {
        EXPECT_EQ(position.x * 10.0f, velocity.dx);
        visited.push_back(entity);
    });
    EXPECT_EQ(visited, (std::vector<Entity>{e[3], e[2]}));
}

TEST(RegistryEach, TheFirstNamedTypeDrivesTheWalkWhateverTheSizes) {
    Registry registry;
    const auto e = CreateMany(registry, 3);
    for (const Entity entity : e) {
        registry.Emplace(entity, Velocity{});
    }
    registry.Emplace(e[2], Position{});
    registry.Emplace(e[0], Position{});
    std::vector<Entity> byVelocity;
    registry.Each<Velocity, Position>([&](Entity entity, Velocity&, Position&) { byVelocity.push_back(entity); });
    std::vector<Entity> byPosition;
    registry.Each<Position, Velocity>([&](Entity entity, Position&, Velocity&) { byPosition.push_back(entity); });
    EXPECT_EQ(byVelocity, (std::vector<Entity>{e[0], e[2]}));
    EXPECT_EQ(byPosition, (std::vector<Entity>{e[2], e[0]}));
}

TEST(RegistryEach, DoesNothingWhenAnyStorageIsMissing) {
    Registry registry;
    const Entity entity = registry.CreateEntity();
    registry.Emplace(entity, Position{});
    int calls = 0;
    registry.Each<Position, NeverStored>([&](Entity, Position&, NeverStored&) { ++calls; });
    EXPECT_EQ(calls, 0);
    EXPECT_EQ(registry.FindStorage<NeverStored>(), nullptr);
}

TEST(RegistryEach, RemovingTheCurrentElementSkipsTheOneSwappedIntoItsPlace) {
    Registry registry;
    const auto e = CreateMany(registry, 4);
    for (const Entity entity : e) {
        registry.Emplace(entity, Position{});
    }
    std::vector<Entity> visited;
    registry.Each<Position>([&](Entity entity, Position&) {
        visited.push_back(entity);
        if (entity == e[1]) {
            registry.Remove<Position>(entity);
        }
    });
    // e[3] moved into e[1]'s place and was passed over.
    EXPECT_EQ(visited, (std::vector<Entity>{e[0], e[1], e[2]}));
    EXPECT_EQ(registry.FindStorage<Position>()->Entities(), (std::vector<Entity>{e[0], e[3], e[2]}));
}

TEST(RegistryEach, AnElementAppendedDuringTheWalkIsVisited) {
    Registry registry;
    const Entity first = registry.CreateEntity();
    const Entity later = registry.CreateEntity();
    registry.Emplace(first, Position{});
    std::vector<Entity> visited;
    registry.Each<Position>([&](Entity entity, Position&) {
        visited.push_back(entity);
        if (entity == first) {
            registry.Emplace(later, Position{});
        }
    });
    EXPECT_EQ(visited, (std::vector<Entity>{first, later}));
}

TEST(RegistryEach, TheConstFormPassesConstComponents) {
    Registry registry;
    const Entity entity = registry.CreateEntity();
    registry.Emplace(entity, Position{4.0f, 0.0f});
    registry.Emplace(entity, Tag{});
    const Registry& constRegistry = registry;
    float sum = 0.0f;
    constRegistry.Each<Position, Tag>([&](Entity, const Position& position, const Tag&) { sum += position.x; });
    EXPECT_EQ(sum, 4.0f);
}

// --- Component type ids ----------------------------------------------------------------

TEST(ComponentTypeIds, AreStablePerTypeAndDistinctBetweenTypes) {
    const std::size_t position = ComponentTypeId<Position>();
    EXPECT_EQ(ComponentTypeId<Position>(), position);
    EXPECT_EQ(ComponentTypeId<const Position>(), position);
    EXPECT_NE(ComponentTypeId<Velocity>(), position);
}

TEST(ComponentTypeIds, LineUpBetweenRegistries) {
    Registry a;
    Registry b;
    a.Emplace(a.CreateEntity(), Velocity{});
    b.Emplace(b.CreateEntity(), Velocity{});
    const std::size_t id = ComponentTypeId<Velocity>();
    EXPECT_EQ(a.FindStorage(id), a.FindStorage<Velocity>());
    EXPECT_EQ(b.FindStorage(id), b.FindStorage<Velocity>());
}

template <int N>
struct ThreadedType {};

TEST(ComponentTypeIds, AreAssignedSafelyFromSeveralThreads) {
    std::vector<std::size_t> ids(8);
    std::vector<std::thread> threads;
    threads.emplace_back([&] { ids[0] = ComponentTypeId<ThreadedType<0>>(); });
    threads.emplace_back([&] { ids[1] = ComponentTypeId<ThreadedType<1>>(); });
    threads.emplace_back([&] { ids[2] = ComponentTypeId<ThreadedType<2>>(); });
    threads.emplace_back([&] { ids[3] = ComponentTypeId<ThreadedType<3>>(); });
    threads.emplace_back([&] { ids[4] = ComponentTypeId<ThreadedType<4>>(); });
    threads.emplace_back([&] { ids[5] = ComponentTypeId<ThreadedType<5>>(); });
    threads.emplace_back([&] { ids[6] = ComponentTypeId<ThreadedType<6>>(); });
    threads.emplace_back([&] { ids[7] = ComponentTypeId<ThreadedType<7>>(); });
    for (auto& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(std::set<std::size_t>(ids.begin(), ids.end()).size(), 8u);
    EXPECT_EQ(ComponentTypeId<ThreadedType<3>>(), ids[3]);
}

// --- GUID index ------------------------------------------------------------------------

TEST(RegistryGuidIndex, EmplacingAGuidComponentIndexesIt) {
    Registry registry;
    const Entity entity = registry.CreateEntity();
    registry.Emplace(entity, EntityGuidComponent{MakeGuid(1)});
    EXPECT_EQ(registry.FindEntityByGuid(MakeGuid(1)), entity);
    EXPECT_EQ(registry.FindEntityByGuid(MakeGuid(2)), kNullEntity);
}

TEST(RegistryGuidIndex, TheNullGuidFindsNothing) {
    Registry registry;
    const Entity entity = registry.CreateEntity();
    registry.Emplace(entity, EntityGuidComponent{});
    EXPECT_EQ(registry.FindEntityByGuid(Guid{}), kNullEntity);
}

TEST(RegistryGuidIndex, ReplacingTheGuidReindexesTheEntity) {
    Registry registry;
    const Entity entity = registry.CreateEntity();
    registry.Emplace(entity, EntityGuidComponent{MakeGuid(1)});
    const std::uint64_t before = registry.Revision();
    registry.Emplace(entity, EntityGuidComponent{MakeGuid(2)});
    EXPECT_EQ(registry.FindEntityByGuid(MakeGuid(1)), kNullEntity);
    EXPECT_EQ(registry.FindEntityByGuid(MakeGuid(2)), entity);
    EXPECT_EQ(registry.Revision(), before);
}

TEST(RegistryGuidIndex, RemovingTheComponentUnindexesIt) {
    Registry registry;
    const Entity entity = registry.CreateEntity();
    const Entity other = registry.CreateEntity();
    registry.Emplace(entity, EntityGuidComponent{MakeGuid(1)});
    registry.Remove<EntityGuidComponent>(entity);
    EXPECT_EQ(registry.FindEntityByGuid(MakeGuid(1)), kNullEntity);
    registry.Emplace(other, EntityGuidComponent{MakeGuid(1)});
    registry.Emplace(entity, EntityGuidComponent{MakeGuid(1)});
    // A pair left behind by the removal would put `entity` ahead of `other`.
    EXPECT_EQ(registry.FindEntityByGuid(MakeGuid(1)), other);
}

TEST(RegistryGuidIndex, ADestroyedEntityIsNotFound) {
    Registry registry;
    const Entity entity = registry.CreateEntity();
    registry.Emplace(entity, EntityGuidComponent{MakeGuid(1)});
    registry.DestroyEntity(entity);
    EXPECT_EQ(registry.FindEntityByGuid(MakeGuid(1)), kNullEntity);
}

TEST(RegistryGuidIndex, OfTwoEntitiesWithOneGuidTheFirstIndexedWinsUntilItIsDestroyed) {
    Registry registry;
    const Entity first = registry.CreateEntity();
    const Entity second = registry.CreateEntity();
    const Entity third = registry.CreateEntity();
    registry.Emplace(second, EntityGuidComponent{MakeGuid(7)});
    registry.Emplace(first, EntityGuidComponent{MakeGuid(7)});
    registry.Emplace(third, EntityGuidComponent{MakeGuid(7)});
    EXPECT_EQ(registry.FindEntityByGuid(MakeGuid(7)), second);
    registry.DestroyEntity(second);
    EXPECT_EQ(registry.FindEntityByGuid(MakeGuid(7)), first);
    registry.DestroyEntity(first);
    EXPECT_EQ(registry.FindEntityByGuid(MakeGuid(7)), third);
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

TEST(RegistryGuidIndex, UnindexRemovesOnlyThePairOfThatHandle) {
    Registry registry;
    const Entity a = registry.CreateEntity();
    const Entity b = registry.CreateEntity();
    registry.Emplace(a, EntityGuidComponent{MakeGuid(3)});
    registry.Emplace(b, EntityGuidComponent{MakeGuid(3)});
    registry.UnindexGuid(a, MakeGuid(4));
    EXPECT_EQ(registry.FindEntityByGuid(MakeGuid(3)), a);
    registry.UnindexGuid(a, MakeGuid(3));
    EXPECT_EQ(registry.FindEntityByGuid(MakeGuid(3)), b);
}

// --- Restore ---------------------------------------------------------------------------

TEST(RegistryRestore, BringsADestroyedEntityBackAtItsPlace) {
    Registry registry;
    const auto e = CreateMany(registry, 3);
    registry.DestroyEntity(e[1]);
    const std::uint64_t before = registry.Revision();
    ASSERT_TRUE(registry.RestoreEntity(e[1], 1));
    EXPECT_TRUE(registry.IsAlive(e[1]));
    EXPECT_EQ(registry.Entities(), e);
    EXPECT_EQ(registry.Revision(), before + 1);
    EXPECT_EQ(registry.FreeIndexCount(), 0u);
}

TEST(RegistryRestore, APositionBeyondTheEndAppends) {
    Registry registry;
    const auto e = CreateMany(registry, 2);
    registry.DestroyEntity(e[0]);
    ASSERT_TRUE(registry.RestoreEntity(e[0], 1000));
    EXPECT_EQ(registry.Entities(), (std::vector<Entity>{e[1], e[0]}));
}

TEST(RegistryRestore, TheNextDestroySkipsEveryGenerationTheSlotHasUsed) {
    Registry registry;
    registry.SetMinimumFreeIndices(0);
    const Entity first = registry.CreateEntity();
    registry.DestroyEntity(first);
    const Entity second = registry.CreateEntity();
    registry.DestroyEntity(second);
    ASSERT_EQ(EntityGeneration(second), 1u);
    ASSERT_TRUE(registry.RestoreEntity(first, 0));
    EXPECT_EQ(registry.Slots()[1].generation, 0u);
    registry.DestroyEntity(first);
    EXPECT_EQ(registry.Slots()[1].generation, 2u);
    const Entity third = registry.CreateEntity();
    EXPECT_EQ(third, MakeEntity(1, 2));
    EXPECT_FALSE(registry.IsAlive(first));
    EXPECT_FALSE(registry.IsAlive(second));
}

TEST(RegistryRestore, AHandleOfTheCurrentGenerationRaisesTheFloorPastIt) {
    Registry registry;
    const Entity entity = registry.CreateEntity();
    registry.DestroyEntity(entity);
    const Entity current = MakeEntity(1, 1);
    ASSERT_TRUE(registry.RestoreEntity(current, 0));
    EXPECT_EQ(registry.Slots()[1].generationFloor, 2u);
    registry.DestroyEntity(current);
    EXPECT_EQ(registry.Slots()[1].generation, 2u);
}

TEST(RegistryRestore, RefusesLiveNullOutOfRangeAndFutureHandles) {
    Registry registry;
    const Entity alive = registry.CreateEntity();
    const Entity dead = registry.CreateEntity();
    registry.DestroyEntity(dead);
    const std::uint64_t before = registry.Revision();
    EXPECT_FALSE(registry.RestoreEntity(alive, 0));
    EXPECT_FALSE(registry.RestoreEntity(kNullEntity, 0));
    EXPECT_FALSE(registry.RestoreEntity(MakeEntity(0, 1), 0));
    EXPECT_FALSE(registry.RestoreEntity(MakeEntity(3, 0), 0));
    // The slot's counter is 1; a handle of generation 3 would need it to step back past 0.
    EXPECT_FALSE(registry.RestoreEntity(MakeEntity(EntityIndex(dead), 3), 0));
    EXPECT_EQ(registry.Revision(), before);
    EXPECT_EQ(registry.Entities(), (std::vector<Entity>{alive}));
    EXPECT_EQ(registry.FreeIndexCount(), 1u);
    EXPECT_EQ(registry.Slots()[EntityIndex(dead)].generation, 1u);
    EXPECT_EQ(registry.Slots()[EntityIndex(dead)].generationFloor, 0u);
}

TEST(RegistryRestore, RefusesAReservedSlot) {
    Registry registry;
    const Entity reserved = registry.ReserveEntity();
    EXPECT_FALSE(registry.RestoreEntity(reserved, 0));
}

// --- Clear -----------------------------------------------------------------------------

TEST(RegistryClear, DestroysEverythingAndKeepsGenerationsRising) {
    Registry registry;
    const auto e = CreateMany(registry, 3);
    registry.Emplace(e[0], Position{});
    registry.Emplace(e[1], EntityGuidComponent{MakeGuid(1)});
    const std::uint64_t before = registry.Revision();
    registry.Clear();
    EXPECT_GT(registry.Revision(), before);
    EXPECT_TRUE(registry.Entities().empty());
    for (const Entity entity : e) {
        EXPECT_FALSE(registry.IsAlive(entity));
    }
    EXPECT_EQ(registry.Slots().size(), 4u);
    EXPECT_EQ(registry.Slots()[1].generation, 1u);
    EXPECT_TRUE(registry.FindStorage<Position>()->Empty());
    EXPECT_EQ(registry.FindEntityByGuid(MakeGuid(1)), kNullEntity);
    EXPECT_EQ(registry.FreeIndexCount(), 3u);
}

TEST(RegistryClear, DestroysEntitiesFromLastToFirst) {
    Registry registry;
    registry.SetMinimumFreeIndices(0);
    const auto e = CreateMany(registry, 3);
    registry.Clear();
    // The free queue shows the order of destruction.
    EXPECT_EQ(EntityIndex(registry.CreateEntity()), 3u);
    EXPECT_EQ(EntityIndex(registry.CreateEntity()), 2u);
    EXPECT_EQ(EntityIndex(registry.CreateEntity()), 1u);
}

TEST(RegistryClear, DropsDeferredCommandsAndFreesReservedSlotsInIndexOrder) {
    Registry registry;
    registry.SetMinimumFreeIndices(0);
    bool ran = false;
    registry.Defer().Invoke([&](Registry&) { ran = true; });
    const Entity reserved = registry.ReserveEntity();
    const Entity deferred = registry.Defer().CreateEntity();
    registry.Clear();
    EXPECT_FALSE(registry.IsAlive(reserved));
    EXPECT_FALSE(registry.IsAlive(deferred));
    EXPECT_FALSE(registry.HasDeferred());
    registry.FlushDeferred();
    EXPECT_FALSE(ran);
    EXPECT_EQ(registry.Slots()[1].state, EntityState::Free);
    EXPECT_EQ(registry.Slots()[2].state, EntityState::Free);
    EXPECT_EQ(registry.CreateEntity(), MakeEntity(1, 1));
    EXPECT_EQ(registry.CreateEntity(), MakeEntity(2, 1));
}

TEST(RegistryClear, RemovesComponentsOfReservedAndStaleHandles) {
    Registry registry;
    const Entity reserved = registry.ReserveEntity();
    registry.Emplace(reserved, Position{});
    registry.Emplace(MakeEntity(40, 3), Velocity{});
    registry.Clear();
    EXPECT_TRUE(registry.FindStorage<Position>()->Empty());
    EXPECT_TRUE(registry.FindStorage<Velocity>()->Empty());
}

TEST(RegistryClear, DropsPreservedRecords) {
    Registry registry;
    const Entity entity = registry.CreateEntity();
    registry.SetPreservedRecords(entity, std::make_shared<PreservedRecordSet>());
    registry.Clear();
    EXPECT_TRUE(registry.EntitiesWithPreservedRecords().empty());
}

// --- Replacing a registry --------------------------------------------------------------

TEST(RegistryAdvanceGenerations, RaisesTheFloorOfSlotsInUseAndAddsTheMissingSlotsFree) {
    Registry old;
    old.SetMinimumFreeIndices(0);
    const Entity a = old.CreateEntity();
    const Entity b = old.CreateEntity();
    old.DestroyEntity(b);
    Registry fresh;
    fresh.SetMinimumFreeIndices(0);
    const Entity c = fresh.CreateEntity();
    ASSERT_EQ(c, a);
    fresh.AdvanceGenerationsPast(old);
    // Slot 1 is alive in both: its floor rises past the old live generation.
    EXPECT_EQ(fresh.Slots()[1].generationFloor, 1u);
    // Slot 2 exists only in the old registry: it is added free, past its generation.
    ASSERT_EQ(fresh.Slots().size(), 3u);
    EXPECT_EQ(fresh.Slots()[2].generation, 1u);
    EXPECT_EQ(fresh.Slots()[2].state, EntityState::Free);
    EXPECT_EQ(fresh.FreeIndexCount(), 1u);
    EXPECT_EQ(fresh.CreateEntity(), MakeEntity(2, 1));
}

TEST(RegistryAdvanceGenerations, AFreeSlotSkipsTheGenerationTheOldRegistryHasInUse) {
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
    EXPECT_EQ(fresh.Slots()[1].generation, 3u);
    const Entity reused = fresh.CreateEntity();
    EXPECT_EQ(reused, MakeEntity(1, 3));
    EXPECT_FALSE(fresh.IsAlive(oldLive));
}

TEST(RegistryAdvanceGenerations, TheFloorOfARestoredSlotIsPassedOn) {
    Registry old;
    old.SetMinimumFreeIndices(0);
    const Entity entity = old.CreateEntity();
    old.DestroyEntity(entity);
    old.DestroyEntity(old.CreateEntity());
    ASSERT_TRUE(old.RestoreEntity(entity, 0));
    ASSERT_EQ(old.Slots()[1].generation, 0u);
    ASSERT_EQ(old.Slots()[1].generationFloor, 2u);
    Registry fresh;
    fresh.AdvanceGenerationsPast(old);
    EXPECT_EQ(fresh.Slots()[1].generation, 2u);
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

TEST(RegistryAdvanceGenerations, AgainstItselfDoesNothing) {
    Registry registry;
    (void)registry.CreateEntity();
    const std::uint64_t before = registry.Revision();
    registry.AdvanceGenerationsPast(registry);
    EXPECT_EQ(registry.Revision(), before);
}

// --- Copy and move ---------------------------------------------------------------------

TEST(RegistryCopy, IsDeep) {
    Registry source;
    const Entity entity = source.CreateEntity();
    source.Emplace(entity, Position{1.0f, 0.0f});
    source.Emplace(entity, EntityGuidComponent{MakeGuid(5)});
    Registry copy(source);
    copy.Get<Position>(entity).x = 9.0f;
    copy.DestroyEntity(entity);
    EXPECT_TRUE(source.IsAlive(entity));
    EXPECT_EQ(source.Get<Position>(entity).x, 1.0f);
    EXPECT_EQ(source.FindEntityByGuid(MakeGuid(5)), entity);
    EXPECT_EQ(copy.FindEntityByGuid(MakeGuid(5)), kNullEntity);
}

TEST(RegistryCopy, KeepsRevisionsSlotsAndTheFreeQueue) {
    Registry source;
    source.SetMinimumFreeIndices(0);
    const Entity entity = source.CreateEntity();
    source.Emplace(entity, Position{});
    source.DestroyEntity(source.CreateEntity());
    const Registry copy(source);
    EXPECT_EQ(copy.Revision(), source.Revision());
    EXPECT_EQ(copy.FindStorage<Position>()->Revision(), 1u);
    EXPECT_EQ(copy.FreeIndexCount(), 1u);
    EXPECT_EQ(copy.MinimumFreeIndices(), 0u);
    EXPECT_EQ(copy.Entities(), source.Entities());
}

TEST(RegistryCopy, SharesPreservedRecordSets) {
    Registry source;
    const Entity entity = source.CreateEntity();
    const auto records = std::make_shared<PreservedRecordSet>();
    source.SetPreservedRecords(entity, records);
    const Registry copy(source);
    EXPECT_EQ(copy.GetPreservedRecords(entity), records);
}

TEST(RegistryCopy, AssignmentReplacesEverything) {
    Registry source;
    const Entity entity = source.CreateEntity();
    source.Emplace(entity, Position{2.0f, 0.0f});
    Registry target;
    const Entity other = target.CreateEntity();
    target.Emplace(other, Velocity{});
    target = source;
    EXPECT_EQ(target.Get<Position>(entity).x, 2.0f);
    EXPECT_EQ(target.FindStorage<Velocity>(), nullptr);
    EXPECT_EQ(target.Entities(), (std::vector<Entity>{entity}));
}

TEST(RegistryMove, TransfersEverything) {
    Registry source;
    const Entity entity = source.CreateEntity();
    source.Emplace(entity, EntityGuidComponent{MakeGuid(6)});
    Registry moved(std::move(source));
    EXPECT_TRUE(moved.IsAlive(entity));
    EXPECT_EQ(moved.FindEntityByGuid(MakeGuid(6)), entity);
    Registry assigned;
    assigned = std::move(moved);
    EXPECT_EQ(assigned.FindEntityByGuid(MakeGuid(6)), entity);
}

// --- Preserved records -----------------------------------------------------------------

TEST(RegistryPreservedRecords, AreStoredForALiveEntityAndReplaced) {
    Registry registry;
    const Entity entity = registry.CreateEntity();
    const auto first = std::make_shared<PreservedRecordSet>();
    const auto second = std::make_shared<PreservedRecordSet>();
    registry.SetPreservedRecords(entity, first);
    EXPECT_EQ(registry.GetPreservedRecords(entity), first);
    registry.SetPreservedRecords(entity, second);
    EXPECT_EQ(registry.GetPreservedRecords(entity), second);
    EXPECT_EQ(first.use_count(), 1);
    EXPECT_EQ(registry.EntitiesWithPreservedRecords(), (std::vector<Entity>{entity}));
}

TEST(RegistryPreservedRecords, ANullSetErasesTheEntry) {
    Registry registry;
    const Entity entity = registry.CreateEntity();
    registry.SetPreservedRecords(entity, std::make_shared<PreservedRecordSet>());
    registry.SetPreservedRecords(entity, nullptr);
    EXPECT_EQ(registry.GetPreservedRecords(entity), nullptr);
    EXPECT_TRUE(registry.EntitiesWithPreservedRecords().empty());
}

TEST(RegistryPreservedRecords, ADeadEntityGetsNone) {
    Registry registry;
    const Entity entity = registry.CreateEntity();
    registry.DestroyEntity(entity);
    registry.SetPreservedRecords(entity, std::make_shared<PreservedRecordSet>());
    EXPECT_EQ(registry.GetPreservedRecords(entity), nullptr);
    EXPECT_EQ(registry.GetPreservedRecords(kNullEntity), nullptr);
}

TEST(RegistryPreservedRecords, DestroyingTheEntityDropsItsSet) {
    Registry registry;
    const Entity keep = registry.CreateEntity();
    const Entity gone = registry.CreateEntity();
    registry.SetPreservedRecords(keep, std::make_shared<PreservedRecordSet>());
    registry.SetPreservedRecords(gone, std::make_shared<PreservedRecordSet>());
    registry.DestroyEntity(gone);
    EXPECT_EQ(registry.GetPreservedRecords(gone), nullptr);
    EXPECT_EQ(registry.EntitiesWithPreservedRecords(), (std::vector<Entity>{keep}));
}

TEST(RegistryPreservedRecords, KeepTheirRecords) {
    Registry registry;
    const Entity entity = registry.CreateEntity();
    auto records = std::make_shared<PreservedRecordSet>();
    Reflection::SchemaRecord record;
    record.name = "Vendor.Thing";
    record.version = 2;
    records->records.push_back(record);
    registry.SetPreservedRecords(entity, records);
    ASSERT_EQ(registry.GetPreservedRecords(entity)->records.size(), 1u);
    EXPECT_EQ(registry.GetPreservedRecords(entity)->records[0].name, "Vendor.Thing");
}

} // namespace
} // namespace Brelk::Scene
