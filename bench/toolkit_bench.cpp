// Times the toolkit operations on one thread against a memcpy of the photo of `zelfx bench` (6000x4000
// unless --size=WxH; --portable runs the vector code without AVX2; Google Benchmark flags pass through).
// Targets are judged on CPU time, page faults of new images included: other processes on a shared machine
// stretch wall times unevenly. Wall-time ratios are printed beside them.
#include "ZelHsvBatch_p.h"
#include "bench.h"
#include <ZelConvolution.h>
#include <ZelEditImageManipulator.h>

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstring>
#include <map>
#include <string>
#include <vector>

namespace {

QSize gSize(6000, 4000);
std::vector<std::pair<std::string, double>> gTargets; // in order; ratios to memcpy, 0: no target

const QImage& photo()
{
    static const QImage image = syntheticPhoto(gSize);
    return image;
}

// Five repetitions of three runs, reported as aggregates; every run's result is kept from the optimizer.
template <typename Run>
void timed(const char* name, double target, Run run)
{
    gTargets.emplace_back(name, target);
    benchmark::RegisterBenchmark(name, [run](benchmark::State& state) {
        for (auto _ : state)
            benchmark::DoNotOptimize(run());
    })->Unit(benchmark::kMillisecond)->Iterations(3)->Repetitions(5)->ReportAggregatesOnly(true);
}

// The console output, and afterwards one table of median times and ratios to the warm memcpy.
class RatioReporter : public benchmark::ConsoleReporter
{
public:
    void ReportRuns(const std::vector<Run>& runs) override
    {
        ConsoleReporter::ReportRuns(runs);
        for (const Run& run : runs)
            if (run.run_type == Run::RT_Aggregate && run.aggregate_name == "median")
                myTimes[run.run_name.function_name] = {run.GetAdjustedCPUTime(), run.GetAdjustedRealTime()};
    }

    void Finalize() override
    {
        ConsoleReporter::Finalize();
        const auto [copyCpu, copyWall] = myTimes["memcpy"]; // 0 when filtered out
        const double pixels = double(gSize.width()) * gSize.height();
        std::printf("\n%-28s %10s %9s %16s %11s %10s\n", "toolkit operation", "cpu ms", "ns/pixel", "ratio to memcpy",
                    "target", "wall ratio");
        for (const auto& [name, target] : gTargets) {
            if (!myTimes.count(name))
                continue;
            const auto [cpu, wall] = myTimes[name];
            const double ratio = copyCpu > 0 ? cpu / copyCpu : 0.0;
            const std::string judged = (ratio <= target ? "ok <= " : "OVER ") + QString::number(target).toStdString();
            std::printf("%-28s %10.3f %9.3f %16.2f %11s %10.2f\n", name.c_str(), cpu, cpu * 1e6 / pixels, ratio,
                        target > 0 && copyCpu > 0 ? judged.c_str() : "-", copyWall > 0 ? wall / copyWall : 0.0);
        }
        std::fflush(stdout);
    }

private:
    std::map<std::string, std::pair<double, double>> myTimes; // cpu, wall
};

// Takes --portable and --size=WxH out of argv; false for a bad size.
bool takeOwnOptions(int* argc, char** argv)
{
    int kept = 1, width = 0, height = 0;
    for (int i = 1; i < *argc; ++i) {
        if (std::strcmp(argv[i], "--portable") == 0)
            zelSetBatchAvx2Allowed(false);
        else if (std::strncmp(argv[i], "--size=", 7) != 0)
            argv[kept++] = argv[i];
        else if (std::sscanf(argv[i] + 7, "%dx%d", &width, &height) == 2 && width >= 3 && height >= 3)
            gSize = QSize(width, height);
        else
            return std::fprintf(stderr, "zel_toolkit_bench: bad %s (expected --size=WxH)\n", argv[i]), false;
    }
    *argc = kept;
    return true;
}

} // namespace

int main(int argc, char** argv)
{
    if (!takeOwnOptions(&argc, argv))
        return 2;
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 2;
    if (photo().isNull()) {
        std::fprintf(stderr, "zel_toolkit_bench: cannot allocate a %dx%d photo\n", gSize.width(), gSize.height());
        return 2;
    }
    using M = ZelEditImageManipulator;
    using C = ZelConvolution;
    const size_t bytes = size_t(photo().sizeInBytes());
    static std::vector<uchar> warm(bytes);
    static const QImage other = photo().mirrored(true, false); // for the cross-fade
    timed("memcpy", 0, [bytes] { return std::memcpy(warm.data(), photo().constBits(), bytes), warm[bytes / 2]; });
    timed("memcpy into fresh memory", 0,
          [bytes] { return QByteArray(reinterpret_cast<const char*>(photo().constBits()), int(bytes)); });
    timed("convoluteBW (Laplace)", 8, [] { return C(C::confLaplace).convoluteBW(photo()); });
    timed("sobelCombined", 8, [] { return C(C::confSobel).sobelCombined(photo()); });
    timed("averageSobel (n = 1)", 8, [] { return C(C::confSobel).averageSobel(photo(), 1); });
    timed("convoluteColor (sharpen)", 20, [] { return C(C::confSharpen).convoluteColor(photo()); });
    timed("morph (3 of 8)", 10, [] { return M::morph(photo(), other, 3, 8); });
    timed("changeSaturation (0.5)", 10, [] { return M::changeSaturation(photo(), 0.5); });
    timed("rotateCW", 10, [] { return M::rotateCW(photo()); });
    timed("createMaxImage", 0, [] { return C(C::confSobel).createMaxImage(photo()); });
    timed("invert", 0, [] { return C(C::confSobel).invert(photo()); });
    timed("averageColorSobel (n = 1)", 0, [] { return C(C::confSobel).averageColorSobel(photo(), 1); });
    timed("mirrorHorizontal", 0, [] { return M::mirrorHorizontal(photo()); });
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    return 0;
}
