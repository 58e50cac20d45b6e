#include "imagefiles.h"

#include "messagecapture.h"

#include <QFileInfo>
#include <QImageReader>
#include <QImageWriter>
#include <QSaveFile>

#include <cstring>

namespace {

// What the file is, when that alone rules out reading it; empty otherwise.
QString unreadableFile(const QString& path)
{
    const QFileInfo file(path);
    if (!file.exists())
        return QStringLiteral("no such file");
    if (file.isDir())
        return QStringLiteral("is a directory");
    if (!file.isReadable())
        return QStringLiteral("permission denied");
    if (file.size() == 0)
        return QStringLiteral("the file is empty");
    return QString();
}

// The image plugins report through Qt's image-IO categories (libjpeg's and libtiff's complaints as
// warnings, libpng's as info) and some through the default one; every message while one file is
// read is about that file.
bool isReaderMessage(QtMsgType type, const char*)
{
    return type != QtDebugMsg;
}

// libpng warns about harmless things too (an sRGB profile it knows to be wrong, over-long text
// chunks); those leave the pixels whole.
bool meansDamage(const QString& warning)
{
    static const char* const harmless[] = {"iCCP", "sRGB", "tEXt", "zTXt", "iTXt", "text chunk", "gamma"};
    for (const char* word : harmless) {
        if (warning.contains(QLatin1String(word), Qt::CaseInsensitive))
            return false;
    }
    return true;
}

} // namespace

bool readImageFile(const QString& path, QImage* image, QString* reason, bool autoTransform)
{
    *reason = unreadableFile(path);
    if (!reason->isEmpty()) {
        *image = QImage();
        return false;
    }
    QImageReader reader(path);
    reader.setAutoTransform(autoTransform);
    const MessageCapture warnings(isReaderMessage);
    *image = reader.read();
    if (image->isNull()) {
        QStringList why{reader.error() == QImageReader::UnsupportedFormatError
                            ? QStringLiteral("not an image, or in a format Qt cannot read")
                            : reader.errorString()};
        why << warnings.messages();
        *reason = why.join(QStringLiteral("; "));
        return false;
    }
    QStringList damage;
    for (const QString& warning : warnings.messages()) {
        if (meansDamage(warning))
            damage << warning.trimmed();
    }
    if (damage.isEmpty())
        return true;
    *image = QImage();
    *reason = QStringLiteral("damaged or truncated image data (%1)").arg(damage.join(QStringLiteral("; ")));
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
    const QByteArray writtenFormat = format.isEmpty() ? QFileInfo(path).suffix().toLower().toLatin1() : format;
    QSaveFile file(path);
    QImageWriter writer(&file, writtenFormat);
    QString reason;
    if (!file.open(QIODevice::WriteOnly))
        reason = file.errorString();
    else if (!writer.write(image))
        reason = writer.errorString();
    else if (!file.commit())
        reason = file.errorString();
    if (reason.isEmpty())
        return Status::success();
    file.cancelWriting();
    return Status::failure(ExitOutputUnwritable, QStringLiteral("cannot write output image %1: %2").arg(path, reason));
}
