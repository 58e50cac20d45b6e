#include "ZelMagickWandWrapper_p.h"

#include "ZelImageAllocation_p.h"
#include "ZelLogging_p.h"
#include "ZelMagickSketch_p.h"
#include "ZelProgressSignalizer.h"

#include <QDebug>
#include <QPainter>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdlib>

// The enumerator values the bridge's calls are written against; a different ImageMagick build
// must fail here rather than compute something else.
static_assert(CharPixel == 1, "CharPixel");
static_assert(GRAYColorspace == 2, "GRAYColorspace");
static_assert(ArcDistortion == 9, "ArcDistortion");
static_assert(AbsoluteErrorMetric == 1, "AbsoluteErrorMetric");
static_assert(MeanAbsoluteErrorMetric == 2, "MeanAbsoluteErrorMetric");
static_assert(PeakAbsoluteErrorMetric == 5, "PeakAbsoluteErrorMetric");
static_assert(ConstantVirtualPixelMethod == 2, "virtual-pixel method 2");

namespace {

// All colour channels and alpha: ImageMagick 6's red, green, blue, opacity, black and index.
constexpr ChannelType kAllChannels = static_cast<ChannelType>(0x3F);

std::atomic<quint64> gWandsCreated{0};

// ImageMagick's start of life, once per process; thread-safe through the static's initialisation.
// One ImageMagick thread, so that operations and their progress run on the caller's thread.
void ensureMagickStarted()
{
    static const bool started = [] {
        // Before any allocation of ImageMagick's: its pixel caches and the dithering's colour
        // cache are fresh mappings of up to hundreds of megabytes on every call, whose page faults
        // cost more than a small picture's whole computation.
        SetMagickAlignedMemoryMethods([](size_t bytes, size_t alignment) { return zelAllocateAligned(bytes, alignment); },
                                      [](void* memory) { std::free(memory); });
        MagickWandGenesis();
        MagickSetResourceLimit(ThreadResource, 1);
        std::atexit(MagickWandTerminus);
        return true;
    }();
    Q_UNUSED(started);
}

// Whether ImageMagick can hold the picture now. Refused the image by its width, height or area
// limit, or finding neither memory nor disk left for its pixel cache under its limits (with
// pictures held by other wands counted), ImageMagick 6's ConstituteImage fails an assertion (it
// aborts the process) instead of failing the call; such a picture gets a wand without image,
// which every operation leaves alone and which gives a null result.
bool magickCanHold(const QSize& size)
{
    const double width = size.width(), height = size.height();
    const double bytes = width * height * sizeof(PixelPacket);
    const auto left = [](ResourceType type) {
        return double(MagickGetResourceLimit(type)) - double(MagickGetResource(type));
    };
    return width <= double(MagickGetResourceLimit(WidthResource)) && height <= double(MagickGetResourceLimit(HeightResource))
        && width * height <= double(MagickGetResourceLimit(AreaResource))
        && (bytes <= left(MemoryResource) || bytes <= left(DiskResource));
}

void warnMagickFailure(const char* call, const char* reason, const char* description)
{
    const QString because = QString::fromLocal8Bit(reason && *reason ? reason : "no reason given")
        + (description && *description ? QStringLiteral(" (%1)").arg(QString::fromLocal8Bit(description)) : QString());
    qCWarning(zelMagick, "ImageMagick failed %s: %s; the picture stays as it was", call, qUtf8Printable(because));
}

// ImageMagick names its steps "Tag/Image/" followed by the image's file name.
QString magickStepName(const char* text)
{
    return QString::fromLatin1(text).remove(QStringLiteral("/Image/"));
}

} // namespace

quint64 zelMagickWandsCreated()
{
    return gWandsCreated.load(std::memory_order_relaxed);
}

MagickBooleanType TessaroonMagickProgressMonitor(const char* text, const MagickOffsetType offset,
                                                 const MagickSizeType span, void* clientData)
{
    auto* signalizer = static_cast<ZelProgressSignalizer*>(clientData);
    if (!signalizer) {
        qWarning("TessaroonMagickProgressMonitor, cast to ZelProgressSignalizer failed.");
        return MagickTrue;
    }
    signalizer->setProgress(static_cast<int>(offset), static_cast<int>(span));
    signalizer->setProcessName(text ? text : "", magickStepName);
    return signalizer->cancelled() && signalizer->cancelAllowed() ? MagickFalse : MagickTrue;
}

ZelMagickWandWrapper::ZelMagickWandWrapper(ZelProgressSignalizer* signalizer)
    : mySignalizer(signalizer)
{
    ensureMagickStarted();
}

ZelMagickWandWrapper::~ZelMagickWandWrapper() = default;

ZelMagickWandWrapper ZelMagickWandWrapper::bare()
{
    ZelMagickWandWrapper wrapper(nullptr);
    wrapper.myMonitored = false;
    return wrapper;
}

namespace {
thread_local bool tBareScope = false;
}

ZelMagickBareScope::ZelMagickBareScope()
    : myOuter(tBareScope)
{
    tBareScope = true;
}

ZelMagickBareScope::~ZelMagickBareScope()
{
    tBareScope = myOuter;
}

bool ZelMagickBareScope::active()
{
    return tBareScope;
}

void ZelMagickWandWrapper::toMagickWand(const QImage& image, MagickWand* wand) const
{
    const QImage argb = image.convertToFormat(QImage::Format_ARGB32);
    if (!argb.isNull())
        checked(wand,
                MagickConstituteImage(wand, size_t(argb.width()), size_t(argb.height()), "BGRA", CharPixel,
                                      argb.constBits()),
                "MagickConstituteImage");
    if (mySignalizer)
        mySignalizer->start();
    // A wand without image (null source, or an allocation ImageMagick refused) has no monitor.
    if (!myMonitored)
        return;
    if (Image* constituted = GetImageFromMagickWand(wand))
        SetImageProgressMonitor(constituted, TessaroonMagickProgressMonitor, mySignalizer);
}

void ZelMagickWandWrapper::toMagickWand(const QPixmap& pixmap, MagickWand* wand) const
{
    toMagickWand(pixmap.toImage(), wand);
}

MagickWand* ZelMagickWandWrapper::createWand(const QImage& image) const
{
    MagickWand* wand = NewMagickWand();
    gWandsCreated.fetch_add(1, std::memory_order_relaxed);
    const bool held = magickCanHold(image.size());
    if (!held)
        qCWarning(zelMagick, "ImageMagick cannot hold a picture of %d x %d pixels under its resource limits; "
                  "the result is null", image.width(), image.height());
    toMagickWand(held ? image : QImage(), wand);
    return wand;
}

MagickWand* ZelMagickWandWrapper::createWand(const QPixmap& pixmap) const
{
    return createWand(pixmap.toImage());
}

QImage ZelMagickWandWrapper::fromMagickWand(MagickWand* wand) const
{
    if (!GetImageFromMagickWand(wand))
        return QImage();
    const size_t width = MagickGetImageWidth(wand);
    const size_t height = MagickGetImageHeight(wand);
    if (width == 0 || height == 0 || width > size_t(INT_MAX) || height > size_t(INT_MAX))
        return QImage();
    QImage image(int(width), int(height), QImage::Format_ARGB32);
    if (image.isNull())
        return image;
    checked(wand, MagickExportImagePixels(wand, 0, 0, width, height, "BGRA", CharPixel, image.bits()),
            "MagickExportImagePixels");
    return image;
}

QImage ZelMagickWandWrapper::consumeWand(MagickWand* wand) const
{
    const QImage image = fromMagickWand(wand);
    DestroyMagickWand(wand);
    return image;
}

// After a cancel the wand is not destroyed: one wand leaks per cancel, which the leak suppressions
// of the tests expect (tests/lsan.supp); change both together. Its pictures are let go, though:
// ImageMagick counts their pixel caches against its limits for as long as they live, and after a
// few hundred cancels of large photos it would hold no new picture.
QImage ZelMagickWandWrapper::abandonWand(MagickWand* wand) const
{
    ClearMagickWand(wand);
    return QImage();
}

QImage ZelMagickWandWrapper::getImageFromWand(MagickWand* wand) const
{
    if (mySignalizer && mySignalizer->cancelled())
        return abandonWand(wand);
    qDebug("ZelMagickWandWrapper::arc not cancelled, doing fromMagickWand");
    return consumeWand(wand);
}

bool ZelMagickWandWrapper::checked(MagickWand* wand, MagickBooleanType status, const char* call) const
{
    if (status != MagickFalse)
        return true;
    // A cancel stops ImageMagick through the monitor; its result is dropped anyway.
    if (mySignalizer && mySignalizer->cancelled())
        return false;
    if (zelMagick().isWarningEnabled()) {
        ExceptionType severity = UndefinedException;
        char* reason = MagickGetException(wand, &severity);
        warnMagickFailure(call, reason, nullptr);
        MagickRelinquishMemory(reason);
    }
    MagickClearException(wand);
    return false;
}

void ZelMagickWandWrapper::setTransparentBackground(MagickWand* wand)
{
    PixelWand* background = NewPixelWand();
    PixelSetColor(background, "#ffffff");
    PixelSetAlpha(background, 0);
    MagickSetImageBackgroundColor(wand, background);
    DestroyPixelWand(background);
    MagickSetImageVirtualPixelMethod(wand, ConstantVirtualPixelMethod);
}

QImage ZelMagickWandWrapper::sketch(const QImage& image, double radius, double sigma, double angle) const
{
    MagickWand* wand = createWand(image);
    MagickQuantizeImages(wand, 256, GRAYColorspace, 0, MagickTrue, MagickFalse);
    zelSketchWand(wand, radius, sigma, angle, mySignalizer);
    return getImageFromWand(wand);
}

QImage ZelMagickWandWrapper::motionBlur(const QImage& image, double sigma, double angle) const
{
    MagickWand* wand = createWand(image);
    checked(wand, MagickMotionBlurImage(wand, 6 * sigma, sigma, angle), "MagickMotionBlurImage");
    return getImageFromWand(wand);
}

QImage ZelMagickWandWrapper::sepia(const QImage& image, double percent) const
{
    MagickWand* wand = createWand(image);
    size_t depth = 0;
    MagickGetQuantumDepth(&depth);
    const int maxVal = static_cast<int>(std::pow(2.0, double(depth)) - 1.0);
    qDebug() << "maxVal : " << maxVal;
    checked(wand, MagickQuantizeImages(wand, size_t(maxVal), GRAYColorspace, 0, MagickTrue, MagickFalse),
            "MagickQuantizeImages");
    checked(wand, MagickSepiaToneImage(wand, maxVal * percent / 100.0), "MagickSepiaToneImage");
    return getImageFromWand(wand);
}

QImage ZelMagickWandWrapper::arc(const QImage& image, double arcAngle, double rotateAngle, double topFactor,
                                 double bottomFactor) const
{
    // The inner radius is forced just inside the outer one.
    if (!(bottomFactor < topFactor))
        bottomFactor = topFactor * 0.99;
    const double shorterSide = qMin(image.width(), image.height());
    const double topRadius = shorterSide * topFactor * 0.5;
    const double bottomRadius = shorterSide * bottomFactor * 0.5;
    const double arguments[4] = {qMin(arcAngle, 361.0), rotateAngle, topRadius, bottomRadius};

    MagickWand* wand = createWand(image);
    setTransparentBackground(wand);
    checked(wand, MagickDistortImage(wand, ArcDistortion, 4, arguments, MagickTrue), "MagickDistortImage");
    return getImageFromWand(wand);
}

QImage ZelMagickWandWrapper::posterize(const QImage& image, int levels, bool dither) const
{
    MagickWand* wand = createWand(image);
    checked(wand, MagickPosterizeImage(wand, size_t(qMax(levels, 0)), dither ? MagickTrue : MagickFalse),
            "MagickPosterizeImage");
    return getImageFromWand(wand);
}

QImage ZelMagickWandWrapper::oilPainting(const QImage& image, double radius) const
{
    MagickWand* wand = createWand(image);
    checked(wand, MagickOilPaintImage(wand, radius), "MagickOilPaintImage");
    return getImageFromWand(wand);
}

QImage ZelMagickWandWrapper::emboss(const QImage& image, double radius, double sigma) const
{
    MagickWand* wand = createWand(image);
    checked(wand, MagickQuantizeImages(wand, 256, GRAYColorspace, 0, MagickTrue, MagickFalse), "MagickQuantizeImages");
    checked(wand, MagickEmbossImage(wand, radius, sigma), "MagickEmbossImage");
    return getImageFromWand(wand);
}

QImage ZelMagickWandWrapper::charcoal(const QImage& image, double radius, double sigma) const
{
    MagickWand* wand = createWand(image);
    checked(wand, MagickCharcoalImage(wand, radius, 5 * sigma), "MagickCharcoalImage");
    return getImageFromWand(wand);
}

QImage ZelMagickWandWrapper::implode(const QImage& image, double amount) const
{
    MagickWand* wand = createWand(image);
    checked(wand, MagickImplodeImage(wand, amount), "MagickImplodeImage");
    return getImageFromWand(wand);
}

QImage ZelMagickWandWrapper::explode(const QImage& image, double amount) const
{
    return implode(image, amount);
}

QImage ZelMagickWandWrapper::shade(const QImage& image) const
{
    MagickWand* wand = createWand(image);
    checked(wand, MagickShadeImage(wand, MagickTrue, 45.0, 30.0), "MagickShadeImage");
    return getImageFromWand(wand);
}

QImage ZelMagickWandWrapper::swirl(const QImage& image, double degrees) const
{
    MagickWand* wand = createWand(image);
    checked(wand, MagickSwirlImage(wand, degrees), "MagickSwirlImage");
    return getImageFromWand(wand);
}

QImage ZelMagickWandWrapper::wave(const QImage& image, double waveLength, double amplitude) const
{
    MagickWand* wand = createWand(image);
    setTransparentBackground(wand);
    checked(wand, MagickWaveImage(wand, amplitude, waveLength), "MagickWaveImage");
    return getImageFromWand(wand);
}

QImage ZelMagickWandWrapper::grayscale(const QImage& image) const
{
    MagickWand* wand = createWand(image);
    checked(wand, MagickQuantizeImages(wand, 256, GRAYColorspace, 0, MagickTrue, MagickFalse), "MagickQuantizeImages");
    return getImageFromWand(wand);
}

QImage ZelMagickWandWrapper::blackWhite(const QImage& image) const
{
    MagickWand* wand = createWand(image);
    checked(wand, MagickQuantizeImage(wand, 2, GRAYColorspace, 0, MagickTrue, MagickFalse), "MagickQuantizeImage");
    return getImageFromWand(wand);
}

QImage ZelMagickWandWrapper::equalize(const QImage& image) const
{
    MagickWand* wand = createWand(image);
    checked(wand, MagickEqualizeImage(wand), "MagickEqualizeImage");
    return getImageFromWand(wand);
}

QImage ZelMagickWandWrapper::gammaCorrection(const QImage& image, double gamma) const
{
    MagickWand* wand = createWand(image);
    checked(wand, MagickGammaImage(wand, gamma), "MagickGammaImage");
    return getImageFromWand(wand);
}

QImage ZelMagickWandWrapper::adjustHSB(const QImage& image, double hue, double saturation, double brightness) const
{
    MagickWand* wand = createWand(image);
    checked(wand, MagickModulateImage(wand, brightness, saturation, hue), "MagickModulateImage");
    return getImageFromWand(wand);
}

QImage ZelMagickWandWrapper::adjustContrast(const QImage& image, double contrast, double gamma) const
{
    MagickWand* wand = createWand(image);
    if (contrast != 0)
        checked(wand,
                MagickSigmoidalContrastImage(wand, contrast > 0 ? MagickTrue : MagickFalse, contrast / 10,
                                             contrast / 20),
                "MagickSigmoidalContrastImage");
    checked(wand, MagickGammaImage(wand, gamma), "MagickGammaImage");
    return getImageFromWand(wand);
}

QImage ZelMagickWandWrapper::dropShadow(const QImage& image, double opacity, double sigma, int x, int y) const
{
    MagickWand* wand = createWand(image);
    checked(wand, MagickShadowImage(wand, opacity, sigma, x, y), "MagickShadowImage");
    return getImageFromWand(wand);
}

QImage ZelMagickWandWrapper::compare(const QImage& a, const QImage& b, double& absoluteError,
                                     double& meanAbsoluteError, double& peakAbsoluteError) const
{
    MagickWand* wandA = createWand(a);
    MagickWand* wandB = createWand(b);
    QImage difference;
    if (MagickWand* differenceWand = MagickCompareImages(wandA, wandB, AbsoluteErrorMetric, &absoluteError))
        difference = consumeWand(differenceWand);
    else
        checked(wandA, MagickFalse, "MagickCompareImages");
    Image* imageA = GetImageFromMagickWand(wandA);
    const Image* imageB = GetImageFromMagickWand(wandB);
    if (imageA && imageB) {
        ExceptionInfo* exception = AcquireExceptionInfo();
        if (!GetImageDistortion(imageA, imageB, MeanAbsoluteErrorMetric, &meanAbsoluteError, exception))
            warnMagickFailure("GetImageDistortion", exception->reason, exception->description);
        if (!GetImageDistortion(imageA, imageB, PeakAbsoluteErrorMetric, &peakAbsoluteError, exception))
            warnMagickFailure("GetImageDistortion", exception->reason, exception->description);
        DestroyExceptionInfo(exception);
    }
    DestroyMagickWand(wandA);
    DestroyMagickWand(wandB);
    return difference;
}

QImage ZelMagickWandWrapper::blur(const QImage& image, int softness, int blurRadius, int fade) const
{
    qDebug() << "ZelMagickWandWrapper::blur " << softness << " ," << blurRadius << " ," << fade;
    MagickWand* wand = createWand(image);
    if (blurRadius > 0) {
        const bool cancelAllowed = !mySignalizer || mySignalizer->cancelAllowed();
        if (mySignalizer)
            mySignalizer->setCancelAllowed(false);
        checked(wand, MagickBlurImageChannel(wand, kAllChannels, 1.5 * blurRadius, blurRadius), "MagickBlurImageChannel");
        if (mySignalizer)
            mySignalizer->setCancelAllowed(cancelAllowed);
    }
    const auto cancelled = [this] { return mySignalizer && mySignalizer->cancelled(); };
    if (fade > 0 && !cancelled())
        checked(wand, MagickModulateImage(wand, 100, 100 - 10.0 * fade, 100), "MagickModulateImage");
    if (cancelled())
        return abandonWand(wand);
    QImage blurred = consumeWand(wand);
    if (softness <= 0 || blurred.isNull())
        return blurred;

    // From 12 steps on the picture is plain white.
    const int level = softness >= 12 ? 0 : 255 - 23 * softness;
    QImage alpha(blurred.size(), QImage::Format_ARGB32);
    alpha.fill(qRgba(level, level, level, level));
    QImage faded = blurred.copy();
    faded.setAlphaChannel(alpha);
    QImage white(blurred.size(), blurred.format());
    white.fill(Qt::white);
    QPainter painter(&white);
    painter.drawImage(white.rect(), faded);
    painter.end();
    return white;
}
