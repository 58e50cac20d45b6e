#ifndef ZELEDITIMAGEMANIPULATOR_H
#define ZELEDITIMAGEMANIPULATOR_H

#include <QColor>
#include <QImage>
#include <QMutex>
#include <QRect>
#include <QSizeF>

// The proportions (width : height) the crop helpers offer. Free keeps the image as it is, or
// follows the proportion of the QSizeF given to paintRedLines; other values behave like free.
enum ZelCropType : int {
    ZelCropFree = 0,
    ZelCrop1x1 = 1,
    ZelCrop4x3 = 2,
    ZelCrop3x2 = 3,
    ZelCrop16x9 = 4,
    ZelCrop3x4 = 5,
    ZelCrop2x3 = 6,
    ZelCrop9x16 = 7
};

// Static helpers on QImage for the application's editing functions. They work on 32-bit pixel
// words (alpha in bits 24-31, red 16-23, green 8-15, blue 0-7); except where noted they take an
// image and return a new one, and a null image gives a null image. All are reentrant; the only
// shared state is the fade table of combineBlackWhiteAlphaImageWithRGBAImage, created once.
class ZelEditImageManipulator
{
public:
    // Every pixel becomes the opaque colour (its alpha is ignored), in place.
    static void fillImage(QImage* image, const QColor& colour);
    // Cross-fade from a (step 0) to b (step steps): ((steps - step) a + step b) / steps per
    // channel, opaque, in a's size and format (RGB32 for formats other than RGB32, ARGB32 and
    // ARGB32_Premultiplied, whose words are read as they are).
    // For images of different sizes, or step outside 0 .. steps (steps 0 included), the result
    // has a's size and is opaque black.
    static QImage morph(const QImage& a, const QImage& b, int step, int steps);
    // image.copy(rect.normalized()).
    static QImage crop(const QImage& image, const QRect& rect);
    // Whether the image has an alpha channel and a pixel that is not opaque.
    static bool imageContainsAlphaInformation(const QImage& image);
    // The image itself if it is ARGB32, else its ARGB32 conversion.
    static QImage normalizeARGB32(const QImage& image);
    // The image itself if it is ARGB32 or RGB32, else its RGB32 conversion.
    static QImage normalizeRGB32(const QImage& image);
    // True for a Format_Mono image or one whose pixels are all opaque white or opaque black.
    static bool whouldMonoBePossible(const QImage& image);
    // QColor's HSV saturation times factor (truncated), hue, value and alpha kept. A factor that
    // takes a saturation out of 0 .. 255 (or is not a number) turns the pixel black, as QColor
    // rejects the colour (QColor's warning per pixel is not repeated).
    static QImage changeSaturation(const QImage& image, double factor);
    // RGB32-normalised copies with each row reversed, and with the row order reversed.
    static QImage mirrorHorizontal(const QImage& image);
    static QImage mirrorVertical(const QImage& image);
    // Every pixel becomes the opaque grey (11 red + 16 green + 5 blue) >> 5, unless the image is
    // null or already grey. Deliberately, RGB32 and ARGB32 images change in place, together with
    // every copy that shares their data, while other formats are converted and the result is
    // dropped: the image stays as it was.
    static void toGrayscale(QImage* image);
    // Quarter turns of the RGB32-normalised image.
    static QImage rotateCCW(const QImage& image);
    static QImage rotateCW(const QImage& image);
    // rotateCW for a positive direction, rotateCCW for zero or a negative one.
    static QImage rotateNicely(const QImage& image, int direction);

    // The largest rectangle of the proportion, centred in the image (free: the whole image). Its
    // sides are at least one pixel; the longer side of the image is cut, by half on either side
    // (the odd pixel is cut on the right or bottom).
    static QRect cropRect(const QSize& size, ZelCropType type);
    // The image cut to cropRect().
    static QImage crop(const QImage& image, ZelCropType type);
    // An RGB32-normalised copy with two opaque red lines, one pixel wide, on the first and last
    // column (or row) of the centred crop rectangle of proportion width / height: vertical lines
    // when the proportion cuts left and right, horizontal ones when it cuts top and bottom, none
    // when it cuts nothing or the proportion is not positive.
    static QImage paintRedLines(const QImage& image, double proportion);
    // The lines of the type's proportion; a free type takes the proportion of size (no lines for
    // an empty size).
    static QImage paintRedLines(const QImage& image, ZelCropType type, const QSizeF& size);
    // An RGB32-normalised copy on which everything outside the type's crop rectangle is painted
    // over with the colour (alpha blended); a free type paints nothing.
    static QImage paintBorder(const QImage& image, QColor& colour, ZelCropType type);

    // Fades the image's alpha by the mask's grey level (the lowest byte of its pixels): white makes
    // a pixel transparent, black leaves it. In place; warns and returns for a null pointer, sizes
    // that differ, or an image that is not ARGB32.
    static void combineBlackWhiteAlphaImageWithRGBAImage(const QImage* mask, QImage* image);
    // Turns an ARGB32 alpha mask into a black shadow of alpha (alpha * factor) modulo 256, in
    // place; warns and returns for a null pointer or image, or another format.
    static void convertAlphamask2ShadowImage(QImage* image, double factor);

private:
    // The fade table, entry a << 8 | b holding (a (255 - b) / 255) << 24; built on first use.
    static const quint32* fadeTable();

    static QMutex myMutex;
};

#endif
