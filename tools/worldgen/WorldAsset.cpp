#include "tools/worldgen/WorldAsset.h"

#include "engine/core/NumberText.h"
#include "engine/platform/Files.h"
#include "tools/worldgen/StreamWords.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <system_error>

namespace Brelk::WorldGen {

namespace {

constexpr std::string_view kHeaderWord = "brelk_world";
constexpr std::int32_t kWorldVersion = 1;
// The writer writes only the latest version.
constexpr std::string_view kHeaderLine = "brelk_world 1\n";
// "cell" and six numbers of at most 20 characters each, with their blanks.
constexpr std::size_t kMaxCellLineChars = 5 + 6 * 21 + 1;

std::int32_t FloorToCell(float value) noexcept {
    const float cell = std::floor(value);
    if (std::isnan(cell)) return 0;
    if (cell >= 2147483648.0f) return std::numeric_limits<std::int32_t>::max();
    if (cell < -2147483648.0f) return std::numeric_limits<std::int32_t>::min();
    return static_cast<std::int32_t>(cell);
}

void AppendFlag(std::string& text, bool value) {
    text += value ? '1' : '0';
}

// The line-by-line grammar. Every failure is one of two messages, both built here.
class WorldTextReader {
public:
    WorldTextReader(std::string_view sourceName, std::string* error) : sourceName_(sourceName), error_(error) {}

    bool Parse(std::string_view text, WorldAsset& world) {
        std::size_t lineNumber = 0;
        while (!text.empty()) {
            ++lineNumber;
            const std::size_t end = text.find('\n');
            std::string_view line = text.substr(0, end);
            text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
            if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
            if (line.empty() || line.front() == '#') continue;
            if (!ParseLine(line, world)) return Invalid(lineNumber);
        }
        if (!headerSeen_) {
            SetError("Not a world file: " + std::string(sourceName_));
            return false;
        }
        SortCells(world.cells);
        return true;
    }

private:
    bool ParseLine(std::string_view line, WorldAsset& world) {
        StreamWords words(line);
        std::string_view word;
        const bool hasWord = words.ReadWord(word);
        if (!headerSeen_) {
            // Until a header stands, nothing else may: an unknown word is no exception.
            if (!hasWord || word != kHeaderWord) return false;
            headerSeen_ = true;
        }
        if (!hasWord) return true;

        if (word == kHeaderWord) {
            std::int32_t version = 0;
            return words.Read(version) && version == kWorldVersion;
        }
        if (word == "cell_size") {
            float size = 0.0f;
            if (!words.Read(size) || !std::isfinite(size) || !(size > 0.0f)) return false;
            world.cellSize = size;
            return true;
        }
        if (word == "origin") {
            float x = 0.0f;
            float z = 0.0f;
            if (!words.Read(x) || !words.Read(z)) return false;
            world.originX = x;
            world.originZ = z;
            return true;
        }
        if (word == "navigation") {
            std::int32_t flag = 0;
            if (!words.Read(flag)) return false;
            world.navigation = flag != 0;
            return true;
        }
        if (word == "cell") {
            WorldCellEntry entry;
            std::int32_t navigation = 0;
            if (!words.Read(entry.coord.x) || !words.Read(entry.coord.z) || !words.Read(entry.entityCount) ||
                !words.Read(entry.fileBytes) || !words.Read(entry.terrainCount) || !words.Read(navigation))
                return false;
            entry.hasNavigation = navigation != 0;
            world.cells.push_back(entry);
            return true;
        }
        // Later versions may add records; this one reads past them.
        return true;
    }

    bool Invalid(std::size_t lineNumber) {
        if (error_ != nullptr) {
            std::string message = "Invalid world file ";
            message += sourceName_;
            message += " at line ";
            Core::AppendInteger(message, lineNumber);
            message += '.';
            *error_ = std::move(message);
        }
        return false;
    }

    void SetError(std::string message) {
        if (error_ != nullptr) *error_ = std::move(message);
    }

    std::string_view sourceName_;
    std::string* error_;
    bool headerSeen_ = false;
};

} // namespace

glm::vec2 CellOrigin(const WorldAsset& world, CellCoord coord) noexcept {
    const float x = static_cast<float>(coord.x) * world.cellSize;
    const float z = static_cast<float>(coord.z) * world.cellSize;
    return glm::vec2(x + world.originX, z + world.originZ);
}

glm::vec2 CellOuterCorner(const WorldAsset& world, CellCoord coord) noexcept {
    const glm::vec2 origin = CellOrigin(world, coord);
    return glm::vec2(origin.x + world.cellSize, origin.y + world.cellSize);
}

CellCoord CellAt(const WorldAsset& world, const glm::vec3& position) noexcept {
    // A zero or negative size would put every position in one cell or divide by zero.
    const float size = std::max(world.cellSize, 0.001f);
    const float x = (position.x - world.originX) / size;
    const float z = (position.z - world.originZ) / size;
    return CellCoord{FloorToCell(x), FloorToCell(z)};
}

float DistanceToCell(const WorldAsset& world, CellCoord coord, const glm::vec3& position) noexcept {
    const glm::vec2 lower = CellOrigin(world, coord);
    const float maxX = lower.x + world.cellSize;
    const float maxZ = lower.y + world.cellSize;
    const float nearestX = std::min(std::max(position.x, lower.x), maxX);
    const float nearestZ = std::min(std::max(position.z, lower.y), maxZ);
    const float dx = nearestX - position.x;
    const float dz = nearestZ - position.z;
    const float dz2 = dz * dz;
    const float dx2 = dx * dx;
    return std::sqrt(dz2 + dx2);
}

std::uint64_t TotalCellFileBytes(const WorldAsset& world) noexcept {
    std::uint64_t total = 0;
    for (const WorldCellEntry& cell : world.cells) total += cell.fileBytes;
    return total;
}

std::filesystem::path CellsFolder(const std::filesystem::path& worldPath) {
    std::filesystem::path folder = worldPath;
    folder += ".cells";
    return folder;
}

std::filesystem::path CellFilePath(const std::filesystem::path& worldPath, CellCoord coord) {
    return CellsFolder(worldPath) / (CellFileStem(coord) + ".bcell");
}

void SortCells(std::vector<WorldCellEntry>& cells) {
    // Stable, so that rows with the same coordinates keep their order and a world that was
    // read writes back the same text.
    std::stable_sort(cells.begin(), cells.end(), [](const WorldCellEntry& a, const WorldCellEntry& b) {
        if (a.coord.z != b.coord.z) return a.coord.z < b.coord.z;
        return a.coord.x < b.coord.x;
    });
}

std::string FormatWorldAssetText(const WorldAsset& world) {
    std::vector<WorldCellEntry> cells = world.cells;
    SortCells(cells);

    std::string text;
    text.reserve(64 + cells.size() * kMaxCellLineChars);
    text += kHeaderLine;
    text += "cell_size ";
    Core::AppendFloat9(text, world.cellSize);
    text += "\norigin ";
    Core::AppendFloat9(text, world.originX);
    text += ' ';
    Core::AppendFloat9(text, world.originZ);
    text += "\nnavigation ";
    AppendFlag(text, world.navigation);
    text += '\n';
    for (const WorldCellEntry& cell : cells) {
        text += "cell ";
        Core::AppendInteger(text, cell.coord.x);
        text += ' ';
        Core::AppendInteger(text, cell.coord.z);
        text += ' ';
        Core::AppendInteger(text, cell.entityCount);
        text += ' ';
        Core::AppendInteger(text, cell.fileBytes);
        text += ' ';
        Core::AppendInteger(text, cell.terrainCount);
        text += ' ';
        AppendFlag(text, cell.hasNavigation);
        text += '\n';
    }
    return text;
}

bool WriteWorldAsset(const std::filesystem::path& path, const WorldAsset& world, std::string* error) {
    const std::string text = FormatWorldAssetText(world);
    if (path.has_parent_path()) {
        // A failure here shows again, with its message, when the file is written.
        std::error_code ignored;
        std::filesystem::create_directories(path.parent_path(), ignored);
    }
    return Platform::WriteFileAtomic(path, text, error);
}

bool ReadWorldAsset(const std::filesystem::path& path, WorldAsset& world, std::string* error) {
    world = WorldAsset{};
    const std::optional<std::vector<std::uint8_t>> bytes = Platform::ReadFileBytes(path, error);
    if (!bytes) return false;
    const std::string_view text(reinterpret_cast<const char*>(bytes->data()), bytes->size());
    return ParseWorldAssetText(text, Platform::PathToUtf8(path), world, error);
}

bool ParseWorldAssetText(std::string_view text, std::string_view sourceName, WorldAsset& world, std::string* error) {
    world = WorldAsset{};
    WorldTextReader reader(sourceName, error);
    if (reader.Parse(text, world)) return true;
    world = WorldAsset{};
    return false;
}

} // namespace Brelk::WorldGen
