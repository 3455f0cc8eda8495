#pragma once

#include "engine/assets/shaders/MaterialShaderTypes.h"
#include "engine/assets/shaders/ShaderSource.h"

#include <filesystem>
#include <string_view>
#include <vector>

namespace Brelk::Assets {

// Errors of the compiler's output as material diagnostics. A line "<file>:<line>: error:
// <message>" whose file ends with the fragment's file name and whose line a node wrote gives
// "Shader error in node <id>: <message>" on that node; any other located error gives
// "Shader error (<file>:<line>): <message>" with no node. A line without ": error: ", or
// whose location does not end in ":" and a number of digits that fits in 32 bits, is passed
// over.
std::vector<MaterialDiagnostic> MapShaderErrors(std::string_view output, const std::filesystem::path& fragmentPath,
                                                const ShaderLineTable& lineTable);

} // namespace Brelk::Assets
