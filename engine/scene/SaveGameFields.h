#pragma once

#include "engine/scene/Entity.h"

#include <glm/vec3.hpp>

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace Brelk::Assets {
class ByteWriter;
class ByteReader;
} // namespace Brelk::Assets

namespace Brelk::Scene {

class Registry;
class Scene;

// What a save-game field codec may need: the registry and scene whose entities the
// references mean. Either may be null; an entity reference then reads as none.
struct SaveGameFieldCodecContext {
    const Registry* registry = nullptr;
    const Scene* scene = nullptr;
};

struct SaveGameFieldValue {
    std::string name;
    std::vector<std::uint8_t> bytes;
};

// The run-time state of one component as a set of named blobs. Each field stands alone,
// so a build may add or drop fields without disturbing the others.
struct SaveGameFieldSet {
    std::uint32_t version = 0;
    std::vector<SaveGameFieldValue> fields;

    [[nodiscard]] const SaveGameFieldValue* Find(std::string_view name) const noexcept;
    // Renames the value `from` to `to` if `from` exists and `to` does not; for upgrades.
    void Rename(std::string_view from, std::string_view to);
};

struct SaveGameField {
    std::string name;
    std::function<void(const void* component, Assets::ByteWriter&, const SaveGameFieldCodecContext&)> write;
    std::function<void(void* component, Assets::ByteReader&, const SaveGameFieldCodecContext&)> read;
};

// The save-game declarations of one component type, filled by the builder's SaveGame calls.
struct ComponentSaveGameFields {
    // The version this build writes and the highest it reads.
    std::uint32_t version = 1;
    std::vector<SaveGameField> fields;
    std::function<void(SaveGameFieldSet&, std::uint32_t fromVersion)> upgrade;
    // Wraps the application of a set so that it lands whole or not at all; the builder
    // installs one that works on a copy of the component.
    std::function<void(void* component, const std::function<void(void*)>& applyFields)> applyGuard;

    [[nodiscard]] SaveGameFieldSet Capture(const void* component, const SaveGameFieldCodecContext& context) const;
    // Brings an older set up to `version`; throws std::runtime_error for a version of 0
    // or one newer than this build reads.
    void Upgrade(SaveGameFieldSet& set, const std::string& componentName) const;
    // Applies every value of the set that names a declared field; names of the others go
    // to `unknownFields` when it is given. Throws std::runtime_error on malformed data.
    void Apply(void* component, const SaveGameFieldSet& set, const SaveGameFieldCodecContext& context,
               std::vector<std::string>* unknownFields) const;
};

// The encodings of the value types a component can declare with SaveGame.
namespace Detail {
void WriteSaveGameValue(Assets::ByteWriter& writer, float value);
void WriteSaveGameValue(Assets::ByteWriter& writer, bool value);
void WriteSaveGameValue(Assets::ByteWriter& writer, const glm::vec3& value);
void WriteSaveGameValue(Assets::ByteWriter& writer, const std::string& value);
void ReadSaveGameValue(Assets::ByteReader& reader, float& value);
void ReadSaveGameValue(Assets::ByteReader& reader, bool& value);
void ReadSaveGameValue(Assets::ByteReader& reader, glm::vec3& value);
void ReadSaveGameValue(Assets::ByteReader& reader, std::string& value);
// An entity goes out as its Guid, the null Guid when it has none in the context's registry.
void WriteSaveGameEntity(Assets::ByteWriter& writer, Entity entity, const SaveGameFieldCodecContext& context);
[[nodiscard]] Entity ReadSaveGameEntity(Assets::ByteReader& reader, const SaveGameFieldCodecContext& context);
} // namespace Detail

} // namespace Brelk::Scene
