/// \file
/// OvColor: a red-green-blue colour of three floats. The default is white.
#pragma once

#include "selvora/export.h"

/// A red-green-blue colour of three floats, usually in [0, 1] (nothing is
/// clamped). The default is white, (1, 1, 1).
class SELVORA_API OvColor {
  public:
    /// The red, green and blue components.
    ///@{
    float red, green, blue;
    ///@}

    /// White: (1, 1, 1).
    OvColor();
    /// Copies the three components.
    OvColor(const OvColor& c) = default;
    /// The colour (r, g, b).
    OvColor(float r, float g, float b);
    /// Copies the three components.
    OvColor& operator=(const OvColor& c) = default;

    /// Sets the three components; returns this colour.
    OvColor& set(float r, float g, float b);
    /// 1 when the three floats are exactly equal, else 0.
    int operator==(const OvColor& c) const;  // exact comparison of the three floats
    /// 1 when any component differs, else 0.
    int operator!=(const OvColor& c) const;
};
