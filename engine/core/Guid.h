#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace Brelk::Core {

// 128-bit identity of entities and assets, laid out and printed like an RFC 4122 UUID.
// `high` holds the first eight bytes of the text form, `low` the last eight, both
// big-endian in the text and native in memory. The null Guid (both 0) means none.
struct Guid {
    std::uint64_t high = 0;
    std::uint64_t low = 0;

    static constexpr std::size_t kTextLength = 36;

    // Random, version 4. Thread-safe; the values of two threads never overlap.
    static Guid New();
    // Name-based: two FNV-1a hashes of the bytes, version 5 bits. Files store these,
    // so the algorithm can never change.
    static Guid FromName(std::string_view text) noexcept;
    static Guid FromBytes(const std::array<std::uint8_t, 16>& bytes) noexcept;

    std::array<std::uint8_t, 16> ToBytes() const noexcept;
    // 8-4-4-4-12 lower-case form, 36 characters.
    std::string ToString() const;
    // Writes the 36 characters to `out` without allocating.
    void ToChars(char* out) const noexcept;
    // Lenient: hyphens anywhere are dropped, then 32 hex digits of either case.
    static std::optional<Guid> Parse(std::string_view text) noexcept;

    constexpr bool IsValid() const noexcept { return high != 0 || low != 0; }
    friend constexpr bool operator==(const Guid&, const Guid&) = default;
};

// Strict parse for values in records: empty text is the null Guid; otherwise 32 digits,
// or 36 with hyphens at 8, 13, 18 and 23. Throws std::runtime_error with the exact
// message of the first failing check.
Guid ParseStableGuid(std::string_view text);

std::uint64_t GuidHash(const Guid& guid) noexcept;

struct GuidHasher {
    std::size_t operator()(const Guid& guid) const noexcept { return static_cast<std::size_t>(GuidHash(guid)); }
};

} // namespace Brelk::Core

template <>
struct std::hash<Brelk::Core::Guid> {
    std::size_t operator()(const Brelk::Core::Guid& guid) const noexcept {
        return static_cast<std::size_t>(Brelk::Core::GuidHash(guid));
    }
};
