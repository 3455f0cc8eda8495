#include "engine/reflection/ReflectedTypeBuilder.h"
#include "engine/scene/ComponentRegistry.h"
#include "engine/scene/components/CatalogueRegistration.h"
#include "engine/scene/components/ComponentRegistrars.h"
#include "engine/scene/components/CoreComponents.h"
#include "engine/scene/components/RecordEdits.h"

#include <utility>

namespace Brelk::Scene {
namespace {

using Detail::Labelled;
using Reflection::FieldAttr;
using Reflection::ReflectedTypeBuilder;

constexpr ComponentFlags kHeaderFlags = ComponentFlags::Saved | ComponentFlags::Required | ComponentFlags::EntityHeader;
constexpr ComponentFlags kRequiredFlags = ComponentFlags::Saved | ComponentFlags::Required;

// Scenes of old saved the transform value itself as the record. It becomes the one
// field of the component record, carried over whole with its own name and version.
void UpgradeTransformRecord(Reflection::SchemaRecord& record) {
    Reflection::SchemaRecord component;
    component.name = "TransformComponent";
    component.version = 1;
    component.fields.push_back(Reflection::SchemaField{"transform", Reflection::SchemaValue(std::move(record))});
    record = std::move(component);
}

// Version 1 addressed an override's entity by "entityGuid".
void MigratePrefabInstance(Reflection::SchemaRecord& record, std::uint32_t fromVersion) {
    if (fromVersion >= 2) {
        return;
    }
    ForEachArrayObject(record, "overrides", [](Reflection::SchemaRecord& entry) {
        RenameRecordField(entry, "entityGuid", "localGuid");
        if (entry.version == 1) {
            entry.version = 2;
        }
    });
}

ReplicationSettings Tolerance(float tolerance) {
    ReplicationSettings settings;
    settings.mode = 1;
    settings.tolerance = tolerance;
    settings.hasTolerance = true;
    return settings;
}

ReplicationSettings ToleranceInRange(float tolerance, float minimum, float maximum) {
    ReplicationSettings settings = Tolerance(tolerance);
    settings.minimum = minimum;
    settings.maximum = maximum;
    settings.hasRange = true;
    return settings;
}

} // namespace

void RegisterCoreComponents() {
    Labelled(ReflectedTypeBuilder<Transform>("Transform", "Transform", "Core"))
        .Field("position", &Transform::position)
        .Field("rotation", &Transform::rotation, FieldAttr().Angle())
        .Field("scale", &Transform::scale);

    Labelled(RegisterComponent<NameComponent>("NameComponent", "Name", "Core", kHeaderFlags))
        .Field("name", &NameComponent::name);

    Labelled(RegisterComponent<EntityGuidComponent>("EntityGuidComponent", "Entity Guid", "Core", kHeaderFlags))
        .Field("guid", &EntityGuidComponent::guid, FieldAttr().ReadOnly());

    Labelled(RegisterComponent<TransformComponent>("TransformComponent", "Transform", "Core", kRequiredFlags))
        .Field("transform", &TransformComponent::transform)
        .Done()
        .RecordAlias("Transform", UpgradeTransformRecord)
        .Replicated("transform.position", Tolerance(0.001f))
        .Replicated("transform.rotation", ToleranceInRange(0.01f, -720.0f, 720.0f))
        .Replicated("transform.scale");

    Labelled(RegisterComponent<HierarchyComponent>("HierarchyComponent", "Hierarchy", "Core", kHeaderFlags))
        .Field("parent", &HierarchyComponent::parent, Detail::EntityField().ReadOnly())
        .Field("children", &HierarchyComponent::children, Detail::EntityField().ReadOnly());

    Labelled(ReflectedTypeBuilder<PrefabOverride>("PrefabOverride", "PrefabOverride", "Serialization").Version(2))
        .Field("localGuid", &PrefabOverride::localGuid)
        .Field("propertyPath", &PrefabOverride::propertyPath)
        .Field("value", &PrefabOverride::value);

    Labelled(ReflectedTypeBuilder<PrefabComponentChange>("PrefabComponentChange", "PrefabComponentChange",
                                                         "Serialization"))
        .Field("localGuid", &PrefabComponentChange::localGuid)
        .Field("component", &PrefabComponentChange::component);

    using R = PrefabInstanceRecord;
    Labelled(ReflectedTypeBuilder<R>("PrefabInstanceRecord", "PrefabInstanceRecord", "Serialization").Version(2))
        .Field("prefab", &R::prefab, Detail::AssetField("Prefab"))
        .Field("sourceEntityGuid", &R::sourceEntityGuid)
        .Field("instanceRootGuid", &R::instanceRootGuid)
        .Field("connected", &R::connected)
        .Field("overrides", &R::overrides)
        .Field("addedComponents", &R::addedComponents)
        .Field("removedComponents", &R::removedComponents)
        .Field("addedEntities", &R::addedEntities)
        .Field("removedEntities", &R::removedEntities);

    using C = PrefabInstanceComponent;
    Labelled(RegisterComponent<C>("PrefabInstanceComponent", "Prefab Instance", "Core", ComponentFlags::Saved))
        .Field("prefab", &C::prefab, Detail::AssetField("Prefab"))
        .Field("sourceEntityGuid", &C::sourceEntityGuid, FieldAttr("Source Entity").ReadOnly())
        .Field("instanceRootGuid", &C::instanceRootGuid, FieldAttr("Instance Root").ReadOnly().EntityReference())
        .Field("connected", &C::connected)
        .Field("overrides", &C::overrides, FieldAttr().ReadOnly())
        .Field("addedComponents", &C::addedComponents, FieldAttr().ReadOnly())
        .Field("removedComponents", &C::removedComponents, FieldAttr().ReadOnly())
        .Field("addedEntities", &C::addedEntities, FieldAttr().ReadOnly())
        .Field("removedEntities", &C::removedEntities, FieldAttr().ReadOnly())
        .Done()
        .Version(2)
        .Migrate(MigratePrefabInstance)
        .SaveAs<R>([](const C& component, R& record) { record = ToPrefabInstanceRecord(component); },
                   [](const R& record, C& component) { component = FromPrefabInstanceRecord(record); });

    RegisterComponent<TransientComponent>("TransientComponent", "Transient", "Core", ComponentFlags::RuntimeOnly)
        .Description("Runtime-only entity tag (spawned VFX emitters): never saved, copied or listed.");
}

} // namespace Brelk::Scene
