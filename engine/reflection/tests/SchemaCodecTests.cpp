#include "engine/reflection/ReflectedTypeBuilder.h"
#include "engine/reflection/ReflectionRegistry.h"
#include "engine/reflection/SchemaCodec.h"
#include "engine/reflection/SchemaRecordText.h"

#include "engine/core/Guid.h"

#include <gtest/gtest.h>
#include <glm/ext/quaternion_float.hpp>
#include <glm/vec2.hpp>
#include <glm/vec3.hpp>
#include <glm/vec4.hpp>

#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

namespace Brelk::Reflection {
namespace {

using Core::Guid;

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
    std::uint32_t mask = 0xffffffffu;
    std::uint64_t big = 0;
    float ratio = 0.1f;
    std::string label = "x";
    glm::vec2 uv{0.5f, 1.0f};
    glm::vec3 position{1.0f, 2.0f, 3.0f};
    glm::vec4 color{1.0f};
    glm::quat rotation{1.0f, 0.0f, 0.0f, 0.0f};
    Shade shade = Shade::Green;
    Level level = Level::Low;
    std::uint64_t mesh = 0;
    std::uint32_t target = 0;
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

const Guid kGuidA{0x0123456789abcdefull, 0xfedcba9876543210ull};
const Guid kGuidB{0x1111111111111111ull, 0x2222222222222222ull};

std::string Text(const SchemaValue& value) {
    const auto* text = std::get_if<std::string>(&value);
    return text != nullptr ? *text : "<not a leaf>";
}

std::string FieldText(const SchemaRecord& record, std::string_view name) {
    const SchemaField* field = record.FindField(name);
    return field != nullptr ? Text(field->value) : "<missing>";
}

SchemaRecord Leaves(std::string name, std::uint32_t version,
                    std::initializer_list<std::pair<std::string, std::string>> fields) {
    SchemaRecord record;
    record.name = std::move(name);
    record.version = version;
    for (const auto& [fieldName, text] : fields) {
        record.fields.push_back(SchemaField{fieldName, SchemaValue{std::in_place_index<0>, text}});
    }
    return record;
}

class SchemaCodec : public ::testing::Test {
protected:
    SchemaCodec() {
        registry.RegisterAssetType("Mesh", 1);
        registry.RegisterAssetType("Material", 3);
        registry.RegisterEnum<Shade>("Shade", {EnumValueOf(Shade::Red, "Red"), EnumValueOf(Shade::Green, "Green"),
                                               EnumValueOf(Shade::Blue, "Blue", "Deep Blue")});
        registry.RegisterEnum<Level>("Level", {EnumValueOf(Level::Low, "Low"), EnumValueOf(Level::Zero, "Zero"),
                                               EnumValueOf(Level::High, "High")});
        ReflectedTypeBuilder<Inner>("Inner", "Inner", "Test", registry)
            .Field("scale", &Inner::scale)
            .Field("weight", &Inner::weight);
        ReflectedTypeBuilder<Everything>("Everything", "Everything", "Test", registry)
            .Field("flag", &Everything::flag)
            .Field("count", &Everything::count)
            .Field("mask", &Everything::mask)
            .Field("big", &Everything::big)
            .Field("ratio", &Everything::ratio)
            .Field("label", &Everything::label)
            .Field("uv", &Everything::uv)
            .Field("position", &Everything::position)
            .Field("color", &Everything::color, FieldAttr().Color())
            .Field("rotation", &Everything::rotation)
            .Field("shade", &Everything::shade, FieldAttr().Enum("Shade"))
            .Field("level", &Everything::level, FieldAttr().Enum("Level"))
            .Field("mesh", &Everything::mesh, FieldAttr().AssetType("Mesh"))
            .Field("target", &Everything::target, FieldAttr().Kind(PropertyKind::Entity))
            .Field("id", &Everything::id)
            .Field("link", &Everything::link)
            .Field("inner", &Everything::inner)
            .Field("samples", &Everything::samples)
            .Field("inners", &Everything::inners)
            .Field("grid", &Everything::grid)
            .Field("fixed", &Everything::fixed)
            .Field("shades", &Everything::shades, FieldAttr().Enum("Shade"))
            .Field("materials", &Everything::materials, FieldAttr().AssetType("Material"));

        context.assetToText = [](std::uint64_t asset, const Assets::AssetTypeInfo& type) {
            return asset == 404 ? std::string() : type.name + ":" + std::to_string(asset);
        };
        context.textToAsset = [](const std::string& text, const Assets::AssetTypeInfo& type) -> std::uint64_t {
            if (text == "absent") {
                return kAbsentAssetId;
            }
            const std::string prefix = type.name + ":";
            if (text.rfind(prefix, 0) != 0) {
                return 0;
            }
            return std::stoull(text.substr(prefix.size()));
        };
        context.entityToGuid = [](EntityHandle entity) {
            return entity == 7 ? kGuidA : (entity == 8 ? kGuidB : Guid{});
        };
        context.guidToEntity = [](const Guid& guid) -> EntityHandle {
            return guid == kGuidA ? 7 : (guid == kGuidB ? 8 : 0);
        };
    }

    SchemaRecord Encode(const Everything& value) {
        return EncodeObject(MakeConstView(value), registry, context);
    }

    Everything Decode(const SchemaRecord& record) {
        Everything value;
        DecodeObject(record, MakeView(value), registry, context);
        return value;
    }

    template <class F>
    std::string FailureOf(F&& call) {
        try {
            call();
        } catch (const std::runtime_error& exception) {
            return exception.what();
        }
        return "no exception";
    }

    std::string EncodeFailure(const Everything& value) {
        return FailureOf([&] { (void)Encode(value); });
    }

    std::string DecodeFailure(const SchemaRecord& record) {
        return FailureOf([&] { (void)Decode(record); });
    }

    // A record of Everything at its defaults with one leaf replaced.
    SchemaRecord WithLeaf(std::string_view field, std::string text) {
        SchemaRecord record = Encode(Everything{});
        record.FindField(field)->value = SchemaValue{std::in_place_index<0>, std::move(text)};
        return record;
    }

    ReflectionRegistry registry;
    SchemaCodecContext context;
};

Everything Populated() {
    Everything value;
    value.flag = false;
    value.count = std::numeric_limits<std::int32_t>::min();
    value.mask = 4000000000u;
    value.big = std::numeric_limits<std::uint64_t>::max();
    value.ratio = -0.0f;
    value.label = "say \"hi\"\\ \t\n\r tab, Grüße, 日本";
    value.label.push_back('\0');
    value.label += "end";
    value.uv = {1.0e-45f, -3.40282347e38f};
    value.position = {0.1f, 1.17549435e-38f, 16777216.0f};
    value.color = {0.25f, 0.5f, 0.75f, 1.0f};
    value.rotation = glm::quat(0.5f, 0.1f, 0.2f, 0.3f);
    value.shade = Shade::Blue;
    value.level = Level::Low;
    value.mesh = 42;
    value.target = 7;
    value.id = kGuidB;
    value.link = Link{0, kGuidA};
    value.inner = Inner{glm::vec3(2.0f, 3.0f, 4.0f), 0.75f};
    value.samples = {1.0f, 0.1f, -2.5e-7f};
    value.inners = {Inner{}, Inner{glm::vec3(5.0f), 6.0f}};
    value.grid = {{1, 2}, {}, {-3}};
    value.fixed = {1.0f, 2.0f, 3.0f, 4.0f};
    value.shades = {Shade::Red, Shade::Blue};
    value.materials = {3, 9};
    return value;
}

void ExpectSameBits(float a, float b) { EXPECT_EQ(std::bit_cast<std::uint32_t>(a), std::bit_cast<std::uint32_t>(b)); }

void ExpectEqual(const Everything& a, const Everything& b) {
    EXPECT_EQ(a.flag, b.flag);
    EXPECT_EQ(a.count, b.count);
    EXPECT_EQ(a.mask, b.mask);
    EXPECT_EQ(a.big, b.big);
    ExpectSameBits(a.ratio, b.ratio);
    EXPECT_EQ(a.label, b.label);
    for (int i = 0; i < 2; ++i) ExpectSameBits(a.uv[i], b.uv[i]);
    for (int i = 0; i < 3; ++i) ExpectSameBits(a.position[i], b.position[i]);
    EXPECT_EQ(a.color, b.color);
    EXPECT_EQ(a.rotation.w, b.rotation.w);
    EXPECT_EQ(a.rotation.x, b.rotation.x);
    EXPECT_EQ(a.rotation.y, b.rotation.y);
    EXPECT_EQ(a.rotation.z, b.rotation.z);
    EXPECT_EQ(a.shade, b.shade);
    EXPECT_EQ(a.level, b.level);
    EXPECT_EQ(a.mesh, b.mesh);
    EXPECT_EQ(a.target, b.target);
    EXPECT_EQ(a.id, b.id);
    EXPECT_EQ(a.link.guid, b.link.guid);
    EXPECT_EQ(a.inner.scale, b.inner.scale);
    EXPECT_EQ(a.inner.weight, b.inner.weight);
    EXPECT_EQ(a.samples, b.samples);
    ASSERT_EQ(a.inners.size(), b.inners.size());
    for (std::size_t i = 0; i < a.inners.size(); ++i) {
        EXPECT_EQ(a.inners[i].scale, b.inners[i].scale);
        EXPECT_EQ(a.inners[i].weight, b.inners[i].weight);
    }
    EXPECT_EQ(a.grid, b.grid);
    EXPECT_EQ(a.fixed, b.fixed);
    EXPECT_EQ(a.shades, b.shades);
    EXPECT_EQ(a.materials, b.materials);
}

TEST_F(SchemaCodec, EveryPropertyKindWritesItsLeafText) {
    const SchemaRecord record = Encode(Populated());
    EXPECT_EQ(record.name, "Everything");
    EXPECT_EQ(record.version, 1u);
    ASSERT_EQ(record.fields.size(), 23u);
    EXPECT_EQ(FieldText(record, "flag"), "0");
    EXPECT_EQ(FieldText(record, "count"), "-2147483648");
    EXPECT_EQ(FieldText(record, "mask"), "4000000000");
    EXPECT_EQ(FieldText(record, "big"), "18446744073709551615");
    EXPECT_EQ(FieldText(record, "ratio"), "-0");
    EXPECT_EQ(FieldText(record, "label"), Populated().label);
    EXPECT_EQ(FieldText(record, "uv"), "1.40129846e-45 -3.40282347e+38");
    EXPECT_EQ(FieldText(record, "position"), "0.100000001 1.17549435e-38 16777216");
    EXPECT_EQ(FieldText(record, "color"), "0.25 0.5 0.75 1");
    EXPECT_EQ(FieldText(record, "rotation"), "0.5 0.100000001 0.200000003 0.300000012");
    EXPECT_EQ(FieldText(record, "shade"), "Blue");
    EXPECT_EQ(FieldText(record, "level"), "Low");
    EXPECT_EQ(FieldText(record, "mesh"), "Mesh:42");
    EXPECT_EQ(FieldText(record, "target"), kGuidA.ToString());
    EXPECT_EQ(FieldText(record, "id"), "11111111-1111-1111-2222-222222222222");
    EXPECT_EQ(FieldText(record, "link"), kGuidA.ToString());
}

TEST_F(SchemaCodec, FieldsFollowDeclarationOrder) {
    const SchemaRecord record = Encode(Everything{});
    std::vector<std::string> names;
    for (const SchemaField& field : record.fields) {
        names.push_back(field.name);
    }
    EXPECT_EQ(names, (std::vector<std::string>{"flag", "count", "mask", "big", "ratio", "label", "uv", "position",
                                               "color", "rotation", "shade", "level", "mesh", "target", "id", "link",
                                               "inner", "samples", "inners", "grid", "fixed", "shades",
                                               "materials"}));
}

TEST_F(SchemaCodec, NestedValuesBecomeRecordsAndArrays) {
    const SchemaRecord record = Encode(Populated());
    const auto& inner = std::get<SchemaRecord>(record.FindField("inner")->value);
    EXPECT_EQ(inner, Leaves("Inner", 1, {{"scale", "2 3 4"}, {"weight", "0.75"}}));
    const auto& samples = std::get<SchemaArray>(record.FindField("samples")->value);
    ASSERT_EQ(samples.elements.size(), 3u);
    EXPECT_EQ(Text(samples.elements[1]), "0.100000001");
    EXPECT_EQ(Text(samples.elements[2]), "-2.49999999e-07");
    const auto& grid = std::get<SchemaArray>(record.FindField("grid")->value);
    ASSERT_EQ(grid.elements.size(), 3u);
    EXPECT_EQ(std::get<SchemaArray>(grid.elements[0]).elements.size(), 2u);
    EXPECT_TRUE(std::get<SchemaArray>(grid.elements[1]).elements.empty());
    const auto& shades = std::get<SchemaArray>(record.FindField("shades")->value);
    EXPECT_EQ(Text(shades.elements[1]), "Blue");
    const auto& materials = std::get<SchemaArray>(record.FindField("materials")->value);
    EXPECT_EQ(Text(materials.elements[0]), "Material:3");
}

TEST_F(SchemaCodec, EveryPropertyKindRoundTrips) {
    const Everything original = Populated();
    ExpectEqual(Decode(Encode(original)), original);
}

TEST_F(SchemaCodec, EveryPropertyKindRoundTripsThroughTheRecordText) {
    const Everything original = Populated();
    const std::string text = FormatSchemaRecord(Encode(original));
    SchemaLineCursor cursor(text);
    std::string_view header;
    ASSERT_TRUE(cursor.NextLine(header));
    ASSERT_EQ(header.substr(0, 16), "component_schema");
    const SchemaRecord read = ReadSchemaRecord(header.substr(16), cursor);
    ExpectEqual(Decode(read), original);
}

TEST_F(SchemaCodec, DefaultsRoundTripAndWriteEveryField) {
    const SchemaRecord record = Encode(Everything{});
    EXPECT_EQ(FieldText(record, "ratio"), "0.100000001");
    EXPECT_EQ(FieldText(record, "uv"), "0.5 1");
    EXPECT_EQ(FieldText(record, "mesh"), "");
    EXPECT_EQ(FieldText(record, "target"), "");
    EXPECT_EQ(FieldText(record, "id"), "");
    EXPECT_EQ(FieldText(record, "rotation"), "1 0 0 0");
    ExpectEqual(Decode(record), Everything{});
}

TEST_F(SchemaCodec, OneAndATenthReadBackToTheSameBits) {
    Everything value;
    value.ratio = 1.0f;
    EXPECT_EQ(FieldText(Encode(value), "ratio"), "1");
    ExpectSameBits(Decode(WithLeaf("ratio", "1")).ratio, 1.0f);
    ExpectSameBits(Decode(WithLeaf("ratio", "0.100000001")).ratio, 0.1f);
}

TEST_F(SchemaCodec, ExtremeFloatsRoundTripBitForBit) {
    const float values[] = {std::numeric_limits<float>::denorm_min(), -std::numeric_limits<float>::denorm_min(),
                            std::numeric_limits<float>::min(),        std::numeric_limits<float>::max(),
                            std::numeric_limits<float>::lowest(),     1.17549421e-38f /* largest denormal */,
                            -0.0f,                                    123456792.0f};
    for (const float f : values) {
        Everything value;
        value.ratio = f;
        const Everything back = Decode(Encode(value));
        ExpectSameBits(back.ratio, f);
    }
}

TEST_F(SchemaCodec, NegativeZeroKeepsItsSignOnReading) {
    EXPECT_TRUE(std::signbit(Decode(WithLeaf("ratio", "-0")).ratio));
}

TEST_F(SchemaCodec, NonFiniteFloatsCannotBeSaved) {
    Everything value;
    value.ratio = std::numeric_limits<float>::quiet_NaN();
    EXPECT_EQ(EncodeFailure(value), "Everything.ratio: Cannot save a non-finite schema value.");
    value.ratio = -std::numeric_limits<float>::infinity();
    EXPECT_EQ(EncodeFailure(value), "Everything.ratio: Cannot save a non-finite schema value.");
    value = Everything{};
    value.position.y = std::numeric_limits<float>::infinity();
    EXPECT_EQ(EncodeFailure(value), "Everything.position: Cannot save a non-finite schema value.");
    value = Everything{};
    value.samples = {1.0f, std::numeric_limits<float>::quiet_NaN()};
    EXPECT_EQ(EncodeFailure(value), "Everything.samples: Cannot save a non-finite schema value.");
}

TEST_F(SchemaCodec, NonFiniteFloatTextIsRefused) {
    for (const char* text : {"nan", "NaN", "inf", "-inf", "infinity"}) {
        EXPECT_EQ(DecodeFailure(WithLeaf("ratio", text)), "Everything.ratio: Non-finite numeric value.") << text;
    }
}

TEST_F(SchemaCodec, MalformedOrOutOfRangeFloatTextIsRefused) {
    for (const char* text : {"", "abc", "1.5x", " 1", "1 ", "+1", "1e39", "-1e39", "0x10"}) {
        EXPECT_EQ(DecodeFailure(WithLeaf("ratio", text)), "Everything.ratio: Invalid or out-of-range numeric value.")
            << '"' << text << '"';
    }
}

TEST_F(SchemaCodec, FloatsReadInGeneralSyntax) {
    EXPECT_EQ(Decode(WithLeaf("ratio", "2.5e3")).ratio, 2500.0f);
    EXPECT_EQ(Decode(WithLeaf("ratio", "-.5")).ratio, -0.5f);
    EXPECT_EQ(Decode(WithLeaf("ratio", "7")).ratio, 7.0f);
}

TEST_F(SchemaCodec, IntegersReadAtTheirLimitsAndRefuseOnePast) {
    EXPECT_EQ(Decode(WithLeaf("count", "2147483647")).count, 2147483647);
    EXPECT_EQ(Decode(WithLeaf("count", "-2147483648")).count, std::numeric_limits<std::int32_t>::min());
    EXPECT_EQ(Decode(WithLeaf("mask", "4294967295")).mask, 4294967295u);
    EXPECT_EQ(Decode(WithLeaf("big", "18446744073709551615")).big, std::numeric_limits<std::uint64_t>::max());
    const std::string invalid = "Invalid or out-of-range numeric value.";
    EXPECT_EQ(DecodeFailure(WithLeaf("count", "2147483648")), "Everything.count: " + invalid);
    EXPECT_EQ(DecodeFailure(WithLeaf("count", "-2147483649")), "Everything.count: " + invalid);
    EXPECT_EQ(DecodeFailure(WithLeaf("mask", "4294967296")), "Everything.mask: " + invalid);
    EXPECT_EQ(DecodeFailure(WithLeaf("big", "18446744073709551616")), "Everything.big: " + invalid);
}

TEST_F(SchemaCodec, IntegerTextMustBeWholeDecimal) {
    const std::string invalid = "Invalid or out-of-range numeric value.";
    for (const char* text : {"", "+1", " 1", "1 ", "1.0", "0x1", "one"}) {
        EXPECT_EQ(DecodeFailure(WithLeaf("count", text)), "Everything.count: " + invalid) << text;
    }
    EXPECT_EQ(DecodeFailure(WithLeaf("mask", "-1")), "Everything.mask: " + invalid);
    EXPECT_EQ(DecodeFailure(WithLeaf("big", "-0")), "Everything.big: " + invalid);
}

TEST_F(SchemaCodec, BooleansAreZeroOrOne) {
    EXPECT_TRUE(Decode(WithLeaf("flag", "1")).flag);
    EXPECT_FALSE(Decode(WithLeaf("flag", "0")).flag);
    for (const char* text : {"", "2", "true", "01", " 1"}) {
        EXPECT_EQ(DecodeFailure(WithLeaf("flag", text)), "Everything.flag: Boolean schema value must be 0 or 1.")
            << text;
    }
}

TEST_F(SchemaCodec, VectorsNeedExactlyTheirComponents) {
    EXPECT_EQ(Decode(WithLeaf("position", " 1\t2   3 ")).position, glm::vec3(1.0f, 2.0f, 3.0f));
    EXPECT_EQ(DecodeFailure(WithLeaf("position", "1 2")), "Everything.position: Missing vector component.");
    EXPECT_EQ(DecodeFailure(WithLeaf("position", "")), "Everything.position: Missing vector component.");
    EXPECT_EQ(DecodeFailure(WithLeaf("position", "1 2 3 4")), "Everything.position: Unexpected trailing schema data.");
    EXPECT_EQ(DecodeFailure(WithLeaf("uv", "1 x")), "Everything.uv: Invalid or out-of-range numeric value.");
    EXPECT_EQ(DecodeFailure(WithLeaf("color", "1 2 nan 4")), "Everything.color: Non-finite numeric value.");
}

TEST_F(SchemaCodec, QuaternionsAreWrittenWFirstAndStoredXyzw) {
    const glm::quat rotation = Decode(WithLeaf("rotation", "0.5 1 2 3")).rotation;
    EXPECT_EQ(rotation.w, 0.5f);
    EXPECT_EQ(rotation.x, 1.0f);
    EXPECT_EQ(rotation.y, 2.0f);
    EXPECT_EQ(rotation.z, 3.0f);
    EXPECT_EQ(DecodeFailure(WithLeaf("rotation", "1 0 0")), "Everything.rotation: Missing vector component.");
}

TEST_F(SchemaCodec, EnumsAreStoredByTheirExactName) {
    EXPECT_EQ(Decode(WithLeaf("shade", "Red")).shade, Shade::Red);
    EXPECT_EQ(Decode(WithLeaf("level", "High")).level, Level::High);
    EXPECT_EQ(DecodeFailure(WithLeaf("shade", "red")),
              "Everything.shade: Unknown enum name or rejected accessor: red");
    EXPECT_EQ(DecodeFailure(WithLeaf("shade", "Deep Blue")),
              "Everything.shade: Unknown enum name or rejected accessor: Deep Blue");
}

TEST_F(SchemaCodec, AnEnumValueWithoutEnumeratorCannotBeSaved) {
    Everything value;
    value.shade = static_cast<Shade>(9);
    EXPECT_EQ(EncodeFailure(value), "Everything.shade: Unregistered enum value or rejected accessor.");
}

TEST_F(SchemaCodec, AnEnumeratorAtTheEdgeOfItsStorageLoads) {
    registry.RegisterEnum<Shade>("Shade", {EnumValueOf(Shade::Green, "Green"), EnumValue{std::uint64_t{255}, "Max", ""}});
    EXPECT_EQ(Decode(WithLeaf("shade", "Max")).shade, static_cast<Shade>(255));
}

TEST_F(SchemaCodec, TheNullAssetIsTheEmptyTextAndNeedsNoHostCodec) {
    context = {};
    Everything value;
    value.mesh = 5;
    const SchemaRecord record = WithLeaf("mesh", "");
    EXPECT_EQ(Decode(record).mesh, 0u);
    EXPECT_EQ(FieldText(Encode(Everything{}), "mesh"), "");
}

TEST_F(SchemaCodec, AssetReferencesNeedTheirHostCodec) {
    Everything value;
    value.mesh = 5;
    context.assetToText = nullptr;
    EXPECT_EQ(EncodeFailure(value), "Everything.mesh: Asset reference requires a host codec.");
    context.textToAsset = nullptr;
    EXPECT_EQ(DecodeFailure(WithLeaf("mesh", "Mesh:5")), "Everything.mesh: Asset reference requires a host codec.");
}

TEST_F(SchemaCodec, TheHostSeesTheConstraintsAssetType) {
    std::string seen;
    context.assetToText = [&](std::uint64_t, const Assets::AssetTypeInfo& type) {
        seen = type.name + "/" + std::to_string(type.nativeId);
        return std::string("ref");
    };
    Everything value;
    value.mesh = 1;
    (void)Encode(value);
    EXPECT_EQ(seen, "Mesh/1");
}

TEST_F(SchemaCodec, AnUnresolvedAssetFailsBothWays) {
    Everything value;
    value.mesh = 404;
    EXPECT_EQ(EncodeFailure(value), "Everything.mesh: Unresolved non-null asset reference.");
    EXPECT_EQ(DecodeFailure(WithLeaf("mesh", "Texture:3")), "Everything.mesh: Unresolved asset reference: Texture:3");
}

TEST_F(SchemaCodec, AnAssetKnownToBeAbsentIsStoredAsNull) {
    EXPECT_EQ(Decode(WithLeaf("mesh", "absent")).mesh, 0u);
}

TEST_F(SchemaCodec, AnAssetConstraintThatIsNotRegisteredFails) {
    registry.FindType("Everything")->FindProperty("mesh")->attributes.assetType = "Texture";
    EXPECT_EQ(EncodeFailure(Everything{}), "Everything.mesh: Invalid asset constraint or storage.");
}

TEST_F(SchemaCodec, TheNullEntityIsTheEmptyTextAndNeedsNoHostCodec) {
    context = {};
    EXPECT_EQ(FieldText(Encode(Everything{}), "target"), "");
    EXPECT_EQ(Decode(WithLeaf("target", "")).target, 0u);
    EXPECT_EQ(Decode(WithLeaf("target", "00000000-0000-0000-0000-000000000000")).target, 0u);
}

TEST_F(SchemaCodec, EntityReferencesNeedTheirHostCodec) {
    Everything value;
    value.target = 7;
    context.entityToGuid = nullptr;
    EXPECT_EQ(EncodeFailure(value), "Everything.target: Entity reference requires a host codec.");
    context.guidToEntity = nullptr;
    EXPECT_EQ(DecodeFailure(WithLeaf("target", kGuidA.ToString())),
              "Everything.target: Entity reference requires a host codec.");
}

TEST_F(SchemaCodec, EntityReferencesFailWithoutAStableIdentity) {
    Everything value;
    value.target = 99;
    EXPECT_EQ(EncodeFailure(value), "Everything.target: Entity reference has no stable GUID.");
    EXPECT_EQ(DecodeFailure(WithLeaf("target", "99999999-9999-9999-9999-999999999999")),
              "Everything.target: Unresolved stable entity reference.");
    EXPECT_EQ(DecodeFailure(WithLeaf("target", "not-a-guid")), "Everything.target: Invalid stable GUID length.");
}

TEST_F(SchemaCodec, EntityReferencesResolveThroughTheHost) {
    EXPECT_EQ(Decode(WithLeaf("target", kGuidB.ToString())).target, 8u);
}

TEST_F(SchemaCodec, GuidsReadInEitherStableForm) {
    EXPECT_EQ(Decode(WithLeaf("id", "0123456789ABCDEFFEDCBA9876543210")).id, kGuidA);
    EXPECT_EQ(Decode(WithLeaf("id", "")).id, Guid{});
    EXPECT_EQ(DecodeFailure(WithLeaf("id", "0123456789abcdef-fedcba9876543210")),
              "Everything.id: Invalid stable GUID length.");
    EXPECT_EQ(DecodeFailure(WithLeaf("id", "0123456789abcdefgedcba9876543210")),
              "Everything.id: Invalid stable GUID digit.");
}

TEST_F(SchemaCodec, EntityLinksGoThroughTheirGuid) {
    Everything value;
    value.link = Link{12, kGuidB};
    const SchemaRecord record = Encode(value);
    EXPECT_EQ(FieldText(record, "link"), kGuidB.ToString());
    const Everything back = Decode(record);
    EXPECT_EQ(back.link.guid, kGuidB);
    EXPECT_EQ(back.link.entity, 0u);
}

TEST_F(SchemaCodec, StringsPassThroughUntouched) {
    Everything value;
    value.label = std::string("\"\\\0\x01\xff", 5) + "\xe2\x82\xac";
    EXPECT_EQ(Decode(Encode(value)).label, value.label);
}

TEST_F(SchemaCodec, ACollectionReadWithCountZeroIsEmptied) {
    SchemaRecord record = Encode(Everything{});
    Everything value = Populated();
    DecodeObject(record, MakeView(value), registry, context);
    EXPECT_TRUE(value.samples.empty());
    EXPECT_TRUE(value.inners.empty());
    EXPECT_TRUE(value.grid.empty());
}

TEST_F(SchemaCodec, AFixedArrayTakesOnlyItsExtent) {
    SchemaRecord record = Encode(Populated());
    std::get<SchemaArray>(record.FindField("fixed")->value).elements.pop_back();
    EXPECT_EQ(DecodeFailure(record), "Everything.fixed: Collection extent or mutable storage mismatch.");
}

TEST_F(SchemaCodec, AnArrayOf1024ElementsPassesAnd1025Fail) {
    Everything value;
    value.samples.assign(1024, 0.5f);
    SchemaRecord record = Encode(value);
    EXPECT_EQ(Decode(record).samples.size(), 1024u);
    value.samples.push_back(1.0f);
    EXPECT_EQ(EncodeFailure(value), "Everything.samples: Invalid or oversized collection.");
    std::get<SchemaArray>(record.FindField("samples")->value).elements.emplace_back(std::in_place_index<0>, "1");
    EXPECT_EQ(DecodeFailure(record), "Everything.samples: Expected a bounded collection.");
}

TEST_F(SchemaCodec, TheValueMustHaveTheShapeOfItsProperty) {
    SchemaRecord record = WithLeaf("inner", "1");
    EXPECT_EQ(DecodeFailure(record), "Everything.inner: Expected an object property.");
    record = Encode(Everything{});
    record.FindField("ratio")->value = SchemaValue{std::in_place_index<2>};
    EXPECT_EQ(DecodeFailure(record), "Everything.ratio: Expected a scalar property.");
    EXPECT_EQ(DecodeFailure(WithLeaf("samples", "1")), "Everything.samples: Expected a bounded collection.");
}

TEST_F(SchemaCodec, ANestedFailureNamesEveryLevel) {
    SchemaRecord record = Encode(Populated());
    std::get<SchemaRecord>(record.FindField("inner")->value).FindField("scale")->value =
        SchemaValue{std::in_place_index<0>, "1 2"};
    EXPECT_EQ(DecodeFailure(record), "Everything.inner: Inner.scale: Missing vector component.");
}

TEST_F(SchemaCodec, ANestedRecordOfAnotherTypeIsRefused) {
    SchemaRecord record = Encode(Everything{});
    std::get<SchemaRecord>(record.FindField("inner")->value).name = "Outer";
    EXPECT_EQ(DecodeFailure(record),
              "Everything.inner: Unsupported component schema, version, or destination: Outer");
}

TEST_F(SchemaCodec, AnUnknownFieldFailsTheWholeRecord) {
    SchemaRecord record = Encode(Everything{});
    record.fields.push_back(SchemaField{"colour", SchemaValue{std::in_place_index<0>, "1"}});
    EXPECT_EQ(DecodeFailure(record), "Unknown, duplicate, or unavailable schema field: Everything.colour");
}

TEST_F(SchemaCodec, ADuplicateFieldFailsTheWholeRecord) {
    SchemaRecord record = Leaves("Everything", 1, {{"count", "1"}, {"count", "2"}});
    EXPECT_EQ(DecodeFailure(record), "Unknown, duplicate, or unavailable schema field: Everything.count");
}

TEST_F(SchemaCodec, AFieldMissingFromTheRecordTakesItsDefault) {
    Everything value = Populated();
    DecodeObject(Leaves("Everything", 1, {{"count", "12"}}), MakeView(value), registry, context);
    EXPECT_EQ(value.count, 12);
    Everything expected;
    expected.count = 12;
    ExpectEqual(value, expected);
}

TEST_F(SchemaCodec, ARecordWithZeroFieldsDecodesToDefaults) {
    Everything value = Populated();
    DecodeObject(Leaves("Everything", 1, {}), MakeView(value), registry, context);
    ExpectEqual(value, Everything{});
}

TEST_F(SchemaCodec, TheRecordMustNameTheTypeInASupportedVersion) {
    EXPECT_EQ(DecodeFailure(Leaves("Everything", 2, {})),
              "Unsupported component schema, version, or destination: Everything");
    EXPECT_EQ(DecodeFailure(Leaves("Everything", 0, {})),
              "Unsupported component schema, version, or destination: Everything");
    EXPECT_EQ(DecodeFailure(Leaves("Inner", 1, {})), "Unsupported component schema, version, or destination: Inner");
    const Everything value;
    EXPECT_EQ(FailureOf([&] { DecodeObject(Leaves("Everything", 1, {}), MakeConstView(value), registry, context); }),
              "Unsupported component schema, version, or destination: Everything");
}

TEST_F(SchemaCodec, AnUnregisteredObjectOrNullViewIsRefused) {
    struct Stranger {
        int value = 0;
    };
    const Stranger stranger;
    EXPECT_EQ(FailureOf([&] { (void)EncodeObject(MakeConstView(stranger), registry, context); }),
              "Missing or invalid object schema or storage.");
    EXPECT_EQ(FailureOf([&] { (void)EncodeObject(ObjectView{}, registry, context); }),
              "Missing or invalid object schema or storage.");
    EXPECT_EQ(FailureOf([&] { DecodeObject(Leaves("Everything", 1, {}), ObjectView{}, registry, context); }),
              "Missing or invalid object schema or storage.");
}

struct Transform {
    glm::vec3 position{0.0f};
    glm::vec3 rotation{0.0f};
    glm::vec3 scale{1.0f};
};

struct TransformComponent {
    Transform transform;
};

class TransformCodec : public SchemaCodec {
protected:
    TransformCodec() {
        ReflectedTypeBuilder<Transform>("Transform", "Transform", "Core", registry)
            .Field("position", &Transform::position)
            .Field("rotation", &Transform::rotation, FieldAttr().Angle())
            .Field("scale", &Transform::scale);
        ReflectedTypeBuilder<TransformComponent>("TransformComponent", "Transform", "Core", registry)
            .Field("transform", &TransformComponent::transform);
    }
};

TEST_F(TransformCodec, ADefaultTransformWritesTheEnginesBlock) {
    const TransformComponent component;
    EXPECT_EQ(FormatSchemaRecord(EncodeObject(MakeConstView(component), registry, context)),
              "component_schema \"TransformComponent\" 1 1\n"
              "object_property \"transform\" \"Transform\" 1 3\n"
              "property \"position\" \"0 0 0\"\n"
              "property \"rotation\" \"0 0 0\"\n"
              "property \"scale\" \"1 1 1\"\n"
              "end_component_schema\n"
              "end_component_schema\n");
}

TEST_F(TransformCodec, ABadVectorTwoLevelsDownNamesBothLevels) {
    SchemaRecord record = EncodeObject(MakeConstView(TransformComponent{}), registry, context);
    std::get<SchemaRecord>(record.fields[0].value).FindField("scale")->value =
        SchemaValue{std::in_place_index<0>, "1 1"};
    TransformComponent component;
    EXPECT_EQ(FailureOf([&] { DecodeObject(record, MakeView(component), registry, context); }),
              "TransformComponent.transform: Transform.scale: Missing vector component.");
}

// ----------------------------------------------------------------------------------------
// Versions, flags and property checks
// ----------------------------------------------------------------------------------------

struct Versioned {
    float kept = 1.0f;
    float retired = 2.0f;
    float added = 3.0f;
    float runtime = 4.0f;
};

class VersionedCodec : public SchemaCodec {
protected:
    VersionedCodec() {
        ReflectedTypeBuilder<Versioned>("Versioned", "", "", registry)
            .Version(3)
            .Field("kept", &Versioned::kept)
            .Field("retired", &Versioned::retired, FieldAttr().Until(2))
            .Field("added", &Versioned::added, FieldAttr().Since(3))
            .Field("runtime", &Versioned::runtime, FieldAttr().NotSaved());
    }

    Versioned Changed() const { return Versioned{10.0f, 20.0f, 30.0f, 40.0f}; }
};

TEST_F(VersionedCodec, OnlyLiveSavedPropertiesAreWritten) {
    const SchemaRecord record = EncodeObject(MakeConstView(Changed()), registry, context);
    EXPECT_EQ(record, Leaves("Versioned", 3, {{"kept", "10"}, {"added", "30"}}));
}

TEST_F(VersionedCodec, ARetiredFieldLoadsFromARecordOfItsTime) {
    Versioned value = Changed();
    DecodeObject(Leaves("Versioned", 1, {{"retired", "5"}}), MakeView(value), registry, context);
    EXPECT_EQ(value.retired, 5.0f);
    EXPECT_EQ(value.kept, 1.0f);
    EXPECT_EQ(value.added, 3.0f);
    EXPECT_EQ(value.runtime, 40.0f);
}

TEST_F(VersionedCodec, ARetiredFieldIsUnavailableFromItsUntilVersionOn) {
    Versioned value;
    EXPECT_EQ(FailureOf([&] {
                  DecodeObject(Leaves("Versioned", 2, {{"retired", "5"}}), MakeView(value), registry, context);
              }),
              "Unknown, duplicate, or unavailable schema field: Versioned.retired");
}

TEST_F(VersionedCodec, ARetiredPropertyIsResetOnlyForARecordOfItsTime) {
    Versioned value = Changed();
    DecodeObject(Leaves("Versioned", 1, {}), MakeView(value), registry, context);
    EXPECT_EQ(value.retired, 2.0f);
    value = Changed();
    DecodeObject(Leaves("Versioned", 2, {}), MakeView(value), registry, context);
    EXPECT_EQ(value.retired, 20.0f);
}

TEST_F(VersionedCodec, AFieldNewerThanTheRecordIsUnavailable) {
    Versioned value;
    EXPECT_EQ(FailureOf([&] {
                  DecodeObject(Leaves("Versioned", 2, {{"added", "5"}}), MakeView(value), registry, context);
              }),
              "Unknown, duplicate, or unavailable schema field: Versioned.added");
}

TEST_F(VersionedCodec, ANotSavedFieldIsRefusedInARecord) {
    Versioned value;
    EXPECT_EQ(FailureOf([&] {
                  DecodeObject(Leaves("Versioned", 3, {{"runtime", "5"}}), MakeView(value), registry, context);
              }),
              "Unknown, duplicate, or unavailable schema field: Versioned.runtime");
}

struct Locked {
    float value = 1.0f;
};

TEST_F(SchemaCodec, AReadOnlyPropertyRulesTheTypeOutOfSchemaCoding) {
    ReflectedTypeBuilder<Locked>("Locked", "", "", registry).Field("value", &Locked::value, FieldAttr().ReadOnly());
    Locked locked;
    EXPECT_EQ(FailureOf([&] { (void)EncodeObject(MakeConstView(locked), registry, context); }),
              "Locked.value: Schema record requires a writable property: value");
    EXPECT_EQ(FailureOf([&] { DecodeObject(Leaves("Locked", 1, {}), MakeView(locked), registry, context); }),
              "Schema record requires a writable property: value");
}

TEST_F(SchemaCodec, APropertyWhoseStorageDisagreesWithItsSchemaIsRefused) {
    ReflectedTypeBuilder<Locked>("Locked", "", "", registry).Field("value", &Locked::value);
    registry.FindType("Locked")->properties[0].valueType = typeid(double);
    Locked locked;
    EXPECT_EQ(FailureOf([&] { (void)EncodeObject(MakeConstView(locked), registry, context); }),
              "Locked.value: Property schema disagrees with its storage: value");
    EXPECT_EQ(FailureOf([&] { DecodeObject(Leaves("Locked", 1, {}), MakeView(locked), registry, context); }),
              "Property schema disagrees with its storage: value");
}

TEST_F(SchemaCodec, APropertyWithoutADefaultCannotBeReset) {
    ReflectedTypeBuilder<Locked>("Locked", "", "", registry).Field("value", &Locked::value);
    registry.FindType("Locked")->properties[0].defaultValue.reset();
    Locked locked;
    EXPECT_EQ(FailureOf([&] { DecodeObject(Leaves("Locked", 1, {}), MakeView(locked), registry, context); }),
              "Property has no writable schema default: value");
}

struct Unsavable {
    float value = std::numeric_limits<float>::quiet_NaN();
};

TEST_F(SchemaCodec, ADefaultThatCannotBeEncodedFailsTheLoadThatKeepsIt) {
    ReflectedTypeBuilder<Unsavable>("Unsavable", "", "", registry).Field("value", &Unsavable::value);
    Unsavable object;
    EXPECT_EQ(FailureOf([&] { DecodeObject(Leaves("Unsavable", 1, {}), MakeView(object), registry, context); }),
              "Unsavable.value: Cannot save a non-finite schema value.");
    DecodeObject(Leaves("Unsavable", 1, {{"value", "2"}}), MakeView(object), registry, context);
    EXPECT_EQ(object.value, 2.0f);
}

// ----------------------------------------------------------------------------------------
// Collections whose elements have no schema
// ----------------------------------------------------------------------------------------

struct Stray {
    int value = 0;
};

struct Lists {
    std::vector<Shade> shades;
    std::vector<std::uint64_t> assets;
    std::vector<Stray> strays;
    std::vector<float> opaque;
};

TEST_F(SchemaCodec, CollectionElementsNeedARegisteredSchema) {
    ReflectedTypeBuilder<Lists>("Lists", "", "", registry)
        .Field("shades", &Lists::shades, FieldAttr().Enum("Missing"))
        .Field("assets", &Lists::assets, FieldAttr().AssetType("Texture"))
        .Field("strays", &Lists::strays)
        .Field("opaque", &Lists::opaque, FieldAttr().Kind(PropertyKind::Custom));
    TypeInfo& type = *registry.FindType("Lists");
    const Lists lists;
    const auto encodeFailure = [&] {
        return FailureOf([&] { (void)EncodeObject(MakeConstView(lists), registry, context); });
    };
    EXPECT_EQ(encodeFailure(), "Lists.shades: Missing or mismatched enum schema.");
    type.properties[0].attributes.enumName = "Level";
    EXPECT_EQ(encodeFailure(), "Lists.shades: Missing or mismatched enum schema.");
    type.properties[0].attributes.enumName = "Shade";
    EXPECT_EQ(encodeFailure(), "Lists.assets: Collection asset constraint is not registered.");
    type.properties[1].attributes.assetType = "Mesh";
    EXPECT_EQ(encodeFailure(), "Lists.strays: Collection object schema is not registered.");
    registry.RegisterType<Stray>("Stray");
    EXPECT_EQ(encodeFailure(), "Lists.opaque: Opaque collection elements require a schema codec.");

    Lists target;
    SchemaRecord record = Leaves("Lists", 1, {});
    record.fields.push_back(SchemaField{"opaque", SchemaValue{std::in_place_index<2>}});
    EXPECT_EQ(FailureOf([&] { DecodeObject(record, MakeView(target), registry, context); }),
              "Lists.opaque: Opaque collection elements require a schema codec.");
}

TEST_F(SchemaCodec, ACustomLeafIsUnsupported) {
    ReflectedTypeBuilder<Locked>("Locked", "", "", registry)
        .Field("value", &Locked::value, FieldAttr().Kind(PropertyKind::Custom));
    Locked locked;
    EXPECT_EQ(FailureOf([&] { (void)EncodeObject(MakeConstView(locked), registry, context); }),
              "Locked.value: Unsupported schema leaf kind.");
    EXPECT_EQ(FailureOf([&] {
                  DecodeObject(Leaves("Locked", 1, {{"value", "1"}}), MakeView(locked), registry, context);
              }),
              "Locked.value: Unsupported schema leaf kind.");
}

// ----------------------------------------------------------------------------------------
// Views whose operations misbehave
// ----------------------------------------------------------------------------------------

struct Box {
    std::vector<float> values;
    float single = 0.0f;
    Link link;
    std::uint32_t owner = 0;
    std::uint64_t mesh = 0;
};

bool AcceptAnything(const ValueSchema&) { return true; }

class RoguePropertyCodec : public SchemaCodec {
protected:
    RoguePropertyCodec() {
        ReflectedTypeBuilder<Box>("Box", "", "", registry)
            .Field("values", &Box::values)
            .Field("single", &Box::single)
            .Field("link", &Box::link)
            .Field("owner", &Box::owner, FieldAttr().Kind(PropertyKind::Entity))
            .Field("mesh", &Box::mesh, FieldAttr().AssetType("Mesh"));
    }

    // Makes the property hand out views with `operations` in place of its own.
    void Substitute(const char* name, const ObjectViewOperations* operations, std::type_index viewType) {
        PropertyInfo& property = *registry.FindType("Box")->FindProperty(name);
        auto constView = property.constView;
        auto mutableView = property.mutableView;
        property.constView = [=](const void* owner) {
            ObjectView view = constView(owner);
            view.operations = operations;
            view.type = viewType;
            return view;
        };
        property.mutableView = [=](void* owner) {
            ObjectView view = mutableView(owner);
            view.operations = operations;
            view.type = viewType;
            return view;
        };
    }

    std::string EncodeBoxFailure() {
        return FailureOf([&] { (void)EncodeObject(MakeConstView(box), registry, context); });
    }

    std::string DecodeBoxFailure(const SchemaRecord& record) {
        return FailureOf([&] { DecodeObject(record, MakeView(box), registry, context); });
    }

    Box box;
};

TEST_F(RoguePropertyCodec, AViewWhoseOperationsRefuseTheSchemaFails) {
    static const ObjectViewOperations refusing{};
    Substitute("single", &refusing, typeid(float));
    EXPECT_EQ(EncodeBoxFailure(), "Box.single: Value schema disagrees with captured storage.");
    EXPECT_EQ(DecodeBoxFailure(Leaves("Box", 1, {{"single", "1"}})),
              "Box.single: Value schema disagrees with writable storage.");
}

TEST_F(RoguePropertyCodec, ALeafViewOfAnotherNativeTypeIsRejected) {
    static ObjectViewOperations accepting{};
    accepting.accepts = &AcceptAnything;
    Substitute("single", &accepting, typeid(std::int32_t));
    EXPECT_EQ(EncodeBoxFailure(), "Box.single: Schema accessor rejected value storage.");
    EXPECT_EQ(DecodeBoxFailure(Leaves("Box", 1, {{"single", "1"}})),
              "Box.single: Schema accessor rejected value storage.");
}

TEST_F(RoguePropertyCodec, AnEntityLinkWithoutLinkOperationsIsInvalidStorage) {
    static ObjectViewOperations accepting{};
    accepting.accepts = &AcceptAnything;
    Substitute("link", &accepting, typeid(Link));
    EXPECT_EQ(EncodeBoxFailure(), "Box.link: Invalid entity-reference storage.");
    EXPECT_EQ(DecodeBoxFailure(Leaves("Box", 1, {{"link", ""}})), "Box.link: Invalid entity-reference storage.");
}

TEST_F(RoguePropertyCodec, EntityAndAssetReferencesNeedTheirIntegerStorage) {
    static ObjectViewOperations accepting{};
    accepting.accepts = &AcceptAnything;
    Substitute("owner", &accepting, typeid(std::int32_t));
    EXPECT_EQ(EncodeBoxFailure(), "Box.owner: Invalid entity-reference storage.");
    EXPECT_EQ(DecodeBoxFailure(Leaves("Box", 1, {{"owner", ""}})), "Box.owner: Invalid entity-reference storage.");
    Substitute("owner", &ViewOperationsFor<std::uint32_t>(), typeid(std::uint32_t));
    Substitute("mesh", &accepting, typeid(std::int64_t));
    EXPECT_EQ(EncodeBoxFailure(), "Box.mesh: Invalid asset constraint or storage.");
    EXPECT_EQ(DecodeBoxFailure(Leaves("Box", 1, {{"mesh", ""}})), "Box.mesh: Invalid asset constraint or storage.");
}

TEST_F(RoguePropertyCodec, ACollectionWithoutASizeOrTooLargeIsRefused) {
    static ObjectViewOperations sizeless{};
    sizeless.accepts = &AcceptAnything;
    sizeless.shape = 2;
    Substitute("values", &sizeless, typeid(std::vector<float>));
    EXPECT_EQ(EncodeBoxFailure(), "Box.values: Invalid or oversized collection.");

    static ObjectViewOperations huge = sizeless;
    huge.size = [](const void*) -> std::uint64_t { return std::uint64_t{1} << 40; };
    Substitute("values", &huge, typeid(std::vector<float>));
    EXPECT_EQ(EncodeBoxFailure(), "Box.values: Invalid or oversized collection.");
}

TEST_F(RoguePropertyCodec, AFailedElementVisitIsReported) {
    static ObjectViewOperations blind = ViewOperationsFor<std::vector<float>>();
    blind.visitConst = [](const void*, std::uint64_t, ViewVisitor) { return false; };
    blind.visitMutable = [](void*, std::uint64_t, ViewVisitor) { return false; };
    Substitute("values", &blind, typeid(std::vector<float>));
    box.values = {1.0f};
    EXPECT_EQ(EncodeBoxFailure(), "Box.values: Collection element accessor failed.");
    SchemaRecord record = Leaves("Box", 1, {});
    SchemaArray values;
    values.elements.emplace_back(std::in_place_index<0>, "1");
    record.fields.push_back(SchemaField{"values", SchemaValue{std::move(values)}});
    EXPECT_EQ(DecodeBoxFailure(record), "Box.values: Mutable collection element accessor failed.");
}

TEST_F(RoguePropertyCodec, ACollectionThatCannotResizeIsRefused) {
    static ObjectViewOperations rigid = ViewOperationsFor<std::vector<float>>();
    rigid.resize = nullptr;
    Substitute("values", &rigid, typeid(std::vector<float>));
    SchemaRecord record = Leaves("Box", 1, {});
    record.fields.push_back(SchemaField{"values", SchemaValue{std::in_place_index<2>}});
    EXPECT_EQ(DecodeBoxFailure(record), "Box.values: Collection extent or mutable storage mismatch.");
}

} // namespace
} // namespace Brelk::Reflection
