#include "gallery.h"

#include "console.h"
#include "effects.h"
#include "apply.h"
#include "imagefiles.h"
#include "messagecapture.h"
#include "options.h"
#include "showcase.h"

#include "ZelEffectRegistry.h"
#include "ZelImageProcessor.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QGenericArgument>
#include <QImageReader>
#include <QMetaMethod>
#include <QVariant>
#include <QVector>

#include <algorithm>

namespace {

const int maximumConstructorArguments = 10;
const int imageListLength = 4;

struct GalleryEntry
{
    QString shortName;
    QString className;
    QString name;
    QString toolTip;
    QString settings;  // the showcase settings the tile was made with, empty at the defaults
    QString imageFile; // empty when there is no picture
    QString failure;   // why there is none, worded to follow "effect X"
    double milliseconds = -1;
};

bool isImageArgument(const QByteArray& typeName)
{
    return typeName == "QImage" || typeName == "QList<QImage>";
}

// The invokable constructor whose arguments are all images or image lists, with the most
// arguments; -1 when there is none.
int galleryConstructor(const QMetaObject* meta)
{
    int best = -1;
    int bestCount = -1;
    for (int i = 0; i < meta->constructorCount(); ++i) {
        const QList<QByteArray> types = meta->constructor(i).parameterTypes();
        if (types.size() > maximumConstructorArguments || !std::all_of(types.begin(), types.end(), isImageArgument))
            continue;
        if (types.size() > bestCount) {
            best = i;
            bestCount = types.size();
        }
    }
    return best;
}

QList<QImage> copiesOf(const QImage& image)
{
    QList<QImage> images;
    for (int i = 0; i < imageListLength; ++i)
        images << image;
    return images;
}

// The readable pictures in the folder of inputPath (the input among them), by name; the others
// are named on stderr.
QStringList photosBeside(const QString& inputPath)
{
    const QDir folder = QFileInfo(inputPath).absoluteDir();
    QStringList patterns;
    for (const QByteArray& format : QImageReader::supportedImageFormats())
        patterns << QStringLiteral("*.") + QString::fromLatin1(format);
    QStringList photos;
    for (const QString& name : folder.entryList(patterns, QDir::Files, QDir::Name)) {
        // Read whole, so that a damaged photo is left out here rather than decoded in part by
        // the effect.
        const QString path = folder.filePath(name);
        QImage photo;
        QString reason;
        if (readImageFile(path, &photo, &reason))
            photos << path;
        else
            printErr(QStringLiteral("zelfx: gallery: leaving out %1 beside the input: %2\n").arg(path, reason));
    }
    return photos;
}

bool hasMethod(const ZelImageProcessor* effect, const char* signature)
{
    return effect->metaObject()->indexOfMethod(signature) >= 0;
}

// Effects on several photos show the input several times; photos-in-photo builds the input from
// the photos beside it, in blocks of a sixteenth of its shorter side.
void giveSeveralPhotos(ZelImageProcessor* effect, const QImage& input, const QString& inputPath)
{
    if (hasMethod(effect, "setImages(QList<QImage>)"))
        QMetaObject::invokeMethod(effect, "setImages", Qt::DirectConnection, Q_ARG(QList<QImage>, copiesOf(input)));
    if (hasMethod(effect, "setImageFileList(QStringList)") && hasMethod(effect, "setBlockSize(QSize)")) {
        const int side = qMax(8, qMin(input.width(), input.height()) / 16);
        QMetaObject::invokeMethod(effect, "setImageFileList", Qt::DirectConnection,
                                  Q_ARG(QStringList, photosBeside(inputPath)));
        QMetaObject::invokeMethod(effect, "setBlockSize", Qt::DirectConnection, Q_ARG(QSize, QSize(side, side)));
    }
}

// Every image argument gets the input, every image list several copies of it.
ZelImageProcessor* constructOn(const QMetaObject* meta, const QImage& input, QString* failure)
{
    const int index = galleryConstructor(meta);
    if (index < 0) {
        *failure = QStringLiteral("has no constructor that takes only images");
        return nullptr;
    }
    const QList<QByteArray> types = meta->constructor(index).parameterTypes();
    QVector<QVariant> values;
    for (const QByteArray& type : types) {
        values << (type == "QImage" ? QVariant::fromValue(input) : QVariant::fromValue(copiesOf(input)));
    }
    QGenericArgument a[maximumConstructorArguments];
    for (int i = 0; i < types.size(); ++i)
        a[i] = QGenericArgument(types.at(i).constData(), values[i].data());
    QObject* object = meta->newInstance(a[0], a[1], a[2], a[3], a[4], a[5], a[6], a[7], a[8], a[9]);
    auto* effect = qobject_cast<ZelImageProcessor*>(object);
    if (!effect) {
        delete object;
        *failure = QStringLiteral("cannot be constructed");
        return nullptr;
    }
    if (types.isEmpty())
        effect->setSourceImage(input);
    return effect;
}

GalleryEntry renderEffect(const QMetaObject* meta, const QImage& input, const QString& inputPath, const QDir& outDir)
{
    GalleryEntry entry;
    entry.shortName = effectShortName(meta);
    entry.className = QString::fromLatin1(meta->className());
    const std::unique_ptr<ZelImageProcessor> effect(constructOn(meta, input, &entry.failure));
    if (!effect)
        return entry;
    giveSeveralPhotos(effect.get(), input, inputPath);
    entry.settings = applyShowcase(effect.get(), input);
    entry.name = effect->effectName();
    entry.toolTip = effectToolTip(effect.get());

    QElapsedTimer timer;
    timer.start();
    const MessageCapture magickFailures(isMagickFailure);
    const QImage result = effect->result();
    entry.milliseconds = timer.nsecsElapsed() / 1e6;
    if (!magickFailures.messages().isEmpty()) {
        entry.failure = QStringLiteral("failed in ImageMagick: ") + magickFailures.messages().join(QStringLiteral("; "));
        return entry;
    }
    if (result.isNull()) {
        entry.failure = QStringLiteral("returned a null image");
        return entry;
    }
    const QString file = entry.shortName + QStringLiteral(".png");
    const Status saved = saveOutputImage(result, outDir.filePath(file), "png");
    if (!saved.ok()) {
        entry.failure = QStringLiteral("was not saved: ") + saved.message;
        return entry;
    }
    entry.imageFile = file;
    return entry;
}

QString entryHtml(const GalleryEntry& entry)
{
    const QString title = (entry.name.isEmpty() ? entry.shortName : entry.name).toHtmlEscaped();
    QString html = entry.failure.isEmpty() ? QStringLiteral("<figure>\n") : QStringLiteral("<figure class=\"failed\">\n");
    if (entry.imageFile.isEmpty()) {
        html += QStringLiteral("<div class=\"reason\">%1 %2</div>\n")
                    .arg(entry.shortName.toHtmlEscaped(), entry.failure.toHtmlEscaped());
    } else {
        html += QStringLiteral("<a href=\"%1\"><img src=\"%1\" alt=\"%2\"></a>\n")
                    .arg(entry.imageFile.toHtmlEscaped(), title);
    }
    html += QStringLiteral("<figcaption>\n<b>%1</b><br>\n").arg(title);
    if (!entry.toolTip.isEmpty())
        html += QStringLiteral("<span class=\"tooltip\">%1</span><br>\n").arg(entry.toolTip.toHtmlEscaped());
    html += QStringLiteral("<code>%1</code><br>\n").arg(entry.className.toHtmlEscaped());
    if (entry.milliseconds >= 0)
        html += QStringLiteral("<span class=\"time\">%1 ms</span>\n").arg(entry.milliseconds, 0, 'f', 1);
    if (!entry.settings.isEmpty())
        html += QStringLiteral("<pre class=\"settings\">%1</pre>\n").arg(entry.settings.toHtmlEscaped());
    html += QStringLiteral("</figcaption>\n</figure>\n");
    return html;
}

QString pageHtml(const QString& inputPath, const QList<GalleryEntry>& entries)
{
    QString html = QStringLiteral(
                       "<!DOCTYPE html>\n<html>\n<head>\n<meta charset=\"utf-8\">\n<title>zelfx gallery: %1</title>\n"
                       "<style>\n"
                       "body { font-family: sans-serif; margin: 1em; }\n"
                       ".grid { display: grid; grid-template-columns: repeat(auto-fill, minmax(220px, 1fr)); gap: 1em; }\n"
                       "figure { margin: 0; padding: 0.5em; border: 1px solid #ccc; }\n"
                       "figure img { display: block; max-width: 100%; max-height: 220px; margin: auto; }\n"
                       ".failed { background: #fee; }\n"
                       ".reason { color: #a00; }\n"
                       ".tooltip { color: #555; }\n"
                       ".settings { font-size: 75%; white-space: pre-wrap; background: #f4f4f4; }\n"
                       "</style>\n</head>\n<body>\n<h1>zelfx gallery: %1</h1>\n<div class=\"grid\">\n")
                       .arg(QFileInfo(inputPath).fileName().toHtmlEscaped());
    for (const GalleryEntry& entry : entries)
        html += entryHtml(entry);
    html += QStringLiteral("</div>\n</body>\n</html>\n");
    return html;
}

Status writePage(const QString& path, const QString& html)
{
    QFile file(path);
    const QByteArray bytes = html.toUtf8();
    if (file.open(QIODevice::WriteOnly | QIODevice::Truncate) && file.write(bytes) == bytes.size() && file.flush())
        return Status::success();
    return Status::failure(ExitOutputUnwritable,
                           QStringLiteral("cannot write gallery page %1: %2").arg(path, file.errorString()));
}

} // namespace

Status runGallery(const QStringList& arguments)
{
    const QString command = QStringLiteral("gallery");
    CommandLine commandLine;
    Status status = parseCommandLine(command, arguments, 0, &commandLine);
    if (status.ok())
        status = expectPositional(command, commandLine, {QStringLiteral("INPUT"), QStringLiteral("OUTDIR")});
    if (!status.ok())
        return status;
    const QString& inputPath = commandLine.positional.at(0);
    const QDir outDir(commandLine.positional.at(1));

    QImage input;
    status = loadInputImage(inputPath, &input);
    if (!status.ok())
        return status;
    if (!QDir().mkpath(outDir.path()))
        return Status::failure(ExitOutputUnwritable, QStringLiteral("cannot create output directory %1").arg(outDir.path()));

    QList<GalleryEntry> entries;
    int rendered = 0;
    for (const QMetaObject* meta : ZelEffectRegistry::effects()) {
        const GalleryEntry entry = renderEffect(meta, input, inputPath, outDir);
        if (entry.failure.isEmpty())
            ++rendered;
        else
            printErr(QStringLiteral("zelfx: gallery: effect %1 %2\n").arg(entry.shortName, entry.failure));
        entries << entry;
    }
    const QString pagePath = outDir.filePath(QStringLiteral("index.html"));
    status = writePage(pagePath, pageHtml(inputPath, entries));
    if (status.ok())
        printOut(QStringLiteral("%1: %2 of %3 effects rendered\n").arg(pagePath).arg(rendered).arg(entries.size()));
    return status;
}
