#pragma once

#include "engine/reflection/SchemaRecord.h"

#include <cstdint>
#include <span>
#include <string>
#include <vector>

// The machinery shared by components that save one large array (or two) as a series of
// records: a main record, a declaration of the value counts, then chunks of at most one
// record array's worth of values, each placed by its offset. Terrain and cloth differ
// only in their record types and in the words of their messages.
namespace Brelk::Scene::Multipart {

// Values across all arrays of one component.
inline constexpr std::uint64_t kValueLimit = 0x1000000;
// Text bytes across all records of one component, in save and in load alike.
inline constexpr std::uint64_t kEncodedByteLimit = 0x20000000;
// Values in one chunk: the element limit of a record array.
inline constexpr std::uint64_t kChunkValues = 1024;

// The exact texts of one component family's failures.
struct Messages {
    const char* valueLimit;
    const char* byteLimit;
    const char* truncated;
    const char* countsFirst;
    const char* chunkRule;
    const char* incomplete;
};

[[noreturn]] void Fail(const char* message);

// Two counts whose sum must stay within kValueLimit, tested so that the sum cannot wrap.
void CheckValueLimit(std::uint64_t first, std::uint64_t second, const Messages& messages);

// Charges one record's source bytes against the running total of its component.
// A source that cannot tell its sizes (all ones) cannot be budgeted and is refused.
void ChargeSourceBytes(std::uint64_t& encodedBytes, std::uint64_t sourceBytes, const Messages& messages);

// Appends a chunk's values to `target` if the chunk continues the array exactly where it
// stands, within `declaredCount`; else throws the chunk rule message. Nothing is reserved
// from the declared count: memory follows the values actually delivered.
void AppendChunk(std::vector<float>& target, std::uint64_t declaredCount, std::uint64_t offset,
                 std::span<const float> values, const Messages& messages);

// Emits the records of one save, charging each record's text length against the byte
// budget before it joins `out`. The budget is measured on the text form whatever form the
// records finally go to, so a save cannot produce what a load would refuse.
class RecordEmitter {
public:
    RecordEmitter(std::vector<Reflection::SchemaRecord>& out, const Messages& messages) noexcept
        : out_(&out), messages_(&messages) {}

    void Emit(Reflection::SchemaRecord&& record);

    [[nodiscard]] std::uint64_t EncodedBytes() const noexcept { return encodedBytes_; }

private:
    std::vector<Reflection::SchemaRecord>* out_;
    const Messages* messages_;
    std::uint64_t encodedBytes_ = 0;
    std::string scratch_;
};

// Calls `emit(offset, values)` for each chunk of `values`: offsets 0, kChunkValues, ...
// while below the size; an empty array gives no chunk.
template <class EmitChunk>
void ForEachChunk(std::span<const float> values, EmitChunk&& emit) {
    for (std::uint64_t offset = 0; offset < values.size(); offset += kChunkValues) {
        const std::uint64_t left = values.size() - offset;
        const std::uint64_t count = left < kChunkValues ? left : kChunkValues;
        emit(offset, values.subspan(static_cast<std::size_t>(offset), static_cast<std::size_t>(count)));
    }
}

} // namespace Brelk::Scene::Multipart
