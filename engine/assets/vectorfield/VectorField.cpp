#include "engine/assets/vectorfield/VectorField.h"

#include "engine/assets/ByteStream.h"
#include "engine/core/Logger.h"
#include "engine/platform/ErrorText.h"
#include "engine/platform/Files.h"

#include <bit>
#include <cmath>
#include <cstring>

namespace Brelk::Assets {
namespace {

// The values go to and from the file as one block of floats.
static_assert(std::endian::native == std::endian::little, "vector field values are copied as little-endian floats");
static_assert(sizeof(glm::vec4) == 16);

constexpr std::uint32_t kMagic = 0x31465642;  // "BVF1"

bool SizeInRange(std::uint32_t size) { return size >= kVectorFieldMinSize && size <= kVectorFieldMaxSize; }

} // namespace

bool WriteVectorField(const std::filesystem::path& path, const VectorFieldAsset& field, std::string* error) {
    if (!SizeInRange(field.width) || !SizeInRange(field.height) || !SizeInRange(field.depth) ||
        field.values.size() != std::size_t{field.width} * field.height * field.depth) {
        SetError(error, "Vector field size is invalid.");
        return false;
    }
    std::vector<std::uint8_t> bytes(kVectorFieldHeaderBytes + field.values.size() * sizeof(glm::vec4));
    ByteWriter header;
    header.WriteU32(kMagic);
    header.WriteU32(field.width);
    header.WriteU32(field.height);
    header.WriteU32(field.depth);
    std::memcpy(bytes.data(), header.Bytes().data(), kVectorFieldHeaderBytes);
    std::memcpy(bytes.data() + kVectorFieldHeaderBytes, field.values.data(), field.values.size() * sizeof(glm::vec4));
    std::string reason;
    if (Platform::WriteFileAtomic(path, bytes, &reason)) return true;
    // The atomic writer words its three stages "Failed to create/open ...", "Failed to write
    // ..." and "Failed to replace <path>: <system text>".
    if (reason.starts_with("Failed to replace ")) {
        const std::size_t colon = reason.find(": ", 18 + Platform::PathToUtf8(path).size());
        SetError(error, "Cannot replace vector field file: " +
                            (colon == std::string::npos ? reason : reason.substr(colon + 2)));
    } else if (reason.starts_with("Failed to write ")) {
        SetError(error, "Cannot write vector field file.");
    } else {
        SetError(error, "Cannot create vector field temporary file.");
    }
    return false;
}

bool ReadVectorField(const std::filesystem::path& path, VectorFieldAsset* field, std::string* error) {
    const std::optional<std::vector<std::uint8_t>> bytes = Platform::ReadFileBytes(path);
    if (!bytes) {
        SetError(error, "Cannot open vector field file.");
        return false;
    }
    return ParseVectorField(*bytes, field, error);
}

bool ParseVectorField(std::span<const std::uint8_t> bytes, VectorFieldAsset* field, std::string* error) {
    if (bytes.size() < kVectorFieldHeaderBytes) {
        SetError(error, "Not a vector field file.");
        return false;
    }
    ByteReader reader(bytes.data(), kVectorFieldHeaderBytes);
    if (reader.ReadU32() != kMagic) {
        SetError(error, "Not a vector field file.");
        return false;
    }
    const std::uint32_t width = reader.ReadU32();
    const std::uint32_t height = reader.ReadU32();
    const std::uint32_t depth = reader.ReadU32();
    if (!SizeInRange(width) || !SizeInRange(height) || !SizeInRange(depth)) {
        SetError(error, "Vector field size is out of range.");
        return false;
    }
    const std::size_t count = std::size_t{width} * height * depth;
    const std::size_t expected = kVectorFieldHeaderBytes + count * sizeof(glm::vec4);
    if (bytes.size() < expected) {
        SetError(error, "Vector field file is truncated.");
        return false;
    }
    if (bytes.size() > expected) {
        SetError(error, "Vector field file has bytes past its last element.");
        return false;
    }
    std::vector<glm::vec4> values(count);
    std::memcpy(values.data(), bytes.data() + kVectorFieldHeaderBytes, count * sizeof(glm::vec4));
    for (const glm::vec4& value : values) {
        if (!std::isfinite(value.x) || !std::isfinite(value.y) || !std::isfinite(value.z) || !std::isfinite(value.w)) {
            SetError(error, "Vector field contains non-finite values.");
            return false;
        }
    }
    field->width = width;
    field->height = height;
    field->depth = depth;
    field->values = std::move(values);
    return true;
}

std::optional<VectorFieldAsset> LoadVectorFieldAsset(const std::filesystem::path& path, std::string_view name) {
    VectorFieldAsset field;
    std::string error;
    if (ReadVectorField(path, &field, &error)) return field;
    Core::Logger::Get().Log(Core::LogCategory::Assets, Core::LogLevel::Warning,
                            "Vector field '" + std::string(name) + "' was not loaded: " + error);
    return std::nullopt;
}

} // namespace Brelk::Assets
