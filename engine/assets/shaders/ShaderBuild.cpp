#include "engine/assets/shaders/ShaderBuild.h"

#include "engine/assets/shaders/ShaderErrors.h"
#include "engine/core/Profiler.h"
#include "engine/platform/ErrorText.h"
#include "engine/platform/Files.h"
#include "engine/platform/Folders.h"
#include "engine/platform/Paths.h"
#include "engine/platform/Process.h"

#include <algorithm>
#include <fstream>
#include <system_error>

namespace Brelk::Assets {

namespace {

namespace fs = std::filesystem;

constexpr std::string_view kSourcesNotWritten = "Failed to write generated shader source files.";
constexpr std::string_view kCompileFailed = "glslc failed to compile generated shaders.";
constexpr std::string_view kShadowFailed = "Shadow will ignore this material's holes: ";

bool IsRegularFile(const fs::path& path) {
    std::error_code ignored;
    return fs::is_regular_file(path, ignored);
}

bool Holds(const fs::path& path, std::string_view text) {
    std::error_code ignored;
    if (!fs::is_regular_file(path, ignored) || fs::file_size(path, ignored) != text.size()) return false;
    const std::optional<std::vector<std::uint8_t>> bytes = Platform::ReadFileBytes(path);
    return bytes && std::equal(bytes->begin(), bytes->end(), text.begin(), text.end(),
                               [](std::uint8_t a, char b) { return a == static_cast<std::uint8_t>(b); });
}

fs::path WithSuffix(const fs::path& path, std::string_view suffix) {
    fs::path result = path;
    result += suffix;
    return result;
}

void RemoveQuietly(const fs::path& path) {
    std::error_code ignored;
    fs::remove(path, ignored);
}

// The compiler runs in its own folder, so every path it gets must stand on its own.
fs::path Absolute(const fs::path& path) {
    std::error_code ignored;
    fs::path absolute = fs::absolute(path, ignored);
    return absolute.empty() ? path : absolute;
}

void AddDiagnostic(std::vector<MaterialDiagnostic>& diagnostics, std::uint8_t severity, std::string message) {
    diagnostics.push_back({severity, 0, std::move(message)});
}

} // namespace

fs::path GeneratedShaderFolder(AssetSourceMode mode) {
    if (mode == AssetSourceMode::ReadOnly) {
        std::error_code ignored;
        fs::path shipped = Platform::GetEngineRoot() / "GeneratedShaders";
        if (fs::is_directory(shipped, ignored)) return shipped;
    }
    return Platform::GetGeneratedShadersFolder();
}

bool WriteTextIfChanged(const fs::path& path, std::string_view text, std::string* error) {
    if (Holds(path, text)) return true;
    if (path.has_parent_path()) {
        std::error_code created;
        fs::create_directories(path.parent_path(), created);
        if (created) {
            SetError(error, "Failed to create folder " + Platform::PathToUtf8(path.parent_path()) + ": " +
                                created.message() + ".");
            return false;
        }
    }
    const fs::path partial = WithSuffix(path, ".partial");
    {
        std::ofstream out(partial, std::ios::binary | std::ios::trunc);
        if (out) out.write(text.data(), static_cast<std::streamsize>(text.size()));
        if (out) out.close();
        if (!out) {
            RemoveQuietly(partial);
            SetError(error, "Failed to write " + Platform::PathToUtf8(partial) + ".");
            return false;
        }
    }
    const Platform::PlatformResult moved = Platform::ReplaceFile(partial, path, false);
    if (moved.Ok()) return true;
    RemoveQuietly(partial);
    // Another build of the same name got there first: its text is this text.
    if (Holds(path, text)) return true;
    SetError(error, moved.message);
    return false;
}

bool CompileShaderStage(const fs::path& glslc, const fs::path& source, const fs::path& spirv,
                        const fs::path& includeFolder, std::string& output) {
    std::error_code ignored;
    if (fs::exists(fs::symlink_status(spirv, ignored))) return true;
    if (glslc.empty()) {
        output = kGlslcMissingMessage;
        return false;
    }
    const Core::ProfilerZone zone("Assets", "CompileShaderStage");
    const fs::path partial = WithSuffix(Absolute(spirv), ".partial");
    Platform::ProcessCommand command{glslc, {}, {}};
    if (!includeFolder.empty()) {
        command.arguments.emplace_back("-I");
        command.arguments.emplace_back(Absolute(includeFolder));
    }
    command.arguments.emplace_back("-o");
    command.arguments.emplace_back(partial);
    command.arguments.emplace_back(Absolute(source));
    const Platform::ProcessResult run = Platform::RunCapturedProcess(std::move(command));
    output = run.output;
    if (run.status != Platform::PlatformStatus::Ok) {
        if (!output.empty() && output.back() != '\n') output += '\n';
        output += run.message;
    }
    if (run.status != Platform::PlatformStatus::Ok || run.exitCode != 0) {
        RemoveQuietly(partial);
        return false;
    }
    const Platform::PlatformResult moved = Platform::ReplaceFile(partial, spirv, false);
    if (moved.Ok()) return true;
    RemoveQuietly(partial);
    // Another process compiled the same text and renamed first.
    if (IsRegularFile(spirv)) return true;
    if (!output.empty() && output.back() != '\n') output += '\n';
    output += moved.message;
    return false;
}

void InstallPackagedShaders(const PackagedShaderFiles& packaged, const ShaderBuildFiles& files) {
    if (packaged.empty()) return;
    for (const fs::path* spirv : {&files.vertexSpirv, &files.fragmentSpirv, &files.shadowFragmentSpirv}) {
        if (spirv->empty() || IsRegularFile(*spirv)) continue;
        const auto entry = packaged.find(spirv->filename().string());
        if (entry == packaged.end()) continue;
        const std::string_view bytes(reinterpret_cast<const char*>(entry->second.data()), entry->second.size());
        // A file that cannot be written here is built from source instead.
        [[maybe_unused]] const bool written = WriteTextIfChanged(*spirv, bytes);
    }
}

bool BuildShaderFiles(const ShaderBuildFiles& files, std::string_view vertexSource, std::string_view fragmentSource,
                      const ShaderLineTable& lineTable, const fs::path& includeFolder,
                      const ShaderToolOptions& options, std::vector<MaterialDiagnostic>& diagnostics) {
    const bool hasShadow = !files.shadowFragmentSource.empty() && !files.shadowFragmentSpirv.empty();
    // The usual start: a few status calls and no child process.
    if (IsRegularFile(files.vertexSpirv) && IsRegularFile(files.fragmentSpirv) &&
        (!hasShadow || IsRegularFile(files.shadowFragmentSpirv))) {
        return true;
    }
    const Core::ProfilerZone zone("Assets", "BuildMaterialShaders");
    if (!WriteTextIfChanged(files.vertexSource, vertexSource) || !WriteTextIfChanged(files.fragmentSource, fragmentSource)) {
        AddDiagnostic(diagnostics, kMaterialError, std::string(kSourcesNotWritten));
        return false;
    }
    const fs::path glslc = LocateGlslc(options);
    std::string output;
    if (!CompileShaderStage(glslc, files.vertexSource, files.vertexSpirv, includeFolder, output) ||
        !CompileShaderStage(glslc, files.fragmentSource, files.fragmentSpirv, includeFolder, output)) {
        std::vector<MaterialDiagnostic> mapped = MapShaderErrors(output, files.fragmentSource, lineTable);
        diagnostics.insert(diagnostics.end(), std::make_move_iterator(mapped.begin()), std::make_move_iterator(mapped.end()));
        AddDiagnostic(diagnostics, kMaterialError, output.empty() ? std::string(kCompileFailed) : output);
        return false;
    }
    if (hasShadow) {
        std::string shadowOutput;
        bool built = WriteTextIfChanged(files.shadowFragmentSource, MakeShadowFragmentSource(fragmentSource));
        if (!built) {
            shadowOutput = kSourcesNotWritten;
        } else {
            built = CompileShaderStage(glslc, files.shadowFragmentSource, files.shadowFragmentSpirv, includeFolder,
                                       shadowOutput);
        }
        // The material stands; its shadow falls back to the plain one.
        if (!built) AddDiagnostic(diagnostics, kMaterialWarning, std::string(kShadowFailed) + shadowOutput);
    }
    return true;
}

} // namespace Brelk::Assets
