// Applies arbitrary save-game field sets to the three components that declare save-game
// state. The first byte picks the component and the set's version, then each field is a
// name byte (a declared name, or an unknown one) and a u8-length blob. An apply either
// throws std::runtime_error and leaves the component as it was, or succeeds, and then what
// it produced captures and applies again to the same value.

#include "engine/scene/ComponentRegistry.h"
#include "engine/scene/InstallComponents.h"
#include "engine/scene/Scene.h"
#include "engine/scene/components/AnimationComponents.h"
#include "engine/scene/components/GameplayComponents.h"
#include "engine/scene/components/PhysicsComponents.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using namespace Brelk::Scene;

void Check(bool condition) {
    if (!condition) {
        std::abort();
    }
}

struct Input {
    const std::uint8_t* data;
    std::size_t size;
    std::size_t position = 0;

    bool Take(std::uint8_t& byte) {
        if (position >= size)
            return false;
        byte = data[position++];
        return true;
    }
};

SaveGameFieldSet ReadSet(Input& input, const ComponentSaveGameFields& fields, std::uint32_t version) {
    SaveGameFieldSet set;
    set.version = version;
    std::uint8_t nameByte = 0;
    std::uint8_t length = 0;
    while (input.Take(nameByte) && input.Take(length)) {
        SaveGameFieldValue value;
        value.name =
            nameByte < fields.fields.size() ? fields.fields[nameByte].name : "retired" + std::to_string(nameByte);
        for (std::uint8_t i = 0; i < length; ++i) {
            std::uint8_t byte = 0;
            if (!input.Take(byte))
                break;
            value.bytes.push_back(byte);
        }
        set.fields.push_back(std::move(value));
    }
    return set;
}

template <class T> void Exercise(Input& input, const char* name, std::uint32_t version, const Scene& scene, T start) {
    const ComponentTypeEntry* entry = ComponentRegistry::Instance().Find(name);
    Check(entry != nullptr);
    const ComponentSaveGameFields& fields = entry->saveGameFields;
    SaveGameFieldSet set = ReadSet(input, fields, version);
    const SaveGameFieldCodecContext context{&scene, &scene};
    try {
        fields.Upgrade(set, entry->name);
    } catch (const std::runtime_error&) {
        Check(version == 0 || version > fields.version);
        return;
    }
    T component = start;
    std::vector<std::string> unknown;
    try {
        fields.Apply(&component, set, context, &unknown);
    } catch (const std::runtime_error&) {
        Check(component == start);
        return;
    }
    const SaveGameFieldSet captured = fields.Capture(&component, context);
    Check(captured.fields.size() == fields.fields.size());
    T again = start;
    fields.Apply(&again, captured, context, nullptr);
    Check(fields.Capture(&again, context).fields.size() == captured.fields.size());
    for (std::size_t i = 0; i < captured.fields.size(); ++i) {
        Check(fields.Capture(&again, context).fields[i].bytes == captured.fields[i].bytes);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    InstallComponents();
    static Scene scene = [] {
        Scene made;
        made.CreateEntity("Ground");
        return made;
    }();
    Input input{data, size};
    std::uint8_t selector = 0;
    if (!input.Take(selector))
        return 0;
    const std::uint32_t version = (selector >> 2) & 3;
    switch (selector & 3) {
    case 0:
        Exercise(input, "RigidBodyComponent", version, scene, RigidBodyComponent{});
        break;
    case 1: {
        AnimatorComponent animator;
        animator.layers.resize(2);
        Exercise(input, "AnimatorComponent", version, scene, animator);
        break;
    }
    default:
        Exercise(input, "CharacterControllerComponent", version, scene, CharacterControllerComponent{});
        break;
    }
    return 0;
}
