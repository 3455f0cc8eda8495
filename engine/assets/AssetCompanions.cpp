#include "engine/assets/AssetCompanions.h"

#include "engine/platform/Files.h"

#include <array>
#include <string_view>
#include <system_error>

namespace Brelk::Assets {
namespace {

constexpr std::array<std::string_view, 3> kCompanionSuffixes{".bmeta", ".materials", ".cells"};

std::filesystem::path WithSuffix(const std::filesystem::path& path, std::string_view suffix) {
    std::filesystem::path result = path;
    result += suffix;
    return result;
}

bool Exists(const std::filesystem::path& path) {
    std::error_code ignored;
    return std::filesystem::exists(std::filesystem::symlink_status(path, ignored));
}

// A case-only rename on a case-insensitive volume names one file twice; it must not count
// as a collision.
bool SameFile(const std::filesystem::path& a, const std::filesystem::path& b) {
    std::error_code error;
    const bool same = std::filesystem::equivalent(a, b, error);
    return !error && same;
}

void KeepFirstError(std::string* error, bool& failed, std::string message) {
    if (error && !failed) {
        *error = std::move(message);
    }
    failed = true;
}

} // namespace

std::vector<std::filesystem::path> CompanionPaths(const std::filesystem::path& sourcePath) {
    std::vector<std::filesystem::path> paths;
    paths.reserve(kCompanionSuffixes.size());
    for (const std::string_view suffix : kCompanionSuffixes) {
        paths.push_back(WithSuffix(sourcePath, suffix));
    }
    return paths;
}

std::vector<std::filesystem::path> ExistingCompanions(const std::filesystem::path& sourcePath) {
    std::vector<std::filesystem::path> existing;
    for (std::filesystem::path& path : CompanionPaths(sourcePath)) {
        if (Exists(path)) {
            existing.push_back(std::move(path));
        }
    }
    return existing;
}

bool RenameCompanions(const std::filesystem::path& oldSource, const std::filesystem::path& newSource,
                      std::string* error) {
    bool failed = false;
    for (const std::string_view suffix : kCompanionSuffixes) {
        const std::filesystem::path from = WithSuffix(oldSource, suffix);
        const std::filesystem::path to = WithSuffix(newSource, suffix);
        if (!Exists(from)) {
            continue;
        }
        if (!SameFile(from, to) && Exists(to)) {
            KeepFirstError(error, failed, "Sidecar already exists: " + Platform::PathToUtf8(to));
            continue;
        }
        std::error_code moveError;
        std::filesystem::rename(from, to, moveError);
        if (moveError) {
            KeepFirstError(error, failed, moveError.message());
        }
    }
    return !failed;
}

bool RenameAssetSource(const std::filesystem::path& oldSource, const std::filesystem::path& newSource,
                       std::string* error) {
    std::error_code moveError;
    std::filesystem::rename(oldSource, newSource, moveError);
    if (moveError) {
        if (error) {
            *error = moveError.message();
        }
        return false;
    }
    return RenameCompanions(oldSource, newSource, error);
}

} // namespace Brelk::Assets
