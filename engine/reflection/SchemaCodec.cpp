#include "engine/reflection/SchemaCodec.h"

#include "engine/core/Guid.h"
#include "engine/core/NumberText.h"
#include "engine/reflection/ReflectionRegistry.h"

#include <glm/ext/quaternion_float.hpp>
#include <glm/vec2.hpp>
#include <glm/vec3.hpp>
#include <glm/vec4.hpp>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <exception>
#include <stdexcept>
#include <string_view>
#include <system_error>
#include <typeindex>
#include <vector>

namespace Brelk::Reflection {
namespace {

// One top-level conversion: the tables it reads and the running count of fields and
// elements, which nested objects and collections share.
struct CodecState {
    const ReflectionRegistry& registry;
    const SchemaCodecContext& context;
    SchemaFieldBudget budget;
};

[[noreturn]] void Fail(const char* message) { throw std::runtime_error(message); }
[[noreturn]] void Fail(const std::string& message) { throw std::runtime_error(message); }

// Nested failures carry the path down to the failing value: "Outer.field: Inner.field: ...".
[[noreturn]] void RethrowWithPrefix(const std::string& typeName, const std::string& fieldName,
                                    const std::exception& exception) {
    std::string message;
    message.reserve(typeName.size() + fieldName.size() + 3 + std::char_traits<char>::length(exception.what()));
    message.append(typeName).append(".").append(fieldName).append(": ").append(exception.what());
    throw std::runtime_error(message);
}

bool IsSaved(const PropertyInfo& property) noexcept { return !property.attributes.Has(PropertyFlags::NotSaved); }

void CheckPropertyForSchemaUse(const PropertyInfo& property) {
    if (property.valueType != property.schema.type) {
        Fail("Property schema disagrees with its storage: " + property.name);
    }
    if (property.IsReadOnly()) {
        Fail("Schema record requires a writable property: " + property.name);
    }
}

const EnumInfo* FindMatchingEnum(const ReflectionRegistry& registry, const PropertyAttributes& attributes,
                                 std::type_index type) {
    const EnumInfo* info = registry.FindEnum(attributes.enumName);
    return info != nullptr && info->type == type ? info : nullptr;
}

void ValidateElementSchema(const ValueSchema& schema, const PropertyAttributes& attributes, const CodecState& state) {
    const ValueSchema& leaf = InnermostSchema(schema);
    if (leaf.kind == PropertyKind::Custom) {
        Fail("Opaque collection elements require a schema codec.");
    }
    if (leaf.kind == PropertyKind::Enum && FindMatchingEnum(state.registry, attributes, leaf.type) == nullptr) {
        Fail("Missing or mismatched enum schema.");
    }
    if (leaf.kind == PropertyKind::Asset && state.registry.FindAssetType(attributes.assetType) == nullptr) {
        Fail("Collection asset constraint is not registered.");
    }
    if (leaf.shape == SchemaShape::Object) {
        const TypeInfo* type = state.registry.FindType(leaf.type);
        if (type == nullptr || type->name.empty() || type->version == 0) {
            Fail("Collection object schema is not registered.");
        }
    }
}

// ---------------------------------------------------------------------------------------
// Leaf text forms
// ---------------------------------------------------------------------------------------

template <class V>
const V* ConstLeaf(const ObjectView& view) {
    if (view.constData == nullptr || view.type != std::type_index(typeid(V))) {
        Fail("Schema accessor rejected value storage.");
    }
    return static_cast<const V*>(view.constData);
}

template <class V>
V* MutableLeaf(const ObjectView& view) {
    if (view.mutableData == nullptr || view.type != std::type_index(typeid(V))) {
        Fail("Schema accessor rejected value storage.");
    }
    return static_cast<V*>(view.mutableData);
}

template <class I>
void AppendIntegerText(std::string& out, I value) {
    char buffer[Core::kMaxNumberChars];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
    if (result.ec != std::errc()) {
        Fail("Cannot format schema value.");
    }
    out.append(buffer, result.ptr);
}

void AppendFloatText(std::string& out, float value) {
    if (!std::isfinite(value)) {
        Fail("Cannot save a non-finite schema value.");
    }
    char buffer[Core::kMaxNumberChars];
    out.append(buffer, Core::FormatFloat9(buffer, value));
}

void AppendFloatsText(std::string& out, const float* values, std::size_t count) {
    for (std::size_t index = 0; index < count; ++index) {
        if (index != 0) {
            out.push_back(' ');
        }
        AppendFloatText(out, values[index]);
    }
}

void AppendGuidText(std::string& out, const Core::Guid& guid) {
    // The null Guid is written as the empty text, as null entities and assets are.
    if (!guid.IsValid()) {
        return;
    }
    char buffer[Core::Guid::kTextLength];
    guid.ToChars(buffer);
    out.append(buffer, sizeof buffer);
}

template <class I>
I ParseInteger(std::string_view text) {
    I value{};
    const char* end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, value);
    if (text.empty() || result.ec != std::errc() || result.ptr != end) {
        Fail("Invalid or out-of-range numeric value.");
    }
    return value;
}

float ParseFloat(std::string_view text) {
    float value = 0.0f;
    const char* end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, value, std::chars_format::general);
    if (text.empty() || result.ec != std::errc() || result.ptr != end) {
        Fail("Invalid or out-of-range numeric value.");
    }
    if (!std::isfinite(value)) {
        Fail("Non-finite numeric value.");
    }
    return value;
}

// The white space of a classic-locale stream.
bool IsBlank(char c) noexcept { return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r'; }

std::string_view NextWord(std::string_view& text) noexcept {
    std::size_t start = 0;
    while (start < text.size() && IsBlank(text[start])) {
        ++start;
    }
    std::size_t end = start;
    while (end < text.size() && !IsBlank(text[end])) {
        ++end;
    }
    const std::string_view word = text.substr(start, end - start);
    text.remove_prefix(end);
    return word;
}

void ParseFloats(std::string_view text, float* values, std::size_t count) {
    for (std::size_t index = 0; index < count; ++index) {
        const std::string_view word = NextWord(text);
        if (word.empty()) {
            Fail("Missing vector component.");
        }
        values[index] = ParseFloat(word);
    }
    if (!NextWord(text).empty()) {
        Fail("Unexpected trailing schema data.");
    }
}

void EncodeLeaf(const ObjectView& view, const ValueSchema& schema, const PropertyAttributes& attributes,
                const CodecState& state, std::string& out) {
    switch (schema.kind) {
    case PropertyKind::Bool:
        out.push_back(*ConstLeaf<bool>(view) ? '1' : '0');
        return;
    case PropertyKind::Int:
        AppendIntegerText(out, *ConstLeaf<std::int32_t>(view));
        return;
    case PropertyKind::UInt:
        AppendIntegerText(out, *ConstLeaf<std::uint32_t>(view));
        return;
    case PropertyKind::UInt64:
        AppendIntegerText(out, *ConstLeaf<std::uint64_t>(view));
        return;
    case PropertyKind::Float:
        AppendFloatText(out, *ConstLeaf<float>(view));
        return;
    case PropertyKind::String:
        out.append(*ConstLeaf<std::string>(view));
        return;
    case PropertyKind::Vec2: {
        const glm::vec2& value = *ConstLeaf<glm::vec2>(view);
        const float values[2] = {value.x, value.y};
        AppendFloatsText(out, values, 2);
        return;
    }
    case PropertyKind::Vec3: {
        const glm::vec3& value = *ConstLeaf<glm::vec3>(view);
        const float values[3] = {value.x, value.y, value.z};
        AppendFloatsText(out, values, 3);
        return;
    }
    case PropertyKind::Vec4: {
        const glm::vec4& value = *ConstLeaf<glm::vec4>(view);
        const float values[4] = {value.x, value.y, value.z, value.w};
        AppendFloatsText(out, values, 4);
        return;
    }
    case PropertyKind::Quat: {
        const glm::quat& value = *ConstLeaf<glm::quat>(view);
        const float values[4] = {value.w, value.x, value.y, value.z};
        AppendFloatsText(out, values, 4);
        return;
    }
    case PropertyKind::Enum: {
        const EnumInfo* info = FindMatchingEnum(state.registry, attributes, view.type);
        const EnumValue* value = nullptr;
        if (info != nullptr && view.constData != nullptr && view.operations != nullptr &&
            view.operations->getEnumValue != nullptr) {
            value = FindEnumValue(*info, view.operations->getEnumValue(view.constData));
        }
        if (value == nullptr) {
            Fail("Unregistered enum value or rejected accessor.");
        }
        out.append(value->name);
        return;
    }
    case PropertyKind::Asset: {
        const Assets::AssetTypeInfo* assetType = state.registry.FindAssetType(attributes.assetType);
        if (view.constData == nullptr || view.type != std::type_index(typeid(std::uint64_t)) || assetType == nullptr) {
            Fail("Invalid asset constraint or storage.");
        }
        const std::uint64_t asset = *static_cast<const std::uint64_t*>(view.constData);
        if (asset == 0) {
            return;
        }
        if (!state.context.assetToText) {
            Fail("Asset reference requires a host codec.");
        }
        const std::string text = state.context.assetToText(asset, *assetType);
        if (text.empty()) {
            Fail("Unresolved non-null asset reference.");
        }
        out.append(text);
        return;
    }
    case PropertyKind::Entity: {
        if (view.constData == nullptr || view.type != std::type_index(typeid(std::uint32_t))) {
            Fail("Invalid entity-reference storage.");
        }
        const EntityHandle entity = *static_cast<const std::uint32_t*>(view.constData);
        if (entity == 0) {
            return;
        }
        if (!state.context.entityToGuid) {
            Fail("Entity reference requires a host codec.");
        }
        const Core::Guid guid = state.context.entityToGuid(entity);
        if (!guid.IsValid()) {
            Fail("Entity reference has no stable GUID.");
        }
        AppendGuidText(out, guid);
        return;
    }
    case PropertyKind::Guid:
        AppendGuidText(out, *ConstLeaf<Core::Guid>(view));
        return;
    case PropertyKind::EntityGuid: {
        if (view.constData == nullptr || view.operations == nullptr || view.operations->getEntityGuid == nullptr) {
            Fail("Invalid entity-reference storage.");
        }
        const Core::Guid* guid = view.operations->getEntityGuid(view.constData);
        if (guid == nullptr) {
            Fail("Invalid entity-reference storage.");
        }
        AppendGuidText(out, *guid);
        return;
    }
    default:
        Fail("Unsupported schema leaf kind.");
    }
}

void DecodeLeaf(const std::string& text, const ObjectView& view, const ValueSchema& schema,
                const PropertyAttributes& attributes, const CodecState& state) {
    switch (schema.kind) {
    case PropertyKind::Bool: {
        bool* target = MutableLeaf<bool>(view);
        if (text != "0" && text != "1") {
            Fail("Boolean schema value must be 0 or 1.");
        }
        *target = text == "1";
        return;
    }
    case PropertyKind::Int:
        *MutableLeaf<std::int32_t>(view) = ParseInteger<std::int32_t>(text);
        return;
    case PropertyKind::UInt:
        *MutableLeaf<std::uint32_t>(view) = ParseInteger<std::uint32_t>(text);
        return;
    case PropertyKind::UInt64:
        *MutableLeaf<std::uint64_t>(view) = ParseInteger<std::uint64_t>(text);
        return;
    case PropertyKind::Float:
        *MutableLeaf<float>(view) = ParseFloat(text);
        return;
    case PropertyKind::String:
        *MutableLeaf<std::string>(view) = text;
        return;
    case PropertyKind::Vec2: {
        glm::vec2* target = MutableLeaf<glm::vec2>(view);
        float values[2];
        ParseFloats(text, values, 2);
        *target = glm::vec2(values[0], values[1]);
        return;
    }
    case PropertyKind::Vec3: {
        glm::vec3* target = MutableLeaf<glm::vec3>(view);
        float values[3];
        ParseFloats(text, values, 3);
        *target = glm::vec3(values[0], values[1], values[2]);
        return;
    }
    case PropertyKind::Vec4: {
        glm::vec4* target = MutableLeaf<glm::vec4>(view);
        float values[4];
        ParseFloats(text, values, 4);
        *target = glm::vec4(values[0], values[1], values[2], values[3]);
        return;
    }
    case PropertyKind::Quat: {
        glm::quat* target = MutableLeaf<glm::quat>(view);
        float values[4];
        ParseFloats(text, values, 4);
        target->w = values[0];
        target->x = values[1];
        target->y = values[2];
        target->z = values[3];
        return;
    }
    case PropertyKind::Enum: {
        const EnumInfo* info = FindMatchingEnum(state.registry, attributes, view.type);
        const EnumValue* value = info != nullptr ? FindEnumValue(*info, std::string_view(text)) : nullptr;
        if (value == nullptr || view.mutableData == nullptr || view.operations == nullptr ||
            view.operations->setEnumValue == nullptr || !view.operations->setEnumValue(view.mutableData, *value)) {
            Fail("Unknown enum name or rejected accessor: " + text);
        }
        return;
    }
    case PropertyKind::Asset: {
        const Assets::AssetTypeInfo* assetType = state.registry.FindAssetType(attributes.assetType);
        if (view.mutableData == nullptr || view.type != std::type_index(typeid(std::uint64_t)) ||
            assetType == nullptr) {
            Fail("Invalid asset constraint or storage.");
        }
        auto* target = static_cast<std::uint64_t*>(view.mutableData);
        if (text.empty()) {
            *target = 0;
            return;
        }
        if (!state.context.textToAsset) {
            Fail("Asset reference requires a host codec.");
        }
        const std::uint64_t asset = state.context.textToAsset(text, *assetType);
        if (asset == 0) {
            Fail("Unresolved asset reference: " + text);
        }
        *target = asset == kAbsentAssetId ? 0 : asset;
        return;
    }
    case PropertyKind::Entity: {
        if (view.mutableData == nullptr || view.type != std::type_index(typeid(std::uint32_t))) {
            Fail("Invalid entity-reference storage.");
        }
        auto* target = static_cast<std::uint32_t*>(view.mutableData);
        const Core::Guid guid = Core::ParseStableGuid(text);
        if (!guid.IsValid()) {
            *target = 0;
            return;
        }
        if (!state.context.guidToEntity) {
            Fail("Entity reference requires a host codec.");
        }
        const EntityHandle entity = state.context.guidToEntity(guid);
        if (entity == 0) {
            Fail("Unresolved stable entity reference.");
        }
        *target = entity;
        return;
    }
    case PropertyKind::Guid: {
        Core::Guid* target = MutableLeaf<Core::Guid>(view);
        *target = Core::ParseStableGuid(text);
        return;
    }
    case PropertyKind::EntityGuid: {
        if (view.mutableData == nullptr || view.operations == nullptr || view.operations->setEntityGuid == nullptr) {
            Fail("Invalid entity-reference storage.");
        }
        view.operations->setEntityGuid(view.mutableData, Core::ParseStableGuid(text));
        return;
    }
    default:
        Fail("Unsupported schema leaf kind.");
    }
}

// ---------------------------------------------------------------------------------------
// Objects and collections
// ---------------------------------------------------------------------------------------

SchemaRecord EncodeObjectAt(const ObjectView& view, CodecState& state, std::uint32_t depth);
void DecodeObjectAt(const SchemaRecord& record, const ObjectView& view, CodecState& state, std::uint32_t depth);

void EncodeTypedValue(const ObjectView& view, const ValueSchema& schema, const PropertyAttributes& attributes,
                      CodecState& state, std::uint32_t depth, SchemaValue& out) {
    if (view.constData == nullptr || view.operations == nullptr || view.operations->accepts == nullptr ||
        !view.operations->accepts(schema)) {
        Fail("Value schema disagrees with captured storage.");
    }
    switch (schema.shape) {
    case SchemaShape::Scalar:
        EncodeLeaf(view, schema, attributes, state, out.emplace<0>());
        return;
    case SchemaShape::Object:
        out.emplace<1>(EncodeObjectAt(view, state, depth));
        return;
    case SchemaShape::Collection: {
        if (!schema.element) {
            Fail("Value schema disagrees with captured storage.");
        }
        ValidateElementSchema(schema, attributes, state);
        const ObjectViewOperations& operations = *view.operations;
        if (operations.size == nullptr) {
            Fail("Invalid or oversized collection.");
        }
        const std::uint64_t count = operations.size(view.constData);
        if (count > kSchemaMaxCount) {
            Fail("Invalid or oversized collection.");
        }
        state.budget.Charge(depth, count);
        SchemaArray& array = out.emplace<2>();
        array.elements.reserve(static_cast<std::size_t>(count));
        const ValueSchema& elementSchema = *schema.element;
        for (std::uint64_t index = 0; index < count; ++index) {
            SchemaValue& element = array.elements.emplace_back();
            const bool visited =
                operations.visitConst != nullptr &&
                operations.visitConst(view.constData, index, [&](const ObjectView& elementView) {
                    EncodeTypedValue(elementView, elementSchema, attributes, state, depth + 1, element);
                });
            if (!visited) {
                Fail("Collection element accessor failed.");
            }
        }
        return;
    }
    }
    Fail("Value schema disagrees with captured storage.");
}

void DecodeTypedValue(const SchemaValue& value, const ObjectView& view, const ValueSchema& schema,
                      const PropertyAttributes& attributes, CodecState& state, std::uint32_t depth) {
    if (view.mutableData == nullptr || view.operations == nullptr || view.operations->accepts == nullptr ||
        !view.operations->accepts(schema)) {
        Fail("Value schema disagrees with writable storage.");
    }
    switch (schema.shape) {
    case SchemaShape::Object: {
        const auto* record = std::get_if<SchemaRecord>(&value);
        if (record == nullptr) {
            Fail("Expected an object property.");
        }
        DecodeObjectAt(*record, view, state, depth);
        return;
    }
    case SchemaShape::Scalar: {
        const auto* text = std::get_if<std::string>(&value);
        if (text == nullptr) {
            Fail("Expected a scalar property.");
        }
        DecodeLeaf(*text, view, schema, attributes, state);
        return;
    }
    case SchemaShape::Collection: {
        if (!schema.element) {
            Fail("Value schema disagrees with writable storage.");
        }
        ValidateElementSchema(schema, attributes, state);
        const auto* array = std::get_if<SchemaArray>(&value);
        if (array == nullptr || array->elements.size() > kSchemaMaxCount) {
            Fail("Expected a bounded collection.");
        }
        const std::uint64_t count = array->elements.size();
        state.budget.Charge(depth, count);
        const ObjectViewOperations& operations = *view.operations;
        if (operations.resize == nullptr || !operations.resize(view.mutableData, count)) {
            Fail("Collection extent or mutable storage mismatch.");
        }
        const ValueSchema& elementSchema = *schema.element;
        for (std::uint64_t index = 0; index < count; ++index) {
            const SchemaValue& element = array->elements[static_cast<std::size_t>(index)];
            const bool visited =
                operations.visitMutable != nullptr &&
                operations.visitMutable(view.mutableData, index, [&](const ObjectView& elementView) {
                    DecodeTypedValue(element, elementView, elementSchema, attributes, state, depth + 1);
                });
            if (!visited) {
                Fail("Mutable collection element accessor failed.");
            }
        }
        return;
    }
    }
    Fail("Value schema disagrees with writable storage.");
}

const TypeInfo& RequireObjectType(const ObjectView& view, const CodecState& state) {
    const TypeInfo* type = view.constData != nullptr ? state.registry.FindType(view.type) : nullptr;
    if (type == nullptr || type->version == 0 || type->name.empty()) {
        Fail("Missing or invalid object schema or storage.");
    }
    return *type;
}

SchemaRecord EncodeObjectAt(const ObjectView& view, CodecState& state, std::uint32_t depth) {
    const TypeInfo& type = RequireObjectType(view, state);
    state.budget.Charge(depth, type.properties.size());

    SchemaRecord record;
    record.name = type.name;
    record.version = type.version;
    record.fields.reserve(type.properties.size());
    for (const PropertyInfo& property : type.properties) {
        if (!property.attributes.IsLiveIn(type.version) || !IsSaved(property)) {
            continue;
        }
        try {
            CheckPropertyForSchemaUse(property);
            SchemaField& field = record.fields.emplace_back();
            field.name = property.name;
            EncodeTypedValue(property.ConstView(view), property.schema, property.attributes, state, depth + 1,
                             field.value);
        } catch (const std::exception& exception) {
            RethrowWithPrefix(type.name, property.name, exception);
        }
    }
    return record;
}

void DecodeObjectAt(const SchemaRecord& record, const ObjectView& view, CodecState& state, std::uint32_t depth) {
    const TypeInfo& type = RequireObjectType(view, state);
    const std::uint64_t declared = std::max<std::uint64_t>(record.fields.size(), type.properties.size());
    state.budget.Charge(depth, declared);
    if (view.mutableData == nullptr || record.name != type.name || record.version == 0 ||
        record.version > type.version) {
        Fail("Unsupported component schema, version, or destination: " + record.name);
    }

    // Reset to the schema defaults first: a field absent from the record keeps its default.
    // A property retired since the record was written still gets its default, so that an
    // old record and a new one leave the object in the same state.
    const auto selected = [&](const PropertyInfo& property) {
        return (property.attributes.IsLiveIn(type.version) || property.attributes.IsLiveIn(record.version)) &&
               IsSaved(property);
    };
    for (const PropertyInfo& property : type.properties) {
        if (!selected(property)) {
            continue;
        }
        CheckPropertyForSchemaUse(property);
        if (!property.ApplyDefault(view)) {
            Fail("Property has no writable schema default: " + property.name);
        }
    }

    // Records hold at most 1024 fields, which the budget check above has already ensured.
    std::vector<bool> named(type.properties.size(), false);
    for (const SchemaField& field : record.fields) {
        const PropertyInfo* property = type.FindProperty(field.name);
        const std::size_t index = property != nullptr ? static_cast<std::size_t>(property - type.properties.data()) : 0;
        if (property == nullptr || named[index] || !property->attributes.IsLiveIn(record.version) ||
            !IsSaved(*property)) {
            Fail("Unknown, duplicate, or unavailable schema field: " + record.name + "." + field.name);
        }
        named[index] = true;
        try {
            DecodeTypedValue(field.value, property->MutableView(view), property->schema, property->attributes, state,
                             depth + 1);
        } catch (const std::exception& exception) {
            RethrowWithPrefix(record.name, field.name, exception);
        }
    }

    // A default that can't be encoded fails the load that kept it rather than the next
    // save. The trial runs on a copy of the budget: its values are thrown away.
    for (std::size_t index = 0; index < type.properties.size(); ++index) {
        const PropertyInfo& property = type.properties[index];
        if (named[index] || !selected(property)) {
            continue;
        }
        try {
            CodecState trial{state.registry, state.context, state.budget};
            SchemaValue discarded;
            EncodeTypedValue(property.ConstView(view), property.schema, property.attributes, trial, depth + 1,
                             discarded);
        } catch (const std::exception& exception) {
            RethrowWithPrefix(record.name, property.name, exception);
        }
    }
}

} // namespace

SchemaRecord EncodeObject(ObjectView object, ReflectionRegistry& registry, const SchemaCodecContext& context) {
    CodecState state{registry, context, {}};
    return EncodeObjectAt(object, state, 1);
}

void DecodeObject(const SchemaRecord& record, ObjectView object, ReflectionRegistry& registry,
                  const SchemaCodecContext& context) {
    CodecState state{registry, context, {}};
    DecodeObjectAt(record, object, state, 1);
}

} // namespace Brelk::Reflection
