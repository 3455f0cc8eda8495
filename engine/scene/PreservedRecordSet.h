#pragma once

#include "engine/reflection/SchemaRecord.h"

#include <vector>

namespace Brelk::Scene {

// Records of one entity that no installed component claimed when its file was read, most
// often those of a plugin that isn't loaded. They are kept exactly as read and written back
// behind the entity's known records, so that a round trip through a build without the
// plugin loses nothing. `Registry` holds one per entity through a shared pointer; a copied
// registry shares the sets, which are never changed after they are stored.
struct PreservedRecordSet {
    std::vector<Reflection::SchemaRecord> records;
};

} // namespace Brelk::Scene
