#pragma once

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace Brelk::Reflection {

struct SchemaField;
struct SchemaRecord;
struct SchemaArray;

// The text form of a leaf (index 0), a nested record (index 1) or an array (index 2).
// The alternative order is part of the model: code may switch on index().
using SchemaValue = std::variant<std::string, SchemaRecord, SchemaArray>;

// One component record, or one nested object, as it is saved: a schema name, the version it
// was written in (never 0 in a valid record) and its fields in writing order.
struct SchemaRecord {
    std::string name;
    std::uint32_t version = 0;
    std::vector<SchemaField> fields;

    // The first field with this name, or null. Records hold at most 1024 fields, so a scan
    // is cheaper than keeping an index beside them.
    [[nodiscard]] const SchemaField* FindField(std::string_view fieldName) const noexcept;
    [[nodiscard]] SchemaField* FindField(std::string_view fieldName) noexcept;
};

struct SchemaArray {
    std::vector<SchemaValue> elements;
};

struct SchemaField {
    std::string name;
    SchemaValue value;
};

// Deep, order-sensitive equality: two records are equal when they would write the same text.
[[nodiscard]] bool operator==(const SchemaRecord& a, const SchemaRecord& b);
[[nodiscard]] bool operator==(const SchemaArray& a, const SchemaArray& b);
[[nodiscard]] bool operator==(const SchemaField& a, const SchemaField& b);

// Limits of one top-level record. The text writer, the text reader and the typed conversion
// all hold them, so that nothing one side accepts can be refused by another.
inline constexpr std::uint32_t kSchemaMaxDepth = 16;          // the top-level record is depth 1
inline constexpr std::uint64_t kSchemaMaxCount = 1024;        // fields of a record, elements of an array
inline constexpr std::uint64_t kSchemaMaxTotalCount = 4096;   // all fields and elements together
inline constexpr std::size_t kSchemaMaxLineBytes = 65535;     // line feed not counted
inline constexpr std::uint64_t kSchemaMaxRecordBytes = 1048576; // every line feed counted

// The running count of fields and elements of one top-level record. Each new record or array
// level charges its count before any of its content is looked at, so a hostile count fails
// before anything is allocated for it.
class SchemaFieldBudget {
public:
    // Throws std::runtime_error "Schema exceeds the nesting or field budget." if a level at
    // this depth is too deep, or if count doesn't fit what is left; otherwise takes count.
    void Charge(std::uint32_t depth, std::uint64_t count) {
        if (depth > kSchemaMaxDepth || count > kSchemaMaxCount || count > kSchemaMaxTotalCount - used_) {
            throw std::runtime_error("Schema exceeds the nesting or field budget.");
        }
        used_ += count;
    }

    [[nodiscard]] std::uint64_t Used() const noexcept { return used_; }

private:
    std::uint64_t used_ = 0;
};

inline bool operator==(const SchemaField& a, const SchemaField& b) {
    return a.name == b.name && a.value == b.value;
}

inline bool operator==(const SchemaRecord& a, const SchemaRecord& b) {
    return a.version == b.version && a.name == b.name && a.fields == b.fields;
}

inline bool operator==(const SchemaArray& a, const SchemaArray& b) {
    return a.elements == b.elements;
}

inline const SchemaField* SchemaRecord::FindField(std::string_view fieldName) const noexcept {
    for (const SchemaField& field : fields) {
        if (field.name == fieldName) {
            return &field;
        }
    }
    return nullptr;
}

inline SchemaField* SchemaRecord::FindField(std::string_view fieldName) noexcept {
    for (SchemaField& field : fields) {
        if (field.name == fieldName) {
            return &field;
        }
    }
    return nullptr;
}

} // namespace Brelk::Reflection
