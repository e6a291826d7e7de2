#include "selvora/foundation/ov_color.h"

OvColor::OvColor() : red(1.0f), green(1.0f), blue(1.0f) {}

OvColor::OvColor(float r, float g, float b) : red(r), green(g), blue(b) {}

OvColor& OvColor::set(float r, float g, float b) {
    red = r;
    green = g;
    blue = b;
    return *this;
}

int OvColor::operator==(const OvColor& c) const {
    return red == c.red && green == c.green && blue == c.blue;
}

int OvColor::operator!=(const OvColor& c) const { return !(*this == c); }
