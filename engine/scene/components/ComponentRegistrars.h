#pragma once

// The family registrars of the component catalogue. InstallComponents calls them once, in
// the order they are declared here: the order of the calls, and of the registrations
// inside each, is the order in which records stand under an entity in every saved file,
// so a family only ever appends and a new family only ever joins at its fixed place.
// Each registers its enums, value structures and components with the process-wide
// reflection and component tables, and throws std::invalid_argument on a broken
// declaration.
namespace Brelk::Scene {

void RegisterEnvironmentTypes();
void RegisterCoreComponents();
void RegisterPhysicsComponents();
void RegisterOceanComponents();
void RegisterScriptingComponents();
void RegisterRenderingComponents();
void RegisterParticleComponents();
void RegisterAnimationComponents();
void RegisterLightingComponents();
void RegisterGameplayComponents();
void RegisterNavigationComponents();
void RegisterSplineComponents();
void RegisterTerrainComponents();
void RegisterAiComponents();
void RegisterStreamingComponents();
void RegisterVfxComponents();
void RegisterAudioComponents();
void RegisterUiComponents();
void RegisterNetworkComponents();

} // namespace Brelk::Scene
