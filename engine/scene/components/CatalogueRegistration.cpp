#include "engine/scene/components/CatalogueRegistration.h"

namespace Brelk::Scene::Detail {
namespace {

bool IsUpper(char c) noexcept { return c >= 'A' && c <= 'Z'; }
bool IsLower(char c) noexcept { return c >= 'a' && c <= 'z'; }
char ToUpper(char c) noexcept { return IsLower(c) ? static_cast<char>(c - 'a' + 'A') : c; }
char ToLower(char c) noexcept { return IsUpper(c) ? static_cast<char>(c - 'A' + 'a') : c; }

} // namespace

std::string FieldLabel(std::string_view name, LabelCase labelCase) {
    std::string label;
    label.reserve(name.size() + 8);
    for (std::size_t i = 0; i < name.size(); ++i) {
        const char c = name[i];
        if (i == 0) {
            label.push_back(ToUpper(c));
        } else if (IsUpper(c)) {
            label.push_back(' ');
            label.push_back(labelCase == LabelCase::Title ? c : ToLower(c));
        } else {
            label.push_back(c);
        }
    }
    return label;
}

} // namespace Brelk::Scene::Detail
