"""Tests of the selvora command, run on real inputs.

The tool's path and the inputs come from the environment set by CTest:
SELVORA (and SELVORA_EMULATOR), WRITE_RECORDS, TRIANGLE_PROGRAM, TRIANGLE_SAMPLE, SELVORA_TESTDATA,
SELVORA_INSTALLED, SELVORA_INSTALLED_LIBDIR. Expected values are computed
here, independently of the library: file bytes decoded with struct, counts
from the triangle program or from Euler's formula, sample counts from the
sampling rule replayed in Python.
"""

import math
import os
import pathlib
import re
import shlex
import shutil
import struct
import subprocess
import tempfile
import unittest
import xml.etree.ElementTree as ET

SELVORA = os.environ.get("SELVORA", "selvora")
EMULATOR = shlex.split(os.environ.get("SELVORA_EMULATOR", ""))
# The Windows build, run under Wine: its text output ends lines with CRLF
# and it joins paths with backslashes, as Windows programs do.
WINDOWS_TOOL = SELVORA.lower().endswith(".exe")
SVG = "{http://www.w3.org/2000/svg}"
TWO_PI_F = 6.2831854820251465  # single-precision 2*pi widened to double


def run(args, cwd=None, timeout=120, program=None, env=None):
    """Runs the tool (through SELVORA_EMULATOR when set, as Wine runs the
    Windows build); returns (status, stdout bytes, stderr text)."""
    result = subprocess.run(
        EMULATOR + [program or SELVORA] + [str(a) for a in args],
        cwd=cwd,
        capture_output=True,
        timeout=timeout,
        env=env,
    )
    return result.returncode, result.stdout, text(result.stderr)


def text(output):
    """The tool's text output, its lines ended by LF."""
    decoded = output.decode("utf-8", "replace")
    return decoded.replace("\r\n", "\n") if WINDOWS_TOOL else decoded


def shown_path(folder, name):
    """The path of file `name` in `folder` as the tool prints it."""
    separator = "\\" if WINDOWS_TOOL else "/"
    return f"{folder}{separator}{name}"


class ToolCase(unittest.TestCase):
    def setUp(self):
        self.tmp = pathlib.Path(tempfile.mkdtemp(prefix="selvora-cli-"))

    def tearDown(self):
        shutil.rmtree(self.tmp, ignore_errors=True)

    def assertSucceeds(self, args, **kw):
        kw.setdefault("cwd", self.tmp)  # default outputs land in the scratch folder
        status, out, err = run(args, **kw)
        self.assertEqual(status, 0, f"selvora {args} failed: {err}")
        self.assertEqual(err, "", "nothing on stderr on success")
        return text(out)

    def assertFailsClearly(self, args, *phrases, **kw):
        """Exit status 1 (not a signal) and a "selvora: " message on stderr
        holding every phrase; returns (stdout text, stderr)."""
        kw.setdefault("cwd", self.tmp)
        status, out, err = run(args, **kw)
        self.assertEqual(status, 1, f"selvora {args}: status {status}, stderr {err!r}")
        self.assertTrue(err.startswith("selvora: "), err)
        for phrase in phrases:
            self.assertIn(phrase, err)
        return text(out), err


def svg_elements(path, group, tag, cls):
    """The elements <tag class=cls> inside <g id=group> of a parsed SVG file."""
    root = ET.parse(path).getroot()  # raises on malformed XML
    assert root.tag == SVG + "svg", root.tag
    groups = [g for g in root.iter(SVG + "g") if g.get("id") == group]
    assert len(groups) == 1, f"one group {group} in {path}"
    return [e for e in groups[0].iter(SVG + tag) if e.get("class") == cls]


def read_poly(path):
    """Vertex, segment and hole counts of a .poly file, read plainly."""
    lines = []
    for line in pathlib.Path(path).read_text().splitlines():
        words = line.split("#")[0].split()
        if words:
            lines.append(words)
    nv = int(lines[0][0])
    ns = int(lines[1 + nv][0])
    nh = int(lines[2 + nv + ns][0])
    return nv, ns, nh


def triangle_count(poly, workdir):
    """The triangle program's count for a copy of poly (and its .node)."""
    return len(triangle_corners(poly, workdir))


def triangle_corners(poly, workdir):
    """The triangle program's triangles (zero-based corners) for a copy of
    poly (and its .node)."""
    poly = pathlib.Path(poly)
    work = pathlib.Path(workdir) / "triangle-run"
    work.mkdir(exist_ok=True)
    shutil.copy(poly, work / poly.name)
    node = poly.with_suffix(".node")
    if node.exists():
        shutil.copy(node, work / node.name)
    subprocess.run(
        [os.environ["TRIANGLE_PROGRAM"], "-pzQ", poly.name], cwd=work, check=True, timeout=60
    )
    ele = (work / poly.name).with_suffix(".1.ele")
    lines = [l.split() for l in ele.read_text().splitlines() if l.strip() and l[0] != "#"]
    count = int(lines[0][0])
    return [tuple(int(v) for v in l[1:4]) for l in lines[1 : 1 + count]]


def floats_in(text):
    return [float(w) for w in re.findall(r"[-+]?(?:\d+\.?\d*(?:e[-+]?\d+)?|inf|nan)", text)]


def same_double(a, b):
    return struct.pack("<d", a) == struct.pack("<d", b)


def triangle_vertices(poly, workdir):
    """The triangle program's triangles for poly, as triangle_corners has
    them, and its vertex list: the input's, then those it added."""
    corners = triangle_corners(poly, workdir)
    node = (pathlib.Path(workdir) / "triangle-run" / pathlib.Path(poly).name).with_suffix(".1.node")
    lines = [l.split() for l in node.read_text().splitlines() if l.strip() and l[0] != "#"]
    count = int(lines[0][0])
    return corners, [(float(l[1]), float(l[2])) for l in lines[1 : 1 + count]]


def grid_snapped_segments(seed, segments):
    """A square frame from -0.25 to 1.25, and inside it `segments` segments
    between points of the unit square on a 0.01 grid (x = k / 100), the k
    drawn from the Park-Miller generator (x = 48271 x mod 2^31 - 1), the same
    numbers on every platform. Returns (points, segment end pairs)."""
    points = [(-0.25, -0.25), (1.25, -0.25), (1.25, 1.25), (-0.25, 1.25)]
    pairs = [(0, 1), (1, 2), (2, 3), (3, 0)]
    state = seed
    for _ in range(segments):
        ks = []
        for _ in range(4):
            state = state * 48271 % 2147483647
            ks.append(state % 101)
        pairs.append((len(points), len(points) + 1))
        points += [(ks[0] / 100, ks[1] / 100), (ks[2] / 100, ks[3] / 100)]
    return points, pairs


def poly_text(points, pairs):
    """A .poly file of the points (numbered from 0) and segments, no holes;
    every coordinate written so that it reads back the same."""
    text = f"{len(points)} 2 0 0\n"
    text += "".join(f"{i} {x!r} {y!r}\n" for i, (x, y) in enumerate(points))
    text += f"{len(pairs)} 0\n" + "".join(f"{i} {a} {b}\n" for i, (a, b) in enumerate(pairs))
    return text + "0\n"


def crossing_points(points, pairs):
    """The places, exactly, where two segments cross at a point inside both
    (segments along one line share no such point), leaving out places of
    input points: the vertices a triangulation must add."""
    from fractions import Fraction

    exact = [(Fraction(x), Fraction(y)) for x, y in points]
    places = set(exact)
    found = set()
    for i, (a, b) in enumerate(pairs):
        (ax, ay), (bx, by) = exact[a], exact[b]
        for c, d in pairs[i + 1 :]:
            (cx, cy), (dx, dy) = exact[c], exact[d]
            denominator = (bx - ax) * (dy - cy) - (by - ay) * (dx - cx)
            if denominator == 0:
                continue  # parallel, or along one line
            t = ((cx - ax) * (dy - cy) - (cy - ay) * (dx - cx)) / denominator
            u = ((cx - ax) * (by - ay) - (cy - ay) * (bx - ax)) / denominator
            if 0 < t < 1 and 0 < u < 1:
                place = (ax + t * (bx - ax), ay + t * (by - ay))
                if place not in places:
                    found.add(place)
    return found


def svg_places(path, group, tag, cls):
    """(x, y) of the <circle> elements of a group, y pointing up again."""
    return [(float(e.get("cx")), -float(e.get("cy"))) for e in svg_elements(path, group, tag, cls)]


def svg_triangle_area(path):
    """The signed areas of the drawn triangles added up (y pointing up)."""
    total = 0.0
    for polygon in svg_elements(path, "triangles", "polygon", "triangle"):
        (x0, y0), (x1, y1), (x2, y2) = [
            (float(x), -float(y)) for x, y in (p.split(",") for p in polygon.get("points").split())
        ]
        total += ((x1 - x0) * (y2 - y0) - (x2 - x0) * (y1 - y0)) / 2
    return total


def same_places(found, expected, tolerance):
    """Whether two lists of places match one to one within the tolerance (the
    SVG file writes 9 significant digits)."""
    if len(found) != len(expected):
        return False
    left = sorted(expected)
    for p in sorted(found):
        near = [q for q in left if abs(p[0] - q[0]) <= tolerance and abs(p[1] - q[1]) <= tolerance]
        if not near:
            return False
        left.remove(near[0])
    return True


class HelpTest(ToolCase):
    SUBCOMMANDS = ["demo", "tessellate", "records", "image", "fetch", "matrix"]

    def test_help_lists_every_subcommand(self):
        out = self.assertSucceeds(["--help"])
        self.assertIn("Usage: selvora", out)
        for sub in self.SUBCOMMANDS:
            self.assertRegex(out, rf"\n  {sub} ")

    def test_each_subcommand_has_help(self):
        for sub in self.SUBCOMMANDS:
            out = self.assertSucceeds([sub, "--help"])
            self.assertIn(f"Usage: selvora {sub}", out)

    def test_no_subcommand_is_a_usage_error(self):
        self.assertFailsClearly([], "subcommand", "selvora --help")

    def test_unknown_subcommand_and_option(self):
        self.assertFailsClearly(["draw"], "no subcommand draw", "selvora --help")
        self.assertFailsClearly(["demo", "--colour"], "--colour", "selvora demo --help")

    def test_missing_arguments(self):
        self.assertFailsClearly(["tessellate"], "FILE.poly")
        self.assertFailsClearly(["records", "x.bin"], "--as")
        self.assertFailsClearly(["image"], "FILE")
        self.assertFailsClearly(["fetch"], "URL")
        self.assertFailsClearly(["matrix", "http://127.0.0.1:1/"], "DATAFILE")


class DemoTest(ToolCase):
    def test_demo_pictures(self):
        out_dir = self.tmp / "pictures"
        out = self.assertSucceeds(["demo", "--out", out_dir])
        self.assertIn(shown_path(out_dir, "arc.svg"), out)
        self.assertIn(shown_path(out_dir, "tessellation.svg"), out)

        # The arc record the demo saved holds the turned arc: 15 doubles.
        record = (out_dir / "arc.rec").read_bytes()
        self.assertEqual(len(record), 120)
        values = struct.unpack("<15d", record)
        centre, size, start_v, end_v = values[0:3], values[3:6], values[9:12], values[12:15]
        self.assertTrue(math.isclose(centre[0], 0.0, abs_tol=1e-15))
        self.assertEqual(centre[1:], (2.0, 0.0))
        self.assertIn("loaded copy equal: yes", out)

        # Samples before the turn: a half circle of radius 1.5 from angle 0
        # to atan2(0, -1); after it, the angles of the saved directions.
        def sample_count(start, end, radius, spacing=0.25):
            length = (end - start) * radius
            whole = math.floor(length / spacing)
            epsilon = (length - whole * spacing) * 0.5
            return whole + 1 if spacing * 0.5 > epsilon else whole + 3

        def angle(v):
            a = math.atan2(v[1], v[0])
            return a + TWO_PI_F if a < 0 else a

        before = sample_count(angle((1, 0)), angle((-1, 0)), 1.5)
        s, e = angle(start_v), angle(end_v)
        after = sample_count(s, e + TWO_PI_F if s > e else e, size[0])
        arc_svg = out_dir / "arc.svg"
        self.assertEqual(len(svg_elements(arc_svg, "before", "circle", "sample")), before)
        self.assertEqual(len(svg_elements(arc_svg, "after", "circle", "sample")), after)
        self.assertIn(f"sampled before               {before} points", out)
        self.assertIn(f"sampled after                {after} points", out)

        # The triangulation: the outline written beside the picture, counted
        # by Euler's formula for a polygon with polygonal holes and no added
        # points, and by the triangle program.
        nv, ns, nh = read_poly(out_dir / "outline.poly")
        self.assertEqual((nv, ns, nh), (28, 28, 1))
        expected = nv + 2 * nh - 2
        self.assertEqual(triangle_count(out_dir / "outline.poly", self.tmp), expected)
        tess_svg = out_dir / "tessellation.svg"
        self.assertEqual(len(svg_elements(tess_svg, "triangles", "polygon", "triangle")), expected)
        self.assertEqual(len(svg_elements(tess_svg, "segments", "line", "segment")), ns)
        self.assertEqual(len(svg_elements(tess_svg, "vertices", "circle", "vertex")), nv)
        self.assertEqual(len(svg_elements(tess_svg, "holes", "circle", "hole")), nh)
        self.assertIn(f"OV_doTessellation            {expected} triangles", out)

    def test_demo_files_feed_the_other_subcommands(self):
        out_dir = self.tmp / "d"
        self.assertSucceeds(["demo", "--out", out_dir])
        records = self.assertSucceeds(["records", out_dir / "arc.rec", "--as", "GArc"])
        self.assertIn("record 1: GArc, bytes 0 to 119", records)
        tess = self.assertSucceeds(
            ["tessellate", out_dir / "outline.poly", "-o", self.tmp / "again.svg"]
        )
        self.assertIn("28 triangles", tess)

    def test_default_folder(self):
        out = self.assertSucceeds(["demo"], cwd=self.tmp)
        for name in ["arc.svg", "tessellation.svg", "outline.poly", "arc.rec"]:
            self.assertTrue((self.tmp / "selvora-demo" / name).is_file(), name)
        self.assertIn(shown_path("selvora-demo", "arc.svg") + "\n", out)

    def test_folder_that_cannot_be_made(self):
        blocker = self.tmp / "plain-file"
        blocker.write_text("not a folder")
        self.assertFailsClearly(["demo", "--out", blocker / "sub"], "cannot create the folder")
        self.assertFailsClearly(["demo", "--out", blocker], "cannot create the folder")


class TessellateTest(ToolCase):
    def poly(self, name, text):
        path = self.tmp / name
        path.write_text(text)
        return path

    def test_triangle_sample_matches_the_triangle_program(self):
        sample = os.environ["TRIANGLE_SAMPLE"]
        expected = triangle_count(sample, self.tmp)
        out = self.assertSucceeds(["tessellate", sample], cwd=self.tmp)
        self.assertIn(f"\n{expected} triangles\n", out)
        nv, ns, nh = read_poly(sample)
        self.assertIn(f"{nv} points, {ns} segments, {nh} hole", out)
        picture = self.tmp / "A.svg"  # the default: the input's name, here
        self.assertEqual(len(svg_elements(picture, "triangles", "polygon", "triangle")), expected)
        self.assertEqual(len(svg_elements(picture, "segments", "line", "segment")), ns)

    def test_comments_attributes_markers_and_one_based_numbers(self):
        path = self.poly(
            "frame.poly",
            "# a square frame with a triangular hole\n"
            "7 2 1 1   # vertices, dimension, attributes, markers\n"
            "1 0 0 0.5 1\n2 10 0 0.5 1\n3 10 10 0.5 1\n\n4 0 10 0.5 1\n"
            "5 3 3 0 0\n6 7 3 0 0\n7 5 7 0 0\n"
            "7 1\n1 1 2 1\n2 2 3 1\n3 3 4 1\n4 4 1 1\n5 5 6 0\n6 6 7 0\n7 7 5 0\n"
            "1\n1 5 4.5\n"
            "0  # no regional attributes\n",
        )
        expected = triangle_count(path, self.tmp)
        self.assertEqual(expected, 7 + 2 * 1 - 2)
        out = self.assertSucceeds(["tessellate", path, "-o", self.tmp / "frame.svg"])
        self.assertIn(f"\n{expected} triangles\n", out)
        found = svg_elements(self.tmp / "frame.svg", "triangles", "polygon", "triangle")
        self.assertEqual(len(found), expected)

    def test_vertices_from_the_node_file(self):
        (self.tmp / "ring.node").write_text(
            "8 2 0 0\n0 0 0\n1 6 0\n2 6 6\n3 0 6\n4 2 2\n5 4 2\n6 4 4\n7 2 4\n"
        )
        path = self.poly(
            "ring.poly",
            "0 2 0 0\n8 0\n0 0 1\n1 1 2\n2 2 3\n3 3 0\n4 4 5\n5 5 6\n6 6 7\n7 7 4\n1\n0 3 3\n",
        )
        expected = triangle_count(path, self.tmp)
        self.assertEqual(expected, 8)
        out = self.assertSucceeds(["tessellate", path, "-o", self.tmp / "ring.svg"])
        self.assertIn("8 points, 8 segments, 1 hole\n8 triangles\n", out)

    def test_points_without_segments(self):
        path = self.poly("cloud.poly", "5 2\n0 0 0\n1 4 0\n2 4 3\n3 0 3\n4 2 1\n0\n0\n")
        expected = triangle_count(path, self.tmp)
        out = self.assertSucceeds(["tessellate", path, "-o", self.tmp / "cloud.svg"])
        self.assertIn(f"\n{expected} triangles\n", out)

    def test_crossing_segments_add_points(self):
        # A square, and inside it two segments crossing at (2, 2): the
        # triangulator adds the crossing, numbered after the eight points.
        path = self.poly(
            "cross.poly",
            "8 2 0 0\n0 0 0\n1 4 0\n2 4 4\n3 0 4\n4 1 1\n5 3 3\n6 1 3\n7 3 1\n"
            "6 0\n0 0 1\n1 1 2\n2 2 3\n3 3 0\n4 4 5\n5 6 7\n0\n",
        )
        corners = triangle_corners(path, self.tmp)
        hidden = sum(1 for t in corners if max(t) >= 8)
        self.assertEqual(hidden, 4)
        out = self.assertSucceeds(["tessellate", path, "-o", self.tmp / "cross.svg"])
        self.assertIn(f"\n{len(corners)} triangles\n{hidden} of them use points added", out)
        drawn = svg_elements(self.tmp / "cross.svg", "triangles", "polygon", "triangle")
        self.assertEqual(len(drawn), len(corners) - hidden)

    def test_checked_draws_the_added_vertices(self):
        # The square with two segments crossing inside it: with --checked the
        # crossing comes back, is counted and drawn with the triangles using it.
        path = self.poly(
            "cross.poly",
            "8 2 0 0\n0 0 0\n1 4 0\n2 4 4\n3 0 4\n4 1 1\n5 3 3\n6 1 3\n7 3 1\n"
            "6 0\n0 0 1\n1 1 2\n2 2 3\n3 3 0\n4 4 5\n5 6 7\n0\n",
        )
        corners, vertices = triangle_vertices(path, self.tmp)
        added = vertices[8:]
        self.assertGreater(len(added), 0)
        picture = self.tmp / "cross.svg"
        out = self.assertSucceeds(["tessellate", "--checked", path, picture])
        self.assertIn(f"8 points, 6 segments, 0 holes\n{len(corners)} triangles\n", out)
        noun = "vertex" if len(added) == 1 else "vertices"
        self.assertIn(f"\n{len(added)} added {noun}\n", out)
        drawn = svg_elements(picture, "triangles", "polygon", "triangle")
        self.assertEqual(len(drawn), len(corners))  # those using the crossing too
        self.assertTrue(same_places(svg_places(picture, "added", "circle", "added"), added, 1e-8))
        self.assertEqual(len(svg_elements(picture, "vertices", "circle", "vertex")), 8)
        self.assertTrue(math.isclose(svg_triangle_area(picture), 16.0, rel_tol=1e-8))
        # The same graph without --checked: the crossing's triangles are left
        # out and no vertex is marked as added.
        plain = self.tmp / "plain.svg"
        self.assertSucceeds(["tessellate", path, "-o", plain])
        self.assertEqual(ET.parse(plain).getroot().findall(f".//{SVG}g[@id='added']"), [])

    # Twenty random segments on the 0.01 grid in a frame, on which
    # OV_doTessellation meets an internal error of the triangulator and ends
    # the process.
    GRID_SEED = 105
    GRID_SEGMENTS = 20

    def test_checked_triangulates_where_the_plain_call_fails(self):
        points, pairs = grid_snapped_segments(self.GRID_SEED, self.GRID_SEGMENTS)
        path = self.poly("grid.poly", poly_text(points, pairs))
        status, out, err = run(["tessellate", path, "-o", self.tmp / "plain.svg"], cwd=self.tmp)
        self.assertEqual(status, 1, f"OV_doTessellation no longer fails here: {err}")
        self.assertFalse(err.startswith("selvora: "), "the library ends the process")
        self.assertFalse((self.tmp / "plain.svg").exists())

        # Expected: every crossing, exactly, rounded to doubles. In this
        # graph they are far apart from each other and from the input points
        # (beyond any rounding), so each is a vertex of its own. The frame's
        # four corners are the hull, covered by segments, and no hole: by
        # Euler's formula a triangulation of n vertices has 2n - 6 triangles.
        added = sorted((float(x), float(y)) for x, y in crossing_points(points, pairs))
        places = sorted(set(points))

        def apart(p, q):
            return max(abs(p[0] - q[0]), abs(p[1] - q[1])) > 1e-6

        for i, p in enumerate(added):
            self.assertTrue(all(apart(p, q) for q in places + added[i + 1 :]), p)
        expected = 2 * (len(places) + len(added)) - 6

        picture = self.tmp / "grid.svg"
        out = self.assertSucceeds(["tessellate", "--checked", path, "-o", picture])
        self.assertIn(f"\n{expected} triangles\n{len(added)} added vertices\n", out)
        self.assertEqual(len(svg_elements(picture, "triangles", "polygon", "triangle")), expected)
        self.assertTrue(same_places(svg_places(picture, "added", "circle", "added"), added, 1e-8))
        self.assertTrue(math.isclose(svg_triangle_area(picture), 1.5 * 1.5, rel_tol=1e-7))

    def test_checked_names_what_it_cannot_do(self):
        huge = self.poly("huge.poly", "3 2\n0 0 0\n1 1.0000000000000001e76 0\n2 0 1\n0\n0\n")
        self.assertFailsClearly(["tessellate", "--checked", huge],
                                "returned -4, OV_TESSELLATION_BAD_COORDINATE: ")
        two = self.poly("two.poly", "2 2 0 0\n0 0 0\n1 1 0\n0\n0\n")
        self.assertFailsClearly(["tessellate", "--checked", two],
                                "returned -1, OV_TESSELLATION_TOO_FEW_POINTS: ")
        many = 65537
        text = [f"{many} 2 0 0"] + [f"{i} {i % 256} {i // 256}" for i in range(many)]
        big = self.poly("big.poly", "\n".join(text + ["0", "0"]) + "\n")
        self.assertFailsClearly(["tessellate", "--checked", big],
                                "returned -2, OV_TESSELLATION_BAD_COUNT: ")
        self.assertFalse((self.tmp / "huge.svg").exists())

    def test_picture_named_after_the_file(self):
        sample = os.environ["TRIANGLE_SAMPLE"]
        picture = self.tmp / "positional.svg"
        out = self.assertSucceeds(["tessellate", sample, picture])
        self.assertIn(f"picture: {picture}\n", out)
        expected = triangle_count(sample, self.tmp)
        self.assertEqual(len(svg_elements(picture, "triangles", "polygon", "triangle")), expected)
        self.assertFailsClearly(["tessellate", sample, picture, "-o", self.tmp / "x.svg"],
                                "excludes")

    def test_points_at_one_place_and_repeated_points(self):
        same = self.poly("same.poly", "3 2\n0 5 5\n1 5 5\n2 5 5\n3 0\n0 0 1\n1 1 2\n2 2 0\n0\n")
        out = self.assertSucceeds(["tessellate", same, "-o", self.tmp / "same.svg"])
        self.assertIn("\n0 triangles\n", out)
        # A closed outline repeating its first point: the repeat is merged.
        closed = self.poly(
            "closed.poly", "5 2\n0 0 0\n1 4 0\n2 4 4\n3 0 4\n4 0 0\n4 0\n0 0 1\n1 1 2\n2 2 3\n3 3 4\n0\n"
        )
        out = self.assertSucceeds(["tessellate", closed, "-o", self.tmp / "closed.svg"])
        self.assertIn("\n2 triangles\n", out)

    def test_coordinates_beyond_the_limit(self):
        path = self.poly("huge.poly", "3 2\n0 0 0\n1 1.0000000000000001e76 0\n2 0 1\n0\n0\n")
        self.assertFailsClearly(["tessellate", path], "point 1 has a coordinate",
                                "(non-zero magnitudes run from 1e-60 to 1e75)")
        tiny = self.poly("tiny.poly", "3 2\n0 0 0\n1 1 0\n2 0 9e-61\n0\n0\n")
        self.assertFailsClearly(["tessellate", tiny], "point 2 has a coordinate", "1e-60")

    MALFORMED = [
        # (file text, line named, phrase)
        ("", 1, "number of vertices"),
        ("# only a comment\n", 2, "number of vertices"),
        ("four 2 0 0\n", 1, "not a number of vertices"),
        ("-3 2 0 0\n", 1, "not a number of vertices"),
        ("99999999999 2 0 0\n", 1, "not a number of vertices"),
        ("3 3 0 0\n0 0 0 0\n", 1, "two-dimensional"),
        ("3 2 0 0\n0 0 0\n1 1 0\n", 4, "after 2 of 3 vertices"),
        ("3 2 0 0\n0 0 0\n1 1\n2 0 1\n", 3, "needs a number and two coordinates"),
        ("3 2 0 0\n0 0 0\n1 abc 0\n2 0 1\n", 3, "not finite numbers"),
        ("3 2 0 0\n0 0 0\n1 nan 0\n2 0 1\n", 3, "not finite numbers"),
        ("3 2 0 0\n0 0 0\n1 1 inf\n2 0 1\n", 3, "not finite numbers"),
        ("3 2 0 0\n0 0 0\n1 1e999 0\n2 0 1\n", 3, "not finite numbers"),
        ("3 2 0 0\n5 0 0\n6 1 0\n7 0 1\n", 2, "numbered from 0 or 1"),
        ("3 2 0 0\n0 0 0\n2 1 0\n1 0 1\n", 3, "out of order (expected 1)"),
        ("3 2 0 0\nx 0 0\n", 2, "not a vertex number"),
        ("3 2 0 0\n0 0 0\n1 1 0\n2 0 1\n", 5, "number of segments"),
        ("3 2 0 0\n0 0 0\n1 1 0\n2 0 1\n1 0\n0 0 3\n", 6, "names a vertex other than 0 to 2"),
        ("3 2 0 0\n1 0 0\n2 1 0\n3 0 1\n1 0\n1 0 1\n", 6, "names a vertex other than 1 to 3"),
        ("3 2 0 0\n0 0 0\n1 1 0\n2 0 1\n1 0\n0 0\n", 6, "two vertex numbers"),
        ("3 2 0 0\n0 0 0\n1 1 0\n2 0 1\n2 0\n0 0 1\n", 7, "after 1 of 2 segments"),
        ("3 2 0 0\n0 0 0\n1 1 0\n2 0 1\n0\n", 6, "number of holes"),
        ("3 2 0 0\n0 0 0\n1 1 0\n2 0 1\n0\n1\n0 0.2\n", 7, "needs a number and two coordinates"),
        ("3 2 0 0\n0 0 0\n1 1 0\n2 0 1\n0\n2\n0 0.2 0.2\n", 8, "after 1 of 2 holes"),
    ]

    def test_malformed_files_name_the_line(self):
        for i, (text, line, phrase) in enumerate(self.MALFORMED):
            with self.subTest(case=i, text=text):
                path = self.poly(f"bad{i}.poly", text)
                svg = self.tmp / f"bad{i}.svg"
                self.assertFailsClearly(["tessellate", path, "-o", svg], f"{path}:{line}: ", phrase)
                self.assertFalse(svg.exists())

    def test_graphs_the_buffers_cannot_take(self):
        two = self.poly("two.poly", "2 2 0 0\n0 0 0\n1 1 0\n0\n0\n")
        self.assertFailsClearly(["tessellate", two], "at least 3 points, the graph has 2")
        empty = self.poly("empty.poly", "0 2 0 0\n0\n0\n")
        (self.tmp / "empty.node").write_text("0 2 0 0\n")
        self.assertFailsClearly(["tessellate", empty], "at least 3 points, the graph has 0")
        many = 65537
        text = [f"{many} 2 0 0"] + [f"{i} {i % 256} {i // 256}" for i in range(many)]
        big = self.poly("big.poly", "\n".join(text + ["0", "0"]) + "\n")
        self.assertFailsClearly(["tessellate", big], "65537 points are more than the 65536")
        holes = ["4 2 0 0", "0 0 0", "1 1 0", "2 1 1", "3 0 1", "0", "3001"]
        holes += [f"{i} 0.5 0.5" for i in range(3001)]
        self.assertFailsClearly(
            ["tessellate", self.poly("holes.poly", "\n".join(holes) + "\n")],
            "3001 holes are more than the 3000",
        )

    def test_missing_files(self):
        self.assertFailsClearly(["tessellate", self.tmp / "none.poly"], "no such file")
        self.assertFailsClearly(["tessellate", self.tmp], "no such file")
        path = self.poly("nodeless.poly", "0 2 0 0\n0\n0\n")
        self.assertFailsClearly(["tessellate", path], "nodeless.node, which cannot be opened")

    def test_unwritable_picture(self):
        sample = os.environ["TRIANGLE_SAMPLE"]
        self.assertFailsClearly(
            ["tessellate", sample, "-o", self.tmp / "no" / "such" / "x.svg"], "cannot write"
        )


class RecordsTest(ToolCase):
    # Values for each class, as write_records takes them.
    CURVE = [1.5, -2.25, 3.0, 0.1, 0.2, -0.30000000000000004, 2, 2, 1]
    LINE = [-1.0, 0.0, 1e-300, 2.5, 1e300, -7.0]
    ARC = [2.0, 0.0, 0.0, 1.5, 0.0, 0.0, 1.0, 1.0, 0.0, 0.0, -1.0, 0.0, 0.0]
    CIRCLE = [0.25, -0.5, 4.0, 3.0, 0.0, 1.0, 0.0]
    TRIANGLE = [0.0, 0.0, 0.0, 1.0, 0.0, 0.0, 0.0, 1.0, 0.0]

    def write(self, name, *groups):
        args = [os.environ["WRITE_RECORDS"], self.tmp / name]
        for cls, values in groups:
            args += [cls] + [repr(v) for v in values]
        subprocess.run([str(a) for a in args], check=True, timeout=60)
        return self.tmp / name

    @staticmethod
    def expected_fields(cls, v):
        """The fields printed for a record, in order, from the values given."""
        if cls == "GCurve":
            return [("start", v[0:3]), ("end", v[3:6]), ("symmetry", [v[6]]),
                    ("extent", [v[7]]), ("periodic", [v[8]])]
        if cls == "GLine":
            return [("start", v[0:3]), ("end", v[3:6])]
        if cls == "GArc":
            r = v[3]
            return [("center", v[0:3]), ("size", [r, r, r]), ("normal", v[4:7]),
                    ("startV", v[7:10]), ("endV", v[10:13])]
        if cls == "GCircle":
            r = v[3]
            return [("center", v[0:3]), ("size", [r, r, r]), ("normal", v[4:7])]
        return [("vertex 0", v[0:3]), ("vertex 1", v[3:6]), ("vertex 2", v[6:9])]

    def check_records(self, out, groups, first_offset=0):
        blocks = re.split(r"\nrecord \d+: ", out)[1:]
        self.assertEqual(len(blocks), len(groups))
        sizes = {"GCurve": 60, "GLine": 48, "GArc": 120, "GCircle": 72, "GTriangle": 72}
        offset = first_offset
        for block, (cls, values) in zip(blocks, groups):
            lines = block.strip("\n").split("\n")
            self.assertEqual(lines[0], f"{cls}, bytes {offset} to {offset + sizes[cls] - 1}")
            offset += sizes[cls]
            fields = self.expected_fields(cls, values)
            self.assertEqual(len(lines) - 1, len(fields), block)
            for line, (name, numbers) in zip(lines[1:], fields):
                self.assertTrue(line.strip().startswith(name), line)
                printed = floats_in(line[len(name) + 2:])
                self.assertEqual(len(printed), len(numbers), line)
                for p, n in zip(printed, numbers):
                    self.assertTrue(same_double(p, float(n)), f"{line}: {p!r} != {n!r}")

    def test_every_class_read_back_exactly(self):
        groups = [("GCurve", self.CURVE), ("GLine", self.LINE), ("GArc", self.ARC),
                  ("GCircle", self.CIRCLE), ("GTriangle", self.TRIANGLE)]
        path = self.write("all.rec", *groups)
        self.assertEqual(path.stat().st_size, 60 + 48 + 120 + 72 + 72)
        out = self.assertSucceeds(
            ["records", path, "--as", "GCurve,GLine,GArc,GCircle,GTriangle"])
        self.assertTrue(out.startswith(f"{path}: 372 bytes\n"))
        self.check_records(out, groups)
        self.assertNotIn("more bytes", out)

    def test_classes_given_one_by_one(self):
        groups = [("GLine", self.LINE), ("GTriangle", self.TRIANGLE)]
        path = self.write("two.rec", *groups)
        out = self.assertSucceeds(["records", path, "--as", "GLine", "--as", "GTriangle"])
        self.check_records(out, groups)

    def test_repeat_reads_to_the_end(self):
        lines = [("GLine", [float(i), 0.5, -0.5, 2.0 * i, 1.0, 0.0]) for i in range(5)]
        path = self.write("lines.rec", *lines)
        out = self.assertSucceeds(["records", path, "--as", "GLine", "--repeat"])
        self.check_records(out, lines)
        mixed = self.write("mixed.rec", ("GLine", self.LINE), ("GCircle", self.CIRCLE),
                           ("GLine", self.LINE), ("GCircle", self.CIRCLE))
        out = self.assertSucceeds(["records", mixed, "--as", "GLine,GCircle", "--repeat"])
        self.assertEqual(out.count("\nrecord "), 4)

    def test_short_file_is_reported(self):
        path = self.write("all.rec", ("GLine", self.LINE), ("GArc", self.ARC))
        data = path.read_bytes()
        path.write_bytes(data[:-37])
        status, raw, err = run(["records", path, "--as", "GLine,GArc"])
        self.assertEqual(status, 1)
        self.assertIn("record 2 (GArc) needs 120 bytes, only 83 remain", err)
        out = text(raw)
        self.check_records(out, [("GLine", self.LINE)])  # the whole record before is shown
        self.assertNotIn("record 2", out)

    def test_repeat_ending_inside_a_record(self):
        path = self.write("lines.rec", ("GLine", self.LINE), ("GLine", self.LINE))
        path.write_bytes(path.read_bytes() + b"\0" * 24)
        status, out, err = run(["records", path, "--as", "GLine", "--repeat"])
        self.assertEqual(status, 1)
        self.assertIn("record 3 (GLine) needs 48 bytes, only 24 remain", err)

    def test_empty_file(self):
        path = self.tmp / "empty.rec"
        path.write_bytes(b"")
        self.assertFailsClearly(["records", path, "--as", "GCircle"],
                                "record 1 (GCircle) needs 72 bytes, only 0 remain")

    def test_bytes_after_the_last_record_are_counted(self):
        path = self.write("one.rec", ("GCircle", self.CIRCLE))
        path.write_bytes(path.read_bytes() + b"tail")
        out = self.assertSucceeds(["records", path, "--as", "GCircle"])
        self.assertTrue(out.endswith("\n4 more bytes follow the last record\n"), out)
        self.check_records(out[: out.rindex("4 more bytes")], [("GCircle", self.CIRCLE)])

    def test_bad_arguments(self):
        path = self.write("one.rec", ("GLine", self.LINE))
        self.assertFailsClearly(["records", path, "--as", "GPolygon"], "GPolygon")
        self.assertFailsClearly(["records", path, "--as", "GLine,gline"], "gline")
        self.assertFailsClearly(["records", path, "--as", "GImplictCurve"], "GImplictCurve")
        self.assertFailsClearly(["records", self.tmp / "none.rec", "--as", "GLine"],
                                "no such file")
        self.assertFailsClearly(["records", self.tmp, "--as", "GLine"], "no such file")


def decode_bmp(data):
    """(width, height, rows top first as RGB bytes) of an uncompressed 1, 4,
    8 or 24-bit BMP with a 40-byte or longer header; None otherwise."""
    if data[:2] != b"BM" or len(data) < 54:
        return None
    offset = struct.unpack_from("<I", data, 10)[0]
    header, width, height, planes, bits, compression = struct.unpack_from("<IiiHHI", data, 14)
    colours = struct.unpack_from("<I", data, 46)[0]
    if header < 40 or compression != 0 or bits not in (1, 4, 8, 24) or width <= 0:
        return None
    top_down = height < 0
    height = abs(height)
    palette = []
    if bits != 24:
        count = colours or (1 << bits)
        base = 14 + header
        for i in range(count):
            b, g, r = data[base + 4 * i: base + 4 * i + 3]
            palette.append(bytes((r, g, b)))
    stride = (width * bits + 31) // 32 * 4
    rows = []
    for r in range(height):
        start = offset + r * stride
        row = data[start:start + stride]
        pixels = bytearray()
        for x in range(width):
            if bits == 24:
                b, g, rr = row[3 * x: 3 * x + 3]
                pixels += bytes((rr, g, b))
            else:
                bit = x * bits
                index = (row[bit // 8] >> (8 - bits - bit % 8)) & ((1 << bits) - 1)
                pixels += palette[index]
        rows.append(bytes(pixels))
    if not top_down:
        rows.reverse()  # the file stores the bottom row first
    return width, height, rows


def read_ppm(path):
    data = pathlib.Path(path).read_bytes()
    match = re.match(rb"P6\n(\d+) (\d+)\n255\n", data)
    assert match, data[:20]
    return int(match.group(1)), int(match.group(2)), data[match.end():]


class ImageTest(ToolCase):
    def testdata(self, *parts):
        return pathlib.Path(os.environ["SELVORA_TESTDATA"], *parts)

    def test_bmp_files_match_an_independent_decoding(self):
        for name in ["rgb24.bmp", "pal8.bmp", "pal4.bmp", "pal1.bmp", "pal8topdown.bmp"]:
            with self.subTest(name=name):
                path = self.testdata("bmpsuite", "g", name)
                width, height, rows = decode_bmp(path.read_bytes())
                ppm = self.tmp / (name + ".ppm")
                out = self.assertSucceeds(["image", path, "-o", ppm])
                self.assertIn(f"{path}: {width} x {height}, BMP (type 2)\n", out)
                self.assertEqual(read_ppm(ppm), (width, height, b"".join(rows)))

    def test_tiff_matches_its_reference(self):
        path = self.testdata("libtiff-images", "rgb-3c-8b.tiff")
        reference = path.with_suffix(".ppm")
        ppm = self.tmp / "rgb.ppm"
        # Load goes by the last three letters of the name: "iff" is neither
        # reader's; the message says how to choose the reader.
        self.assertFailsClearly(["image", path, "-o", ppm], "--reader tif")
        self.assertFalse(ppm.exists())
        out = self.assertSucceeds(["image", path, "--reader", "tif", "-o", ppm])
        width, height, pixels = read_ppm(reference)
        self.assertIn(f"{width} x {height}, TIFF (type 3)", out)
        self.assertEqual(read_ppm(ppm), (width, height, pixels))
        # Under a .tif name CImage::Load itself picks the TIFF reader.
        renamed = self.tmp / "rgb.TIF"
        shutil.copy(path, renamed)
        self.assertSucceeds(["image", renamed, "-o", self.tmp / "again.ppm"])
        self.assertEqual(read_ppm(self.tmp / "again.ppm"), (width, height, pixels))

    def test_reader_chosen_against_the_name(self):
        path = self.testdata("bmpsuite", "g", "rgb24.bmp")
        self.assertFailsClearly(["image", path, "--reader", "tif"], "not loaded")
        out = self.assertSucceeds(["image", path, "--reader", "bmp"])
        self.assertIn("BMP (type 2)", out)
        self.assertFailsClearly(["image", path, "--reader", "png"], "png")

    def test_every_corpus_file_loads_or_is_refused(self):
        files = sorted(self.testdata("bmpsuite").glob("[bgq]/*.bmp"))
        files += sorted(self.testdata("libtiff-images").glob("*.tif*"))
        self.assertGreater(len(files), 60)
        for path in files:
            with self.subTest(path=path.name):
                ppm = self.tmp / "out.ppm"
                if ppm.exists():
                    ppm.unlink()
                status, out, err = run(["image", path, "--reader",
                                        "bmp" if path.suffix == ".bmp" else "tif", "-o", ppm])
                self.assertIn(status, (0, 1), err)
                if status == 0:
                    width, height, pixels = read_ppm(ppm)
                    self.assertEqual(len(pixels), width * height * 3)
                    self.assertIn(f"{width} x {height}", text(out))
                else:
                    self.assertTrue(err.startswith("selvora: "), err)
                    self.assertFalse(ppm.exists())

    def test_missing_and_unwritable(self):
        self.assertFailsClearly(["image", self.tmp / "none.bmp"], "not loaded")
        self.assertFailsClearly(["image", self.testdata("bmpsuite", "reference")], "not loaded")
        path = self.testdata("bmpsuite", "g", "rgb24.bmp")
        self.assertFailsClearly(["image", path, "-o", self.tmp / "no" / "x.ppm"], "cannot write")


class LoopbackServer:
    """The tests' loopback HTTP server (the program selvora_loopback_http):
    fixed pages, a binary file, a 404, a redirect, and POST answers of 16
    little-endian doubles (or too few bytes). `posts` lists each POST as
    (path, body, Content-Type) from the requests the server recorded."""

    MATRIX = [1.0, -0.0, 0.1, 2.5e-300, -3.75, 1e300, 0.30000000000000004, 7.0,
              -1.0 / 3.0, 2.0 ** -1074, 42.0, -5e-324, 0.0, 0.0, 0.0, 1.0]
    PAGE = b"<html><body>Selvora loopback page \xc3\xa9</body></html>\n"
    BINARY = bytes((i * 7 + i // 256) % 256 for i in range(300000))

    REASONS = {200: "OK", 302: "Found", 404: "Not Found"}

    @staticmethod
    def response(status, body, headers=()):
        head = f"HTTP/1.1 {status} {LoopbackServer.REASONS[status]}\r\n"
        for k, v in headers:
            head += f"{k}: {v}\r\n"
        head += f"Content-Length: {len(body)}\r\nConnection: close\r\n\r\n"
        return head.encode() + body

    def __init__(self):
        self.dir = pathlib.Path(tempfile.mkdtemp(prefix="selvora-loopback-"))
        self.log = self.dir / "requests"
        self.log.mkdir()
        answer = struct.pack("<16d", *self.MATRIX) + b"extra bytes are ignored"
        routes = {
            "/page": self.response(200, self.PAGE, [("Content-Type", "text/html")]),
            "/binary": self.response(200, self.BINARY),
            "/moved": self.response(302, b"", [("Location", "/page")]),
            "/matrix": self.response(200, answer),
            "/short": self.response(200, answer[:127]),
        }
        args = [os.environ["SELVORA_LOOPBACK_HTTP"], "--log", str(self.log)]
        for n, (path, response) in enumerate(routes.items()):
            file = self.dir / f"response-{n}"
            file.write_bytes(response)
            args.append(f"{path}={file}")
        self.process = subprocess.Popen(args, stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        port = self.process.stdout.readline().strip().decode()
        self.url = f"http://127.0.0.1:{port}"

    @property
    def posts(self):
        requests = sorted(self.log.glob("request-*"), key=lambda p: int(p.name.split("-")[1]))
        posts = []
        for file in requests:
            raw = file.read_bytes()
            head, _, body = raw.partition(b"\r\n\r\n")
            lines = head.decode("latin-1").split("\r\n")
            method, path, _ = lines[0].split(" ", 2)
            if method != "POST":
                continue
            fields = dict(l.split(": ", 1) for l in lines[1:] if ": " in l)
            posts.append((path, body, fields.get("Content-Type")))
        return posts

    def close(self):
        self.process.stdin.close()
        self.process.wait(timeout=30)
        self.process.stdout.close()
        shutil.rmtree(self.dir, ignore_errors=True)


def closed_port_url():
    import socket

    s = socket.socket()
    s.bind(("127.0.0.1", 0))
    port = s.getsockname()[1]
    s.close()
    return f"http://127.0.0.1:{port}/"


class ServerCase(ToolCase):
    """A case with its own loopback server."""

    def setUp(self):
        super().setUp()
        self.server = LoopbackServer()

    def tearDown(self):
        self.server.close()
        super().tearDown()


class FetchTest(ServerCase):
    def test_page_printed(self):
        status, out, err = run(["fetch", self.server.url + "/page"])
        self.assertEqual((status, err), (0, ""))
        self.assertEqual(out, LoopbackServer.PAGE)

    def test_redirect_followed(self):
        status, out, err = run(["fetch", self.server.url + "/moved"])
        self.assertEqual((status, out), (0, LoopbackServer.PAGE), err)

    def test_download_to_file(self):
        target = self.tmp / "download.bin"
        out = self.assertSucceeds(["fetch", self.server.url + "/binary", "-o", target])
        self.assertEqual(target.read_bytes(), LoopbackServer.BINARY)
        self.assertIn(f"{len(LoopbackServer.BINARY)} bytes written to {target}", out)

    def test_failures(self):
        self.assertFailsClearly(["fetch", self.server.url + "/missing"], "status other than 2xx")
        target = self.tmp / "kept.bin"
        target.write_bytes(b"old")
        self.assertFailsClearly(["fetch", self.server.url + "/missing", "-o", target],
                                "not downloaded")
        self.assertEqual(target.read_bytes(), b"old")
        self.assertFailsClearly(["fetch", closed_port_url()], "no page")
        self.assertFailsClearly(["fetch", "not a url"], "no page")
        self.assertFailsClearly(["fetch", self.server.url + "/binary", "-o",
                                 self.tmp / "no" / "dir" / "x"], "not downloaded")


class MatrixTest(ServerCase):
    def test_matrix_printed_exactly(self):
        data = (b"\r\nContent-Disposition: form-data; name=\"symbol\"\r\n\r\n"
                b"\x00\x01\x02 binary \xff\r\n--1122334455--\r\n")
        datafile = self.tmp / "body.bin"
        datafile.write_bytes(data)
        out = self.assertSucceeds(["matrix", self.server.url + "/matrix", datafile])
        rows = out.strip("\n").split("\n")
        self.assertEqual(len(rows), 4)
        printed = [float(w) for row in rows for w in row.split()]
        self.assertEqual(len(printed), 16)
        for p, m in zip(printed, LoopbackServer.MATRIX):
            self.assertTrue(same_double(p, m), f"{p!r} != {m!r}")
        path, body, content_type = self.server.posts[-1]
        self.assertEqual(body, b"1122334455" + data)
        self.assertEqual(content_type, "multipart/form-data; boundary=1122334455")

    def test_empty_data_file(self):
        datafile = self.tmp / "empty.bin"
        datafile.write_bytes(b"")
        self.assertSucceeds(["matrix", self.server.url + "/matrix", datafile])
        self.assertEqual(self.server.posts[-1][1], b"1122334455")

    def test_failures(self):
        datafile = self.tmp / "body.bin"
        datafile.write_bytes(b"x")
        self.assertFailsClearly(["matrix", self.server.url + "/short", datafile],
                                "fewer than 128 bytes")
        self.assertFailsClearly(["matrix", self.server.url + "/error", datafile], "no matrix")
        self.assertFailsClearly(["matrix", closed_port_url(), datafile], "no matrix")
        self.assertFailsClearly(["matrix", self.server.url + "/matrix", self.tmp / "none"],
                                "no such file")
        self.assertFailsClearly(["matrix", self.server.url + "/matrix", self.tmp],
                                "no such file")


# The DLLs of Windows itself that the Windows build may import.
# Windows' own DLLs, the Universal CRT and the C++ runtime of Visual Studio
# 2015 and later: what a client built with /MD has already.
WINDOWS_OWN_DLLS = {"kernel32.dll", "user32.dll", "wininet.dll", "ucrtbase.dll",
                    "vcruntime140.dll"}


def dll_imports(path):
    """The DLLs a Windows program or DLL imports, from its import table."""
    dump = subprocess.run(
        [os.environ["SELVORA_OBJDUMP"], "-p", str(path)],
        capture_output=True, text=True, check=True,
    ).stdout
    return [l.split("DLL Name:")[1].strip().lower() for l in dump.splitlines() if "DLL Name:" in l]


class InstalledTest(ToolCase):
    """The installed tool runs as a client of the installed library."""

    def test_installed_tool_uses_the_installed_library(self):
        program = os.environ["SELVORA_INSTALLED"]
        libdir = os.path.realpath(os.environ["SELVORA_INSTALLED_LIBDIR"])
        env = {k: v for k, v in os.environ.items() if k != "LD_LIBRARY_PATH"}
        if WINDOWS_TOOL:
            self.check_windows_imports(program, libdir)
        else:
            ldd = subprocess.run(["ldd", program], capture_output=True, text=True, env=env)
            line = [l for l in ldd.stdout.splitlines() if "libSelvora100_64.so" in l]
            self.assertEqual(len(line), 1, ldd.stdout)
            resolved = line[0].split("=>")[1].split("(")[0].strip()
            self.assertEqual(os.path.dirname(os.path.realpath(resolved)), libdir)
        out_dir = self.tmp / "installed-demo"
        status, out, err = run(["demo", "--out", out_dir], program=program, env=env)
        self.assertEqual(status, 0, err)
        self.assertTrue((out_dir / "tessellation.svg").is_file())

    def check_windows_imports(self, program, libdir):
        """selvora.exe takes the DLL beside it (where Windows looks first), and
        neither needs a DLL beyond Windows' own and the C runtime's: one C
        runtime, and no C++ library DLL (msvcp140.dll)."""
        self.assertEqual(os.path.dirname(os.path.realpath(program)), libdir)
        library = pathlib.Path(libdir) / "Selvora100_64.dll"
        self.assertTrue(library.is_file())
        imports = dll_imports(program)
        self.assertIn("selvora100_64.dll", imports)
        self.assertIn("ucrtbase.dll", dll_imports(library))
        for dll in imports + dll_imports(library):
            self.assertIn(dll, WINDOWS_OWN_DLLS | {"selvora100_64.dll"})


if __name__ == "__main__":
    unittest.main()
