#include "host/image.hpp"

#include "host/bitmap_font.hpp"
#include "host/failure.hpp"

#include <algorithm>
#include <fmt/format.h>
#include <png.h>

namespace ferrow {

static_assert(sizeof(Colour) == 3, "rows go to the file as they are");

Image::Image(int width, int height, Colour background)
    : width_(width), height_(height),
      pixels_(static_cast<std::size_t>(width) * static_cast<std::size_t>(height), background) {}

void Image::fill(int x, int y, int width, int height, Colour colour) {
    for (int row = std::max(y, 0); row < std::min(y + height, height_); ++row)
        for (int column = std::max(x, 0); column < std::min(x + width, width_); ++column)
            pixels_[index(column, row)] = colour;
}

int Image::text(int x, int y, std::string_view text, Colour colour, int scale) {
    int pen = x;
    for (const char letter : text) {
        const auto& rows = glyph(letter);
        for (int row = 0; row < kGlyphHeight; ++row)
            for (int bit = 0; bit < kGlyphWidth; ++bit)
                if (rows[static_cast<std::size_t>(row)] >> (kGlyphWidth - 1 - bit) & 1)
                    fill(pen + bit * scale, y + row * scale, scale, scale, colour);
        pen += kGlyphAdvance * scale;
    }
    return pen - x;
}

int Image::textWidth(std::string_view text, int scale) {
    return text.empty() ? 0 : (static_cast<int>(text.size()) * kGlyphAdvance - 1) * scale;
}

void writePng(const Image& image, const std::string& path) {
    png_image header{};
    header.version = PNG_IMAGE_VERSION;
    header.width = static_cast<png_uint_32>(image.width());
    header.height = static_cast<png_uint_32>(image.height());
    header.format = PNG_FORMAT_RGB;
    if (!png_image_write_to_file(&header, path.c_str(), 0, image.row(0), 0, nullptr))
        throw Failure(fmt::format("cannot write {}: {}", path, header.message));
}

} // namespace ferrow
