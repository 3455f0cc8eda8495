#pragma once

#include "engine/core/Guid.h"
#include "engine/scene/Entity.h"

#include <cstdint>
#include <string>

namespace Brelk::Scene {

// Why a component is being copied; handed to every copy function and `onCopy` hook.
enum class ComponentCopyKind : std::uint8_t {
    // A second entity in the same scene (duplicate command).
    Duplicate = 0,
    // The same entity's data moving to another scene (prefab instantiation and rebuild).
    Transfer = 1,
};

// Rewrites references held by copied components so that those pointing into the copied
// set point at the copies. Components declare their references at registration; the
// copy code drives this interface through the table's `remap` functions.
class EntityReferenceRemapper {
public:
    virtual ~EntityReferenceRemapper() = default;

    // A bare handle.
    virtual void RemapEntity(Entity& entity) const = 0;
    // A Guid that names an entity.
    virtual void RemapGuid(Core::Guid& guid) const = 0;
    // A handle with the Guid of its target beside it in text form.
    virtual void RemapGuidText(Entity& entity, std::string& guidText) const = 0;
    // A handle with the Guid of its target beside it.
    virtual void RemapLink(Entity& entity, Core::Guid& guid) const = 0;
};

} // namespace Brelk::Scene
