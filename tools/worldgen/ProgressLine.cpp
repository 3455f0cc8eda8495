#include "tools/worldgen/ProgressLine.h"

#include "engine/core/NumberText.h"

#include <charconv>
#include <ostream>

namespace Brelk::WorldGen {
namespace {

constexpr auto kRedrawInterval = std::chrono::milliseconds(100);
constexpr double kBytesToMegabytes = 9.5367431640625e-7; // 2^-20

void AppendTenths(std::string& text, double value) {
    char buffer[32];
    const auto [end, code] = std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed, 1);
    if (code == std::errc{}) text.append(buffer, end);
}

} // namespace

ProgressLine::ProgressLine(std::ostream& terminal, Clock::time_point start) : terminal_(terminal), start_(start) {}

std::string ProgressLine::Format(const GenerationProgress& progress, Clock::duration elapsed) {
    const double seconds = std::chrono::duration<double>(elapsed).count();
    std::string line = "Cells ";
    Core::AppendInteger(line, progress.cellsDone);
    line += '/';
    Core::AppendInteger(line, progress.cellsTotal);
    line += ", ";
    AppendTenths(line, static_cast<double>(progress.bytesWritten) * kBytesToMegabytes);
    line += " MB, ";
    AppendTenths(line, seconds);
    line += " s";
    if (progress.cellsDone > 0 && progress.cellsDone < progress.cellsTotal) {
        const double left = seconds * static_cast<double>(progress.cellsTotal - progress.cellsDone) /
                            static_cast<double>(progress.cellsDone);
        line += ", about ";
        AppendTenths(line, left);
        line += " s left";
    }
    return line;
}

void ProgressLine::Update(const GenerationProgress& progress, Clock::time_point now) {
    if (drawn_ && now - lastDrawn_ < kRedrawInterval) return;
    const std::string line = Format(progress, now - start_);
    std::string draw = "\r" + line;
    // A shorter line covers the tail of the one before it.
    if (line.size() < width_) draw.append(width_ - line.size(), ' ');
    width_ = std::max(width_, line.size());
    terminal_ << draw << std::flush;
    lastDrawn_ = now;
    drawn_ = true;
}

void ProgressLine::Erase() {
    if (!drawn_) return;
    terminal_ << '\r' << std::string(width_, ' ') << '\r' << std::flush;
    drawn_ = false;
    width_ = 0;
}

} // namespace Brelk::WorldGen
