#include "ZelImageProcessorDropShadow.h"
#include "ZelConvolutionKernelGenerator.h"
#include "ZelImageProcessorConvolution.h"
#include "ZelImageProcessorImpl_p.h"
#include "ZelMath.h"
#include "ZelOpaqueCopy_p.h"
#include "ZelParameterDescriptionNumber.h"
#include "ZelPixelMath_p.h"
#include "ZelPixelWords_p.h"

#include <QMatrix>
#include <QPainter>
#include <QVector>

#include <climits>
#include <cmath>

namespace {

const QString kDistance = QStringLiteral("Distance");
const QString kAngle = QStringLiteral("Angle");
const QString kIntensity = QStringLiteral("Intensity");
const QString kBlur = QStringLiteral("Blur");
const QString kSize = QStringLiteral("Size");
const QString kBackgroundColor = QStringLiteral("AbBackgroundColor");
const QString kGreyOnly = QStringLiteral("AaGreyOnly");

// Lengths beyond this (in pixels) cannot make a canvas and would overflow QRect's arithmetic.
const double kMaximumLength = 268435456.0;

// Qt's qRound (halves up on both sides), INT_MIN where the value does not fit.
int roundHalfUp(double value)
{
    if (!(value > -2147483647.0 && value < 2147483647.0))
        return INT_MIN;
    return qRound(value);
}

bool fits(double length)
{
    return std::isfinite(length) && std::fabs(length) <= kMaximumLength;
}

ZelParameterDescription plainParameter(const QString& key, const QString& visibleName, const QVariant& value)
{
    ZelParameterDescription plain;
    plain.setParameterName(key);
    plain.setVisibleName(visibleName);
    plain.setValue(value);
    plain.setDefaultValue(value);
    return plain;
}

// The mask's bytes through the lookup into the target area of alpha, the mask's (0, 0) at the
// area's top left corner.
void copyMask(QImage& alpha, const QImage& mask, const QRect& target, const uchar* lookup)
{
    const QRect area = target & alpha.rect() & mask.rect().translated(target.topLeft());
    for (int y = area.top(); y <= area.bottom(); ++y) {
        const uchar* in = mask.constScanLine(y - target.top());
        uchar* out = alpha.scanLine(y);
        for (int x = area.left(); x <= area.right(); ++x)
            out[x] = lookup[in[x - target.left()]];
    }
}

} // namespace

class ZelImageProcessorDropShadowImpl : public ZelImageProcessorImpl
{
    Q_OBJECT
public:
    explicit ZelImageProcessorDropShadowImpl(const QImage& image)
        : ZelImageProcessorImpl(image, tr("Schatten"))
    {
        createParameterDescriptions();
    }

    // The Gaussian's support in sigmas.
    static const double mySupportSizeFactor;

    QImage shadowImage();
    QSizeF totalScale() const;

public slots:
    QImage result() override;

protected:
    QString progressTitle() const override { return tr("Schatten"); }

private:
    void createParameterDescriptions();

    int distance() const
    {
        return zelTruncToInt(mySourceImage.width() * double(myParameters.value(kDistance).toInt()) / 100.0);
    }
    double angle() const { return myParameters.value(kAngle).toDouble(); }
    double intensity() const { return myParameters.value(kIntensity).toDouble() / 255.0; }
    double scaleFactor() const { return myParameters.value(kSize).toDouble() / 100.0; }
    double blur() const { return myParameters.value(kBlur).toDouble(); }
    bool greyOnly() const { return myParameters.value(kGreyOnly).toBool(); }
    QColor backgroundColor() const { return myParameters.value(kBackgroundColor).value<QColor>(); }
    double actualBlur(const QSize& size) const { return blur() / 100.0 * qMin(size.width(), size.height()) * 0.25; }
    double blurOffset() const { return actualBlur(mySourceImage.size()) * 6.0; }

    QSize scaledSize() const
    {
        return QSize(roundHalfUp(mySourceImage.width() * scaleFactor()),
                     roundHalfUp(mySourceImage.height() * scaleFactor()));
    }
    bool geometryFits() const;
    QPoint shadowCentre() const;
    QRect unbluredShadowRect() const;
    QRect bluredShadowRect() const;

    QImage composeShadow();
    QImage createShadowAlphaMask() const;
    QImage createShadowImageGreyOnly();
    void setShadowAlphaMask(QImage& image, const QImage& mask, const QRect& placeRect, const QRect& originRect,
                            const QRect& unused);
    QImage createShadowImage() const;
    void drawShadow(QImage& canvas, const QImage& shadow, const QRect& unblured, const QRect& total,
                    const QRect& placedOriginal);
    void drawPrecomputedShadow(QImage& canvas, const QImage& shadow, const QRect& total) const;
    void drawOriginal(QImage& canvas, const QRect& placedOriginal) const;
    QImage blurShadow(const QImage& image, const QRect& unused);
};

const double ZelImageProcessorDropShadowImpl::mySupportSizeFactor = 1.5;

void ZelImageProcessorDropShadowImpl::createParameterDescriptions()
{
    addNumberParameter(kDistance, tr("Abstand"), 5, 0, 100, 0, 0);
    addNumberParameter(kAngle, tr("Winkel"), 0, 0, 360, 1, 0);

    ZelParameterDescriptionNumber intensity;
    intensity.setParameterName(kIntensity);
    intensity.setVisibleName(tr("Intensität"));
    intensity.setValue(128);
    intensity.setDefaultValue(128);
    intensity.setRange(0, 255);
    intensity.setUserVisibleRange(0, 100);
    addParameter(kIntensity, intensity, 2, 0);

    addNumberParameter(kBlur, tr("Unschärfe"), 5, 0, 8, 3, 0);
    addNumberParameter(kSize, tr("Größe"), 100, 50, 200, 4, 0);
    addParameter(kBackgroundColor, plainParameter(kBackgroundColor, tr("Hintergrundfarbe"), QColor(Qt::transparent)),
                 5, 0);
    ZelParameterDescription greyOnly = plainParameter(kGreyOnly, tr("Nur graue Schatten"), true);
    greyOnly.setCheckable(false);
    addParameter(kGreyOnly, greyOnly, 6, 0);
}

bool ZelImageProcessorDropShadowImpl::geometryFits() const
{
    const double width = mySourceImage.width() * scaleFactor();
    const double height = mySourceImage.height() * scaleFactor();
    return !mySourceImage.isNull() && fits(width) && fits(height) && width >= 0 && height >= 0 && blur() >= 0
        && fits(blurOffset()) && fits(mySourceImage.width() * double(myParameters.value(kDistance).toInt()) / 100.0)
        && std::isfinite(angle());
}

// Angle 0 moves the shadow down and 90 to the right: sine with x and cosine with y, deliberately.
QPoint ZelImageProcessorDropShadowImpl::shadowCentre() const
{
    const double radians = ZelMath::degreeToRadiant(angle());
    return QPoint(zelTruncToInt(distance() * std::sin(radians)), zelTruncToInt(distance() * std::cos(radians)));
}

QRect ZelImageProcessorDropShadowImpl::unbluredShadowRect() const
{
    QRect rect(QPoint(0, 0), scaledSize());
    rect.moveCenter(shadowCentre());
    return rect;
}

QRect ZelImageProcessorDropShadowImpl::bluredShadowRect() const
{
    QRect rect = unbluredShadowRect();
    rect.setRight(zelTruncToInt(double(rect.right()) + blurOffset()));
    rect.setBottom(zelTruncToInt(double(rect.bottom()) + blurOffset()));
    rect.moveCenter(shadowCentre());
    return rect;
}

QImage ZelImageProcessorDropShadowImpl::result()
{
    connectProgressSignalizer();
    const QImage canvas = composeShadow();
    disconnectProgressSignalizer();
    emit finished(false);
    return canvas;
}

QImage ZelImageProcessorDropShadowImpl::composeShadow()
{
    if (!geometryFits())
        return QImage();
    const QRect unblured = unbluredShadowRect();
    const QRect blured = bluredShadowRect();
    QRect original(QPoint(0, 0), mySourceImage.size());
    original.moveCenter(QPoint(0, 0));
    const QRect total = original | blured;
    const QRect placedOriginal = original.translated(roundHalfUp(-total.left()), roundHalfUp(-total.top()));

    QImage canvas(total.size(), QImage::Format_ARGB32);
    if (canvas.isNull())
        return canvas;
    canvas.fill(backgroundColor().rgba());
    if (greyOnly())
        drawPrecomputedShadow(canvas, createShadowImageGreyOnly(), total);
    else
        drawShadow(canvas, createShadowImage(), unblured, total, placedOriginal);
    drawOriginal(canvas, placedOriginal);
    return canvas;
}

// Grey only: 0 where the photo is opaque, 255 where it is transparent.
QImage ZelImageProcessorDropShadowImpl::createShadowAlphaMask() const
{
    QImage mask = sourceImageScaled(scaledSize());
    if (!greyOnly())
        return mask;
    mask = mask.alphaChannel().convertToFormat(QImage::Format_Indexed8);
    mask.invertPixels(QImage::InvertRgb);
    return mask;
}

QImage ZelImageProcessorDropShadowImpl::createShadowImageGreyOnly()
{
    const QImage mask = createShadowAlphaMask();
    QImage shadow(bluredShadowRect().size(), QImage::Format_ARGB32);
    if (shadow.isNull())
        return shadow;
    shadow.fill(qRgba(0, 0, 0, 255));
    const QRect shadowRect = shadow.rect();
    QRect place = mask.rect();
    place.moveCenter(QPoint((shadowRect.left() + shadowRect.right()) / 2, (shadowRect.top() + shadowRect.bottom()) / 2));
    setShadowAlphaMask(shadow, mask, place, QRect(), QRect());
    return shadow;
}

// The shadow's opacity is intensity() times the photo's alpha, in steps of 1/255, before the blur.
void ZelImageProcessorDropShadowImpl::setShadowAlphaMask(QImage& image, const QImage& mask, const QRect& placeRect,
                                                         const QRect& originRect, const QRect&)
{
    QVector<QRgb> greys(256);
    uchar lookup[256];
    for (int i = 0; i < 256; ++i) {
        greys[i] = qRgb(i, i, i);
        lookup[i] = uchar(zelTruncToInt(255.0 - (255 - i) * intensity()));
    }
    QImage alpha(image.size(), QImage::Format_Indexed8);
    if (alpha.isNull())
        return;
    alpha.setColorTable(greys);
    alpha.fill(255);
    const QImage maskBytes = mask.format() == QImage::Format_Indexed8 ? mask : mask.convertToFormat(QImage::Format_Indexed8);
    copyMask(alpha, maskBytes, placeRect.translated(roundHalfUp(-originRect.left()), roundHalfUp(-originRect.top())),
             lookup);
    if (blur() != 0)
        alpha = blurShadow(alpha, QRect());
    alpha.invertPixels(QImage::InvertRgb);
    image.setAlphaChannel(alpha);
}

// Opaque pixels cast black; translucent ones keep their colour and alpha, so that translucent
// parts of a photo cast a coloured shadow. The words are changed in the scaled image's own format:
// a photo with alpha scales to premultiplied words, and converting them would round the colours
// of translucent pixels once more; both changes below mean the same on premultiplied words.
QImage ZelImageProcessorDropShadowImpl::createShadowImage() const
{
    QImage shadow = zelToPixelWords(sourceImageScaled(scaledSize()));
    const bool grey = greyOnly();
    const int width = shadow.width();
    for (int y = 0; y < shadow.height(); ++y) {
        QRgb* line = reinterpret_cast<QRgb*>(shadow.scanLine(y));
        for (int x = 0; x < width; ++x) {
            if (grey)
                line[x] &= 0xFF000000u;
            else if (qAlpha(line[x]) == 255)
                line[x] = 0xFF000000u;
        }
    }
    return shadow;
}

// The blur softens the whole canvas, background included, before the photo is drawn: deliberate.
void ZelImageProcessorDropShadowImpl::drawShadow(QImage& canvas, const QImage& shadow, const QRect& unblured,
                                                 const QRect& total, const QRect&)
{
    {
        QPainter painter(&canvas);
        painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
        painter.setOpacity(intensity());
        painter.drawImage(QRectF(unblured.translated(-total.left(), -total.top())), shadow, QRectF(shadow.rect()),
                          Qt::ThresholdDither);
    }
    if (blur() != 0)
        canvas = blurShadow(canvas, QRect()).convertToFormat(QImage::Format_ARGB32);
}

void ZelImageProcessorDropShadowImpl::drawPrecomputedShadow(QImage& canvas, const QImage& shadow,
                                                            const QRect& total) const
{
    if (shadow.isNull())
        return;
    QPainter painter(&canvas);
    painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
    painter.setOpacity(1.0);
    painter.drawImage(QRectF(bluredShadowRect().translated(-total.left(), -total.top())), shadow,
                      QRectF(shadow.rect()), Qt::ThresholdDither);
}

void ZelImageProcessorDropShadowImpl::drawOriginal(QImage& canvas, const QRect& placedOriginal) const
{
    if (zelCopyOpaqueImage(canvas, mySourceImage, placedOriginal.left(), placedOriginal.top()))
        return;
    QPainter painter(&canvas);
    painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
    painter.setOpacity(1.0);
    painter.drawImage(QRectF(placedOriginal.left(), placedOriginal.top(), placedOriginal.width(),
                             placedOriginal.height()),
                      mySourceImage, QRectF(mySourceImage.rect()), Qt::ThresholdDither);
}

// The Gaussian at reduced size for speed: at most 0.75 of it, never below 100 pixels on the
// shorter side, with a support of 1.5 sigma; scaled back smoothly.
QImage ZelImageProcessorDropShadowImpl::blurShadow(const QImage& image, const QRect&)
{
    if (image.isNull())
        return image;
    const int width = image.width();
    const int height = image.height();
    const double scale = 0.75 <= 10.0 / blur() ? 0.75 : 10.0 / blur();
    double reducedWidth = scale * width;
    double reducedHeight = scale * height;
    if (reducedWidth < 100 || reducedHeight < 100) {
        const double enlarged = qMax(100.0 / height, 100.0 / width);
        reducedWidth = width * enlarged;
        reducedHeight = height * enlarged;
    }
    QImage reduced = image.scaled(zelTruncToInt(reducedWidth), zelTruncToInt(reducedHeight), Qt::IgnoreAspectRatio,
                                  Qt::FastTransformation);
    const double sigma = actualBlur(reduced.size());
    QVector<int> kernel;
    double divisor = 0;
    ZelConvolutionKernelGenerator::instance().generateGaussFilter(sigma, zelTruncToInt(sigma * mySupportSizeFactor),
                                                                  kernel, divisor);
    // An empty kernel or no weight (out-of-range blurs) would divide by zero.
    if (!kernel.isEmpty() && divisor > 0) {
        ZelImageProcessorConvolution convolution(reduced);
        convolution.setParameters(kernel, divisor);
        reduced = applySubProcessor(&convolution);
    }
    reduced = reduced.scaled(width, height, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    return greyOnly() ? reduced : reduced.convertToFormat(QImage::Format_ARGB32);
}

QImage ZelImageProcessorDropShadowImpl::shadowImage()
{
    if (!greyOnly() || !geometryFits())
        return QImage();
    const QImage mask = createShadowAlphaMask();
    const double offset = blurOffset();
    QImage shadow(zelTruncToInt(mask.width() + offset), zelTruncToInt(mask.height() + offset), QImage::Format_ARGB32);
    if (shadow.isNull())
        return shadow;
    shadow.fill(Qt::black);
    const QRect place(zelTruncToInt(offset * 0.5), zelTruncToInt(offset * 0.5), mask.width(), mask.height());
    setShadowAlphaMask(shadow, mask, place, shadow.rect(), QRect());
    return shadow;
}

QSizeF ZelImageProcessorDropShadowImpl::totalScale() const
{
    if (mySourceImage.isNull())
        return QSizeF();
    const QSize scaled = scaledSize();
    return QSizeF((scaled.width() + blurOffset()) / mySourceImage.width(),
                  (scaled.height() + blurOffset()) / mySourceImage.height());
}

ZelImageProcessorDropShadow::ZelImageProcessorDropShadow(const QImage& image)
    : ZelImageProcessor(image)
{
    setProperty("ToolTip", tr("Dieser Effekt erzeugt einen Schatten"));
    setProperty("IconName", QStringLiteral("ico_dropshadow"));
    installImplementation(new ZelImageProcessorDropShadowImpl(image));
}

static ZelImageProcessorDropShadowImpl* shadowImpl(ZelImageProcessorImpl* impl)
{
    return static_cast<ZelImageProcessorDropShadowImpl*>(impl);
}

void ZelImageProcessorDropShadow::setDistance(double distance) { myImpl->parameters().setValue(kDistance, distance); }
void ZelImageProcessorDropShadow::setIntensity(double intensity) { myImpl->parameters().setValue(kIntensity, intensity); }
void ZelImageProcessorDropShadow::setBlur(double blur) { myImpl->parameters().setValue(kBlur, blur); }
void ZelImageProcessorDropShadow::setSize(double size) { myImpl->parameters().setValue(kSize, size); }
void ZelImageProcessorDropShadow::setAngle(double angle) { myImpl->parameters().setValue(kAngle, angle); }
void ZelImageProcessorDropShadow::setBackgroundColor(const QColor& color)
{
    myImpl->parameters().setValue(kBackgroundColor, color);
}
void ZelImageProcessorDropShadow::setGreyOnly(bool greyOnly) { myImpl->parameters().setValue(kGreyOnly, greyOnly); }

QImage ZelImageProcessorDropShadow::shadowImage() { return shadowImpl(myImpl)->shadowImage(); }
QSizeF ZelImageProcessorDropShadow::totalScale() const { return shadowImpl(myImpl)->totalScale(); }

QPainterPath ZelImageProcessorDropShadow::createAvoidRegion(const QRect& r, double scale, double inset)
{
    QPainterPath path;
    if (!r.isValid())
        return path;
    const QRect mapped = QMatrix().scale(scale, scale).mapRect(r);
    const int i = zelTruncToInt(inset);
    const int shrink = roundHalfUp(2.0 * i);
    path.addRect(QRect(mapped.x() + i, mapped.y() + i, mapped.width() - shrink, mapped.height() - shrink));
    return path;
}

#include "ZelImageProcessorDropShadow.moc"
