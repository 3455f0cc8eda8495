#include "engine/scene/SceneTextParser.h"
#include "engine/scene/SceneTextWriter.h"

#include <gtest/gtest.h>

namespace Brelk::Scene {
namespace {

constexpr const char* kHandleGuid = "a04e5d12-19c3-4b8a-8e27-6d1f0c3ab945";

std::string ParseError(std::string_view text, const std::filesystem::path& path = "Scenes/Main.bscene") {
    SceneDocument document;
    std::string error;
    if (ParseSceneText(text, document, path, &error)) return "<parsed>";
    return error;
}

SceneDocument Parse(std::string_view text) {
    SceneDocument document;
    std::string error;
    EXPECT_TRUE(ParseSceneText(text, document, "a.bscene", &error)) << error;
    return document;
}

TEST(SceneTextParserTests, ReadsEntitiesRecordsAndParentsInFileOrder) {
    const SceneDocument document = Parse(
        "# made by hand\n"
        "\n"
        "scene_version 6\n"
        "entity \"3f2a9c1e-7b40-4e11-9a6d-5c0d2e8f1b77\" \"Door \\\"A\\\"\"\n"
        "parent \"\"\n"
        "component_schema \"TransformComponent\" 1 1\n"
        "object_property \"transform\" \"Transform\" 1 1\n"
        "property \"position\" \"1 2.5 -3\"\n"
        "end_component_schema\n"
        "end_component_schema\n"
        "end_entity\n"
        "  entity a04e5d12-19c3-4b8a-8e27-6d1f0c3ab945 Handle   \r\n"
        "parent \"3f2a9c1e-7b40-4e11-9a6d-5c0d2e8f1b77\"\n"
        "end_entity trailing words are not read\n"
        "component_schema \"EnvironmentSettings\" 1 0\n"
        "end_component_schema\n");
    EXPECT_EQ(document.version, 6);
    ASSERT_EQ(document.entities.size(), 2u);
    const SceneEntityBlock& door = document.entities[0];
    EXPECT_EQ(door.name, "Door \"A\"");
    EXPECT_EQ(door.line, 4u);
    EXPECT_TRUE(door.hasParentRecord);
    EXPECT_FALSE(door.parent.IsValid());
    ASSERT_EQ(door.records.size(), 1u);
    EXPECT_EQ(door.records[0].record.name, "TransformComponent");
    EXPECT_EQ(door.records[0].line, 6u);
    EXPECT_EQ(door.records[0].sourceBytes, 159u);
    const SceneEntityBlock& handle = document.entities[1];
    EXPECT_EQ(handle.name, "Handle");
    EXPECT_EQ(handle.guid.ToString(), kHandleGuid);
    EXPECT_EQ(handle.parent, door.guid);
    ASSERT_TRUE(document.environment.has_value());
    EXPECT_EQ(document.environment->name, "EnvironmentSettings");
}

TEST(SceneTextParserTests, AVersionLineAloneIsAnEmptySceneAndAnEntityWithoutParentLineIsARoot) {
    const SceneDocument empty = Parse("scene_version 6");
    EXPECT_TRUE(empty.entities.empty());
    EXPECT_FALSE(empty.environment.has_value());
    const SceneDocument document = Parse(std::string("scene_version 6\nentity \"") + kHandleGuid + "\" \"x\"\nend_entity\n");
    ASSERT_EQ(document.entities.size(), 1u);
    EXPECT_FALSE(document.entities[0].hasParentRecord);
}

TEST(SceneTextParserTests, BrokenFilesGiveTheirExactMessages) {
    const std::string entity = std::string("entity \"") + kHandleGuid + "\" \"x\"\n";
    const std::string v = "scene_version 6\n";
    const struct {
        std::string text;
        std::string message;
    } cases[] = {
        {"", "Scene file is missing a valid header."},
        {"# only a comment\n\n", "Scene file is missing a valid header."},
        {" # not a comment\n", "Failed to parse scene file at line 1: Scene records require a version header."},
        {"\n#c\nentity a b\n", "Failed to parse scene file at line 3: Scene records require a version header."},
        {v + "scene_version 6\n", "Failed to parse scene file at line 2: Duplicate or misplaced scene header."},
        {"scene_version six\n", "Failed to parse scene file at line 1: Malformed scene version."},
        {"scene_version 99999999999\n", "Failed to parse scene file at line 1: Malformed scene version."},
        {"scene_version 6x\n", "Failed to parse scene file at line 1: Trailing scene version data."},
        {"scene_version 0\n", "Unsupported scene format version."},
        {"scene_version -1\n", "Unsupported scene format version."},
        {"scene_version 7\n", "Unsupported scene format version."},
        {"scene_version 5\n",
         "Scene format version 5 is a legacy format the engine no longer reads. Convert it to version 6 with the "
         "offline tool: brelk-upgrade --content <ProjectContentFolder> \"Scenes/Main.bscene\""},
        {v + "component_schema \"TransformComponent\" 1 0\nend_component_schema\n",
         "Failed to parse scene file at line 2: Component schema requires an entity."},
        {v + entity + "component_schema \"EnvironmentSettings\" 1 0\n",
         "Failed to parse scene file at line 3: Environment schema must be outside entities."},
        {v + "component_schema \"EnvironmentSettings\" 1 0\nend_component_schema\ncomponent_schema \"EnvironmentSettings\" 1 0\n",
         "Failed to parse scene file at line 4: Duplicate or mixed environment records."},
        {v + "property \"a\" \"1\"\n", "Failed to parse scene file at line 2: Schema property or terminator outside a schema record."},
        {v + "end_array\n", "Failed to parse scene file at line 2: Schema property or terminator outside a schema record."},
        {v + entity + entity, "Failed to parse scene file at line 3: Missing entity terminator."},
        {v + "entity \"" + kHandleGuid + "\"\n", "Failed to parse scene file at line 2: Malformed entity header."},
        {v + "entity \"" + kHandleGuid + "\" \"open\n", "Failed to parse scene file at line 2: Malformed entity header."},
        {v + "entity \"nope\" \"x\"\n", "Failed to parse scene file at line 2: Malformed or null entity GUID."},
        {v + "entity \"00000000-0000-0000-0000-000000000000\" \"x\"\n",
         "Failed to parse scene file at line 2: Malformed or null entity GUID."},
        {v + entity.substr(0, entity.size() - 1) + " more\n", "Failed to parse scene file at line 2: Trailing entity header data."},
        {v + "parent \"\"\n", "Failed to parse scene file at line 2: Parent record outside an entity."},
        {v + entity + "parent \"\"\nparent \"\"\n", "Failed to parse scene file at line 4: Duplicate parent record."},
        {v + entity + "parent\n", "Failed to parse scene file at line 3: Malformed parent GUID."},
        {v + entity + "parent \"00000000-0000-0000-0000-000000000000\"\n", "Failed to parse scene file at line 3: Malformed parent GUID."},
        {v + entity + "parent \"\" \"\"\n", "Failed to parse scene file at line 3: Trailing parent data."},
        {v + "end_entity\n", "Failed to parse scene file at line 2: Entity terminator outside an entity."},
        {v + entity, "Scene read failed or entity terminator is missing."},
        {v + "transform 1 2 3\n",
         "Failed to parse scene file at line 2: Unsupported scene record 'transform'. Positional records are a legacy "
         "format; convert the file with the offline tool: brelk-upgrade --content <ProjectContentFolder> "
         "\"Scenes/Main.bscene\""},
        {v + entity + "component_schema \"" + std::string(65600, 'a') + "\" 1 0\n",
         "Failed to parse scene file at line 3: Schema header exceeds the record limit."},
        // A record error carries the line of the failing record line.
        {v + entity + "component_schema \"TransformComponent\" 1 2\nproperty \"a\" \"1\"\n",
         "Failed to parse scene file at line 5: Truncated or oversized component schema record."},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(ParseError(c.text), c.message) << c.text.substr(0, 200);
    }
}

TEST(SceneTextParserTests, LegacyMessageWithoutPathNamesTheSceneFile) {
    EXPECT_EQ(SceneVersionMessage(1, ""),
              "Scene format version 1 is a legacy format the engine no longer reads. Convert it to version 6 with the "
              "offline tool: brelk-upgrade --content <ProjectContentFolder> <scene file>");
}

TEST(SceneTextParserTests, TokensEscapeOnlyQuotesAndBackslashes) {
    std::string out;
    AppendSceneToken(out, "a\"b\\c\nd");
    EXPECT_EQ(out, "\"a\\\"b\\\\c\nd\"");
}

} // namespace
} // namespace Brelk::Scene
