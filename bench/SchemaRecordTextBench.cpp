// Writing and reading the records of a 65 x 65 height field, the bulk of what the world
// generator writes. A record holds at most 1024 array elements, so the 4,225 heights go out
// as the terrain's chunk series: four chunks of 1024 values and one of 129.

#include "engine/core/NumberText.h"
#include "engine/reflection/SchemaRecordText.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstddef>
#include <sstream>
#include <string>
#include <vector>

namespace {

using namespace Brelk::Reflection;

constexpr std::size_t kResolution = 65;
constexpr std::size_t kValues = kResolution * kResolution;
constexpr std::size_t kChunk = 1024;
constexpr std::string_view kKeyword = "component_schema";

std::vector<SchemaRecord> MakeHeightChunks() {
    std::vector<SchemaRecord> records;
    for (std::size_t offset = 0; offset < kValues; offset += kChunk) {
        SchemaRecord chunk{"TerrainSampleChunk", 1, {}};
        chunk.fields.push_back({"kind", SchemaValue(std::in_place_index<0>, "Heights")});
        std::string offsetText;
        Brelk::Core::AppendInteger(offsetText, offset);
        chunk.fields.push_back({"offset", SchemaValue(std::in_place_index<0>, offsetText)});
        SchemaArray values;
        for (std::size_t i = offset; i < kValues && i < offset + kChunk; ++i) {
            const float x = static_cast<float>(i % kResolution);
            const float z = static_cast<float>(i / kResolution);
            const float height = 12.5f * std::sin(x * 0.173f) * std::cos(z * 0.091f) + 0.37f * x - 3.1f;
            std::string text;
            Brelk::Core::AppendFloat9(text, height);
            values.elements.emplace_back(std::in_place_index<0>, std::move(text));
        }
        chunk.fields.push_back({"values", SchemaValue(std::in_place_index<2>, std::move(values))});
        records.push_back(std::move(chunk));
    }
    return records;
}

std::string WriteAll(const std::vector<SchemaRecord>& records) {
    std::string text;
    for (const SchemaRecord& record : records) {
        AppendSchemaRecord(text, record);
    }
    return text;
}

void BM_WriteHeightField(benchmark::State& state) {
    const std::vector<SchemaRecord> records = MakeHeightChunks();
    std::string buffer;
    for (auto _ : state) {
        buffer.clear();
        for (const SchemaRecord& record : records) {
            AppendSchemaRecord(buffer, record);
        }
        benchmark::DoNotOptimize(buffer.data());
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * buffer.size()));
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * kValues));
}
BENCHMARK(BM_WriteHeightField);

void BM_ReadHeightField(benchmark::State& state) {
    const std::string text = WriteAll(MakeHeightChunks());
    for (auto _ : state) {
        SchemaLineCursor cursor(text);
        std::string_view header;
        while (cursor.NextLine(header)) {
            SchemaRecord record = ReadSchemaRecord(header.substr(kKeyword.size()), cursor);
            benchmark::DoNotOptimize(record.fields.data());
        }
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * text.size()));
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * kValues));
}
BENCHMARK(BM_ReadHeightField);

void BM_ReadHeightFieldFromStream(benchmark::State& state) {
    const std::string text = WriteAll(MakeHeightChunks());
    for (auto _ : state) {
        std::istringstream lines(text);
        std::string header;
        std::uint32_t lineCounter = 0;
        while (std::getline(lines, header)) {
            ++lineCounter;
            SchemaRecord record =
                ReadSchemaRecord(std::string_view(header).substr(kKeyword.size()), lines, lineCounter);
            benchmark::DoNotOptimize(record.fields.data());
        }
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * text.size()));
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * kValues));
}
BENCHMARK(BM_ReadHeightFieldFromStream);

void BM_EscapeTokenWithoutSpecialBytes(benchmark::State& state) {
    const std::string token = "0.100000001";
    std::string buffer;
    for (auto _ : state) {
        buffer.clear();
        for (int i = 0; i < 1000; ++i) {
            AppendEscapedSchemaToken(buffer, token);
        }
        benchmark::DoNotOptimize(buffer.data());
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * 1000));
}
BENCHMARK(BM_EscapeTokenWithoutSpecialBytes);

} // namespace
