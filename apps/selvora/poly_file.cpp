#include "poly_file.h"

#include <cerrno>
#include <climits>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <vector>

namespace selvora_tool {

using selvora_common::PlanarGraph;

namespace {

// The significant lines of a file: comments stripped, blank lines skipped,
// each with its line number for messages.
class LineReader {
  public:
    explicit LineReader(const std::string& path) : path_(path), file_(path) {}

    bool IsOpen() const { return file_.is_open(); }

    // The next line's words; false at the end of the file.
    bool Next(std::vector<std::string>& words) {
        std::string text;
        while (std::getline(file_, text)) {
            ++number_;
            const size_t hash = text.find('#');
            if (hash != std::string::npos) text.erase(hash);
            std::istringstream split(text);
            words.clear();
            for (std::string w; split >> w;) words.push_back(w);
            if (!words.empty()) return true;
        }
        ++number_;  // messages about a missing line name the one after the last
        return false;
    }

    std::string Where() const { return path_ + ":" + std::to_string(number_) + ": "; }

  private:
    std::string path_;
    std::ifstream file_;
    int number_ = 0;
};

bool ParseInt(const std::string& word, long long low, long long high, long long& value) {
    errno = 0;
    char* end = nullptr;
    const long long v = std::strtoll(word.c_str(), &end, 10);
    if (errno != 0 || end == word.c_str() || *end != '\0' || v < low || v > high) return false;
    value = v;
    return true;
}

bool ParseCoordinate(const std::string& word, double& value) {
    errno = 0;
    char* end = nullptr;
    const double v = std::strtod(word.c_str(), &end);
    if (end == word.c_str() || *end != '\0' || !std::isfinite(v)) return false;
    value = v;
    return true;
}

// Reads the header line whose first word is a count; the others must be
// numbers too. what names the list for messages.
bool ReadCount(LineReader& in, const char* what, std::vector<std::string>& words, long long& count,
               std::string& error) {
    if (!in.Next(words)) {
        error = in.Where() + "the file ends where the number of " + what + " should stand";
        return false;
    }
    if (!ParseInt(words[0], 0, INT_MAX, count)) {
        error = in.Where() + "\"" + words[0] + "\" is not a number of " + what;
        return false;
    }
    return true;
}

// The line of entry i of a list of count; at the end of the file, false with
// a message saying how much of the list was there.
bool NextEntry(LineReader& in, const char* what, long long i, long long count,
               std::vector<std::string>& words, std::string& error) {
    if (in.Next(words)) return true;
    error = in.Where() + "the file ends after " + std::to_string(i) + " of " +
            std::to_string(count) + " " + what;
    return false;
}

bool ReadPoint(const std::vector<std::string>& words, LineReader& in, const char* what, double& x,
               double& y, std::string& error) {
    if (words.size() < 3) {
        error = in.Where() + "a " + what + " line needs a number and two coordinates";
        return false;
    }
    if (!ParseCoordinate(words[1], x) || !ParseCoordinate(words[2], y)) {
        error =
            in.Where() + "the coordinates of " + what + " " + words[0] + " are not finite numbers";
        return false;
    }
    return true;
}

// The vertex list: a header "count [dimension [attributes [markers]]]" and
// one line per vertex. first becomes the number of the first vertex.
bool ReadVertices(LineReader& in, PlanarGraph& graph, long long& first, bool& fromNodeFile,
                  std::string& error) {
    std::vector<std::string> words;
    long long count;
    if (!ReadCount(in, "vertices", words, count, error)) return false;
    long long dimension = 2;
    if (words.size() > 1 && (!ParseInt(words[1], 0, INT_MAX, dimension) || dimension != 2)) {
        error = in.Where() + "only two-dimensional vertices can be triangulated (dimension " +
                words[1] + ")";
        return false;
    }
    fromNodeFile = count == 0;
    for (long long i = 0; i < count; ++i) {
        if (!NextEntry(in, "vertices", i, count, words, error)) return false;
        long long number;
        if (!ParseInt(words[0], LLONG_MIN, LLONG_MAX, number)) {
            error = in.Where() + "\"" + words[0] + "\" is not a vertex number";
            return false;
        }
        if (i == 0) {
            if (number != 0 && number != 1) {
                error =
                    in.Where() + "vertices must be numbered from 0 or 1, the first is " + words[0];
                return false;
            }
            first = number;
        } else if (number != first + i) {
            error = in.Where() + "vertex " + words[0] + " is out of order (expected " +
                    std::to_string(first + i) + ")";
            return false;
        }
        double x, y;
        if (!ReadPoint(words, in, "vertex", x, y, error)) return false;
        graph.AddPoint(x, y);
    }
    return true;
}

bool ReadSegments(LineReader& in, PlanarGraph& graph, long long first, std::string& error) {
    std::vector<std::string> words;
    long long count;
    if (!ReadCount(in, "segments", words, count, error)) return false;
    const long long last = first + graph.Points() - 1;
    for (long long i = 0; i < count; ++i) {
        if (!NextEntry(in, "segments", i, count, words, error)) return false;
        if (words.size() < 3) {
            error = in.Where() + "a segment line needs a number and two vertex numbers";
            return false;
        }
        long long a, b;
        if (!ParseInt(words[1], first, last, a) || !ParseInt(words[2], first, last, b)) {
            error = in.Where() + "segment " + words[0] + " names a vertex other than " +
                    std::to_string(first) + " to " + std::to_string(last) + " (" + words[1] + ", " +
                    words[2] + ")";
            return false;
        }
        graph.AddSegment(int(a - first), int(b - first));
    }
    return true;
}

bool ReadHoles(LineReader& in, PlanarGraph& graph, std::string& error) {
    std::vector<std::string> words;
    long long count;
    if (!ReadCount(in, "holes", words, count, error)) return false;
    for (long long i = 0; i < count; ++i) {
        if (!NextEntry(in, "holes", i, count, words, error)) return false;
        double x, y;
        if (!ReadPoint(words, in, "hole", x, y, error)) return false;
        graph.AddHole(x, y);
    }
    return true;
}

std::string NodePathOf(const std::string& polyPath) {
    const std::string suffix = ".poly";
    if (polyPath.size() >= suffix.size() &&
        polyPath.compare(polyPath.size() - suffix.size(), suffix.size(), suffix) == 0) {
        return polyPath.substr(0, polyPath.size() - suffix.size()) + ".node";
    }
    return polyPath + ".node";
}

}  // namespace

bool ReadPolyFile(const std::string& path, PlanarGraph& graph, std::string& error) {
    graph = PlanarGraph();
    LineReader in(path);
    if (!in.IsOpen()) {
        error = "cannot open " + path;
        return false;
    }
    long long first = 0;
    bool fromNodeFile = false;
    if (!ReadVertices(in, graph, first, fromNodeFile, error)) return false;
    if (fromNodeFile) {
        const std::string nodePath = NodePathOf(path);
        LineReader nodes(nodePath);
        if (!nodes.IsOpen()) {
            error = path + ": the vertices are in " + nodePath + ", which cannot be opened";
            return false;
        }
        bool again = false;
        if (!ReadVertices(nodes, graph, first, again, error)) return false;
    }
    return ReadSegments(in, graph, first, error) && ReadHoles(in, graph, error);
}

bool WritePolyFile(const std::string& path, const PlanarGraph& graph) {
    FILE* file = std::fopen(path.c_str(), "w");
    if (!file) return false;
    const std::string text = selvora_common::PolyText(graph);
    const bool ok = std::fwrite(text.data(), 1, text.size(), file) == text.size();
    return std::fclose(file) == 0 && ok;
}

}  // namespace selvora_tool
