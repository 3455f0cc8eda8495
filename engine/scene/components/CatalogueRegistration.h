#pragma once

// Shared by the registrar sources of the catalogue; not for other callers.

#include "engine/reflection/EnumInfo.h"
#include "engine/reflection/PropertyAttributes.h"
#include "engine/reflection/ReflectionRegistry.h"

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Brelk::Scene::Detail {

enum class LabelCase : std::uint8_t {
    // "maxDrawDistance" is shown as "Max Draw Distance".
    Title,
    // "bloomEnabled" is shown as "Bloom enabled".
    Sentence,
};

// The label tools show for a field that declares none: its name split before each
// capital letter, the words capitalised as `labelCase` says.
std::string FieldLabel(std::string_view name, LabelCase labelCase = LabelCase::Title);

// Wraps a ComponentBuilder or ReflectedTypeBuilder so that a field without a display name
// of its own gets its FieldLabel instead of its bare name.
template <class Builder>
class LabelledFields {
public:
    explicit LabelledFields(Builder builder, LabelCase labelCase = LabelCase::Title)
        : builder_(std::move(builder)), labelCase_(labelCase) {}

    template <class V, class Owner>
    LabelledFields& Field(const char* name, V Owner::*member, Reflection::FieldAttr attribute = {}) {
        if (attribute.attributes.displayName.empty()) {
            attribute.attributes.displayName = FieldLabel(name, labelCase_);
        }
        builder_.Field(name, member, attribute);
        return *this;
    }

    Builder& Done() noexcept { return builder_; }

private:
    Builder builder_;
    LabelCase labelCase_;
};

template <class Builder>
LabelledFields<Builder> Labelled(Builder builder, LabelCase labelCase = LabelCase::Title) {
    return LabelledFields<Builder>(std::move(builder), labelCase);
}

// One enumerator: its stored name and, where it differs, the name tools show.
struct EnumText {
    const char* name;
    const char* displayName = nullptr;
};

// Registers E under `name` with its enumerators numbered from 0 in the given order.
template <class E>
void RegisterCatalogueEnum(std::string name, std::initializer_list<EnumText> texts) {
    std::vector<Reflection::EnumValue> values;
    values.reserve(texts.size());
    std::uint64_t number = 0;
    for (const EnumText& text : texts) {
        values.push_back(Reflection::EnumValueOf(static_cast<E>(number), text.name,
                                                 text.displayName != nullptr ? text.displayName : ""));
        ++number;
    }
    Reflection::ReflectionRegistry::Instance().RegisterEnum<E>(std::move(name), std::move(values));
}

// Attributes of an enum field: its enum's registered name.
inline Reflection::FieldAttr EnumField(const char* enumName) {
    return Reflection::FieldAttr().Enum(enumName);
}

// Attributes of an asset-id field: the asset type it refers to.
inline Reflection::FieldAttr AssetField(const char* assetType) {
    return Reflection::FieldAttr().AssetType(assetType);
}

// Attributes of a u32 entity-handle field, saved as the target's Guid.
inline Reflection::FieldAttr EntityField() {
    return Reflection::FieldAttr().Kind(Reflection::PropertyKind::Entity);
}

} // namespace Brelk::Scene::Detail
