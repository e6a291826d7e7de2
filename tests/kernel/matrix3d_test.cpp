// Tests of Matrix3d, the kernel's 4x4 homogeneous transform.
//
// Expected doubles were computed with python3 (IEEE doubles, no fused
// multiply-add) by a replica of each construction written step by step in the
// library's order: products summed k = 0..3 from the first term, rotations
// from the normalised axis with sin/cos/acos of the C library, the inverse by
// Gauss-Jordan elimination with partial pivoting (strictly larger magnitude
// wins, rows divided by the pivot), and the coordinate frames as products of
// translations and rotations followed by that inverse.
#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iomanip>
#include <limits>
#include <sstream>
#include <type_traits>
#include <utility>

#include "kernel/test_matrices.h"
#include "selvora/selvora.h"
#include "support/exact.h"

namespace {

using selvora_test::ExpectPoint;
using selvora_test::ExpectVector;
using selvora_test::MatA;
using selvora_test::ScaleTranslateWithW;

constexpr double kHalfPi = 1.5707963267948966;

using selvora_test::Bits;

// Compares all 16 entries bit for bit against a row-major list.
::testing::AssertionResult MatrixIs(const char*, const char* eExpr, const Matrix3d& m,
                                    const double* e) {
    std::ostringstream os;
    os << std::setprecision(17);
    bool ok = true;
    for (int r = 0; r < 4; ++r) {
        for (int c = 0; c < 4; ++c) {
            if (Bits(m.m[r][c]) != Bits(e[4 * r + c])) {
                ok = false;
                os << "\n  [" << r << "][" << c << "] is " << m.m[r][c] << ", expected "
                   << e[4 * r + c];
            }
        }
    }
    if (ok) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "matrix differs from " << eExpr << os.str();
}

#define EXPECT_MATRIX(m, e) EXPECT_PRED_FORMAT2(MatrixIs, m, e)

// A setter's target m and the matrix r it returned both hold the entries e.
#define EXPECT_SETTER_RESULT(m, r, e) \
    do {                              \
        EXPECT_MATRIX(m, e);          \
        EXPECT_MATRIX(r, e);          \
    } while (0)

::testing::AssertionResult SameMatrix(const char* aExpr, const char* bExpr, const Matrix3d& a,
                                      const Matrix3d& b) {
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c)
            if (Bits(a.m[r][c]) != Bits(b.m[r][c]))
                return ::testing::AssertionFailure()
                       << std::setprecision(17) << aExpr << " and " << bExpr << " differ at [" << r
                       << "][" << c << "]: " << a.m[r][c] << " vs " << b.m[r][c];
    return ::testing::AssertionSuccess();
}

#define EXPECT_SAME_MATRIX(a, b) EXPECT_PRED_FORMAT2(SameMatrix, a, b)

const double kIdentity[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};

// A second general matrix besides MatA, bottom row included, with entries
// whose products and sums round.
Matrix3d MatB() {
    // clang-format off
    return Matrix3d(1.0, 1.0, 0.3, 0.0,
                    1.0, -0.1, 2.0, 1.0,
                    1.0, 0.7, -1.0, 2.0,
                    0.0, 0.2, 0.5, 1.0);
    // clang-format on
}

Matrix3d Diag(double a, double b, double c, double d) {
    return Matrix3d(a, 0, 0, 0, 0, b, 0, 0, 0, 0, c, 0, 0, 0, 0, d);
}

}  // namespace

TEST(Matrix3d, DefaultIsIdentity) {
    Matrix3d m;
    EXPECT_MATRIX(m, kIdentity);
}

TEST(Matrix3d, LayoutIsSixteenRowMajorDoubles) {
    static_assert(sizeof(Matrix3d) == 128, "a matrix is 16 doubles and nothing else");
    static_assert(std::is_standard_layout<Matrix3d>::value, "plain data");
    static_assert(offsetof(Matrix3d, m) == 0, "the entries start the object");

    // 128 raw bytes, as received from a file or a network reply, fill it row by row.
    double raw[16];
    for (int i = 0; i < 16; ++i) raw[i] = 0.5 * i - 3.0;
    unsigned char bytes[128];
    std::memcpy(bytes, raw, sizeof bytes);
    Matrix3d m;
    std::memcpy(static_cast<void*>(&m), bytes, sizeof bytes);
    EXPECT_MATRIX(m, raw);

    unsigned char back[128];
    std::memcpy(back, static_cast<const void*>(&m), sizeof back);
    EXPECT_EQ(0, std::memcmp(bytes, back, sizeof back));
}

TEST(Matrix3d, SixteenValueConstructorAndSetAreRowMajor) {
    const double e[16] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};
    Matrix3d a(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16);
    EXPECT_MATRIX(a, e);
    EXPECT_SAME_DOUBLE(4.0, a.m[0][3]);   // x translation
    EXPECT_SAME_DOUBLE(13.0, a.m[3][0]);  // bottom row
    Matrix3d b;
    b.set(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16);
    EXPECT_MATRIX(b, e);
}

TEST(Matrix3d, CopyAndAssignment) {
    static_assert(std::is_same<decltype(std::declval<Matrix3d&>() = std::declval<Matrix3d>()),
                               Matrix3d>::value,
                  "Matrix3d::operator= returns a copy");
    // clang-format off
    const double e[16] = {0.1, 0.2, 0.3, 0.4,
                          1.5, -2.0, 0.25, 3.0,
                          -0.7, 0.6, 1.1, -0.9,
                          0.0, 0.5, 0.0, 1.0};
    // clang-format on
    Matrix3d a = MatA();
    Matrix3d copy(a);
    EXPECT_MATRIX(copy, e);
    Matrix3d b;
    Matrix3d r = (b = a);
    EXPECT_MATRIX(b, e);
    EXPECT_MATRIX(r, e);
    // Writing through the result of = touches only the returned copy.
    auto&& result = (b = Matrix3d());
    result.m[0][3] = 99.0;
    EXPECT_MATRIX(b, kIdentity);
}

TEST(Matrix3d, SetToFunctionsReturnCopies) {
    static_assert(
        std::is_same<decltype(std::declval<Matrix3d&>().setToIdentity()), Matrix3d>::value,
        "by value");
    static_assert(std::is_same<decltype(std::declval<Matrix3d&>().setToRotation(0.0, Vector3d())),
                               Matrix3d>::value,
                  "by value");
    static_assert(std::is_same<decltype(std::declval<Matrix3d&>().invert()), Matrix3d>::value,
                  "by value");
    Matrix3d m;
    auto&& result = m.setToTranslation(Vector3d(1.0, 2.0, 3.0));
    result.m[0][0] = 99.0;
    EXPECT_SAME_DOUBLE(1.0, m.m[0][0]);
    EXPECT_SAME_DOUBLE(1.0, m.m[0][3]);
}

TEST(Matrix3d, SetToIdentityOverwritesEverything) {
    Matrix3d m = MatA();
    Matrix3d r = m.setToIdentity();
    EXPECT_SETTER_RESULT(m, r, kIdentity);
}

TEST(Matrix3d, SetToTranslation) {
    Matrix3d m = MatA();
    Matrix3d r = m.setToTranslation(Vector3d(1.0, -2.0, 0.5));
    const double e[16] = {1, 0, 0, 1.0, 0, 1, 0, -2.0, 0, 0, 1, 0.5, 0, 0, 0, 1};
    EXPECT_SETTER_RESULT(m, r, e);
    ExpectPoint(m * Point3d(1.0, 1.0, 1.0), 2.0, -1.0, 1.5);
    ExpectVector(m * Vector3d(1.0, 1.0, 1.0), 1.0, 1.0, 1.0);
}

TEST(Matrix3d, SetToScalingDiagonal) {
    Matrix3d m = MatA();
    Matrix3d r = m.setToScaling(2.0, -3.0, 0.5);
    const double e[16] = {2.0, 0, 0, 0, 0, -3.0, 0, 0, 0, 0, 0.5, 0, 0, 0, 0, 1};
    EXPECT_SETTER_RESULT(m, r, e);
}

TEST(Matrix3d, SetToScalingAboutCenter) {
    Matrix3d m = MatA();
    Matrix3d r = m.setToScaling(3.0, Point3d(0.1, 0.2, 0.3));
    // T(center) * S(3, 3, 3) * T(-center), as matrix products.
    // clang-format off
    const double e[16] = {3.0, 0.0, 0.0, -0.20000000000000004,
                          0.0, 3.0, 0.0, -0.4000000000000001,
                          0.0, 0.0, 3.0, -0.5999999999999999,
                          0.0, 0.0, 0.0, 1.0};
    // clang-format on
    EXPECT_SETTER_RESULT(m, r, e);
    // The centre stays where it is, up to the rounding of the products.
    ExpectPoint(m * Point3d(0.1, 0.2, 0.3), 0.1, 0.2, 0.30000000000000004);
}

TEST(Matrix3d, SetToRotationExactEntries) {
    Matrix3d m = MatA();
    Matrix3d r = m.setToRotation(0.7, Vector3d(1.0, 2.0, 3.0));
    // clang-format off
    const double e[16] = {0.7816391739070251, -0.4829292842142122, 0.3947397981737998, 0.0,
                          0.5501172307043584, 0.8320301337746346, -0.07139249941787586, 0.0,
                          -0.29395787843858057, 0.27295633888831433, 0.9160150668873173, 0.0,
                          0.0, 0.0, 0.0, 1.0};
    // clang-format on
    EXPECT_SETTER_RESULT(m, r, e);
}

TEST(Matrix3d, SetToRotationQuarterTurnAboutZ) {
    Matrix3d m;
    m.setToRotation(kHalfPi, Vector3d(0.0, 0.0, 1.0));
    // clang-format off
    const double e[16] = {6.123233995736766e-17, -1.0, 0.0, 0.0,
                          1.0, 6.123233995736766e-17, 0.0, 0.0,
                          0.0, 0.0, 1.0, 0.0,
                          0.0, 0.0, 0.0, 1.0};
    // clang-format on
    EXPECT_MATRIX(m, e);
    // (1, 0, 0) goes to (0, 1, 0) up to cos(pi/2) in the double.
    ExpectPoint(m * Point3d(1.0, 0.0, 0.0), 6.123233995736766e-17, 1.0, 0.0);
    ExpectVector(m * Vector3d(1.0, 0.0, 0.0), 6.123233995736766e-17, 1.0, 0.0);

    // The axis is normalised first: (0, 0, 5) gives the same matrix.
    Matrix3d m5;
    m5.setToRotation(kHalfPi, Vector3d(0.0, 0.0, 5.0));
    EXPECT_SAME_MATRIX(m, m5);
}

TEST(Matrix3d, SetToRotationZeroAxisScalesByCosine) {
    // A zero axis stays zero, which leaves cos(angle) on the diagonal.
    Matrix3d m;
    m.setToRotation(0.7, Vector3d(0.0, 0.0, 0.0));
    // clang-format off
    const double e[16] = {0.7648421872844885, 0.0, 0.0, 0.0,
                          0.0, 0.7648421872844885, 0.0, 0.0,
                          0.0, 0.0, 0.7648421872844885, 0.0,
                          0.0, 0.0, 0.0, 1.0};
    // clang-format on
    EXPECT_MATRIX(m, e);
}

TEST(Matrix3d, SetToRotationAboutCenter) {
    Matrix3d m = MatA();
    Matrix3d r = m.setToRotation(0.7, Point3d(1.0, -2.0, 0.5), Vector3d(1.0, 2.0, 3.0));
    // T(center) * R(0.7, axis) * T(-center), as matrix products.
    // clang-format off
    const double e[16] = {0.7816391739070251, -0.4829292842142122, 0.3947397981737998, -0.9448676414223496,
                          0.5501172307043584, 0.8320301337746346, -0.07139249941787586, -0.850360713446151,
                          -0.29395787843858057, 0.27295633888831433, 0.9160150668873173, 0.8818630227715506,
                          0.0, 0.0, 0.0, 1.0};
    // clang-format on
    EXPECT_SETTER_RESULT(m, r, e);
    ExpectPoint(m * Point3d(1.0, -2.0, 0.5), 1.0, -2.0, 0.5);
}

TEST(Matrix3d, SetToReflectionExactEntries) {
    Matrix3d m = MatA();
    Matrix3d r = m.setToReflection(Vector3d(1.0, 2.0, 3.0));
    // clang-format off
    const double e[16] = {0.8571428571428572, -0.28571428571428575, -0.4285714285714286, 0.0,
                          -0.28571428571428575, 0.4285714285714286, -0.8571428571428572, 0.0,
                          -0.4285714285714286, -0.8571428571428572, -0.2857142857142857, 0.0,
                          0.0, 0.0, 0.0, 1.0};
    // clang-format on
    EXPECT_SETTER_RESULT(m, r, e);
}

TEST(Matrix3d, SetToReflectionInXYPlane) {
    Matrix3d m;
    m.setToReflection(Vector3d(0.0, 0.0, 2.0));
    // -2*x*z with x = 0 is -0.0.
    // clang-format off
    const double e[16] = {1.0, -0.0, -0.0, 0.0,
                          -0.0, 1.0, -0.0, 0.0,
                          -0.0, -0.0, -1.0, 0.0,
                          0.0, 0.0, 0.0, 1.0};
    // clang-format on
    EXPECT_MATRIX(m, e);
    ExpectPoint(m * Point3d(1.0, 2.0, 3.0), 1.0, 2.0, -3.0);
}

TEST(Matrix3d, SetToReflectionZeroNormalHasZeroLinearPart) {
    // The diagonal is made of three squares, so a zero normal zeroes it too.
    Matrix3d m;
    m.setToReflection(Vector3d(0.0, 0.0, 0.0));
    // clang-format off
    const double e[16] = {0.0, -0.0, -0.0, 0.0,
                          -0.0, 0.0, -0.0, 0.0,
                          -0.0, -0.0, 0.0, 0.0,
                          0.0, 0.0, 0.0, 1.0};
    // clang-format on
    EXPECT_MATRIX(m, e);
}

TEST(Matrix3d, ScaleMultipliesColumns) {
    Matrix3d m = MatA();
    m.scale(2.0, -0.5, 3.0);
    // Columns 0..2 of all four rows scaled, column 3 unchanged: this * diag(2, -0.5, 3, 1).
    // clang-format off
    const double e[16] = {0.2, -0.1, 0.8999999999999999, 0.4,
                          3.0, 1.0, 0.75, 3.0,
                          -1.4, -0.3, 3.3000000000000003, -0.9,
                          0.0, -0.25, 0.0, 1.0};
    // clang-format on
    EXPECT_MATRIX(m, e);
    EXPECT_SAME_MATRIX(m, MatA() * Diag(2.0, -0.5, 3.0, 1.0));

    // The bottom row is scaled too.
    Matrix3d b = MatB();
    b.scale(2.0, -0.5, 3.0);
    const double eb[16] = {
        2.0, -0.5, 0.8999999999999999, 0.0, 2.0, 0.05, 6.0, 1.0, 2.0, -0.35, -3.0, 2.0, 0.0, -0.1,
        1.5, 1.0};
    EXPECT_MATRIX(b, eb);
}

TEST(Matrix3d, CopyToOpenGLMatrixTransposes) {
    Matrix3d t;
    t.setToTranslation(Vector3d(1.0, 2.0, 3.0));
    double gl[16];
    for (double& g : gl) g = -7.0;
    t.copyToOpenGLMatrix(gl);
    EXPECT_SAME_DOUBLE(1.0, gl[12]);
    EXPECT_SAME_DOUBLE(2.0, gl[13]);
    EXPECT_SAME_DOUBLE(3.0, gl[14]);
    const double et[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 1, 2, 3, 1};
    for (int i = 0; i < 16; ++i) EXPECT_SAME_DOUBLE(et[i], gl[i]) << "gl[" << i << "]";

    Matrix3d a = MatA();
    a.copyToOpenGLMatrix(gl);
    // clang-format off
    const double ea[16] = {0.1, 1.5, -0.7, 0.0,
                           0.2, -2.0, 0.6, 0.5,
                           0.3, 0.25, 1.1, 0.0,
                           0.4, 3.0, -0.9, 1.0};
    // clang-format on
    for (int i = 0; i < 16; ++i) EXPECT_SAME_DOUBLE(ea[i], gl[i]) << "gl[" << i << "]";
}

TEST(Matrix3d, CopyFromOpenGLMatrixTransposes) {
    double gl[16] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};
    Matrix3d m;
    m.copyFromOpenGLMatrix(gl);
    const double e[16] = {1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15, 4, 8, 12, 16};
    EXPECT_MATRIX(m, e);
    // Out and back in gives the same matrix.
    Matrix3d a = MatA();
    a.copyToOpenGLMatrix(gl);
    Matrix3d b;
    b.copyFromOpenGLMatrix(gl);
    EXPECT_SAME_MATRIX(a, b);
}

TEST(Matrix3d, OpenGLCopiesIgnoreNullPointer) {
    Matrix3d a = MatA();
    a.copyToOpenGLMatrix(nullptr);
    a.copyFromOpenGLMatrix(nullptr);
    EXPECT_SAME_MATRIX(MatA(), a);
}

TEST(Matrix3d, HaveMirror) {
    Matrix3d m;
    EXPECT_EQ(0, m.haveMirror());
    EXPECT_EQ(1, m.setToReflection(Vector3d(1.0, 2.0, 3.0)).haveMirror());
    EXPECT_EQ(1, m.setToReflection(Vector3d(0.0, 0.0, 2.0)).haveMirror());
    EXPECT_EQ(1, m.setToReflection(Vector3d(1.0, 0.0, 0.0)).haveMirror());
    EXPECT_EQ(0, m.setToRotation(0.7, Vector3d(1.0, 2.0, 3.0)).haveMirror());
    EXPECT_EQ(0, m.setToRotation(kHalfPi, Vector3d(0.0, 0.0, 1.0)).haveMirror());
    EXPECT_EQ(0,
              m.setToRotation(3.0, Point3d(1.0, 2.0, 3.0), Vector3d(-1.0, 0.5, 2.0)).haveMirror());
    EXPECT_EQ(1, m.setToScaling(-1.0, 1.0, 1.0).haveMirror());
    EXPECT_EQ(0, m.setToScaling(-1.0, -1.0, 1.0).haveMirror());
    EXPECT_EQ(1, MatA().haveMirror());
}

TEST(Matrix3d, HaveMirrorOfSingularLinearPartIsOne) {
    EXPECT_EQ(1, Diag(0.0, 1.0, 1.0, 1.0).haveMirror());
    // clang-format off
    Matrix3d rank2(1, 2, 0, 0,
                   2, 4, 0, 0,
                   0, 0, 1, 0,
                   0, 0, 0, 1);
    // clang-format on
    EXPECT_EQ(1, rank2.haveMirror());
    Matrix3d flat;
    flat.setToReflection(Vector3d(0.0, 0.0, 0.0));
    EXPECT_EQ(1, flat.haveMirror());
    // Only the linear part counts: a zero bottom row does not make it a mirror.
    EXPECT_EQ(0, Diag(2.0, 3.0, 4.0, 0.0).haveMirror());
}

TEST(Matrix3d, InverseUsesPartialPivoting) {
    // clang-format off
    Matrix3d m(0.5, 2.0, -1.0, 3.0,
               4.0, 1.0, 0.3, -2.0,
               -1.5, 7.0, 2.0, 0.1,
               0.2, -0.7, 0.9, 1.0);
    // clang-format on
    const Matrix3d before = m;
    Matrix3d inv = m.inverse();
    // Rows swap at columns 0 and 1; elimination without pivoting, or with
    // products by the reciprocal of the pivot, would round differently.
    const double e[16] = {
        0.09828593014653801,  0.21399902412919272,   -0.04489005713566178,  0.13762926353233754,
        0.07300772826719973,  0.03661089512536792,   0.10117576692427557,   -0.15591897124329088,
        -0.19202619111327973, 0.03478507232461869,   0.11332693246029622,   0.6343160247430468,
        0.20427179575968393,  -0.048478743330237835, -0.022193190940141338, 0.29244644515448665};
    EXPECT_MATRIX(inv, e);
    EXPECT_SAME_MATRIX(before, m);  // the matrix itself is unchanged
}

TEST(Matrix3d, InversePivotTieKeepsUpperRow) {
    // |-4| and |4| tie in column 0: row 1 stays the pivot row. Picking row 2
    // would give e.g. 0.13768324231100892 at [0][0].
    // clang-format off
    Matrix3d m(1.0, 2.0, 3.0, 0.5,
               -4.0, 1.0, 0.7, 0.0,
               4.0, 0.3, 5.0, -1.0,
               0.0, 0.0, 0.0, 1.0);
    // clang-format on
    // clang-format off
    const double e[16] = {0.1376832423110089, -0.26156941649899396, -0.04599022707674618, -0.11483184823225062,
                          0.6553607358436332, -0.20120724346076457, -0.36504742742167284, -0.6927277953434894,
                          -0.1494682379994251, 0.22132796780684105, 0.2586950273066973, 0.33342914630640985,
                          0.0, 0.0, 0.0, 1.0};
    // clang-format on
    EXPECT_MATRIX(m.inverse(), e);
}

TEST(Matrix3d, InverseOfSingularIsIdentity) {
    EXPECT_MATRIX(Diag(0.0, 1.0, 1.0, 1.0).inverse(), kIdentity);
    // The zero pivot shows up at column 1 after a row swap.
    // clang-format off
    Matrix3d rank2(1, 2, 0, 0,
                   2, 4, 0, 0,
                   0, 0, 1, 0,
                   0, 0, 0, 1);
    // clang-format on
    EXPECT_MATRIX(rank2.inverse(), kIdentity);
    // The zero pivot shows up only at the last column.
    // clang-format off
    Matrix3d noW(2, 0, 0, 1,
                 0, 3, 0, 1,
                 0, 0, 4, 1,
                 0, 0, 0, 0);
    // clang-format on
    EXPECT_MATRIX(noW.inverse(), kIdentity);
    Matrix3d zero(0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0);
    EXPECT_MATRIX(zero.inverse(), kIdentity);
}

TEST(Matrix3d, InvertReplacesAndReturnsCopy) {
    // clang-format off
    Matrix3d m(0.5, 2.0, -1.0, 3.0,
               4.0, 1.0, 0.3, -2.0,
               -1.5, 7.0, 2.0, 0.1,
               0.2, -0.7, 0.9, 1.0);
    // clang-format on
    const Matrix3d expected = m.inverse();
    Matrix3d r = m.invert();
    EXPECT_SAME_MATRIX(expected, m);
    EXPECT_SAME_MATRIX(expected, r);
    EXPECT_SAME_DOUBLE(0.09828593014653801, m.m[0][0]);

    Matrix3d s = Diag(0.0, 1.0, 1.0, 1.0);
    s.invert();
    EXPECT_MATRIX(s, kIdentity);
}

// MatA() * MatB(), entry by entry ((a0*b0 + a1*b1) + a2*b2) + a3*b3 (python).
// clang-format off
const double kProductAB[16] = {0.6000000000000001, 0.37, 0.33000000000000007, 1.2000000000000002,
                               -0.25, 2.475, -2.3, 1.5,
                               1.0, -0.17, -0.56, 1.9000000000000004,
                               0.5, 0.15000000000000002, 1.5, 1.5};
// clang-format on

TEST(Matrix3d, ProductSumsInOrder) {
    // (a*b)[r][c] = ((a[r][0]*b[0][c] + a[r][1]*b[1][c]) + a[r][2]*b[2][c]) + a[r][3]*b[3][c].
    // clang-format off
    const double ba[16] = {1.3900000000000001, -1.62, 0.8800000000000001, 3.13,
                           -1.45, 2.1, 2.475, -0.7000000000000002,
                           1.8499999999999999, -0.7999999999999998, -0.6250000000000001, 5.3999999999999995,
                           -0.04999999999999993, 0.39999999999999997, 0.6000000000000001, 1.1500000000000001};
    // clang-format on
    const Matrix3d a = MatA();
    const Matrix3d b = MatB();
    EXPECT_MATRIX(a * b, kProductAB);
    EXPECT_MATRIX(b * a, ba);
    EXPECT_SAME_MATRIX(MatA(), a);
    EXPECT_SAME_MATRIX(MatB(), b);
}

TEST(Matrix3d, TimesEqualsMultipliesOnTheRight) {
    Matrix3d m = MatA();
    m *= MatB();
    EXPECT_MATRIX(m, kProductAB);
}

TEST(Matrix3d, ProductAppliesRightOperandFirst) {
    // Integer entries keep every step exact.
    // clang-format off
    Matrix3d a(1, 2, 0, 3,
               0, 1, -1, 2,
               2, 0, 1, -1,
               0, 0, 0, 1);
    // clang-format on
    // clang-format off
    Matrix3d b(0, -1, 0, 1,
               1, 0, 0, -2,
               0, 0, 2, 5,
               0, 0, 0, 1);
    // clang-format on
    const Point3d p(1.0, 2.0, 3.0);
    Point3d viaProduct = (a * b) * p;
    Point3d stepwise = a * (b * p);
    ExpectPoint(stepwise, 0.0, -10.0, 8.0);  // b*p = (-1, -1, 11)
    ExpectPoint(viaProduct, stepwise.x, stepwise.y, stepwise.z);
    Point3d other = (b * a) * p;
    EXPECT_EQ(0, other == viaProduct);
}

TEST(Matrix3d, PointTransformDoesNotDivideByW) {
    // Bottom row (0, 0.5, 0, 1) gives w = 0 for this point.
    ExpectPoint(MatA() * Point3d(1.5, -2.0, 0.25), 0.22500000000000003, 9.3125, -2.875);
    ExpectVector(MatA() * Vector3d(1.5, -2.0, 0.25), -0.175, 6.3125, -1.975);
    const Matrix3d w = ScaleTranslateWithW(2.0, Vector3d(1.0, 1.0, 1.0), 8.0);
    ExpectPoint(w * Point3d(1.0, 2.0, 3.0), 3.0, 5.0, 7.0);
}

TEST(Matrix3d, SetCoordSystemTwoArgsDownAxisIsIdentity) {
    Matrix3d m = MatA();
    Matrix3d r = m.setCoordSystem(Point3d(0.0, 0.0, 0.0), Vector3d(0.0, 0.0, -1.0));
    EXPECT_SETTER_RESULT(m, r, kIdentity);
    // With an origin it is a pure translation: no half turn either.
    m.setCoordSystem(Point3d(1.0, 2.0, 3.0), Vector3d(0.0, 0.0, -1.0));
    const double e[16] = {1, 0, 0, 1.0, 0, 1, 0, 2.0, 0, 0, 1, 3.0, 0, 0, 0, 1};
    EXPECT_MATRIX(m, e);
    m.setCoordSystem(Point3d(1.0, 2.0, 3.0), Vector3d(0.0, 0.0, 1.0));
    EXPECT_MATRIX(m, e);
}

TEST(Matrix3d, SetCoordSystemTwoArgsTiltedAxis) {
    Matrix3d m;
    Matrix3d r = m.setCoordSystem(Point3d(1.0, -1.0, 2.0), Vector3d(0.6, 0.0, 0.8));
    // inverse(R(acos(0.8), (0, -0.6, 0)) * T(-origin)).
    // clang-format off
    const double e[16] = {0.8000000000000002, 0.0, 0.6, 1.0000000000000002,
                          0.0, 1.0, 0.0, -1.0,
                          -0.6, 0.0, 0.8000000000000002, 2.0000000000000004,
                          0.0, 0.0, 0.0, 1.0};
    // clang-format on
    EXPECT_SETTER_RESULT(m, r, e);
    ExpectVector(m * Vector3d(0.0, 0.0, 1.0), 0.6, 0.0, 0.8000000000000002);
}

TEST(Matrix3d, SetCoordSystemThreeArgsDownAxisIsHalfTurn) {
    Matrix3d m = MatA();
    Matrix3d r =
        m.setCoordSystem(Point3d(0.0, 0.0, 0.0), Vector3d(1.0, 0.0, 0.0), Vector3d(0.0, 0.0, -1.0));
    // Half turn about X by the float pi 3.1415927410125732, inverted: sin of that
    // angle is -8.742278000372475e-08, so the off-diagonal terms are not zero.
    // clang-format off
    const double e[16] = {1.0, 0.0, 0.0, 0.0,
                          0.0, -0.9999999999999961, -8.742278000372475e-08, 0.0,
                          0.0, 8.742278000372475e-08, -0.9999999999999962, 0.0,
                          0.0, 0.0, 0.0, 1.0};
    // clang-format on
    EXPECT_SETTER_RESULT(m, r, e);
    EXPECT_EQ(0, m.haveMirror());
}

TEST(Matrix3d, SetCoordSystemFormsDifferForDownAxis) {
    Matrix3d two, three;
    two.setCoordSystem(Point3d(0.0, 0.0, 0.0), Vector3d(0.0, 0.0, -1.0));
    three.setCoordSystem(Point3d(0.0, 0.0, 0.0), Vector3d(1.0, 0.0, 0.0), Vector3d(0.0, 0.0, -1.0));
    ExpectVector(two * Vector3d(0.0, 0.0, 1.0), 0.0, 0.0, 1.0);
    ExpectVector(three * Vector3d(0.0, 0.0, 1.0), 0.0, -8.742278000372475e-08, -0.9999999999999962);
}

TEST(Matrix3d, SetCoordSystemQuarterTurnAboutZ) {
    Matrix3d m;
    Matrix3d r =
        m.setCoordSystem(Point3d(1.0, 2.0, 3.0), Vector3d(0.0, 1.0, 0.0), Vector3d(0.0, 0.0, 1.0));
    // clang-format off
    const double e[16] = {6.123233995736766e-17, -1.0, 0.0, 1.0,
                          1.0, 6.123233995736766e-17, 0.0, 2.0,
                          0.0, 0.0, 1.0, 3.0,
                          0.0, 0.0, 0.0, 1.0};
    // clang-format on
    EXPECT_SETTER_RESULT(m, r, e);
    // Local X lands on world Y, the local origin on (1, 2, 3).
    ExpectVector(m * Vector3d(1.0, 0.0, 0.0), 6.123233995736766e-17, 1.0, 0.0);
    ExpectPoint(m * Point3d(0.0, 0.0, 0.0), 1.0, 2.0, 3.0);
    ExpectPoint(m * Point3d(1.0, 0.0, 0.0), 1.0, 3.0, 3.0);
}

TEST(Matrix3d, SetCoordSystemThreeArgsNegativeSpin) {
    // x' = (0, -1, 0) has y < 0, so the spin axis is +Z.
    Matrix3d m;
    m.setCoordSystem(Point3d(0.0, 0.0, 0.0), Vector3d(0.0, -1.0, 0.0), Vector3d(0.0, 0.0, 1.0));
    // clang-format off
    const double e[16] = {6.123233995736766e-17, 1.0, 0.0, 0.0,
                          -1.0, 6.123233995736766e-17, 0.0, 0.0,
                          0.0, 0.0, 1.0, 0.0,
                          0.0, 0.0, 0.0, 1.0};
    // clang-format on
    EXPECT_MATRIX(m, e);
    ExpectVector(m * Vector3d(1.0, 0.0, 0.0), 6.123233995736766e-17, -1.0, 0.0);
}

TEST(Matrix3d, SetCoordSystemThreeArgsZeroSpinYTurnsAboutMinusZ) {
    // x' = (-1, 0, 0): y = 0 counts as y >= 0, so the half turn by acos(-1) is
    // about -Z, which fixes the signs of the sin(pi) terms.
    Matrix3d m;
    m.setCoordSystem(Point3d(1.0, 2.0, 3.0), Vector3d(-1.0, 0.0, 0.0), Vector3d(0.0, 0.0, 1.0));
    // clang-format off
    const double e[16] = {-1.0, -1.2246467991473532e-16, 0.0, 1.0,
                          1.2246467991473532e-16, -1.0, 0.0, 1.9999999999999998,
                          0.0, 0.0, 1.0, 3.0,
                          0.0, 0.0, 0.0, 1.0};
    // clang-format on
    EXPECT_MATRIX(m, e);
    ExpectVector(m * Vector3d(1.0, 0.0, 0.0), -1.0, 1.2246467991473532e-16, 0.0);
}

TEST(Matrix3d, SetCoordSystemThreeArgsTiltedFrame) {
    Matrix3d m;
    m.setCoordSystem(Point3d(1.0, -1.0, 2.0), Vector3d(0.0, 1.0, 0.0), Vector3d(0.6, 0.0, 0.8));
    // clang-format off
    const double e[16] = {4.898587196589413e-17, -0.8000000000000002, 0.6, 1.0000000000000002,
                          1.0, 6.123233995736766e-17, 0.0, -1.0,
                          -3.673940397442059e-17, 0.6, 0.8000000000000002, 2.0000000000000004,
                          0.0, 0.0, 0.0, 1.0};
    // clang-format on
    EXPECT_MATRIX(m, e);
    ExpectVector(m * Vector3d(1.0, 0.0, 0.0), 4.898587196589413e-17, 1.0, -3.673940397442059e-17);
    ExpectVector(m * Vector3d(0.0, 0.0, 1.0), 0.6, 0.0, 0.8000000000000002);
}

TEST(Matrix3d, SetCoordSystemPropagatesNanFromAcos) {
    // zAxis.z = 2 is not normalised and acos(2) is NaN; nothing guards it.
    Matrix3d m;
    m.setCoordSystem(Point3d(0.0, 0.0, 0.0), Vector3d(1.0, 0.0, 2.0));
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c) EXPECT_TRUE(std::isnan(m.m[r][c])) << r << "," << c;
}

TEST(Matrix3d, SetToAlignCoordSys) {
    const Point3d o1(1.0, 2.0, 3.0), o2(-1.0, 0.5, 2.0);
    const Vector3d x1(0.0, 1.0, 0.0), z1(0.0, 0.0, 1.0);
    const Vector3d x2(0.8, 0.0, -0.6), z2(0.6, 0.0, 0.8);
    Matrix3d m = MatA();
    Matrix3d r = m.setToAlignCoordSys(o1, x1, z1, o2, x2, z2);
    // M2 * inverse(M1), each frame from the three-argument setCoordSystem.
    // clang-format off
    const double e[16] = {4.8985871965894137e-17, 0.8000000000000002, 0.6, -4.4,
                          -1.0, 6.123233995736766e-17, 0.0, 1.5,
                          -3.6739403974420595e-17, -0.6, 0.8000000000000002, 0.7999999999999996,
                          0.0, 0.0, 0.0, 1.0};
    // clang-format on
    EXPECT_SETTER_RESULT(m, r, e);

    Matrix3d f1, f2;
    f1.setCoordSystem(o1, x1, z1);
    f2.setCoordSystem(o2, x2, z2);
    EXPECT_SAME_MATRIX(f2 * f1.inverse(), m);
    // Frame 1's origin and X axis land on frame 2's.
    ExpectPoint(m * o1, -1.0, 0.5000000000000001, 2.0);
    ExpectVector(m * x1, 0.8000000000000002, 6.123233995736766e-17, -0.6);
}
