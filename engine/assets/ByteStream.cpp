#include "engine/assets/ByteStream.h"

#include <bit>
#include <stdexcept>

namespace Brelk::Assets {

void ByteWriter::WriteU16(std::uint16_t value) {
    for (int shift = 0; shift < 16; shift += 8) {
        bytes_.push_back(static_cast<std::uint8_t>(value >> shift));
    }
}

void ByteWriter::WriteU32(std::uint32_t value) {
    for (int shift = 0; shift < 32; shift += 8) {
        bytes_.push_back(static_cast<std::uint8_t>(value >> shift));
    }
}

void ByteWriter::WriteU64(std::uint64_t value) {
    for (int shift = 0; shift < 64; shift += 8) {
        bytes_.push_back(static_cast<std::uint8_t>(value >> shift));
    }
}

void ByteWriter::WriteF32(float value) {
    WriteU32(std::bit_cast<std::uint32_t>(value));
}

void ByteWriter::WriteString(std::string_view text) {
    if (text.size() > 0xFFFFFFFFull) {
        throw std::length_error("String too long for a cooked file.");
    }
    WriteU32(static_cast<std::uint32_t>(text.size()));
    bytes_.insert(bytes_.end(), text.begin(), text.end());
}

void ByteWriter::WriteBytes(std::span<const std::uint8_t> bytes) {
    bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
}

const std::uint8_t* ByteReader::Take(std::size_t count) {
    if (count > Remaining()) {
        throw std::runtime_error("Cooked data ends early.");
    }
    const std::uint8_t* start = data_ + position_;
    position_ += count;
    return start;
}

std::uint8_t ByteReader::ReadU8() {
    return *Take(1);
}

std::uint16_t ByteReader::ReadU16() {
    const std::uint8_t* bytes = Take(2);
    return static_cast<std::uint16_t>(bytes[0] | (bytes[1] << 8));
}

std::uint32_t ByteReader::ReadU32() {
    const std::uint8_t* bytes = Take(4);
    std::uint32_t value = 0;
    for (int i = 3; i >= 0; --i) {
        value = (value << 8) | bytes[i];
    }
    return value;
}

std::uint64_t ByteReader::ReadU64() {
    const std::uint8_t* bytes = Take(8);
    std::uint64_t value = 0;
    for (int i = 7; i >= 0; --i) {
        value = (value << 8) | bytes[i];
    }
    return value;
}

float ByteReader::ReadF32() {
    return std::bit_cast<float>(ReadU32());
}

std::string ByteReader::ReadString(std::uint64_t limit) {
    const std::size_t start = position_;
    const std::uint32_t length = ReadU32();
    if (length > limit) {
        position_ = start;
        throw std::runtime_error("Cooked string exceeds its limit.");
    }
    if (length > Remaining()) {
        position_ = start;
        throw std::runtime_error("Cooked data ends early.");
    }
    const std::uint8_t* bytes = Take(length);
    return std::string(reinterpret_cast<const char*>(bytes), length);
}

std::uint32_t ByteReader::ReadCount(std::uint64_t minimumItemBytes, std::uint64_t limit) {
    const std::size_t start = position_;
    const std::uint32_t count = ReadU32();
    if (count > limit) {
        position_ = start;
        throw std::runtime_error("Cooked item count exceeds its limit.");
    }
    if (minimumItemBytes != 0 && count > Remaining() / minimumItemBytes) {
        position_ = start;
        throw std::runtime_error("Cooked item count exceeds the data.");
    }
    return count;
}

std::span<const std::uint8_t> ByteReader::ReadSizedBytes() {
    const std::uint32_t size = ReadCount(1, 0xFFFFFFFFu);
    return std::span<const std::uint8_t>(Take(size), size);
}

} // namespace Brelk::Assets
