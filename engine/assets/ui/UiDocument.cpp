#include "engine/assets/ui/UiDocument.h"

#include <array>
#include <charconv>
#include <unordered_map>
#include <unordered_set>

namespace Brelk::Assets {
namespace {

constexpr std::array<std::string_view, 21> kWidgetTypeNames = {
    "Canvas",     "Panel",          "Stack",     "Text",   "Button",     "Image",    "ProgressBar",
    "Slider",     "Spacer",         "Toggle",    "Dropdown", "InputField", "ScrollView", "RadialProgress",
    "Separator",  "Switch",         "RadioGroup", "TabBar", "Stepper",    "Spinner",  "Crosshair",
};

template <class Visit>
void WalkDepthFirst(UiWidgetDefinition& widget, Visit& visit) {
    visit(widget);
    for (UiWidgetDefinition& child : widget.children) WalkDepthFirst(child, visit);
}

template <class Visit>
bool WalkDepthFirstUntil(const UiWidgetDefinition& widget, Visit& visit) {
    if (!visit(widget)) return false;
    for (const UiWidgetDefinition& child : widget.children) {
        if (!WalkDepthFirstUntil(child, visit)) return false;
    }
    return true;
}

// "item_12" gives "item"; "item_" and "item" stay as they are.
std::string_view WithoutNumberSuffix(std::string_view id) {
    const std::size_t underscore = id.find_last_of('_');
    if (underscore == std::string_view::npos || underscore + 1 == id.size()) return id;
    for (std::size_t i = underscore + 1; i < id.size(); ++i) {
        if (id[i] < '0' || id[i] > '9') return id;
    }
    return id.substr(0, underscore);
}

} // namespace

UiWidgetDefinition UiDocumentAsset::MakeRoot() {
    UiWidgetDefinition root;
    root.id = "root";
    root.name = "Root";
    root.type = UiWidgetType::Canvas;
    root.anchor = UiAnchor::Stretch;
    return root;
}

UiDocumentAsset MakeUiDocument(std::string_view name) {
    UiDocumentAsset document;
    document.name = name;
    return document;
}

bool HasUniqueUiWidgetIds(const UiDocumentAsset& document) {
    std::unordered_set<std::string_view> seen;
    auto visit = [&](const UiWidgetDefinition& widget) {
        return !widget.id.empty() && seen.insert(widget.id).second;
    };
    return WalkDepthFirstUntil(document.root, visit);
}

std::vector<UiWidgetIdRepair> RepairUiWidgetIds(UiDocumentAsset& document) {
    std::vector<UiWidgetIdRepair> repairs;
    if (HasUniqueUiWidgetIds(document)) return repairs;
    std::unordered_map<std::string, std::size_t> inUse;
    auto count = [&](UiWidgetDefinition& widget) { ++inUse[widget.id]; };
    WalkDepthFirst(document.root, count);

    std::unordered_set<std::string> taken;
    auto repair = [&](UiWidgetDefinition& widget) {
        if (!widget.id.empty() && taken.insert(widget.id).second) return;
        std::string base = !widget.id.empty() ? widget.id : !widget.name.empty() ? widget.name : "widget";
        base = std::string(WithoutNumberSuffix(base));
        std::string candidate;
        for (std::uint64_t number = 2;; ++number) {
            candidate = base + "_" + std::to_string(number);
            if (!taken.contains(candidate) && !inUse.contains(candidate)) break;
        }
        repairs.push_back({widget.id, candidate, widget.name});
        if (widget.name.empty() && !widget.id.empty()) widget.name = widget.id;
        widget.id = candidate;
        taken.insert(candidate);
    };
    WalkDepthFirst(document.root, repair);
    return repairs;
}

std::string_view UiWidgetTypeName(UiWidgetType type) noexcept {
    const auto index = static_cast<std::size_t>(type);
    return index < kWidgetTypeNames.size() ? kWidgetTypeNames[index] : "Spacer";
}

bool ParseUiWidgetType(std::string_view text, UiWidgetType* type) noexcept {
    for (std::size_t i = 0; i < kWidgetTypeNames.size(); ++i) {
        if (kWidgetTypeNames[i] == text) {
            *type = static_cast<UiWidgetType>(i);
            return true;
        }
    }
    return false;
}

} // namespace Brelk::Assets
