#include "engine/scene/CommandBuffer.h"

#include "engine/scene/Registry.h"

#include <stdexcept>
#include <utility>

namespace Brelk::Scene {

CommandBuffer::CommandBuffer(const CommandBuffer& other) {
    commands.reserve(other.commands.size());
    for (const auto& command : other.commands) {
        commands.push_back(command->Clone());
    }
}

CommandBuffer& CommandBuffer::operator=(const CommandBuffer& other) {
    if (this != &other) {
        CommandBuffer copy(other);
        commands = std::move(copy.commands);
        registry = nullptr;
    }
    return *this;
}

CommandBuffer::~CommandBuffer() = default;

Entity CommandBuffer::CreateEntity() {
    class Command final : public ICommand {
    public:
        explicit Command(Entity entity) : entity(entity) {}
        void Execute(Registry& target) override { target.CommitEntity(entity); }
        std::unique_ptr<ICommand> Clone() const override { return std::make_unique<Command>(*this); }

    private:
        Entity entity;
    };

    if (registry == nullptr) {
        throw std::logic_error("CommandBuffer::CreateEntity requires a buffer obtained from Registry::Defer().");
    }
    const Entity entity = registry->ReserveEntity();
    // Should the append fail, the index must not stay reserved with no command to commit it.
    try {
        commands.push_back(std::make_unique<Command>(entity));
    } catch (...) {
        registry->ReleaseIndex(EntityIndex(entity));
        throw;
    }
    return entity;
}

void CommandBuffer::DestroyEntity(Entity entity) {
    class Command final : public ICommand {
    public:
        explicit Command(Entity entity) : entity(entity) {}
        void Execute(Registry& target) override { target.DestroyEntity(entity); }
        std::unique_ptr<ICommand> Clone() const override { return std::make_unique<Command>(*this); }

    private:
        Entity entity;
    };

    commands.push_back(std::make_unique<Command>(entity));
}

void CommandBuffer::Invoke(std::function<void(Registry&)> function) {
    class Command final : public ICommand {
    public:
        explicit Command(std::function<void(Registry&)> function) : function(std::move(function)) {}
        void Execute(Registry& target) override {
            if (function) {
                function(target);
            }
        }
        std::unique_ptr<ICommand> Clone() const override { return std::make_unique<Command>(*this); }

    private:
        std::function<void(Registry&)> function;
    };

    commands.push_back(std::make_unique<Command>(std::move(function)));
}

void CommandBuffer::Clear() noexcept {
    commands.clear();
}

} // namespace Brelk::Scene
