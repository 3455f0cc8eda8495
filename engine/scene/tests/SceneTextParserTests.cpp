#include "engine/scene/SceneTextParser.h"
#include "engine/scene/SceneTextWriter.h"

#include "tests/support/TextCases.h"

#include <gtest/gtest.h>

namespace Brelk::Scene {
namespace {

// The parsed document, one line per entity and record, or the parse's message.
std::string Outcome(std::string_view text) {
    SceneDocument document;
    std::string error;
    if (!ParseSceneText(text, document, "Scenes/Main.bscene", &error)) return error;
    std::string out = "version " + std::to_string(document.version) + "\n";
    for (const SceneEntityBlock& entity : document.entities) {
        out += "entity " + entity.guid.ToString() + " ";
        AppendSceneToken(out, entity.name);
        out += " line " + std::to_string(entity.line) + " parent " +
               (entity.hasParentRecord ? entity.parent.ToString() : "none") + "\n";
        for (const SceneComponentBlock& block : entity.records) {
            out += "  record " + block.record.name + " line " + std::to_string(block.line) + " bytes " +
                   std::to_string(block.sourceBytes) + "\n";
        }
    }
    if (document.environment) out += "environment " + document.environment->name + "\n";
    return out;
}

TEST(SceneTextParserTests, ReadsDocumentsAndRefusesBrokenFilesWithTheirExactMessages) {
    Testing::ExpectTextCases(std::filesystem::path(BRELK_TEST_DATA_DIR) / "SceneTexts.txt",
                             [](const Testing::TextCase& c) { return Outcome(c.input); });
    // What a case file cannot hold: a line end of CR LF, padding, no final line end, a huge line.
    const std::string door = "3f2a9c1e-7b40-4e11-9a6d-5c0d2e8f1b77";
    const std::pair<std::string, std::string> rows[] = {
        {"scene_version 6\nentity \"" + door + "\" \"Door\"\nend_entity\n"
         "  entity a04e5d12-19c3-4b8a-8e27-6d1f0c3ab945 Handle   \r\nparent \"" + door + "\"\nend_entity x\n",
         "version 6\nentity " + door + " \"Door\" line 2 parent none\n"
         "entity a04e5d12-19c3-4b8a-8e27-6d1f0c3ab945 \"Handle\" line 4 parent " + door + "\n"},
        {"scene_version 6", "version 6\n"},
        {"scene_version 6\nentity \"" + door + "\" \"x\"\ncomponent_schema \"" + std::string(65600, 'a') + "\" 1 0\n",
         "Failed to parse scene file at line 3: Schema header exceeds the record limit."},
    };
    for (const auto& [text, outcome] : rows) EXPECT_EQ(Outcome(text), outcome) << text.substr(0, 120);
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
