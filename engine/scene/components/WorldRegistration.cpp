#include "engine/reflection/ReflectedTypeBuilder.h"
#include "engine/scene/ComponentRegistry.h"
#include "engine/scene/components/CatalogueRegistration.h"
#include "engine/scene/components/ComponentRegistrars.h"
#include "engine/scene/components/RecordEdits.h"
#include "engine/scene/components/TerrainComponent.h"
#include "engine/scene/components/TerrainRecords.h"
#include "engine/scene/components/WorldComponents.h"

namespace Brelk::Scene {
namespace {

using Detail::AssetField;
using Detail::EnumField;
using Detail::Labelled;
using Detail::RegisterCatalogueEnum;
using Reflection::FieldAttr;
using Reflection::ReflectedTypeBuilder;

constexpr ComponentFlags kUserFlags = ComponentFlags::UserAddable | ComponentFlags::Saved;

void RegisterTerrainTypes() {
    using L = TerrainLayer;
    Labelled(ReflectedTypeBuilder<L>("TerrainLayer", "Terrain Layer", "World"))
        .Field("name", &L::name, FieldAttr("TerrainSampleKind"))
        .Field("albedoTexture", &L::albedoTexture, AssetField("Texture"))
        .Field("normalTexture", &L::normalTexture, AssetField("Texture"))
        .Field("material", &L::material, AssetField("Material"))
        .Field("tint", &L::tint)
        .Field("tiling", &L::tiling)
        .Field("surfaceLayer", &L::surfaceLayer, EnumField("GameplayLayer"));

    Labelled(ReflectedTypeBuilder<TerrainSampleCounts>("TerrainSampleCounts", "Terrain Sample Counts", "World"))
        .Field("heights", &TerrainSampleCounts::heights)
        .Field("layerWeights", &TerrainSampleCounts::layerWeights);

    Labelled(ReflectedTypeBuilder<TerrainSampleChunk>("TerrainSampleChunk", "Terrain Sample Chunk", "World"))
        .Field("kind", &TerrainSampleChunk::kind, EnumField("TerrainSampleKind"))
        .Field("offset", &TerrainSampleChunk::offset)
        .Field("values", &TerrainSampleChunk::values);
}

void RegisterTerrain() {
    using T = TerrainComponent;
    Labelled(RegisterComponent<T>("TerrainComponent", "Terrain", "World", kUserFlags)
                 .Description("Creates editable terrain data, render mesh, and terrain collision."))
        .Field("width", &T::width, FieldAttr().Range(0.1f, 100000.0f))
        .Field("length", &T::length, FieldAttr().Range(0.1f, 100000.0f))
        .Field("heightScale", &T::heightScale, FieldAttr().Range(0.001f, 10000.0f))
        .Field("material", &T::material, AssetField("Material"))
        .Field("brushMode", &T::brushMode, EnumField("TerrainBrushMode").Category("Brush"))
        .Field("brushRadius", &T::brushRadius, FieldAttr().Range(0.01f, 1000.0f).Category("Brush"))
        .Field("brushStrength", &T::brushStrength, FieldAttr().Range(0.0f, 10.0f).Category("Brush"))
        .Field("resolutionX", &T::resolutionX)
        .Field("resolutionZ", &T::resolutionZ)
        .Field("surfaceLayer", &T::surfaceLayer, EnumField("GameplayLayer"))
        .Field("brushFalloff", &T::brushFalloff)
        .Field("flattenHeight", &T::flattenHeight)
        .Field("activeLayer", &T::activeLayer)
        .Field("layers", &T::layers)
        .Done()
        .AddCustom(&T::heights)
        .AddCustom(&T::layerWeights)
        .AddTransient(&T::generatedMesh)
        .AddTransient(&T::meshDirty)
        .Records<TerrainRecordParts>(
            {{kTerrainMainRecord, false}, {kTerrainCountsRecord, false}, {kTerrainChunkRecord, true}},
            [](const T& terrain, std::vector<Reflection::SchemaRecord>& out, const ComponentSaveContext& context) {
                WriteTerrainRecords(terrain, out, Detail::CodecOrEmpty(context.codec));
            },
            [](T& terrain, TerrainRecordParts& parts, const Reflection::SchemaRecord& record,
               std::uint64_t sourceBytes, const ComponentLoadContext& context) {
                ReadTerrainRecord(terrain, parts, record, sourceBytes, Detail::CodecOrEmpty(context.codec));
            },
            [](T& terrain, TerrainRecordParts& parts) { FinishTerrainRecords(terrain, parts); });
}

// Version 1 saved run-time load state; version 2 still saved the bounds that version 3
// derives from the chunk's content.
void MigrateWorldChunk(Reflection::SchemaRecord& record, std::uint32_t fromVersion) {
    if (fromVersion < 2) {
        RemoveRecordFields(record, {"loaded", "runtimeLoaded"});
    }
    if (fromVersion < 3) {
        RemoveRecordFields(record, {"extents", "streamInEditor"});
    }
}

} // namespace

void RegisterTerrainComponents() {
    RegisterCatalogueEnum<TerrainBrushMode>(
        "TerrainBrushMode", {{"RaiseLower", "Raise/Lower"}, {"Smooth"}, {"Flatten"}, {"PaintLayer", "Paint Layer"}});
    RegisterCatalogueEnum<TerrainSampleKind>("TerrainSampleKind", {{"Heights"}, {"LayerWeights", "Layer Weights"}});
    RegisterTerrainTypes();
    RegisterTerrain();
}

void RegisterStreamingComponents() {
    using S = WorldStreamingSourceComponent;
    Labelled(RegisterComponent<S>("WorldStreamingSourceComponent", "World Streaming Source", "Streaming", kUserFlags)
                 .Description("Loads world chunks within its radius."))
        .Field("enabled", &S::enabled)
        .Field("radius", &S::radius, FieldAttr().Range(0.0f, 100000.0f));

    using C = WorldChunkComponent;
    Labelled(RegisterComponent<C>("WorldChunkComponent", "World Chunk", "Streaming", kUserFlags)
                 .Description("A streamable region loaded and unloaded by distance to streaming sources.")
                 .Version(3)
                 .Migrate(MigrateWorldChunk))
        .Field("chunkId", &C::chunkId)
        .Field("center", &C::center)
        .Field("loadDistance", &C::loadDistance, FieldAttr().Range(0.0f, 100000.0f))
        .Field("unloadDistance", &C::unloadDistance, FieldAttr().Range(0.0f, 100000.0f))
        .Field("affectRendering", &C::affectRendering)
        .Field("affectLogic", &C::affectLogic);

    using P = WorldPartitionComponent;
    Labelled(RegisterComponent<P>("WorldPartitionComponent", "World Partition", "Streaming", kUserFlags)
                 .Description("Q-03: streams the cells of a world asset around the streaming sources (this scene "
                              "is the persistent layer)."))
        .Field("world", &P::world, AssetField("World"))
        .Field("enabled", &P::enabled)
        .Field("loadRadius", &P::loadRadius, FieldAttr().Range(0.0f, 100000.0f))
        .Field("unloadRadius", &P::unloadRadius, FieldAttr().Range(0.0f, 100000.0f))
        .Field("minResidentFrames", &P::minResidentFrames)
        .Field("maxConcurrentLoads", &P::maxConcurrentLoads, FieldAttr().Category("Budgets"))
        .Field("frameBudgetMilliseconds", &P::frameBudgetMilliseconds,
               FieldAttr("Frame Budget (ms)").Range(0.05f, 100.0f).Category("Budgets"))
        .Field("memoryBudgetMegabytes", &P::memoryBudgetMegabytes,
               FieldAttr("Memory Budget (MB)").Range(1.0f, 1048576.0f).Category("Budgets"))
        .Field("terrainLodDistance", &P::terrainLodDistance, FieldAttr().Range(1.0f, 100000.0f).Category("Terrain"))
        .Field("terrainMaxLod", &P::terrainMaxLod, FieldAttr().Category("Terrain"));

    Labelled(RegisterComponent<WorldPersistentComponent>("WorldPersistentComponent", "World Persistent", "Streaming",
                                                         kUserFlags)
                 .Description("Q-03: keeps the entity (and its children) in the always-loaded persistent layer when "
                              "the scene is partitioned into cells."))
        .Field("persistent", &WorldPersistentComponent::persistent);

    RegisterComponent<WorldCellPreviewComponent>("WorldCellPreviewComponent", "World Cell Preview", "Streaming",
                                                 ComponentFlags::RuntimeOnly)
        .Description("Q-03: runtime tag of entities the editor's streaming preview created; never saved, copied or "
                     "listed.");
}

} // namespace Brelk::Scene
