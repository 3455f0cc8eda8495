#include "engine/scene/plugins/PluginSlotRegistration.h"

namespace Brelk::Scene::Detail {

constexpr std::array<PluginSlotRegistrar, kPluginSlotsPerFile> kPluginSlotRegistrars0 =
    MakePluginSlotRegistrars<0 * kPluginSlotsPerFile>(std::make_index_sequence<kPluginSlotsPerFile>{});

} // namespace Brelk::Scene::Detail
