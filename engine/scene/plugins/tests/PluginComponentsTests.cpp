#include "engine/scene/ComponentRegistry.h"
#include "engine/scene/plugins/PluginComponents.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <limits>
#include <string>
#include <vector>

namespace Brelk::Scene {
namespace {

// Every test defines names of its own: slots are spent for the process.
PluginFieldDefinition FieldOf(std::string name, PluginFieldValue value) {
    PluginFieldDefinition field;
    field.name = std::move(name);
    field.kind = static_cast<PluginFieldKind>(value.index());
    field.defaultValue = std::move(value);
    return field;
}

PluginComponentDefinition Definition(std::string name, std::vector<PluginFieldDefinition> fields = {}) {
    PluginComponentDefinition definition;
    definition.name = std::move(name);
    definition.pluginId = "Acme";
    definition.saved = true;
    definition.fields = std::move(fields);
    return definition;
}

std::vector<PluginFieldDefinition> Repeated(const char* prefix, int count, const PluginFieldValue& value) {
    std::vector<PluginFieldDefinition> fields;
    for (int i = 0; i < count; ++i) fields.push_back(FieldOf(prefix + std::to_string(i), value));
    return fields;
}

std::string DefineError(const PluginComponentDefinition& definition) {
    std::string error;
    EXPECT_EQ(DefinePluginComponent(definition, &error), nullptr);
    return error;
}

TEST(PluginComponentsTests, RefusesDefinitionsWithTheirMessages) {
    auto badField = FieldOf("Bad-Name", true);
    auto mismatched = FieldOf("open", true);
    mismatched.kind = PluginFieldKind::Float;
    auto tooFull = Repeated("v", 16, glm::vec4(0.0f));
    tooFull.push_back(FieldOf("extra", true));
    struct Row {
        PluginComponentDefinition definition;
        std::string message;
    };
    const Row rows[] = {
        {Definition("Door"), "A plugin component name must be '<plugin id>.<name>'."},
        {Definition("Acme." + std::string(124, 'x')), "A plugin component name must be '<plugin id>.<name>'."},
        {Definition("Acme.BadField", {badField}),
         "Invalid field name 'Bad-Name' (letters, digits and '_', starting with a letter)."},
        {Definition("Acme.LongField", {FieldOf(std::string(65, 'f'), true)}),
         "Invalid field name '" + std::string(65, 'f') + "' (letters, digits and '_', starting with a letter)."},
        {Definition("Acme.Twice", {FieldOf("a", true), FieldOf("a", 1.0f)}), "Duplicate field 'a'."},
        {Definition("Acme.Mismatch", {mismatched}), "The default of field 'open' does not match its type."},
        {Definition("Acme.NineStrings", Repeated("s", 9, std::string())), "Too many string fields (limit 8)."},
        {Definition("Acme.TooFull", tooFull), "The fields need more than 256 bytes."},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.definition.name);
        EXPECT_EQ(DefineError(row.definition), row.message);
        EXPECT_FALSE(IsPluginComponentDefined(row.definition.name));
    }
}

TEST(PluginComponentsTests, LaysOutFieldsByAlignmentAndAccountsForEveryByteUpToAFullComponent) {
    std::string error;
    const ComponentTypeEntry* entry =
        DefinePluginComponent(Definition("Acme.Layout", {FieldOf("open", true), FieldOf("target", Core::Guid{}),
                                                          FieldOf("label", std::string("door"))}),
                              &error);
    ASSERT_NE(entry, nullptr) << error;
    std::vector<std::string> rows;
    for (const ComponentFieldInfo& field : entry->fields) {
        rows.push_back(field.name + "@" + std::to_string(field.offset) + ":" + std::to_string(field.size));
    }
    EXPECT_EQ(rows, (std::vector<std::string>{"open@0:1", "target@8:16", "label@256:32", "unused0@1:7",
                                              "unused1@24:232", "unusedString1@288:32", "unusedString2@320:32",
                                              "unusedString3@352:32", "unusedString4@384:32",
                                              "unusedString5@416:32", "unusedString6@448:32",
                                              "unusedString7@480:32"}));
    EXPECT_EQ(std::pair(entry->description, entry->group), std::pair(std::string("Plugin component of Acme."), std::string("Plugins")));
    // Sixteen vec4 and eight strings fill a component to the byte.
    auto full = Repeated("v", 16, glm::vec4(1.0f));
    for (auto& field : Repeated("s", 8, std::string("x"))) full.push_back(field);
    EXPECT_NE(DefinePluginComponent(Definition("Acme.Full", full), &error), nullptr) << error;
}

// Defaults compare by their bits: NaN equals itself, -0 differs from 0.
TEST(PluginComponentsTests, TheSameDefinitionIsHarmlessAndAnotherNeedsARestart) {
    constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
    const struct { const char* name; float first; float again; bool same; } rows[] = {
        {"Acme.Door", 2.5f, 2.5f, true},
        {"Acme.Changed", 2.5f, 3.0f, false},
        {"Acme.NanDefault", kNan, kNan, true},
        {"Acme.SignedZero", 0.0f, -0.0f, false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        std::string error;
        ComponentTypeEntry* first =
            DefinePluginComponent(Definition(row.name, {FieldOf("open", false), FieldOf("level", row.first)}), &error);
        ASSERT_NE(first, nullptr) << error;
        EXPECT_TRUE(IsPluginComponentDefined(row.name));
        const auto again = Definition(row.name, {FieldOf("open", false), FieldOf("level", row.again)});
        if (row.same) {
            EXPECT_EQ(DefinePluginComponent(again, &error), first);
        } else {
            EXPECT_EQ(DefineError(again), "The component '" + std::string(row.name) +
                                              "' is already registered with a different definition in this session "
                                              "(restart to change its fields).");
        }
    }
}

TEST(PluginComponentsTests, ADefinitionWhoseRegistrationFailedGetsItsReasonAgain) {
    auto speed = FieldOf("speed", 1.0f);
    speed.hasRange = true;
    speed.minimum = 2.0f;
    speed.maximum = 1.0f;
    const auto definition = Definition("Acme.Backwards", {speed});
    const std::string reason = "The component 'Acme.Backwards' could not be registered: Property has an invalid "
                               "numeric authoring range: speed";
    EXPECT_EQ(DefineError(definition), reason);
    EXPECT_EQ(DefineError(definition), reason);
    EXPECT_TRUE(IsPluginComponentDefined("Acme.Backwards"));
}

// In a child process: the slots it spends would be missing from the other tests.
TEST(PluginComponentsTests, TheSixtyFifthDefinitionFindsNoSlot) {
    EXPECT_EXIT(
        {
            std::string error;
            for (int i = 0; i <= 64 && error.empty(); ++i) {
                (void)DefinePluginComponent(Definition("Acme.Many" + std::to_string(i)), &error);
            }
            std::fputs(error.c_str(), stderr);
            std::exit(0);
        },
        ::testing::ExitedWithCode(0), "^No more plugin component types can be registered \\(limit 64\\)\\.$");
}

} // namespace
} // namespace Brelk::Scene
