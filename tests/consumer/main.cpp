// Uses one piece of every subsystem through the installed headers and library;
// exits non-zero when a result is not what the library promises.
#include <cstdio>

#include <selvora/selvora.h>

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
    delete copy;

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
