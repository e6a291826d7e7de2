// The record of a circle frame: centre, size, normal, 24 bytes each. It is the
// whole record of a Circle and the front of a GArc's.
#pragma once

#include "geometry/record.h"
#include "selvora/geometry/circular.h"

template <>
struct selvora::RecordFields<CircleFrame> {
    template <class Walker, class F>
    static void Walk(const Walker& walk, F& frame) {
        walk(frame.center);
        walk(frame.size);
        walk(frame.normal);
    }
};
