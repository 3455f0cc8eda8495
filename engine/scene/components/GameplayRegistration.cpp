#include "engine/scene/components/CatalogueRegistration.h"
#include "engine/scene/components/ComponentEnums.h"
#include "engine/scene/components/ComponentRegistrars.h"

// The scripting, animation, gameplay, navigation, AI and network families. Their enums
// are registered here; their components are still to join, each at the end of its own
// family, which keeps every record already saved in its place.
namespace Brelk::Scene {

using Detail::RegisterCatalogueEnum;

void RegisterScriptingComponents() {
    RegisterCatalogueEnum<ScriptFieldType>("ScriptFieldType", {{"Bool"},
                                                               {"Int32"},
                                                               {"UInt32"},
                                                               {"Int64"},
                                                               {"Float"},
                                                               {"Double"},
                                                               {"String"},
                                                               {"Vector2"},
                                                               {"Vector3"},
                                                               {"Vector4"},
                                                               {"Quaternion"},
                                                               {"Color"},
                                                               {"EntityReference"},
                                                               {"AssetReference"},
                                                               {"Enum"}});
}

void RegisterAnimationComponents() {
    RegisterCatalogueEnum<AnimatorParameterType>("AnimatorParameterType",
                                                 {{"Bool"}, {"Float"}, {"Int"}, {"Trigger"}});
    RegisterCatalogueEnum<AnimatorIkSolverType>("AnimatorIkSolverType", {{"TwoBone"}, {"FABRIK"}, {"CCD"}});
    RegisterCatalogueEnum<RagdollMode>("RagdollMode", {{"Animated"}, {"Simulated"}, {"Blend"}});
    RegisterCatalogueEnum<AnimatorLayerMode>("AnimatorLayerMode", {{"Override"}, {"Additive"}});
}

void RegisterGameplayComponents() {}

void RegisterNavigationComponents() {
    RegisterCatalogueEnum<NavigationBakeRole>("NavigationBakeRole", {{"Ignore"}, {"Walkable"}, {"Obstacle"}});
    RegisterCatalogueEnum<PathShapeMode>("PathShapeMode", {{"Linear"}, {"Smooth"}, {"Organic"}});
    RegisterCatalogueEnum<NavAgentAvoidance>("NavAgentAvoidance", {{"None"}, {"Low"}, {"Medium"}, {"High"}});
    RegisterCatalogueEnum<NavAgentStatus>(
        "NavAgentStatus", {{"Idle"}, {"Moving"}, {"Arrived"}, {"Unreachable"}, {"NoNavMesh", "No NavMesh"}});
    RegisterCatalogueEnum<NavLinkType>("NavLinkType", {{"Generic"}, {"Jump"}, {"Ladder"}});
}

void RegisterAiComponents() {
    RegisterCatalogueEnum<BlackboardValueType>("BlackboardValueType",
                                               {{"Bool"}, {"Float"}, {"Vec3", "Vector 3"}, {"String"}});
}

void RegisterNetworkComponents() {}

} // namespace Brelk::Scene
