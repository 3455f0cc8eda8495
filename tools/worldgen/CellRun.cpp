#include "tools/worldgen/CellRun.h"

#include "engine/core/TaskSystem.h"
#include "engine/scene/Scene.h"
#include "tools/worldgen/CellFile.h"

#include <algorithm>
#include <atomic>
#include <deque>
#include <limits>
#include <mutex>

namespace Brelk::WorldGen {
namespace {

constexpr std::uint64_t kNoFailure = std::numeric_limits<std::uint64_t>::max();

// The state the runners of one run share.
class CellRun {
public:
    CellRun(const CellRunPlan& plan, std::int32_t cellsX, std::int32_t cellsZ)
        : plan_(plan), cellsX_(cellsX), total_(static_cast<std::uint64_t>(cellsX) * static_cast<std::uint64_t>(cellsZ)),
          minX_(GridStart(cellsX)), minZ_(GridStart(cellsZ)) {
        shape_.cellSize = plan.cellSize;
    }

    std::uint64_t Total() const noexcept { return total_; }

    // Takes cells until none is left or one has failed. Each runner keeps its own buffers,
    // so that a cell costs no allocation once the first few have grown them.
    void Run(const GenerationProgressFn* progress) {
        CellContent content;
        std::string text;
        std::string error;
        for (;;) {
            std::uint64_t index = 0;
            WorldCellEntry* entry = nullptr;
            if (!Take(index, entry)) return;
            bool written = false;
            try {
                error.clear();
                written = BuildCell(index, *entry, content, text, error);
                if (!written) Fail(index, std::move(error), nullptr);
            } catch (...) {
                Fail(index, {}, std::current_exception());
            }
            const std::uint64_t size = written ? entry->fileBytes : 0;
            const std::uint64_t done = done_.fetch_add(1, std::memory_order_relaxed) + 1;
            const std::uint64_t bytes = bytes_.fetch_add(size, std::memory_order_relaxed) + size;
            if (progress != nullptr && *progress) (*progress)(GenerationProgress{done, total_, bytes});
        }
    }

    // No cell is handed out after this.
    void Stop() {
        std::lock_guard lock(mutex_);
        stopped_ = true;
    }

    CellRunOutcome TakeOutcome() {
        CellRunOutcome outcome;
        outcome.error = std::move(failureMessage_);
        outcome.exception = failureException_;
        if (outcome.Succeeded()) outcome.entries.assign(entries_.begin(), entries_.end());
        return outcome;
    }

private:
    bool Take(std::uint64_t& index, WorldCellEntry*& entry) {
        std::lock_guard lock(mutex_);
        if (stopped_ || firstFailure_ != kNoFailure || next_ == total_) return false;
        index = next_++;
        // A deque keeps the entries of other runners where they are as it grows.
        entry = &entries_.emplace_back();
        return true;
    }

    bool BuildCell(std::uint64_t index, WorldCellEntry& entry, CellContent& content, std::string& text,
                   std::string& error) {
        const auto row = static_cast<std::int32_t>(index / static_cast<std::uint64_t>(cellsX_));
        const auto column = static_cast<std::int32_t>(index % static_cast<std::uint64_t>(cellsX_));
        entry.coord = CellCoord{minX_ + column, minZ_ + row};
        const glm::vec2 origin = CellOrigin(shape_, entry.coord);

        Scene::Scene scene;
        BuildCellContent(scene, entry.coord, origin.x, origin.y, *plan_.settings, plan_.assets, content);
        entry.entityCount = static_cast<std::uint32_t>(content.entities.size());
        entry.terrainCount = content.terrainCount;

        const std::filesystem::path cellPath = plan_.folder / (CellFileStem(entry.coord) + ".bcell");
        if (!WriteCellFile(cellPath, scene, content.entities, *plan_.assetManager, &error, text)) return false;
        // The file holds exactly the text, so its size needs no question to the file system.
        entry.fileBytes = text.size();
        return true;
    }

    void Fail(std::uint64_t index, std::string message, std::exception_ptr exception) {
        std::lock_guard lock(mutex_);
        if (index > firstFailure_) return;
        firstFailure_ = index;
        failureMessage_ = std::move(message);
        failureException_ = std::move(exception);
    }

    const CellRunPlan& plan_;
    const std::int32_t cellsX_;
    const std::uint64_t total_;
    const std::int32_t minX_;
    const std::int32_t minZ_;
    WorldAsset shape_;

    std::mutex mutex_;
    std::uint64_t next_ = 0;
    bool stopped_ = false;
    std::deque<WorldCellEntry> entries_;
    std::uint64_t firstFailure_ = kNoFailure;
    std::string failureMessage_;
    std::exception_ptr failureException_;

    std::atomic<std::uint64_t> done_{0};
    std::atomic<std::uint64_t> bytes_{0};
};

} // namespace

CellRunOutcome RunCells(const CellRunPlan& plan, const GenerationProgressFn& progress) {
    CellRun run(plan, plan.settings->cellsX, plan.settings->cellsZ);
    Core::Tasks::TaskSystem* tasks = Core::Tasks::TaskSystem::Current();
    const std::uint64_t helpers =
        tasks == nullptr || tasks->IsInline() ? 0 : std::min<std::uint64_t>(tasks->WorkerCount(), run.Total() - 1);

    Core::Tasks::TaskCounter counter;
    for (std::uint64_t i = 0; i < helpers; ++i) {
        tasks->AddTask(Core::Tasks::TaskPriority::Normal, [&run] { run.Run(nullptr); }, counter);
    }
    // The runners on the workers refer to `run`: whatever happens here, they end first.
    std::exception_ptr callerFailure;
    try {
        run.Run(&progress);
    } catch (...) {
        run.Stop();
        callerFailure = std::current_exception();
    }
    if (helpers > 0) tasks->Wait(counter);
    if (callerFailure) std::rethrow_exception(callerFailure);
    return run.TakeOutcome();
}

} // namespace Brelk::WorldGen
