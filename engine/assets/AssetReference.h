#pragma once

#include "engine/assets/AssetHandle.h"
#include "engine/core/Guid.h"
#include "engine/reflection/AssetType.h"

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Brelk::Assets {

class AssetRegistry;

// Text files refer to assets by reference text, never by handle:
//   "guid:<guid>"           an asset with a Guid, the normal form
//   "builtin:<name>"        a built-in by its full name ("builtin:Builtin/Cube")
//   "content:<path>"        a path relative to the content folder, forward slashes
//   "path:<path>"           an absolute path, forward slashes
//   "derived:<source>|subkey:<hex>"  a sub-asset by its source and subkey, two hex digits a byte
//   "derived:<source>|<target>"      a sub-asset by its source and derived path
// The "derived:" forms are only read.

inline constexpr std::string_view kGuidReferencePrefix = "guid:";
inline constexpr std::string_view kBuiltinReferencePrefix = "builtin:";
inline constexpr std::string_view kContentReferencePrefix = "content:";
inline constexpr std::string_view kPathReferencePrefix = "path:";
inline constexpr std::string_view kDerivedReferencePrefix = "derived:";

// The text to store for a handle: "builtin:" for a built-in, "guid:" for a record with a
// Guid, else the path form. Empty for 0 and for unknown handles.
std::string AssetReferenceOf(const AssetRegistry& registry, AssetHandle handle);

// The handle that a reference names, or 0. `expectedType` picks among the sub-assets of a
// "subkey:" reference (Unknown takes any); the type of other references is not checked.
AssetHandle ResolveAssetReference(const AssetRegistry& registry, std::string_view text, AssetType expectedType);

struct ResolvedReferencePath {
    std::filesystem::path path;  // empty when the text is no path reference
    // The path was found only by reading the reference in the host's narrow code page,
    // as old files wrote it.
    bool narrowEncoded = false;
};

// The path of a "content:" or "path:" reference: the existing one of its UTF-8 and narrow
// readings, else the UTF-8 reading; in canonical form. Other text gives an empty path.
ResolvedReferencePath ResolveReferencePath(const AssetRegistry& registry, std::string_view text);

// The "guid:", "derived:" and "content:" references in a text, in the order in which they
// stand, found without parsing it. A "guid:" reference is 41 characters; the others run to
// the next NUL, line feed, carriage return or double quote.
std::vector<std::string> ScanAssetReferences(std::string_view text);

std::string GuidReferenceOf(const Core::Guid& guid);

// The Guid of a "guid:" reference; none for other text and for the nil Guid.
std::optional<Core::Guid> ParseGuidReference(std::string_view text);

} // namespace Brelk::Assets
