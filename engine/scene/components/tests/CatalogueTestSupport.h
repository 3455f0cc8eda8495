#pragma once

#include "engine/reflection/ReflectionRegistry.h"
#include "engine/reflection/SchemaCodec.h"
#include "engine/reflection/SchemaRecordText.h"
#include "engine/scene/InstallComponents.h"

#include <charconv>
#include <cstdint>
#include <string>

namespace Brelk::Scene::Testing {

// Asset ids travel as "<type>:<id>" so that a test can see which constraint a field has.
inline const Reflection::SchemaCodecContext& TestCodec() {
    static const Reflection::SchemaCodecContext codec = [] {
        Reflection::SchemaCodecContext context;
        context.assetToText = [](std::uint64_t id, const Assets::AssetTypeInfo& type) {
            return type.name + ":" + std::to_string(id);
        };
        context.textToAsset = [](const std::string& text, const Assets::AssetTypeInfo& type) -> std::uint64_t {
            const std::string prefix = type.name + ":";
            if (text.rfind(prefix, 0) != 0) return 0;
            std::uint64_t id = 0;
            const char* begin = text.data() + prefix.size();
            const char* end = text.data() + text.size();
            const auto result = std::from_chars(begin, end, id);
            return result.ec == std::errc() && result.ptr == end ? id : 0;
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
Reflection::SchemaRecord EncodeDefault() {
    const T value{};
    return Reflection::EncodeObject(Reflection::MakeConstView(value), InstalledReflection(), TestCodec());
}

template <class T>
std::string DefaultRecordText() {
    return Reflection::FormatSchemaRecord(EncodeDefault<T>());
}

} // namespace Brelk::Scene::Testing
