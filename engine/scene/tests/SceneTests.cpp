#include "engine/scene/Scene.h"

#include "engine/scene/components/LightComponents.h"
#include "engine/scene/components/RenderComponents.h"

#include <gtest/gtest.h>

#include <glm/geometric.hpp>
#include <glm/mat4x4.hpp>

#include <vector>

namespace Brelk::Scene {
namespace {

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
    EXPECT_EQ(LocalMatrix(scene.Get<TransformComponent>(entity).transform), glm::mat4(1.0f));
    EXPECT_EQ(scene.TransformLog().changed.at(entity), scene.TransformLog().revision);
    const std::uint64_t structure = scene.StructureRevision();
    const std::uint64_t content = scene.SceneRevision();
    const Entity other = scene.CreateEntity("y");
    EXPECT_EQ(scene.StructureRevision(), structure + 1);
    EXPECT_EQ(scene.SceneRevision(), content + 1);
    EXPECT_NE(scene.GetEntityGuid(other), scene.GetEntityGuid(entity));
    const Core::Guid old = scene.GetEntityGuid(entity);
    scene.SetEntityGuid(entity, Core::Guid::FromName("new identity"));
    EXPECT_EQ(scene.FindEntityByGuid(Core::Guid::FromName("new identity")), entity);
    EXPECT_EQ(scene.FindEntityByGuid(old), kNullEntity);
}

TEST(SceneTest, DestroyingAParentDestroysItsSubtreeLeavingNoLogEntriesAndDeadEntitiesTakeNoOperation) {
    Scene scene;
    const Entity root = scene.CreateEntity("root");
    const Entity child = scene.CreateEntity("child");
    const Entity grandchild = scene.CreateEntity("grandchild");
    const Entity other = scene.CreateEntity("other");
    const Entity sibling = scene.CreateEntity("sibling");
    for (const auto& [entity, parent] : {std::pair{child, root}, {sibling, root}, {grandchild, child}})
        scene.SetParent(entity, parent);
    scene.DestroyEntity(sibling);
    EXPECT_EQ(scene.GetChildren(root), (std::vector<Entity>{child}));
    scene.DestroyEntity(root);
    for (Entity gone : {root, child, grandchild}) {
        EXPECT_FALSE(scene.IsAlive(gone));
        EXPECT_EQ(scene.TransformLog().changed.count(gone) + scene.HierarchyLog().changed.count(gone), 0u);
    }
    EXPECT_EQ(scene.Entities(), (std::vector<Entity>{other}));
    // A dead entity takes no operation.
    const std::uint64_t revision = scene.SceneRevision();
    scene.DestroyEntity(child);
    scene.SetParent(child, other);
    scene.SetEntityGuid(child, Core::Guid::FromName("dead"));
    EXPECT_EQ(scene.SceneRevision(), revision);
    EXPECT_EQ(scene.GetParent(child), kNullEntity);
    EXPECT_TRUE(scene.GetChildren(other).empty() && scene.GetChildren(child).empty());
    EXPECT_FALSE(scene.GetEntityGuid(child).IsValid());
    EXPECT_EQ(scene.FindEntityByGuid(Core::Guid::FromName("dead")), kNullEntity);
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
    for (const Entity child : {c, b, a}) scene.SetParent(child, p);
    EXPECT_EQ(scene.GetChildren(p), (std::vector<Entity>{a, c, b}));
    EXPECT_EQ(scene.GetParent(a), p);
    scene.SetParent(c, q);
    scene.SetParent(b, kNullEntity);
    EXPECT_EQ(scene.GetChildren(p), (std::vector<Entity>{a}));
    EXPECT_EQ(scene.GetChildren(q), (std::vector<Entity>{c}));
    EXPECT_EQ(scene.GetParent(b), kNullEntity);
}

TEST(SceneChangeTest, MarkingEverythingChangedResetsTheHierarchyLogOnlyANewEnvironmentCountsAndClearResetsAll) {
    Scene scene;
    const Entity parent = scene.CreateEntity("p");
    const Entity child = scene.CreateEntity("c");
    scene.SetParent(child, parent);
    const std::uint64_t content = scene.SceneRevision();
    scene.MarkEverythingChanged();
    EXPECT_TRUE(scene.HierarchyLog().changed.empty());
    EXPECT_EQ(scene.HierarchyLog().floor, scene.HierarchyLog().revision);
    EXPECT_EQ(scene.SceneRevision(), content + 1);
    // An equal environment leaves the revision alone.
    const std::uint64_t revision = scene.SceneRevision();
    scene.SetEnvironment(EnvironmentSettings{});
    EXPECT_EQ(scene.SceneRevision(), revision);
    EnvironmentSettings brighter;
    brighter.lightIntensity = 2.0f;
    scene.SetEnvironment(brighter);
    EXPECT_EQ(scene.SceneRevision(), revision + 1);
    EXPECT_EQ(scene.GetEnvironment().lightIntensity, 2.0f);

    // Clear puts everything back to the start.
    scene.Clear();
    EXPECT_FALSE(scene.IsAlive(parent));
    EXPECT_TRUE(scene.Entities().empty());
    EXPECT_EQ(scene.SceneRevision(), 1u);
    EXPECT_EQ(scene.TransformLog().revision, 1u);
    EXPECT_TRUE(scene.TransformLog().changed.empty());
    EXPECT_EQ(scene.GetEnvironment(), EnvironmentSettings{});
}

TEST(SceneWorldMatrixTest, RotationsTurnAboutXThenYThenZAndAChildLivesInItsParentsScaledSpace) {
    // Turning first about X leaves the Y turn nothing to move; the reverse order would not.
    const glm::vec4 up = LocalMatrix(At({}, {90.0f, 90.0f, 0.0f})) * glm::vec4(0.0f, 0.0f, 1.0f, 0.0f);
    EXPECT_NEAR(glm::length(glm::vec3(up) - glm::vec3(0.0f, -1.0f, 0.0f)), 0.0f, 1e-6f);
    const glm::vec4 back = LocalMatrix(At({}, {0.0f, 90.0f, 90.0f})) * glm::vec4(1.0f, 0.0f, 0.0f, 0.0f);
    EXPECT_NEAR(glm::length(glm::vec3(back) - glm::vec3(0.0f, 0.0f, -1.0f)), 0.0f, 1e-6f);

    Scene scene;
    const Entity parent = scene.CreateEntity("p");
    const Entity child = scene.CreateEntity("c");
    scene.SetParent(child, parent);
    // Scaled first (z by 4), then turned onto +x, then moved.
    scene.SetTransform(parent, At({1.0f, 0.0f, 0.0f}, {0.0f, 90.0f, 0.0f}, {2.0f, 3.0f, 4.0f}));
    scene.SetTransform(child, At({0.0f, 0.0f, 1.0f}));
    const glm::vec3 position = Translation(scene.GetWorldMatrix(child));
    EXPECT_NEAR(glm::length(position - glm::vec3(5.0f, 0.0f, 0.0f)), 0.0f, 1e-5f);
    scene.SetTransform(parent, At({5.0f, 0.0f, 0.0f}));
    EXPECT_EQ(Translation(scene.GetWorldMatrix(child)), glm::vec3(5.0f, 0.0f, 1.0f));
}

TEST(SceneFactoryTest, CamerasAndLightsStandAtTheirPlacesWithDefaultSettings) {
    Scene scene;
    const Entity camera = scene.CreateCamera("Camera", false);
    const Entity primary = scene.CreatePrimaryCamera("Main Camera");
    EXPECT_EQ(std::pair(scene.Get<CameraComponent>(camera).primary, scene.Get<CameraComponent>(primary).primary),
              std::pair(false, true));
    EXPECT_EQ(scene.GetName(primary), "Main Camera");
    const Entity sun = scene.CreateDirectionalLight("Sun");
    const Entity lamp = scene.CreatePointLight("Lamp");
    const Entity torch = scene.CreateSpotLight("Torch");
    EXPECT_EQ(scene.Get<DirectionalLightComponent>(sun), DirectionalLightComponent{});
    EXPECT_EQ(scene.Get<PointLightComponent>(lamp), PointLightComponent{});
    EXPECT_EQ(scene.Get<SpotLightComponent>(torch), SpotLightComponent{});
    const std::pair<Entity, Transform> placements[] = {
        {camera, At({0.0f, 0.0f, 6.0f})}, {primary, At({0.0f, 0.0f, 6.0f})},
        {sun, At({3.0f, 4.0f, 3.0f}, {-45.0f, 45.0f, 0.0f})}, {lamp, At({0.0f, 2.0f, 0.0f})},
        {torch, At({0.0f, 3.0f, 3.0f}, {-35.0f, 180.0f, 0.0f})}};
    for (const auto& [entity, placement] : placements)
        EXPECT_EQ(scene.Get<TransformComponent>(entity).transform, placement) << scene.GetName(entity);
    EXPECT_EQ(scene.TransformLog().floor, scene.TransformLog().revision);
}

} // namespace
} // namespace Brelk::Scene
