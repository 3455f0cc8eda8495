#pragma once

#include "engine/assets/AssetHandle.h"
#include "engine/assets/AssetRecord.h"
#include "engine/assets/AssetSidecar.h"
#include "engine/assets/AssetSourceMode.h"
#include "engine/core/Guid.h"
#include "engine/reflection/AssetType.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <shared_mutex>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Brelk::Assets {

// The table of every known asset: the source files of the content folder, the built-ins and
// the sub-assets derived from sources, each with its Guid, handle, type, path and sidecar.
// The folder scan lives here and is the only place where files are discovered and sidecars
// created. Holds no loaded data.
//
// Every operation locks by itself: readers share the lock, SetContentRoot, Rescan, the
// Register operations, RemoveSubAssetsOf and SetImporterSetting take it exclusively. A
// moved-from registry is empty and usable.
class AssetRegistry {
public:
    AssetRegistry();
    ~AssetRegistry();
    AssetRegistry(AssetRegistry&& other) noexcept;
    AssetRegistry& operator=(AssetRegistry&& other) noexcept;
    AssetRegistry(const AssetRegistry&) = delete;
    AssetRegistry& operator=(const AssetRegistry&) = delete;

    // Stores the folder's canonical form and scans it. A ReadOnly folder must exist, else
    // std::runtime_error "Read-only asset content directory is missing: <path>"; an
    // Authoring folder is created with its parents (std::filesystem::filesystem_error
    // "create_directories" on failure).
    void SetContentRoot(const std::filesystem::path& path, AssetSourceMode mode);

    // Forgets every file and sub-asset record, walks the content folder again and registers
    // what it finds; writes a sidecar for each source that lacks a readable one (Authoring
    // only). Built-ins stay. A rename between two scans of one process is followed when the
    // file's size and time are unchanged.
    void Rescan();

    std::filesystem::path ContentRoot() const;
    AssetSourceMode Mode() const;
    // Rises with every change a reader can see.
    std::uint64_t Revision() const;

    // A pointer into the table, valid only until the next change; other threads use Copy.
    const AssetRecord* Find(AssetHandle handle) const;
    std::optional<AssetRecord> Copy(AssetHandle handle) const;

    AssetHandle HandleOfGuid(const Core::Guid& guid) const;
    // The top-level record of the file at `path` (normalised first), or 0.
    AssetHandle HandleOfPath(const std::filesystem::path& path) const;
    AssetHandle HandleOfBuiltin(std::string_view name) const;

    // The first sub-asset of that source with that subkey, of that type unless the type is
    // Unknown; 0 if none.
    AssetHandle FindSubAsset(const std::filesystem::path& sourcePath, std::string_view subkey, AssetType type) const;
    // The same by derived path. With `stripNumberPrefix` a leading run of digits and its "_"
    // is removed from both file names before they are compared.
    AssetHandle FindDerived(const std::filesystem::path& sourcePath, const std::filesystem::path& derivedPath,
                            bool stripNumberPrefix, AssetType type) const;
    std::optional<std::filesystem::path> SourceOfSubAsset(const Core::Guid& guid) const;
    std::optional<AssetSidecar> SidecarOf(const std::filesystem::path& sourcePath) const;
    std::optional<AssetSourceInfo> SourceInfoOf(const Core::Guid& guid) const;

    // File and sub-asset records before built-ins, each group by name, bytewise.
    std::vector<AssetRecord> AllRecords() const;
    // Records of one type by path, ties by subkey: the same order whatever the file system's.
    std::vector<AssetRecord> RecordsOfType(AssetType type) const;

    // A record with no paths and the Guid of "builtin:" and the name.
    AssetHandle RegisterBuiltin(AssetType type, std::string_view name);
    // Registers a file written outside a scan, such as a world just generated: gives it a
    // sidecar if it has none (Authoring, inside the content folder) and returns its handle.
    // A path the registry knows already keeps its handle; a copy of a known file that still
    // exists gets a new identity, a moved file keeps it.
    AssetHandle RegisterFile(AssetType type, const std::filesystem::path& path);
    // A derived asset of a source, named by `subkey`; its Guid is kept in the source's
    // sidecar. An empty `derivedPath` makes the record's path the source's.
    AssetHandle RegisterSubAsset(AssetType type, const std::filesystem::path& sourcePath,
                                 const std::filesystem::path& derivedPath, std::string_view subkey,
                                 std::string_view name);
    void RemoveSubAssetsOf(const std::filesystem::path& sourcePath);
    // Authoring only, for a source whose sidecar is on disk: sets the importer setting and
    // writes the sidecar if it changed. False otherwise, or if the write failed.
    bool SetImporterSetting(const std::filesystem::path& sourcePath, std::string_view key, std::string_view value);

    // Asset types whose unresolved references a decoder accepts as known to be absent.
    void SetToleratedMissingTypes(std::vector<std::uint32_t> types);
    bool IsToleratedMissingType(std::uint32_t type) const;
    std::vector<std::uint32_t> ToleratedMissingTypes() const;

    // Old files stored the FNV-1a hash of an asset's absolute path as its handle. Maps such a
    // value to the live record of that file, also where the project lay under one of
    // `roots` when the value was saved; 0 if none. A live handle is returned as it is.
    AssetHandle RemapLegacyHandle(std::uint64_t legacyHandle, std::span<const std::filesystem::path> roots) const;

private:
    struct State;

    std::unique_ptr<State> state_;
    std::unique_ptr<std::shared_mutex> mutex_;
};

} // namespace Brelk::Assets
