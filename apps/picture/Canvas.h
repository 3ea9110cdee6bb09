// A picture being drawn, in memory, to become the bytes of a PNG or SVG file.
#pragma once

#include <cairo.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace katessel {

enum class PictureFormat { png, svg };

struct Colour {
    double red = 0.0, green = 0.0, blue = 0.0;  // 0 .. 1
};

struct Point {
    double x = 0.0, y = 0.0;  // [pixels] from the left and from the top
};

struct Box {
    double left = 0.0, top = 0.0, width = 0.0, height = 0.0;  // [pixels]
    double right() const { return left + width; }
    double bottom() const { return top + height; }
};

// Which point of a text lies at the place given for it: 0 its left or top, 0.5 its middle, 1 its right or bottom.
struct Anchor {
    double x = 0.0, y = 0.5;
};

class Canvas {
public:
    // White, `width` x `height` pixels (points in an SVG).
    Canvas(PictureFormat format, int width, int height);

    void line(const std::vector<Point>& points, const Colour& colour, double width, bool dashed = false);
    void dot(const Point& centre, double radius, const Colour& colour);
    void frame(const Box& box, const Colour& colour);
    void text(const std::string& text, const Point& place, const Anchor& anchor, const Colour& colour,
              double size = 13.0);
    void textUpwards(const std::string& text, const Point& place, const Colour& colour);  // centred on the place
    double textWidth(const std::string& text, double size = 13.0);

    // Pixels of 0x00RRGGBB, row by row from the top, stretched over the box.
    void image(const std::vector<std::uint32_t>& pixels, int columns, int rows, const Box& box);

    // What is drawn between the two is seen only inside the box.
    void clipTo(const Box& box);
    void unclip();

    // The file's bytes. Ends the drawing.
    std::string finish();

private:
    void use(const Colour& colour);
    void checkStatus(cairo_status_t status) const;

    PictureFormat m_format;
    std::string m_bytes;
    std::unique_ptr<cairo_surface_t, void (*)(cairo_surface_t*)> m_surface;
    std::unique_ptr<cairo_t, void (*)(cairo_t*)> m_cairo;
};

}  // namespace katessel
