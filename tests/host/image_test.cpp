#include "host/bitmap_font.hpp"
#include "host/failure.hpp"
#include "host/image.hpp"
#include "tests/host/temporary.hpp"

#include <png.h>
#include <set>

using namespace ferrow;
using ferrow::test::TemporaryFolder;

namespace {

constexpr Colour kBlack{}, kRed{255, 0, 0};

// Reads a file by the library's other, row by row interface.
struct Png {
    unsigned width = 0, height = 0;
    std::vector<unsigned char> pixels;
};
Png readPng(const std::string& path) {
    Png result;
    FILE* file = std::fopen(path.c_str(), "rb");
    EXPECT_NE(file, nullptr);
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    png_init_io(png, file);
    png_read_info(png, info);
    result.width = png_get_image_width(png, info);
    result.height = png_get_image_height(png, info);
    EXPECT_EQ(png_get_color_type(png, info), PNG_COLOR_TYPE_RGB);
    EXPECT_EQ(png_get_bit_depth(png, info), 8);
    result.pixels.resize(3UL * result.width * result.height);
    for (unsigned y = 0; y < result.height; ++y)
        png_read_row(png, &result.pixels[3UL * result.width * y], nullptr);
    png_destroy_read_struct(&png, &info, nullptr);
    std::fclose(file);
    return result;
}

int pixelsOf(const Image& image, Colour colour) {
    int count = 0;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            count += image.at(x, y) == colour;
    return count;
}

} // namespace

TEST(ImageFile, PngComesBackPixelByPixel) {
    const TemporaryFolder folder;
    Image image(37, 11, {1, 2, 3});
    for (int y = 0; y < 11; ++y)
        for (int x = 0; x < 37; ++x)
            if ((x + y) % 3 == 0)
                image.set(x, y, {static_cast<std::uint8_t>(7 * x), static_cast<std::uint8_t>(20 * y), 99});
    writePng(image, folder.file("a.png"));
    const Png png = readPng(folder.file("a.png"));
    ASSERT_EQ(png.width, 37U);
    ASSERT_EQ(png.height, 11U);
    for (int y = 0; y < 11; ++y)
        for (int x = 0; x < 37; ++x) {
            const unsigned char* p =
                &png.pixels[3UL * (37UL * static_cast<unsigned>(y) + static_cast<unsigned>(x))];
            ASSERT_EQ((Colour{p[0], p[1], p[2]}), image.at(x, y)) << x << " " << y;
        }
}

TEST(ImageFile, BadPathsFail) {
    const Image image(4, 4, kBlack);
    EXPECT_THROW(writePng(image, "/no/such/folder/a.png"), Failure);
}

TEST(Drawing, StaysInsideThePicture) {
    Image image(10, 10, kBlack);
    image.fill(-5, -5, 8, 8, kRed);
    EXPECT_EQ(pixelsOf(image, kRed), 9);
    image.fill(8, 8, 100, 100, kRed);
    EXPECT_EQ(pixelsOf(image, kRed), 13);
    image.set(-1, 0, kRed);
    image.set(10, 0, kRed);
    image.text(-3, 4, "HELLO WORLD", kRed);
    image.text(7, 8, "X", kRed, 3);
    image.column(3, -100, 100, kRed);
}

TEST(Drawing, LettersDifferAndStayInTheirBox) {
    std::set<std::array<std::uint8_t, kGlyphHeight>> shapes;
    const std::string letters = "ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789.,:-+/<>()%=_? ";
    for (const char letter : letters)
        shapes.insert(glyph(letter));
    EXPECT_EQ(shapes.size(), letters.size());
    EXPECT_EQ(glyph('a'), glyph('A'));
    EXPECT_FALSE(shapes.contains(glyph('\x01'))) << "a box";
    for (const auto& shape : shapes)
        for (const std::uint8_t row : shape)
            EXPECT_LT(row, 32);
}

TEST(Drawing, TextIsAsWideAsItSays) {
    Image image(200, 20, kBlack);
    image.text(5, 5, "H1", kRed, 2);
    EXPECT_EQ(Image::textWidth("H1", 2), 22);
    int left = 200, right = -1;
    for (int y = 0; y < 20; ++y)
        for (int x = 0; x < 200; ++x)
            if (image.at(x, y) == kRed) {
                left = std::min(left, x);
                right = std::max(right, x);
            }
    EXPECT_EQ(left, 5);
    EXPECT_LT(right, 5 + 22);
    EXPECT_EQ(Image::textWidth(""), 0);
}

TEST(Colours, RiseFromDarkToBright) {
    int last = -1;
    for (int i = 0; i <= 100; ++i) {
        const Colour c = waterfallColour(i / 100.0);
        const int brightness = 3 * c.red + 6 * c.green + c.blue;
        EXPECT_GE(brightness, last) << i;
        last = brightness;
    }
    EXPECT_EQ(waterfallColour(-5), waterfallColour(0));
    EXPECT_EQ(waterfallColour(5), waterfallColour(1));
    EXPECT_EQ(terminalColour({0, 0, 0}), 16);
    EXPECT_EQ(terminalColour({255, 255, 255}), 231);
    EXPECT_EQ(terminalColour({255, 0, 0}), 196);
}
