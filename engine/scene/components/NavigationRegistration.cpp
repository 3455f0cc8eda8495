#include "engine/reflection/ReflectedTypeBuilder.h"
#include "engine/scene/ComponentRegistry.h"
#include "engine/scene/components/CatalogueRegistration.h"
#include "engine/scene/components/ComponentRegistrars.h"
#include "engine/scene/components/NavigationComponents.h"
#include "engine/scene/components/RecordEdits.h"

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

// Version 1 saved whether a destination was pending, which the walker now derives.
void MigratePathWalker(Reflection::SchemaRecord& record, std::uint32_t fromVersion) {
    if (fromVersion < 2) {
        RemoveRecordFields(record, {"hasDestination"});
    }
}

} // namespace

void RegisterNavigationComponents() {
    RegisterCatalogueEnum<NavigationBakeRole>("NavigationBakeRole", {{"Ignore"}, {"Walkable"}, {"Obstacle"}});
    RegisterCatalogueEnum<PathShapeMode>("PathShapeMode", {{"Linear"}, {"Smooth"}, {"Organic"}});
    RegisterCatalogueEnum<NavAgentAvoidance>("NavAgentAvoidance", {{"None"}, {"Low"}, {"Medium"}, {"High"}});
    RegisterCatalogueEnum<NavAgentStatus>(
        "NavAgentStatus", {{"Idle"}, {"Moving"}, {"Arrived"}, {"Unreachable"}, {"NoNavMesh", "No NavMesh"}});
    RegisterCatalogueEnum<NavLinkType>("NavLinkType", {{"Generic"}, {"Jump"}, {"Ladder"}});

    using B = NavigationBakeComponent;
    Labelled(RegisterComponent<B>("NavigationBakeComponent", "Navigation Bake", "Navigation", kUserFlags)
                 .Description(
                     "Controls whether this object is ignored, walkable, or an obstacle during BrelkNavMesh baking."))
        .Field("includeInBake", &B::includeInBake)
        .Field("role", &B::role, EnumField("NavigationBakeRole"))
        .Field("layer", &B::layer);

    using P = PathWalkerComponent;
    Labelled(RegisterComponent<P>("PathWalkerComponent", "Path Walker", "Navigation", kUserFlags)
                 .Description("Moves the entity along BrelkNavMesh paths to its destinations.")
                 .Version(2)
                 .Migrate(MigratePathWalker))
        .Field("navigationMesh", &P::navigationMesh, AssetField("BrelkNavMesh"))
        .Field("destination", &P::destination)
        .Field("speed", &P::speed, FieldAttr().Range(0.0f, 1000.0f))
        .Field("acceleration", &P::acceleration, FieldAttr().Range(0.0f, 10000.0f))
        .Field("radius", &P::radius, FieldAttr().Range(0.0f, 1000.0f))
        .Field("height", &P::height, FieldAttr().Range(0.0f, 1000.0f))
        .Field("stoppingDistance", &P::stoppingDistance, FieldAttr().Range(0.0f, 1000.0f))
        .Field("autoRepath", &P::autoRepath)
        .Field("previewInEditMode", &P::previewInEditMode)
        .Field("pathShape", &P::pathShape, EnumField("PathShapeMode").Category("Path Shape"))
        .Field("pathSmoothing", &P::pathSmoothing, FieldAttr("Smoothing").Range(0.0f, 1.0f).Category("Path Shape"))
        .Field("pathSubdivisions", &P::pathSubdivisions,
               FieldAttr("Subdivisions").Range(1.0f, 16.0f).Category("Path Shape"))
        .Field("pathVariation", &P::pathVariation, FieldAttr("Variation").Range(0.0f, 1000.0f).Category("Path Shape"))
        .Field("pathVariationSeed", &P::pathVariationSeed, FieldAttr("Variation Seed").Category("Path Shape"))
        .Field("selectedDestinationPoint", &P::selectedDestinationPoint)
        .Field("destinationPoints", &P::destinationPoints)
        .Field("destinationPointSpeeds", &P::destinationPointSpeeds);

    using S = NavMeshSurfaceComponent;
    Labelled(RegisterComponent<S>("NavMeshSurfaceComponent", "NavMesh Surface", "Navigation", kUserFlags)
                 .Description("Tiled navmesh of the level (Recast/Detour): bake settings for the agent profile and the "
                              "baked .bnav asset."))
        .Field("enabled", &S::enabled)
        .Field("navMesh", &S::navMesh, FieldAttr("Baked NavMesh").AssetType("BrelkNavMesh"))
        .Field("agentRadius", &S::agentRadius, FieldAttr().Range(0.0f, 10.0f).Category("Agent"))
        .Field("agentHeight", &S::agentHeight, FieldAttr().Range(0.1f, 20.0f).Category("Agent"))
        .Field("agentMaxClimb", &S::agentMaxClimb, FieldAttr("Max Climb").Range(0.0f, 10.0f).Category("Agent"))
        .Field("agentMaxSlopeDegrees", &S::agentMaxSlopeDegrees,
               FieldAttr("Max Slope").Range(0.0f, 89.0f).Category("Agent"))
        .Field("cellSize", &S::cellSize, FieldAttr().Range(0.02f, 4.0f).Category("Bake"))
        .Field("cellHeight", &S::cellHeight, FieldAttr().Range(0.01f, 4.0f).Category("Bake"))
        .Field("tileSizeCells", &S::tileSizeCells, FieldAttr("Tile Size (cells)").Range(8.0f, 1024.0f).Category("Bake"))
        .Field("boundsCenter", &S::boundsCenter, FieldAttr().Category("Bake"))
        .Field("boundsSize", &S::boundsSize, FieldAttr().Category("Bake"))
        .Field("layerFilter", &S::layerFilter, FieldAttr().Category("Bake"))
        .Field("bakeAtRuntimeIfMissing", &S::bakeAtRuntimeIfMissing)
        .Field("dynamicTiles", &S::dynamicTiles)
        .Field("dynamicCheckIntervalSeconds", &S::dynamicCheckIntervalSeconds,
               FieldAttr("Dynamic Check Interval").Range(0.0f, 60.0f));

    using A = NavAgentComponent;
    Labelled(RegisterComponent<A>("NavAgentComponent", "NavMesh Agent", "Navigation", kUserFlags)
                 .Description("Follows tiled navmesh paths with local avoidance; walks through the Character "
                              "Controller when present."))
        .Field("enabled", &A::enabled)
        .Field("radius", &A::radius, FieldAttr().Range(0.05f, 10.0f))
        .Field("height", &A::height, FieldAttr().Range(0.1f, 20.0f))
        .Field("maxSpeed", &A::maxSpeed, FieldAttr().Range(0.0f, 100.0f))
        .Field("maxAcceleration", &A::maxAcceleration, FieldAttr().Range(0.0f, 1000.0f))
        .Field("stoppingDistance", &A::stoppingDistance, FieldAttr().Range(0.0f, 100.0f))
        .Field("avoidance", &A::avoidance, EnumField("NavAgentAvoidance"))
        .Field("separationWeight", &A::separationWeight, FieldAttr().Range(0.0f, 20.0f))
        .Field("useJumpLinks", &A::useJumpLinks)
        .Field("useLadderLinks", &A::useLadderLinks)
        .Field("status", &A::status, EnumField("NavAgentStatus").NotSaved());

    using R = NavAreaComponent;
    Labelled(RegisterComponent<R>("NavAreaComponent", "NavMesh Area", "Navigation", kUserFlags)
                 .Description("Navigation area (traversal cost) of this entity's surface, or of a box volume."))
        .Field("enabled", &R::enabled)
        .Field("area", &R::area, FieldAttr().Range(0.0f, 59.0f))
        .Field("cost", &R::cost, FieldAttr().Range(0.01f, 1000.0f))
        .Field("volume", &R::volume)
        .Field("volumeHalfExtents", &R::volumeHalfExtents);

    using L = NavOffMeshLinkComponent;
    Labelled(RegisterComponent<L>("NavOffMeshLinkComponent", "NavMesh Link", "Navigation", kUserFlags)
                 .Description("Off-mesh connection (jump, ladder) between two points near the navmesh."))
        .Field("enabled", &L::enabled)
        .Field("localStart", &L::localStart, FieldAttr("Start"))
        .Field("localEnd", &L::localEnd)
        .Field("radius", &L::radius, FieldAttr().Range(0.05f, 10.0f))
        .Field("bidirectional", &L::bidirectional)
        .Field("type", &L::type, EnumField("NavLinkType"))
        .Field("cost", &L::cost, FieldAttr().Range(0.01f, 1000.0f));
}

} // namespace Brelk::Scene
