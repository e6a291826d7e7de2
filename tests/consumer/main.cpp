// Uses one piece of every subsystem through the installed headers and library;
// exits non-zero when a result is not what the library promises.
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <exception>
#include <typeinfo>

#include <selvora/selvora.h>

namespace {

// Each product and sum rounded on its own, through memory the compiler may not
// look through: the reference for the kernel's inline arithmetic, whatever the
// flags this program is built with.
double Mul(double a, double b) {
    volatile double r = a * b;
    return r;
}
double Add(double a, double b) {
    volatile double r = a + b;
    return r;
}

bool SameBits(double a, double b) { return std::memcmp(&a, &b, sizeof a) == 0; }

// Numbers with full 53-bit mantissas, from a fixed linear congruential sequence.
double Next(std::uint64_t& state) {
    state = state * 6364136223846793005ull + 1442695040888963407ull;
    return static_cast<double>(state >> 11) / 9007199254740992.0 * 2.0 - 1.0;
}

// The inline transforms and product of matrix3d.h, compiled in this program,
// give the library's bits: ((a0*b0 + a1*b1) + a2*b2) + a3*b3 in that order,
// with no fused multiply-add, even when this program is built to contract.
bool InlineKernelIsExact() {
    std::uint64_t state = 12345;
    for (int round = 0; round < 200; ++round) {
        Matrix3d a, b;
        for (auto& row : a.m)
            for (double& e : row) e = Next(state);
        for (auto& row : b.m)
            for (double& e : row) e = Next(state);
        const Point3d p(Next(state), Next(state), Next(state));
        const Vector3d v(Next(state), Next(state), Next(state));
        const Point3d mp = a * p;
        const Vector3d mv = a * v;
        const Matrix3d ab = a * b;
        const double pin[3] = {p.x, p.y, p.z}, vin[3] = {v.x, v.y, v.z};
        const double pout[3] = {mp.x, mp.y, mp.z}, vout[3] = {mv.x, mv.y, mv.z};
        for (int i = 0; i < 3; ++i) {
            double pe = Mul(a.m[i][0], pin[0]), ve = Mul(a.m[i][0], vin[0]);
            for (int k = 1; k < 3; ++k) {
                pe = Add(pe, Mul(a.m[i][k], pin[k]));
                ve = Add(ve, Mul(a.m[i][k], vin[k]));
            }
            pe = Add(pe, a.m[i][3]);
            if (!SameBits(pout[i], pe) || !SameBits(vout[i], ve)) return false;
        }
        for (int i = 0; i < 4; ++i)
            for (int j = 0; j < 4; ++j) {
                double e = Mul(a.m[i][0], b.m[0][j]);
                for (int k = 1; k < 4; ++k) e = Add(e, Mul(a.m[i][k], b.m[k][j]));
                if (!SameBits(ab.m[i][j], e)) return false;
            }
    }
    return true;
}

}  // namespace

int main() {
    int failures = 0;
    auto check = [&](bool ok, const char* what) {
        if (!ok) {
            std::fprintf(stderr, "consumer: %s failed\n", what);
            ++failures;
        }
    };

    Matrix3d turn;
    turn.setToRotation(0.0, Vector3d(0, 0, 1));
    check(turn * Point3d(1, 2, 3) == Point3d(1, 2, 3), "identity rotation");
    check(Vector3d().z == 1.0, "default vector");
    check(InlineKernelIsExact(), "inline kernel arithmetic bit for bit");

    OvString s("abc");
    s += "def";
    check(s == "abcdef" && s.GetAllocLength() == 100, "string");
    OvString f;
    f.Format("%d-%s", 7, "x");
    check(f == "7-x", "Format");

    OvPnt3dArray points;
    points.Add(Point3d(1, 1, 1));
    points.Add(Point3d(2, 2, 2));
    check(points.GetSize() == 2 && points.GetCapacity() == 5, "point array");

    int a = 1;
    LIST* list = ListAdd(nullptr, &a);
    check(ListCount(list) == 1, "list");
    ListDestroy(list);

    check(OvColor() == OvColor(1.0f, 1.0f, 1.0f), "colour");

    Point3d from(0, 0, 0), to(4, 0, 0);
    Line line(from, to);
    OvPnt3dArray samples;
    line.PointSample(1, samples);  // one sample, a quarter of the way along
    check(line.isA("GLine") && samples.GetSize() == 1 && samples.GetAt(0) == Point3d(1, 0, 0),
          "line");
    GArc arc;
    Geometry* copy = arc.copy();
    check(copy && copy->isA("GArc"), "arc copy");
    // Run-time types of objects the library made, seen from this program.
    check(dynamic_cast<GArc*>(copy) != nullptr && typeid(*copy) == typeid(GArc),
          "dynamic_cast and typeid across the library");
    delete copy;

    // Records written to and read from streams this program opened: the
    // library and its clients share one C runtime.
    const char* record = "consumer-line.rec";
    Point3d rs(1.5, -2.0, 3.25), re(-4.0, 0.5, 8.0);
    Line saved(rs, re);
    FILE* out = std::fopen(record, "wb");
    if (out) {
        saved.Save(out);
        std::fclose(out);
    }
    Line loaded;
    FILE* in = std::fopen(record, "rb");
    if (in) {
        loaded.Load(in);
        check(std::ftell(in) == 48, "a Line record is 48 bytes");
        std::fclose(in);
    }
    check(in && loaded.GetStart() == rs && loaded.GetEnd() == re,
          "records through this program's FILE*");
    std::remove(record);

    // The caller's CArray, and an exception from its GetAt through the library.
    CArray<Line*, Line*> lines;
    lines.Add(&line);
    check(line.ProjectedUnion(lines) == 4.0, "ProjectedUnion over a CArray");
    bool caught = false;
    try {
        lines.GetAt(1);
    } catch (const std::exception&) {
        caught = true;
    }
    check(caught, "CArray's bad index throws");

    double *xy, *seeds;
    int *ends, *corners;
    OV_getTessellationBuffer(&xy, &ends, &corners, &seeds);
    const double square[] = {0, 0, 1, 0, 1, 1, 0, 1};
    for (int i = 0; i < 8; ++i) xy[i] = square[i];
    for (int i = 0; i < 4; ++i) {
        ends[2 * i] = i;
        ends[2 * i + 1] = (i + 1) % 4;
    }
    check(OV_doTessellation(4, 4, 0) == 2, "tessellation");

    std::printf("consumer: %s\n", failures == 0 ? "ok" : "FAILED");
    return failures == 0 ? 0 : 1;
}
