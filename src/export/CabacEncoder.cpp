#include "export/CabacEncoder.h"

#include <algorithm>
#include <array>

namespace {

// The LPS sub-range for each probability state (rows) and quarter of the current range.
constexpr std::array<std::array<uint8_t, 4>, 64> kRangeLps{{
        {128, 176, 208, 240}, {128, 167, 197, 227}, {128, 158, 187, 216}, {123, 150, 178, 205},
        {116, 142, 169, 195}, {111, 135, 160, 185}, {105, 128, 152, 175}, {100, 122, 144, 166},
        {95, 116, 137, 158},  {90, 110, 130, 150},  {85, 104, 123, 142},  {81, 99, 117, 135},
        {77, 94, 111, 128},   {73, 89, 105, 122},   {69, 85, 100, 116},   {66, 80, 95, 110},
        {62, 76, 90, 104},    {59, 72, 86, 99},     {56, 69, 81, 94},     {53, 65, 77, 89},
        {51, 62, 73, 85},     {48, 59, 69, 80},     {46, 56, 66, 76},     {43, 53, 63, 72},
        {41, 50, 59, 69},     {39, 48, 56, 65},     {37, 45, 54, 62},     {35, 43, 51, 59},
        {33, 41, 48, 56},     {32, 39, 46, 53},     {30, 37, 43, 50},     {29, 35, 41, 48},
        {27, 33, 39, 45},     {26, 31, 37, 43},     {24, 30, 35, 41},     {23, 28, 33, 39},
        {22, 27, 32, 37},     {21, 26, 30, 35},     {20, 24, 29, 33},     {19, 23, 27, 31},
        {18, 22, 26, 30},     {17, 21, 25, 28},     {16, 20, 23, 27},     {15, 19, 22, 25},
        {14, 18, 21, 24},     {14, 17, 20, 23},     {13, 16, 19, 22},     {12, 15, 18, 21},
        {12, 14, 17, 20},     {11, 14, 16, 19},     {11, 13, 15, 18},     {10, 12, 15, 17},
        {10, 12, 14, 16},     {9, 11, 13, 15},      {9, 11, 12, 14},      {8, 10, 12, 14},
        {8, 9, 11, 13},       {7, 9, 11, 12},       {7, 9, 10, 12},       {7, 8, 10, 11},
        {6, 8, 9, 11},        {6, 7, 9, 10},        {6, 7, 8, 9},         {2, 2, 2, 2},
}};

// The state after a less probable bin.
constexpr std::array<uint8_t, 64> kNextAfterLps{
        0,  0,  1,  2,  2,  4,  4,  5,  6,  7,  8,  9,  9,  11, 11, 12, 13, 13, 15, 15, 16, 16,
        18, 18, 19, 19, 21, 21, 22, 22, 23, 24, 24, 25, 26, 26, 27, 27, 28, 29, 29, 30, 30, 30,
        31, 32, 32, 33, 33, 33, 34, 34, 35, 35, 35, 36, 36, 36, 37, 37, 37, 38, 38, 63,
};

} // namespace

CabacContext initCabacContext(int m, int n, int sliceQp)
{
    const int qp = std::clamp(sliceQp, 0, 51);
    const int preState = std::clamp(((m * qp) >> 4) + n, 1, 126);
    if (preState <= 63)
        return CabacContext{63 - preState, false};
    return CabacContext{preState - 64, true};
}

int cabacRangeLps(int state, int rangeQuarter)
{
    return kRangeLps[static_cast<size_t>(state)][static_cast<size_t>(rangeQuarter)];
}

int cabacNextStateAfterLps(int state)
{
    return kNextAfterLps[static_cast<size_t>(state)];
}

int cabacNextStateAfterMps(int state)
{
    // State 63 is kept for the terminating bin and never left; 62 is the most skewed one.
    return state >= 62 ? state : state + 1;
}

void CabacEncoder::encodeDecision(CabacContext& context, bool bin)
{
    const uint32_t rangeLps = static_cast<uint32_t>(cabacRangeLps(context.state, (m_range >> 6) & 3));
    m_range -= rangeLps;
    if (bin != context.mostProbable) {
        m_low += m_range;
        m_range = rangeLps;
        if (context.state == 0)
            context.mostProbable = !context.mostProbable;
        context.state = cabacNextStateAfterLps(context.state);
    } else {
        context.state = cabacNextStateAfterMps(context.state);
    }
    renormalize();
}

void CabacEncoder::encodeTerminate(bool bin)
{
    m_range -= 2;
    if (bin) {
        m_low += m_range;
        flush();
    } else {
        renormalize();
    }
}

void CabacEncoder::renormalize()
{
    // Keeps the range at 9 bits. A low register that straddles the middle cannot decide its
    // next bit yet: the bit is counted as outstanding and written once it is known.
    while (m_range < 256) {
        if (m_low < 256) {
            putBit(false);
        } else if (m_low >= 512) {
            m_low -= 512;
            putBit(true);
        } else {
            m_low -= 256;
            ++m_bitsOutstanding;
        }
        m_range <<= 1;
        m_low <<= 1;
    }
}

void CabacEncoder::putBit(bool bit)
{
    if (m_firstBit)
        m_firstBit = false;
    else
        m_out.putBit(bit);
    for (; m_bitsOutstanding > 0; --m_bitsOutstanding)
        m_out.putBit(!bit);
}

void CabacEncoder::flush()
{
    m_range = 2;
    renormalize();
    putBit(((m_low >> 9) & 1) != 0);
    // Two more bits of low, the second forced to one: it doubles as the RBSP stop bit.
    m_out.putBits(((m_low >> 7) & 3) | 1, 2);
}
