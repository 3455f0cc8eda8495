#pragma once

#include "engine/assets/ui/UiDocument.h"

#include <filesystem>
#include <string>
#include <string_view>

namespace Brelk::Assets {

class AssetRegistry;

// The text of `bui 1`: document settings, style classes, then the widget tree with two
// blanks per level. Every key is written but for those of the widget that stay at their
// defaults (grid_columns, value_range, flex_shrink, wrap, text_layout, tab_index). A handle
// without reference text logs "Unresolved live UI document asset handle while saving
// widget '<id>'.<key>" and is written empty.
[[nodiscard]] std::string SerializeUiDocument(const UiDocumentAsset& document, const AssetRegistry& registry);

// Replaces the file atomically; "Failed to open UI document file for writing." on failure.
[[nodiscard]] bool SaveUiDocument(const std::filesystem::path& path, const UiDocumentAsset& document,
                                  const AssetRegistry& registry, std::string* error = nullptr);

// Reads the file, resolves its image references (an unresolved one is logged and left
// empty), and repairs duplicate or empty widget ids with a warning each. The file itself is
// never written. Widgets nest at most 256 levels below the root. A failed load leaves
// `document` partly filled.
[[nodiscard]] bool LoadUiDocument(const std::filesystem::path& path, UiDocumentAsset* document,
                                  const AssetRegistry& registry, std::string* error = nullptr);
// The same over text; `label` stands for the path in messages.
[[nodiscard]] bool ParseUiDocument(std::string_view text, std::string_view label, UiDocumentAsset* document,
                                   const AssetRegistry& registry, std::string* error = nullptr);

} // namespace Brelk::Assets
