#include "engine/scene/Scene.h"

#include "engine/scene/components/LightComponents.h"
#include "engine/scene/components/RenderComponents.h"

#include <gtest/gtest.h>

#include <glm/gtc/matrix_transform.hpp>
#include <glm/geometric.hpp>
#include <glm/gtc/quaternion.hpp>

#include <algorithm>
#include <vector>

namespace Brelk::Scene {
namespace {

void ExpectMatrixNear(const glm::mat4& actual, const glm::mat4& expected, float tolerance = 1e-5f) {
    for (int column = 0; column < 4; ++column)
        for (int row = 0; row < 4; ++row) EXPECT_NEAR(actual[column][row], expected[column][row], tolerance) << column << row;
}

glm::vec3 Translation(const glm::mat4& matrix) { return glm::vec3(matrix[3]); }

Transform At(glm::vec3 position, glm::vec3 rotation = glm::vec3(0.0f), glm::vec3 scale = glm::vec3(1.0f)) {
    Transform transform;
    transform.position = position, transform.rotation = rotation, transform.scale = scale;
    return transform;
}

TEST(SceneTest, CreatesARootWithANameAUniqueGuidAndTheIdentityTransform) {
    Scene scene;
    const Entity entity = scene.CreateEntity("x");
    EXPECT_EQ(scene.GetName(entity), "x");
    EXPECT_TRUE(scene.GetEntityGuid(entity).IsValid());
    EXPECT_EQ(scene.FindEntityByGuid(scene.GetEntityGuid(entity)), entity);
    ExpectMatrixNear(LocalMatrix(scene.Get<TransformComponent>(entity).transform), glm::mat4(1.0f), 0.0f);
    EXPECT_EQ(scene.TransformLog().changed.at(entity), scene.TransformLog().revision);
    const std::uint64_t structure = scene.StructureRevision();
    const std::uint64_t content = scene.SceneRevision();
    const Entity other = scene.CreateEntity("y");
    EXPECT_EQ(scene.StructureRevision(), structure + 1);
    EXPECT_EQ(scene.SceneRevision(), content + 1);
    EXPECT_NE(scene.GetEntityGuid(other), scene.GetEntityGuid(entity));
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
    for (Entity gone : {root, child, grandchild}) {
        EXPECT_FALSE(scene.IsAlive(gone));
        EXPECT_EQ(scene.TransformLog().changed.count(gone) + scene.HierarchyLog().changed.count(gone), 0u);
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
    EXPECT_EQ(scene.TransformLog().revision, 1u);
    EXPECT_TRUE(scene.TransformLog().changed.empty());
    EXPECT_EQ(scene.GetEnvironment(), EnvironmentSettings{});
}

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

TEST(SceneIdentityTest, SettingAGuidReindexesTheEntity) {
    Scene scene;
    const Entity entity = scene.CreateEntity("x");
    const Core::Guid old = scene.GetEntityGuid(entity);
    scene.SetEntityGuid(entity, Core::Guid::FromName("new identity"));
    EXPECT_EQ(scene.FindEntityByGuid(Core::Guid::FromName("new identity")), entity);
    EXPECT_EQ(scene.FindEntityByGuid(old), kNullEntity);
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
    EXPECT_NEAR(glm::length(position - glm::vec3(2.0f, 0.0f, 0.0f)), 0.0f, 1e-5f);
    scene.SetTransform(parent, At({5.0f, 0.0f, 0.0f}));
    EXPECT_EQ(Translation(scene.GetWorldMatrix(child)), glm::vec3(5.0f, 0.0f, 1.0f));
}

TEST(SceneFactoryTest, CameraStandsSixUnitsBackAndTakesThePrimaryFlag) {
    Scene scene;
    const Entity camera = scene.CreateCamera("Camera", false);
    const Entity primary = scene.CreatePrimaryCamera("Main Camera");
    EXPECT_EQ(scene.Get<TransformComponent>(camera).transform, At({0.0f, 0.0f, 6.0f}));
    EXPECT_FALSE(scene.Get<CameraComponent>(camera).primary);
    EXPECT_TRUE(scene.Get<CameraComponent>(primary).primary);
    EXPECT_EQ(scene.GetName(primary), "Main Camera");
}

TEST(SceneFactoryTest, DirectionalLightLooksDownFromAboveAndMarksAllTransformsChanged) {
    Scene scene;
    const Entity light = scene.CreateDirectionalLight("Sun");
    EXPECT_EQ(scene.Get<TransformComponent>(light).transform, At({3.0f, 4.0f, 3.0f}, {-45.0f, 45.0f, 0.0f}));
    EXPECT_EQ(scene.Get<DirectionalLightComponent>(light), DirectionalLightComponent{});
    EXPECT_EQ(scene.TransformLog().floor, scene.TransformLog().revision);
}

} // namespace
} // namespace Brelk::Scene
