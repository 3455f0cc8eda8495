#include "engine/reflection/ReflectedTypeBuilder.h"
#include "engine/reflection/ReflectionRegistry.h"
#include "engine/reflection/SchemaCodec.h"
#include "engine/reflection/SchemaRecordText.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace Brelk::Reflection {
namespace {

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

template <class F>
std::string FailureOf(F&& call) {
    try {
        call();
    } catch (const std::runtime_error& exception) {
        return exception.what();
    }
    return "no exception";
}

std::string Repeat(const std::string& text, int times) {
    std::string result;
    for (int i = 0; i < times; ++i) {
        result += text;
    }
    return result;
}

class SchemaCodecLimits : public ::testing::Test {
protected:
    SchemaCodecLimits() {
        ReflectedTypeBuilder<Node>("Node", "", "", registry).Field("children", &Node::children);
        ReflectedTypeBuilder<Rows>("Rows", "", "", registry).Field("rows", &Rows::rows);
    }

    // A chain of `count` nodes: the top record is at depth 1, each node's children array one
    // deeper, each child node one deeper again.
    static Node Chain(int count) {
        Node top;
        Node* current = &top;
        for (int i = 1; i < count; ++i) {
            current->children.emplace_back();
            current = &current->children.back();
        }
        return top;
    }

    static Rows RowsOf(std::initializer_list<std::size_t> sizes) {
        Rows value;
        for (const std::size_t size : sizes) {
            value.rows.emplace_back(size, 0.25f);
        }
        return value;
    }

    void RegisterBlockFields(int count) {
        registry.RegisterType<Block>("Block");
        for (int i = 0; i < count; ++i) {
            registry.AddOffsetProperty<bool>("Block", "f" + std::to_string(i), static_cast<std::size_t>(i),
                                             PropertyKind::Bool, {}, false);
        }
    }

    SchemaRecord BlockRecord(int count) {
        SchemaRecord record;
        record.name = "Block";
        record.version = 1;
        for (int i = 0; i < count; ++i) {
            record.fields.push_back(SchemaField{"f" + std::to_string(i), SchemaValue{std::in_place_index<0>, "1"}});
        }
        return record;
    }

    ReflectionRegistry registry;
    SchemaCodecContext context;
};

TEST_F(SchemaCodecLimits, DepthSixteenPassesBothWays) {
    const Node chain = Chain(8); // the last node's empty array stands at depth 16
    const SchemaRecord record = EncodeObject(MakeConstView(chain), registry, context);
    Node back;
    DecodeObject(record, MakeView(back), registry, context);
    const Node* current = &back;
    int count = 1;
    while (!current->children.empty()) {
        current = &current->children.front();
        ++count;
    }
    EXPECT_EQ(count, 8);
    EXPECT_NO_THROW((void)FormatSchemaRecord(record));
}

TEST_F(SchemaCodecLimits, DepthSeventeenFailsOnEncoding) {
    const Node chain = Chain(9);
    EXPECT_EQ(FailureOf([&] { (void)EncodeObject(MakeConstView(chain), registry, context); }),
              Repeat("Node.children: ", 8) + kBudget);
}

TEST_F(SchemaCodecLimits, DepthSeventeenFailsOnDecoding) {
    SchemaRecord record = EncodeObject(MakeConstView(Chain(8)), registry, context);
    SchemaRecord* deepest = &record;
    for (int i = 1; i < 8; ++i) {
        deepest = &std::get<SchemaRecord>(std::get<SchemaArray>(deepest->fields[0].value).elements[0]);
    }
    SchemaRecord ninth;
    ninth.name = "Node";
    ninth.version = 1;
    std::get<SchemaArray>(deepest->fields[0].value).elements.emplace_back(std::move(ninth));
    Node back;
    EXPECT_EQ(FailureOf([&] { DecodeObject(record, MakeView(back), registry, context); }),
              Repeat("Node.children: ", 8) + kBudget);
}

TEST_F(SchemaCodecLimits, ExactlyFourThousandNinetySixValuesPassBothWays) {
    // 1 field + 4 rows + 4091 elements.
    const Rows value = RowsOf({1023, 1023, 1023, 1022});
    const SchemaRecord record = EncodeObject(MakeConstView(value), registry, context);
    Rows back;
    DecodeObject(record, MakeView(back), registry, context);
    EXPECT_EQ(back.rows, value.rows);
    EXPECT_NO_THROW((void)FormatSchemaRecord(record));
}

TEST_F(SchemaCodecLimits, OneValueMoreThanFourThousandNinetySixFailsOnEncoding) {
    const Rows value = RowsOf({1023, 1023, 1023, 1023});
    EXPECT_EQ(FailureOf([&] { (void)EncodeObject(MakeConstView(value), registry, context); }), "Rows.rows: " + kBudget);
}

TEST_F(SchemaCodecLimits, OneValueMoreThanFourThousandNinetySixFailsOnDecoding) {
    SchemaRecord record = EncodeObject(MakeConstView(RowsOf({1023, 1023, 1023, 1022})), registry, context);
    std::get<SchemaArray>(std::get<SchemaArray>(record.fields[0].value).elements[3])
        .elements.emplace_back(std::in_place_index<0>, "1");
    Rows back;
    EXPECT_EQ(FailureOf([&] { DecodeObject(record, MakeView(back), registry, context); }), "Rows.rows: " + kBudget);
}

TEST_F(SchemaCodecLimits, ATypeOf1024PropertiesPassesBothWays) {
    RegisterBlockFields(1024);
    auto block = std::make_unique<Block>();
    block->flags[1023] = true;
    const SchemaRecord record = EncodeObject(MakeConstView(*block), registry, context);
    EXPECT_EQ(record.fields.size(), 1024u);
    auto back = std::make_unique<Block>();
    DecodeObject(BlockRecord(1024), MakeView(*back), registry, context);
    EXPECT_TRUE(back->flags[0]);
    EXPECT_TRUE(back->flags[1023]);
}

TEST_F(SchemaCodecLimits, ATypeOf1025PropertiesFailsOnEncoding) {
    RegisterBlockFields(1025);
    auto block = std::make_unique<Block>();
    EXPECT_EQ(FailureOf([&] { (void)EncodeObject(MakeConstView(*block), registry, context); }), kBudget);
}

TEST_F(SchemaCodecLimits, ARecordOf1025FieldsFailsOnDecoding) {
    RegisterBlockFields(1024);
    auto block = std::make_unique<Block>();
    SchemaRecord record = BlockRecord(1024);
    record.fields.push_back(record.fields.front());
    EXPECT_EQ(FailureOf([&] { DecodeObject(record, MakeView(*block), registry, context); }), kBudget);
}

} // namespace
} // namespace Brelk::Reflection
