#include "engine/reflection/ReflectedTypeBuilder.h"
#include "engine/reflection/ReflectionRegistry.h"
#include "engine/reflection/SchemaCodec.h"
#include "engine/reflection/SchemaRecordText.h"

#include "tests/support/TestSupport.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace Brelk::Reflection {
namespace {

using Testing::ThrownMessage;

struct Node {
    std::vector<Node> children;
};

struct Rows {
    std::vector<std::vector<float>> rows;
};

struct Block {
    bool flags[1100]{};
};

const std::string kBudget = "Schema exceeds the nesting or field budget.";

class SchemaCodecLimits : public ::testing::Test {
protected:
    SchemaCodecLimits() {
        ReflectedTypeBuilder<Node>("Node", "", "", registry).Field("children", &Node::children);
        ReflectedTypeBuilder<Rows>("Rows", "", "", registry).Field("rows", &Rows::rows);
    }

    template <class T>
    SchemaRecord Encode(const T& value) { return EncodeObject(MakeConstView(value), registry, context); }

    // Decodes into a fresh object and writes it back, or gives the failure message.
    template <class T>
    std::string RoundTrip(const SchemaRecord& record) {
        auto value = std::make_unique<T>();
        return ThrownMessage([&] {
            DecodeObject(record, MakeView(*value), registry, context);
            if (!(Encode(*value) == record)) throw std::runtime_error("changed by the round trip");
            (void)FormatSchemaRecord(record);
        });
    }

    ReflectionRegistry registry;
    SchemaCodecContext context;
};

// A chain of `count` nodes: the top record is at depth 1, each node's children array one
// deeper, each child node one deeper again.
Node Chain(int count) {
    Node top;
    Node* current = &top;
    for (int i = 1; i < count; ++i) current = &current->children.emplace_back();
    return top;
}

std::string Repeat(const std::string& text, int times) {
    std::string result;
    for (int i = 0; i < times; ++i) result += text;
    return result;
}

TEST_F(SchemaCodecLimits, Depth16PassesAndDepth17FailsBothWays) {
    const SchemaRecord record = Encode(Chain(8)); // the last node's empty array stands at depth 16
    EXPECT_EQ(RoundTrip<Node>(record), "<no exception>");
    EXPECT_EQ(ThrownMessage([&] { (void)Encode(Chain(9)); }), Repeat("Node.children: ", 8) + kBudget);
    SchemaRecord deeper = record;
    SchemaRecord* deepest = &deeper;
    for (int i = 1; i < 8; ++i) {
        deepest = &std::get<SchemaRecord>(std::get<SchemaArray>(deepest->fields[0].value).elements[0]);
    }
    std::get<SchemaArray>(deepest->fields[0].value).elements.emplace_back(SchemaRecord{"Node", 1, {}});
    EXPECT_EQ(RoundTrip<Node>(deeper), Repeat("Node.children: ", 8) + kBudget);
}

TEST_F(SchemaCodecLimits, Exactly4096ValuesPassAndOneMoreFailsBothWays) {
    Rows value; // 1 field + 4 rows + 4091 elements
    for (const std::size_t size : {1023, 1023, 1023, 1022}) value.rows.emplace_back(size, 0.25f);
    SchemaRecord record = Encode(value);
    EXPECT_EQ(RoundTrip<Rows>(record), "<no exception>");
    std::get<SchemaArray>(std::get<SchemaArray>(record.fields[0].value).elements[3])
        .elements.emplace_back(std::in_place_index<0>, "1");
    EXPECT_EQ(RoundTrip<Rows>(record), "Rows.rows: " + kBudget);
    value.rows[3].push_back(1.0f);
    EXPECT_EQ(ThrownMessage([&] { (void)Encode(value); }), "Rows.rows: " + kBudget);
}

TEST_F(SchemaCodecLimits, ATypeOf1024PropertiesPassesAnd1025FailBothWays) {
    registry.RegisterType<Block>("Block");
    SchemaRecord record{"Block", 1, {}};
    for (int i = 0; i < 1025; ++i) {
        registry.AddOffsetProperty<bool>("Block", "f" + std::to_string(i), static_cast<std::size_t>(i),
                                         PropertyKind::Bool, {}, false);
        record.fields.push_back(SchemaField{"f" + std::to_string(i), SchemaValue{std::in_place_index<0>, "1"}});
    }
    auto block = std::make_unique<Block>();
    EXPECT_EQ(ThrownMessage([&] { (void)Encode(*block); }), kBudget);
    EXPECT_EQ(RoundTrip<Block>(record), kBudget);
    registry.FindType("Block")->properties.pop_back();
    record.fields.pop_back();
    EXPECT_EQ(RoundTrip<Block>(record), "<no exception>");
    DecodeObject(record, MakeView(*block), registry, context);
    EXPECT_TRUE(block->flags[0] && block->flags[1023] && !block->flags[1024]);
}

} // namespace
} // namespace Brelk::Reflection
