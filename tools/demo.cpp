// selvora-demo: shows the library at work on its kernel and foundation types.
#include <cstdio>

#include "selvora/selvora.h"

namespace {

void Print(const char* label, Point3d p) {
    std::printf("  %-34s (%.17g, %.17g, %.17g)\n", label, p.x, p.y, p.z);
}

void Print(const char* label, Vector3d v) {
    std::printf("  %-34s <%.17g, %.17g, %.17g>\n", label, v.x, v.y, v.z);
}

void PrintMatrix(const char* label, const Matrix3d& m) {
    std::printf("  %s\n", label);
    for (const auto& row : m.m) {
        std::printf("    [%12.9f %12.9f %12.9f %12.9f]\n", row[0], row[1], row[2], row[3]);
    }
}

void Kernel() {
    std::printf("Kernel: points, vectors and transforms\n");
    Point3d a(1.0, 2.0, 3.0), b(4.0, 6.0, 3.0);
    Vector3d d = b - a;
    Print("a", a);
    Print("b", b);
    Print("b - a", d);
    std::printf("  %-34s %.17g\n", "distance a..b", a.distanceTo(b));
    std::printf("  %-34s %.17g rad\n", "OV_angle(a, b) in the XY plane", OV_angle(a, b));
    double before = d.normalize();
    Print("b - a normalised", d);
    std::printf("  %-34s %.17g\n", "length before normalising", before);
    std::printf("  %-34s %.17g rad\n", "angle from X to Y about -Z",
                Vector3d(1, 0, 0).angleTo(Vector3d(0, 1, 0), Vector3d(0, 0, -1)));

    Matrix3d rotation;
    rotation.setToRotation(1.5707963267948966, Point3d(1, 1, 0), Vector3d(0, 0, 1));
    PrintMatrix("quarter turn about the Z line through (1, 1, 0):", rotation);
    Print("(2, 1, 0) turned", rotation * Point3d(2, 1, 0));
    Matrix3d back = rotation.inverse();
    Print("and turned back", back * (rotation * Point3d(2, 1, 0)));

    Matrix3d mirror;
    mirror.setToReflection(Vector3d(0, 0, 2));
    Print("(1, 2, 3) mirrored in z = 0", mirror * Point3d(1, 2, 3));
    std::printf("  %-34s %d (rotation %d)\n", "mirror has a mirror", mirror.haveMirror(),
                rotation.haveMirror());

    Matrix3d frame;
    frame.setCoordSystem(Point3d(5, 0, 0), Vector3d(0, 1, 0), Vector3d(0, 0, 1));
    Print("local (1, 0, 0) in a frame at (5,0,0)", frame * Point3d(1, 0, 0));
    std::printf("\n");
}

void Foundation() {
    std::printf("Foundation: string, arrays, list and colour\n");
    OvString name("Selvora");
    name += " geometry";
    OvString shout = name;
    shout.MakeUpper();
    std::printf("  %-34s \"%s\" (length %d, buffer %d bytes)\n", "string", (const char*)name,
                name.GetLength(), name.GetAllocLength());
    std::printf("  %-34s \"%s\"\n", "upper case", (const char*)shout);
    std::printf("  %-34s \"%s\" / \"%s\" / \"%s\"\n", "Left(7) / Mid(8, 3) / Right(4)",
                (const char*)name.Left(7), (const char*)name.Mid(8, 3), (const char*)name.Right(4));
    std::printf("  %-34s %d\n", "Find(\"geo\")", name.Find("geo"));
    OvString formatted;
    formatted.Format("%d points, %.3f mm", 42, 2.5);
    std::printf("  %-34s \"%s\"\n", "Format", (const char*)formatted);

    OvPnt3dArray points;
    for (int i = 0; i < 10; ++i) points.Add(Point3d(i, i * i, 0));
    std::printf("  %-34s size %d, capacity %d\n", "10 points added", points.GetSize(),
                points.GetCapacity());
    points.RemoveAt(2, 3);
    Print("after RemoveAt(2, 3), element 2", points.GetAt(2));

    OvStringArray words;
    words.Add("arc");
    words.Add("line");
    words.InsertAt(1, OvString("circle"), 1);
    std::printf("  %-34s", "string array");
    for (int i = 0; i < words.GetSize(); ++i) std::printf(" %s", (const char*)words.GetAt(i));
    std::printf("\n");

    int values[3] = {1, 2, 3};
    LIST* list = nullptr;
    for (int& v : values) list = ListAdd(list, &v);
    std::printf("  %-34s", "list (newest first)");
    for (LIST* node = list; node; node = node->next) std::printf(" %d", *(int*)node->data);
    std::printf(" (%d nodes)\n", ListCount(list));
    ListDestroy(list);

    OvColor white, red(1.0f, 0.0f, 0.0f);
    std::printf("  %-34s (%g, %g, %g), equal to red: %d\n", "default colour", white.red,
                white.green, white.blue, white == red);
}

// The typical use end to end: an arc built, rotated, sampled, saved as a raw
// record and loaded back into another arc.
void Arc() {
    std::printf("\nGeometry: an arc built, rotated, sampled, saved and loaded\n");
    Vector3d normal(0, 0, 1);
    GArc arc(Point3d(2, 0, 0), 1.5, normal, Vector3d(1, 0, 0), Vector3d(-1, 0, 0));
    std::printf("  %-34s centre (2, 0, 0), radius %g, %.17g..%.17g rad, length %.17g\n",
                "half circle", arc.GetRadius(), arc.GetStartAngle(), arc.GetEndAngle(),
                arc.GetLength());

    Matrix3d turn;
    turn.setToRotation(1.5707963267948966, Point3d(0, 0, 0), Vector3d(0, 1, 0));
    arc.transformBy(turn);
    Print("centre after a quarter turn about Y", arc.GetCenter());
    Print("normal after the turn", arc.GetNormal());

    OvPnt3dArray samples;
    arc.PointSample(1.0, samples);
    std::printf("  %-34s %d points, spacing 1.0\n", "sampled", samples.GetSize());
    for (int i = 0; i < samples.GetSize(); ++i) {
        char label[32];
        std::snprintf(label, sizeof label, "  sample %d", i);
        Print(label, samples.GetAt(i));
    }

    FILE* stream = std::tmpfile();
    if (!stream) {
        std::printf("  no temporary file for the record\n");
        return;
    }
    arc.Save(stream);
    const long bytes = std::ftell(stream);
    std::rewind(stream);
    GArc loaded;
    loaded.Load(stream);
    std::fclose(stream);
    std::printf("  %-34s %ld bytes; loaded copy equal: %d\n", "saved record", bytes, loaded == arc);
}

// A triangulation end to end: an outer square with a square hole, written
// into the library's buffers and triangulated with the segments as constraints.
void Triangulation() {
    std::printf("\nTessellation: a square with a square hole\n");
    double *points, *holes;
    int *segments, *triangles;
    OV_getTessellationBuffer(&points, &segments, &triangles, &holes);
    const double corners[] = {0, 0, 10, 0, 10, 10, 0, 10, 3, 3, 7, 3, 7, 7, 3, 7};
    for (int i = 0; i < 16; ++i) points[i] = corners[i];
    for (int ring = 0; ring < 2; ++ring) {  // each square's four sides, in order
        for (int side = 0; side < 4; ++side) {
            segments[2 * (4 * ring + side)] = 4 * ring + side;
            segments[2 * (4 * ring + side) + 1] = 4 * ring + (side + 1) % 4;
        }
    }
    holes[0] = 5.0;  // a seed inside the inner square
    holes[1] = 5.0;
    const int count = OV_doTessellation(8, 8, 1);
    std::printf("  %-34s %d triangles (corner indices, counter-clockwise)\n",
                "8 points, 8 segments, 1 hole", count);
    for (int k = 0; k < count; ++k) {
        const int* t = triangles + 3 * k;
        std::printf("    %d: %d %d %d   (%g,%g) (%g,%g) (%g,%g)\n", k, t[0], t[1], t[2],
                    points[2 * t[0]], points[2 * t[0] + 1], points[2 * t[1]], points[2 * t[1] + 1],
                    points[2 * t[2]], points[2 * t[2] + 1]);
    }
}

}  // namespace

int main() {
    Kernel();
    Foundation();
    Arc();
    Triangulation();
    return 0;
}
