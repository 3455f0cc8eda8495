#include "engine/assets/animation/AnimatorController.h"

namespace Brelk::Assets {

std::uint64_t AnimatorStableIds::Assign(std::string_view name) {
    const auto [entry, added] = ids_.try_emplace(std::string(name), nextId_);
    if (added) ++nextId_;
    return entry->second;
}

void AnimatorStableIds::Set(std::string_view name, std::uint64_t id) {
    ids_.try_emplace(std::string(name), id);
    Reserve(id);
}

std::uint64_t AnimatorStableIds::Find(std::string_view name) const {
    const auto found = ids_.find(std::string(name));
    return found == ids_.end() ? 0 : found->second;
}

std::string_view AnimatorStableIds::NameOf(std::uint64_t id) const {
    if (id == 0) return {};
    for (const auto& [name, stored] : ids_) {
        if (stored == id) return name;
    }
    return {};
}

AnimatorController MakeAnimatorController(std::string_view name) {
    AnimatorController controller;
    controller.name = name;
    return controller;
}

} // namespace Brelk::Assets
