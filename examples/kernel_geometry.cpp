// kernel_geometry: points and vectors, a transform, a line and an arc, and
// their binary records.
//
// Every double is printed with %.17g, enough digits to tell any two doubles
// apart. The library evaluates each formula in one fixed order, each step
// rounded on its own, so the same inputs always give the same bits.
#include <cstdio>

#include <selvora/selvora.h>

static void Print(const char* label, Point3d p) {
    std::printf("%s: %.17g %.17g %.17g\n", label, p.x, p.y, p.z);
}
static void Print(const char* label, Vector3d v) { Print(label, v.asPoint3d()); }
static void Print(const char* label, double d) { std::printf("%s: %.17g\n", label, d); }

int main() {
    // A Point3d is a position, a Vector3d a displacement: point - point is a
    // vector, point + vector a point. Between vectors, * is the dot product
    // and / the cross product.
    Point3d a(1.5, -2.0, 0.25), b(4.0, 2.0, 3.0);
    Vector3d ab = b - a;
    Vector3d side = ab / Vector3d(0.0, 0.0, 1.0);  // perpendicular to ab and to z
    Print("ab", ab);
    Print("midpoint", a + ab * 0.5);
    Print("|ab|", ab.length());
    Print("ab x z", side);
    Print("ab . side", ab * side);

    // A Matrix3d maps p to M * p, and A * B applies B first: here a turn of
    // 30 degrees about the z axis (the axis is normalised for us), then a move.
    const double kPi = 3.14159265358979323846;
    Matrix3d turn, move;
    turn.setToRotation(kPi / 6.0, Vector3d(0.0, 0.0, 2.0));
    move.setToTranslation(Vector3d(10.0, -5.0, 2.0));
    const Matrix3d both = move * turn;
    Print("both * a", both * a);

    // A Line is the segment from a to b. Transforming it moves both ends;
    // the turn keeps the length, up to the rounding of each step.
    Line line(a, b);
    Print("line length", line.GetLength());
    line.transformBy(both);
    Print("moved line length", line.GetLength());
    Print("moved line start", line.GetStartPoint());
    Print("moved line end", line.GetEndPoint());
    // PointSample(count) fills the array with count points from start to end,
    // equally spaced. Each is the one before plus the step, so the last one
    // can differ from the end point in the last digits.
    OvPnt3dArray points;
    line.PointSample(5, points);
    for (int i = 0; i < points.GetSize(); ++i) Print("line sample", points.GetAt(i));

    // A GArc: centre, radius, plane normal, and the directions of its start
    // and end, run counter-clockwise (here from 45 to 180 degrees).
    Vector3d normal(0.0, 0.0, 1.0);
    GArc arc(Point3d(1.0, 2.0, 0.0), 2.0, normal, Vector3d(1.0, 1.0, 0.0),
             Vector3d(-1.0, 0.0, 0.0));
    Print("arc length", arc.GetLength());
    // The transform turns the centre, the normal and both directions. The end
    // direction turns past 180 degrees, where atan2 goes negative; the library
    // then adds 2 pi rounded to single precision, so the length grows by 3.5e-7.
    arc.transformBy(both);
    Print("moved arc centre", arc.GetCenter());
    Print("moved arc start angle", arc.GetStartAngle());
    Print("moved arc end angle", arc.GetEndAngle());
    Print("moved arc length", arc.GetLength());
    arc.PointSample(4, points);  // emptied first, then start, two inner points, end
    for (int i = 0; i < points.GetSize(); ++i) Print("arc sample", points.GetAt(i));

    // Save writes the raw bytes of the fields, with no header: the reader
    // must know which class comes next. The stream must be binary.
    FILE* file = std::tmpfile();
    if (!file) {
        std::perror("tmpfile");
        return 1;
    }
    line.Save(file);
    arc.Save(file);
    std::printf("record bytes: %ld\n", std::ftell(file));
    std::rewind(file);
    Line line2;
    GArc arc2;
    line2.Load(file);
    arc2.Load(file);
    std::fclose(file);

    // Point3d == is exact; Line == allows 2.5e-9 per coordinate; GArc == is exact.
    Point3d nudged = line.GetStartPoint() + Vector3d(1e-9, 0.0, 0.0);
    Line nudgedLine(nudged, line.GetEndPoint());
    std::printf("reloaded line == line: %d\n", line2 == line);
    std::printf("reloaded arc == arc: %d\n", arc2 == arc);
    std::printf("nudged start == start: %d\n", nudged == line.GetStartPoint());
    std::printf("nudged line == line: %d\n", nudgedLine == line);
    return 0;
}
