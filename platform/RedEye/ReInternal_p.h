#ifndef REINTERNAL_P_H
#define REINTERNAL_P_H

#include "RedEye.h"
#include "RedEyeTrace_p.h"

#include <cstdint>
#include <cstdlib>

namespace redeye {

// A validated image record: rows of 0xffRRGGBB words.
struct ImageView
{
    int width = 0;
    int height = 0;
    std::ptrdiff_t bytesPerLine = 0;
    uint8_t* bits = nullptr;
    // The size regions are reported in: fields 11 and 12, or the image's own size.
    int fullWidth = 0;
    int fullHeight = 0;

    const uint32_t* row(int y) const { return reinterpret_cast<const uint32_t*>(bits + y * bytesPerLine); }
    uint32_t* writableRow(int y) const { return reinterpret_cast<uint32_t*>(bits + y * bytesPerLine); }
    double toFullX() const { return double(fullWidth) / width; }
    double toFullY() const { return double(fullHeight) / height; }
};

// False for a missing record, a wrong size or format, no pixels or lines too short for the width.
bool viewImage(const ReImage* image, ImageView* view);

inline int redOf(uint32_t pixel) { return int((pixel >> 16) & 0xff); }
inline int greenOf(uint32_t pixel) { return int((pixel >> 8) & 0xff); }
inline int blueOf(uint32_t pixel) { return int(pixel & 0xff); }

// How red a pixel is, 0 to 255: red above the stronger of green and blue, less the difference
// of green and blue, so that orange and purple count less than a red whose green and blue are
// alike (the red of a pupil lit by a flash). Grey, white, skin and brown give little or nothing.
inline int redScore(uint32_t pixel)
{
    const int r = redOf(pixel);
    const int g = greenOf(pixel);
    const int b = blueOf(pixel);
    const int score = r - (g > b ? g : b) - std::abs(g - b);
    return score > 0 ? score : 0;
}

// A region in the library's own allocation, appended to list.
ReRegion* appendRegion(ReListHead* list);
int regionCount(const ReListHead* list);

// Appends call to the calling thread's trace.
void recordCall(const ReTraceCall& call);

} // namespace redeye

#endif
