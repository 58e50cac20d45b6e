#include "ReInternal_p.h"

#include <algorithm>
#include <cmath>
#include <new>
#include <vector>

// Detection: pixels are sorted into strongly red and paler red; each connected patch of them
// is a candidate, and a candidate is a pupil when it is small, roughly round, and stands out
// from a surrounding ring that is not red. Everything runs on the (reduced) detection image.

namespace redeye {

bool viewImage(const ReImage* image, ImageView* view)
{
    if (!image || image->size != int32_t(sizeof(ReImage)) || image->format != RE_FORMAT_RGB32 || !image->bits)
        return false;
    if (image->width <= 0 || image->height <= 0 || image->bytesPerLine / 4 < image->width)
        return false;
    view->width = image->width;
    view->height = image->height;
    view->bytesPerLine = image->bytesPerLine;
    view->bits = image->bits;
    const bool hasFullSize = image->fullWidth > 0 && image->fullHeight > 0;
    view->fullWidth = hasFullSize ? image->fullWidth : image->width;
    view->fullHeight = hasFullSize ? image->fullHeight : image->height;
    return true;
}

} // namespace redeye

using namespace redeye;

namespace {

const uint8_t kSensitiveBit = 1;
const uint8_t kStrictBit = 2;

// Pixel classes: red above the stronger of green and blue by at least minScore (see redScore),
// and red at least ratioTenths / 10 times that channel.
struct PixelRule
{
    int minScore;
    int ratioTenths;
};
const PixelRule kStrictPixel{40, 25};
const PixelRule kSensitivePixel{25, 16};

// What a patch of red pixels must look like to count as a pupil.
struct PatchRule
{
    uint8_t pixelBit;
    double maxElongation;    // longer axis of the patch over its shorter one
    double minFill;          // share of the bounding box the patch covers
    int minMeanScore;        // mean redScore inside
    double maxRingRedShare;  // share of red pixels in the ring around it
    double maxRingScoreRate; // the ring's mean redScore over the patch's
};
const PatchRule kStrictPatch{kStrictBit, 1.5, 0.45, 60, 0.10, 0.30};
// What only the sensitive pass sees has to be rounder and stand out more clearly, unless the
// user pointed at it.
const PatchRule kSensitivePatch{kSensitiveBit, 1.35, 0.55, 45, 0.05, 0.20};
const PatchRule kSensitivePatchNearPoint{kSensitiveBit, 1.5, 0.45, 45, 0.10, 0.30};

// The smallest patch a search of the whole image or of a rectangle takes for a pupil, and the
// smallest one next to a clicked point: there the user has said that an eye is near.
const int kMinArea = 5;
const int kMinAreaNearPoint = 2;
const int kLargeRadiusDivisor = 12;
const int kSmallRadiusDivisor = 40;
const double kPi = 3.14159265358979323846;

struct Box
{
    int left = 0;
    int top = 0;
    int right = -1;
    int bottom = -1;

    bool isEmpty() const { return right < left || bottom < top; }
    bool contains(double x, double y) const { return x >= left && x <= right + 1 && y >= top && y <= bottom + 1; }
    int width() const { return right - left + 1; }
    int height() const { return bottom - top + 1; }
    Box grownBy(int margin, const ImageView& view) const
    {
        return Box{std::max(0, left - margin), std::max(0, top - margin), std::min(view.width - 1, right + margin),
                   std::min(view.height - 1, bottom + margin)};
    }
};

struct SearchLimits
{
    double maxRadius;
    bool nearPoint;
};

struct Candidate
{
    double centerX = 0; // image coordinates, pixel centres at .5
    double centerY = 0;
    double radius = 0;
    int confidence = 0;
};

// Scores and pixel classes of a window of the image.
class RedMap
{
public:
    RedMap(const ImageView& view, const Box& window)
        : myWindow(window)
        , myScores(size_t(window.width()) * size_t(window.height()))
        , myClasses(myScores.size())
    {
        const int width = window.width();
        for (int y = window.top; y <= window.bottom; ++y) {
            const uint32_t* line = view.row(y) + window.left;
            uint8_t* scores = &myScores[index(window.left, y)];
            uint8_t* classes = &myClasses[index(window.left, y)];
            // Branch-free: most pixels of a reddish photo are near the thresholds.
            for (int x = 0; x < width; ++x) {
                const uint32_t pixel = line[x];
                const int red = redOf(pixel);
                const int green = greenOf(pixel);
                const int blue = blueOf(pixel);
                const int other = std::max(green, blue);
                const int score = redScore(pixel);
                scores[x] = uint8_t(score);
                const bool sensitive = (score >= kSensitivePixel.minScore) & (red * 10 >= other * kSensitivePixel.ratioTenths);
                const bool strict = (score >= kStrictPixel.minScore) & (red * 10 >= other * kStrictPixel.ratioTenths);
                classes[x] = uint8_t(kSensitiveBit * sensitive | kStrictBit * strict);
            }
        }
    }

    const Box& window() const { return myWindow; }
    size_t index(int x, int y) const
    {
        return size_t(y - myWindow.top) * size_t(myWindow.width()) + size_t(x - myWindow.left);
    }
    uint8_t score(int x, int y) const { return myScores[index(x, y)]; }
    uint8_t classes(int x, int y) const { return myClasses[index(x, y)]; }
    const uint8_t* scoreRow(int y) const { return &myScores[index(myWindow.left, y)]; }
    const uint8_t* classRow(int y) const { return &myClasses[index(myWindow.left, y)]; }

private:
    Box myWindow;
    std::vector<uint8_t> myScores;
    std::vector<uint8_t> myClasses;
};

struct Patch
{
    double area = 0;
    double sumX = 0;
    double sumY = 0;
    double sumXX = 0;
    double sumYY = 0;
    double sumXY = 0;
    double sumScore = 0;
    Box box;
    // Whether the patch reaches the edge of the map's window or of the image: what lies beyond
    // is unknown, so it cannot be judged.
    bool cut = false;

    void add(const Patch& other)
    {
        area += other.area;
        sumX += other.sumX;
        sumY += other.sumY;
        sumXX += other.sumXX;
        sumYY += other.sumYY;
        sumXY += other.sumXY;
        sumScore += other.sumScore;
        box = Box{std::min(box.left, other.box.left), std::min(box.top, other.box.top),
                  std::max(box.right, other.box.right), std::max(box.bottom, other.box.bottom)};
    }
};

// A horizontal run of pixels in one row, a node of a union-find forest of runs.
struct Run
{
    int y;
    int left;
    int right;
    int parent;
};

int rootOf(std::vector<Run>& runs, int i)
{
    while (runs[size_t(i)].parent != i) {
        runs[size_t(i)].parent = runs[size_t(runs[size_t(i)].parent)].parent;
        i = runs[size_t(i)].parent;
    }
    return i;
}

void unite(std::vector<Run>& runs, int a, int b)
{
    a = rootOf(runs, a);
    b = rootOf(runs, b);
    if (a != b)
        runs[size_t(std::max(a, b))].parent = std::min(a, b);
}

// The runs of pixels carrying bit, row by row, united where they touch (8-connected).
std::vector<Run> connectedRuns(const RedMap& map, uint8_t bit)
{
    const Box& window = map.window();
    std::vector<Run> runs;
    size_t previousRow = 0;
    for (int y = window.top; y <= window.bottom; ++y) {
        const size_t rowStart = runs.size();
        const uint8_t* classes = map.classRow(y);
        for (int x = window.left; x <= window.right;) {
            if (!(classes[x - window.left] & bit)) {
                ++x;
                continue;
            }
            const int left = x;
            while (x <= window.right && (classes[x - window.left] & bit))
                ++x;
            runs.push_back(Run{y, left, x - 1, int(runs.size())});
        }
        size_t above = previousRow;
        for (size_t i = rowStart; i < runs.size(); ++i) {
            while (above < rowStart && runs[above].right < runs[i].left - 1)
                ++above;
            for (size_t j = above; j < rowStart && runs[j].left <= runs[i].right + 1; ++j)
                unite(runs, int(i), int(j));
        }
        previousRow = rowStart;
    }
    return runs;
}

Patch patchOfRun(const RedMap& map, const Run& run)
{
    Patch patch;
    const double n = run.right - run.left + 1;
    const double first = run.left;
    const double last = run.right;
    patch.area = n;
    patch.sumX = (first + last) * n / 2.0;
    patch.sumY = run.y * n;
    // Sum of x * x over the run: the difference of the two prefix sums k(k+1)(2k+1)/6.
    const auto squares = [](double k) { return k * (k + 1.0) * (2.0 * k + 1.0) / 6.0; };
    patch.sumXX = squares(last) - squares(first - 1.0);
    patch.sumYY = double(run.y) * run.y * n;
    patch.sumXY = run.y * patch.sumX;
    const uint8_t* scores = map.scoreRow(run.y);
    for (int x = run.left; x <= run.right; ++x)
        patch.sumScore += scores[x - map.window().left];
    patch.box = Box{run.left, run.y, run.right, run.y};
    return patch;
}

// The 8-connected patches of pixels carrying bit.
std::vector<Patch> patchesOf(const RedMap& map, uint8_t bit)
{
    std::vector<Run> runs = connectedRuns(map, bit);
    std::vector<int> patchOfRoot(runs.size(), -1);
    std::vector<Patch> patches;
    for (size_t i = 0; i < runs.size(); ++i) {
        const int root = rootOf(runs, int(i));
        const Patch part = patchOfRun(map, runs[i]);
        if (patchOfRoot[size_t(root)] < 0) {
            patchOfRoot[size_t(root)] = int(patches.size());
            patches.push_back(part);
        } else {
            patches[size_t(patchOfRoot[size_t(root)])].add(part);
        }
    }
    const Box& window = map.window();
    for (Patch& patch : patches) {
        const Box& b = patch.box;
        patch.cut = b.left == window.left || b.top == window.top || b.right == window.right
            || b.bottom == window.bottom;
    }
    return patches;
}

struct Ring
{
    int pixels = 0;
    int redPixels = 0;
    double sumScore = 0;
};

// The pixels between inner and outer radius around (cx, cy), within the map's window.
Ring ringAround(const RedMap& map, double cx, double cy, double inner, double outer)
{
    Ring ring;
    const Box& window = map.window();
    const int top = std::max(window.top, int(std::floor(cy - outer)));
    const int bottom = std::min(window.bottom, int(std::ceil(cy + outer)));
    const int left = std::max(window.left, int(std::floor(cx - outer)));
    const int right = std::min(window.right, int(std::ceil(cx + outer)));
    for (int y = top; y <= bottom; ++y) {
        for (int x = left; x <= right; ++x) {
            const double d2 = (x - cx) * (x - cx) + (y - cy) * (y - cy);
            if (d2 < inner * inner || d2 > outer * outer)
                continue;
            ++ring.pixels;
            ring.sumScore += map.score(x, y);
            if (map.classes(x, y) & kSensitiveBit)
                ++ring.redPixels;
        }
    }
    return ring;
}

// The ratio of the longer to the shorter axis of the ellipse with the patch's second moments;
// each pixel counts as a small square, so that one- and two-pixel patches stay finite.
double elongation(const Patch& patch)
{
    const double mx = patch.sumX / patch.area;
    const double my = patch.sumY / patch.area;
    const double vxx = patch.sumXX / patch.area - mx * mx + 1.0 / 12.0;
    const double vyy = patch.sumYY / patch.area - my * my + 1.0 / 12.0;
    const double vxy = patch.sumXY / patch.area - mx * my;
    const double mean = 0.5 * (vxx + vyy);
    const double spread = std::sqrt(0.25 * (vxx - vyy) * (vxx - vyy) + vxy * vxy);
    const double smaller = mean - spread;
    return smaller > 0 ? std::sqrt((mean + spread) / smaller) : 1e9;
}

// The patch as a pupil, or a candidate with confidence 0 when it is none.
Candidate judgePatch(const RedMap& map, const Patch& patch, const PatchRule& rule, const SearchLimits& limits)
{
    Candidate candidate;
    const int w = patch.box.width();
    const int h = patch.box.height();
    if (patch.cut || patch.area < (limits.nearPoint ? kMinAreaNearPoint : kMinArea))
        return candidate;
    const double boxRadius = 0.25 * (w + h);
    const double areaRadius = std::sqrt(patch.area / kPi);
    if (areaRadius > limits.maxRadius || 0.5 * std::max(w, h) > 1.5 * limits.maxRadius)
        return candidate;
    // Two or three pixels show no shape.
    if (patch.area >= 4 && elongation(patch) > rule.maxElongation)
        return candidate;
    if (patch.area < rule.minFill * w * h)
        return candidate;
    const double meanScore = patch.sumScore / patch.area;
    if (meanScore < rule.minMeanScore)
        return candidate;

    const double cx = patch.sumX / patch.area + 0.5;
    const double cy = patch.sumY / patch.area + 0.5;
    const double radius = std::max(boxRadius, areaRadius);
    const Ring ring = ringAround(map, cx - 0.5, cy - 0.5, 1.5 * radius + 1.0, 2.5 * radius + 2.0);
    if (ring.pixels == 0)
        return candidate;
    const double redShare = double(ring.redPixels) / ring.pixels;
    const double ringScore = ring.sumScore / ring.pixels;
    if (redShare > rule.maxRingRedShare || ringScore > rule.maxRingScoreRate * meanScore)
        return candidate;

    candidate.centerX = cx;
    candidate.centerY = cy;
    candidate.radius = radius;
    const double standOut = 1.0 - ringScore / meanScore;
    candidate.confidence = std::clamp(int(meanScore / 2.0 * standOut * (1.0 - redShare)), 1, 100);
    return candidate;
}

// Keeps the more confident of two candidates that are the same pupil.
void addCandidate(std::vector<Candidate>* candidates, const Candidate& candidate)
{
    for (Candidate& known : *candidates) {
        const double dx = known.centerX - candidate.centerX;
        const double dy = known.centerY - candidate.centerY;
        const double reach = std::max(known.radius, candidate.radius);
        if (dx * dx + dy * dy <= reach * reach) {
            if (candidate.confidence > known.confidence)
                known = candidate;
            return;
        }
    }
    candidates->push_back(candidate);
}

double maxPupilRadius(const ImageView& view, uint32_t flags)
{
    const int shorter = std::min(view.width, view.height);
    const int divisor = (flags & RE_LARGE_PUPILS) ? kLargeRadiusDivisor : kSmallRadiusDivisor;
    return std::max(2.0, double(shorter) / divisor);
}

// Every pupil with its centre in one of the areas, found by the passes flags asks for.
std::vector<Candidate> findPupils(const ImageView& view, const std::vector<Box>& areas, uint32_t flags,
                                  const SearchLimits& limits)
{
    std::vector<Candidate> candidates;
    Box bounds;
    for (const Box& area : areas) {
        if (area.isEmpty())
            continue;
        bounds = bounds.isEmpty() ? area
                                  : Box{std::min(bounds.left, area.left), std::min(bounds.top, area.top),
                                        std::max(bounds.right, area.right), std::max(bounds.bottom, area.bottom)};
    }
    if (bounds.isEmpty())
        return candidates;
    const RedMap map(view, bounds.grownBy(int(std::ceil(4.0 * limits.maxRadius)) + 3, view));
    const auto inAreas = [&areas](const Candidate& c) {
        return std::any_of(areas.begin(), areas.end(), [&c](const Box& a) { return a.contains(c.centerX, c.centerY); });
    };
    const PatchRule& sensitive = limits.nearPoint ? kSensitivePatchNearPoint : kSensitivePatch;
    for (const PatchRule* rule : {&kStrictPatch, &sensitive}) {
        const uint32_t pass = rule == &kStrictPatch ? RE_PASS_STRICT : RE_PASS_SENSITIVE;
        if (!(flags & pass))
            continue;
        for (const Patch& patch : patchesOf(map, rule->pixelBit)) {
            const Candidate candidate = judgePatch(map, patch, *rule, limits);
            if (candidate.confidence > 0 && inAreas(candidate))
                addCandidate(&candidates, candidate);
        }
    }
    return candidates;
}

// Appends the candidates to found in full-size coordinates; false when memory ran out.
bool report(const ImageView& view, const std::vector<Candidate>& candidates, ReListHead* found)
{
    const double fx = view.toFullX();
    const double fy = view.toFullY();
    for (const Candidate& c : candidates) {
        ReRegion* region = appendRegion(found);
        if (!region)
            return false;
        const double x = c.centerX * fx;
        const double y = c.centerY * fy;
        const double radius = c.radius * std::max(fx, fy);
        region->centerX = float(x);
        region->centerY = float(y);
        region->radius = float(radius);
        // The reach of the correction: two radii, the pupil and room for its soft edge.
        region->left = int32_t(std::max(0.0, std::floor(x - 2.0 * radius)));
        region->top = int32_t(std::max(0.0, std::floor(y - 2.0 * radius)));
        region->right = int32_t(std::min(view.fullWidth - 1.0, std::ceil(x + 2.0 * radius) - 1.0));
        region->bottom = int32_t(std::min(view.fullHeight - 1.0, std::ceil(y + 2.0 * radius) - 1.0));
        region->confidence = c.confidence;
    }
    return true;
}

// A hint rectangle (full-size coordinates) in the detection image's coordinates, clipped.
Box boxFromHint(const ImageView& view, const ReRegionHint& hint, const int32_t* rect)
{
    const double fullWidth = hint.fullWidth > 0 ? hint.fullWidth : view.fullWidth;
    const double fullHeight = hint.fullHeight > 0 ? hint.fullHeight : view.fullHeight;
    const double sx = view.width / fullWidth;
    const double sy = view.height / fullHeight;
    const double left = std::max(0.0, std::floor(rect[0] * sx));
    const double top = std::max(0.0, std::floor(rect[1] * sy));
    const double right = std::min(view.width - 1.0, std::ceil((double(rect[2]) + 1.0) * sx) - 1.0);
    const double bottom = std::min(view.height - 1.0, std::ceil((double(rect[3]) + 1.0) * sy) - 1.0);
    if (right < left || bottom < top)
        return Box();
    return Box{int(left), int(top), int(right), int(bottom)};
}

int finish(ReTraceCall call, int status, const ReListHead* found)
{
    call.status = status;
    call.regionCount = found ? regionCount(found) : 0;
    recordCall(call);
    return status;
}

ReTraceCall traceOf(int function, const ReImage* image, uint32_t flags)
{
    ReTraceCall call{};
    call.function = function;
    call.flags = flags;
    if (image) {
        call.imageWidth = image->width;
        call.imageHeight = image->height;
        call.fullWidth = image->fullWidth;
        call.fullHeight = image->fullHeight;
    }
    return call;
}

int detectAuto(const ImageView& view, const ReRegionHint* hint, uint32_t flags, ReListHead* found)
{
    double maxRadius = maxPupilRadius(view, flags);
    std::vector<Box> areas;
    if (!hint) {
        areas.push_back(Box{0, 0, view.width - 1, view.height - 1});
    } else {
        for (int i = 0; i < hint->rectCount; ++i)
            areas.push_back(boxFromHint(view, *hint, hint->rects + 4 * i));
        if (hint->shape == RE_SHAPE_SQUARE && hint->rectCount == 1 && !areas.front().isEmpty())
            maxRadius = std::min(maxRadius, 0.5 * std::min(areas.front().width(), areas.front().height()) + 1.0);
    }
    const std::vector<Candidate> candidates = findPupils(view, areas, flags, SearchLimits{maxRadius, false});
    if (!report(view, candidates, found))
        return RE_NO_MEMORY;
    return candidates.empty() ? RE_NOT_FOUND : RE_OK;
}

double distanceToEdge(const Candidate& c, double x, double y)
{
    return std::max(0.0, std::hypot(c.centerX - x, c.centerY - y) - c.radius);
}

// The part of the image within half a side of (x, y), or an empty box.
Box squareAround(const ImageView& view, double x, double y, double halfSide)
{
    const double left = std::max(0.0, std::floor(x - halfSide));
    const double top = std::max(0.0, std::floor(y - halfSide));
    const double right = std::min(view.width - 1.0, std::floor(x + halfSide));
    const double bottom = std::min(view.height - 1.0, std::floor(y + halfSide));
    if (right < left || bottom < top)
        return Box();
    return Box{int(left), int(top), int(right), int(bottom)};
}

// The other eye of the face: alike in size, 2.5 to 12 pupil widths away. Pupil widths here are
// sums of the two radii.
const Candidate* partnerOf(const Candidate& pupil, const std::vector<Candidate>& candidates)
{
    const Candidate* partner = nullptr;
    for (const Candidate& c : candidates) {
        const double apart = std::hypot(c.centerX - pupil.centerX, c.centerY - pupil.centerY);
        const double widths = apart / (c.radius + pupil.radius);
        const double larger = std::max(c.radius, pupil.radius);
        const double smaller = std::min(c.radius, pupil.radius);
        if (larger > 2.0 * smaller + 1.0 || widths < 2.5 || widths > 12.0)
            continue;
        if (!partner || c.confidence > partner->confidence)
            partner = &c;
    }
    return partner;
}

int detectNearest(const ImageView& view, double x, double y, int radius, uint32_t flags, ReListHead* found)
{
    const SearchLimits limits{maxPupilRadius(view, flags), true};
    const Box around = squareAround(view, x, y, radius);
    if (around.isEmpty())
        return RE_NOT_FOUND;
    const std::vector<Candidate> candidates = findPupils(view, {around}, flags, limits);
    const Candidate* nearest = nullptr;
    for (const Candidate& c : candidates) {
        if (distanceToEdge(c, x, y) <= radius && (!nearest || distanceToEdge(c, x, y) < distanceToEdge(*nearest, x, y)))
            nearest = &c;
    }
    if (!nearest)
        return RE_NOT_FOUND;
    std::vector<Candidate> chosen{*nearest};
    // A partner may be up to twice as large: 12 widths of (1 + 2) radii and one pixel away.
    const double partnerReach = 12.0 * (3.0 * nearest->radius + 1.0);
    const std::vector<Candidate> others =
        findPupils(view, {squareAround(view, nearest->centerX, nearest->centerY, partnerReach)}, flags, limits);
    if (const Candidate* partner = partnerOf(*nearest, others))
        chosen.push_back(*partner);
    if (!report(view, chosen, found))
        return RE_NO_MEMORY;
    return RE_OK;
}

} // namespace

extern "C" {

int ReDetectAutoEx(const ReImage* image, const ReOptions* options, const ReRegionHint* hint, int32_t, int32_t,
                   uint32_t flags, ReListHead* found)
{
    ReTraceCall call = traceOf(ReTraceDetectAutoEx, image, flags);
    if (hint) {
        call.hasHint = 1;
        call.shape = hint->shape;
        if (hint->rects && hint->rectCount > 0)
            std::copy(hint->rects, hint->rects + 4, call.rect);
    }
    ImageView view;
    if (!found || !viewImage(image, &view) || (options && options->size != int32_t(sizeof(ReOptions)))
        || (hint && (hint->rectCount < 0 || (hint->rectCount > 0 && !hint->rects))))
        return finish(call, RE_BAD_ARGUMENT, found);
    try {
        return finish(call, detectAuto(view, hint, flags, found), found);
    } catch (const std::bad_alloc&) {
        return finish(call, RE_NO_MEMORY, found);
    }
}

int ReDetectNearest(const ReImage* image, int32_t x, int32_t y, int32_t radius, int32_t, int32_t, uint32_t flags,
                    ReListHead* found)
{
    ReTraceCall call = traceOf(ReTraceDetectNearest, image, flags);
    call.x = x;
    call.y = y;
    call.radius = radius;
    ImageView view;
    if (!found || !viewImage(image, &view) || radius < 0)
        return finish(call, RE_BAD_ARGUMENT, found);
    // A point or radius far beyond the image is clamped, to keep the arithmetic in range.
    const double px = std::clamp(double(x), -1.0 * view.width, 2.0 * view.width) + 0.5;
    const double py = std::clamp(double(y), -1.0 * view.height, 2.0 * view.height) + 0.5;
    const int radiusLimit = 3 * std::max(view.width, view.height);
    try {
        return finish(call, detectNearest(view, px, py, std::min(radius, radiusLimit), flags, found), found);
    } catch (const std::bad_alloc&) {
        return finish(call, RE_NO_MEMORY, found);
    }
}

} // extern "C"
