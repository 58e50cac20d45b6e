#include "ZelImageProcessorMosaic.h"
#include "ZelImageProcessorImpl_p.h"
#include "ZelPixelMath_p.h"
#include "ZelPixelWords_p.h"

#include <algorithm>
#include <cstring>

namespace {

// The side of the blocks as the quotients b * (x / b) see it: a negative size acts as its
// magnitude (C++ division truncates toward zero), and any size from the image's longer side up
// makes one block.
int blockSpan(int blockSize, int width, int height)
{
    const qint64 magnitude = blockSize < 0 ? -qint64(blockSize) : qint64(blockSize);
    return int(std::min<qint64>(magnitude, std::max(width, height)));
}

// A top row of blocks: each block takes its own top-left pixel with alpha 255.
void fillTopRow(const QRgb* in, QRgb* out, int width, int span)
{
    for (int left = 0; left < width; left += span)
        std::fill(out + left, out + std::min(left + span, width), in[left] | 0xFF000000u);
}

} // namespace

class ZelImageProcessorMosaicImpl : public ZelImageProcessorImpl
{
    Q_OBJECT
public:
    explicit ZelImageProcessorMosaicImpl(const QImage& image)
        : ZelImageProcessorImpl(image, tr("Blöcke"))
    {
        createParameterDescriptions();
    }

    using ZelImageProcessorImpl::setParameters;
    void setParameters(int blockSize)
    {
        setParameterValue(QStringLiteral("ABlockSize"), blockSize);
        updateParameters();
    }
    int relativeBlockSize() const { return parameterIntValue(QStringLiteral("ABlockSize"), true); }

public slots:
    QImage result() override;
    QImage generatePreview(const QSize& size) override { return previewOn(sourceImageScaled(size)); }
    QImage generatePreview(const QRect& rect) override { return previewOn(sectionOfSourceImage(rect)); }

private:
    void createParameterDescriptions();
    void updateParameters()
    {
        const int shorter = qMin(mySourceImage.width(), mySourceImage.height());
        myBlockSizeInPixels = zelTruncToInt(myParameters.value(QStringLiteral("ABlockSize")).toInt() * 0.01 * shorter);
    }

    QImage previewOn(const QImage& image) const
    {
        ZelImageProcessorMosaic preview(image);
        preview.setParameters(relativeBlockSize());
        return preview.result();
    }

    int myBlockSizeInPixels = 0;
};

void ZelImageProcessorMosaicImpl::createParameterDescriptions()
{
    addNumberParameter(QStringLiteral("ABlockSize"), tr("Stärke"), 10, 1, 100, 0, 0);
    updateParameters();
}

QImage ZelImageProcessorMosaicImpl::result()
{
    updateParameters();
    const QImage source = sourceImage();
    // Blocks of 0 pixels would divide by zero: the source stays as it is.
    if (myBlockSizeInPixels == 0) {
        emit finished(true);
        return source;
    }
    const QImage words = zelToPixelWords(source);
    QImage image = words.isNull() ? QImage() : zelBlankLike(words);
    if (image.isNull()) {
        emit finished(true);
        return QImage();
    }
    QRgb* const bits = reinterpret_cast<QRgb*>(image.bits());
    const int width = image.width();
    const int height = image.height();
    const qsizetype stride = image.bytesPerLine() / qsizetype(sizeof(QRgb));
    const int span = blockSpan(myBlockSizeInPixels, width, height);
    for (int y = 0; y < height; ++y) {
        // Each pixel takes its block's top-left pixel, which maps to itself, so every row of a
        // block repeats its top row: only the top rows read the source.
        QRgb* const line = bits + y * stride;
        const int top = y - y % span;
        if (top == y)
            fillTopRow(reinterpret_cast<const QRgb*>(words.constScanLine(y)), line, width, span);
        else
            std::memcpy(line, bits + top * stride, size_t(width) * sizeof(QRgb));
        emit progress(QStringLiteral("Blöcke"), QString(), y, height - 1);
        if (resetCancel())
            return source;
    }
    emit finished(true);
    return image;
}

ZelImageProcessorMosaic::ZelImageProcessorMosaic(const QImage& image)
    : ZelImageProcessor(image)
{
    setProperty("ToolTip", tr("Blöcke"));
    setProperty("IconName", QStringLiteral("ico_tiles"));
    installImplementation(new ZelImageProcessorMosaicImpl(image));
}

void ZelImageProcessorMosaic::setParameters(int blockSize)
{
    static_cast<ZelImageProcessorMosaicImpl*>(myImpl)->setParameters(blockSize);
}

#include "ZelImageProcessorMosaic.moc"
