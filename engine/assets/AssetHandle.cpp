#include "engine/assets/AssetHandle.h"

#include <mutex>
#include <unordered_map>

namespace Brelk::Assets {
namespace {

// Starting above 32 bits keeps handles apart from the small numbers that old files and
// entity ids use, so a handle mixed up with either never looks valid.
constexpr AssetHandle kFirstHandle = 0x100000001ull;

struct HandleTable {
    std::recursive_mutex mutex;
    std::unordered_map<Core::Guid, AssetHandle, Core::GuidHasher> handles;
    AssetHandle next = kFirstHandle;
};

HandleTable& Table() {
    static HandleTable table;
    return table;
}

} // namespace

AssetHandle HandleForGuid(const Core::Guid& guid) {
    HandleTable& table = Table();
    std::lock_guard lock(table.mutex);
    const auto [it, inserted] = table.handles.try_emplace(guid, table.next);
    if (inserted) {
        ++table.next;
    }
    return it->second;
}

} // namespace Brelk::Assets
