#include "engine/reflection/SchemaRecordText.h"

#include "tests/support/TestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace Brelk::Reflection {
namespace {

using Testing::ThrownMessage;

constexpr std::string_view kKeyword = "component_schema";
const std::string kEnd = "end_component_schema\n";
const std::string kBudget = "Schema exceeds the nesting or field budget.";
const std::string kBytes = "Schema exceeds its line or record byte budget.";

SchemaField Leaf(std::string name, std::string text) {
    return SchemaField{std::move(name), SchemaValue(std::in_place_index<0>, std::move(text))};
}

SchemaField Nested(std::string name, SchemaRecord record) {
    return SchemaField{std::move(name), SchemaValue(std::in_place_index<1>, std::move(record))};
}

SchemaField ArrayField(std::string name, SchemaArray array) {
    return SchemaField{std::move(name), SchemaValue(std::in_place_index<2>, std::move(array))};
}

SchemaArray LeafArray(std::size_t count, const std::string& text = "1") {
    SchemaArray array;
    for (std::size_t i = 0; i < count; ++i) array.elements.emplace_back(std::in_place_index<0>, text);
    return array;
}

SchemaRecord RecordWithLeafFields(std::size_t count) {
    SchemaRecord record{"Many", 1, {}};
    for (std::size_t i = 0; i < count; ++i) record.fields.push_back(Leaf("f" + std::to_string(i), "0"));
    return record;
}

// A chain of records nested through object_property, `depth` records in all.
SchemaRecord RecordChain(std::uint32_t depth) {
    SchemaRecord record{"Level", 1, {}};
    for (std::uint32_t i = 1; i < depth; ++i) record = SchemaRecord{"Level", 1, {Nested("inner", std::move(record))}};
    return record;
}

// A top-level record with one array field whose elements nest arrays, `depth` levels in all.
SchemaRecord ArrayChain(std::uint32_t depth) {
    SchemaArray array;
    for (std::uint32_t level = 3; level <= depth; ++level) {
        SchemaArray outer;
        outer.elements.emplace_back(std::in_place_index<2>, std::move(array));
        array = std::move(outer);
    }
    return SchemaRecord{"Arrays", 1, {ArrayField("nested", std::move(array))}};
}

// Records at odd depths and arrays at even depths, one inside the other down to `deepest`.
SchemaRecord AlternatingRecord(std::uint32_t depth, std::uint32_t deepest) {
    SchemaRecord record{"Level", 1, {}};
    if (depth + 1 < deepest) {
        SchemaArray array;
        array.elements.emplace_back(std::in_place_index<1>, AlternatingRecord(depth + 2, deepest));
        record.fields.push_back(ArrayField("a", std::move(array)));
    } else if (depth < deepest) {
        record.fields.push_back(ArrayField("a", SchemaArray{}));
    }
    return record;
}

// Four array fields take 4 of the value count; their elements make up the rest.
SchemaRecord RecordOfTotalCount(std::size_t total) {
    SchemaRecord record{"Totals", 1, {}};
    std::size_t elements = total - 4;
    for (int i = 0; i < 4; ++i) {
        const std::size_t count = std::min<std::size_t>(elements, 1024);
        record.fields.push_back(ArrayField("a" + std::to_string(i), LeafArray(count)));
        elements -= count;
    }
    return record;
}

// A record whose text is exactly `totalBytes` long, built of long leaf values.
SchemaRecord RecordOfTextSize(std::size_t totalBytes) {
    SchemaRecord record{"Big", 1, {}};
    for (int i = 0; i < 18; ++i) record.fields.push_back(Leaf("f" + std::to_string(i), std::string(58000, 'x')));
    const std::size_t size = FormatSchemaRecord(record).size();
    std::get<0>(record.fields.back().value).append(totalBytes - size, 'y');
    return record;
}

// Reads a block that begins with its header line, as the scene parser hands it over.
SchemaRecord ReadBlock(std::string_view text, std::uint32_t* lastLine = nullptr, std::size_t* consumed = nullptr) {
    SchemaLineCursor cursor(text);
    std::string_view header;
    if (!cursor.NextLine(header) || header.substr(0, kKeyword.size()) != kKeyword) {
        throw std::logic_error("test block lacks its header line");
    }
    SchemaRecord record = ReadSchemaRecord(header.substr(kKeyword.size()), cursor);
    if (lastLine) *lastLine = cursor.LineNumber();
    if (consumed) *consumed = cursor.Offset();
    return record;
}

// The same through the stream interface, the header rest as a stream too.
SchemaRecord ReadBlockFromStream(const std::string& text, std::uint32_t& lineCounter) {
    std::istringstream lines(text);
    std::string header;
    std::getline(lines, header);
    lineCounter = 1;
    std::istringstream headerLine(header.substr(kKeyword.size()));
    return ReadSchemaRecord(headerLine, lines, lineCounter);
}

void ExpectReadsBack(const std::string& text, const SchemaRecord& record) {
    EXPECT_EQ(ReadBlock(text), record);
    std::uint32_t lineCounter = 0;
    EXPECT_EQ(ReadBlockFromStream(text, lineCounter), record) << "through a stream";
}

// The message of a failed read and the line it stopped at, through the cursor or the stream.
std::string ReadError(std::string_view text, bool stream = false) {
    std::uint32_t line = 0;
    std::string message;
    try {
        if (stream) {
            (void)ReadBlockFromStream(std::string(text), line);
        } else {
            SchemaLineCursor cursor(text);
            std::string_view header;
            (void)cursor.NextLine(header);
            try {
                (void)ReadSchemaRecord(header.substr(kKeyword.size()), cursor);
            } catch (...) {
                line = cursor.LineNumber();
                throw;
            }
        }
    } catch (const std::runtime_error& error) {
        message = error.what();
    }
    return message + " at line " + std::to_string(line);
}

std::string WriteError(const SchemaRecord& record) {
    std::string out;
    return ThrownMessage([&] { AppendSchemaRecord(out, record); });
}

TEST(SchemaRecordTextTests, GoldenRecordsAreWrittenLineForLineAndReadBack) {
    SchemaArray list;
    list.elements.emplace_back(std::in_place_index<0>, "a");
    list.elements.emplace_back(std::in_place_index<1>, SchemaRecord{"Item", 3, {Leaf("x", "1")}});
    list.elements.emplace_back(std::in_place_index<2>, LeafArray(2, "7"));
    list.elements.emplace_back(std::in_place_index<2>, SchemaArray{});
    const std::pair<SchemaRecord, std::string> goldens[] = {
        {SchemaRecord{"Empty", 4, {}}, "component_schema \"Empty\" 4 0\nend_component_schema\n"},
        {SchemaRecord{"A", 1, {ArrayField("items", SchemaArray{})}},
         "component_schema \"A\" 1 1\narray_property \"items\" 0\nend_array\nend_component_schema\n"},
        {SchemaRecord{"TransformComponent", 1,
                      {Nested("transform", SchemaRecord{"Transform", 1,
                                                        {Leaf("position", "0 0 0"), Leaf("rotation", "0 0 0"),
                                                         Leaf("scale", "1 1 1")}})}},
         "component_schema \"TransformComponent\" 1 1\n"
         "object_property \"transform\" \"Transform\" 1 3\n"
         "property \"position\" \"0 0 0\"\n"
         "property \"rotation\" \"0 0 0\"\n"
         "property \"scale\" \"1 1 1\"\n"
         "end_component_schema\n"
         "end_component_schema\n"},
        {SchemaRecord{"Holder", 2, {ArrayField("list", list)}},
         "component_schema \"Holder\" 2 1\narray_property \"list\" 4\nvalue \"a\"\nobject \"Item\" 3 1\n"
         "property \"x\" \"1\"\nend_component_schema\narray 2\nvalue \"7\"\nvalue \"7\"\nend_array\narray 0\n"
         "end_array\nend_array\nend_component_schema\n"},
        {SchemaRecord{"A \"quoted\"", 1, {Leaf("na\\me", std::string("say \"hi\" \\ path\tcol\nline\rret\0nul", 32))}},
         "component_schema \"A \\\"quoted\\\"\" 1 1\n"
         "property \"na\\\\me\" \"say \\\"hi\\\" \\\\ path\\tcol\\nline\\rret\\0nul\"\n"
         "end_component_schema\n"},
        {SchemaRecord{"A", 1, {Leaf("c", "\x01\x1b\x7f\xff\xfe\xc3(")}},
         "component_schema \"A\" 1 1\nproperty \"c\" \"\x01\x1b\x7f\xff\xfe\xc3(\"\nend_component_schema\n"},
    };
    for (const auto& [record, text] : goldens) {
        EXPECT_EQ(FormatSchemaRecord(record), text);
        ExpectReadsBack(text, record);
    }
}

TEST(SchemaRecordTextTests, DeepMixedRecordsRoundTripThroughBothReaders) {
    SchemaArray rows;
    rows.elements.emplace_back(std::in_place_index<2>, LeafArray(2, ""));
    rows.elements.emplace_back(std::in_place_index<1>, SchemaRecord{"Point", 2, {Leaf("x", "1.5")}});
    const std::string utf8 = "gr\xc3\xbc\xc3\x9f \xe6\x97\xa5\xe6\x9c\xac \xf0\x9f\x8c\x8d";
    // The same field name in two nested records is no repeat.
    const SchemaRecord inner{"Inner", 3, {Leaf("x", "b"), Nested("deeper", SchemaRecord{"Deep", 1, {Leaf("x", "")}})}};
    const SchemaRecord record{utf8, 9,
                              {Leaf("x", ""), Nested("inner", inner), ArrayField("grid", rows), Leaf(utf8, utf8)}};
    ExpectReadsBack(FormatSchemaRecord(record), record);
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
                std::string token;
                std::string expected;
                for (std::size_t i = 0; i < length; ++i) {
                    const char plain = filler[i % 10];
                    token.push_back(i == at ? byte : plain);
                    expected.append(i == at ? escape : std::string_view(&plain, 1));
                }
                ASSERT_EQ(EscapeSchemaToken(token), expected) << "length " << length << ", offset " << at;
            }
        }
    }
    const SchemaRecord record{"R", 1, {Leaf("long \"name\" of a field", "0.123456789\\with\ttabs and \"quotes\"")}};
    ExpectReadsBack(FormatSchemaRecord(record), record);
}

TEST(SchemaRecordTextTests, WritersAppendAWholeRecordOrNothing) {
    std::string out = "entity \"x\" \"y\"\n";
    AppendSchemaRecord(out, SchemaRecord{"A", 1, {}});
    AppendSchemaRecord(out, SchemaRecord{"B", 2, {}});
    const std::string expected = "entity \"x\" \"y\"\ncomponent_schema \"A\" 1 0\nend_component_schema\n"
                                 "component_schema \"B\" 2 0\nend_component_schema\n";
    EXPECT_EQ(out, expected);
    EXPECT_THROW(AppendSchemaRecord(out, SchemaRecord{"A", 1, {Leaf("ok", "1"), Leaf("ok", "2")}}),
                 std::runtime_error);
    EXPECT_EQ(out, expected);
    std::ostringstream stream;
    stream << "kept\n";
    WriteSchemaRecord(stream, SchemaRecord{"A", 1, {Leaf("v", "x")}});
    EXPECT_THROW(WriteSchemaRecord(stream, SchemaRecord{"", 1, {}}), std::runtime_error);
    EXPECT_EQ(stream.str(), "kept\ncomponent_schema \"A\" 1 1\nproperty \"v\" \"x\"\nend_component_schema\n");
    stream.setstate(std::ios_base::badbit);
    EXPECT_EQ(ThrownMessage([&] { WriteSchemaRecord(stream, SchemaRecord{"A", 1, {}}); }),
              "Failed to write component schema.");
}

TEST(SchemaRecordTextTests, WriterRefusesBrokenRecords) {
    const std::string header = "Invalid component schema header.";
    const std::string field = "Empty or duplicate schema field.";
    SchemaArray withBadObject;
    withBadObject.elements.emplace_back(std::in_place_index<1>, SchemaRecord{"", 1, {}});
    SchemaRecord large = RecordWithLeafFields(100);
    large.fields[90].name = "f3";
    const std::pair<SchemaRecord, std::string> cases[] = {
        {SchemaRecord{"", 1, {}}, header},
        {SchemaRecord{"A", 1, {Nested("n", SchemaRecord{"B", 0, {}})}}, header},
        {SchemaRecord{"A", 1, {ArrayField("a", withBadObject)}}, header},
        {SchemaRecord{"A", 1, {Leaf("", "x")}}, field},
        {SchemaRecord{"A", 1, {Leaf("x", "1"), Nested("x", SchemaRecord{"B", 1, {}})}}, field},
        {large, field},
    };
    for (const auto& [record, message] : cases) EXPECT_EQ(WriteError(record), message);
}

TEST(SchemaRecordTextTests, ReaderSkipsAnyWhiteSpaceAndRawTabsAreWrittenBackEscaped) {
    const std::string text = "component_schema\t \"A\"  1\t2 \r\n"
                             "  property\t\"a\"   \"x\"\r\n"
                             "\tarray_property \"b\"\v1\f\n"
                             " value \"y\" \n"
                             "end_array\r\n"
                             "   end_component_schema\t\r\n";
    ExpectReadsBack(text, SchemaRecord{"A", 1, {Leaf("a", "x"), ArrayField("b", LeafArray(1, "y"))}});
    const SchemaRecord tab = ReadBlock("component_schema \"A\" 1 1\nproperty \"t\" \"a\tb\"\nend_component_schema\n");
    EXPECT_EQ(FormatSchemaRecord(tab), "component_schema \"A\" 1 1\nproperty \"t\" \"a\\tb\"\nend_component_schema\n");
}

TEST(SchemaRecordTextTests, ReadersStopBehindTheTerminatorAndCountTheirLines) {
    std::uint32_t line = 0;
    std::size_t consumed = 0;
    const std::string unterminated = "component_schema \"A\" 1 0\nend_component_schema";
    EXPECT_EQ(ReadBlock(unterminated, &line, &consumed), (SchemaRecord{"A", 1, {}}));
    EXPECT_EQ(line, 2u);
    EXPECT_EQ(consumed, unterminated.size());

    const SchemaRecord record{"A", 1, {Leaf("a", "1"), Leaf("b", "2")}};
    const std::string text = FormatSchemaRecord(record) + "end_entity\n";
    EXPECT_EQ(ReadBlock(text, &line, &consumed), record);
    EXPECT_EQ(line, 4u);
    EXPECT_EQ(consumed, text.size() - 11);

    std::istringstream lines(text);
    std::string header;
    std::getline(lines, header);
    std::uint32_t lineCounter = 7;
    EXPECT_EQ(ReadSchemaRecord(std::string_view(header).substr(kKeyword.size()), lines, lineCounter), record);
    EXPECT_EQ(lineCounter, 10u);
    std::getline(lines, header);
    EXPECT_EQ(header, "end_entity");
}

TEST(SchemaRecordTextTests, CursorNumbersLinesFromItsFirstLineNumber) {
    SchemaLineCursor cursor("a\n\nb", 10);
    std::string_view line;
    EXPECT_EQ(cursor.LineNumber(), 9u);
    for (const std::string_view expected : {"a", "", "b"}) EXPECT_TRUE(cursor.NextLine(line) && line == expected);
    EXPECT_TRUE(cursor.LineNumber() == 12u && cursor.AtEnd());
    EXPECT_FALSE(cursor.NextLine(line));
}

TEST(SchemaRecordTextTests, TokenReadersConsumeOneTokenAndItsClosingQuote) {
    std::string_view input = "  \"a\\\"b\\\\c\\t\\n\\r\\0\" rest";
    EXPECT_EQ(ReadSchemaToken(input), std::string("a\"b\\c\t\n\r\0", 9));
    EXPECT_EQ(input, " rest");
    std::istringstream stream("\t\"x\\ty\" \"\" tail");
    EXPECT_EQ(ReadSchemaToken(stream), "x\ty");
    EXPECT_EQ(ReadSchemaToken(stream), "");
    std::string tail;
    stream >> tail;
    EXPECT_EQ(tail, "tail");
}

TEST(SchemaRecordTextTests, TokenReadersRefuseBrokenTokensAlike) {
    const std::pair<std::string, std::string> cases[] = {
        {"", "Malformed quoted schema token."},
        {"abc", "Malformed quoted schema token."},
        {"\"abc", "Unterminated schema token."},
        {"\"abc\\", "Incomplete schema escape."},
        {"\"a\\x\"", "Unknown schema escape."},
        {"\"a\rb\"", "Unescaped control character in schema token."},
        {std::string("\"a\0b\"", 5), "Unescaped control character in schema token."},
        {"\"a\tb\"", "<no exception>"},
    };
    for (const auto& [text, message] : cases) {
        std::string_view view = text;
        std::istringstream stream(text);
        EXPECT_EQ(ThrownMessage([&] { (void)ReadSchemaToken(view); }), message);
        EXPECT_EQ(ThrownMessage([&] { (void)ReadSchemaToken(stream); }), message) << "through a stream";
    }
}

TEST(SchemaRecordTextTests, BrokenInputsFailWithTheirExactMessageAndLine) {
    const std::string head = "component_schema \"N\" 1 1\n";
    const std::string number = "Invalid or out-of-range numeric value.";
    const std::string truncated = "Truncated or oversized component schema record.";
    const std::string named = "Expected named schema property.";
    const std::string trailing = "Unexpected trailing schema data.";
    const std::string header = "Invalid component schema header.";
    const std::string incomplete = "Incomplete component schema header.";
    const std::string element = "Expected an array element.";
    const std::string limit = "Array exceeds its element limit.";
    const struct {
        std::string text;
        std::string message;
        std::uint32_t line;
    } cases[] = {
        {"component_schema Name 1 0\n" + kEnd, "Malformed quoted schema token.", 1},
        {"component_schema\n" + kEnd, truncated, 1},
        {std::string("component_schema \"N\0\" 1 0\n", 26) + kEnd, "Unescaped NUL in schema record.", 1},
        {head + std::string("property \"a\" \"\0\"\n", 17) + kEnd, "Unescaped NUL in schema record.", 2},
        {"component_schema \"N\" 1\n" + kEnd, incomplete, 1},
        {"component_schema \"N\" 1 -1\n" + kEnd, number, 1},
        {"component_schema \"N\" 1 4294967296\n" + kEnd, number, 1},
        {"component_schema \"\" 1 0\n" + kEnd, header, 1},
        {"component_schema \"N\" 0 0\n" + kEnd, header, 1},
        {"component_schema \"\" x 0\n" + kEnd, number, 1},
        {"component_schema \"N\" 1 0 x\n" + kEnd, trailing, 1},
        {"component_schema \"N\" 1 1025 x\n", kBudget, 1},
        {"component_schema \"N\" 1 1025\n", kBudget, 1},
        {head + "property \"a\" \"1\" x\n" + kEnd, trailing, 2},
        {"component_schema \"N\" 1 0\nend_component_schema x\n", trailing, 2},
        {"component_schema \"N\" 1 2\nproperty \"a\" \"1\"\nproperty \"b\" \"2\"\nproperty \"c\" \"3\"\n" + kEnd,
         "Missing component schema terminator.", 4},
        {"component_schema \"N\" 1 3\nproperty \"a\" \"1\"\nproperty \"b\" \"2\"\n" + kEnd, named, 4},
        {head + "value \"1\"\n" + kEnd, named, 2},
        {head + "property\"a\" \"1\"\n" + kEnd, named, 2},
        {head + "end_entity\n", named, 2},
        {head + "property \"\" \"1\"\n" + kEnd, "Empty or duplicate schema field.", 2},
        {"component_schema \"N\" 1 2\nproperty \"a\" \"1\"\narray_property \"a\" 0\nend_array\n" + kEnd,
         "Empty or duplicate schema field.", 3},
        {head + "object_property \"a\" \"T\" 1\n" + kEnd, incomplete, 2},
        {head + "object_property \"a\" \"T\" 0 0\n" + kEnd + kEnd, header, 2},
        {head + "object_property \"a\" \"T\" 1 0\n" + kEnd, truncated, 4},
        {head + "array_property \"a\"\nend_array\n" + kEnd, "Missing array count.", 2},
        {head + "array_property \"a\" -2\nend_array\n" + kEnd, number, 2},
        {head + "array_property \"a\" 1025 x\n", trailing, 2},
        {head + "array_property \"a\" 1025\n", limit, 2},
        {head + "array_property \"a\" 1\nproperty \"b\" \"1\"\nend_array\n" + kEnd, element, 3},
        {head + "array_property \"a\" 1\nvalue \"1\"\nvalue \"2\"\nend_array\n" + kEnd, "Missing array terminator.", 4},
        {head + "array_property \"a\" 0\n" + kEnd + kEnd, "Missing array terminator.", 3},
        {head + "array_property \"a\" 1\nvalue \"1\" 2\nend_array\n" + kEnd, trailing, 3},
        {head + "array_property \"a\" 1\narray 1025\n", limit, 3},
        {head + "array_property \"a\" 1\narray\n", "Missing array count.", 3},
        {head + "array_property \"a\" 1\nobject \"\" 1 0\n", header, 3},
        {"component_schema \"N\" 1 2\nproperty \"a\" \"1\"\n", truncated, 3},
        {head + "array_property \"a\" 2\nvalue \"1\"\n", truncated, 4},
    };
    for (const auto& c : cases) {
        const std::string expected = c.message + " at line " + std::to_string(c.line);
        EXPECT_EQ(ReadError(c.text), expected) << c.text;
        EXPECT_EQ(ReadError(c.text, true), expected) << c.text << "(through a stream)";
    }
}

// `property "a" "` and the closing quote take 15 bytes of a field line; `component_schema "`
// and `" 1 0` take 23 bytes of a header line.
SchemaRecord LongLine(std::size_t bytes) { return SchemaRecord{"A", 1, {Leaf("a", std::string(bytes - 15, 'v'))}}; }
SchemaRecord LongHeader(std::size_t bytes) { return SchemaRecord{std::string(bytes - 23, 'N'), 1, {}}; }

TEST(SchemaRecordTextTests, RecordsAtEveryLimitRoundTripThroughBothReaders) {
    ASSERT_EQ(FormatSchemaRecord(LongLine(65535)).find('\n', 25) - 25, 65535u);
    ASSERT_EQ(FormatSchemaRecord(LongHeader(65535)).find('\n'), 65535u);
    ASSERT_EQ(FormatSchemaRecord(RecordOfTextSize(1048576)).size(), 1048576u);
    // 32760 quotes become 65520 bytes: exactly the longest line.
    const SchemaRecord atLimit[] = {
        LongLine(65535),     LongHeader(65535),           RecordOfTextSize(1048576),
        RecordChain(16),     ArrayChain(16),              AlternatingRecord(1, 16),
        SchemaRecord{"A", 1, {Leaf("a", std::string(32760, '"'))}},
        RecordWithLeafFields(1024), SchemaRecord{"A", 1, {ArrayField("a", LeafArray(1024))}},
        RecordOfTotalCount(4096),
    };
    for (const SchemaRecord& record : atLimit) {
        SCOPED_TRACE(record.name.substr(0, 20));
        EXPECT_EQ(WriteError(record), "<no exception>");
        ExpectReadsBack(FormatSchemaRecord(record), record);
    }
}

TEST(SchemaRecordTextTests, WriterRefusesRecordsOnePastEveryLimit) {
    SchemaRecord escapes{"A", 1, {Leaf("a", std::string(32760, '"') + "\t")}};
    SchemaRecord overBudget = RecordOfTextSize(1048576);
    std::get<0>(overBudget.fields.back().value).push_back('y');
    // 20 bytes left after the last field line: the 21 of `end_component_schema` don't fit.
    SchemaRecord noTerminator = RecordOfTextSize(1048576);
    std::string& last = std::get<0>(noTerminator.fields.back().value);
    last.assign(last.size() + 1, 'z');
    const std::pair<SchemaRecord, std::string> cases[] = {
        {LongLine(65536), kBytes},
        {LongHeader(65536), kBytes},
        {escapes, kBytes},
        {SchemaRecord{"A", 1, {ArrayField("a", LeafArray(1, std::string(200000, 'x')))}}, kBytes},
        {overBudget, kBytes},
        {noTerminator, kBytes},
        {RecordChain(17), kBudget},
        {ArrayChain(17), kBudget},
        {AlternatingRecord(1, 17), kBudget},
        {RecordWithLeafFields(1025), kBudget},
        {SchemaRecord{"A", 1, {ArrayField("a", LeafArray(1025))}}, "Array exceeds its element limit."},
        {RecordOfTotalCount(4097), kBudget},
    };
    for (const auto& [record, message] : cases) EXPECT_EQ(WriteError(record), message) << record.name.substr(0, 20);
}

TEST(SchemaRecordTextTests, ReadersRefuseTextOnePastEveryLimit) {
    std::string deepRecords;
    for (int i = 0; i < 16; ++i) {
        deepRecords += i == 0 ? "component_schema \"Level\" 1 1\n" : "object_property \"inner\" \"Level\" 1 1\n";
    }
    deepRecords += "object_property \"inner\" \"Level\" 1 0\n";
    std::string deepArrays = "component_schema \"Arrays\" 1 1\narray_property \"nested\" 1\n";
    for (int depth = 3; depth <= 16; ++depth) deepArrays += "array 1\n";
    deepArrays += "array 0\n";
    // The innermost empty array at depth 16 gets an object element at depth 17.
    std::string alternating = FormatSchemaRecord(AlternatingRecord(1, 16));
    alternating.replace(alternating.find("array_property \"a\" 0\n"), 21,
                        "array_property \"a\" 1\nobject \"Level\" 1 0\n");
    std::string fields = FormatSchemaRecord(RecordWithLeafFields(1024));
    fields.replace(fields.find("1024"), 4, "1025");
    fields.insert(fields.rfind("end_component_schema"), "property \"f1024\" \"0\"\n");
    std::string repeated = FormatSchemaRecord(RecordWithLeafFields(200));
    repeated.replace(repeated.find("\"f150\""), 6, "\"f10\"");
    std::string elements = FormatSchemaRecord(SchemaRecord{"A", 1, {ArrayField("a", LeafArray(1024))}});
    elements.replace(elements.find(" 1024\n"), 6, " 1025\n");
    elements.insert(elements.rfind("end_array"), "value \"1\"\n");
    std::string total = FormatSchemaRecord(RecordOfTotalCount(4096));
    total.replace(total.rfind("array_property \"a3\" 1020"), 24, "array_property \"a3\" 1021");
    total.insert(total.rfind("end_array"), "value \"1\"\n");
    std::string overBudget = FormatSchemaRecord(RecordOfTextSize(1048576));
    overBudget.insert(overBudget.rfind("y\""), "y");
    const std::string tooLongLine = "component_schema \"A\" 1 1\nproperty \"a\" \"" + std::string(65536 - 15, 'v') +
                                    "\"\n" + kEnd;
    const std::string longHeader = "component_schema \"" + std::string(65536 - 23, 'N') + "\" 1 0\n" + kEnd;
    const std::string longerHeader = "component_schema \"" + std::string(70000, 'N') + "\" 1 0\n" + kEnd;
    const struct {
        const std::string& text;
        std::string message;
        std::uint32_t line; // 0 when only the message is checked
    } cases[] = {
        {deepRecords, kBudget, 17},
        {deepArrays, kBudget, 17},
        {alternating, kBudget, 0},
        {fields, kBudget, 0},
        {repeated, "Empty or duplicate schema field.", 152},
        {elements, "Array exceeds its element limit.", 0},
        {total, kBudget, 0},
        {overBudget, "Schema record exceeds its byte budget.", 20},
        {tooLongLine, "Truncated or oversized component schema record.", 2},
        {longHeader, "Schema header exceeds the line limit.", 0},
        {longerHeader, "Truncated or oversized component schema record.", 0},
    };
    for (const auto& c : cases) {
        for (const bool stream : {false, true}) {
            const std::string error = ReadError(c.text, stream);
            EXPECT_EQ(error.substr(0, error.find(" at line ")), c.message) << c.text.substr(0, 40) << stream;
            if (c.line != 0) {
                EXPECT_EQ(error, c.message + " at line " + std::to_string(c.line)) << stream;
            }
        }
    }
}

TEST(SchemaRecordTextTests, EachTopLevelRecordStartsWithAFreshBudget) {
    const SchemaRecord full = RecordOfTotalCount(4096);
    const std::string text = FormatSchemaRecord(full) + FormatSchemaRecord(full);
    SchemaLineCursor cursor(text);
    std::string_view header;
    for (int i = 0; i < 2; ++i) {
        ASSERT_TRUE(cursor.NextLine(header));
        EXPECT_EQ(ReadSchemaRecord(header.substr(kKeyword.size()), cursor), full);
    }
    EXPECT_TRUE(cursor.AtEnd());
}

TEST(SchemaRecordTests, FindFieldAndDeepOrderSensitiveEquality) {
    const SchemaRecord a{"A", 1, {Leaf("x", "1"), ArrayField("y", LeafArray(2))}};
    EXPECT_EQ(std::get<0>(a.FindField("x")->value), "1");
    EXPECT_EQ(a.FindField("z"), nullptr);
    SchemaRecord b = a;
    EXPECT_EQ(a, b);
    std::get<0>(std::get<2>(b.fields[1].value).elements[1]) = "2";
    EXPECT_FALSE(a == b);
    EXPECT_FALSE(a == (SchemaRecord{"A", 1, {ArrayField("y", LeafArray(2)), Leaf("x", "1")}}));
}

} // namespace
} // namespace Brelk::Reflection
