// The binary arithmetic coder of H.264's CABAC entropy coding, as far as the skip pictures
// need it: context-coded decisions, the terminating bin and the final flush, written into a
// BitWriter. Plain value type, any thread.
#pragma once

#include "export/BitWriter.h"

#include <cstdint>

// The probability state of one context: pStateIdx (0..63) and the more probable bin value.
struct CabacContext {
    int state = 0;
    bool mostProbable = false;
};

// The starting state of a context from its (m, n) pair at the slice's luma QP.
CabacContext initCabacContext(int m, int n, int sliceQp);

// The width of the less probable sub-range for a state and the two range bits below the top
// one ((range >> 6) & 3), and the state after each kind of bin.
int cabacRangeLps(int state, int rangeQuarter);
int cabacNextStateAfterLps(int state);
int cabacNextStateAfterMps(int state);

class CabacEncoder {
public:
    // Starts coding at the current (byte-aligned) end of `out`.
    explicit CabacEncoder(BitWriter& out)
        : m_out(out)
    {}

    void encodeDecision(CabacContext& context, bool bin);
    // A bin of the terminating kind (end_of_slice_flag). A one ends the coded data: the
    // coder flushes, and the last bit it writes is the RBSP stop bit, so only the zero bits
    // up to the byte boundary are left to the caller.
    void encodeTerminate(bool bin);

private:
    void renormalize();
    void putBit(bool bit);
    void flush();

    BitWriter& m_out;
    uint32_t m_low = 0;
    uint32_t m_range = 510;
    int64_t m_bitsOutstanding = 0;
    bool m_firstBit = true; // the first bit out of the low register is not written
};
