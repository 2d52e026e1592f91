#pragma once

#include <QWidget>
#include <algorithm>

/// @p pixels, a length drawn for a display of 96 dots per inch, on the display of @p widget. Fixed lengths
/// grow with the resolution, as fonts do, in steps of 24 dots per inch.
inline int scaledWidth(const QWidget& widget, int pixels)
{
    constexpr int kStep = 24;
    const int steps = std::max(96 / kStep, (widget.logicalDpiX() + kStep / 2) / kStep);
    return pixels * steps * kStep / 96;
}
