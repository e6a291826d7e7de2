// selvora records: reads consecutive geometry records with Load and prints
// their fields, after making sure the file still holds a whole record.
#include <sys/stat.h>

#include <selvora/selvora.h>
#include <cstdio>
#include <cstdlib>
#include <memory>

#include "commands.h"

namespace selvora_tool {

namespace {

void Field(const char* name, double x, double y, double z) {
    std::printf("  %-9s (%.17g, %.17g, %.17g)\n", name, x, y, z);
}
void Field(const char* name, const Point3d& p) { Field(name, p.x, p.y, p.z); }
void Field(const char* name, const Vector3d& v) { Field(name, v.x, v.y, v.z); }
void Field(const char* name, long value) { std::printf("  %-9s %ld\n", name, value); }

void PrintCurve(Geometry& g) {
    Curve& c = static_cast<Curve&>(g);
    Field("start", c.GetStartPoint());
    Field("end", c.GetEndPoint());
    Field("symmetry", long(c.GetSymmetry()));
    Field("extent", long(c.GetExtent()));
    Field("periodic", long(c.IsPeriodic()));
}

void PrintLine(Geometry& g) {
    Line& l = static_cast<Line&>(g);
    Field("start", l.GetStartPoint());
    Field("end", l.GetEndPoint());
}

void PrintArc(Geometry& g) {
    GArc& a = static_cast<GArc&>(g);
    Field("center", a.GetCenter());
    Field("size", a.GetSize());
    Field("normal", a.GetNormal());
    Field("startV", a.GetStartV());
    Field("endV", a.GetEndV());
}

void PrintCircle(Geometry& g) {
    Circle& c = static_cast<Circle&>(g);
    Field("center", c.GetCenter());
    Field("size", c.GetSize());
    Field("normal", c.GetNormal());
}

void PrintTriangle(Geometry& g) {
    Triangle& t = static_cast<Triangle&>(g);
    Field("vertex 0", t.GetPointN(0));
    Field("vertex 1", t.GetPointN(1));
    Field("vertex 2", t.GetPointN(2));
}

template <class T>
std::unique_ptr<Geometry> Make() {
    return std::make_unique<T>();
}

struct RecordClass {
    const char* name;
    std::unique_ptr<Geometry> (*make)();
    void (*print)(Geometry&);
};

const RecordClass kClasses[] = {
    {"GCurve", Make<Curve>, PrintCurve},
    {"GLine", Make<Line>, PrintLine},
    {"GArc", Make<GArc>, PrintArc},
    {"GCircle", Make<Circle>, PrintCircle},
    {"GTriangle", Make<Triangle>, PrintTriangle},
};

const RecordClass* FindClass(const std::string& name) {
    for (const RecordClass& c : kClasses) {
        if (name == c.name) return &c;
    }
    return nullptr;
}

// The size of a class's record: what its Save writes.
long RecordSize(const RecordClass& c) {
    FILE* scratch = std::tmpfile();
    if (!scratch) return -1;
    c.make()->Save(scratch);
    const long size = std::ftell(scratch);
    std::fclose(scratch);
    return size;
}

}  // namespace

int RunRecords(const std::string& path, const std::vector<std::string>& classNames, bool repeat) {
    std::vector<const RecordClass*> classes;
    std::vector<long> sizes;
    for (const std::string& name : classNames) {
        const RecordClass* c = FindClass(name);
        if (!c) return Fail("no record class " + name);
        classes.push_back(c);
        sizes.push_back(RecordSize(*c));
        if (sizes.back() <= 0) return Fail("cannot measure the record of " + name);
    }
    if (classes.empty()) return Fail("no record classes given");

    struct stat info;
    if (stat(path.c_str(), &info) != 0 || (info.st_mode & S_IFMT) != S_IFREG) {
        return Fail(path + ": no such file");
    }
    FILE* file = std::fopen(path.c_str(), "rb");
    if (!file) return Fail(path + ": cannot open");
    const long long total = info.st_size;
    std::printf("%s: %lld bytes\n", path.c_str(), total);

    long long offset = 0;
    int status = 0;
    for (size_t n = 0;; ++n) {
        const size_t k = n % classes.size();
        // One pass through the classes, or with repeat as many as the file
        // holds, ending where a pass would begin.
        const bool passDone = k == 0 && n > 0;
        if (passDone && (!repeat || offset == total)) break;
        const RecordClass& c = *classes[k];
        if (total - offset < sizes[k]) {
            status = Fail(path + ": record " + std::to_string(n + 1) + " (" + c.name + ") needs " +
                          std::to_string(sizes[k]) + " bytes, only " +
                          std::to_string(total - offset) + " remain");
            break;
        }
        std::unique_ptr<Geometry> object = c.make();
        object->Load(file);
        std::printf("record %zu: %s, bytes %lld to %lld\n", n + 1, c.name, offset,
                    offset + sizes[k] - 1);
        c.print(*object);
        offset += sizes[k];
        if (std::ftell(file) != offset) {
            status = Fail(path + ": the file could not be read past byte " +
                          std::to_string(std::ftell(file)));
            break;
        }
    }
    if (status == 0 && offset < total) {
        std::printf("%lld more bytes follow the last record\n", total - offset);
    }
    std::fclose(file);
    return status;
}

}  // namespace selvora_tool
