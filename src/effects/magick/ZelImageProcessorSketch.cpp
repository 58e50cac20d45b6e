#include "ZelImageProcessorSketch.h"
#include "ZelImageProcessorImpl_p.h"

class ZelImageProcessorSketchImpl : public ZelImageProcessorImpl
{
    Q_OBJECT
public:
    explicit ZelImageProcessorSketchImpl(const QImage& image)
        : ZelImageProcessorImpl(image, tr("Strichzeichnung"))
    {
    }

public slots:
    QImage result() override
    {
        return magickResult([&](ZelMagickWandWrapper& magick, const QImage& source) {
            return magick.sketch(source, 20.0, 20.0, 120.0);
        });
    }

    // The strokes the sketch draws hide the finest detail of its source: a large photo is sampled
    // at four times the preview's size before it is smoothed down, which looks the same and
    // spares smoothing every one of its pixels (most of a preview's time on a 24 MP photo).
    QImage generatePreview(const QSize& size) override
    {
        const QImage source = sourceImage();
        QSize target = source.size().scaled(size, Qt::KeepAspectRatio);
        target = QSize(qMax(target.width(), 1), qMax(target.height(), 1));
        if (source.isNull() || size.isEmpty() || source.width() < 8 * target.width()
            || source.height() < 8 * target.height())
            return ZelImageProcessorImpl::generatePreview(size);
        const QImage sampled = source.scaled(4 * target, Qt::IgnoreAspectRatio, Qt::FastTransformation);
        return previewOf(sampled.scaled(target, Qt::IgnoreAspectRatio, Qt::SmoothTransformation));
    }

protected:
    QString progressTitle() const override { return QStringLiteral("Sketch"); }
};

ZelImageProcessorSketch::ZelImageProcessorSketch(const QImage& image)
    : ZelImageProcessor(image)
{
    setProperty("ToolTip", tr("Dieser Effekt vermittelt den Eindruck einer Strichzeichnung "));
    setProperty("IconName", QStringLiteral(":tessaroon/effectSketch.png"));
    installImplementation(new ZelImageProcessorSketchImpl(image));
}

#include "ZelImageProcessorSketch.moc"
