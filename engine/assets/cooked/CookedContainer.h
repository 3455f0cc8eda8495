#pragma once

#include <cstdint>
#include <filesystem>
#include <istream>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Brelk::Assets {

// Four characters, the first in the low byte, so that the file shows them in reading order.
constexpr std::uint32_t MakeCookedKind(char a, char b, char c, char d) noexcept {
    return static_cast<std::uint32_t>(static_cast<unsigned char>(a)) |
           static_cast<std::uint32_t>(static_cast<unsigned char>(b)) << 8 |
           static_cast<std::uint32_t>(static_cast<unsigned char>(c)) << 16 |
           static_cast<std::uint32_t>(static_cast<unsigned char>(d)) << 24;
}

inline constexpr std::uint32_t kCookedMagic = MakeCookedKind('B', 'C', 'K', 'D');
inline constexpr std::uint16_t kCookedContainerVersion = 1;
inline constexpr std::uint16_t kCookedHeaderSize = 40;

inline constexpr std::uint32_t kCookedKindScene = MakeCookedKind('S', 'C', 'N', 'E');
inline constexpr std::uint32_t kCookedKindMaterial = MakeCookedKind('B', 'M', 'A', 'T');
inline constexpr std::uint32_t kCookedKindModel = MakeCookedKind('M', 'O', 'D', 'L');
inline constexpr std::uint32_t kCookedKindMesh = MakeCookedKind('M', 'E', 'S', 'H');
inline constexpr std::uint32_t kCookedKindClip = MakeCookedKind('C', 'L', 'I', 'P');

struct CookedHeader {
    std::uint32_t magic = kCookedMagic;
    std::uint16_t containerVersion = kCookedContainerVersion;
    std::uint16_t headerSize = kCookedHeaderSize;
    std::uint32_t kind = 0;
    std::uint32_t formatVersion = 0;
    std::uint64_t payloadSize = 0;
    std::uint64_t checksum = 0;
};

// The 40-byte header, then the payload; the checksum is XXH64 of the payload.
[[nodiscard]] std::vector<std::uint8_t> WriteCookedContainer(std::uint32_t kind, std::uint32_t formatVersion,
                                                             std::span<const std::uint8_t> payload);

// At least four bytes, and they are the magic. This alone tells a cooked file from a source.
[[nodiscard]] bool IsCookedFile(std::span<const std::uint8_t> bytes) noexcept;

// Empty unless there are 40 bytes with the magic, container version 1 and header size 40.
[[nodiscard]] std::optional<CookedHeader> ParseCookedHeader(std::span<const std::uint8_t> bytes) noexcept;

// The payload, once the header, kind, format version, size and checksum have all been
// checked in that order; else empty with "Invalid cooked file <name>: <reason>" in `error`.
// Never throws: a corrupt file is an ordinary outcome.
[[nodiscard]] std::optional<std::span<const std::uint8_t>> OpenCookedContainer(std::span<const std::uint8_t> bytes,
                                                                               std::uint32_t kind,
                                                                               std::uint32_t formatVersion,
                                                                               std::string_view name,
                                                                               std::string* error);

// Source bytes (no magic) come back whole; cooked bytes go through OpenCookedContainer.
[[nodiscard]] std::optional<std::span<const std::uint8_t>> OpenCookedOrRaw(std::span<const std::uint8_t> bytes,
                                                                           std::uint32_t kind,
                                                                           std::uint32_t formatVersion,
                                                                           std::string_view name, std::string* error);

// Reads only the first 40 bytes of the file.
[[nodiscard]] bool IsCookedFileOfKind(const std::filesystem::path& path, std::uint32_t kind);

// A seekable binary stream over a private copy of the file's payload (or of the whole file
// when it is not cooked); null with the reason in `error`.
[[nodiscard]] std::unique_ptr<std::istream> OpenCookedOrRawStream(const std::filesystem::path& path,
                                                                  std::uint32_t kind, std::uint32_t formatVersion,
                                                                  std::string* error);

// XXH64 with seed 0: the one content hash of cooked data.
[[nodiscard]] std::uint64_t Xxh64(std::span<const std::uint8_t> bytes) noexcept;

// XXH64 of a file's content, streamed through a fixed buffer, so memory stays flat in the
// file's size.
[[nodiscard]] std::optional<std::uint64_t> HashFile(const std::filesystem::path& path, std::string* error);

// Exactly 16 lower-case hexadecimal digits.
[[nodiscard]] std::string FormatHash(std::uint64_t hash);

} // namespace Brelk::Assets
