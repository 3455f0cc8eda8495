#include "engine/scene/Registry.h"

#include "engine/scene/PreservedRecordSet.h"
#include "engine/scene/components/CoreComponents.h"

#include "tests/support/TestSupport.h"

#include <gtest/gtest.h>

#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace Brelk::Scene {
namespace {

using Core::Guid;
using Testing::ThrownMessage;
using Entities = std::vector<Entity>;

struct Position { float x = 0.0f; float y = 0.0f; };
struct Velocity { float dx = 0.0f; };
struct Tag {};
struct NeverStored { int value = 0; };

Guid G(std::uint64_t low) { return Guid{0x1234, low}; }

Entities CreateMany(Registry& registry, std::size_t count) {
    Entities created;
    for (std::size_t i = 0; i < count; ++i) created.push_back(registry.CreateEntity());
    return created;
}

TEST(EntityHandle, PacksIndexAndLowTwelveGenerationBitsAndIndexZeroIsNull) {
    EXPECT_EQ((Entities{MakeEntity(1, 0), MakeEntity(0xfffff, 0xfff), MakeEntity(0x1fffff, 0), MakeEntity(3, 1),
                        MakeEntity(7, 4096 + 3)}),
              (Entities{1u, 0xffffffffu, 0xfffffu, 0x100003u, MakeEntity(7, 3)}));
    EXPECT_EQ(std::pair(EntityIndex(MakeEntity(77, 9)), EntityGeneration(MakeEntity(77, 9))), std::pair(77u, 9u));
    EXPECT_TRUE(IsNullEntity(MakeEntity(0, 5)));
    EXPECT_FALSE(IsNullEntity(MakeEntity(1, 0)));
}

TEST(Registry, CreatesFromIndexOneAndDestroyKillsOnceKeepingTheOthersInOrder) {
    Registry registry;
    EXPECT_EQ(registry.Revision(), 1u);
    const auto all = CreateMany(registry, 4);
    EXPECT_EQ(all[0], 1u);
    EXPECT_EQ(registry.Revision(), 5u);
    EXPECT_FALSE(registry.IsAlive(kNullEntity));
    EXPECT_FALSE(registry.IsAlive(MakeEntity(5, 0)));
    registry.DestroyEntity(all[1]);
    EXPECT_FALSE(registry.IsAlive(all[1]));
    EXPECT_EQ(registry.Entities(), (Entities{all[0], all[2], all[3]}));
    for (const Entity again : {all[1], kNullEntity, MakeEntity(500, 0)}) registry.DestroyEntity(again);
    EXPECT_EQ(registry.Revision(), 6u);
    EXPECT_EQ(registry.Slots()[2].generation, 1u);
    EXPECT_EQ(registry.FreeIndexCount(), 1u);
}

TEST(Registry, ReusesIndicesFirstInFirstOutOnlyOnceMoreThanTheMinimumAreQueuedAndGenerationsWrap) {
    for (const std::size_t destroyed : {std::size_t{1024}, std::size_t{1025}}) {
        Registry registry;
        for (const Entity entity : CreateMany(registry, destroyed)) registry.DestroyEntity(entity);
        EXPECT_EQ(registry.CreateEntity(), destroyed > 1024 ? MakeEntity(1, 1) : MakeEntity(1025, 0)) << destroyed;
        EXPECT_EQ(registry.FreeIndexCount(), 1024u);
    }
    Registry registry;
    registry.SetMinimumFreeIndices(0);
    const auto all = CreateMany(registry, 3);
    for (const std::size_t i : {2, 0, 1}) registry.DestroyEntity(all[i]);
    EXPECT_EQ(CreateMany(registry, 3), (Entities{MakeEntity(3, 1), MakeEntity(1, 1), MakeEntity(2, 1)}));

    // Index 1 is reused once; 4095 more wrap its generation and the first handle compares equal again.
    const Entity first = all[0];
    Entity current = MakeEntity(1, 1);
    for (int i = 1; i < 4096; ++i) {
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
    EXPECT_THROW(registry.CreateEntity(), std::length_error);
    EXPECT_EQ(ThrownMessage([&] { registry.ReserveEntity(); }), "Entity index space exhausted.");
    EXPECT_EQ(registry.Slots().size(), 1048576u);
    EXPECT_EQ(registry.Revision(), before);
    registry.ReleaseIndex(77);
    EXPECT_EQ(registry.CreateEntity(), MakeEntity(77, 1));
    EXPECT_EQ(registry.Slots().size(), 1048576u);
}

TEST(Registry, CommitMakesOnlyAMatchingReservationAliveAndReleaseFreesOnlyReservedOrDeadSlots) {
    Registry registry;
    const Entity reserved = registry.ReserveEntity();
    EXPECT_EQ(reserved, 1u);
    EXPECT_FALSE(registry.IsAlive(reserved));
    EXPECT_EQ(registry.Slots()[1].state, EntityState::Reserved);
    EXPECT_EQ(registry.Revision(), 1u);
    const Entity created = registry.CreateEntity();
    for (const Entity wrong : {MakeEntity(1, 1), created, kNullEntity, MakeEntity(99, 0)}) registry.CommitEntity(wrong);
    EXPECT_EQ(registry.Entities(), (Entities{created}));
    EXPECT_EQ(registry.Revision(), 2u);
    registry.CommitEntity(reserved);
    EXPECT_EQ(registry.Entities(), (Entities{created, reserved}));
    EXPECT_EQ(registry.Revision(), 3u);

    const Entity other = registry.ReserveEntity();
    registry.ReleaseIndex(EntityIndex(other));
    EXPECT_EQ(registry.Slots()[EntityIndex(other)].state, EntityState::Free);
    EXPECT_EQ(registry.Slots()[EntityIndex(other)].generation, 1u);
    registry.CommitEntity(other);
    EXPECT_FALSE(registry.IsAlive(other));
    for (const std::uint32_t index : {EntityIndex(created), 0u, 12345u, EntityIndex(other)}) registry.ReleaseIndex(index);
    EXPECT_TRUE(registry.IsAlive(created));
    EXPECT_EQ(registry.FreeIndexCount(), 1u);
    EXPECT_EQ(registry.Slots()[EntityIndex(other)].generation, 1u);
}


TEST(Registry, GetThrowsForAMissingStorageComponentOrStaleHandleAndLookupsNeverCreateAStorage) {
    Registry registry;
    const auto [with, without] = std::pair{registry.CreateEntity(), registry.CreateEntity()};
    registry.Emplace(with, Position{});
    EXPECT_EQ(ThrownMessage([&] { (void)registry.Get<NeverStored>(with); }), "Component storage does not exist.");
    EXPECT_EQ(ThrownMessage([&] { (void)std::as_const(registry).Get<NeverStored>(with); }),
              "Component storage does not exist.");
    EXPECT_THROW((void)registry.Get<Position>(without), std::out_of_range);
    EXPECT_EQ(ThrownMessage([&] { (void)std::as_const(registry).Get<Position>(without); }),
              "Entity does not have the requested component.");
    EXPECT_FALSE(registry.Has<NeverStored>(with));
    EXPECT_EQ(registry.TryGet<NeverStored>(with), nullptr);
    registry.Remove<NeverStored>(with);
    int calls = 0;
    registry.Each<NeverStored>([&](Entity, NeverStored&) { ++calls; });
    registry.Each<Position, NeverStored>([&](Entity, Position&, NeverStored&) { ++calls; });
    EXPECT_EQ(calls, 0);
    EXPECT_EQ(registry.FindStorage<NeverStored>(), nullptr);

    // A stale handle never sees the component of its reused index.
    Registry reusing;
    reusing.SetMinimumFreeIndices(0);
    const Entity old = reusing.CreateEntity();
    reusing.DestroyEntity(old);
    reusing.Emplace(old, Position{1.0f, 0.0f});
    ASSERT_TRUE(reusing.Has<Position>(old));
    const Entity reused = reusing.CreateEntity();
    ASSERT_EQ(EntityIndex(reused), EntityIndex(old));
    reusing.Emplace(reused, Position{2.0f, 0.0f});
    EXPECT_EQ(reusing.FindStorage<Position>()->Entities(), (Entities{reused}));
    EXPECT_EQ(reusing.FindStorage<Position>()->Revision(), 3u);
    EXPECT_FALSE(reusing.Has<Position>(old));
    EXPECT_EQ(reusing.TryGet<Position>(old), nullptr);
    EXPECT_EQ(reusing.Get<Position>(reused).x, 2.0f);
    EXPECT_EQ(ThrownMessage([&] { (void)reusing.Get<Position>(old); }), "Entity does not have the requested component.");
}

TEST(Registry, EmplaceStoresOnceThenAssignsInPlaceAndRemoveAndDestroyDropComponents) {
    Registry registry;
    const auto [keep, gone] = std::pair{registry.CreateEntity(), registry.CreateEntity()};
    const std::uint64_t created = registry.Revision();
    Position& first = registry.Emplace(keep, Position{1.0f, 2.0f});
    EXPECT_EQ(&registry.Get<Position>(keep), &first);
    EXPECT_EQ(std::as_const(registry).TryGet<Position>(keep), &first);
    EXPECT_EQ(&registry.Emplace(keep, Position{5.0f, 6.0f}), &first);
    EXPECT_EQ(std::as_const(registry).Get<Position>(keep).x, 5.0f);
    EXPECT_EQ(registry.Revision(), created + 1);
    EXPECT_EQ(registry.FindStorage<Position>()->Revision(), 1u);
    registry.Emplace(gone, Position{});
    registry.Emplace(gone, Velocity{});
    const std::uint64_t before = registry.Revision();
    registry.Remove<Velocity>(gone);
    registry.Remove<Velocity>(gone);
    EXPECT_FALSE(registry.Has<Velocity>(gone));
    EXPECT_EQ(registry.Revision(), before + 1);
    registry.Emplace(gone, Velocity{});
    registry.DestroyEntity(gone);
    EXPECT_EQ(registry.FindStorage<Position>()->Entities(), (Entities{keep}));
    EXPECT_TRUE(registry.FindStorage<Velocity>()->Empty());
    EXPECT_EQ(registry.FindStorage<Position>()->Revision(), 3u);
    EXPECT_EQ(registry.FindStorage<Velocity>()->Revision(), 4u);
}

TEST(RegistryStorage, PagesAreMadeOnlyWhereUsedAndRemoveSwapsTheLastIntoTheGap) {
    Registry registry;
    Registry::Storage<Position> storage;
    const Entity low = MakeEntity(511, 1);
    const Entity high = MakeEntity(512, 0);
    const Entity top = MakeEntity(0xfffff, 0);
    for (const Entity entity : {low, high, top}) storage.Insert(registry, entity, Position{float(EntityIndex(entity))});
    EXPECT_EQ(storage.PageCount(), 3u);
    EXPECT_FALSE(storage.Contains(MakeEntity(511, 2)));
    EXPECT_TRUE(storage.Contains(MakeEntity(511, 4097)));
    for (const std::uint32_t index : {510u, 513u, 1024u, 0xffffeu}) EXPECT_FALSE(storage.Contains(MakeEntity(index, 0)));
    storage.Remove(registry, MakeEntity(512, 1));
    EXPECT_EQ(storage.Revision(), 3u);
    storage.Remove(registry, low);
    EXPECT_EQ(storage.Entities(), (Entities{top, high}));
    EXPECT_EQ(storage.Find(high)->x, 512.0f);
    EXPECT_EQ(storage.Find(low), nullptr);
    EXPECT_EQ(storage.Revision(), 4u);
}

TEST(RegistryEach, WalksTheFirstNamedTypeInDenseOrderSkipsEntitiesMissingTheRestAndSurvivesChanges) {
    Registry registry;
    const auto e = CreateMany(registry, 4);
    for (const std::size_t i : {3, 1, 2}) registry.Emplace(e[i], Position{float(i), 0.0f});
    for (const std::size_t i : {2, 3, 0}) registry.Emplace(e[i], Velocity{float(i) * 10.0f});
    Entities byPosition;
    registry.Each<Position, Velocity>([&](Entity entity, Position& position, Velocity& velocity) {
        EXPECT_EQ(position.x * 10.0f, velocity.dx);
        byPosition.push_back(entity);
    });
    EXPECT_EQ(byPosition, (Entities{e[3], e[2]}));
    Entities byVelocity;
    registry.Each<Velocity, Position>([&](Entity entity, Velocity&, Position&) { byVelocity.push_back(entity); });
    EXPECT_EQ(byVelocity, (Entities{e[2], e[3]}));
    registry.Emplace(e[3], Tag{});
    float sum = 0.0f;
    std::as_const(registry).Each<Position, Tag>([&](Entity, const Position& position, const Tag&) { sum += position.x; });
    EXPECT_EQ(sum, 3.0f);

    // A removal skips the element swapped into its place; an append is visited.
    Registry changing;
    const auto c = CreateMany(changing, 5);
    for (std::size_t i = 0; i < 4; ++i) changing.Emplace(c[i], Position{});
    Entities visited;
    changing.Each<Position>([&](Entity entity, Position&) {
        visited.push_back(entity);
        if (entity == c[1]) changing.Remove<Position>(entity);
        if (entity == c[2]) changing.Emplace(c[4], Position{});
    });
    EXPECT_EQ(visited, (Entities{c[0], c[1], c[2], c[4]}));
    EXPECT_EQ(changing.FindStorage<Position>()->Entities(), (Entities{c[0], c[3], c[2], c[4]}));
}

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
    EXPECT_EQ(ComponentTypeId<const Position>(), ComponentTypeId<Position>());
    EXPECT_NE(ComponentTypeId<Velocity>(), ComponentTypeId<Position>());
    const std::vector<std::size_t> ids = IdsFromThreads(std::make_integer_sequence<int, 8>{});
    EXPECT_EQ(std::set<std::size_t>(ids.begin(), ids.end()).size(), 8u);
    EXPECT_EQ(ComponentTypeId<ThreadedType<3>>(), ids[3]);
}

TEST(RegistryGuidIndex, FollowsEmplaceReplaceRemoveAndDestroyAndPrefersTheFirstIndexedLiveHolder) {
    Registry registry;
    const auto [entity, other] = std::pair{registry.CreateEntity(), registry.CreateEntity()};
    registry.Emplace(other, EntityGuidComponent{});
    EXPECT_EQ(registry.FindEntityByGuid(Guid{}), kNullEntity);
    registry.Emplace(entity, EntityGuidComponent{G(1)});
    EXPECT_EQ(registry.FindEntityByGuid(G(1)), entity);
    const std::uint64_t before = registry.Revision();
    registry.Emplace(entity, EntityGuidComponent{G(2)});
    EXPECT_EQ(registry.FindEntityByGuid(G(1)), kNullEntity);
    EXPECT_EQ(registry.FindEntityByGuid(G(2)), entity);
    EXPECT_EQ(registry.Revision(), before);
    registry.Remove<EntityGuidComponent>(entity);
    EXPECT_EQ(registry.FindEntityByGuid(G(2)), kNullEntity);
    registry.Emplace(other, EntityGuidComponent{G(2)});
    registry.Emplace(entity, EntityGuidComponent{G(2)});
    // A pair left behind by the removal would put `entity` ahead of `other`.
    EXPECT_EQ(registry.FindEntityByGuid(G(2)), other);
    for (const Entity holder : {other, entity}) registry.DestroyEntity(holder);
    EXPECT_EQ(registry.FindEntityByGuid(G(2)), kNullEntity);

    // Among several holders the first indexed live one wins.
    const auto e = CreateMany(registry, 3);
    for (const std::size_t i : {1, 0, 2}) registry.Emplace(e[i], EntityGuidComponent{G(7)});
    EXPECT_EQ(registry.FindEntityByGuid(G(7)), e[1]);
    registry.DestroyEntity(e[1]);
    EXPECT_EQ(registry.FindEntityByGuid(G(7)), e[0]);
    const Entity reserved = registry.ReserveEntity();
    registry.Emplace(reserved, EntityGuidComponent{G(1)});
    EXPECT_EQ(registry.FindEntityByGuid(G(1)), kNullEntity);
}

TEST(RegistryRestore, BringsADestroyedEntityBackAtItsPlaceOrAtTheEndAboveItsUsedGenerationsAndRefusesOthers) {
    Registry registry;
    const auto e = CreateMany(registry, 3);
    registry.DestroyEntity(e[1]);
    const std::uint64_t before = registry.Revision();
    ASSERT_TRUE(registry.RestoreEntity(e[1], 1));
    EXPECT_EQ(registry.Entities(), e);
    EXPECT_EQ(registry.Revision(), before + 1);
    registry.DestroyEntity(e[0]);
    ASSERT_TRUE(registry.RestoreEntity(e[0], 1000));
    EXPECT_EQ(registry.Entities(), (Entities{e[1], e[2], e[0]}));
    EXPECT_EQ(registry.FreeIndexCount(), 0u);

    Registry reused;
    reused.SetMinimumFreeIndices(0);
    const Entity first = reused.CreateEntity();
    reused.DestroyEntity(first);
    reused.DestroyEntity(reused.CreateEntity());
    ASSERT_TRUE(reused.RestoreEntity(first, 0));
    EXPECT_EQ(reused.Slots()[1].generationFloor, 2u);
    reused.DestroyEntity(first);
    // The next destroy skips every generation the slot has used.
    EXPECT_EQ(reused.CreateEntity(), MakeEntity(1, 2));

    // Refused: live, reserved, null, out of range, and a generation the dead slot's counter
    // (1) could reach only by stepping back past 0.
    const Entity reserved = registry.ReserveEntity();
    registry.DestroyEntity(e[2]);
    const std::uint64_t revision = registry.Revision();
    for (const Entity refused : {e[1], reserved, kNullEntity, MakeEntity(0, 1), MakeEntity(5, 0), MakeEntity(3, 3)})
        EXPECT_FALSE(registry.RestoreEntity(refused, 0)) << refused;
    EXPECT_EQ(registry.Revision(), revision);
    EXPECT_EQ(registry.Entities(), (Entities{e[1], e[0]}));
    EXPECT_EQ(registry.Slots()[3].generation, 1u);
}

TEST(RegistryClear, DestroysEverythingLastToFirstDropsCommandsAndFreesReservedSlots) {
    Registry registry;
    registry.SetMinimumFreeIndices(0);
    const auto e = CreateMany(registry, 3);
    registry.Emplace(e[0], Position{});
    registry.Emplace(e[1], EntityGuidComponent{G(1)});
    registry.SetPreservedRecords(e[2], std::make_shared<PreservedRecordSet>());
    registry.Emplace(MakeEntity(40, 3), Velocity{});
    bool ran = false;
    registry.Defer().Invoke([&](Registry&) { ran = true; });
    const Entity deferred = registry.Defer().CreateEntity();
    registry.Emplace(deferred, Position{});
    const std::uint64_t before = registry.Revision();
    registry.Clear();
    EXPECT_GT(registry.Revision(), before);
    EXPECT_TRUE(registry.Entities().empty());
    EXPECT_FALSE(registry.IsAlive(deferred));
    EXPECT_TRUE(registry.FindStorage<Position>()->Empty());
    EXPECT_TRUE(registry.FindStorage<Velocity>()->Empty());
    EXPECT_EQ(registry.FindEntityByGuid(G(1)), kNullEntity);
    EXPECT_TRUE(registry.EntitiesWithPreservedRecords().empty());
    EXPECT_FALSE(registry.HasDeferred());
    registry.FlushDeferred();
    EXPECT_FALSE(ran);
    EXPECT_EQ(registry.Slots().size(), 5u);
    EXPECT_EQ(registry.FreeIndexCount(), 4u);
    // Live entities last to first, then reserved slots in index order.
    EXPECT_EQ(CreateMany(registry, 4), (Entities{MakeEntity(3, 1), MakeEntity(2, 1), MakeEntity(1, 1), MakeEntity(4, 1)}));
}

TEST(RegistryAdvanceGenerations, RaisesFloorsAddsMissingSlotsFreeSkipsUsedGenerationsAndPassesRevisions) {
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
    EXPECT_EQ(fresh.Slots()[2].state, EntityState::Free);
    EXPECT_EQ(fresh.FreeIndexCount(), 1u);
    EXPECT_EQ(fresh.CreateEntity(), MakeEntity(2, 1));
    const std::uint64_t revision = fresh.Revision();
    fresh.AdvanceGenerationsPast(fresh);
    EXPECT_EQ(fresh.Revision(), revision);
    Registry twice;
    twice.SetMinimumFreeIndices(0);
    twice.DestroyEntity(twice.CreateEntity());
    twice.DestroyEntity(twice.CreateEntity());
    const Entity oldLive = twice.CreateEntity();
    ASSERT_EQ(oldLive, MakeEntity(1, 2));
    Registry next;
    next.SetMinimumFreeIndices(0);
    next.DestroyEntity(next.CreateEntity());
    next.AdvanceGenerationsPast(twice);
    EXPECT_EQ(next.CreateEntity(), MakeEntity(1, 3));
    EXPECT_FALSE(next.IsAlive(oldLive));

    // Both revisions pass the old ones; a storage the fresh registry lacks is not made.
    Registry stored;
    stored.Emplace(stored.CreateEntity(), Position{});
    stored.Emplace(1, Velocity{});
    stored.Remove<Velocity>(1);
    stored.Emplace(1, Velocity{});
    Registry later;
    later.Emplace(later.CreateEntity(), Velocity{});
    later.Emplace(1, Tag{});
    later.AdvanceGenerationsPast(stored);
    EXPECT_EQ(later.Revision(), stored.Revision() + 1);
    EXPECT_EQ(later.FindStorage<Velocity>()->Revision(), 4u);
    EXPECT_EQ(later.FindStorage<Tag>()->Revision(), 2u);
    EXPECT_EQ(later.FindStorage<Position>(), nullptr);
}

TEST(RegistryPreservedRecords, BelongToALiveEntityUntilReplacedErasedOrDestroyed) {
    Registry registry;
    const auto [keep, gone] = std::pair{registry.CreateEntity(), registry.CreateEntity()};
    auto first = std::make_shared<PreservedRecordSet>();
    const auto second = std::make_shared<PreservedRecordSet>();
    registry.SetPreservedRecords(keep, first);
    registry.SetPreservedRecords(keep, second);
    EXPECT_EQ(registry.GetPreservedRecords(keep), second);
    EXPECT_EQ(first.use_count(), 1);
    registry.SetPreservedRecords(gone, first);
    EXPECT_EQ(registry.EntitiesWithPreservedRecords(), (Entities{keep, gone}));
    registry.DestroyEntity(gone);
    EXPECT_EQ(registry.GetPreservedRecords(gone), nullptr);
    registry.SetPreservedRecords(gone, first);
    EXPECT_EQ(registry.GetPreservedRecords(gone), nullptr);
    EXPECT_EQ(registry.GetPreservedRecords(kNullEntity), nullptr);
    EXPECT_EQ(registry.EntitiesWithPreservedRecords(), (Entities{keep}));
    registry.SetPreservedRecords(keep, nullptr);
    EXPECT_TRUE(registry.EntitiesWithPreservedRecords().empty());
}

} // namespace
} // namespace Brelk::Scene
