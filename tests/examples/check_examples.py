#!/usr/bin/env python3
"""Runs one example program and checks every value it prints.

The expected values are computed here, independently of the library:
- kernel_geometry: the library's formulas replayed in Python floats (IEEE
  doubles, each operation rounded on its own, in the library's order; sin,
  cos, atan2, acos and sqrt come from the same C library);
- tessellation: the input read back from the program's output, triangulated
  again by the `triangle` program, and checked with Euler's formula, exact
  areas and orientations;
- images: the pixels read from the file bytes (BMP) or from the reference
  PPM rendering beside a TIFF.

Usage:
  check_examples.py kernel_geometry EXE
  check_examples.py tessellation EXE TRIANGLE_PROGRAM
  check_examples.py image EXE IMAGE (--bmp | --ppm REFERENCE)
  check_examples.py refused EXE [ARG...]
"""

import math
import os
import struct
import subprocess
import sys
import tempfile
from fractions import Fraction


def fail(message):
    print("FAIL: " + message)
    sys.exit(1)


def run(exe, *args):
    result = subprocess.run([exe, *args], capture_output=True, text=True)
    if result.returncode != 0:
        fail(f"{exe} exited with {result.returncode}; stderr:\n{result.stderr}")
    if result.stderr:
        fail(f"{exe} wrote to stderr:\n{result.stderr}")
    return result.stdout


def parse(output):
    """The lines 'label: v1 v2 ...' as (label, [tokens])."""
    lines = []
    for line in output.splitlines():
        label, sep, rest = line.partition(": ")
        if not sep:
            fail(f"unexpected line {line!r}")
        lines.append((label, rest.split()))
    return lines


def bits(x):
    return struct.pack("<d", x)


def compare(output, expected):
    """Each printed number must equal the expected one bit for bit."""
    got = parse(output)
    if [label for label, _ in got] != [label for label, _ in expected]:
        fail("labels differ:\n got      %s\n expected %s"
             % ([g[0] for g in got], [e[0] for e in expected]))
    errors = 0
    for (label, tokens), (_, values) in zip(got, expected):
        if len(tokens) != len(values):
            fail(f"{label}: {len(tokens)} values, expected {len(values)}")
        for token, value in zip(tokens, values):
            if isinstance(value, int):
                ok = token == str(value)
            else:
                ok = bits(float(token)) == bits(value)
            if not ok:
                print(f"MISMATCH {label}: got {token}, expected {value!r}")
                errors += 1
    if errors:
        fail(f"{errors} value(s) differ")
    print(f"ok: {len(expected)} lines checked")


# ---- The kernel's formulas in Python ----

def f32(x):
    return struct.unpack("<f", struct.pack("<f", x))[0]


# Angles below zero are lifted by 2 pi rounded to single precision.
TWO_PI_F = f32(2.0 * math.pi)
LINE_TOL = 2.5e-9  # per-coordinate tolerance of line equality and direction snapping


def add(p, q):
    return (p[0] + q[0], p[1] + q[1], p[2] + q[2])


def sub(p, q):
    return (p[0] - q[0], p[1] - q[1], p[2] - q[2])


def times(p, s):
    return (p[0] * s, p[1] * s, p[2] * s)


def dot(u, v):
    return u[0] * v[0] + u[1] * v[1] + u[2] * v[2]


def cross(u, v):
    return (u[1] * v[2] - u[2] * v[1], u[2] * v[0] - u[0] * v[2], u[0] * v[1] - u[1] * v[0])


def length(v):
    return math.sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2])


def normalized(v):
    n = length(v)
    return v if n == 0.0 else times(v, 1.0 / n)


def identity():
    return [[1.0 if r == c else 0.0 for c in range(4)] for r in range(4)]


def rotation(angle, axis):
    x, y, z = normalized(axis)
    s, c = math.sin(angle), math.cos(angle)
    t = 1.0 - c
    return [[x * x * t + c, x * y * t - z * s, x * z * t + y * s, 0.0],
            [x * y * t + z * s, y * y * t + c, y * z * t - x * s, 0.0],
            [x * z * t - y * s, y * z * t + x * s, z * z * t + c, 0.0],
            [0.0, 0.0, 0.0, 1.0]]


def translation(v):
    m = identity()
    m[0][3], m[1][3], m[2][3] = v
    return m


def scaling(s):
    m = identity()
    m[0][0] = m[1][1] = m[2][2] = s
    return m


def mul(a, b):
    return [[((a[i][0] * b[0][j] + a[i][1] * b[1][j]) + a[i][2] * b[2][j]) + a[i][3] * b[3][j]
             for j in range(4)] for i in range(4)]


def apply_point(m, p):
    return tuple(((m[r][0] * p[0] + m[r][1] * p[1]) + m[r][2] * p[2]) + m[r][3] for r in range(3))


def apply_vector(m, v):
    return tuple((m[r][0] * v[0] + m[r][1] * v[1]) + m[r][2] * v[2] for r in range(3))


def line_length(s, e):
    return (0.5 * length(sub(s, e))) * 2.0


def line_direction(s, e):
    n = line_length(s, e)
    f = 1.0 if n == 0.0 else 1.0 / n
    u = times(sub(e, s), f)
    return tuple(0.0 if abs(c) < LINE_TOL else c for c in u)


def line_samples(s, e, count):
    step = line_length(s, e) / (count - 1)
    w = times(line_direction(s, e), step)
    points, p = [], s
    for _ in range(count):
        points.append(p)
        p = add(p, w)
    return points


def lines_equal(s0, e0, s1, e1):
    return int(all(abs(a - b) < LINE_TOL for a, b in zip(s0 + e0, s1 + e1)))


class Arc:
    def __init__(self, center, radius, normal, start, end):
        self.center, self.radius, self.normal = center, radius, normal
        self.start, self.end = start, end

    def frame(self):
        m = scaling(self.radius)
        n = self.normal
        axis = (n[1], -n[0], 0.0)
        if length(axis) > 0.0:
            phi = math.acos(n[2] / length(n))
            m = mul(rotation(-phi, normalized(axis)), m)
        return mul(translation(self.center), m)

    @staticmethod
    def angle(v):
        a = math.atan2(v[1], v[0])
        return a + TWO_PI_F if a < 0.0 else a

    def angles(self):
        s, e = self.angle(self.start), self.angle(self.end)
        return s, (e + TWO_PI_F if s > e else e)

    def length(self):
        s, e = self.angles()
        return (e - s) * self.radius

    def at(self, t):
        return apply_point(self.frame(), (math.cos(t), math.sin(t), 0.0))

    def middle(self):
        s, e = self.angles()
        return self.at((e + s) * 0.5)

    def transform(self, m):
        before = apply_point(m, self.middle())
        self.center = apply_point(m, self.center)
        self.normal = apply_vector(m, self.normal)
        self.start = apply_vector(m, self.start)
        self.end = apply_vector(m, self.end)
        self.radius = length(apply_vector(m, (self.radius, 0.0, 0.0)))
        if length(sub(before, self.middle())) > self.radius:
            self.start, self.end = self.end, self.start

    def samples(self, count):
        s, e = self.angles()
        step = (e - s) / (count - 1)
        return [self.at(s + float(i) * step) for i in range(count)]


def check_kernel_geometry(exe):
    out = []
    a, b = (1.5, -2.0, 0.25), (4.0, 2.0, 3.0)
    ab = sub(b, a)
    side = cross(ab, (0.0, 0.0, 1.0))
    out += [("ab", ab), ("midpoint", add(a, times(ab, 0.5))), ("|ab|", [length(ab)]),
            ("ab x z", side), ("ab . side", [dot(ab, side)])]

    turn = rotation(math.pi / 6.0, (0.0, 0.0, 2.0))
    both = mul(translation((10.0, -5.0, 2.0)), turn)
    out.append(("both * a", apply_point(both, a)))

    out.append(("line length", [line_length(a, b)]))
    s, e = apply_point(both, a), apply_point(both, b)
    out += [("moved line length", [line_length(s, e)]), ("moved line start", s),
            ("moved line end", e)]
    out += [("line sample", p) for p in line_samples(s, e, 5)]

    arc = Arc((1.0, 2.0, 0.0), 2.0, (0.0, 0.0, 1.0), (1.0, 1.0, 0.0), (-1.0, 0.0, 0.0))
    out.append(("arc length", [arc.length()]))
    arc.transform(both)
    out += [("moved arc centre", arc.center), ("moved arc start angle", [arc.angles()[0]]),
            ("moved arc end angle", [arc.angles()[1]]), ("moved arc length", [arc.length()])]
    out += [("arc sample", p) for p in arc.samples(4)]

    # Records: a line is its two end points, an arc its centre, size, normal,
    # start and end directions; each triple is three 8-byte doubles.
    out.append(("record bytes", [2 * 3 * 8 + 5 * 3 * 8]))
    # The records hold the raw bytes, so the reloaded objects carry the same values.
    out.append(("reloaded line == line", [lines_equal(s, e, s, e)]))
    out.append(("reloaded arc == arc", [1]))
    nudged = add(s, (1e-9, 0.0, 0.0))
    out.append(("nudged start == start", [int(nudged == s)]))
    out.append(("nudged line == line", [lines_equal(nudged, e, s, e)]))
    # Flags and counts print as integers, coordinates as doubles.
    expected = [(label, [v if isinstance(v, int) else float(v) for v in values])
                for label, values in out]
    compare(run(exe), expected)


# ---- Tessellation ----

def ring_area(points, ring):
    """Twice the signed area, exactly."""
    total = Fraction(0)
    for i, j in zip(ring, ring[1:] + ring[:1]):
        (x0, y0), (x1, y1) = points[i], points[j]
        total += x0 * y1 - x1 * y0
    return total


def rings_of(segments):
    """The closed rings of the segment graph, each as its list of vertices."""
    following = {a: b for a, b in segments}
    rings, seen = [], set()
    for start in following:
        if start in seen:
            continue
        ring, v = [], start
        while v not in seen:
            seen.add(v)
            ring.append(v)
            v = following[v]
        if v != start:
            fail("the segments do not form closed rings")
        rings.append(ring)
    return rings


def check_tessellation(exe, triangle_program):
    output = run(exe)
    points, segments, holes, triangles, count = [], [], [], [], None
    for label, tokens in parse(output):
        kind = label.split()[0]
        if kind == "point":
            points.append(tuple(Fraction(float(t)) for t in tokens))
        elif kind == "segment":
            segments.append(tuple(int(t) for t in tokens))
        elif kind == "hole":
            holes.append(tuple(float(t) for t in tokens))
        elif kind == "triangles":
            count = int(tokens[0])
        elif kind == "triangle":
            corners = [int(t) for t in tokens[:3]]
            if tokens[3] != "at":
                fail(f"unexpected triangle line: {tokens}")
            coords = " ".join(tokens[4:]).replace("(", "").replace(")", "").replace(",", "")
            xy = [Fraction(float(t)) for t in coords.split()]
            for k, v in enumerate(corners):
                if v >= len(points) or (xy[2 * k], xy[2 * k + 1]) != points[v]:
                    fail(f"triangle {corners}: corner {v} printed at the wrong place")
            triangles.append(corners)
        else:
            fail(f"unexpected line label {label!r}")
    if count is None or count != len(triangles):
        fail(f"count {count} but {len(triangles)} triangle lines")

    # Euler's formula for a polygon with H polygonal holes and V vertices in
    # all, triangulated without added points: T = V + 2H - 2.
    rings = rings_of(segments)
    euler = len(points) + 2 * (len(rings) - 1) - 2
    if count != euler:
        fail(f"{count} triangles, Euler's formula gives {euler}")

    # Every triangle is counter-clockwise, the areas add up to the outline's
    # less the holes', and every segment is an edge of the result.
    area = Fraction(0)
    for t in triangles:
        twice = ring_area(points, t)
        if twice <= 0:
            fail(f"triangle {t} is not counter-clockwise")
        area += twice
    ring_areas = sorted((abs(ring_area(points, r)) for r in rings), reverse=True)
    if area != ring_areas[0] - sum(ring_areas[1:]):
        fail(f"triangle areas add up to {area / 2}, the region has "
             f"{(ring_areas[0] - sum(ring_areas[1:])) / 2}")
    edges = {frozenset((t[k], t[(k + 1) % 3])) for t in triangles for k in range(3)}
    for s in segments:
        if frozenset(s) not in edges:
            fail(f"segment {s} is not an edge of the triangulation")

    # The same input through the triangle program, zero-based and quiet.
    with tempfile.TemporaryDirectory() as tmp:
        poly = os.path.join(tmp, "shape.poly")
        with open(poly, "w") as f:
            f.write(f"{len(points)} 2 0 0\n")
            for i, (x, y) in enumerate(points):
                f.write(f"{i} {float(x)!r} {float(y)!r}\n")
            f.write(f"{len(segments)} 0\n")
            for i, (p, q) in enumerate(segments):
                f.write(f"{i} {p} {q}\n")
            f.write(f"{len(holes)}\n")
            for i, (x, y) in enumerate(holes):
                f.write(f"{i} {x!r} {y!r}\n")
        subprocess.run([triangle_program, "-pzQ", poly], check=True)
        with open(os.path.join(tmp, "shape.1.ele")) as f:
            rows = [line.split() for line in f if line.strip() and not line.startswith("#")]
    reference = [[int(v) for v in row[1:4]] for row in rows[1:]]
    if int(rows[0][0]) != count:
        fail(f"{count} triangles, the triangle program made {rows[0][0]}")
    # The library hands the same input to the same triangulator, so the
    # triangles come out alike, in the same order and corner order.
    if triangles != reference:
        fail(f"triangles differ from the triangle program's:\n {triangles}\n {reference}")
    print(f"ok: {count} triangles, as the triangle program and Euler's formula give")


# ---- Images ----

def bmp_expectation(path):
    with open(path, "rb") as f:
        data = f.read()
    if data[:2] != b"BM":
        fail(f"{path} is not a BMP file")
    offset, header = struct.unpack_from("<II", data, 10)
    width, height, _, bpp, compression = struct.unpack_from("<iiHHI", data, 18)
    if compression != 0 or height <= 0 or bpp not in (1, 4, 8, 24):
        fail(f"{path}: choose a bottom-up, uncompressed file of 1, 4, 8 or 24 bits")
    stride = (width * bpp + 31) // 32 * 4  # rows are padded to 4 bytes

    def first_pixel(file_row):  # R, G, B of the leftmost pixel
        at = offset + file_row * stride
        if bpp == 24:
            b, g, r = data[at:at + 3]
            return [r, g, b]
        index = data[at] >> (8 - bpp)  # the most significant bits come first
        b, g, r = data[14 + header + 4 * index:14 + header + 4 * index + 3]
        return [r, g, b]

    # The file stores the bottom row first.
    return width, height, 2, first_pixel(height - 1), first_pixel(0)


def ppm_expectation(path):
    with open(path, "rb") as f:
        data = f.read()
    fields, at = [], 0
    while len(fields) < 4:  # magic, width, height, maximum
        while data[at:at + 1].isspace():
            at += 1
        end = at
        while not data[end:end + 1].isspace():
            end += 1
        fields.append(data[at:end])
        at = end
    at += 1  # the single blank before the samples
    if fields[0] != b"P6" or fields[3] != b"255":
        fail(f"{path} is not an 8-bit P6 file")
    width, height = int(fields[1]), int(fields[2])
    pixels = data[at:]

    def pixel(row):  # the picture's top row first
        return list(pixels[row * width * 3:row * width * 3 + 3])

    return width, height, 3, pixel(0), pixel(height - 1)


def check_image(exe, image, mode, reference=None):
    if mode == "--bmp":
        width, height, kind, top, bottom = bmp_expectation(image)
    else:
        width, height, kind, top, bottom = ppm_expectation(reference)
    expected = [("width", [width]), ("height", [height]), ("type", [kind]),
                ("top-left", top), ("bottom-left", bottom)]
    compare(run(exe, image), expected)


def check_refused(exe, args):
    result = subprocess.run([exe, *args], capture_output=True, text=True)
    if result.returncode != 1:
        fail(f"exit status {result.returncode}, expected 1")
    if result.stdout:
        fail(f"printed on stdout:\n{result.stdout}")
    # One line of explanation; anything longer (a sanitizer report, which
    # also exits with 1) is not a clean refusal.
    if len(result.stderr.splitlines()) != 1:
        fail(f"expected one line on stderr, got:\n{result.stderr}")
    print(f"ok: refused with: {result.stderr.strip()}")


def main(argv):
    if len(argv) >= 3 and argv[1] == "kernel_geometry":
        check_kernel_geometry(argv[2])
    elif len(argv) == 4 and argv[1] == "tessellation":
        check_tessellation(argv[2], argv[3])
    elif len(argv) == 5 and argv[1] == "image" and argv[4] == "--bmp":
        check_image(argv[2], argv[3], argv[4])
    elif len(argv) == 6 and argv[1] == "image" and argv[4] == "--ppm":
        check_image(argv[2], argv[3], argv[4], argv[5])
    elif len(argv) >= 3 and argv[1] == "refused":
        check_refused(argv[2], argv[3:])
    else:
        print(__doc__)
        sys.exit(2)


if __name__ == "__main__":
    main(sys.argv)
