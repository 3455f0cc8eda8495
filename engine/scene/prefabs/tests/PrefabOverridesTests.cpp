#include "engine/scene/prefabs/PrefabOverrides.h"

#include "engine/reflection/SchemaRecordText.h"
#include "engine/scene/ComponentTypeEntry.h"

#include <gtest/gtest.h>

namespace Brelk::Scene {
namespace {

using Reflection::SchemaArray;
using Reflection::SchemaField;
using Reflection::SchemaRecord;

SchemaRecord Color(std::string red) {
    return SchemaRecord{"Color", 1, {SchemaField{"r", std::move(red)}, SchemaField{"g", std::string("0")}}};
}

SchemaRecord Lamp(std::string power, std::string red) {
    return SchemaRecord{"LampRecord",
                        1,
                        {SchemaField{"power", std::move(power)}, SchemaField{"color", Color(std::move(red))},
                         SchemaField{"tags", SchemaArray{{std::string("a")}}}}};
}

ComponentTypeEntry LampEntry(std::size_t recordSpecs = 1) {
    ComponentTypeEntry entry;
    entry.name = "LampComponent";
    entry.records.push_back({"LampRecord", false});
    if (recordSpecs > 1) entry.records.push_back({"LampPart", true});
    return entry;
}

std::string Wrapped(const Reflection::SchemaValue& value) {
    return Reflection::FormatSchemaRecord(SchemaRecord{"PrefabOverrideValue", 1, {SchemaField{"value", value}}});
}

TEST(PrefabOverridesTest, DiffsDownToTheLeavesAndWrapsWhatCannotBeWalked) {
    const Core::Guid guid = Core::Guid::FromName("lamp");
    const auto diff = [&](const SchemaRecord& expected, const SchemaRecord& live, std::size_t specs = 1) {
        std::vector<PrefabOverride> out;
        DiffComponentRecords(LampEntry(specs), guid, {expected}, RenderSchemaRecords({expected}), {live},
                             RenderSchemaRecords({live}), out);
        return out;
    };
    EXPECT_TRUE(diff(Lamp("5", "1"), Lamp("5", "1")).empty());
    EXPECT_EQ(diff(Lamp("5", "1"), Lamp("6", "0.5")),
              (std::vector<PrefabOverride>{{guid, "LampComponent.power", "6"}, {guid, "LampComponent.color.r", "0.5"}}));

    SchemaRecord tagged = Lamp("5", "1");
    tagged.fields[2].value = SchemaArray{{std::string("b")}};
    EXPECT_EQ(diff(Lamp("5", "1"), tagged),
              (std::vector<PrefabOverride>{{guid, "LampComponent.tags", Wrapped(tagged.fields[2].value)}}));
    SchemaRecord newer = Lamp("5", "1");
    std::get<SchemaRecord>(newer.fields[1].value).version = 2;
    EXPECT_EQ(diff(Lamp("5", "1"), newer),
              (std::vector<PrefabOverride>{{guid, "LampComponent.color", Wrapped(newer.fields[1].value)}}));
    // A different field list, or a component of several records, is overridden whole.
    SchemaRecord shorter = Lamp("5", "1");
    shorter.fields.pop_back();
    EXPECT_EQ(diff(Lamp("5", "1"), shorter),
              (std::vector<PrefabOverride>{{guid, "LampComponent", RenderSchemaRecords({shorter})}}));
    EXPECT_EQ(diff(Lamp("5", "1"), Lamp("6", "1"), 2).front().propertyPath, "LampComponent");
}

TEST(PrefabOverridesTest, AppliesEachFormOfOverrideAndNamesWhatNoLongerFits) {
    const ComponentTypeEntry entry = LampEntry();
    const auto apply = [&](const std::string& path, const std::string& value, std::vector<SchemaRecord> records) {
        ApplyOverrideToRecords(records, entry, path, value);
        return records;
    };
    EXPECT_EQ(apply("LampComponent.power", "9", {Lamp("5", "1")}), std::vector<SchemaRecord>{Lamp("9", "1")});
    EXPECT_EQ(apply("LampComponent.color", Wrapped(Color("0.25")), {Lamp("5", "1")}),
              std::vector<SchemaRecord>{Lamp("5", "0.25")});
    EXPECT_EQ(apply("LampComponent", RenderSchemaRecords({Lamp("7", "0")}), {Lamp("5", "1")}),
              std::vector<SchemaRecord>{Lamp("7", "0")});

    const std::string notARecord = "power 5\n";
    const struct {
        std::string path;
        std::string value;
        std::vector<SchemaRecord> records;
        std::string message;
    } rows[] = {
        {"LampComponent", Reflection::FormatSchemaRecord(Color("1")), {Lamp("5", "1")},
         "Override replaces a component with a different record."},
        {"LampComponent.power", "1", {Lamp("5", "1"), Lamp("5", "1")}, "Multipart components are overridden whole."},
        {"LampComponent.color.b", "1", {Lamp("5", "1")}, "Override property no longer exists: LampComponent.color.b"},
        {"LampComponent.power.x", "1", {Lamp("5", "1")},
         "Override path crosses a non-object property: LampComponent.power"},
        {"LampComponent.color", RenderSchemaRecords({Color("1"), Color("2")}), {Lamp("5", "1")},
         "Malformed override value."},
        {"LampComponent.tags", notARecord, {Lamp("5", "1")}, "Override value is not a schema record."},
    };
    for (const auto& row : rows) {
        std::vector<SchemaRecord> records = row.records;
        try {
            ApplyOverrideToRecords(records, entry, row.path, row.value);
            ADD_FAILURE() << row.path << " applied";
        } catch (const std::runtime_error& e) {
            EXPECT_EQ(std::string(e.what()), row.message);
            EXPECT_EQ(records, row.records);
        }
    }
}

} // namespace
} // namespace Brelk::Scene
