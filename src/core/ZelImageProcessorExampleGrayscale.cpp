#include "ZelImageProcessorExampleGrayscale.h"
#include "ZelImageAllocation_p.h"
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
    explicit ZelImageProcessorExampleGrayscaleImpl(const QImage& image)
        : ZelImageProcessorImpl(image, QString())
    {
    }

public slots:
    QImage result() override;
};

QImage ZelImageProcessorExampleGrayscaleImpl::result()
{
    const QImage source = sourceImage();
    if (source.isGrayscale() || source.allGray())
        return source;

    // A copy of its own: the loop below writes into it.
    QImage gray = source.format() == QImage::Format_RGB32 ? zelCopyImage(source)
                                                         : zelConvertImage(source, QImage::Format_RGB32);
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

ZelImageProcessorExampleGrayscale::ZelImageProcessorExampleGrayscale(const QImage& image)
    : ZelImageProcessor(image)
{
    installImplementation(new ZelImageProcessorExampleGrayscaleImpl(image));
}

#include "ZelImageProcessorExampleGrayscale.moc"
