#include "engine/scene/CookedScene.h"

#include "engine/assets/ByteStream.h"
#include "engine/assets/cooked/CookedContainer.h"
#include "engine/platform/Files.h"
#include "engine/scene/SceneTextParser.h"

#include <fstream>
#include <stdexcept>

namespace Brelk::Scene {
namespace {

using Assets::ByteReader;
using Assets::ByteWriter;
using Reflection::SchemaArray;
using Reflection::SchemaRecord;
using Reflection::SchemaValue;

constexpr std::string_view kEnvironmentRecordName = "EnvironmentSettings";
constexpr std::uint64_t kMaxEntities = 0x1000000;
constexpr std::uint64_t kMaxRecordsPerEntity = 65536;
constexpr std::uint64_t kMaxNameBytes = 65536;
constexpr std::uint64_t kMaxTextValueBytes = 1048576;
constexpr std::uint64_t kMaxCount = 1024;
// Depth counts from 0 at the top record, one level more than the text form allows.
constexpr std::uint32_t kMaxDepth = 16;
constexpr std::uint64_t kMaxTotalCount = 4096;
constexpr std::uint64_t kMaxRecordBytes = 1048576;
// The smallest bytes an item can take, to hold each count against what is left.
constexpr std::uint64_t kEntityMinimumBytes = 41;
constexpr std::uint64_t kRecordMinimumBytes = 20;
constexpr std::uint64_t kFieldMinimumBytes = 5;
constexpr std::uint64_t kElementMinimumBytes = 1;

enum ValueTag : std::uint8_t { kTagText = 0, kTagRecord = 1, kTagArray = 2 };

void WriteRecord(ByteWriter& writer, const SchemaRecord& record);

void WriteValue(ByteWriter& writer, const SchemaValue& value) {
    switch (value.index()) {
    case 0:
        writer.WriteU8(kTagText);
        writer.WriteString(std::get<std::string>(value));
        break;
    case 1:
        writer.WriteU8(kTagRecord);
        WriteRecord(writer, std::get<SchemaRecord>(value));
        break;
    default: {
        const SchemaArray& array = std::get<SchemaArray>(value);
        writer.WriteU8(kTagArray);
        writer.WriteU32(static_cast<std::uint32_t>(array.elements.size()));
        for (const SchemaValue& element : array.elements) WriteValue(writer, element);
    }
    }
}

void WriteRecord(ByteWriter& writer, const SchemaRecord& record) {
    writer.WriteString(record.name);
    writer.WriteU32(record.version);
    writer.WriteU32(static_cast<std::uint32_t>(record.fields.size()));
    for (const Reflection::SchemaField& field : record.fields) {
        writer.WriteString(field.name);
        WriteValue(writer, field.value);
    }
}

void WriteGuid(ByteWriter& writer, const Core::Guid& guid) {
    writer.WriteU64(guid.high);
    writer.WriteU64(guid.low);
}

// Reads one top-level record with the limits that hold for it and all that it nests.
class RecordReader {
public:
    explicit RecordReader(ByteReader& reader) : reader_(reader), start_(reader.Position()) {}

    SchemaRecord ReadRecord(std::uint32_t depth) {
        if (depth > kMaxDepth) throw std::runtime_error("Record nesting exceeds the schema depth limit.");
        SchemaRecord record;
        record.name = reader_.ReadString(kMaxNameBytes);
        if (record.name.empty()) throw std::runtime_error("Record without a type name.");
        record.version = reader_.ReadU32();
        const std::uint32_t count = reader_.ReadCount(kFieldMinimumBytes, kMaxCount);
        record.fields.reserve(count);
        for (std::uint32_t i = 0; i < count; ++i) {
            CountOne();
            Reflection::SchemaField& field = record.fields.emplace_back();
            field.name = reader_.ReadString(kMaxNameBytes);
            field.value = ReadValue(depth);
        }
        return record;
    }

    std::size_t BytesTaken() const noexcept { return reader_.Position() - start_; }

private:
    SchemaValue ReadValue(std::uint32_t depth) {
        if (depth > kMaxDepth) throw std::runtime_error("Record nesting exceeds the schema depth limit.");
        if (BytesTaken() > kMaxRecordBytes) throw std::runtime_error("Record exceeds the schema size limit.");
        switch (reader_.ReadU8()) {
        case kTagText:
            return reader_.ReadString(kMaxTextValueBytes);
        case kTagRecord:
            return ReadRecord(depth + 1);
        case kTagArray: {
            const std::uint32_t count = reader_.ReadCount(kElementMinimumBytes, kMaxCount);
            SchemaArray array;
            array.elements.reserve(count);
            for (std::uint32_t i = 0; i < count; ++i) {
                CountOne();
                array.elements.push_back(ReadValue(depth + 1));
            }
            return array;
        }
        default:
            throw std::runtime_error("Unknown record value tag.");
        }
    }

    void CountOne() {
        if (++total_ > kMaxTotalCount) throw std::runtime_error("Record exceeds the total field limit.");
    }

    ByteReader& reader_;
    std::size_t start_;
    std::uint64_t total_ = 0;
};

SchemaRecord ReadTopRecord(ByteReader& reader) {
    RecordReader records(reader);
    SchemaRecord record = records.ReadRecord(0);
    if (records.BytesTaken() > kMaxRecordBytes) throw std::runtime_error("Record exceeds the schema size limit.");
    return record;
}

Core::Guid ReadGuid(ByteReader& reader) {
    Core::Guid guid;
    guid.high = reader.ReadU64();
    guid.low = reader.ReadU64();
    return guid;
}

void DecodePayload(ByteReader& reader, SceneDocument& document) {
    const std::uint32_t version = reader.ReadU32();
    if (version != static_cast<std::uint32_t>(SceneFormatVersion)) {
        throw std::runtime_error("Cooked scene holds scene version " + std::to_string(version) +
                                 "; recook the content.");
    }
    document.version = SceneFormatVersion;
    const std::uint8_t hasEnvironment = reader.ReadU8();
    if (hasEnvironment > 1) throw std::runtime_error("Malformed environment flag.");
    if (hasEnvironment == 1) {
        SchemaRecord environment = ReadTopRecord(reader);
        if (environment.name != kEnvironmentRecordName) throw std::runtime_error("Malformed environment record.");
        document.environment = std::move(environment);
    }
    const std::uint32_t entityCount = reader.ReadCount(kEntityMinimumBytes, kMaxEntities);
    document.entities.reserve(entityCount);
    for (std::uint32_t index = 0; index < entityCount; ++index) {
        SceneEntityBlock& entity = document.entities.emplace_back();
        entity.guid = ReadGuid(reader);
        if (!entity.guid.IsValid()) throw std::runtime_error("Null entity GUID.");
        entity.name = reader.ReadString(kMaxNameBytes);
        const std::uint8_t hasParent = reader.ReadU8();
        if (hasParent > 1) throw std::runtime_error("Malformed parent flag.");
        // The flag only says that the text had a parent line; the GUID is taken as it stands.
        entity.hasParentRecord = hasParent == 1;
        entity.parent = ReadGuid(reader);
        const std::uint32_t recordCount = reader.ReadCount(kRecordMinimumBytes, kMaxRecordsPerEntity);
        entity.records.reserve(recordCount);
        for (std::uint32_t r = 0; r < recordCount; ++r) {
            SceneComponentBlock& block = entity.records.emplace_back();
            const std::uint64_t sourceBytes = reader.ReadU64();
            const std::size_t start = reader.Position();
            block.record = ReadTopRecord(reader);
            if (block.record.name == kEnvironmentRecordName) {
                throw std::runtime_error("Environment record inside an entity.");
            }
            const std::uint64_t taken = reader.Position() - start;
            block.sourceBytes = sourceBytes == ~std::uint64_t{0} ? sourceBytes : std::max(sourceBytes, taken);
        }
    }
    if (!reader.AtEnd()) throw std::runtime_error("Trailing data after the last entity.");
}

} // namespace

std::vector<std::uint8_t> EncodeCookedScene(const SceneDocument& document) {
    ByteWriter writer;
    writer.WriteU32(static_cast<std::uint32_t>(document.version));
    writer.WriteU8(document.environment ? 1 : 0);
    if (document.environment) WriteRecord(writer, *document.environment);
    writer.WriteU32(static_cast<std::uint32_t>(document.entities.size()));
    for (const SceneEntityBlock& entity : document.entities) {
        WriteGuid(writer, entity.guid);
        writer.WriteString(entity.name);
        writer.WriteU8(entity.hasParentRecord ? 1 : 0);
        WriteGuid(writer, entity.parent);
        writer.WriteU32(static_cast<std::uint32_t>(entity.records.size()));
        for (const SceneComponentBlock& block : entity.records) {
            writer.WriteU64(block.sourceBytes);
            WriteRecord(writer, block.record);
        }
    }
    return Assets::WriteCookedContainer(Assets::kCookedKindScene, kCookedSceneFormatVersion, writer.Bytes());
}

bool DecodeCookedScene(std::span<const std::uint8_t> bytes, SceneDocument& document, const std::filesystem::path& path,
                       std::string* error) {
    document = SceneDocument{};
    const std::string name = Platform::PathToUtf8(path);
    const auto payload =
        Assets::OpenCookedContainer(bytes, Assets::kCookedKindScene, kCookedSceneFormatVersion, name, error);
    return payload && DecodeCookedScenePayload(*payload, document, path, error);
}

bool DecodeCookedScenePayload(std::span<const std::uint8_t> payload, SceneDocument& document,
                              const std::filesystem::path& path, std::string* error) {
    document = SceneDocument{};
    try {
        ByteReader reader(payload);
        DecodePayload(reader, document);
        return true;
    } catch (const std::exception& e) {
        if (error) *error = "Invalid cooked scene " + Platform::PathToUtf8(path) + ": " + e.what();
    }
    return false;
}

bool CookSceneFile(const std::filesystem::path& path, std::vector<std::uint8_t>& bytes, std::string* error) {
    std::ifstream file(path);
    if (!file) {
        if (error) *error = "Failed to open scene file for reading: " + Platform::PathToUtf8(path);
        return false;
    }
    SceneDocument document;
    if (!ParseSceneText(file, document, path, error)) return false;
    try {
        bytes = EncodeCookedScene(document);
        return true;
    } catch (const std::exception& e) {
        if (error) *error = "Failed to encode cooked scene " + Platform::PathToUtf8(path) + ": " + e.what();
    }
    return false;
}

} // namespace Brelk::Scene
