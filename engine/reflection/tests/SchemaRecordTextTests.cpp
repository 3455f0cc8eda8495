#include "engine/reflection/SchemaRecordText.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace Brelk::Reflection {
namespace {

constexpr std::string_view kKeyword = "component_schema";

// ---- helpers -----------------------------------------------------------------------------

std::string Numbered(std::string_view prefix, std::size_t number) {
    std::string name(prefix);
    name += std::to_string(number);
    return name;
}

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
    for (std::size_t i = 0; i < count; ++i) {
        array.elements.emplace_back(std::in_place_index<0>, text);
    }
    return array;
}

SchemaRecord RecordWithLeafFields(std::size_t count) {
    SchemaRecord record{"Many", 1, {}};
    for (std::size_t i = 0; i < count; ++i) {
        record.fields.push_back(Leaf(Numbered("f", i), "0"));
    }
    return record;
}

// A chain of records nested through object_property, `depth` records in all.
SchemaRecord RecordChain(std::uint32_t depth) {
    SchemaRecord record{"Level", 1, {}};
    for (std::uint32_t i = 1; i < depth; ++i) {
        SchemaRecord outer{"Level", 1, {}};
        outer.fields.push_back(Nested("inner", std::move(record)));
        record = std::move(outer);
    }
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
    SchemaRecord record{"Arrays", 1, {}};
    record.fields.push_back(ArrayField("nested", std::move(array)));
    return record;
}

// Records at odd depths and arrays at even depths, one inside the other down to `deepest`.
SchemaArray AlternatingArray(std::uint32_t depth, std::uint32_t deepest);

SchemaRecord AlternatingRecord(std::uint32_t depth, std::uint32_t deepest) {
    SchemaRecord record{"Level", 1, {}};
    if (depth < deepest) {
        record.fields.push_back(ArrayField("a", AlternatingArray(depth + 1, deepest)));
    }
    return record;
}

SchemaArray AlternatingArray(std::uint32_t depth, std::uint32_t deepest) {
    SchemaArray array;
    if (depth < deepest) {
        array.elements.emplace_back(std::in_place_index<1>, AlternatingRecord(depth + 1, deepest));
    }
    return array;
}

// Reads a block that begins with its header line, as the scene parser hands it over.
SchemaRecord ReadBlock(std::string_view text, std::uint32_t* lastLine = nullptr, std::size_t* consumed = nullptr) {
    SchemaLineCursor cursor(text);
    std::string_view header;
    if (!cursor.NextLine(header) || header.substr(0, kKeyword.size()) != kKeyword) {
        throw std::logic_error("test block lacks its header line");
    }
    SchemaRecord record = ReadSchemaRecord(header.substr(kKeyword.size()), cursor);
    if (lastLine) {
        *lastLine = cursor.LineNumber();
    }
    if (consumed) {
        *consumed = cursor.Offset();
    }
    return record;
}

// The same through the stream interface, the header rest as a stream too.
SchemaRecord ReadBlockFromStream(const std::string& text, std::uint32_t& lineCounter) {
    std::istringstream lines(text);
    std::string header;
    std::getline(lines, header);
    lineCounter = 1;
    std::istringstream headerLine(header);
    std::string keyword;
    headerLine >> keyword;
    if (keyword != kKeyword) {
        throw std::logic_error("test block lacks its header line");
    }
    return ReadSchemaRecord(headerLine, lines, lineCounter);
}

struct ReadFailure {
    std::string message;
    std::uint32_t line = 0;
};

ReadFailure ReadError(std::string_view text) {
    SchemaLineCursor cursor(text);
    std::string_view header;
    if (!cursor.NextLine(header)) {
        return {"no header", 0};
    }
    try {
        (void)ReadSchemaRecord(header.substr(kKeyword.size()), cursor);
    } catch (const std::runtime_error& error) {
        return {error.what(), cursor.LineNumber()};
    }
    return {"", cursor.LineNumber()};
}

ReadFailure StreamReadError(const std::string& text) {
    std::uint32_t lineCounter = 0;
    try {
        (void)ReadBlockFromStream(text, lineCounter);
    } catch (const std::runtime_error& error) {
        return {error.what(), lineCounter};
    }
    return {"", lineCounter};
}

std::string WriteError(const SchemaRecord& record) {
    std::string out;
    try {
        AppendSchemaRecord(out, record);
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "";
}

// A record whose text is exactly `totalBytes` long, built of long leaf values.
SchemaRecord RecordOfTextSize(std::size_t totalBytes) {
    SchemaRecord record{"Big", 1, {}};
    for (int i = 0; i < 18; ++i) {
        record.fields.push_back(Leaf(Numbered("f", i), std::string(58000, 'x')));
    }
    const std::size_t size = FormatSchemaRecord(record).size();
    std::get<0>(record.fields.back().value).append(totalBytes - size, 'y');
    return record;
}

// ---- writing -----------------------------------------------------------------------------

TEST(SchemaRecordTextTests, WritesTheTransformBlockLineForLine) {
    SchemaRecord transform{"Transform", 1, {}};
    transform.fields.push_back(Leaf("position", "0 0 0"));
    transform.fields.push_back(Leaf("rotation", "0 0 0"));
    transform.fields.push_back(Leaf("scale", "1 1 1"));
    SchemaRecord component{"TransformComponent", 1, {}};
    component.fields.push_back(Nested("transform", std::move(transform)));

    EXPECT_EQ(FormatSchemaRecord(component),
              "component_schema \"TransformComponent\" 1 1\n"
              "object_property \"transform\" \"Transform\" 1 3\n"
              "property \"position\" \"0 0 0\"\n"
              "property \"rotation\" \"0 0 0\"\n"
              "property \"scale\" \"1 1 1\"\n"
              "end_component_schema\n"
              "end_component_schema\n");
}

TEST(SchemaRecordTextTests, WritesArraysWithCountsAndTerminators) {
    SchemaArray inner = LeafArray(2, "7");
    SchemaArray outer;
    outer.elements.emplace_back(std::in_place_index<0>, "a");
    outer.elements.emplace_back(std::in_place_index<1>, SchemaRecord{"Item", 3, {Leaf("x", "1")}});
    outer.elements.emplace_back(std::in_place_index<2>, std::move(inner));
    outer.elements.emplace_back(std::in_place_index<2>, SchemaArray{});
    SchemaRecord record{"Holder", 2, {ArrayField("list", std::move(outer))}};

    EXPECT_EQ(FormatSchemaRecord(record),
              "component_schema \"Holder\" 2 1\n"
              "array_property \"list\" 4\n"
              "value \"a\"\n"
              "object \"Item\" 3 1\n"
              "property \"x\" \"1\"\n"
              "end_component_schema\n"
              "array 2\n"
              "value \"7\"\n"
              "value \"7\"\n"
              "end_array\n"
              "array 0\n"
              "end_array\n"
              "end_array\n"
              "end_component_schema\n");
}

TEST(SchemaRecordTextTests, EscapesExactlyTheSixSpecialBytes) {
    EXPECT_EQ(EscapeSchemaToken(std::string("a\0b", 3)), "a\\0b");
    EXPECT_EQ(EscapeSchemaToken("\t\n\r\"\\"), "\\t\\n\\r\\\"\\\\");
    EXPECT_EQ(EscapeSchemaToken("\x01\x7f\xff plain"), "\x01\x7f\xff plain");
    EXPECT_EQ(EscapeSchemaToken("h\xc3\xa9llo"), "h\xc3\xa9llo");
    EXPECT_EQ(EscapeSchemaToken(""), "");
}

TEST(SchemaRecordTextTests, AppendsBehindExistingTextOfTheBuffer) {
    std::string out = "entity \"x\" \"y\"\n";
    AppendSchemaRecord(out, SchemaRecord{"A", 1, {}});
    AppendSchemaRecord(out, SchemaRecord{"B", 2, {}});
    EXPECT_EQ(out,
              "entity \"x\" \"y\"\n"
              "component_schema \"A\" 1 0\nend_component_schema\n"
              "component_schema \"B\" 2 0\nend_component_schema\n");
}

TEST(SchemaRecordTextTests, RefusedRecordLeavesTheBufferAsItWas) {
    std::string out = "before\n";
    SchemaRecord record{"A", 1, {Leaf("ok", "1"), Leaf("ok", "2")}};
    EXPECT_THROW(AppendSchemaRecord(out, record), std::runtime_error);
    EXPECT_EQ(out, "before\n");
}

TEST(SchemaRecordTextTests, WritesToAStreamInOneGo) {
    std::ostringstream stream;
    WriteSchemaRecord(stream, SchemaRecord{"A", 1, {Leaf("v", "x")}});
    EXPECT_EQ(stream.str(), "component_schema \"A\" 1 1\nproperty \"v\" \"x\"\nend_component_schema\n");
}

TEST(SchemaRecordTextTests, RefusedRecordLeavesTheStreamUntouched) {
    std::ostringstream stream;
    stream << "kept\n";
    EXPECT_THROW(WriteSchemaRecord(stream, SchemaRecord{"", 1, {}}), std::runtime_error);
    EXPECT_EQ(stream.str(), "kept\n");
}

TEST(SchemaRecordTextTests, FailedStreamGivesTheWriteMessage) {
    std::ostringstream stream;
    stream.setstate(std::ios_base::badbit);
    try {
        WriteSchemaRecord(stream, SchemaRecord{"A", 1, {}});
        FAIL() << "no exception";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "Failed to write component schema.");
    }
}

TEST(SchemaRecordTextTests, WriterRefusesBrokenRecords) {
    const std::string header = "Invalid component schema header.";
    const std::string field = "Empty or duplicate schema field.";
    EXPECT_EQ(WriteError(SchemaRecord{"", 1, {}}), header);
    EXPECT_EQ(WriteError(SchemaRecord{"A", 0, {}}), header);
    EXPECT_EQ(WriteError(SchemaRecord{"A", 1, {Nested("n", SchemaRecord{"B", 0, {}})}}), header);
    SchemaArray withBadObject;
    withBadObject.elements.emplace_back(std::in_place_index<1>, SchemaRecord{"", 1, {}});
    EXPECT_EQ(WriteError(SchemaRecord{"A", 1, {ArrayField("a", std::move(withBadObject))}}), header);
    EXPECT_EQ(WriteError(SchemaRecord{"A", 1, {Leaf("", "x")}}), field);
    EXPECT_EQ(WriteError(SchemaRecord{"A", 1, {Leaf("x", "1"), Leaf("y", "2"), Leaf("x", "3")}}), field);
    EXPECT_EQ(WriteError(SchemaRecord{"A", 1, {Leaf("x", "1"), Nested("x", SchemaRecord{"B", 1, {}})}}), field);
}

TEST(SchemaRecordTextTests, WriterFindsARepeatedNameInALargeRecord) {
    SchemaRecord record = RecordWithLeafFields(100);
    record.fields[90].name = "f3";
    EXPECT_EQ(WriteError(record), "Empty or duplicate schema field.");
}

TEST(SchemaRecordTextTests, SameFieldNameInTwoNestedRecordsIsNoRepeat) {
    SchemaRecord record{"A", 1, {Leaf("x", "1"), Nested("n", SchemaRecord{"B", 1, {Leaf("x", "2")}})}};
    EXPECT_EQ(ReadBlock(FormatSchemaRecord(record)), record);
}

// ---- round trips -------------------------------------------------------------------------

TEST(SchemaRecordTextTests, RecordWithoutFieldsRoundTrips) {
    const SchemaRecord record{"Empty", 4, {}};
    const std::string text = FormatSchemaRecord(record);
    EXPECT_EQ(text, "component_schema \"Empty\" 4 0\nend_component_schema\n");
    EXPECT_EQ(ReadBlock(text), record);
}

TEST(SchemaRecordTextTests, EmptyArrayRoundTrips) {
    const SchemaRecord record{"A", 1, {ArrayField("items", SchemaArray{})}};
    const std::string text = FormatSchemaRecord(record);
    EXPECT_EQ(text, "component_schema \"A\" 1 1\narray_property \"items\" 0\nend_array\nend_component_schema\n");
    EXPECT_EQ(ReadBlock(text), record);
}

TEST(SchemaRecordTextTests, NestedRecordsAndArraysOfArraysRoundTrip) {
    SchemaArray rows;
    for (int row = 0; row < 3; ++row) {
        SchemaArray cells;
        for (int column = 0; column < row; ++column) {
            cells.elements.emplace_back(std::in_place_index<0>, std::to_string(row * 10 + column));
        }
        rows.elements.emplace_back(std::in_place_index<2>, std::move(cells));
    }
    SchemaArray objects;
    objects.elements.emplace_back(std::in_place_index<1>,
                                  SchemaRecord{"Point", 2, {Leaf("x", "1.5"), ArrayField("tags", LeafArray(2, "t"))}});
    objects.elements.emplace_back(std::in_place_index<1>, SchemaRecord{"Point", 2, {}});
    SchemaRecord inner{"Inner", 3, {Leaf("a", "b"), Nested("deeper", SchemaRecord{"Deep", 1, {Leaf("z", "")}})}};
    const SchemaRecord record{"Outer", 9, {Nested("inner", inner), ArrayField("grid", rows),
                                           ArrayField("points", objects), Leaf("last", "end")}};

    EXPECT_EQ(ReadBlock(FormatSchemaRecord(record)), record);
}

TEST(SchemaRecordTextTests, EmptyStringsRoundTrip) {
    const SchemaRecord record{"A", 1, {Leaf("empty", ""), ArrayField("list", LeafArray(3, ""))}};
    const std::string text = FormatSchemaRecord(record);
    EXPECT_NE(text.find("property \"empty\" \"\"\n"), std::string::npos);
    EXPECT_EQ(ReadBlock(text), record);
}

TEST(SchemaRecordTextTests, QuoteBackslashTabLineFeedCarriageReturnAndNulRoundTrip) {
    const std::string special("say \"hi\" \\ path\tcol\nline\rret\0nul", 32);
    const SchemaRecord record{"A \"quoted\"", 1, {Leaf("na\\me", special)}};
    const std::string text = FormatSchemaRecord(record);
    EXPECT_EQ(text,
              "component_schema \"A \\\"quoted\\\"\" 1 1\n"
              "property \"na\\\\me\" \"say \\\"hi\\\" \\\\ path\\tcol\\nline\\rret\\0nul\"\n"
              "end_component_schema\n");
    EXPECT_EQ(ReadBlock(text), record);
}

TEST(SchemaRecordTextTests, Utf8AndInvalidUtf8PassThroughUntouched) {
    const std::string utf8 = "gr\xc3\xbc\xc3\x9f \xe6\x97\xa5\xe6\x9c\xac \xf0\x9f\x8c\x8d";
    const std::string broken = "\xff\xfe\xc3(\x80";
    const SchemaRecord record{"Na\xc3\xafve", 1, {Leaf(utf8, broken), Leaf("b", utf8)}};
    const std::string text = FormatSchemaRecord(record);
    EXPECT_NE(text.find(broken), std::string::npos);
    EXPECT_EQ(ReadBlock(text), record);
}

TEST(SchemaRecordTextTests, OtherControlBytesAreWrittenRawAndReadBack) {
    const SchemaRecord record{"A", 1, {Leaf("c", "\x01\x1b\x7f")}};
    const std::string text = FormatSchemaRecord(record);
    EXPECT_NE(text.find("\"\x01\x1b\x7f\""), std::string::npos);
    EXPECT_EQ(ReadBlock(text), record);
}

TEST(SchemaRecordTextTests, RawTabInATokenIsReadAndWrittenBackEscaped) {
    const SchemaRecord record = ReadBlock("component_schema \"A\" 1 1\nproperty \"t\" \"a\tb\"\nend_component_schema\n");
    EXPECT_EQ(std::get<0>(record.fields[0].value), "a\tb");
    EXPECT_EQ(FormatSchemaRecord(record), "component_schema \"A\" 1 1\nproperty \"t\" \"a\\tb\"\nend_component_schema\n");
}

TEST(SchemaRecordTextTests, ReaderSkipsAnyWhiteSpaceBetweenItems) {
    const SchemaRecord record = ReadBlock("component_schema\t \"A\"  1\t2 \r\n"
                                          "  property\t\"a\"   \"x\"\r\n"
                                          "\tarray_property \"b\"\v1\f\n"
                                          " value \"y\" \n"
                                          "end_array\r\n"
                                          "   end_component_schema\t\r\n");
    const SchemaRecord expected{"A", 1, {Leaf("a", "x"), ArrayField("b", LeafArray(1, "y"))}};
    EXPECT_EQ(record, expected);
}

TEST(SchemaRecordTextTests, LastLineMayLackItsLineFeed) {
    std::uint32_t line = 0;
    std::size_t consumed = 0;
    const std::string text = "component_schema \"A\" 1 0\nend_component_schema";
    EXPECT_EQ(ReadBlock(text, &line, &consumed), (SchemaRecord{"A", 1, {}}));
    EXPECT_EQ(line, 2u);
    EXPECT_EQ(consumed, text.size());
}

TEST(SchemaRecordTextTests, ReaderStopsBehindTheTerminatorAndCountsItsLines) {
    const std::string record = FormatSchemaRecord(SchemaRecord{"A", 1, {Leaf("a", "1"), Leaf("b", "2")}});
    const std::string text = record + "end_entity\n";
    std::uint32_t line = 0;
    std::size_t consumed = 0;
    (void)ReadBlock(text, &line, &consumed);
    EXPECT_EQ(line, 4u);
    EXPECT_EQ(consumed, record.size());
}

TEST(SchemaRecordTextTests, CursorNumbersLinesFromItsFirstLineNumber) {
    SchemaLineCursor cursor("a\n\nb", 10);
    std::string_view line;
    EXPECT_EQ(cursor.LineNumber(), 9u);
    ASSERT_TRUE(cursor.NextLine(line));
    EXPECT_EQ(line, "a");
    EXPECT_EQ(cursor.LineNumber(), 10u);
    ASSERT_TRUE(cursor.NextLine(line));
    EXPECT_EQ(line, "");
    ASSERT_TRUE(cursor.NextLine(line));
    EXPECT_EQ(line, "b");
    EXPECT_TRUE(cursor.AtEnd());
    EXPECT_FALSE(cursor.NextLine(line));
    EXPECT_EQ(cursor.LineNumber(), 13u);
}

TEST(SchemaRecordTextTests, StreamReaderCountsTheLinesItTakes) {
    const std::string text = FormatSchemaRecord(SchemaRecord{"A", 1, {Leaf("a", "1")}}) + "end_entity\n";
    std::uint32_t lineCounter = 0;
    std::istringstream lines(text);
    std::string header;
    std::getline(lines, header);
    lineCounter = 7;
    const SchemaRecord record = ReadSchemaRecord(std::string_view(header).substr(kKeyword.size()), lines, lineCounter);
    EXPECT_EQ(record, (SchemaRecord{"A", 1, {Leaf("a", "1")}}));
    EXPECT_EQ(lineCounter, 9u);
    std::string next;
    std::getline(lines, next);
    EXPECT_EQ(next, "end_entity");
}

TEST(SchemaRecordTextTests, StreamAndCursorReadersAgree) {
    SchemaRecord record{"Outer", 2, {Leaf("a", "x\ty"), ArrayField("b", LeafArray(3, "v")),
                                     Nested("c", SchemaRecord{"Inner", 1, {Leaf("d", "")}})}};
    const std::string text = FormatSchemaRecord(record);
    std::uint32_t lineCounter = 0;
    EXPECT_EQ(ReadBlockFromStream(text, lineCounter), record);
    EXPECT_EQ(lineCounter, 11u);
    EXPECT_EQ(ReadBlock(text), record);
}

// ---- tokens ------------------------------------------------------------------------------

TEST(SchemaRecordTextTests, TokenReaderConsumesOneTokenAndItsClosingQuote) {
    std::string_view input = "  \"a\\\"b\\\\c\\t\\n\\r\\0\" rest";
    EXPECT_EQ(ReadSchemaToken(input), std::string("a\"b\\c\t\n\r\0", 9));
    EXPECT_EQ(input, " rest");
}

TEST(SchemaRecordTextTests, StreamTokenReaderMatchesTheViewReader) {
    std::istringstream input("\t\"x\\ty\" \"\" tail");
    EXPECT_EQ(ReadSchemaToken(input), "x\ty");
    EXPECT_EQ(ReadSchemaToken(input), "");
    std::string tail;
    input >> tail;
    EXPECT_EQ(tail, "tail");
}

std::string TokenError(std::string text) {
    std::string_view view = text;
    std::string viewMessage;
    try {
        (void)ReadSchemaToken(view);
    } catch (const std::runtime_error& error) {
        viewMessage = error.what();
    }
    std::istringstream stream(text);
    std::string streamMessage;
    try {
        (void)ReadSchemaToken(stream);
    } catch (const std::runtime_error& error) {
        streamMessage = error.what();
    }
    return viewMessage == streamMessage ? viewMessage : "readers disagree: " + viewMessage + " / " + streamMessage;
}

TEST(SchemaRecordTextTests, TokenReaderRefusesBrokenTokens) {
    EXPECT_EQ(TokenError(""), "Malformed quoted schema token.");
    EXPECT_EQ(TokenError("   "), "Malformed quoted schema token.");
    EXPECT_EQ(TokenError("abc"), "Malformed quoted schema token.");
    EXPECT_EQ(TokenError("\"abc"), "Unterminated schema token.");
    EXPECT_EQ(TokenError("\"abc\\"), "Incomplete schema escape.");
    EXPECT_EQ(TokenError("\"a\\x\""), "Unknown schema escape.");
    EXPECT_EQ(TokenError("\"a\\T\""), "Unknown schema escape.");
    EXPECT_EQ(TokenError("\"a\rb\""), "Unescaped control character in schema token.");
    EXPECT_EQ(TokenError("\"a\nb\""), "Unescaped control character in schema token.");
    EXPECT_EQ(TokenError(std::string("\"a\0b\"", 5)), "Unescaped control character in schema token.");
    EXPECT_EQ(TokenError("\"a\tb\""), "");
}

// ---- broken inputs -----------------------------------------------------------------------

struct BrokenInput {
    const char* name;
    std::string text;
    const char* message;
    std::uint32_t line;
};

std::string AtLine(const BrokenInput& input, const ReadFailure& failure) {
    return std::string(input.name) + ": \"" + failure.message + "\" at line " + std::to_string(failure.line);
}

TEST(SchemaRecordTextTests, BrokenInputsFailWithTheirExactMessageAndLine) {
    const std::string end = "end_component_schema\n";
    const std::vector<BrokenInput> inputs = {
        {"unquoted name", "component_schema Name 1 0\n" + end, "Malformed quoted schema token.", 1},
        {"nothing after keyword", "component_schema\n" + end, "Truncated or oversized component schema record.", 1},
        {"blank after keyword", "component_schema \n" + end, "Malformed quoted schema token.", 1},
        {"unterminated name", "component_schema \"Name 1 0\n" + end, "Unterminated schema token.", 1},
        {"escape at line end", "component_schema \"Name\\\n" + end, "Incomplete schema escape.", 1},
        {"unknown escape", "component_schema \"N\\a\" 1 0\n" + end, "Unknown schema escape.", 1},
        {"raw CR in token", "component_schema \"N\rM\" 1 0\n" + end, "Unescaped control character in schema token.", 1},
        {"raw NUL in header", std::string("component_schema \"N\0\" 1 0\n", 26) + end, "Unescaped NUL in schema record.", 1},
        {"raw NUL in a field line", "component_schema \"N\" 1 1\n" + std::string("property \"a\" \"\0\"\n", 17) + end,
         "Unescaped NUL in schema record.", 2},
        {"missing count", "component_schema \"N\" 1\n" + end, "Incomplete component schema header.", 1},
        {"missing version", "component_schema \"N\"\n" + end, "Incomplete component schema header.", 1},
        {"negative count", "component_schema \"N\" 1 -1\n" + end, "Invalid or out-of-range numeric value.", 1},
        {"plus sign", "component_schema \"N\" +1 0\n" + end, "Invalid or out-of-range numeric value.", 1},
        {"count past u32", "component_schema \"N\" 1 4294967296\n" + end, "Invalid or out-of-range numeric value.", 1},
        {"version with letters", "component_schema \"N\" 1x 0\n" + end, "Invalid or out-of-range numeric value.", 1},
        {"hex count", "component_schema \"N\" 1 0x1\n" + end, "Invalid or out-of-range numeric value.", 1},
        {"empty name", "component_schema \"\" 1 0\n" + end, "Invalid component schema header.", 1},
        {"version 0", "component_schema \"N\" 0 0\n" + end, "Invalid component schema header.", 1},
        {"bad number before empty name", "component_schema \"\" x 0\n" + end, "Invalid or out-of-range numeric value.", 1},
        {"trailing header data", "component_schema \"N\" 1 0 x\n" + end, "Unexpected trailing schema data.", 1},
        {"budget before trailing data", "component_schema \"N\" 1 1025 x\n", "Schema exceeds the nesting or field budget.", 1},
        {"trailing leaf data", "component_schema \"N\" 1 1\nproperty \"a\" \"1\" x\n" + end, "Unexpected trailing schema data.", 2},
        {"leaf without value", "component_schema \"N\" 1 1\nproperty \"a\"\n" + end, "Malformed quoted schema token.", 2},
        {"trailing terminator data", "component_schema \"N\" 1 0\nend_component_schema x\n", "Unexpected trailing schema data.", 2},
        {"more fields than count", "component_schema \"N\" 1 2\nproperty \"a\" \"1\"\nproperty \"b\" \"2\"\nproperty \"c\" \"3\"\n" + end,
         "Missing component schema terminator.", 4},
        {"fewer fields than count", "component_schema \"N\" 1 3\nproperty \"a\" \"1\"\nproperty \"b\" \"2\"\n" + end,
         "Expected named schema property.", 4},
        {"empty field line", "component_schema \"N\" 1 1\n\n" + end, "Expected named schema property.", 2},
        {"value line in a record", "component_schema \"N\" 1 1\nvalue \"1\"\n" + end, "Expected named schema property.", 2},
        {"keyword glued to token", "component_schema \"N\" 1 1\nproperty\"a\" \"1\"\n" + end, "Expected named schema property.", 2},
        {"empty field name", "component_schema \"N\" 1 1\nproperty \"\" \"1\"\n" + end, "Empty or duplicate schema field.", 2},
        {"repeated field name", "component_schema \"N\" 1 2\nproperty \"a\" \"1\"\narray_property \"a\" 0\nend_array\n" + end,
         "Empty or duplicate schema field.", 3},
        {"missing nested header", "component_schema \"N\" 1 1\nobject_property \"a\" \"T\" 1\n" + end,
         "Incomplete component schema header.", 2},
        {"nested version 0", "component_schema \"N\" 1 1\nobject_property \"a\" \"T\" 0 0\n" + end + end,
         "Invalid component schema header.", 2},
        {"nested without terminator", "component_schema \"N\" 1 1\nobject_property \"a\" \"T\" 1 0\n" + end,
         "Truncated or oversized component schema record.", 4},
        {"missing array count", "component_schema \"N\" 1 1\narray_property \"a\"\nend_array\n" + end, "Missing array count.", 2},
        {"bad array count", "component_schema \"N\" 1 1\narray_property \"a\" -2\nend_array\n" + end,
         "Invalid or out-of-range numeric value.", 2},
        {"trailing array count data", "component_schema \"N\" 1 1\narray_property \"a\" 0 0\nend_array\n" + end,
         "Unexpected trailing schema data.", 2},
        {"trailing data before element limit", "component_schema \"N\" 1 1\narray_property \"a\" 1025 x\n",
         "Unexpected trailing schema data.", 2},
        {"array over its limit", "component_schema \"N\" 1 1\narray_property \"a\" 1025\n", "Array exceeds its element limit.", 2},
        {"property inside an array", "component_schema \"N\" 1 1\narray_property \"a\" 1\nproperty \"b\" \"1\"\nend_array\n" + end,
         "Expected an array element.", 3},
        {"empty element line", "component_schema \"N\" 1 1\narray_property \"a\" 1\n\nend_array\n" + end,
         "Expected an array element.", 3},
        {"more elements than count", "component_schema \"N\" 1 1\narray_property \"a\" 1\nvalue \"1\"\nvalue \"2\"\nend_array\n" + end,
         "Missing array terminator.", 4},
        {"record end closing an array", "component_schema \"N\" 1 1\narray_property \"a\" 0\n" + end + end,
         "Missing array terminator.", 3},
        {"trailing element data", "component_schema \"N\" 1 1\narray_property \"a\" 1\nvalue \"1\" 2\nend_array\n" + end,
         "Unexpected trailing schema data.", 3},
        {"trailing array end data", "component_schema \"N\" 1 1\narray_property \"a\" 0\nend_array x\n" + end,
         "Unexpected trailing schema data.", 3},
        {"nested array over its limit", "component_schema \"N\" 1 1\narray_property \"a\" 1\narray 1025\n",
         "Array exceeds its element limit.", 3},
        {"nested array without count", "component_schema \"N\" 1 1\narray_property \"a\" 1\narray\n", "Missing array count.", 3},
        {"object element with bad header", "component_schema \"N\" 1 1\narray_property \"a\" 1\nobject \"\" 1 0\n",
         "Invalid component schema header.", 3},
        {"end of input in a record", "component_schema \"N\" 1 2\nproperty \"a\" \"1\"\n", "Truncated or oversized component schema record.", 3},
        {"end of input before terminator", "component_schema \"N\" 1 0\n", "Truncated or oversized component schema record.", 2},
        {"end of input in an array", "component_schema \"N\" 1 1\narray_property \"a\" 2\nvalue \"1\"\n",
         "Truncated or oversized component schema record.", 4},
        {"record over its field limit", "component_schema \"N\" 1 1025\n", "Schema exceeds the nesting or field budget.", 1},
        {"scene keyword inside a record", "component_schema \"N\" 1 1\nend_entity\n", "Expected named schema property.", 2},
    };
    for (const BrokenInput& input : inputs) {
        const ReadFailure failure = ReadError(input.text);
        EXPECT_EQ(AtLine(input, failure), AtLine(input, {input.message, input.line}));
        const ReadFailure streamFailure = StreamReadError(input.text);
        EXPECT_EQ(AtLine(input, streamFailure), AtLine(input, {input.message, input.line})) << "through a stream";
    }
}

TEST(SchemaRecordTextTests, HostileCountsFailBeforeAnyLineIsRead) {
    const ReadFailure failure = ReadError("component_schema \"N\" 1 4294967295\n");
    EXPECT_EQ(failure.message, "Schema exceeds the nesting or field budget.");
    EXPECT_EQ(failure.line, 1u);
}

// ---- limits ------------------------------------------------------------------------------

TEST(SchemaRecordTextTests, LineOf65535BytesPassesBothWays) {
    // `property "a" "` and the closing quote take 15 bytes.
    const SchemaRecord record{"A", 1, {Leaf("a", std::string(65535 - 15, 'v'))}};
    const std::string text = FormatSchemaRecord(record);
    EXPECT_EQ(text.find('\n', 25) - 25, 65535u);
    EXPECT_EQ(ReadBlock(text), record);
    std::uint32_t lineCounter = 0;
    EXPECT_EQ(ReadBlockFromStream(text, lineCounter), record);
}

TEST(SchemaRecordTextTests, LineOf65536BytesFailsBothWays) {
    const SchemaRecord record{"A", 1, {Leaf("a", std::string(65536 - 15, 'v'))}};
    EXPECT_EQ(WriteError(record), "Schema exceeds its line or record byte budget.");
    const std::string text = "component_schema \"A\" 1 1\nproperty \"a\" \"" + std::string(65536 - 15, 'v') + "\"\n" +
                             "end_component_schema\n";
    EXPECT_EQ(ReadError(text).message, "Truncated or oversized component schema record.");
    EXPECT_EQ(ReadError(text).line, 2u);
    EXPECT_EQ(StreamReadError(text).message, "Truncated or oversized component schema record.");
}

TEST(SchemaRecordTextTests, EscapesCountTowardsTheLineLength) {
    // 32760 quotes become 65520 bytes: exactly the longest line; one more is too long.
    SchemaRecord record{"A", 1, {Leaf("a", std::string(32760, '"'))}};
    EXPECT_EQ(ReadBlock(FormatSchemaRecord(record)), record);
    std::get<0>(record.fields[0].value).push_back('\t');
    EXPECT_EQ(WriteError(record), "Schema exceeds its line or record byte budget.");
}

TEST(SchemaRecordTextTests, OverlongTokenIsRefusedOnWriting) {
    const SchemaRecord record{"A", 1, {ArrayField("a", LeafArray(1, std::string(200000, 'x')))}};
    EXPECT_EQ(WriteError(record), "Schema exceeds its line or record byte budget.");
}

TEST(SchemaRecordTextTests, HeaderLineOf65535BytesPassesBothWays) {
    // `component_schema "` and `" 1 0` take 23 bytes.
    const SchemaRecord record{std::string(65535 - 23, 'N'), 1, {}};
    const std::string text = FormatSchemaRecord(record);
    EXPECT_EQ(text.find('\n'), 65535u);
    EXPECT_EQ(ReadBlock(text), record);
}

TEST(SchemaRecordTextTests, HeaderLineOf65536BytesFailsBothWays) {
    const SchemaRecord record{std::string(65536 - 23, 'N'), 1, {}};
    EXPECT_EQ(WriteError(record), "Schema exceeds its line or record byte budget.");
    const std::string text = "component_schema \"" + record.name + "\" 1 0\nend_component_schema\n";
    EXPECT_EQ(ReadError(text).message, "Schema header exceeds the line limit.");
    EXPECT_EQ(StreamReadError(text).message, "Schema header exceeds the line limit.");
}

TEST(SchemaRecordTextTests, HeaderRestBeyondTheLineBufferIsAnOversizedLine) {
    const std::string text = "component_schema \"" + std::string(70000, 'N') + "\" 1 0\nend_component_schema\n";
    EXPECT_EQ(ReadError(text).message, "Truncated or oversized component schema record.");
    EXPECT_EQ(StreamReadError(text).message, "Truncated or oversized component schema record.");
}

TEST(SchemaRecordTextTests, RecordOfExactlyTheByteBudgetPassesBothWays) {
    const SchemaRecord record = RecordOfTextSize(1048576);
    const std::string text = FormatSchemaRecord(record);
    ASSERT_EQ(text.size(), 1048576u);
    EXPECT_EQ(ReadBlock(text), record);
    std::uint32_t lineCounter = 0;
    EXPECT_EQ(ReadBlockFromStream(text, lineCounter), record);
}

TEST(SchemaRecordTextTests, RecordOneByteOverTheBudgetFailsBothWays) {
    SchemaRecord record = RecordOfTextSize(1048576);
    std::string text = FormatSchemaRecord(record);
    std::get<0>(record.fields.back().value).push_back('y');
    EXPECT_EQ(WriteError(record), "Schema exceeds its line or record byte budget.");

    text.insert(text.rfind("y\""), "y");
    const ReadFailure failure = ReadError(text);
    EXPECT_EQ(failure.message, "Schema record exceeds its byte budget.");
    EXPECT_EQ(failure.line, 20u);
    EXPECT_EQ(StreamReadError(text).message, "Schema record exceeds its byte budget.");
}

TEST(SchemaRecordTextTests, TerminatorThatNoLongerFitsTheBudgetFails) {
    // 20 bytes left after the last field line: the 21 of `end_component_schema` don't fit.
    SchemaRecord record = RecordOfTextSize(1048576);
    std::string& last = std::get<0>(record.fields.back().value);
    last.resize(last.size() + 1);
    std::fill(last.begin(), last.end(), 'z');
    EXPECT_EQ(WriteError(record), "Schema exceeds its line or record byte budget.");
}

TEST(SchemaRecordTextTests, Depth16PassesAndDepth17FailsThroughRecords) {
    const SchemaRecord deepest = RecordChain(16);
    EXPECT_EQ(ReadBlock(FormatSchemaRecord(deepest)), deepest);

    const SchemaRecord tooDeep = RecordChain(17);
    EXPECT_EQ(WriteError(tooDeep), "Schema exceeds the nesting or field budget.");
    std::string text;
    for (int i = 0; i < 16; ++i) {
        text += i == 0 ? "component_schema \"Level\" 1 1\n" : "object_property \"inner\" \"Level\" 1 1\n";
    }
    text += "object_property \"inner\" \"Level\" 1 0\n";
    const ReadFailure failure = ReadError(text);
    EXPECT_EQ(failure.message, "Schema exceeds the nesting or field budget.");
    EXPECT_EQ(failure.line, 17u);
}

TEST(SchemaRecordTextTests, Depth16PassesAndDepth17FailsThroughArrays) {
    const SchemaRecord deepest = ArrayChain(16);
    EXPECT_EQ(ReadBlock(FormatSchemaRecord(deepest)), deepest);

    EXPECT_EQ(WriteError(ArrayChain(17)), "Schema exceeds the nesting or field budget.");
    const std::string text = "component_schema \"Arrays\" 1 1\narray_property \"nested\" 1\n" + [] {
        std::string lines;
        for (int depth = 3; depth <= 16; ++depth) {
            lines += "array 1\n";
        }
        return lines + "array 0\n";
    }();
    const ReadFailure failure = ReadError(text);
    EXPECT_EQ(failure.message, "Schema exceeds the nesting or field budget.");
    EXPECT_EQ(failure.line, 17u);
}

TEST(SchemaRecordTextTests, ObjectAndArrayElementsEachGoOneLevelDeeper) {
    const SchemaRecord deepest = AlternatingRecord(1, 16);
    EXPECT_EQ(WriteError(deepest), "");
    EXPECT_EQ(ReadBlock(FormatSchemaRecord(deepest)), deepest);

    const SchemaRecord tooDeep = AlternatingRecord(1, 17);
    EXPECT_EQ(WriteError(tooDeep), "Schema exceeds the nesting or field budget.");
    std::string text = FormatSchemaRecord(deepest);
    // The innermost empty array at depth 16 gets an object element at depth 17.
    text.replace(text.find("array_property \"a\" 0\n"), 21, "array_property \"a\" 1\nobject \"Level\" 1 0\n");
    EXPECT_EQ(ReadError(text).message, "Schema exceeds the nesting or field budget.");
}

TEST(SchemaRecordTextTests, Record1024FieldsPassAnd1025FailBothWays) {
    const SchemaRecord full = RecordWithLeafFields(1024);
    EXPECT_EQ(ReadBlock(FormatSchemaRecord(full)), full);

    const SchemaRecord over = RecordWithLeafFields(1025);
    EXPECT_EQ(WriteError(over), "Schema exceeds the nesting or field budget.");
    std::string text = FormatSchemaRecord(full);
    text.replace(text.find("1024"), 4, "1025");
    text.insert(text.rfind("end_component_schema"), "property \"f1024\" \"0\"\n");
    EXPECT_EQ(ReadError(text).message, "Schema exceeds the nesting or field budget.");
}

TEST(SchemaRecordTextTests, ReaderFindsARepeatedNameInALargeRecord) {
    std::string text = FormatSchemaRecord(RecordWithLeafFields(200));
    text.replace(text.find("\"f150\""), 6, "\"f10\"");
    const ReadFailure failure = ReadError(text);
    EXPECT_EQ(failure.message, "Empty or duplicate schema field.");
    EXPECT_EQ(failure.line, 152u);
}

TEST(SchemaRecordTextTests, Array1024ElementsPassAnd1025FailBothWays) {
    const SchemaRecord full{"A", 1, {ArrayField("a", LeafArray(1024))}};
    EXPECT_EQ(ReadBlock(FormatSchemaRecord(full)), full);

    const SchemaRecord over{"A", 1, {ArrayField("a", LeafArray(1025))}};
    EXPECT_EQ(WriteError(over), "Array exceeds its element limit.");
    std::string text = FormatSchemaRecord(full);
    text.replace(text.find(" 1024\n"), 6, " 1025\n");
    text.insert(text.rfind("end_array"), "value \"1\"\n");
    EXPECT_EQ(ReadError(text).message, "Array exceeds its element limit.");
}

SchemaRecord RecordOfTotalCount(std::size_t total) {
    // Four array fields take 4 of the count; the elements make up the rest.
    SchemaRecord record{"Totals", 1, {}};
    std::size_t elements = total - 4;
    for (int i = 0; i < 4; ++i) {
        const std::size_t count = std::min<std::size_t>(elements, 1024);
        record.fields.push_back(ArrayField(Numbered("a", i), LeafArray(count)));
        elements -= count;
    }
    return record;
}

TEST(SchemaRecordTextTests, Total4096ValuesPassAnd4097FailBothWays) {
    const SchemaRecord full = RecordOfTotalCount(4096);
    EXPECT_EQ(ReadBlock(FormatSchemaRecord(full)), full);

    const SchemaRecord over = RecordOfTotalCount(4097);
    EXPECT_EQ(WriteError(over), "Schema exceeds the nesting or field budget.");
    std::string text = FormatSchemaRecord(full);
    const std::size_t lastArray = text.rfind("array_property");
    const std::size_t countAt = text.find(' ', text.find('"', text.find('"', lastArray) + 1)) + 1;
    text.replace(countAt, 4, "1021");
    text.insert(text.rfind("end_array"), "value \"1\"\n");
    const ReadFailure failure = ReadError(text);
    EXPECT_EQ(failure.message, "Schema exceeds the nesting or field budget.");
}

TEST(SchemaRecordTextTests, BudgetCountsNestedRecordsAndArraysOfOneTopLevelRecordOnly) {
    // Each record of a sequence starts with a fresh budget.
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

TEST(SchemaFieldBudgetTests, ChargesUpToTheTotalAndRefusesBeyond) {
    SchemaFieldBudget budget;
    budget.Charge(1, 1024);
    budget.Charge(16, 1024);
    budget.Charge(2, 1024);
    budget.Charge(2, 1023);
    EXPECT_EQ(budget.Used(), 4095u);
    EXPECT_THROW(budget.Charge(2, 2), std::runtime_error);
    budget.Charge(2, 1);
    budget.Charge(2, 0);
    EXPECT_THROW(budget.Charge(17, 0), std::runtime_error);
    EXPECT_EQ(budget.Used(), 4096u);
}

TEST(SchemaRecordTests, FindFieldGivesTheNamedFieldOrNull) {
    SchemaRecord record{"A", 1, {Leaf("x", "1"), Leaf("y", "2")}};
    ASSERT_NE(record.FindField("y"), nullptr);
    EXPECT_EQ(std::get<0>(record.FindField("y")->value), "2");
    EXPECT_EQ(record.FindField("z"), nullptr);
}

TEST(SchemaRecordTests, EqualityIsDeepAndOrderSensitive) {
    const SchemaRecord a{"A", 1, {Leaf("x", "1"), ArrayField("y", LeafArray(2))}};
    SchemaRecord b = a;
    EXPECT_EQ(a, b);
    std::get<0>(std::get<2>(b.fields[1].value).elements[1]) = "2";
    EXPECT_FALSE(a == b);
    const SchemaRecord swapped{"A", 1, {ArrayField("y", LeafArray(2)), Leaf("x", "1")}};
    EXPECT_FALSE(a == swapped);
    EXPECT_FALSE(a == (SchemaRecord{"A", 2, a.fields}));
}

} // namespace
} // namespace Brelk::Reflection
