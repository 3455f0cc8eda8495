#pragma once

// The `component_schema` text form of a SchemaRecord, as it stands inside scene, prefab and
// cell files. The outer file grammar is the caller's: the reader starts just past the
// `component_schema` keyword of the header line and stops behind the record's terminator.
//
// All failures throw std::runtime_error with the exact message and nothing else; the caller
// adds the file name and the line number it keeps.

#include "engine/reflection/SchemaRecord.h"

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <string>
#include <string_view>

namespace Brelk::Reflection {

// ----------------------------------------------------------------------------------------
// Writing
// ----------------------------------------------------------------------------------------

// Appends the record's text, header to final terminator, every line ended by one LF.
// Every limit is checked on the way out; on failure `out` is cut back to its size on entry,
// so nothing of a refused record is left in it. Meant to be called over and over on one
// reusable buffer.
void AppendSchemaRecord(std::string& out, const SchemaRecord& record);

// The text of one record on its own.
[[nodiscard]] std::string FormatSchemaRecord(const SchemaRecord& record);

// Renders the whole record first and hands it to the stream in one write only if all limits
// held, so a refused record leaves the stream untouched. A stream in a failed state
// afterwards gives "Failed to write component schema.".
void WriteSchemaRecord(std::ostream& out, const SchemaRecord& record);

// Escapes NUL, tab, LF, CR, double quote and backslash; every other byte, UTF-8 included,
// is copied as it is. No quotes are added.
[[nodiscard]] std::string EscapeSchemaToken(std::string_view token);
void AppendEscapedSchemaToken(std::string& out, std::string_view token);

// ----------------------------------------------------------------------------------------
// Reading
// ----------------------------------------------------------------------------------------

// A cursor over the lines of a text held in memory, counting lines as a file parser counts
// them. The scene parser drives its own lines through the same cursor it hands to
// ReadSchemaRecord, so that line numbers and byte offsets stay in one place.
class SchemaLineCursor {
public:
    // `firstLineNumber` - 1 lines are taken to lie before `text`; the first line taken from
    // it gets `firstLineNumber`.
    explicit SchemaLineCursor(std::string_view text, std::uint32_t firstLineNumber = 1) noexcept
        : text_(text), lineNumber_(firstLineNumber - 1) {}

    // Takes the next line without its LF (a CR before it stays, as white space). Raises the
    // line number first, also when the text has ended: a message about a missing line then
    // names the line after the last. False when no character is left.
    [[nodiscard]] bool NextLine(std::string_view& line) noexcept {
        ++lineNumber_;
        if (offset_ >= text_.size()) {
            return false;
        }
        const std::size_t end = text_.find('\n', offset_);
        if (end == std::string_view::npos) {
            line = text_.substr(offset_);
            offset_ = text_.size();
        } else {
            line = text_.substr(offset_, end - offset_);
            offset_ = end + 1;
        }
        return true;
    }

    // Number of the line taken last; firstLineNumber - 1 before the first.
    [[nodiscard]] std::uint32_t LineNumber() const noexcept { return lineNumber_; }
    // Bytes consumed so far: the offset in the text of the next line to be taken.
    [[nodiscard]] std::size_t Offset() const noexcept { return offset_; }
    [[nodiscard]] bool AtEnd() const noexcept { return offset_ >= text_.size(); }

private:
    std::string_view text_;
    std::size_t offset_ = 0;
    std::uint32_t lineNumber_ = 0;
};

// Reads one record. `headerRest` is the header line just past the `component_schema` keyword
// (` "Name" 1 3`); the record's further lines come from `lines`, up to and including its
// final `end_component_schema`. The lines are parsed in place: only the names and leaf
// texts of the record are copied.
[[nodiscard]] SchemaRecord ReadSchemaRecord(std::string_view headerRest, SchemaLineCursor& lines);

// The same from a stream of lines, for parsers that read a file line by line. Each further
// line raises `lineCounter` by one before it is read. `headerRest` may also be a stream
// positioned just past the keyword in the header line.
[[nodiscard]] SchemaRecord ReadSchemaRecord(std::string_view headerRest, std::istream& lines,
                                            std::uint32_t& lineCounter);
[[nodiscard]] SchemaRecord ReadSchemaRecord(std::istream& headerRest, std::istream& lines,
                                            std::uint32_t& lineCounter);

// Reads one double-quoted token: skips leading white space, consumes the token and its
// closing quote, and undoes the escapes of EscapeSchemaToken. A raw tab, or any control byte
// other than NUL, LF and CR, is taken as it stands.
[[nodiscard]] std::string ReadSchemaToken(std::string_view& input);
[[nodiscard]] std::string ReadSchemaToken(std::istream& input);

} // namespace Brelk::Reflection
