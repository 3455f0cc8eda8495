#include "engine/assets/materials/MaterialCompiler.h"

#include "engine/assets/materials/MaterialDefaults.h"
#include "engine/assets/materials/MaterialExpression.h"
#include "engine/assets/materials/MaterialNodeCatalogue.h"
#include "engine/assets/materials/MaterialShaderSource.h"

#include <gtest/gtest.h>

#include <iostream>

namespace Brelk::Assets {
namespace {

TEST(MaterialCompilerTest, Dump) {
    const MaterialCompiledState state = CompileMaterialGraph(MakeDefaultSurfaceGraph(), {1, "Rock", "/out"}, nullptr, false, false, false);
    std::cout << state.succeeded << " " << state.shaderName << "\n" << state.fragmentSource << "\n" << state.vertexSource;
    for (auto& d : state.diagnostics) std::cout << d.message << "\n";
    for (auto& p : state.parameters) std::cout << p.name << " " << p.type << " " << p.slot << " " << p.defaultValue[0] << "\n";
}

} // namespace
} // namespace Brelk::Assets
