#pragma once

#include <cstdint>
#include <filesystem>

namespace Brelk::Assets {

// The folder of the template files: the first of the installed "Shaders" asset folder,
// <program folder>/Assets/Shaders and <engine root>/Assets/Shaders that holds
// "brelk_surface.glsl" as a regular file; an empty path when none does.
std::filesystem::path LocateShaderFolder();

// The stamp of the template files in `folder`: FNV-1a 64 over a fixed key, then each file's
// name and its text without carriage returns, or "<missing>" for a file that does not open.
// An empty folder counts every file as missing.
std::uint64_t ComputeTemplateStamp(const std::filesystem::path& folder);

// ComputeTemplateStamp of LocateShaderFolder(), computed once per process: changed template
// files need a restart.
std::uint64_t TemplateStamp();

// The stamp of one template permutation: the template stamp, the template's name and the
// normalized variant.
std::uint64_t PermutationStamp(std::uint64_t templateStamp, std::uint32_t templateId, std::uint32_t variant);

} // namespace Brelk::Assets
