#pragma once

#include "engine/platform/PlatformResult.h"

#include <filesystem>
#include <optional>
#include <string>

namespace Brelk::Platform {

// Checks on paths. Each returns a status and, on failure, one sentence naming the path.

// Ok if something stands at `path` (a dangling link counts); NotFound if nothing does.
PlatformResult CheckPathExists(const std::filesystem::path& path);

// Renames `source` over `destination`, replacing it in one step; across file systems the
// bytes are copied beside the destination first, so a reader never sees a partial file.
// With `writeThrough` the data and the rename are flushed to the disk before returning.
PlatformResult ReplaceFile(const std::filesystem::path& source, const std::filesystem::path& destination,
                           bool writeThrough);

// A read-only file has none of the owner, group and other write bits. Clearing the flag
// gives the owner write access back; group and other stay as they are.
PlatformResult SetFileReadOnly(const std::filesystem::path& path, bool readOnly);

// This host has no short form of a path: always none.
std::optional<std::filesystem::path> GetShortPath(const std::filesystem::path& path);

// The path as spelled on disk if it exists, else none.
std::optional<std::filesystem::path> GetLongPath(const std::filesystem::path& path);

// Path identity. None of these throws or needs the path to exist.

// Absolute and lexically normal, its existing part as on disk with links resolved, no
// trailing separator; an empty path stays empty.
std::filesystem::path CanonicalPath(const std::filesystem::path& path);

// Text that identifies a canonical path: backslashes become slashes and ASCII letters are
// upper-cased, so spellings that differ only in case or separator share one key.
std::string PathKey(const std::filesystem::path& path);

bool SamePath(const std::filesystem::path& a, const std::filesystem::path& b);

// True when `path` is `folder` or lies below it ("/a" holds "/a/b", not "/ab").
bool IsInsideFolder(const std::filesystem::path& folder, const std::filesystem::path& path);

// `path` relative to `folder` in the spelling of the canonical `path`; "." for the folder
// itself; none when either is empty or `path` is not inside `folder`.
std::optional<std::filesystem::path> RelativeToFolder(const std::filesystem::path& folder,
                                                      const std::filesystem::path& path);

} // namespace Brelk::Platform
