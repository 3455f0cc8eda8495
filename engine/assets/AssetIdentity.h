#pragma once

#include "engine/core/Guid.h"
#include "engine/reflection/AssetType.h"

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

namespace Brelk::Assets {

// The text that all identity work runs on: the path in UTF-8 with every backslash turned
// into a forward slash. Case sensitive; only extensions are compared in lower case.
std::string AssetPathKey(const std::filesystem::path& path);

// The key of a content root: AssetPathKey with trailing slashes removed, down to one
// character.
std::string ContentRootKey(const std::filesystem::path& root);

// True if `key` lies below `rootKey`: longer, beginning with it, and a slash next. An empty
// root holds nothing.
bool IsKeyInsideRoot(std::string_view rootKey, std::string_view key) noexcept;

// The identity of a source without a sidecar: the stable Guid of "brelk-asset:content:" and
// the key behind the root inside the content root, of "brelk-asset:path:" and the whole key
// outside it. A project copied elsewhere therefore derives the same Guids.
Core::Guid DerivedAssetGuid(std::string_view rootKey, std::string_view key);

// The stable Guid of "builtin:" and the full name ("Builtin/Cube").
Core::Guid BuiltinAssetGuid(std::string_view name);

// The reproducible identity that a copied sidecar's Guid (or one of its sub-assets') turns
// into where nothing may be written: "brelk-duplicate:", the old Guid, ":", the key.
Core::Guid DuplicateAssetGuid(const Core::Guid& oldGuid, std::string_view key);

// A new sub-asset's identity: "brelk-subasset:", the source's Guid, "|", the type word,
// "|", the subkey.
Core::Guid SubAssetGuid(const Core::Guid& sourceGuid, AssetType type, std::string_view subkey);

// The subkey less a trailing "#" and decimal digits ("Mesh#3" gives "Mesh"); a subkey
// without such a tail is its own stem. Renumbered sub-assets find their old identity by it.
std::string_view SubkeyStem(std::string_view subkey) noexcept;

// The one number that stands for a file's content: FNV-1a over the 8 little-endian bytes of
// the size and of the last write time. Never 0, which is kept for "attributes unknown".
std::uint64_t FileStamp(std::uint64_t size, std::int64_t lastWriteTime) noexcept;

// FileStamp of the file as it is now, or 0 if its size or time cannot be had.
std::uint64_t ReadFileStamp(const std::filesystem::path& path);

} // namespace Brelk::Assets
