#include "ReInternal_p.h"

#include <algorithm>
#include <cmath>
#include <new>
#include <vector>

// Correction on the full-size photo. A region from detection is only as exact as the reduced
// copy it was found on, so each pupil is first measured again here: how red it is, where its
// red pixels sit and how large they cover. Red is then pulled down to the weaker of green and
// blue, fully inside the pupil and fading out toward its edge, by how red each pixel is: white
// highlights, the iris and the skin have no red to lose and keep every bit.

using namespace redeye;

namespace {

struct Pupil
{
    double centerX = 0; // continuous coordinates: pixel x covers [x, x + 1)
    double centerY = 0;
    double radius = 0;
    int redLevel = 0; // typical redScore inside the pupil
};

struct Window
{
    int left;
    int top;
    int right;
    int bottom;
};

Window windowAround(const ImageView& view, double cx, double cy, double reach)
{
    return Window{std::max(0, int(std::floor(cx - reach))), std::max(0, int(std::floor(cy - reach))),
                  std::min(view.width - 1, int(std::ceil(cx + reach))), std::min(view.height - 1, int(std::ceil(cy + reach)))};
}

double squaredDistance(int x, int y, double cx, double cy)
{
    const double dx = x + 0.5 - cx;
    const double dy = y + 0.5 - cy;
    return dx * dx + dy * dy;
}

// The redScore below which seven tenths of the pixels within radius lie.
int redLevelWithin(const ImageView& view, double cx, double cy, double radius)
{
    std::vector<uint8_t> scores;
    const Window w = windowAround(view, cx, cy, radius);
    for (int y = w.top; y <= w.bottom; ++y) {
        const uint32_t* line = view.row(y);
        for (int x = w.left; x <= w.right; ++x) {
            if (squaredDistance(x, y, cx, cy) <= radius * radius)
                scores.push_back(uint8_t(redScore(line[x])));
        }
    }
    if (scores.empty())
        return 0;
    const size_t at = scores.size() * 7 / 10;
    std::nth_element(scores.begin(), scores.begin() + at, scores.end());
    return scores[at];
}

// The pupil as the full-size pixels show it, near where detection put it.
Pupil measurePupil(const ImageView& view, const ReRegion& region)
{
    Pupil pupil;
    pupil.centerX = region.centerX;
    pupil.centerY = region.centerY;
    pupil.radius = region.radius;
    pupil.redLevel = redLevelWithin(view, pupil.centerX, pupil.centerY, pupil.radius);
    const int solid = pupil.redLevel / 2;
    if (solid <= 0)
        return pupil;
    const double reach = 1.5 * region.radius;
    const Window w = windowAround(view, region.centerX, region.centerY, reach);
    double count = 0;
    double sumX = 0;
    double sumY = 0;
    for (int y = w.top; y <= w.bottom; ++y) {
        const uint32_t* line = view.row(y);
        for (int x = w.left; x <= w.right; ++x) {
            if (squaredDistance(x, y, region.centerX, region.centerY) <= reach * reach && redScore(line[x]) >= solid) {
                ++count;
                sumX += x + 0.5;
                sumY += y + 0.5;
            }
        }
    }
    if (count == 0)
        return pupil;
    // Trusted within limits: a red neighbour (an eyelid, a lip) must not drag the pupil away.
    const double shift = 0.5 * region.radius;
    pupil.centerX = std::clamp(sumX / count, region.centerX - shift, region.centerX + shift);
    pupil.centerY = std::clamp(sumY / count, region.centerY - shift, region.centerY + shift);
    const double kPi = 3.14159265358979323846;
    pupil.radius = std::clamp(std::sqrt(count / kPi), 0.6 * region.radius, 1.3 * region.radius);
    return pupil;
}

double smoothStep(double edge0, double edge1, double x)
{
    const double t = std::clamp((x - edge0) / (edge1 - edge0), 0.0, 1.0);
    return t * t * (3.0 - 2.0 * t);
}

void correctPupil(const ImageView& view, const ReRegion& region, const Pupil& pupil)
{
    const double reach = 2.0 * region.radius;
    const double low = std::max(12.0, 0.1 * pupil.redLevel);
    const double high = std::max(low + 20.0, 0.45 * pupil.redLevel);
    const double solidRadius = 1.1 * pupil.radius;
    const double outerRadius = 1.5 * pupil.radius;
    const Window around = windowAround(view, pupil.centerX, pupil.centerY, outerRadius);
    const Window w{std::max(around.left, region.left), std::max(around.top, region.top),
                   std::min(around.right, region.right), std::min(around.bottom, region.bottom)};
    for (int y = w.top; y <= w.bottom; ++y) {
        uint32_t* line = view.writableRow(y);
        for (int x = w.left; x <= w.right; ++x) {
            if (squaredDistance(x, y, region.centerX, region.centerY) > reach * reach)
                continue;
            const uint32_t pixel = line[x];
            const int score = redScore(pixel);
            if (score <= low)
                continue;
            const double distance = std::sqrt(squaredDistance(x, y, pupil.centerX, pupil.centerY));
            if (distance >= outerRadius)
                continue;
            const double edge = distance <= solidRadius ? 1.0 : (outerRadius - distance) / (outerRadius - solidRadius);
            const double weight = edge * smoothStep(low, high, score);
            const int red = redOf(pixel);
            const int floor = std::min(greenOf(pixel), blueOf(pixel));
            const int corrected = red - int(std::lround(weight * (red - floor)));
            line[x] = (pixel & 0xff00ffffu) | (uint32_t(corrected) << 16);
        }
    }
}

bool isUsable(const ReRegion& region, const ImageView& view)
{
    if (!std::isfinite(region.centerX) || !std::isfinite(region.centerY) || !std::isfinite(region.radius))
        return false;
    if (region.radius <= 0 || region.radius > std::max(view.width, view.height))
        return false;
    return region.centerX + region.radius >= 0 && region.centerY + region.radius >= 0
        && region.centerX - region.radius <= view.width && region.centerY - region.radius <= view.height;
}

bool isRepeat(const ReRegion& region, const std::vector<const ReRegion*>& done)
{
    return std::any_of(done.begin(), done.end(), [&region](const ReRegion* other) {
        const double dx = other->centerX - region.centerX;
        const double dy = other->centerY - region.centerY;
        const double reach = std::max(other->radius, region.radius);
        return dx * dx + dy * dy <= reach * reach;
    });
}

int correctAll(const ImageView& view, const ReListHead* regions)
{
    std::vector<const ReRegion*> done;
    for (const ReListHead* node = regions->next; node && node != regions; node = node->next) {
        const auto* region = reinterpret_cast<const ReRegion*>(node);
        if (!isUsable(*region, view) || isRepeat(*region, done))
            continue;
        correctPupil(view, *region, measurePupil(view, *region));
        done.push_back(region);
    }
    return done.empty() ? RE_NOT_FOUND : RE_OK;
}

} // namespace

extern "C" {

int ReCorrectRegions(ReImage* image, const ReListHead* regions, int32_t, int32_t, int32_t)
{
    ReTraceCall call{};
    call.function = ReTraceCorrectRegions;
    if (image) {
        call.imageWidth = image->width;
        call.imageHeight = image->height;
        call.fullWidth = image->fullWidth;
        call.fullHeight = image->fullHeight;
    }
    call.regionCount = regions ? regionCount(regions) : 0;
    ImageView view;
    if (!regions || !viewImage(image, &view)) {
        call.status = RE_BAD_ARGUMENT;
    } else {
        try {
            call.status = correctAll(view, regions);
        } catch (const std::bad_alloc&) {
            call.status = RE_NO_MEMORY;
        }
    }
    recordCall(call);
    return call.status;
}

} // extern "C"
