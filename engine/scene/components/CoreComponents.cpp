#include "engine/scene/components/CoreComponents.h"

namespace Brelk::Scene {

namespace {

// The component and its saved form hold the same fields in the same order; only the
// component's tool flags differ, so one member-wise copy serves both directions.
template <class To, class From>
To CopyPrefabInstanceFields(const From& from) {
    return To{from.prefab,          from.sourceEntityGuid, from.instanceRootGuid,
              from.connected,       from.overrides,        from.addedComponents,
              from.removedComponents, from.addedEntities,  from.removedEntities};
}

} // namespace

PrefabInstanceRecord ToPrefabInstanceRecord(const PrefabInstanceComponent& component) {
    return CopyPrefabInstanceFields<PrefabInstanceRecord>(component);
}

PrefabInstanceComponent FromPrefabInstanceRecord(const PrefabInstanceRecord& record) {
    return CopyPrefabInstanceFields<PrefabInstanceComponent>(record);
}

} // namespace Brelk::Scene
