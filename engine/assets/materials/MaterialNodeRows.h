#pragma once

// The data of the node catalogue, split by category so that no source is large.

#include "engine/assets/materials/MaterialNodeCatalogue.h"

#include <initializer_list>
#include <vector>

namespace Brelk::Assets::detail {

struct PinSpec {
    std::uint32_t direction;
    std::uint32_t type;
    const char* name;
    bool optional;
};

struct PropertySpec {
    const char* key;
    const char* value;
};

inline constexpr PinSpec In(const char* name, std::uint32_t type) {
    return {kPinInput, type, name, true};
}
inline constexpr PinSpec Required(const char* name, std::uint32_t type) {
    return {kPinInput, type, name, false};
}
inline constexpr PinSpec Out(const char* name, std::uint32_t type) {
    return {kPinOutput, type, name, false};
}

// Title and label null: the spaced word. A null category keeps the row out of the palette.
struct RowSpec {
    std::uint32_t type;
    const char* name;
    const char* category;
    const char* title = nullptr;
    const char* label = nullptr;
    bool dynamicPins = false;
};

void AddRow(std::vector<MaterialNodeDefinition>& rows, const RowSpec& spec, std::initializer_list<PinSpec> pins,
            std::initializer_list<PropertySpec> properties = {});

void AddInputRows(std::vector<MaterialNodeDefinition>& rows);
void AddMathRows(std::vector<MaterialNodeDefinition>& rows);
void AddEffectRows(std::vector<MaterialNodeDefinition>& rows);

} // namespace Brelk::Assets::detail
