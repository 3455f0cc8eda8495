#include "engine/assets/shaders/ShaderErrors.h"

#include <charconv>
#include <limits>
#include <optional>
#include <string>

namespace Brelk::Assets {

namespace {

constexpr std::string_view kErrorMark = ": error: ";

std::optional<std::uint32_t> LineNumber(std::string_view digits) {
    if (digits.empty()) return std::nullopt;
    for (const char c : digits) {
        if (c < '0' || c > '9') return std::nullopt;
    }
    std::uint32_t value = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    if (error != std::errc() || end != digits.data() + digits.size()) return std::nullopt;
    return value;
}

} // namespace

std::vector<MaterialDiagnostic> MapShaderErrors(std::string_view output, const std::filesystem::path& fragmentPath,
                                                const ShaderLineTable& lineTable) {
    const std::string fragmentName = fragmentPath.filename().string();
    std::vector<MaterialDiagnostic> diagnostics;
    while (!output.empty()) {
        const std::size_t end = output.find('\n');
        std::string_view line = output.substr(0, end);
        output.remove_prefix(end == std::string_view::npos ? output.size() : end + 1);
        while (!line.empty() && line.back() == '\r') line.remove_suffix(1);

        const std::size_t mark = line.find(kErrorMark);
        if (mark == std::string_view::npos) continue;
        const std::string_view location = line.substr(0, mark);
        const std::string_view message = line.substr(mark + kErrorMark.size());
        const std::size_t colon = location.rfind(':');
        if (colon == std::string_view::npos) continue;
        const std::string_view file = location.substr(0, colon);
        const std::optional<std::uint32_t> number = LineNumber(location.substr(colon + 1));
        if (!number) continue;

        const std::uint64_t node = file.ends_with(fragmentName) ? lineTable.NodeAt(*number) : 0;
        MaterialDiagnostic diagnostic;
        diagnostic.severity = kMaterialError;
        diagnostic.node = node;
        if (node != 0) {
            diagnostic.message = "Shader error in node " + std::to_string(node) + ": " + std::string(message);
        } else {
            diagnostic.message = "Shader error (" + std::string(file) + ":" + std::to_string(*number) + "): " +
                                 std::string(message);
        }
        diagnostics.push_back(std::move(diagnostic));
    }
    return diagnostics;
}

} // namespace Brelk::Assets
