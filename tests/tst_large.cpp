#include "ZelEffectTestSupport.h"

#include <QtTest>

#include <wand/MagickWand.h>

#include <sys/resource.h>
#include <unistd.h>

#include <fstream>

// Pictures larger than a limit: the effects give their documented result (null, or the source)
// instead of stopping the process. (`make large` runs every effect on very large photos.)

class TestLarge : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { MagickWandGenesis(); }
    void beyondMagickLimits_data();
    void beyondMagickLimits();
    void cancelsLetPicturesGo();
    void outOfMemory_data();
    void outOfMemory();
};

void TestLarge::beyondMagickLimits_data()
{
    QTest::addColumn<QString>("effect");
    QTest::addColumn<QList<int>>("resources"); // each lowered to 100
    QTest::addColumn<QSize>("size");
    QTest::addColumn<bool>("held");
    // Lowered limits stand for a policy's: ImageMagick refuses wider, taller or larger pictures,
    // and those whose pixel cache (8 bytes a pixel) fits neither in memory nor on disk.
    QTest::newRow("Swirl, width at the limit") << "Swirl" << QList<int>{WidthResource} << QSize(100, 3) << true;
    QTest::newRow("Swirl, wider") << "Swirl" << QList<int>{WidthResource} << QSize(101, 3) << false;
    QTest::newRow("Sketch, taller") << "Sketch" << QList<int>{HeightResource} << QSize(3, 101) << false;
    QTest::newRow("OilPainting, larger") << "OilPainting" << QList<int>{AreaResource} << QSize(11, 10) << false;
    QTest::newRow("Swirl, cache within memory") << "Swirl" << QList<int>{MemoryResource, DiskResource} << QSize(3, 4)
                                                << true;
    QTest::newRow("Swirl, cache beyond memory and disk") << "Swirl" << QList<int>{MemoryResource, DiskResource}
                                                         << QSize(4, 4) << false;
}

void TestLarge::beyondMagickLimits()
{
    QFETCH(QString, effect);
    QFETCH(QList<int>, resources);
    QFETCH(QSize, size);
    QFETCH(bool, held);
    QList<MagickSizeType> saved;
    for (const int resource : resources) {
        saved << MagickGetResourceLimit(ResourceType(resource));
        MagickSetResourceLimit(ResourceType(resource), 100);
    }
    QLoggingCategory::setFilterRules(QStringLiteral("zel.magick.warning=true"));
    if (!held) // the refusal is told, not only seen in the null result
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("^ImageMagick cannot hold a picture of %1 x %2 ")
                                                                  .arg(size.width()).arg(size.height())));
    const QImage result = makeEffect(effect, photo(size.width(), size.height()))->result();
    for (int i = 0; i < resources.size(); ++i)
        MagickSetResourceLimit(ResourceType(resources.at(i)), saved.at(i));
    QLoggingCategory::setFilterRules(QString());
    QCOMPARE(result.isNull(), !held);
}

// A cancelled ImageMagick operation leaves its wand alive, but not its pictures: with room for
// three pictures in memory and none on disk, four cancels in a row leave room for the next run.
void TestLarge::cancelsLetPicturesGo()
{
    const QImage source = photo(40, 30);
    const QImage expected = makeEffect("Swirl", source)->result();
    const MagickSizeType memory = MagickGetResourceLimit(MemoryResource);
    const MagickSizeType disk = MagickGetResourceLimit(DiskResource);
    MagickSetResourceLimit(MemoryResource, 3 * 40 * 30 * sizeof(PixelPacket));
    MagickSetResourceLimit(DiskResource, 16);
    for (int i = 0; i < 4; ++i) {
        const auto cancelled = makeEffect("Swirl", source);
        connect(cancelled.get(), &ZelImageProcessor::progress, cancelled.get(), &ZelImageProcessor::cancel,
                Qt::DirectConnection);
        QVERIFY(cancelled->result().isNull());
    }
    const QImage result = makeEffect("Swirl", source)->result();
    MagickSetResourceLimit(MemoryResource, memory);
    MagickSetResourceLimit(DiskResource, disk);
    QCOMPARE(result, expected);
}

void TestLarge::outOfMemory_data()
{
    QTest::addColumn<QString>("effect");
    QTest::addColumn<QImage::Format>("format");
    // An RGB32 source is shared with the effect's working image until the loop writes into it.
    QTest::newRow("ExampleGrayscale, RGB32") << "ExampleGrayscale" << QImage::Format_RGB32;
    QTest::newRow("ExampleGrayscale, ARGB32") << "ExampleGrayscale" << QImage::Format_ARGB32;
}

// With the address space limited to a few megabytes more than the process holds, a copy of the
// photo cannot be allocated: the effect gives back its source.
void TestLarge::outOfMemory()
{
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    QSKIP("the sanitizers' allocators do not fail like malloc under an address space limit");
#endif
    QFETCH(QString, effect);
    QFETCH(QImage::Format, format);
    const QImage source = photo(2000, 1500).convertToFormat(format);
    const auto processor = makeEffect(effect, source);
    long pages = 0;
    std::ifstream("/proc/self/statm") >> pages;
    rlimit saved{};
    getrlimit(RLIMIT_AS, &saved);
    rlimit tight = saved;
    tight.rlim_cur = rlim_t(pages) * rlim_t(sysconf(_SC_PAGESIZE)) + 6 * 1024 * 1024;
    setrlimit(RLIMIT_AS, &tight);
    const QImage result = processor->result();
    setrlimit(RLIMIT_AS, &saved);
    QCOMPARE(result, source);
}

QTEST_MAIN(TestLarge)
#include "tst_large.moc"
