// Reads the bits of an H.264 RBSP most significant bit first: fixed-width fields and
// Exp-Golomb codes. Reading past the end, or a code longer than 32 bits, yields zeros and
// clears ok(), so a parser can read a whole structure and check once. Any thread.
#pragma once

#include <cstdint>
#include <span>

class BitReader {
public:
    explicit BitReader(std::span<const uint8_t> bytes)
        : m_bytes(bytes)
    {}

    uint32_t readBits(int count); // 0 <= count <= 32
    bool readBit() { return readBits(1) != 0; }
    uint32_t readUe();
    int32_t readSe();

    bool ok() const { return m_ok; }
    int64_t position() const { return m_position; }
    int64_t bitsLeft() const { return static_cast<int64_t>(m_bytes.size()) * 8 - m_position; }

private:
    std::span<const uint8_t> m_bytes;
    int64_t m_position = 0;
    bool m_ok = true;
};
