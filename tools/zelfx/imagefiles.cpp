#include "imagefiles.h"

#include <QImageReader>
#include <QImageWriter>

bool readImageFile(const QString& path, QImage* image, QString* reason)
{
    QImageReader reader(path);
    *image = reader.read();
    if (!image->isNull())
        return true;
    *reason = reader.errorString();
    return false;
}

Status loadInputImage(const QString& path, QImage* image)
{
    QString reason;
    if (readImageFile(path, image, &reason))
        return Status::success();
    return Status::failure(ExitInputUnreadable,
                           QStringLiteral("cannot read input image %1: %2").arg(path, reason));
}

Status saveOutputImage(const QImage& image, const QString& path, const QByteArray& format)
{
    QImageWriter writer(path, format);
    if (writer.write(image))
        return Status::success();
    return Status::failure(ExitOutputUnwritable,
                           QStringLiteral("cannot write output image %1: %2").arg(path, writer.errorString()));
}
