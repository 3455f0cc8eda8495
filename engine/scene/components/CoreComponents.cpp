#include "engine/scene/components/CoreComponents.h"

namespace Brelk::Scene {

PrefabInstanceRecord ToPrefabInstanceRecord(const PrefabInstanceComponent& component) {
    PrefabInstanceRecord record;
    record.prefab = component.prefab;
    record.sourceEntityGuid = component.sourceEntityGuid;
    record.instanceRootGuid = component.instanceRootGuid;
    record.connected = component.connected;
    record.overrides = component.overrides;
    record.addedComponents = component.addedComponents;
    record.removedComponents = component.removedComponents;
    record.addedEntities = component.addedEntities;
    record.removedEntities = component.removedEntities;
    return record;
}

PrefabInstanceComponent FromPrefabInstanceRecord(const PrefabInstanceRecord& record) {
    PrefabInstanceComponent component;
    component.prefab = record.prefab;
    component.sourceEntityGuid = record.sourceEntityGuid;
    component.instanceRootGuid = record.instanceRootGuid;
    component.connected = record.connected;
    component.overrides = record.overrides;
    component.addedComponents = record.addedComponents;
    component.removedComponents = record.removedComponents;
    component.addedEntities = record.addedEntities;
    component.removedEntities = record.removedEntities;
    return component;
}

} // namespace Brelk::Scene
