#include "ReInternal_p.h"


namespace redeye {

ReRegion* appendRegion(ReListHead* list)
{
    auto* region = static_cast<ReRegion*>(std::calloc(1, sizeof(ReRegion)));
    if (!region)
        return nullptr;
    region->link.previous = list->previous;
    region->link.next = list;
    list->previous->next = &region->link;
    list->previous = &region->link;
    return region;
}

int regionCount(const ReListHead* list)
{
    int count = 0;
    for (const ReListHead* node = list->next; node && node != list; node = node->next)
        ++count;
    return count;
}

namespace {

const int kTraceCapacity = 64;

struct Trace
{
    ReTraceCall calls[kTraceCapacity];
    int count = 0;
};

thread_local Trace tTrace;

} // namespace

void recordCall(const ReTraceCall& call)
{
    if (tTrace.count < kTraceCapacity)
        tTrace.calls[tTrace.count] = call;
    ++tTrace.count;
}

} // namespace redeye

using namespace redeye;

extern "C" {

void ReListEmpty(ReListHead* list)
{
    if (!list)
        return;
    ReTraceCall call{};
    call.function = ReTraceListEmpty;
    recordCall(call);
    // A head the caller never initialised (null links) is taken as empty.
    ReListHead* node = list->next;
    while (node && node != list) {
        ReListHead* next = node->next;
        std::free(node);
        node = next;
    }
    list->next = list;
    list->previous = list;
}

void ReListMerge(ReListHead* destination, ReListHead* source)
{
    if (!destination || !source || destination == source)
        return;
    ReTraceCall call{};
    call.function = ReTraceListMerge;
    if (source->next != source) {
        source->next->previous = destination->previous;
        destination->previous->next = source->next;
        source->previous->next = destination;
        destination->previous = source->previous;
        source->next = source;
        source->previous = source;
    }
    call.regionCount = regionCount(destination);
    recordCall(call);
}

void ReTraceClear(void)
{
    tTrace.count = 0;
}

int ReTraceCount(void)
{
    return tTrace.count;
}

const ReTraceCall* ReTraceAt(int index)
{
    if (index < 0 || index >= tTrace.count || index >= kTraceCapacity)
        return nullptr;
    return &tTrace.calls[index];
}

} // extern "C"
