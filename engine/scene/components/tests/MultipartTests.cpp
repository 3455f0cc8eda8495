#include "engine/reflection/SchemaCodec.h"
#include "engine/reflection/SchemaRecordText.h"
#include "engine/scene/ComponentLoad.h"
#include "engine/scene/ComponentRegistry.h"
#include "engine/scene/InstallComponents.h"
#include "engine/scene/Registry.h"
#include "engine/scene/components/ClothComponent.h"
#include "engine/scene/components/ClothRecords.h"
#include "engine/scene/components/TerrainComponent.h"
#include "engine/scene/components/TerrainRecords.h"
#include "engine/scene/components/tests/CatalogueTestSupport.h"
#include "tests/support/TestSupport.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

namespace Brelk::Scene {
namespace {

using Reflection::SchemaRecord;
using Testing::Encode;
using Testing::TestCodec;
using Brelk::Testing::ThrownMessage;

constexpr std::uint64_t kUnknownSize = ~std::uint64_t{0};
constexpr std::uint64_t kByteLimit = 0x20000000;
constexpr const char* kChunkRule =
    "Terrain sample chunk is empty, out of order, overlapping, or exceeds its declared count.";

std::vector<float> Ramp(std::size_t count, float start = 0.0f) {
    std::vector<float> values(count);
    for (std::size_t i = 0; i < count; ++i) values[i] = start + static_cast<float>(i) * 0.25f;
    return values;
}

std::vector<SchemaRecord> WriteSeries(const TerrainComponent& terrain) {
    InstallComponents();
    std::vector<SchemaRecord> out;
    WriteTerrainRecords(terrain, out, TestCodec());
    return out;
}

std::uint64_t TextBytes(const SchemaRecord& record) { return Reflection::FormatSchemaRecord(record).size(); }

void Read(TerrainComponent& terrain, TerrainRecordParts& parts, const SchemaRecord& record) {
    ReadTerrainRecord(terrain, parts, record, TextBytes(record), TestCodec());
}

TerrainComponent ReadSeries(const std::vector<SchemaRecord>& records) {
    TerrainComponent terrain;
    TerrainRecordParts parts;
    for (const SchemaRecord& record : records) Read(terrain, parts, record);
    FinishTerrainRecords(terrain, parts);
    return terrain;
}

SchemaRecord CountsRecord(std::uint64_t heights, std::uint64_t layerWeights) {
    TerrainSampleCounts counts;
    counts.heights = heights, counts.layerWeights = layerWeights;
    return Encode(counts);
}

TerrainSampleChunk Chunk(TerrainSampleKind kind, std::uint64_t offset, std::size_t count) {
    TerrainSampleChunk chunk;
    chunk.kind = kind, chunk.offset = offset, chunk.values = Ramp(count);
    return chunk;
}

SchemaRecord ChunkRecord(TerrainSampleKind kind, std::uint64_t offset, std::size_t count) {
    return Encode(Chunk(kind, offset, count));
}

TEST(TerrainRecordsTests, SamplesSplitIntoChunksOfAtMostOneRecordArrayAndReadBackInAnyKindOrder) {
    using K = TerrainSampleKind;
    struct Part { K kind; std::uint64_t offset; std::size_t size; };
    const struct { std::size_t heights, weights; std::vector<Part> chunks; } cases[] = {
        {0, 0, {}},
        {1024, 0, {{K::Heights, 0, 1024}}},
        {1025, 0, {{K::Heights, 0, 1024}, {K::Heights, 1024, 1}}},
        {0, 2, {{K::LayerWeights, 0, 2}}},
        // A generated world cell.
        {1089, 1089, {{K::Heights, 0, 1024}, {K::Heights, 1024, 65}, {K::LayerWeights, 0, 1024}, {K::LayerWeights, 1024, 65}}},
    };
    TerrainComponent terrain;
    terrain.width = 96.0f, terrain.length = 48.5f, terrain.heightScale = 12.0f, terrain.material = 7;
    terrain.brushMode = TerrainBrushMode::Flatten, terrain.surfaceLayer = GameplayLayer::Water;
    terrain.resolutionX = terrain.resolutionZ = 129, terrain.activeLayer = 1;
    terrain.layers.resize(2);
    terrain.layers[0].name = "Ground", terrain.layers[1].albedoTexture = 3;
    terrain.layers[1].tint = {0.25f, 0.5f, 0.75f, 1.0f};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.heights);
        terrain.heights = Ramp(c.heights, -3.0f);
        terrain.layerWeights = Ramp(c.weights, 1.0f);
        if (!terrain.heights.empty()) terrain.heights.back() = -0.0f;
        const std::vector<SchemaRecord> records = WriteSeries(terrain);
        ASSERT_EQ(records.size(), 2 + c.chunks.size());
        for (std::size_t i = 0; i < c.chunks.size(); ++i) {
            const Part& part = c.chunks[i];
            const std::vector<float>& all = part.kind == K::Heights ? terrain.heights : terrain.layerWeights;
            const auto begin = all.begin() + static_cast<std::ptrdiff_t>(part.offset);
            const std::vector<float> values(begin, begin + static_cast<std::ptrdiff_t>(part.size));
            EXPECT_EQ(records[2 + i], Encode(TerrainSampleChunk{part.kind, part.offset, values}));
        }
        const TerrainComponent loaded = ReadSeries(records);
        EXPECT_EQ(loaded, terrain);
        EXPECT_TRUE(loaded.heights.empty() || std::signbit(loaded.heights.back()));
    }
    // Height and weight chunks may interleave.
    const TerrainComponent mixed = ReadSeries({CountsRecord(1030, 1030), ChunkRecord(K::LayerWeights, 0, 1024),
                                               ChunkRecord(K::Heights, 0, 1024), ChunkRecord(K::Heights, 1024, 6),
                                               ChunkRecord(K::LayerWeights, 1024, 6)});
    EXPECT_EQ(mixed.heights.size() + mixed.layerWeights.size(), 2060u);
}

TEST(TerrainRecordsTests, CountsAndBudgetsPassAtTheirLimitsAndEachBrokenRecordGetsItsMessage) {
    TerrainComponent terrain;
    TerrainRecordParts parts;
    parts.encodedBytes = kByteLimit - 100 - TextBytes(CountsRecord(0x1000000, 0));
    Read(terrain, parts, CountsRecord(0x1000000, 0));
    EXPECT_EQ(parts.heightCount, 0x1000000u);
    EXPECT_TRUE(terrain.heights.empty());
    ReadTerrainRecord(terrain, parts, ChunkRecord(TerrainSampleKind::Heights, 0, 1), 100, TestCodec());
    EXPECT_EQ(parts.encodedBytes, kByteLimit);

    using K = TerrainSampleKind;
    const struct { std::function<void(TerrainComponent&, TerrainRecordParts&)> run; std::string message; } rows[] = {
        {[](auto& t, auto& p) { Read(t, p, CountsRecord(0x1000000, 1)); }, "Terrain exceeds its total sample limit."},
        {[](auto& t, auto& p) { Read(t, p, CountsRecord(0, 0x1000001)); }, "Terrain exceeds its total sample limit."},
        {[](auto& t, auto& p) { Read(t, p, CountsRecord(0x8000000000000000u, 0x8000000000000000u)); },
         "Terrain exceeds its total sample limit."},
        {[](auto& t, auto& p) { Read(t, p, CountsRecord(~std::uint64_t{0}, 1)); }, "Terrain exceeds its total sample limit."},
        {[](auto& t, auto& p) { Read(t, p, ChunkRecord(K::Heights, 0, 4)); }, "Terrain chunks require sample counts first."},
        {[](auto& t, auto& p) {
             Read(t, p, CountsRecord(4, 4));
             AppendTerrainChunk(t, p, Chunk(static_cast<K>(2), 0, 4));
         },
         "Unknown terrain sample kind."},
        {[](auto& t, auto& p) {
             Read(t, p, CountsRecord(2048, 0));
             SchemaRecord record = ChunkRecord(K::Heights, 0, 1024);
             std::get<Reflection::SchemaArray>(record.fields[2].value).elements.emplace_back(std::string("1"));
             ReadTerrainRecord(t, p, record, 20000, TestCodec());
         },
         "TerrainSampleChunk.values: Expected a bounded collection."},
    };
    for (const auto& row : rows) {
        TerrainComponent broken;
        TerrainRecordParts brokenParts;
        EXPECT_EQ(ThrownMessage([&] { row.run(broken, brokenParts); }), row.message);
        EXPECT_TRUE(broken.heights.empty()) << row.message;
    }
    // A record one byte over the budget is not taken in part.
    TerrainRecordParts over;
    over.encodedBytes = kByteLimit - 100;
    EXPECT_EQ(ThrownMessage([&] { ReadTerrainRecord(terrain, over, CountsRecord(0, 0), 101, TestCodec()); }),
              "Terrain exceeds its total encoded byte limit.");
    EXPECT_FALSE(over.hasCounts);
    terrain.heights.resize(0x1000000);
    terrain.layerWeights.resize(1);
    std::vector<SchemaRecord> out;
    EXPECT_EQ(ThrownMessage([&] { WriteTerrainRecords(terrain, out, TestCodec()); }),
              "Terrain exceeds its total sample limit.");
    EXPECT_TRUE(out.empty());
}

TEST(TerrainRecordsTests, BrokenChunkSequencesAreRefusedWithTheChunkMessage) {
    // Chunks read after the declaration; the last one is the one refused.
    const struct { const char* name; std::uint64_t declared; std::vector<std::pair<std::uint64_t, std::size_t>> chunks; } cases[] = {
        {"EmptyWithADeclaredCountOfZero", 0, {{0, 0}}},
        {"Empty", 8, {{0, 0}}},
        {"OverARecordArray", 2048, {{0, 1025}}},
        {"Gap", 8, {{0, 2}, {3, 2}}},
        {"Overlap", 8, {{0, 4}, {2, 4}}},
        {"RepeatedOffset", 8, {{0, 4}, {0, 4}}},
        {"FirstChunkNotAtZero", 8, {{1, 2}}},
        {"PastTheDeclaredCount", 8, {{0, 4}, {4, 5}}},
        {"BeyondAnEmptyDeclaration", 0, {{0, 1}}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        TerrainComponent terrain;
        TerrainRecordParts parts;
        Read(terrain, parts, CountsRecord(c.declared, 0));
        for (std::size_t i = 0; i + 1 < c.chunks.size(); ++i) {
            Read(terrain, parts, ChunkRecord(TerrainSampleKind::Heights, c.chunks[i].first, c.chunks[i].second));
        }
        const std::size_t heightsBefore = terrain.heights.size();
        const TerrainSampleChunk last = Chunk(TerrainSampleKind::Heights, c.chunks.back().first, c.chunks.back().second);
        EXPECT_EQ(ThrownMessage([&] { AppendTerrainChunk(terrain, parts, last); }), kChunkRule);
        EXPECT_EQ(terrain.heights.size(), heightsBefore);
    }
}

TEST(TerrainRecordsTests, ATerrainEntitySavesAndLoadsThroughTheComponentTableWhichChecksOrderAndSizes) {
    InstallComponents();
    Registry registry;
    const Entity source = registry.CreateEntity();
    TerrainComponent terrain;
    terrain.heights = Ramp(2000), terrain.layerWeights = Ramp(2000, 1.0f), terrain.generatedMesh = 9;
    registry.Emplace<TerrainComponent>(source, terrain);

    const ComponentLoadTable table;
    std::vector<SchemaRecord> records;
    SaveEntityComponents(table, ComponentSaveContext{registry, source, &TestCodec()}, records);
    ASSERT_EQ(records.size(), 6u);

    const ComponentLoadContext context{&TestCodec()};
    ComponentLoadSession session(table, context);
    for (const SchemaRecord& record : records) session.ReadRecord(SchemaRecord(record), TextBytes(record));
    session.Finish(false);
    const Entity target = registry.CreateEntity();
    session.Apply(registry, target);
    terrain.generatedMesh = 0;
    EXPECT_EQ(registry.Get<TerrainComponent>(target), terrain);

    const SchemaRecord main = WriteSeries(TerrainComponent{})[0];
    const struct { std::vector<SchemaRecord> records; bool sized; const char* message; } broken[] = {
        {{ChunkRecord(TerrainSampleKind::Heights, 0, 1)}, true,
         "TerrainSampleChunk requires its TerrainComponent record first."},
        {{main}, false, "Truncated terrain record."},
        {{main, CountsRecord(1, 0), CountsRecord(1, 0)}, true, "Duplicate component schema: TerrainSampleCounts"},
        // Without the declaration, without the last height chunk, without the weights.
        {{main}, true, "Terrain samples are missing or incomplete."},
        {{main, CountsRecord(1025, 0), ChunkRecord(TerrainSampleKind::Heights, 0, 1024)}, true,
         "Terrain samples are missing or incomplete."},
        {{main, CountsRecord(0, 1)}, true, "Terrain samples are missing or incomplete."},
    };
    for (const auto& c : broken) {
        ComponentLoadSession failing(table, context);
        EXPECT_EQ(ThrownMessage([&] {
                      for (const SchemaRecord& record : c.records)
                          failing.ReadRecord(SchemaRecord(record), c.sized ? TextBytes(record) : kUnknownSize);
                      failing.Finish(false);
                  }),
                  c.message);
    }
}

SchemaRecord PinCountRecord(std::uint64_t count) {
    Physics::ClothPinWeightCount declaration;
    declaration.count = count;
    return Encode(declaration);
}

SchemaRecord PinChunkRecord(std::uint64_t offset, std::size_t count) {
    Physics::ClothPinWeightChunk chunk;
    chunk.offset = offset, chunk.values = Ramp(count);
    return Encode(chunk);
}

void ReadPin(Physics::ClothComponent& cloth, Physics::ClothRecordParts& parts, const SchemaRecord& record) {
    Physics::ReadClothRecord(cloth, parts, record, TextBytes(record), TestCodec());
}

TEST(ClothRecordsTests, ASavedClothReadsBackIdenticallyAndEachFailureHasTheClothWording) {
    InstallComponents();
    Physics::ClothComponent saved;
    saved.sourceMesh = 4, saved.settings.pinMode = Physics::ClothPinMode::Painted, saved.settings.filter.layer = 3;
    saved.pinWeights = Ramp(2050);
    std::vector<SchemaRecord> records;
    Physics::WriteClothRecords(saved, records, TestCodec());
    ASSERT_EQ(records.size(), 5u);
    Physics::ClothComponent cloth;
    Physics::ClothRecordParts parts;
    for (const SchemaRecord& record : records) ReadPin(cloth, parts, record);
    Physics::FinishClothRecords(cloth, parts);
    EXPECT_EQ(cloth, saved);

    cloth = {}, parts = {};
    EXPECT_EQ(ThrownMessage([&] { Physics::ReadClothRecord(cloth, parts, PinCountRecord(1), kUnknownSize, TestCodec()); }),
              "Truncated cloth record.");
    EXPECT_EQ(ThrownMessage([&] { ReadPin(cloth, parts, PinChunkRecord(0, 1)); }),
              "Cloth chunks require a pin-weight count first.");
    EXPECT_EQ(ThrownMessage([&] { ReadPin(cloth, parts, PinCountRecord(0x1000001)); }),
              "Cloth exceeds its total pin-weight limit.");
    ReadPin(cloth, parts, PinCountRecord(4));
    EXPECT_EQ(ThrownMessage([&] { ReadPin(cloth, parts, PinChunkRecord(1, 2)); }),
              "Cloth pin-weight chunk is empty, out of order, overlapping, or exceeds its declared count.");
    ReadPin(cloth, parts, PinChunkRecord(0, 2));
    EXPECT_EQ(ThrownMessage([&] { Physics::FinishClothRecords(cloth, parts); }),
              "Cloth pin weights are missing or incomplete.");
    parts.encodedBytes = kByteLimit;
    EXPECT_EQ(ThrownMessage([&] { Physics::ReadClothRecord(cloth, parts, PinChunkRecord(2, 2), 1, TestCodec()); }),
              "Cloth exceeds its total encoded byte limit.");

    Physics::ClothComponent huge;
    huge.pinWeights.resize(0x1000001);
    std::vector<SchemaRecord> out;
    EXPECT_EQ(ThrownMessage([&] { Physics::WriteClothRecords(huge, out, TestCodec()); }),
              "Cloth exceeds its total pin-weight limit.");
    EXPECT_TRUE(out.empty());
}

} // namespace
} // namespace Brelk::Scene
