#pragma once

#include "engine/scene/Entity.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <vector>

namespace Brelk::Scene {

// Structural changes recorded during a walk over a storage and played back later by
// `Registry::FlushDeferred`, in the order they were recorded. Each Registry embeds one;
// `Registry::Defer()` is the way to reach it. No lock: it belongs to the registry's owner.
class CommandBuffer {
public:
    class ICommand {
    public:
        virtual ~ICommand() = default;
        virtual void Execute(Registry& registry) = 0;
        virtual std::unique_ptr<ICommand> Clone() const = 0;
    };

    CommandBuffer() = default;
    // A copy clones the queued commands but targets no registry until `Registry::Defer()`
    // is called on the registry that holds it.
    CommandBuffer(const CommandBuffer& other);
    CommandBuffer& operator=(const CommandBuffer& other);
    CommandBuffer(CommandBuffer&& other) noexcept = default;
    CommandBuffer& operator=(CommandBuffer&& other) noexcept = default;
    ~CommandBuffer();

    // Reserves an index at once and returns its handle; the entity becomes alive when the
    // command runs. Components may be emplaced on the handle meanwhile. Throws
    // std::logic_error on a buffer that did not come from `Registry::Defer()`, and
    // std::length_error when the index space is exhausted.
    Entity CreateEntity();
    // Destroying a handle that is dead by the time the command runs does nothing.
    void DestroyEntity(Entity entity);
    // An empty function is recorded and does nothing when played back.
    void Invoke(std::function<void(Registry&)> function);

    // Drops every command unexecuted. Indices reserved by dropped creates stay reserved;
    // the caller gives them back with `Registry::ReleaseIndex`.
    void Clear() noexcept;

    [[nodiscard]] bool Empty() const noexcept { return commands.empty(); }
    [[nodiscard]] std::size_t Size() const noexcept { return commands.size(); }
    [[nodiscard]] Registry* Target() const noexcept { return registry; }

private:
    friend class Registry;

    Registry* registry = nullptr;
    std::vector<std::unique_ptr<ICommand>> commands;
};

} // namespace Brelk::Scene
