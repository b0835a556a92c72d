// Writes the bits of an H.264 RBSP (raw byte sequence payload) most significant bit first:
// fixed-width fields, Exp-Golomb codes and the trailing bits, and turns a finished RBSP into
// NAL unit bytes with emulation-prevention bytes. Plain value type, any thread.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

class BitWriter {
public:
    // The low `count` bits of `value` (0 <= count <= 32).
    void putBits(uint32_t value, int count);
    void putBit(bool bit) { putBits(bit ? 1U : 0U, 1); }
    // ue(v): unsigned Exp-Golomb.
    void putUe(uint32_t value);
    // se(v): signed Exp-Golomb (k > 0 maps to 2k - 1, k <= 0 to -2k).
    void putSe(int32_t value);
    // rbsp_trailing_bits(): a one bit, then zeros up to the next byte boundary.
    void putTrailingBits();

    int64_t bitCount() const { return static_cast<int64_t>(m_bytes.size()) * 8 + m_pendingBits; }
    bool byteAligned() const { return m_pendingBits == 0; }
    // The whole bytes written so far (a partial last byte is not included).
    const std::vector<uint8_t>& bytes() const { return m_bytes; }

private:
    std::vector<uint8_t> m_bytes;
    uint32_t m_pending = 0; // the bits of the unfinished byte, right-aligned
    int m_pendingBits = 0;
};

// The NAL unit payload for an RBSP: a 0x03 byte is inserted after every two zero bytes that
// would otherwise be followed by a byte of 0x00 to 0x03, so no start code can appear inside.
std::vector<uint8_t> addEmulationPrevention(std::span<const uint8_t> rbsp);

// The RBSP of a NAL unit payload: every 0x03 that follows two zero bytes is dropped.
std::vector<uint8_t> removeEmulationPrevention(std::span<const uint8_t> payload);
