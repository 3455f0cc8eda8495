#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Brelk::Assets {

inline constexpr std::uint32_t kCookedModelFormatVersion = 1;

struct CookedShaderFile {
    std::string fileName; // a bare file name: no '/', '\\' or ':'
    std::vector<std::uint8_t> bytes;
};

// The derived scene cache of an imported model, with the shaders its materials need.
struct CookedModel {
    std::vector<std::uint8_t> cache;
    std::vector<CookedShaderFile> shaders;
};

// The payload alone; the caller wraps it in a MODL container.
[[nodiscard]] std::vector<std::uint8_t> EncodeCookedModel(const CookedModel& model);

// Reads a whole payload or nothing: on failure `error` gets
// "Invalid cooked model <name>: <reason>".
[[nodiscard]] std::optional<CookedModel> DecodeCookedModel(std::span<const std::uint8_t> payload,
                                                           std::string_view name, std::string* error);

} // namespace Brelk::Assets
