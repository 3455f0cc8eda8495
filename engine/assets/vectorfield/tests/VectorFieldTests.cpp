#include "engine/assets/vectorfield/VectorField.h"

#include "engine/assets/tests/AssetTestSupport.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <filesystem>

namespace Brelk::Assets {
namespace {

namespace fs = std::filesystem;
using Brelk::Testing::CountEntries;
using Testing::LogCapture;
using Testing::ReadText;
using Testing::ScratchFolder;
using Testing::WriteText;

VectorFieldAsset MakeField(std::uint32_t width, std::uint32_t height, std::uint32_t depth) {
    VectorFieldAsset field{width, height, depth, {}};
    field.values.resize(std::size_t{width} * height * depth);
    for (std::size_t i = 0; i < field.values.size(); ++i) {
        field.values[i] = glm::vec4(static_cast<float>(i), -0.5f, 1e-3f, static_cast<float>(i % 7));
    }
    return field;
}

TEST(VectorFieldTest, FieldsRoundTripWithTheirExactSizes) {
    ScratchFolder folder;
    const struct {
        VectorFieldAsset field;
        std::uintmax_t bytes;
    } rows[] = {{MakeField(2, 2, 2), 144}, {MakeField(64, 64, 64), 4194320}, {MakeField(3, 5, 2), 496}};
    for (const auto& row : rows) {
        ASSERT_TRUE(WriteVectorField(folder / "Wind.bvfield", row.field));
        EXPECT_EQ(fs::file_size(folder / "Wind.bvfield"), row.bytes);
        VectorFieldAsset loaded;
        std::string error;
        ASSERT_TRUE(ReadVectorField(folder / "Wind.bvfield", &loaded, &error)) << error;
        EXPECT_EQ(loaded, row.field);
    }
    EXPECT_EQ(ReadText(folder / "Wind.bvfield").substr(0, 16), std::string("BVF1\x03\0\0\0\x05\0\0\0\x02\0\0\0", 16));
}

TEST(VectorFieldTest, BadSizesAndBrokenFilesGiveTheirMessagesAndChangeNeitherFileNorField) {
    ScratchFolder folder;
    ASSERT_TRUE(WriteVectorField(folder / "Good.bvfield", MakeField(2, 2, 2)));
    const std::string good = ReadText(folder / "Good.bvfield");
    VectorFieldAsset shortValues = MakeField(2, 2, 2);
    shortValues.values.pop_back();
    for (const VectorFieldAsset& field : {MakeField(1, 2, 2), MakeField(2, 65, 2), MakeField(2, 2, 0), shortValues}) {
        std::string error;
        EXPECT_FALSE(WriteVectorField(folder / "Good.bvfield", field, &error));
        EXPECT_EQ(error, "Vector field size is invalid.");
    }
    fs::create_directories(folder / "Wind.bvfield");
    std::string error;
    EXPECT_FALSE(WriteVectorField(folder / "Wind.bvfield", MakeField(2, 2, 2), &error));
    EXPECT_TRUE(error.starts_with("Cannot replace vector field file: ")) << error;
    EXPECT_EQ(ReadText(folder / "Good.bvfield"), good);
    EXPECT_EQ(CountEntries(folder.Path()), 2u);

    auto withU32At = [&](std::size_t offset, std::uint32_t value) {
        std::string bytes = good;
        for (int i = 0; i < 4; ++i) bytes[offset + i] = static_cast<char>(value >> (8 * i));
        return bytes;
    };
    const float nan = std::nanf("");
    std::string nanW = good;
    std::memcpy(nanW.data() + 16 + 5 * 16 + 12, &nan, 4);
    const std::pair<std::string, const char*> rows[] = {
        {good.substr(0, 15), "Not a vector field file."},
        {"BVF2" + good.substr(4), "Not a vector field file."},
        {withU32At(4, 1), "Vector field size is out of range."},
        {withU32At(12, 65), "Vector field size is out of range."},
        {good.substr(0, good.size() - 1), "Vector field file is truncated."},
        {good + '\0', "Vector field file has bytes past its last element."},
        {nanW, "Vector field contains non-finite values."},
    };
    for (const auto& [bytes, message] : rows) {
        WriteText(folder / "Bad.bvfield", bytes);
        VectorFieldAsset field = MakeField(3, 3, 3);
        std::string error;
        EXPECT_FALSE(ReadVectorField(folder / "Bad.bvfield", &field, &error)) << message;
        EXPECT_EQ(error, message);
        EXPECT_EQ(field, MakeField(3, 3, 3));
    }
    VectorFieldAsset field;
    EXPECT_FALSE(ReadVectorField(folder / "None.bvfield", &field, &error));
    EXPECT_EQ(error, "Cannot open vector field file.");
    LogCapture log;
    EXPECT_FALSE(LoadVectorFieldAsset(folder / "None.bvfield", "Wind"));
    EXPECT_EQ(log.Messages(Core::LogLevel::Warning),
              std::vector<std::string>{"Vector field 'Wind' was not loaded: Cannot open vector field file."});
}

} // namespace
} // namespace Brelk::Assets
