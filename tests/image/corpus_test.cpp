// Image files written by other programs, read through CImage.
#include <gtest/gtest.h>
#include <png.h>

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <vector>

#include "selvora/image/image.h"

// ============================================================================================
// BMP corpus: the BMP Suite files in testdata/bmpsuite (suites BmpSuite*).
//
// g/ and q/: every uncompressed 1, 4, 8 or 24-bit file with an information
// header of at least 40 bytes must load and equal its PNG rendering in reference/;
// every other file is refused or loads without harm. b/: every file is
// refused or loads without harm (the sanitizer build checks the "harm").
// ============================================================================================
namespace bmp_corpus {

namespace fs = std::filesystem;

const fs::path kSuiteDir = fs::path(SELVORA_TESTDATA_DIR) / "bmpsuite";

// The header fields that decide whether the reader understands a file.
struct Header {
    bool complete = false;  // 54 bytes starting with "BM"
    std::uint32_t headerSize = 0;
    std::int32_t width = 0;
    std::int32_t height = 0;
    std::uint16_t bits = 0;
    std::uint32_t compression = 0;
};

std::uint32_t Le(const unsigned char* p, int n) {
    std::uint32_t v = 0;
    for (int i = n - 1; i >= 0; --i) v = (v << 8) | p[i];
    return v;
}

Header ReadHeader(const fs::path& path) {
    Header h;
    std::ifstream in(path, std::ios::binary);
    unsigned char b[54];
    if (!in.read(reinterpret_cast<char*>(b), sizeof b) || b[0] != 'B' || b[1] != 'M') return h;
    h.complete = true;
    h.headerSize = Le(b + 14, 4);
    h.width = static_cast<std::int32_t>(Le(b + 18, 4));
    h.height = static_cast<std::int32_t>(Le(b + 22, 4));
    h.bits = static_cast<std::uint16_t>(Le(b + 28, 2));
    h.compression = Le(b + 30, 4);
    return h;
}

bool DepthRead(std::uint16_t bits) { return bits == 1 || bits == 4 || bits == 8 || bits == 24; }

// Files the reader fully understands.
bool Supported(const Header& h) {
    return h.complete && h.headerSize >= 40 && h.compression == 0 && DepthRead(h.bits) &&
           h.width > 0 && h.height != 0;
}

// Files the reader refuses whatever else they hold.
bool RefusedByHeader(const Header& h) {
    return !h.complete || h.headerSize < 40 || h.compression != 0 || !DepthRead(h.bits) ||
           h.width <= 0 || h.height == 0;
}

// The reference rendering of each supported file of g/ and q/ (empty: the
// file must load soundly, but no rendering shows its stored pixels).
const std::map<std::string, std::string>& References() {
    static const std::map<std::string, std::string> refs = {
        {"g/pal1.bmp", "pal1.png"},
        {"g/pal1bg.bmp", "pal1bg.png"},
        {"g/pal1wb.bmp", "pal1.png"},  // white-on-black palette order, same picture
        {"g/pal4.bmp", "pal4.png"},
        {"g/pal4gs.bmp", "pal4gs.png"},
        {"g/pal8-0.bmp", "pal8.png"},
        {"g/pal8.bmp", "pal8.png"},
        {"g/pal8gs.bmp", "pal8gs.png"},
        {"g/pal8nonsquare.bmp", "pal8nonsquare-e.png"},  // the pixels as stored, not stretched
        {"g/pal8topdown.bmp", "pal8.png"},
        {"g/pal8v4.bmp", "pal8.png"},  // 108-byte header: the palette follows it
        {"g/pal8v5.bmp", "pal8.png"},  // 124-byte header
        {"g/pal8w124.bmp", "pal8w124.png"},
        {"g/pal8w125.bmp", "pal8w125.png"},
        {"g/pal8w126.bmp", "pal8w126.png"},
        {"g/rgb24.bmp", "rgb24.png"},
        {"g/rgb24pal.bmp", "rgb24.png"},
        {"q/pal1p1.bmp", "pal1p1.png"},
        {"q/pal8offs.bmp", "pal8.png"},
        {"q/pal8os2v2-40sz.bmp", "pal8.png"},
        {"q/pal8os2v2-sz.bmp", "pal8.png"},  // 64-byte header
        {"q/pal8os2v2.bmp", "pal8.png"},
        {"q/pal8oversizepal.bmp", "pal8.png"},
        {"q/rgb24largepal.bmp", "rgb24.png"},
        {"q/rgb24lprof.bmp", "rgb24.png"},  // 124-byte header, colour profile not applied
        {"q/rgb24prof.bmp", "rgb24.png"},
        // Its pixels are stored in the colour space of its embedded profile,
        // which the reader does not apply: there is no rendering to match.
        {"q/rgb24prof2.bmp", ""},
    };
    return refs;
}

// What the reader does with each file of b/, and why. Where the damage is
// in a field the reader does not use, the picture is that of the file the
// damaged one was made from.
struct BadOutcome {
    bool loads;
    const char* reference;  // the rendering it must equal, if any
};

const std::map<std::string, BadOutcome>& BadOutcomes() {
    static const std::map<std::string, BadOutcome> outcomes = {
        {"b/badbitcount.bmp", {false, nullptr}},    // 30000 bits per pixel
        {"b/badbitssize.bmp", {true, "pal1.png"}},  // image size field: not used
        {"b/baddens1.bmp", {true, "pal1.png"}},     // resolution fields: not used
        {"b/baddens2.bmp", {true, "pal1.png"}},
        {"b/badfilesize.bmp", {true, "pal1.png"}},  // file size field: not used
        // A 66-byte information header: the palette follows it, the pixels
        // start at the data offset.
        {"b/badheadersize.bmp", {true, "pal1.png"}},
        {"b/badpalettesize.bmp", {false, nullptr}},  // palette runs past the data offset
        {"b/badplanes.bmp", {true, "pal1.png"}},     // planes field: not used
        {"b/badrle.bmp", {false, nullptr}},          // compressed
        {"b/badrle4.bmp", {false, nullptr}},
        {"b/badrle4bis.bmp", {false, nullptr}},
        {"b/badrle4ter.bmp", {false, nullptr}},
        {"b/badrlebis.bmp", {false, nullptr}},
        {"b/badrleter.bmp", {false, nullptr}},
        {"b/badwidth.bmp", {false, nullptr}},     // negative width
        {"b/pal8badindex.bmp", {true, nullptr}},  // indices past the 101 colours read as black
        {"b/reallybig.bmp", {false, nullptr}},    // 3000000 x 2000000: block too large
        {"b/rgb16-880.bmp", {false, nullptr}},    // 16 bits per pixel
        {"b/rletopdown.bmp", {false, nullptr}},   // compressed
        {"b/shortfile.bmp", {false, nullptr}},    // 1-bit pixel data cut short
    };
    return outcomes;
}

// A PNG decoded to 8-bit R, G, B, top row first.
bool DecodePng(const fs::path& path, int* width, int* height, std::vector<unsigned char>* rgb) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    if (!png_image_begin_read_from_file(&image, path.string().c_str())) return false;
    image.format = PNG_FORMAT_RGB;
    rgb->assign(PNG_IMAGE_SIZE(image), 0);
    if (!png_image_finish_read(&image, nullptr, rgb->data(), 0, nullptr)) {
        png_image_free(&image);
        return false;
    }
    *width = static_cast<int>(image.width);
    *height = static_cast<int>(image.height);
    return true;
}

// The loaded block, bottom row first, turned to top row first.
std::vector<unsigned char> TopRowFirst(CImage& image) {
    const std::size_t row = static_cast<std::size_t>(image.GetWidth()) * 3;
    const std::size_t rows = static_cast<std::size_t>(image.GetHeight());
    const unsigned char* bits = static_cast<const unsigned char*>(image.GetBitsPtr());
    std::vector<unsigned char> out;
    out.reserve(row * rows);
    for (std::size_t r = rows; r-- > 0;)
        out.insert(out.end(), bits + r * row, bits + (r + 1) * row);
    return out;
}

// The loaded image must equal the reference rendering pixel for pixel.
void ExpectSamePixels(CImage& image, const std::string& png) {
    int w = 0, h = 0;
    std::vector<unsigned char> expected;
    ASSERT_TRUE(DecodePng(kSuiteDir / "reference" / png, &w, &h, &expected)) << png;
    ASSERT_EQ(image.GetWidth(), w);
    ASSERT_EQ(image.GetHeight(), h);
    const std::vector<unsigned char> actual = TopRowFirst(image);
    ASSERT_EQ(actual.size(), expected.size());
    std::size_t differing = 0, first = 0;
    for (std::size_t i = 0; i < actual.size(); i += 3) {
        if (actual[i] != expected[i] || actual[i + 1] != expected[i + 1] ||
            actual[i + 2] != expected[i + 2]) {
            if (differing++ == 0) first = i / 3;
        }
    }
    EXPECT_EQ(differing, 0u) << "differs from " << png << " first at x " << first % w << ", y "
                             << first / w << " (top row 0)";
}

// Reads every byte of a loaded block, so that a block shorter than its
// reported size shows in the sanitizer build.
unsigned Checksum(CImage& image) {
    const unsigned char* bits = static_cast<const unsigned char*>(image.GetBitsPtr());
    const std::size_t n = static_cast<std::size_t>(image.GetWidth()) *
                          static_cast<std::size_t>(image.GetHeight()) * 3;
    unsigned sum = 0;
    for (std::size_t i = 0; i < n; ++i) sum += bits[i];
    return sum;
}

// "g/pal8.bmp"-style names of the files in the given folders, sorted.
std::vector<std::string> FilesIn(std::initializer_list<const char*> folders) {
    std::vector<std::string> names;
    for (const char* folder : folders) {
        std::error_code ec;
        for (const auto& entry : fs::directory_iterator(kSuiteDir / folder, ec))
            if (entry.is_regular_file() && entry.path().extension() == ".bmp")
                names.push_back(std::string(folder) + "/" + entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::string TestName(const ::testing::TestParamInfo<std::string>& info) {
    std::string name = info.param;
    for (char& c : name)
        if (!std::isalnum(static_cast<unsigned char>(c))) c = '_';
    return name;
}

// The outcome every corpus file must have at least: refused (empty image) or
// loaded with the size its header gives and a block that can be read whole.
void ExpectRefusedOrSound(CImage& image, int loaded, const Header& h) {
    if (!loaded) {
        EXPECT_EQ(image.GetType(), 0);
        EXPECT_EQ(image.GetWidth(), 0);
        EXPECT_EQ(image.GetHeight(), 0);
        EXPECT_EQ(image.GetBitsPtr(), nullptr);
        return;
    }
    EXPECT_EQ(image.GetType(), 2);
    EXPECT_EQ(image.GetWidth(), h.width);
    EXPECT_EQ(image.GetHeight(), h.height < 0 ? -static_cast<std::int64_t>(h.height) : h.height);
    ASSERT_NE(image.GetBitsPtr(), nullptr);
    volatile unsigned sum = Checksum(image);
    (void)sum;
}

// A corpus file ("g/pal8.bmp") as Load leaves it, with the header the file holds.
struct LoadedFile {
    explicit LoadedFile(const std::string& name)
        : h(ReadHeader(kSuiteDir / name)),
          loaded(image.Load((kSuiteDir / name).string().c_str())) {}

    const Header h;
    CImage image;
    const int loaded;
};

class BmpSuiteFile : public ::testing::TestWithParam<std::string> {};

TEST_P(BmpSuiteFile, LoadsAndMatchesItsReferenceOrIsRefused) {
    const std::string& name = GetParam();
    LoadedFile file(name);

    if (!Supported(file.h)) {
        if (RefusedByHeader(file.h)) {
            EXPECT_EQ(file.loaded, 0);
        }
        ExpectRefusedOrSound(file.image, file.loaded, file.h);
        return;
    }

    const auto ref = References().find(name);
    ASSERT_NE(ref, References().end()) << "no reference rendering listed for " << name;
    ASSERT_EQ(file.loaded, 1);
    ExpectRefusedOrSound(file.image, file.loaded, file.h);
    if (!ref->second.empty()) ExpectSamePixels(file.image, ref->second);
}

INSTANTIATE_TEST_SUITE_P(BmpSuite, BmpSuiteFile, ::testing::ValuesIn(FilesIn({"g", "q"})),
                         TestName);

class BmpSuiteBadFile : public ::testing::TestWithParam<std::string> {};

TEST_P(BmpSuiteBadFile, IsRefusedOrLoadsSoundly) {
    const std::string& name = GetParam();
    LoadedFile file(name);
    ExpectRefusedOrSound(file.image, file.loaded, file.h);

    const auto outcome = BadOutcomes().find(name);
    ASSERT_NE(outcome, BadOutcomes().end()) << "no outcome listed for " << name;
    EXPECT_EQ(file.loaded, outcome->second.loads ? 1 : 0);
    if (file.loaded && outcome->second.reference) {
        ExpectSamePixels(file.image, outcome->second.reference);
    }
}

INSTANTIATE_TEST_SUITE_P(BmpSuite, BmpSuiteBadFile, ::testing::ValuesIn(FilesIn({"b"})), TestName);

TEST(BmpSuiteCorpus, EverySupportedFileHasAReferenceAndTheCorpusIsComplete) {
    // Counted by hand from the file headers: 17 supported files in g/, 10 in q/.
    std::size_t supportedG = 0, supportedQ = 0;
    for (const std::string& name : FilesIn({"g", "q"})) {
        if (!Supported(ReadHeader(kSuiteDir / name))) continue;
        (name[0] == 'g' ? supportedG : supportedQ)++;
        EXPECT_EQ(References().count(name), 1u) << name;
    }
    EXPECT_EQ(supportedG, 17u);
    EXPECT_EQ(supportedQ, 10u);
    for (const auto& [name, png] : References()) {
        EXPECT_TRUE(fs::is_regular_file(kSuiteDir / name)) << name;
        if (!png.empty()) {
            EXPECT_TRUE(fs::is_regular_file(kSuiteDir / "reference" / png)) << png;
        }
        EXPECT_TRUE(Supported(ReadHeader(kSuiteDir / name))) << name;
    }
    EXPECT_EQ(FilesIn({"b"}).size(), BadOutcomes().size());
    for (const auto& [name, outcome] : BadOutcomes())
        EXPECT_TRUE(fs::is_regular_file(kSuiteDir / name)) << name;
}

}  // namespace bmp_corpus
// ============================================================================================
// End of the BMP corpus.
// ============================================================================================
