// BMP reading through CImage, with small files built byte by byte.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "selvora/image/image.h"
#include "support/scratch_dir.h"

namespace {

namespace fs = std::filesystem;
using Bytes = std::vector<unsigned char>;

// The fields of the 14-byte file header and the 40-byte information header.
struct Header {
    unsigned char sig0 = 'B';
    unsigned char sig1 = 'M';
    std::uint32_t fileSize = 0;
    std::uint16_t reserved1 = 0;
    std::uint16_t reserved2 = 0;
    std::uint32_t offset = 54;
    std::uint32_t headerSize = 40;
    std::int32_t width = 1;
    std::int32_t height = 1;
    std::uint16_t planes = 1;
    std::uint16_t bits = 24;
    std::uint32_t compression = 0;
    std::uint32_t imageSize = 0;
    std::int32_t xResolution = 2835;
    std::int32_t yResolution = 2835;
    std::uint32_t coloursUsed = 0;
    std::uint32_t importantColours = 0;
};

// The header of a width x height 24-bit file, the pixel data right after it.
Header Header24(std::int32_t width, std::int32_t height) {
    Header h;
    h.width = width;
    h.height = height;
    return h;
}

// The header of a width x height file of `bits` per pixel whose palette of
// coloursUsed entries (0: all 2^bits) follows the headers, the pixel data
// right after the palette.
Header IndexedHeader(std::uint16_t bits, std::int32_t width, std::int32_t height,
                     std::uint32_t coloursUsed) {
    Header h = Header24(width, height);
    h.bits = bits;
    h.coloursUsed = coloursUsed;
    const std::uint32_t entries = coloursUsed != 0 ? coloursUsed : 1u << bits;
    h.offset = 54 + 4 * entries;
    return h;
}

void Put16(Bytes& b, std::uint16_t v) {
    b.push_back(static_cast<unsigned char>(v & 0xFF));
    b.push_back(static_cast<unsigned char>(v >> 8));
}

void Put32(Bytes& b, std::uint32_t v) {
    for (int i = 0; i < 4; ++i) b.push_back(static_cast<unsigned char>((v >> (8 * i)) & 0xFF));
}

void PutI32(Bytes& b, std::int32_t v) {
    std::uint32_t u;
    std::memcpy(&u, &v, sizeof u);
    Put32(b, u);
}

Bytes HeaderBytes(const Header& h) {
    Bytes b;
    b.push_back(h.sig0);
    b.push_back(h.sig1);
    Put32(b, h.fileSize);
    Put16(b, h.reserved1);
    Put16(b, h.reserved2);
    Put32(b, h.offset);
    Put32(b, h.headerSize);
    PutI32(b, h.width);
    PutI32(b, h.height);
    Put16(b, h.planes);
    Put16(b, h.bits);
    Put32(b, h.compression);
    Put32(b, h.imageSize);
    PutI32(b, h.xResolution);
    PutI32(b, h.yResolution);
    Put32(b, h.coloursUsed);
    Put32(b, h.importantColours);
    return b;
}

// Header, then the given bytes (palette, gap, pixel rows) in file order.
Bytes File(const Header& h, const Bytes& rest) {
    Bytes b = HeaderBytes(h);
    b.insert(b.end(), rest.begin(), rest.end());
    return b;
}

Bytes Cat(std::initializer_list<Bytes> parts) {
    Bytes b;
    for (const Bytes& p : parts) b.insert(b.end(), p.begin(), p.end());
    return b;
}

// A palette entry as stored in the file: blue, green, red, reserved.
Bytes Entry(unsigned char r, unsigned char g, unsigned char b, unsigned char reserved = 0) {
    return {b, g, r, reserved};
}

// The image's pixel block as bytes.
Bytes Pixels(CImage& image) {
    const unsigned char* p = static_cast<const unsigned char*>(image.GetBitsPtr());
    if (!p) return {};
    const std::size_t n = static_cast<std::size_t>(image.GetWidth()) *
                          static_cast<std::size_t>(image.GetHeight()) * 3;
    return Bytes(p, p + n);
}

class BmpTest : public ::testing::Test {
  protected:
    void SetUp() override {
        ASSERT_FALSE(scratch_.Path().empty()) << "cannot create a scratch directory";
        dir_ = scratch_.Path();
    }

    std::string Write(const std::string& name, const Bytes& bytes) {
        const std::string path = (dir_ / name).string();
        FILE* f = std::fopen(path.c_str(), "wb");
        EXPECT_NE(f, nullptr) << path;
        if (!f) return path;
        if (!bytes.empty()) {
            EXPECT_EQ(std::fwrite(bytes.data(), 1, bytes.size(), f), bytes.size());
        }
        std::fclose(f);
        return path;
    }

    // Writes the bytes and loads them; the image is left as Load left it.
    int Load(CImage& image, const Bytes& bytes, const std::string& name = "image.bmp") {
        return image.Load(Write(name, bytes).c_str());
    }

    // The bytes must be refused, leaving an empty image.
    void ExpectRefused(const Bytes& bytes, const char* what) {
        CImage image;
        EXPECT_EQ(Load(image, bytes), 0) << what;
        EXPECT_EQ(image.GetType(), 0) << what;
        EXPECT_EQ(image.GetWidth(), 0) << what;
        EXPECT_EQ(image.GetHeight(), 0) << what;
        EXPECT_EQ(image.GetBitsPtr(), nullptr) << what;
    }

    selvora_test::ScratchDir scratch_{"selvora-bmp"};
    fs::path dir_;
};

using BmpReader = BmpTest;
using BmpImage = BmpTest;

// A 2 x 2 24-bit file: rows of 6 bytes padded to 8, bottom row first.
Bytes TwoByTwo24() {
    Header h = Header24(2, 2);
    return File(h, {1, 2, 3, 4, 5, 6, 0xEE, 0xEE,  // bottom row, B G R per pixel, 2 padding
                    7, 8, 9, 10, 11, 12, 0xEE, 0xEE});
}

const Bytes kTwoByTwoPixels = {3, 2, 1, 6, 5, 4, 9, 8, 7, 12, 11, 10};

// A 3 x 1 24-bit file: 9 bytes of pixels and 3 of padding.
Bytes ThreeByOne24() {
    Header h = Header24(3, 1);
    return File(h, {10, 20, 30, 40, 50, 60, 70, 80, 90, 0, 0, 0});
}

const Bytes kThreeByOnePixels = {30, 20, 10, 60, 50, 40, 90, 80, 70};

// --- Reading -------------------------------------------------------------------------------

TEST_F(BmpReader, TwoByTwo24BitRowsArePaddedToEightBytes) {
    const Bytes file = TwoByTwo24();
    ASSERT_EQ(file.size(), 54u + 16u);
    CImage image;
    ASSERT_EQ(Load(image, file), 1);
    EXPECT_EQ(image.GetType(), 2);
    EXPECT_EQ(image.GetWidth(), 2);
    EXPECT_EQ(image.GetHeight(), 2);
    EXPECT_EQ(Pixels(image), kTwoByTwoPixels);  // first row = the file's first (bottom) row
}

TEST_F(BmpReader, OneBitNinePixelsWideUsesTwoDataAndTwoPaddingBytesPerRow) {
    Header h = IndexedHeader(1, 9, 2, 2);
    const Bytes palette = Cat({Entry(30, 20, 10, 99), Entry(60, 50, 40, 99)});
    // Bottom row: bits 1 0 1 1 0 0 1 0 | 1 (the rest of the byte is unused), then padding.
    // Top row:    bits 0 1 0 0 1 1 0 1 | 0.
    const Bytes rows = {0xB2, 0xBF, 0x55, 0x55, 0x4D, 0x7F, 0x55, 0x55};
    const Bytes file = File(h, Cat({palette, rows}));
    ASSERT_EQ(file.size(), 70u);

    const Bytes c0 = {30, 20, 10}, c1 = {60, 50, 40};
    const Bytes expected = Cat({c1, c0, c1, c1, c0, c0, c1, c0, c1,  // bottom row
                                c0, c1, c0, c0, c1, c1, c0, c1, c0});
    CImage image;
    ASSERT_EQ(Load(image, file), 1);
    EXPECT_EQ(image.GetWidth(), 9);
    EXPECT_EQ(image.GetHeight(), 2);
    EXPECT_EQ(Pixels(image), expected);

    // The last padding byte is needed too.
    ExpectRefused(Bytes(file.begin(), file.end() - 1), "last padding byte missing");
}

TEST_F(BmpReader, FourBitIndicesTakeTheHighNibbleFirst) {
    Header h = IndexedHeader(4, 3, 1, 0);  // colours used 0: 16 entries
    Bytes palette;
    for (int i = 0; i < 16; ++i) {
        const Bytes e = Entry(static_cast<unsigned char>(i), static_cast<unsigned char>(16 * i),
                              static_cast<unsigned char>(255 - i));
        palette.insert(palette.end(), e.begin(), e.end());
    }
    const Bytes file = File(h, Cat({palette, {0x1F, 0x3A, 0, 0}}));
    CImage image;
    ASSERT_EQ(Load(image, file), 1);
    EXPECT_EQ(Pixels(image), (Bytes{1, 16, 254, 15, 240, 240, 3, 48, 252}));
}

TEST_F(BmpReader, EightBitWithColoursUsedZeroReadsAll256Entries) {
    Header h = IndexedHeader(8, 4, 1, 0);
    Bytes palette;
    for (int i = 0; i < 256; ++i) {
        const Bytes e =
            Entry(static_cast<unsigned char>((i * 7) & 0xFF), static_cast<unsigned char>(255 - i),
                  static_cast<unsigned char>(i), 0xAA);
        palette.insert(palette.end(), e.begin(), e.end());
    }
    const Bytes pixels = {0, 1, 200, 255};
    // Entry i is R = 7i mod 256, G = 255 - i, B = i.
    const Bytes expected = {0, 255, 0, 7, 254, 1, 120, 55, 200, 249, 0, 255};
    {
        CImage image;
        ASSERT_EQ(Load(image, File(h, Cat({palette, pixels}))), 1);
        EXPECT_EQ(Pixels(image), expected);
    }
    // The 256th entry ends at byte 1078: an offset one entry earlier is inside the palette.
    h.offset = 54 + 1020;
    ExpectRefused(File(h, Cat({palette, pixels})), "offset inside the 256-entry palette");
    // A file that ends inside the palette.
    h.offset = 54 + 1024;
    ExpectRefused(File(h, Bytes(palette.begin(), palette.begin() + 1023)), "palette cut short");
}

TEST_F(BmpReader, FourBitFileWithOffsetBeforeThePaletteEndFails) {
    Header h = IndexedHeader(4, 8, 1, 0);  // 16 entries: 64 bytes, palette ends at 118
    Bytes palette(64, 0x40);
    const Bytes rows = {0x01, 0x23, 0x45, 0x67};
    h.offset = 117;
    ExpectRefused(File(h, Cat({palette, rows})), "offset 117");
    h.offset = 0;
    ExpectRefused(File(h, Cat({palette, rows})), "offset 0");
    h.offset = 118;
    CImage image;
    EXPECT_EQ(Load(image, File(h, Cat({palette, rows}))), 1);
    EXPECT_EQ(Pixels(image), Bytes(24, 0x40));
}

TEST_F(BmpReader, Truncated24BitRowWithoutPaddingStillLoads) {
    // Width 4: 12 bytes per row, no padding. The top row stops after 7 bytes:
    // pixels 0 and 1 are read, pixel 2 gets one of its three bytes.
    Header h = Header24(4, 2);
    const Bytes bottom = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
    const Bytes top = {13, 14, 15, 16, 17, 18, 19};
    CImage image;
    ASSERT_EQ(Load(image, File(h, Cat({bottom, top}))), 1);
    EXPECT_EQ(image.GetWidth(), 4);
    EXPECT_EQ(image.GetHeight(), 2);
    // Pixels the file could not supply are left unwritten: zero.
    EXPECT_EQ(Pixels(image), (Bytes{3,  2,  1,  6,  5,  4,  9, 8, 7, 12, 11, 10,
                                    15, 14, 13, 18, 17, 16, 0, 0, 0, 0,  0,  0}));
}

TEST_F(BmpReader, Truncated24BitFileCutInItsFirstRowLoadsWithLaterRowsUnwritten) {
    Header h = Header24(4, 3);
    CImage image;
    ASSERT_EQ(Load(image, File(h, {1, 2, 3, 4, 5})), 1);
    Bytes expected(36, 0);
    expected[0] = 3;
    expected[1] = 2;
    expected[2] = 1;
    EXPECT_EQ(Pixels(image), expected);
}

TEST_F(BmpReader, Truncated24BitRowThatNeedsPaddingFails) {
    const Bytes full = TwoByTwo24();  // rows of 6 bytes and 2 padding
    ExpectRefused(Bytes(full.begin(), full.end() - 1), "one padding byte missing");
    ExpectRefused(Bytes(full.begin(), full.end() - 2), "both padding bytes missing");
    ExpectRefused(Bytes(full.begin(), full.end() - 4), "last row cut inside a pixel");
    ExpectRefused(Bytes(full.begin(), full.end() - 8), "last row missing");
    ExpectRefused(Bytes(full.begin(), full.begin() + 54), "no pixel data");
}

TEST_F(BmpReader, PixelDataOffsetPastTheEndIsNotAFailureByItself) {
    // Skipping to the pixel data is not checked. With rows that need no
    // padding every pixel is then left unwritten; with padding the load fails.
    Header h = Header24(4, 2);
    h.offset = 1000;
    CImage image;
    ASSERT_EQ(Load(image, File(h, {})), 1);
    EXPECT_EQ(Pixels(image), Bytes(24, 0));

    h.width = 2;
    ExpectRefused(File(h, {}), "offset past the end, rows with padding");
}

TEST_F(BmpReader, RowsPastTheEndOfTheFileStayUnwritten) {
    Header h = Header24(4, 5000);
    CImage image;
    ASSERT_EQ(Load(image, File(h, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12})), 1);
    ASSERT_EQ(image.GetHeight(), 5000);
    Bytes expected(4 * 5000 * 3, 0);
    const Bytes first = {3, 2, 1, 6, 5, 4, 9, 8, 7, 12, 11, 10};
    std::copy(first.begin(), first.end(), expected.begin());
    EXPECT_EQ(Pixels(image), expected);
}

// Bytes that change from one to the next without repeating soon.
Bytes Noise(std::size_t n, std::uint32_t seed) {
    Bytes b(n);
    for (std::size_t i = 0; i < n; ++i) {
        seed = seed * 1103515245u + 12345u;
        b[i] = static_cast<unsigned char>(seed >> 16);
    }
    return b;
}

TEST_F(BmpReader, VeryWideRowsAreReadWhole) {
    // Rows of several hundred kilobytes, 24-bit with and without padding.
    for (std::int32_t width : {100000, 100001}) {
        Header h = Header24(width, 3);
        const std::size_t rowBytes = static_cast<std::size_t>(width) * 3;
        const std::size_t padding = (4 - rowBytes % 4) % 4;
        const Bytes data = Noise(rowBytes * 3, 7);
        Bytes rows, expected;
        for (std::size_t r = 0; r < 3; ++r) {
            rows.insert(rows.end(), data.begin() + r * rowBytes, data.begin() + (r + 1) * rowBytes);
            rows.insert(rows.end(), padding, 0x5A);
        }
        for (std::size_t i = 0; i < data.size(); i += 3) {
            expected.push_back(data[i + 2]);
            expected.push_back(data[i + 1]);
            expected.push_back(data[i]);
        }
        CImage image;
        ASSERT_EQ(Load(image, File(h, rows)), 1) << width;
        EXPECT_TRUE(Pixels(image) == expected) << width;
        const Bytes cut(rows.begin(), rows.end() - 1);
        if (padding) {
            ExpectRefused(File(h, cut), "last padding byte missing");
        } else {
            // The last pixel loses a byte and stays unwritten.
            std::fill(expected.end() - 3, expected.end(), 0);
            CImage shorter;
            ASSERT_EQ(Load(shorter, File(h, cut)), 1);
            EXPECT_TRUE(Pixels(shorter) == expected);
        }
    }
}

TEST_F(BmpReader, VeryWideIndexedRowsAreReadWhole) {
    for (std::uint16_t bits : {1, 4, 8}) {
        // 300002 data bytes per row, then 2 padding.
        const Header h = IndexedHeader(bits, 8 * 300001 / bits + 1, 2, 0);
        const std::uint32_t entries = 1u << bits;
        const Bytes palette = Noise(4 * entries, bits);
        const std::size_t dataBytes = 300002;
        const Bytes data = Noise(dataBytes * 2, 99);
        Bytes rows, expected;
        for (std::size_t r = 0; r < 2; ++r) {
            rows.insert(rows.end(), data.begin() + r * dataBytes,
                        data.begin() + (r + 1) * dataBytes);
            rows.insert(rows.end(), {0, 0});
            for (std::int32_t x = 0; x < h.width; ++x) {
                const std::size_t bit = static_cast<std::size_t>(x) * bits;
                const unsigned byte = data[r * dataBytes + bit / 8];
                const unsigned index = (byte >> (8 - bits - bit % 8)) & (entries - 1);
                expected.push_back(palette[4 * index + 2]);
                expected.push_back(palette[4 * index + 1]);
                expected.push_back(palette[4 * index]);
            }
        }
        CImage image;
        ASSERT_EQ(Load(image, File(h, Cat({palette, rows}))), 1) << bits;
        EXPECT_EQ(image.GetWidth(), h.width);
        EXPECT_TRUE(Pixels(image) == expected) << bits;
        ExpectRefused(File(h, Cat({palette, Bytes(rows.begin(), rows.end() - 1)})),
                      "last padding byte missing");
    }
}

TEST_F(BmpReader, BytesBetweenHeaderAndPixelDataAreSkipped) {
    Header h = Header24(3, 1);
    h.offset = 54 + 5;
    CImage image;
    ASSERT_EQ(Load(image,
                   File(h, {'j', 'u', 'n', 'k', '!', 10, 20, 30, 40, 50, 60, 70, 80, 90, 0, 0, 0})),
              1);
    EXPECT_EQ(Pixels(image), kThreeByOnePixels);

    Header p = IndexedHeader(8, 2, 1, 2);
    p.offset = 54 + 8 + 3;
    CImage indexed;
    ASSERT_EQ(
        Load(indexed, File(p, Cat({Entry(1, 2, 3), Entry(4, 5, 6), {9, 9, 9}, {1, 0, 7, 7}}))), 1);
    EXPECT_EQ(Pixels(indexed), (Bytes{4, 5, 6, 1, 2, 3}));
}

TEST_F(BmpReader, IndexedPixelDataCutShortFails) {
    Header h = IndexedHeader(8, 4, 2, 2);  // 4 bytes per row, no padding
    const Bytes file = File(h, Cat({Entry(1, 2, 3), Entry(4, 5, 6), {0, 1, 0, 1, 1, 0, 1, 0}}));
    {
        CImage image;
        ASSERT_EQ(Load(image, file), 1);
        EXPECT_EQ(Pixels(image), (Bytes{1, 2, 3, 4, 5, 6, 1, 2, 3, 4, 5, 6,  //
                                        4, 5, 6, 1, 2, 3, 4, 5, 6, 1, 2, 3}));
    }
    ExpectRefused(Bytes(file.begin(), file.end() - 1), "last index byte missing");
    ExpectRefused(Bytes(file.begin(), file.end() - 4), "top row missing");
}

TEST_F(BmpReader, PaletteIndexBeyondColoursUsedGivesBlack) {
    // Only the entries the file supplies have colours; any other index reads
    // as black and never outside the palette.
    Header h = IndexedHeader(8, 4, 1, 2);
    CImage image;
    ASSERT_EQ(Load(image, File(h, Cat({Entry(11, 12, 13), Entry(21, 22, 23), {1, 2, 255, 0}}))), 1);
    EXPECT_EQ(Pixels(image), (Bytes{21, 22, 23, 0, 0, 0, 0, 0, 0, 11, 12, 13}));

    Header one = IndexedHeader(1, 2, 1, 1);
    CImage single;
    ASSERT_EQ(Load(single, File(one, Cat({Entry(64, 64, 255), {0x40, 0, 0, 0}}))), 1);
    EXPECT_EQ(Pixels(single), (Bytes{64, 64, 255, 0, 0, 0}));

    Header four = IndexedHeader(4, 2, 1, 3);
    CImage nibbles;
    ASSERT_EQ(
        Load(nibbles,
             File(four, Cat({Entry(1, 1, 1), Entry(2, 2, 2), Entry(3, 3, 3), {0xF2, 0, 0, 0}}))),
        1);
    EXPECT_EQ(Pixels(nibbles), (Bytes{0, 0, 0, 3, 3, 3}));
}

TEST_F(BmpReader, ColoursUsedBeyondTheIndexRangeAreReadAndDropped) {
    Header h = IndexedHeader(8, 3, 1, 300);
    Bytes palette;
    for (int i = 0; i < 300; ++i) {
        const Bytes e =
            Entry(static_cast<unsigned char>(i & 0xFF), 7, static_cast<unsigned char>(i >> 8));
        palette.insert(palette.end(), e.begin(), e.end());
    }
    const Bytes file = File(h, Cat({palette, {0, 255, 44, 0}}));
    {
        CImage image;
        ASSERT_EQ(Load(image, file), 1);
        EXPECT_EQ(Pixels(image), (Bytes{0, 7, 0, 255, 7, 0, 44, 7, 0}));
    }
    // The 300 entries must all be in the file and before the pixel data.
    h.offset = 54 + 1196;
    ExpectRefused(File(h, Cat({palette, {0, 255, 44, 0}})), "offset inside the long palette");
    h.offset = 54 + 1200;
    ExpectRefused(Bytes(file.begin(), file.begin() + 54 + 1199), "long palette cut short");
}

TEST_F(BmpReader, HugeColoursUsedIsRefused) {
    Header h;
    h.bits = 8;
    h.width = 1;
    h.height = 1;
    const Bytes rest = Cat({Entry(1, 2, 3), {0, 0, 0, 0}});
    h.coloursUsed = 0xFFFFFFFF;
    h.offset = 0xFFFFFFFF;
    ExpectRefused(File(h, rest), "colours used 0xFFFFFFFF");
    h.offset = 54 + 4;
    ExpectRefused(File(h, rest), "colours used 0xFFFFFFFF, offset 58");
    // Fits before the offset, but the file cannot hold a billion entries.
    h.coloursUsed = 0x3FFFFFF0;
    h.offset = 0xFFFFFFFF;
    ExpectRefused(File(h, rest), "colours used 0x3FFFFFF0");
}

TEST_F(BmpReader, SixteenAndThirtyTwoBitFilesAreRefused) {
    Header h = Header24(2, 2);
    h.bits = 16;
    ExpectRefused(File(h, Bytes(8, 0x21)), "16 bits");
    h.bits = 32;
    ExpectRefused(File(h, Bytes(16, 0x21)), "32 bits");
    h.coloursUsed = 2;
    ExpectRefused(File(h, Bytes(24, 0x21)), "32 bits with colours used");
}

TEST_F(BmpReader, OtherDepthsAreRefused) {
    for (std::uint16_t bits : {0, 2, 3, 7, 9, 23, 25, 48, 64, 30000, 65535}) {
        Header h = IndexedHeader(bits, 2, 2, 2);
        ExpectRefused(File(h, Bytes(4096, 0)), ("bits " + std::to_string(bits)).c_str());
    }
}

TEST_F(BmpReader, CompressedFilesAreRefused) {
    for (std::uint32_t compression : {1u, 2u, 3u, 4u, 5u, 6u, 0x80000000u}) {
        Bytes file = TwoByTwo24();
        file[30] = static_cast<unsigned char>(compression & 0xFF);
        file[33] = static_cast<unsigned char>(compression >> 24);
        ExpectRefused(file, ("compression " + std::to_string(compression)).c_str());
    }
    Header h = IndexedHeader(8, 4, 1, 1);
    h.compression = 1;  // run-length encoded
    ExpectRefused(File(h, Cat({Entry(1, 2, 3), {0, 0, 0, 0}})), "8-bit run-length");
}

TEST_F(BmpReader, WrongSignatureIsRefused) {
    const Bytes good = TwoByTwo24();
    for (const char* sig : {"BA", "MB", "bm", "Bm", "\0M"}) {
        Bytes file = good;
        file[0] = static_cast<unsigned char>(sig[0]);
        file[1] = static_cast<unsigned char>(sig[1]);
        ExpectRefused(file, sig);
    }
}

TEST_F(BmpReader, ShortHeaderIsRefused) {
    const Bytes good = TwoByTwo24();
    for (std::size_t n = 0; n < 54; ++n)
        ExpectRefused(Bytes(good.begin(), good.begin() + n),
                      ("length " + std::to_string(n)).c_str());
}

TEST_F(BmpReader, TwentyFourBitFilesLoadWhateverTheHeaderSizeFromForty) {
    // No palette: the pixels start at the data offset whatever the header holds.
    for (std::uint32_t headerSize : {40u, 52u, 56u, 64u, 108u, 124u, 0xFFFFFFFFu}) {
        Bytes file = TwoByTwo24();
        for (int i = 0; i < 4; ++i)
            file[14 + i] = static_cast<unsigned char>(headerSize >> (8 * i));
        CImage image;
        ASSERT_EQ(Load(image, file), 1) << headerSize;
        EXPECT_EQ(Pixels(image), kTwoByTwoPixels) << headerSize;
    }
}

TEST_F(BmpReader, HeaderSizeBelowFortyIsRefused) {
    // 12 is the old core header, whose fields are not the ones read here.
    for (std::uint32_t headerSize : {0u, 12u, 16u, 39u}) {
        Bytes file = TwoByTwo24();
        for (int i = 0; i < 4; ++i)
            file[14 + i] = static_cast<unsigned char>(headerSize >> (8 * i));
        ExpectRefused(file, ("header size " + std::to_string(headerSize)).c_str());
    }
}

// An indexed file whose information header has `headerSize` bytes: the 40
// that are read, then filler that looks like palette entries of another colour.
Bytes IndexedWithLongHeader(std::uint16_t bits, std::uint32_t headerSize, const Bytes& palette,
                            std::uint32_t colours, const Bytes& rows) {
    Header h;
    h.bits = bits;
    h.width = 3;
    h.height = 2;
    h.headerSize = headerSize;
    h.coloursUsed = colours;
    h.offset = 14 + headerSize + static_cast<std::uint32_t>(palette.size());
    const Bytes filler(headerSize - 40, 0xEE);
    return File(h, Cat({filler, palette, rows}));
}

TEST_F(BmpReader, PaletteFollowsAnInformationHeaderLongerThanForty) {
    const Bytes palette = Cat({Entry(10, 20, 30), Entry(40, 50, 60), Entry(70, 80, 90)});
    const Bytes c0 = {10, 20, 30}, c1 = {40, 50, 60}, c2 = {70, 80, 90};
    // Bottom row 0 1 2, top row 2 1 0.
    const Bytes expected = Cat({c0, c1, c2, c2, c1, c0});
    struct Depth {
        std::uint16_t bits;
        Bytes rows;
    };
    const Depth depths[] = {
        {8, {0, 1, 2, 0, 2, 1, 0, 0}},
        {4, {0x01, 0x20, 0, 0, 0x21, 0x00, 0, 0}},
        {1, {0x40, 0, 0, 0, 0xA0, 0, 0, 0}},  // two colours only: 0 1 0 / 1 0 1
    };
    for (std::uint32_t headerSize : {40u, 52u, 56u, 64u, 108u, 124u}) {
        for (const Depth& d : depths) {
            const std::uint32_t colours = d.bits == 1 ? 2 : 3;
            const Bytes entries(palette.begin(), palette.begin() + 4 * colours);
            CImage image;
            ASSERT_EQ(
                Load(image, IndexedWithLongHeader(d.bits, headerSize, entries, colours, d.rows)), 1)
                << headerSize << " " << d.bits;
            const Bytes want = d.bits == 1 ? Cat({c0, c1, c0, c1, c0, c1}) : expected;
            EXPECT_EQ(Pixels(image), want) << headerSize << " bits " << d.bits;
        }
    }
}

TEST_F(BmpReader, LongInformationHeaderRunningPastTheDataOffsetIsRefused) {
    const Bytes palette = Cat({Entry(10, 20, 30), Entry(40, 50, 60)});
    Bytes file = IndexedWithLongHeader(8, 124, palette, 2, {0, 1, 0, 0, 1, 0, 0, 0});
    // The data offset now points inside the palette, then inside the header.
    for (std::uint32_t offset : {14u + 124u + 4u, 14u + 100u}) {
        for (int i = 0; i < 4; ++i) file[10 + i] = static_cast<unsigned char>(offset >> (8 * i));
        ExpectRefused(file, ("offset " + std::to_string(offset)).c_str());
    }
    // A header size no file can have.
    for (int i = 0; i < 4; ++i) file[14 + i] = 0xFF;
    ExpectRefused(file, "header size 0xFFFFFFFF");
}

TEST_F(BmpReader, OtherHeaderFieldsAreNotLookedAt) {
    Header h = Header24(3, 1);
    h.fileSize = 0xDEADBEEF;
    h.reserved1 = 0x1234;
    h.reserved2 = 0xFFFF;
    h.planes = 7;
    h.imageSize = 1;
    h.xResolution = -5;
    h.yResolution = 0;
    h.coloursUsed = 0x7FFFFFFF;  // no palette for 24 bits
    h.importantColours = 999;
    CImage image;
    ASSERT_EQ(Load(image, File(h, {10, 20, 30, 40, 50, 60, 70, 80, 90, 0, 0, 0})), 1);
    EXPECT_EQ(Pixels(image), kThreeByOnePixels);
}

TEST_F(BmpReader, TwentyFourBitOffsetInsideTheHeaderFails) {
    Bytes file = TwoByTwo24();
    file[10] = 53;
    ExpectRefused(file, "offset 53");
    file[10] = 0;
    ExpectRefused(file, "offset 0");
}

TEST_F(BmpReader, ZeroOrNegativeWidthAndZeroHeightAreRefused) {
    Header h;
    h.height = 1;
    for (std::int32_t width : {0, -1, -127, INT32_MIN}) {
        h.width = width;
        ExpectRefused(File(h, Bytes(64, 1)), ("width " + std::to_string(width)).c_str());
    }
    h.width = 4;
    h.height = 0;
    ExpectRefused(File(h, Bytes(64, 1)), "height 0");
}

TEST_F(BmpReader, TopDown24BitFileEqualsItsBottomUpEquivalent) {
    const Bytes r0 = {1, 2, 3, 4, 5, 6, 7, 8, 9, 0, 0, 0};  // bottom row of the picture
    const Bytes r1 = {11, 12, 13, 14, 15, 16, 17, 18, 19, 0, 0, 0};
    const Bytes r2 = {21, 22, 23, 24, 25, 26, 27, 28, 29, 0, 0, 0};  // top row
    Header h = Header24(3, 3);
    CImage bottomUp;
    ASSERT_EQ(Load(bottomUp, File(h, Cat({r0, r1, r2})), "up.bmp"), 1);
    h.height = -3;
    CImage topDown;
    ASSERT_EQ(Load(topDown, File(h, Cat({r2, r1, r0})), "down.bmp"), 1);
    EXPECT_EQ(topDown.GetWidth(), 3);
    EXPECT_EQ(topDown.GetHeight(), 3);
    EXPECT_EQ(Pixels(topDown), Pixels(bottomUp));
    EXPECT_EQ(Pixels(topDown), (Bytes{3,  2,  1,  6,  5,  4,  9,  8,  7,  13, 12, 11, 16, 15,
                                      14, 19, 18, 17, 23, 22, 21, 26, 25, 24, 29, 28, 27}));
}

TEST_F(BmpReader, TopDownIndexedFilesEqualTheirBottomUpEquivalents) {
    for (std::uint16_t bits : {1, 4, 8}) {
        Header h = IndexedHeader(bits, 5, 2, 2);
        const Bytes palette = Cat({Entry(200, 100, 50), Entry(1, 2, 3)});
        Bytes bottom, top;
        if (bits == 1) {
            bottom = {0xA8, 0, 0, 0};  // 1 0 1 0 1
            top = {0x30, 0, 0, 0};     // 0 0 1 1 0
        } else if (bits == 4) {
            bottom = {0x10, 0x10, 0x10, 0};
            top = {0x00, 0x11, 0x00, 0};
        } else {
            bottom = {1, 0, 1, 0, 1, 0, 0, 0};
            top = {0, 0, 1, 1, 0, 0, 0, 0};
        }
        const Bytes a = {1, 2, 3}, b = {200, 100, 50};
        const Bytes expected = Cat({a, b, a, b, a, b, b, a, a, b});
        CImage bottomUp;
        ASSERT_EQ(Load(bottomUp, File(h, Cat({palette, bottom, top})), "up.bmp"), 1) << bits;
        EXPECT_EQ(Pixels(bottomUp), expected) << bits;
        h.height = -2;
        CImage topDown;
        ASSERT_EQ(Load(topDown, File(h, Cat({palette, top, bottom})), "down.bmp"), 1) << bits;
        EXPECT_EQ(topDown.GetHeight(), 2) << bits;
        EXPECT_EQ(Pixels(topDown), expected) << bits;
    }
}

TEST_F(BmpReader, MostNegativeHeightIsRefused) {
    Header h = Header24(1, INT32_MIN);
    ExpectRefused(File(h, Bytes(16, 0)), "height INT32_MIN");
}

TEST_F(BmpReader, HugeDimensionsAreRefusedWithoutAllocating) {
    // 100000 x 100000 x 3 bytes: rows need no padding, so without the size
    // limit such a file would load with every pixel unwritten.
    Header h = Header24(100000, 100000);
    ExpectRefused(File(h, Bytes(600, 0)), "100000 x 100000");
    h.height = -100000;
    ExpectRefused(File(h, Bytes(600, 0)), "100000 x -100000");
    // 65536 x 21846 x 3 = 4295098368 wraps to 131072 in 32 bits.
    h.width = 65536;
    h.height = 21846;
    ExpectRefused(File(h, Bytes(600, 0)), "65536 x 21846");
    // One byte over the limit of 2^31 - 1: 715827883 x 3 = 2147483649.
    h.width = 715827883;
    h.height = 1;
    ExpectRefused(File(h, Bytes(600, 0)), "715827883 x 1");
    h.width = 1;
    h.height = 715827883;
    ExpectRefused(File(h, Bytes(600, 0)), "1 x 715827883");
    h = IndexedHeader(8, 46341, 46341, 1);
    ExpectRefused(File(h, Bytes(600, 0)), "8-bit 46341 x 46341");
}

TEST_F(BmpReader, MissingFilesAndDirectoriesAreRefused) {
    CImage image;
    EXPECT_EQ(image.Load((dir_ / "absent.bmp").string().c_str()), 0);
    EXPECT_EQ(image.GetType(), 0);
    const fs::path folder = dir_ / "folder.bmp";
    fs::create_directory(folder);
    EXPECT_EQ(image.Load(folder.string().c_str()), 0);
    EXPECT_EQ(image.GetType(), 0);
    EXPECT_EQ(image.GetBitsPtr(), nullptr);
}

TEST_F(BmpReader, FailuresPrintNothing) {
    Header h;
    h.bits = 16;
    const Bytes sixteen = File(h, Bytes(4, 0));
    const Bytes full = TwoByTwo24();
    ::testing::internal::CaptureStdout();
    ::testing::internal::CaptureStderr();
    {
        CImage image;
        EXPECT_EQ(Load(image, sixteen), 0);
        EXPECT_EQ(Load(image, Bytes(full.begin(), full.begin() + 20)), 0);
        EXPECT_EQ(Load(image, Bytes(full.begin(), full.end() - 1)), 0);
        EXPECT_EQ(image.Load((dir_ / "absent.bmp").string().c_str()), 0);
    }
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), "");
}

// --- CImage ----------------------------------------------------------------------------------

TEST_F(BmpImage, EmptyImageHasNothing) {
    CImage image;
    EXPECT_EQ(image.GetType(), 0);
    EXPECT_EQ(image.GetWidth(), 0);
    EXPECT_EQ(image.GetHeight(), 0);
    EXPECT_EQ(image.GetBitsPtr(), nullptr);
    image.CleanUp();
    EXPECT_EQ(image.GetType(), 0);
    EXPECT_EQ(image.GetBitsPtr(), nullptr);
}

TEST_F(BmpImage, PathsEndingInBmpLoadInAnyCaseWithOrWithoutDot) {
    const Bytes file = TwoByTwo24();
    for (const char* name : {"upper.BMP", "lower.bmp", "x.BmP", "nodotbmp", "bmp", "a.b.bMp"}) {
        CImage image;
        EXPECT_EQ(image.Load(Write(name, file).c_str()), 1) << name;
        EXPECT_EQ(image.GetType(), 2) << name;
        EXPECT_EQ(image.GetWidth(), 2) << name;
        EXPECT_EQ(image.GetHeight(), 2) << name;
        EXPECT_EQ(Pixels(image), kTwoByTwoPixels) << name;
    }
}

TEST_F(BmpImage, OtherEndingsAreRefusedWhateverTheContent) {
    const Bytes file = TwoByTwo24();
    for (const char* name :
         {"a.jpeg", "a.tiff", "a.jpg", "a.JPG", "a.bmp.txt", "a.bm", "a.bmpx", "a.bmp ", "a.png"}) {
        CImage image;
        EXPECT_EQ(image.Load(Write(name, file).c_str()), 0) << name;
        EXPECT_EQ(image.GetType(), 0) << name;
        EXPECT_EQ(image.GetBitsPtr(), nullptr) << name;
    }
}

TEST_F(BmpImage, ShortAndNullPathsAreRefused) {
    CImage image;
    EXPECT_EQ(image.Load(nullptr), 0);
    EXPECT_EQ(image.Load(""), 0);
    EXPECT_EQ(image.Load("p"), 0);
    EXPECT_EQ(image.Load("mp"), 0);
    EXPECT_EQ(image.LoadBmp(nullptr), 0);
    EXPECT_EQ(image.GetType(), 0);
    EXPECT_EQ(image.GetBitsPtr(), nullptr);
}

TEST_F(BmpImage, LoadBmpDoesNotLookAtTheName) {
    CImage image;
    ASSERT_EQ(image.LoadBmp(Write("picture.dat", TwoByTwo24()).c_str()), 1);
    EXPECT_EQ(image.GetType(), 2);
    EXPECT_EQ(Pixels(image), kTwoByTwoPixels);
}

TEST_F(BmpImage, LoadOnALoadedImageFreesTheOldBlock) {
    // A leak of the first block is reported by the leak checker of the
    // sanitizer build.
    CImage image;
    ASSERT_EQ(Load(image, TwoByTwo24(), "first.bmp"), 1);
    ASSERT_EQ(Load(image, ThreeByOne24(), "second.bmp"), 1);
    EXPECT_EQ(image.GetWidth(), 3);
    EXPECT_EQ(image.GetHeight(), 1);
    EXPECT_EQ(Pixels(image), kThreeByOnePixels);
    ASSERT_EQ(Load(image, TwoByTwo24(), "third.bmp"), 1);
    EXPECT_EQ(Pixels(image), kTwoByTwoPixels);
}

TEST_F(BmpImage, FailedLoadLeavesTheImageEmpty) {
    CImage image;
    ASSERT_EQ(Load(image, TwoByTwo24()), 1);
    const Bytes full = TwoByTwo24();
    EXPECT_EQ(Load(image, Bytes(full.begin(), full.end() - 1), "broken.bmp"), 0);
    EXPECT_EQ(image.GetType(), 0);
    EXPECT_EQ(image.GetWidth(), 0);
    EXPECT_EQ(image.GetHeight(), 0);
    EXPECT_EQ(image.GetBitsPtr(), nullptr);
    ASSERT_EQ(Load(image, TwoByTwo24()), 1);
    EXPECT_EQ(image.Load((dir_ / "picture.jpg").string().c_str()), 0);  // refused by name
    EXPECT_EQ(image.GetType(), 0);
    EXPECT_EQ(image.GetBitsPtr(), nullptr);
}

TEST_F(BmpImage, FailedLoadBmpOnALoadedImageSetsTypeZero) {
    // LoadBmp does not empty the image first; a failure only sets the type.
    // The block loaded before must not leak (checked by the sanitizer build).
    CImage image;
    ASSERT_EQ(Load(image, TwoByTwo24()), 1);
    EXPECT_EQ(image.LoadBmp((dir_ / "absent.bmp").string().c_str()), 0);
    EXPECT_EQ(image.GetType(), 0);
}

TEST_F(BmpImage, CopiesShareTheBlockAndTheLastCleanUpFreesIt) {
    const std::string path = Write("shared.bmp", TwoByTwo24());
    CImage original;
    ASSERT_EQ(original.Load(path.c_str()), 1);
    void* block = original.GetBitsPtr();
    {
        CImage copy(original);
        EXPECT_EQ(copy.GetBitsPtr(), block);
        EXPECT_EQ(copy.GetType(), 2);
        EXPECT_EQ(copy.GetWidth(), 2);
        EXPECT_EQ(copy.GetHeight(), 2);
        CImage assigned;
        assigned = original;
        EXPECT_EQ(assigned.GetBitsPtr(), block);
        EXPECT_EQ(assigned.GetType(), 2);

        original.CleanUp();
        EXPECT_EQ(original.GetBitsPtr(), nullptr);
        EXPECT_EQ(original.GetType(), 0);
        // Still readable through the others (a use after free shows in the sanitizer build).
        EXPECT_EQ(Pixels(copy), kTwoByTwoPixels);
        copy.CleanUp();
        EXPECT_EQ(Pixels(assigned), kTwoByTwoPixels);
        assigned = assigned;  // self-assignment keeps the block
        EXPECT_EQ(assigned.GetBitsPtr(), block);
        EXPECT_EQ(Pixels(assigned), kTwoByTwoPixels);
    }  // `assigned` is the last holder and frees the block here
}

TEST_F(BmpImage, AssignmentReleasesTheBlockItHeld) {
    CImage a, b;
    ASSERT_EQ(Load(a, TwoByTwo24(), "a.bmp"), 1);
    ASSERT_EQ(Load(b, ThreeByOne24(), "b.bmp"), 1);
    b = a;  // b's own block is freed, a's is shared
    EXPECT_EQ(b.GetBitsPtr(), a.GetBitsPtr());
    EXPECT_EQ(b.GetWidth(), 2);
    EXPECT_EQ(Pixels(b), kTwoByTwoPixels);
    CImage empty;
    a = empty;  // a lets go; b still holds the block
    EXPECT_EQ(a.GetType(), 0);
    EXPECT_EQ(a.GetBitsPtr(), nullptr);
    EXPECT_EQ(Pixels(b), kTwoByTwoPixels);
    // Reloading a copy leaves the other holder's pixels intact.
    CImage c(b);
    ASSERT_EQ(Load(c, ThreeByOne24(), "c.bmp"), 1);
    EXPECT_EQ(Pixels(c), kThreeByOnePixels);
    EXPECT_EQ(Pixels(b), kTwoByTwoPixels);
}

TEST_F(BmpImage, LoadJpgAlwaysFailsAndChangesNothing) {
    const std::string path = Write("photo.bmp", TwoByTwo24());
    CImage image;
    EXPECT_EQ(image.LoadJpg(path.c_str()), 0);
    EXPECT_EQ(image.GetType(), 0);
    EXPECT_EQ(image.GetBitsPtr(), nullptr);
    ASSERT_EQ(image.Load(path.c_str()), 1);
    void* block = image.GetBitsPtr();
    EXPECT_EQ(image.LoadJpg(path.c_str()), 0);
    EXPECT_EQ(image.LoadJpg(Write("photo.jpg", TwoByTwo24()).c_str()), 0);
    EXPECT_EQ(image.LoadJpg(nullptr), 0);
    EXPECT_EQ(image.GetType(), 2);
    EXPECT_EQ(image.GetWidth(), 2);
    EXPECT_EQ(image.GetHeight(), 2);
    EXPECT_EQ(image.GetBitsPtr(), block);
    EXPECT_EQ(Pixels(image), kTwoByTwoPixels);
}

}  // namespace
