#pragma once

// How a plugin definition becomes one of the 64 slot types. Registering a slot instantiates
// the registries' templates for its type, which is the costly part of compiling the plugin
// layer; the slots are instantiated sixteen to a file (PluginSlots0.cpp to PluginSlots3.cpp)
// so that a build spreads them over its cores. Only the plugin layer includes this.

#include "engine/reflection/ReflectionRegistry.h"
#include "engine/scene/ComponentRegistry.h"
#include "engine/scene/plugins/DynamicComponentSlot.h"
#include "engine/scene/plugins/PluginComponents.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <utility>
#include <vector>

namespace Brelk::Scene::Detail {

// Where the strings of every slot type begin: all slot types share one layout.
inline constexpr std::size_t kPluginStringOffset = offsetof(DynamicComponentSlot<0>, strings);

// Completes the entry of a slot type that the registries have just created: its description,
// its fields at `offsets` (as LayOutFields placed them), the rows of the unused bytes, the
// entity-reference remaps, and the validation that the install gives every other type.
ComponentTypeEntry& FinishPluginSlotEntry(ComponentTypeEntry& entry, const PluginComponentDefinition& definition,
                                          const std::vector<std::size_t>& offsets);

// The flags a definition asks for.
ComponentFlags PluginComponentFlags(const PluginComponentDefinition& definition);

template <std::size_t N>
ComponentTypeEntry* RegisterPluginSlot(const PluginComponentDefinition& definition,
                                       const std::vector<std::size_t>& offsets) {
    using Slot = DynamicComponentSlot<N>;
    static_assert(offsetof(Slot, strings) == kPluginStringOffset);
    ComponentTypeEntry& entry = ComponentRegistry::Instance().RegisterComponent<Slot>(
        definition.name, definition.displayName.empty() ? definition.name : definition.displayName,
        definition.group.empty() ? "Plugins" : definition.group, PluginComponentFlags(definition));
    Reflection::ReflectionRegistry::Instance().RegisterType<Slot>(entry.name, entry.displayName, entry.group,
                                                                  std::max(definition.version, 1u));
    return &FinishPluginSlotEntry(entry, definition, offsets);
}

using PluginSlotRegistrar = ComponentTypeEntry* (*)(const PluginComponentDefinition&,
                                                    const std::vector<std::size_t>&);
inline constexpr std::size_t kPluginSlotsPerFile = 16;
static_assert(kPluginSlotsPerFile * 4 == kPluginComponentSlots);

template <std::size_t First, std::size_t... N>
constexpr std::array<PluginSlotRegistrar, kPluginSlotsPerFile> MakePluginSlotRegistrars(std::index_sequence<N...>) {
    return {&RegisterPluginSlot<First + N>...};
}

// Slots 0-15, 16-31, 32-47 and 48-63, one file each.
extern const std::array<PluginSlotRegistrar, kPluginSlotsPerFile> kPluginSlotRegistrars0;
extern const std::array<PluginSlotRegistrar, kPluginSlotsPerFile> kPluginSlotRegistrars1;
extern const std::array<PluginSlotRegistrar, kPluginSlotsPerFile> kPluginSlotRegistrars2;
extern const std::array<PluginSlotRegistrar, kPluginSlotsPerFile> kPluginSlotRegistrars3;

} // namespace Brelk::Scene::Detail
