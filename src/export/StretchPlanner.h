// Decides, frame by frame, how the export writes each frame of the video: frames that
// differ from their predecessor form changing stretches that go through the encoder; the
// first frame of a still stretch (frames equal to their predecessor) becomes an IDR picture
// and the rest of the stretch is repeated by skip pictures, with the stretch's IDR sent
// again so that keyframes are never more than `keyframeInterval` frames apart. It looks one
// frame ahead, so each step comes out when the next frame is known. Pure state machine.
#pragma once

#include <cstdint>
#include <optional>

enum class StretchAction {
    encodeChanging, // into the changing stretch's encoder
    encodeStillIdr, // encode as an IDR picture, end the encoder and keep the IDR
    writeSkip,      // a skip picture repeating the picture before
    repeatIdr,      // the still stretch's IDR once more, as a keyframe
};

struct StretchStep {
    int64_t frameIndex = 0;
    StretchAction action = StretchAction::encodeChanging;

    friend bool operator==(const StretchStep&, const StretchStep&) = default;
};

class StretchPlanner {
public:
    explicit StretchPlanner(int64_t keyframeInterval);

    // Takes the next frame; `sameAsPrevious` when it is the picture of the frame before.
    // Returns the step for the frame taken before it.
    std::optional<StretchStep> add(int64_t frameIndex, bool sameAsPrevious);
    // The step for the last frame taken, once no more frames come.
    std::optional<StretchStep> finish();

private:
    StretchStep decide(bool nextIsStill);

    int64_t m_keyframeInterval;
    std::optional<int64_t> m_held;
    bool m_heldIsStill = false;
    int64_t m_lastKeyframe = 0;
};
