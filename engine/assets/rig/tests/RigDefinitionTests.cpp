#include "engine/assets/rig/RigDefinition.h"
#include "engine/assets/rig/Skeleton.h"

#include "engine/assets/tests/AssetTestSupport.h"
#include "tests/support/TextCases.h"

#include <gtest/gtest.h>

#include <sstream>

namespace Brelk::Assets {
namespace {

using Testing::LogCapture;
using Testing::ScratchFolder;
using Testing::WriteText;

const std::filesystem::path kData =
    std::filesystem::path(BRELK_TEST_DATA_DIR).parent_path().parent_path() / "rig" / "tests" / "data";

TEST(RigDefinitionTest, NamesNormaliseAndRolesHaveTheirTextForms) {
    const std::pair<const char*, const char*> rows[] = {
        {"mixamorig:LeftUpLeg", "_left_up_leg_"}, {"Left_Up_Leg", "_left_up_leg_"},
        {"mixamorig_Hips", "_hips_"},             {"Bip01 L  Thigh", "_bip01_l_thigh_"},
        {"ns:a:HEADTop", "_headtop_"},            {"Spine1", "_spine1_"},
    };
    for (const auto& [name, normal] : rows) EXPECT_EQ(NormalizeBoneName(name), normal) << name;
    EXPECT_EQ(RigRoleName(21), "Root");
    EXPECT_EQ(RigRoleName(RigBoneRole::RightFoot), "RightFoot");
    RigBoneRole role = RigBoneRole::None;
    EXPECT_TRUE(ParseRigRole("LeftLowerArm", &role));
    EXPECT_EQ(role, RigBoneRole::LeftLowerArm);
    EXPECT_FALSE(ParseRigRole("leftlowerarm", &role));
}

// Each inferred definition also goes through a file and must come back equal.
TEST(RigDefinitionTest, InfersRolesAndBodiesAsTheCaseFileHolds) {
    ScratchFolder folder;
    Brelk::Testing::ExpectTextCases(kData / "InferredRigs.txt", [&](const Brelk::Testing::TextCase& c) {
        Skeleton skeleton;
        std::istringstream lines(c.input);
        for (std::string line, word; std::getline(lines, line);) {
            std::istringstream fields(line);
            fields >> word;
            if (word == "name") {
                fields >> skeleton.name;
                continue;
            }
            SkeletonBone& bone = skeleton.bones.emplace_back();
            bone.name = word;
            fields >> bone.parent >> bone.bindTranslation.x >> bone.bindTranslation.y >> bone.bindTranslation.z;
        }
        skeleton.RebuildNameMap();
        const RigDefinition inferred = InferRigDefinition(skeleton);
        RigDefinition loaded;
        const bool saved = SaveRigDefinition(inferred, folder / "Rigs/Rig.brigdef");
        const bool same = saved && LoadRigDefinition(folder / "Rigs/Rig.brigdef", &loaded) && loaded == inferred;
        return SerializeRigDefinition(inferred) + (same ? "" : "(reads back otherwise)");
    });
    EXPECT_EQ(InferRigDefinition(Skeleton{}), RigDefinition{});
}

TEST(RigDefinitionTest, ReadsTextsAsTheCaseFileHolds) {
    Brelk::Testing::ExpectTextCases(kData / "ReadRigDefinitions.txt", [](const Brelk::Testing::TextCase& c) {
        RigDefinition definition;
        std::string error;
        return ParseRigDefinition(c.input, &definition, &error) ? SerializeRigDefinition(definition) : error;
    });
    ScratchFolder folder;
    RigDefinition definition;
    std::string error;
    EXPECT_FALSE(LoadRigDefinition(folder / "None.brigdef", &definition, &error));
    EXPECT_EQ(error, "Could not read rig definition: " + (folder / "None.brigdef").string());

    WriteText(folder / "Bad.brigdef", "brelk_rig_definition 1\nname x\n");
    LogCapture log;
    EXPECT_FALSE(LoadRigDefinitionAsset(folder / "Bad.brigdef"));
    EXPECT_EQ(log.Messages(Core::LogLevel::Warning),
              std::vector<std::string>{"Rig definition '" + (folder / "Bad.brigdef").string() +
                                       "' was not loaded: Rig definition line 2: bad name"});
}

} // namespace
} // namespace Brelk::Assets
