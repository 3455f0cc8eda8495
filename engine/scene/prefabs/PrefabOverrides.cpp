#include "engine/scene/prefabs/PrefabOverrides.h"

#include "engine/reflection/SchemaRecordText.h"
#include "engine/scene/ComponentTypeEntry.h"

#include <stdexcept>

namespace Brelk::Scene {

namespace {

using Reflection::SchemaField;
using Reflection::SchemaRecord;
using Reflection::SchemaValue;

constexpr std::string_view kRecordKeyword = "component_schema";

std::vector<std::string_view> SplitPath(std::string_view path) {
    std::vector<std::string_view> segments;
    std::size_t start = 0;
    while (true) {
        const std::size_t dot = path.find('.', start);
        segments.push_back(path.substr(start, dot == std::string_view::npos ? std::string_view::npos : dot - start));
        if (dot == std::string_view::npos) return segments;
        start = dot + 1;
    }
}

SchemaRecord WrapValue(const SchemaValue& value) {
    SchemaRecord wrapped;
    wrapped.name = kPrefabOverrideValueRecord;
    wrapped.version = 1;
    wrapped.fields.push_back(SchemaField{"value", value});
    return wrapped;
}

bool SameShape(const SchemaRecord& a, const SchemaRecord& b) {
    if (a.name != b.name || a.fields.size() != b.fields.size()) return false;
    for (std::size_t index = 0; index < a.fields.size(); ++index) {
        if (a.fields[index].name != b.fields[index].name) return false;
    }
    return true;
}

void DiffSchemaValues(const Core::Guid& localGuid, const std::string& path, const SchemaValue& expected,
                      const SchemaValue& live, std::vector<PrefabOverride>& out) {
    const auto* expectedText = std::get_if<std::string>(&expected);
    const auto* liveText = std::get_if<std::string>(&live);
    if (expectedText != nullptr && liveText != nullptr) {
        if (*expectedText != *liveText) out.push_back({localGuid, path, *liveText});
        return;
    }
    const auto* expectedRecord = std::get_if<SchemaRecord>(&expected);
    const auto* liveRecord = std::get_if<SchemaRecord>(&live);
    if (expectedRecord != nullptr && liveRecord != nullptr) {
        if (expectedRecord->version == liveRecord->version && SameShape(*expectedRecord, *liveRecord)) {
            for (std::size_t index = 0; index < liveRecord->fields.size(); ++index) {
                const SchemaField& field = liveRecord->fields[index];
                DiffSchemaValues(localGuid, path + "." + field.name, expectedRecord->fields[index].value, field.value,
                                 out);
            }
        } else {
            out.push_back({localGuid, path, Reflection::FormatSchemaRecord(WrapValue(live))});
        }
        return;
    }
    const std::string liveWrapped = Reflection::FormatSchemaRecord(WrapValue(live));
    if (Reflection::FormatSchemaRecord(WrapValue(expected)) != liveWrapped) {
        out.push_back({localGuid, path, liveWrapped});
    }
}

} // namespace

std::string RenderSchemaRecords(const std::vector<SchemaRecord>& records) {
    std::string text;
    for (const SchemaRecord& record : records) Reflection::AppendSchemaRecord(text, record);
    return text;
}

std::vector<SchemaRecord> ParseOverrideRecords(std::string_view text) {
    std::vector<SchemaRecord> records;
    Reflection::SchemaLineCursor lines(text);
    std::string_view line;
    while (lines.NextLine(line)) {
        if (!line.starts_with(kRecordKeyword)) throw std::runtime_error("Override value is not a schema record.");
        records.push_back(Reflection::ReadSchemaRecord(line.substr(kRecordKeyword.size()), lines));
    }
    return records;
}

void ApplyOverrideToRecords(std::vector<SchemaRecord>& records, const ComponentTypeEntry& entry,
                            const std::string& path, const std::string& value) {
    const std::vector<std::string_view> segments = SplitPath(path);
    if (segments.size() == 1) {
        std::vector<SchemaRecord> replacement = ParseOverrideRecords(value);
        if (replacement.empty() || replacement.front().name != entry.MainRecordName()) {
            throw std::runtime_error("Override replaces a component with a different record.");
        }
        records = std::move(replacement);
        return;
    }
    if (entry.records.size() != 1 || records.size() != 1) {
        throw std::runtime_error("Multipart components are overridden whole.");
    }
    SchemaRecord* current = &records.front();
    std::size_t prefixLength = segments.front().size();
    for (std::size_t index = 1; index < segments.size(); ++index) {
        prefixLength += 1 + segments[index].size();
        SchemaField* field = current->FindField(segments[index]);
        if (field == nullptr) throw std::runtime_error("Override property no longer exists: " + path);
        if (index + 1 < segments.size()) {
            current = std::get_if<SchemaRecord>(&field->value);
            if (current == nullptr) {
                throw std::runtime_error("Override path crosses a non-object property: " +
                                         path.substr(0, prefixLength));
            }
            continue;
        }
        if (std::holds_alternative<std::string>(field->value)) {
            field->value = value;
            return;
        }
        std::vector<SchemaRecord> parsed = ParseOverrideRecords(value);
        if (parsed.size() != 1 || parsed.front().fields.size() != 1) {
            throw std::runtime_error("Malformed override value.");
        }
        field->value = std::move(parsed.front().fields.front().value);
    }
}

void DiffComponentRecords(const ComponentTypeEntry& entry, const Core::Guid& localGuid,
                          const std::vector<SchemaRecord>& expected, const std::string& expectedText,
                          const std::vector<SchemaRecord>& live, const std::string& liveText,
                          std::vector<PrefabOverride>& out) {
    if (expectedText == liveText) return;
    if (entry.records.size() > 1 || expected.size() != 1 || live.size() != 1 ||
        !SameShape(expected.front(), live.front())) {
        out.push_back({localGuid, entry.name, liveText});
        return;
    }
    for (std::size_t index = 0; index < live.front().fields.size(); ++index) {
        const SchemaField& field = live.front().fields[index];
        DiffSchemaValues(localGuid, entry.name + "." + field.name, expected.front().fields[index].value, field.value,
                         out);
    }
}

} // namespace Brelk::Scene
