#include "apps/picture/Canvas.h"

#include <cairo-svg.h>

#include <cstring>
#include <numbers>

#include "recordings/base/Errors.h"

namespace katessel {

namespace {

constexpr double kTextSize = 13.0;

cairo_status_t append(void* bytes, const unsigned char* data, unsigned int length) {
    static_cast<std::string*>(bytes)->append(reinterpret_cast<const char*>(data), length);
    return CAIRO_STATUS_SUCCESS;
}

cairo_surface_t* makeSurface(PictureFormat format, int width, int height, std::string* bytes) {
    if (format == PictureFormat::svg) return cairo_svg_surface_create_for_stream(&append, bytes, width, height);
    return cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, height);
}

}  // namespace

Canvas::Canvas(PictureFormat format, int width, int height)
    : m_format(format),
      m_surface(makeSurface(format, width, height, &m_bytes), &cairo_surface_destroy),
      m_cairo(cairo_create(m_surface.get()), &cairo_destroy) {
    checkStatus(cairo_status(m_cairo.get()));
    use({1.0, 1.0, 1.0});
    cairo_paint(m_cairo.get());
    cairo_select_font_face(m_cairo.get(), "sans-serif", CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_NORMAL);
    cairo_set_line_join(m_cairo.get(), CAIRO_LINE_JOIN_ROUND);
}

void Canvas::checkStatus(cairo_status_t status) const {
    if (status != CAIRO_STATUS_SUCCESS)
        fail("cannot draw", "the picture", "room for it", cairo_status_to_string(status));
}

void Canvas::use(const Colour& colour) { cairo_set_source_rgb(m_cairo.get(), colour.red, colour.green, colour.blue); }

void Canvas::line(const std::vector<Point>& points, const Colour& colour, double width, bool dashed) {
    constexpr double dashes[] = {5.0, 4.0};
    cairo_t* const cairo = m_cairo.get();
    use(colour);
    cairo_set_line_width(cairo, width);
    cairo_set_dash(cairo, dashes, dashed ? 2 : 0, 0.0);
    for (const Point& point : points) cairo_line_to(cairo, point.x, point.y);
    cairo_stroke(cairo);
}

void Canvas::dot(const Point& centre, double radius, const Colour& colour) {
    use(colour);
    cairo_arc(m_cairo.get(), centre.x, centre.y, radius, 0.0, 2.0 * std::numbers::pi);
    cairo_fill(m_cairo.get());
}

void Canvas::frame(const Box& box, const Colour& colour) {
    // Half a pixel off, so that a line one pixel wide is one row of pixels.
    const double left = box.left - 0.5, top = box.top - 0.5, right = box.right() + 0.5, bottom = box.bottom() + 0.5;
    line({{left, top}, {right, top}, {right, bottom}, {left, bottom}, {left, top}}, colour, 1.0);
}

double Canvas::textWidth(const std::string& text, double size) {
    cairo_text_extents_t extents;
    cairo_set_font_size(m_cairo.get(), size);
    cairo_text_extents(m_cairo.get(), text.c_str(), &extents);
    return extents.x_advance;
}

void Canvas::text(const std::string& text, const Point& place, const Anchor& anchor, const Colour& colour,
                  double size) {
    cairo_t* const cairo = m_cairo.get();
    use(colour);
    const double width = textWidth(text, size);
    const double height = 0.72 * size;  // of capitals and digits, so that all labels of an axis stand level
    cairo_move_to(cairo, place.x - anchor.x * width, place.y + (1.0 - anchor.y) * height);
    cairo_show_text(cairo, text.c_str());
    cairo_new_path(cairo);
}

void Canvas::textUpwards(const std::string& text, const Point& place, const Colour& colour) {
    cairo_t* const cairo = m_cairo.get();
    cairo_save(cairo);
    cairo_translate(cairo, place.x, place.y);
    cairo_rotate(cairo, -0.5 * std::numbers::pi);
    this->text(text, {0.0, 0.0}, {0.5, 0.5}, colour, kTextSize);
    cairo_restore(cairo);
}

void Canvas::image(const std::vector<std::uint32_t>& pixels, int columns, int rows, const Box& box) {
    const std::unique_ptr<cairo_surface_t, void (*)(cairo_surface_t*)> surface(
        cairo_image_surface_create(CAIRO_FORMAT_RGB24, columns, rows), &cairo_surface_destroy);
    checkStatus(cairo_surface_status(surface.get()));
    cairo_surface_flush(surface.get());
    const int stride = cairo_image_surface_get_stride(surface.get());
    const std::size_t rowBytes = static_cast<std::size_t>(columns) * sizeof(std::uint32_t);
    for (int r = 0; r < rows; ++r)
        std::memcpy(cairo_image_surface_get_data(surface.get()) + static_cast<std::ptrdiff_t>(r) * stride,
                    pixels.data() + static_cast<std::ptrdiff_t>(r) * columns, rowBytes);
    cairo_surface_mark_dirty(surface.get());
    cairo_t* const cairo = m_cairo.get();
    cairo_save(cairo);
    cairo_translate(cairo, box.left, box.top);
    cairo_scale(cairo, box.width / columns, box.height / rows);
    cairo_set_source_surface(cairo, surface.get(), 0.0, 0.0);
    cairo_pattern_set_filter(cairo_get_source(cairo), CAIRO_FILTER_NEAREST);
    cairo_rectangle(cairo, 0.0, 0.0, columns, rows);
    cairo_fill(cairo);
    cairo_restore(cairo);
}

void Canvas::clipTo(const Box& box) {
    cairo_save(m_cairo.get());
    cairo_rectangle(m_cairo.get(), box.left, box.top, box.width, box.height);
    cairo_clip(m_cairo.get());
}

void Canvas::unclip() { cairo_restore(m_cairo.get()); }

std::string Canvas::finish() {
    checkStatus(cairo_status(m_cairo.get()));
    if (m_format == PictureFormat::png)
        checkStatus(cairo_surface_write_to_png_stream(m_surface.get(), &append, &m_bytes));
    cairo_surface_finish(m_surface.get());  // writes the rest of an SVG
    checkStatus(cairo_surface_status(m_surface.get()));
    return m_bytes;
}

}  // namespace katessel
