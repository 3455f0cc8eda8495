#include "engine/reflection/ReflectedTypeBuilder.h"
#include "engine/scene/ComponentRegistry.h"
#include "engine/scene/components/CatalogueRegistration.h"
#include "engine/scene/components/ComponentRegistrars.h"
#include "engine/scene/components/NetworkComponents.h"

namespace Brelk::Scene {
namespace {

using Detail::AssetField;
using Detail::EntityField;
using Detail::EnumField;
using Detail::Labelled;
using Detail::RegisterCatalogueEnum;
using Reflection::FieldAttr;
using Reflection::ReflectedTypeBuilder;

constexpr ComponentFlags kUserFlags = ComponentFlags::UserAddable | ComponentFlags::Saved;

} // namespace

void RegisterNetworkComponents() {
    using N = NetworkReplicationComponent;
    Labelled(RegisterComponent<N>("NetworkReplicationComponent", "Network Replication", "Networking", kUserFlags)
                 .Description("Replicates this entity from the server to clients (relevance radius, priority)."))
        .Field("relevanceRadius", &N::relevanceRadius, FieldAttr().Range(0.0f, 100000.0f))
        .Field("priority", &N::priority, FieldAttr().Range(0.0f, 100.0f))
        .Field("alwaysRelevant", &N::alwaysRelevant);
}

} // namespace Brelk::Scene
