#pragma once

#include <cstdint>

namespace Brelk::Scene {

struct NetworkReplicationComponent {
    float relevanceRadius = 0.0f;
    float priority = 1.0f;
    bool alwaysRelevant = false;

    friend bool operator==(const NetworkReplicationComponent&, const NetworkReplicationComponent&) = default;
};

} // namespace Brelk::Scene
