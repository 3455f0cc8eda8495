#pragma once

#include <cstdint>
#include <string>

namespace Brelk::Assets {

// One statement of a compiled material: `<type> <name> = <value>;`, emitted by `node`.
struct MaterialStatement {
    std::uint64_t node = 0;
    std::string type;
    std::string name;
    std::string value;

    bool operator==(const MaterialStatement&) const = default;
};

// A finding about a material, optionally tied to the node an editor can show.
struct MaterialDiagnostic {
    std::uint8_t severity = 0; // 0 warning, 1 error
    std::uint64_t node = 0;
    std::string message;

    bool operator==(const MaterialDiagnostic&) const = default;
};

inline constexpr std::uint8_t kMaterialWarning = 0;
inline constexpr std::uint8_t kMaterialError = 1;

} // namespace Brelk::Assets
