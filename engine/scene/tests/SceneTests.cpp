#include "engine/scene/Scene.h"

#include "engine/scene/components/LightComponents.h"
#include "engine/scene/components/RenderComponents.h"

#include <gtest/gtest.h>

#include <glm/gtc/matrix_transform.hpp>
#include <glm/gtc/quaternion.hpp>

#include <algorithm>
#include <vector>

namespace Brelk::Scene {
namespace {

void ExpectMatrixNear(const glm::mat4& actual, const glm::mat4& expected, float tolerance = 1e-5f) {
    for (int column = 0; column < 4; ++column) {
        for (int row = 0; row < 4; ++row) {
            EXPECT_NEAR(actual[column][row], expected[column][row], tolerance)
                << "at column " << column << ", row " << row;
        }
    }
}

glm::vec3 Translation(const glm::mat4& matrix) {
    return glm::vec3(matrix[3]);
}

Transform At(glm::vec3 position, glm::vec3 rotation = glm::vec3(0.0f), glm::vec3 scale = glm::vec3(1.0f)) {
    Transform transform;
    transform.position = position;
    transform.rotation = rotation;
    transform.scale = scale;
    return transform;
}

// --- Entities --------------------------------------------------------------------------------

TEST(SceneTest, CreatesARootWithANameAUniqueGuidAndTheIdentityTransform) {
    Scene scene;
    const Entity entity = scene.CreateEntity("x");
    EXPECT_TRUE(scene.IsAlive(entity));
    EXPECT_EQ(scene.GetName(entity), "x");
    EXPECT_TRUE(scene.GetEntityGuid(entity).IsValid());
    EXPECT_EQ(scene.FindEntityByGuid(scene.GetEntityGuid(entity)), entity);
    const Transform& transform = scene.Get<TransformComponent>(entity).transform;
    EXPECT_EQ(transform.position, glm::vec3(0.0f));
    EXPECT_EQ(transform.rotation, glm::vec3(0.0f));
    EXPECT_EQ(transform.scale, glm::vec3(1.0f));
    EXPECT_EQ(scene.GetParent(entity), kNullEntity);
    EXPECT_TRUE(scene.GetChildren(entity).empty());
    EXPECT_EQ(scene.TransformLog().changed.at(entity), scene.TransformLog().revision);
    const std::uint64_t structure = scene.StructureRevision();
    const std::uint64_t content = scene.SceneRevision();
    const Entity other = scene.CreateEntity("y");
    EXPECT_EQ(scene.StructureRevision(), structure + 1);
    EXPECT_EQ(scene.SceneRevision(), content + 1);
    EXPECT_NE(scene.GetEntityGuid(other), scene.GetEntityGuid(entity));
}

TEST(SceneTest, RestoresAnEntityUnderItsOldHandleOrElseMakesAFreshOne) {
    Scene scene;
    const Entity first = scene.CreateEntity("first");
    const Entity second = scene.CreateEntity("second");
    scene.DestroyEntity(first);
    const Core::Guid guid = Core::Guid::FromName("restored");
    const Entity restored = scene.CreateEntity(first, "again", guid, 0);
    EXPECT_EQ(restored, first);
    EXPECT_EQ(scene.Entities(), (std::vector<Entity>{first, second}));
    EXPECT_EQ(scene.GetName(restored), "again");
    EXPECT_EQ(scene.FindEntityByGuid(guid), restored);
    EXPECT_TRUE(scene.ChangedRootsSince(1).full);
    // A wanted handle that is alive gets a fresh entity instead.
    const Core::Guid fresh = Core::Guid::FromName("fresh");
    const Entity made = scene.CreateEntity(second, "fresh", fresh, 0);
    EXPECT_NE(made, second);
    EXPECT_EQ(scene.GetEntityGuid(made), fresh);
    EXPECT_EQ(scene.Entities().back(), made);
}

TEST(SceneTest, DestroyingAParentDestroysItsSubtreeAndLeavesNoLogEntries) {
    Scene scene;
    const Entity root = scene.CreateEntity("root");
    const Entity child = scene.CreateEntity("child");
    const Entity grandchild = scene.CreateEntity("grandchild");
    const Entity other = scene.CreateEntity("other");
    const Entity sibling = scene.CreateEntity("sibling");
    scene.SetParent(child, root);
    scene.SetParent(sibling, root);
    scene.SetParent(grandchild, child);
    scene.DestroyEntity(sibling);
    EXPECT_EQ(scene.GetChildren(root), (std::vector<Entity>{child}));
    scene.DestroyEntity(root);
    EXPECT_FALSE(scene.IsAlive(root));
    EXPECT_FALSE(scene.IsAlive(child));
    EXPECT_FALSE(scene.IsAlive(grandchild));
    EXPECT_TRUE(scene.IsAlive(other));
    for (Entity gone : {root, child, grandchild}) {
        EXPECT_EQ(scene.TransformLog().changed.count(gone), 0u);
        EXPECT_EQ(scene.HierarchyLog().changed.count(gone), 0u);
    }
    EXPECT_EQ(scene.Entities(), (std::vector<Entity>{other}));
}

TEST(SceneTest, IgnoresOperationsOnADeadEntity) {
    Scene scene;
    const Entity entity = scene.CreateEntity("x");
    scene.DestroyEntity(entity);
    const std::uint64_t revision = scene.SceneRevision();
    scene.DestroyEntity(entity);
    scene.SetParent(entity, kNullEntity);
    scene.SetEntityGuid(entity, Core::Guid::FromName("dead"));
    EXPECT_EQ(scene.SceneRevision(), revision);
    EXPECT_EQ(scene.GetParent(entity), kNullEntity);
    EXPECT_TRUE(scene.GetChildren(entity).empty());
    EXPECT_FALSE(scene.GetEntityGuid(entity).IsValid());
    EXPECT_EQ(scene.FindEntityByGuid(Core::Guid::FromName("dead")), kNullEntity);
}

TEST(SceneTest, ClearPutsEverythingBackToTheStart) {
    Scene scene;
    const Entity entity = scene.CreateEntity("x");
    EnvironmentSettings environment;
    environment.lightIntensity = 3.0f;
    scene.SetEnvironment(environment);
    scene.Clear();
    EXPECT_FALSE(scene.IsAlive(entity));
    EXPECT_TRUE(scene.Entities().empty());
    EXPECT_EQ(scene.SceneRevision(), 1u);
    EXPECT_EQ(scene.StructureRevision(), 1u);
    EXPECT_EQ(scene.TransformLog().revision, 1u);
    EXPECT_EQ(scene.TransformLog().floor, 1u);
    EXPECT_TRUE(scene.TransformLog().changed.empty());
    EXPECT_EQ(scene.WorldCacheRevision(), 0u);
    EXPECT_TRUE(scene.AllTransformsDirty());
    EXPECT_EQ(scene.GetEnvironment(), EnvironmentSettings{});
}

// --- Hierarchy -----------------------------------------------------------------------------

TEST(SceneHierarchyTest, KeepsOneEntryPerChildInOrderOfAttachmentAndMovesOrDetaches) {
    Scene scene;
    const Entity p = scene.CreateEntity("p");
    const Entity q = scene.CreateEntity("q");
    const Entity c = scene.CreateEntity("c");
    const Entity a = scene.CreateEntity("a");
    const Entity b = scene.CreateEntity("b");
    const std::uint64_t structure = scene.StructureRevision();
    scene.SetParent(a, p);
    EXPECT_EQ(scene.StructureRevision(), structure + 1);
    EXPECT_EQ(scene.HierarchyLog().changed.at(a), scene.HierarchyLog().revision);
    EXPECT_EQ(scene.HierarchyLog().revision, 2u);
    scene.SetParent(c, p);
    scene.SetParent(b, p);
    scene.SetParent(a, p);
    EXPECT_EQ(scene.GetChildren(p), (std::vector<Entity>{a, c, b}));
    EXPECT_EQ(scene.GetParent(a), p);
    scene.SetParent(c, q);
    scene.SetParent(b, kNullEntity);
    EXPECT_EQ(scene.GetChildren(p), (std::vector<Entity>{a}));
    EXPECT_EQ(scene.GetChildren(q), (std::vector<Entity>{c}));
    EXPECT_EQ(scene.GetParent(b), kNullEntity);
}

TEST(SceneHierarchyTest, ADeadParentIsStoredButGainsNoChild) {
    Scene scene;
    const Entity dead = scene.CreateEntity("dead");
    scene.DestroyEntity(dead);
    const Entity child = scene.CreateEntity("a");
    scene.SetTransform(child, At({1.0f, 2.0f, 3.0f}));
    scene.SetParent(child, dead);
    EXPECT_EQ(scene.GetParent(child), dead);
    EXPECT_EQ(Translation(scene.GetWorldMatrix(child)), glm::vec3(1.0f, 2.0f, 3.0f));
}

// --- Identity --------------------------------------------------------------------------------

TEST(SceneIdentityTest, SettingAGuidReindexesTheEntity) {
    Scene scene;
    const Entity entity = scene.CreateEntity("x");
    const Core::Guid old = scene.GetEntityGuid(entity);
    const Core::Guid guid = Core::Guid::FromName("new identity");
    scene.SetEntityGuid(entity, guid);
    EXPECT_EQ(scene.FindEntityByGuid(guid), entity);
    EXPECT_EQ(scene.FindEntityByGuid(old), kNullEntity);
}

TEST(SceneIdentityTest, EntityRefsFollowTheGuidAcrossHandles) {
    Scene scene;
    const Entity entity = scene.CreateEntity("x");
    EntityRef ref = scene.MakeEntityRef(entity);
    EXPECT_EQ(ref.cachedEntity, entity);
    EXPECT_EQ(scene.ResolveEntityRef(ref), entity);

    const Core::Guid guid = ref.guid;
    scene.DestroyEntity(entity);
    EXPECT_EQ(scene.ResolveEntityRef(ref), kNullEntity);
    const Entity again = scene.CreateEntity("x again");
    scene.SetEntityGuid(again, guid);
    EXPECT_EQ(scene.ResolveEntityRef(ref), again);
    EXPECT_EQ(ref.cachedEntity, again);

    EntityRef none;
    none.cachedEntity = again;
    EXPECT_EQ(scene.ResolveEntityRef(none), kNullEntity);
    EXPECT_EQ(none.cachedEntity, kNullEntity);
    EXPECT_FALSE(scene.MakeEntityRef(entity).guid.IsValid());
}

// --- Change logs -------------------------------------------------------------------------------

TEST(SceneChangeTest, RevisionZeroAndRevisionsBeforeMarkingEverythingMovedAnswerFull) {
    Scene scene;
    scene.CreateEntity("x");
    const SceneChangeSet changes = scene.ChangedRootsSince(0);
    EXPECT_TRUE(changes.full);
    EXPECT_TRUE(changes.entities.empty());
    EXPECT_EQ(changes.revision, scene.TransformLog().revision);
    const std::uint64_t before = scene.TransformLog().revision;
    scene.MarkAllTransformsChanged();
    EXPECT_TRUE(scene.ChangedRootsSince(before).full);
    EXPECT_FALSE(scene.ChangedRootsSince(scene.TransformLog().revision).full);
    EXPECT_TRUE(scene.ChangedRootsSince(scene.TransformLog().revision).entities.empty());
}

TEST(SceneChangeTest, AMovedParentStandsForAMovedChild) {
    Scene scene;
    const Entity parent = scene.CreateEntity("p");
    const Entity child = scene.CreateEntity("c");
    const Entity loner = scene.CreateEntity("l");
    scene.SetParent(child, parent);
    const std::uint64_t since = scene.TransformLog().revision;
    scene.MarkTransformChanged(child);
    EXPECT_EQ(scene.ChangedRootsSince(since).entities, (std::vector<Entity>{child}));
    scene.MarkTransformChanged(parent);
    SceneChangeSet changes = scene.ChangedRootsSince(since);
    EXPECT_FALSE(changes.full);
    EXPECT_EQ(changes.entities, (std::vector<Entity>{parent}));

    scene.MarkTransformChanged(loner);
    changes = scene.ChangedRootsSince(since);
    EXPECT_EQ(changes.entities, (std::vector<Entity>{parent, loner}));
}

TEST(SceneChangeTest, DirtyRootsListEachEntityOnceInOrderOfFirstChange) {
    Scene scene;
    const Entity a = scene.CreateEntity("a");
    const Entity b = scene.CreateEntity("b");
    scene.ClearDirtyTransforms();
    scene.MarkTransformChanged(b);
    scene.MarkTransformChanged(a);
    scene.MarkTransformChanged(b);
    EXPECT_FALSE(scene.AllTransformsDirty());
    EXPECT_EQ(scene.DirtyRoots(), (std::vector<Entity>{b, a}));

    scene.DestroyEntity(a);
    scene.MarkTransformChanged(a);
    EXPECT_TRUE(scene.AllTransformsDirty());
    EXPECT_TRUE(scene.DirtyRoots().empty());
}

TEST(SceneChangeTest, MarkingEverythingChangedAlsoResetsTheHierarchyLog) {
    Scene scene;
    const Entity parent = scene.CreateEntity("p");
    const Entity child = scene.CreateEntity("c");
    scene.SetParent(child, parent);
    const std::uint64_t content = scene.SceneRevision();
    scene.MarkEverythingChanged();
    EXPECT_TRUE(scene.HierarchyLog().changed.empty());
    EXPECT_EQ(scene.HierarchyLog().floor, scene.HierarchyLog().revision);
    EXPECT_EQ(scene.SceneRevision(), content + 1);
}

TEST(SceneChangeTest, AnEqualEnvironmentLeavesTheRevisionAlone) {
    Scene scene;
    const std::uint64_t revision = scene.SceneRevision();
    scene.SetEnvironment(EnvironmentSettings{});
    EXPECT_EQ(scene.SceneRevision(), revision);
    EnvironmentSettings brighter;
    brighter.lightIntensity = 2.0f;
    scene.SetEnvironment(brighter);
    EXPECT_EQ(scene.SceneRevision(), revision + 1);
    EXPECT_EQ(scene.GetEnvironment().lightIntensity, 2.0f);
}

// --- World matrices ----------------------------------------------------------------------------

TEST(SceneWorldMatrixTest, LocalMatrixIsTranslationRotationScale) {
    const Transform transform = At({1.0f, 2.0f, 3.0f}, {10.0f, 20.0f, 30.0f}, {2.0f, 3.0f, 4.0f});
    const glm::quat rotation(glm::vec3(10.0f, 20.0f, 30.0f) * 0.017453292f);
    const glm::mat4 expected = glm::translate(glm::mat4(1.0f), transform.position) * glm::mat4_cast(rotation) *
                               glm::scale(glm::mat4(1.0f), transform.scale);
    ExpectMatrixNear(LocalMatrix(transform), expected, 0.0f);
}

TEST(SceneWorldMatrixTest, AChildLivesInItsParentsSpace) {
    Scene scene;
    const Entity parent = scene.CreateEntity("p");
    const Entity child = scene.CreateEntity("c");
    scene.SetParent(child, parent);
    scene.SetTransform(parent, At({1.0f, 0.0f, 0.0f}, {0.0f, 90.0f, 0.0f}));
    scene.SetTransform(child, At({0.0f, 0.0f, 1.0f}));
    const glm::vec3 position = Translation(scene.GetWorldMatrix(child));
    EXPECT_NEAR(position.x, 2.0f, 1e-5f);
    EXPECT_NEAR(position.y, 0.0f, 1e-5f);
    EXPECT_NEAR(position.z, 0.0f, 1e-5f);
    // The cached child follows its parent.
    scene.SetTransform(parent, At({5.0f, 0.0f, 0.0f}));
    EXPECT_EQ(Translation(scene.GetWorldMatrix(child)), glm::vec3(5.0f, 0.0f, 1.0f));
}

TEST(SceneWorldMatrixTest, AReusedSlotGetsAFreshCacheEntryAndADeadHandleTheIdentity) {
    Scene scene;
    scene.SetMinimumFreeIndices(0);
    const Entity first = scene.CreateEntity("first");
    scene.SetTransform(first, At({7.0f, 0.0f, 0.0f}));
    EXPECT_EQ(Translation(scene.GetWorldMatrix(first)), glm::vec3(7.0f, 0.0f, 0.0f));
    scene.DestroyEntity(first);
    const Entity second = scene.CreateEntity("second");
    ASSERT_EQ(EntityIndex(second), EntityIndex(first));
    ASSERT_NE(second, first);
    EXPECT_EQ(Translation(scene.GetWorldMatrix(second)), glm::vec3(0.0f));
    ExpectMatrixNear(scene.GetWorldMatrix(first), glm::mat4(1.0f), 0.0f);
    ExpectMatrixNear(scene.GetWorldMatrix(kNullEntity), glm::mat4(1.0f), 0.0f);
}

TEST(SceneWorldMatrixTest, RefreshingEverythingAgreesWithTheChainWalk) {
    Scene scene;
    const Entity root = scene.CreateEntity("root");
    const Entity child = scene.CreateEntity("child");
    const Entity grandchild = scene.CreateEntity("grandchild");
    const Entity loose = scene.CreateEntity("loose");
    scene.SetParent(child, root);
    scene.SetParent(grandchild, child);
    scene.SetTransform(root, At({1.0f, 2.0f, 3.0f}, {0.0f, 45.0f, 0.0f}));
    scene.SetTransform(child, At({0.0f, 1.0f, 0.0f}, {30.0f, 0.0f, 0.0f}, {2.0f, 2.0f, 2.0f}));
    scene.SetTransform(grandchild, At({0.0f, 0.0f, 1.0f}));
    scene.SetTransform(loose, At({-3.0f, 0.0f, 0.0f}));

    scene.RefreshWorldTransforms();
    EXPECT_EQ(scene.WorldCacheRevision(), scene.TransformLog().revision);
    Scene reference = scene;
    const glm::mat4 expected = LocalMatrix(scene.Get<TransformComponent>(root).transform) *
                               LocalMatrix(scene.Get<TransformComponent>(child).transform) *
                               LocalMatrix(scene.Get<TransformComponent>(grandchild).transform);
    ExpectMatrixNear(scene.GetWorldMatrix(grandchild), expected);
    ExpectMatrixNear(reference.GetWorldMatrix(loose), scene.GetWorldMatrix(loose), 0.0f);

    // An incremental refresh after one move.
    scene.SetTransform(child, At({0.0f, 5.0f, 0.0f}));
    scene.RefreshWorldTransforms();
    EXPECT_EQ(scene.WorldCacheRevision(), scene.TransformLog().revision);
    const glm::mat4 moved = LocalMatrix(scene.Get<TransformComponent>(root).transform) *
                            LocalMatrix(scene.Get<TransformComponent>(child).transform) *
                            LocalMatrix(scene.Get<TransformComponent>(grandchild).transform);
    ExpectMatrixNear(scene.GetWorldMatrix(grandchild), moved);
}

// --- Factories -------------------------------------------------------------------------------

TEST(SceneFactoryTest, CameraStandsSixUnitsBackAndTakesThePrimaryFlag) {
    Scene scene;
    const Entity camera = scene.CreateCamera("Camera", false);
    const Entity primary = scene.CreatePrimaryCamera("Main Camera");
    EXPECT_EQ(scene.Get<TransformComponent>(camera).transform.position, glm::vec3(0.0f, 0.0f, 6.0f));
    EXPECT_EQ(scene.Get<TransformComponent>(camera).transform.rotation, glm::vec3(0.0f));
    EXPECT_FALSE(scene.Get<CameraComponent>(camera).primary);
    EXPECT_TRUE(scene.Get<CameraComponent>(primary).primary);
    EXPECT_EQ(scene.Get<CameraComponent>(primary).verticalFovDegrees, CameraComponent{}.verticalFovDegrees);
    EXPECT_EQ(scene.GetName(primary), "Main Camera");
}

TEST(SceneFactoryTest, DirectionalLightLooksDownFromAboveAndMarksAllTransformsChanged) {
    Scene scene;
    const std::uint64_t before = scene.TransformLog().revision;
    const Entity light = scene.CreateDirectionalLight("Sun");
    EXPECT_EQ(scene.Get<TransformComponent>(light).transform.position, glm::vec3(3.0f, 4.0f, 3.0f));
    EXPECT_EQ(scene.Get<TransformComponent>(light).transform.rotation, glm::vec3(-45.0f, 45.0f, 0.0f));
    EXPECT_EQ(scene.Get<DirectionalLightComponent>(light), DirectionalLightComponent{});
    EXPECT_TRUE(scene.ChangedRootsSince(before).full);
    EXPECT_EQ(scene.TransformLog().floor, scene.TransformLog().revision);
}

// --- Frame update ------------------------------------------------------------------------------

class MoveFirstEntity final : public SceneSystem {
public:
    bool Run(Scene& scene, float deltaSeconds, std::vector<Entity>& moved) override {
        const Entity entity = scene.Entities().front();
        scene.Get<TransformComponent>(entity).transform.position.x += deltaSeconds;
        moved.push_back(entity);
        return true;
    }
};

TEST(SceneUpdateTest, MarksWhatSystemsMovedAndRaisesTheSceneRevisionOnce) {
    Scene scene;
    const Entity entity = scene.CreateEntity("mover");
    MoveFirstEntity first;
    MoveFirstEntity second;
    SceneSystem* systems[] = {&first, &second};
    const std::uint64_t revision = scene.SceneRevision();
    const std::uint64_t since = scene.TransformLog().revision;
    scene.Update(0.5f, systems);
    EXPECT_EQ(scene.SceneRevision(), revision + 1);
    EXPECT_EQ(scene.Get<TransformComponent>(entity).transform.position.x, 1.0f);
    EXPECT_EQ(scene.ChangedRootsSince(since).entities, (std::vector<Entity>{entity}));
    EXPECT_EQ(Translation(scene.GetWorldMatrix(entity)), glm::vec3(1.0f, 0.0f, 0.0f));
    scene.Update(1.0f);
    EXPECT_EQ(scene.SceneRevision(), revision + 1);
}

} // namespace
} // namespace Brelk::Scene
