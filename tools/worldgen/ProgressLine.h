#pragma once

#include "tools/worldgen/WorldGenerator.h"

#include <chrono>
#include <cstddef>
#include <iosfwd>
#include <string>

namespace Brelk::WorldGen {

// One line on a terminal that tells how far a generation has come: cells done of all,
// megabytes written, time so far and an estimate of the rest. Redrawn in place at most ten
// times a second; Erase leaves the cursor at the start of an empty line.
class ProgressLine {
public:
    using Clock = std::chrono::steady_clock;

    explicit ProgressLine(std::ostream& terminal, Clock::time_point start = Clock::now());

    void Update(const GenerationProgress& progress, Clock::time_point now = Clock::now());
    void Erase();

    // The text of the line, without the carriage return that goes before it.
    static std::string Format(const GenerationProgress& progress, Clock::duration elapsed);

private:
    std::ostream& terminal_;
    Clock::time_point start_;
    Clock::time_point lastDrawn_{};
    bool drawn_ = false;
    std::size_t width_ = 0;
};

} // namespace Brelk::WorldGen
