#include "tools/worldview/WorldPicture.h"

#include "engine/core/NumberText.h"
#include "engine/core/TaskSystem.h"
#include "tools/worldview/PngFile.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <charconv>
#include <cmath>
#include <deque>
#include <limits>

namespace Brelk::WorldView {
namespace {

// libpng refuses wider or taller images by default.
constexpr double kMaxPictureSide = 1000000.0;
// A world without terrain still needs a sample to scale by: that of the generator's
// default tile, 33 samples along a cell.
constexpr double kBareSamplesPerCell = 32.0;

struct Rgb {
    float r, g, b;
};

constexpr Rgb kOutsideColour{32.0f, 32.0f, 36.0f};
constexpr Rgb kBareColour{160.0f, 160.0f, 160.0f};
constexpr Rgb kUnreadableColour{150.0f, 20.0f, 150.0f};
constexpr std::array<std::uint8_t, 3> kPropColour{178, 34, 34};

// Lowland green through grass and sand to rock and snow.
struct RampStop {
    float at;
    Rgb colour;
};
constexpr std::array<RampStop, 5> kRamp{{
    {0.0f, {38.0f, 86.0f, 52.0f}},
    {0.3f, {92.0f, 140.0f, 72.0f}},
    {0.55f, {170.0f, 168.0f, 100.0f}},
    {0.8f, {150.0f, 112.0f, 78.0f}},
    {1.0f, {236.0f, 234.0f, 228.0f}},
}};

// Unit vector towards the light, (east, north, up): from the north-west, 45 degrees high.
constexpr float kLightEast = -0.5f;
constexpr float kLightNorth = 0.5f;
constexpr float kLightUp = 0.707106781f;
// Heights are stretched so that the gentle slopes of a cell still cast visible shade.
constexpr float kReliefExaggeration = 8.0f;
// Light that even a slope turned away from the sun keeps.
constexpr float kAmbient = 0.3f;

Rgb RampAt(float t) noexcept {
    for (std::size_t i = 1; i < kRamp.size(); ++i) {
        if (t <= kRamp[i].at) {
            const RampStop& a = kRamp[i - 1];
            const RampStop& b = kRamp[i];
            const float f = (t - a.at) / (b.at - a.at);
            return {a.colour.r + (b.colour.r - a.colour.r) * f, a.colour.g + (b.colour.g - a.colour.g) * f,
                    a.colour.b + (b.colour.b - a.colour.b) * f};
        }
    }
    return kRamp.back().colour;
}

// The ramp in steps far finer than a channel's, looked up per pixel.
constexpr std::size_t kRampSteps = 1024;

const std::array<Rgb, kRampSteps>& RampTable() {
    static const std::array<Rgb, kRampSteps> table = [] {
        std::array<Rgb, kRampSteps> steps{};
        for (std::size_t i = 0; i < kRampSteps; ++i) {
            steps[i] = RampAt(static_cast<float>(i) / static_cast<float>(kRampSteps - 1));
        }
        return steps;
    }();
    return table;
}

// Heights out of a hostile file may overflow into infinities and NaN on the way here.
std::uint8_t Channel(float value) noexcept {
    if (!(value > 0.0f)) return 0;
    if (value >= 255.0f) return 255;
    return static_cast<std::uint8_t>(value + 0.5f);
}

void Put(std::uint8_t* out, const Rgb& colour) noexcept {
    out[0] = Channel(colour.r);
    out[1] = Channel(colour.g);
    out[2] = Channel(colour.b);
}

// The first pixel whose centre lies at or beyond grid line `line` (counted from the
// picture's first cell).
std::uint32_t GridLinePixel(std::int64_t line, double cellSize, double pixelSize, std::uint32_t size) noexcept {
    const double at = std::ceil(static_cast<double>(line) * cellSize / pixelSize - 0.5);
    if (!(at > 0.0)) return 0;
    return at >= static_cast<double>(size) ? size : static_cast<std::uint32_t>(at);
}

std::string WholeNumber(double value) {
    char buffer[400];
    const auto end = std::to_chars(buffer, buffer + sizeof(buffer), value, std::chars_format::fixed, 0).ptr;
    return std::string(buffer, end);
}

// Where a pixel centre falls between two samples of a tile: the lower sample and the
// fraction towards the next; no sample when it lies outside the tile.
struct SampleStep {
    std::uint32_t index = 0;
    float fraction = 0.0f;
    bool inside = false;
};

SampleStep LocateSample(double at, std::uint32_t resolution) noexcept {
    constexpr double kSlack = 1e-3;
    const double last = resolution - 1.0;
    if (!(at >= -kSlack && at <= last + kSlack)) return {};
    at = std::clamp(at, 0.0, last);
    const std::uint32_t index = std::min(static_cast<std::uint32_t>(at), resolution - 2);
    return {index, static_cast<float>(at - index), true};
}

} // namespace

bool PlanPicture(const WorldGen::WorldAsset& world, double sampleSpacing, std::optional<std::uint32_t> scale,
                 PictureGeometry& geometry, std::string* error) {
    if (world.cells.empty()) {
        if (error != nullptr) *error = "The world has no cells to draw.";
        return false;
    }
    std::int32_t minX = world.cells.front().coord.x, maxX = minX;
    std::int32_t minZ = world.cells.front().coord.z, maxZ = minZ;
    for (const WorldGen::WorldCellEntry& cell : world.cells) {
        minX = std::min(minX, cell.coord.x);
        maxX = std::max(maxX, cell.coord.x);
        minZ = std::min(minZ, cell.coord.z);
        maxZ = std::max(maxZ, cell.coord.z);
    }
    const double cellSize = world.cellSize;
    if (!(sampleSpacing > 0.0) || !std::isfinite(sampleSpacing)) sampleSpacing = cellSize / kBareSamplesPerCell;
    const double spanX = static_cast<double>(std::int64_t{maxX} - minX + 1);
    const double spanZ = static_cast<double>(std::int64_t{maxZ} - minZ + 1);
    const double samples = std::max(spanX, spanZ) * cellSize / sampleSpacing;

    double pixelsPerSample = 0.0;
    if (scale.has_value()) {
        pixelsPerSample = *scale;
    } else {
        const double whole = std::floor(kDefaultPictureSide / samples);
        pixelsPerSample = whole >= 1.0 ? whole : kDefaultPictureSide / samples;
    }
    const double pixelSize = sampleSpacing / pixelsPerSample;
    const double width = std::max(1.0, std::ceil(spanX * cellSize / pixelSize - 0.5));
    const double height = std::max(1.0, std::ceil(spanZ * cellSize / pixelSize - 0.5));
    if (!(width <= kMaxPictureSide && height <= kMaxPictureSide &&
          width * height <= static_cast<double>(kMaxPicturePixels))) {
        if (error != nullptr) {
            *error = "The picture would be " + WholeNumber(width) + " x " + WholeNumber(height) +
                     " pixels, more than " + std::to_string(kMaxPicturePixels) + "; give a smaller --scale.";
        }
        return false;
    }
    geometry.minX = static_cast<double>(minX) * cellSize + world.originX;
    geometry.minZ = static_cast<double>(minZ) * cellSize + world.originZ;
    geometry.cellSize = cellSize;
    geometry.pixelSize = pixelSize;
    geometry.pixelsPerSample = pixelsPerSample;
    geometry.firstCellX = minX;
    geometry.firstCellZ = minZ;
    geometry.width = static_cast<std::uint32_t>(width);
    geometry.height = static_cast<std::uint32_t>(height);
    return true;
}

WorldCanvas::WorldCanvas(const PictureGeometry& geometry)
    : geometry_(geometry),
      heights_(std::size_t{geometry.width} * geometry.height, 0.0f),
      cover_(heights_.size(), Outside),
      props_(new std::uint8_t[heights_.size()]()),
      propRadius_(static_cast<std::int32_t>(std::min(8.0, std::floor(geometry.pixelsPerSample / 4.0)))) {}

WorldCanvas::PixelSpan WorldCanvas::Columns(WorldGen::CellCoord coord) const noexcept {
    const std::int64_t line = std::int64_t{coord.x} - geometry_.firstCellX;
    return {GridLinePixel(line, geometry_.cellSize, geometry_.pixelSize, geometry_.width),
            GridLinePixel(line + 1, geometry_.cellSize, geometry_.pixelSize, geometry_.width)};
}

WorldCanvas::PixelSpan WorldCanvas::RowsFromBottom(WorldGen::CellCoord coord) const noexcept {
    const std::int64_t line = std::int64_t{coord.z} - geometry_.firstCellZ;
    return {GridLinePixel(line, geometry_.cellSize, geometry_.pixelSize, geometry_.height),
            GridLinePixel(line + 1, geometry_.cellSize, geometry_.pixelSize, geometry_.height)};
}

void WorldCanvas::Fill(WorldGen::CellCoord coord, Cover cover) {
    const PixelSpan columns = Columns(coord);
    const PixelSpan rows = RowsFromBottom(coord);
    for (std::uint32_t b = rows.begin; b < rows.end; ++b) {
        const std::size_t row = std::size_t{geometry_.height - 1 - b} * geometry_.width;
        std::fill(cover_.begin() + row + columns.begin, cover_.begin() + row + columns.end, cover);
    }
}

void WorldCanvas::DrawCell(WorldGen::CellCoord coord, const CellDrawing& drawing) {
    Fill(coord, Bare);
    const PixelSpan columns = Columns(coord);
    const PixelSpan rows = RowsFromBottom(coord);
    for (const TerrainTile& tile : drawing.terrains) {
        if (tile.resolutionX >= 2 && tile.resolutionZ >= 2) DrawTerrain(columns, rows, tile);
    }
    for (const glm::vec3& prop : drawing.props) DrawProp(prop);
}

void WorldCanvas::MarkUnreadable(WorldGen::CellCoord coord) {
    Fill(coord, Unreadable);
}

void WorldCanvas::DrawTerrain(PixelSpan columns, PixelSpan rows, const TerrainTile& tile) {
    const double p = geometry_.pixelSize;
    const double uPerMetre = (tile.resolutionX - 1.0) / tile.width;
    const double vPerMetre = (tile.resolutionZ - 1.0) / tile.length;
    float lowest = std::numeric_limits<float>::infinity();
    float highest = -std::numeric_limits<float>::infinity();
    std::vector<SampleStep> across(columns.end - columns.begin);
    for (std::uint32_t c = columns.begin; c < columns.end; ++c) {
        const double x = geometry_.minX + (c + 0.5) * p;
        across[c - columns.begin] = LocateSample((x - tile.minX) * uPerMetre, tile.resolutionX);
    }
    for (std::uint32_t b = rows.begin; b < rows.end; ++b) {
        const double z = geometry_.minZ + (b + 0.5) * p;
        const SampleStep along = LocateSample((z - tile.minZ) * vPerMetre, tile.resolutionZ);
        if (!along.inside) continue;
        const float* southRow = tile.heights.data() + std::size_t{along.index} * tile.resolutionX;
        const float* northRow = southRow + tile.resolutionX;
        const std::size_t row = std::size_t{geometry_.height - 1 - b} * geometry_.width;
        for (std::uint32_t c = columns.begin; c < columns.end; ++c) {
            const SampleStep step = across[c - columns.begin];
            if (!step.inside) continue;
            const float* s = southRow + step.index;
            const float* n = northRow + step.index;
            const float south = s[0] + (s[1] - s[0]) * step.fraction;
            const float north = n[0] + (n[1] - n[0]) * step.fraction;
            const float height = south + (north - south) * along.fraction;
            if (!std::isfinite(height)) continue;
            heights_[row + c] = height;
            cover_[row + c] = Ground;
            lowest = std::min(lowest, height);
            highest = std::max(highest, height);
        }
    }
    const std::lock_guard<std::mutex> lock(rangeMutex_);
    lowest_ = std::min(lowest_, lowest);
    highest_ = std::max(highest_, highest);
}

void WorldCanvas::DrawProp(const glm::vec3& position) {
    const double column = std::floor((position.x - geometry_.minX) / geometry_.pixelSize);
    const double fromBottom = std::floor((position.z - geometry_.minZ) / geometry_.pixelSize);
    const double reach = propRadius_;
    if (!(column >= -reach && column < geometry_.width + reach && fromBottom >= -reach &&
          fromBottom < geometry_.height + reach)) {
        return;
    }
    const auto cx = static_cast<std::int64_t>(column);
    const auto cy = static_cast<std::int64_t>(geometry_.height - 1) - static_cast<std::int64_t>(fromBottom);
    const std::int64_t r = propRadius_;
    for (std::int64_t dy = -r; dy <= r; ++dy) {
        for (std::int64_t dx = -r; dx <= r; ++dx) {
            const std::int64_t x = cx + dx;
            const std::int64_t y = cy + dy;
            if (dx * dx + dy * dy > r * r + r || x < 0 || y < 0 || x >= geometry_.width || y >= geometry_.height) {
                continue;
            }
            std::atomic_ref<std::uint8_t>(props_[static_cast<std::size_t>(y) * geometry_.width +
                                                 static_cast<std::size_t>(x)])
                .store(1, std::memory_order_relaxed);
        }
    }
}

void WorldCanvas::RenderRow(std::uint32_t row, std::uint8_t* out) const {
    const std::size_t width = geometry_.width;
    const std::size_t start = std::size_t{row} * width;
    const float lowest = lowest_;
    const float span = highest_ - lowest_;
    // Non-finite when the ground spans more than a float holds; then all of it takes the middle.
    const float toStep = span > 0.0f ? static_cast<float>(kRampSteps - 1) / span : 0.0f;
    const std::size_t flatStep = std::isfinite(toStep) && toStep > 0.0f ? 0 : kRampSteps / 2;
    const std::array<Rgb, kRampSteps>& ramp = RampTable();
    const float across = 1.0f / (2.0f * static_cast<float>(geometry_.pixelSize)) * kReliefExaggeration;
    const std::uint8_t* cover = cover_.data() + start;
    const float* heights = heights_.data() + start;
    const float* above = row > 0 ? heights - width : heights;
    const std::uint8_t* coverAbove = row > 0 ? cover - width : cover;
    const float* below = row + 1 < geometry_.height ? heights + width : heights;
    const std::uint8_t* coverBelow = row + 1 < geometry_.height ? cover + width : cover;
    for (std::size_t c = 0; c < width; ++c, out += 3) {
        if (props_[start + c] != 0) {
            std::copy(kPropColour.begin(), kPropColour.end(), out);
            continue;
        }
        if (cover[c] != Ground) {
            Put(out, cover[c] == Bare ? kBareColour : cover[c] == Unreadable ? kUnreadableColour : kOutsideColour);
            continue;
        }
        // Central differences where both neighbours are ground, one-sided at its edge.
        const float h = heights[c];
        const float west = c > 0 && cover[c - 1] == Ground ? heights[c - 1] : h;
        const float east = c + 1 < width && cover[c + 1] == Ground ? heights[c + 1] : h;
        const float north = coverAbove[c] == Ground ? above[c] : h;
        const float south = coverBelow[c] == Ground ? below[c] : h;
        const float eastward = (east - west) * across;
        const float northward = (north - south) * across;
        const float facing = (-eastward * kLightEast - northward * kLightNorth + kLightUp) /
                             std::sqrt(eastward * eastward + northward * northward + 1.0f);
        const float light = kAmbient + (1.0f - kAmbient) * std::max(0.0f, facing) / kLightUp;
        const float step = (h - lowest) * toStep;
        const std::size_t index =
            flatStep != 0 ? flatStep : step >= 0.0f ? std::min(kRampSteps - 1, static_cast<std::size_t>(step + 0.5f)) : 0;
        const Rgb& colour = ramp[index];
        Put(out, {colour.r * light, colour.g * light, colour.b * light});
    }
}

void WorldCanvas::RenderRows(std::uint32_t begin, std::uint32_t end, std::uint8_t* out) const {
    const std::size_t stride = std::size_t{geometry_.width} * 3;
    for (std::uint32_t row = begin; row < end; ++row, out += stride) RenderRow(row, out);
}

bool WriteWorldPicture(const WorldCanvas& canvas, const std::filesystem::path& path, std::string* error) {
    constexpr std::uint32_t kBandRows = 32;
    Core::Tasks::TaskSystem& tasks = Core::Tasks::TaskSystem::Get();
    const std::size_t window = 2 * (std::size_t{tasks.WorkerCount()} + 1);
    const PictureGeometry& geometry = canvas.Geometry();
    const std::size_t stride = std::size_t{geometry.width} * 3;

    struct Band {
        std::uint32_t begin = 0;
        std::vector<std::uint8_t> rgb;
        Core::Tasks::TaskCounter counter;
    };
    std::deque<std::shared_ptr<Band>> bands;
    std::uint32_t nextBand = 0;
    const auto submitUpTo = [&](std::size_t count) {
        while (bands.size() < count && nextBand < geometry.height) {
            auto band = std::make_shared<Band>();
            band->begin = nextBand;
            const std::uint32_t end = std::min(geometry.height, nextBand + kBandRows);
            band->rgb.resize((end - nextBand) * stride);
            band->counter = tasks.Submit(Core::Tasks::TaskPriority::Normal, [&canvas, band, end] {
                canvas.RenderRows(band->begin, end, band->rgb.data());
            });
            bands.push_back(std::move(band));
            nextBand = end;
        }
    };
    const PngRowSource rows = [&](std::uint32_t row) -> const std::uint8_t* {
        if (row - bands.front()->begin >= kBandRows) bands.pop_front();
        submitUpTo(window);
        tasks.Wait(bands.front()->counter);
        return bands.front()->rgb.data() + (row - bands.front()->begin) * stride;
    };
    // However the encode ends, no band may still be reading the canvas afterwards.
    struct Drain {
        Core::Tasks::TaskSystem& tasks;
        const std::deque<std::shared_ptr<Band>>& bands;
        ~Drain() {
            for (const std::shared_ptr<Band>& band : bands) {
                try {
                    tasks.Wait(band->counter);
                } catch (...) {
                    // The encode has failed already; its own failure is the one reported.
                }
            }
        }
    } drain{tasks, bands};
    submitUpTo(window);
    return WritePngFile(path, geometry.width, geometry.height, rows, error);
}

} // namespace Brelk::WorldView
