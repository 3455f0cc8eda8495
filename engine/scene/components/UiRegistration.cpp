#include "engine/reflection/ReflectedTypeBuilder.h"
#include "engine/scene/ComponentRegistry.h"
#include "engine/scene/components/CatalogueRegistration.h"
#include "engine/scene/components/ComponentRegistrars.h"
#include "engine/scene/components/UiComponents.h"

namespace Brelk::Scene {
namespace {

using Detail::AssetField;
using Detail::EnumField;
using Detail::Labelled;
using Detail::RegisterCatalogueEnum;
using Reflection::FieldAttr;
using Reflection::ReflectedTypeBuilder;

constexpr ComponentFlags kUserFlags = ComponentFlags::UserAddable | ComponentFlags::Saved;

} // namespace

void RegisterUiComponents() {
    RegisterCatalogueEnum<UICanvasSpace>("UICanvasSpace", {{"Screen"}, {"WorldBillboard", "World Billboard"}});

    using U = UICanvasComponent;
    Labelled(RegisterComponent<U>("UICanvasComponent", "UI Canvas", "UI", kUserFlags)
                 .Description("Hosts a BUI document in screen or world-billboard space."))
        .Field("document", &U::document, AssetField("UiDocument"))
        .Field("space", &U::space, EnumField("UICanvasSpace"))
        .Field("visible", &U::visible)
        .Field("receiveInput", &U::receiveInput)
        .Field("sortOrder", &U::sortOrder)
        .Field("screenOffset", &U::screenOffset)
        .Field("worldSize", &U::worldSize)
        .Field("pivot", &U::pivot)
        .Field("maxDistance", &U::maxDistance);
}

} // namespace Brelk::Scene
