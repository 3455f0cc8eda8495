#include "tools/worldgen/CommandLine.h"

#include <cfloat>
#include <charconv>
#include <cmath>
#include <stdexcept>
#include <string>

namespace Brelk::WorldGen {

Scene::WorldPartitionComponent DefaultPartition() noexcept {
    Scene::WorldPartitionComponent partition;
    partition.loadRadius = 192.0f;
    partition.unloadRadius = 256.0f;
    partition.frameBudgetMilliseconds = 2.0f;
    partition.memoryBudgetMegabytes = 64.0f;
    return partition;
}

namespace {

constexpr bool IsCSpace(char c) noexcept {
    return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r';
}

constexpr bool IsDigit(char c) noexcept {
    return c >= '0' && c <= '9';
}

std::string_view SkipSpace(std::string_view text) noexcept {
    std::size_t i = 0;
    while (i < text.size() && IsCSpace(text[i])) ++i;
    return text.substr(i);
}

// Sign and decimal digits as strtol and strtoul read them; the magnitude saturates just
// above `limit`, which is all the range check needs.
struct DecimalText {
    bool converted = false;
    bool negative = false;
    std::uint64_t magnitude = 0;
};

DecimalText ReadDecimal(std::string_view text, std::uint64_t limit) noexcept {
    DecimalText result;
    text = SkipSpace(text);
    std::size_t i = 0;
    if (i < text.size() && (text[i] == '+' || text[i] == '-')) result.negative = text[i++] == '-';
    for (; i < text.size() && IsDigit(text[i]); ++i) {
        result.converted = true;
        if (result.magnitude <= limit) result.magnitude = result.magnitude * 10 + static_cast<std::uint64_t>(text[i] - '0');
    }
    return result;
}

constexpr bool IsHexDigit(char c) noexcept {
    return IsDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

// "0x" counts as the start of a hexadecimal float only when a hexadecimal digit follows,
// directly or behind the point; otherwise the C library reads the "0" alone.
bool StartsHexFloat(std::string_view text) noexcept {
    if (text.size() < 3 || text[0] != '0' || (text[1] != 'x' && text[1] != 'X')) return false;
    if (IsHexDigit(text[2])) return true;
    return text[2] == '.' && text.size() > 3 && IsHexDigit(text[3]);
}

// glibc's strtof reports a range error for a result that is tiny (below the smallest normal
// float after rounding to 24 bits with an unbounded exponent) and inexact. The double
// reading of the same text decides both; it is exact for every text short enough to type.
bool IsTinyAndInexact(float result, double wide) noexcept {
    if (wide == 0.0 || std::isnan(wide) || std::isinf(wide)) return false;
    const float unbounded = static_cast<float>(std::fabs(wide) * 0x1p64);
    const bool tiny = unbounded < FLT_MIN * 0x1p64f;
    return tiny && static_cast<double>(std::fabs(result)) != std::fabs(wide);
}

enum class FloatText { Ok, Invalid, OutOfRange };

template <typename T>
FloatText ConvertFloatBody(std::string_view body, T& value) noexcept {
    if (StartsHexFloat(body)) {
        const std::from_chars_result hex =
            std::from_chars(body.data() + 2, body.data() + body.size(), value, std::chars_format::hex);
        if (hex.ec == std::errc::result_out_of_range) return FloatText::OutOfRange;
        if (hex.ec == std::errc()) return FloatText::Ok;
    }
    const std::from_chars_result decimal =
        std::from_chars(body.data(), body.data() + body.size(), value, std::chars_format::general);
    if (decimal.ec == std::errc::result_out_of_range) return FloatText::OutOfRange;
    if (decimal.ec != std::errc()) return FloatText::Invalid;
    return FloatText::Ok;
}

struct OptionTarget {
    std::string_view name;
    void (*apply)(WorldGenOptions& options, const std::string& value);
};

constexpr OptionTarget kOptions[] = {
    {"--content", [](WorldGenOptions& o, const std::string& v) { o.contentPath = v; }},
    {"--world", [](WorldGenOptions& o, const std::string& v) { o.worldPath = v; }},
    {"--scene", [](WorldGenOptions& o, const std::string& v) { o.scenePath = v; }},
    {"--cells",
     [](WorldGenOptions& o, const std::string& v) {
         o.settings.cellsX = ConvertSignedArgument(v);
         o.settings.cellsZ = o.settings.cellsX;
     }},
    {"--cell-size", [](WorldGenOptions& o, const std::string& v) { o.settings.cellSize = ConvertFloatArgument(v); }},
    {"--props",
     [](WorldGenOptions& o, const std::string& v) { o.settings.propsPerCell = ConvertUnsignedArgument(v); }},
    {"--terrain",
     [](WorldGenOptions& o, const std::string& v) { o.settings.terrainResolution = ConvertUnsignedArgument(v); }},
    {"--seed", [](WorldGenOptions& o, const std::string& v) { o.settings.seed = ConvertUnsignedArgument(v); }},
    {"--memory-budget-mb",
     [](WorldGenOptions& o, const std::string& v) { o.partition.memoryBudgetMegabytes = ConvertFloatArgument(v); }},
    {"--load-radius",
     [](WorldGenOptions& o, const std::string& v) { o.partition.loadRadius = ConvertFloatArgument(v); }},
    {"--unload-radius",
     [](WorldGenOptions& o, const std::string& v) { o.partition.unloadRadius = ConvertFloatArgument(v); }},
    {"--frame-budget-ms",
     [](WorldGenOptions& o, const std::string& v) { o.partition.frameBudgetMilliseconds = ConvertFloatArgument(v); }},
};

const OptionTarget* FindOption(std::string_view argument) noexcept {
    for (const OptionTarget& option : kOptions)
        if (option.name == argument) return &option;
    return nullptr;
}

} // namespace

std::int32_t ConvertSignedArgument(std::string_view text) {
    constexpr std::uint64_t kLimit = 0x80000000ull;
    const DecimalText number = ReadDecimal(text, kLimit);
    if (!number.converted) throw std::invalid_argument("invalid stoi argument");
    if (number.magnitude > (number.negative ? kLimit : kLimit - 1))
        throw std::out_of_range("stoi argument out of range");
    const auto magnitude = static_cast<std::int64_t>(number.magnitude);
    return static_cast<std::int32_t>(number.negative ? -magnitude : magnitude);
}

std::uint32_t ConvertUnsignedArgument(std::string_view text) {
    constexpr std::uint64_t kLimit = 0xFFFFFFFFull;
    const DecimalText number = ReadDecimal(text, kLimit);
    if (!number.converted) throw std::invalid_argument("invalid stoul argument");
    if (number.magnitude > kLimit) throw std::out_of_range("stoul argument out of range");
    const auto magnitude = static_cast<std::uint32_t>(number.magnitude);
    return number.negative ? static_cast<std::uint32_t>(0u - magnitude) : magnitude;
}

float ConvertFloatArgument(std::string_view text) {
    std::string_view body = SkipSpace(text);
    bool negative = false;
    if (!body.empty() && (body.front() == '+' || body.front() == '-')) {
        negative = body.front() == '-';
        body.remove_prefix(1);
    }
    // from_chars takes a minus sign of its own; the C library takes one sign only.
    if (body.empty() || body.front() == '+' || body.front() == '-') throw std::invalid_argument("invalid stof argument");

    float value = 0.0f;
    const FloatText narrow = ConvertFloatBody(body, value);
    if (narrow == FloatText::Invalid) throw std::invalid_argument("invalid stof argument");
    if (narrow == FloatText::OutOfRange) throw std::out_of_range("stof argument out of range");
    double wide = 0.0;
    if (ConvertFloatBody(body, wide) == FloatText::Ok && IsTinyAndInexact(value, wide))
        throw std::out_of_range("stof argument out of range");
    return negative ? -value : value;
}

CommandLineParse ParseCommandLine(std::span<const std::string> args, WorldGenOptions& options) {
    for (std::size_t i = 0; i < args.size(); ++i) {
        const OptionTarget* option = FindOption(args[i]);
        if (option == nullptr) return CommandLineParse::Usage;
        if (i + 1 >= args.size()) throw std::runtime_error("missing value for " + std::string(option->name));
        option->apply(options, args[++i]);
    }
    if (options.contentPath.empty()) return CommandLineParse::Usage;
    return CommandLineParse::Ok;
}

void ResolveToolPaths(WorldGenOptions& options) {
    options.contentPath = std::filesystem::absolute(options.contentPath);
    if (!options.worldPath.is_absolute()) options.worldPath = options.contentPath / options.worldPath;
    if (!options.scenePath.is_absolute()) options.scenePath = options.contentPath / options.scenePath;
}

} // namespace Brelk::WorldGen
