#include "ZelEffectRegistry.h"
#include "ZelImageProcessorFlipHorizontal.h"
#include "ZelImageProcessorImpl_p.h"
#include "ZelProgressSignalizer.h"
#include "ZelTestProbe.h"

#include <QPointer>
#include <QSignalSpy>
#include <QtTest>
#include <memory>

// The framework through the shared probe effect; what every registered effect must do is in tst_effects.
static QImage filledImage(int width, int height)
{
    QImage image(width, height, QImage::Format_ARGB32);
    image.fill(0xFF336699);
    return image;
}

class TestFramework : public QObject
{
    Q_OBJECT

private slots:
    void signalizer()
    {
        ZelProgressSignalizer signalizer;
        QSignalSpy progress(&signalizer, &ZelProgressSignalizer::progressChanged);
        QSignalSpy names(&signalizer, qOverload<const QString&>(&ZelProgressSignalizer::processName));
        signalizer.setProgress(3, 10);
        signalizer.setProcessName("Blur");
        QCOMPARE(progress, (QList<QVariantList>{{3, 10}}));
        QCOMPARE(names, (QList<QVariantList>{{"Blur"}}));
        signalizer.setCancelled();
        QVERIFY(signalizer.cancelled());
        signalizer.start();
        QVERIFY(!signalizer.cancelled());
        signalizer.setCancelAllowed(false);
        signalizer.setCancelled(true);
        QVERIFY(signalizer.cancelled()); // the request stays recorded even while not allowed
    }

    void constructorImageEqualsSetSourceImage()
    {
        QImage image = filledImage(3, 2);
        image.setPixel(0, 0, 0xFF000000);
        ZelImageProcessorFlipHorizontal assigned;
        assigned.setSourceImage(image);
        QCOMPARE(assigned.result(), ZelImageProcessorFlipHorizontal(image).result());
        QCOMPARE(assigned.result().pixel(0, 1), 0xFF000000u);
    }

    // The placeholder implementation's relay must be gone once the effect installed its own, or
    // every progress would arrive twice.
    void progressReachesThePublicObjectOnce()
    {
        ZelImageProcessorProbe probe(filledImage(4, 4));
        QSignalSpy progress(&probe, &ZelImageProcessor::progress);
        probe.result();
        probe.baseImpl()->progressSignalizer()->setProgress(5, 5); // outside result(): not connected
        QCOMPARE(progress, (QList<QVariantList>{{"Probe title", "step", 1, 2}, {"Probe title", "step", 2, 2}}));
    }

    // A disabled parameter reads as 0 where the caller respects the switch.
    void parameterIntValueRespectsEnabled()
    {
        ZelImageProcessorProbe probe;
        ZelImageProcessorImpl* impl = probe.baseImpl();
        impl->setParameterValue("BBlur", 7);
        QCOMPARE(impl->parameterIntValue("BBlur", true), 7);
        ZelParameterDescription blur = impl->parameters().parameter("BBlur");
        blur.setEnabled(false);
        impl->parameters().add(blur, 1, 0);
        QCOMPARE(impl->parameterIntValue("BBlur", true), 0);
        QCOMPARE(impl->parameterIntValue("BBlur", false), 7);
    }

    // Both map forms reset an entry whose switch is off to its default, whatever value it carries;
    // the UI form maps numbers from the shown range (AStrength: 0 ... 100 shown, 0 ... 1 stored).
    void mapParameters_data()
    {
        QTest::addColumn<bool>("uiUnits");
        QTest::addColumn<bool>("enabled");
        QTest::addColumn<QVariant>("given");
        QTest::addColumn<int>("expectedPercent");
        QTest::newRow("values, on") << false << true << QVariant(0.8) << 80;
        QTest::newRow("values, off") << false << false << QVariant(0.8) << 50;
        QTest::newRow("UI units, on") << true << true << QVariant(20) << 20;
        QTest::newRow("UI units, off") << true << false << QVariant(20) << 50;
    }
    void mapParameters()
    {
        QFETCH(bool, uiUnits);
        QFETCH(bool, enabled);
        QFETCH(QVariant, given);
        QFETCH(int, expectedPercent);
        ZelImageProcessorProbe probe(filledImage(2, 2));
        probe.baseImpl()->parameters().setValue("AStrength", 0.3);
        const ZelUIParameterMap map{{"AStrength", {given, enabled}}};
        if (uiUnits)
            probe.setUIParameters(map);
        else
            probe.setParameters(map);
        probe.result();
        QCOMPARE(probe.lastStrengthPercent(), expectedPercent);
    }

    // The list form copies values by name only; the container form replaces the whole container.
    void listAndContainerParameters()
    {
        ZelImageProcessorProbe probe;
        ZelParameterDescription foreign;
        foreign.setParameterName("BBlur");
        foreign.setValue(8);
        probe.setParameters(QList<ZelParameterDescription>{foreign});
        const ZelParameterDescription stored = probe.parameterContainer().parameter("BBlur");
        QCOMPARE(stored.value(), QVariant(8));
        QCOMPARE(stored.visibleName(), QString("Blur"));
        QVERIFY(stored.isCheckable());
        ZelParameterDescriptionContainer container("Other", QString());
        container.setValue("X", 1);
        probe.setParameters(container);
        QCOMPARE(probe.parameterContainer().typeName(), QString("Other"));
        QCOMPARE(probe.parameterContainer().parameterNames(), QStringList{"X"});
    }

    // cancel() ends the work at once: finished(false), the signalizer flagged and cut off; the
    // loops' resetCancel() reports the request once, while the signalizer's flag waits for start().
    void cancelEmitsFinishedAndCutsTheSignalizer()
    {
        ZelImageProcessorProbe probe(filledImage(2, 2));
        ZelImageProcessorImpl* impl = probe.baseImpl();
        QSignalSpy finished(&probe, &ZelImageProcessor::finished);
        QSignalSpy progress(&probe, &ZelImageProcessor::progress);
        QSignalSpy canceled(&probe, &ZelImageProcessor::operationCanceled);
        QVERIFY(!impl->resetCancel());
        impl->connectProgressSignalizer();
        probe.cancel();
        impl->progressSignalizer()->setProgress(1, 1);
        QCOMPARE(finished, (QList<QVariantList>{{false}}));
        QCOMPARE(progress.count() + canceled.count(), 0); // only composite effects emit operationCanceled
        QVERIFY(impl->isCancelled());
        QVERIFY(impl->resetCancel());
        QVERIFY(!impl->resetCancel());
        QVERIFY(impl->progressSignalizer()->cancelled());
    }

    // A signalizer whose cancelling is switched off outlives its effect, on purpose.
    void signalizerSurvivesWhileCancelIsNotAllowed()
    {
        for (bool allowed : {false, true}) {
            auto probe = std::make_unique<ZelImageProcessorProbe>();
            QPointer<ZelProgressSignalizer> signalizer = probe->baseImpl()->progressSignalizer();
            signalizer->setCancelAllowed(allowed);
            probe.reset();
            QCOMPARE(signalizer.isNull(), allowed);
            delete signalizer.data();
        }
    }

    void applySubProcessorRelaysProgress()
    {
        ZelImageProcessorProbe outer(filledImage(2, 2));
        ZelImageProcessorProbe inner(filledImage(5, 1));
        QSignalSpy progress(&outer, &ZelImageProcessor::progress);
        QCOMPARE(outer.baseImpl()->applySubProcessor(&inner).size(), QSize(5, 1));
        QCOMPARE(progress.count(), 2);
        inner.result(); // the relay ends with the sub-step
        QCOMPARE(progress.count(), 2);
    }

    void registryFinds_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("className");
        QTest::newRow("class name") << "ZelImageProcessorFlipHorizontal" << "ZelImageProcessorFlipHorizontal";
        QTest::newRow("short name, any case") << "examplegauss" << "ZelImageProcessorExampleGauss";
        QTest::newRow("unknown") << "NoSuchEffect" << QString();
    }
    void registryFinds()
    {
        QFETCH(QString, name);
        const QMetaObject* effect = ZelEffectRegistry::find(name);
        QTEST(effect ? QString(effect->className()) : QString(), "className");
        QCOMPARE(bool(std::unique_ptr<ZelImageProcessor>(ZelEffectRegistry::create(effect))), bool(effect));
    }
};

QTEST_MAIN(TestFramework)
#include "tst_framework.moc"
