// Image bytes handed, as a small image, to one registered effect: result() and both previews.
//
// Input layout:
//   byte 0       the effect (index into the registry, modulo its size)
//   byte 1       n, then n bytes of parameter values (3 bytes per parameter, in key order;
//                parameters without bytes keep their defaults)
//   4 bytes      preview size and preview section
//   the rest     the image: a first byte of 0 means encoded file bytes (any format Qt reads),
//                anything else raw pixels (format, width and height from the next bytes)
//
// Sources are at most 64x64 so that one input costs milliseconds; encoded images announcing more
// than maxDecodedPixels are refused before they are decoded. A few effects cost a second or more
// per call whatever the size (ImageMagick's dithering quantizer clears a 128 MB cache each time);
// they run for one input in slowEffectShare, chosen by a hash of the whole input, so that a
// mutated input mostly lands elsewhere and the run stays affordable.

#include "FuzzSupport.h"

#include "ZelParameterDescriptionContainer.h"
#include "ZelParameterDescriptionNumber_p.h"

#include <QBuffer>
#include <QColor>
#include <QElapsedTimer>
#include <QImageReader>
#include <QVector>

#include <cmath>
#include <memory>

namespace {

const int maxSide = 64;
const qint64 maxDecodedPixels = 1024 * 1024;
const uint32_t slowEffectShare = 16;

bool isSlowEffect(const QMetaObject* meta)
{
    static const QStringList slow = {QStringLiteral("Sketch"), QStringLiteral("Emboss"), QStringLiteral("BlackWhite"),
                                     QStringLiteral("RedEyeRemoval"), QStringLiteral("ExampleGrayscale")};
    return slow.contains(ZelEffectRegistry::shortName(meta));
}

// FNV-1a.
uint32_t inputHash(const uint8_t* data, size_t size)
{
    uint32_t hash = 2166136261u;
    for (size_t i = 0; i < size; ++i)
        hash = (hash ^ data[i]) * 16777619u;
    return hash;
}

QImage decodedImage(const QByteArray& bytes)
{
    QBuffer buffer;
    buffer.setData(bytes);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer);
    const QSize size = reader.size();
    if (!size.isValid() || qint64(size.width()) * size.height() > maxDecodedPixels)
        return QImage();
    if (size.width() > maxSide || size.height() > maxSide)
        reader.setScaledSize(size.scaled(maxSide, maxSide, Qt::KeepAspectRatio).expandedTo(QSize(1, 1)));
    QImage image = reader.read();
    if (image.width() > maxSide || image.height() > maxSide)
        image = image.scaled(maxSide, maxSide, Qt::KeepAspectRatio);
    return image;
}

QImage rawImage(FuzzBytes& bytes)
{
    static const QImage::Format formats[] = {
        QImage::Format_ARGB32, QImage::Format_RGB32, QImage::Format_ARGB32_Premultiplied,
        QImage::Format_Indexed8, QImage::Format_Grayscale8, QImage::Format_Mono, QImage::Format_MonoLSB,
        QImage::Format_RGB888, QImage::Format_RGB16, QImage::Format_RGBA8888, QImage::Format_Grayscale16,
        QImage::Format_RGBX64, QImage::Format_A2RGB30_Premultiplied, QImage::Format_Alpha8};
    const QImage::Format format = formats[bytes.byte() % (sizeof(formats) / sizeof(formats[0]))];
    const int width = 1 + bytes.byte() % maxSide;
    const int height = 1 + bytes.byte() % maxSide;
    QImage image(width, height, format);
    if (image.isNull())
        return image;
    if (format == QImage::Format_Indexed8 || format == QImage::Format_Mono || format == QImage::Format_MonoLSB) {
        // A full table, so that every index in the pixels names a colour.
        QVector<QRgb> table(format == QImage::Format_Indexed8 ? 256 : 2);
        for (QRgb& colour : table)
            colour = qRgba(bytes.byte(), bytes.byte(), bytes.byte(), bytes.byte());
        image.setColorTable(table);
    }
    const QByteArray pixels = bytes.rest();
    for (int y = 0; y < height; ++y) {
        uchar* line = image.scanLine(y);
        for (int i = 0; i < image.bytesPerLine(); ++i)
            line[i] = pixels.isEmpty() ? uchar(i * 31 + y) : uchar(pixels.at((y * image.bytesPerLine() + i) % pixels.size()));
    }
    return image;
}

// A value for the parameter from three bytes: a bound, a point inside the range, one up to a
// span outside it, or a plain small number (kept within a span of the range as well); colours,
// sizes and switches likewise. Further out, layouts measured in percent of a tile ask for what
// they are asked for: FotoCollage with 32 x 39 tiles and outline and shadow of 511 % on a
// 48 x 21 photo, for example, gigabytes. Sizes stay below 24: an ImageGrid of 87 x 80 frames
// with 20 holes each kept Qt's path stroker busy for 50 s, slow rather than wrong.
QVariant fuzzedValue(const ZelParameterDescription& parameter, FuzzBytes& bytes, bool withinRange)
{
    const uint8_t choice = bytes.byte();
    const uint16_t word = bytes.word();
    const double fraction = word / 65535.0;
    const QVariant value = parameter.value();
    switch (value.type()) {
    case QVariant::Bool:
        return bool(word & 1);
    case QVariant::Color:
        return choice % 8 == 7 ? QColor() : QColor(qRgba(choice, word & 0xff, word >> 8, choice * 37));
    case QVariant::Size:
        return QSize(int(word % 32) - 8, int(choice % 32) - 8);
    case QVariant::SizeF:
        return QSizeF(word % 32 - 8.5 * fraction, choice % 32 - 8.5);
    case QVariant::Int:
    case QVariant::UInt:
    case QVariant::LongLong:
    case QVariant::Double:
        break;
    default:
        return QVariant(); // kept as it is
    }
    const auto* number = dynamic_cast<const ZelParameterDescriptionNumberImpl*>(parameter.constData());
    const bool ranged = number && number->min().isValid() && number->max().isValid();
    const double min = ranged ? number->min().toDouble() : 0;
    const double max = ranged ? number->max().toDouble() : 100;
    const double span = std::fabs(max - min);
    double x = 0;
    switch (choice % 8) {
    case 0: x = min; break;
    case 1: x = max; break;
    case 2: case 3: x = min + (max - min) * fraction; break;
    case 4: x = min - span * fraction - 1; break;
    case 5: x = max + span * fraction + 1; break;
    case 6: x = 0; break;
    case 7: x = qBound(min - span - 1, double(int(word % 1024) - 512), max + span + 1); break;
    }
    if (withinRange)
        x = qBound(min, x, max);
    if (value.type() == QVariant::Double)
        return x;
    if (value.type() == QVariant::UInt)
        return uint(std::max(0.0, x));
    if (value.type() == QVariant::LongLong)
        return qlonglong(x);
    return int(x);
}

// Parameters kept within their range. FotoCollage gives every cell of a grid larger than its
// preview the whole preview (QImage::copy of an empty rectangle), outline and shadow added: a
// grid of 40 x 40 with outline and shadow of 201 % asked for 2.5 GB and more, past libFuzzer's
// limit. Within its range the grid stays below 1.2 GB.
bool keptWithinRange(const QMetaObject* meta, const QString& key)
{
    return ZelEffectRegistry::shortName(meta) == QLatin1String("FotoCollage")
        && (key == QLatin1String("ANumberOfColumns") || key == QLatin1String("BNumberOfRows"));
}

// ZEL_FUZZ_VERBOSE=1 shows what an input runs, for replaying one.
bool verbose()
{
    static const bool on = qEnvironmentVariableIsSet("ZEL_FUZZ_VERBOSE");
    return on;
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    zelFuzzInitialize();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzBytes bytes(data, size);
    const QMetaObject* meta = registeredEffects().at(bytes.byte() % registeredEffects().size());
    if (isSlowEffect(meta) && inputHash(data, size) % slowEffectShare != 0)
        return 0;
    FuzzBytes parameterBytes = bytes.take(bytes.byte());
    const int previewWidth = bytes.byte() % 80, previewHeight = bytes.byte() % 80;
    const uint8_t sectionA = bytes.byte(), sectionB = bytes.byte();
    const QImage image = bytes.byte() == 0 ? decodedImage(bytes.rest()) : rawImage(bytes);

    seedRandom();
    std::unique_ptr<ZelImageProcessor> effect(ZelEffectRegistry::create(meta, image));
    if (!effect)
        return 0;
    ZelUIParameterMap values;
    const ZelParameterDescriptionContainer container = effect->parameterContainer();
    for (const QString& key : container.parameterNames()) {
        if (parameterBytes.atEnd())
            break;
        const QVariant value = fuzzedValue(container.parameter(key), parameterBytes, keptWithinRange(meta, key));
        if (value.isValid())
            values.insert(key, qMakePair(value, true));
    }
    effect->setParameters(values);
    if (verbose()) {
        QStringList shown;
        for (auto it = values.constBegin(); it != values.constEnd(); ++it) {
            const QVariant& value = it.value().first;
            const QSizeF size = value.toSizeF();
            shown << it.key() + QLatin1Char('=')
                    + (value.canConvert<QSizeF>() ? QStringLiteral("%1x%2").arg(size.width()).arg(size.height()) : value.toString());
        }
        fprintf(stderr, "%s on %dx%d (format %d): %s\n", meta->className(), image.width(), image.height(),
                int(image.format()), qPrintable(shown.join(QLatin1Char(' '))));
    }

    QElapsedTimer timer;
    timer.start();
    (void)effect->result();
    (void)effect->generatePreview(QSize(previewWidth, previewHeight));
    // A section mostly inside the source, now and then reaching a few pixels past its edges.
    const int w = qMax(1, image.width()), h = qMax(1, image.height());
    const QRect section(sectionA % (w + 4) - 2, sectionB % (h + 4) - 2, 1 + sectionB % w, 1 + sectionA % h);
    (void)effect->generatePreview(section);
    if (verbose())
        fprintf(stderr, "%s took %lld ms\n", meta->className(), timer.elapsed());
    return 0;
}
