// TIFF reading through CImage: hand-built files, files written with libtiff,
// and libtiff's own sample images.
#include <gtest/gtest.h>
#include <tiffio.h>

#include <algorithm>
#include <cctype>
#include <cstdarg>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <vector>

#include "common/whole_file.h"
#include "selvora/image/image.h"
#include "support/scratch_dir.h"

namespace {

namespace fs = std::filesystem;
using Bytes = std::vector<unsigned char>;

// ---------------------------------------------------------------------------
// Helpers

// The file's bytes, none when it cannot be read.
Bytes FileBytes(const fs::path& path) {
    const std::string bytes = selvora_common::ReadWholeFile(path).value_or(std::string());
    return Bytes(bytes.begin(), bytes.end());
}

void WriteWholeFile(const fs::path& path, const Bytes& bytes) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(bytes.data()),
              static_cast<std::streamsize>(bytes.size()));
    ASSERT_TRUE(out.good()) << path;
}

Bytes BlockOf(CImage& image) {
    const auto* bits = static_cast<const unsigned char*>(image.GetBitsPtr());
    if (!bits) return {};
    const std::size_t size = std::size_t(image.GetWidth()) * image.GetHeight() * 3;
    return Bytes(bits, bits + size);
}

// Rows given top row first, returned bottom row first: the block's order.
Bytes BottomUp(const Bytes& topDown, std::size_t rowBytes) {
    Bytes out;
    for (std::size_t end = topDown.size(); end >= rowBytes; end -= rowBytes)
        out.insert(out.end(), topDown.begin() + (end - rowBytes), topDown.begin() + end);
    return out;
}

void ExpectEmpty(CImage& image) {
    EXPECT_EQ(image.GetType(), 0);
    EXPECT_EQ(image.GetWidth(), 0);
    EXPECT_EQ(image.GetHeight(), 0);
    EXPECT_EQ(image.GetBitsPtr(), nullptr);
}

// Runs a load with standard output and standard error captured; the reader
// must not print anything, whatever the file holds.
template <typename LoadCall>
auto Quietly(const std::string& what, LoadCall load) -> decltype(load()) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    const auto result = load();
    const std::string err = testing::internal::GetCapturedStderr();
    const std::string out = testing::internal::GetCapturedStdout();
    EXPECT_EQ(out, "") << what;
    EXPECT_EQ(err, "") << what;
    return result;
}

int LoadTifQuietly(CImage& image, const fs::path& path) {
    return Quietly(path.string(), [&] { return image.LoadTif(path.string().c_str()); });
}

int LoadQuietly(CImage& image, const fs::path& path) {
    return Quietly(path.string(), [&] { return image.Load(path.string().c_str()); });
}

// libtiff handle for looking at files in the tests, with its reports dropped.
int DropReport(TIFF*, void*, const char*, const char*, va_list) { return 1; }

TIFF* OpenForInspection(const fs::path& path) {
    TIFFOpenOptions* options = TIFFOpenOptionsAlloc();
    TIFFOpenOptionsSetErrorHandlerExtR(options, DropReport, nullptr);
    TIFFOpenOptionsSetWarningHandlerExtR(options, DropReport, nullptr);
    TIFF* tif = TIFFOpenExt(path.string().c_str(), "r", options);
    TIFFOpenOptionsFree(options);
    return tif;
}

// The picture through libtiff's RGBA interface (a decoding path apart from
// the scanline one), bottom row first, alpha dropped. Meaningful for RGB
// files, whose samples the RGBA interface passes through unchanged.
Bytes RgbaReference(const fs::path& path, std::uint32_t* width, std::uint32_t* height) {
    TIFF* tif = OpenForInspection(path);
    if (!tif) return {};
    TIFFGetField(tif, TIFFTAG_IMAGEWIDTH, width);
    TIFFGetField(tif, TIFFTAG_IMAGELENGTH, height);
    std::vector<std::uint32_t> raster(std::size_t(*width) * *height);
    Bytes out;
    if (TIFFReadRGBAImageOriented(tif, *width, *height, raster.data(), ORIENTATION_BOTLEFT, 1)) {
        for (std::uint32_t pixel : raster) {
            out.push_back(static_cast<unsigned char>(TIFFGetR(pixel)));
            out.push_back(static_cast<unsigned char>(TIFFGetG(pixel)));
            out.push_back(static_cast<unsigned char>(TIFFGetB(pixel)));
        }
    }
    TIFFClose(tif);
    return out;
}

// Each test gets a directory of its own for the files it writes.
class TiffFiles : public testing::Test {
  protected:
    void SetUp() override {
        ASSERT_FALSE(scratch_.Path().empty()) << "cannot create a scratch directory";
        dir_ = scratch_.Path();
    }

    fs::path Write(const std::string& name, const Bytes& bytes) {
        const fs::path path = dir_ / name;
        WriteWholeFile(path, bytes);
        return path;
    }

    selvora_test::ScratchDir scratch_{"selvora-tiff"};
    fs::path dir_;
};

// ---------------------------------------------------------------------------
// Classic TIFF files built byte by byte

enum : std::uint16_t { kShort = 3, kLong = 4 };

enum : std::uint16_t {
    kImageWidth = 256,
    kImageLength = 257,
    kBitsPerSample = 258,
    kCompression = 259,
    kPhotometric = 262,
    kStripOffsets = 273,
    kSamplesPerPixel = 277,
    kRowsPerStrip = 278,
    kStripByteCounts = 279,
    kPlanarConfig = 284,
    kExtraSamples = 338,
    kYCbCrSubsampling = 530,
};

struct Field {
    std::uint16_t tag;
    std::uint16_t type;
    std::vector<std::uint32_t> values;
};

class ByteWriter {
  public:
    explicit ByteWriter(bool bigEndian) : big_(bigEndian) {}
    void U16(std::uint32_t v) {
        if (big_) {
            bytes.push_back(static_cast<unsigned char>(v >> 8));
            bytes.push_back(static_cast<unsigned char>(v));
        } else {
            bytes.push_back(static_cast<unsigned char>(v));
            bytes.push_back(static_cast<unsigned char>(v >> 8));
        }
    }
    void U32(std::uint32_t v) {
        if (big_) {
            U16(v >> 16);
            U16(v & 0xFFFF);
        } else {
            U16(v & 0xFFFF);
            U16(v >> 16);
        }
    }
    void Value(std::uint16_t type, std::uint32_t v) { type == kShort ? U16(v) : U32(v); }
    Bytes bytes;

  private:
    bool big_;
};

// A classic TIFF file: the 8-byte header, the one directory right after it,
// the values too long for their entry, then the pixel data. StripOffsets
// values are given relative to the start of the pixel data.
Bytes BuildTiff(bool bigEndian, std::vector<Field> fields, const Bytes& data) {
    std::sort(fields.begin(), fields.end(),
              [](const Field& a, const Field& b) { return a.tag < b.tag; });
    ByteWriter w(bigEndian);
    w.bytes.push_back(bigEndian ? 'M' : 'I');
    w.bytes.push_back(bigEndian ? 'M' : 'I');
    w.U16(42);
    w.U32(8);

    auto sizeOf = [](const Field& f) {
        return std::uint32_t(f.values.size()) * (f.type == kShort ? 2u : 4u);
    };
    const std::uint32_t directorySize = 2 + 12 * std::uint32_t(fields.size()) + 4;
    std::uint32_t longValues = 0;
    for (const Field& f : fields)
        if (sizeOf(f) > 4) longValues += sizeOf(f);
    const std::uint32_t dataStart = 8 + directorySize + longValues;
    for (Field& f : fields)
        if (f.tag == kStripOffsets)
            for (std::uint32_t& v : f.values) v += dataStart;

    ByteWriter longPart(bigEndian);
    std::uint32_t longOffset = 8 + directorySize;
    w.U16(std::uint32_t(fields.size()));
    for (const Field& f : fields) {
        w.U16(f.tag);
        w.U16(f.type);
        w.U32(std::uint32_t(f.values.size()));
        if (sizeOf(f) > 4) {
            w.U32(longOffset);
            longOffset += sizeOf(f);
            for (std::uint32_t v : f.values) longPart.Value(f.type, v);
        } else {
            const std::size_t start = w.bytes.size();
            for (std::uint32_t v : f.values) w.Value(f.type, v);
            w.bytes.resize(start + 4, 0);  // left-justified in the value field
        }
    }
    w.U32(0);  // no next directory
    w.bytes.insert(w.bytes.end(), longPart.bytes.begin(), longPart.bytes.end());
    w.bytes.insert(w.bytes.end(), data.begin(), data.end());
    return w.bytes;
}

std::vector<Field> RgbFields(std::uint32_t width, std::uint32_t height, std::uint32_t rowsPerStrip,
                             const std::vector<std::uint32_t>& offsets,
                             const std::vector<std::uint32_t>& counts) {
    return {
        {kImageWidth, kLong, {width}},       {kImageLength, kLong, {height}},
        {kBitsPerSample, kShort, {8, 8, 8}}, {kCompression, kShort, {1}},
        {kPhotometric, kShort, {2}},         {kStripOffsets, kLong, offsets},
        {kSamplesPerPixel, kShort, {3}},     {kRowsPerStrip, kLong, {rowsPerStrip}},
        {kStripByteCounts, kLong, counts},   {kPlanarConfig, kShort, {1}},
    };
}

std::vector<Field> Without(std::vector<Field> fields, std::uint16_t tag) {
    fields.erase(std::remove_if(fields.begin(), fields.end(),
                                [tag](const Field& f) { return f.tag == tag; }),
                 fields.end());
    return fields;
}

std::vector<Field> With(std::vector<Field> fields, Field field) {
    fields = Without(fields, field.tag);
    fields.push_back(std::move(field));
    return fields;
}

// The 2 x 3 picture, top row first as it stands in the file.
const Bytes kPicture2x3 = {
    11, 12, 13, 21, 22, 23,  // top row
    31, 32, 33, 41, 42, 43,  // middle row
    51, 52, 53, 61, 62, 63,  // bottom row
};
// The same, bottom row first, as the block holds it.
const Bytes kBlock2x3 = {
    51, 52, 53, 61, 62, 63,  //
    31, 32, 33, 41, 42, 43,  //
    11, 12, 13, 21, 22, 23,  //
};

Bytes Rgb2x3(bool bigEndian) {
    return BuildTiff(bigEndian, RgbFields(2, 3, 3, {0}, {18}), kPicture2x3);
}

// ---------------------------------------------------------------------------
// Hand-built files

using TiffHandMade = TiffFiles;

TEST_F(TiffHandMade, LittleEndian2x3) {
    const Bytes file = Rgb2x3(false);
    ASSERT_EQ(file[0], 'I');
    ASSERT_EQ(file[2], 42);
    CImage image;
    ASSERT_EQ(LoadQuietly(image, Write("le.tif", file)), 1);
    EXPECT_EQ(image.GetType(), 3);
    EXPECT_EQ(image.GetWidth(), 2);
    EXPECT_EQ(image.GetHeight(), 3);
    EXPECT_EQ(BlockOf(image), kBlock2x3);
}

TEST_F(TiffHandMade, BigEndian2x3) {
    const Bytes file = Rgb2x3(true);
    ASSERT_EQ(file[0], 'M');
    ASSERT_EQ(file[3], 42);
    CImage image;
    ASSERT_EQ(LoadQuietly(image, Write("be.tif", file)), 1);
    EXPECT_EQ(image.GetType(), 3);
    EXPECT_EQ(image.GetWidth(), 2);
    EXPECT_EQ(image.GetHeight(), 3);
    EXPECT_EQ(BlockOf(image), kBlock2x3);
}

TEST_F(TiffHandMade, OneStripPerRow) {
    const Bytes file = BuildTiff(false, RgbFields(2, 3, 1, {0, 6, 12}, {6, 6, 6}), kPicture2x3);
    CImage image;
    ASSERT_EQ(LoadTifQuietly(image, Write("strips.tif", file)), 1);
    EXPECT_EQ(BlockOf(image), kBlock2x3);
}

TEST_F(TiffHandMade, StripsInReverseFileOrder) {
    // The strips stand bottom row first in the file; the directory still
    // names the top row's strip first.
    const Bytes data = {51, 52, 53, 61, 62, 63, 31, 32, 33, 41, 42, 43, 11, 12, 13, 21, 22, 23};
    const Bytes file = BuildTiff(true, RgbFields(2, 3, 1, {12, 6, 0}, {6, 6, 6}), data);
    CImage image;
    ASSERT_EQ(LoadTifQuietly(image, Write("reverse.tif", file)), 1);
    EXPECT_EQ(BlockOf(image), kBlock2x3);
}

TEST_F(TiffHandMade, OnePixel) {
    const Bytes file = BuildTiff(false, RgbFields(1, 1, 1, {0}, {3}), {7, 8, 9});
    CImage image;
    ASSERT_EQ(LoadTifQuietly(image, Write("one.tif", file)), 1);
    EXPECT_EQ(image.GetWidth(), 1);
    EXPECT_EQ(image.GetHeight(), 1);
    EXPECT_EQ(BlockOf(image), (Bytes{7, 8, 9}));
}

TEST_F(TiffHandMade, AbsentPlanarConfigurationMeansContiguous) {
    const Bytes file =
        BuildTiff(false, Without(RgbFields(2, 3, 3, {0}, {18}), kPlanarConfig), kPicture2x3);
    CImage image;
    ASSERT_EQ(LoadTifQuietly(image, Write("noplanar.tif", file)), 1);
    EXPECT_EQ(BlockOf(image), kBlock2x3);
}

TEST_F(TiffHandMade, AbsentBitsPerSampleMeansOneBitAndIsRefused) {
    const Bytes file =
        BuildTiff(false, Without(RgbFields(2, 3, 3, {0}, {18}), kBitsPerSample), kPicture2x3);
    CImage image;
    EXPECT_EQ(LoadTifQuietly(image, Write("nobits.tif", file)), 0);
    ExpectEmpty(image);
}

TEST_F(TiffHandMade, AbsentSamplesPerPixelMeansOneAndIsRefused) {
    const Bytes file =
        BuildTiff(false, Without(RgbFields(2, 3, 3, {0}, {18}), kSamplesPerPixel), kPicture2x3);
    CImage image;
    EXPECT_EQ(LoadTifQuietly(image, Write("nosamples.tif", file)), 0);
    ExpectEmpty(image);
}

// Loads the file and expects the block libtiff's RGBA interface gives for it.
void ExpectLoadsAsLibtiffConverts(const fs::path& path, std::uint32_t width, std::uint32_t height) {
    std::uint32_t w = 0, h = 0;
    const Bytes reference = RgbaReference(path, &w, &h);
    ASSERT_EQ(reference.size(), std::size_t(width) * height * 3) << path;
    CImage image;
    ASSERT_EQ(LoadTifQuietly(image, path), 1) << path;
    EXPECT_EQ(image.GetType(), 3);
    EXPECT_EQ(image.GetWidth(), int(width));
    EXPECT_EQ(image.GetHeight(), int(height));
    EXPECT_EQ(BlockOf(image), reference) << path;
}

TEST_F(TiffHandMade, SixteenBitSamplesAreConvertedToEightBits) {
    // Samples 0x0000, 0x00FF, 0x0100, ..., 0xFFFF: each becomes the 8-bit
    // value nearest to it on the 0..255 scale, round(v * 255 / 65535).
    const std::vector<std::uint16_t> samples = {0x0000, 0x00FF, 0x0100, 0x7F7F, 0x8080, 0x80FF,
                                                0x1234, 0xABCD, 0xFEFF, 0xFF00, 0xFF7F, 0xFFFF,
                                                0x0080, 0x0081, 0x017F, 0x0180, 0x4000, 0xC000};
    Bytes data;
    for (std::uint16_t v : samples) {
        data.push_back(static_cast<unsigned char>(v & 0xFF));
        data.push_back(static_cast<unsigned char>(v >> 8));
    }
    const fs::path path =
        Write("rgb16.tif",
              BuildTiff(false,
                        With(RgbFields(2, 3, 3, {0}, {36}), {kBitsPerSample, kShort, {16, 16, 16}}),
                        data));
    // python3: [(v * 255 + 32767) // 65535 for v in samples], bottom row first.
    const Bytes expected = {0x00, 0x01, 0x01, 0x01, 0x40, 0xbf,   // bottom row
                            0x12, 0xab, 0xfe, 0xfe, 0xff, 0xff,   // middle row
                            0x00, 0x01, 0x01, 0x7f, 0x80, 0x80};  // top row
    CImage image;
    ASSERT_EQ(LoadTifQuietly(image, path), 1);
    EXPECT_EQ(BlockOf(image), expected);
    ExpectLoadsAsLibtiffConverts(path, 2, 3);
}

TEST_F(TiffHandMade, UnassociatedAlphaIsDroppedAndTheColourKeptAsStored) {
    // R, G, B, alpha; alpha from 0 (clear) to 255: libtiff's own RGBA reading
    // would multiply the colour by it.
    const Bytes data = {10,  20,  30,  0,   40,  50,  60,  1,    //
                        70,  80,  90,  127, 100, 110, 120, 128,  //
                        130, 140, 150, 254, 160, 170, 180, 255};
    std::vector<Field> fields = RgbFields(2, 3, 3, {0}, {24});
    fields = With(fields, {kBitsPerSample, kShort, {8, 8, 8, 8}});
    fields = With(fields, {kSamplesPerPixel, kShort, {4}});
    for (std::uint32_t kind : {0u, 1u, 2u}) {  // unspecified, associated, unassociated
        fields = With(fields, {kExtraSamples, kShort, {kind}});
        const fs::path path =
            Write("rgba" + std::to_string(kind) + ".tif", BuildTiff(false, fields, data));
        CImage image;
        ASSERT_EQ(LoadTifQuietly(image, path), 1) << kind;
        EXPECT_EQ(BlockOf(image), Bytes({130, 140, 150, 160, 170, 180,  //
                                         70, 80, 90, 100, 110, 120,     //
                                         10, 20, 30, 40, 50, 60}))
            << kind;
    }
}

TEST_F(TiffHandMade, GreyFileIsConvertedToEqualComponents) {
    // One 8-bit sample per pixel, black is zero.
    std::vector<Field> fields = RgbFields(2, 3, 3, {0}, {6});
    fields = With(fields, {kBitsPerSample, kShort, {8}});
    fields = With(fields, {kSamplesPerPixel, kShort, {1}});
    fields = With(fields, {kPhotometric, kShort, {1}});
    const fs::path path = Write("grey.tif", BuildTiff(true, fields, {1, 2, 3, 4, 255, 0}));
    CImage image;
    ASSERT_EQ(LoadTifQuietly(image, path), 1);
    EXPECT_EQ(BlockOf(image), Bytes({255, 255, 255, 0, 0, 0, 3, 3, 3, 4, 4, 4, 1, 1, 1, 2, 2, 2}));
    // White is zero.
    fields = With(fields, {kPhotometric, kShort, {0}});
    const fs::path white = Write("white.tif", BuildTiff(true, fields, {1, 2, 3, 4, 255, 0}));
    ASSERT_EQ(LoadTifQuietly(image, white), 1);
    EXPECT_EQ(BlockOf(image), Bytes({0, 0, 0, 255, 255, 255, 252, 252, 252, 251, 251, 251, 254, 254,
                                     254, 253, 253, 253}));
}

TEST_F(TiffHandMade, UnsubsampledYCbCrIsConvertedToRgb) {
    std::vector<Field> fields = RgbFields(2, 3, 3, {0}, {18});
    fields = With(fields, {kPhotometric, kShort, {6}});
    fields = With(fields, {kYCbCrSubsampling, kShort, {1, 1}});
    // Y, Cb, Cr with no colour difference (128, 128) are grey levels.
    const Bytes greys = {16, 128, 128, 235, 128, 128, 100, 128, 128,
                         0,  128, 128, 255, 128, 128, 50,  128, 128};
    const fs::path path = Write("ycbcr11.tif", BuildTiff(false, fields, greys));
    CImage image;
    ASSERT_EQ(LoadTifQuietly(image, path), 1);
    EXPECT_EQ(BlockOf(image), Bytes({255, 255, 255, 50, 50, 50, 100, 100, 100, 0, 0, 0, 16, 16, 16,
                                     235, 235, 235}));
    ExpectLoadsAsLibtiffConverts(Write("ycbcr11-colour.tif", BuildTiff(false, fields, kPicture2x3)),
                                 2, 3);
}

TEST_F(TiffHandMade, SubsampledYCbCrIsConvertedToRgb) {
    // 4 x 2 pixels in 2 x 2 blocks of four Y, one Cb, one Cr.
    const Bytes data = {10, 20, 30, 40, 128, 128, 50, 60, 70, 80, 128, 128};
    std::vector<Field> fields = RgbFields(4, 2, 2, {0}, {12});
    fields = With(fields, {kPhotometric, kShort, {6}});
    fields = With(fields, {kYCbCrSubsampling, kShort, {2, 2}});
    const fs::path path = Write("ycbcr22.tif", BuildTiff(true, fields, data));
    CImage image;
    ASSERT_EQ(LoadTifQuietly(image, path), 1);
    // Top row Y 10 20 50 60, bottom row 30 40 70 80; block bottom row first.
    EXPECT_EQ(BlockOf(image), Bytes({30, 30, 30, 40, 40, 40, 70, 70, 70, 80, 80, 80,  //
                                     10, 10, 10, 20, 20, 20, 50, 50, 50, 60, 60, 60}));
    const Bytes colour = {10, 20, 30, 40, 90, 200, 50, 60, 70, 80, 30, 160};
    ExpectLoadsAsLibtiffConverts(Write("ycbcr22-colour.tif", BuildTiff(true, fields, colour)), 4,
                                 2);
}

TEST_F(TiffHandMade, SeparatePlanesAreInterleaved) {
    // Three planes of 2 x 3 samples, one strip each.
    const Bytes data = {11, 21, 31, 41, 51, 61, 12, 22, 32, 42, 52, 62, 13, 23, 33, 43, 53, 63};
    std::vector<Field> fields = RgbFields(2, 3, 3, {0, 6, 12}, {6, 6, 6});
    fields = With(fields, {kPlanarConfig, kShort, {2}});
    CImage image;
    ASSERT_EQ(LoadTifQuietly(image, Write("planes.tif", BuildTiff(false, fields, data))), 1);
    EXPECT_EQ(BlockOf(image), kBlock2x3);
}

TEST_F(TiffHandMade, ZeroWidthOrHeightIsRefused) {
    CImage image;
    EXPECT_EQ(LoadTifQuietly(image, Write("w0.tif", BuildTiff(false, RgbFields(0, 3, 3, {0}, {18}),
                                                              kPicture2x3))),
              0);
    ExpectEmpty(image);
    EXPECT_EQ(LoadTifQuietly(image, Write("h0.tif", BuildTiff(false, RgbFields(2, 0, 3, {0}, {18}),
                                                              kPicture2x3))),
              0);
    ExpectEmpty(image);
}

// A file whose every strip points at the same row of data: libtiff reads it
// whatever its height, so only the size rule can refuse it.
Bytes SharedRowFile(std::uint32_t width, std::uint32_t height, const Bytes& row) {
    const std::vector<std::uint32_t> offsets(height, 0);
    const std::vector<std::uint32_t> counts(height, width * 3);
    return BuildTiff(false, RgbFields(width, height, 1, offsets, counts), row);
}

Bytes PatternRow(std::uint32_t width) {
    Bytes row(std::size_t(width) * 3);
    for (std::size_t i = 0; i < row.size(); ++i) row[i] = static_cast<unsigned char>(i * 7 + 3);
    return row;
}

TEST_F(TiffHandMade, SharedStripsReadEveryRow) {
    const Bytes row = PatternRow(65536);
    CImage image;
    ASSERT_EQ(LoadTifQuietly(image, Write("shared.tif", SharedRowFile(65536, 3, row))), 1);
    EXPECT_EQ(image.GetWidth(), 65536);
    EXPECT_EQ(image.GetHeight(), 3);
    Bytes expected;
    for (int r = 0; r < 3; ++r) expected.insert(expected.end(), row.begin(), row.end());
    EXPECT_EQ(BlockOf(image), expected);
}

// 65536 x 10923 x 3 = 2147549184 bytes, just above 2^31 - 1 = 2147483647.
TEST_F(TiffHandMade, BlockAboveTwoGigabytesIsRefused) {
    const fs::path path = Write("big.tif", SharedRowFile(65536, 10923, PatternRow(65536)));
    {
        // libtiff itself reads the file's last row.
        TIFF* tif = OpenForInspection(path);
        ASSERT_NE(tif, nullptr);
        Bytes scanline(static_cast<std::size_t>(TIFFScanlineSize(tif)));
        EXPECT_EQ(scanline.size(), 196608u);
        EXPECT_EQ(TIFFReadScanline(tif, scanline.data(), 10922, 0), 1);
        EXPECT_EQ(scanline, PatternRow(65536));
        TIFFClose(tif);
    }
    CImage image;
    EXPECT_EQ(LoadTifQuietly(image, path), 0);
    ExpectEmpty(image);
}

// 65536 x 65536 x 3 = 3 * 2^32: 0 when the size is computed in 32 bits.
TEST_F(TiffHandMade, BlockSizeIsNotComputedIn32Bits) {
    CImage image;
    EXPECT_EQ(
        LoadTifQuietly(image, Write("huge.tif", SharedRowFile(65536, 65536, PatternRow(65536)))),
        0);
    ExpectEmpty(image);
}

TEST_F(TiffHandMade, StripPastTheEndOfFileIsRefused) {
    // Rows 0 and 1 read, row 2's strip lies beyond the file.
    const Bytes file = BuildTiff(false, RgbFields(2, 3, 1, {0, 6, 1000}, {6, 6, 6}), kPicture2x3);
    CImage image;
    EXPECT_EQ(LoadTifQuietly(image, Write("pastend.tif", file)), 0);
    ExpectEmpty(image);
}

TEST_F(TiffHandMade, StripRunningPastTheEndOfFileIsRefused) {
    const Bytes file = BuildTiff(true, RgbFields(2, 3, 1, {0, 6, 12}, {6, 6, 600}), kPicture2x3);
    CImage image;
    EXPECT_EQ(LoadTifQuietly(image, Write("runs.tif", file)), 0);
    ExpectEmpty(image);
}

TEST_F(TiffHandMade, TruncatedPixelDataIsRefused) {
    Bytes file = Rgb2x3(false);
    file.resize(file.size() - 4);  // the bottom row loses its last four bytes
    CImage image;
    EXPECT_EQ(LoadTifQuietly(image, Write("cut.tif", file)), 0);
    ExpectEmpty(image);
}

// ---------------------------------------------------------------------------
// The 4-byte header

using TiffHeader = TiffFiles;

TEST_F(TiffHeader, OtherByteOrderMarksAreRefused) {
    Bytes bmp = Rgb2x3(false);
    bmp[0] = 'B';
    bmp[1] = 'M';
    Bytes mixed = Rgb2x3(false);
    mixed[0] = 'M';  // "MI"
    CImage image;
    EXPECT_EQ(LoadQuietly(image, Write("bm.tif", bmp)), 0);
    ExpectEmpty(image);
    EXPECT_EQ(LoadQuietly(image, Write("mi.tif", mixed)), 0);
    ExpectEmpty(image);
}

TEST_F(TiffHeader, VersionOtherThan42IsRefused) {
    struct Case {
        const char* name;
        bool big;
        unsigned char b2, b3;
    };
    const Case cases[] = {
        {"ii43.tif", false, 43, 0},                                   // BigTIFF version
        {"ii0.tif", false, 0, 0},     {"ii-be42.tif", false, 0, 42},  // 42 in the other byte order
        {"mm43.tif", true, 0, 43},    {"mm0.tif", true, 0, 0},
        {"mm-le42.tif", true, 42, 0}, {"ii41.tif", false, 41, 0},
    };
    for (const Case& c : cases) {
        Bytes file = Rgb2x3(c.big);
        file[2] = c.b2;
        file[3] = c.b3;
        CImage image;
        EXPECT_EQ(LoadQuietly(image, Write(c.name, file)), 0) << c.name;
        ExpectEmpty(image);
    }
}

TEST_F(TiffHeader, BigTiffWrittenByLibtiffIsRefused) {
    const fs::path path = dir_ / "big.tif";
    {
        TIFF* tif = TIFFOpen(path.string().c_str(), "w8");
        ASSERT_NE(tif, nullptr);
        TIFFSetField(tif, TIFFTAG_IMAGEWIDTH, 2);
        TIFFSetField(tif, TIFFTAG_IMAGELENGTH, 3);
        TIFFSetField(tif, TIFFTAG_BITSPERSAMPLE, 8);
        TIFFSetField(tif, TIFFTAG_SAMPLESPERPIXEL, 3);
        TIFFSetField(tif, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_RGB);
        TIFFSetField(tif, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
        TIFFSetField(tif, TIFFTAG_ROWSPERSTRIP, 3);
        Bytes picture = kPicture2x3;
        ASSERT_EQ(TIFFWriteEncodedStrip(tif, 0, picture.data(), 18), 18);
        TIFFClose(tif);
    }
    const Bytes file = FileBytes(path);
    ASSERT_GE(file.size(), 4u);
    EXPECT_EQ(file[2], 43);
    {
        // libtiff reads it back as an ordinary 8-bit RGB picture.
        TIFF* tif = OpenForInspection(path);
        ASSERT_NE(tif, nullptr);
        EXPECT_TRUE(TIFFIsBigTIFF(tif));
        Bytes row(6);
        EXPECT_EQ(TIFFReadScanline(tif, row.data(), 2, 0), 1);
        EXPECT_EQ(row, (Bytes{51, 52, 53, 61, 62, 63}));
        TIFFClose(tif);
    }
    CImage image;
    EXPECT_EQ(LoadQuietly(image, path), 0);
    ExpectEmpty(image);
}

TEST_F(TiffHeader, ShortAndEmptyFilesAreRefused) {
    CImage image;
    EXPECT_EQ(LoadQuietly(image, Write("empty.tif", {})), 0);
    ExpectEmpty(image);
    EXPECT_EQ(LoadQuietly(image, Write("three.tif", {'I', 'I', 42})), 0);
    ExpectEmpty(image);
}

TEST_F(TiffHeader, ClassicHeaderWithoutUsableDirectoryIsRefused) {
    // These pass the 4-byte check and fail inside libtiff's open.
    CImage image;
    EXPECT_EQ(LoadQuietly(image, Write("four.tif", {'I', 'I', 42, 0})), 0);
    ExpectEmpty(image);
    EXPECT_EQ(LoadQuietly(image, Write("seven.tif", {'M', 'M', 0, 42, 0, 0, 0})), 0);
    ExpectEmpty(image);
    EXPECT_EQ(LoadQuietly(image, Write("far.tif", {'I', 'I', 42, 0, 0x00, 0x10, 0, 0})), 0);
    ExpectEmpty(image);
    EXPECT_EQ(LoadQuietly(image, Write("zero.tif", {'M', 'M', 0, 42, 0, 0, 0, 0})), 0);
    ExpectEmpty(image);
    // A directory of no entries.
    EXPECT_EQ(
        LoadQuietly(image, Write("noentries.tif", {'I', 'I', 42, 0, 8, 0, 0, 0, 0, 0, 0, 0, 0, 0})),
        0);
    ExpectEmpty(image);
    // A directory without the image length.
    const Bytes noLength =
        BuildTiff(false, Without(RgbFields(2, 3, 3, {0}, {18}), kImageLength), kPicture2x3);
    EXPECT_EQ(LoadQuietly(image, Write("nolength.tif", noLength)), 0);
    ExpectEmpty(image);
}

TEST_F(TiffHeader, MissingFileAndDirectoryAreRefused) {
    CImage image;
    EXPECT_EQ(LoadQuietly(image, dir_ / "absent.tif"), 0);
    ExpectEmpty(image);
    fs::create_directories(dir_ / "folder.tif");
    EXPECT_EQ(LoadQuietly(image, dir_ / "folder.tif"), 0);
    ExpectEmpty(image);
}

TEST_F(TiffHeader, FailedLoadLeavesTheImageEmpty) {
    const fs::path good = Write("good.tif", Rgb2x3(true));
    Bytes badBytes = Rgb2x3(true);
    badBytes[3] = 43;
    const fs::path bad = Write("bad.tif", badBytes);
    CImage image;
    ASSERT_EQ(LoadQuietly(image, good), 1);
    EXPECT_EQ(image.GetType(), 3);
    EXPECT_EQ(LoadQuietly(image, bad), 0);  // Load empties the image first
    ExpectEmpty(image);
}

// ---------------------------------------------------------------------------
// Which paths reach the TIFF reader

using TiffPath = TiffFiles;

TEST_F(TiffPath, LastThreeCharactersChooseTheReader) {
    const Bytes file = Rgb2x3(false);
    for (const char* name : {"upper.TIF", "lower.tif", "mixed.tIf", "nodotTIF"}) {
        CImage image;
        EXPECT_EQ(LoadQuietly(image, Write(name, file)), 1) << name;
        EXPECT_EQ(image.GetType(), 3) << name;
        EXPECT_EQ(BlockOf(image), kBlock2x3) << name;
    }
}

TEST_F(TiffPath, FourLetterExtensionNeverReachesTheReader) {
    for (const char* name : {"picture.tiff", "picture.TIFF"}) {
        const fs::path path = Write(name, Rgb2x3(false));
        CImage image;
        EXPECT_EQ(LoadQuietly(image, path), 0) << name;
        ExpectEmpty(image);
        // The file itself is fine.
        EXPECT_EQ(LoadTifQuietly(image, path), 1) << name;
        EXPECT_EQ(image.GetType(), 3);
        EXPECT_EQ(BlockOf(image), kBlock2x3);
    }
}

TEST_F(TiffPath, NullPathIsRefused) {
    CImage image;
    EXPECT_EQ(image.LoadTif(nullptr), 0);
    ExpectEmpty(image);
}

// ---------------------------------------------------------------------------
// Files written with libtiff

// 37 x 23 pixels, top row first: a pattern that compresses, but not to nothing.
constexpr std::uint32_t kW = 37, kH = 23;

Bytes TestPicture() {
    Bytes p(std::size_t(kW) * kH * 3);
    for (std::uint32_t r = 0; r < kH; ++r)
        for (std::uint32_t c = 0; c < kW; ++c)
            for (std::uint32_t k = 0; k < 3; ++k)
                p[(std::size_t(r) * kW + c) * 3 + k] =
                    static_cast<unsigned char>(r * 7 + c * 13 + k * 61 + (r * c) % 17);
    return p;
}

void WriteWithLibtiff(const fs::path& path, const Bytes& picture, std::uint16_t compression,
                      std::uint32_t rowsPerStrip, std::uint16_t predictor = 1,
                      std::uint32_t tileSize = 0) {
    TIFF* tif = TIFFOpen(path.string().c_str(), "w");
    ASSERT_NE(tif, nullptr);
    TIFFSetField(tif, TIFFTAG_IMAGEWIDTH, kW);
    TIFFSetField(tif, TIFFTAG_IMAGELENGTH, kH);
    TIFFSetField(tif, TIFFTAG_BITSPERSAMPLE, 8);
    TIFFSetField(tif, TIFFTAG_SAMPLESPERPIXEL, 3);
    TIFFSetField(tif, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_RGB);
    TIFFSetField(tif, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(tif, TIFFTAG_COMPRESSION, compression);
    if (predictor != 1) TIFFSetField(tif, TIFFTAG_PREDICTOR, predictor);
    if (tileSize) {
        TIFFSetField(tif, TIFFTAG_TILEWIDTH, tileSize);
        TIFFSetField(tif, TIFFTAG_TILELENGTH, tileSize);
        Bytes tile(static_cast<std::size_t>(TIFFTileSize(tif)));
        for (std::uint32_t y = 0; y < kH; y += tileSize)
            for (std::uint32_t x = 0; x < kW; x += tileSize) {
                std::fill(tile.begin(), tile.end(), 0);
                for (std::uint32_t r = y; r < std::min(kH, y + tileSize); ++r)
                    for (std::uint32_t c = x; c < std::min(kW, x + tileSize); ++c)
                        std::memcpy(&tile[(std::size_t(r - y) * tileSize + (c - x)) * 3],
                                    &picture[(std::size_t(r) * kW + c) * 3], 3);
                ASSERT_GE(TIFFWriteTile(tif, tile.data(), x, y, 0, 0), 0);
            }
    } else {
        TIFFSetField(tif, TIFFTAG_ROWSPERSTRIP, rowsPerStrip);
        Bytes row(std::size_t(kW) * 3);
        for (std::uint32_t r = 0; r < kH; ++r) {
            std::memcpy(row.data(), &picture[std::size_t(r) * kW * 3], row.size());
            ASSERT_EQ(TIFFWriteScanline(tif, row.data(), r, 0), 1);
        }
    }
    TIFFClose(tif);
}

std::uint16_t CompressionOf(const fs::path& path) {
    TIFF* tif = OpenForInspection(path);
    if (!tif) return 0;
    std::uint16_t compression = 0;
    TIFFGetField(tif, TIFFTAG_COMPRESSION, &compression);
    TIFFClose(tif);
    return compression;
}

using TiffLibtiffWritten = TiffFiles;

TEST_F(TiffLibtiffWritten, LzwDecodesLikeUncompressed) {
    const Bytes picture = TestPicture();
    const fs::path plain = dir_ / "plain.tif";
    const fs::path lzw = dir_ / "lzw.tif";
    WriteWithLibtiff(plain, picture, COMPRESSION_NONE, 5);
    WriteWithLibtiff(lzw, picture, COMPRESSION_LZW, 5);
    ASSERT_EQ(CompressionOf(plain), COMPRESSION_NONE);
    ASSERT_EQ(CompressionOf(lzw), COMPRESSION_LZW);
    EXPECT_LT(fs::file_size(lzw), fs::file_size(plain));

    CImage a, b;
    ASSERT_EQ(LoadQuietly(a, plain), 1);
    ASSERT_EQ(LoadQuietly(b, lzw), 1);
    EXPECT_EQ(b.GetWidth(), int(kW));
    EXPECT_EQ(b.GetHeight(), int(kH));
    EXPECT_EQ(BlockOf(a), BottomUp(picture, kW * 3));
    EXPECT_EQ(BlockOf(b), BlockOf(a));
}

TEST_F(TiffLibtiffWritten, OtherLosslessSchemesDecodeAlike) {
    const Bytes picture = TestPicture();
    const Bytes expected = BottomUp(picture, kW * 3);
    struct Case {
        const char* name;
        std::uint16_t compression;
        std::uint16_t predictor;
    };
    const Case cases[] = {
        {"lzw-predictor.tif", COMPRESSION_LZW, 2},
        {"deflate.tif", COMPRESSION_ADOBE_DEFLATE, 1},
        {"deflate-predictor.tif", COMPRESSION_ADOBE_DEFLATE, 2},
        {"packbits.tif", COMPRESSION_PACKBITS, 1},
    };
    for (const Case& c : cases) {
        const fs::path path = dir_ / c.name;
        WriteWithLibtiff(path, picture, c.compression, 4, c.predictor);
        ASSERT_EQ(CompressionOf(path), c.compression) << c.name;
        CImage image;
        ASSERT_EQ(LoadQuietly(image, path), 1) << c.name;
        EXPECT_EQ(BlockOf(image), expected) << c.name;
    }
}

TEST_F(TiffLibtiffWritten, JpegRgbLoadsAsLibtiffDecodesIt) {
    // Lossy: the pixels are compared with libtiff's RGBA decoding.
    const fs::path path = dir_ / "jpeg.tif";
    WriteWithLibtiff(path, TestPicture(), COMPRESSION_JPEG, 16);
    ASSERT_EQ(CompressionOf(path), COMPRESSION_JPEG);
    std::uint32_t w = 0, h = 0;
    const Bytes reference = RgbaReference(path, &w, &h);
    ASSERT_EQ(reference.size(), std::size_t(kW) * kH * 3);
    CImage image;
    ASSERT_EQ(LoadQuietly(image, path), 1);
    EXPECT_EQ(image.GetWidth(), int(kW));
    EXPECT_EQ(image.GetHeight(), int(kH));
    EXPECT_EQ(BlockOf(image), reference);
}

TEST_F(TiffLibtiffWritten, TiledFileLoadsLikeTheStripOne) {
    const fs::path path = dir_ / "tiled.tif";
    WriteWithLibtiff(path, TestPicture(), COMPRESSION_NONE, 0, 1, 16);
    {
        TIFF* tif = OpenForInspection(path);
        ASSERT_NE(tif, nullptr);
        EXPECT_TRUE(TIFFIsTiled(tif));
        TIFFClose(tif);
    }
    CImage image;
    ASSERT_EQ(LoadQuietly(image, path), 1);
    EXPECT_EQ(BlockOf(image), BottomUp(TestPicture(), kW * 3));
}

// ---------------------------------------------------------------------------
// Pictures libtiff converts: every photometric interpretation, bit depth,
// layout and compression a scanner, a fax or an editor writes

struct Kind {
    const char* name;
    std::uint16_t photometric;
    std::uint16_t bits;
    std::uint16_t samples;
    std::uint16_t compression = COMPRESSION_NONE;
    std::uint16_t planar = PLANARCONFIG_CONTIG;
    std::uint32_t tile = 0;  // tile width and length; 0: strips
    std::uint32_t rowsPerStrip = 5;
    std::uint16_t extra = 0;  // the extra sample's kind, when samples exceed the colours
    std::uint16_t orientation = ORIENTATION_TOPLEFT;
    std::uint32_t width = 41, height = 29;
};

// Noise-like sample bytes, different for every file and plane.
Bytes Pattern(std::size_t n, std::uint32_t seed) {
    Bytes b(n);
    std::uint32_t x = seed * 2654435761u + 12345;
    for (unsigned char& c : b) {
        x = x * 1103515245u + 12345;
        c = static_cast<unsigned char>(x >> 16);
    }
    return b;
}

// Writes a picture of the given kind with libtiff, its samples a pattern.
void WriteKind(const fs::path& path, const Kind& k) {
    TIFF* tif = TIFFOpen(path.string().c_str(), "w");
    ASSERT_NE(tif, nullptr);
    TIFFSetField(tif, TIFFTAG_IMAGEWIDTH, k.width);
    TIFFSetField(tif, TIFFTAG_IMAGELENGTH, k.height);
    TIFFSetField(tif, TIFFTAG_BITSPERSAMPLE, k.bits);
    TIFFSetField(tif, TIFFTAG_SAMPLESPERPIXEL, k.samples);
    TIFFSetField(tif, TIFFTAG_PHOTOMETRIC, k.photometric);
    TIFFSetField(tif, TIFFTAG_PLANARCONFIG, k.planar);
    TIFFSetField(tif, TIFFTAG_COMPRESSION, k.compression);
    TIFFSetField(tif, TIFFTAG_ORIENTATION, k.orientation);
    if (k.extra) {
        const std::uint16_t kinds[] = {k.extra};
        TIFFSetField(tif, TIFFTAG_EXTRASAMPLES, 1, kinds);
    }
    if (k.photometric == PHOTOMETRIC_SEPARATED) TIFFSetField(tif, TIFFTAG_INKSET, INKSET_CMYK);
    if (k.photometric == PHOTOMETRIC_PALETTE) {
        // Entry i: red 0x0101 * i, green 0xFFFF - that, blue 0x0101 * (i * 37 % 256).
        std::vector<std::uint16_t> r(1u << k.bits), g(r.size()), b(r.size());
        for (std::size_t i = 0; i < r.size(); ++i) {
            const std::size_t v = i * 255 / (r.size() - 1);
            r[i] = static_cast<std::uint16_t>(0x0101 * v);
            g[i] = static_cast<std::uint16_t>(0xFFFF - r[i]);
            b[i] = static_cast<std::uint16_t>(0x0101 * (v * 37 % 256));
        }
        TIFFSetField(tif, TIFFTAG_COLORMAP, r.data(), g.data(), b.data());
    }
    if (k.compression == COMPRESSION_JPEG && k.photometric == PHOTOMETRIC_YCBCR) {
        TIFFSetField(tif, TIFFTAG_YCBCRSUBSAMPLING, 2, 2);
        TIFFSetField(tif, TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);  // written from RGB
    }
    const std::uint16_t planes = k.planar == PLANARCONFIG_SEPARATE ? k.samples : 1;
    std::uint32_t seed = 1;
    if (k.tile) {
        TIFFSetField(tif, TIFFTAG_TILEWIDTH, k.tile);
        TIFFSetField(tif, TIFFTAG_TILELENGTH, k.tile);
        for (std::uint16_t plane = 0; plane < planes; ++plane)
            for (std::uint32_t y = 0; y < k.height; y += k.tile)
                for (std::uint32_t x = 0; x < k.width; x += k.tile) {
                    Bytes tile = Pattern(std::size_t(TIFFTileSize(tif)), seed++);
                    ASSERT_GE(TIFFWriteTile(tif, tile.data(), x, y, 0, plane), 0) << k.name;
                }
    } else {
        TIFFSetField(tif, TIFFTAG_ROWSPERSTRIP, k.rowsPerStrip);
        for (std::uint16_t plane = 0; plane < planes; ++plane)
            for (std::uint32_t row = 0; row < k.height; ++row) {
                Bytes line = Pattern(std::size_t(TIFFScanlineSize(tif)), seed++);
                ASSERT_EQ(TIFFWriteScanline(tif, line.data(), row, plane), 1) << k.name;
            }
    }
    TIFFClose(tif);
}

using TiffConverted = TiffFiles;

TEST_F(TiffConverted, EveryKindLoadsAsLibtiffConvertsIt) {
    const Kind kinds[] = {
        {"bilevel", PHOTOMETRIC_MINISBLACK, 1, 1},
        {"bilevel-white", PHOTOMETRIC_MINISWHITE, 1, 1},
        {"fax-rle", PHOTOMETRIC_MINISWHITE, 1, 1, COMPRESSION_CCITTRLE},
        {"fax-g3", PHOTOMETRIC_MINISWHITE, 1, 1, COMPRESSION_CCITTFAX3},
        {"fax-g4", PHOTOMETRIC_MINISWHITE, 1, 1, COMPRESSION_CCITTFAX4},
        {"fax-g4-tiled", PHOTOMETRIC_MINISWHITE, 1, 1, COMPRESSION_CCITTFAX4, 1, 16},
        {"grey2", PHOTOMETRIC_MINISBLACK, 2, 1},
        {"grey4", PHOTOMETRIC_MINISBLACK, 4, 1, COMPRESSION_PACKBITS},
        {"grey8", PHOTOMETRIC_MINISBLACK, 8, 1, COMPRESSION_LZW},
        {"grey8-white", PHOTOMETRIC_MINISWHITE, 8, 1},
        {"grey16", PHOTOMETRIC_MINISBLACK, 16, 1, COMPRESSION_ADOBE_DEFLATE},
        {"grey8-alpha", PHOTOMETRIC_MINISBLACK, 8, 2, COMPRESSION_NONE, PLANARCONFIG_CONTIG, 0, 5,
         EXTRASAMPLE_ASSOCALPHA},
        {"grey8-tiled", PHOTOMETRIC_MINISBLACK, 8, 1, COMPRESSION_NONE, 1, 16},
        {"palette1", PHOTOMETRIC_PALETTE, 1, 1},
        {"palette2", PHOTOMETRIC_PALETTE, 2, 1},
        {"palette4", PHOTOMETRIC_PALETTE, 4, 1, COMPRESSION_LZW},
        {"palette8", PHOTOMETRIC_PALETTE, 8, 1, COMPRESSION_PACKBITS},
        {"palette8-tiled", PHOTOMETRIC_PALETTE, 8, 1, COMPRESSION_NONE, 1, 32},
        {"cmyk", PHOTOMETRIC_SEPARATED, 8, 4},
        {"cmyk-planes", PHOTOMETRIC_SEPARATED, 8, 4, COMPRESSION_LZW, PLANARCONFIG_SEPARATE},
        {"cielab", PHOTOMETRIC_CIELAB, 8, 3},
        {"cielab-16", PHOTOMETRIC_CIELAB, 16, 3},
        {"ycbcr-jpeg", PHOTOMETRIC_YCBCR, 8, 3, COMPRESSION_JPEG, 1, 0, 16},
        {"ycbcr-jpeg-tiled", PHOTOMETRIC_YCBCR, 8, 3, COMPRESSION_JPEG, 1, 16},
        {"rgb16", PHOTOMETRIC_RGB, 16, 3, COMPRESSION_LZW},
        {"rgb16-planes", PHOTOMETRIC_RGB, 16, 3, COMPRESSION_NONE, PLANARCONFIG_SEPARATE},
        {"rgb8-planes", PHOTOMETRIC_RGB, 8, 3, COMPRESSION_ADOBE_DEFLATE, PLANARCONFIG_SEPARATE},
        {"rgb8-planes-tiled", PHOTOMETRIC_RGB, 8, 3, COMPRESSION_NONE, PLANARCONFIG_SEPARATE, 16},
        {"rgb8-tiled-jpeg", PHOTOMETRIC_RGB, 8, 3, COMPRESSION_JPEG, 1, 16},
        {"rgba8-associated", PHOTOMETRIC_RGB, 8, 4, COMPRESSION_NONE, PLANARCONFIG_CONTIG, 0, 5,
         EXTRASAMPLE_ASSOCALPHA},
        {"rgba16-associated", PHOTOMETRIC_RGB, 16, 4, COMPRESSION_LZW, PLANARCONFIG_SEPARATE, 0, 5,
         EXTRASAMPLE_ASSOCALPHA},
        {"rgb-and-unspecified", PHOTOMETRIC_RGB, 8, 4, COMPRESSION_NONE, PLANARCONFIG_CONTIG, 16, 5,
         EXTRASAMPLE_UNSPECIFIED},
    };
    for (const Kind& k : kinds) {
        SCOPED_TRACE(k.name);
        const fs::path path = dir_ / (std::string(k.name) + ".tif");
        WriteKind(path, k);
        ASSERT_EQ(CompressionOf(path), k.compression);
        ExpectLoadsAsLibtiffConverts(path, k.width, k.height);
    }
}

TEST_F(TiffConverted, PaletteGivesTheTableColours) {
    // Entry i of the 4-entry table: red 0x0101 * v, green 0xFFFF minus that,
    // blue 0x0101 * (v * 37 % 256), v = i * 85; each 16-bit value's high byte.
    const Kind k{"palette2", PHOTOMETRIC_PALETTE, 2, 1};
    const fs::path path = dir_ / "palette2.tif";
    WriteKind(path, k);
    TIFF* tif = OpenForInspection(path);
    ASSERT_NE(tif, nullptr);
    Bytes indices;
    Bytes line(std::size_t(TIFFScanlineSize(tif)));
    for (std::uint32_t row = 0; row < k.height; ++row) {
        ASSERT_EQ(TIFFReadScanline(tif, line.data(), row, 0), 1);
        for (std::uint32_t x = 0; x < k.width; ++x)
            indices.push_back(static_cast<unsigned char>((line[x / 4] >> (6 - 2 * (x % 4))) & 3));
    }
    TIFFClose(tif);
    const unsigned char colours[4][3] = {{0, 255, 0}, {85, 170, 73}, {170, 85, 146}, {255, 0, 219}};
    Bytes expected;
    for (std::uint32_t row = k.height; row-- > 0;)
        for (std::uint32_t x = 0; x < k.width; ++x) {
            const unsigned char* c = colours[indices[std::size_t(row) * k.width + x]];
            expected.insert(expected.end(), c, c + 3);
        }
    CImage image;
    ASSERT_EQ(LoadTifQuietly(image, path), 1);
    EXPECT_EQ(BlockOf(image), expected);
}

TEST_F(TiffConverted, UnassociatedAlphaKeepsTheStoredColourInEveryLayout) {
    for (std::uint16_t planar : {PLANARCONFIG_CONTIG, PLANARCONFIG_SEPARATE})
        for (std::uint32_t tile : {0u, 16u}) {
            const Kind k{"rgba8", PHOTOMETRIC_RGB,       8, 4, COMPRESSION_LZW, planar, tile,
                         5,       EXTRASAMPLE_UNASSALPHA};
            const fs::path path =
                dir_ / ("rgba8-" + std::to_string(planar) + "-" + std::to_string(tile) + ".tif");
            WriteKind(path, k);
            // The stored colour samples, read back through libtiff's tile and
            // scanline interfaces, bottom row first.
            TIFF* tif = OpenForInspection(path);
            ASSERT_NE(tif, nullptr);
            const bool separate = planar == PLANARCONFIG_SEPARATE;
            const std::uint32_t across = tile ? tile : k.width, down = tile ? tile : 1;
            Bytes stored(std::size_t(k.width) * k.height * 3);
            Bytes buf(std::size_t(tile ? TIFFTileSize(tif) : TIFFScanlineSize(tif)));
            for (std::uint16_t plane = 0; plane < (separate ? 3 : 1); ++plane)
                for (std::uint32_t y0 = 0; y0 < k.height; y0 += down)
                    for (std::uint32_t x0 = 0; x0 < k.width; x0 += across) {
                        if (tile)
                            ASSERT_GE(TIFFReadTile(tif, buf.data(), x0, y0, 0, plane), 0);
                        else
                            ASSERT_EQ(TIFFReadScanline(tif, buf.data(), y0, plane), 1);
                        for (std::uint32_t y = y0; y < std::min(k.height, y0 + down); ++y)
                            for (std::uint32_t x = x0; x < std::min(k.width, x0 + across); ++x)
                                for (std::uint16_t c = 0; c < 3; ++c) {
                                    if (separate && c != plane) continue;
                                    const std::size_t at = std::size_t(y - y0) * across + (x - x0);
                                    stored[(std::size_t(k.height - 1 - y) * k.width + x) * 3 + c] =
                                        separate ? buf[at] : buf[at * 4 + c];
                                }
                    }
            TIFFClose(tif);
            CImage image;
            ASSERT_EQ(LoadTifQuietly(image, path), 1) << path;
            EXPECT_EQ(BlockOf(image), stored) << path;
        }
}

TEST_F(TiffConverted, EveryOrientationAcrossManyBands) {
    // Large enough for the conversion to go in several bands of strips or tiles.
    for (std::uint16_t orientation = ORIENTATION_TOPLEFT; orientation <= ORIENTATION_LEFTBOT;
         ++orientation)
        for (std::uint32_t tile : {0u, 64u}) {
            Kind k{"grey", PHOTOMETRIC_MINISBLACK, 8, 1, COMPRESSION_LZW, 1, tile, 7};
            k.orientation = orientation;
            k.width = 1500;
            k.height = 1401;
            const fs::path path = dir_ / ("grey-" + std::to_string(orientation) + "-" +
                                          std::to_string(tile) + ".tif");
            WriteKind(path, k);
            SCOPED_TRACE(path.string());
            ExpectLoadsAsLibtiffConverts(path, k.width, k.height);
        }
}

// One strip of more than 2^26 pixels, too much for one band: converted in
// parts of whole 16-row groups, a YCbCr block never split between two.
TEST_F(TiffConverted, AHugeStripIsConvertedInParts) {
    struct Case {
        const char* name;
        std::uint16_t photometric, bits, samples;
    };
    const Case cases[] = {{"bilevel", PHOTOMETRIC_MINISBLACK, 1, 1},
                          {"ycbcr22", PHOTOMETRIC_YCBCR, 8, 3}};
    constexpr std::uint32_t kSide = 8200;  // 67,240,000 pixels
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const fs::path path = dir_ / (std::string(c.name) + ".tif");
        TIFF* tif = TIFFOpen(path.string().c_str(), "w");
        ASSERT_NE(tif, nullptr);
        TIFFSetField(tif, TIFFTAG_IMAGEWIDTH, kSide);
        TIFFSetField(tif, TIFFTAG_IMAGELENGTH, kSide);
        TIFFSetField(tif, TIFFTAG_BITSPERSAMPLE, c.bits);
        TIFFSetField(tif, TIFFTAG_SAMPLESPERPIXEL, c.samples);
        TIFFSetField(tif, TIFFTAG_PHOTOMETRIC, c.photometric);
        TIFFSetField(tif, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
        TIFFSetField(tif, TIFFTAG_COMPRESSION, COMPRESSION_LZW);
        TIFFSetField(tif, TIFFTAG_ROWSPERSTRIP, kSide);
        if (c.photometric == PHOTOMETRIC_YCBCR) TIFFSetField(tif, TIFFTAG_YCBCRSUBSAMPLING, 2, 2);
        // Broad bands of samples, which compress well.
        Bytes strip(std::size_t(TIFFStripSize(tif)));
        for (std::size_t i = 0; i < strip.size(); ++i)
            strip[i] = static_cast<unsigned char>((i / 4099) * 37 + (i % 7 == 0 ? 5 : 0));
        ASSERT_GE(TIFFWriteEncodedStrip(tif, 0, strip.data(), tmsize_t(strip.size())), 0);
        TIFFClose(tif);
        ExpectLoadsAsLibtiffConverts(path, kSide, kSide);
    }
}

TEST_F(TiffConverted, KindsLibtiffCannotConvertAreRefused) {
    // Three 8-bit samples each, which the reader once copied as R, G, B.
    const Kind kinds[] = {
        {"icclab", PHOTOMETRIC_ICCLAB, 8, 3},
        {"itulab", PHOTOMETRIC_ITULAB, 8, 3},
        {"logl-uncompressed", PHOTOMETRIC_LOGL, 8, 3},
        {"logluv-uncompressed", PHOTOMETRIC_LOGLUV, 8, 3},
    };
    for (const Kind& k : kinds) {
        SCOPED_TRACE(k.name);
        const fs::path path = dir_ / (std::string(k.name) + ".tif");
        WriteKind(path, k);
        std::uint32_t w = 0, h = 0;
        EXPECT_TRUE(RgbaReference(path, &w, &h).empty());
        CImage image;
        EXPECT_EQ(LoadTifQuietly(image, path), 0);
        ExpectEmpty(image);
    }
}

TEST_F(TiffConverted, ARowThatDoesNotDecodeRefusesTheFile) {
    const Kind k{"grey8", PHOTOMETRIC_MINISBLACK, 8, 1, COMPRESSION_LZW};
    const fs::path path = dir_ / "cut.tif";
    WriteKind(path, k);
    // Cut the file inside its last strip.
    TIFF* tif = OpenForInspection(path);
    ASSERT_NE(tif, nullptr);
    const std::uint32_t strips = TIFFNumberOfStrips(tif);
    const std::uint64_t lastOffset = TIFFGetStrileOffset(tif, strips - 1);
    TIFFClose(tif);
    Bytes bytes = FileBytes(path);
    ASSERT_GT(bytes.size(), lastOffset + 1);
    // The directory comes after the strips in libtiff's files: keep it and
    // zero the last strip's bytes instead, so that it no longer decodes.
    for (std::uint64_t i = lastOffset; i < lastOffset + 4 && i < bytes.size(); ++i) bytes[i] = 0xFF;
    WriteWholeFile(path, bytes);
    std::uint32_t w = 0, h = 0;
    EXPECT_TRUE(RgbaReference(path, &w, &h).empty());  // libtiff cannot read it whole either
    CImage image;
    EXPECT_EQ(LoadTifQuietly(image, path), 0);
    ExpectEmpty(image);
}

// ---------------------------------------------------------------------------
// Nothing is printed, and libtiff's process-wide handlers stay as they are

int g_processWideReports = 0;
void CountReport(const char*, const char*, va_list) { ++g_processWideReports; }
void CountReportExt(thandle_t, const char*, const char*, va_list) { ++g_processWideReports; }

fs::path CorpusDir() { return fs::path(SELVORA_TESTDATA_DIR) / "libtiff-images"; }

using TiffQuiet = TiffFiles;

TEST_F(TiffQuiet, ProcessWideHandlersAreNeitherCalledNorReplaced) {
#ifdef _WIN32
    GTEST_SKIP() << "Selvora100_64.dll holds a libtiff of its own: the handlers of the test's "
                    "libtiff are another copy's, which the library cannot reach";
#endif
    const TIFFErrorHandler oldError = TIFFSetErrorHandler(CountReport);
    const TIFFErrorHandler oldWarning = TIFFSetWarningHandler(CountReport);
    const TIFFErrorHandlerExt oldErrorExt = TIFFSetErrorHandlerExt(CountReportExt);
    const TIFFErrorHandlerExt oldWarningExt = TIFFSetWarningHandlerExt(CountReportExt);
    g_processWideReports = 0;

    // Files that make libtiff warn or fail.
    const std::vector<fs::path> paths = {
        CorpusDir() / "webp_lossless_rgba_alpha_fully_opaque.tif",  // unknown tags
        CorpusDir() / "ojpeg_chewey_subsamp21_multi_strip.tiff",    // deprecated scheme
        CorpusDir() / "test_ifd_loop_to_self.tif",
        CorpusDir() / "quad-lzw-compat.tiff",  // old-style LZW codes
        Write("pastend.tif",
              BuildTiff(false, RgbFields(2, 3, 1, {0, 6, 1000}, {6, 6, 6}), kPicture2x3)),
        Write("four.tif", {'I', 'I', 42, 0}),
        Write("far.tif", {'I', 'I', 42, 0, 0x00, 0x10, 0, 0}),
    };
    for (const fs::path& path : paths) {
        CImage image;
        LoadTifQuietly(image, path);
    }
    EXPECT_EQ(g_processWideReports, 0);

    // The same files opened without handlers of one's own do reach them.
    TIFF* tif = TIFFOpen(paths[0].string().c_str(), "r");
    if (tif) TIFFClose(tif);
    EXPECT_GT(g_processWideReports, 0);

    EXPECT_EQ(TIFFSetErrorHandler(oldError), &CountReport);
    EXPECT_EQ(TIFFSetWarningHandler(oldWarning), &CountReport);
    EXPECT_EQ(TIFFSetErrorHandlerExt(oldErrorExt), &CountReportExt);
    EXPECT_EQ(TIFFSetWarningHandlerExt(oldWarningExt), &CountReportExt);
}

// The reader's own header check keeps such files from libtiff; should one
// get through, the handlers given to TIFFOpenExt also take the reports made
// while opening, before there is a handle.
TEST_F(TiffQuiet, OpenOptionsTakeTheReportsOfAFailedOpen) {
    const TIFFErrorHandler oldError = TIFFSetErrorHandler(CountReport);
    const TIFFErrorHandlerExt oldErrorExt = TIFFSetErrorHandlerExt(CountReportExt);
    g_processWideReports = 0;
    Bytes version43 = Rgb2x3(false);
    version43[2] = 43;
    version43[3] = 0;
    Bytes version0 = Rgb2x3(true);
    version0[3] = 0;
    const std::vector<fs::path> paths = {
        Write("bm.tif", {'B', 'M', 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14}),
        Write("v43.tif", version43),
        Write("v0.tif", version0),
        dir_ / "absent.tif",
    };
    for (const fs::path& path : paths) {
        TIFF* tif = Quietly(path.string(), [&] { return OpenForInspection(path); });
        EXPECT_EQ(tif, nullptr) << path;
        if (tif) TIFFClose(tif);
    }
    EXPECT_EQ(g_processWideReports, 0);
    // Without options, the same open reaches the process-wide handlers.
    TIFF* tif = Quietly("bm.tif", [&] { return TIFFOpen(paths[0].string().c_str(), "r"); });
    EXPECT_EQ(tif, nullptr);
    EXPECT_EQ(g_processWideReports, 2);  // the plain and the extended handler
    TIFFSetErrorHandler(oldError);
    TIFFSetErrorHandlerExt(oldErrorExt);
}

// ---------------------------------------------------------------------------
// libtiff's sample images

// Binary PPM (P6, maxval 255): the pixels top row first.
Bytes ReadPpm(const fs::path& path, int* width, int* height) {
    const Bytes file = FileBytes(path);
    std::size_t at = 0;
    auto skipSpaceAndComments = [&] {
        while (at < file.size()) {
            if (file[at] == '#') {
                while (at < file.size() && file[at] != '\n') ++at;
            } else if (std::isspace(file[at])) {
                ++at;
            } else {
                break;
            }
        }
    };
    auto number = [&] {
        skipSpaceAndComments();
        long value = 0;
        while (at < file.size() && std::isdigit(file[at])) value = value * 10 + (file[at++] - '0');
        return value;
    };
    if (file.size() < 2 || file[0] != 'P' || file[1] != '6') return {};
    at = 2;
    *width = int(number());
    *height = int(number());
    const long maxval = number();
    if (maxval != 255) return {};
    ++at;  // the single whitespace before the samples
    const std::size_t size = std::size_t(*width) * *height * 3;
    if (file.size() - at < size) return {};
    return Bytes(file.begin() + long(at), file.begin() + long(at + size));
}

TEST(TiffCorpus, Rgb8MatchesItsPpm) {
    int w = 0, h = 0;
    const Bytes ppm = ReadPpm(CorpusDir() / "rgb-3c-8b.ppm", &w, &h);
    ASSERT_EQ(w, 157);
    ASSERT_EQ(h, 151);
    ASSERT_EQ(ppm.size(), 157u * 151 * 3);
    CImage image;
    ASSERT_EQ(LoadTifQuietly(image, CorpusDir() / "rgb-3c-8b.tiff"), 1);
    EXPECT_EQ(image.GetWidth(), 157);
    EXPECT_EQ(image.GetHeight(), 151);
    EXPECT_EQ(BlockOf(image), BottomUp(ppm, 157 * 3));
}

TEST(TiffCorpus, QuadLzwMatchesLibtiffRgbaDecoding) {
    const fs::path path = CorpusDir() / "quad-lzw-compat.tiff";
    ASSERT_EQ(CompressionOf(path), COMPRESSION_LZW);
    std::uint32_t w = 0, h = 0;
    const Bytes reference = RgbaReference(path, &w, &h);
    ASSERT_EQ(w, 512u);
    ASSERT_EQ(h, 384u);
    CImage image;
    ASSERT_EQ(LoadTifQuietly(image, path), 1);
    EXPECT_EQ(image.GetWidth(), 512);
    EXPECT_EQ(image.GetHeight(), 384);
    EXPECT_EQ(BlockOf(image), reference);
}

TEST(TiffCorpus, OneBitLzwFileIsBlackAndWhite) {
    const fs::path path = CorpusDir() / "lzw-single-strip.tiff";
    ASSERT_EQ(CompressionOf(path), COMPRESSION_LZW);
    CImage image;
    ASSERT_EQ(LoadTifQuietly(image, path), 1);
    const Bytes block = BlockOf(image);
    ASSERT_EQ(block.size(), 7795u * 3122 * 3);
    std::size_t black = 0, white = 0;
    for (std::size_t i = 0; i < block.size(); i += 3) {
        EXPECT_TRUE(block[i] == block[i + 1] && block[i] == block[i + 2]) << i;
        black += block[i] == 0;
        white += block[i] == 255;
    }
    EXPECT_EQ(black + white, block.size() / 3);
    EXPECT_GT(black, 0u);
    EXPECT_GT(white, 0u);
}

// Old-style JPEG in YCbCr, subsampled 2 x 1 and 2 x 2, in strips and tiles:
// converted to RGB as libtiff decodes it.
TEST(TiffCorpus, OldJpegLoadsAsLibtiffDecodesIt) {
    struct Case {
        const char* name;
        std::uint32_t width, height;
    };
    const Case cases[] = {
        {"ojpeg_chewey_subsamp21_multi_strip.tiff", 392, 575},
        {"ojpeg_single_strip_no_rowsperstrip.tiff", 234, 213},
        {"ojpeg_zackthecat_subsamp22_single_strip.tiff", 234, 213},
    };
    for (const Case& c : cases) {
        ASSERT_EQ(CompressionOf(CorpusDir() / c.name), COMPRESSION_OJPEG) << c.name;
        ExpectLoadsAsLibtiffConverts(CorpusDir() / c.name, c.width, c.height);
    }
}

// Every file of the folder, with the result the reader's rule gives from its
// fields (tiffinfo): classic header, width * height * 3 <= 2^31 - 1, and
// every row decodes, through the scanlines (8-bit RGB, contiguous, strips) or
// libtiff's RGBA conversion (everything else it can read).
struct CorpusCase {
    int result;
    int width, height;
    const char* why;
};

const std::map<std::string, CorpusCase>& CorpusTable() {
    static const std::map<std::string, CorpusCase> table = {
        {"32bpp-None-jpeg.tiff", {1, 162, 20, "8-bit RGB, PackBits"}},
        {"32bpp-None.tiff", {1, 162, 20, "RGB + alpha, converted"}},
        {"README.txt", {0, 0, 0, "not TIFF"}},
        {"custom_dir_EXIF_GPS.tiff", {1, 1, 1, "8-bit RGB, uncompressed"}},
        {"deflate-last-strip-extra-data.tiff", {1, 500, 500, "grey, converted"}},
        {"logluv-3c-16b.tiff", {1, 1, 1, "LogLuv, converted"}},
        {"lzw-single-strip.tiff", {1, 7795, 3122, "bilevel, converted"}},
        {"minisblack-1c-16b.tiff", {1, 157, 151, "16-bit grey, converted"}},
        {"minisblack-1c-8b.pgm", {0, 0, 0, "not TIFF (P5)"}},
        {"minisblack-1c-8b.tiff", {1, 157, 151, "grey, converted"}},
        {"minisblack-2c-8b-alpha.tiff", {1, 64, 64, "grey + alpha, separate planes, converted"}},
        {"miniswhite-1c-1b.g3", {0, 0, 0, "not TIFF (raw fax)"}},
        {"miniswhite-1c-1b.pbm", {0, 0, 0, "not TIFF (P4)"}},
        {"miniswhite-1c-1b.tiff", {1, 157, 151, "bilevel, white is zero, converted"}},
        {"ojpeg_chewey_subsamp21_multi_strip.tiff", {1, 392, 575, "old JPEG YCbCr, converted"}},
        {"ojpeg_single_strip_no_rowsperstrip.tiff", {1, 234, 213, "old JPEG YCbCr, converted"}},
        {"ojpeg_zackthecat_subsamp22_single_strip.tiff",
         {1, 234, 213, "old JPEG YCbCr, tiled, converted"}},
        {"palette-1c-1b.tiff", {1, 157, 151, "palette, 1 bit, converted"}},
        {"palette-1c-4b.tiff", {1, 157, 151, "palette, 4 bits, converted"}},
        {"palette-1c-8b.tiff", {1, 157, 151, "palette, 8 bits, converted"}},
        {"quad-lzw-compat.tiff", {1, 512, 384, "8-bit RGB, LZW"}},
        {"quad-tile.jpg.tiff", {1, 512, 384, "JPEG YCbCr, tiled, converted"}},
        {"rgb-3c-16b.ppm", {0, 0, 0, "not TIFF (P6)"}},
        {"rgb-3c-16b.tiff", {1, 157, 151, "16-bit RGB, converted"}},
        {"rgb-3c-8b.ppm", {0, 0, 0, "not TIFF (P6)"}},
        {"rgb-3c-8b.tiff", {1, 157, 151, "8-bit RGB, uncompressed"}},
        {"test_float64_predictor2_be_lzw.tif", {0, 0, 0, "64-bit float: libtiff cannot convert"}},
        {"test_float64_predictor2_le_lzw.tif", {0, 0, 0, "64-bit float: libtiff cannot convert"}},
        {"test_ifd_loop_subifd.tif", {1, 1, 1, "first directory 8-bit RGB"}},
        {"test_ifd_loop_to_first.tif", {1, 1, 1, "grey, converted"}},
        {"test_ifd_loop_to_self.tif", {1, 20, 20, "grey, converted"}},
        {"test_two_ifds.tif", {1, 1, 1, "grey, converted"}},
        {"testfax3_bug54_1dnoEOL.tif", {0, 0, 0, "CCITT G3: rows libtiff cannot decode"}},
        {"testfax3_bug_513.tiff", {0, 0, 0, "CCITT G3: rows libtiff cannot decode"}},
        {"testfax4.tiff", {1, 2453, 3369, "bilevel, CCITT G4, converted"}},
        {"tiff_with_subifd_chain.tif", {1, 1024, 512, "grey, tiled, converted"}},
        {"webp_lossless_rgba_alpha_fully_opaque.tif", {1, 20, 20, "RGB + alpha, WebP, converted"}},
    };
    return table;
}

TEST(TiffCorpus, EveryFileGivesTheResultOfTheRule) {
    std::vector<std::string> seen;
    for (const fs::directory_entry& entry : fs::directory_iterator(CorpusDir())) {
        if (!entry.is_regular_file()) continue;
        const std::string name = entry.path().filename().string();
        seen.push_back(name);
        const auto it = CorpusTable().find(name);
        if (it == CorpusTable().end()) {
            ADD_FAILURE() << name << " is not in the table";
            continue;
        }
        const CorpusCase& expected = it->second;
        CImage image;
        EXPECT_EQ(LoadTifQuietly(image, entry.path()), expected.result)
            << name << ": " << expected.why;
        EXPECT_EQ(image.GetType(), expected.result ? 3 : 0) << name;
        EXPECT_EQ(image.GetWidth(), expected.width) << name;
        EXPECT_EQ(image.GetHeight(), expected.height) << name;
        EXPECT_EQ(image.GetBitsPtr() != nullptr, expected.result == 1) << name;
    }
    EXPECT_EQ(seen.size(), CorpusTable().size());
}

// None of these files has unassociated alpha that is not opaque, so
// libtiff's RGBA decoding is the reference for all of them.
TEST(TiffCorpus, LoadedFilesMatchLibtiffRgbaDecoding) {
    for (const auto& [name, expected] : CorpusTable()) {
        if (expected.result != 1) continue;
        ExpectLoadsAsLibtiffConverts(CorpusDir() / name, std::uint32_t(expected.width),
                                     std::uint32_t(expected.height));
    }
}

TEST(TiffCorpus, LoadChoosesTheReaderByExtensionOnly) {
    // ".tif" files go to the TIFF reader; ".tiff" files are refused before any
    // reading, even the ones the reader loads.
    for (const auto& [name, expected] : CorpusTable()) {
        const std::string ext = fs::path(name).extension().string();
        CImage image;
        const int result = LoadQuietly(image, CorpusDir() / name);
        if (ext == ".tif")
            EXPECT_EQ(result, expected.result) << name;
        else
            EXPECT_EQ(result, 0) << name;
        EXPECT_EQ(image.GetType(), result ? 3 : 0) << name;
    }
}

}  // namespace
