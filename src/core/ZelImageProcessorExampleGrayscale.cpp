#include "ZelImageProcessorExampleGrayscale.h"
#include "ZelImageProcessorImpl_p.h"

#include <QThread>

#include <memory>

namespace {

// An idle thread with an event loop, used only to pace the example: wait(100) on a thread that
// never finishes pauses for 100 ms.
struct PacingThread
{
    PacingThread() { thread.start(QThread::InheritPriority); }
    ~PacingThread()
    {
        thread.quit();
        thread.wait();
    }
    void pause() { thread.wait(100); }

    QThread thread;
};

} // namespace

class ZelImageProcessorExampleGrayscaleImpl : public ZelImageProcessorImpl
{
    Q_OBJECT
public:
    ZelImageProcessorExampleGrayscaleImpl()
        : ZelImageProcessorImpl(QString())
    {
    }
    explicit ZelImageProcessorExampleGrayscaleImpl(const QImage& image)
        : ZelImageProcessorImpl(image, QString())
    {
    }

    ZelImageProcessorExampleGrayscale* myPublic = nullptr;

public slots:
    QImage result() override;
    QImage generatePreview(const QSize& size) override
    {
        return previewWith<ZelImageProcessorExampleGrayscale>(sourceImageScaled(size));
    }
    QImage generatePreview(const QRect& rect) override
    {
        return previewWith<ZelImageProcessorExampleGrayscale>(sectionOfSourceImage(rect));
    }
};

QImage ZelImageProcessorExampleGrayscaleImpl::result()
{
    const QImage source = sourceImage();
    if (source.isGrayscale() || source.allGray())
        return source;

    QImage gray = source.convertToFormat(QImage::Format_RGB32);
    if (gray.isNull())
        return source;
    const int width = gray.width();
    const int height = gray.height();
    PacingThread pacing;
    for (int y = 0; y < height; ++y) {
        QRgb* line = reinterpret_cast<QRgb*>(gray.scanLine(y));
        for (int x = 0; x < width; ++x) {
            const QRgb pixel = line[x];
            const uint level = ((11 * qRed(pixel) + 16 * qGreen(pixel) + 5 * qBlue(pixel)) >> 5) & 0xFF;
            line[x] = 0xFF000000u | level << 16 | level << 8 | level;
        }
        if (y % 50 == 0)
            pacing.pause();
        emit progress(QStringLiteral("Example"), QString(), y, height - 1);
        if (resetCancel())
            return source;
    }
    emit finished(true);
    return gray;
}

ZelImageProcessorExampleGrayscale::ZelImageProcessorExampleGrayscale()
{
    initImplementation(nullptr);
}

ZelImageProcessorExampleGrayscale::ZelImageProcessorExampleGrayscale(const QImage& image)
    : ZelImageProcessor(image)
{
    initImplementation(&image);
}

void ZelImageProcessorExampleGrayscale::initImplementation(const QImage* image)
{
    installImplementation<ZelImageProcessorExampleGrayscaleImpl>(this, image);
}

void ZelImageProcessorExampleGrayscale::cancel() { myImpl->cancel(); }
QImage ZelImageProcessorExampleGrayscale::result() { return myImpl->result(); }
QImage ZelImageProcessorExampleGrayscale::generatePreview(const QSize& size) { return myImpl->generatePreview(size); }
QImage ZelImageProcessorExampleGrayscale::generatePreview(const QRect& rect) { return myImpl->generatePreview(rect); }

#include "ZelImageProcessorExampleGrayscale.moc"
