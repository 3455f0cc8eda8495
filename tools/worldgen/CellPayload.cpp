#include "tools/worldgen/CellPayload.h"

#include "engine/assets/cooked/CookedContainer.h"
#include "engine/scene/CookedScene.h"
#include "engine/scene/SceneTextParser.h"

#include <algorithm>
#include <numeric>
#include <string_view>
#include <unordered_map>
#include <variant>

namespace Brelk::WorldGen {
namespace {

constexpr std::uint32_t kMaxDepthWalk = 4096;
constexpr std::uint64_t kEntityBytes = 1024;
constexpr std::uint64_t kRecordBytes = 16;
constexpr std::uint64_t kLeafBytes = 8;
constexpr std::uint64_t kArrayBytes = 16;

std::uint64_t EstimateValueBytes(const Reflection::SchemaValue& value) noexcept;

std::uint64_t EstimateArrayBytes(const Reflection::SchemaArray& array) noexcept {
    std::uint64_t total = kArrayBytes;
    for (const Reflection::SchemaValue& element : array.elements) {
        total += EstimateValueBytes(element);
    }
    return total;
}

std::uint64_t EstimateValueBytes(const Reflection::SchemaValue& value) noexcept {
    switch (value.index()) {
    case 0:
        return kLeafBytes + std::get<0>(value).size();
    case 1:
        return EstimateRecordBytes(std::get<1>(value));
    case 2:
        return EstimateArrayBytes(std::get<2>(value));
    default:
        return kLeafBytes;
    }
}

} // namespace

std::uint64_t EstimateRecordBytes(const Reflection::SchemaRecord& record) noexcept {
    std::uint64_t total = kRecordBytes + record.name.size();
    for (const Reflection::SchemaField& field : record.fields) {
        total += field.name.size() + EstimateValueBytes(field.value);
    }
    return total;
}

std::uint64_t EstimatePayloadBytes(const CellPayload& payload) noexcept {
    std::uint64_t total = payload.bytes.size();
    for (const Scene::SceneEntityBlock& entity : payload.document.entities) {
        total += kEntityBytes + entity.name.size();
        for (const Scene::SceneComponentBlock& block : entity.records) {
            total += EstimateRecordBytes(block.record);
        }
    }
    return total;
}

void SortEntitiesByDepth(std::vector<Scene::SceneEntityBlock>& entities) {
    std::unordered_map<Core::Guid, Core::Guid> parentOf;
    parentOf.reserve(entities.size());
    for (const Scene::SceneEntityBlock& entity : entities) {
        parentOf.emplace(entity.guid, entity.parent);
    }

    std::vector<std::uint32_t> depth(entities.size(), 0);
    bool sorted = true;
    for (std::size_t i = 0; i < entities.size(); ++i) {
        Core::Guid current = entities[i].guid;
        std::uint32_t count = 0;
        while (count < kMaxDepthWalk) {
            const auto found = parentOf.find(current);
            if (found == parentOf.end() || !found->second.IsValid() || !parentOf.contains(found->second)) {
                break;
            }
            current = found->second;
            ++count;
        }
        depth[i] = count;
        sorted = sorted && (i == 0 || depth[i - 1] <= count);
    }
    if (sorted) {
        return; // the writer's own order already is: nothing to move
    }

    std::vector<std::uint32_t> order(entities.size());
    std::iota(order.begin(), order.end(), 0u);
    std::stable_sort(order.begin(), order.end(),
                     [&](std::uint32_t a, std::uint32_t b) { return depth[a] < depth[b]; });
    std::vector<Scene::SceneEntityBlock> reordered;
    reordered.reserve(entities.size());
    for (std::uint32_t index : order) {
        reordered.push_back(std::move(entities[index]));
    }
    entities = std::move(reordered);
}

bool ParseCellPayload(std::span<const std::uint8_t> bytes, CellPayload& payload, const std::filesystem::path& path,
                      std::string* error) {
    Scene::SceneDocument& document = payload.document;
    document.version = 0;
    document.environment.reset();
    document.entities.clear();

    if (Assets::IsCookedFile(bytes)) {
        if (!Scene::DecodeCookedScene(bytes, document, path, error)) {
            return false;
        }
    } else {
        // Parsed from a copy of its own: once the parse has begun, only the size of the
        // caller's buffer is ever looked at.
        const std::string text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
        if (!Scene::ParseSceneText(std::string_view(text), document, path, error)) {
            return false;
        }
    }

    if (document.version != Scene::SceneFormatVersion) {
        if (error != nullptr) {
            *error = Scene::SceneVersionMessage(document.version, path);
        }
        return false;
    }
    SortEntitiesByDepth(document.entities);
    payload.estimatedBytes = EstimatePayloadBytes(payload);
    return true;
}

} // namespace Brelk::WorldGen
