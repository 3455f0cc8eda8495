#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Brelk::Assets {

// Appends little-endian values to a byte vector, byte by byte, so that the result is the
// same on every host. A string is its u32 byte length and the bytes, with no terminator.
class ByteWriter {
public:
    void WriteU8(std::uint8_t value) { bytes_.push_back(value); }
    void WriteU16(std::uint16_t value);
    void WriteU32(std::uint32_t value);
    void WriteU64(std::uint64_t value);
    // The float's bits as a u32.
    void WriteF32(float value);
    // Throws std::length_error "String too long for a cooked file." past 0xFFFFFFFF bytes.
    void WriteString(std::string_view text);
    void WriteBytes(std::span<const std::uint8_t> bytes);

    [[nodiscard]] const std::vector<std::uint8_t>& Bytes() const noexcept { return bytes_; }
    [[nodiscard]] std::vector<std::uint8_t> TakeBytes() noexcept { return std::move(bytes_); }
    [[nodiscard]] std::size_t Size() const noexcept { return bytes_.size(); }

private:
    std::vector<std::uint8_t> bytes_;
};

// A bounds-checked reader over bytes it doesn't own. Every read checks the bytes left
// first and throws std::runtime_error with the engine's message, so a decoder at any depth
// can trust each value it gets; the position is unchanged by a failed read.
class ByteReader {
public:
    ByteReader(const std::uint8_t* data, std::size_t size) noexcept : data_(data), size_(size) {}
    explicit ByteReader(std::span<const std::uint8_t> bytes) noexcept : ByteReader(bytes.data(), bytes.size()) {}

    // "Cooked data ends early." when the value doesn't fit in what is left.
    std::uint8_t ReadU8();
    std::uint16_t ReadU16();
    std::uint32_t ReadU32();
    std::uint64_t ReadU64();
    float ReadF32();
    // "Cooked string exceeds its limit." for a length above `limit`, tested first; then
    // "Cooked data ends early.".
    std::string ReadString(std::uint64_t limit);
    // A u32 count: "Cooked item count exceeds its limit." above `limit`; then, unless
    // `minimumItemBytes` is 0, "Cooked item count exceeds the data." when that many items
    // can't fit in the bytes left. Reserve memory only after this.
    std::uint32_t ReadCount(std::uint64_t minimumItemBytes, std::uint64_t limit);
    // A u32 size and that many bytes, viewed in place: "Cooked item count exceeds the data."
    // when they are not all there.
    std::span<const std::uint8_t> ReadSizedBytes();

    [[nodiscard]] std::size_t Position() const noexcept { return position_; }
    [[nodiscard]] std::size_t Remaining() const noexcept { return size_ - position_; }
    [[nodiscard]] bool AtEnd() const noexcept { return position_ == size_; }

private:
    const std::uint8_t* Take(std::size_t count);

    const std::uint8_t* data_;
    std::size_t size_;
    std::size_t position_ = 0;
};

} // namespace Brelk::Assets
