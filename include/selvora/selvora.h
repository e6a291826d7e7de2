/// \file
/// Selvora: the whole exported interface of libSelvora100_64. Including this
/// one header brings in every class and function of the library.
#pragma once

#include "selvora/export.h"
#include "selvora/foundation/carray.h"
#include "selvora/foundation/list.h"
#include "selvora/foundation/ov_array.h"
#include "selvora/foundation/ov_color.h"
#include "selvora/foundation/ov_string.h"
#include "selvora/geometry/arc.h"
#include "selvora/geometry/circle.h"
#include "selvora/geometry/circular.h"
#include "selvora/geometry/curve.h"
#include "selvora/geometry/geometry.h"
#include "selvora/geometry/implicit_curve.h"
#include "selvora/geometry/line.h"
#include "selvora/geometry/triangle.h"
#include "selvora/image/image.h"
#include "selvora/kernel/matrix3d.h"
#include "selvora/kernel/point3d.h"
#include "selvora/net/net.h"
#include "selvora/tessellation/tessellation.h"
