#pragma once

#include "tools/worldgen/WorldAsset.h"
#include "tools/worldview/CellDrawing.h"

#include <filesystem>

#include <cstdint>
#include <limits>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace Brelk::WorldView {

// The side that the default scale keeps the picture within.
inline constexpr std::uint32_t kDefaultPictureSide = 4096;
// Pixels of the largest picture drawn: its buffers take about 9 bytes a pixel.
inline constexpr std::uint64_t kMaxPicturePixels = std::uint64_t{1} << 26;

// Where the picture lies in the world: north (+Z) up, east (+X) right. Worked out in double
// precision from the grid lines alone, so that neighbouring cells share their pixel edge.
struct PictureGeometry {
    double minX = 0.0; // world X of the picture's left edge
    double minZ = 0.0; // world Z of its bottom edge
    double cellSize = 1.0;
    double pixelSize = 1.0;      // metres per pixel
    double pixelsPerSample = 1.0; // --scale, or the default's possibly fractional value
    std::int32_t firstCellX = 0;
    std::int32_t firstCellZ = 0;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
};

// Plans the picture of the listed cells' bounding rectangle. `sampleSpacing` is the metres
// between two terrain samples; without `scale` the picture gets the largest whole number of
// pixels per sample that keeps both sides within kDefaultPictureSide, or a fraction of one
// when even one is too many. False, with the reason, for a world without cells or a picture
// of more than kMaxPicturePixels.
[[nodiscard]] bool PlanPicture(const WorldGen::WorldAsset& world, double sampleSpacing,
                               std::optional<std::uint32_t> scale, PictureGeometry& geometry, std::string* error);

// The picture while the cells come in: heights and what covers each pixel. Each cell writes
// only the pixels whose centres lie in its own square, so cells may be drawn at once from
// several threads, in any order, with the same result.
class WorldCanvas {
public:
    explicit WorldCanvas(const PictureGeometry& geometry);

    const PictureGeometry& Geometry() const noexcept { return geometry_; }

    // Terrain where a tile covers a pixel, the neutral colour elsewhere in the cell, and a
    // dot for every prop (which may stand outside its cell).
    void DrawCell(WorldGen::CellCoord coord, const CellDrawing& drawing);
    // A cell that could not be read shows in a colour of its own.
    void MarkUnreadable(WorldGen::CellCoord coord);

    // 8-bit RGB rows [begin, end) from the top, into `out`: shaded relief under a colour ramp
    // from the lowest to the highest ground, lit from the north-west. Rows may be rendered
    // from several threads at once.
    void RenderRows(std::uint32_t begin, std::uint32_t end, std::uint8_t* out) const;

private:
    enum Cover : std::uint8_t { Outside = 0, Bare = 1, Ground = 2, Unreadable = 3 };

    struct PixelSpan {
        std::uint32_t begin = 0;
        std::uint32_t end = 0;
    };
    PixelSpan Columns(WorldGen::CellCoord coord) const noexcept;
    PixelSpan RowsFromBottom(WorldGen::CellCoord coord) const noexcept;
    void Fill(WorldGen::CellCoord coord, Cover cover);
    void DrawTerrain(PixelSpan columns, PixelSpan rows, const TerrainTile& tile);
    void DrawProp(const glm::vec3& position);
    void RenderRow(std::uint32_t row, std::uint8_t* out) const;

    PictureGeometry geometry_;
    std::vector<float> heights_;
    std::vector<std::uint8_t> cover_;
    // Written through atomic references: a prop may fall into a neighbour's pixels.
    std::unique_ptr<std::uint8_t[]> props_;
    std::int32_t propRadius_ = 0;
    // The lowest and highest ground drawn, which span the colour ramp.
    std::mutex rangeMutex_;
    float lowest_ = std::numeric_limits<float>::infinity();
    float highest_ = -std::numeric_limits<float>::infinity();
};

// Renders the finished canvas in bands of rows on the task system's workers while the
// calling thread compresses the bands before them, and writes the PNG atomically.
[[nodiscard]] bool WriteWorldPicture(const WorldCanvas& canvas, const std::filesystem::path& path,
                                     std::string* error);

} // namespace Brelk::WorldView
