#include "engine/scene/plugins/PluginSlotRegistration.h"

namespace Brelk::Scene::Detail {

constexpr std::array<PluginSlotRegistrar, kPluginSlotsPerFile> kPluginSlotRegistrars3 =
    MakePluginSlotRegistrars<3 * kPluginSlotsPerFile>(std::make_index_sequence<kPluginSlotsPerFile>{});

} // namespace Brelk::Scene::Detail
