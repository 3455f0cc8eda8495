#pragma once

#include "engine/assets/shaders/MaterialShaderTypes.h"

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace Brelk::Assets {

// A helper function that a node adds to the fragment stage, ahead of the entry function.
struct ShaderHelperFunction {
    std::uint64_t node = 0;
    std::string code;
};

struct ShaderLineNode {
    std::uint32_t line = 0; // 1-based, as compilers count
    std::uint64_t node = 0;
};

// Which node wrote which line of a generated fragment text, in ascending line order.
struct ShaderLineTable {
    std::vector<ShaderLineNode> entries;

    // The node of `line`, or 0.
    std::uint64_t NodeAt(std::uint32_t line) const;
};

struct GeneratedFragmentSource {
    std::string text;
    ShaderLineTable lines;
};

// The vertex program of a template and variant: the version, the include extension, the
// skinning switch (not for post-process) and the template's vertex include.
std::string BuildVertexSource(std::uint32_t templateId, std::uint32_t variant);

// The fragment text around a material's code: the header with the variant's option macros,
// the template's include, the helper functions, then the entry function with one line per
// statement and the tail lines (lines starting with '#' stand unindented). Every line of a
// helper or statement is recorded in the line table with its node.
GeneratedFragmentSource BuildFragmentSource(std::uint32_t templateId, std::uint32_t variant,
                                            std::span<const ShaderHelperFunction> helpers,
                                            std::span<const MaterialStatement> statements,
                                            std::span<const std::string> tailLines);

// The fragment text of the coverage-only shadow variant: the shadow define in front of the
// first quoted include, or at the very start when there is none.
std::string MakeShadowFragmentSource(std::string_view fragmentSource);

} // namespace Brelk::Assets
