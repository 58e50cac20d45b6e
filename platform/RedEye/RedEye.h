#ifndef REDEYE_H
#define REDEYE_H

/*
 * libRedEye: finds red pupils (red eye from a flash) in a photo and recolours them.
 *
 * A caller detects on a reduced copy of the photo and corrects the full-size photo:
 *
 *   ReListHead found = { &found, &found };           empty circular list
 *   ReDetectAutoEx(&reduced, &options, NULL, 0, 0, RE_PASS_STRICT, &found);
 *   ReCorrectRegions(&full, &found, 0, 0, 0);
 *   ReListEmpty(&found);
 *
 * Records. The interface was laid out for 32-bit platforms as records of 32-bit fields, some of
 * which hold addresses. A 64-bit address does not fit a 32-bit field, so here every record is a C
 * struct with the fields in their original order, addresses declared as pointers (the compiler
 * pads before them), and the size field, where a record has one, set to the struct's sizeof
 * (not to its 32-bit size). The field comments give the original field numbers.
 *
 * Pixels are 32-bit words 0xffRRGGBB in the machine's byte order (Qt's QImage::Format_RGB32);
 * the top byte is ignored and never written.
 *
 * Threads: the library keeps no shared state (the call trace it keeps for tests is per thread);
 * calls on different images and lists may run on different threads at the same time.
 */

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#if defined(__GNUC__)
#define RE_EXPORT __attribute__((visibility("default")))
#else
#define RE_EXPORT
#endif

/* Status values of the detection and correction calls. */
#define RE_OK 0              /* at least one region was found / corrected */
#define RE_NOT_FOUND 1       /* the call ran, but found / corrected nothing */
#define RE_BAD_ARGUMENT (-1) /* a record is missing, has the wrong size or describes no image */
#define RE_NO_MEMORY (-2)    /* working memory could not be allocated */

/* ReImage.format: 32-bit pixels 0xffRRGGBB. The only format there is. */
#define RE_FORMAT_RGB32 3

/*
 * Detection flags. A call searches once for each pass bit that is set and reports what either
 * pass finds.
 *
 * RE_PASS_STRICT    strongly red pupils: red at least two and a half times green and blue.
 * RE_PASS_SENSITIVE paler, pinker pupils as well (red at least 1.6 times green and blue); what
 *                   only this pass finds must be rounder and more clearly surrounded by non-red.
 * RE_LARGE_PUPILS   pupils up to a twelfth of the image's shorter side in radius; without it a
 *                   pupil may be at most a fortieth (a face filling a good part of the photo
 *                   needs this bit, a group photo does not).
 *
 * Every pass demands a small, roughly round red patch that stands out from non-red surroundings,
 * so red objects (cups, flags, clothes) are not taken for eyes.
 */
#define RE_PASS_STRICT 0x1000000u
#define RE_PASS_SENSITIVE 0x2000000u
#define RE_LARGE_PUPILS 0x4000000u

/* The flag sets the red-eye effect passes. */
#define RE_FLAGS_WHOLE_FIRST (RE_PASS_STRICT | RE_LARGE_PUPILS)               /* 0x5000000 */
#define RE_FLAGS_WHOLE_SECOND RE_PASS_SENSITIVE                               /* 0x2000000 */
#define RE_FLAGS_NEAREST (RE_PASS_STRICT | RE_PASS_SENSITIVE | RE_LARGE_PUPILS) /* 0x7000000 */

/* ReRegionHint.shape */
#define RE_SHAPE_SQUARE 2    /* nearly square, as drawn around one eye: a pupil found in it is no
                                larger than the square */
#define RE_SHAPE_RECTANGLE 3 /* any rectangle, for example around a pair of eyes */

/*
 * An image, original fields 0 to 15. Fields not named below are reserved and zero.
 * fullWidth/fullHeight (fields 11, 12) matter in detection records only: the size of the photo
 * the reduced image was made from. Regions are reported in those coordinates. 0 means the image
 * is the full-size photo itself.
 */
typedef struct ReImage {
    int32_t size;         /* 0: sizeof(ReImage) */
    int32_t width;        /* 1 */
    int32_t height;       /* 2 */
    int32_t format;       /* 3: RE_FORMAT_RGB32 */
    int32_t bytesPerLine; /* 4: at least 4 * width */
    uint8_t* bits;        /* 5: the first scan line; written by ReCorrectRegions only */
    int32_t reserved6;
    int32_t reserved7;
    int32_t reserved8;
    int32_t reserved9;
    int32_t reserved10;
    int32_t fullWidth;  /* 11 */
    int32_t fullHeight; /* 12 */
    int32_t reserved13;
    int32_t reserved14;
    int32_t reserved15;
} ReImage;

/* Detection options. */
typedef struct ReOptions {
    int32_t size;             /* sizeof(ReOptions) */
    const ReImage* fullImage; /* the full-size photo; informational, may be null */
} ReOptions;

/*
 * Where to search: rectCount rectangles of four int32_t each, left, top, right, bottom
 * (inclusive), in full-size coordinates. Parts outside the image are ignored. A pupil counts as
 * inside when its centre is.
 */
typedef struct ReRegionHint {
    int32_t shape;          /* RE_SHAPE_SQUARE or RE_SHAPE_RECTANGLE */
    int32_t fullWidth;      /* of the photo the rectangles refer to */
    int32_t fullHeight;
    int32_t rectCount;      /* the effect passes 1 */
    const int32_t* rects;   /* rectCount * 4 values */
} ReRegionHint;

/*
 * The list of regions: circular and doubly linked. A head that points to itself is an empty
 * list; the caller initialises its heads that way. The library allocates the regions; only
 * ReListEmpty frees them.
 */
typedef struct ReListHead {
    struct ReListHead* next;
    struct ReListHead* previous;
} ReListHead;

/*
 * A found pupil, in full-size coordinates (pixel x covers x to x + 1). link comes first: a list
 * node is its region. The region is the circle of twice the pupil's radius, the pupil and room
 * for the soft edge of its correction; left to bottom bound it within the photo.
 */
typedef struct ReRegion {
    ReListHead link;
    int32_t left; /* inclusive */
    int32_t top;
    int32_t right;
    int32_t bottom;
    float centerX;
    float centerY;
    float radius; /* of the pupil */
    int32_t confidence; /* 1 to 100 */
} ReRegion;

/* Frees every region of the list and leaves the head pointing to itself. */
RE_EXPORT void ReListEmpty(ReListHead* list);
/* Moves every region of source to the end of destination; source is then empty. */
RE_EXPORT void ReListMerge(ReListHead* destination, ReListHead* source);

/*
 * Searches the whole image, or the rectangles of hint when it is not null, for red pupils and
 * appends them to found. The two reserved arguments are 0. Returns RE_OK when something was
 * found, RE_NOT_FOUND, or an error.
 */
RE_EXPORT int ReDetectAutoEx(const ReImage* image, const ReOptions* options, const ReRegionHint* hint,
                             int32_t reserved1, int32_t reserved2, uint32_t flags, ReListHead* found);

/*
 * The pupil nearest to (x, y), given in the image's own (reduced) coordinates, whose edge lies
 * within radius pixels of the point; and, when there is one, its partner, the other eye of the
 * face: a pupil at most twice as large (or small) 2.5 to 12 pupil widths away. Near a point
 * smaller and paler patches count than in ReDetectAutoEx: the user has said that an eye is
 * there. The effect passes radius 75, which on its 1024 x 768 detection copy is well beyond the
 * inaccuracy of a click.
 */
RE_EXPORT int ReDetectNearest(const ReImage* image, int32_t x, int32_t y, int32_t radius, int32_t reserved1,
                              int32_t reserved2, uint32_t flags, ReListHead* found);

/*
 * Takes the red out of every region of the list on image (the full-size photo): inside each
 * pupil red falls to the weaker of green and blue, with a soft edge toward the iris; white
 * highlights, non-red pixels and every pixel outside the regions (the circle and the box) stay
 * exactly as they are. Regions found twice
 * are corrected once. The reserved arguments are 0. Returns RE_OK when a region was corrected,
 * RE_NOT_FOUND for an empty list, or an error.
 */
RE_EXPORT int ReCorrectRegions(ReImage* image, const ReListHead* regions, int32_t reserved1, int32_t reserved2,
                               int32_t reserved3);

#ifdef __cplusplus
}
#endif

#endif
