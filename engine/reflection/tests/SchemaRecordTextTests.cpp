#include "engine/reflection/SchemaRecordText.h"

#include "tests/support/TextCases.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace Brelk::Reflection {
namespace {

using Testing::ThrownMessage;

constexpr std::size_t kKeywordBytes = std::string_view("component_schema").size();
const std::string kEnd = "end_component_schema\n";
const std::string kBudget = "Schema exceeds the nesting or field budget.";
const std::string kBytes = "Schema exceeds its line or record byte budget.";

SchemaArray LeafArray(std::size_t count, const std::string& text = "1") {
    return SchemaArray{std::vector<SchemaValue>(count, SchemaValue(text))};
}

SchemaRecord RecordWithLeafFields(std::size_t count) {
    SchemaRecord record{"Many", 1, {}};
    for (std::size_t i = 0; i < count; ++i) record.fields.push_back({"f" + std::to_string(i), "0"});
    return record;
}

// A chain of records nested through object_property, `depth` records in all.
SchemaRecord RecordChain(std::uint32_t depth) {
    SchemaRecord record{"Level", 1, {}};
    for (std::uint32_t i = 1; i < depth; ++i) record = SchemaRecord{"Level", 1, {{"inner", std::move(record)}}};
    return record;
}

// A top-level record with one array field whose elements nest arrays, `depth` levels in all.
SchemaRecord ArrayChain(std::uint32_t depth) {
    SchemaArray array;
    for (std::uint32_t level = 3; level <= depth; ++level) array = SchemaArray{{SchemaValue(std::move(array))}};
    return SchemaRecord{"Arrays", 1, {{"nested", std::move(array)}}};
}

// Records at odd depths and arrays at even depths, one inside the other down to `deepest`.
SchemaRecord AlternatingRecord(std::uint32_t depth, std::uint32_t deepest) {
    SchemaRecord record{"Level", 1, {}};
    if (depth + 1 < deepest) {
        record.fields.push_back({"a", SchemaArray{{SchemaValue(AlternatingRecord(depth + 2, deepest))}}});
    } else if (depth < deepest) {
        record.fields.push_back({"a", SchemaArray{}});
    }
    return record;
}

// Four array fields take 4 of the value count; their elements make up the rest.
SchemaRecord RecordOfTotalCount(std::size_t total) {
    SchemaRecord record{"Totals", 1, {}};
    std::size_t elements = total - 4;
    for (int i = 0; i < 4; ++i) {
        const std::size_t count = std::min<std::size_t>(elements, 1024);
        record.fields.push_back({"a" + std::to_string(i), LeafArray(count)});
        elements -= count;
    }
    return record;
}

// A record whose text is exactly `totalBytes` long, built of long leaf values.
SchemaRecord RecordOfTextSize(std::size_t totalBytes) {
    SchemaRecord record{"Big", 1, {}};
    for (int i = 0; i < 18; ++i) record.fields.push_back({"f" + std::to_string(i), std::string(58000, 'x')});
    const std::size_t size = FormatSchemaRecord(record).size();
    std::get<0>(record.fields.back().value).append(totalBytes - size, 'y');
    return record;
}

// `property "a" "` and the closing quote take 15 bytes of a field line; `component_schema "`
// and `" 1 0` take 23 bytes of a header line.
SchemaRecord LongLine(std::size_t bytes) { return SchemaRecord{"A", 1, {{"a", std::string(bytes - 15, 'v')}}}; }
SchemaRecord LongHeader(std::size_t bytes) { return SchemaRecord{std::string(bytes - 23, 'N'), 1, {}}; }

struct Read {
    SchemaRecord record;
    std::string error; // empty when the read succeeded
    std::uint32_t line = 0; // where the reader stopped, also on failure
    std::string rest; // what the reader left behind
};

// The scene parser hands a record over through its line cursor; a file parser streams its lines,
// the header rest as a stream too or as text.
enum class Reader { Cursor, Stream, StreamWithHeaderText };

// Reads a block that begins with its header line, numbered `firstLine`.
Read ReadBlock(std::string_view text, Reader reader, std::uint32_t firstLine = 1) {
    SchemaLineCursor cursor(text, firstLine);
    std::string_view header;
    (void)cursor.NextLine(header);
    header.remove_prefix(kKeywordBytes);
    std::istringstream headerRest{std::string(header)}, lines{std::string(text.substr(cursor.Offset()))};
    Read read;
    read.line = firstLine;
    try {
        read.record = reader == Reader::Cursor   ? ReadSchemaRecord(header, cursor)
                      : reader == Reader::Stream ? ReadSchemaRecord(headerRest, lines, read.line)
                                                 : ReadSchemaRecord(header, lines, read.line);
    } catch (const std::runtime_error& error) {
        read.error = error.what();
    }
    if (reader == Reader::Cursor) {
        read.line = cursor.LineNumber();
        read.rest = text.substr(cursor.Offset());
    } else {
        read.rest.assign(std::istreambuf_iterator<char>(lines), {});
    }
    return read;
}

// Every reader reads the record back from its text and stops right behind its last line,
// counting lines from where the block starts.
void ExpectReadsBack(const std::string& text, const SchemaRecord& record) {
    const auto lastLine = static_cast<std::uint32_t>(6 + std::count(text.begin(), text.end(), '\n'));
    for (const Reader reader : {Reader::Cursor, Reader::Stream, Reader::StreamWithHeaderText}) {
        const Read read = ReadBlock(text + "end_entity\n", reader, 7);
        EXPECT_TRUE(read.error.empty() && read.record == record && read.line == lastLine && read.rest == "end_entity\n")
            << text.substr(0, 60) << "\nreader " << static_cast<int>(reader) << ": " << read.error << " at line "
            << read.line;
    }
}

// The message of a broken block and the line where reading stopped, alike from both readers.
std::string ReadErrors(std::string_view text) {
    std::string errors[2];
    for (const Reader reader : {Reader::Cursor, Reader::Stream}) {
        const Read read = ReadBlock(text, reader);
        errors[reader == Reader::Stream] = read.error + " at line " + std::to_string(read.line);
    }
    return errors[0] == errors[1] ? errors[0] : errors[0] + " (through a stream: " + errors[1] + ")";
}

// The message of a refused record, alike from both writers, which leave what they were given as it was.
std::string WriteError(const SchemaRecord& record) {
    std::string out = "kept\n";
    std::ostringstream stream("kept\n", std::ios_base::ate);
    const std::string error = ThrownMessage([&] { AppendSchemaRecord(out, record); });
    EXPECT_EQ(ThrownMessage([&] { WriteSchemaRecord(stream, record); }), error);
    EXPECT_TRUE(out == "kept\n" && stream.str() == "kept\n");
    return error;
}

// The text with the last `from` in it replaced by `to`.
std::string Replaced(std::string text, std::string_view from, std::string_view to) {
    return text.replace(text.rfind(from), from.size(), to);
}

TEST(SchemaRecordTextTests, RecordsUpToEveryLimitAreWrittenAsTheGoldenFileHasThemAndReadBackThroughBothReaders) {
    const std::string utf8 = "gr\xc3\xbc\xc3\x9f \xe6\x97\xa5\xe6\x9c\xac \xf0\x9f\x8c\x8d";
    // The same field name in two nested records is no repeat.
    const SchemaRecord inner{"Inner", 3, {{"x", "b"}, {"deeper", SchemaRecord{"Deep", 1, {{"x", ""}}}}}};
    const SchemaArray rows{{LeafArray(2, ""), SchemaRecord{"Point", 2, {{"x", "1.5"}}}}};
    const SchemaArray list{{"a", SchemaRecord{"Item", 3, {{"x", "1"}}}, LeafArray(2, "7"), SchemaArray{}}};
    const SchemaRecord goldens[] = {
        SchemaRecord{"Empty", 4, {}},
        SchemaRecord{"A", 1, {{"items", SchemaArray{}}}},
        SchemaRecord{"Outer", 1, {{"o", SchemaRecord{"T", 1, {{"position", "0 0 0"}, {"scale", "1 1 1"}}}}}},
        SchemaRecord{"Holder", 2, {{"list", list}}},
        SchemaRecord{"A \"quoted\"", 1, {{"na\\me", std::string("say \"hi\" \\ path\tcol\nline\rret\0nul", 32)}}},
        SchemaRecord{"A", 1, {{"c", "\x01\x1b\x7f\xff\xfe\xc3("}}},
        SchemaRecord{utf8, 9, {{"x", ""}, {"inner", inner}, {"grid", rows}, {utf8, utf8}}},
    };
    // Both writers append behind what they are given.
    std::string written;
    std::ostringstream stream;
    for (const SchemaRecord& record : goldens) {
        AppendSchemaRecord(written, record);
        WriteSchemaRecord(stream, record);
        ExpectReadsBack(FormatSchemaRecord(record), record);
    }
    EXPECT_EQ(stream.str(), written);
    Testing::ExpectGoldenText(std::string(BRELK_TEST_DATA_DIR) + "/GoldenSchemaRecords.txt", written);
    // 32760 quotes become 65520 bytes: exactly the longest line.
    const SchemaRecord limits[] = {
        LongLine(65535),     LongHeader(65535),           RecordOfTextSize(1048576),
        RecordChain(16),     ArrayChain(16),              AlternatingRecord(1, 16),
        SchemaRecord{"A", 1, {{"a", std::string(32760, '"')}}},
        RecordWithLeafFields(1024), SchemaRecord{"A", 1, {{"a", LeafArray(1024)}}},
        RecordOfTotalCount(4096),
    };
    for (const SchemaRecord& record : limits) ExpectReadsBack(FormatSchemaRecord(record), record);
}

// Plain runs are tested a word at a time, so a special byte must be found at every offset
// within and across words, beside bytes that look alike to a word test (0x0E, '#', ']', 0xA2).
TEST(SchemaRecordTextTests, EscapesASpecialByteAtEveryOffsetOfALongToken) {
    const std::pair<char, std::string_view> specials[] = {
        {'\0', "\\0"}, {'\t', "\\t"}, {'\n', "\\n"}, {'\r', "\\r"}, {'"', "\\\""}, {'\\', "\\\\"}};
    const std::string_view filler = "\x0e#]\xa2\x01!\x7f\xdc-z";
    for (std::size_t length = 1; length <= 24; ++length) {
        for (std::size_t at = 0; at < length; ++at) {
            for (const auto& [byte, escape] : specials) {
                std::string token, expected;
                for (std::size_t i = 0; i < length; ++i) {
                    const char plain = filler[i % 10];
                    token.push_back(i == at ? byte : plain);
                    expected.append(i == at ? escape : std::string_view(&plain, 1));
                }
                ASSERT_EQ(EscapeSchemaToken(token), expected) << "length " << length << ", offset " << at;
            }
        }
    }
}

TEST(SchemaRecordTextTests, ReadersSkipAnyWhiteSpaceAndStopAtTheEndOfTheText) {
    const std::string text = "component_schema\t \"A\"  1\t2 \r\n"
                             "  property\t\"a\"   \"x\"\r\n"
                             "\tarray_property \"b\"\v1\f\n"
                             " value \"y\" \n"
                             "end_array\r\n"
                             "   end_component_schema\t\r\n";
    ExpectReadsBack(text, SchemaRecord{"A", 1, {{"a", "x"}, {"b", LeafArray(1, "y")}}});

    // The last line may lack its line end.
    const Read read = ReadBlock("component_schema \"A\" 1 0\nend_component_schema", Reader::Cursor);
    EXPECT_TRUE(read.record == (SchemaRecord{"A", 1, {}}) && read.line == 2u && read.rest.empty());

    SchemaLineCursor cursor("a\n\nb", 10);
    std::string_view line;
    EXPECT_EQ(cursor.LineNumber(), 9u);
    for (const std::string_view expected : {"a", "", "b"}) EXPECT_TRUE(cursor.NextLine(line) && line == expected);
    EXPECT_TRUE(cursor.LineNumber() == 12u && cursor.AtEnd());
    EXPECT_FALSE(cursor.NextLine(line));
}

TEST(SchemaRecordTextTests, TokenReadersConsumeOneTokenOrRefuseItAlike) {
    const auto outcome = [](const std::string& text) {
        std::string_view view = text;
        std::istringstream stream(text);
        std::string token;
        const auto read = [&](auto& input, const auto& rest) {
            const std::string failure = ThrownMessage([&] { token = ReadSchemaToken(input); });
            return failure != "<no exception>" ? failure
                                               : "\"" + EscapeSchemaToken(token) + "\" before \"" + rest() + '"';
        };
        const std::string fromText = read(view, [&] { return std::string(view); });
        const std::string fromStream =
            read(stream, [&] { return std::string(std::istreambuf_iterator<char>(stream), {}); });
        return fromText == fromStream ? fromText : fromText + " (through a stream: " + fromStream + ")";
    };
    Testing::ExpectTextCases(std::string(BRELK_TEST_DATA_DIR) + "/SchemaTokens.txt", [&](const Testing::TextCase& c) {
        return outcome(c.input.substr(0, c.input.size() - 1));
    });
    const std::string control = "Unescaped control character in schema token.";
    EXPECT_EQ(outcome("\"a\rb\""), control);
    EXPECT_EQ(outcome(std::string("\"a\0b\"", 5)), control);
}

TEST(SchemaRecordTextTests, BrokenInputsAndTextOnePastEveryLimitFailWithTheirExactMessageAndLine) {
    const std::string deepRecords = Replaced(FormatSchemaRecord(RecordChain(16)), "\"Level\" 1 0\n",
                                             "\"Level\" 1 1\nobject_property \"inner\" \"Level\" 1 0\n");
    const std::string deepArrays = Replaced(FormatSchemaRecord(ArrayChain(16)), "array 0\n", "array 1\narray 0\n");
    // The innermost empty array at depth 16 gets an object element at depth 17.
    const std::string alternating = Replaced(FormatSchemaRecord(AlternatingRecord(1, 16)), "\"a\" 0\n",
                                             "\"a\" 1\nobject \"Level\" 1 0\n");
    const std::string total =
        Replaced(Replaced(FormatSchemaRecord(RecordOfTotalCount(4096)), "\"a3\" 1020", "\"a3\" 1021"), "end_array",
                 "value \"1\"\nend_array");
    const std::string head = "component_schema \"N\" 1 1\n";
    const std::string truncated = "Truncated or oversized component schema record.";
    const struct {
        std::string text;
        std::string message;
        std::uint32_t line;
    } cases[] = {
        {std::string("component_schema \"N\0\" 1 0\n", 26) + kEnd, "Unescaped NUL in schema record.", 1},
        {head + std::string("property \"a\" \"\0\"\n", 17) + kEnd, "Unescaped NUL in schema record.", 2},
        {deepRecords, kBudget, 17},
        {deepArrays, kBudget, 17},
        {alternating, kBudget, 17},
        {Replaced(FormatSchemaRecord(RecordWithLeafFields(200)), "\"f150\"", "\"f10\""),
         "Empty or duplicate schema field.", 152},
        {total, kBudget, 3080},
        {Replaced(FormatSchemaRecord(RecordOfTextSize(1048576)), "y\"", "yy\""),
         "Schema record exceeds its byte budget.", 20},
        {Replaced(FormatSchemaRecord(LongLine(65535)), "\"v", "\"vv"), truncated, 2},
        {FormatSchemaRecord(LongHeader(65535)).insert(20, "N"), "Schema header exceeds the line limit.", 1},
        {"component_schema \"" + std::string(70000, 'N') + "\" 1 0\n" + kEnd, truncated, 1},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(ReadErrors(c.text), c.message + " at line " + std::to_string(c.line)) << c.text.substr(0, 80);
    }
    Testing::ExpectTextCases(std::string(BRELK_TEST_DATA_DIR) + "/BrokenSchemaRecords.txt",
                             [](const Testing::TextCase& c) { return ReadErrors(c.input); });
}

TEST(SchemaRecordTextTests, WriterRefusesBrokenRecordsAndRecordsOnePastEveryLimit) {
    const std::string header = "Invalid component schema header.";
    const std::string field = "Empty or duplicate schema field.";
    SchemaRecord repeated = RecordWithLeafFields(100);
    repeated.fields[90].name = "f3";
    const std::pair<SchemaRecord, std::string> cases[] = {
        {SchemaRecord{"", 1, {}}, header},
        {SchemaRecord{"A", 1, {{"n", SchemaRecord{"B", 0, {}}}}}, header},
        {SchemaRecord{"A", 1, {{"a", SchemaArray{{SchemaRecord{"", 1, {}}}}}}}, header},
        {SchemaRecord{"A", 1, {{"", "x"}}}, field},
        {SchemaRecord{"A", 1, {{"x", "1"}, {"x", SchemaRecord{"B", 1, {}}}}}, field},
        {repeated, field},
        {LongLine(65536), kBytes},
        {LongHeader(65536), kBytes},
        {SchemaRecord{"A", 1, {{"a", std::string(32760, '"') + "\t"}}}, kBytes},
        // 20 bytes left after the last field line: the 21 of `end_component_schema` don't fit.
        {RecordOfTextSize(1048577), kBytes},
        {RecordChain(17), kBudget},
        {ArrayChain(17), kBudget},
        {AlternatingRecord(1, 17), kBudget},
        {RecordWithLeafFields(1025), kBudget},
        {SchemaRecord{"A", 1, {{"a", LeafArray(1025)}}}, "Array exceeds its element limit."},
        {RecordOfTotalCount(4097), kBudget},
    };
    for (const auto& [record, message] : cases) EXPECT_EQ(WriteError(record), message) << record.name.substr(0, 20);
    std::ostringstream broken;
    broken.setstate(std::ios_base::badbit);
    EXPECT_EQ(ThrownMessage([&] { WriteSchemaRecord(broken, SchemaRecord{"A", 1, {}}); }),
              "Failed to write component schema.");
}

TEST(SchemaRecordTests, FindFieldAndDeepOrderSensitiveEquality) {
    const SchemaRecord a{"A", 1, {{"x", "1"}, {"y", LeafArray(2)}}};
    EXPECT_TRUE(std::get<0>(a.FindField("x")->value) == "1" && a.FindField("z") == nullptr);
    SchemaRecord b = a;
    EXPECT_EQ(a, b);
    std::get<0>(std::get<2>(b.fields[1].value).elements[1]) = "2";
    EXPECT_FALSE(a == b || a == (SchemaRecord{"A", 1, {{"y", LeafArray(2)}, {"x", "1"}}}));
}

} // namespace
} // namespace Brelk::Reflection
