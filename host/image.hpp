// A picture in memory, and its way into a PNG file.
#pragma once

#include "host/colour_map.hpp"

#include <string>
#include <string_view>
#include <vector>

namespace ferrow {

// Places outside of the picture may be drawn at; nothing happens there.
class Image {
public:
    Image(int width, int height, Colour background);

    int width() const { return width_; }
    int height() const { return height_; }
    Colour at(int x, int y) const { return pixels_[index(x, y)]; }
    void set(int x, int y, Colour colour) {
        if (x >= 0 && x < width_ && y >= 0 && y < height_)
            pixels_[index(x, y)] = colour;
    }

    void fill(int x, int y, int width, int height, Colour colour);
    // From row `top` up to but without `bottom`.
    void column(int x, int top, int bottom, Colour colour) { fill(x, top, 1, bottom - top, colour); }
    // `scale` pixels for each of the font's; returns the width.
    int text(int x, int y, std::string_view text, Colour colour, int scale = 1);
    static int textWidth(std::string_view text, int scale = 1);

    // Row after row, three bytes a pixel.
    const Colour* row(int y) const { return &pixels_[index(0, y)]; }

private:
    std::size_t index(int x, int y) const {
        return static_cast<std::size_t>(y) * static_cast<std::size_t>(width_) + static_cast<std::size_t>(x);
    }

    int width_, height_;
    std::vector<Colour> pixels_;
};

// 8-bit RGB. Throws Failure.
void writePng(const Image& image, const std::string& path);

} // namespace ferrow
