#pragma once

#include "engine/reflection/EnumInfo.h"

#include <concepts>
#include <cstdint>
#include <memory>
#include <type_traits>
#include <typeindex>
#include <typeinfo>
#include <utility>

namespace Brelk::Core {
struct Guid;
}

namespace Brelk::Reflection {

struct ObjectViewOperations;
struct ValueSchema;

// A small copyable handle to typed storage: the native type, a pointer for reading, a
// pointer for writing (null in a const view) and the static operations of the type.
// A null view has the type of void and no pointers.
struct ObjectView {
    std::type_index type = typeid(void);
    const void* constData = nullptr;
    void* mutableData = nullptr;
    const ObjectViewOperations* operations = nullptr;

    static ObjectView Const(std::type_index type, const void* data, const ObjectViewOperations* operations) noexcept {
        return ObjectView{type, data, nullptr, operations};
    }
    static ObjectView Mutable(std::type_index type, void* data, const ObjectViewOperations* operations) noexcept {
        return ObjectView{type, data, data, operations};
    }

    bool IsNull() const noexcept { return constData == nullptr; }
    bool IsMutable() const noexcept { return mutableData != nullptr; }
};

// A non-owning reference to a callable taking `const ObjectView&`, so that visiting an
// element of a collection costs no allocation. Valid while the callable lives.
class ViewVisitor {
public:
    template <class F>
        requires(!std::same_as<std::remove_cvref_t<F>, ViewVisitor> &&
                 std::invocable<F&, const ObjectView&>)
    ViewVisitor(F&& callable) noexcept // NOLINT: implicit by design, like a function reference
        : object_(const_cast<void*>(static_cast<const void*>(std::addressof(callable)))),
          call_([](void* object, const ObjectView& view) {
              (*static_cast<std::remove_reference_t<F>*>(object))(view);
          }) {}

    void operator()(const ObjectView& view) const { call_(object_, view); }

private:
    void* object_;
    void (*call_)(void*, const ObjectView&);
};

// The static table of one native value type. A member that doesn't apply is null.
struct ObjectViewOperations {
    // True if the schema names this native type with an allowed kind and the right shape,
    // element schema included.
    bool (*accepts)(const ValueSchema& schema) = nullptr;
    std::uint8_t shape = 0; // 0 scalar or object, 2 collection

    // Collections. `resize` grows with default-constructed elements; a fixed array accepts
    // only its extent. A visit of an index past the end calls nothing and returns false.
    std::uint64_t (*size)(const void* data) = nullptr;
    bool (*resize)(void* data, std::uint64_t count) = nullptr;
    bool (*visitConst)(const void* data, std::uint64_t index, ViewVisitor visitor) = nullptr;
    bool (*visitMutable)(void* data, std::uint64_t index, ViewVisitor visitor) = nullptr;

    // Enums. setEnumValue refuses a number outside the enum's storage.
    EnumNumber (*getEnumValue)(const void* data) = nullptr;
    bool (*setEnumValue)(void* data, const EnumValue& value) = nullptr;

    // Entity-link values.
    const Core::Guid* (*getEntityGuid)(const void* data) = nullptr;
    void (*setEntityGuid)(void* data, const Core::Guid& guid) = nullptr;
};

} // namespace Brelk::Reflection
