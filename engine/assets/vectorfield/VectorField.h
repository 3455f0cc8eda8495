#pragma once

#include <glm/vec4.hpp>

#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace Brelk::Assets {

inline constexpr std::uint32_t kVectorFieldMinSize = 2;
inline constexpr std::uint32_t kVectorFieldMaxSize = 64;
inline constexpr std::size_t kVectorFieldHeaderBytes = 16;

// A small 3D grid of vectors, x fastest, then y, then z.
struct VectorFieldAsset {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint32_t depth = 0;
    std::vector<glm::vec4> values;
    friend bool operator==(const VectorFieldAsset&, const VectorFieldAsset&) = default;
};

// "BVF1", three u32 sizes of 2 to 64, then 16 bytes an element, little-endian. The file is
// replaced atomically. Messages: "Vector field size is invalid.", "Cannot create vector
// field temporary file.", "Cannot write vector field file.", "Cannot replace vector field
// file: <reason>".
[[nodiscard]] bool WriteVectorField(const std::filesystem::path& path, const VectorFieldAsset& field,
                                    std::string* error = nullptr);

// Messages: "Cannot open vector field file.", "Not a vector field file.", "Vector field size
// is out of range.", "Vector field file is truncated.", "Vector field file has bytes past its
// last element.", "Vector field contains non-finite values.". `field` changes only on success.
[[nodiscard]] bool ReadVectorField(const std::filesystem::path& path, VectorFieldAsset* field,
                                   std::string* error = nullptr);

// The same over the bytes of a file.
[[nodiscard]] bool ParseVectorField(std::span<const std::uint8_t> bytes, VectorFieldAsset* field,
                                    std::string* error = nullptr);

// The asset manager's load of one field: a failure logs "Vector field '<name>' was not
// loaded: <reason>" and gives nothing.
[[nodiscard]] std::optional<VectorFieldAsset> LoadVectorFieldAsset(const std::filesystem::path& path,
                                                                   std::string_view name);

} // namespace Brelk::Assets
