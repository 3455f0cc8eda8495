#pragma once

// The typed conversion between a live reflected object and its SchemaRecord. The object's
// reflected type drives it: every live, saved property becomes a field in declaration
// order, nested structures become nested records and collections arrays. Decoding resets
// the object to its schema defaults first, so that a field absent from the record keeps
// its default, and refuses any field the type doesn't know.
//
// All failures throw std::runtime_error with the engine's message, prefixed with
// "Type.property: " for each level between the object and the failing value. A failed
// DecodeObject leaves the target partly written: decode into a fresh object.

#include "engine/reflection/AssetType.h"
#include "engine/reflection/ObjectView.h"
#include "engine/reflection/SchemaRecord.h"

#include <cstdint>
#include <functional>
#include <string>

namespace Brelk::Core {
struct Guid;
}

namespace Brelk::Reflection {

class ReflectionRegistry;

// The raw value of a scene entity handle; 0 is no entity.
using EntityHandle = std::uint32_t;

// The host callbacks through which references leave the text world. Any may be empty;
// converting a reference whose callback is empty fails.
struct SchemaCodecContext {
    // Stable text of a non-null asset reference; an empty result means unresolved.
    std::function<std::string(std::uint64_t assetId, const Assets::AssetTypeInfo& type)> assetToText;
    // Asset id of a non-empty text: 0 unresolved, all bits set known to be absent (stored as 0).
    std::function<std::uint64_t(const std::string& text, const Assets::AssetTypeInfo& type)> textToAsset;
    // Stable identity of a non-null entity; the null Guid means it has none.
    std::function<Core::Guid(EntityHandle entity)> entityToGuid;
    // Entity of a non-null Guid, 0 if unresolved.
    std::function<EntityHandle(const Core::Guid& guid)> guidToEntity;
};

// Asset id that textToAsset gives for a reference known to be absent.
inline constexpr std::uint64_t kAbsentAssetId = ~std::uint64_t{0};

// Object to record: the view's reflected type gives the record's name and version.
[[nodiscard]] SchemaRecord EncodeObject(ObjectView object, ReflectionRegistry& registry,
                                        const SchemaCodecContext& context);

// Record into object: the view must be mutable and of the record's type, and the record's
// version between 1 and the type's current version.
void DecodeObject(const SchemaRecord& record, ObjectView object, ReflectionRegistry& registry,
                  const SchemaCodecContext& context);

} // namespace Brelk::Reflection
