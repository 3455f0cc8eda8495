#include "engine/assets/AssetIdentity.h"

#include "engine/assets/AssetTypeWords.h"
#include "engine/core/Hash.h"
#include "engine/platform/Files.h"

#include <system_error>

namespace Brelk::Assets {
namespace {

std::uint64_t HashLittleEndian(std::uint64_t value, std::uint64_t hash) noexcept {
    for (int i = 0; i < 8; ++i) {
        hash ^= (value >> (8 * i)) & 0xffu;
        hash *= Core::kFnv1aPrime;
    }
    return hash;
}

Core::Guid GuidOfParts(std::initializer_list<std::string_view> parts) {
    std::string text;
    std::size_t size = 0;
    for (const std::string_view part : parts) {
        size += part.size();
    }
    text.reserve(size);
    for (const std::string_view part : parts) {
        text.append(part);
    }
    return Core::Guid::FromName(text);
}

} // namespace

std::string AssetPathKey(const std::filesystem::path& path) {
    std::string key = Platform::PathToUtf8(path);
    for (char& c : key) {
        if (c == '\\') {
            c = '/';
        }
    }
    return key;
}

std::string ContentRootKey(const std::filesystem::path& root) {
    std::string key = AssetPathKey(root);
    while (key.size() > 1 && key.back() == '/') {
        key.pop_back();
    }
    return key;
}

bool IsKeyInsideRoot(std::string_view rootKey, std::string_view key) noexcept {
    return !rootKey.empty() && key.size() > rootKey.size() && key.starts_with(rootKey) &&
           key[rootKey.size()] == '/';
}

Core::Guid DerivedAssetGuid(std::string_view rootKey, std::string_view key) {
    if (IsKeyInsideRoot(rootKey, key)) {
        return GuidOfParts({"brelk-asset:content:", key.substr(rootKey.size() + 1)});
    }
    return GuidOfParts({"brelk-asset:path:", key});
}

Core::Guid BuiltinAssetGuid(std::string_view name) { return GuidOfParts({"builtin:", name}); }

Core::Guid DuplicateAssetGuid(const Core::Guid& oldGuid, std::string_view key) {
    char guidText[Core::Guid::kTextLength];
    oldGuid.ToChars(guidText);
    return GuidOfParts({"brelk-duplicate:", std::string_view(guidText, sizeof guidText), ":", key});
}

Core::Guid SubAssetGuid(const Core::Guid& sourceGuid, AssetType type, std::string_view subkey) {
    char guidText[Core::Guid::kTextLength];
    sourceGuid.ToChars(guidText);
    return GuidOfParts(
        {"brelk-subasset:", std::string_view(guidText, sizeof guidText), "|", AssetTypeWord(type), "|", subkey});
}

std::string_view SubkeyStem(std::string_view subkey) noexcept {
    const std::size_t hash = subkey.rfind('#');
    if (hash == std::string_view::npos || hash + 1 == subkey.size()) {
        return subkey;
    }
    for (std::size_t i = hash + 1; i < subkey.size(); ++i) {
        if (subkey[i] < '0' || subkey[i] > '9') {
            return subkey;
        }
    }
    return subkey.substr(0, hash);
}

std::uint64_t FileStamp(std::uint64_t size, std::int64_t lastWriteTime) noexcept {
    std::uint64_t hash = HashLittleEndian(size, Core::kFnv1aOffset);
    hash = HashLittleEndian(static_cast<std::uint64_t>(lastWriteTime), hash);
    return hash == 0 ? 1 : hash;
}

std::uint64_t ReadFileStamp(const std::filesystem::path& path) {
    std::error_code error;
    const std::uintmax_t size = std::filesystem::file_size(path, error);
    if (error) {
        return 0;
    }
    const std::filesystem::file_time_type time = std::filesystem::last_write_time(path, error);
    if (error) {
        return 0;
    }
    return FileStamp(static_cast<std::uint64_t>(size), static_cast<std::int64_t>(time.time_since_epoch().count()));
}

} // namespace Brelk::Assets
