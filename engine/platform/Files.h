#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Brelk::Platform {

// Replaces `path` with exactly `bytes`: the bytes go to a temporary file beside the target
// (the target's name + ".cook-" + a random Guid + ".tmp"), which is then renamed over it.
// Creates missing parent folders. After false, a file that stood at `path` is untouched
// and the temporary file is gone.
[[nodiscard]] bool WriteFileAtomic(const std::filesystem::path& path, std::span<const std::uint8_t> bytes,
                                   std::string* error = nullptr);
[[nodiscard]] bool WriteFileAtomic(const std::filesystem::path& path, std::string_view bytes,
                                   std::string* error = nullptr);

// The whole file, or none with the reason in `error`.
std::optional<std::vector<std::uint8_t>> ReadFileBytes(const std::filesystem::path& path,
                                                       std::string* error = nullptr);

// The path's text in UTF-8, separators as they stand. Every path in a message goes through this.
std::string PathToUtf8(const std::filesystem::path& path);

} // namespace Brelk::Platform
