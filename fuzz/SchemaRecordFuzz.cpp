// Feeds arbitrary text to the record reader, through the line cursor and through a stream,
// and checks that both agree; whatever they accept must write and read back unchanged.

#include "engine/reflection/SchemaRecordText.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>

namespace {

using namespace Brelk::Reflection;

constexpr std::string_view kKeyword = "component_schema";

struct Outcome {
    std::optional<SchemaRecord> record;
    std::string message;
    std::uint32_t line = 0;
};

bool operator==(const Outcome& a, const Outcome& b) {
    return a.record == b.record && a.message == b.message && a.line == b.line;
}

void Check(bool condition) {
    if (!condition) {
        std::abort();
    }
}

Outcome ReadFromCursor(std::string_view headerRest, std::string_view body) {
    SchemaLineCursor cursor(body, 2);
    Outcome outcome;
    try {
        outcome.record = ReadSchemaRecord(headerRest, cursor);
        Check(cursor.Offset() <= body.size());
    } catch (const std::runtime_error& error) {
        outcome.message = error.what();
    }
    outcome.line = cursor.LineNumber();
    return outcome;
}

Outcome ReadFromStream(std::string_view headerRest, std::string_view body) {
    std::istringstream lines{std::string(body)};
    Outcome outcome;
    outcome.line = 1;
    try {
        outcome.record = ReadSchemaRecord(headerRest, lines, outcome.line);
    } catch (const std::runtime_error& error) {
        outcome.message = error.what();
    }
    return outcome;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const std::size_t headerEnd = text.find('\n');
    std::string_view header = text.substr(0, headerEnd);
    const std::string_view body = headerEnd == std::string_view::npos ? std::string_view() : text.substr(headerEnd + 1);
    // Let inputs without the keyword reach the header parser too.
    if (header.substr(0, kKeyword.size()) == kKeyword) {
        header.remove_prefix(kKeyword.size());
    }

    const Outcome fromCursor = ReadFromCursor(header, body);
    const Outcome fromStream = ReadFromStream(header, body);
    Check(fromCursor == fromStream);
    if (!fromCursor.record) {
        Check(!fromCursor.message.empty());
        return 0;
    }

    std::string written;
    try {
        AppendSchemaRecord(written, *fromCursor.record);
    } catch (const std::runtime_error& error) {
        // Only escaping a raw tab can make a text longer than the one that was read.
        Check(std::string_view(error.what()) == "Schema exceeds its line or record byte budget.");
        Check(written.empty());
        return 0;
    }
    Check(written.substr(0, kKeyword.size()) == kKeyword);
    const std::size_t writtenHeaderEnd = written.find('\n');
    const Outcome again = ReadFromCursor(std::string_view(written).substr(kKeyword.size(), writtenHeaderEnd - kKeyword.size()),
                                         std::string_view(written).substr(writtenHeaderEnd + 1));
    Check(again.record && *again.record == *fromCursor.record);
    Check(FormatSchemaRecord(*again.record) == written);
    return 0;
}
