#include "engine/core/Logger.h"
#include "engine/reflection/ReflectionRegistry.h"
#include "engine/reflection/SchemaCodec.h"
#include "engine/scene/ComponentLoad.h"
#include "engine/scene/ComponentRegistry.h"
#include "engine/scene/InstallComponents.h"
#include "engine/scene/PluginComponentNames.h"
#include "engine/scene/PreservedRecordSet.h"
#include "engine/scene/Registry.h"

#include "tests/support/TestSupport.h"

#include <gtest/gtest.h>

#include <glm/vec3.hpp>

#include <algorithm>
#include <stdexcept>
#include <string>
#include <vector>

namespace Brelk::Scene {
namespace {

using Reflection::FieldAttr;
using Reflection::SchemaField;
using Reflection::SchemaRecord;

// --- Test components, registered once per process into a table of their own ---------------

struct TestPoseComponent {
    glm::vec3 position{0.0f, 0.0f, 0.0f};
};

struct TestBodyComponent {
    float mass = 1.0f;
    std::int32_t layer = 0;
    std::uint32_t sleepTimer = 5;
};

struct TestAardvarkComponent {
    std::string label = "aardvark";
};

struct TestHeaderComponent {
    std::string title;
};

struct TestRuntimeComponent {
    std::int32_t ticks = 0;
};

struct TestSeriesComponent {
    float scale = 1.0f;
    std::vector<float> samples;
};

struct TestSeriesParts {
    bool hasCount = false;
    std::uint64_t declared = 0;
};

struct TestLegacyComponent {
    float amount = 0.0f;
};

struct TestHookComponent {
    std::string text = "live";
    std::int32_t resolved = 0;
    bool loaded = false;
};

struct TestFailingComponent {
    std::int32_t value = 0;
};

struct TestUnmigratedComponent {
    std::string label;
    std::int32_t since2 = 0;
};

std::string FieldText(const SchemaRecord& record, const std::string& name) {
    const SchemaField* field = record.FindField(name);
    if (field == nullptr || field->value.index() != 0) {
        return "<missing>";
    }
    return std::get<std::string>(field->value);
}

SchemaRecord MakeRecord(std::string name, std::uint32_t version, std::vector<std::pair<std::string, std::string>> fields) {
    SchemaRecord record;
    record.name = std::move(name);
    record.version = version;
    for (auto& [fieldName, value] : fields) {
        record.fields.push_back(SchemaField{fieldName, Reflection::SchemaValue(value)});
    }
    return record;
}

// Registration order here is deliberately not alphabetical.
ComponentRegistry& TestTable() {
    static ComponentRegistry* table = [] {
        auto* registry = new ComponentRegistry();
        ComponentBuilder<TestPoseComponent>(registry->RegisterComponent<TestPoseComponent>(
                                                "TestPoseComponent", "Pose", "Core",
                                                ComponentFlags::Saved | ComponentFlags::Required))
            .Field("position", &TestPoseComponent::position);
        ComponentBuilder<TestBodyComponent>(registry->RegisterComponent<TestBodyComponent>(
                                                "TestBodyComponent", "Body", "Physics",
                                                ComponentFlags::UserAddable | ComponentFlags::Saved))
            .Description("A test body.")
            .Field("mass", &TestBodyComponent::mass, FieldAttr("Mass").Range(0.0f, 100.0f))
            .Field("layer", &TestBodyComponent::layer)
            .AddTransient(&TestBodyComponent::sleepTimer)
            .Version(2)
            .Migrate([](SchemaRecord& record, std::uint32_t fromVersion) {
                if (fromVersion < 2) {
                    if (SchemaField* weight = record.FindField("weight")) {
                        weight->name = "mass";
                    }
                }
            });
        ComponentBuilder<TestHeaderComponent>(registry->RegisterComponent<TestHeaderComponent>(
                                                  "TestHeaderComponent", "Header", "Core",
                                                  ComponentFlags::Saved | ComponentFlags::Required |
                                                      ComponentFlags::EntityHeader))
            .Field("title", &TestHeaderComponent::title);
        ComponentBuilder<TestRuntimeComponent>(registry->RegisterComponent<TestRuntimeComponent>(
                                                   "TestRuntimeComponent", "Runtime", "Core",
                                                   ComponentFlags::RuntimeOnly))
            .Field("ticks", &TestRuntimeComponent::ticks);
        ComponentBuilder<TestSeriesComponent>(registry->RegisterComponent<TestSeriesComponent>(
                                                  "TestSeriesComponent", "Series", "World",
                                                  ComponentFlags::UserAddable | ComponentFlags::Saved))
            .Field("scale", &TestSeriesComponent::scale)
            .AddCustom(&TestSeriesComponent::samples)
            .Records<TestSeriesParts>(
                {{"TestSeriesComponent", false}, {"TestSeriesCount", false}, {"TestSeriesChunk", true}},
                [](const TestSeriesComponent& component, std::vector<SchemaRecord>& out,
                   const ComponentSaveContext&) {
                    out.push_back(MakeRecord("TestSeriesComponent", 1, {}));
                    out.push_back(
                        MakeRecord("TestSeriesCount", 1, {{"count", std::to_string(component.samples.size())}}));
                    for (float sample : component.samples) {
                        out.push_back(MakeRecord("TestSeriesChunk", 1, {{"value", std::to_string(sample)}}));
                    }
                },
                [](TestSeriesComponent& component, TestSeriesParts& parts, const SchemaRecord& record,
                   std::uint64_t, const ComponentLoadContext&) {
                    if (record.name == "TestSeriesCount") {
                        parts.hasCount = true;
                        parts.declared = std::stoull(FieldText(record, "count"));
                    } else if (record.name == "TestSeriesChunk") {
                        component.samples.push_back(std::stof(FieldText(record, "value")));
                    }
                },
                [](TestSeriesComponent& component, TestSeriesParts& parts) {
                    if (!parts.hasCount || parts.declared != component.samples.size()) {
                        throw std::runtime_error("Series samples are missing or incomplete.");
                    }
                });
        ComponentBuilder<TestLegacyComponent>(registry->RegisterComponent<TestLegacyComponent>(
                                                  "TestLegacyComponent", "Legacy", "Core",
                                                  ComponentFlags::UserAddable | ComponentFlags::Saved))
            .Field("amount", &TestLegacyComponent::amount)
            .RecordAlias("TestOldLegacy", [](SchemaRecord& record) { record.name = "TestLegacyComponent"; });
        ComponentBuilder<TestHookComponent>(registry->RegisterComponent<TestHookComponent>(
                                                "TestHookComponent", "Hook", "Core",
                                                ComponentFlags::UserAddable | ComponentFlags::Saved))
            .Field("text", &TestHookComponent::text)
            .AddTransient(&TestHookComponent::resolved)
            .AddTransient(&TestHookComponent::loaded)
            .OnSave([](TestHookComponent& copy, const ComponentSaveContext&) { copy.text = "saved"; })
            .OnLoad([](TestHookComponent& value, const ComponentLoadContext&) { value.loaded = true; })
            .OnResolve([](TestHookComponent& value, const Registry&, Entity entity) {
                value.resolved = static_cast<std::int32_t>(entity);
            });
        ComponentBuilder<TestFailingComponent>(registry->RegisterComponent<TestFailingComponent>(
                                                   "TestFailingComponent", "Failing", "Core",
                                                   ComponentFlags::UserAddable | ComponentFlags::Saved))
            .Field("value", &TestFailingComponent::value)
            .OnSave([](TestFailingComponent&, const ComponentSaveContext&) {
                throw std::runtime_error("The value cannot be saved.");
            });
        ComponentBuilder<TestUnmigratedComponent>(registry->RegisterComponent<TestUnmigratedComponent>(
                                                      "TestUnmigratedComponent", "Unmigrated", "Core",
                                                      ComponentFlags::UserAddable | ComponentFlags::Saved))
            .Field("label", &TestUnmigratedComponent::label)
            .Field("since2", &TestUnmigratedComponent::since2, FieldAttr().Since(2))
            .Version(2);
        ComponentBuilder<TestAardvarkComponent>(registry->RegisterComponent<TestAardvarkComponent>(
                                                    "TestAardvarkComponent", "Aardvark", "Animals",
                                                    ComponentFlags::UserAddable | ComponentFlags::Saved))
            .Field("label", &TestAardvarkComponent::label);
        return registry;
    }();
    return *table;
}

std::vector<std::string> Names(const std::vector<const ComponentTypeEntry*>& entries) {
    std::vector<std::string> names;
    for (const ComponentTypeEntry* entry : entries) {
        names.push_back(entry->name);
    }
    return names;
}

std::vector<std::string> RecordNames(const std::vector<SchemaRecord>& records) {
    std::vector<std::string> names;
    for (const SchemaRecord& record : records) {
        names.push_back(record.name);
    }
    return names;
}

using Testing::ThrownMessage;

class ComponentLoadTest : public ::testing::Test {
protected:
    ComponentLoadTest() : table(TestTable()) {}

    void Read(std::vector<SchemaRecord> records) {
        for (SchemaRecord& record : records) {
            session.ReadRecord(std::move(record));
        }
    }

    ComponentLoadTable table;
    ComponentLoadContext context;
    ComponentLoadSession session{table, context};
    Registry registry;
};

// --- The table ---------------------------------------------------------------------------

TEST(ComponentRegistryTest, ListsEntriesInRegistrationOrderForFiles) {
    std::vector<const ComponentTypeEntry*> entries;
    TestTable().EntriesInRegistrationOrder(entries);
    EXPECT_EQ(Names(entries),
              (std::vector<std::string>{"TestPoseComponent", "TestBodyComponent", "TestHeaderComponent",
                                        "TestRuntimeComponent", "TestSeriesComponent", "TestLegacyComponent",
                                        "TestHookComponent", "TestFailingComponent", "TestUnmigratedComponent",
                                        "TestAardvarkComponent"}));
}

TEST(ComponentRegistryTest, ListsEntriesByGroupThenDisplayNameForUsers) {
    std::vector<std::string> listed;
    for (const ComponentTypeEntry* entry : TestTable().Entries()) {
        listed.push_back(entry->group + "/" + entry->displayName);
    }
    EXPECT_EQ(listed, (std::vector<std::string>{"Animals/Aardvark", "Core/Failing", "Core/Header", "Core/Hook",
                                                "Core/Legacy", "Core/Pose", "Core/Runtime", "Core/Unmigrated", "Physics/Body",
                                                "World/Series"}));
}

TEST(ComponentRegistryTest, CopiesFlagBitsIntoTheEntry) {
    const ComponentTypeEntry* body = TestTable().Find("TestBodyComponent");
    ASSERT_NE(body, nullptr);
    EXPECT_EQ(body->flags, 3u);
    EXPECT_TRUE(body->userAddable);
    EXPECT_TRUE(body->saved);
    EXPECT_EQ(body->description, "A test body.");
    EXPECT_EQ(body->size, sizeof(TestBodyComponent));
    EXPECT_EQ(body->alignment, alignof(TestBodyComponent));

    const ComponentTypeEntry* runtime = TestTable().Find<TestRuntimeComponent>();
    ASSERT_NE(runtime, nullptr);
    EXPECT_EQ(runtime->flags, 32u);
    EXPECT_FALSE(runtime->userAddable);
    EXPECT_FALSE(runtime->saved);
}

TEST(ComponentRegistryTest, FindsEntriesByTypeAndByName) {
    EXPECT_EQ(TestTable().Find(typeid(TestPoseComponent)), TestTable().Find("TestPoseComponent"));
    EXPECT_EQ(TestTable().Find("NoSuchComponent"), nullptr);
    EXPECT_EQ(TestTable().Find(typeid(int)), nullptr);
}

TEST(ComponentRegistryTest, AccountsForPropertiesTransientsAndCustomMembers) {
    const ComponentTypeEntry* body = TestTable().Find<TestBodyComponent>();
    ASSERT_NE(body, nullptr);
    ASSERT_EQ(body->fields.size(), 3u);
    EXPECT_EQ(body->fields[0].name, "mass");
    EXPECT_EQ(body->fields[0].offset, offsetof(TestBodyComponent, mass));
    EXPECT_EQ(body->fields[0].size, 4u);
    EXPECT_EQ(body->fields[0].source, 0);
    EXPECT_EQ(body->fields[1].name, "layer");
    const std::string transientName = "transient@" + std::to_string(offsetof(TestBodyComponent, sleepTimer));
    EXPECT_EQ(body->fields[2].name, transientName);
    EXPECT_EQ(body->fields[2].source, 2);

    const ComponentTypeEntry* series = TestTable().Find<TestSeriesComponent>();
    ASSERT_NE(series, nullptr);
    ASSERT_EQ(series->fields.size(), 2u);
    EXPECT_EQ(series->fields[1].name, "custom@" + std::to_string(offsetof(TestSeriesComponent, samples)));
    EXPECT_EQ(series->fields[1].source, 1);
}

TEST(ComponentRegistryTest, SetsTheReflectedTypeVersion) {
    // The test table registers its types on first use; CTest runs each test on its own.
    (void)TestTable();
    const Reflection::TypeInfo* type = Reflection::ReflectionRegistry::Instance().FindType("TestBodyComponent");
    ASSERT_NE(type, nullptr);
    EXPECT_EQ(type->version, 2u);
    EXPECT_EQ(type->displayName, "Body");
}

TEST(ComponentRegistryTest, MultiRecordFormReplacesTheRecordSpecs) {
    const ComponentTypeEntry* series = TestTable().Find<TestSeriesComponent>();
    ASSERT_NE(series, nullptr);
    ASSERT_EQ(series->records.size(), 3u);
    EXPECT_TRUE(series->customRecords);
    EXPECT_FALSE(series->records[1].repeatable);
    EXPECT_TRUE(series->records[2].repeatable);
    EXPECT_FALSE(TestTable().Find<TestBodyComponent>()->customRecords);
}

struct ReRegisteredComponent {
    float value = 0.0f;
};
struct OtherReRegisteredComponent {
    float value = 0.0f;
};

TEST(ComponentRegistryTest, RegisteringAgainKeepsTheRegistrationIndexAndTakesTheNewHeader) {
    ComponentRegistry registry;
    registry.RegisterComponent<ReRegisteredComponent>("ReRegisteredComponent", "First", "A", ComponentFlags::Saved);
    registry.RegisterComponent<OtherReRegisteredComponent>("OtherReRegisteredComponent", "Other", "A",
                                                           ComponentFlags::Saved);
    ComponentTypeEntry& again = registry.RegisterComponent<ReRegisteredComponent>(
        "ReRegisteredComponent", "Second", "B", ComponentFlags::UserAddable | ComponentFlags::Saved);
    EXPECT_EQ(again.registrationIndex, 0u);
    EXPECT_EQ(again.displayName, "Second");
    EXPECT_EQ(registry.Size(), 2u);
    EXPECT_EQ(registry.Find("ReRegisteredComponent"), &again);
    EXPECT_EQ(registry.Find<OtherReRegisteredComponent>()->registrationIndex, 1u);
}

// --- Builder validation --------------------------------------------------------------------

struct VersionZeroComponent {
    float value = 0.0f;
};
struct ReplicatedComponent {
    float value = 0.0f;
};
struct SaveAsUnreflectedComponent {
    float value = 0.0f;
};
struct UnreflectedRecord {
    float value = 0.0f;
};
struct NoRecordsComponent {
    float value = 0.0f;
};
struct SaveGameTwiceComponent {
    float value = 0.0f;
};

TEST(ComponentBuilderTest, RefusesSchemaVersionZero) {
    ComponentRegistry registry;
    ComponentBuilder<VersionZeroComponent> builder(registry.RegisterComponent<VersionZeroComponent>(
        "VersionZeroComponent", "Version Zero", "Test", ComponentFlags::Saved));
    EXPECT_EQ(ThrownMessage([&] { builder.Version(0); }), "Value schema versions start at 1: VersionZeroComponent");
    EXPECT_THROW(builder.Version(0), std::invalid_argument);
}

TEST(ComponentBuilderTest, RefusesAnEmptyReplicatedPath) {
    ComponentRegistry registry;
    ComponentBuilder<ReplicatedComponent> builder(registry.RegisterComponent<ReplicatedComponent>(
        "ReplicatedComponent", "Replicated", "Test", ComponentFlags::Saved));
    EXPECT_EQ(ThrownMessage([&] { builder.Replicated(""); }), "Replicated field path is empty: ReplicatedComponent");
}

TEST(ComponentBuilderTest, RefusesAPathReplicatedTwiceAtValidation) {
    ComponentRegistry registry;
    ComponentBuilder<ReplicatedComponent> builder(registry.RegisterComponent<ReplicatedComponent>(
        "ReplicatedComponent", "Replicated", "Test", ComponentFlags::Saved));
    ReplicationSettings settings;
    settings.mode = 1;
    settings.tolerance = 0.01f;
    settings.hasTolerance = true;
    builder.Replicated("value", settings).Replicated("value");
    EXPECT_EQ(ThrownMessage([&] { builder.Validate(); }), "Field replicated twice: ReplicatedComponent.value");
    EXPECT_THROW(ValidateComponentEntry(builder.Entry()), std::invalid_argument);
    ASSERT_EQ(builder.Entry().replicatedFields.size(), 2u);
    EXPECT_EQ(builder.Entry().replicatedFields[0].settings.mode, 1u);
}

TEST(ComponentBuilderTest, RefusesSaveAsWithAnUnreflectedRecordType) {
    ComponentRegistry registry;
    ComponentBuilder<SaveAsUnreflectedComponent> builder(registry.RegisterComponent<SaveAsUnreflectedComponent>(
        "SaveAsUnreflectedComponent", "Save As", "Test", ComponentFlags::Saved));
    const std::string message = ThrownMessage([&] {
        builder.SaveAs<UnreflectedRecord>([](const SaveAsUnreflectedComponent&, UnreflectedRecord&) {},
                                          [](const UnreflectedRecord&, SaveAsUnreflectedComponent&) {});
    });
    EXPECT_EQ(message, "SaveAs record type is not reflected: SaveAsUnreflectedComponent");
}

TEST(ComponentBuilderTest, RefusesRecordsWithoutAMainRecord) {
    ComponentRegistry registry;
    ComponentBuilder<NoRecordsComponent> builder(registry.RegisterComponent<NoRecordsComponent>(
        "NoRecordsComponent", "No Records", "Test", ComponentFlags::Saved));
    const std::string message = ThrownMessage([&] {
        builder.Records<std::monostate>(
            {}, [](const NoRecordsComponent&, std::vector<SchemaRecord>&, const ComponentSaveContext&) {},
            [](NoRecordsComponent&, std::monostate&, const SchemaRecord&, std::uint64_t,
               const ComponentLoadContext&) {},
            [](NoRecordsComponent&, std::monostate&) {});
    });
    EXPECT_EQ(message, "Component records need a main record: NoRecordsComponent");
}

TEST(ComponentBuilderTest, RefusesASaveGameFieldDeclaredTwiceAtValidation) {
    ComponentRegistry registry;
    ComponentBuilder<SaveGameTwiceComponent> builder(registry.RegisterComponent<SaveGameTwiceComponent>(
        "SaveGameTwiceComponent", "Save Game", "Test", ComponentFlags::Saved));
    builder.AddSaveGameField("value", {}, {}).AddSaveGameField("value", {}, {});
    EXPECT_TRUE(static_cast<bool>(builder.Entry().saveGameFields.applyGuard));
    EXPECT_EQ(ThrownMessage([&] { builder.Validate(); }), "Duplicate save-game field: SaveGameTwiceComponent.value");
}

// --- The load table ----------------------------------------------------------------------

TEST(ComponentLoadTableTest, ListsOnlyRecordComponentsInRegistrationOrder) {
    const ComponentLoadTable table(TestTable());
    EXPECT_EQ(Names(table.entries),
              (std::vector<std::string>{"TestPoseComponent", "TestBodyComponent", "TestSeriesComponent",
                                        "TestLegacyComponent", "TestHookComponent", "TestFailingComponent",
                                        "TestUnmigratedComponent", "TestAardvarkComponent"}));
}

TEST(ComponentLoadTableTest, MapsRecordNamesAndAliasesToTheirTargets) {
    const ComponentLoadTable table(TestTable());
    const ComponentRecordTarget* chunk = table.FindRecord("TestSeriesChunk");
    ASSERT_NE(chunk, nullptr);
    EXPECT_EQ(chunk->entry, TestTable().Find<TestSeriesComponent>());
    EXPECT_EQ(chunk->recordIndex, 2u);
    EXPECT_EQ(chunk->upgrade, nullptr);

    const ComponentRecordTarget* alias = table.FindRecord("TestOldLegacy");
    ASSERT_NE(alias, nullptr);
    EXPECT_EQ(alias->recordIndex, 0u);
    EXPECT_NE(alias->upgrade, nullptr);
    EXPECT_EQ(table.FindRecord("TestHeaderComponent"), nullptr);
    EXPECT_EQ(table.FindRecord("TestRuntimeComponent"), nullptr);
}

struct ClaimFirstComponent {
    float value = 0.0f;
};
struct ClaimSecondComponent {
    float value = 0.0f;
};

TEST(ComponentLoadTableTest, RefusesTwoComponentsClaimingOneRecordName) {
    ComponentRegistry registry;
    registry.RegisterComponent<ClaimFirstComponent>("ClaimFirstComponent", "First", "Test", ComponentFlags::Saved);
    ComponentBuilder<ClaimSecondComponent>(registry.RegisterComponent<ClaimSecondComponent>(
                                               "ClaimSecondComponent", "Second", "Test", ComponentFlags::Saved))
        .RecordAlias("ClaimFirstComponent", {});
    EXPECT_EQ(ThrownMessage([&] { ComponentLoadTable table(registry); }),
              "Two components claim the scene record name: ClaimFirstComponent");
    EXPECT_THROW(ComponentLoadTable{registry}, std::logic_error);
}

// --- Reading records ------------------------------------------------------------------------

TEST_F(ComponentLoadTest, LoadsRecordsIntoComponentsOnApply) {
    Read({MakeRecord("TestPoseComponent", 1, {{"position", "1 2 3"}}),
          MakeRecord("TestBodyComponent", 2, {{"mass", "4.5"}, {"layer", "7"}})});
    session.Finish(true);
    EXPECT_TRUE(session.Has(typeid(TestBodyComponent)));
    EXPECT_FALSE(session.Has(typeid(TestAardvarkComponent)));

    const Entity entity = registry.CreateEntity();
    EXPECT_FALSE(registry.Has<TestBodyComponent>(entity));
    session.Apply(registry, entity);
    ASSERT_TRUE(registry.Has<TestBodyComponent>(entity));
    EXPECT_EQ(registry.Get<TestBodyComponent>(entity).mass, 4.5f);
    EXPECT_EQ(registry.Get<TestBodyComponent>(entity).layer, 7);
    EXPECT_EQ(registry.Get<TestPoseComponent>(entity).position, glm::vec3(1.0f, 2.0f, 3.0f));
}

TEST_F(ComponentLoadTest, RefusesASecondMainRecord) {
    Read({MakeRecord("TestBodyComponent", 2, {})});
    EXPECT_EQ(ThrownMessage([&] { session.ReadRecord(MakeRecord("TestBodyComponent", 2, {})); }),
              "Duplicate component schema: TestBodyComponent");
}

TEST_F(ComponentLoadTest, RefusesAPartBeforeItsMainRecord) {
    EXPECT_EQ(ThrownMessage([&] { session.ReadRecord(MakeRecord("TestSeriesCount", 1, {{"count", "0"}})); }),
              "TestSeriesCount requires its TestSeriesComponent record first.");
}

TEST_F(ComponentLoadTest, RefusesASecondNonRepeatablePart) {
    Read({MakeRecord("TestSeriesComponent", 1, {}), MakeRecord("TestSeriesCount", 1, {{"count", "0"}})});
    EXPECT_EQ(ThrownMessage([&] { session.ReadRecord(MakeRecord("TestSeriesCount", 1, {{"count", "0"}})); }),
              "Duplicate component schema: TestSeriesCount");
}

TEST_F(ComponentLoadTest, TakesRepeatablePartsAnyNumberOfTimes) {
    Read({MakeRecord("TestSeriesComponent", 1, {}), MakeRecord("TestSeriesCount", 1, {{"count", "3"}}),
          MakeRecord("TestSeriesChunk", 1, {{"value", "1"}}), MakeRecord("TestSeriesChunk", 1, {{"value", "2"}}),
          MakeRecord("TestSeriesChunk", 1, {{"value", "3"}})});
    session.Finish(false);
    const Entity entity = registry.CreateEntity();
    session.Apply(registry, entity);
    EXPECT_EQ(registry.Get<TestSeriesComponent>(entity).samples, (std::vector<float>{1.0f, 2.0f, 3.0f}));
}

TEST_F(ComponentLoadTest, FinishRunsThePartsCheck) {
    Read({MakeRecord("TestSeriesComponent", 1, {}), MakeRecord("TestSeriesCount", 1, {{"count", "2"}}),
          MakeRecord("TestSeriesChunk", 1, {{"value", "1"}})});
    EXPECT_EQ(ThrownMessage([&] { session.Finish(false); }), "Series samples are missing or incomplete.");
}

TEST_F(ComponentLoadTest, RefusesAnUnknownNameThatIsNoPluginName) {
    EXPECT_EQ(ThrownMessage([&] { session.ReadRecord(MakeRecord("FooComponent", 1, {})); }),
              "Unsupported component schema: FooComponent");
    EXPECT_THROW(session.ReadRecord(MakeRecord("FooComponent", 1, {})), std::runtime_error);
}

TEST_F(ComponentLoadTest, RequiresEveryRequiredComponentOnlyWhenAsked) {
    Read({MakeRecord("TestBodyComponent", 2, {})});
    EXPECT_NO_THROW(session.Finish(false));
    EXPECT_EQ(ThrownMessage([&] { session.Finish(true); }), "Entity is missing its TestPoseComponent record.");
}

TEST_F(ComponentLoadTest, MigratesAnOlderRecordToTheCurrentVersion) {
    Read({MakeRecord("TestBodyComponent", 1, {{"weight", "9"}})});
    session.Finish(false);
    const Entity entity = registry.CreateEntity();
    session.Apply(registry, entity);
    EXPECT_EQ(registry.Get<TestBodyComponent>(entity).mass, 9.0f);
}

TEST_F(ComponentLoadTest, DecodesAnOlderRecordAsItStandsWithoutAMigration) {
    Read({MakeRecord("TestUnmigratedComponent", 1, {{"label", "old"}})});
    session.Finish(false);
    const Entity entity = registry.CreateEntity();
    session.Apply(registry, entity);
    EXPECT_EQ(registry.Get<TestUnmigratedComponent>(entity).label, "old");
    EXPECT_THROW(ComponentLoadSession(table, context)
                     .ReadRecord(MakeRecord("TestUnmigratedComponent", 1, {{"since2", "1"}})),
                 std::runtime_error);
}

TEST_F(ComponentLoadTest, UpgradesARecordUnderAnOlderName) {
    Read({MakeRecord("TestOldLegacy", 1, {{"amount", "2.5"}})});
    session.Finish(false);
    const Entity entity = registry.CreateEntity();
    session.Apply(registry, entity);
    EXPECT_EQ(registry.Get<TestLegacyComponent>(entity).amount, 2.5f);
}

TEST_F(ComponentLoadTest, AFailedRecordLeavesNoHalfFilledComponent) {
    EXPECT_THROW(session.ReadRecord(MakeRecord("TestBodyComponent", 2, {{"mass", "3"}, {"nope", "1"}})),
                 std::runtime_error);
    EXPECT_TRUE(session.Has(typeid(TestBodyComponent)));
    const Entity entity = registry.CreateEntity();
    session.Apply(registry, entity);
    EXPECT_EQ(registry.Get<TestBodyComponent>(entity).mass, 1.0f);
}

TEST_F(ComponentLoadTest, RunsLoadHooksAtFinish) {
    Read({MakeRecord("TestHookComponent", 1, {{"text", "from file"}})});
    session.Finish(false);
    const Entity entity = registry.CreateEntity();
    session.Apply(registry, entity);
    EXPECT_TRUE(registry.Get<TestHookComponent>(entity).loaded);
    EXPECT_EQ(registry.Get<TestHookComponent>(entity).text, "from file");
}

TEST_F(ComponentLoadTest, ApplyLeavesFilteredComponentsForALaterCall) {
    Read({MakeRecord("TestPoseComponent", 1, {}), MakeRecord("TestBodyComponent", 2, {})});
    session.Finish(true);
    const Entity entity = registry.CreateEntity();
    session.Apply(registry, entity, [](const ComponentTypeEntry& entry) { return entry.name == "TestPoseComponent"; });
    EXPECT_TRUE(registry.Has<TestPoseComponent>(entity));
    EXPECT_FALSE(registry.Has<TestBodyComponent>(entity));
    session.Apply(registry, entity);
    EXPECT_TRUE(registry.Has<TestBodyComponent>(entity));
}

TEST_F(ComponentLoadTest, KeepsAnUnloadedPluginRecordAndSavesItBehindKnownRecords) {
    SchemaRecord plugin = MakeRecord("Vendor.Thing", 3, {{"size", "12"}});
    const SchemaRecord expected = plugin;
    Read({MakeRecord("TestAardvarkComponent", 1, {}), std::move(plugin), MakeRecord("TestPoseComponent", 1, {})});
    session.Finish(true);
    ASSERT_EQ(session.Preserved().size(), 1u);
    const Entity entity = registry.CreateEntity();
    session.Apply(registry, entity);
    ASSERT_NE(registry.GetPreservedRecords(entity), nullptr);

    std::vector<SchemaRecord> saved;
    SaveEntityComponents(table, ComponentSaveContext{registry, entity, nullptr}, saved);
    EXPECT_EQ(RecordNames(saved),
              (std::vector<std::string>{"TestPoseComponent", "TestAardvarkComponent", "Vendor.Thing"}));
    EXPECT_EQ(saved.back(), expected);
}

TEST_F(ComponentLoadTest, SkipsARetiredComponentWithOneWarningPerProcess) {
    const auto countWarnings = [] {
        std::size_t count = 0;
        for (const Core::LogEntry& entry : Core::Logger::Get().History()) {
            if (entry.message ==
                "WeaponComponent is no longer an engine component (D-01); its data is skipped. Game rules belong "
                "to a game script (see the Weapon script of the project templates).") {
                ++count;
            }
        }
        return count;
    };
    Read({MakeRecord("TestPoseComponent", 1, {}), MakeRecord("WeaponComponent", 1, {{"damage", "5"}})});
    EXPECT_EQ(countWarnings(), 1u);
    ComponentLoadSession second(table, context);
    second.ReadRecord(MakeRecord("WeaponComponent", 1, {}));
    EXPECT_EQ(countWarnings(), 1u);

    session.Finish(true);
    const Entity entity = registry.CreateEntity();
    session.Apply(registry, entity);
    EXPECT_TRUE(session.Preserved().empty());
    std::vector<SchemaRecord> saved;
    SaveEntityComponents(table, ComponentSaveContext{registry, entity, nullptr}, saved);
    EXPECT_EQ(RecordNames(saved), (std::vector<std::string>{"TestPoseComponent"}));
}

TEST(RetiredComponentTest, KnowsTheThreeRetiredComponents) {
    EXPECT_TRUE(IsRetiredComponent("WeaponComponent"));
    EXPECT_TRUE(IsRetiredComponent("PickupComponent"));
    EXPECT_TRUE(IsRetiredComponent("DamageComponent"));
    EXPECT_FALSE(IsRetiredComponent("HealthComponent"));
}

TEST(PluginComponentNameTest, FollowsTheNameRule) {
    EXPECT_TRUE(IsPluginComponentName("Vendor.Thing"));
    EXPECT_TRUE(IsPluginComponentName("a.b"));
    EXPECT_TRUE(IsPluginComponentName("Acme-2.Door_x"));
    EXPECT_FALSE(IsPluginComponentName("a."));
    EXPECT_FALSE(IsPluginComponentName("Broken"));
    EXPECT_FALSE(IsPluginComponentName("1a.b"));
    EXPECT_FALSE(IsPluginComponentName("Acme.Do or"));
    EXPECT_TRUE(IsValidPluginFieldName("speed_2"));
    EXPECT_FALSE(IsValidPluginFieldName("Bad-Name"));
    EXPECT_FALSE(IsValidPluginFieldName(std::string(65, 'a')));
    EXPECT_TRUE(IsValidPluginFieldName(std::string(64, 'a')));
}

// --- Saving, copying, resolving --------------------------------------------------------------

TEST(SaveEntityComponentsTest, WritesRecordsInRegistrationOrderNotAlphabetically) {
    const ComponentLoadTable table(TestTable());
    Registry registry;
    const Entity entity = registry.CreateEntity();
    registry.Emplace<TestAardvarkComponent>(entity, {});
    registry.Emplace<TestLegacyComponent>(entity, {});
    registry.Emplace<TestBodyComponent>(entity, {});
    registry.Emplace<TestPoseComponent>(entity, {});
    registry.Emplace<TestHeaderComponent>(entity, {});
    registry.Emplace<TestRuntimeComponent>(entity, {});
    std::vector<SchemaRecord> saved;
    SaveEntityComponents(table, ComponentSaveContext{registry, entity, nullptr}, saved);
    EXPECT_EQ(RecordNames(saved), (std::vector<std::string>{"TestPoseComponent", "TestBodyComponent",
                                                            "TestLegacyComponent", "TestAardvarkComponent"}));
    EXPECT_EQ(saved[1].version, 2u);
    EXPECT_EQ(FieldText(saved[1], "mass"), "1");
}

TEST(SaveEntityComponentsTest, WritesEveryRecordOfAMultiRecordComponent) {
    const ComponentLoadTable table(TestTable());
    Registry registry;
    const Entity entity = registry.CreateEntity();
    TestSeriesComponent series;
    series.samples = {1.0f, 2.0f};
    registry.Emplace<TestSeriesComponent>(entity, series);
    std::vector<SchemaRecord> saved;
    SaveEntityComponents(table, ComponentSaveContext{registry, entity, nullptr}, saved);
    EXPECT_EQ(RecordNames(saved), (std::vector<std::string>{"TestSeriesComponent", "TestSeriesCount",
                                                            "TestSeriesChunk", "TestSeriesChunk"}));
}

TEST(SaveEntityComponentsTest, RunsSaveHooksOnAPrivateCopy) {
    const ComponentLoadTable table(TestTable());
    Registry registry;
    const Entity entity = registry.CreateEntity();
    registry.Emplace<TestHookComponent>(entity, {});
    std::vector<SchemaRecord> saved;
    SaveEntityComponents(table, ComponentSaveContext{registry, entity, nullptr}, saved);
    ASSERT_EQ(saved.size(), 1u);
    EXPECT_EQ(FieldText(saved[0], "text"), "saved");
    EXPECT_EQ(registry.Get<TestHookComponent>(entity).text, "live");
}

TEST(SaveEntityComponentsTest, NamesTheComponentWhoseSaveFailed) {
    const ComponentLoadTable table(TestTable());
    Registry registry;
    const Entity entity = registry.CreateEntity();
    registry.Emplace<TestFailingComponent>(entity, {});
    std::vector<SchemaRecord> saved;
    EXPECT_EQ(ThrownMessage([&] {
                  SaveEntityComponents(table, ComponentSaveContext{registry, entity, nullptr}, saved);
              }),
              "TestFailingComponent: The value cannot be saved.");
}

TEST(ComponentCopyTest, PutsTransientMembersBackToTheirDefault) {
    const ComponentTypeEntry* body = TestTable().Find<TestBodyComponent>();
    ASSERT_NE(body, nullptr);
    Registry registry;
    const Entity source = registry.CreateEntity();
    const Entity target = registry.CreateEntity();
    TestBodyComponent value;
    value.mass = 8.0f;
    value.sleepTimer = 99;
    registry.Emplace<TestBodyComponent>(source, value);
    body->copy(registry, source, target, ComponentCopyKind::Duplicate);
    EXPECT_EQ(registry.Get<TestBodyComponent>(target).mass, 8.0f);
    EXPECT_EQ(registry.Get<TestBodyComponent>(target).sleepTimer, 5u);
    EXPECT_EQ(registry.Get<TestBodyComponent>(source).sleepTimer, 99u);

    Registry other;
    const Entity across = other.CreateEntity();
    body->copyAcross(registry, other, source, across, ComponentCopyKind::Transfer);
    EXPECT_EQ(other.Get<TestBodyComponent>(across).sleepTimer, 5u);
}

TEST(ComponentCopyTest, CopiesNothingFromAnEntityWithoutTheComponent) {
    const ComponentTypeEntry* body = TestTable().Find<TestBodyComponent>();
    Registry registry;
    const Entity source = registry.CreateEntity();
    const Entity target = registry.CreateEntity();
    body->copy(registry, source, target, ComponentCopyKind::Duplicate);
    EXPECT_FALSE(registry.Has<TestBodyComponent>(target));
}

TEST(ComponentOperationsTest, ReachComponentsWithoutTheirType) {
    const ComponentTypeEntry* body = TestTable().Find<TestBodyComponent>();
    Registry registry;
    const Entity entity = registry.CreateEntity();
    EXPECT_FALSE(body->has(registry, entity));
    EXPECT_EQ(body->getConst(registry, entity), nullptr);
    body->addDefault(registry, entity);
    EXPECT_TRUE(body->has(registry, entity));
    EXPECT_EQ(body->getMutable(registry, entity), registry.TryGet<TestBodyComponent>(entity));
    EXPECT_EQ(body->constView(registry, entity).type, std::type_index(typeid(TestBodyComponent)));
    EXPECT_TRUE(body->view(registry, entity).IsMutable());
    body->remove(registry, entity);
    EXPECT_FALSE(body->has(registry, entity));
    EXPECT_TRUE(body->view(registry, entity).IsNull());
}

TEST(ResolveEntityComponentsTest, RunsResolveHooksOfPresentComponents) {
    const ComponentLoadTable table(TestTable());
    Registry registry;
    const Entity entity = registry.CreateEntity();
    registry.Emplace<TestHookComponent>(entity, {});
    ResolveEntityComponents(table, registry, entity);
    EXPECT_EQ(registry.Get<TestHookComponent>(entity).resolved, static_cast<std::int32_t>(entity));
}

// --- The installed catalogue -------------------------------------------------------------------

TEST(InstallComponentsTest, SavesTheCatalogueInRegistrationOrder) {
    InstallComponents();
    EXPECT_TRUE(ComponentsInstalled());
    const ComponentLoadTable table;
    const auto position = [&](const std::string& name) {
        const auto found = std::find_if(table.entries.begin(), table.entries.end(),
                                        [&](const ComponentTypeEntry* entry) { return entry->name == name; });
        return found - table.entries.begin();
    };
    const auto size = static_cast<std::ptrdiff_t>(table.entries.size());
    ASSERT_LT(position("DirectionalLightComponent"), size);
    // Registrar order, which the alphabet contradicts at every step.
    EXPECT_LT(position("TransformComponent"), position("ColliderComponent"));
    EXPECT_LT(position("ColliderComponent"), position("MeshRendererComponent"));
    EXPECT_LT(position("MeshRendererComponent"), position("DirectionalLightComponent"));
    EXPECT_TRUE(std::is_sorted(table.entries.begin(), table.entries.end(),
                               [](const ComponentTypeEntry* a, const ComponentTypeEntry* b) {
                                   return a->registrationIndex < b->registrationIndex;
                               }));
    EXPECT_EQ(table.entries.front()->name, "TransformComponent");
    EXPECT_EQ(table.FindRecord("NameComponent"), nullptr);
}

TEST(InstallComponentsTest, RunsItsBodyOncePerProcess) {
    InstallComponents();
    const std::size_t size = ComponentRegistry::Instance().Size();
    const std::uint64_t index = ComponentRegistry::Instance().Find("TransformComponent")->registrationIndex;
    InstallComponents();
    EXPECT_EQ(ComponentRegistry::Instance().Size(), size);
    EXPECT_EQ(ComponentRegistry::Instance().Find("TransformComponent")->registrationIndex, index);
}

} // namespace
} // namespace Brelk::Scene
