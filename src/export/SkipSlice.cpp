#include "export/SkipSlice.h"

#include "export/BitWriter.h"
#include "export/CabacEncoder.h"

namespace {

constexpr uint8_t kNalRefIdc = 2; // a reference picture: the next skip refers to it
constexpr uint8_t kNalNonIdrSlice = 1;
constexpr uint32_t kSliceTypeP = 5; // P, and every slice of the picture is P

// The (m, n) pair of mb_skip_flag's first context (ctxIdx 11) for each cabac_init_idc. With
// every neighbour skipped or outside the picture, that context is the one every flag uses.
constexpr int kSkipFlagM[3] = {23, 22, 29};
constexpr int kSkipFlagN[3] = {33, 25, 16};

// slice_data() in CAVLC: one run skips every macroblock, then the slice ends.
void putCavlcSkipData(BitWriter& bits, int macroblocks)
{
    bits.putUe(static_cast<uint32_t>(macroblocks));
    bits.putTrailingBits();
}

// slice_data() in CABAC: after the alignment ones, each macroblock is a skip flag of one and
// an end-of-slice bin, one only after the last. The coder's flush writes the stop bit.
void putCabacSkipData(BitWriter& bits, int macroblocks, int sliceQp, int initIdc)
{
    while (!bits.byteAligned())
        bits.putBit(true); // cabac_alignment_one_bit
    const size_t table = static_cast<size_t>(initIdc);
    CabacContext skipFlag = initCabacContext(kSkipFlagM[table], kSkipFlagN[table], sliceQp);
    CabacEncoder encoder(bits);
    for (int i = 0; i < macroblocks; ++i) {
        encoder.encodeDecision(skipFlag, true);
        encoder.encodeTerminate(i + 1 == macroblocks);
    }
    while (!bits.byteAligned())
        bits.putBit(false);
}

} // namespace

std::vector<uint8_t> buildSkipSlice(const H264SkipParameters& parameters, int64_t picturesSinceIdr,
                                    SkipSliceCoding coding)
{
    BitWriter bits;
    bits.putUe(0); // first_mb_in_slice
    bits.putUe(kSliceTypeP);
    bits.putUe(static_cast<uint32_t>(parameters.ppsId));
    // Every skip picture is a reference picture, so frame_num counts up by one each time.
    const uint64_t sinceIdr = static_cast<uint64_t>(picturesSinceIdr);
    bits.putBits(static_cast<uint32_t>(sinceIdr % parameters.maxFrameNum()), parameters.log2MaxFrameNum);
    if (parameters.picOrderCntType == 0) {
        // Two picture order counts per frame, counted from the IDR's zero.
        const uint64_t maxLsb = uint64_t(1) << parameters.log2MaxPicOrderCntLsb;
        bits.putBits(static_cast<uint32_t>((2 * sinceIdr) % maxLsb), parameters.log2MaxPicOrderCntLsb);
        if (parameters.bottomFieldPicOrderInFramePresent)
            bits.putSe(0); // delta_pic_order_cnt_bottom
    }
    if (parameters.redundantPicCntPresent)
        bits.putUe(0);  // redundant_pic_cnt
    bits.putBit(false); // num_ref_idx_active_override_flag: the PPS default
    bits.putBit(false); // ref_pic_list_modification_flag_l0
    if (parameters.weightedPred) {
        // pred_weight_table with no explicit weights: the default (unweighted) prediction.
        bits.putUe(0); // luma_log2_weight_denom
        if (parameters.chromaArrayType != 0)
            bits.putUe(0); // chroma_log2_weight_denom
        for (int i = 0; i < parameters.numRefIdxL0DefaultActive; ++i) {
            bits.putBit(false); // luma_weight_l0_flag
            if (parameters.chromaArrayType != 0)
                bits.putBit(false); // chroma_weight_l0_flag
        }
    }
    bits.putBit(false); // adaptive_ref_pic_marking_mode_flag: sliding window
    if (parameters.cabac)
        bits.putUe(static_cast<uint32_t>(coding.cabacInitIdc));
    bits.putSe(coding.sliceQpDelta);
    if (parameters.deblockingFilterControlPresent)
        bits.putUe(1); // disable_deblocking_filter_idc: off, nothing to smooth in a copy
    if (parameters.cabac)
        putCabacSkipData(bits, parameters.macroblockCount(), parameters.sliceQp() + coding.sliceQpDelta,
                         coding.cabacInitIdc);
    else
        putCavlcSkipData(bits, parameters.macroblockCount());

    std::vector<uint8_t> nal{0, 0, 0, 1, static_cast<uint8_t>((kNalRefIdc << 5) | kNalNonIdrSlice)};
    const std::vector<uint8_t> payload = addEmulationPrevention(bits.bytes());
    nal.insert(nal.end(), payload.begin(), payload.end());
    return nal;
}
