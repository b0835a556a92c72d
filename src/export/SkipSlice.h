// Builds an H.264 P picture in which every macroblock is skipped: decoded, it repeats the
// previous reference picture exactly. One slice, in CABAC or CAVLC as the stream's PPS says,
// using the stream's own SPS/PPS values. Pure function.
#pragma once

#include "export/H264ParameterSets.h"

#include <cstdint>
#include <vector>

// The Annex B bytes (start code and NAL unit) of the skip picture that comes
// `picturesSinceIdr` reference pictures after the last IDR picture (1 for the first one
// after it). Its frame_num and picture order count follow on from that IDR.
// The export always codes the slice at the PPS's QP with the first CABAC initialisation
// table; the tests vary both to check the coder over many context states.
struct SkipSliceCoding {
    int cabacInitIdc = 0; // 0..2
    int sliceQpDelta = 0; // SliceQPY stays in 0..51
};

std::vector<uint8_t> buildSkipSlice(const H264SkipParameters& parameters, int64_t picturesSinceIdr,
                                    SkipSliceCoding coding = {});
