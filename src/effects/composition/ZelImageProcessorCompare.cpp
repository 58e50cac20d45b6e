#include "ZelImageProcessorCompare.h"
#include "ZelImageAllocation_p.h"
#include "ZelImageProcessorImpl_p.h"

#include <QDebug>

namespace {

// Solid red of the source's size, in the source's format where that can hold red (indexed, grey
// and alpha-only formats cannot).
QImage redPicture(const QImage& source)
{
    // Every pixel is overwritten: a blank image with the source's colour table and metadata
    // stands in for a copy.
    QImage red = source.pixelFormat().colorModel() == QPixelFormat::RGB
        ? zelBlankLike(source)
        : zelConvertImage(source, source.hasAlphaChannel() ? QImage::Format_ARGB32 : QImage::Format_RGB32);
    red.fill(Qt::red);
    return red;
}

} // namespace

class ZelImageProcessorCompareImpl : public ZelImageProcessorImpl
{
    Q_OBJECT
public:
    explicit ZelImageProcessorCompareImpl(const QImage& image)
        : ZelImageProcessorImpl(image, QString())
    {
    }

    using ZelImageProcessorImpl::setParameters;
    void setParameters(const QImage& reference) { myReference = reference; }
    double absoluteError() const { return myAbsoluteError; }
    double absoluteMeanError() const { return myAbsoluteMeanError; }
    double peakError() const { return myPeakError; }

public slots:
    QImage result() override
    {
        connectProgressSignalizer();
        const QImage source = sourceImage();
        QImage difference;
        if (myReference.size() == source.size() && !source.size().isEmpty()) {
            difference = createMagickWandWrapper().compare(source, myReference, myAbsoluteError,
                                                           myAbsoluteMeanError, myPeakError);
        } else {
            qDebug() << "ZelImageProcessorCompareImpl Image sizes differ :" << source.size() << myReference.size();
            difference = redPicture(source);
        }
        disconnectProgressSignalizer();
        emit finished(false);
        return difference;
    }
    QImage generatePreview(const QSize& size) override
    {
        return previewOn(sourceImageScaled(size),
                         myReference.scaled(size, Qt::KeepAspectRatio, Qt::SmoothTransformation));
    }
    QImage generatePreview(const QRect& rect) override
    {
        return previewOn(sectionOfSourceImage(rect), myReference.copy(rect));
    }

private:
    static QImage previewOn(const QImage& image, const QImage& reference)
    {
        ZelImageProcessorCompare preview(image);
        preview.setParameters(reference);
        return preview.result();
    }

    QImage myReference;
    double myAbsoluteError = 0;
    double myAbsoluteMeanError = 0;
    double myPeakError = 0;
};

namespace {

ZelImageProcessorCompareImpl* implementation(ZelImageProcessorImpl* impl)
{
    return static_cast<ZelImageProcessorCompareImpl*>(impl);
}

} // namespace

ZelImageProcessorCompare::ZelImageProcessorCompare(const QImage& image)
    : ZelImageProcessor(image)
{
    installImplementation(new ZelImageProcessorCompareImpl(image));
}

void ZelImageProcessorCompare::setParameters(const QImage& reference) { implementation(myImpl)->setParameters(reference); }
double ZelImageProcessorCompare::absoluteError() const { return implementation(myImpl)->absoluteError(); }
double ZelImageProcessorCompare::absoluteMeanError() const { return implementation(myImpl)->absoluteMeanError(); }
double ZelImageProcessorCompare::peakError() const { return implementation(myImpl)->peakError(); }

#include "ZelImageProcessorCompare.moc"
