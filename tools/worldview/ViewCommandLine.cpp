#include "tools/worldview/ViewCommandLine.h"

#include "tools/worldgen/CommandLine.h"

#include <stdexcept>

namespace Brelk::WorldView {

ViewCommandLineParse ParseViewCommandLine(std::span<const std::string> args, WorldViewOptions& options) {
    for (std::size_t i = 0; i < args.size(); ++i) {
        const std::string_view option = args[i];
        if (option != "--world" && option != "--png" && option != "--scale") return ViewCommandLineParse::Usage;
        if (i + 1 >= args.size()) throw std::runtime_error("missing value for " + std::string(option));
        const std::string& value = args[++i];
        if (option == "--world") {
            options.worldPath = value;
        } else if (option == "--png") {
            options.pngPath = value;
        } else {
            const std::uint32_t scale = WorldGen::ConvertUnsignedArgument(value);
            if (scale == 0) throw std::runtime_error("--scale must be at least 1");
            options.scale = scale;
        }
    }
    if (options.worldPath.empty()) return ViewCommandLineParse::Usage;
    return ViewCommandLineParse::Ok;
}

void ResolveViewPaths(WorldViewOptions& options) {
    options.worldPath = std::filesystem::absolute(options.worldPath);
    if (!options.pngPath.empty()) options.pngPath = std::filesystem::absolute(options.pngPath);
}

} // namespace Brelk::WorldView
