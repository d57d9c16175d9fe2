#include "scan/HeifDecoding.h"

#include <libheif/heif.h>

#include <algorithm>
#include <cstring>
#include <memory>

namespace kopertal {
namespace {

struct Release {
    void operator()(heif_context* context) const { heif_context_free(context); }
    void operator()(heif_image_handle* handle) const { heif_image_handle_release(handle); }
    void operator()(heif_image* image) const { heif_image_release(image); }
    void operator()(heif_decoding_options* options) const { heif_decoding_options_free(options); }
};
template <typename T>
using Owned = std::unique_ptr<T, Release>;

bool failed(const heif_error& error) {
    return error.code != heif_error_Ok;
}

Owned<heif_image> decodeAs(const heif_image_handle* handle, heif_colorspace space,
                           heif_chroma chroma) {
    const Owned<heif_decoding_options> options(heif_decoding_options_alloc());
    options->strict_decoding = 1;
    heif_image* image = nullptr;
    if (failed(heif_decode_image(handle, &image, space, chroma, options.get())))
        return nullptr;
    return Owned<heif_image>(image);
}

/// Brightness of any depth, brought to 8 bits.
QImage luma(const heif_image* image) {
    int stride = 0;
    const uint8_t* plane = heif_image_get_plane_readonly(image, heif_channel_Y, &stride);
    const int bits = heif_image_get_bits_per_pixel_range(image, heif_channel_Y);
    QImage grey(heif_image_get_width(image, heif_channel_Y),
                heif_image_get_height(image, heif_channel_Y), QImage::Format_Grayscale8);
    if (!plane || grey.isNull() || bits < 8 || bits > 16)
        return {};
    for (int y = 0; y < grey.height(); ++y) {
        const uint8_t* row = plane + static_cast<ptrdiff_t>(y) * stride;
        if (bits == 8) {
            std::memcpy(grey.scanLine(y), row, static_cast<size_t>(grey.width()));
        } else {
            const auto* samples = reinterpret_cast<const uint16_t*>(row);
            std::transform(samples, samples + grey.width(), grey.scanLine(y), [&](uint16_t sample) {
                return static_cast<uchar>(sample >> (bits - 8));
            });
        }
    }
    return grey;
}

QImage fromColours(const heif_image* image) {
    int stride = 0;
    const uint8_t* plane = heif_image_get_plane_readonly(image, heif_channel_interleaved, &stride);
    if (!plane)
        return {};
    return QImage(plane, heif_image_get_width(image, heif_channel_interleaved),
                  heif_image_get_height(image, heif_channel_interleaved), stride,
                  QImage::Format_RGB888)
        .convertToFormat(QImage::Format_Grayscale8);
}

} // namespace

QImage decodeHeif(QByteArrayView bytes, qint64 largest) {
    const Owned<heif_context> context(heif_context_alloc());
    if (!context || failed(heif_context_read_from_memory_without_copy(
                        context.get(), bytes.data(), static_cast<size_t>(bytes.size()), nullptr)))
        return {};
    heif_image_handle* primary = nullptr;
    if (failed(heif_context_get_primary_image_handle(context.get(), &primary)))
        return {};
    const Owned<heif_image_handle> handle(primary);
    if (qint64(heif_image_handle_get_width(primary)) * heif_image_handle_get_height(primary) >
        largest)
        return {};
    // What the file holds is brightness and colours apart nearly always: then nothing is converted.
    Owned<heif_image> image = decodeAs(primary, heif_colorspace_undefined, heif_chroma_undefined);
    if (image && heif_image_get_colorspace(image.get()) != heif_colorspace_RGB)
        return luma(image.get());
    image = decodeAs(primary, heif_colorspace_RGB, heif_chroma_interleaved_RGB);
    return image ? fromColours(image.get()) : QImage();
}

} // namespace kopertal
