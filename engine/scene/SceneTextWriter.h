#pragma once

#include "engine/core/Guid.h"

#include <string>
#include <string_view>

// The pieces of scene text that every writer of scene-shaped files shares (scenes, cells):
// the reading side is SceneTextParser.h.
namespace Brelk::Scene {

// Appends `text` between double quotes, with a backslash before each double quote and
// backslash: the token form of entity and parent lines.
void AppendSceneToken(std::string& out, std::string_view text);

// Appends the "entity" and "parent" lines that open an entity block; a null parent is written
// as the empty token.
void AppendEntityHeaderLines(std::string& out, const Core::Guid& guid, std::string_view name, const Core::Guid& parent);

} // namespace Brelk::Scene
