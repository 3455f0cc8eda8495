#include "engine/scene/SaveGameFields.h"

#include "engine/assets/ByteStream.h"
#include "engine/core/Guid.h"
#include "engine/scene/Registry.h"
#include "engine/scene/Scene.h"
#include "engine/scene/components/CoreComponents.h"

#include <stdexcept>
#include <string>

namespace Brelk::Scene {

namespace {

// Longest string a save-game field may hold on reading.
constexpr std::uint64_t kSaveGameStringLimit = 0x1000000;

} // namespace

const SaveGameFieldValue* SaveGameFieldSet::Find(std::string_view name) const noexcept {
    for (const SaveGameFieldValue& value : fields) {
        if (value.name == name) {
            return &value;
        }
    }
    return nullptr;
}

void SaveGameFieldSet::Rename(std::string_view from, std::string_view to) {
    if (Find(to) != nullptr) {
        return;
    }
    for (SaveGameFieldValue& value : fields) {
        if (value.name == from) {
            value.name = std::string(to);
            return;
        }
    }
}

SaveGameFieldSet ComponentSaveGameFields::Capture(const void* component,
                                                  const SaveGameFieldCodecContext& context) const {
    SaveGameFieldSet set;
    set.version = version;
    set.fields.reserve(fields.size());
    for (const SaveGameField& field : fields) {
        Assets::ByteWriter writer;
        field.write(component, writer, context);
        set.fields.push_back(SaveGameFieldValue{field.name, writer.TakeBytes()});
    }
    return set;
}

void ComponentSaveGameFields::Upgrade(SaveGameFieldSet& set, const std::string& componentName) const {
    if (set.version == version) {
        return;
    }
    if (set.version == 0 || set.version > version) {
        throw std::runtime_error("Save-game state of " + componentName + " has version " +
                                 std::to_string(set.version) + "; this build reads versions 1 to " +
                                 std::to_string(version) + ".");
    }
    if (upgrade) {
        upgrade(set, set.version);
    }
    set.version = version;
}

void ComponentSaveGameFields::Apply(void* component, const SaveGameFieldSet& set,
                                    const SaveGameFieldCodecContext& context,
                                    std::vector<std::string>* unknownFields) const {
    const auto applyFields = [&](void* target) {
        for (const SaveGameFieldValue& value : set.fields) {
            const SaveGameField* field = nullptr;
            for (const SaveGameField& candidate : fields) {
                if (candidate.name == value.name) {
                    field = &candidate;
                    break;
                }
            }
            if (field == nullptr) {
                if (unknownFields != nullptr) {
                    unknownFields->push_back(value.name);
                }
                continue;
            }
            Assets::ByteReader reader(value.bytes);
            field->read(target, reader, context);
            if (!reader.AtEnd()) {
                throw std::runtime_error("Save-game field '" + value.name + "' has trailing bytes.");
            }
        }
    };
    if (applyGuard) {
        applyGuard(component, applyFields);
    } else {
        applyFields(component);
    }
}

namespace Detail {

void WriteSaveGameValue(Assets::ByteWriter& writer, float value) {
    writer.WriteF32(value);
}

void WriteSaveGameValue(Assets::ByteWriter& writer, bool value) {
    writer.WriteU8(value ? 1 : 0);
}

void WriteSaveGameValue(Assets::ByteWriter& writer, const glm::vec3& value) {
    writer.WriteF32(value.x);
    writer.WriteF32(value.y);
    writer.WriteF32(value.z);
}

void WriteSaveGameValue(Assets::ByteWriter& writer, const std::string& value) {
    writer.WriteString(value);
}

void ReadSaveGameValue(Assets::ByteReader& reader, float& value) {
    value = reader.ReadF32();
}

void ReadSaveGameValue(Assets::ByteReader& reader, bool& value) {
    const std::uint8_t byte = reader.ReadU8();
    if (byte > 1) {
        throw std::runtime_error("Malformed save-game bool.");
    }
    value = byte == 1;
}

void ReadSaveGameValue(Assets::ByteReader& reader, glm::vec3& value) {
    value.x = reader.ReadF32();
    value.y = reader.ReadF32();
    value.z = reader.ReadF32();
}

void ReadSaveGameValue(Assets::ByteReader& reader, std::string& value) {
    value = reader.ReadString(kSaveGameStringLimit);
}

void WriteSaveGameEntity(Assets::ByteWriter& writer, Entity entity, const SaveGameFieldCodecContext& context) {
    const Registry* registry = context.registry != nullptr ? context.registry : context.scene;
    Core::Guid guid;
    if (registry != nullptr && entity != kNullEntity && registry->IsAlive(entity)) {
        if (const EntityGuidComponent* component = registry->TryGet<EntityGuidComponent>(entity)) {
            guid = component->guid;
        }
    }
    writer.WriteU64(guid.high);
    writer.WriteU64(guid.low);
}

Entity ReadSaveGameEntity(Assets::ByteReader& reader, const SaveGameFieldCodecContext& context) {
    Core::Guid guid;
    guid.high = reader.ReadU64();
    guid.low = reader.ReadU64();
    if (!guid.IsValid() || context.scene == nullptr) {
        return kNullEntity;
    }
    return context.scene->FindEntityByGuid(guid);
}

} // namespace Detail

} // namespace Brelk::Scene
