// Times the toolkit operations on one thread against a memcpy of the same photo and prints their
// ratios beside the targets. Google Benchmark flags pass through; --size=WxH changes the photo
// (default 6000x4000, that of `zelfx bench`), --portable runs the vector code without AVX2.
// Targets are judged on CPU time (it includes page faults of new images): other processes on a
// shared machine stretch wall times unevenly. Wall-time ratios are printed beside them.
#include "ZelHsvBatch_p.h"
#include "bench.h"

#include <ZelConvolution.h>
#include <ZelEditImageManipulator.h>

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstring>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace {

QSize gSize(6000, 4000);

const QImage& photo()
{
    static const QImage image = syntheticPhoto(gSize);
    return image;
}

const QImage& otherPhoto() // for the cross-fade
{
    static const QImage image = photo().mirrored(true, false);
    return image;
}

struct Operation
{
    const char* name;
    double target; // ratio to memcpy; 0: no target
    std::function<void()> run;
};

// The result, an image or a number, is kept from the optimizer.
template <typename Run>
std::function<void()> kept(Run run)
{
    return [run] { benchmark::DoNotOptimize(run()); };
}

std::vector<Operation> operations()
{
    using Manipulator = ZelEditImageManipulator;
    using Convolution = ZelConvolution;
    return {
        {"convoluteBW (Laplace)", 8, kept([] { return Convolution(Convolution::confLaplace).convoluteBW(photo()); })},
        {"sobelCombined", 8, kept([] { return Convolution(Convolution::confSobel).sobelCombined(photo()); })},
        {"averageSobel (n = 1)", 8, kept([] { return Convolution(Convolution::confSobel).averageSobel(photo(), 1); })},
        {"convoluteColor (sharpen)", 20, kept([] { return Convolution(Convolution::confSharpen).convoluteColor(photo()); })},
        {"morph (3 of 8)", 10, kept([] { return Manipulator::morph(photo(), otherPhoto(), 3, 8); })},
        {"changeSaturation (0.5)", 10, kept([] { return Manipulator::changeSaturation(photo(), 0.5); })},
        {"rotateCW", 10, kept([] { return Manipulator::rotateCW(photo()); })},
        {"createMaxImage", 0, kept([] { return Convolution(Convolution::confSobel).createMaxImage(photo()); })},
        {"invert", 0, kept([] { return Convolution(Convolution::confSobel).invert(photo()); })},
        {"averageColorSobel (n = 1)", 0, kept([] { return Convolution(Convolution::confSobel).averageColorSobel(photo(), 1); })},
        {"mirrorHorizontal", 0, kept([] { return Manipulator::mirrorHorizontal(photo()); })},
    };
}

const char* const kMemcpy = "memcpy";

void copyInto(benchmark::State& state, bool fresh)
{
    const size_t bytes = size_t(photo().sizeInBytes());
    std::unique_ptr<uchar[]> warm(new uchar[bytes]);
    std::memset(warm.get(), 0, bytes);
    for (auto _ : state) {
        const std::unique_ptr<uchar[]> newMemory(fresh ? new uchar[bytes] : nullptr);
        uchar* const target = fresh ? newMemory.get() : warm.get();
        std::memcpy(target, photo().constBits(), bytes);
        benchmark::DoNotOptimize(target[bytes / 2]);
        benchmark::ClobberMemory();
    }
}

// The console output, and afterwards one table of median times and ratios to the warm memcpy.
class RatioReporter : public benchmark::ConsoleReporter
{
public:
    explicit RatioReporter(std::map<std::string, double> targets) : myTargets(std::move(targets)) {}

    void ReportRuns(const std::vector<Run>& runs) override
    {
        ConsoleReporter::ReportRuns(runs);
        for (const Run& run : runs)
            if (run.run_type == Run::RT_Aggregate && run.aggregate_name == "median") {
                myOrder.push_back(run.run_name.function_name);
                myTimes[run.run_name.function_name] = {run.GetAdjustedCPUTime(), run.GetAdjustedRealTime()};
            }
    }

    void Finalize() override
    {
        ConsoleReporter::Finalize();
        const Times copy = myTimes.count(kMemcpy) ? myTimes[kMemcpy] : Times{0.0, 0.0};
        const double pixels = double(gSize.width()) * gSize.height();
        std::printf("\n%-28s %10s %9s %16s %11s %10s\n", "toolkit operation", "cpu ms", "ns/pixel", "ratio to memcpy",
                    "target", "wall ratio");
        for (const std::string& name : myOrder) {
            const Times times = myTimes[name];
            const double ratio = copy.cpu > 0 ? times.cpu / copy.cpu : 0.0;
            const double target = myTargets.count(name) ? myTargets[name] : 0.0;
            char targetText[32] = "-";
            if (target > 0 && copy.cpu > 0)
                std::snprintf(targetText, sizeof targetText, "%s %g", ratio <= target ? "ok <=" : "OVER", target);
            std::printf("%-28s %10.3f %9.3f %16.2f %11s %10.2f\n", name.c_str(), times.cpu, times.cpu * 1e6 / pixels,
                        ratio, targetText, copy.wall > 0 ? times.wall / copy.wall : 0.0);
        }
        std::fflush(stdout);
    }

private:
    struct Times { double cpu, wall; };

    std::map<std::string, double> myTargets;
    std::vector<std::string> myOrder;
    std::map<std::string, Times> myTimes;
};

bool takeOwnOptions(int* argc, char** argv)
{
    int kept = 1;
    for (int i = 1; i < *argc; ++i) {
        int width = 0, height = 0;
        if (std::strcmp(argv[i], "--portable") == 0) {
            zelSetBatchAvx2Allowed(false);
        } else if (std::strncmp(argv[i], "--size=", 7) != 0) {
            argv[kept++] = argv[i];
        } else if (std::sscanf(argv[i] + 7, "%dx%d", &width, &height) == 2 && width >= 3 && height >= 3) {
            gSize = QSize(width, height);
        } else {
            std::fprintf(stderr, "zel_toolkit_bench: bad %s (expected --size=WxH)\n", argv[i]);
            return false;
        }
    }
    *argc = kept;
    return true;
}

// Five repetitions of three runs each, reported as aggregates.
void registerTimed(const char* name, const std::function<void(benchmark::State&)>& run)
{
    benchmark::RegisterBenchmark(name, run)->Unit(benchmark::kMillisecond)->Iterations(3)->Repetitions(5)->ReportAggregatesOnly(true);
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
    registerTimed(kMemcpy, [](benchmark::State& state) { copyInto(state, false); });
    registerTimed("memcpy into fresh memory", [](benchmark::State& state) { copyInto(state, true); });
    std::map<std::string, double> targets;
    for (const Operation& operation : operations()) {
        targets[operation.name] = operation.target;
        registerTimed(operation.name, [run = operation.run](benchmark::State& state) {
            for (auto _ : state)
                run();
        });
    }
    RatioReporter reporter(targets);
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    return 0;
}
