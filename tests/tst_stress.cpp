#include "ZelEffectContracts.h"
#include "ZelEffectTestSupport.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QLoggingCategory>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <random>
#include <thread>

// Cancels every registered effect from another thread at a random moment, over and over: no run
// may crash or hang, and each result must be what the effect documents for a cancel (or its
// normal result, when the cancel came too late).
//
//     tst_stress [RUNS] [--seed N] [--large] [--effect NAME]...
//
// RUNS (default 60) runs visit the effects in turn, in an order shuffled for each round. Small
// photos (120 x 80) by default; --large picks a photo per effect on which a run takes about
// 50 to 500 ms. The seed (random unless given) is printed first: with it a run replays the same
// effects and delays, though not the same thread timing.

namespace {

struct Subject
{
    QString name;
    Contract contract;
    QImage source;
    QImage normal; // the uncancelled result, seeded like every run
    double milliseconds = 0;
};

std::unique_ptr<ZelImageProcessor> prepared(const QString& name, const QImage& image)
{
    auto effect = makeEffect(name, image);
    nudgeParameters(*effect);
    return effect;
}

void measure(Subject& subject, const QSize& size)
{
    subject.source = photo(size.width(), size.height());
    const auto effect = prepared(subject.name, subject.source);
    QElapsedTimer timer;
    timer.start();
    seed();
    subject.normal = effect->result();
    subject.milliseconds = timer.nsecsElapsed() / 1e6;
}

// Largest sides, so that a slow machine does not grow a photo without end. Sketch is slow per
// pixel; ExampleGrayscale pauses 100 ms every 50 rows by design.
QSize largestSize(const QString& name)
{
    if (name == QLatin1String("Sketch"))
        return QSize(320, 240);
    if (name == QLatin1String("ExampleGrayscale"))
        return QSize(1600, 120);
    return QSize(4000, 3000);
}

Subject subject(const QString& name, bool large)
{
    Subject subject{name, contractOf(name), {}, {}, 0};
    QSize size(120, 80);
    measure(subject, size);
    const QSize largest = largestSize(name);
    while (large && subject.milliseconds < 50 && size.width() < largest.width() && size.height() < largest.height()) {
        const double grow = std::clamp(std::sqrt(150 / std::max(subject.milliseconds, 0.5)), 1.3, 4.0);
        size = QSize(int(size.width() * grow), int(size.height() * grow)).boundedTo(largest);
        measure(subject, size);
    }
    return subject;
}

const char* outcomeName(const QImage& result, const Subject& subject)
{
    if (result.isNull())
        return "null";
    if (result == subject.source)
        return "source";
    return "normal";
}

struct Tally
{
    int runs = 0;
    QHash<QString, int> outcomes;
};

} // namespace

int main(int argc, char* argv[])
{
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    // Widgets: FotoCollage draws its shadows through a QGraphicsScene.
    QApplication application(argc, argv);
    QLoggingCategory::setFilterRules(QStringLiteral("*.debug=false")); // a line per ImageMagick call otherwise

    int runs = 60;
    quint64 seedValue = std::random_device()();
    bool large = false;
    QStringList only;
    const QStringList arguments = application.arguments().mid(1);
    for (int i = 0; i < arguments.size(); ++i) {
        const QString& argument = arguments.at(i);
        if (argument == QLatin1String("--seed") && i + 1 < arguments.size())
            seedValue = arguments.at(++i).toULongLong();
        else if (argument == QLatin1String("--large"))
            large = true;
        else if (argument == QLatin1String("--effect") && i + 1 < arguments.size())
            only << arguments.at(++i);
        else if (argument.toInt() > 0)
            runs = argument.toInt();
        else {
            std::fprintf(stderr, "usage: tst_stress [RUNS] [--seed N] [--large] [--effect NAME]...\n");
            return 2;
        }
    }
    std::printf("seed %llu\n", static_cast<unsigned long long>(seedValue));
    std::fflush(stdout);

    std::vector<Subject> subjects;
    for (const QMetaObject* meta : ZelEffectRegistry::effects()) {
        const QString name = ZelEffectRegistry::shortName(meta);
        if (!only.isEmpty() && !only.contains(name, Qt::CaseInsensitive))
            continue;
        subjects.push_back(subject(name, large));
        if (large) {
            const Subject& last = subjects.back();
            std::printf("%-18s %5d x %-5d %7.1f ms\n", qPrintable(name), last.source.width(), last.source.height(),
                        last.milliseconds);
        }
    }
    if (subjects.empty()) {
        std::fprintf(stderr, "tst_stress: no such effect\n");
        return 2;
    }

    std::mt19937_64 random(seedValue);
    std::vector<size_t> order(subjects.size());
    QHash<QString, Tally> tallies;
    int failures = 0;
    for (int run = 0; run < runs; ++run) {
        const size_t place = size_t(run) % order.size();
        if (place == 0) {
            for (size_t i = 0; i < order.size(); ++i)
                order[i] = i;
            std::shuffle(order.begin(), order.end(), random);
        }
        const Subject& subject = subjects[order[place]];
        // Up to a little past the expected end, so that some cancels come too late.
        const auto delay = std::chrono::microseconds(
            std::uniform_int_distribution<long>(0, long(subject.milliseconds * 1200))(random));

        const auto effect = prepared(subject.name, subject.source);
        QImage result;
        std::atomic<bool> done{false};
        std::thread worker([&] {
            seed();
            result = effect->result();
            done = true;
        });
        std::this_thread::sleep_for(delay);
        effect->cancel();
        // A run that outlives fifty times its uncancelled time (at least a minute) hangs.
        QElapsedTimer waiting;
        waiting.start();
        const qint64 limit = std::max<qint64>(60000, qint64(subject.milliseconds * 50));
        while (!done && waiting.elapsed() < limit)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        if (!done) {
            std::printf("HANG run %d: %s, cancelled after %lld us; replay with --seed %llu\n", run,
                        qPrintable(subject.name), static_cast<long long>(delay.count()),
                        static_cast<unsigned long long>(seedValue));
            std::fflush(stdout);
            std::_Exit(3);
        }
        worker.join();

        const Contract& contract = subject.contract;
        const auto normal = [&subject] { return subject.normal; };
        const bool accepted =
            cancelOutcomeAccepted(result, subject.source, contract.cancelDuring, true, contract.traits, normal)
            || cancelOutcomeAccepted(result, subject.source, contract.cancelBefore, false, contract.traits, normal);
        Tally& tally = tallies[subject.name];
        ++tally.runs;
        ++tally.outcomes[QString::fromLatin1(accepted ? outcomeName(result, subject) : "wrong")];
        if (!accepted) {
            ++failures;
            std::printf("FAIL run %d: %s cancelled after %lld us gave %s; replay with --seed %llu\n", run,
                        qPrintable(subject.name), static_cast<long long>(delay.count()),
                        qPrintable(outcomeText(result, subject.source)), static_cast<unsigned long long>(seedValue));
        }
    }

    for (const Subject& subject : subjects) {
        const Tally tally = tallies.value(subject.name);
        QStringList counts;
        for (const char* outcome : {"source", "null", "normal", "wrong"}) {
            if (const int count = tally.outcomes.value(QLatin1String(outcome)))
                counts << QStringLiteral("%1 %2").arg(count).arg(QLatin1String(outcome));
        }
        std::printf("%-18s %3d runs: %s\n", qPrintable(subject.name), tally.runs, qPrintable(counts.join(", ")));
    }
    std::printf("%d runs, %d failed (seed %llu)\n", runs, failures, static_cast<unsigned long long>(seedValue));
    return failures == 0 ? 0 : 1;
}
