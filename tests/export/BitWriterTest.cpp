#include "export/BitWriter.h"
#include "export/BitReader.h"

#include <gtest/gtest.h>

#include <string>

namespace {

// The written bits as a string of '0' and '1' (whole bytes only).
std::string bitString(const BitWriter& writer)
{
    std::string text;
    for (const uint8_t byte : writer.bytes()) {
        for (int i = 7; i >= 0; --i)
            text += ((byte >> i) & 1) ? '1' : '0';
    }
    return text;
}

std::string ueBits(uint32_t value)
{
    BitWriter writer;
    writer.putUe(value);
    const int64_t length = writer.bitCount();
    writer.putTrailingBits();
    return bitString(writer).substr(0, static_cast<size_t>(length));
}

std::string seBits(int32_t value)
{
    BitWriter writer;
    writer.putSe(value);
    const int64_t length = writer.bitCount();
    writer.putTrailingBits();
    return bitString(writer).substr(0, static_cast<size_t>(length));
}

} // namespace

TEST(BitWriter, FixedWidthFieldsGoMostSignificantBitFirst)
{
    BitWriter writer;
    writer.putBits(0b101, 3);
    writer.putBits(0b00001, 5);
    writer.putBits(0xABCD, 16);
    EXPECT_TRUE(writer.byteAligned());
    EXPECT_EQ(writer.bitCount(), 24);
    EXPECT_EQ(writer.bytes(), (std::vector<uint8_t>{0xA1, 0xAB, 0xCD}));
}

TEST(BitWriter, UnsignedExpGolombCodes)
{
    EXPECT_EQ(ueBits(0), "1");
    EXPECT_EQ(ueBits(1), "010");
    EXPECT_EQ(ueBits(2), "011");
    EXPECT_EQ(ueBits(3), "00100");
    EXPECT_EQ(ueBits(6), "00111");
    EXPECT_EQ(ueBits(7), "0001000");
    // A 1080p picture's macroblock count, the skip run of a whole picture.
    EXPECT_EQ(ueBits(8160), "000000000000"
                            "1"
                            "111111100001");
}

TEST(BitWriter, SignedExpGolombCodes)
{
    EXPECT_EQ(seBits(0), "1");
    EXPECT_EQ(seBits(1), "010");
    EXPECT_EQ(seBits(-1), "011");
    EXPECT_EQ(seBits(2), "00100");
    EXPECT_EQ(seBits(-2), "00101");
}

TEST(BitWriter, TrailingBitsAreAOneThenZerosToTheByteEnd)
{
    BitWriter writer;
    writer.putBits(0b11, 2);
    writer.putTrailingBits();
    EXPECT_EQ(writer.bytes(), (std::vector<uint8_t>{0b11100000}));
    writer.putTrailingBits(); // aligned already: a whole byte 0x80
    EXPECT_EQ(writer.bytes(), (std::vector<uint8_t>{0b11100000, 0x80}));
}

TEST(BitWriter, CodesReadBackThroughTheBitReader)
{
    BitWriter writer;
    const std::vector<uint32_t> unsignedValues{0, 1, 2, 30, 255, 8160, 32400, 65535, 4294967294U};
    const std::vector<int32_t> signedValues{0, 1, -1, 26, -26, 100000, -100000};
    for (const uint32_t value : unsignedValues)
        writer.putUe(value);
    for (const int32_t value : signedValues)
        writer.putSe(value);
    writer.putBits(0x5, 3);
    writer.putTrailingBits();
    BitReader reader(writer.bytes());
    for (const uint32_t value : unsignedValues)
        EXPECT_EQ(reader.readUe(), value);
    for (const int32_t value : signedValues)
        EXPECT_EQ(reader.readSe(), value);
    EXPECT_EQ(reader.readBits(3), 0x5U);
    EXPECT_TRUE(reader.ok());
}

TEST(BitReader, ReadingPastTheEndIsReported)
{
    const std::vector<uint8_t> bytes{0x00, 0x01};
    BitReader reader(bytes);
    EXPECT_EQ(reader.readBits(12), 0U);
    EXPECT_TRUE(reader.ok());
    reader.readBits(8);
    EXPECT_FALSE(reader.ok());
    const std::vector<uint8_t> zeros(8, 0);
    BitReader endless(zeros);
    endless.readUe(); // more leading zeros than any 32-bit code has
    EXPECT_FALSE(endless.ok());
}

TEST(EmulationPrevention, ThreeIsInsertedAfterTwoZerosBeforeZeroToThree)
{
    for (uint8_t byte = 0; byte <= 3; ++byte) {
        const std::vector<uint8_t> rbsp{0x00, 0x00, byte};
        EXPECT_EQ(addEmulationPrevention(rbsp), (std::vector<uint8_t>{0x00, 0x00, 0x03, byte})) << int(byte);
    }
    const std::vector<uint8_t> four{0x00, 0x00, 0x04, 0x00, 0x01};
    EXPECT_EQ(addEmulationPrevention(four), four);
    // The inserted byte restarts the count of zeros.
    const std::vector<uint8_t> zeros{0x00, 0x00, 0x00, 0x00, 0x00};
    EXPECT_EQ(addEmulationPrevention(zeros),
              (std::vector<uint8_t>{0x00, 0x00, 0x03, 0x00, 0x00, 0x03, 0x00}));
}

TEST(EmulationPrevention, RemovalUndoesInsertion)
{
    std::vector<uint8_t> rbsp;
    for (int i = 0; i < 600; ++i)
        rbsp.push_back(static_cast<uint8_t>((i % 7 == 0 || i % 5 == 0) ? 0 : i % 4));
    const std::vector<uint8_t> payload = addEmulationPrevention(rbsp);
    EXPECT_GT(payload.size(), rbsp.size());
    for (size_t i = 2; i < payload.size(); ++i)
        EXPECT_FALSE(payload[i - 2] == 0 && payload[i - 1] == 0 && payload[i] <= 2) << "at " << i;
    EXPECT_EQ(removeEmulationPrevention(payload), rbsp);
}
