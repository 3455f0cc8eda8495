#include "engine/assets/rig/RigDefinition.h"
#include "engine/assets/rig/Skeleton.h"

#include "engine/assets/tests/AssetTestSupport.h"

#include <gtest/gtest.h>

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

std::vector<std::string> RoleList(const RigDefinition& definition) {
    std::vector<std::string> roles;
    for (std::uint32_t role = 0; role < kRigBoneRoleCount; ++role) {
        if (!definition.roles[role].empty()) {
            roles.push_back(std::string(RigRoleName(role)) + "=" + definition.roles[role]);
        }
    }
    return roles;
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

TEST(RigDefinitionTest, InfersRolesFromAMixamoSkeleton) {
    const glm::vec3 up(0.0f, 0.1f, 0.0f);
    const Skeleton skeleton = MakeSkeleton(
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
    const RigDefinition definition = InferRigDefinition(skeleton);
    EXPECT_EQ(definition.name, "Rig");
    EXPECT_EQ(RoleList(definition),
              (std::vector<std::string>{"Root=Armature", "Hips=mixamorig:Hips", "Spine=mixamorig:Spine",
                                        "Spine1=mixamorig:Spine1", "Spine2=mixamorig:Spine2", "Neck=mixamorig:Neck",
                                        "Head=mixamorig:Head", "LeftShoulder=mixamorig:LeftShoulder",
                                        "LeftUpperArm=mixamorig:LeftArm", "LeftLowerArm=mixamorig:LeftForeArm",
                                        "LeftHand=mixamorig:LeftHand", "RightHand=RightHandArm",
                                        "RightUpperLeg=mixamorig:RightUpLeg", "RightLowerLeg=mixamorig:RightLeg",
                                        "RightFoot=mixamorig:RightFoot"}));
    EXPECT_EQ(InferRigDefinition(Skeleton{}), RigDefinition{});
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

TEST(RigDefinitionTest, BodiesAreSizedFromTheBindPose) {
    const Skeleton skeleton = MakeSkeleton("Hero", {{"Hips", -1, {0.0f, 1.0f, 0.0f}},
                                                    {"Spine", 0, {0.0f, 0.5f, 0.0f}},
                                                    {"Neck", 1, {0.0f, 0.5f, 0.0f}},
                                                    {"Head", 2, {0.0f, 0.2f, 0.0f}},
                                                    {"LeftArm", 1, {0.3f, 0.0f, 0.0f}},
                                                    {"LeftForeArm", 4, {0.3f, 0.0f, 0.0f}}});
    const RigDefinition definition = InferRigDefinition(skeleton);
    ASSERT_EQ(definition.bodies.size(), 5u);
    struct Expected {
        const char* bone;
        RagdollBodyShape shape;
        float radius;
        float halfHeight;
        glm::vec3 offset;
        glm::vec3 rotation;
        float mass;
    };
    // The skeleton is 1.2 high, so every radius is 1.2 times its fraction.
    const Expected expected[] = {
        {"Hips", RagdollBodyShape::Capsule, 0.09f, 0.16f, {0, 0.25f, 0}, {0, 0, 0}, 12.0f},
        {"Spine", RagdollBodyShape::Capsule, 0.084f, 0.166f, {0, 0.25f, 0}, {0, 0, 0}, 10.0f},
        {"Head", RagdollBodyShape::Sphere, 0.066f, 0.12f, {0, 0.066f, 0}, {0, 0, 0}, 5.0f},
        {"LeftArm", RagdollBodyShape::Capsule, 0.036f, 0.114f, {0.15f, 0, 0}, {0, 0, -90.0f}, 2.5f},
        {"LeftForeArm", RagdollBodyShape::Sphere, 0.03f, 0.12f, {0, 0.03f, 0}, {0, 0, 0}, 1.5f},
    };
    for (std::size_t i = 0; i < std::size(expected); ++i) {
        const RagdollBodyDefinition& body = definition.bodies[i];
        EXPECT_EQ(body.bone, expected[i].bone);
        EXPECT_EQ(body.shape, expected[i].shape) << body.bone;
        EXPECT_NEAR(body.radius, expected[i].radius, 1e-6f) << body.bone;
        EXPECT_NEAR(body.halfHeight, expected[i].halfHeight, 1e-6f) << body.bone;
        for (int axis = 0; axis < 3; ++axis) {
            EXPECT_NEAR(body.offset[axis], expected[i].offset[axis], 1e-6f) << body.bone;
            EXPECT_NEAR(body.rotation[axis], expected[i].rotation[axis], 1e-4f) << body.bone;
        }
        EXPECT_EQ(body.mass, expected[i].mass);
    }
    EXPECT_EQ(definition.bodies[3].swing, glm::vec2(70.0f, 70.0f));
    EXPECT_EQ(definition.bodies[4].twist, glm::vec2(-20.0f, 20.0f));
    EXPECT_EQ(definition.bodies[2].strength, 0.8f);
}

TEST(RigDefinitionTest, FilesRoundTripAndReadTheirShortForms) {
    ScratchFolder folder;
    const Skeleton skeleton = MakeSkeleton("Hero \"1\"", {{"Hips", -1, {0.0f, 1.0f, 0.0f}},
                                                          {"Spine", 0, {0.0f, 0.5f, 0.0f}},
                                                          {"Head", 1, {0.0f, 0.3f, 0.1f}}});
    const RigDefinition inferred = InferRigDefinition(skeleton);
    ASSERT_TRUE(SaveRigDefinition(inferred, folder / "Rigs/Hero.brigdef"));
    RigDefinition loaded;
    std::string error;
    ASSERT_TRUE(LoadRigDefinition(folder / "Rigs/Hero.brigdef", &loaded, &error)) << error;
    EXPECT_EQ(loaded, inferred);

    RigDefinition small;
    small.name = "S";
    small.roles[1] = "Pelvis";
    small.bodies.emplace_back().bone = "Pelvis";
    EXPECT_EQ(SerializeRigDefinition(small),
              "brelk_rig_definition 1\nname \"S\"\nrole Hips \"Pelvis\"\nbody \"Pelvis\" Capsule radius 0.0799999982 "
              "halfHeight 0.119999997 halfExtents 0.100000001 0.100000001 0.100000001 offset 0 0 0 rotation 0 0 0 "
              "mass 4 swing 45 45 twist -30 30 strength 1\n");

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
