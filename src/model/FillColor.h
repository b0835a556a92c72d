// The background colour as the project file holds it: three sRGB components between 0 and 1
// kept as doubles, so that a colour read from a file is written back with the very numbers it
// was read with (QColor keeps 16 bits a component and hands them out as float). Pure values,
// any thread.
#pragma once

#include <QColor>

#include <optional>

struct FillColorComponents {
    double red = 1.0;
    double green = 1.0;
    double blue = 1.0;

    friend bool operator==(const FillColorComponents&, const FillColorComponents&) = default;
};

// The colour's sRGB components, each its 16-bit value divided by 65535 in double precision.
// An invalid colour gives nothing.
std::optional<FillColorComponents> fillColorComponents(const QColor& color);

// The opaque colour with these components, each brought into 0...1 first.
QColor colorFromComponents(const FillColorComponents& components);
