#include "engine/assets/shaders/ShaderBuild.h"
#include "engine/assets/shaders/ShaderSource.h"
#include "engine/core/TaskSystem.h"

#include <benchmark/benchmark.h>

#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

namespace {

namespace fs = std::filesystem;
using namespace Brelk::Assets;
using Brelk::Core::Tasks::TaskCounter;
using Brelk::Core::Tasks::TaskPriority;
using Brelk::Core::Tasks::TaskSystem;
using Brelk::Core::Tasks::TaskSystemConfig;

constexpr int kMaterials = 100;
const fs::path kTemplates = fs::path(BRELK_SOURCE_DIR) / "assets" / "shaders";

struct Material {
    ShaderBuildFiles files;
    std::string vertex;
    GeneratedFragmentSource fragment;
};

// 100 surface materials that differ in one constant, so that each has files of its own.
std::vector<Material> MakeMaterials(const fs::path& folder) {
    std::vector<Material> materials;
    for (int i = 0; i < kMaterials; ++i) {
        const std::vector<MaterialStatement> statements = {
            {1, "vec4", "node_1_sample", "texture(BRELK_MATERIAL_TEXTURE(0), ComputeSurfaceUv(inTexCoord))"},
            {2, "float", "node_2_value", "node_1_sample.x * " + std::to_string(i) + ".0"}};
        const std::vector<std::string> tail = {"BrelkSurface surface = BrelkDefaultSurface();",
                                               "surface.baseColor = node_1_sample.rgb * node_2_value;", "return surface;"};
        const fs::path stem = folder / ("Material_" + std::to_string(i));
        materials.push_back({{stem.string() + ".vert", stem.string() + ".frag", stem.string() + ".vert.spv",
                              stem.string() + ".frag.spv", "", ""},
                             BuildVertexSource(0, 32),
                             BuildFragmentSource(0, 32, {}, statements, tail)});
    }
    return materials;
}

// Every material's build as one task on the workers, as Initialize runs them.
void BuildAll(TaskSystem& system, const std::vector<Material>& materials, const ShaderToolOptions& options,
              benchmark::State& state) {
    std::vector<int> failures(materials.size());
    std::vector<TaskCounter> counters;
    for (std::size_t i = 0; i < materials.size(); ++i) {
        counters.push_back(system.Submit(TaskPriority::Normal, [&, i] {
            std::vector<MaterialDiagnostic> diagnostics;
            const Material& m = materials[i];
            failures[i] = BuildShaderFiles(m.files, m.vertex, m.fragment.text, m.fragment.lines, kTemplates, options,
                                           diagnostics) ? 0 : 1;
        }));
    }
    for (const TaskCounter& counter : counters) system.Wait(counter);
    for (const int failed : failures) {
        if (failed != 0) state.SkipWithError("a shader did not build");
    }
}

fs::path ScratchFolder(const char* name) {
    fs::path folder = fs::temp_directory_path() / name;
    std::error_code ignored;
    fs::remove_all(folder, ignored);
    return folder;
}

void ShaderBuildHundredMaterialsCold(benchmark::State& state) {
    TaskSystem system{TaskSystemConfig{}};
    const ShaderToolOptions options = MakeShaderToolOptions();
    if (LocateGlslc(options).empty()) state.SkipWithError("glslc is not installed");
    for (auto _ : state) {
        state.PauseTiming();
        const fs::path folder = ScratchFolder("brelk-shader-bench-cold");
        const std::vector<Material> materials = MakeMaterials(folder);
        state.ResumeTiming();
        BuildAll(system, materials, options, state);
    }
    std::error_code ignored;
    fs::remove_all(fs::temp_directory_path() / "brelk-shader-bench-cold", ignored);
}
BENCHMARK(ShaderBuildHundredMaterialsCold)->Iterations(1)->UseRealTime()->Unit(benchmark::kMillisecond);

// Built once; every iteration finds all files and starts no compiler.
void ShaderBuildHundredMaterialsWarm(benchmark::State& state) {
    TaskSystem system{TaskSystemConfig{}};
    const ShaderToolOptions options = MakeShaderToolOptions();
    const fs::path folder = ScratchFolder("brelk-shader-bench-warm");
    const std::vector<Material> materials = MakeMaterials(folder);
    BuildAll(system, materials, options, state);
    for (auto _ : state) {
        for (const Material& m : materials) {
            std::vector<MaterialDiagnostic> diagnostics;
            benchmark::DoNotOptimize(BuildShaderFiles(m.files, m.vertex, m.fragment.text, m.fragment.lines, kTemplates,
                                                      options, diagnostics));
        }
    }
    std::error_code ignored;
    fs::remove_all(folder, ignored);
}
BENCHMARK(ShaderBuildHundredMaterialsWarm)->UseRealTime()->Unit(benchmark::kMicrosecond);

// The floor of the warm case: the two status calls of each material, nothing else.
void StatusOfHundredShaderPairs(benchmark::State& state) {
    TaskSystem system{TaskSystemConfig{}};
    const fs::path folder = ScratchFolder("brelk-shader-bench-floor");
    const std::vector<Material> materials = MakeMaterials(folder);
    BuildAll(system, materials, MakeShaderToolOptions(), state);
    for (auto _ : state) {
        for (const Material& m : materials) {
            std::error_code ignored;
            benchmark::DoNotOptimize(fs::is_regular_file(m.files.vertexSpirv, ignored) &&
                                     fs::is_regular_file(m.files.fragmentSpirv, ignored));
        }
    }
    std::error_code ignored;
    fs::remove_all(folder, ignored);
}
BENCHMARK(StatusOfHundredShaderPairs)->UseRealTime()->Unit(benchmark::kMicrosecond);

} // namespace
