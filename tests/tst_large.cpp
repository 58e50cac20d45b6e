#include "ZelEffectTestSupport.h"

#include <QtTest>

#include <wand/MagickWand.h>

// Pictures larger than a limit: the effects give their documented null result instead of
// stopping the process. (`make large` runs every effect on very large photos.)

class TestLarge : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { MagickWandGenesis(); }
    void beyondMagickLimits_data();
    void beyondMagickLimits();
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
    const QImage result = makeEffect(effect, photo(size.width(), size.height()))->result();
    MagickSetResourceLimit(type, saved);
    QCOMPARE(result.isNull(), !held);
}

QTEST_MAIN(TestLarge)
#include "tst_large.moc"
