#ifndef REDEYETRACE_P_H
#define REDEYETRACE_P_H

/*
 * For tests only, not installed: every entry point of libRedEye records its call in a trace of
 * the calling thread, so a test can see which calls a caller made and with what. Per thread, so
 * callers on other threads neither disturb a test nor race with it.
 */

#include "RedEye.h"

#ifdef __cplusplus
extern "C" {
#endif

enum ReTraceFunction {
    ReTraceListEmpty = 1,
    ReTraceListMerge,
    ReTraceDetectAutoEx,
    ReTraceDetectNearest,
    ReTraceCorrectRegions
};

typedef struct ReTraceCall {
    int function;         /* ReTraceFunction */
    int status;           /* returned status; 0 for the list calls */
    uint32_t flags;       /* detection calls */
    int32_t x, y, radius; /* ReDetectNearest */
    int hasHint;          /* ReDetectAutoEx: a hint was given ... */
    int32_t shape;        /* ... with this shape ... */
    int32_t rect[4];      /* ... and this first rectangle */
    int32_t imageWidth;   /* the image record's width and height, fields 11 and 12 */
    int32_t imageHeight;
    int32_t fullWidth;
    int32_t fullHeight;
    int regionCount;      /* regions in the list after the call (before it for ReCorrectRegions) */
} ReTraceCall;

/* Clears the calling thread's trace. */
RE_EXPORT void ReTraceClear(void);
/* The number of calls recorded since (at most the first 64 are kept). */
RE_EXPORT int ReTraceCount(void);
/* The index-th recorded call, or null. */
RE_EXPORT const ReTraceCall* ReTraceAt(int index);

#ifdef __cplusplus
}
#endif

#endif
