// Writes geometry records with the classes' own Save, for the tests of
// `selvora records`. Arguments: OUT, then groups of a class name and its
// numbers:
//   GCurve    sx sy sz ex ey ez symmetry extent periodic
//   GLine     sx sy sz ex ey ez
//   GArc      cx cy cz radius nx ny nz ux uy uz vx vy vz   (start and end directions)
//   GCircle   cx cy cz radius nx ny nz
//   GTriangle ax ay az bx by bz cx cy cz
#include <selvora/selvora.h>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

struct Args {
    int argc;
    char** argv;
    int next;
    bool ok = true;

    double Number() {
        if (next >= argc) {
            ok = false;
            return 0.0;
        }
        return std::strtod(argv[next++], nullptr);
    }
    Point3d P() {
        const double x = Number(), y = Number(), z = Number();
        return Point3d(x, y, z);
    }
    Vector3d V() {
        const double x = Number(), y = Number(), z = Number();
        return Vector3d(x, y, z);
    }
};

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fprintf(stderr, "usage: write_records OUT [CLASS NUMBERS...]...\n");
        return 2;
    }
    FILE* out = std::fopen(argv[1], "wb");
    if (!out) return 2;
    Args args{argc, argv, 2};
    while (args.ok && args.next < argc) {
        const char* name = argv[args.next++];
        if (!std::strcmp(name, "GCurve")) {
            Point3d s = args.P(), e = args.P();
            Curve c(s, e);
            c.SetSymmetry(Curve::SymmetryType(int(args.Number())));
            c.SetExtent(Curve::CurveExtent(int(args.Number())));
            c.SetPeriodic(int(args.Number()));
            c.Save(out);
        } else if (!std::strcmp(name, "GLine")) {
            Point3d s = args.P(), e = args.P();
            Line l(s, e);
            l.Save(out);
        } else if (!std::strcmp(name, "GArc")) {
            const Point3d c = args.P();
            const double r = args.Number();
            Vector3d n = args.V();
            const Vector3d u = args.V(), v = args.V();
            GArc a(c, r, n, u, v);
            a.Save(out);
        } else if (!std::strcmp(name, "GCircle")) {
            const Point3d c = args.P();
            const double r = args.Number();
            Vector3d n = args.V();
            Circle k(c, r, n, Point3d(), Point3d());
            k.Save(out);
        } else if (!std::strcmp(name, "GTriangle")) {
            const Point3d a = args.P(), b = args.P(), c = args.P();
            Triangle t(a, b, c);
            t.Save(out);
        } else {
            std::fprintf(stderr, "write_records: unknown class %s\n", name);
            args.ok = false;
        }
    }
    const bool closed = std::fclose(out) == 0;
    return args.ok && closed ? 0 : 2;
}
