// Feeds arbitrary text to the scene text parser, once from a seekable stream in memory and
// once from a stream that trickles a few bytes at a time and cannot tell positions. Both must
// agree. Whatever is accepted must be a document a load can trust (version 6, valid entity
// Guids, record lines inside the text and in file order, every record within its limits) and
// must write back in the saved form and parse to the same document, with the line numbers and
// byte counts that the written text implies.

#include "engine/core/Guid.h"
#include "engine/reflection/SchemaRecord.h"
#include "engine/reflection/SchemaRecordText.h"
#include "engine/scene/SceneDocument.h"
#include "engine/scene/SceneTextParser.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <istream>
#include <stdexcept>
#include <streambuf>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace {

using Brelk::Reflection::SchemaArray;
using Brelk::Reflection::SchemaRecord;
using Brelk::Reflection::SchemaValue;
using Brelk::Scene::SceneComponentBlock;
using Brelk::Scene::SceneDocument;
using Brelk::Scene::SceneEntityBlock;

constexpr std::uint64_t kUnknownBytes = ~std::uint64_t{0};
constexpr std::string_view kEnvironmentRecord = "EnvironmentSettings";
constexpr std::string_view kLinePrefix = "Failed to parse scene file at line ";

void Check(bool condition) {
    if (!condition) {
        std::abort();
    }
}

// Hands out the text a few bytes at a time and refuses to seek, as a pipe or a decompressing
// stream would: the parser must not depend on a whole line being buffered, nor on positions.
class TrickleBuffer : public std::streambuf {
public:
    explicit TrickleBuffer(std::string_view text) noexcept : text_(text) {}

protected:
    int_type underflow() override {
        if (offset_ >= text_.size()) {
            return traits_type::eof();
        }
        const std::size_t chunk = std::min<std::size_t>(kChunkBytes, text_.size() - offset_);
        char* const begin = const_cast<char*>(text_.data()) + offset_;
        setg(begin, begin, begin + chunk);
        offset_ += chunk;
        return traits_type::to_int_type(*begin);
    }

private:
    static constexpr std::size_t kChunkBytes = 5;
    std::string_view text_;
    std::size_t offset_ = 0;
};

// Byte offset of the start of each line, 1-based, as getline splits them; one entry more
// holds the end of the text, so that a line's extent is always starts[n + 1] - starts[n].
std::vector<std::size_t> LineStarts(std::string_view text) {
    std::vector<std::size_t> starts{0, 0};
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\n' && i + 1 < text.size()) {
            starts.push_back(i + 1);
        }
    }
    if (text.empty()) {
        starts.pop_back();
    }
    starts.push_back(text.size());
    return starts;
}

struct Shape {
    std::uint32_t depth = 0;
    std::uint64_t total = 0;
    std::uint64_t lines = 0;
    bool widest = true; // no level holds more than the per-level count
};

void Measure(const SchemaValue& value, std::uint32_t depth, Shape& shape);

void MeasureRecord(const SchemaRecord& record, std::uint32_t depth, Shape& shape) {
    Check(!record.name.empty() && record.version != 0);
    shape.depth = std::max(shape.depth, depth);
    shape.total += record.fields.size();
    shape.lines += 2;
    shape.widest = shape.widest && record.fields.size() <= Brelk::Reflection::kSchemaMaxCount;
    for (std::size_t i = 0; i < record.fields.size(); ++i) {
        Check(!record.fields[i].name.empty());
        for (std::size_t j = 0; j < i; ++j) {
            Check(record.fields[j].name != record.fields[i].name);
        }
        if (std::holds_alternative<std::string>(record.fields[i].value)) {
            shape.lines += 1;
        } else {
            Measure(record.fields[i].value, depth + 1, shape);
        }
    }
}

void MeasureArray(const SchemaArray& array, std::uint32_t depth, Shape& shape) {
    shape.depth = std::max(shape.depth, depth);
    shape.total += array.elements.size();
    shape.lines += 2;
    shape.widest = shape.widest && array.elements.size() <= Brelk::Reflection::kSchemaMaxCount;
    for (const SchemaValue& element : array.elements) {
        if (std::holds_alternative<std::string>(element)) {
            shape.lines += 1;
        } else {
            Measure(element, depth + 1, shape);
        }
    }
}

void Measure(const SchemaValue& value, std::uint32_t depth, Shape& shape) {
    if (const auto* record = std::get_if<SchemaRecord>(&value)) {
        MeasureRecord(*record, depth, shape);
    } else if (const auto* array = std::get_if<SchemaArray>(&value)) {
        MeasureArray(*array, depth, shape);
    }
}

// Checks the limits every accepted record must hold and gives the number of lines it took.
std::uint64_t CheckRecordShape(const SchemaRecord& record) {
    Shape shape;
    MeasureRecord(record, 1, shape);
    Check(shape.depth <= Brelk::Reflection::kSchemaMaxDepth);
    Check(shape.total <= Brelk::Reflection::kSchemaMaxTotalCount);
    Check(shape.widest);
    return shape.lines;
}

// A record spans `lineCount` lines from `line`, and its byte count is that span of the text.
// An entity's record is never the last line of an accepted text (its `end_entity` follows), so
// a stream that can tell positions always knows where the record ended.
void CheckRecordPlace(const SceneComponentBlock& block, std::uint64_t lineCount, const std::vector<std::size_t>& starts,
                      bool positionsKnown) {
    Check(block.line >= 1 && block.line + lineCount - 1 < starts.size() - 2);
    const std::uint64_t span = starts[block.line + lineCount] - starts[block.line];
    Check(block.sourceBytes == (positionsKnown ? span : kUnknownBytes));
}

// Everything a load relies on, checked against the text the document came from.
void CheckDocument(const SceneDocument& document, std::string_view text, bool positionsKnown) {
    const std::vector<std::size_t> starts = LineStarts(text);
    Check(document.version == Brelk::Scene::SceneFormatVersion);
    if (document.environment) {
        Check(document.environment->name == kEnvironmentRecord);
        CheckRecordShape(*document.environment);
    }
    std::uint64_t lastUsedLine = 0;
    for (const SceneEntityBlock& entity : document.entities) {
        Check(entity.guid.IsValid());
        Check(entity.hasParentRecord || !entity.parent.IsValid());
        Check(entity.line > lastUsedLine && entity.line < starts.size() - 1);
        lastUsedLine = entity.line;
        for (const SceneComponentBlock& block : entity.records) {
            Check(block.record.name != kEnvironmentRecord);
            Check(block.line > lastUsedLine);
            const std::uint64_t lineCount = CheckRecordShape(block.record);
            CheckRecordPlace(block, lineCount, starts, positionsKnown);
            lastUsedLine = block.line + lineCount - 1;
        }
    }
}

// A failure is either prefixed with a line inside the text (or the one behind it, where a
// record ran out of lines), or is one of the messages that end a parse on their own.
void CheckFailure(std::string_view message, std::string_view text) {
    Check(!message.empty());
    if (message.substr(0, kLinePrefix.size()) == kLinePrefix) {
        message.remove_prefix(kLinePrefix.size());
        std::uint64_t line = 0;
        const auto [end, status] = std::from_chars(message.data(), message.data() + message.size(), line);
        Check(status == std::errc() && end != message.data() + message.size() && *end == ':');
        Check(line >= 1 && line <= LineStarts(text).size() - 1);
        return;
    }
    Check(message == "Scene file is missing a valid header." ||
          message == "Scene read failed or entity terminator is missing." ||
          message == "Unsupported scene format version." || message.substr(0, 21) == "Scene format version ");
}

bool SameEntities(const SceneDocument& a, const SceneDocument& b, bool compareParentLines) {
    if (a.version != b.version || a.environment != b.environment || a.entities.size() != b.entities.size()) {
        return false;
    }
    for (std::size_t i = 0; i < a.entities.size(); ++i) {
        const SceneEntityBlock& x = a.entities[i];
        const SceneEntityBlock& y = b.entities[i];
        if (x.guid != y.guid || x.name != y.name || x.parent != y.parent || x.records.size() != y.records.size() ||
            (compareParentLines && x.hasParentRecord != y.hasParentRecord)) {
            return false;
        }
        for (std::size_t j = 0; j < x.records.size(); ++j) {
            if (x.records[j].record != y.records[j].record) {
                return false;
            }
        }
    }
    return true;
}

// The document in the form a save writes it: environment first, a parent line always. Also
// notes the line every entity and record header must get when the text is read again.
struct Written {
    std::string text;
    std::vector<std::uint32_t> lines;
};

Written WriteDocument(const SceneDocument& document) {
    Written written;
    written.text = "scene_version 6\n";
    std::uint32_t line = 2;
    if (document.environment) {
        Brelk::Reflection::AppendSchemaRecord(written.text, *document.environment);
        line += static_cast<std::uint32_t>(CheckRecordShape(*document.environment));
    }
    char guidText[Brelk::Core::Guid::kTextLength];
    for (const SceneEntityBlock& entity : document.entities) {
        written.lines.push_back(line);
        written.text += "entity ";
        entity.guid.ToChars(guidText);
        Brelk::Scene::AppendSceneToken(written.text, std::string_view(guidText, sizeof guidText));
        written.text += ' ';
        Brelk::Scene::AppendSceneToken(written.text, entity.name);
        written.text += "\nparent ";
        std::string_view parentText;
        if (entity.parent.IsValid()) {
            entity.parent.ToChars(guidText);
            parentText = std::string_view(guidText, sizeof guidText);
        }
        Brelk::Scene::AppendSceneToken(written.text, parentText);
        written.text += '\n';
        line += 2;
        for (const SceneComponentBlock& block : entity.records) {
            written.lines.push_back(line);
            Brelk::Reflection::AppendSchemaRecord(written.text, block.record);
            line += static_cast<std::uint32_t>(CheckRecordShape(block.record));
        }
        written.text += "end_entity\n";
        ++line;
    }
    return written;
}

void CheckRoundTrip(const SceneDocument& document, std::string_view input) {
    Written written;
    try {
        written = WriteDocument(document);
    } catch (const std::runtime_error& error) {
        // A raw tab inside a token is read as it stands and written back escaped, the one way
        // a text that was read can outgrow a line or record budget on its way out.
        Check(std::string_view(error.what()) == "Schema exceeds its line or record byte budget.");
        Check(input.find('\t') != std::string_view::npos);
        return;
    }

    SceneDocument again;
    std::string error;
    Check(Brelk::Scene::ParseSceneText(written.text, again, "RoundTrip.bscene", &error));
    Check(SameEntities(document, again, false));
    CheckDocument(again, written.text, true);

    std::size_t next = 0;
    for (const SceneEntityBlock& entity : again.entities) {
        Check(entity.hasParentRecord && entity.line == written.lines[next++]);
        for (const SceneComponentBlock& block : entity.records) {
            Check(block.line == written.lines[next++]);
            Check(block.sourceBytes == Brelk::Reflection::FormatSchemaRecord(block.record).size());
        }
    }
    Check(WriteDocument(again).text == written.text);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const std::filesystem::path path = "Fuzz.bscene";

    SceneDocument document;
    std::string error;
    const bool parsed = Brelk::Scene::ParseSceneText(text, document, path, &error);

    TrickleBuffer trickle(text);
    std::istream trickleStream(&trickle);
    SceneDocument trickled;
    std::string trickledError;
    const bool trickleParsed = Brelk::Scene::ParseSceneText(trickleStream, trickled, path, &trickledError);

    Check(parsed == trickleParsed);
    if (!parsed) {
        Check(error == trickledError);
        CheckFailure(error, text);
        return 0;
    }
    Check(SameEntities(document, trickled, true));
    CheckDocument(document, text, true);
    CheckDocument(trickled, text, false);
    CheckRoundTrip(document, text);
    return 0;
}
