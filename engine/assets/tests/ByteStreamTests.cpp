#include "engine/assets/ByteStream.h"

#include "tests/support/TestSupport.h"

#include <gtest/gtest.h>

#include <cmath>
#include <stdexcept>
#include <string>
#include <vector>

namespace Brelk::Assets {
namespace {

using Testing::ThrownMessage;

TEST(ByteStreamTest, WritesLittleEndianAndReadsBackWhatWasWritten) {
    ByteWriter writer;
    writer.WriteU8(0x01);
    writer.WriteU16(0x0302);
    writer.WriteU32(0x07060504);
    writer.WriteU64(0x0f0e0d0c0b0a0908ull);
    writer.WriteString("hi");
    EXPECT_EQ(writer.Bytes(), (std::vector<std::uint8_t>{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 2, 0, 0,
                                                         0, 'h', 'i'}));
    writer.WriteF32(-0.0f);
    ByteReader reader(writer.Bytes());
    EXPECT_EQ(reader.ReadU8(), 1);
    EXPECT_EQ(reader.ReadU16(), 0x0302);
    EXPECT_EQ(reader.ReadU32(), 0x07060504u);
    EXPECT_EQ(reader.ReadU64(), 0x0f0e0d0c0b0a0908ull);
    EXPECT_EQ(reader.ReadString(2), "hi");
    EXPECT_TRUE(std::signbit(reader.ReadF32()));
    EXPECT_TRUE(reader.AtEnd());
}

TEST(ByteStreamTest, RefusesReadsPastTheEndWithoutMovingAndHoldsStringsAndCountsAgainstTheirLimitFirst) {
    const std::vector<std::uint8_t> bytes{1, 2, 3};
    ByteReader reader(bytes);
    EXPECT_EQ(ThrownMessage([&] { reader.ReadU32(); }), "Cooked data ends early.");
    EXPECT_EQ(reader.Position(), 0u);
    EXPECT_EQ(reader.ReadU16(), 0x0201);
    EXPECT_EQ(ThrownMessage([&] { reader.ReadU16(); }), "Cooked data ends early.");

    ByteWriter writer;
    writer.WriteU32(10);
    ByteReader strings(writer.Bytes());
    EXPECT_EQ(ThrownMessage([&] { strings.ReadString(9); }), "Cooked string exceeds its limit.");
    EXPECT_EQ(ThrownMessage([&] { strings.ReadString(10); }), "Cooked data ends early.");
    writer.WriteU32(0);
    writer.WriteU32(0);
    writer.WriteU16(0);
    ByteReader counts(writer.Bytes());
    EXPECT_EQ(ThrownMessage([&] { counts.ReadCount(1, 9); }), "Cooked item count exceeds its limit.");
    EXPECT_EQ(ThrownMessage([&] { counts.ReadCount(2, 10); }), "Cooked item count exceeds the data.");
    EXPECT_EQ(counts.ReadCount(1, 10), 10u);
    ByteWriter sizeless;
    sizeless.WriteU32(1000);
    EXPECT_EQ(ByteReader(sizeless.Bytes()).ReadCount(0, 1000), 1000u); // no item size: no data check
}

} // namespace
} // namespace Brelk::Assets
