#include "ZelImageProcessorPhotosInPhoto.h"
#include "ZelImageProcessorImpl_p.h"
#include "ZelPixelMath_p.h"

#include <QPainter>

namespace {

const QString kProgressName = QStringLiteral("Photos In Photo");

// qrand() / 2^31
const double kRandomScale = 4.656612873077393e-10;

// The middle of the scaled photo along the axis it overfills.
QRect thumbnailArea(const QSize& scaled, const QSize& block)
{
    if (scaled.width() == block.width())
        return QRect(QPoint(0, (scaled.height() - block.height()) / 2), block);
    if (scaled.height() == block.height())
        return QRect(QPoint((scaled.width() - block.width()) / 2, 0), block);
    return QRect(QPoint(0, 0), block);
}

void turnGrey(QImage& image)
{
    const int width = image.width();
    for (int y = 0; y < image.height(); ++y) {
        QRgb* line = reinterpret_cast<QRgb*>(image.scanLine(y));
        for (int x = 0; x < width; ++x) {
            const QRgb pixel = line[x];
            const uint grey = (11 * qRed(pixel) + 16 * qGreen(pixel) + 5 * qBlue(pixel)) >> 5;
            line[x] = (pixel & 0xFF000000u) | grey << 16 | grey << 8 | grey;
        }
    }
}

} // namespace

class ZelImageProcessorPhotosInPhotoImpl : public ZelImageProcessorImpl
{
    Q_OBJECT
public:
    explicit ZelImageProcessorPhotosInPhotoImpl(const QImage& image)
        : ZelImageProcessorImpl(image, QString())
    {
    }

    void setBlockSize(const QSize& size) { myBlockSize = size; }
    void setImageFileList(const QStringList& files) { myImageFileList = files; }

public slots:
    QImage result() override { return photosInPhoto(sourceImage(), myImageFileList, myBlockSize); }

private:
    QImage photosInPhoto(const QImage& source, const QStringList& files, const QSize& block);
    // False after a cancel; a null list when a block cannot be allocated.
    bool makeThumbnails(const QStringList& files, const QSize& block, int progressMaximum, QList<QImage>* thumbnails);
    QImage unchanged(const QImage& source)
    {
        emit finished(true);
        return source;
    }

    QSize myBlockSize{-1, -1};
    QStringList myImageFileList;
};

bool ZelImageProcessorPhotosInPhotoImpl::makeThumbnails(const QStringList& files, const QSize& block,
                                                        int progressMaximum, QList<QImage>* thumbnails)
{
    for (int i = 0; i < files.size(); ++i) {
        QImage thumbnail(block, QImage::Format_RGB32);
        if (thumbnail.isNull()) {
            thumbnails->clear();
            return true;
        }
        thumbnail.fill(Qt::black);
        const QImage photo(files.at(i));
        const QImage scaled = photo.isNull()
            ? photo
            : photo.scaled(block, Qt::KeepAspectRatioByExpanding, Qt::SmoothTransformation);
        if (!scaled.isNull()) {
            QPainter painter(&thumbnail);
            painter.setRenderHint(QPainter::Antialiasing, true);
            painter.drawImage(QPoint(0, 0), scaled, thumbnailArea(scaled.size(), block));
        }
        thumbnails->append(thumbnail);
        emit progress(kProgressName, QString(), i + 1, progressMaximum);
        if (resetCancel())
            return false;
    }
    return true;
}

QImage ZelImageProcessorPhotosInPhotoImpl::photosInPhoto(const QImage& source, const QStringList& files,
                                                         const QSize& block)
{
    if (files.isEmpty() || block.width() < 1 || block.height() < 1 || source.isNull())
        return unchanged(source);
    const int blockRows = source.height() / block.height() + 1;
    const int blockColumns = source.width() / block.width() + 1;
    const int progressMaximum = files.size() + blockRows;

    QList<QImage> thumbnails;
    if (!makeThumbnails(files, block, progressMaximum, &thumbnails))
        return source;
    QImage canvas(source.size(), QImage::Format_RGB32);
    if (thumbnails.isEmpty() || canvas.isNull())
        return unchanged(source);

    QPainter painter(&canvas);
    painter.setRenderHint(QPainter::Antialiasing, true);
    for (int r = 0; r < blockRows; ++r) {
        for (int c = 0; c < blockColumns; ++c) {
            const int index = zelTruncToInt(qrand() * kRandomScale * thumbnails.size());
            painter.drawImage(c * block.width(), r * block.height(), thumbnails.at(index));
        }
        emit progress(kProgressName, QString(), files.size() + r + 1, progressMaximum);
        if (resetCancel())
            return source;
    }
    painter.end();

    turnGrey(canvas);

    QPainter overlay(&canvas);
    overlay.setRenderHint(QPainter::Antialiasing, true);
    overlay.setCompositionMode(QPainter::CompositionMode_HardLight);
    overlay.drawImage(0, 0, source);
    overlay.end();

    emit finished(true);
    return canvas;
}

ZelImageProcessorPhotosInPhoto::ZelImageProcessorPhotosInPhoto(const QImage& image)
    : ZelImageProcessor(image)
{
    installImplementation(new ZelImageProcessorPhotosInPhotoImpl(image));
}

void ZelImageProcessorPhotosInPhoto::setBlockSize(const QSize& size)
{
    static_cast<ZelImageProcessorPhotosInPhotoImpl*>(myImpl)->setBlockSize(size);
}

void ZelImageProcessorPhotosInPhoto::setImageFileList(const QStringList& files)
{
    static_cast<ZelImageProcessorPhotosInPhotoImpl*>(myImpl)->setImageFileList(files);
}

#include "ZelImageProcessorPhotosInPhoto.moc"
