#include "engine/assets/rig/RigDefinition.h"
#include "engine/assets/rig/Skeleton.h"

#include "engine/assets/tests/AssetTestSupport.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace Brelk::Assets {
namespace {

using Testing::LogCapture;
using Testing::ScratchFolder;
using Testing::WriteText;

// Bones as (name, parent, local translation).
Skeleton MakeSkeleton(std::string name, std::initializer_list<std::tuple<const char*, int, glm::vec3>> bones) {
    Skeleton skeleton;
    skeleton.name = std::move(name);
    for (const auto& [boneName, parent, translation] : bones) {
        SkeletonBone& bone = skeleton.bones.emplace_back();
        bone.name = boneName;
        bone.parent = parent;
        bone.bindTranslation = translation;
    }
    skeleton.RebuildNameMap();
    return skeleton;
}

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

// Roles from a Mixamo skeleton, bodies sized from a bind pose 1.2 high, and a body left at its
// defaults, as the writer gives them.
TEST(RigDefinitionTest, InfersRolesAndBodiesAsTheGoldenFileHolds) {
    const glm::vec3 up(0.0f, 0.1f, 0.0f);
    const Skeleton mixamo = MakeSkeleton(
        "", {{"Armature", -1, {}},
             {"mixamorig:Hips", 0, up},
             {"mixamorig:Spine", 1, up},
             {"mixamorig:Spine1", 2, up},
             {"mixamorig:Spine2", 3, up},
             {"mixamorig:Neck", 4, up},
             {"mixamorig:Neck1", 5, up},
             {"mixamorig:Head", 6, up},
             {"mixamorig:HeadTop_End", 7, up},
             {"mixamorig:LeftShoulder", 4, up},
             {"mixamorig:LeftArm", 9, up},
             {"mixamorig:LeftForeArm", 10, up},
             {"mixamorig:LeftHand", 11, up},
             {"mixamorig:LeftHandThumb1", 12, up},
             {"mixamorig:RightUpLeg", 1, -up},
             {"mixamorig:RightLeg", 14, -up},
             {"mixamorig:RightFoot", 15, -up},
             {"mixamorig:RightToeBase", 16, -up},
             {"RightHandArm", 4, up}});
    const Skeleton hero = MakeSkeleton("Hero", {{"Hips", -1, {0.0f, 1.0f, 0.0f}},
                                                    {"Spine", 0, {0.0f, 0.5f, 0.0f}},
                                                    {"Neck", 1, {0.0f, 0.5f, 0.0f}},
                                                    {"Head", 2, {0.0f, 0.2f, 0.0f}},
                                                    {"LeftArm", 1, {0.3f, 0.0f, 0.0f}},
                                                    {"LeftForeArm", 4, {0.3f, 0.0f, 0.0f}}});
    const RigDefinition inferred = InferRigDefinition(hero);
    RigDefinition small;
    small.name = "S";
    small.roles[1] = "Pelvis";
    small.bodies.emplace_back().bone = "Pelvis";
    const std::string text = SerializeRigDefinition(InferRigDefinition(mixamo)) + SerializeRigDefinition(inferred) +
                             SerializeRigDefinition(small);
    const std::filesystem::path golden = std::filesystem::path(BRELK_TEST_DATA_DIR).parent_path().parent_path() /
                                         "rig" / "tests" / "data" / "InferredRigs.brigdef";
    if (std::getenv("BRELK_UPDATE_GOLDEN")) WriteText(golden, text);
    EXPECT_EQ(text, Testing::ReadText(golden));
    EXPECT_EQ(InferRigDefinition(Skeleton{}), RigDefinition{});

    ScratchFolder folder;
    ASSERT_TRUE(SaveRigDefinition(inferred, folder / "Rigs/Hero.brigdef"));
    RigDefinition loaded;
    std::string error;
    ASSERT_TRUE(LoadRigDefinition(folder / "Rigs/Hero.brigdef", &loaded, &error)) << error;
    EXPECT_EQ(loaded, inferred);
}

TEST(RigDefinitionTest, SpinesOfOneTwoOrNoBones) {
    const glm::vec3 up(0.0f, 0.1f, 0.0f);
    struct Row {
        Skeleton skeleton;
        std::vector<std::string> spine;  // Spine, Spine1, Spine2
    };
    const Row rows[] = {
        {MakeSkeleton("A", {{"Hips", -1, {}}, {"Chest", 0, up}, {"Neck", 1, up}}), {"Chest", "", ""}},
        {MakeSkeleton("B", {{"Hips", -1, {}}, {"Lower", 0, up}, {"Upper", 1, up}, {"Head", 2, up}}),
         {"Lower", "", "Upper"}},
        {MakeSkeleton("C", {{"Hips", -1, {}}, {"Lower", 0, up}, {"Upper", 1, up}}), {"", "", ""}},
    };
    for (const Row& row : rows) {
        const RigDefinition definition = InferRigDefinition(row.skeleton);
        EXPECT_EQ((std::vector<std::string>{definition.Role(RigBoneRole::Spine), definition.Role(RigBoneRole::Spine1),
                                            definition.Role(RigBoneRole::Spine2)}),
                  row.spine)
            << row.skeleton.name;
        EXPECT_EQ(definition.Role(RigBoneRole::Root), "") << row.skeleton.name;
    }
}

TEST(RigDefinitionTest, ReadsTheShortForms) {
    RigDefinition loaded;
    std::string error;
    ASSERT_TRUE(ParseRigDefinition("# made by hand\n\nbrelk_rig_definition 1\n", &loaded, &error));
    EXPECT_EQ(loaded, RigDefinition{});
    ASSERT_TRUE(ParseRigDefinition("brelk_rig_definition 1\nrole Head \"A\"\nrole Head \"B\"\n"
                                   "body \"B\" Box mass 9 strength 2\n",
                                   &loaded, &error));
    EXPECT_EQ(loaded.Role(RigBoneRole::Head), "B");
    RagdollBodyDefinition box;
    box.bone = "B";
    box.shape = RagdollBodyShape::Box;
    box.mass = 9.0f;
    EXPECT_EQ(loaded.bodies, std::vector<RagdollBodyDefinition>{box});
}

TEST(RigDefinitionTest, EachBadLineGivesItsMessageWithTheLineNumber) {
    const std::pair<const char*, const char*> rows[] = {
        {"", "Rig definition line 1: empty file"},
        {"rig 1\n", "Rig definition line 1: expected 'brelk_rig_definition 1'"},
        {"\nbrelk_rig_definition 2\n", "Rig definition line 2: expected 'brelk_rig_definition 1'"},
        {"brelk_rig_definition 1\nname Hero\n", "Rig definition line 2: bad name"},
        {"brelk_rig_definition 1\nrole Tail \"t\"\n", "Rig definition line 2: bad role 'Tail'"},
        {"brelk_rig_definition 1\nbody Hips Capsule\n", "Rig definition line 2: bad body bone or shape"},
        {"brelk_rig_definition 1\nbody \"Hips\" Cone\n", "Rig definition line 2: bad body bone or shape"},
        {"brelk_rig_definition 1\nbody \"Hips\" Box size 1\n", "Rig definition line 2: unknown body field 'size'"},
        {"brelk_rig_definition 1\nbody \"Hips\" Box swing 1\n", "Rig definition line 2: bad value for 'swing'"},
        {"brelk_rig_definition 1\nbody \"Hips\" Box offset 0 inf 0\n", "Rig definition line 2: non-finite value"},
        {"brelk_rig_definition 1\n# fine\nbones 3\n", "Rig definition line 3: unknown keyword 'bones'"},
    };
    for (const auto& [text, message] : rows) {
        RigDefinition definition;
        std::string error;
        EXPECT_FALSE(ParseRigDefinition(text, &definition, &error)) << text;
        EXPECT_EQ(error, message) << text;
    }
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
