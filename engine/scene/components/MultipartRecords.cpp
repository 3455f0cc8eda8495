#include "engine/scene/components/MultipartRecords.h"

#include "engine/reflection/SchemaRecordText.h"

#include <stdexcept>
#include <utility>

namespace Brelk::Scene::Multipart {

void Fail(const char* message) {
    throw std::runtime_error(message);
}

void CheckValueLimit(std::uint64_t first, std::uint64_t second, const Messages& messages) {
    if (first > kValueLimit || second > kValueLimit - first) {
        Fail(messages.valueLimit);
    }
}

void ChargeSourceBytes(std::uint64_t& encodedBytes, std::uint64_t sourceBytes, const Messages& messages) {
    if (sourceBytes == ~std::uint64_t{0}) {
        Fail(messages.truncated);
    }
    if (encodedBytes > kEncodedByteLimit || sourceBytes > kEncodedByteLimit - encodedBytes) {
        Fail(messages.byteLimit);
    }
    encodedBytes += sourceBytes;
}

void AppendChunk(std::vector<float>& target, std::uint64_t declaredCount, std::uint64_t offset,
                 std::span<const float> values, const Messages& messages) {
    const std::uint64_t count = values.size();
    if (count == 0 || count > kChunkValues || offset != target.size() || offset > declaredCount ||
        count > declaredCount - offset) {
        Fail(messages.chunkRule);
    }
    target.insert(target.end(), values.begin(), values.end());
}

void RecordEmitter::Emit(Reflection::SchemaRecord&& record) {
    scratch_.clear();
    Reflection::AppendSchemaRecord(scratch_, record);
    const std::uint64_t length = scratch_.size();
    if (encodedBytes_ > kEncodedByteLimit || length > kEncodedByteLimit - encodedBytes_) {
        Fail(messages_->byteLimit);
    }
    encodedBytes_ += length;
    out_->push_back(std::move(record));
}

} // namespace Brelk::Scene::Multipart
