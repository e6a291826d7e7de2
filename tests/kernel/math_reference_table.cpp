// The expected values where MPFR is not at hand (the Windows build): the table
// file SELVORA_MATH_TABLE, computed with MPFR by the Linux build's
// selvora_math_table for the same arguments (layout in math_reference.h).
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <map>

#include "kernel/math_reference.h"

#ifndef SELVORA_MATH_TABLE
#error "SELVORA_MATH_TABLE names the table file"
#endif

namespace selvora_test {

namespace {

struct Section {
    std::uint64_t hash = 0;
    std::vector<double> values;
};

struct Table {
    bool loaded = false;
    std::string error;
    RoundedConstants constants;
    std::map<std::string, Section> sections;
};

class Reader {
  public:
    explicit Reader(std::FILE* f) : f_(f) {}

    bool Word(std::uint64_t* u) {
        unsigned char b[8];
        if (std::fread(b, 1, 8, f_) != 8) return false;
        *u = 0;
        for (int i = 7; i >= 0; --i) *u = (*u << 8) | b[i];
        return true;
    }
    bool Double(double* d) {
        std::uint64_t u;
        if (!Word(&u)) return false;
        *d = DoubleFromBits(u);
        return true;
    }
    // A NUL-terminated name; false at the end of the file.
    bool Name(std::string* name) {
        name->clear();
        for (;;) {
            const int c = std::fgetc(f_);
            if (c == EOF) return false;
            if (c == 0) return true;
            name->push_back(static_cast<char>(c));
        }
    }

  private:
    std::FILE* f_;
};

Table Load(const char* path) {
    Table table;
    std::FILE* f = std::fopen(path, "rb");
    if (!f) {
        table.error = std::string("cannot read the table of expected values ") + path +
                      " (computed by the Linux build's selvora_math_table when the Windows "
                      "build is configured with SELVORA_LINUX_BUILD_DIR)";
        return table;
    }
    Reader in(f);
    const std::size_t magicSize = sizeof kMathTableMagic - 1;
    char magic[sizeof kMathTableMagic] = {};
    const bool magicRead = std::fread(magic, 1, magicSize, f) == magicSize;
    if (!magicRead || std::memcmp(magic, kMathTableMagic, magicSize) != 0 ||
        !in.Double(&table.constants.pi) || !in.Double(&table.constants.halfPi) ||
        !in.Double(&table.constants.quarterPi) || !in.Double(&table.constants.threeQuarterPi)) {
        table.error = std::string(path) + ": not a table of expected values";
        std::fclose(f);
        return table;
    }
    std::string name;
    while (in.Name(&name)) {
        Section& s = table.sections[name];
        std::uint64_t count;
        if (!in.Word(&count) || !in.Word(&s.hash) || count > (std::uint64_t{1} << 28)) {
            table.error = std::string(path) + ": cut short in " + name;
            std::fclose(f);
            return table;
        }
        s.values.resize(static_cast<std::size_t>(count));
        for (double& v : s.values) {
            if (!in.Double(&v)) {
                table.error = std::string(path) + ": cut short in " + name;
                std::fclose(f);
                return table;
            }
        }
    }
    std::fclose(f);
    table.loaded = true;
    return table;
}

const Table& TheTable() {
    static const Table table = Load(SELVORA_MATH_TABLE);
    return table;
}

}  // namespace

bool ReferenceConstants(RoundedConstants* constants, std::string* error) {
    const Table& table = TheTable();
    if (!table.loaded) {
        *error = table.error;
        return false;
    }
    *constants = table.constants;
    return true;
}

bool ReferenceValues(const MathFamily& family, const std::vector<MathArgs>& args,
                     std::vector<double>* values, std::string* error) {
    const Table& table = TheTable();
    if (!table.loaded) {
        *error = table.error;
        return false;
    }
    const auto found = table.sections.find(family.name);
    if (found == table.sections.end()) {
        *error = std::string("the table has no values for ") + family.name;
        return false;
    }
    const Section& s = found->second;
    if (s.values.size() != args.size() || s.hash != HashOfArguments(args)) {
        *error = std::string("the table's values for ") + family.name +
                 " were computed for other arguments (a stale table: rebuild the Linux "
                 "build's selvora_math_table and the Windows build)";
        return false;
    }
    *values = s.values;
    return true;
}

MathSize ReferenceSize() { return MathSize::kTable; }

const char* ReferenceName() { return "GNU MPFR (the table computed on Linux)"; }

}  // namespace selvora_test
