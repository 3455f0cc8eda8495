#include "engine/reflection/SchemaRecordText.h"

#include "engine/core/NumberText.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <concepts>
#include <cstring>
#include <istream>
#include <memory>
#include <ostream>
#include <stdexcept>
#include <unordered_set>

namespace Brelk::Reflection {
namespace {

// Every message of the codec, so that none is spelt twice.
namespace Message {
constexpr const char* kInvalidHeader = "Invalid component schema header.";
constexpr const char* kIncompleteHeader = "Incomplete component schema header.";
constexpr const char* kHeaderTooLong = "Schema header exceeds the line limit.";
constexpr const char* kDuplicateField = "Empty or duplicate schema field.";
constexpr const char* kArrayLimit = "Array exceeds its element limit.";
constexpr const char* kWriteBytes = "Schema exceeds its line or record byte budget.";
constexpr const char* kWriteFailed = "Failed to write component schema.";
constexpr const char* kTruncatedLine = "Truncated or oversized component schema record.";
constexpr const char* kReadBytes = "Schema record exceeds its byte budget.";
constexpr const char* kRawNul = "Unescaped NUL in schema record.";
constexpr const char* kMalformedToken = "Malformed quoted schema token.";
constexpr const char* kIncompleteEscape = "Incomplete schema escape.";
constexpr const char* kUnknownEscape = "Unknown schema escape.";
constexpr const char* kControlInToken = "Unescaped control character in schema token.";
constexpr const char* kUnterminatedToken = "Unterminated schema token.";
constexpr const char* kBadNumber = "Invalid or out-of-range numeric value.";
constexpr const char* kTrailingData = "Unexpected trailing schema data.";
constexpr const char* kExpectedProperty = "Expected named schema property.";
constexpr const char* kMissingRecordEnd = "Missing component schema terminator.";
constexpr const char* kMissingArrayCount = "Missing array count.";
constexpr const char* kExpectedElement = "Expected an array element.";
constexpr const char* kMissingArrayEnd = "Missing array terminator.";
} // namespace Message

[[noreturn]] void Fail(const char* message) {
    throw std::runtime_error(message);
}

constexpr std::string_view kHeaderKeyword = "component_schema";
constexpr std::string_view kRecordEnd = "end_component_schema";
constexpr std::string_view kArrayEnd = "end_array";

// The reader's byte budget starts with the keyword that the caller took from the header line.
constexpr std::uint64_t kHeaderKeywordBytes = kHeaderKeyword.size();
// One byte beyond the longest line, the size of the line buffer of a stream read.
constexpr std::size_t kLineBufferBytes = kSchemaMaxLineBytes + 1;

// What each byte becomes inside a written token: 0 for itself, else the letter after a backslash.
constexpr std::array<char, 256> MakeEscapeLetters() {
    std::array<char, 256> letters{};
    letters[0] = '0';
    letters['\t'] = 't';
    letters['\n'] = 'n';
    letters['\r'] = 'r';
    letters['"'] = '"';
    letters['\\'] = '\\';
    return letters;
}
constexpr std::array<char, 256> kEscapeLetters = MakeEscapeLetters();

// Nearly every token written is a number or a plain name: eight bytes at a time are tested for
// a byte that may need an escape (below 0x0E, a quote or a backslash), so a clean token costs
// one copy. A word that may hold one, false alarms included, is left to the byte table.
const char* FirstEscapeCandidate(const char* p, const char* end) noexcept {
    constexpr std::uint64_t kOnes = 0x0101010101010101ull;
    constexpr std::uint64_t kHighs = 0x8080808080808080ull;
    constexpr std::uint64_t kQuotes = kOnes * '"';
    constexpr std::uint64_t kBackslashes = kOnes * '\\';
    while (end - p >= 8) {
        std::uint64_t word;
        std::memcpy(&word, p, sizeof word);
        const std::uint64_t quotes = word ^ kQuotes;
        const std::uint64_t backslashes = word ^ kBackslashes;
        const std::uint64_t hits = ((word - kOnes * 0x0E) & ~word) | ((quotes - kOnes) & ~quotes) |
                                   ((backslashes - kOnes) & ~backslashes);
        if ((hits & kHighs) != 0) break;
        p += 8;
    }
    return p;
}

// Bytes that end a plain run inside a token being read: the closing quote, an escape, and the
// control bytes a token may not hold raw.
constexpr std::array<bool, 256> MakeTokenStops() {
    std::array<bool, 256> stops{};
    stops[0] = true;
    stops['\n'] = true;
    stops['\r'] = true;
    stops['"'] = true;
    stops['\\'] = true;
    return stops;
}
constexpr std::array<bool, 256> kTokenStops = MakeTokenStops();

// White space as the classic locale has it.
constexpr bool IsSpace(unsigned char c) noexcept {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

// Finds a repeated field name without allocating for the small records that are nearly all
// of them; a record of many fields switches to a hash set so that hostile input stays linear.
class FieldNameCheck {
public:
    // True if fields[index] has the name of an earlier field. The earlier names must stay in
    // place while the check lives.
    bool IsRepeated(const std::vector<SchemaField>& fields, std::size_t index) {
        const std::string_view name = fields[index].name;
        if (index < kLinearLimit) {
            for (std::size_t i = 0; i < index; ++i) {
                if (fields[i].name == name) {
                    return true;
                }
            }
            return false;
        }
        if (!names_) {
            names_ = std::make_unique<std::unordered_set<std::string_view>>();
            for (std::size_t i = 0; i < index; ++i) {
                names_->insert(fields[i].name);
            }
        }
        return !names_->insert(name).second;
    }

private:
    static constexpr std::size_t kLinearLimit = 32;
    std::unique_ptr<std::unordered_set<std::string_view>> names_;
};

// ----------------------------------------------------------------------------------------
// Writer
// ----------------------------------------------------------------------------------------

// Writes a token's bytes with their escapes at `out`, which has room for twice the token, and
// returns the end.
char* WriteEscaped(char* out, std::string_view token) noexcept {
    const char* p = token.data();
    const char* const end = p + token.size();
    const char* const clean = FirstEscapeCandidate(p, end);
    std::memcpy(out, p, static_cast<std::size_t>(clean - p));
    out += clean - p;
    for (p = clean; p != end; ++p) {
        const char letter = kEscapeLetters[static_cast<unsigned char>(*p)];
        if (letter == 0) {
            *out++ = *p;
        } else {
            *out++ = '\\';
            *out++ = letter;
        }
    }
    return out;
}

// Writes into the caller's string through a cursor: the string is grown ahead of the cursor
// in steps, so that a line costs a bounds check and plain stores rather than a string append
// per piece. Finish() cuts the string back to what was written.
class RecordWriter {
public:
    explicit RecordWriter(std::string& out) : out_(out), start_(out.size()), pos_(out.size()) {}

    void Finish() { out_.resize(pos_); }

    void WriteRecord(const SchemaRecord& record, std::string_view keyword, const std::string* fieldName,
                     std::uint32_t depth) {
        if (record.name.empty() || record.version == 0) {
            Fail(Message::kInvalidHeader);
        }
        budget_.Charge(depth, record.fields.size());

        BeginLine(keyword, fieldName);
        AppendToken(record.name);
        Put(' ');
        PutInteger(record.version);
        Put(' ');
        PutInteger(record.fields.size());
        EndLine();

        FieldNameCheck names;
        for (std::size_t i = 0; i < record.fields.size(); ++i) {
            const SchemaField& field = record.fields[i];
            if (field.name.empty() || names.IsRepeated(record.fields, i)) {
                Fail(Message::kDuplicateField);
            }
            switch (field.value.index()) {
            case 0:
                BeginLine("property ", &field.name);
                AppendToken(std::get<0>(field.value));
                EndLine();
                break;
            case 1:
                WriteRecord(std::get<1>(field.value), "object_property ", &field.name, depth + 1);
                break;
            default:
                WriteArray(std::get<2>(field.value), "array_property ", &field.name, depth + 1);
                break;
            }
        }
        BeginLine(kRecordEnd, nullptr);
        EndLine();
    }

private:
    static constexpr std::size_t kGrowBytes = 2048;

    void WriteArray(const SchemaArray& array, std::string_view keyword, const std::string* fieldName,
                    std::uint32_t depth) {
        if (array.elements.size() > kSchemaMaxCount) {
            Fail(Message::kArrayLimit);
        }
        budget_.Charge(depth, array.elements.size());

        BeginLine(keyword, fieldName);
        PutInteger(array.elements.size());
        EndLine();

        for (const SchemaValue& element : array.elements) {
            switch (element.index()) {
            case 0:
                BeginLine("value ", nullptr);
                AppendToken(std::get<0>(element));
                EndLine();
                break;
            case 1:
                WriteRecord(std::get<1>(element), "object ", nullptr, depth + 1);
                break;
            default:
                WriteArray(std::get<2>(element), "array ", nullptr, depth + 1);
                break;
            }
        }
        BeginLine(kArrayEnd, nullptr);
        EndLine();
    }

    // Room for `bytes` more characters at the cursor.
    char* Room(std::size_t bytes) {
        if (out_.size() - pos_ < bytes) {
            out_.resize(pos_ + std::max(bytes, kGrowBytes));
        }
        return out_.data() + pos_;
    }

    void Advance(const char* end) { pos_ = static_cast<std::size_t>(end - out_.data()); }

    void Put(char c) {
        *Room(1) = c;
        ++pos_;
    }

    void Put(std::string_view text) {
        std::memcpy(Room(text.size()), text.data(), text.size());
        pos_ += text.size();
    }

    template <std::integral T>
    void PutInteger(T value) {
        Advance(Core::FormatInteger(Room(Core::kMaxNumberChars), value));
    }

    // A line starts with its keyword and, for a field, the field's name token and one blank.
    void BeginLine(std::string_view keyword, const std::string* fieldName) {
        lineStart_ = pos_;
        Put(keyword);
        if (fieldName) {
            AppendToken(*fieldName);
            Put(' ');
        }
    }

    void AppendToken(std::string_view text) {
        // Escaping never shortens a token, so one longer than a line can't fit on any line;
        // refusing it here keeps a huge value from being copied only to be cut off again.
        if (text.size() > kSchemaMaxLineBytes) {
            Fail(Message::kWriteBytes);
        }
        char* p = Room(2 * text.size() + 2);
        *p++ = '"';
        p = WriteEscaped(p, text);
        *p++ = '"';
        Advance(p);
    }

    // Charges the line and its LF against both byte limits before the LF goes out.
    void EndLine() {
        const std::size_t length = pos_ - lineStart_;
        if (length > kSchemaMaxLineBytes || pos_ - start_ + 1 > kSchemaMaxRecordBytes) {
            Fail(Message::kWriteBytes);
        }
        Put('\n');
    }

    std::string& out_;
    const std::size_t start_;
    std::size_t pos_;
    std::size_t lineStart_ = 0;
    SchemaFieldBudget budget_;
};

// ----------------------------------------------------------------------------------------
// Reader
// ----------------------------------------------------------------------------------------

std::string_view NextWord(std::string_view& rest) noexcept {
    std::size_t begin = 0;
    while (begin < rest.size() && IsSpace(static_cast<unsigned char>(rest[begin]))) {
        ++begin;
    }
    std::size_t end = begin;
    while (end < rest.size() && !IsSpace(static_cast<unsigned char>(rest[end]))) {
        ++end;
    }
    const std::string_view word = rest.substr(begin, end - begin);
    rest.remove_prefix(end);
    return word;
}

void RequireLineEnd(std::string_view rest) {
    for (const char c : rest) {
        if (!IsSpace(static_cast<unsigned char>(c))) {
            Fail(Message::kTrailingData);
        }
    }
}

std::uint32_t ParseCount(std::string_view word) {
    for (const char c : word) {
        if (c < '0' || c > '9') {
            Fail(Message::kBadNumber);
        }
    }
    std::uint32_t value = 0;
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), value);
    if (word.empty() || error != std::errc() || end != word.data() + word.size()) {
        Fail(Message::kBadNumber);
    }
    return value;
}

// The byte an escape letter stands for, or -1 for a letter that is no escape.
int Unescape(char letter) noexcept {
    switch (letter) {
    case '0': return '\0';
    case 't': return '\t';
    case 'n': return '\n';
    case 'r': return '\r';
    case '"': return '"';
    case '\\': return '\\';
    default: return -1;
    }
}

// Reads a token from the front of `rest` into `out` (cleared first); plain runs between
// escapes are copied in one piece.
void ReadTokenInto(std::string_view& rest, std::string& out) {
    std::size_t i = 0;
    while (i < rest.size() && IsSpace(static_cast<unsigned char>(rest[i]))) {
        ++i;
    }
    if (i == rest.size() || rest[i] != '"') {
        Fail(Message::kMalformedToken);
    }
    ++i;
    out.clear();
    for (;;) {
        std::size_t stop = i;
        while (stop < rest.size() && !kTokenStops[static_cast<unsigned char>(rest[stop])]) {
            ++stop;
        }
        if (stop == rest.size()) {
            Fail(Message::kUnterminatedToken);
        }
        out.append(rest.data() + i, stop - i);
        const char c = rest[stop];
        if (c == '"') {
            rest.remove_prefix(stop + 1);
            return;
        }
        if (c != '\\') {
            Fail(Message::kControlInToken);
        }
        if (stop + 1 == rest.size()) {
            Fail(Message::kIncompleteEscape);
        }
        const int unescaped = Unescape(rest[stop + 1]);
        if (unescaped < 0) {
            Fail(Message::kUnknownEscape);
        }
        out.push_back(static_cast<char>(unescaped));
        i = stop + 2;
    }
}

// Line sources of the reader. Next gives false when no character is left or when the line
// doesn't fit the line buffer; both are the same failure to the reader.
class CursorLines {
public:
    explicit CursorLines(SchemaLineCursor& cursor) : cursor_(cursor) {}
    bool Next(std::string_view& line) { return cursor_.NextLine(line); }

private:
    SchemaLineCursor& cursor_;
};

// Reads a line at a time into one buffer of 65,536 bytes, which a line of 65,535 bytes and
// its LF just fill.
bool ReadStreamLine(std::istream& stream, char* buffer, std::string_view& line) {
    stream.getline(buffer, static_cast<std::streamsize>(kLineBufferBytes));
    const std::streamsize taken = stream.gcount();
    if (taken == 0 || stream.fail()) {
        return false;
    }
    // At the end of the input the last line may lack its LF; otherwise the LF was counted.
    const std::size_t length = static_cast<std::size_t>(stream.eof() ? taken : taken - 1);
    line = std::string_view(buffer, length);
    return true;
}

class StreamLines {
public:
    StreamLines(std::istream& stream, std::uint32_t& lineCounter)
        : stream_(stream), lineCounter_(lineCounter), buffer_(std::make_unique_for_overwrite<char[]>(kLineBufferBytes)) {}

    bool Next(std::string_view& line) {
        ++lineCounter_;
        return ReadStreamLine(stream_, buffer_.get(), line);
    }

private:
    std::istream& stream_;
    std::uint32_t& lineCounter_;
    std::unique_ptr<char[]> buffer_;
};

template <class Lines>
class RecordReader {
public:
    explicit RecordReader(Lines& lines) : lines_(lines) {}

    SchemaRecord ReadTopLevel(std::string_view headerRest) {
        if (headerRest.empty()) {
            Fail(Message::kTruncatedLine);
        }
        ChargeLine(headerRest);
        if (headerRest.size() + kHeaderKeywordBytes >= kLineBufferBytes) {
            Fail(Message::kHeaderTooLong);
        }
        SchemaRecord record;
        ReadRecordBody(headerRest, record, 1);
        return record;
    }

private:
    enum class FieldKind { Leaf, Record, Array };

    std::string_view NextLine() {
        std::string_view line;
        if (!lines_.Next(line)) {
            Fail(Message::kTruncatedLine);
        }
        ChargeLine(line);
        return line;
    }

    void ChargeLine(std::string_view line) {
        if (line.size() > kSchemaMaxLineBytes) {
            Fail(Message::kTruncatedLine);
        }
        if (line.size() + 1 > kSchemaMaxRecordBytes - bytes_) {
            Fail(Message::kReadBytes);
        }
        bytes_ += line.size() + 1;
        if (!line.empty() && std::memchr(line.data(), 0, line.size()) != nullptr) {
            Fail(Message::kRawNul);
        }
    }

    // `rest` stands at the record's name token.
    void ReadRecordBody(std::string_view& rest, SchemaRecord& record, std::uint32_t depth) {
        ReadTokenInto(rest, record.name);
        const std::string_view versionWord = NextWord(rest);
        const std::string_view countWord = NextWord(rest);
        if (versionWord.empty() || countWord.empty()) {
            Fail(Message::kIncompleteHeader);
        }
        const std::uint32_t version = ParseCount(versionWord);
        const std::uint32_t count = ParseCount(countWord);
        if (record.name.empty() || version == 0) {
            Fail(Message::kInvalidHeader);
        }
        record.version = version;
        budget_.Charge(depth, count);
        RequireLineEnd(rest);

        // The budget has bounded count, so reserving is safe; it also keeps the names of
        // earlier fields in place for the repeat check.
        record.fields.reserve(count);
        FieldNameCheck names;
        for (std::uint32_t i = 0; i < count; ++i) {
            std::string_view line = NextLine();
            const std::string_view keyword = NextWord(line);
            FieldKind kind;
            if (keyword == "property") {
                kind = FieldKind::Leaf;
            } else if (keyword == "object_property") {
                kind = FieldKind::Record;
            } else if (keyword == "array_property") {
                kind = FieldKind::Array;
            } else {
                Fail(Message::kExpectedProperty);
            }
            SchemaField& field = record.fields.emplace_back();
            ReadTokenInto(line, field.name);
            if (field.name.empty() || names.IsRepeated(record.fields, i)) {
                Fail(Message::kDuplicateField);
            }
            switch (kind) {
            case FieldKind::Leaf:
                ReadTokenInto(line, std::get<0>(field.value));
                RequireLineEnd(line);
                break;
            case FieldKind::Record:
                ReadRecordBody(line, field.value.emplace<1>(), depth + 1);
                break;
            case FieldKind::Array:
                ReadArrayBody(line, field.value.emplace<2>(), depth + 1);
                break;
            }
        }

        std::string_view line = NextLine();
        if (NextWord(line) != kRecordEnd) {
            Fail(Message::kMissingRecordEnd);
        }
        RequireLineEnd(line);
    }

    // `rest` stands at the array's count.
    void ReadArrayBody(std::string_view& rest, SchemaArray& array, std::uint32_t depth) {
        const std::string_view countWord = NextWord(rest);
        if (countWord.empty()) {
            Fail(Message::kMissingArrayCount);
        }
        const std::uint32_t count = ParseCount(countWord);
        RequireLineEnd(rest);
        if (count > kSchemaMaxCount) {
            Fail(Message::kArrayLimit);
        }
        budget_.Charge(depth, count);

        array.elements.reserve(count);
        for (std::uint32_t i = 0; i < count; ++i) {
            std::string_view line = NextLine();
            const std::string_view keyword = NextWord(line);
            if (keyword == "value") {
                ReadTokenInto(line, std::get<0>(array.elements.emplace_back(std::in_place_index<0>)));
                RequireLineEnd(line);
            } else if (keyword == "object") {
                ReadRecordBody(line, std::get<1>(array.elements.emplace_back(std::in_place_index<1>)), depth + 1);
            } else if (keyword == "array") {
                ReadArrayBody(line, std::get<2>(array.elements.emplace_back(std::in_place_index<2>)), depth + 1);
            } else {
                Fail(Message::kExpectedElement);
            }
        }

        std::string_view line = NextLine();
        if (NextWord(line) != kArrayEnd) {
            Fail(Message::kMissingArrayEnd);
        }
        RequireLineEnd(line);
    }

    Lines& lines_;
    SchemaFieldBudget budget_;
    std::uint64_t bytes_ = kHeaderKeywordBytes;
};

template <class Lines>
SchemaRecord ReadWith(Lines& lines, std::string_view headerRest) {
    RecordReader<Lines> reader(lines);
    return reader.ReadTopLevel(headerRest);
}

} // namespace

void AppendEscapedSchemaToken(std::string& out, std::string_view token) {
    const std::size_t start = out.size();
    out.resize(start + 2 * token.size());
    out.resize(static_cast<std::size_t>(WriteEscaped(out.data() + start, token) - out.data()));
}

std::string EscapeSchemaToken(std::string_view token) {
    std::string out;
    out.reserve(token.size());
    AppendEscapedSchemaToken(out, token);
    return out;
}

void AppendSchemaRecord(std::string& out, const SchemaRecord& record) {
    const std::size_t start = out.size();
    try {
        RecordWriter writer(out);
        writer.WriteRecord(record, "component_schema ", nullptr, 1);
        writer.Finish();
    } catch (...) {
        out.resize(start);
        throw;
    }
}

std::string FormatSchemaRecord(const SchemaRecord& record) {
    std::string text;
    AppendSchemaRecord(text, record);
    return text;
}

void WriteSchemaRecord(std::ostream& out, const SchemaRecord& record) {
    const std::string text = FormatSchemaRecord(record);
    out.write(text.data(), static_cast<std::streamsize>(text.size()));
    if (!out) {
        Fail(Message::kWriteFailed);
    }
}

SchemaRecord ReadSchemaRecord(std::string_view headerRest, SchemaLineCursor& lines) {
    CursorLines source(lines);
    return ReadWith(source, headerRest);
}

SchemaRecord ReadSchemaRecord(std::string_view headerRest, std::istream& lines, std::uint32_t& lineCounter) {
    StreamLines source(lines, lineCounter);
    return ReadWith(source, headerRest);
}

SchemaRecord ReadSchemaRecord(std::istream& headerRest, std::istream& lines, std::uint32_t& lineCounter) {
    // The rest of the header line goes through the same line read as every other line; a
    // rest too long for the buffer is refused as an oversized line.
    const std::unique_ptr<char[]> buffer = std::make_unique_for_overwrite<char[]>(kLineBufferBytes);
    std::string_view rest;
    if (!ReadStreamLine(headerRest, buffer.get(), rest)) {
        Fail(Message::kTruncatedLine);
    }
    StreamLines source(lines, lineCounter);
    return ReadWith(source, rest);
}

std::string ReadSchemaToken(std::string_view& input) {
    std::string token;
    ReadTokenInto(input, token);
    return token;
}

std::string ReadSchemaToken(std::istream& input) {
    using Traits = std::istream::traits_type;
    std::streambuf* buffer = input.rdbuf();
    auto fail = [&input](const char* message) {
        input.setstate(std::ios_base::failbit);
        Fail(message);
    };
    if (buffer == nullptr || !input.good()) {
        fail(Message::kMalformedToken);
    }
    int c = buffer->sgetc();
    while (c != Traits::eof() && IsSpace(static_cast<unsigned char>(c))) {
        c = buffer->snextc();
    }
    if (c != '"') {
        if (c == Traits::eof()) {
            input.setstate(std::ios_base::eofbit);
        }
        fail(Message::kMalformedToken);
    }
    std::string token;
    for (;;) {
        c = buffer->snextc();
        if (c == Traits::eof()) {
            input.setstate(std::ios_base::eofbit);
            fail(Message::kUnterminatedToken);
        }
        const char byte = Traits::to_char_type(c);
        if (byte == '"') {
            buffer->sbumpc();
            return token;
        }
        if (byte == '\\') {
            c = buffer->snextc();
            if (c == Traits::eof()) {
                input.setstate(std::ios_base::eofbit);
                fail(Message::kIncompleteEscape);
            }
            const int unescaped = Unescape(Traits::to_char_type(c));
            if (unescaped < 0) {
                fail(Message::kUnknownEscape);
            }
            token.push_back(static_cast<char>(unescaped));
            continue;
        }
        if (byte == '\0' || byte == '\n' || byte == '\r') {
            fail(Message::kControlInToken);
        }
        token.push_back(byte);
    }
}

} // namespace Brelk::Reflection
