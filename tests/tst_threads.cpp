#include "ZelConvolutionKernelGenerator.h"
#include "ZelEffectContracts.h"
#include "ZelEffectTestSupport.h"
#include "ZelPhotoConverter.h"

#include <QCryptographicHash>
#include <QtTest>

#include <atomic>
#include <functional>
#include <thread>
#include <vector>

// Effects computed on eight threads at once, each thread on its own effect objects, give what
// they give on one thread. std::thread rather than QThread, so that ThreadSanitizer sees the
// joins (Debian's Qt is not instrumented).

namespace {

const int threadCount = 8;

QByteArray hashOf(const QImage& image)
{
    if (image.isNull())
        return QByteArrayLiteral("null");
    QCryptographicHash hash(QCryptographicHash::Sha1);
    for (int y = 0; y < image.height(); ++y)
        hash.addData(reinterpret_cast<const char*>(image.constScanLine(y)), image.bytesPerLine());
    return QByteArray::number(image.width()) + 'x' + QByteArray::number(image.height()) + ' '
        + QByteArray::number(int(image.format())) + ' ' + hash.result().toHex();
}

// What a comparison may pin: effects whose every run differs only keep their size, and those
// drawing from the process's one std::rand() sequence depend on what other threads draw.
QByteArray comparable(const QString& effect, const QImage& image)
{
    const unsigned traits = contractOf(effect).traits;
    if (traits & (Unrepeatable | ProcessRandom))
        return QByteArray::number(image.width()) + 'x' + QByteArray::number(image.height());
    return hashOf(image);
}

std::unique_ptr<ZelImageProcessor> prepared(const QString& effect, const QImage& source)
{
    auto processor = makeEffect(effect, source);
    nudgeParameters(*processor);
    return processor;
}

// The effect on its own object, seeded like every run compared here.
QByteArray run(const QString& effect, const QImage& source)
{
    const auto processor = prepared(effect, source);
    seed();
    return comparable(effect, processor->result());
}

QStringList effectNames()
{
    QStringList names;
    for (const QMetaObject* effect : ZelEffectRegistry::effects())
        names << ZelEffectRegistry::shortName(effect);
    return names;
}

void onThreads(const std::function<void(int)>& work)
{
    std::vector<std::thread> threads;
    for (int t = 0; t < threadCount; ++t)
        threads.emplace_back(work, t);
    for (std::thread& thread : threads)
        thread.join();
}

} // namespace

class TestThreads : public QObject
{
    Q_OBJECT

private slots:
    void kernelGenerator();
    void differentEffects();
    void sameEffect_data();
    void sameEffect();
    void convertersAtOnce();

private:
    // One photo for all threads: its pixels are shared, as an application shares one QImage.
    const QImage mySource = photo(64, 48);
};

// First, so that the generator's first use happens on the threads: every thread gets the same
// kernels as the main thread does afterwards.
void TestThreads::kernelGenerator()
{
    using Kernels = std::tuple<QVector<QVector<int>>, QVector<QVector<int>>, QVector<double>, QVector<int>>;
    const auto kernels = [] {
        Kernels k;
        double factor = 0;
        ZelConvolutionKernelGenerator& generator = ZelConvolutionKernelGenerator::instance();
        generator.generateLaplace(std::get<0>(k), factor);
        generator.generateHorizontalSobel(std::get<1>(k), factor);
        generator.generateGaussFilter(1.5, 0, std::get<2>(k), factor);
        generator.generateGaussFilter(1.5, 0, std::get<3>(k), factor);
        return k;
    };
    std::vector<Kernels> fromThreads(threadCount);
    onThreads([&](int t) { fromThreads[size_t(t)] = kernels(); });
    const Kernels expected = kernels();
    for (const Kernels& k : fromThreads)
        QVERIFY(k == expected);
}

// Thread t runs every eighth effect, starting at the t-th, while the others run theirs.
void TestThreads::differentEffects()
{
    const QStringList names = effectNames();
    QHash<QString, QByteArray> alone;
    for (const QString& name : names)
        alone.insert(name, run(name, mySource));

    std::vector<QHash<QString, QByteArray>> together(threadCount);
    onThreads([&](int t) {
        for (int i = t; i < names.size(); i += threadCount)
            together[size_t(t)].insert(names.at(i), run(names.at(i), mySource));
    });
    for (const auto& results : together) {
        for (auto it = results.constBegin(); it != results.constEnd(); ++it)
            QVERIFY2(it.value() == alone.value(it.key()), qPrintable(it.key()));
    }
}

void TestThreads::sameEffect_data()
{
    QTest::addColumn<QString>("effect");
    for (const QString& name : effectNames())
        QTest::newRow(qPrintable(name)) << name;
}

// Eight objects of one effect class at once: whatever the class keeps for all its objects
// (static tables, the kernel generator, ImageMagick's state) is shared safely.
void TestThreads::sameEffect()
{
    QFETCH(QString, effect);
    const QByteArray alone = run(effect, mySource);
    std::vector<QByteArray> together(threadCount);
    onThreads([&](int t) { together[size_t(t)] = run(effect, mySource); });
    for (const QByteArray& result : together)
        QCOMPARE(result, alone);
}

// Eight photo converters running effects on their own threads at once: the effect of a job is
// the converter's own, not shared like the arguments of the other threaded jobs. No effect here
// draws random numbers: nothing can seed a job's thread.
void TestThreads::convertersAtOnce()
{
    const QStringList effects = {"ExampleGauss", "Convolution", "Swirl", "Ripple",
                                 "Mosaic", "Sepia", "DropShadow", "Illusion"};
    QVector<QByteArray> alone;
    for (const QString& effect : effects)
        alone << hashOf(prepared(effect, mySource)->result().convertToFormat(QImage::Format_ARGB32));

    std::vector<std::unique_ptr<ZelPhotoConverter>> converters;
    std::vector<std::atomic<bool>> ended(size_t(effects.size()));
    for (int i = 0; i < effects.size(); ++i) {
        converters.emplace_back(new ZelPhotoConverter);
        ZelPhotoConverter* converter = converters.back().get();
        converter->setPhoto(mySource, QString());
        // Directly on the job's thread, as the last thing it does: ThreadSanitizer sees the
        // release and acquire, not Qt's own wait.
        std::atomic<bool>* end = &ended[size_t(i)];
        connect(converter, &QThread::finished, converter, [end] { end->store(true, std::memory_order_release); },
                Qt::DirectConnection);
    }
    for (int i = 0; i < effects.size(); ++i)
        converters[size_t(i)]->applyImageProcessorThreaded(QSharedPointer<ZelImageProcessor>(prepared(effects.at(i), mySource).release()));
    for (int i = 0; i < effects.size(); ++i) {
        while (!ended[size_t(i)].load(std::memory_order_acquire))
            QThread::yieldCurrentThread();
        converters[size_t(i)]->wait();
        QVERIFY2(hashOf(converters[size_t(i)]->getPhoto()) == alone.at(i), qPrintable(effects.at(i)));
    }
}

QTEST_MAIN(TestThreads)
#include "tst_threads.moc"
