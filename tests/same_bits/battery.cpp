// A fixed battery of the library's results, printed bit for bit: one line per
// result, its name, then the bits (doubles as 16 hex digits, bytes as hex,
// pixel blocks as a 64-bit FNV-1a hash). The same program is built for Linux
// and for Windows; compare.py runs both and compares their lines.
//
//   selvora_same_bits DATA_DIR    DATA_DIR: the sample images (tests/data)
#include <algorithm>
#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "selvora/selvora.h"

namespace {

namespace fs = std::filesystem;

std::uint64_t Bits(double d) {
    std::uint64_t u;
    std::memcpy(&u, &d, sizeof u);
    return u;
}

void Print(const std::string& name, std::initializer_list<double> values) {
    std::printf("%s:", name.c_str());
    for (double v : values) std::printf(" %016" PRIx64, Bits(v));
    std::printf("\n");
}

void Print(const std::string& name, const Point3d& p) { Print(name, {p.x, p.y, p.z}); }
void Print(const std::string& name, const Vector3d& v) { Print(name, {v.x, v.y, v.z}); }

void Print(const std::string& name, const Matrix3d& m) {
    std::printf("%s:", name.c_str());
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c) std::printf(" %016" PRIx64, Bits(m.m[r][c]));
    std::printf("\n");
}

void Print(const std::string& name, OvPnt3dArray& points) {
    std::printf("%s: %d", name.c_str(), points.GetSize());
    for (int i = 0; i < points.GetSize(); ++i) {
        const Point3d p = points[i];
        std::printf(" %016" PRIx64 " %016" PRIx64 " %016" PRIx64, Bits(p.x), Bits(p.y), Bits(p.z));
    }
    std::printf("\n");
}

std::uint64_t Fnv1a(const unsigned char* bytes, std::size_t n) {
    std::uint64_t h = 0xcbf29ce484222325ull;
    for (std::size_t i = 0; i < n; ++i) h = (h ^ bytes[i]) * 0x100000001b3ull;
    return h;
}

// Angles of a whole turn in steps of pi/12, and a few awkward ones.
std::vector<double> Angles() {
    const double pi = 3.14159265358979323846;
    std::vector<double> angles;
    for (int k = -24; k <= 24; ++k) angles.push_back(k * pi / 12);
    for (double a : {1e-9, 0.1, 1.0, 2.5, 100.0, 1e6, 1e22}) angles.push_back(a);
    return angles;
}

std::string Index(const char* stem, int i) {
    return std::string(stem) + "[" + std::to_string(i) + "]";
}

void Kernel() {
    Point3d p(1.5, -2.25, 1e-3);
    Vector3d v(0.1, 0.2, 0.3);
    Print("point+vector", p + v);
    Print("point-point", p - Point3d(0.3, 0.7, -1.1));
    Print("point*scalar", p * 3.1);
    Print("point/scalar", p / 7.0);
    Print("point.distanceTo", {p.distanceTo(Point3d(4, 5, 6)), p.sqrdistanceTo(Point3d(4, 5, 6))});
    Print("vector.length", {v.length(), v.sqrLength(), v * Vector3d(3, -1, 2)});
    Vector3d n = v;
    Print("vector.normalize", {n.normalize(), n.x, n.y, n.z});
    Print("vector.angleTo",
          {v.angleTo(Vector3d(-1, 2, 0.5)), v.angleTo(Vector3d(0, 0, 1), Vector3d(1, 0, 0))});

    const std::vector<double> angles = Angles();
    const Vector3d axes[] = {Vector3d(1, 0, 0), Vector3d(0, 1, 0), Vector3d(0, 0, 1),
                             Vector3d(1, 1, 1)};
    for (int a = 0; a < 4; ++a) {
        for (std::size_t k = 0; k < angles.size(); ++k) {
            Matrix3d m;
            m.setToRotation(angles[k], axes[a]);
            const std::string name = "rotation" + std::to_string(a) + "[" + std::to_string(k) + "]";
            Print(name, m);
            Print(name + "*point", m * Point3d(1, 2, 3));
            Print(name + "*vector", m * Vector3d(-3, 0.5, 2));
        }
    }
    for (std::size_t k = 0; k < angles.size(); ++k) {
        Print(Index("polar", static_cast<int>(k)), Point3d(1, 1, 0).polar(angles[k], 2.5));
        Print(Index("OV_angle", static_cast<int>(k)),
              {OV_angle(Point3d(0, 0, 0), Point3d(0, 0, 0).polar(angles[k], 1.0))});
    }

    Matrix3d r, t, s, mirror, frame;
    r.setToRotation(0.7, Point3d(1, 2, 3), Vector3d(0.2, -0.4, 1));
    t.setToTranslation(Vector3d(10, -20, 30.5));
    s.setToScaling(1.5, Point3d(1, 1, 1));
    mirror.setToReflection(Vector3d(1, 2, 2));
    frame.setCoordSystem(Point3d(5, 6, 7), Vector3d(1, 0.5, 0), Vector3d(0, 0.3, 1));
    Print("rotation about point", r);
    Print("translation*rotation", t * r);
    Print("scaling", s);
    Print("reflection", mirror);
    Print("coordinate system", frame);
    Print("inverse", (t * r * s).inverse());
    Print("point.transformBy", p.transformBy(frame));
}

void Lines() {
    Point3d a(0.1, 0.2, 0.3), b(7.7, -3.3, 2.2);
    Line line(a, b);
    OvPnt3dArray points;
    line.PointSample(7, points);
    Print("line.PointSample(7)", points);
    points.RemoveAll();
    line.PointSample(0.9, points);
    Print("line.PointSample(0.9)", points);
    Print("line.measures", {line.GetLength(), line.GetTangentAtStart(), line.GetTangentAtEnd(),
                            line.a(), line.b(), line.c()});
    Point3d c(-2, 5, 0), d(3, -1, 0);
    Line other(c, d);
    Point3d crossing;
    const int crossed = line.Intersect(other, crossing);
    Print("line.Intersect", {static_cast<double>(crossed), crossing.x, crossing.y, crossing.z});
    Print("line.Angle", {line.Angle(&other), line.DistanceFrom(other), line.distanceTo(c)});
}

void Circular() {
    Vector3d normal(0.3, -0.2, 1);
    GArc arc(Point3d(1, 2, 3), 2.5, normal, Vector3d(1, 0, 0), Vector3d(0, 1, 0.2));
    OvPnt3dArray points;
    for (int n : {2, 5, 12, 100}) {
        points.RemoveAll();
        arc.PointSample(n, points);
        Print("arc.PointSample(" + std::to_string(n) + ")", points);
    }
    points.RemoveAll();
    arc.PointSample(0.3, points);
    Print("arc.PointSample(0.3)", points);
    Print("arc.measures", {arc.GetLength(), arc.GetTangentAtStart(), arc.GetTangentAtEnd()});

    Vector3d up(0, 0, 1);
    Circle circle(Point3d(-4, 1, 0), 3.0, up, Point3d(-1, 1, 0), Point3d(-1, 1, 0));
    for (int n : {4, 9, 36}) {
        points.RemoveAll();
        circle.PointSample(n, points);
        Print("circle.PointSample(" + std::to_string(n) + ")", points);
    }
    Print("circle.measures", {circle.GetLength()});
}

// The program itself calls no function of the C maths library: the client's
// own sin and cos are not the library's (see docs/trigonometry.md).

// The record each class writes, as hex bytes.
void PrintRecord(const std::string& name, Geometry& g) {
    FILE* f = std::tmpfile();
    if (!f) {
        std::printf("%s: no temporary file\n", name.c_str());
        return;
    }
    g.Save(f);
    std::fflush(f);
    std::rewind(f);
    std::printf("%s:", name.c_str());
    for (int c; (c = std::fgetc(f)) != EOF;) std::printf(" %02x", c);
    std::printf("\n");
    std::fclose(f);
}

void Records() {
    Matrix3d m;
    m.setToRotation(0.3, Point3d(1, 1, 1), Vector3d(1, 2, 3));
    Point3d s(1, 2, 3), e(-4, 5.5, 6);
    Curve curve(s, e);
    Line line(s, e);
    Vector3d normal(0, 0.6, 0.8);
    GArc arc(Point3d(0, 1, 2), 1.75, normal, Vector3d(1, 0, 0), Vector3d(-1, 0.5, 0));
    Vector3d up(0, 0, 1);
    Circle circle(1, 2, 3, 4.5, up, Point3d(5.5, 2, 3), Point3d(5.5, 2, 3));
    Triangle triangle(Point3d(0, 0, 0), Point3d(1, 0.5, 0), Point3d(0.25, 2, 1));
    Geometry* all[] = {&curve, &line, &arc, &circle, &triangle};
    for (Geometry* g : all) {
        PrintRecord(std::string("record ") + static_cast<const char*>(g->className()), *g);
        g->transformBy(m);
        PrintRecord(std::string("record transformed ") + static_cast<const char*>(g->className()),
                    *g);
    }
}

void PrintTessellation(const std::string& name, const std::vector<double>& xy,
                       const std::vector<int>& segments, const std::vector<double>& holes) {
    double* points;
    int* segmentBuffer;
    int* triangles;
    double* holeBuffer;
    OV_getTessellationBuffer(&points, &segmentBuffer, &triangles, &holeBuffer);
    std::copy(xy.begin(), xy.end(), points);
    std::copy(segments.begin(), segments.end(), segmentBuffer);
    std::copy(holes.begin(), holes.end(), holeBuffer);
    const int count =
        OV_doTessellation(static_cast<int>(xy.size() / 2), static_cast<int>(segments.size() / 2),
                          static_cast<int>(holes.size() / 2));
    std::printf("%s: %d", name.c_str(), count);
    for (int i = 0; i < 3 * count; ++i) std::printf(" %d", triangles[i]);
    std::printf("\n");
}

void Tessellations() {
    // A square with a square hole.
    PrintTessellation("tessellation square with hole",
                      {0, 0, 10, 0, 10, 10, 0, 10, 4, 4, 6, 4, 6, 6, 4, 6},
                      {0, 1, 1, 2, 2, 3, 3, 0, 4, 5, 5, 6, 6, 7, 7, 4}, {5, 5});
    // Points on a circle of radius 1e-3 around (1e3, -1e3), and its centre.
    std::vector<double> ring;
    std::vector<int> edges;
    for (int k = 0; k < 40; ++k) {
        const Point3d p = Point3d(1e3, -1e3, 0).polar(k * 0.15707963267948966, 1e-3);
        ring.push_back(p.x);
        ring.push_back(p.y);
        edges.push_back(k);
        edges.push_back((k + 1) % 40);
    }
    ring.push_back(1e3);
    ring.push_back(-1e3);
    PrintTessellation("tessellation ring", ring, edges, {});
    // A grid with a constrained diagonal.
    std::vector<double> grid;
    for (int y = 0; y < 6; ++y)
        for (int x = 0; x < 6; ++x) {
            grid.push_back(x * 0.5);
            grid.push_back(y * 0.5);
        }
    PrintTessellation("tessellation grid", grid, {0, 35, 5, 30}, {});
}

void Images(const fs::path& data) {
    std::vector<fs::path> files;
    for (const char* folder : {"bmpsuite/g", "bmpsuite/q", "bmpsuite/b", "libtiff-images"}) {
        std::error_code ec;
        for (const auto& entry : fs::directory_iterator(data / folder, ec))
            if (entry.is_regular_file()) files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    for (const fs::path& file : files) {
        const std::string ext = file.extension().string();
        const bool bmp = ext == ".bmp";
        if (!bmp && ext != ".tif" && ext != ".tiff") continue;
        CImage image;
        const std::string path = file.string();
        const int ok = bmp ? image.LoadBmp(path.c_str()) : image.LoadTif(path.c_str());
        const std::string name =
            "image " + file.parent_path().filename().string() + "/" + file.filename().string();
        std::printf("%s: %d %d %d %d", name.c_str(), ok, image.GetWidth(), image.GetHeight(),
                    image.GetType());
        if (ok) {
            const std::size_t n =
                static_cast<std::size_t>(image.GetWidth()) * image.GetHeight() * 3;
            std::printf(" %016" PRIx64,
                        Fnv1a(static_cast<const unsigned char*>(image.GetBitsPtr()), n));
        }
        std::printf("\n");
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: selvora_same_bits DATA_DIR\n");
        return 2;
    }
    Kernel();
    Lines();
    Circular();
    Records();
    Tessellations();
    Images(argv[1]);
    return 0;
}
