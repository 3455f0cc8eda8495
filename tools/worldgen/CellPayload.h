#pragma once

#include "engine/reflection/SchemaRecord.h"
#include "engine/scene/SceneDocument.h"
#include "tools/worldgen/Sampling.h"

#include <cstdint>
#include <filesystem>
#include <span>
#include <string>
#include <vector>

namespace Brelk::WorldGen {

// A cell read ahead of its instantiation: what a streaming system prepares on a worker so
// that the thread owning the scene only builds entities.
struct CellPayload {
    CellCoord coord;                  // the caller's
    Scene::SceneDocument document;    // entities sorted so that a parent stands before its children
    std::vector<std::uint8_t> bytes;  // the caller's; only its size counts here
    std::uint64_t estimatedBytes = 0; // what the parsed cell takes up in memory
};

// Parses a cell file, text or cooked, into `payload.document`, sorts its entities by depth and
// estimates its size. Touches only its arguments and the read-only schema tables, so it runs
// on any thread. `path` serves messages. After false the payload must not be used.
[[nodiscard]] bool ParseCellPayload(std::span<const std::uint8_t> bytes, CellPayload& payload,
                                    const std::filesystem::path& path, std::string* error);

// Memory a parsed record takes up, by a deliberately coarse model: a fixed cost per record,
// per string and per array, and the length of every name and text.
[[nodiscard]] std::uint64_t EstimateRecordBytes(const Reflection::SchemaRecord& record) noexcept;

// The estimate of a whole payload: the file's bytes, a fixed cost and the name of each
// entity, and its records; the environment record is not counted.
[[nodiscard]] std::uint64_t EstimatePayloadBytes(const CellPayload& payload) noexcept;

// Stable sort of the entities by their number of ancestors within the document, so that a
// parent comes before its children whatever the file's order. A parent cycle ends the walk
// after 4096 steps.
void SortEntitiesByDepth(std::vector<Scene::SceneEntityBlock>& entities);

} // namespace Brelk::WorldGen
