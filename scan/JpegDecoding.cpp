#include "scan/JpegDecoding.h"

#include <csetjmp>
#include <cstdio> // jpeglib.h needs it and does not say so
#include <jerror.h>
#include <jpeglib.h>

namespace kopertal {
namespace {

/// The library reports through callbacks and expects that one of them does not return.
struct ErrorManager : jpeg_error_mgr {
    std::jmp_buf giveUp;
};

[[noreturn]] void giveUp(j_common_ptr jpeg) {
    std::longjmp(static_cast<ErrorManager*>(jpeg->err)->giveUp, 1);
}

/// Warnings that lose nothing of the picture; after all others, parts of it are made up.
bool isHarmless(int warning) {
    return warning == JWRN_EXTRANEOUS_DATA || warning == JWRN_ADOBE_XFORM ||
           warning == JWRN_NOT_SEQUENTIAL || warning == JWRN_TOO_MUCH_DATA;
}

void onMessage(j_common_ptr jpeg, int level) {
    if (level < 0 && !isHarmless(jpeg->err->msg_code))
        giveUp(jpeg);
}

/// One row of a print shop's picture. Adobe's programs store it inverted, and nearly nobody else
/// writes such files.
void toGrey(const JSAMPLE* inks, uchar* grey, JDIMENSION width, bool isInverted) {
    const auto light = [&](JSAMPLE value) { return isInverted ? value : 255 - value; };
    for (JDIMENSION x = 0; x < width; ++x, inks += 4) {
        const int colours = (light(inks[0]) * 11 + light(inks[1]) * 16 + light(inks[2]) * 5) / 32;
        grey[x] = static_cast<uchar>(colours * light(inks[3]) / 255);
    }
}

/// Fills `picture`; false on failure. Nothing here may need a destructor: errors jump.
bool read(jpeg_decompress_struct& jpeg, ErrorManager& errors, QByteArrayView bytes, qint64 largest,
          QImage& picture) {
    if (setjmp(errors.giveUp) != 0) // NOLINT(cert-err52-cpp): the library's way
        return false;
    jpeg_create_decompress(&jpeg);
    jpeg_mem_src(&jpeg, reinterpret_cast<const uchar*>(bytes.data()),
                 static_cast<unsigned long>(bytes.size()));
    jpeg_read_header(&jpeg, TRUE);
    if (qint64(jpeg.image_width) * jpeg.image_height > largest)
        return false;
    const bool isInInks = jpeg.jpeg_color_space == JCS_CMYK || jpeg.jpeg_color_space == JCS_YCCK;
    jpeg.out_color_space = isInInks ? JCS_CMYK : JCS_GRAYSCALE;
    jpeg_start_decompress(&jpeg);
    picture = QImage(static_cast<int>(jpeg.output_width), static_cast<int>(jpeg.output_height),
                     QImage::Format_Grayscale8);
    if (picture.isNull())
        return false;
    JSAMPARRAY inks = isInInks ? jpeg.mem->alloc_sarray(reinterpret_cast<j_common_ptr>(&jpeg),
                                                        JPOOL_IMAGE, jpeg.output_width * 4, 1)
                               : nullptr;
    while (jpeg.output_scanline < jpeg.output_height) {
        JSAMPROW row = picture.scanLine(static_cast<int>(jpeg.output_scanline));
        jpeg_read_scanlines(&jpeg, inks ? inks : &row, 1);
        if (inks)
            toGrey(*inks, row, jpeg.output_width, jpeg.saw_Adobe_marker);
    }
    return true;
}

} // namespace

QImage decodeJpeg(QByteArrayView bytes, qint64 largest) {
    QImage picture;
    jpeg_decompress_struct jpeg{};
    ErrorManager errors{};
    jpeg.err = jpeg_std_error(&errors);
    errors.error_exit = giveUp;
    errors.emit_message = onMessage;
    const bool isRead = read(jpeg, errors, bytes, largest, picture);
    jpeg_destroy_decompress(&jpeg);
    return isRead ? picture : QImage();
}

} // namespace kopertal
