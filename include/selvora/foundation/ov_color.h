// OvColor: a red-green-blue colour of three floats. The default is white.
#pragma once

#include "selvora/export.h"

class SELVORA_API OvColor {
  public:
    float red, green, blue;

    OvColor();
    OvColor(const OvColor& c) = default;
    OvColor(float r, float g, float b);
    OvColor& operator=(const OvColor& c) = default;

    OvColor& set(float r, float g, float b);
    int operator==(const OvColor& c) const;  // exact comparison of the three floats
    int operator!=(const OvColor& c) const;
};
