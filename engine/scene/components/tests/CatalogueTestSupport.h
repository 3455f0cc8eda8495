#pragma once

#include "engine/reflection/ReflectionRegistry.h"
#include "engine/reflection/SchemaCodec.h"
#include "engine/reflection/SchemaRecordText.h"
#include "engine/scene/ComponentLoad.h"
#include "engine/scene/ComponentRegistry.h"
#include "engine/scene/InstallComponents.h"
#include "engine/scene/Registry.h"

#include <charconv>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace Brelk::Scene::Testing {

// Asset ids travel as "<type>:<id>" so that a test can see which constraint a field has.
inline const Reflection::SchemaCodecContext& TestCodec() {
    static const Reflection::SchemaCodecContext codec = [] {
        Reflection::SchemaCodecContext context;
        context.assetToText = [](std::uint64_t id, const Assets::AssetTypeInfo& type) {
            return type.name + ":" + std::to_string(id);
        };
        context.textToAsset = [](const std::string& text, const Assets::AssetTypeInfo& type) -> std::uint64_t {
            if (!text.starts_with(type.name + ":")) return 0;
            std::uint64_t id = 0;
            const auto [end, failure] = std::from_chars(text.data() + type.name.size() + 1, text.data() + text.size(), id);
            return failure == std::errc() && end == text.data() + text.size() ? id : 0;
        };
        return context;
    }();
    return codec;
}

inline Reflection::ReflectionRegistry& InstalledReflection() {
    InstallComponents();
    return Reflection::ReflectionRegistry::Instance();
}

template <class T>
Reflection::SchemaRecord Encode(const T& value) {
    return Reflection::EncodeObject(Reflection::MakeConstView(value), InstalledReflection(), TestCodec());
}

inline const ComponentTypeEntry& EntryOf(const std::string& name) {
    InstallComponents();
    const ComponentTypeEntry* entry = ComponentRegistry::Instance().Find(name);
    if (entry == nullptr) throw std::runtime_error("no component " + name);
    return *entry;
}

// Loads the records onto a new entity of `registry` as a scene load does, links resolved.
inline Entity LoadEntity(Registry& registry, std::vector<Reflection::SchemaRecord> records) {
    InstallComponents();
    const Entity entity = registry.CreateEntity();
    const ComponentLoadTable table;
    const ComponentLoadContext context{&TestCodec()};
    ComponentLoadSession session(table, context);
    for (Reflection::SchemaRecord& record : records) session.ReadRecord(std::move(record), 1000);
    session.Finish(false);
    session.Apply(registry, entity);
    ResolveEntityComponents(table, registry, entity);
    return entity;
}

inline std::vector<Reflection::SchemaRecord> SaveOne(const Registry& registry, Entity entity, const std::string& name) {
    const ComponentTypeEntry& entry = EntryOf(name);
    std::vector<Reflection::SchemaRecord> records;
    entry.save(entry.getConst(registry, entity), ComponentSaveContext{registry, entity, &TestCodec()}, records);
    return records;
}

} // namespace Brelk::Scene::Testing
