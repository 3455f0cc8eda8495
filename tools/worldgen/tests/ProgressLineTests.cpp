#include "tools/worldgen/ProgressLine.h"

#include <gtest/gtest.h>

#include <sstream>

namespace Brelk::WorldGen {
namespace {

using namespace std::chrono_literals;

TEST(ProgressLine, FormatsCellsMegabytesTimeAndWhatIsLeft) {
    const struct {
        GenerationProgress progress;
        std::chrono::milliseconds elapsed;
        const char* text;
    } rows[] = {
        {{0, 576, 0}, 0ms, "Cells 0/576, 0.0 MB, 0.0 s"},
        {{144, 576, 15728640}, 1500ms, "Cells 144/576, 15.0 MB, 1.5 s, about 4.5 s left"},
        {{576, 576, 60293120}, 4250ms, "Cells 576/576, 57.5 MB, 4.2 s"},
    };
    for (const auto& row : rows) EXPECT_EQ(ProgressLine::Format(row.progress, row.elapsed), row.text);
}

TEST(ProgressLine, RedrawsInPlaceAtMostTenTimesASecondAndErasesItself) {
    std::ostringstream terminal;
    const ProgressLine::Clock::time_point start{};
    ProgressLine line(terminal, start);
    line.Update({10, 100, 0}, start + 1000ms);
    line.Update({11, 100, 0}, start + 1050ms); // too soon: not drawn
    line.Update({9, 1000, 0}, start + 1100ms);
    line.Erase();
    const std::string first = "Cells 10/100, 0.0 MB, 1.0 s, about 9.0 s left";
    const std::string second = "Cells 9/1000, 0.0 MB, 1.1 s, about 121.1 s left";
    EXPECT_EQ(terminal.str(), "\r" + first + "\r" + second + "\r" + std::string(second.size(), ' ') + "\r");
}

} // namespace
} // namespace Brelk::WorldGen
