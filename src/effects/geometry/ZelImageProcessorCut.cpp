#include "ZelImageProcessorCut.h"
#include "ZelImageAllocation_p.h"
#include "ZelImageProcessorImpl_p.h"

#include <cmath>
#include <limits>
#include <optional>

namespace {

// Whether a truncated coordinate or edge keeps QRect's and QImage::copy's int arithmetic
// (right edges, negated offsets) from overflowing.
bool fitsCopyArithmetic(double value)
{
    return value > std::numeric_limits<int>::min() && value <= std::numeric_limits<int>::max();
}

// The rectangle with each coordinate truncated toward zero, or nothing when it lies beyond the
// range of int.
std::optional<QRect> truncatedRect(const QRectF& rect)
{
    const double left = std::trunc(rect.x());
    const double top = std::trunc(rect.y());
    const double width = std::trunc(rect.width());
    const double height = std::trunc(rect.height());
    for (const double value : {left, top, width, height, left + width, top + height}) {
        if (!fitsCopyArithmetic(value))
            return std::nullopt;
    }
    return QRect(int(left), int(top), int(width), int(height));
}

} // namespace

class ZelImageProcessorCutImpl : public ZelImageProcessorImpl
{
    Q_OBJECT
public:
    explicit ZelImageProcessorCutImpl(const QImage& image)
        : ZelImageProcessorImpl(image, tr("Ausschneiden"))
    {
        ZelParameterDescription rect;
        rect.setParameterName(QStringLiteral("Rect"));
        rect.setVisibleName(tr("Rechteck"));
        rect.setValue(QRectF());
        rect.setDefaultValue(QRectF());
        addParameter(QStringLiteral("Rect"), rect, 0, 0);
    }

    QRectF rect() const { return myParameters.value(QStringLiteral("Rect")).toRectF(); }
    void setRect(const QRectF& rect) { myParameters.setValue(QStringLiteral("Rect"), rect); }

public slots:
    QImage result() override
    {
        connectProgressSignalizer();
        // A rectangle beyond the range of int gives a null image, as one too large to allocate would.
        const std::optional<QRect> section = truncatedRect(rect());
        const QImage cut = section ? zelCopyImage(sourceImage(), *section) : QImage();
        disconnectProgressSignalizer();
        emit finished(false);
        return cut;
    }
    QImage generatePreview(const QSize& size) override { return preview(sourceImageScaled(size)); }
    QImage generatePreview(const QRect& rect) override { return preview(sectionOfSourceImage(rect)); }

protected:
    QString progressTitle() const override { return effectName(); }

    // The factors are whole-number quotients, deliberately: a preview smaller than the source
    // gets factors 0, hence the null rectangle, whose cut is the whole preview image.
    QImage preview(const QImage& image) const
    {
        if (mySourceImage.isNull())
            return QImage();
        const double factorX = image.width() / mySourceImage.width();
        const double factorY = image.height() / mySourceImage.height();
        const QRectF r = rect();
        const double left = r.x() * factorX;
        const double top = r.y() * factorY;
        ZelImageProcessorCut cut(image);
        cut.setRect(QRectF(left, top, (r.x() + r.width()) * factorX - left, (r.y() + r.height()) * factorY - top));
        return cut.result();
    }
};

ZelImageProcessorCut::ZelImageProcessorCut(const QImage& image)
    : ZelImageProcessor(image)
{
    setProperty("ToolTip", tr("Ausschneiden"));
    setProperty("IconName", QStringLiteral("ico_cut"));
    installImplementation(new ZelImageProcessorCutImpl(image));
}

void ZelImageProcessorCut::setRect(const QRectF& rect)
{
    static_cast<ZelImageProcessorCutImpl*>(myImpl)->setRect(rect);
}

#include "ZelImageProcessorCut.moc"
