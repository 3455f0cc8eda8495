#include "engine/scene/SceneTextParser.h"

#include "engine/platform/Files.h"
#include "engine/reflection/SchemaRecordText.h"

#include <charconv>
#include <istream>
#include <limits>
#include <locale>
#include <sstream>
#include <stdexcept>

namespace Brelk::Scene {
namespace {

using Reflection::SchemaRecord;

constexpr std::string_view kEnvironmentRecord = "EnvironmentSettings";
constexpr std::size_t kMaxHeaderLineBytes = 65535;

bool IsBlank(char c) noexcept {
    return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r';
}

void SkipBlanks(std::string_view& text) noexcept {
    std::size_t i = 0;
    while (i < text.size() && IsBlank(text[i])) ++i;
    text.remove_prefix(i);
}

bool OnlyBlanks(std::string_view text) noexcept {
    SkipBlanks(text);
    return text.empty();
}

std::string_view TakeWord(std::string_view& text) noexcept {
    SkipBlanks(text);
    std::size_t end = 0;
    while (end < text.size() && !IsBlank(text[end])) ++end;
    const std::string_view word = text.substr(0, end);
    text.remove_prefix(end);
    return word;
}

// A token of an entity or parent line: quoted, with a backslash taking the next byte as it
// is, or a bare word. A quote that the line ends inside is no token.
bool TakeToken(std::string_view& text, std::string& token) {
    SkipBlanks(text);
    token.clear();
    if (text.empty()) return false;
    if (text.front() != '"') {
        token.assign(TakeWord(text));
        return true;
    }
    std::size_t i = 1;
    while (i < text.size()) {
        const char c = text[i];
        if (c == '"') {
            text.remove_prefix(i + 1);
            return true;
        }
        if (c == '\\') {
            if (i + 1 >= text.size()) return false;
            token.push_back(text[i + 1]);
            i += 2;
            continue;
        }
        token.push_back(c);
        ++i;
    }
    return false;
}

// Reads an i32 as a stream extraction would: blanks, an optional sign, decimal digits.
bool TakeInt32(std::string_view& text, std::int32_t& value) noexcept {
    SkipBlanks(text);
    bool negative = false;
    std::size_t i = 0;
    if (i < text.size() && (text[i] == '+' || text[i] == '-')) {
        negative = text[i] == '-';
        ++i;
    }
    std::int64_t magnitude = 0;
    const std::size_t digitsStart = i;
    while (i < text.size() && text[i] >= '0' && text[i] <= '9') {
        magnitude = magnitude * 10 + (text[i] - '0');
        if (magnitude > std::int64_t{std::numeric_limits<std::int32_t>::max()} + 1) return false;
        ++i;
    }
    if (i == digitsStart) return false;
    const std::int64_t signedValue = negative ? -magnitude : magnitude;
    if (signedValue > std::numeric_limits<std::int32_t>::max()) return false;
    value = static_cast<std::int32_t>(signedValue);
    text.remove_prefix(i);
    return true;
}

bool ParseEntityGuid(const std::string& text, Core::Guid& guid) {
    try {
        guid = Core::ParseStableGuid(text);
    } catch (const std::runtime_error&) {
        return false;
    }
    return guid.IsValid();
}

// A failure of the current line; the parser adds the line prefix.
struct LineFailure : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// A failure that ends the parse with its own words, without the line prefix.
struct FileFailure : std::runtime_error {
    using std::runtime_error::runtime_error;
};

class SceneTextParser {
public:
    SceneTextParser(std::istream& input, SceneDocument& document, const std::filesystem::path& path)
        : input_(input), document_(document), path_(path) {}

    void Run() {
        std::string line;
        for (;;) {
            const std::streampos lineStart = input_.tellg();
            if (!std::getline(input_, line)) break;
            ++lineCounter_;
            ParseLine(line, lineStart);
        }
        if (input_.bad()) throw FileFailure("Scene read failed or entity terminator is missing.");
        if (!versionSeen_) throw FileFailure("Scene file is missing a valid header.");
        if (entity_) throw FileFailure("Scene read failed or entity terminator is missing.");
    }

    std::uint32_t LineCounter() const noexcept { return lineCounter_; }

private:
    void ParseLine(std::string_view line, std::streampos lineStart) {
        if (line.empty() || line.front() == '#') return;
        std::string_view rest = line;
        const std::string_view keyword = TakeWord(rest);
        if (keyword.empty()) return;

        if (keyword == "scene_version") return ParseVersion(rest);
        if (!versionSeen_) throw LineFailure("Scene records require a version header.");
        if (keyword == "component_schema") return ParseRecord(line, rest, lineStart);
        if (keyword == "entity") return OpenEntity(rest);
        if (keyword == "parent") return ParseParent(rest);
        if (keyword == "end_entity") return CloseEntity();
        if (keyword == "property" || keyword == "object_property" || keyword == "array_property" ||
            keyword == "end_component_schema" || keyword == "value" || keyword == "object" || keyword == "array" ||
            keyword == "end_array") {
            throw LineFailure("Schema property or terminator outside a schema record.");
        }
        throw LineFailure("Unsupported scene record '" + std::string(keyword) +
                          "'. Positional records are a legacy format; convert the file with the offline tool: "
                          "brelk-upgrade --content <ProjectContentFolder> \"" +
                          Platform::PathToUtf8(path_) + "\"");
    }

    void ParseVersion(std::string_view rest) {
        if (versionSeen_) throw LineFailure("Duplicate or misplaced scene header.");
        std::int32_t version = 0;
        if (!TakeInt32(rest, version)) throw LineFailure("Malformed scene version.");
        if (!OnlyBlanks(rest)) throw LineFailure("Trailing scene version data.");
        if (version != SceneFormatVersion) throw FileFailure(SceneVersionMessage(version, path_));
        document_.version = version;
        versionSeen_ = true;
    }

    void ParseRecord(std::string_view line, std::string_view rest, std::streampos lineStart) {
        if (line.size() > kMaxHeaderLineBytes) throw LineFailure("Schema header exceeds the record limit.");
        std::string_view peek = rest;
        std::string typeName;
        bool named = false;
        try {
            typeName = Reflection::ReadSchemaToken(peek);
            named = true;
        } catch (const std::runtime_error&) {
            // The record reader gives the exact message for a broken header.
        }
        const bool environment = named && typeName == kEnvironmentRecord;
        if (named) {
            if (environment && entity_) throw LineFailure("Environment schema must be outside entities.");
            if (environment && document_.environment) throw LineFailure("Duplicate or mixed environment records.");
            if (!environment && !entity_) throw LineFailure("Component schema requires an entity.");
        }
        const std::uint32_t headerLine = lineCounter_;
        SchemaRecord record = ReadRecord(rest);
        if (environment) {
            document_.environment = std::move(record);
            return;
        }
        if (!entity_) throw LineFailure("Component schema requires an entity.");
        SceneComponentBlock block;
        block.record = std::move(record);
        block.line = headerLine;
        const std::streampos end = input_.tellg();
        if (lineStart != std::streampos(-1) && end != std::streampos(-1)) {
            block.sourceBytes = static_cast<std::uint64_t>(end - lineStart);
        }
        entity_->records.push_back(std::move(block));
    }

    SchemaRecord ReadRecord(std::string_view headerRest) {
        try {
            return Reflection::ReadSchemaRecord(headerRest, input_, lineCounter_);
        } catch (const std::bad_alloc&) {
            throw;
        } catch (const std::runtime_error& e) {
            throw LineFailure(e.what());
        }
    }

    void OpenEntity(std::string_view rest) {
        if (entity_) throw LineFailure("Missing entity terminator.");
        std::string guidText;
        std::string name;
        if (!TakeToken(rest, guidText) || !TakeToken(rest, name)) throw LineFailure("Malformed entity header.");
        Core::Guid guid;
        if (!ParseEntityGuid(guidText, guid)) throw LineFailure("Malformed or null entity GUID.");
        if (!OnlyBlanks(rest)) throw LineFailure("Trailing entity header data.");
        entity_.emplace();
        entity_->guid = guid;
        entity_->name = std::move(name);
        entity_->line = lineCounter_;
    }

    void ParseParent(std::string_view rest) {
        if (!entity_) throw LineFailure("Parent record outside an entity.");
        if (entity_->hasParentRecord) throw LineFailure("Duplicate parent record.");
        std::string token;
        if (!TakeToken(rest, token)) throw LineFailure("Malformed parent GUID.");
        Core::Guid parent;
        if (!token.empty() && !ParseEntityGuid(token, parent)) throw LineFailure("Malformed parent GUID.");
        if (!OnlyBlanks(rest)) throw LineFailure("Trailing parent data.");
        entity_->parent = parent;
        entity_->hasParentRecord = true;
    }

    void CloseEntity() {
        if (!entity_) throw LineFailure("Entity terminator outside an entity.");
        document_.entities.push_back(std::move(*entity_));
        entity_.reset();
    }

    std::istream& input_;
    SceneDocument& document_;
    const std::filesystem::path& path_;
    std::optional<SceneEntityBlock> entity_;
    std::uint32_t lineCounter_ = 0;
    bool versionSeen_ = false;
};

} // namespace

std::string SceneVersionMessage(std::int32_t version, const std::filesystem::path& path) {
    if (version < 1 || version > 5) return "Unsupported scene format version.";
    const std::string pathText = path.empty() ? "<scene file>" : "\"" + Platform::PathToUtf8(path) + "\"";
    return "Scene format version " + std::to_string(version) +
           " is a legacy format the engine no longer reads. Convert it to version " +
           std::to_string(SceneFormatVersion) + " with the offline tool: brelk-upgrade --content <ProjectContentFolder> " +
           pathText;
}

bool ParseSceneText(std::istream& input, SceneDocument& document, const std::filesystem::path& path,
                    std::string* error) {
    document = SceneDocument{};
    input.imbue(std::locale::classic());
    SceneTextParser parser(input, document, path);
    try {
        parser.Run();
        return true;
    } catch (const LineFailure& e) {
        if (error) *error = "Failed to parse scene file at line " + std::to_string(parser.LineCounter()) + ": " + e.what();
    } catch (const FileFailure& e) {
        if (error) *error = e.what();
    }
    return false;
}

bool ParseSceneText(std::string_view text, SceneDocument& document, const std::filesystem::path& path,
                    std::string* error) {
    std::istringstream input{std::string(text)};
    return ParseSceneText(input, document, path, error);
}

} // namespace Brelk::Scene
