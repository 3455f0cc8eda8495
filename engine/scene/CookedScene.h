#pragma once

#include "engine/scene/SceneDocument.h"

#include <cstdint>
#include <filesystem>
#include <span>
#include <string>
#include <vector>

namespace Brelk::Scene {

inline constexpr std::uint32_t kCookedSceneFormatVersion = 1;

// The whole SCNE container of a document, its records written as they stand: nothing is
// resolved or interpreted, so every migration of the load path still runs on a cooked file.
// Throws std::length_error "String too long for a cooked file." for a string past a u32.
[[nodiscard]] std::vector<std::uint8_t> EncodeCookedScene(const SceneDocument& document);

// Fills `document` from a cooked file in one forward pass; every count is held against the
// bytes left before anything is reserved. `path` serves messages only. After false the
// document may be partly filled and must be discarded.
[[nodiscard]] bool DecodeCookedScene(std::span<const std::uint8_t> bytes, SceneDocument& document,
                                     const std::filesystem::path& path, std::string* error);

// The same over a payload whose container has been opened already, so that a loader that
// must report the container's failure in its own words hashes the file once.
[[nodiscard]] bool DecodeCookedScenePayload(std::span<const std::uint8_t> payload, SceneDocument& document,
                                            const std::filesystem::path& path, std::string* error);

// Parses a text scene and encodes it.
[[nodiscard]] bool CookSceneFile(const std::filesystem::path& path, std::vector<std::uint8_t>& bytes,
                                 std::string* error);

} // namespace Brelk::Scene
