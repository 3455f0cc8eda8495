#include "engine/scene/components/RecordEdits.h"

#include <algorithm>

namespace Brelk::Scene {

void RemoveRecordFields(Reflection::SchemaRecord& record, std::initializer_list<std::string_view> names) {
    std::erase_if(record.fields, [names](const Reflection::SchemaField& field) {
        return std::find(names.begin(), names.end(), std::string_view(field.name)) != names.end();
    });
}

void RenameRecordField(Reflection::SchemaRecord& record, std::string_view from, std::string_view to) {
    if (record.FindField(to) != nullptr) {
        return;
    }
    if (Reflection::SchemaField* field = record.FindField(from)) {
        field->name = std::string(to);
    }
}

void ForEachArrayObject(Reflection::SchemaRecord& record, std::string_view field,
                        const std::function<void(Reflection::SchemaRecord&)>& edit) {
    for (Reflection::SchemaField& candidate : record.fields) {
        if (candidate.name != field) {
            continue;
        }
        auto* array = std::get_if<Reflection::SchemaArray>(&candidate.value);
        if (array == nullptr) {
            continue;
        }
        for (Reflection::SchemaValue& element : array->elements) {
            if (auto* object = std::get_if<Reflection::SchemaRecord>(&element)) {
                edit(*object);
            }
        }
    }
}

} // namespace Brelk::Scene
