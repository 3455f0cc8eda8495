#include "engine/reflection/ReflectedTypeBuilder.h"
#include "engine/reflection/ReflectionRegistry.h"
#include "engine/reflection/SchemaCodec.h"
#include "engine/reflection/SchemaRecordText.h"

#include "engine/core/Guid.h"
#include "engine/core/NumberText.h"
#include "tests/support/TextCases.h"

#include <gtest/gtest.h>
#include <glm/ext/quaternion_float.hpp>
#include <glm/vec2.hpp>
#include <glm/vec3.hpp>
#include <glm/vec4.hpp>

#include <array>
#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Brelk::Reflection {
namespace {

using Core::Guid;
using Testing::ThrownMessage;

struct Link {
    std::uint32_t entity = 0;
    Guid guid;
};

} // namespace

template <>
struct EntityLinkTraits<Link> {
    static constexpr bool isLink = true;
    static const Guid* GetGuid(const Link& link) { return &link.guid; }
    static void SetGuid(Link& link, const Guid& guid) { link.guid = guid; }
};

namespace {

enum class Shade : std::uint8_t { Red, Green, Blue };
enum class Level : std::int32_t { Low = -5, Zero = 0, High = 7 };

struct Inner {
    glm::vec3 scale{1.0f};
    float weight = 0.5f;
};

struct Everything {
    bool flag = true;
    std::int32_t count = -3;
    std::uint32_t mask = 0xffffffffu, target = 0;
    std::uint64_t big = 0, mesh = 0;
    float ratio = 0.1f;
    std::string label = "x";
    glm::vec2 uv{0.5f, 1.0f};
    glm::vec3 position{1.0f, 2.0f, 3.0f};
    glm::vec4 color{1.0f};
    glm::quat rotation{1.0f, 0.0f, 0.0f, 0.0f};
    Shade shade = Shade::Green;
    Level level = Level::Low;
    Guid id;
    Link link;
    Inner inner;
    std::vector<float> samples;
    std::vector<Inner> inners;
    std::vector<std::vector<std::int32_t>> grid;
    std::array<float, 4> fixed{};
    std::vector<Shade> shades;
    std::vector<std::uint64_t> materials;
};

struct Locked {
    float value = 1.0f;
};

struct Node {
    std::vector<Node> children;
};

struct Rows {
    std::vector<std::vector<float>> rows;
};

const std::string kBudget = "Schema exceeds the nesting or field budget.";

const Guid kGuidA{0x0123456789abcdefull, 0xfedcba9876543210ull};
const Guid kGuidB{0x1111111111111111ull, 0x2222222222222222ull};

const std::string kLabel = "say \"hi\"\\ \t\n\r tab, Grüße, 日本" + std::string("\0\x01\xff", 3) + "end";

class SchemaCodec : public ::testing::Test {
protected:
    SchemaCodec() {
        registry.RegisterAssetType("Mesh", 1);
        registry.RegisterAssetType("Material", 3);
        registry.RegisterEnum<Shade>("Shade", {EnumValueOf(Shade::Red, "Red"), EnumValueOf(Shade::Green, "Green"),
                                               EnumValueOf(Shade::Blue, "Blue", "Deep Blue"),
                                               EnumValue{std::uint64_t{255}, "Max", ""}});
        registry.RegisterEnum<Level>("Level", {EnumValueOf(Level::Low, "Low"), EnumValueOf(Level::Zero, "Zero"),
                                               EnumValueOf(Level::High, "High")});
        ReflectedTypeBuilder<Inner>("Inner", "Inner", "Test", registry)
            .Field("scale", &Inner::scale).Field("weight", &Inner::weight);
        using E = Everything;
        ReflectedTypeBuilder<E>("Everything", "Everything", "Test", registry)
            .Field("flag", &E::flag).Field("count", &E::count).Field("mask", &E::mask).Field("big", &E::big)
            .Field("ratio", &E::ratio).Field("label", &E::label).Field("uv", &E::uv).Field("position", &E::position)
            .Field("color", &E::color, FieldAttr().Color()).Field("rotation", &E::rotation)
            .Field("shade", &E::shade, FieldAttr().Enum("Shade")).Field("level", &E::level, FieldAttr().Enum("Level"))
            .Field("mesh", &E::mesh, FieldAttr().AssetType("Mesh"))
            .Field("target", &E::target, FieldAttr().Kind(PropertyKind::Entity))
            .Field("id", &E::id).Field("link", &E::link).Field("inner", &E::inner).Field("samples", &E::samples)
            .Field("inners", &E::inners).Field("grid", &E::grid).Field("fixed", &E::fixed)
            .Field("shades", &E::shades, FieldAttr().Enum("Shade"))
            .Field("materials", &E::materials, FieldAttr().AssetType("Material"));
        ReflectedTypeBuilder<Node>("Node", "", "", registry).Field("children", &Node::children);
        ReflectedTypeBuilder<Rows>("Rows", "", "", registry).Field("rows", &Rows::rows);

        context.assetToText = [](std::uint64_t asset, const Assets::AssetTypeInfo& type) {
            return asset == 404 ? std::string() : type.name + ":" + std::to_string(asset);
        };
        context.textToAsset = [](const std::string& text, const Assets::AssetTypeInfo& type) -> std::uint64_t {
            const std::string prefix = type.name + ":";
            if (text == "absent") return kAbsentAssetId;
            return text.rfind(prefix, 0) != 0 ? 0 : std::stoull(text.substr(prefix.size()));
        };
        context.entityToGuid = [](EntityHandle e) { return e == 7 ? kGuidA : (e == 8 ? kGuidB : Guid{}); };
        context.guidToEntity = [](const Guid& g) -> EntityHandle { return g == kGuidA ? 7 : (g == kGuidB ? 8 : 0); };
    }

    template <class T>
    SchemaRecord Encode(const T& value) { return EncodeObject(MakeConstView(value), registry, context); }

    Everything Decode(const SchemaRecord& record, Everything value = {}) {
        DecodeObject(record, MakeView(value), registry, context);
        return value;
    }

    template <class T>
    std::string EncodeFailure(const T& value) { return ThrownMessage([&] { (void)Encode(value); }); }
    std::string DecodeFailure(const SchemaRecord& record) { return ThrownMessage([&] { (void)Decode(record); }); }

    SchemaRecord WithLeaf(std::string_view field, std::string text) {
        SchemaRecord record = Encode(Everything{});
        record.FindField(field)->value = std::move(text);
        return record;
    }

    // Decodes into a fresh object and writes it back as record and text, or gives the failure message.
    template <class T>
    std::string RoundTrip(const SchemaRecord& record) {
        auto value = std::make_unique<T>();
        return ThrownMessage([&] {
            DecodeObject(record, MakeView(*value), registry, context);
            const std::string written = ThrownMessage([&] { (void)FormatSchemaRecord(Encode(*value)); });
            if (written != "<no exception>" || !(Encode(*value) == record)) {
                throw std::runtime_error("read, but not written back alike: " + written);
            }
        });
    }

    ReflectionRegistry registry;
    SchemaCodecContext context;
};

Everything Populated() {
    return {.flag = false, .count = std::numeric_limits<std::int32_t>::min(), .mask = 4000000000u, .target = 7,
            .big = std::numeric_limits<std::uint64_t>::max(), .mesh = 42, .ratio = -0.0f, .label = kLabel,
            .uv = {1.0e-45f, -3.40282347e38f}, .position = {0.1f, 1.17549435e-38f, 16777216.0f},
            .color = {0.25f, 0.5f, 0.75f, 1.0f}, .rotation = glm::quat(0.5f, 0.1f, 0.2f, 0.3f), .shade = Shade::Blue,
            .id = kGuidB, .link = Link{0, kGuidA}, .inner = Inner{glm::vec3(2.0f, 3.0f, 4.0f), 0.75f},
            // 1.17549421e-38 is the largest denormal.
            .samples = {1.0f, 0.1f, -2.5e-7f, 1.17549421e-38f, 123456792.0f, -1.0e-45f},
            .inners = {Inner{}, Inner{glm::vec3(5.0f), 6.0f}}, .grid = {{1, 2}, {}, {-3}},
            .fixed = {1.0f, 2.0f, 3.0f, 4.0f}, .shades = {Shade::Red, Shade::Blue}, .materials = {3, 9}};
}

TEST_F(SchemaCodec, EveryPropertyKindWritesItsCanonicalTextInDeclarationOrderAndReadsItBack) {
    const SchemaRecord record = Encode(Populated());
    Testing::ExpectGoldenText(std::string(BRELK_TEST_DATA_DIR) + "/PopulatedRecord.txt", FormatSchemaRecord(record));
    EXPECT_EQ(Encode(Decode(record)), record);
    // Fields missing from the record take their default.
    EXPECT_EQ(Encode(Decode(SchemaRecord{"Everything", 1, {}}, Populated())), Encode(Everything{}));
}

TEST_F(SchemaCodec, LeafTextReadsBackToItsCanonicalFormOrFailsWithItsExactMessage) {
    const auto outcome = [&](std::string_view field, const std::string& text) {
        SchemaRecord back;
        const std::string failure = ThrownMessage([&] { back = Encode(Decode(WithLeaf(field, text), Populated())); });
        return failure != "<no exception>" ? failure : "writes \"" + std::get<0>(back.FindField(field)->value) + '"';
    };
    Testing::ExpectTextCases(std::string(BRELK_TEST_DATA_DIR) + "/LeafTexts.txt", [&](const Testing::TextCase& c) {
        const std::string line = c.input.substr(0, c.input.find('\n'));
        const std::size_t space = std::min(line.find(' '), line.size());
        return outcome(line.substr(0, space), line.substr(std::min(space + 1, line.size())));
    });
    // White space around the components would not survive a case file's lines.
    EXPECT_EQ(outcome("position", " 1\t2   3 "), "writes \"1 2 3\"");
}

// Broken records that the text form can hold are cases of DecodedRecords.txt.
TEST_F(SchemaCodec, BrokenRecordsAndViewsFailWithTheirExactMessage) {
    const std::string unsupported = "Unsupported component schema, version, or destination: Everything";
    EXPECT_EQ(DecodeFailure(SchemaRecord{"Everything", 0, {}}), unsupported);
    EXPECT_EQ(DecodeFailure(SchemaRecord{"Everything", 1, {{"count", "1"}, {"count", "2"}}}),
              "Unknown, duplicate, or unavailable schema field: Everything.count");
    const SchemaArray oversized{std::vector<SchemaValue>(1025, SchemaValue("1"))};
    EXPECT_EQ(DecodeFailure(SchemaRecord{"Everything", 1, {{"samples", oversized}}}),
              "Everything.samples: Expected a bounded collection.");
    const auto decodeInto = [&](ObjectView view) {
        return ThrownMessage([&] { DecodeObject(SchemaRecord{"Everything", 1, {}}, view, registry, context); });
    };
    const Everything value;
    EXPECT_EQ(decodeInto(MakeConstView(value)), unsupported);
    const std::string missing = "Missing or invalid object schema or storage.";
    EXPECT_EQ(decodeInto(ObjectView{}), missing);
    EXPECT_EQ(EncodeFailure(Locked{}), missing);
    EXPECT_EQ(ThrownMessage([&] { (void)EncodeObject(ObjectView{}, registry, context); }), missing);
}

TEST_F(SchemaCodec, UnsavableValuesFailWithTheirExactMessage) {
    using F = std::numeric_limits<float>;
    const std::pair<void (*)(Everything&), const char*> cases[] = {
        {[](Everything& v) { v.ratio = F::quiet_NaN(); }, "ratio: Cannot save a non-finite schema value."},
        {[](Everything& v) { v.position.y = F::infinity(); }, "position: Cannot save a non-finite schema value."},
        {[](Everything& v) { v.samples = {1.0f, F::quiet_NaN()}; }, "samples: Cannot save a non-finite schema value."},
        {[](Everything& v) { v.shade = Shade{9}; }, "shade: Unregistered enum value or rejected accessor."},
        {[](Everything& v) { v.mesh = 404; }, "mesh: Unresolved non-null asset reference."},
        {[](Everything& v) { v.target = 99; }, "target: Entity reference has no stable GUID."},
        {[](Everything& v) { v.samples.assign(1025, 0.5f); }, "samples: Invalid or oversized collection."},
    };
    for (const auto& [change, message] : cases) {
        Everything value;
        change(value);
        EXPECT_EQ(EncodeFailure(value), std::string("Everything.") + message);
    }
}

TEST_F(SchemaCodec, NullReferencesNeedNoHostCodecButOthersDo) {
    const SchemaRecord defaults = Encode(Everything{});
    context = {};
    EXPECT_EQ(Encode(Everything{}), defaults);
    Everything value;
    value.mesh = 5;
    value.target = 7;
    const Everything read = Decode(defaults, value);
    EXPECT_TRUE(read.mesh == 0u && read.target == 0u);
    EXPECT_EQ(Decode(WithLeaf("target", "00000000-0000-0000-0000-000000000000"), value).target, 0u);

    EXPECT_EQ(EncodeFailure(value), "Everything.mesh: Asset reference requires a host codec.");
    value.mesh = 0;
    EXPECT_EQ(EncodeFailure(value), "Everything.target: Entity reference requires a host codec.");
    EXPECT_EQ(DecodeFailure(WithLeaf("mesh", "Mesh:5")), "Everything.mesh: Asset reference requires a host codec.");
    EXPECT_EQ(DecodeFailure(WithLeaf("target", kGuidA.ToString())),
              "Everything.target: Entity reference requires a host codec.");
}

struct Versioned {
    float kept = 1.0f;
    float retired = 2.0f;
    float added = 3.0f;
    float runtime = 4.0f;
};

TEST_F(SchemaCodec, RecordsReadOnlyTheLiveSavedFieldsOfTheirVersionOrFailWithTheirExactMessage) {
    ReflectedTypeBuilder<Versioned>("Versioned", "", "", registry)
        .Version(3)
        .Field("kept", &Versioned::kept)
        .Field("retired", &Versioned::retired, FieldAttr().Until(2))
        .Field("added", &Versioned::added, FieldAttr().Since(3))
        .Field("runtime", &Versioned::runtime, FieldAttr().NotSaved());
    EXPECT_EQ(Encode(Versioned{}), (SchemaRecord{"Versioned", 3, {{"kept", "1"}, {"added", "3"}}}));
    Testing::ExpectTextCases(std::string(BRELK_TEST_DATA_DIR) + "/DecodedRecords.txt", [&](const Testing::TextCase& c) {
        SchemaLineCursor lines(c.input);
        std::string_view header;
        (void)lines.NextLine(header);
        const SchemaRecord record = ReadSchemaRecord(header.substr(header.find(' ')), lines);
        if (record.name != "Versioned") return DecodeFailure(record);
        Versioned value{10.0f, 20.0f, 30.0f, 40.0f};
        const std::string failure = ThrownMessage([&] { DecodeObject(record, MakeView(value), registry, context); });
        if (failure != "<no exception>") return failure;
        std::string read;
        for (const float field : {value.kept, value.retired, value.added, value.runtime}) {
            Core::AppendFloat9(read.append(read.empty() ? "" : " "), field);
        }
        return read;
    });
}

struct Lists {
    std::vector<Shade> shades;
    std::vector<std::uint64_t> assets;
    std::vector<Locked> strays;
    std::vector<float> opaque;
};

TEST_F(SchemaCodec, CollectionElementsNeedARegisteredSchema) {
    ReflectedTypeBuilder<Lists>("Lists", "", "", registry)
        .Field("shades", &Lists::shades, FieldAttr().Enum("Missing"))
        .Field("assets", &Lists::assets, FieldAttr().AssetType("Texture"))
        .Field("strays", &Lists::strays)
        .Field("opaque", &Lists::opaque, FieldAttr().Kind(PropertyKind::Custom));
    TypeInfo& type = *registry.FindType("Lists");
    Lists lists;
    EXPECT_EQ(EncodeFailure(lists), "Lists.shades: Missing or mismatched enum schema.");
    type.properties[0].attributes.enumName = "Level";
    EXPECT_EQ(EncodeFailure(lists), "Lists.shades: Missing or mismatched enum schema.");
    type.properties[0].attributes.enumName = "Shade";
    EXPECT_EQ(EncodeFailure(lists), "Lists.assets: Collection asset constraint is not registered.");
    type.properties[1].attributes.assetType = "Mesh";
    EXPECT_EQ(EncodeFailure(lists), "Lists.strays: Collection object schema is not registered.");
    registry.RegisterType<Locked>("Locked");
    EXPECT_EQ(EncodeFailure(lists), "Lists.opaque: Opaque collection elements require a schema codec.");
    registry.FindType("Everything")->FindProperty("mesh")->attributes.assetType = "Texture";
    EXPECT_EQ(EncodeFailure(Everything{}), "Everything.mesh: Invalid asset constraint or storage.");

    const SchemaRecord record{"Lists", 1, {{"opaque", SchemaArray{}}}};
    EXPECT_EQ(ThrownMessage([&] { DecodeObject(record, MakeView(lists), registry, context); }),
              "Lists.opaque: Opaque collection elements require a schema codec.");
}

struct Box {
    std::vector<float> values{1.0f};
    float single = 0.0f;
    Link link;
    std::uint64_t mesh = 0;
};

void Substitute(PropertyInfo& property, const ObjectViewOperations* operations, std::type_index viewType) {
    const auto retype = [=](ObjectView view) {
        view.operations = operations;
        view.type = viewType;
        return view;
    };
    property.constView = [retype, original = property.constView](const void* owner) { return retype(original(owner)); };
    property.mutableView = [retype, original = property.mutableView](void* owner) { return retype(original(owner)); };
}

TEST(SchemaCodecProperties, PropertiesAndViewsThatCannotBeCodedAreRefused) {
    ObjectViewOperations refusing{};
    ObjectViewOperations accepting{};
    accepting.accepts = [](const ValueSchema&) { return true; };
    ObjectViewOperations huge = accepting;
    huge.shape = 2;
    huge.size = [](const void*) -> std::uint64_t { return std::uint64_t{1} << 40; };
    ObjectViewOperations blind = ViewOperationsFor<std::vector<float>>();
    blind.visitConst = [](const void*, std::uint64_t, ViewVisitor) { return false; };
    blind.visitMutable = [](void*, std::uint64_t, ViewVisitor) { return false; };
    using Tweak = std::function<void(PropertyInfo&)>;
    const auto views = [](const ObjectViewOperations& operations, std::type_index viewType) -> Tweak {
        return [&operations, viewType](PropertyInfo& property) { Substitute(property, &operations, viewType); };
    };
    // A default that is missing or cannot be encoded fails only the load that keeps it.
    const Tweak nanDefault = [](PropertyInfo& p) { p.defaultValue = std::numeric_limits<float>::quiet_NaN(); };
    const std::string rejected = "Box.single: Schema accessor rejected value storage.";
    const std::string leafKind = "Box.single: Unsupported schema leaf kind.";
    const std::string link = "Box.link: Invalid entity-reference storage.";
    const std::string mesh = "Box.mesh: Invalid asset constraint or storage.";
    const char* passes = "<no exception>";
    const struct {
        const char* property;
        FieldAttr attributes; // of `single`
        Tweak tweak;
        const char* encoded;
        std::optional<SchemaValue> read; // none: the field is missing from the record
        std::string decoded;
    } cases[] = {
        {"single", FieldAttr().ReadOnly(), nullptr, "Box.single: Schema record requires a writable property: single",
         std::nullopt, "Schema record requires a writable property: single"},
        {"single", {}, [](PropertyInfo& p) { p.valueType = typeid(double); },
         "Box.single: Property schema disagrees with its storage: single", std::nullopt,
         "Property schema disagrees with its storage: single"},
        {"single", {}, [](PropertyInfo& p) { p.defaultValue.reset(); }, passes, std::nullopt,
         "Property has no writable schema default: single"},
        {"single", FieldAttr().Kind(PropertyKind::Custom), nullptr, leafKind.c_str(), "1", leafKind},
        {"single", {}, nanDefault, passes, std::nullopt, "Box.single: Cannot save a non-finite schema value."},
        {"single", {}, nanDefault, passes, "2", passes},
        {"single", {}, views(refusing, typeid(float)), "Box.single: Value schema disagrees with captured storage.",
         "1", "Box.single: Value schema disagrees with writable storage."},
        {"single", {}, views(accepting, typeid(std::int32_t)), rejected.c_str(), "1", rejected},
        {"link", {}, views(accepting, typeid(Link)), link.c_str(), "", link},
        {"mesh", {}, views(accepting, typeid(std::int64_t)), mesh.c_str(), "", mesh},
        {"values", {}, views(huge, typeid(std::vector<float>)), "Box.values: Invalid or oversized collection.", "",
         "Box.values: Expected a bounded collection."},
        {"values", {}, views(blind, typeid(std::vector<float>)), "Box.values: Collection element accessor failed.",
         SchemaArray{{"1"}}, "Box.values: Mutable collection element accessor failed."},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.property) + ": " + c.encoded + c.decoded);
        ReflectionRegistry registry;
        registry.RegisterAssetType("Mesh", 1);
        ReflectedTypeBuilder<Box>("Box", "", "", registry)
            .Field("values", &Box::values)
            .Field("single", &Box::single, c.attributes)
            .Field("link", &Box::link)
            .Field("mesh", &Box::mesh, FieldAttr().AssetType("Mesh"));
        if (c.tweak) c.tweak(*registry.FindType("Box")->FindProperty(c.property));
        const SchemaCodecContext context;
        Box box;
        EXPECT_EQ(ThrownMessage([&] { (void)EncodeObject(MakeConstView(box), registry, context); }), c.encoded);
        SchemaRecord record{"Box", 1, {}};
        if (c.read) record.fields.push_back({c.property, *c.read});
        EXPECT_EQ(ThrownMessage([&] { DecodeObject(record, MakeView(box), registry, context); }), c.decoded);
    }
}

// A chain of `count` nodes: the top record is at depth 1, each node's children array one
// deeper, each child node one deeper again.
Node Chain(int count) {
    Node top;
    Node* current = &top;
    for (int i = 1; i < count; ++i) current = &current->children.emplace_back();
    return top;
}

struct Block {
    bool flags[1100]{};
};

// Nesting to depth 16, 4096 values in all and 1024 properties in a type pass; one more fails
// when written and when read.
TEST_F(SchemaCodec, EveryBudgetHoldsUpToItsLimitAndFailsOneBeyondBothWays) {
    const SchemaRecord record = Encode(Chain(8)); // the last node's empty array stands at depth 16
    EXPECT_EQ(RoundTrip<Node>(record), "<no exception>");
    std::string prefix;
    for (int i = 0; i < 8; ++i) prefix += "Node.children: ";
    EXPECT_EQ(EncodeFailure(Chain(9)), prefix + kBudget);
    // One more node on top puts the last node's empty array at depth 18, the node itself at 17.
    EXPECT_EQ(RoundTrip<Node>(SchemaRecord{"Node", 1, {{"children", SchemaArray{{record}}}}}), prefix + kBudget);

    Rows value; // 1 field + 4 rows + 4091 elements, each row up to the 1024 a collection holds
    for (const std::size_t size : {1024, 1024, 1024, 1019}) value.rows.emplace_back(size, 0.25f);
    SchemaRecord rows = Encode(value);
    EXPECT_EQ(RoundTrip<Rows>(rows), "<no exception>");
    std::get<SchemaArray>(std::get<SchemaArray>(rows.fields[0].value).elements[3]).elements.emplace_back("1");
    EXPECT_EQ(RoundTrip<Rows>(rows), "Rows.rows: " + kBudget);
    value.rows[3].push_back(1.0f);
    EXPECT_EQ(EncodeFailure(value), "Rows.rows: " + kBudget);

    registry.RegisterType<Block>("Block");
    SchemaRecord fields{"Block", 1, {}};
    for (int i = 0; i < 1025; ++i) {
        registry.AddOffsetProperty<bool>("Block", "f" + std::to_string(i), static_cast<std::size_t>(i),
                                         PropertyKind::Bool, {}, false);
        fields.fields.push_back({"f" + std::to_string(i), "1"});
    }
    EXPECT_EQ(EncodeFailure(*std::make_unique<Block>()), kBudget);
    EXPECT_EQ(RoundTrip<Block>(fields), kBudget);
    registry.FindType("Block")->properties.pop_back();
    fields.fields.pop_back();
    EXPECT_EQ(RoundTrip<Block>(fields), "<no exception>"); // all 1024 flags read as set and written back so
}

} // namespace
} // namespace Brelk::Reflection
