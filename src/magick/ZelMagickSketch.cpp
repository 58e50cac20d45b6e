#include "ZelMagickSketch_p.h"

#include "ZelProgressSignalizer.h"

#include <QRect>
#include <QString>

#include <algorithm>
#include <cmath>
#include <functional>
#include <new>

namespace {

using Row = std::vector<std::uint16_t>;

constexpr double kQuantumRange = 65535.0;
// ImageMagick's square root of two pi, digit for digit, for the same blur weights.
constexpr double kSqrt2Pi = 2.50662827463100024161235523934010416269302368164062;

inline double degreesToRadians(double degrees)
{
    return 3.14159265358979323846264338327950288419716939937510 * degrees / 180.0;
}

// ImageMagick's rounding of a computed value into a 16-bit quantum (ClampToQuantum, without HDRI).
inline std::uint16_t clampToQuantum(double value)
{
    if (value <= 0.0)
        return 0;
    if (value >= kQuantumRange)
        return 65535;
    return static_cast<std::uint16_t>(value + 0.5);
}

inline int clampTo(int value, int last)
{
    return value < 0 ? 0 : (value > last ? last : value);
}

// Reports progress of one step and tells whether a cancel asks to stop. The name is set after the
// progress, in the order ImageMagick's monitor uses.
class Progress
{
public:
    Progress(ZelProgressSignalizer* signalizer, const char* step)
        : mySignalizer(signalizer)
        , myStep(QString::fromLatin1(step))
    {
    }

    bool report(int current, int total)
    {
        if (!mySignalizer)
            return true;
        mySignalizer->setProgress(current, total);
        mySignalizer->setProcessName(myStep);
        return !(mySignalizer->cancelled() && mySignalizer->cancelAllowed());
    }

private:
    ZelProgressSignalizer* mySignalizer;
    QString myStep;
};

// Rows of the noise canvas in the order ImageMagick draws them: one pseudo-random value a pixel,
// row after row, scaled to the quantum range.
class NoiseRows
{
public:
    NoiseRows(int width, int ringSize)
        : myWidth(width)
        , myRing(std::size_t(ringSize), Row(std::size_t(width)))
        , myRandom(AcquireRandomInfo())
    {
    }
    ~NoiseRows() { DestroyRandomInfo(myRandom); }
    NoiseRows(const NoiseRows&) = delete;
    NoiseRows& operator=(const NoiseRows&) = delete;

    // Row y, drawing every row up to it first; only the last ring-size rows are kept.
    const Row& row(int y)
    {
        while (myDrawn <= y) {
            Row& row = myRing[std::size_t(myDrawn) % myRing.size()];
            for (int x = 0; x < myWidth; ++x)
                row[std::size_t(x)] = clampToQuantum(kQuantumRange * GetPseudoRandomValue(myRandom));
            ++myDrawn;
        }
        return myRing[std::size_t(y) % myRing.size()];
    }

private:
    int myWidth;
    std::vector<Row> myRing;
    RandomInfo* myRandom;
    int myDrawn = 0;
};

// ImageMagick's motion blur: width taps along the angle, weighted by a one-sided Gaussian, each
// tap reading the nearest canvas pixel when it falls outside.
class MotionBlur
{
public:
    MotionBlur(int width, int height, std::size_t taps, double sigma, double angle)
        : myWidth(width)
        , myHeight(height)
        , mySum(std::size_t(width))
    {
        const double s = std::fabs(sigma) < MagickEpsilon ? MagickEpsilon : sigma;
        double normalize = 0.0;
        for (std::size_t i = 0; i < taps; ++i) {
            myKernel.push_back(std::exp(-(double(i) * double(i)) / (2.0 * s * s)) / (kSqrt2Pi * s));
            normalize += myKernel.back();
        }
        for (double& k : myKernel)
            k /= normalize;
        const double px = double(taps) * std::sin(degreesToRadians(angle));
        const double py = double(taps) * std::cos(degreesToRadians(angle));
        for (std::size_t i = 0; i < taps; ++i) {
            myDx.push_back(int(std::ceil(double(i) * py / std::hypot(px, py) - 0.5)));
            myDy.push_back(int(std::ceil(double(i) * px / std::hypot(px, py) - 0.5)));
        }
        myMinDy = *std::min_element(myDy.begin(), myDy.end());
        myMaxDy = *std::max_element(myDy.begin(), myDy.end());
    }

    int rowsSpanned() const { return myMaxDy - myMinDy + 1; }

    // Blurred row y; noise(y) gives canvas row y.
    void blurRow(int y, NoiseRows& noise, Row& out)
    {
        std::fill(mySum.begin(), mySum.end(), 0.0);
        const int lastX = myWidth - 1;
        for (std::size_t i = 0; i < myKernel.size(); ++i) {
            const std::uint16_t* source = noise.row(clampTo(y + myDy[i], myHeight - 1)).data();
            const double k = myKernel[i];
            const int dx = myDx[i];
            // Columns whose tap falls inside the canvas, and those left and right of them.
            const int begin = std::min(std::max(0, -dx), myWidth);
            const int end = std::max(std::min(myWidth, myWidth - dx), begin);
            double* sum = mySum.data();
            for (int x = 0; x < begin; ++x)
                sum[x] += k * source[clampTo(x + dx, lastX)];
            const std::uint16_t* shifted = source + dx;
            for (int x = begin; x < end; ++x)
                sum[x] += k * shifted[x];
            for (int x = end; x < myWidth; ++x)
                sum[x] += k * source[clampTo(x + dx, lastX)];
        }
        for (int x = 0; x < myWidth; ++x)
            out[std::size_t(x)] = clampToQuantum(mySum[std::size_t(x)]);
    }

    int lastRowNeeded(int y) const { return std::min(y + myMaxDy, myHeight - 1); }

private:
    int myWidth;
    int myHeight;
    std::vector<double> myKernel;
    std::vector<int> myDx;
    std::vector<int> myDy;
    int myMinDy = 0;
    int myMaxDy = 0;
    std::vector<double> mySum;
};

// The edge filter fed row by row. Column sums over the 2r + 1 rows around the current row are
// kept up to date by adding the row entering and subtracting the row leaving; a running sum along
// the row then gives each square's total. Rows outside repeat the first or last row, columns
// outside the first or last column, as ImageMagick's edge virtual pixels do.
//
// Saturating: the response of a picture with alpha. ImageMagick then weights every tap by its
// alpha and divides by the sum of the weighted taps, which for this kernel is zero; its guard
// against division by zero multiplies by 1e12 instead, so every positive response becomes white
// and the filter tells only whether a pixel is brighter than the mean of its square.
class EdgeFilter
{
public:
    using Sink = std::function<bool(int y, const Row& row)>;

    EdgeFilter(int width, int height, int r, bool saturating, Sink sink)
        : myWidth(width)
        , myHeight(height)
        , myR(r)
        , mySaturating(saturating)
        , myRing(std::size_t(2 * r + 2), Row(std::size_t(width)))
        , myColumns(std::size_t(width), 0)
        , myOut(std::size_t(width))
        , mySink(std::move(sink))
    {
    }

    // Takes the next input row; emits every output row that row completes. False when the sink
    // asks to stop.
    bool push(const Row& row)
    {
        myRing[std::size_t(myReceived) % myRing.size()] = row;
        ++myReceived;
        const int ready = myReceived == myHeight ? myHeight : myReceived - myR; // rows with all inputs
        while (myEmitted < ready) {
            advanceColumns(myEmitted);
            filterRow(myEmitted);
            if (!mySink(myEmitted, myOut))
                return false;
            ++myEmitted;
        }
        return true;
    }

private:
    const Row& input(int y) const { return myRing[std::size_t(clampTo(y, myHeight - 1)) % myRing.size()]; }

    void advanceColumns(int y)
    {
        std::int64_t* columns = myColumns.data();
        if (y == 0) {
            for (int v = -myR; v <= myR; ++v) {
                const std::uint16_t* in = input(v).data();
                for (int x = 0; x < myWidth; ++x)
                    columns[x] += in[x];
            }
            return;
        }
        const std::uint16_t* entering = input(y + myR).data();
        const std::uint16_t* leaving = input(y - myR - 1).data();
        for (int x = 0; x < myWidth; ++x)
            columns[x] += std::int64_t(entering[x]) - std::int64_t(leaving[x]);
    }

    void filterRow(int y)
    {
        const std::int64_t* columns = myColumns.data();
        const std::uint16_t* centre = input(y).data();
        const int last = myWidth - 1;
        const std::int64_t taps = std::int64_t(2 * myR + 1) * (2 * myR + 1);
        std::int64_t box = 0;
        for (int u = -myR; u <= myR; ++u)
            box += columns[clampTo(u, last)];
        for (int x = 0; x < myWidth; ++x) {
            if (x > 0)
                box += columns[clampTo(x + myR, last)] - columns[clampTo(x - myR - 1, last)];
            std::int64_t value = taps * centre[x] - box;
            if (mySaturating && value > 0)
                value = 65535;
            myOut[std::size_t(x)] = std::uint16_t(value < 0 ? 0 : (value > 65535 ? 65535 : value));
        }
    }

    int myWidth;
    int myHeight;
    int myR;
    bool mySaturating;
    std::vector<Row> myRing;
    std::vector<std::int64_t> myColumns;
    Row myOut;
    Sink mySink;
    int myReceived = 0;
    int myEmitted = 0;
};

// ImageMagick's normalize followed by its negate, as one table: the darkest 0.15 % and the
// brightest 0.05 % of the pixels are clipped, the rest stretched over the quantum range, then
// inverted.
std::vector<std::uint16_t> normalizeNegateTable(const std::vector<double>& histogram, double pixels)
{
    const double blackPoint = pixels * 0.0015;
    const double whitePoint = pixels * 0.9995;
    int black = 0;
    double intensity = 0.0;
    for (black = 0; black <= 65535; ++black) {
        intensity += histogram[std::size_t(black)];
        if (intensity > blackPoint)
            break;
    }
    int white = 65535;
    intensity = 0.0;
    for (white = 65535; white != 0; --white) {
        intensity += histogram[std::size_t(white)];
        if (intensity > pixels - whitePoint)
            break;
    }
    std::vector<std::uint16_t> table(65536);
    for (int i = 0; i <= 65535; ++i) {
        std::uint16_t stretched = 0;
        if (i > white) {
            stretched = 65535;
        } else if (i >= black && black != white) {
            const double value = 65535.0 * (double(i) - black) / (double(white) - black);
            stretched = value <= 0.0 ? 0 : (value >= 65535.0 ? 65535 : std::uint16_t(value + 0.5));
        }
        table[std::size_t(i)] = std::uint16_t(65535 - stretched);
    }
    return table;
}

// The picture is composited in tiles of at most this side: a tile's canvas (twice the side plus
// the margins) stays a few megabytes and within ImageMagick's side limits.
constexpr int kTileSide = 512;
// Canvas pixels beyond a tile on every side for the halving: more than the filter's reach (a
// Mitchell or Lanczos filter of support 2 or 3, widened to 4 or 6 canvas pixels), and even, so
// that tile and canvas stay aligned two to one. ImageMagick's resize then weighs every pixel of a
// tile exactly as in the whole canvas (its order of passes is the same for any size halved).
constexpr int kResizeMargin = 8;

// The sketch of one tile of the picture, in place: the tile's canvas, widened by the margins, is
// halved by ImageMagick, laid over the tile with its colour dodge and blended 20 / 80 with the
// tile. The canvas is imported into a canvas-sized clone of the picture, as ImageMagick's noise
// canvas is one, so that it has the attributes (alpha, colour space) that select ImageMagick's
// resize filter. False when ImageMagick fails (memory).
bool sketchTile(Image* picture, const QRect& tile, const std::vector<std::uint16_t>& canvas, int canvasWidth,
                int canvasHeight, const std::vector<std::uint16_t>& table, std::vector<std::uint16_t>& pixels,
                ExceptionInfo* exception)
{
    const QRect wide = QRect(QPoint(2 * tile.left() - kResizeMargin, 2 * tile.top() - kResizeMargin),
                             QPoint(2 * tile.right() + 1 + kResizeMargin, 2 * tile.bottom() + 1 + kResizeMargin))
                           .intersected(QRect(0, 0, canvasWidth, canvasHeight));
    Image* dodge = CloneImage(picture, std::size_t(wide.width()), std::size_t(wide.height()), MagickTrue, exception);
    if (!dodge)
        return false;
    // The tile images report nothing: the progress is the tile loop's.
    SetImageProgressMonitor(dodge, nullptr, nullptr);
    SetImageStorageClass(dodge, DirectClass);
    pixels.resize(std::size_t(wide.width()) * std::size_t(wide.height()) * 4);
    std::uint16_t* out = pixels.data();
    for (int y = wide.top(); y <= wide.bottom(); ++y) {
        const std::uint16_t* in = canvas.data() + std::size_t(y) * std::size_t(canvasWidth);
        for (int x = wide.left(); x <= wide.right(); ++x) {
            const std::uint16_t grey = table[in[x]];
            out[0] = out[1] = out[2] = grey;
            out[3] = 65535;
            out += 4;
        }
    }
    ImportImagePixels(dodge, 0, 0, std::size_t(wide.width()), std::size_t(wide.height()), "RGBA", ShortPixel,
                      pixels.data());
    Image* halved = ResizeImage(dodge, std::size_t(wide.width() / 2), std::size_t(wide.height() / 2), dodge->filter,
                                dodge->blur, exception);
    DestroyImage(dodge);

    const RectangleInfo part = {std::size_t(tile.width()), std::size_t(tile.height()), tile.x(), tile.y()};
    Image* blend = CropImage(picture, &part, exception);
    if (blend)
        SetImageProgressMonitor(blend, nullptr, nullptr);
    Image* sketch = blend ? CloneImage(blend, 0, 0, MagickTrue, exception) : nullptr;
    const bool made = halved && blend && sketch;
    if (made) {
        blend->page = sketch->page = halved->page = RectangleInfo{0, 0, 0, 0};
        CompositeImage(sketch, ColorDodgeCompositeOp, halved, wide.x() / 2 - tile.x(), wide.y() / 2 - tile.y());
        SetImageArtifact(blend, "compose:args", "20x80");
        CompositeImage(sketch, BlendCompositeOp, blend, 0, 0);
        pixels.resize(std::size_t(tile.width()) * std::size_t(tile.height()) * 4);
        ExportImagePixels(sketch, 0, 0, std::size_t(tile.width()), std::size_t(tile.height()), "RGBA", ShortPixel,
                          pixels.data(), exception);
        ImportImagePixels(picture, tile.x(), tile.y(), std::size_t(tile.width()), std::size_t(tile.height()), "RGBA",
                          ShortPixel, pixels.data());
    }
    for (Image* image : {halved, blend, sketch})
        if (image)
            DestroyImage(image);
    return made;
}

} // namespace

std::vector<std::uint16_t> zelSketchEdge(const std::vector<std::uint16_t>& pixels, int width, int height, int r,
                                         bool saturating)
{
    std::vector<std::uint16_t> result(pixels.size());
    if (width <= 0 || height <= 0 || pixels.size() != std::size_t(width) * std::size_t(height))
        return result;
    EdgeFilter edge(width, height, r, saturating, [&](int y, const Row& row) {
        std::copy(row.begin(), row.end(), result.begin() + std::ptrdiff_t(y) * width);
        return true;
    });
    Row row(static_cast<std::size_t>(width), 0);
    for (int y = 0; y < height; ++y) {
        std::copy(pixels.begin() + std::ptrdiff_t(y) * width, pixels.begin() + std::ptrdiff_t(y + 1) * width,
                  row.begin());
        edge.push(row);
    }
    return result;
}

void zelSketchWand(MagickWand* wand, double radius, double sigma, double angle, ZelProgressSignalizer* signalizer)
{
    Image* picture = GetImageFromMagickWand(wand);
    if (!picture || picture->columns == 0 || picture->rows == 0)
        return;
    if (signalizer && signalizer->cancelled() && signalizer->cancelAllowed())
        return;
    const std::size_t width = picture->columns;
    const std::size_t height = picture->rows;
    // ImageMagick chooses the widths from sigma when the radius is 0, and refuses canvases beyond
    // its side limits; both cases are left to ImageMagick itself. So is a picture without alpha,
    // which the bridge never makes (it hands over "BGRA"): its edge filter and resize differ.
    if (!(radius > MagickEpsilon) || radius > 1000.0 || width > 1u << 28 || height > 1u << 28
        || picture->matte == MagickFalse) {
        MagickSketchImage(wand, radius, sigma, angle);
        return;
    }
    const int canvasWidth = int(2 * width);
    const int canvasHeight = int(2 * height);
    const std::size_t taps = std::size_t(2.0 * std::ceil(radius) + 1.0);
    const int r = int(taps - 1) / 2;

    // Noise, blur and edge filter, streamed: only the edge-filtered canvas is kept, with the
    // histogram the normalization needs.
    MotionBlur blur(canvasWidth, canvasHeight, taps, sigma, angle);
    NoiseRows noise(canvasWidth, blur.rowsSpanned() + 1);
    // Memory refused for the canvas leaves the picture quantized, as ImageMagick's refusal does.
    std::vector<std::uint16_t> canvas;
    try {
        canvas.resize(std::size_t(canvasWidth) * std::size_t(canvasHeight));
    } catch (const std::bad_alloc&) {
        return;
    }
    std::vector<double> histogram(65536, 0.0);
    // The canvas is a clone of the picture, with its alpha channel: the filter saturates.
    EdgeFilter edge(canvasWidth, canvasHeight, r, true, [&](int y, const Row& row) {
        std::copy(row.begin(), row.end(), canvas.begin() + std::ptrdiff_t(y) * canvasWidth);
        for (std::uint16_t value : row)
            histogram[value] += 1.0;
        return true;
    });
    Progress blurProgress(signalizer, "Blur");
    Row blurred(static_cast<std::size_t>(canvasWidth), 0);
    for (int y = 0; y < canvasHeight; ++y) {
        if (y % 16 == 0 && !blurProgress.report(y, canvasHeight))
            return;
        blur.blurRow(y, noise, blurred);
        edge.push(blurred);
    }
    const std::vector<std::uint16_t> table = normalizeNegateTable(histogram, double(canvasWidth) * canvasHeight);
    histogram = std::vector<double>();

    // Halving and composites, ImageMagick's own, tile by tile.
    // The picture keeps its palette class while its pixels are replaced: converting it would copy
    // its pixel cache, to disk for a large photo under a strict policy. Its pixels are what is
    // exported; the stale palette indexes are not read.
    ExceptionInfo* exception = AcquireExceptionInfo();
    Progress compositeProgress(signalizer, "Composite");
    std::vector<std::uint16_t> pixels;
    const int rows = int(height);
    const int columns = int(width);
    const int tileRows = (rows + kTileSide - 1) / kTileSide;
    const int tileColumns = (columns + kTileSide - 1) / kTileSide;
    for (int i = 0; i < tileRows * tileColumns; ++i) {
        if (!compositeProgress.report(i, tileRows * tileColumns))
            break;
        const int left = i % tileColumns * kTileSide;
        const int top = i / tileColumns * kTileSide;
        const QRect tile(left, top, std::min(kTileSide, columns - left), std::min(kTileSide, rows - top));
        if (!sketchTile(picture, tile, canvas, canvasWidth, canvasHeight, table, pixels, exception))
            break;
    }
    DestroyExceptionInfo(exception);
}
