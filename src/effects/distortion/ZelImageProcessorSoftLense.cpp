#include "ZelImageProcessorSoftLense.h"
#include "ZelImageAllocation_p.h"
#include "ZelImageProcessorImpl_p.h"
#include "ZelPixelMath_p.h"

#include <QPainter>
#include <QRadialGradient>

namespace {

const QString kSoftness = QStringLiteral("ASoftness");

// The top of the parameter's range, and the largest blur the effect asks ImageMagick for. The
// blur cannot be cancelled and its cost grows with the softness (about 40 s for a 24 MP photo at
// 100); larger blurs keep changing the picture well beyond the image's size (toward the mean of
// its corners), so no larger bound would leave the result unchanged and still end in time.
constexpr int kMaximumSoftness = 100;

// Black in the centre, white from 0.6 of half the width on; the default pen outlines the top
// row and the left column in black.
QImage radialMask(const QSize& size)
{
    QImage mask(size, QImage::Format_ARGB32);
    QRadialGradient gradient(QPointF(size.width() / 2, size.height() / 2), size.width() / 2);
    gradient.setColorAt(0.0, Qt::black);
    gradient.setColorAt(0.6, Qt::white);
    QPainter painter(&mask);
    painter.setBrush(gradient);
    painter.drawRect(QRect(QPoint(0, 0), QPoint(size.width() - 1, size.height() - 1)));
    return mask;
}

// QPainter cannot paint on 8-bit indexed images.
QImage paintableCopy(const QImage& source)
{
    if (source.format() != QImage::Format_Indexed8)
        return zelCopyImage(source);
    return zelConvertImage(source, source.hasAlphaChannel() ? QImage::Format_ARGB32 : QImage::Format_RGB32);
}

} // namespace

class ZelImageProcessorSoftLenseImpl : public ZelImageProcessorImpl
{
    Q_OBJECT
public:
    explicit ZelImageProcessorSoftLenseImpl(const QImage& image)
        : ZelImageProcessorImpl(image, tr("Radialer Weichzeichner"))
    {
        createParameterDescriptions();
    }

    using ZelImageProcessorImpl::setParameters;
    void setParameters(int softness) { setParameterValue(kSoftness, softness); }
    int softness() const { return myParameters.value(kSoftness).toInt(); }

public slots:
    QImage result() override
    {
        connectProgressSignalizer();
        const QImage image = applySoftLense(sourceImage(), softness());
        // Before the relay is cut, unlike the other effects: progress observers written against
        // earlier versions see this order.
        emit finished(false);
        disconnectProgressSignalizer();
        return image;
    }
    QImage generatePreview(const QSize& size) override
    {
        const double factor = double(size.width()) / sourceImage().width();
        // Capped first, so that the preview blurs like the full picture does.
        return previewOn(sourceImageScaled(size), zelTruncToInt(qMin(softness(), kMaximumSoftness) * factor));
    }
    QImage generatePreview(const QRect& rect) override { return previewOn(sectionOfSourceImage(rect), softness()); }

protected:
    QString progressTitle() const override { return tr("Radialer Weichzeichner"); }

private:
    void createParameterDescriptions() { addNumberParameter(kSoftness, tr("Stärke"), 10, 1, kMaximumSoftness, 0, 0); }

    QImage applySoftLense(const QImage& source, int softness) const
    {
        if (source.isNull())
            return QImage();
        const QImage mask = radialMask(source.size());
        // Null after a cancel: nothing is drawn and the source comes back unchanged.
        QImage blurred = createMagickWandWrapper().blur(source, 0, qMin(softness, kMaximumSoftness), 0);
        blurred.setAlphaChannel(mask);
        QImage out = paintableCopy(source);
        QPainter painter(&out);
        painter.drawImage(QRectF(out.rect()), blurred, QRectF(0, 0, blurred.width(), blurred.height()));
        return out;
    }

    static QImage previewOn(const QImage& image, int softness)
    {
        ZelImageProcessorSoftLense preview(image);
        preview.setParameters(softness);
        return preview.result();
    }
};

ZelImageProcessorSoftLense::ZelImageProcessorSoftLense(const QImage& image)
    : ZelImageProcessor(image)
{
    setProperty("ToolTip", tr("Radialer Weichzeichner"));
    setProperty("IconName", QStringLiteral("ico_radial_blur"));
    installImplementation(new ZelImageProcessorSoftLenseImpl(image));
}

void ZelImageProcessorSoftLense::setParameters(int softness)
{
    static_cast<ZelImageProcessorSoftLenseImpl*>(myImpl)->setParameters(softness);
}

#include "ZelImageProcessorSoftLense.moc"
