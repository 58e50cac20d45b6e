#include "ZelEffectRegistry.h"
#include "ZelImageProcessor.h"
#include "ZelImageProcessorFlipHorizontal.h"
#include "ZelImageProcessorImpl_p.h"
#include "ZelParameterDescriptionNumber.h"
#include "ZelProgressSignalizer.h"

#include "ZelMath.h"
#include "ZelMetaTypeCoreRegistry.h"

#include <QPainterPath>
#include <QPointer>
#include <QSignalSpy>
#include <QtTest>

#include <memory>

// A small effect with parameters, built exactly like the library's own effects, so that the
// framework is tested through the pattern every effect follows.
class ZelImageProcessorProbe;

class ZelImageProcessorProbeImpl : public ZelImageProcessorImpl
{
    Q_OBJECT
public:
    explicit ZelImageProcessorProbeImpl(const QImage& image)
        : ZelImageProcessorImpl(image, QStringLiteral("Probe"))
    {
        createParameterDescriptions();
    }

    // What the last result() saw.
    QSize lastSourceSize;
    int lastStrengthPercent = -1;

public slots:
    // Reports two steps through the signalizer, as an ImageMagick operation would, and returns
    // the source.
    QImage result() override
    {
        connectProgressSignalizer();
        lastSourceSize = sourceImage().size();
        lastStrengthPercent = qRound(parameters().value("AStrength").toDouble() * 100);
        myProgressSignalizer->setProcessName(QStringLiteral("step"));
        myProgressSignalizer->setProgress(1, 2);
        myProgressSignalizer->setProgress(2, 2);
        disconnectProgressSignalizer();
        emit finished(false);
        return sourceImage();
    }

protected:
    QString progressTitle() const override { return QStringLiteral("Probe title"); }

private:
    void createParameterDescriptions()
    {
        ZelParameterDescriptionNumber strength;
        strength.setParameterName("AStrength");
        strength.setValue(0.5);
        strength.setDefaultValue(0.5);
        strength.setRange(0.0, 1.0);
        strength.setUserVisibleRange(0, 100);
        addParameter("AStrength", strength, 0, 0);

        ZelParameterDescriptionNumber blur;
        blur.setParameterName("BBlur");
        blur.setValue(3);
        blur.setDefaultValue(3);
        blur.setRange(0, 10);
        blur.setCheckable(true);
        addParameter("BBlur", blur, 1, 0);
    }
};

class ZelImageProcessorProbe : public ZelImageProcessor
{
    Q_OBJECT
public:
    Q_INVOKABLE ZelImageProcessorProbe() : ZelImageProcessorProbe(QImage()) {}
    Q_INVOKABLE explicit ZelImageProcessorProbe(const QImage& image)
        : ZelImageProcessor(image)
    {
        setProperty("ToolTip", QStringLiteral("probe tooltip"));
        installImplementation(new ZelImageProcessorProbeImpl(image));
    }
    ZelImageProcessorProbeImpl* impl() const { return static_cast<ZelImageProcessorProbeImpl*>(myImpl); }

public slots:
    void cancel() override { myImpl->cancel(); }
    QImage result() override { return myImpl->result(); }
    QImage generatePreview(const QSize& size) override { return myImpl->generatePreview(size); }
    QImage generatePreview(const QRect& rect) override { return myImpl->generatePreview(rect); }
};

namespace {

QImage filledImage(int width, int height, QRgb color = 0xFF336699)
{
    QImage image(width, height, QImage::Format_ARGB32);
    image.fill(color);
    return image;
}

} // namespace

class TestFramework : public QObject
{
    Q_OBJECT

private slots:
    void signalizerRelaysWithoutStoring();
    void signalizerCancelFlagLifecycle();
    void constructorImageEqualsSetSourceImage();
    void progressReachesThePublicObjectOnce();
    void progressCarriesTitleAndStepName();
    void parameterIntValueRespectsEnabled_data();
    void parameterIntValueRespectsEnabled();
    void mapParametersResetDisabledEntries();
    void uiParametersMapNumbers();
    void listParametersCopyValuesOnly();
    void containerReplacesParameters();
    void previewBySizeKeepsAspectRatio();
    void previewBySectionAndOwnStateUntouched();
    void cancelEmitsFinishedAndCutsTheSignalizer();
    void resetCancelReportsOnce();
    void signalizerSurvivesWhileCancelIsNotAllowed();
    void applySubProcessorRelaysProgress();
    void registryFindsByClassAndShortName_data();
    void registryFindsByClassAndShortName();
    void registryConstructsEveryEffect();
    void platformCore();
};

void TestFramework::signalizerRelaysWithoutStoring()
{
    ZelProgressSignalizer signalizer;
    QSignalSpy progress(&signalizer, &ZelProgressSignalizer::progressChanged);
    QSignalSpy names(&signalizer, qOverload<const QString&>(&ZelProgressSignalizer::processName));
    signalizer.setProgress(3, 10);
    QCOMPARE(progress.count(), 1);
    QCOMPARE(progress.at(0), (QVariantList{3, 10}));
    QCOMPARE(signalizer.processName(), QString());
    signalizer.setProcessName("Blur");
    QCOMPARE(names.count(), 1);
    QCOMPARE(signalizer.processName(), QString("Blur"));
}

void TestFramework::signalizerCancelFlagLifecycle()
{
    ZelProgressSignalizer signalizer;
    QVERIFY(!signalizer.cancelled());
    QVERIFY(signalizer.cancelAllowed());
    signalizer.setCancelled();
    QVERIFY(signalizer.cancelled());
    signalizer.start();
    QVERIFY(!signalizer.cancelled());
    signalizer.setCancelAllowed(false);
    signalizer.setCancelled(true);
    QVERIFY(signalizer.cancelled()); // the request stays recorded even while not allowed
}

void TestFramework::constructorImageEqualsSetSourceImage()
{
    const QImage image = filledImage(3, 2);
    ZelImageProcessorFlipHorizontal constructed(image);
    ZelImageProcessorFlipHorizontal assigned;
    assigned.setSourceImage(image);
    QCOMPARE(constructed.result(), assigned.result());
    QVERIFY(!constructed.result().isNull());
}

void TestFramework::progressReachesThePublicObjectOnce()
{
    ZelImageProcessorProbe probe(filledImage(4, 4));
    QSignalSpy progress(&probe, &ZelImageProcessor::progress);
    QSignalSpy finished(&probe, &ZelImageProcessor::finished);
    probe.result();
    QCOMPARE(progress.count(), 2);
    QCOMPARE(finished.count(), 1);
    QCOMPARE(finished.at(0).at(0).toBool(), false);
}

void TestFramework::progressCarriesTitleAndStepName()
{
    ZelImageProcessorProbe probe(filledImage(4, 4));
    QSignalSpy progress(&probe, &ZelImageProcessor::progress);
    probe.result();
    QCOMPARE(progress.at(0), (QVariantList{"Probe title", "step", 1, 2}));
    QCOMPARE(progress.at(1), (QVariantList{"Probe title", "step", 2, 2}));
    // Outside result() the signalizer is not connected.
    probe.impl()->progressSignalizer()->setProgress(5, 5);
    QCOMPARE(progress.count(), 2);
}

void TestFramework::parameterIntValueRespectsEnabled_data()
{
    QTest::addColumn<bool>("enabled");
    QTest::addColumn<bool>("respectEnabled");
    QTest::addColumn<int>("expected");
    QTest::newRow("enabled, respected") << true << true << 7;
    QTest::newRow("disabled, respected") << false << true << 0;
    QTest::newRow("disabled, ignored") << false << false << 7;
}

void TestFramework::parameterIntValueRespectsEnabled()
{
    QFETCH(bool, enabled);
    QFETCH(bool, respectEnabled);
    QFETCH(int, expected);
    ZelImageProcessorProbe probe;
    ZelImageProcessorProbeImpl* impl = probe.impl();
    impl->setParameterValue("BBlur", 7);
    ZelParameterDescription blur = impl->parameters().parameter("BBlur");
    blur.setEnabled(enabled);
    impl->parameters().add(blur, 1, 0);
    QCOMPARE(impl->parameterIntValue("BBlur", respectEnabled), expected);
}

void TestFramework::mapParametersResetDisabledEntries()
{
    ZelImageProcessorProbe probe;
    probe.impl()->setParameterValue("BBlur", 9);
    ZelUIParameterMap map;
    map.insert("BBlur", qMakePair(QVariant(5), false));
    map.insert("AStrength", qMakePair(QVariant(0.8), true));
    probe.setParameters(map);
    QCOMPARE(probe.parameterContainer().value("BBlur"), QVariant(3));
    QCOMPARE(probe.parameterContainer().value("AStrength"), QVariant(0.8));
}

void TestFramework::uiParametersMapNumbers()
{
    ZelImageProcessorProbe probe(filledImage(2, 2));
    ZelUIParameterMap map;
    map.insert("AStrength", qMakePair(QVariant(20), true));
    probe.setUIParameters(map);
    probe.result();
    QCOMPARE(probe.impl()->lastStrengthPercent, 20);
}

void TestFramework::listParametersCopyValuesOnly()
{
    ZelImageProcessorProbe probe;
    ZelParameterDescription foreign;
    foreign.setParameterName("BBlur");
    foreign.setVisibleName("foreign label");
    foreign.setValue(8);
    probe.setParameters(QList<ZelParameterDescription>{foreign});
    const ZelParameterDescription stored = probe.parameterContainer().parameter("BBlur");
    QCOMPARE(stored.value(), QVariant(8));
    QCOMPARE(stored.visibleName(), QString());
    QVERIFY(stored.isCheckable());
}

void TestFramework::containerReplacesParameters()
{
    ZelImageProcessorProbe probe;
    ZelParameterDescriptionContainer container("Other", QString());
    container.setValue("X", 1);
    probe.setParameters(container);
    QCOMPARE(probe.parameterContainer().typeName(), QString("Other"));
    QCOMPARE(probe.parameterContainer().parameterNames(), QStringList{"X"});
}

void TestFramework::previewBySizeKeepsAspectRatio()
{
    ZelImageProcessorProbe probe(filledImage(400, 200));
    QSignalSpy progress(&probe, &ZelImageProcessor::progress);
    const QImage preview = probe.generatePreview(QSize(100, 100));
    QCOMPARE(preview.size(), QSize(100, 50));
    QCOMPARE(progress.count(), 0); // previews run on an unconnected temporary
}

void TestFramework::previewBySectionAndOwnStateUntouched()
{
    ZelImageProcessorProbe probe(filledImage(400, 200));
    ZelUIParameterMap map;
    map.insert("AStrength", qMakePair(QVariant(0.25), true));
    probe.setParameters(map);
    QCOMPARE(probe.generatePreview(QRect(10, 20, 30, 40)).size(), QSize(30, 40));
    QCOMPARE(probe.impl()->lastSourceSize, QSize()); // the preview did not run on this object
    QCOMPARE(probe.parameterContainer().value("AStrength"), QVariant(0.25));
}

void TestFramework::cancelEmitsFinishedAndCutsTheSignalizer()
{
    ZelImageProcessorProbe probe(filledImage(2, 2));
    QSignalSpy finished(&probe, &ZelImageProcessor::finished);
    QSignalSpy progress(&probe, &ZelImageProcessor::progress);
    QSignalSpy canceled(&probe, &ZelImageProcessor::operationCanceled);
    ZelProgressSignalizer* signalizer = probe.impl()->progressSignalizer();
    probe.impl()->connectProgressSignalizer();
    probe.cancel();
    QCOMPARE(finished.count(), 1);
    QCOMPARE(finished.at(0).at(0).toBool(), false);
    QCOMPARE(canceled.count(), 0); // only composite effects emit it
    QVERIFY(signalizer->cancelled());
    QVERIFY(probe.impl()->isCancelled());
    signalizer->setProgress(1, 1);
    QCOMPARE(progress.count(), 0);
}

void TestFramework::resetCancelReportsOnce()
{
    ZelImageProcessorProbe probe;
    QVERIFY(!probe.impl()->resetCancel());
    probe.cancel();
    QVERIFY(probe.impl()->resetCancel());
    QVERIFY(!probe.impl()->resetCancel());
    // The signalizer's own flag is cleared only by start().
    QVERIFY(probe.impl()->progressSignalizer()->cancelled());
}

void TestFramework::signalizerSurvivesWhileCancelIsNotAllowed()
{
    auto probe = std::make_unique<ZelImageProcessorProbe>();
    QPointer<ZelProgressSignalizer> signalizer = probe->impl()->progressSignalizer();
    signalizer->setCancelAllowed(false);
    probe.reset();
    QVERIFY(!signalizer.isNull());
    delete signalizer.data();

    auto other = std::make_unique<ZelImageProcessorProbe>();
    QPointer<ZelProgressSignalizer> deleted = other->impl()->progressSignalizer();
    other.reset();
    QVERIFY(deleted.isNull());
}

void TestFramework::applySubProcessorRelaysProgress()
{
    ZelImageProcessorProbe outer(filledImage(2, 2));
    ZelImageProcessorProbe inner(filledImage(5, 1, 0xFF010203));
    QSignalSpy progress(&outer, &ZelImageProcessor::progress);
    const QImage image = outer.impl()->applySubProcessor(&inner);
    QCOMPARE(image.size(), QSize(5, 1));
    QCOMPARE(progress.count(), 2);
    inner.result(); // the relay ends with the sub-step
    QCOMPARE(progress.count(), 2);
}

void TestFramework::registryFindsByClassAndShortName_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("className");
    QTest::newRow("class name") << "ZelImageProcessorFlipHorizontal" << "ZelImageProcessorFlipHorizontal";
    QTest::newRow("short name") << "FlipVertical" << "ZelImageProcessorFlipVertical";
    QTest::newRow("any case") << "examplegauss" << "ZelImageProcessorExampleGauss";
    QTest::newRow("unknown") << "NoSuchEffect" << QString();
    QTest::newRow("empty") << QString() << QString();
}

void TestFramework::registryFindsByClassAndShortName()
{
    QFETCH(QString, name);
    QFETCH(QString, className);
    const QMetaObject* effect = ZelEffectRegistry::find(name);
    QCOMPARE(effect ? QString(effect->className()) : QString(), className);
}

void TestFramework::registryConstructsEveryEffect()
{
    const QList<const QMetaObject*> effects = ZelEffectRegistry::effects();
    QVERIFY(effects.size() >= 5);
    for (const QMetaObject* effect : effects) {
        QVERIFY2(effect->inherits(&ZelImageProcessor::staticMetaObject), effect->className());
        QVERIFY(!ZelEffectRegistry::shortName(effect).startsWith("ZelImageProcessor"));
        std::unique_ptr<ZelImageProcessor> bare(ZelEffectRegistry::create(effect));
        QVERIFY2(bare, effect->className());
        std::unique_ptr<ZelImageProcessor> withImage(ZelEffectRegistry::create(effect, filledImage(2, 2)));
        QVERIFY2(withImage, effect->className());
    }
    QVERIFY(!ZelEffectRegistry::create(nullptr));
}

void TestFramework::platformCore()
{
    QCOMPARE(ZelMath::degreeToRadiant(180.0), M_PI);
    QCOMPARE(ZelMath::degreeToRadiant(-90.0), -M_PI / 2);
    const int type = ZelMetaTypeCoreRegistry::instance().qPainterPathVariantUserType();
    QCOMPARE(ZelMetaTypeCoreRegistry::instance().qPainterPathVariantUserType(), type);
    QCOMPARE(type, qMetaTypeId<QPainterPath>());
    QVERIFY(type >= QMetaType::User);
    QPainterPath path;
    path.addRect(0, 0, 2, 2);
    const QVariant variant = QVariant::fromValue(path);
    QCOMPARE(variant.userType(), type);
    QCOMPARE(variant.value<QPainterPath>(), path);
}

QTEST_MAIN(TestFramework)
#include "tst_framework.moc"
