#pragma once

#include "engine/core/Guid.h"
#include "engine/scene/Entity.h"

#include <glm/vec3.hpp>

#include <cstdint>
#include <string>
#include <vector>

// The components every entity of a scene carries, and the prefab link. Plain values:
// a default-constructed component is the schema default that files compare against.
namespace Brelk::Scene {

// Local placement. `rotation` holds Euler angles in degrees (x pitch, y yaw, z roll).
struct Transform {
    glm::vec3 position{0.0f, 0.0f, 0.0f};
    glm::vec3 rotation{0.0f, 0.0f, 0.0f};
    glm::vec3 scale{1.0f, 1.0f, 1.0f};

    friend bool operator==(const Transform&, const Transform&) = default;
};

struct NameComponent {
    std::string name;

    friend bool operator==(const NameComponent&, const NameComponent&) = default;
};

struct EntityGuidComponent {
    Core::Guid guid;

    friend bool operator==(const EntityGuidComponent&, const EntityGuidComponent&) = default;
};

struct TransformComponent {
    Transform transform;

    friend bool operator==(const TransformComponent&, const TransformComponent&) = default;
};

// The parent and child tree lives only here; sibling order is the order of attachment.
struct HierarchyComponent {
    Entity parent = kNullEntity;
    std::vector<Entity> children;

    friend bool operator==(const HierarchyComponent&, const HierarchyComponent&) = default;
};

// One property changed on one entity of a prefab instance, addressed by the entity's
// GUID inside the prefab.
struct PrefabOverride {
    Core::Guid localGuid;
    std::string propertyPath;
    std::string value;

    friend bool operator==(const PrefabOverride&, const PrefabOverride&) = default;
};

struct PrefabComponentChange {
    Core::Guid localGuid;
    std::string component;

    friend bool operator==(const PrefabComponentChange&, const PrefabComponentChange&) = default;
};

// The saved form of PrefabInstanceComponent. The component's bookkeeping fields are
// read-only to tools, which rules the component itself out of direct record coding.
struct PrefabInstanceRecord {
    std::uint64_t prefab = 0;
    Core::Guid sourceEntityGuid;
    Core::Guid instanceRootGuid;
    bool connected = true;
    std::vector<PrefabOverride> overrides;
    std::vector<PrefabComponentChange> addedComponents;
    std::vector<PrefabComponentChange> removedComponents;
    std::vector<Core::Guid> addedEntities;
    std::vector<Core::Guid> removedEntities;

    friend bool operator==(const PrefabInstanceRecord&, const PrefabInstanceRecord&) = default;
};

struct PrefabInstanceComponent {
    std::uint64_t prefab = 0;
    Core::Guid sourceEntityGuid;
    Core::Guid instanceRootGuid;
    bool connected = true;
    std::vector<PrefabOverride> overrides;
    std::vector<PrefabComponentChange> addedComponents;
    std::vector<PrefabComponentChange> removedComponents;
    std::vector<Core::Guid> addedEntities;
    std::vector<Core::Guid> removedEntities;

    friend bool operator==(const PrefabInstanceComponent&, const PrefabInstanceComponent&) = default;
};

PrefabInstanceRecord ToPrefabInstanceRecord(const PrefabInstanceComponent& component);
PrefabInstanceComponent FromPrefabInstanceRecord(const PrefabInstanceRecord& record);

// Tags an entity that lives only while the game runs (spawned effect emitters). An
// entity with this tag is never saved, copied or listed.
struct TransientComponent {
    friend bool operator==(const TransientComponent&, const TransientComponent&) = default;
};

} // namespace Brelk::Scene
