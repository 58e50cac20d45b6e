#include "bench.h"

#include "console.h"
#include "effects.h"
#include "options.h"
#include "parameteroptions.h"

#include "ZelImageProcessor.h"
#include "ZelMagickWandWrapper_p.h"

#include <QMetaClassInfo>
#include <QMetaObject>
#include <QVector>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstring>
#include <memory>
#include <vector>

namespace {

// The size of the previews an editing panel shows beside its controls.
const QSize kPreviewSize(256, 256);

quint32 pixelHash(quint32 x, quint32 y)
{
    quint32 h = x * 374761393u + y * 668265263u;
    h = (h ^ (h >> 13)) * 1274126177u;
    return h ^ (h >> 16);
}

int clampByte(int value)
{
    return qBound(0, value, 255);
}

// A landscape: sky over a rolling horizon, a sun disc, striped fields and a building with a grid
// of windows, all with a little per-pixel noise.
struct Landscape
{
    explicit Landscape(const QSize& size)
        : width(size.width())
        , height(size.height())
        , horizon(size.width())
    {
        const double turn = 6.283185307179586;
        for (int x = 0; x < width; ++x) {
            const double fx = double(x) / width;
            horizon[x] = int(height * (0.55 + 0.06 * std::sin(turn * 2 * fx) + 0.02 * std::sin(turn * 9 * fx)));
        }
        sunX = 0.72 * width;
        sunY = 0.2 * height;
        sunRadius = 0.08 * std::min(width, height);
        building = QRect(int(0.12 * width), int(0.3 * height), int(0.2 * width), height);
        windowCell = std::max(4, width / 80);
    }

    QRgb pixel(int x, int y) const
    {
        int r, g, b;
        if (building.contains(x, y)) {
            const bool window = (x - building.left()) % windowCell < windowCell * 3 / 5
                && (y - building.top()) % (2 * windowCell) < windowCell;
            r = window ? 225 : 105;
            g = window ? 205 : 100;
            b = window ? 120 : 98;
        } else if (y < horizon[x]) {
            const double t = double(y) / std::max(1, horizon[x]);
            const double dx = x - sunX;
            const double dy = y - sunY;
            const bool sun = dx * dx + dy * dy < sunRadius * sunRadius;
            r = sun ? 255 : 70 + int(120 * t);
            g = sun ? 236 : 120 + int(90 * t);
            b = sun ? 160 : 230 - int(30 * t);
        } else {
            const double t = double(y - horizon[x]) / std::max(1, height - horizon[x]);
            const int stripe = ((x / 23 + y / 17) % 2) * 14;
            r = 60 + int(70 * t) + stripe;
            g = 110 - int(40 * t) + stripe;
            b = 40 + int(20 * t);
        }
        const int noise = int(pixelHash(quint32(x), quint32(y)) & 15) - 8;
        return qRgb(clampByte(r + noise), clampByte(g + noise), clampByte(b + noise));
    }

    int width;
    int height;
    std::vector<int> horizon;
    double sunX;
    double sunY;
    double sunRadius;
    QRect building;
    int windowCell;
};

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    const size_t middle = values.size() / 2;
    return values.size() % 2 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

template <typename Work>
double medianMilliseconds(int repeat, Work work)
{
    std::vector<double> times;
    for (int i = 0; i < repeat; ++i) {
        const auto start = std::chrono::steady_clock::now();
        work();
        times.push_back(std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count());
    }
    return median(times);
}

// A memcpy of the image into a buffer that was written before: the memory bandwidth baseline.
// With freshDestination, into newly allocated memory whose pages are touched for the first
// time, as the destination of every result() is; on virtual machines those page faults can
// cost several warm copies.
double memcpyMilliseconds(const QImage& image, int repeat, bool freshDestination)
{
    const size_t bytes = size_t(image.sizeInBytes());
    std::unique_ptr<uchar[]> warm(new uchar[bytes]);
    volatile uchar sink = 0;
    auto work = [&] {
        std::unique_ptr<uchar[]> fresh(freshDestination ? new uchar[bytes] : nullptr);
        uchar* copy = freshDestination ? fresh.get() : warm.get();
        std::memcpy(copy, image.constBits(), bytes);
        sink = copy[bytes / 2];
    };
    work();
    (void)sink;
    return medianMilliseconds(repeat, work);
}

// The bare exchange the bridge adds to every ImageMagick effect: the image into a wand and back.
double magickRoundTripMilliseconds(const QImage& photo, int repeat)
{
    const ZelMagickWandWrapper starter(nullptr); // ImageMagick's start of life
    const QImage argb = photo.convertToFormat(QImage::Format_ARGB32);
    QImage back(argb.size(), QImage::Format_ARGB32);
    const size_t width = size_t(argb.width());
    const size_t height = size_t(argb.height());
    auto work = [&] {
        MagickWand* wand = NewMagickWand();
        MagickConstituteImage(wand, width, height, "BGRA", CharPixel, argb.constBits());
        MagickExportImagePixels(wand, 0, 0, width, height, "BGRA", CharPixel, back.bits());
        DestroyMagickWand(wand);
    };
    work();
    return medianMilliseconds(repeat, work);
}

QString benchmarkClassInfo(const QMetaObject* effect)
{
    const int index = effect->indexOfClassInfo("ZelBenchmark");
    return index < 0 ? QString() : QString::fromUtf8(effect->classInfo(index).value());
}

} // namespace

QImage syntheticPhoto(const QSize& size)
{
    QImage image(size, QImage::Format_ARGB32);
    if (image.isNull())
        return image;
    const Landscape landscape(size);
    for (int y = 0; y < size.height(); ++y) {
        QRgb* line = reinterpret_cast<QRgb*>(image.scanLine(y));
        for (int x = 0; x < size.width(); ++x)
            line[x] = landscape.pixel(x, y);
    }
    return image;
}

bool isBenchmarked(const QMetaObject* effect)
{
    return !benchmarkClassInfo(effect).startsWith(QLatin1String("skip"));
}

Status runBench(const QStringList& arguments)
{
    const QString command = QStringLiteral("bench");
    CommandLine commandLine;
    Status status = parseCommandLine(command, arguments, AcceptParameterOptions | AcceptBenchOptions, &commandLine);
    if (status.ok())
        status = expectPositional(command, commandLine, {QStringLiteral("EFFECT")});
    const QMetaObject* meta = nullptr;
    if (status.ok())
        status = findEffect(commandLine.positional.at(0), &meta);
    if (!status.ok())
        return status;
    const QString name = effectShortName(meta);
    if (!isBenchmarked(meta))
        printErr(QStringLiteral("zelfx: note: effect %1 is left out of benchmark runs (%2)\n").arg(name, benchmarkClassInfo(meta)));

    const QSize size = commandLine.benchSize;
    const QImage photo = syntheticPhoto(size);
    if (photo.isNull()) {
        return Status::failure(ExitUsage, QStringLiteral("cannot allocate a %1x%2 image to benchmark effect %3")
                                              .arg(size.width())
                                              .arg(size.height())
                                              .arg(name));
    }
    std::unique_ptr<ZelImageProcessor> effect;
    status = createEffect(meta, photo, &effect);
    if (status.ok())
        status = applyParameterOptions(effect.get(), commandLine.parameterOptions);
    if (!status.ok())
        return status;

    const quint64 wandsBefore = zelMagickWandsCreated();
    if (effect->result().isNull())
        return Status::failure(ExitNullImage, QStringLiteral("effect %1 returned a null image").arg(name));
    const bool throughImageMagick = zelMagickWandsCreated() != wandsBefore;
    // Through ImageMagick, each run through the bridge is followed by the same result() with bare
    // wrappers, so that both medians see the same state of the machine.
    std::vector<double> effectTimes, bareTimes;
    for (int i = 0; i < commandLine.repeat; ++i) {
        effectTimes.push_back(medianMilliseconds(1, [&effect] { effect->result(); }));
        if (throughImageMagick) {
            bareTimes.push_back(medianMilliseconds(1, [&effect] {
                const ZelMagickBareScope bare;
                effect->result();
            }));
        }
    }
    const double effectMs = median(effectTimes);
    const double previewMs = medianMilliseconds(commandLine.repeat, [&effect] { effect->generatePreview(kPreviewSize); });
    // A floor keeps the ratio finite for tiny images.
    const double copyMs = std::max(memcpyMilliseconds(photo, commandLine.repeat, false), 1e-6);
    const double freshCopyMs = std::max(memcpyMilliseconds(photo, commandLine.repeat, true), 1e-6);
    const double pixels = double(size.width()) * size.height();

    printOut(QStringLiteral("median_ms\t%1\nns_per_pixel\t%2\nmemcpy_ms\t%3\nratio_to_memcpy\t%4\n"
                            "fresh_memcpy_ms\t%5\nratio_to_fresh_memcpy\t%6\n")
                 .arg(effectMs, 0, 'f', 6)
                 .arg(effectMs * 1e6 / pixels, 0, 'f', 3)
                 .arg(copyMs, 0, 'f', 6)
                 .arg(effectMs / copyMs, 0, 'f', 3)
                 .arg(freshCopyMs, 0, 'f', 6)
                 .arg(effectMs / freshCopyMs, 0, 'f', 3));
    if (throughImageMagick) {
        const double bareMs = std::max(median(bareTimes), 1e-6);
        printOut(QStringLiteral("magick_bare_ms\t%1\nratio_to_magick_bare\t%2\nmagick_roundtrip_ms\t%3\n")
                     .arg(bareMs, 0, 'f', 6)
                     .arg(effectMs / bareMs, 0, 'f', 3)
                     .arg(magickRoundTripMilliseconds(photo, commandLine.repeat), 0, 'f', 6));
    }
    printOut(QStringLiteral("preview_ms\t%1\n").arg(previewMs, 0, 'f', 6));
    return Status::success();
}
