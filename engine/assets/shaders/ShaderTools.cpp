#include "engine/assets/shaders/ShaderTools.h"

#include "engine/platform/Environment.h"
#include "engine/platform/Folders.h"

#include <system_error>

namespace Brelk::Assets {

namespace {

namespace fs = std::filesystem;

bool IsRegularFile(const fs::path& path) {
    std::error_code ignored;
    return fs::is_regular_file(path, ignored);
}

bool IsSourceTree(const fs::path& root) {
    return !root.empty() && IsRegularFile(root / "Config" / "EngineVersion.json") && IsRegularFile(root / "CMakeLists.txt");
}

fs::path BundledTool(const fs::path& folder) { return folder / "Tools" / "ShaderCompiler" / kGlslcName; }

} // namespace

ShaderToolOptions MakeShaderToolOptions() {
    ShaderToolOptions options;
    options.executableFolder = Platform::GetExecutableFolder();
    options.engineRoot = Platform::GetEngineRoot();
    if (std::optional<std::string> sdk = Platform::GetEnvironmentValue("VULKAN_SDK")) options.vulkanSdk = fs::path(*sdk);
    options.pathVariable = Platform::GetEnvironmentValue("PATH");
    return options;
}

fs::path LocateGlslc(const ShaderToolOptions& options) {
    // A source tree's own compiler wins over one that ships beside an installed program.
    if (IsSourceTree(options.engineRoot) && IsRegularFile(BundledTool(options.engineRoot))) {
        return BundledTool(options.engineRoot);
    }
    // An unknown folder is no place: a relative name would look in the current folder.
    for (const fs::path* folder : {&options.executableFolder, &options.engineRoot}) {
        if (!folder->empty() && IsRegularFile(BundledTool(*folder))) return BundledTool(*folder);
    }
    if (options.vulkanSdk && !options.vulkanSdk->empty()) {
        fs::path sdkTool = *options.vulkanSdk / "Bin" / kGlslcName;
        if (IsRegularFile(sdkTool)) return sdkTool;
    }
    if (options.pathVariable) {
        std::string_view entries = *options.pathVariable;
        while (true) {
            const std::size_t end = entries.find(kPathListSeparator);
            const std::string_view entry = entries.substr(0, end);
            if (!entry.empty()) {
                fs::path candidate = fs::path(entry) / kGlslcName;
                if (IsRegularFile(candidate)) return candidate;
            }
            if (end == std::string_view::npos) break;
            entries.remove_prefix(end + 1);
        }
    }
    return {};
}

} // namespace Brelk::Assets
