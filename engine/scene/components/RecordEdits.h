#pragma once

#include "engine/reflection/SchemaRecord.h"

#include <functional>
#include <initializer_list>
#include <string_view>

// The edits from which the catalogue's record upgrades are made. They work on the record
// as it was read, before it is decoded, and never fail: a field that isn't there is simply
// not edited.
namespace Brelk::Scene {

// Erases every field whose name is one of `names`.
void RemoveRecordFields(Reflection::SchemaRecord& record, std::initializer_list<std::string_view> names);

// Gives the first field named `from` the name `to`, unless a field named `to` exists already
// or none is named `from`.
void RenameRecordField(Reflection::SchemaRecord& record, std::string_view from, std::string_view to);

// Calls `edit` on every object element of every array field named `field`.
void ForEachArrayObject(Reflection::SchemaRecord& record, std::string_view field,
                        const std::function<void(Reflection::SchemaRecord&)>& edit);

} // namespace Brelk::Scene
