#include "RootScreenshot.h"

#include <xcb/xcb.h>

#include <cstdlib>
#include <cstring>
#include <memory>

namespace {

struct FreeDeleter
{
    void operator()(void* p) const { std::free(p); }
};

// Rows per request: keeps each reply a few megabytes.
constexpr int kRowsPerRequest = 128;

} // namespace

QImage RootScreenshot::take()
{
    xcb_connection_t* connection = xcb_connect(nullptr, nullptr);
    if (xcb_connection_has_error(connection)) {
        xcb_disconnect(connection);
        return {};
    }
    const xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(connection)).data;
    QImage image;
    if (screen->root_depth == 24 || screen->root_depth == 32) {
        image = QImage(screen->width_in_pixels, screen->height_in_pixels, QImage::Format_RGB32);
        for (int top = 0; top < image.height() && !image.isNull(); top += kRowsPerRequest) {
            const int rows = std::min(kRowsPerRequest, image.height() - top);
            std::unique_ptr<xcb_get_image_reply_t, FreeDeleter> reply(xcb_get_image_reply(connection,
                xcb_get_image(connection, XCB_IMAGE_FORMAT_Z_PIXMAP, screen->root, 0, int16_t(top),
                    uint16_t(image.width()), uint16_t(rows), ~0u),
                nullptr));
            // 24-bit depth comes as 32 bits per pixel, little-endian BGRX: QImage's RGB32.
            const int stride = image.width() * 4;
            if (!reply || xcb_get_image_data_length(reply.get()) < stride * rows) {
                image = QImage();
                break;
            }
            const uint8_t* data = xcb_get_image_data(reply.get());
            for (int row = 0; row < rows; ++row) {
                uchar* line = image.scanLine(top + row);
                std::memcpy(line, data + row * stride, size_t(stride));
                // The padding byte is undefined; make the pixels opaque.
                auto* pixels = reinterpret_cast<QRgb*>(line);
                for (int x = 0; x < image.width(); ++x)
                    pixels[x] |= 0xff000000u;
            }
        }
    }
    xcb_disconnect(connection);
    return image;
}

bool RootScreenshot::save(const QString& path)
{
    const QImage image = take();
    return !image.isNull() && image.save(path, "PNG");
}
