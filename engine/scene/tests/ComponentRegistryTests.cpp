#include "engine/core/Logger.h"
#include "engine/scene/ComponentLoad.h"
#include "engine/scene/ComponentRegistry.h"
#include "engine/scene/PluginComponentNames.h"
#include "engine/scene/prefabs/PrefabOverrides.h"
#include "engine/scene/Registry.h"

#include "tests/support/TextCases.h"

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

struct TestPoseComponent { glm::vec3 position{0.0f, 0.0f, 0.0f}; };
struct TestBodyComponent { float mass = 1.0f; std::int32_t layer = 0; std::uint32_t sleepTimer = 5; };
struct TestAardvarkComponent { std::string label = "aardvark"; };
struct TestHeaderComponent { std::string title; };
struct TestRuntimeComponent { std::int32_t ticks = 0; };
struct TestLegacyComponent { float amount = 0.0f; };
struct TestHookComponent { std::string text = "live"; std::int32_t resolved = 0; bool loaded = false; };
struct TestFailingComponent { std::int32_t value = 0; };
struct TestUnmigratedComponent { std::string label; std::int32_t since2 = 0; };

SchemaRecord MakeRecord(std::string name, std::uint32_t version, std::vector<std::pair<std::string, std::string>> fields) {
    SchemaRecord record;
    record.name = std::move(name);
    record.version = version;
    for (auto& [fieldName, value] : fields) record.fields.push_back(SchemaField{fieldName, Reflection::SchemaValue(value)});
    return record;
}

using F = ComponentFlags;
constexpr F kAddSave = F::UserAddable | F::Saved;

template <class T>
ComponentBuilder<T> Add(ComponentRegistry& registry, const char* name, const char* display, const char* group,
                        F flags = kAddSave) {
    return ComponentBuilder<T>(registry.RegisterComponent<T>(name, display, group, flags));
}

// Registration order here is deliberately not alphabetical.
ComponentRegistry& TestTable() {
    static ComponentRegistry* table = [] {
        auto* registry = new ComponentRegistry();
        Add<TestPoseComponent>(*registry, "TestPoseComponent", "Pose", "Core", F::Saved | F::Required)
            .Field("position", &TestPoseComponent::position);
        Add<TestBodyComponent>(*registry, "TestBodyComponent", "Body", "Physics")
            .Description("A test body.")
            .Field("mass", &TestBodyComponent::mass, FieldAttr("Mass").Range(0.0f, 100.0f))
            .Field("layer", &TestBodyComponent::layer)
            .AddTransient(&TestBodyComponent::sleepTimer)
            .Version(2)
            .Migrate([](SchemaRecord& record, std::uint32_t fromVersion) {
                if (fromVersion < 2) {
                    if (SchemaField* weight = record.FindField("weight")) weight->name = "mass";
                }
            });
        Add<TestHeaderComponent>(*registry, "TestHeaderComponent", "Header", "Core",
                                 F::Saved | F::Required | F::EntityHeader)
            .Field("title", &TestHeaderComponent::title);
        Add<TestRuntimeComponent>(*registry, "TestRuntimeComponent", "Runtime", "Core", F::RuntimeOnly)
            .Field("ticks", &TestRuntimeComponent::ticks);
        Add<TestLegacyComponent>(*registry, "TestLegacyComponent", "Legacy", "Core")
            .Field("amount", &TestLegacyComponent::amount)
            .RecordAlias("TestOldLegacy", [](SchemaRecord& record) { record.name = "TestLegacyComponent"; });
        Add<TestHookComponent>(*registry, "TestHookComponent", "Hook", "Core")
            .Field("text", &TestHookComponent::text)
            .AddTransient(&TestHookComponent::resolved)
            .AddTransient(&TestHookComponent::loaded)
            .OnSave([](TestHookComponent& copy, const ComponentSaveContext&) { copy.text = "saved"; })
            .OnLoad([](TestHookComponent& value, const ComponentLoadContext&) { value.loaded = true; })
            .OnResolve([](TestHookComponent& value, const Registry&, Entity entity) {
                value.resolved = static_cast<std::int32_t>(entity);
            });
        Add<TestFailingComponent>(*registry, "TestFailingComponent", "Failing", "Core")
            .Field("value", &TestFailingComponent::value)
            .OnSave([](TestFailingComponent&, const ComponentSaveContext&) {
                throw std::runtime_error("The value cannot be saved.");
            });
        Add<TestUnmigratedComponent>(*registry, "TestUnmigratedComponent", "Unmigrated", "Core")
            .Field("label", &TestUnmigratedComponent::label)
            .Field("since2", &TestUnmigratedComponent::since2, FieldAttr().Since(2))
            .Version(2);
        Add<TestAardvarkComponent>(*registry, "TestAardvarkComponent", "Aardvark", "Animals")
            .Field("label", &TestAardvarkComponent::label);
        return registry;
    }();
    return *table;
}

using Testing::ThrownMessage;

class ComponentLoadTest : public ::testing::Test {
protected:
    ComponentLoadTest() : table(TestTable()) {}

    void Read(std::vector<SchemaRecord> records) {
        for (SchemaRecord& record : records) session.ReadRecord(std::move(record));
    }

    // Finishes the session and applies it to a fresh entity.
    template <class T>
    const T& Loaded() {
        session.Finish(false);
        entity = registry.CreateEntity();
        session.Apply(registry, entity);
        return registry.Get<T>(entity);
    }

    std::vector<SchemaRecord> Saved() {
        std::vector<SchemaRecord> saved;
        SaveEntityComponents(table, ComponentSaveContext{registry, entity, nullptr}, saved);
        return saved;
    }

    ComponentLoadTable table;
    ComponentLoadContext context;
    ComponentLoadSession session{table, context};
    Registry registry;
    Entity entity = kNullEntity;
};

// Files follow registration order (pinned by the saves below); users see groups, then names.
TEST(ComponentRegistryTest, ListsEntriesForUsersByGroupThenNameAndReachesComponentsWithoutTheirType) {
    std::vector<std::string> listed;
    for (const ComponentTypeEntry* entry : TestTable().Entries()) listed.push_back(entry->group + "/" + entry->displayName);
    EXPECT_EQ(listed, (std::vector<std::string>{"Animals/Aardvark", "Core/Failing", "Core/Header", "Core/Hook",
                                                "Core/Legacy", "Core/Pose", "Core/Runtime", "Core/Unmigrated",
                                                "Physics/Body"}));
    // An entry reaches its component without the type.
    const ComponentTypeEntry* body = TestTable().Find<TestBodyComponent>();
    Registry registry;
    const Entity entity = registry.CreateEntity();
    EXPECT_TRUE(body->view(registry, entity).IsNull());
    body->addDefault(registry, entity);
    EXPECT_EQ(body->getMutable(registry, entity), registry.TryGet<TestBodyComponent>(entity));
    body->remove(registry, entity);
    EXPECT_FALSE(body->has(registry, entity));
}

struct FirstComponent { float value = 0.0f; };
struct SecondComponent { float value = 0.0f; };

TEST(ComponentRegistryTest, RegisteringAgainKeepsTheRegistrationIndexAndTakesTheNewHeader) {
    ComponentRegistry registry;
    registry.RegisterComponent<FirstComponent>("FirstComponent", "First", "A", ComponentFlags::Saved);
    registry.RegisterComponent<SecondComponent>("SecondComponent", "Second", "A", ComponentFlags::Saved);
    ComponentTypeEntry& again = registry.RegisterComponent<FirstComponent>("FirstComponent", "Again", "B", kAddSave);
    EXPECT_EQ(std::pair(again.registrationIndex, again.displayName), std::pair(std::uint64_t{0}, std::string("Again")));
    EXPECT_EQ(registry.Size(), 2u);
    EXPECT_EQ(registry.Find("FirstComponent"), &again);
    EXPECT_EQ(registry.Find<SecondComponent>()->registrationIndex, 1u);
}

struct UnreflectedRecord { float value = 0.0f; };

TEST(ComponentBuilderTest, RefusesBrokenDeclarationsAndClashingRecordNamesWithTheirMessages) {
    ComponentRegistry registry;
    ComponentBuilder<FirstComponent> first = Add<FirstComponent>(registry, "FirstComponent", "First", "Test", F::Saved);
    EXPECT_EQ(ThrownMessage([&] { first.Version(0); }), "Value schema versions start at 1: FirstComponent");
    EXPECT_EQ(ThrownMessage([&] { first.Replicated(""); }), "Replicated field path is empty: FirstComponent");
    EXPECT_EQ(ThrownMessage([&] {
                  first.SaveAs<UnreflectedRecord>([](const FirstComponent&, UnreflectedRecord&) {},
                                                  [](const UnreflectedRecord&, FirstComponent&) {});
              }),
              "SaveAs record type is not reflected: FirstComponent");
    EXPECT_EQ(ThrownMessage([&] {
                  first.Records<std::monostate>(
                      {}, [](const FirstComponent&, std::vector<SchemaRecord>&, const ComponentSaveContext&) {},
                      [](FirstComponent&, std::monostate&, const SchemaRecord&, std::uint64_t,
                         const ComponentLoadContext&) {},
                      [](FirstComponent&, std::monostate&) {});
              }),
              "Component records need a main record: FirstComponent");

    ReplicationSettings settings;
    settings.mode = 1;
    first.Replicated("value", settings);
    EXPECT_EQ(ThrownMessage([&] { first.Replicated("value"); }), "Field replicated twice: FirstComponent.value");
    ASSERT_EQ(first.Entry().replicatedFields.size(), 1u);
    EXPECT_EQ(first.Entry().replicatedFields[0].settings.mode, 1u);

    ComponentBuilder<SecondComponent> second = Add<SecondComponent>(registry, "SecondComponent", "Second", "Test", F::Saved);
    second.AddSaveGameField("value", {}, {});
    EXPECT_EQ(ThrownMessage([&] { second.AddSaveGameField("value", {}, {}); }),
              "Duplicate save-game field: SecondComponent.value");
    EXPECT_EQ(second.Entry().saveGameFields.fields.size(), 1u);
    second.RecordAlias("FirstComponent", {});
    EXPECT_EQ(ThrownMessage([&] { ComponentLoadTable table(registry); }),
              "Two components claim the scene record name: FirstComponent");
}

// Records of one entity in, the records its loaded components save back out, or the message.
TEST(ComponentLoadSessionTest, LoadsMigratesKeepsAndRefusesTheRecordsOfAnEntity) {
    const ComponentLoadTable table(TestTable());
    const auto load = [&](const Testing::TextCase& c) -> std::string {
        const ComponentLoadContext context;
        ComponentLoadSession session(table, context);
        Registry registry;
        try {
            for (SchemaRecord& record : ParseOverrideRecords(c.input)) session.ReadRecord(std::move(record));
            session.Finish(true);
            const Entity entity = registry.CreateEntity();
            session.Apply(registry, entity);
            std::vector<SchemaRecord> saved;
            SaveEntityComponents(table, ComponentSaveContext{registry, entity, nullptr}, saved);
            return RenderSchemaRecords(saved);
        } catch (const std::exception& e) {
            return e.what();
        }
    };
    Testing::ExpectTextCases(std::filesystem::path(BRELK_TEST_DATA_DIR) / "ComponentLoads.txt", load);
}

// A failed record leaves no half-filled component and the session goes on.
TEST_F(ComponentLoadTest, AFailedRecordLeavesNoHalfFilledComponentAndHooksRunAtFinishAndResolve) {
    EXPECT_THROW(session.ReadRecord(MakeRecord("TestBodyComponent", 2, {{"mass", "3"}, {"nope", "1"}})),
                 std::runtime_error);
    EXPECT_TRUE(session.Has(typeid(TestBodyComponent)));
    EXPECT_THROW(session.ReadRecord(MakeRecord("FooComponent", 1, {})), std::runtime_error);
    Read({MakeRecord("TestHookComponent", 1, {{"text", "from file"}})});
    EXPECT_TRUE(Loaded<TestHookComponent>().loaded);
    EXPECT_EQ(registry.Get<TestBodyComponent>(entity).mass, 1.0f);
    EXPECT_EQ(registry.Get<TestHookComponent>(entity).text, "from file");
    ResolveEntityComponents(table, registry, entity);
    EXPECT_EQ(registry.Get<TestHookComponent>(entity).resolved, static_cast<std::int32_t>(entity));
}

TEST_F(ComponentLoadTest, ApplyLeavesFilteredComponentsForALaterCall) {
    Read({MakeRecord("TestPoseComponent", 1, {}), MakeRecord("TestBodyComponent", 2, {})});
    session.Finish(true);
    entity = registry.CreateEntity();
    session.Apply(registry, entity, [](const ComponentTypeEntry& entry) { return entry.name == "TestPoseComponent"; });
    EXPECT_EQ(std::pair(registry.Has<TestPoseComponent>(entity), registry.Has<TestBodyComponent>(entity)),
              std::pair(true, false));
    session.Apply(registry, entity);
    EXPECT_TRUE(registry.Has<TestBodyComponent>(entity));
}

TEST_F(ComponentLoadTest, SkipsARetiredComponentWithOneWarningPerProcess) {
    const auto countWarnings = [] {
        const auto history = Core::Logger::Get().History();
        return std::count_if(history.begin(), history.end(), [](const Core::LogEntry& entry) {
            return entry.message == "WeaponComponent is no longer an engine component (D-01); its data is skipped. Game "
                                    "rules belong to a game script (see the Weapon script of the project templates).";
        });
    };
    Read({MakeRecord("TestPoseComponent", 1, {}), MakeRecord("WeaponComponent", 1, {{"damage", "5"}})});
    EXPECT_EQ(countWarnings(), 1);
    ComponentLoadSession(table, context).ReadRecord(MakeRecord("WeaponComponent", 1, {}));
    EXPECT_EQ(countWarnings(), 1);
}

TEST(ComponentNameRulesTest, KnowRetiredComponentsAndPluginNames) {
    for (const char* retired : {"WeaponComponent", "PickupComponent", "DamageComponent"}) EXPECT_TRUE(IsRetiredComponent(retired));
    EXPECT_FALSE(IsRetiredComponent("HealthComponent"));
    for (const char* name : {"Vendor.Thing", "a.b", "Acme-2.Door_x"}) EXPECT_TRUE(IsPluginComponentName(name)) << name;
    for (const char* name : {"a.", "Broken", "1a.b", "Acme.Do or"}) EXPECT_FALSE(IsPluginComponentName(name)) << name;
    for (const std::string& name : {std::string("speed_2"), std::string(64, 'a')}) EXPECT_TRUE(IsValidPluginFieldName(name));
    for (const std::string& name : {std::string("Bad-Name"), std::string(65, 'a')}) EXPECT_FALSE(IsValidPluginFieldName(name));
}

TEST_F(ComponentLoadTest, SavesRecordsInRegistrationOrderNotAlphabetically) {
    entity = registry.CreateEntity();
    // Added in the users' order; headers and run-time components save no record.
    for (const ComponentTypeEntry* entry : TestTable().Entries())
        if (entry->name != "TestFailingComponent") entry->addDefault(registry, entity);
    const std::vector<SchemaRecord> saved = Saved();
    std::vector<std::string> names;
    for (const SchemaRecord& record : saved) names.push_back(record.name);
    EXPECT_EQ(names, (std::vector<std::string>{"TestPoseComponent", "TestBodyComponent", "TestLegacyComponent",
                                               "TestHookComponent", "TestUnmigratedComponent", "TestAardvarkComponent"}));
    EXPECT_EQ(saved[1].version, 2u);
    EXPECT_EQ(std::get<std::string>(saved[1].FindField("mass")->value), "1");
    registry.Emplace<TestFailingComponent>(entity, {});
    EXPECT_EQ(ThrownMessage([&] { (void)Saved(); }), "TestFailingComponent: The value cannot be saved.");
}

} // namespace
} // namespace Brelk::Scene
