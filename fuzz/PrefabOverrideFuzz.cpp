// Puts arbitrary overrides on the records of real components. The first byte picks the
// component, the second how the path is made: from the input's own bytes, or as a walk over
// the component's real field names picked by the following bytes; the rest is the value.
// An override either throws std::runtime_error and leaves the records as they were, or
// succeeds; then the overrides that the differ finds between the old and the new records,
// put on the old ones, give the new text again.

#include "engine/reflection/SchemaRecordText.h"
#include "engine/scene/ComponentRegistry.h"
#include "engine/scene/InstallComponents.h"
#include "engine/scene/Scene.h"
#include "engine/scene/prefabs/PrefabOverrides.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

namespace Assets = Brelk::Assets;
namespace Core = Brelk::Core;
namespace Reflection = Brelk::Reflection;
using namespace Brelk::Scene;
using Brelk::Reflection::SchemaRecord;

void Check(bool condition) {
    if (!condition) std::abort();
}

struct Catalogue {
    Catalogue() {
        InstallComponents();
        std::vector<const ComponentTypeEntry*> all;
        ComponentRegistry::Instance().EntriesInRegistrationOrder(all);
        for (const ComponentTypeEntry* entry : all) {
            if (!entry->saved || entry->HasFlag(ComponentFlags::EntityHeader)) continue;
            const Entity entity = scene.CreateEntity(entry->name);
            entry->addDefault(scene, entity);
            std::vector<SchemaRecord> records;
            try {
                entry->save(entry->getConst(scene, entity), ComponentSaveContext{scene, entity, nullptr}, records);
            } catch (const std::exception&) {
                continue; // needs the asset registry to be written
            }
            entries.push_back(entry);
            defaults.push_back(std::move(records));
        }
    }
    Scene scene;
    std::vector<const ComponentTypeEntry*> entries;
    std::vector<std::vector<SchemaRecord>> defaults;
};

std::string WalkPath(const ComponentTypeEntry& entry, const std::vector<SchemaRecord>& records,
                     const std::uint8_t*& data, std::size_t& size) {
    std::string path = entry.name;
    const SchemaRecord* current = records.empty() ? nullptr : &records.front();
    while (current != nullptr && !current->fields.empty() && size > 0) {
        const std::uint8_t pick = *data++;
        --size;
        if (pick == 0xff) break;
        const auto& field = current->fields[pick % current->fields.size()];
        path += "." + field.name;
        current = std::get_if<SchemaRecord>(&field.value);
    }
    return path;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static Catalogue catalogue;
    if (size < 2 || catalogue.entries.empty()) return 0;
    const std::size_t pick = data[0] % catalogue.entries.size();
    const bool walk = (data[1] & 1) != 0;
    data += 2;
    size -= 2;
    const ComponentTypeEntry& entry = *catalogue.entries[pick];
    const std::vector<SchemaRecord>& original = catalogue.defaults[pick];

    std::string path;
    if (walk) {
        path = WalkPath(entry, original, data, size);
    } else {
        const auto* end = static_cast<const std::uint8_t*>(std::memchr(data, '\n', size));
        const std::size_t length = end == nullptr ? size : static_cast<std::size_t>(end - data);
        path.assign(reinterpret_cast<const char*>(data), length);
        const std::size_t used = end == nullptr ? size : length + 1;
        data += used;
        size -= used;
    }
    const std::string value(reinterpret_cast<const char*>(data), size);

    std::vector<SchemaRecord> records = original;
    try {
        ApplyOverrideToRecords(records, entry, path, value);
    } catch (const std::runtime_error&) {
        Check(records == original);
        return 0;
    }
    std::string text;
    try {
        text = RenderSchemaRecords(records);
    } catch (const std::runtime_error&) {
        return 0; // a value that breaks the text limits
    }
    std::vector<PrefabOverride> overrides;
    DiffComponentRecords(entry, {}, original, RenderSchemaRecords(original), records, text, overrides);
    std::vector<SchemaRecord> again = original;
    for (const PrefabOverride& override : overrides) ApplyOverrideToRecords(again, entry, override.propertyPath,
                                                                            override.value);
    Check(RenderSchemaRecords(again) == text);
    return 0;
}
