#include "engine/scene/prefabs/Prefabs.h"

#include "engine/assets/AssetManager.h"
#include "engine/core/Logger.h"
#include "engine/core/NumberText.h"
#include "engine/scene/InstallComponents.h"
#include "engine/scene/Scene.h"
#include "engine/scene/SceneFile.h"
#include "engine/scene/components/AnimationComponents.h"
#include "engine/scene/components/CoreComponents.h"
#include "engine/scene/components/GameplayComponents.h"
#include "engine/scene/components/LightComponents.h"
#include "engine/scene/prefabs/PrefabInstance.h"
#include "engine/scene/prefabs/PrefabResolver.h"

#include "tests/support/TestSupport.h"

#include <gtest/gtest.h>

namespace Brelk::Scene {
namespace {

namespace fs = std::filesystem;

std::string Number(float value) {
    char buffer[Core::kMaxNumberChars];
    return std::string(buffer, Core::FormatFloat9(buffer, value));
}

Core::Guid G(std::string_view text) { return *Core::Guid::Parse(text); }

const Core::Guid kLamp = G("00000000-0000-0000-0000-0000000000a1");
const Core::Guid kArm = G("00000000-0000-0000-0000-0000000000a2");
const Core::Guid kBulb = G("00000000-0000-0000-0000-0000000000a3");
const Core::Guid kBase = G("00000000-0000-0000-0000-0000000000a4");

class PrefabTests : public ::testing::Test {
protected:
    void SetUp() override {
        InstallComponents();
        assets_.Initialize(root_ / "Content", Assets::AssetSourceMode::Authoring);
    }

    Entity Make(Scene& scene, const std::string& name, const Core::Guid& guid, Entity parent) {
        const Entity entity = scene.CreateEntity(name);
        scene.SetEntityGuid(entity, guid);
        if (!IsNullEntity(parent)) scene.SetParent(entity, parent);
        return entity;
    }

    // Lamp (moved off the origin) > Arm (point light) > Bulb (rotator), and Lamp > Base (animator).
    Assets::AssetHandle WriteLampPrefab(const std::string& file = "Lamp.bprefab") {
        Scene source;
        const Entity lamp = Make(source, "Lamp", kLamp, kNullEntity);
        source.SetTransform(lamp, Transform{{5.0f, 0.0f, 0.0f}, {}, {1.0f, 1.0f, 1.0f}});
        const Entity arm = Make(source, "Arm", kArm, lamp);
        source.Emplace<PointLightComponent>(arm);
        source.Emplace<RotatorComponent>(Make(source, "Bulb", kBulb, arm));
        source.Emplace<AnimatorComponent>(Make(source, "Base", kBase, lamp));
        std::string error;
        EXPECT_TRUE(CreatePrefabFromEntity(source, assets_, lamp, PrefabPath(file), &error)) << error;
        return assets_.GetRegistry().HandleOfPath(PrefabPath(file));
    }

    fs::path PrefabPath(const std::string& file) const { return root_ / "Content" / file; }

    Entity Instantiate(Assets::AssetHandle prefab) {
        std::string error;
        const std::vector<Entity> roots = InstantiatePrefab(scene_, assets_, prefab, kNullEntity, &error);
        EXPECT_EQ(roots.size(), 1u) << error;
        return roots.empty() ? kNullEntity : roots.front();
    }

    // The live entity of a prefab entity in the instance under `root`.
    Entity Find(Entity root, const Core::Guid& source) {
        return CollectInstanceEntities(scene_, root).bySource.at(source);
    }

    // The subtree under `entity`, a line per entity: its name ("+" marks one the prefab does
    // not have), where it stands off the origin, and the state the tests change.
    std::string Tree(Entity entity, const std::string& indent = "") {
        const PrefabInstanceComponent* links = scene_.TryGet<PrefabInstanceComponent>(entity);
        std::string out = indent + (links == nullptr ? "+" : "") + scene_.GetName(entity);
        if (const float x = scene_.Get<TransformComponent>(entity).transform.position.x; x != 0.0f)
            out += " x " + Number(x);
        if (const auto* light = scene_.TryGet<PointLightComponent>(entity))
            out += " light " + Number(light->intensity) + " range " + Number(light->range);
        if (scene_.Has<RotatorComponent>(entity)) out += " rotator";
        out += "\n";
        for (const Entity child : scene_.GetChildren(entity)) out += Tree(child, indent + "  ");
        return out;
    }

    PrefabInstanceComponent& Links(Entity root) { return scene_.Get<PrefabInstanceComponent>(root); }

    std::uint64_t Update(Assets::AssetHandle changed = 0, bool recordFirst = false) {
        const std::vector<Core::Guid> roots = PrefabGuidsOfInstances(scene_);
        std::string error;
        const std::uint64_t count = UpdatePrefabInstances(scene_, assets_, roots, changed, recordFirst, &error);
        EXPECT_EQ(error, "");
        return count;
    }

    // The warnings logged while `run` runs.
    std::vector<std::string> Warnings(const std::function<void()>& run) {
        std::uint64_t mark = 0;
        (void)Core::Logger::Get().HistorySince(~std::uint64_t{0}, &mark);
        run();
        std::vector<std::string> messages;
        for (const Core::LogEntry& entry : Core::Logger::Get().HistorySince(mark))
            if (entry.level == Core::LogLevel::Warning) messages.push_back(entry.message);
        return messages;
    }

    Testing::ScratchFolder root_;
    Assets::AssetManager assets_;
    Scene scene_;
};

TEST_F(PrefabTests, InstancesTakeDerivedGuidsAndKeepThemAcrossARebuild) {
    const Assets::AssetHandle lampPrefab = WriteLampPrefab();
    // The derived Guid of a known root and source.
    Scene prefab;
    ASSERT_TRUE(LoadScene(PrefabPath("Lamp.bprefab"), prefab, assets_, nullptr));
    const Entity root = Make(scene_, "Placed", G("00000000-0000-0000-0000-000000000001"), kNullEntity);
    prefab.SetEntityGuid(prefab.FindEntityByGuid(kArm), G("00000000-0000-0000-0000-000000000002"));
    PrefabInstanceComponent instance;
    instance.prefab = lampPrefab;
    instance.sourceEntityGuid = kLamp;
    instance.instanceRootGuid = scene_.GetEntityGuid(root);
    scene_.Emplace<PrefabInstanceComponent>(root, instance);
    PrefabResolver resolver(assets_);
    std::string error;
    ASSERT_TRUE(RebuildPrefabInstance(scene_, prefab, root, resolver, &error, PrefabRebuildMode::KeepAdded)) << error;
    EXPECT_EQ(scene_.GetEntityGuid(scene_.GetChildren(root).front()).ToString(),
              "beb9e6b2-c9d2-5664-8a29-3547e432472e");

    // A real instance: the prefab's tree, names and components, the root's placement.
    const Entity lamp = Instantiate(lampPrefab);
    const Entity arm = Find(lamp, kArm);
    EXPECT_EQ(Tree(lamp), "Lamp x 5\n  Arm light 18 range 10\n    Bulb rotator\n  Base\n");
    EXPECT_EQ(std::pair(Links(arm).instanceRootGuid, Links(arm).sourceEntityGuid), std::pair(scene_.GetEntityGuid(lamp), kArm));

    // Deleting the arm and rebuilding with the record brings it back under its old Guid.
    const Core::Guid armGuid = scene_.GetEntityGuid(arm);
    scene_.DestroyEntity(arm);
    ASSERT_TRUE(RevertPrefabInstance(scene_, assets_, lamp, &error)) << error;
    EXPECT_EQ(scene_.GetEntityGuid(Find(lamp, kArm)), armGuid);
    EXPECT_EQ(scene_.GetName(Find(lamp, kBulb)), "Bulb");
}

TEST_F(PrefabTests, RecordsEachKindOfChangeAndARebuildKeepsThem) {
    const Entity lamp = Instantiate(WriteLampPrefab());
    const Entity arm = Find(lamp, kArm);
    scene_.Get<PointLightComponent>(arm).intensity = 3.5f;
    scene_.Emplace<RotatorComponent>(arm);
    scene_.Remove<RotatorComponent>(Find(lamp, kBulb));
    scene_.Get<NameComponent>(Find(lamp, kBulb)).name = "Globe";
    scene_.SetTransform(lamp, Transform{{-7.0f, 0.0f, 0.0f}, {}, {1.0f, 1.0f, 1.0f}});
    scene_.Get<NameComponent>(lamp).name = "Desk lamp";
    const Entity added = scene_.CreateEntity("Shade");
    scene_.SetParent(added, arm);
    scene_.DestroyEntity(Find(lamp, kBase));

    std::string error;
    ASSERT_TRUE(RecordInstanceChanges(scene_, assets_, arm, &error)) << error;
    const PrefabInstanceComponent& links = Links(lamp);
    // The root's own name and placement belong to the instance and are never recorded.
    EXPECT_EQ(links.overrides, (std::vector<PrefabOverride>{{kArm, "PointLightComponent.intensity", "3.5"},
                                                            {kBulb, "NameComponent.name", "Globe"}}));
    EXPECT_EQ(links.addedComponents, (std::vector<PrefabComponentChange>{{kArm, "RotatorComponent"}}));
    EXPECT_EQ(links.removedComponents, (std::vector<PrefabComponentChange>{{kBulb, "RotatorComponent"}}));
    EXPECT_EQ(links.removedEntities, std::vector<Core::Guid>{kBase});
    EXPECT_EQ(links.addedEntities, std::vector<Core::Guid>{scene_.GetEntityGuid(added)});

    EXPECT_EQ(Update(), 1u);
    EXPECT_EQ(Tree(lamp), "Desk lamp x -7\n  Arm light 3.5 range 10 rotator\n    Globe\n    +Shade\n");
    EXPECT_EQ(scene_.GetParent(added), Find(lamp, kArm));

    // Revert forgets everything, what the user added included.
    ASSERT_TRUE(RevertPrefabInstance(scene_, assets_, lamp, &error)) << error;
    EXPECT_FALSE(scene_.IsAlive(added));
    EXPECT_EQ(Tree(lamp), "Desk lamp x -7\n  Arm light 18 range 10\n    Bulb rotator\n  Base\n");
}

TEST_F(PrefabTests, OnlyTheTopOfADeletedSubtreeIsRecordedAndItStaysDeleted) {
    const Entity lamp = Instantiate(WriteLampPrefab());
    scene_.DestroyEntity(Find(lamp, kArm));
    // Run-time state isn't saved, so it renders alike and is no change.
    scene_.Get<AnimatorComponent>(Find(lamp, kBase)).currentTime = 3.0f;
    std::string error;
    ASSERT_TRUE(RecordInstanceChanges(scene_, assets_, lamp, &error)) << error;
    EXPECT_EQ(Links(lamp).removedEntities, std::vector<Core::Guid>{kArm});
    EXPECT_TRUE(Links(lamp).overrides.empty());
    EXPECT_EQ(Update(), 1u);
    EXPECT_EQ(Tree(lamp), "Lamp x 5\n  Base\n");
    EXPECT_EQ(scene_.Get<AnimatorComponent>(Find(lamp, kBase)).currentTime, 3.0f);
}

TEST_F(PrefabTests, APrefabEditReachesInstancesWhileDeadChangesAreDroppedAndCounted) {
    const Assets::AssetHandle lampPrefab = WriteLampPrefab();
    const Entity lamp = Instantiate(lampPrefab);
    const Entity added = scene_.CreateEntity("Shade");
    scene_.SetParent(added, Find(lamp, kBulb));
    scene_.Get<NameComponent>(Find(lamp, kBulb)).name = "Globe";
    scene_.Get<PointLightComponent>(Find(lamp, kArm)).range = 4.0f;
    std::string error;
    ASSERT_TRUE(RecordInstanceChanges(scene_, assets_, lamp, &error)) << error;
    // An override on a field the component doesn't have is no longer applicable, not dead.
    Links(lamp).overrides.push_back({kArm, "PointLightComponent.wattage", "60"});

    // The prefab loses the bulb and moves its root.
    Scene prefab;
    ASSERT_TRUE(LoadScene(PrefabPath("Lamp.bprefab"), prefab, assets_, nullptr));
    prefab.DestroyEntity(prefab.FindEntityByGuid(kBulb));
    prefab.SetTransform(prefab.FindEntityByGuid(kLamp), Transform{{9.0f, 9.0f, 9.0f}, {}, {1.0f, 1.0f, 1.0f}});
    prefab.Get<PointLightComponent>(prefab.FindEntityByGuid(kArm)).intensity = 2.0f;
    ASSERT_TRUE(SaveScene(PrefabPath("Lamp.bprefab"), prefab, assets_, nullptr));

    EXPECT_EQ(Warnings([&] { EXPECT_EQ(Update(lampPrefab), 1u); }),
              (std::vector<std::string>{
                  "Prefab override PointLightComponent.wattage no longer applies: Override property no longer exists: "
                  "PointLightComponent.wattage",
                  "Prefab instance 'Lamp': dropped 1 recorded change(s) whose target no longer exists in the prefab."}));
    // What the user hung under the bulb now hangs under the nearest part that stayed.
    EXPECT_EQ(scene_.GetParent(added), Find(lamp, kArm));
    EXPECT_EQ(Links(lamp).addedEntities, std::vector<Core::Guid>{scene_.GetEntityGuid(added)});
    EXPECT_EQ(Links(lamp).overrides.size(), 1u);
    EXPECT_EQ(Tree(lamp), "Lamp x 5\n  Arm light 2 range 4\n    +Shade\n  Base\n");
}

TEST_F(PrefabTests, ApplyWritesTheInstanceBackAndOtherInstancesKeepTheirOwnChanges) {
    const Assets::AssetHandle lampPrefab = WriteLampPrefab();
    const Entity first = Instantiate(lampPrefab);
    const Entity second = Instantiate(lampPrefab);
    scene_.Get<NameComponent>(Find(second, kBase)).name = "Heavy base";
    scene_.Get<PointLightComponent>(Find(first, kArm)).intensity = 40.0f;
    scene_.SetParent(scene_.CreateEntity("Shade"), Find(first, kArm));
    scene_.DestroyEntity(Find(first, kBase));

    std::string error;
    ASSERT_TRUE(ApplyPrefabInstance(scene_, assets_, first, &error)) << error;
    Scene written;
    ASSERT_TRUE(LoadScene(PrefabPath("Lamp.bprefab"), written, assets_, nullptr));
    EXPECT_TRUE(IsNullEntity(written.FindEntityByGuid(kBase)));
    EXPECT_EQ(written.Get<PointLightComponent>(written.FindEntityByGuid(kArm)).intensity, 40.0f);
    EXPECT_EQ(written.Entities().size(), 4u); // lamp, arm, bulb, shade
    EXPECT_TRUE(Links(first).overrides.empty() && Links(first).addedEntities.empty());

    // The second instance's own renamed base is an entity the prefab no longer has.
    EXPECT_EQ(Tree(second), "Lamp x 5\n  Arm light 40 range 10\n    Bulb rotator\n    Shade\n");
}

TEST_F(PrefabTests, NestedPrefabsAreFlattenedAndFollowTheirOwnFile) {
    const Assets::AssetHandle lampPrefab = WriteLampPrefab();
    Scene source;
    const Entity room = Make(source, "Room", G("00000000-0000-0000-0000-0000000000c1"), kNullEntity);
    std::string error;
    ASSERT_EQ(InstantiatePrefab(source, assets_, lampPrefab, room, &error).size(), 1u) << error;
    ASSERT_TRUE(CreatePrefabFromEntity(source, assets_, room, PrefabPath("Room.bprefab"), &error)) << error;
    const Entity placed = Instantiate(assets_.GetRegistry().HandleOfPath(PrefabPath("Room.bprefab")));
    EXPECT_EQ(Tree(placed), "Room\n  Lamp x 5\n    Arm light 18 range 10\n      Bulb rotator\n    Base\n");

    Scene lamp;
    ASSERT_TRUE(LoadScene(PrefabPath("Lamp.bprefab"), lamp, assets_, nullptr));
    lamp.Get<PointLightComponent>(lamp.FindEntityByGuid(kArm)).intensity = 2.0f;
    ASSERT_TRUE(SaveScene(PrefabPath("Lamp.bprefab"), lamp, assets_, nullptr));
    EXPECT_EQ(Update(lampPrefab), 1u);
    EXPECT_EQ(Tree(placed), "Room\n  Lamp x 5\n    Arm light 2 range 10\n      Bulb rotator\n    Base\n");
}

TEST_F(PrefabTests, APrefabThatHoldsItselfIsRefused) {
    const Assets::AssetHandle lampPrefab = WriteLampPrefab();
    const Entity lamp = Instantiate(lampPrefab);
    std::string error;
    EXPECT_FALSE(CreatePrefabFromEntity(scene_, assets_, lamp, PrefabPath("Lamp.bprefab"), &error));
    EXPECT_EQ(error, "A prefab cannot contain an instance of itself: Lamp.bprefab");

    // A file written around the check: loading it finds the chain.
    Scene holder;
    const Entity outer = Make(holder, "Holder", G("00000000-0000-0000-0000-0000000000b1"), kNullEntity);
    holder.SetParent(holder.CreateEntity("Inner"), outer);
    ASSERT_EQ(InstantiatePrefab(holder, assets_, lampPrefab, outer, &error).size(), 1u) << error;
    ASSERT_TRUE(SaveScene(PrefabPath("Lamp.bprefab"), holder, assets_, nullptr));
    const std::string label = (root_ / "Content" / "Lamp.bprefab").string();
    EXPECT_TRUE(InstantiatePrefab(scene_, assets_, lampPrefab, kNullEntity, &error).empty());
    EXPECT_EQ(error, "Prefab contains itself through nested instances: " + label + " -> " + label);
}

TEST_F(PrefabTests, OperationsRefuseWhatIsNoInstanceOrNoPrefab) {
    const Assets::AssetHandle lampPrefab = WriteLampPrefab();
    const Entity plain = scene_.CreateEntity("Plain");
    const Entity cut = Instantiate(lampPrefab);
    Links(cut).connected = false;
    const Assets::AssetHandle builtin = assets_.GetRegistry().RegisterBuiltin(Assets::AssetType::Prefab, "Empty");
    fs::create_directories(root_ / "Content");
    Testing::WriteText(root_ / "Content" / "File", "x");
    PrefabResolver cached(assets_, true);
    std::string error;
    const std::vector<std::pair<std::function<bool()>, std::string>> rows = {
        {[&] { return RecordInstanceChanges(scene_, assets_, plain, &error); },
         "Selected entity is not part of a prefab instance."},
        {[&] { return ApplyPrefabInstance(scene_, assets_, Find(cut, kArm), &error); },
         "The prefab instance is disconnected from its prefab."},
        {[&] { return !InstantiatePrefab(scene_, assets_, assets_.GetBuiltinCube(), kNullEntity, &error).empty(); },
         "Prefab asset handle is invalid."},
        {[&] { return !InstantiatePrefab(scene_, assets_, builtin, kNullEntity, &error).empty(); },
         "Prefab asset has no source path."},
        {[&] { return CreatePrefabFromEntity(scene_, assets_, kNullEntity, PrefabPath("X"), &error); },
         "Cannot create prefab from an invalid entity."},
        {[&] { return ResolveBaseline(cached, WriteLampPrefab("Other.bvfx"), &error) != nullptr; },
         "No baseline for " + PrefabPath("Other.bvfx").string() + "."},
        {[&] {
             const Entity placed = Instantiate(lampPrefab);
             Scene rootless;
             (void)SaveScene(PrefabPath("Lamp.bprefab"), rootless, assets_, nullptr);
             const Core::Guid guid = scene_.GetEntityGuid(placed);
             return UpdatePrefabInstances(scene_, assets_, {&guid, 1}, 0, false, &error) != 0;
         },
         "The prefab no longer contains the instance's root entity."},
    };
    for (const auto& [run, message] : rows) {
        error.clear();
        EXPECT_FALSE(run()) << message;
        EXPECT_EQ(error, message);
    }
    EXPECT_FALSE(CreatePrefabFromEntity(scene_, assets_, plain, root_ / "Content" / "File" / "P", &error));
    EXPECT_EQ(error.rfind("Failed to create prefab folder: ", 0), 0u) << error;
    EXPECT_EQ(scene_.Entities().size(), 1u + 4u + 4u); // nothing of the failed instantiations stayed
}

} // namespace
} // namespace Brelk::Scene
