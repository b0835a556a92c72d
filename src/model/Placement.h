// Where a page lies on the output canvas, in whole canvas pixels.
#pragma once

struct Placement {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;

    friend bool operator==(const Placement&, const Placement&) = default;
};
