#include "engine/scene/InstallComponents.h"

#include "engine/reflection/AssetType.h"
#include "engine/reflection/ReflectionRegistry.h"
#include "engine/scene/ComponentRegistry.h"
#include "engine/scene/components/ComponentRegistrars.h"

#include <atomic>
#include <mutex>
#include <stdexcept>
#include <string>
#include <vector>

namespace Brelk::Scene {

namespace {

std::atomic<bool> gComponentsInstalled{false};

std::mutex& InstallMutex() {
    static std::mutex mutex;
    return mutex;
}

void RunRegistrars() {
    // The order of these calls, and of the registrations inside each, is the order of
    // records under every entity of every saved file. Append only.
    RegisterEnvironmentTypes();
    RegisterCoreComponents();
    RegisterPhysicsComponents();
    RegisterOceanComponents();
    RegisterScriptingComponents();
    RegisterRenderingComponents();
    RegisterParticleComponents();
    RegisterAnimationComponents();
    RegisterLightingComponents();
    RegisterGameplayComponents();
    RegisterNavigationComponents();
    RegisterSplineComponents();
    RegisterTerrainComponents();
    RegisterAiComponents();
    RegisterStreamingComponents();
    RegisterVfxComponents();
    RegisterAudioComponents();
    RegisterUiComponents();
    RegisterNetworkComponents();
}

} // namespace

void InstallComponents() {
    if (gComponentsInstalled.load(std::memory_order_acquire)) {
        return;
    }
    std::lock_guard lock(InstallMutex());
    if (gComponentsInstalled.load(std::memory_order_relaxed)) {
        return;
    }
    Reflection::ReflectionRegistry& reflection = Reflection::ReflectionRegistry::Instance();
    Assets::RegisterSchemaAssetTypes(reflection);
    RunRegistrars();

    std::vector<const ComponentTypeEntry*> entries;
    ComponentRegistry::Instance().EntriesInRegistrationOrder(entries);
    for (const ComponentTypeEntry* entry : entries) {
        ValidateComponentEntry(*entry);
    }
    std::string error;
    if (!reflection.Validate(&error)) {
        throw std::invalid_argument("Scene component schema validation failed: " + error);
    }
    gComponentsInstalled.store(true, std::memory_order_release);
}

bool ComponentsInstalled() noexcept {
    return gComponentsInstalled.load(std::memory_order_acquire);
}

} // namespace Brelk::Scene
