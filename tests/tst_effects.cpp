#include "ZelEffectContracts.h"
#include "ZelEffectTestSupport.h"

#include <QCoreApplication>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QSet>
#include <QSignalSpy>
#include <QtTest>

#include <thread>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <memory>

// The contract every registered effect keeps, checked here once for all of them: odd sources,
// the end of the work, previews, cancels and metadata. The family suites check only what is
// particular to their effects.

namespace {

QStringList effectNames()
{
    QStringList names;
    for (const QMetaObject* effect : ZelEffectRegistry::effects())
        names << ZelEffectRegistry::shortName(effect);
    return names;
}

void addEffectRows()
{
    QTest::addColumn<QString>("effect");
    for (const QString& name : effectNames())
        QTest::newRow(qPrintable(name)) << name;
}

// The cancelled run's result is the documented one, or else the normal result of a fresh
// effect.
template <class Make>
void verifyCancelOutcome(const QImage& result, const QImage& source, Outcome expected, bool normalAllowed,
                         unsigned traits, Make make)
{
    const auto normal = [&make] {
        const auto fresh = make();
        seed();
        return fresh->result();
    };
    if (!cancelOutcomeAccepted(result, source, expected, normalAllowed, traits, normal))
        QFAIL(qPrintable(QStringLiteral("a cancel gave %1").arg(outcomeText(result, source))));
}

QJsonObject describe(const QString& effect)
{
    QProcess zelfx;
    zelfx.start(QStringLiteral(ZELFX_PATH), {QStringLiteral("describe"), effect, QStringLiteral("--json")});
    if (!zelfx.waitForFinished(30000) || zelfx.exitCode() != 0)
        return {};
    return QJsonDocument::fromJson(zelfx.readAllStandardOutput()).object();
}

// The descriptions recorded from the build before the suites were merged, by short name.
QJsonObject golden()
{
    QFile file(QStringLiteral(ZEL_SOURCE_DIR "/tests/data/describe.json"));
    file.open(QIODevice::ReadOnly);
    return QJsonDocument::fromJson(file.readAll()).object();
}

} // namespace

class TestEffects : public QObject
{
    Q_OBJECT

private slots:
    void contractsNameRegisteredEffects();
    void sources_data();
    void sources();
    void previews_data() { addEffectRows(); }
    void previews();
    void cancel_data() { addEffectRows(); }
    void cancel();
    void metadata_data() { addEffectRows(); }
    void metadata();
};

// Every recorded effect is still registered (and so still checked here), and every exception
// names a registered effect.
void TestEffects::contractsNameRegisteredEffects()
{
    QStringList recorded = golden().keys();
    QStringList registered = effectNames();
    std::sort(recorded.begin(), recorded.end());
    std::sort(registered.begin(), registered.end());
    QCOMPARE(registered, recorded);
    for (const QString& name : contracts().keys())
        QVERIFY2(registered.contains(name), qPrintable(name));
}

void TestEffects::sources_data()
{
    QTest::addColumn<QString>("effect");
    QTest::addColumn<QImage>("source");
    const QImage picture = photo(24, 16);
    const QList<QPair<const char*, QImage>> kinds = {
        {"null", QImage()},
        {"1 x 1", photo(1, 1)},
        {"2 x 9", photo(2, 9)},
        {"indexed", picture.convertToFormat(QImage::Format_Indexed8)},
        {"mono", picture.convertToFormat(QImage::Format_Mono)},
        {"grey", picture.convertToFormat(QImage::Format_Grayscale8)},
        {"RGB888", picture.convertToFormat(QImage::Format_RGB888)},
        {"premultiplied", picture.convertToFormat(QImage::Format_ARGB32_Premultiplied)},
        {"RGBA64", picture.convertToFormat(QImage::Format_RGBA64)},
    };
    for (const QString& name : effectNames()) {
        for (const auto& kind : kinds)
            QTest::addRow("%s, %s", qPrintable(name), kind.first) << name << kind.second;
    }
}

// Any source: result() and both previews return, result() ends the work with exactly one
// finished (previews, on unconnected temporaries, with none), and the caller's image is left
// as it was.
void TestEffects::sources()
{
    QFETCH(QString, effect);
    QFETCH(QImage, source);
    const unsigned traits = contractOf(effect).traits;
    const QImage pristine = source.copy();
    const auto processor = makeEffect(effect, source);
    QSignalSpy finished(processor.get(), &ZelImageProcessor::finished);
    seed();
    processor->result();
    const bool silent = ((traits & SilentUnlessIndexed) && source.format() != QImage::Format_Indexed8)
        || ((traits & SilentOnGrey) && (source.isGrayscale() || source.allGray())) || ((traits & SilentWithoutPhotos) && source.isNull());
    const int count = finished.count();
    QCOMPARE(count, silent ? 0 : 1);
    if (count == 1)
        QCOMPARE(finished.at(0).at(0).toBool(), bool(traits & FinishedTrue));
    processor->generatePreview(QSize(12, 12));
    processor->generatePreview(QRect(1, 1, 10, 8));
    QCOMPARE(finished.count(), count);
    QCOMPARE(source, pristine);
}

// A preview is the effect's class, with the effect's parameter values, run on the scaled
// source or on the section.
void TestEffects::previews()
{
    QFETCH(QString, effect);
    const unsigned traits = contractOf(effect).traits;
    const QImage source = photo(24, 16);
    const auto processor = makeEffect(effect, source);
    nudgeParameters(*processor);
    const QList<ZelParameterDescription> values = processor->parameterContainer().parameters();
    auto direct = [&](const QImage& image) {
        const auto fresh = makeEffect(effect, image);
        if (!(traits & PreviewDefaults))
            fresh->setParameters(values);
        seed();
        return fresh->result();
    };
    if (!(traits & OwnSizePreview)) {
        seed();
        const QImage preview = processor->generatePreview(QSize(12, 12));
        QCOMPARE(preview, direct(source.scaled(12, 12, Qt::KeepAspectRatio, Qt::SmoothTransformation)));
    }
    if (!(traits & OwnRectPreview)) {
        seed();
        const QImage preview = processor->generatePreview(QRect(3, 2, 10, 9));
        QCOMPARE(preview, direct(source.copy(3, 2, 10, 9)));
    }
}

// With the parameters moved off their defaults, so that the normal result differs from the
// source wherever the effect changes anything.
void TestEffects::cancel()
{
    QFETCH(QString, effect);
    const Contract contract = contractOf(effect);
    auto prepared = [&effect](const QImage& image) {
        auto processor = makeEffect(effect, image);
        nudgeParameters(*processor);
        return processor;
    };

    const QImage small = photo(24, 16);
    const auto early = prepared(small);
    early->cancel();
    seed();
    verifyCancelOutcome(early->result(), small, contract.cancelBefore, false, contract.traits, [&] { return prepared(small); });

    // From another thread, once the work has reported progress (or a little later for effects
    // that report none). Progress arrives on the thread that runs result().
    const QImage large = photo(600, 400);
    const auto processor = prepared(large);
    std::atomic<bool> started{false};
    std::atomic<bool> onTestThread{false};
    connect(processor.get(), &ZelImageProcessor::progress, [&] {
        onTestThread = onTestThread || QThread::currentThread() == thread();
        started = true;
    });
    // A std::thread, so that ThreadSanitizer sees the join (Debian's Qt is not instrumented).
    QImage result;
    std::atomic<bool> done{false};
    std::thread worker([&] {
        seed();
        result = processor->result();
        done = true;
    });
    for (int i = 0; i < 200 && !started && !done; ++i)
        QThread::msleep(1);
    processor->cancel();
    worker.join();
    QVERIFY(!onTestThread);
    verifyCancelOutcome(result, large, contract.cancelDuring, true, contract.traits, [&] { return prepared(large); });
}

// Names, tooltips, icons and every parameter's key, label, type, range, default and place are
// pinned by the descriptions of the build before; the texts go through tr() in the documented
// contexts, and the parameters are consistent.
void TestEffects::metadata()
{
    QFETCH(QString, effect);
    const QString className = QStringLiteral("ZelImageProcessor") + effect;
    const QJsonObject live = describe(effect);
    const QJsonObject expected = golden().value(effect).toObject();
    QVERIFY2(!expected.isEmpty(), "no golden description");
    QVERIFY2(live == expected, QJsonDocument(live).toJson().constData());

    QSet<QString> keys;
    QSet<QPair<int, int>> places;
    for (const QJsonValue& value : live.value(QLatin1String("parameters")).toArray()) {
        const QJsonObject parameter = value.toObject();
        const QString key = parameter.value(QLatin1String("key")).toString();
        QVERIFY2(!keys.contains(key), qPrintable(key));
        keys.insert(key);
        const QPair<int, int> place(parameter.value(QLatin1String("row")).toInt(),
                                    parameter.value(QLatin1String("column")).toInt());
        QVERIFY2(!places.contains(place), qPrintable(key));
        places.insert(place);
        QVERIFY2(!parameter.value(QLatin1String("visibleName")).toString().isEmpty(), qPrintable(key));
        const QJsonValue defaultValue = parameter.value(QLatin1String("default"));
        if (defaultValue.isDouble() && parameter.value(QLatin1String("min")).isDouble()
            && !(contractOf(effect).traits & DefaultOutOfRange)) {
            QVERIFY2(defaultValue.toDouble() >= parameter.value(QLatin1String("min")).toDouble(), qPrintable(key));
            QVERIFY2(defaultValue.toDouble() <= parameter.value(QLatin1String("max")).toDouble(), qPrintable(key));
        }
    }

    MarkingTranslator translator;
    QCoreApplication::installTranslator(&translator);
    const auto processor = makeEffect(effect, QImage());
    QCoreApplication::removeTranslator(&translator);
    auto marked = [](const QString& context, const QJsonValue& text) {
        return text.toString().isEmpty() ? QString() : QStringLiteral("[%1]%2").arg(context, text.toString());
    };
    QCOMPARE(processor->effectName(), marked(className + "Impl", expected.value(QLatin1String("name"))));
    const bool lower = contractOf(effect).traits & LowerToolTip;
    const QVariant toolTip = processor->property(lower ? "toolTip" : "ToolTip");
    QCOMPARE(toolTip.toString(), marked(className, expected.value(QLatin1String("toolTip"))));
    QVERIFY(!processor->property(lower ? "ToolTip" : "toolTip").isValid());
    QCOMPARE(processor->property("IconName").toString(), expected.value(QLatin1String("iconName")).toString());
    for (const QJsonValue& value : expected.value(QLatin1String("parameters")).toArray()) {
        const QJsonObject parameter = value.toObject();
        const QString key = parameter.value(QLatin1String("key")).toString();
        QCOMPARE(processor->parameterContainer().parameter(key).visibleName(),
                 marked(className + "Impl", parameter.value(QLatin1String("visibleName"))));
    }
}

QTEST_MAIN(TestEffects)
#include "tst_effects.moc"
