// Reads the values a P skip slice needs from the encoder's SPS and PPS (its extradata, Annex B
// NAL units with start codes). Anything the skip slices do not handle is refused with a
// reason: interlaced or field coding, separate colour planes, slice groups,
// pic_order_cnt_type 1, more than one SPS or PPS, or a damaged set. Pure functions.
#pragma once

#include <QString>

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

struct H264SkipParameters {
    // From the SPS.
    int spsId = 0;
    int chromaArrayType = 1;
    int log2MaxFrameNum = 4;
    int picOrderCntType = 2;
    int log2MaxPicOrderCntLsb = 4; // only with picOrderCntType 0
    int maxNumRefFrames = 1;
    int widthInMbs = 0;
    int heightInMbs = 0;
    // From the PPS.
    int ppsId = 0;
    bool cabac = false; // entropy_coding_mode_flag
    int picInitQpMinus26 = 0;
    bool bottomFieldPicOrderInFramePresent = false;
    int numRefIdxL0DefaultActive = 1;
    bool weightedPred = false;
    bool deblockingFilterControlPresent = false;
    bool redundantPicCntPresent = false;

    int macroblockCount() const { return widthInMbs * heightInMbs; }
    uint32_t maxFrameNum() const { return uint32_t(1) << log2MaxFrameNum; }
    // SliceQPY of a slice whose slice_qp_delta is zero.
    int sliceQp() const { return 26 + picInitQpMinus26; }
};

// The NAL units of an Annex B byte stream, each without its start code.
std::vector<std::span<const uint8_t>> splitAnnexB(std::span<const uint8_t> stream);

// The skip-slice values of the one SPS and one PPS in `extradata`, or none with `why`.
std::optional<H264SkipParameters> readH264SkipParameters(std::span<const uint8_t> extradata, QString* why);
