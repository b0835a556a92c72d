// Builds an H.264 P picture in which every macroblock is skipped: decoded, it repeats the
// previous reference picture exactly. One slice in CAVLC, using the stream's own SPS/PPS
// values. Pure function.
#pragma once

#include "export/H264ParameterSets.h"

#include <cstdint>
#include <vector>

// The Annex B bytes (start code and NAL unit) of the skip picture that comes
// `picturesSinceIdr` reference pictures after the last IDR picture (1 for the first one
// after it). Its frame_num and picture order count follow on from that IDR.
std::vector<uint8_t> buildSkipSlice(const H264SkipParameters& parameters, int64_t picturesSinceIdr);
