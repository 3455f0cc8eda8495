#include "engine/assets/materials/MaterialAsset.h"

#include <string_view>

namespace Brelk::Assets {
namespace {

constexpr std::array<std::string_view, kMaterialPinTypeCount> kPinTypeWords{
    "Bool", "Int", "Float", "Vec2", "Vec3", "Vec4", "Color", "Texture2D", "Sampler", "Matrix4"};

constexpr std::array<std::uint32_t, kMaterialPinTypeCount> kPinComponents{1, 1, 1, 2, 3, 4, 4, 0, 0, 0};

} // namespace

const char* MaterialPinTypeWord(std::uint32_t type) noexcept {
    return type < kMaterialPinTypeCount ? kPinTypeWords[type].data() : kPinTypeWords[kPinFloat].data();
}

bool MaterialPinTypeFromWord(std::string_view word, std::uint32_t* type) noexcept {
    for (std::uint32_t i = 0; i < kMaterialPinTypeCount; ++i) {
        if (kPinTypeWords[i] == word) {
            *type = i;
            return true;
        }
    }
    return false;
}

std::uint32_t MaterialPinComponents(std::uint32_t type) noexcept {
    return type < kMaterialPinTypeCount ? kPinComponents[type] : 0;
}

} // namespace Brelk::Assets
