#include "ZelHsvBatch_p.h"

#include <atomic>

namespace {

std::atomic<bool> gAvx2Allowed{true};

} // namespace

bool zelBatchUsesAvx2()
{
#if ZEL_HAVE_AVX2_PATH
    static const bool hasAvx2 = __builtin_cpu_supports("avx2");
    return hasAvx2 && gAvx2Allowed.load(std::memory_order_relaxed);
#else
    return false;
#endif
}

void zelSetBatchAvx2Allowed(bool allowed)
{
    gAvx2Allowed.store(allowed, std::memory_order_relaxed);
}
