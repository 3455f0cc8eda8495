#pragma once

#include "engine/core/Guid.h"
#include "engine/reflection/SchemaRecord.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Brelk::Scene {

// The one scene text version that is written and read; 1 to 5 are legacy formats.
inline constexpr std::int32_t SceneFormatVersion = 6;

struct SceneComponentBlock {
    Reflection::SchemaRecord record;
    // Bytes from the start of the record's header line to behind its terminator; all ones
    // where the source cannot tell.
    std::uint64_t sourceBytes = ~std::uint64_t{0};
    // Line of the record's header; 0 for a cooked source.
    std::uint32_t line = 0;
};

struct SceneEntityBlock {
    Core::Guid guid;
    std::string name;
    Core::Guid parent;
    bool hasParentRecord = false;
    std::uint32_t line = 0;
    std::vector<SceneComponentBlock> records;
};

// A parsed scene file: nothing of it reaches a Scene until a load has checked all of it.
struct SceneDocument {
    std::int32_t version = 0;
    std::optional<Reflection::SchemaRecord> environment;
    std::vector<SceneEntityBlock> entities;
};

} // namespace Brelk::Scene
