#include "engine/scene/ComponentRegistry.h"
#include "engine/scene/EntityCopy.h"
#include "engine/scene/InstallComponents.h"
#include "engine/scene/Scene.h"
#include "engine/scene/components/CoreComponents.h"
#include "engine/scene/components/GameplayComponents.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace Brelk::Scene {
namespace {

// Unsaved but copyable, with one reference of each form the remapper knows.
struct CopyProbeComponent {
    std::string label;
    Entity bare = kNullEntity;
    Core::Guid guid;
    Entity link = kNullEntity;
    Core::Guid linkGuid;
    Entity textLink = kNullEntity;
    std::string text;
};

class EntityCopyTests : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        InstallComponents();
        if (ComponentRegistry::Instance().Find<CopyProbeComponent>() != nullptr) return;
        RegisterComponent<CopyProbeComponent>("CopyProbeComponent", "Copy Probe", "Tests",
                                              ComponentFlags::UserAddable)
            .Field("label", &CopyProbeComponent::label)
            .EntityLink(&CopyProbeComponent::link, &CopyProbeComponent::linkGuid, false)
            .OnRemap([](CopyProbeComponent& probe, const EntityReferenceRemapper& remapper) {
                remapper.RemapEntity(probe.bare);
                remapper.RemapGuid(probe.guid);
                remapper.RemapGuidText(probe.textLink, probe.text);
            });
    }
};

std::vector<std::string> Names(const Scene& scene, const std::vector<Entity>& entities) {
    std::vector<std::string> names;
    for (const Entity entity : entities) names.push_back(scene.GetName(entity));
    return names;
}

TEST_F(EntityCopyTests, EntityMapsHashTheHandleBytesLowByteFirst) {
    EXPECT_EQ(EntityHasher{}(MakeEntity(1, 3)), static_cast<std::size_t>(0xadcdea774822ef14ull));
}

TEST_F(EntityCopyTests, CopyingAcrossRegistriesLeavesTheHeaderAndHonoursSavedOnly) {
    struct Row {
        bool savedOnly;
        bool probeCopied;
    };
    for (const Row row : {Row{true, false}, Row{false, true}}) {
        SCOPED_TRACE(row.savedOnly);
        Scene from;
        Scene to;
        const Entity source = from.CreateEntity("Source");
        from.Emplace<HealthComponent>(source).maxHealth = 40.0f;
        from.Emplace<CopyProbeComponent>(source).label = "probe";
        from.Emplace<TransientComponent>(source);
        from.SetTransform(source, Transform{{1.0f, 2.0f, 3.0f}, {}, {1.0f, 1.0f, 1.0f}});
        const Entity target = to.CreateEntity("Target");
        const Core::Guid targetGuid = to.GetEntityGuid(target);

        CopyEntityComponents(from, to, source, target, row.savedOnly, ComponentCopyKind::Transfer);

        ASSERT_NE(to.TryGet<HealthComponent>(target), nullptr);
        EXPECT_EQ(to.TryGet<HealthComponent>(target)->maxHealth, 40.0f);
        EXPECT_EQ(to.Has<CopyProbeComponent>(target), row.probeCopied);
        EXPECT_FALSE(to.Has<TransientComponent>(target));
        EXPECT_EQ(to.GetName(target), "Target");
        EXPECT_EQ(to.GetEntityGuid(target), targetGuid);
        EXPECT_EQ(to.TryGet<TransformComponent>(target)->transform, Transform{});
    }
}

TEST_F(EntityCopyTests, DuplicatesChildrenInOrderAndLeavesTransientSubtreesOut) {
    Scene scene;
    const Entity holder = scene.CreateEntity("Holder");
    const Entity root = scene.CreateEntity("Root");
    const Entity first = scene.CreateEntity("First");
    const Entity transient = scene.CreateEntity("Preview");
    const Entity underTransient = scene.CreateEntity("PreviewChild");
    const Entity second = scene.CreateEntity("Second");
    const Entity grandchild = scene.CreateEntity("Grandchild");
    scene.SetParent(first, root);
    scene.SetParent(transient, root);
    scene.SetParent(underTransient, transient);
    scene.SetParent(second, root);
    scene.SetParent(grandchild, second);
    scene.Emplace<TransientComponent>(transient);
    scene.Emplace<HealthComponent>(grandchild).maxHealth = 7.0f;
    scene.SetTransform(root, Transform{{4.0f, 5.0f, 6.0f}, {0.0f, 90.0f, 0.0f}, {2.0f, 2.0f, 2.0f}});

    EntityMap map;
    const Entity copy = DuplicateEntitySubtree(scene, root, holder, map, " (1)");

    ASSERT_FALSE(IsNullEntity(copy));
    EXPECT_EQ(map.size(), 4u);
    EXPECT_EQ(map.at(root), copy);
    EXPECT_EQ(map.count(transient) + map.count(underTransient), 0u);
    EXPECT_EQ(scene.GetParent(copy), holder);
    EXPECT_EQ(scene.GetName(copy), "Root (1)");
    EXPECT_NE(scene.GetEntityGuid(copy), scene.GetEntityGuid(root));
    EXPECT_EQ(scene.TryGet<TransformComponent>(copy)->transform,
              (Transform{{4.0f, 5.0f, 6.0f}, {0.0f, 90.0f, 0.0f}, {2.0f, 2.0f, 2.0f}}));
    EXPECT_EQ(Names(scene, scene.GetChildren(copy)), (std::vector<std::string>{"First (1)", "Second (1)"}));
    EXPECT_EQ(Names(scene, scene.GetChildren(map.at(second))), std::vector<std::string>{"Grandchild (1)"});
    EXPECT_EQ(scene.TryGet<HealthComponent>(map.at(grandchild))->maxHealth, 7.0f);
    // The source keeps its own children.
    EXPECT_EQ(Names(scene, scene.GetChildren(root)),
              (std::vector<std::string>{"First", "Preview", "Second"}));

    // An empty suffix keeps the names; no holder makes a root.
    EntityMap plain;
    const Entity again = DuplicateEntitySubtree(scene, second, kNullEntity, plain, "");
    EXPECT_EQ(scene.GetName(again), "Second");
    EXPECT_EQ(Names(scene, scene.GetChildren(again)), std::vector<std::string>{"Grandchild"});
    EXPECT_TRUE(IsNullEntity(scene.GetParent(again)));
    // Dead or transient sources are not duplicated.
    const Entity dead = scene.CreateEntity("Gone");
    scene.DestroyEntity(dead);
    for (const Entity source : {transient, dead, kNullEntity}) {
        EntityMap none;
        EXPECT_EQ(DuplicateEntitySubtree(scene, source, kNullEntity, none, " copy"), kNullEntity);
        EXPECT_TRUE(none.empty());
    }
}

// Where a reference points: nowhere, at an entity inside the copied set (or at its copy,
// for expectations), or at an entity that was not copied.
enum class Ref { None, Inside, Copy, Outside };

struct RemapRow {
    const char* name;
    bool keepUnmapped;
    Ref bareIn, bareOut;
    Ref guidIn, guidOut;
    Ref linkIn, linkGuidIn, linkOut, linkGuidOut;
    Ref textLinkIn, textLinkOut;
    // Text forms: a Ref's Guid text, or the literal when `textIn` is set.
    Ref textRefIn;
    const char* textIn;
    Ref textRefOut;
    const char* textOut;
    bool copyLosesGuid = false;
};

TEST_F(EntityCopyTests, RemapsEachReferenceFormByItsRules) {
    using enum Ref;
    const RemapRow rows[] = {
        {"null references stay null", false, None, None, None, None, None, None, None, None, None, None, None,
         nullptr, None, nullptr},
        {"references into the set take the copy", false, Inside, Copy, Inside, Copy, Inside, None, Copy, Copy,
         Inside, Copy, Inside, nullptr, Copy, nullptr},
        {"unmapped handles become null, unmapped Guids stay", false, Outside, None, Outside, Outside, Outside,
         Outside, None, Outside, Outside, None, Outside, nullptr, Outside, nullptr},
        {"kept unmapped handles stay", true, Outside, Outside, Outside, Outside, Outside, Outside, Outside,
         Outside, Outside, Outside, Outside, nullptr, Outside, nullptr},
        {"a null handle is restored from its Guid", false, None, None, None, None, None, Inside, Copy, Copy, None,
         Copy, Inside, nullptr, Copy, nullptr},
        {"a text that is no Guid stays as written", false, None, None, None, None, None, None, None, None, None,
         None, None, "not-a-guid", None, "not-a-guid"},
        {"a text whose Guid is lost is emptied", false, None, None, None, None, None, None, None, None, Inside,
         Copy, Outside, nullptr, None, "", true},
    };
    for (const RemapRow& row : rows) {
        SCOPED_TRACE(row.name);
        Scene scene;
        const Entity root = scene.CreateEntity("Root");
        const Entity inside = scene.CreateEntity("Inside");
        const Entity outside = scene.CreateEntity("Outside");
        scene.SetParent(inside, root);
        EntityMap map;
        DuplicateEntitySubtree(scene, root, kNullEntity, map, " copy");
        const Entity copy = map.at(inside);
        if (row.copyLosesGuid) scene.GetRegistry().Remove<EntityGuidComponent>(copy);

        const auto entity = [&](Ref ref) {
            return ref == Inside ? inside : ref == Copy ? copy : ref == Outside ? outside : kNullEntity;
        };
        const auto guid = [&](Ref ref) { return scene.GetEntityGuid(entity(ref)); };
        const auto text = [&](Ref ref, const char* literal) {
            return literal != nullptr ? std::string(literal) : ref == None ? std::string() : guid(ref).ToString();
        };

        CopyProbeComponent source;
        source.bare = entity(row.bareIn);
        source.guid = guid(row.guidIn);
        source.link = entity(row.linkIn);
        source.linkGuid = guid(row.linkGuidIn);
        source.textLink = entity(row.textLinkIn);
        source.text = text(row.textRefIn, row.textIn);
        scene.Emplace<CopyProbeComponent>(map.at(root), source);

        RemapEntityReferences(scene, scene, map, row.keepUnmapped);

        const auto& probe = *scene.TryGet<CopyProbeComponent>(map.at(root));
        EXPECT_EQ(probe.bare, entity(row.bareOut));
        EXPECT_EQ(probe.guid, guid(row.guidOut));
        EXPECT_EQ(probe.link, entity(row.linkOut));
        EXPECT_EQ(probe.linkGuid, guid(row.linkGuidOut));
        EXPECT_EQ(probe.textLink, entity(row.textLinkOut));
        EXPECT_EQ(probe.text, text(row.textRefOut, row.textOut));
    }
}

TEST_F(EntityCopyTests, RemapsLinksOfRealComponentsAcrossScenes) {
    Scene from;
    const Entity rig = from.CreateEntity("Rig");
    const Entity target = from.CreateEntity("Target");
    from.SetParent(target, rig);
    auto& camera = from.Emplace<ThirdPersonCameraControllerComponent>(rig);
    camera.target = target;
    camera.targetGuid = from.GetEntityGuid(target);

    Scene to;
    EntityMap map;
    for (const Entity source : {rig, target}) {
        const Entity copy = to.CreateEntity(from.GetName(source));
        CopyEntityComponents(from, to, source, copy, true, ComponentCopyKind::Transfer);
        map[source] = copy;
    }
    RemapEntityReferences(from, to, map, false);

    const auto* copied = to.TryGet<ThirdPersonCameraControllerComponent>(map.at(rig));
    ASSERT_NE(copied, nullptr);
    EXPECT_EQ(copied->target, map.at(target));
    EXPECT_EQ(copied->targetGuid, to.GetEntityGuid(map.at(target)));
    EXPECT_TRUE(IsNullEntity(copied->aimTarget));
}

} // namespace
} // namespace Brelk::Scene
