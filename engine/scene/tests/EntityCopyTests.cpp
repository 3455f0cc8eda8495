#include "engine/scene/ComponentRegistry.h"
#include "engine/scene/EntityCopy.h"
#include "engine/scene/InstallComponents.h"
#include "engine/scene/Scene.h"
#include "engine/scene/components/CoreComponents.h"
#include "engine/scene/components/GameplayComponents.h"

#include "tests/support/TextCases.h"

#include <gtest/gtest.h>

#include <map>

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
    // The probe is not saved: only a copy of everything takes it.
    for (const bool savedOnly : {true, false}) {
        SCOPED_TRACE(savedOnly);
        Scene from;
        Scene to;
        const Entity source = from.CreateEntity("Source");
        from.Emplace<HealthComponent>(source).maxHealth = 40.0f;
        from.Emplace<CopyProbeComponent>(source).label = "probe";
        from.Emplace<TransientComponent>(source);
        from.SetTransform(source, Transform{{1.0f, 2.0f, 3.0f}, {}, {1.0f, 1.0f, 1.0f}});
        const Entity target = to.CreateEntity("Target");
        const Core::Guid targetGuid = to.GetEntityGuid(target);

        CopyEntityComponents(from, to, source, target, savedOnly, ComponentCopyKind::Transfer);

        EXPECT_EQ(to.Get<HealthComponent>(target).maxHealth, 40.0f);
        EXPECT_EQ(to.Has<CopyProbeComponent>(target), !savedOnly);
        EXPECT_FALSE(to.Has<TransientComponent>(target));
        EXPECT_EQ(std::pair(to.GetName(target), to.GetEntityGuid(target)), std::pair(std::string("Target"), targetGuid));
        EXPECT_EQ(to.Get<TransformComponent>(target).transform, Transform{});
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
    for (const auto& [child, parent] :
         {std::pair{first, root}, {transient, root}, {underTransient, transient}, {second, root}, {grandchild, second}})
        scene.SetParent(child, parent);
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

// Each input line names a reference form of the probe and where it points before the remap:
// "inside" the copied set, "outside" it, at the "copy" of the inside entity, or a literal
// text; a form left out is null. The outcome says the same of the remapped probe.
TEST_F(EntityCopyTests, RemapsEachReferenceFormByItsRules) {
    const auto remap = [](const Testing::TextCase& c) {
        Scene scene;
        const Entity root = scene.CreateEntity("Root");
        const Entity inside = scene.CreateEntity("Inside");
        const Entity outside = scene.CreateEntity("Outside");
        scene.SetParent(inside, root);
        EntityMap map;
        DuplicateEntitySubtree(scene, root, kNullEntity, map, " copy");
        const std::map<std::string, Entity> places = {{"inside", inside}, {"copy", map.at(inside)}, {"outside", outside}};
        std::map<std::string, std::string> in;
        for (std::size_t start = 0, end; (end = c.input.find('\n', start)) != std::string::npos; start = end + 1) {
            const std::string line = c.input.substr(start, end - start);
            const std::size_t space = std::min(line.find(' '), line.size());
            in[line.substr(0, space)] = line.substr(std::min(space + 1, line.size()));
        }
        if (in.contains("copy-without-guid")) scene.GetRegistry().Remove<EntityGuidComponent>(map.at(inside));
        const auto entity = [&](const std::string& form) {
            return places.contains(in[form]) ? places.at(in[form]) : kNullEntity;
        };
        CopyProbeComponent probe{"", entity("bare"), scene.GetEntityGuid(entity("guid")), entity("link"),
                                 scene.GetEntityGuid(entity("linkGuid")), entity("textLink"), in["text"]};
        if (places.contains(probe.text)) probe.text = scene.GetEntityGuid(places.at(probe.text)).ToString();
        scene.Emplace<CopyProbeComponent>(map.at(root), probe);

        RemapEntityReferences(scene, scene, map, in.contains("keep-unmapped"));

        probe = scene.Get<CopyProbeComponent>(map.at(root));
        const auto place = [&](Entity e) -> std::string {
            for (const auto& [name, at] : places)
                if (at == e) return name;
            return IsNullEntity(e) ? "" : "entity " + std::to_string(e);
        };
        const auto placeOf = [&](const Core::Guid& guid) {
            const Entity found = scene.FindEntityByGuid(guid);
            return !guid.IsValid() ? "" : IsNullEntity(found) ? guid.ToString() : place(found);
        };
        const Core::Guid textGuid = Core::Guid::Parse(probe.text).value_or(Core::Guid{});
        const std::pair<const char*, std::string> out[] = {
            {"bare", place(probe.bare)},         {"guid", placeOf(probe.guid)},
            {"link", place(probe.link)},         {"linkGuid", placeOf(probe.linkGuid)},
            {"textLink", place(probe.textLink)}, {"text", textGuid.IsValid() ? placeOf(textGuid) : probe.text}};
        std::string text;
        for (const auto& [form, value] : out)
            if (!value.empty()) text += std::string(form) + " " + value + "\n";
        return text;
    };
    Testing::ExpectTextCases(std::filesystem::path(BRELK_TEST_DATA_DIR) / "EntityReferenceRemaps.txt", remap);
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
