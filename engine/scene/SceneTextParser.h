#pragma once

#include "engine/scene/SceneDocument.h"

#include <filesystem>
#include <iosfwd>
#include <string>
#include <string_view>

namespace Brelk::Scene {

// Parses scene text (.bscene, .bcell and the other scene-shaped files) into `document`,
// which is reset first. `path` serves messages only. On failure `error` (may be null) holds
// the message, line-prefixed where the failure has a line, and the document must not be used.
[[nodiscard]] bool ParseSceneText(std::istream& input, SceneDocument& document, const std::filesystem::path& path,
                                  std::string* error);

// The same over text already in memory.
[[nodiscard]] bool ParseSceneText(std::string_view text, SceneDocument& document, const std::filesystem::path& path,
                                  std::string* error);

// The message a load gives for a file whose version line names `version` (1 to 5: the
// legacy message naming the upgrade tool; anything else but the current version: the
// unsupported message).
[[nodiscard]] std::string SceneVersionMessage(std::int32_t version, const std::filesystem::path& path);

} // namespace Brelk::Scene
