#include "engine/assets/cooked/CookedManifest.h"

#include "engine/assets/cooked/CookedContainer.h"
#include "engine/platform/Files.h"

#include <algorithm>
#include <charconv>
#include <fstream>
#include <mutex>
#include <optional>
#include <unordered_map>

namespace Brelk::Assets {
namespace {

constexpr std::size_t kMaxReservedDependencies = 4096;

bool IsBlank(char c) noexcept { return c == ' ' || c == '\t' || c == '\r'; }

// Reads the words, tokens and numbers of one manifest line; every reader returns false on
// text it can't take, and leaves the line where it was then.
class LineScanner {
public:
    explicit LineScanner(std::string_view line) : rest_(line) {}

    bool Word(std::string_view& word) {
        SkipBlanks();
        std::size_t end = 0;
        while (end < rest_.size() && !IsBlank(rest_[end])) ++end;
        if (end == 0) return false;
        word = rest_.substr(0, end);
        rest_.remove_prefix(end);
        return true;
    }

    bool Token(std::string& text) {
        SkipBlanks();
        if (rest_.empty() || rest_.front() != '"') return false;
        text.clear();
        for (std::size_t i = 1; i < rest_.size(); ++i) {
            char c = rest_[i];
            if (c == '"') {
                rest_.remove_prefix(i + 1);
                return true;
            }
            if (c == '\\') {
                if (++i == rest_.size()) return false;
                c = rest_[i];
            }
            text += c;
        }
        return false;
    }

    bool Path(std::filesystem::path& path) {
        std::string text;
        if (!Token(text)) return false;
        path = std::filesystem::path(text);
        return true;
    }

    template <typename Integer>
    bool Decimal(Integer& value) {
        std::string_view word;
        if (!Word(word)) return false;
        const auto [end, ec] = std::from_chars(word.data(), word.data() + word.size(), value);
        return ec == std::errc() && end == word.data() + word.size();
    }

    // 1 to 16 hexadecimal digits.
    bool Hex(std::uint64_t& value) {
        std::string_view word;
        if (!Word(word) || word.size() > 16) return false;
        const auto [end, ec] = std::from_chars(word.data(), word.data() + word.size(), value, 16);
        return ec == std::errc() && end == word.data() + word.size();
    }

    bool Flag(bool& value) {
        std::string_view word;
        if (!Word(word) || (word != "0" && word != "1")) return false;
        value = word == "1";
        return true;
    }

    std::string_view Rest() const noexcept { return rest_; }

private:
    void SkipBlanks() {
        while (!rest_.empty() && IsBlank(rest_.front())) rest_.remove_prefix(1);
    }

    std::string_view rest_;
};

// Both readers of the flag agree: any integer but 0 sets it, anything unreadable doesn't.
bool ReadRequireCookedScenesValue(std::string_view text) {
    LineScanner scanner(text);
    long long value = 0;
    return scanner.Decimal(value) && value != 0;
}

void AppendToken(std::string& out, std::string_view text) {
    out += '"';
    for (const char c : text) {
        if (c == '"' || c == '\\') out += '\\';
        out += c;
    }
    out += '"';
}

void AppendPath(std::string& out, const std::filesystem::path& path) {
    AppendToken(out, Platform::PathToUtf8(std::filesystem::path(path.generic_string())));
}

void AppendNumber(std::string& out, std::uint64_t value) {
    char digits[24];
    const auto result = std::to_chars(digits, digits + sizeof digits, value);
    out.append(digits, result.ptr);
}

std::string RenderManifest(const CookedAssetManifest& manifest) {
    std::string text = "brelk_cooked_manifest " + std::to_string(kCookedManifestVersion) + "\n";
    text += "platform ";
    AppendToken(text, manifest.platform);
    text += "\ncooker_version ";
    AppendNumber(text, manifest.cookerVersion);
    text += "\ncontent_root ";
    AppendPath(text, manifest.contentRoot);
    text += "\noutput_root ";
    AppendPath(text, manifest.outputRoot);
    text += '\n';
    if (manifest.requireCookedScenes) text += "require_cooked_scenes 1\n";
    for (const CookedAssetEntry& entry : manifest.assets) {
        text += "asset ";
        text += entry.guid.ToString();
        text += ' ';
        text += AssetTypeName(entry.type);
        text += ' ';
        AppendToken(text, entry.name);
        for (const std::filesystem::path* path : {&entry.sourcePath, &entry.cookedPath, &entry.thirdPath}) {
            text += ' ';
            AppendPath(text, *path);
        }
        text += ' ';
        AppendToken(text, entry.label);
        for (const std::uint64_t value : {entry.valueA, entry.valueB}) {
            text += ' ';
            AppendNumber(text, value);
        }
        text += entry.flag ? " 1 " : " 0 ";
        text += FormatHash(entry.hashA) + ' ' + FormatHash(entry.hashB) + ' ';
        AppendToken(text, entry.textC);
        text += ' ' + FormatHash(entry.hashC) + ' ';
        AppendToken(text, entry.textD);
        text += ' ';
        AppendNumber(text, entry.valueC);
        text += ' ';
        AppendNumber(text, entry.dependencies.size());
        text += '\n';
        for (const CookedAssetDependency& dependency : entry.dependencies) {
            text += "dependency ";
            AppendPath(text, dependency.path);
            text += ' ' + FormatHash(dependency.hash) + '\n';
        }
    }
    return text;
}

bool ReadAssetLine(LineScanner& scanner, std::uint32_t version, CookedAssetEntry& entry) {
    std::string_view word;
    if (version == 1) {
        std::uint64_t ignoredId = 0;
        if (!scanner.Decimal(ignoredId)) return false;
    } else {
        if (!scanner.Word(word)) return false;
        entry.guid = Core::Guid::Parse(word).value_or(Core::Guid{});
    }
    if (!scanner.Word(word)) return false;
    entry.type = AssetTypeFromName(word);
    if (!scanner.Token(entry.name) || !scanner.Path(entry.sourcePath) || !scanner.Path(entry.cookedPath) ||
        !scanner.Path(entry.thirdPath) || !scanner.Token(entry.label) || !scanner.Decimal(entry.valueA) ||
        !scanner.Decimal(entry.valueB) || !scanner.Flag(entry.flag)) {
        return false;
    }
    if (version < 3) return true;
    std::uint64_t dependencyCount = 0;
    if (!scanner.Hex(entry.hashA) || !scanner.Hex(entry.hashB) || !scanner.Token(entry.textC) ||
        !scanner.Hex(entry.hashC) || !scanner.Token(entry.textD) || !scanner.Decimal(entry.valueC) ||
        !scanner.Decimal(dependencyCount)) {
        return false;
    }
    entry.dependencies.reserve(static_cast<std::size_t>(std::min<std::uint64_t>(dependencyCount, kMaxReservedDependencies)));
    return true;
}

struct CachedAnswer {
    std::filesystem::file_time_type writeTime;
    bool answer = false;
};

} // namespace

bool WriteCookedManifest(const CookedAssetManifest& manifest, const std::filesystem::path& path, std::string* error) {
    std::string message;
    if (Platform::WriteFileAtomic(path, RenderManifest(manifest), &message)) return true;
    if (error) *error = "Failed to write cooked asset manifest: " + message;
    return false;
}

bool ReadCookedManifest(const std::filesystem::path& path, CookedAssetManifest& manifest, std::string* error) {
    const std::optional<std::vector<std::uint8_t>> bytes = Platform::ReadFileBytes(path);
    if (!bytes) {
        if (error) *error = "Failed to open cooked asset manifest: " + Platform::PathToUtf8(path);
        return false;
    }
    std::string_view text(reinterpret_cast<const char*>(bytes->data()), bytes->size());

    // The header may stand after blank lines, as a word-wise reader would find it.
    const auto nextLine = [&text]() {
        const std::size_t end = text.find('\n');
        const std::string_view line = text.substr(0, end);
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
        return line;
    };
    std::string_view headerLine;
    while (!text.empty() && headerLine.find_first_not_of(" \t\r") == std::string_view::npos) headerLine = nextLine();
    LineScanner header(headerLine);
    std::string_view word;
    std::uint32_t version = 0;
    if (!header.Word(word) || word != "brelk_cooked_manifest" || !header.Decimal(version) || version < 1 ||
        version > 3) {
        if (error) *error = "Invalid cooked asset manifest header: " + Platform::PathToUtf8(path);
        return false;
    }
    manifest = CookedAssetManifest{};
    manifest.version = version;

    while (!text.empty()) {
        const std::string_view line = nextLine();
        LineScanner scanner(line);
        if (!scanner.Word(word)) continue;
        if (word == "platform") {
            std::string platform;
            if (scanner.Token(platform)) manifest.platform = std::move(platform);
        } else if (word == "content_root") {
            (void)scanner.Path(manifest.contentRoot);
        } else if (word == "output_root") {
            (void)scanner.Path(manifest.outputRoot);
        } else if (word == "cooker_version") {
            (void)scanner.Decimal(manifest.cookerVersion);
        } else if (word == "require_cooked_scenes") {
            manifest.requireCookedScenes = ReadRequireCookedScenesValue(scanner.Rest());
        } else if (word == "asset") {
            CookedAssetEntry entry;
            if (!ReadAssetLine(scanner, version, entry)) {
                if (error) *error = "Malformed cooked asset manifest line: " + std::string(line);
                return false;
            }
            manifest.assets.push_back(std::move(entry));
        } else if (word == "dependency") {
            CookedAssetDependency dependency;
            if (manifest.assets.empty() || !scanner.Path(dependency.path) || !scanner.Hex(dependency.hash)) {
                if (error) *error = "Malformed cooked asset manifest dependency: " + std::string(line);
                return false;
            }
            manifest.assets.back().dependencies.push_back(std::move(dependency));
        }
    }
    return true;
}

bool RequiresCookedScenes(const std::filesystem::path& contentRoot) {
    const std::filesystem::path path = contentRoot / kCookedManifestFileName;
    std::error_code ec;
    const std::filesystem::file_time_type writeTime = std::filesystem::last_write_time(path, ec);
    if (ec) return false;

    static std::mutex mutex;
    static std::unordered_map<std::string, CachedAnswer> answers;
    const std::string key = Platform::PathToUtf8(path);
    {
        const std::lock_guard lock(mutex);
        const auto found = answers.find(key);
        if (found != answers.end() && found->second.writeTime == writeTime) return found->second.answer;
    }

    bool answer = false;
    std::ifstream file(path);
    std::string line;
    constexpr std::string_view kFlag = "require_cooked_scenes ";
    while (std::getline(file, line)) {
        if (line.starts_with("asset ")) break;
        if (line.starts_with(kFlag)) answer = ReadRequireCookedScenesValue(std::string_view(line).substr(kFlag.size()));
    }

    const std::lock_guard lock(mutex);
    answers[key] = CachedAnswer{writeTime, answer};
    return answer;
}

} // namespace Brelk::Assets
