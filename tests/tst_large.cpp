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
    void outOfMemory_data();
    void outOfMemory();
};

void TestLarge::beyondMagickLimits_data()
{
    QTest::addColumn<QString>("effect");
    QTest::addColumn<int>("resource");
    QTest::addColumn<QSize>("size");
    QTest::addColumn<bool>("held");
    // Lowered limits stand for a policy's: ImageMagick refuses wider, taller or larger pictures.
    QTest::newRow("Swirl, width at the limit") << "Swirl" << int(WidthResource) << QSize(100, 3) << true;
    QTest::newRow("Swirl, wider") << "Swirl" << int(WidthResource) << QSize(101, 3) << false;
    QTest::newRow("Sketch, taller") << "Sketch" << int(HeightResource) << QSize(3, 101) << false;
    QTest::newRow("OilPainting, larger") << "OilPainting" << int(AreaResource) << QSize(11, 10) << false;
}

void TestLarge::beyondMagickLimits()
{
    QFETCH(QString, effect);
    QFETCH(int, resource);
    QFETCH(QSize, size);
    QFETCH(bool, held);
    const ResourceType type = ResourceType(resource);
    const MagickSizeType saved = MagickGetResourceLimit(type);
    MagickSetResourceLimit(type, 100);
    QLoggingCategory::setFilterRules(QStringLiteral("zel.magick.warning=true"));
    if (!held) // the refusal is told, not only seen in the null result
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("^ImageMagick cannot hold a picture of %1 x %2 ")
                                                                  .arg(size.width()).arg(size.height())));
    const QImage result = makeEffect(effect, photo(size.width(), size.height()))->result();
    MagickSetResourceLimit(type, saved);
    QLoggingCategory::setFilterRules(QString());
    QCOMPARE(result.isNull(), !held);
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
