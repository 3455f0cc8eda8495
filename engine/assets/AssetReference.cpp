#include "engine/assets/AssetReference.h"

#include "engine/assets/AssetIdentity.h"
#include "engine/assets/AssetRegistry.h"
#include "engine/platform/Files.h"
#include "engine/platform/Paths.h"

#include <array>

namespace Brelk::Assets {

namespace fs = std::filesystem;

namespace {

constexpr std::string_view kSubkeyPrefix = "subkey:";
constexpr std::size_t kGuidReferenceLength = kGuidReferencePrefix.size() + Core::Guid::kTextLength;

std::optional<fs::path> PathFromUtf8(std::string_view text) {
    try {
        return fs::path(std::u8string(reinterpret_cast<const char8_t*>(text.data()), text.size()));
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

// Forward slashes whatever the host's separator.
std::string ReferencePathText(const fs::path& path) { return AssetPathKey(path); }

int HexDigit(char c) noexcept {
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    if (c >= 'a' && c <= 'f') {
        return c - 'a' + 10;
    }
    if (c >= 'A' && c <= 'F') {
        return c - 'A' + 10;
    }
    return -1;
}

std::optional<std::string> DecodeHex(std::string_view hex) {
    if (hex.size() % 2 != 0) {
        return std::nullopt;
    }
    std::string bytes;
    bytes.reserve(hex.size() / 2);
    for (std::size_t i = 0; i < hex.size(); i += 2) {
        const int high = HexDigit(hex[i]);
        const int low = HexDigit(hex[i + 1]);
        if (high < 0 || low < 0) {
            return std::nullopt;
        }
        bytes.push_back(static_cast<char>(high * 16 + low));
    }
    return bytes;
}

// The source of a "derived:" reference: a path reference, or the file of a "guid:" one.
ResolvedReferencePath ResolveSourcePath(const AssetRegistry& registry, std::string_view text) {
    if (const std::optional<Core::Guid> guid = ParseGuidReference(text)) {
        const std::optional<AssetRecord> record = registry.Copy(registry.HandleOfGuid(*guid));
        if (record && !record->sourcePath.empty()) {
            return ResolvedReferencePath{record->sourcePath, false};
        }
        return {};
    }
    return ResolveReferencePath(registry, text);
}

AssetHandle ResolveDerivedReference(const AssetRegistry& registry, std::string_view payload, AssetType expectedType) {
    const std::size_t bar = payload.find('|');
    if (bar == std::string_view::npos) {
        return kNullAssetHandle;
    }
    const ResolvedReferencePath source = ResolveSourcePath(registry, payload.substr(0, bar));
    if (source.path.empty()) {
        return kNullAssetHandle;
    }
    const std::string_view target = payload.substr(bar + 1);
    if (target.starts_with(kSubkeyPrefix)) {
        const std::optional<std::string> subkey = DecodeHex(target.substr(kSubkeyPrefix.size()));
        if (!subkey) {
            return kNullAssetHandle;
        }
        return registry.FindSubAsset(source.path, *subkey, expectedType);
    }
    // The narrow reading of the target equals its UTF-8 reading on this host, so the
    // exact and the prefix-stripped comparisons are all there is to try.
    const ResolvedReferencePath targetPath = ResolveReferencePath(registry, target);
    if (targetPath.path.empty()) {
        return kNullAssetHandle;
    }
    if (const AssetHandle exact = registry.FindDerived(source.path, targetPath.path, false, AssetType::Unknown)) {
        return exact;
    }
    return registry.FindDerived(source.path, targetPath.path, true, AssetType::Unknown);
}

} // namespace

std::string AssetReferenceOf(const AssetRegistry& registry, AssetHandle handle) {
    if (handle == kNullAssetHandle) {
        return {};
    }
    const std::optional<AssetRecord> record = registry.Copy(handle);
    if (!record) {
        return {};
    }
    if (record->isBuiltin) {
        return std::string(kBuiltinReferencePrefix) + record->name;
    }
    if (record->guid.IsValid()) {
        return GuidReferenceOf(record->guid);
    }
    const std::optional<fs::path> relative = Platform::RelativeToFolder(registry.ContentRoot(), record->sourcePath);
    if (relative && !relative->empty() && *relative != ".") {
        return std::string(kContentReferencePrefix) + ReferencePathText(*relative);
    }
    return std::string(kPathReferencePrefix) + ReferencePathText(Platform::CanonicalPath(record->sourcePath));
}

AssetHandle ResolveAssetReference(const AssetRegistry& registry, std::string_view text, AssetType expectedType) {
    if (text.empty()) {
        return kNullAssetHandle;
    }
    if (text.starts_with(kGuidReferencePrefix)) {
        const std::optional<Core::Guid> guid = ParseGuidReference(text);
        return guid ? registry.HandleOfGuid(*guid) : kNullAssetHandle;
    }
    if (text.starts_with(kBuiltinReferencePrefix)) {
        return registry.HandleOfBuiltin(text.substr(kBuiltinReferencePrefix.size()));
    }
    if (text.starts_with(kDerivedReferencePrefix)) {
        return ResolveDerivedReference(registry, text.substr(kDerivedReferencePrefix.size()), expectedType);
    }
    const ResolvedReferencePath resolved = ResolveReferencePath(registry, text);
    return resolved.path.empty() ? kNullAssetHandle : registry.HandleOfPath(resolved.path);
}

ResolvedReferencePath ResolveReferencePath(const AssetRegistry& registry, std::string_view text) {
    bool isContent = false;
    std::string_view payload;
    if (text.starts_with(kContentReferencePrefix)) {
        isContent = true;
        payload = text.substr(kContentReferencePrefix.size());
    } else if (text.starts_with(kPathReferencePrefix)) {
        payload = text.substr(kPathReferencePrefix.size());
    } else {
        return {};
    }
    std::optional<fs::path> path = PathFromUtf8(payload);
    if (!path) {
        return {};
    }
    if (isContent) {
        path = registry.ContentRoot() / *path;
    }
    // Whether or not the file exists, the UTF-8 reading is the answer on this host: its
    // narrow code page is UTF-8, so the second reading old files needed finds nothing else.
    ResolvedReferencePath resolved;
    if (!path->empty()) {
        resolved.path = Platform::CanonicalPath(*path);
    }
    return resolved;
}

std::vector<std::string> ScanAssetReferences(std::string_view text) {
    static constexpr std::array<std::string_view, 3> kPrefixes{kGuidReferencePrefix, kDerivedReferencePrefix,
                                                               kContentReferencePrefix};
    std::vector<std::string> found;
    std::size_t position = 0;
    while (position < text.size()) {
        std::size_t earliest = std::string_view::npos;
        std::string_view prefix;
        for (const std::string_view candidate : kPrefixes) {
            const std::size_t at = text.find(candidate, position);
            if (at < earliest) {
                earliest = at;
                prefix = candidate;
            }
        }
        if (earliest == std::string_view::npos) {
            break;
        }
        std::size_t end = 0;
        if (prefix == kGuidReferencePrefix) {
            end = std::min(text.size(), earliest + kGuidReferenceLength);
        } else {
            end = text.find_first_of(std::string_view("\0\n\r\"", 4), earliest);
            if (end == std::string_view::npos) {
                end = text.size();
            }
        }
        found.emplace_back(text.substr(earliest, end - earliest));
        position = end;
    }
    return found;
}

std::string GuidReferenceOf(const Core::Guid& guid) {
    std::string text;
    text.reserve(kGuidReferenceLength);
    text += kGuidReferencePrefix;
    char digits[Core::Guid::kTextLength];
    guid.ToChars(digits);
    text.append(digits, sizeof digits);
    return text;
}

std::optional<Core::Guid> ParseGuidReference(std::string_view text) {
    if (!text.starts_with(kGuidReferencePrefix)) {
        return std::nullopt;
    }
    const std::optional<Core::Guid> guid = Core::Guid::Parse(text.substr(kGuidReferencePrefix.size()));
    if (!guid || !guid->IsValid()) {
        return std::nullopt;
    }
    return guid;
}

} // namespace Brelk::Assets
