#ifndef ZELMAGICKWANDWRAPPER_P_H
#define ZELMAGICKWANDWRAPPER_P_H

#include <QImage>
#include <QPixmap>
#include <QRect>
#include <QSize>
#include <QVector>

#include <wand/MagickWand.h>

class ZelProgressSignalizer;

// The library's only road into ImageMagick 6. Each operation converts the image into a new wand
// (8-bit "BGRA", the byte order of an ARGB32 image), runs one ImageMagick operation with fixed
// constants while ImageMagick's progress monitor feeds the signalizer, and converts the result
// back. A cancel through the signalizer stops the running operation at its next progress report;
// the operation then returns a null image and leaves its wand alive, without its pictures (see
// abandonWand()).
// An ImageMagick call that fails leaves the wand's picture as it was, and the operation returns
// that picture; the failure is told through the zel.magick logging category (see checked()).
//
// ImageMagick is started once per process (thread-safe) and limited to one thread, so that it
// computes, and reports progress, on the caller's thread.
class ZelMagickWandWrapper
{
public:
    explicit ZelMagickWandWrapper(ZelProgressSignalizer* signalizer);
    ~ZelMagickWandWrapper();

    // A wrapper that installs no progress monitor and feeds no signalizer: the same ImageMagick
    // calls with nothing of ours in between, the baseline benchmarks compare the bridge with.
    static ZelMagickWandWrapper bare();

    // Conversion: the wand gets a copy of the image as ARGB32, the signalizer is restarted (an
    // earlier cancel is forgotten) and the progress monitor installed.
    void toMagickWand(const QImage& image, MagickWand* wand) const;
    void toMagickWand(const QPixmap& pixmap, MagickWand* wand) const;
    MagickWand* createWand(const QImage& image) const;
    MagickWand* createWand(const QPixmap& pixmap) const;
    QImage fromMagickWand(MagickWand* wand) const;
    QImage consumeWand(MagickWand* wand) const;
    // Null (and the wand left alive) after a cancel, else consumeWand(wand).
    QImage getImageFromWand(MagickWand* wand) const;
    // The null result of a cancelled operation: the wand is left alive without its pictures.
    QImage abandonWand(MagickWand* wand) const;

    QImage sketch(const QImage& image, double radius, double sigma, double angle) const;
    QImage motionBlur(const QImage& image, double sigma, double angle) const;
    QImage sepia(const QImage& image, double percent) const;
    QImage arc(const QImage& image, double arcAngle, double rotateAngle, double topFactor,
               double bottomFactor) const;
    QImage posterize(const QImage& image, int levels, bool dither) const;
    QImage oilPainting(const QImage& image, double radius) const;
    QImage emboss(const QImage& image, double radius, double sigma) const;
    QImage charcoal(const QImage& image, double radius, double sigma) const;
    QImage implode(const QImage& image, double amount) const;
    // The same ImageMagick implode as implode(); the explode effect passes its amount unchanged.
    QImage explode(const QImage& image, double amount) const;
    QImage shade(const QImage& image) const;
    QImage swirl(const QImage& image, double degrees) const;
    QImage wave(const QImage& image, double waveLength, double amplitude) const;
    QImage grayscale(const QImage& image) const;
    QImage blackWhite(const QImage& image) const;
    QImage equalize(const QImage& image) const;
    QImage gammaCorrection(const QImage& image, double gamma) const;
    QImage adjustHSB(const QImage& image, double hue, double saturation, double brightness) const;
    QImage adjustContrast(const QImage& image, double contrast, double gamma) const;
    QImage dropShadow(const QImage& image, double opacity, double sigma, int x, int y) const;
    // The difference image of a and b (absolute error metric), with the three error figures;
    // not cancellable.
    QImage compare(const QImage& a, const QImage& b, double& absoluteError, double& meanAbsoluteError,
                   double& peakAbsoluteError) const;
    // blurRadius > 0: an uncancellable blur of all channels (radius 1.5 x blurRadius, sigma
    // blurRadius); fade > 0: saturation lowered by 10 points per step; softness > 0: the picture
    // faded toward white, 23 levels per step.
    QImage blur(const QImage& image, int softness, int blurRadius, int fade) const;

private:
    // Whether the ImageMagick call that returned status succeeded. A failure that no cancel caused
    // is told through the zel.magick logging category with ImageMagick's reason; the wand's
    // exception is cleared, so that a later failure is told with its own.
    bool checked(MagickWand* wand, MagickBooleanType status, const char* call) const;
    // Background "#ffffff" with alpha 0 and the constant virtual-pixel method, for operations
    // that uncover area outside the picture.
    static void setTransparentBackground(MagickWand* wand);

    ZelProgressSignalizer* mySignalizer;
    bool myMonitored = true;
};

// While an instance lives, the wrappers effects create on its thread are bare(): a benchmark runs
// an effect's result() inside one to time the effect's own ImageMagick calls without progress.
class ZelMagickBareScope
{
public:
    ZelMagickBareScope();
    ~ZelMagickBareScope();
    ZelMagickBareScope(const ZelMagickBareScope&) = delete;
    ZelMagickBareScope& operator=(const ZelMagickBareScope&) = delete;
    static bool active();

private:
    bool myOuter;
};

// ImageMagick's progress monitor: feeds the signalizer given as client data and asks
// ImageMagick to stop when a cancel is requested and allowed.
MagickBooleanType TessaroonMagickProgressMonitor(const char* text, const MagickOffsetType offset,
                                                 const MagickSizeType span, void* clientData);

// How many wands the bridge has created in this process: tools tell from it whether an effect
// computes through ImageMagick.
quint64 zelMagickWandsCreated();

#endif
