// zelfx: the tool driven as a process, and the units behind --set, --settings, --call and
// describe driven directly with an effect that has parameters.

#include "bench.h"
#include "describe.h"
#include "parameteroptions.h"
#include "valueconversion.h"

#include "ZelEffectRegistry.h"
#include "ZelImageProcessor.h"
#include "ZelImageProcessorImpl_p.h"
#include "ZelParameterDescriptionContainer.h"
#include "ZelParameterDescriptionNumber.h"

#include <QColor>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QtTest>

#include <algorithm>
#include <cmath>
#include <csignal>
#include <memory>

class ZelImageProcessorToolProbe;

// The registered effects have no parameters yet; this one has one of every kind the tool converts.
class ZelImageProcessorToolProbeImpl : public ZelImageProcessorImpl
{
    Q_OBJECT
public:
    explicit ZelImageProcessorToolProbeImpl(const QImage& image)
        : ZelImageProcessorImpl(image, QStringLiteral("ToolProbe"))
    {
        createParameterDescriptions();
    }


public slots:
    QImage result() override
    {
        emit finished(false);
        return sourceImage();
    }
    QImage generatePreview(const QSize& size) override { return sourceImageScaled(size); }
    QImage generatePreview(const QRect& rect) override { return sectionOfSourceImage(rect); }

private:
    static ZelParameterDescriptionNumber number(const QString& key, const QString& label, const QVariant& value,
                                                const QVariant& defaultValue, const QVariant& minimum,
                                                const QVariant& maximum)
    {
        ZelParameterDescriptionNumber number;
        number.setParameterName(key);
        number.setVisibleName(label);
        number.setValue(value);
        number.setDefaultValue(defaultValue);
        number.setRange(minimum, maximum);
        return number;
    }

    static ZelParameterDescription plain(const QString& key, const QVariant& value)
    {
        ZelParameterDescription plain;
        plain.setParameterName(key);
        plain.setVisibleName(key.mid(1));
        plain.setValue(value);
        plain.setDefaultValue(value);
        return plain;
    }

    void createParameterDescriptions()
    {
        ZelParameterDescriptionNumber count = number(QStringLiteral("ACount"), QStringLiteral("Anzahl"), 3, 3, 0, 10);
        count.setUserVisibleRange(0, 100);
        addParameter(count.parameterName(), count, 0, 0);
        ZelParameterDescriptionNumber ratio = number(QStringLiteral("BRatio"), QStringLiteral("Anteil"), 0.25, 0.5, 0.0, 1.0);
        ratio.setCheckable(true);
        ratio.setEnabled(false);
        addParameter(ratio.parameterName(), ratio, 1, 0);
        addParameter(QStringLiteral("CColor"), plain(QStringLiteral("CColor"), QColor(255, 0, 0)), 2, 0);
        addParameter(QStringLiteral("DSize"), plain(QStringLiteral("DSize"), QSize(640, 480)), 0, 1);
        ZelParameterDescription flag = plain(QStringLiteral("EFlag"), false);
        flag.setUIVisiblity(false);
        addParameter(flag.parameterName(), flag, 1, 1);
        addParameter(QStringLiteral("FArea"), plain(QStringLiteral("FArea"), QRect(1, 2, 3, 4)), 2, 1);
        addParameter(QStringLiteral("GLabel"), plain(QStringLiteral("GLabel"), QStringLiteral("hello")), 3, 1);
    }
};

class ZelImageProcessorToolProbe : public ZelImageProcessor
{
    Q_OBJECT
public:
    Q_INVOKABLE ZelImageProcessorToolProbe() { installImplementation(new ZelImageProcessorToolProbeImpl(QImage())); }
    explicit ZelImageProcessorToolProbe(const QString& xmlTagName)
        : ZelImageProcessorToolProbe()
    {
        myImpl->parameters().setXMLTagName(xmlTagName);
    }

    // Each records its arguments, so that tests see what --call delivered.
    Q_INVOKABLE void record() { recorded = QVariantList(); }
    Q_INVOKABLE void record(int i, double d, bool b, const QColor& c, const QSize& s) { recorded = {i, d, b, c, s}; }
    Q_INVOKABLE void record(const QRect& r, const QRectF& rf, const QPointF& p, const QString& text)
    {
        recorded = {r, rf, p, text};
    }
    enum Shade : int { Light = 3, Dark = 7 };
    Q_ENUM(Shade)
    Q_INVOKABLE void shade(Shade value) { recorded = {int(value)}; }
    Q_INVOKABLE void names(const QStringList& list) { recorded = {list}; }
    Q_INVOKABLE void load(const QImage& image) { recorded = {image.size()}; }
    Q_INVOKABLE void loadAll(const QList<QImage>& images) { recorded = {images.size()}; }

    QVariantList recorded{QStringLiteral("not called")};

public slots:
    QImage result() override { return myImpl->result(); }
    QImage generatePreview(const QSize& size) override { return myImpl->generatePreview(size); }
    QImage generatePreview(const QRect& rect) override { return myImpl->generatePreview(rect); }
};

namespace {

const int processTimeoutMs = 120000;

struct ToolRun
{
    int exitCode = -1; // -1: crashed or timed out
    QString out;
    QString err;
};

QProcessEnvironment offscreenEnvironment()
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    return environment;
}

ToolRun runProgram(const QString& program, const QStringList& arguments,
                   const QProcessEnvironment& environment = offscreenEnvironment())
{
    QProcess process;
    process.setProcessEnvironment(environment);
    process.start(program, arguments);
    ToolRun run;
    if (!process.waitForFinished(processTimeoutMs)) {
        process.kill();
        process.waitForFinished();
        return run;
    }
    run.out = QString::fromUtf8(process.readAllStandardOutput());
    run.err = QString::fromUtf8(process.readAllStandardError());
    if (process.exitStatus() == QProcess::NormalExit)
        run.exitCode = process.exitCode();
    return run;
}

ToolRun zelfx(const QStringList& arguments, const QProcessEnvironment& environment = offscreenEnvironment())
{
    return runProgram(QStringLiteral(ZELFX_PATH), arguments, environment);
}

// Opaque, every pixel different, so mirrors, sections and grey conversion all show.
QImage colourImage(int width, int height)
{
    QImage image(width, height, QImage::Format_ARGB32);
    for (int y = 0; y < height; ++y) {
        QRgb* line = reinterpret_cast<QRgb*>(image.scanLine(y));
        for (int x = 0; x < width; ++x)
            line[x] = qRgb(20 + 29 * x, 200 - 31 * y, 40 + 13 * (x + y));
    }
    return image;
}

QImage loadArgb(const QString& path)
{
    return QImage(path).convertToFormat(QImage::Format_ARGB32);
}

QStringList traceLines(const QString& err)
{
    static const QRegularExpression traced(QStringLiteral("^(progress\\t|finished\\t|operationCanceled$)"));
    QStringList lines;
    for (const QString& line : err.split(QLatin1Char('\n'))) {
        if (traced.match(line).hasMatch())
            lines << line;
    }
    return lines;
}

QStringList registeredShortNames()
{
    QStringList names;
    for (const QMetaObject* meta : ZelEffectRegistry::effects())
        names << QString::fromLatin1(meta->className()).mid(int(qstrlen("ZelImageProcessor")));
    return names;
}

QVariant probeValue(const ZelImageProcessor& effect, const QString& key)
{
    return effect.parameterContainer().value(key);
}

QJsonObject parameterObject(const QJsonObject& description, const QString& key)
{
    for (const QJsonValue& parameter : description.value(QLatin1String("parameters")).toArray()) {
        if (parameter.toObject().value(QLatin1String("key")).toString() == key)
            return parameter.toObject();
    }
    return QJsonObject();
}

bool writeFile(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

QString readFile(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

enum class Expected { Result, Preview, Section, GaussCall, SourceCall };

} // namespace

Q_DECLARE_METATYPE(Expected)

class TestZelfx : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();

    void textConversion_data();
    void textConversion();
    void formatValueReadsBack_data();
    void formatValueReadsBack();
    void convertImages();
    void syntheticPhoto_data();
    void syntheticPhoto();

    void setOption_data();
    void setOption();
    void setOptionErrors_data();
    void setOptionErrors();
    void userUnitsSurviveEarlierWrites();
    void settingsRoundTrip();
    void settingsElementName_data();
    void settingsElementName();
    void call_data();
    void call();
    void callErrors_data();
    void callErrors();
    void describeParameters_data();
    void describeParameters();
    void describeLeavesNumbersNumeric();

    void usageErrors_data();
    void usageErrors();
    void help();
    void unknownEffect_data();
    void unknownEffect();
    void applyExitStatus_data();
    void applyExitStatus();
    void applyMatchesLibrary_data();
    void applyMatchesLibrary();
    void callTakesFourNumbersForARect_data();
    void callTakesFourNumbersForARect();
    void trace_data();
    void trace();
    void cancelAfter_data();
    void cancelAfter();
    void chain_data();
    void chain();
    void chainErrors_data();
    void chainErrors();
    void chainTrace_data();
    void chainTrace();
    void threadedCancelAfter();
    void interruptCancelsThreadedRun();
    void progressBarOnTerminal_data();
    void progressBarOnTerminal();
    void time();
    void optionErrors_data();
    void optionErrors();
    void settingsOutputFeedsBack();
    void list();
    void listJson();
    void listBench();
    void describeJson();
    void describeText();
    void gallery();
    void galleryErrors_data();
    void galleryErrors();
    void bench();
    void benchReportsTheMagickRoundTrip();
    void benchNullImage();
    void benchScript();
    void selectsOffscreenWithoutDisplay();

private:
    QString path(const QString& name) const { return myDir.filePath(name); }
    // {in} the small input, {other} a second image, {out} an output path, {dir} the temporary folder.
    QStringList expand(const QStringList& arguments) const;

    QTemporaryDir myDir;
    QImage myInput;
    QImage myOther;
};

void TestZelfx::initTestCase()
{
    QVERIFY(myDir.isValid());
    QVERIFY(QFileInfo(QStringLiteral(ZELFX_PATH)).isExecutable());
    myInput = colourImage(8, 6);
    myOther = colourImage(5, 7).mirrored(true, false);
    QVERIFY(myInput.save(path(QStringLiteral("in.png"))));
    QVERIFY(myOther.save(path(QStringLiteral("other.png"))));
    QVERIFY(colourImage(4, 3).save(path(QStringLiteral("rows3.png"))));
    // ExampleGrayscale pauses 100 ms every 50 rows: 0.4 s and 6 s of pauses.
    QVERIFY(colourImage(4, 200).save(path(QStringLiteral("rows200.png"))));
    QVERIFY(colourImage(4, 3000).save(path(QStringLiteral("rows3000.png"))));
    QVERIFY(writeFile(path(QStringLiteral("notanimage.png")), "plain text"));
    QVERIFY(writeFile(path(QStringLiteral("malformed.xml")), "<zelfx effect=\"x\"><unclosed></zelfx>"));
    QVERIFY(QDir(myDir.path()).mkpath(QStringLiteral("pageblocked/index.html")));
    QVERIFY(QDir(myDir.path()).mkpath(QStringLiteral("pngblocked/FlipVertical.png")));
    QVERIFY(writeFile(path(QStringLiteral("foreign.xml")),
                      "<?xml version=\"1.0\"?>\n<zelfx effect=\"Other\"><SomethingElse a=\"1\"/></zelfx>\n"));
}

QStringList TestZelfx::expand(const QStringList& arguments) const
{
    QStringList expanded;
    for (QString argument : arguments) {
        argument.replace(QLatin1String("{in}"), path(QStringLiteral("in.png")));
        argument.replace(QLatin1String("{other}"), path(QStringLiteral("other.png")));
        argument.replace(QLatin1String("{out}"), path(QStringLiteral("out.png")));
        argument.replace(QLatin1String("{dir}"), myDir.path());
        expanded << argument;
    }
    return expanded;
}

// --- value conversion ---------------------------------------------------------------------

void TestZelfx::textConversion_data()
{
    QTest::addColumn<int>("typeId");
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("converts");
    QTest::addColumn<QVariant>("expected");

    QTest::newRow("int") << int(QMetaType::Int) << "42" << true << QVariant(42);
    QTest::newRow("int with blanks") << int(QMetaType::Int) << " -7 " << true << QVariant(-7);
    QTest::newRow("int rejects a fraction") << int(QMetaType::Int) << "4.5" << false << QVariant();
    QTest::newRow("int rejects a word") << int(QMetaType::Int) << "abc" << false << QVariant();
    QTest::newRow("int rejects nothing") << int(QMetaType::Int) << "" << false << QVariant();
    QTest::newRow("double") << int(QMetaType::Double) << "2.5" << true << QVariant(2.5);
    QTest::newRow("double exponent") << int(QMetaType::Double) << "1e3" << true << QVariant(1000.0);
    QTest::newRow("double rejects nan") << int(QMetaType::Double) << "nan" << false << QVariant();
    QTest::newRow("double rejects a word") << int(QMetaType::Double) << "x" << false << QVariant();
    QTest::newRow("bool true") << int(QMetaType::Bool) << "true" << true << QVariant(true);
    QTest::newRow("bool 1") << int(QMetaType::Bool) << "1" << true << QVariant(true);
    QTest::newRow("bool false") << int(QMetaType::Bool) << "false" << true << QVariant(false);
    QTest::newRow("bool 0") << int(QMetaType::Bool) << "0" << true << QVariant(false);
    QTest::newRow("bool rejects yes") << int(QMetaType::Bool) << "yes" << false << QVariant();
    QTest::newRow("colour #rrggbb") << int(QMetaType::QColor) << "#ff8000" << true << QVariant(QColor(255, 128, 0));
    QTest::newRow("colour #aarrggbb") << int(QMetaType::QColor) << "#80ff0000" << true
                                      << QVariant(QColor(255, 0, 0, 128));
    QTest::newRow("colour SVG name") << int(QMetaType::QColor) << "navy" << true << QVariant(QColor(0, 0, 128));
    QTest::newRow("colour rejects") << int(QMetaType::QColor) << "nocolour" << false << QVariant();
    QTest::newRow("size") << int(QMetaType::QSize) << "640x480" << true << QVariant(QSize(640, 480));
    QTest::newRow("size rejects half") << int(QMetaType::QSize) << "640x" << false << QVariant();
    QTest::newRow("size rejects commas") << int(QMetaType::QSize) << "640,480" << false << QVariant();
    QTest::newRow("sizeF") << int(QMetaType::QSizeF) << "1.5x2" << true << QVariant(QSizeF(1.5, 2));
    QTest::newRow("rect") << int(QMetaType::QRect) << "1,2,3,4" << true << QVariant(QRect(1, 2, 3, 4));
    QTest::newRow("rect rejects three") << int(QMetaType::QRect) << "1,2,3" << false << QVariant();
    QTest::newRow("rect rejects fractions") << int(QMetaType::QRect) << "1,2,3.5,4" << false << QVariant();
    QTest::newRow("rectF") << int(QMetaType::QRectF) << "0.5,1,2.5,3" << true << QVariant(QRectF(0.5, 1, 2.5, 3));
    QTest::newRow("point") << int(QMetaType::QPoint) << "3,-4" << true << QVariant(QPoint(3, -4));
    QTest::newRow("pointF") << int(QMetaType::QPointF) << "1.5,-2" << true << QVariant(QPointF(1.5, -2));
    QTest::newRow("string as is") << int(QMetaType::QString) << " a b,c " << true << QVariant(" a b,c ");
    QTest::newRow("string list") << int(QMetaType::QStringList) << "a;b;c" << true
                                 << QVariant(QStringList{"a", "b", "c"});
    QTest::newRow("empty string list") << int(QMetaType::QStringList) << "" << true << QVariant(QStringList());
    QTest::newRow("font is not converted") << int(QMetaType::QFont) << "Sans" << false << QVariant();
}

void TestZelfx::textConversion()
{
    QFETCH(int, typeId);
    QFETCH(QString, text);
    QFETCH(bool, converts);
    QFETCH(QVariant, expected);

    QVariant value;
    QCOMPARE(convertText(text, typeId, &value), converts);
    if (!converts)
        return;
    QCOMPARE(value.userType(), typeId);
    QCOMPARE(value, expected);
}

void TestZelfx::formatValueReadsBack_data()
{
    textConversion_data();
}

void TestZelfx::formatValueReadsBack()
{
    QFETCH(int, typeId);
    QFETCH(bool, converts);
    QFETCH(QVariant, expected);
    if (!converts)
        return;

    QVariant back;
    QVERIFY2(convertText(formatValue(expected), typeId, &back), qPrintable(formatValue(expected)));
    QCOMPARE(back, expected);
}

void TestZelfx::convertImages()
{
    const QString first = path(QStringLiteral("in.png"));
    const QString second = path(QStringLiteral("other.png"));
    QVariant value;
    QVERIFY(convertText(first, QMetaType::QImage, &value));
    QCOMPARE(value.value<QImage>().size(), myInput.size());

    QVERIFY(convertText(first + QLatin1Char(';') + second, imageListTypeId(), &value));
    const QList<QImage> images = value.value<QList<QImage>>();
    QCOMPARE(images.size(), 2);
    QCOMPARE(images.at(1).size(), myOther.size());

    QString reason;
    const QString missing = path(QStringLiteral("missing.png"));
    QVERIFY(!convertText(first + QLatin1Char(';') + missing, imageListTypeId(), &value, &reason));
    QVERIFY2(reason.contains(missing), qPrintable(reason));
    QVERIFY(isImageType(imageListTypeId()));
}

void TestZelfx::syntheticPhoto_data()
{
    QTest::addColumn<QSize>("size");
    QTest::newRow("one pixel") << QSize(1, 1);
    QTest::newRow("bench test size") << QSize(64, 48);
    QTest::newRow("wide") << QSize(300, 100);
}

void TestZelfx::syntheticPhoto()
{
    QFETCH(QSize, size);
    const QImage photo = ::syntheticPhoto(size);
    QCOMPARE(photo.size(), size);
    QCOMPARE(photo.format(), QImage::Format_ARGB32);
    QCOMPARE(::syntheticPhoto(size), photo);

    QSet<QRgb> colours;
    int hardEdges = 0;
    for (int y = 0; y < size.height(); ++y) {
        const QRgb* line = reinterpret_cast<const QRgb*>(photo.constScanLine(y));
        for (int x = 0; x < size.width(); ++x) {
            QCOMPARE(qAlpha(line[x]), 255);
            colours.insert(line[x]);
            hardEdges += x > 0 && qAbs(qGray(line[x]) - qGray(line[x - 1])) >= 64;
        }
    }
    // Photo-like: many colours, yet mostly smooth, with some hard edges.
    if (size.width() * size.height() >= 1000) {
        QVERIFY2(colours.size() > 500, qPrintable(QString::number(colours.size())));
        QVERIFY(hardEdges > 0 && hardEdges < size.width() * size.height() / 10);
    }
}

// --- parameter options on an effect with parameters ------------------------------------------

void TestZelfx::setOption_data()
{
    QTest::addColumn<bool>("inUserUnits");
    QTest::addColumn<QString>("assignment");
    QTest::addColumn<QString>("key");
    QTest::addColumn<QVariant>("expected");

    QTest::newRow("int") << false << "ACount=7" << "ACount" << QVariant(7);
    QTest::newRow("int in user units is mapped") << true << "ACount=70" << "ACount" << QVariant(7);
    QTest::newRow("double") << false << "BRatio=0.125" << "BRatio" << QVariant(0.125);
    QTest::newRow("double without user range is not mapped") << true << "BRatio=0.75" << "BRatio" << QVariant(0.75);
    QTest::newRow("colour") << false << "CColor=#00ff00" << "CColor" << QVariant(QColor(0, 255, 0));
    QTest::newRow("colour with alpha") << false << "CColor=#4000ff00" << "CColor" << QVariant(QColor(0, 255, 0, 64));
    QTest::newRow("colour name") << false << "CColor=navy" << "CColor" << QVariant(QColor(0, 0, 128));
    QTest::newRow("size") << false << "DSize=320x200" << "DSize" << QVariant(QSize(320, 200));
    QTest::newRow("bool") << false << "EFlag=true" << "EFlag" << QVariant(true);
    QTest::newRow("bool as digit") << false << "EFlag=1" << "EFlag" << QVariant(true);
    QTest::newRow("rect") << false << "FArea=5,6,7,8" << "FArea" << QVariant(QRect(5, 6, 7, 8));
    QTest::newRow("text keeps later equals signs") << false << "GLabel=a=b" << "GLabel" << QVariant("a=b");
    QTest::newRow("empty text") << false << "GLabel=" << "GLabel" << QVariant("");
}

void TestZelfx::setOption()
{
    QFETCH(bool, inUserUnits);
    QFETCH(QString, assignment);
    QFETCH(QString, key);
    QFETCH(QVariant, expected);

    ZelImageProcessorToolProbe probe;
    const Status status = applySetOption(&probe, assignment, inUserUnits);
    QVERIFY2(status.ok(), qPrintable(status.message));
    QCOMPARE(probeValue(probe, key), expected);
}

void TestZelfx::setOptionErrors_data()
{
    QTest::addColumn<QString>("assignment");
    QTest::addColumn<bool>("printsUsage");
    QTest::addColumn<QStringList>("fragments");

    QTest::newRow("unknown key") << "Missing=1" << false
                                 << QStringList{"no parameter Missing", "ToolProbe", "ACount, BRatio"};
    QTest::newRow("key without value") << "ACount" << true << QStringList{"--set expects KEY=VALUE", "\"ACount\""};
    QTest::newRow("int") << "ACount=abc" << false << QStringList{"ACount", "expects int", "\"abc\""};
    QTest::newRow("int rejects a fraction") << "ACount=4.5" << false << QStringList{"ACount", "expects int"};
    QTest::newRow("colour") << "CColor=nocolour" << false << QStringList{"CColor", "QColor", "#rrggbb"};
    QTest::newRow("size") << "DSize=12" << false << QStringList{"DSize", "QSize (WxH)"};
}

void TestZelfx::setOptionErrors()
{
    QFETCH(QString, assignment);
    QFETCH(bool, printsUsage);
    QFETCH(QStringList, fragments);

    ZelImageProcessorToolProbe probe;
    const ZelParameterDescriptionContainer before = probe.parameterContainer();
    const Status status = applySetOption(&probe, assignment, false);
    QCOMPARE(status.code, int(ExitUsage));
    QCOMPARE(status.printUsage, printsUsage);
    for (const QString& fragment : fragments)
        QVERIFY2(status.message.contains(fragment), qPrintable(status.message));
    // Neither a failed conversion nor an unknown key may write: the container would file the key.
    QCOMPARE(probe.parameterContainer().parameterNames(), before.parameterNames());
    QVERIFY(probe.parameterContainer() == before);
}

void TestZelfx::userUnitsSurviveEarlierWrites()
{
    // Writes through a container that is still shared turn numeric parameters plain, which
    // would make the later --set-ui store 70 unmapped.
    ZelImageProcessorToolProbe probe;
    const QList<ParameterOption> options{{ParameterOption::Set, QStringLiteral("ACount=5")},
                                         {ParameterOption::Call, QStringLiteral("record()")},
                                         {ParameterOption::SetUI, QStringLiteral("ACount=70")}};
    const Status status = applyParameterOptions(&probe, options);
    QVERIFY2(status.ok(), qPrintable(status.message));
    QCOMPARE(probeValue(probe, QStringLiteral("ACount")), QVariant(7));
}

void TestZelfx::settingsRoundTrip()
{
    ZelImageProcessorToolProbe written;
    const QList<ParameterOption> options{
        {ParameterOption::Set, QStringLiteral("ACount=7")},  {ParameterOption::Set, QStringLiteral("BRatio=0.125")},
        {ParameterOption::Set, QStringLiteral("CColor=#00ff00")}, {ParameterOption::Set, QStringLiteral("DSize=320x200")},
        {ParameterOption::Set, QStringLiteral("EFlag=true")}, {ParameterOption::Set, QStringLiteral("GLabel=x y")},
    };
    QVERIFY(applyParameterOptions(&written, options).ok());
    QString xml;
    QVERIFY(settingsDocument(written, &xml).ok());
    QVERIFY2(xml.startsWith(QLatin1String("<?xml version=\"1.0\" encoding=\"UTF-8\"?>")), qPrintable(xml));
    QVERIFY2(xml.contains(QLatin1String("<zelfx effect=\"ZelImageProcessorToolProbe\">")), qPrintable(xml));
    QVERIFY2(xml.contains(QLatin1String("<ToolProbe ")), qPrintable(xml));
    const QString file = path(QStringLiteral("probe-settings.xml"));
    QVERIFY(writeFile(file, xml.toUtf8()));

    ZelImageProcessorToolProbe read;
    const Status status = applySettingsFile(&read, file);
    QVERIFY2(status.ok(), qPrintable(status.message));
    for (const QString& key : QStringList{"ACount", "BRatio", "DSize", "EFlag", "GLabel"})
        QCOMPARE(probeValue(read, key), probeValue(written, key));
    // A valid colour read from XML leaves the colour as it was: the library's deliberate rule.
    QCOMPARE(probeValue(read, QStringLiteral("CColor")), QVariant(QColor(255, 0, 0)));
    // Read parameter by parameter, the numeric one keeps its user-visible range.
    QVERIFY(applySetOption(&read, QStringLiteral("ACount=50"), true).ok());
    QCOMPARE(probeValue(read, QStringLiteral("ACount")), QVariant(5));
}

void TestZelfx::settingsElementName_data()
{
    QTest::addColumn<QString>("xmlTagName");
    QTest::addColumn<QString>("element");

    QTest::newRow("type name while no tag name is set") << QString() << "<ToolProbe ";
    QTest::newRow("tag name") << "ProbeSettings" << "<ProbeSettings ";
    QTest::newRow("class name where no XML name") << "Tool Probe" << "<ZelImageProcessorToolProbe ";
}

void TestZelfx::settingsElementName()
{
    QFETCH(QString, xmlTagName);
    QFETCH(QString, element);

    ZelImageProcessorToolProbe probe(xmlTagName);
    QVERIFY(applySetOption(&probe, QStringLiteral("ACount=9"), false).ok());
    QString xml;
    QVERIFY(settingsDocument(probe, &xml).ok());
    QVERIFY2(xml.contains(element), qPrintable(xml));
    const QString file = path(QStringLiteral("element.xml"));
    QVERIFY(writeFile(file, xml.toUtf8()));
    ZelImageProcessorToolProbe read(xmlTagName);
    QVERIFY(applySettingsFile(&read, file).ok());
    QCOMPARE(probeValue(read, QStringLiteral("ACount")), QVariant(9));

    ZelImageProcessorToolProbe other(QStringLiteral("OtherSettings"));
    const Status missing = applySettingsFile(&other, file);
    QCOMPARE(missing.code, int(ExitUsage));
    QVERIFY2(missing.message.contains(QLatin1String("has no element <OtherSettings> for effect ToolProbe")),
             qPrintable(missing.message));
}

void TestZelfx::call_data()
{
    QTest::addColumn<QString>("call");
    QTest::addColumn<QVariantList>("expected");

    QTest::newRow("no arguments") << "record()" << QVariantList();
    QTest::newRow("blanks around") << "  record ( ) " << QVariantList();
    QTest::newRow("numbers, bool, colour, size")
        << "record(7, 2.5, true, #80ff0000, 640x480)"
        << QVariantList{7, 2.5, true, QColor(255, 0, 0, 128), QSize(640, 480)};
    QTest::newRow("rectangles and points span several commas")
        << "record(1,2,3,4, 0.5,1.5,2,3.5, -1,2.25, hello)"
        << QVariantList{QRect(1, 2, 3, 4), QRectF(0.5, 1.5, 2, 3.5), QPointF(-1, 2.25), QStringLiteral("hello")};
    QTest::newRow("string list") << "names(a;b;c)" << QVariantList{QStringList{"a", "b", "c"}};
    QTest::newRow("enumerator by key") << "shade(Dark)" << QVariantList{7};
    QTest::newRow("enumerator by number") << "shade(3)" << QVariantList{3};
    QTest::newRow("image") << "load({in})" << QVariantList{QSize(8, 6)};
    QTest::newRow("image list") << "loadAll({in};{other};{in})" << QVariantList{3};
}

void TestZelfx::call()
{
    QFETCH(QString, call);
    QFETCH(QVariantList, expected);

    ZelImageProcessorToolProbe probe;
    const Status status = applyCall(&probe, expand({call}).first());
    QVERIFY2(status.ok(), qPrintable(status.message));
    QCOMPARE(probe.recorded, expected);
}

void TestZelfx::callErrors_data()
{
    QTest::addColumn<QString>("call");
    QTest::addColumn<int>("code");
    QTest::addColumn<QStringList>("fragments");

    const QStringList invokables{"invokable methods:", "record(int,double,bool,QColor,QSize)", "loadAll(QList<QImage>)",
                                 "result()"};
    QTest::newRow("unknown method") << "missing()" << int(ExitUsage)
                                    << (QStringList{"ToolProbe", "no invokable method matching missing()"} + invokables);
    QTest::newRow("wrong arity") << "record(1,2)" << int(ExitUsage)
                                 << (QStringList{"no invokable method matching record(1,2)"} + invokables);
    QTest::newRow("signals are not invokable") << "finished(true)" << int(ExitUsage)
                                               << QStringList{"no invokable method matching finished(true)"};
    QTest::newRow("int argument") << "record(x,2.5,true,red,1x1)" << int(ExitUsage)
                                  << QStringList{"argument 1 of record(int,double,bool,QColor,QSize)", "expects int",
                                                 "\"x\""};
    QTest::newRow("unconvertible parameter type") << "setMaximumPriority(3)" << int(ExitUsage)
                                                  << QStringList{"cannot convert", "QThread::Priority"};
    QTest::newRow("unknown enumerator") << "shade(Grey)" << int(ExitUsage)
                                        << QStringList{"argument 1 of shade(Shade)", "expects one of Light, Dark or a number",
                                                       "\"Grey\""};
    QTest::newRow("not a call") << "record" << int(ExitUsage) << QStringList{"--call expects NAME(ARG,...)"};
    QTest::newRow("unreadable image") << "load({dir}/none.png)" << int(ExitInputUnreadable)
                                      << QStringList{"argument 1 of load(QImage)", "none.png"};
}

void TestZelfx::callErrors()
{
    QFETCH(QString, call);
    QFETCH(int, code);
    QFETCH(QStringList, fragments);

    ZelImageProcessorToolProbe probe;
    const Status status = applyCall(&probe, expand({call}).first());
    QCOMPARE(status.code, code);
    for (const QString& fragment : fragments)
        QVERIFY2(status.message.contains(fragment), qPrintable(status.message));
    QCOMPARE(probe.recorded, QVariantList{QStringLiteral("not called")});
}

void TestZelfx::describeParameters_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("field");
    QTest::addColumn<QJsonValue>("expected");

    const QJsonValue null;
    QTest::newRow("type") << "ACount" << "type" << QJsonValue("int");
    QTest::newRow("label") << "ACount" << "visibleName" << QJsonValue("Anzahl");
    QTest::newRow("int min") << "ACount" << "min" << QJsonValue(0);
    QTest::newRow("user-visible max") << "ACount" << "uiMax" << QJsonValue(100);
    QTest::newRow("double default differs from value") << "BRatio" << "default" << QJsonValue(0.5);
    QTest::newRow("user range falls back to the range") << "BRatio" << "uiMax" << QJsonValue(1);
    QTest::newRow("checkable") << "BRatio" << "checkable" << QJsonValue(true);
    QTest::newRow("disabled") << "BRatio" << "enabled" << QJsonValue(false);
    QTest::newRow("colour type") << "CColor" << "type" << QJsonValue("QColor");
    QTest::newRow("colour value") << "CColor" << "value" << QJsonValue("#ff0000");
    QTest::newRow("plain has no range") << "CColor" << "min" << null;
    QTest::newRow("size value") << "DSize" << "value" << QJsonValue("640x480");
    QTest::newRow("second column") << "DSize" << "column" << QJsonValue(1);
    QTest::newRow("hidden") << "EFlag" << "visible" << QJsonValue(false);
    QTest::newRow("rect value") << "FArea" << "value" << QJsonValue("1,2,3,4");
}

void TestZelfx::describeParameters()
{
    QFETCH(QString, key);
    QFETCH(QString, field);
    QFETCH(QJsonValue, expected);

    ZelImageProcessorToolProbe probe;
    const QJsonObject parameter = parameterObject(effectDescriptionJson(probe), key);
    QVERIFY2(parameter.contains(field), qPrintable(key + QLatin1Char('.') + field));
    QCOMPARE(parameter.value(field), expected);
}

void TestZelfx::describeLeavesNumbersNumeric()
{
    ZelImageProcessorToolProbe probe;
    const QJsonObject description = effectDescriptionJson(probe);
    QCOMPARE(description.value(QLatin1String("xmlTag")), QJsonValue("ToolProbe"));
    QCOMPARE(description.value(QLatin1String("parameters")).toArray().size(), 7);
    // Reading ranges through the detaching accessors would have turned ACount plain.
    QVERIFY(applySetOption(&probe, QStringLiteral("ACount=70"), true).ok());
    QCOMPARE(probeValue(probe, QStringLiteral("ACount")), QVariant(7));
}

// --- the tool as a process --------------------------------------------------------------------

void TestZelfx::usageErrors_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("message");

    const QStringList apply{"apply", "FlipHorizontal", "{in}", "{out}"};
    QTest::newRow("no command") << QStringList() << "no command given";
    QTest::newRow("unknown command") << QStringList{"frobnicate"} << "unknown command frobnicate";
    QTest::newRow("list with an argument") << QStringList{"list", "extra"} << "list expects no arguments";
    QTest::newRow("list --json --bench") << QStringList{"list", "--json", "--bench"}
                                         << "--json and --bench exclude each other";
    QTest::newRow("describe without effect") << QStringList{"describe"} << "describe expects EFFECT";
    QTest::newRow("apply without output") << QStringList{"apply", "FlipHorizontal", "{in}"}
                                          << "apply expects EFFECT INPUT OUTPUT, got 2";
    QTest::newRow("unknown option") << apply + QStringList{"--bogus"} << "unknown option --bogus for apply";
    QTest::newRow("missing option value") << apply + QStringList{"--set"} << "option --set needs a value";
    QTest::newRow("--set without =") << apply + QStringList{"--set", "Blur"} << "--set expects KEY=VALUE";
    QTest::newRow("--call without parentheses") << apply + QStringList{"--call", "cancel"}
                                                << "--call expects NAME(ARG,...), got \"cancel\"";
    QTest::newRow("--preview empty") << apply + QStringList{"--preview", "0x5"} << "--preview expects WxH";
    QTest::newRow("--section three numbers") << apply + QStringList{"--section", "1,2,3"}
                                             << "--section expects X,Y,W,H";
    QTest::newRow("--preview with --section") << apply + QStringList{"--preview", "4x4", "--section", "0,0,2,2"}
                                              << "--preview and --section exclude each other";
    QTest::newRow("--threaded with --preview") << apply + QStringList{"--threaded", "--preview", "4x4"}
                                               << "--threaded computes the full result; it excludes --preview and --section";
    QTest::newRow("--section with --threaded") << apply + QStringList{"--section", "0,0,2,2", "--threaded"}
                                               << "--threaded computes the full result; it excludes --preview and --section";
    QTest::newRow("bench takes no --threaded") << QStringList{"bench", "FlipHorizontal", "--threaded"}
                                               << "unknown option --threaded for bench";
    QTest::newRow("--cancel-after 0") << apply + QStringList{"--cancel-after", "0"}
                                      << "--cancel-after expects a positive whole number";
    QTest::newRow("settings takes no run options") << QStringList{"settings", "FlipHorizontal", "--trace"}
                                                   << "unknown option --trace for settings";
    QTest::newRow("gallery without outdir") << QStringList{"gallery", "{in}"} << "gallery expects INPUT OUTDIR";
    QTest::newRow("bench --size") << QStringList{"bench", "FlipHorizontal", "--size", "64x0"} << "--size expects WxH";
    QTest::newRow("bench --repeat") << QStringList{"bench", "FlipHorizontal", "--repeat", "0"}
                                    << "--repeat expects a positive whole number";
    QTest::newRow("bench takes no --preview") << QStringList{"bench", "FlipHorizontal", "--preview", "4x4"}
                                              << "unknown option --preview for bench";
}

void TestZelfx::usageErrors()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, message);

    const ToolRun run = zelfx(expand(arguments));
    QCOMPARE(run.exitCode, int(ExitUsage));
    QVERIFY2(run.err.contains(message), qPrintable(run.err));
    QVERIFY2(run.err.contains(QLatin1String("usage: zelfx")), qPrintable(run.err));
    QVERIFY(!QFile::exists(path(QStringLiteral("out.png"))));
}

void TestZelfx::help()
{
    const ToolRun run = zelfx({QStringLiteral("--help")});
    QCOMPARE(run.exitCode, int(ExitSuccess));
    QVERIFY(run.out.startsWith(QLatin1String("usage: zelfx")));
    QVERIFY(run.out.contains(QLatin1String("--cancel-after N")));
    QVERIFY(run.out.contains(QLatin1String("--threaded")));
}

void TestZelfx::unknownEffect_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::newRow("describe") << QStringList{"describe", "NoSuchEffect"};
    QTest::newRow("settings") << QStringList{"settings", "NoSuchEffect"};
    QTest::newRow("apply") << QStringList{"apply", "NoSuchEffect", "{in}", "{out}"};
    QTest::newRow("apply names the effect before reading the input")
        << QStringList{"apply", "NoSuchEffect", "{dir}/none.png", "{out}"};
    QTest::newRow("bench") << QStringList{"bench", "NoSuchEffect", "--size", "8x8"};
}

void TestZelfx::unknownEffect()
{
    QFETCH(QStringList, arguments);
    const ToolRun run = zelfx(expand(arguments));
    QCOMPARE(run.exitCode, int(ExitUsage));
    QVERIFY2(run.err.contains(QLatin1String("zelfx: unknown effect NoSuchEffect; known effects: FlipHorizontal")),
             qPrintable(run.err));
}

void TestZelfx::applyExitStatus_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("message");
    QTest::addColumn<QString>("output");

    QTest::newRow("written") << QStringList{"apply", "FlipHorizontal", "{in}", "{out}"} << int(ExitSuccess)
                             << QString() << "out.png";
    QTest::newRow("written as jpeg by suffix") << QStringList{"apply", "FlipVertical", "{in}", "{dir}/out.jpg"}
                                               << int(ExitSuccess) << QString() << "out.jpg";
    QTest::newRow("missing input") << QStringList{"apply", "FlipHorizontal", "{dir}/none.png", "{out}"}
                                   << int(ExitInputUnreadable) << "zelfx: cannot read input image {dir}/none.png: "
                                   << QString();
    QTest::newRow("input is no image") << QStringList{"apply", "FlipHorizontal", "{dir}/notanimage.png", "{out}"}
                                       << int(ExitInputUnreadable)
                                       << "zelfx: cannot read input image {dir}/notanimage.png: " << QString();
    QTest::newRow("output folder missing") << QStringList{"apply", "FlipHorizontal", "{in}", "{dir}/no/out.png"}
                                           << int(ExitOutputUnwritable)
                                           << "zelfx: cannot write output image {dir}/no/out.png: " << QString();
    QTest::newRow("unknown output format") << QStringList{"apply", "FlipHorizontal", "{in}", "{dir}/out.unknown"}
                                           << int(ExitOutputUnwritable)
                                           << "zelfx: cannot write output image {dir}/out.unknown: " << QString();
    QTest::newRow("null image") << QStringList{"apply", "Template", "{in}", "{out}"} << int(ExitNullImage)
                                << "zelfx: effect Template returned a null image; nothing written to {dir}/out.png"
                                << QString();
}

void TestZelfx::applyExitStatus()
{
    QFETCH(QStringList, arguments);
    QFETCH(int, code);
    QFETCH(QString, message);
    QFETCH(QString, output);

    const ToolRun run = zelfx(expand(arguments));
    QCOMPARE(run.exitCode, code);
    if (!message.isEmpty())
        QVERIFY2(run.err.contains(expand({message}).first()), qPrintable(run.err));
    if (output.isEmpty()) {
        QVERIFY(!QFile::exists(path(QStringLiteral("out.png"))));
        return;
    }
    QVERIFY(QImage(path(output)).size() == myInput.size());
    QFile::remove(path(output));
}

void TestZelfx::applyMatchesLibrary_data()
{
    QTest::addColumn<QString>("effect");
    QTest::addColumn<QStringList>("options");
    QTest::addColumn<Expected>("expected");

    QTest::newRow("short name") << "FlipHorizontal" << QStringList() << Expected::Result;
    QTest::newRow("class name") << "ZelImageProcessorFlipVertical" << QStringList() << Expected::Result;
    QTest::newRow("any case") << "examplegauss" << QStringList() << Expected::Result;
    QTest::newRow("preview") << "FlipHorizontal" << QStringList{"--preview", "4x4"} << Expected::Preview;
    QTest::newRow("section") << "FlipVertical" << QStringList{"--section", "1,1,3,2"} << Expected::Section;
    QTest::newRow("typed setter") << "ExampleGauss" << QStringList{"--call", "setSigmaAndBoxSize(2.0, 1)"}
                                  << Expected::GaussCall;
    QTest::newRow("image argument") << "FlipHorizontal" << QStringList{"--call", "setSourceImage({other})"}
                                    << Expected::SourceCall;
    QTest::newRow("threaded") << "FlipHorizontal" << QStringList{"--threaded"} << Expected::Result;
    QTest::newRow("threaded typed setter") << "ExampleGauss"
                                           << QStringList{"--threaded", "--call", "setSigmaAndBoxSize(2.0, 1)"}
                                           << Expected::GaussCall;
}

void TestZelfx::applyMatchesLibrary()
{
    QFETCH(QString, effect);
    QFETCH(QStringList, options);
    QFETCH(Expected, expected);

    const std::unique_ptr<ZelImageProcessor> processor(
        ZelEffectRegistry::create(ZelEffectRegistry::find(effect), myInput));
    QVERIFY(processor);
    QImage image;
    switch (expected) {
    case Expected::Result:
        image = processor->result();
        break;
    case Expected::Preview:
        image = processor->generatePreview(QSize(4, 4));
        break;
    case Expected::Section:
        image = processor->generatePreview(QRect(1, 1, 3, 2));
        break;
    case Expected::GaussCall:
        QVERIFY(QMetaObject::invokeMethod(processor.get(), "setSigmaAndBoxSize", Q_ARG(double, 2.0), Q_ARG(int, 1)));
        image = processor->result();
        QVERIFY(image != std::unique_ptr<ZelImageProcessor>(
                             ZelEffectRegistry::create(ZelEffectRegistry::find(effect), myInput))->result());
        break;
    case Expected::SourceCall:
        processor->setSourceImage(myOther);
        image = processor->result();
        break;
    }

    const ToolRun run = zelfx(expand(QStringList{"apply", effect, "{in}", "{out}"} + options));
    QCOMPARE(run.exitCode, int(ExitSuccess));
    QCOMPARE(loadArgb(path(QStringLiteral("out.png"))), image.convertToFormat(QImage::Format_ARGB32));
    QFile::remove(path(QStringLiteral("out.png")));
}

void TestZelfx::callTakesFourNumbersForARect_data()
{
    QTest::addColumn<QStringList>("options");
    QTest::addColumn<QRect>("region");
    QTest::addColumn<bool>("corrected");

    // The red pupil sits at (60, 50).
    QTest::newRow("whole photo") << QStringList() << QRect() << true;
    QTest::newRow("rectangle around the eye") << QStringList{"--call", "setParameters(40,30,40,40,false)"}
                                              << QRect(40, 30, 40, 40) << true;
    QTest::newRow("rectangle elsewhere") << QStringList{"--call", "setParameters(150, 100, 40, 40, true)"}
                                         << QRect(150, 100, 40, 40) << false;
    QTest::newRow("point on the eye") << QStringList{"--call", "setParameters(60,50,1,1,false)"} << QRect(60, 50, 1, 1)
                                      << true;
}

void TestZelfx::callTakesFourNumbersForARect()
{
    QFETCH(QStringList, options);
    QFETCH(QRect, region);
    QFETCH(bool, corrected);

    QImage eye(200, 150, QImage::Format_RGB32);
    for (int y = 0; y < eye.height(); ++y) {
        for (int x = 0; x < eye.width(); ++x) {
            const double d = std::hypot(x + 0.5 - 60.5, y + 0.5 - 50.5);
            eye.setPixel(x, y, d <= 4 ? qRgb(200, 30, 35) : d <= 7 ? qRgb(95, 70, 50) : qRgb(205, 165, 145));
        }
    }
    QVERIFY(eye.save(path(QStringLiteral("eye.png"))));

    const std::unique_ptr<ZelImageProcessor> effect(
        ZelEffectRegistry::create(ZelEffectRegistry::find(QStringLiteral("RedEyeRemoval")), eye));
    QVERIFY(effect);
    if (!region.isNull())
        QVERIFY(QMetaObject::invokeMethod(effect.get(), "setParameters", Q_ARG(QRect, region), Q_ARG(bool, false)));
    const QImage expected = effect->result();
    QCOMPARE(expected != eye, corrected);

    const ToolRun run = zelfx(expand(QStringList{"apply", "RedEyeRemoval", "{dir}/eye.png", "{out}"} + options));
    QCOMPARE(run.exitCode, int(ExitSuccess));
    QCOMPARE(QImage(path(QStringLiteral("out.png"))).convertToFormat(QImage::Format_RGB32), expected);
    QFile::remove(path(QStringLiteral("out.png")));
}

void TestZelfx::trace_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("code");
    QTest::addColumn<QStringList>("lines");

    QTest::newRow("flip") << QStringList{"apply", "FlipHorizontal", "{in}", "{out}", "--trace"} << int(ExitSuccess)
                          << QStringList{"finished\tfalse"};
    QTest::newRow("progress per row") << QStringList{"apply", "ExampleGrayscale", "{dir}/rows3.png", "{out}", "--trace"}
                                      << int(ExitSuccess)
                                      << QStringList{"progress\tExample\t\t0\t2", "progress\tExample\t\t1\t2",
                                                     "progress\tExample\t\t2\t2", "finished\ttrue"};
    QTest::newRow("signals from --call are traced too")
        << QStringList{"apply", "FlipHorizontal", "{in}", "{out}", "--trace", "--call", "cancel()"} << int(ExitSuccess)
        << QStringList{"finished\tfalse", "finished\tfalse"};
    QTest::newRow("null image") << QStringList{"apply", "Template", "{in}", "{out}", "--trace"} << int(ExitNullImage)
                                << QStringList{"finished\ttrue"};
    QTest::newRow("no trace without --trace") << QStringList{"apply", "ExampleGrayscale", "{dir}/rows3.png", "{out}"}
                                              << int(ExitSuccess) << QStringList();
    // Through the converter's progress(int, int) and processName(...), in the same form.
    QTest::newRow("threaded progress per row")
        << QStringList{"apply", "ExampleGrayscale", "{dir}/rows3.png", "{out}", "--trace", "--threaded"}
        << int(ExitSuccess)
        << QStringList{"progress\tExample\t\t0\t2", "progress\tExample\t\t1\t2", "progress\tExample\t\t2\t2",
                       "finished\ttrue"};
    QTest::newRow("threaded, ImageMagick")
        << QStringList{"apply", "Sepia", "{dir}/rows3.png", "{out}", "--trace", "--threaded"} << int(ExitSuccess)
        << traceLines(zelfx(expand({"apply", "Sepia", "{dir}/rows3.png", "{out}", "--trace"})).err);
}

void TestZelfx::trace()
{
    QFETCH(QStringList, arguments);
    QFETCH(int, code);
    QFETCH(QStringList, lines);

    const ToolRun run = zelfx(expand(arguments));
    QCOMPARE(run.exitCode, code);
    QCOMPARE(traceLines(run.err), lines);
    QVERIFY(run.out.isEmpty());
    QFile::remove(path(QStringLiteral("out.png")));
}

void TestZelfx::cancelAfter_data()
{
    QTest::addColumn<QString>("count");
    QTest::addColumn<QStringList>("lines");
    QTest::addColumn<bool>("unchanged"); // the input written back as it was

    const QString row0 = QStringLiteral("progress\tExample\t\t0\t2");
    const QString row1 = QStringLiteral("progress\tExample\t\t1\t2");
    const QString row2 = QStringLiteral("progress\tExample\t\t2\t2");
    QTest::newRow("first signal") << "1" << QStringList{row0, "finished\tfalse"} << true;
    QTest::newRow("second signal") << "2" << QStringList{row0, row1, "finished\tfalse"} << true;
    QTest::newRow("last signal") << "3" << QStringList{row0, row1, row2, "finished\tfalse"} << true;
    QTest::newRow("never reached") << "4" << QStringList{row0, row1, row2, "finished\ttrue"} << false;
}

void TestZelfx::cancelAfter()
{
    QFETCH(QString, count);
    QFETCH(QStringList, lines);
    QFETCH(bool, unchanged);

    const QString input = path(QStringLiteral("rows3.png"));
    const ToolRun run = zelfx(expand({"apply", "ExampleGrayscale", input, "{out}", "--trace", "--cancel-after", count}));
    QCOMPARE(run.exitCode, int(ExitSuccess));
    QCOMPARE(traceLines(run.err), lines);
    QCOMPARE(loadArgb(path(QStringLiteral("out.png"))) == loadArgb(input), unchanged);
    QFile::remove(path(QStringLiteral("out.png")));
}

// --- --chain ---------------------------------------------------------------------------------

void TestZelfx::chain_data()
{
    QTest::addColumn<QString>("chainText");
    QTest::addColumn<QStringList>("steps"); // short names, each with the --set it takes or none
    QTest::addColumn<QStringList>("sets");

    QTest::newRow("two steps in order") << "Invert;FlipVertical" << QStringList{"Invert", "FlipVertical"}
                                        << QStringList{QString(), QString()};
    QTest::newRow("a value per step") << " Mosaic : ABlockSize=2 ;FlipHorizontal"
                                      << QStringList{"Mosaic", "FlipHorizontal"} << QStringList{"ABlockSize=2", QString()};
    QTest::newRow("empty chain") << "" << QStringList() << QStringList();
}

void TestZelfx::chain()
{
    QFETCH(QString, chainText);
    QFETCH(QStringList, steps);
    QFETCH(QStringList, sets);

    QImage expected = myInput;
    for (int i = 0; i < steps.size(); ++i) {
        const std::unique_ptr<ZelImageProcessor> step(
            ZelEffectRegistry::create(ZelEffectRegistry::find(steps.at(i)), expected));
        if (!sets.at(i).isEmpty())
            QVERIFY(applySetOption(step.get(), sets.at(i), false).ok());
        expected = step->result();
    }
    const ToolRun run = zelfx(expand({"apply", "Composer", "{in}", "{out}", "--chain", chainText}));
    QCOMPARE(run.exitCode, int(ExitSuccess));
    QCOMPARE(loadArgb(path(QStringLiteral("out.png"))), expected.convertToFormat(QImage::Format_ARGB32));
    QFile::remove(path(QStringLiteral("out.png")));
}

void TestZelfx::chainErrors_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("message");

    const QStringList apply{"apply", "Composer", "{in}", "{out}", "--chain"};
    QTest::newRow("unknown effect") << apply + QStringList{"Invert;Nope"}
                                    << "zelfx: --chain step 2 \"Nope\": unknown effect Nope; known effects: ";
    QTest::newRow("unknown parameter") << apply + QStringList{"Mosaic:Size=3"}
                                       << "zelfx: --chain step 1 \"Mosaic:Size=3\": effect Mosaic has no parameter Size";
    QTest::newRow("value of the wrong type")
        << apply + QStringList{"Invert;Mosaic:ABlockSize=big"}
        << "zelfx: --chain step 2 \"Mosaic:ABlockSize=big\": parameter ABlockSize of effect Mosaic expects int, got \"big\"";
    QTest::newRow("no value") << apply + QStringList{"Mosaic:ABlockSize"}
                              << "zelfx: --chain step 1 \"Mosaic:ABlockSize\": --set expects KEY=VALUE";
    QTest::newRow("empty step") << apply + QStringList{"Invert;;FlipVertical"}
                                << "zelfx: --chain step 2 \"\": no effect named";
    QTest::newRow("not a composer") << QStringList{"apply", "Invert", "{in}", "{out}", "--chain", "Invert"}
                                    << "zelfx: --chain needs a composer effect (Composer, ExampleComposer), not Invert";
    QTest::newRow("given twice") << apply + QStringList{"Invert", "--chain", "Invert"}
                                 << "zelfx: --chain may be given once";
    QTest::newRow("settings takes none") << QStringList{"settings", "Composer", "--chain", "Invert"}
                                         << "zelfx: unknown option --chain for settings";
}

void TestZelfx::chainErrors()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, message);

    const ToolRun run = zelfx(expand(arguments));
    QCOMPARE(run.exitCode, int(ExitUsage));
    QVERIFY2(run.err.contains(message), qPrintable(run.err));
    QVERIFY(!QFile::exists(path(QStringLiteral("out.png"))));
}

void TestZelfx::chainTrace_data()
{
    QTest::addColumn<QString>("cancelAfter");
    QTest::addColumn<QStringList>("lines");
    QTest::addColumn<bool>("unchanged"); // the input written back as it was

    QStringList invert;
    QStringList grey;
    for (int row = 0; row < 3; ++row) {
        invert << QStringLiteral("progress\tInvertieren\t\t%1\t2").arg(row);
        grey << QStringLiteral("progress\tExample\t\t%1\t2").arg(row);
    }
    QTest::newRow("every step's progress") << "0" << invert + grey + QStringList{"finished\ttrue"} << false;
    // The inversion does not look at its flag: it runs to its end, and the chain stops after it
    // with the input and without a closing finished.
    QTest::newRow("cancelled in the first step")
        << "2" << invert.mid(0, 2) + QStringList{"operationCanceled"} + invert.mid(2) << true;
    // The grey-scale example stops in its first row and returns its source, the inverted input,
    // which the chain returns as the last step's result.
    QTest::newRow("cancelled in the last step")
        << "4" << invert + grey.mid(0, 1) + QStringList{"operationCanceled", "finished\tfalse"} << false;
}

void TestZelfx::chainTrace()
{
    QFETCH(QString, cancelAfter);
    QFETCH(QStringList, lines);
    QFETCH(bool, unchanged);

    const QString input = path(QStringLiteral("rows3.png"));
    QStringList arguments{"apply", "Composer", input, "{out}", "--chain", "Invert;ExampleGrayscale", "--trace"};
    if (cancelAfter != QLatin1String("0"))
        arguments << "--cancel-after" << cancelAfter;
    const ToolRun run = zelfx(expand(arguments));
    QCOMPARE(run.exitCode, int(ExitSuccess));
    QCOMPARE(traceLines(run.err), lines);
    QCOMPARE(loadArgb(path(QStringLiteral("out.png"))) == loadArgb(input), unchanged);
    QFile::remove(path(QStringLiteral("out.png")));
}

// Threaded, the converter's progress arrives on the main thread some rows late: the cancel from
// inside the first one lands while the example pauses at row 50, before its 200 rows are done.
void TestZelfx::threadedCancelAfter()
{
    const QString input = path(QStringLiteral("rows200.png"));
    const ToolRun run = zelfx(expand({"apply", "ExampleGrayscale", input, "{out}", "--trace", "--threaded",
                                      "--cancel-after", "1"}));
    QCOMPARE(run.exitCode, int(ExitSuccess));
    const QStringList lines = traceLines(run.err);
    QVERIFY2(lines.size() >= 2, qPrintable(run.err));
    QCOMPARE(lines.first(), QStringLiteral("progress\tExample\t\t0\t199"));
    // Emitted by the cancel on the main thread: rows the job did meanwhile may follow it.
    QVERIFY(lines.contains(QStringLiteral("finished\tfalse")));
    QVERIFY(!lines.contains(QStringLiteral("progress\tExample\t\t199\t199")));
    QVERIFY(!lines.contains(QStringLiteral("finished\ttrue")));
    QCOMPARE(loadArgb(path(QStringLiteral("out.png"))), loadArgb(input));
    QFile::remove(path(QStringLiteral("out.png")));
}

void TestZelfx::interruptCancelsThreadedRun()
{
    const QString input = path(QStringLiteral("rows3000.png"));
    QProcess process;
    process.setProcessEnvironment(offscreenEnvironment());
    process.setReadChannel(QProcess::StandardError);
    QElapsedTimer timer;
    timer.start();
    process.start(QStringLiteral(ZELFX_PATH), expand({"apply", "ExampleGrayscale", input, "{out}", "--trace", "--threaded"}));
    QByteArray err;
    while (!err.contains("progress\t") && process.waitForReadyRead(processTimeoutMs))
        err += process.readAllStandardError();
    QVERIFY2(err.contains("progress\t"), err.constData());
    QCOMPARE(::kill(pid_t(process.processId()), SIGINT), 0);
    QVERIFY(process.waitForFinished(processTimeoutMs));
    err += process.readAllStandardError();

    QCOMPARE(process.exitStatus(), QProcess::NormalExit);
    QCOMPARE(process.exitCode(), int(ExitSuccess));
    QVERIFY2(timer.elapsed() < 5000, qPrintable(QString::number(timer.elapsed())));
    const QString text = QString::fromUtf8(err);
    QVERIFY2(text.contains(QLatin1String("zelfx: interrupted, cancelling the effect\n")), qPrintable(text));
    QVERIFY(traceLines(text).contains(QStringLiteral("finished\tfalse")));
    QVERIFY(!traceLines(text).contains(QStringLiteral("finished\ttrue")));
    QCOMPARE(loadArgb(path(QStringLiteral("out.png"))), loadArgb(input));
    QFile::remove(path(QStringLiteral("out.png")));
}

void TestZelfx::progressBarOnTerminal_data()
{
    QTest::addColumn<QString>("options");
    QTest::newRow("direct") << QString();
    QTest::newRow("threaded") << QStringLiteral(" --threaded");
}

void TestZelfx::progressBarOnTerminal()
{
    QFETCH(QString, options);
    const QString script = QStandardPaths::findExecutable(QStringLiteral("script"));
    if (script.isEmpty())
        QSKIP("needs script(1) for a pseudo-terminal");
    const QString command = QStringLiteral("%1 apply ExampleGrayscale %2 %3%4")
                                .arg(QStringLiteral(ZELFX_PATH), path(QStringLiteral("rows3.png")),
                                     path(QStringLiteral("out.png")), options);
    const ToolRun run = runProgram(script, {QStringLiteral("-qec"), command, QStringLiteral("/dev/null")});
    QCOMPARE(run.exitCode, int(ExitSuccess));
    QVERIFY2(run.out.contains(QLatin1String("\r[###############               ]  50% Example")), qPrintable(run.out));
    QVERIFY2(run.out.contains(QLatin1String("\r[##############################] 100% Example")), qPrintable(run.out));
    QFile::remove(path(QStringLiteral("out.png")));
}

void TestZelfx::time()
{
    const ToolRun timed = zelfx(expand({"apply", "ExampleGrayscale", "{dir}/rows3.png", "{out}", "--time"}));
    QCOMPARE(timed.exitCode, int(ExitSuccess));
    const QRegularExpressionMatch match = QRegularExpression(QStringLiteral("^time_ms\\t(\\d+\\.\\d{3})\\n$")).match(timed.out);
    QVERIFY2(match.hasMatch(), qPrintable(timed.out));
    // The example pauses 100 ms in its first row, so the time is of the computation itself.
    QVERIFY2(match.captured(1).toDouble() >= 90, qPrintable(timed.out));

    const ToolRun untimed = zelfx(expand({"apply", "FlipHorizontal", "{in}", "{out}"}));
    QCOMPARE(untimed.exitCode, int(ExitSuccess));
    QVERIFY(untimed.out.isEmpty());
    QFile::remove(path(QStringLiteral("out.png")));
}

void TestZelfx::optionErrors_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("code");
    QTest::addColumn<QStringList>("fragments");

    const QStringList gauss{"apply", "ExampleGauss", "{in}", "{out}"};
    const QStringList invokables{"invokable methods:", "setSigmaAndBoxSize(double,int)", "result()",
                                 "generatePreview(QRect)"};
    QTest::newRow("--set unknown key") << gauss + QStringList{"--set", "Missing=1"} << int(ExitUsage)
                                       << QStringList{"zelfx: effect ExampleGauss has no parameter Missing"};
    QTest::newRow("settings --set unknown key") << QStringList{"settings", "FlipVertical", "--set", "Missing=1"}
                                                << int(ExitUsage) << QStringList{"no parameter Missing"};
    QTest::newRow("bench --set unknown key")
        << QStringList{"bench", "FlipVertical", "--size", "8x8", "--repeat", "1", "--set", "Missing=1"}
        << int(ExitUsage) << QStringList{"no parameter Missing"};
    QTest::newRow("--settings unreadable") << gauss + QStringList{"--settings", "{dir}/none.xml"} << int(ExitUsage)
                                           << QStringList{"zelfx: cannot read settings file {dir}/none.xml"};
    QTest::newRow("--settings malformed") << gauss + QStringList{"--settings", "{dir}/malformed.xml"}
                                          << int(ExitUsage)
                                          << QStringList{"zelfx: malformed XML in settings file {dir}/malformed.xml"};
    QTest::newRow("--settings without the element") << gauss + QStringList{"--settings", "{dir}/foreign.xml"}
                                                    << int(ExitUsage)
                                                    << QStringList{"settings file {dir}/foreign.xml has no element",
                                                                   "effect ExampleGauss"};
    // Too wide for QImage's row arithmetic, so it is refused before any allocation.
    QTest::newRow("bench image too large") << QStringList{"bench", "FlipVertical", "--size", "70000000x1"}
                                           << int(ExitUsage)
                                           << QStringList{"cannot allocate a 70000000x1 image to benchmark "
                                                          "effect FlipVertical"};
    QTest::newRow("--call unknown method") << gauss + QStringList{"--call", "sharpen(2)"} << int(ExitUsage)
                                           << (QStringList{"no invokable method matching sharpen(2)"} + invokables);
    QTest::newRow("--call unreadable image")
        << QStringList{"apply", "FlipHorizontal", "{in}", "{out}", "--call", "setSourceImage({dir}/none.png)"}
        << int(ExitInputUnreadable) << QStringList{"cannot read image file {dir}/none.png"};
}

void TestZelfx::optionErrors()
{
    QFETCH(QStringList, arguments);
    QFETCH(int, code);
    QFETCH(QStringList, fragments);

    const ToolRun run = zelfx(expand(arguments));
    QCOMPARE(run.exitCode, code);
    for (const QString& fragment : expand(fragments))
        QVERIFY2(run.err.contains(fragment), qPrintable(run.err));
    QVERIFY(!QFile::exists(path(QStringLiteral("out.png"))));
}

void TestZelfx::settingsOutputFeedsBack()
{
    // Whatever settings prints must be accepted by --settings, also for effects whose own element
    // name is no XML name (the flips file under "Horizontal spiegeln").
    for (const QMetaObject* meta : ZelEffectRegistry::effects()) {
        const QString className = QString::fromLatin1(meta->className());
        const ToolRun settings = zelfx({QStringLiteral("settings"), className});
        QCOMPARE(settings.exitCode, int(ExitSuccess));
        QVERIFY(settings.out.contains(QStringLiteral("<zelfx effect=\"%1\">").arg(className)));
        const QString file = path(QStringLiteral("settings.xml"));
        QVERIFY(writeFile(file, settings.out.toUtf8()));
        const ToolRun apply = zelfx(expand({"apply", className, "{in}", "{out}", "--settings", file}));
        QVERIFY2(apply.exitCode == ExitSuccess || apply.exitCode == ExitNullImage, qPrintable(apply.err));
        QFile::remove(path(QStringLiteral("out.png")));
    }
}

void TestZelfx::list()
{
    const ToolRun run = zelfx({QStringLiteral("list")});
    QCOMPARE(run.exitCode, int(ExitSuccess));
    QStringList names;
    for (const QString& line : run.out.split(QLatin1Char('\n'), Qt::SkipEmptyParts))
        names << line.section(QLatin1Char('\t'), 0, 0);
    QCOMPARE(names, registeredShortNames());
    QVERIFY(run.out.contains(QLatin1String("FlipHorizontal\tHorizontal spiegeln\n")));
}

void TestZelfx::listJson()
{
    const ToolRun run = zelfx({QStringLiteral("list"), QStringLiteral("--json")});
    QCOMPARE(run.exitCode, int(ExitSuccess));
    const QJsonArray effects = QJsonDocument::fromJson(run.out.toUtf8()).array();
    QCOMPARE(effects.size(), ZelEffectRegistry::effects().size());
    for (const QJsonValue& value : effects) {
        const QJsonObject effect = value.toObject();
        QCOMPARE(effect.keys(), (QStringList{"class", "iconName", "name", "toolTip"}));
        for (const QJsonValue& field : effect)
            QVERIFY(field.isString());
    }
    // The flips set the lower-case "toolTip" property.
    const QJsonObject flip = effects.at(registeredShortNames().indexOf(QStringLiteral("FlipHorizontal"))).toObject();
    QCOMPARE(flip.value(QLatin1String("class")), QJsonValue("ZelImageProcessorFlipHorizontal"));
    QCOMPARE(flip.value(QLatin1String("name")), QJsonValue("Horizontal spiegeln"));
    QCOMPARE(flip.value(QLatin1String("toolTip")), QJsonValue("Aktuelles Foto horizontal spiegeln "));
    QCOMPARE(flip.value(QLatin1String("iconName")), QJsonValue("ico_fx_horiz_mirror"));
}

void TestZelfx::listBench()
{
    const ToolRun run = zelfx({QStringLiteral("list"), QStringLiteral("--bench")});
    QCOMPARE(run.exitCode, int(ExitSuccess));
    const QStringList names = run.out.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    QVERIFY(names.contains(QLatin1String("FlipHorizontal")));
    QVERIFY(names.contains(QLatin1String("ExampleGauss")));
    QVERIFY(!names.contains(QLatin1String("ExampleGrayscale")));
    QVERIFY(!names.contains(QLatin1String("Template")));
    for (const QString& name : names)
        QVERIFY2(registeredShortNames().contains(name), qPrintable(name));
}

void TestZelfx::describeJson()
{
    const ToolRun run = zelfx({QStringLiteral("describe"), QStringLiteral("ExampleGauss"), QStringLiteral("--json")});
    QCOMPARE(run.exitCode, int(ExitSuccess));
    const QJsonObject description = QJsonDocument::fromJson(run.out.toUtf8()).object();
    QCOMPARE(description.keys(),
             (QStringList{"class", "iconName", "invokables", "name", "parameters", "toolTip", "xmlTag"}));
    QCOMPARE(description.value(QLatin1String("class")), QJsonValue("ZelImageProcessorExampleGauss"));
    QCOMPARE(description.value(QLatin1String("parameters")), QJsonValue(QJsonArray()));

    QStringList invokables;
    for (const QJsonValue& signature : description.value(QLatin1String("invokables")).toArray())
        invokables << signature.toString();
    for (const QString& expected : QStringList{"setSigmaAndBoxSize(double,int)", "setSourceImage(QImage)", "cancel()", "result()",
                                    "generatePreview(QSize)", "generatePreview(QRect)"}) {
        QVERIFY2(invokables.contains(expected), qPrintable(invokables.join(' ')));
    }
    for (const QString& excluded : QStringList{"progress(QString,QString,int,int)", "finished(bool)", "operationCanceled()",
                                    "deleteLater()", "destroyed(QObject*)"}) {
        QVERIFY2(!invokables.contains(excluded), qPrintable(excluded));
    }
    QCOMPARE(invokables.removeDuplicates(), 0);
}

void TestZelfx::describeText()
{
    const ToolRun run = zelfx({QStringLiteral("describe"), QStringLiteral("FlipVertical")});
    QCOMPARE(run.exitCode, int(ExitSuccess));
    QVERIFY(run.out.startsWith(QLatin1String("FlipVertical: Vertikal spiegeln\n")));
    QVERIFY(run.out.contains(QLatin1String("  tooltip:  Aktuelles Foto vertikal spiegeln \n")));
    QVERIFY(run.out.contains(QLatin1String("  parameters: none\n")));
    QVERIFY(run.out.contains(QLatin1String("    generatePreview(QRect)\n")));
}

void TestZelfx::gallery()
{
    const QString input = path(QStringLiteral("astro & co.png"));
    QVERIFY(QFile::copy(QStringLiteral(ZEL_SOURCE_DIR "/samples/astronaut.png"), input));
    const QString outDir = path(QStringLiteral("gallery/nested"));
    const ToolRun run = zelfx({QStringLiteral("gallery"), input, outDir});
    QCOMPARE(run.exitCode, int(ExitSuccess));
    const QString page = readFile(outDir + QStringLiteral("/index.html"));
    QVERIFY(page.startsWith(QLatin1String("<!DOCTYPE html>")));
    QVERIFY(page.contains(QLatin1String("astro &amp; co.png")));
    QVERIFY(!page.contains(QLatin1String("astro & co.png")));

    for (const QString& name : registeredShortNames()) {
        const QString png = QStringLiteral("%1/%2.png").arg(outDir, name);
        QVERIFY2(page.contains(QStringLiteral("<code>ZelImageProcessor%1</code>").arg(name)), qPrintable(name));
        if (QFile::exists(png)) {
            // Most effects keep the size; some (the arc, rotations) do not.
            QVERIFY2(!QImage(png).isNull(), qPrintable(png));
            QVERIFY(page.contains(QStringLiteral("<img src=\"%1.png\"").arg(name)));
        } else {
            QVERIFY2(run.err.contains(QStringLiteral("zelfx: gallery: effect %1 ").arg(name)), qPrintable(run.err));
        }
    }
    QVERIFY(!QFile::exists(outDir + QStringLiteral("/Template.png")));
    QVERIFY(page.contains(QLatin1String("<div class=\"reason\">Template returned a null image</div>")));
    QVERIFY(page.contains(QLatin1String("<b>Horizontal spiegeln</b>")));
    QVERIFY(page.contains(QLatin1String("Aktuelles Foto horizontal spiegeln")));
    QCOMPARE(page.count(QRegularExpression(QStringLiteral("<span class=\"time\">\\d+\\.\\d ms</span>"))),
             registeredShortNames().size());

    const std::unique_ptr<ZelImageProcessor> flip(
        ZelEffectRegistry::create(ZelEffectRegistry::find(QStringLiteral("FlipHorizontal")), QImage(input)));
    QCOMPARE(loadArgb(outDir + QStringLiteral("/FlipHorizontal.png")),
             flip->result().convertToFormat(QImage::Format_ARGB32));
}

void TestZelfx::galleryErrors_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("message");

    QTest::newRow("missing input") << QStringList{"gallery", "{dir}/none.png", "{dir}/g"} << int(ExitInputUnreadable)
                                   << "zelfx: cannot read input image {dir}/none.png";
    QTest::newRow("outdir below a file") << QStringList{"gallery", "{in}", "{dir}/notanimage.png/g"}
                                         << int(ExitOutputUnwritable)
                                         << "zelfx: cannot create output directory {dir}/notanimage.png/g";
    QTest::newRow("page unwritable") << QStringList{"gallery", "{in}", "{dir}/pageblocked"} << int(ExitOutputUnwritable)
                                     << "zelfx: cannot write gallery page {dir}/pageblocked/index.html: ";
    QTest::newRow("one picture unwritable") << QStringList{"gallery", "{in}", "{dir}/pngblocked"} << int(ExitSuccess)
                                            << "zelfx: gallery: effect FlipVertical was not saved: cannot write "
                                               "output image {dir}/pngblocked/FlipVertical.png";
}

void TestZelfx::galleryErrors()
{
    QFETCH(QStringList, arguments);
    QFETCH(int, code);
    QFETCH(QString, message);

    const ToolRun run = zelfx(expand(arguments));
    QCOMPARE(run.exitCode, code);
    QVERIFY2(run.err.contains(expand({message}).first()), qPrintable(run.err));
}

void TestZelfx::bench()
{
    const ToolRun run = zelfx({"bench", "FlipHorizontal", "--size", "64x48", "--repeat", "1"});
    QCOMPARE(run.exitCode, int(ExitSuccess));
    const QStringList lines = run.out.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    QCOMPARE(lines.size(), 6);
    const QStringList names{"median_ms", "ns_per_pixel", "memcpy_ms", "ratio_to_memcpy", "fresh_memcpy_ms",
                            "ratio_to_fresh_memcpy"};
    QVector<double> values;
    for (int i = 0; i < lines.size(); ++i) {
        const QStringList fields = lines.at(i).split(QLatin1Char('\t'));
        QCOMPARE(fields.size(), 2);
        QCOMPARE(fields.first(), names.at(i));
        bool ok = false;
        values << fields.last().toDouble(&ok);
        QVERIFY2(ok && values.last() > 0, qPrintable(lines.at(i)));
    }
    const double medianMs = values[0];
    QVERIFY(qAbs(values[1] - medianMs * 1e6 / (64 * 48)) <= 0.001 + 0.01 * values[1]);
    QVERIFY(qAbs(values[3] - medianMs / values[2]) <= 0.001 + 0.01 * values[3]);
    QVERIFY(qAbs(values[5] - medianMs / values[4]) <= 0.001 + 0.01 * values[5]);
}

void TestZelfx::benchReportsTheMagickRoundTrip()
{
    // Only effects that go through ImageMagick get the line.
    const ToolRun magick = zelfx({"bench", "GammaCorrection", "--size", "64x48", "--repeat", "1"});
    QCOMPARE(magick.exitCode, int(ExitSuccess));
    const QStringList lines = magick.out.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    QCOMPARE(lines.size(), 7);
    QVERIFY2(lines.last().startsWith(QLatin1String("magick_roundtrip_ms\t")), qPrintable(lines.last()));
    QVERIFY(!zelfx({"bench", "Invert", "--size", "64x48", "--repeat", "1"}).out.contains(QLatin1String("magick")));
}

void TestZelfx::benchNullImage()
{
    const ToolRun run = zelfx({"bench", "Template", "--size", "16x16", "--repeat", "1"});
    QCOMPARE(run.exitCode, int(ExitNullImage));
    QVERIFY(run.out.isEmpty());
    QVERIFY2(run.err.contains(QLatin1String("zelfx: effect Template returned a null image")), qPrintable(run.err));
    QVERIFY2(run.err.contains(QLatin1String("effect Template is left out of benchmark runs (skip: ")),
             qPrintable(run.err));
}

void TestZelfx::benchScript()
{
    const ToolRun run = runProgram(QStringLiteral("bash"), {QStringLiteral(ZEL_SOURCE_DIR "/bench/run.sh"),
                                                            QStringLiteral(ZELFX_PATH), "--size", "64x48",
                                                            "--repeat", "1"});
    QCOMPARE(run.exitCode, 0);
    const QStringList lines = run.out.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    const QStringList benchmarked = zelfx({"list", "--bench"}).out.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    // A header, a row per effect, and the 13-tap Gaussian of the convolution.
    QCOMPARE(lines.size(), benchmarked.size() + 2);
    QVERIFY(lines.first().contains(QLatin1String("ratio to memcpy")));
    const QRegularExpression row(
        QStringLiteral("^(\\w+( 13-tap)?) +\\d+\\.\\d{3} +\\d+\\.\\d{3} +\\d+\\.\\d{2} +\\d+\\.\\d{2} +(\\d+\\.\\d{3}|-)$"));
    const QStringList labels = benchmarked + QStringList{QStringLiteral("Convolution 13-tap")};
    for (int i = 0; i < labels.size(); ++i) {
        const QRegularExpressionMatch match = row.match(lines.at(i + 1));
        QVERIFY2(match.hasMatch(), qPrintable(lines.at(i + 1)));
        QCOMPARE(match.captured(1), labels.at(i));
    }
}

void TestZelfx::selectsOffscreenWithoutDisplay()
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const QString& variable : QStringList{"QT_QPA_PLATFORM", "DISPLAY", "WAYLAND_DISPLAY"})
        environment.remove(variable);
    const ToolRun run = zelfx({QStringLiteral("list")}, environment);
    QCOMPARE(run.exitCode, int(ExitSuccess));
    QVERIFY(run.out.startsWith(QLatin1String("FlipHorizontal\t")));
}

QTEST_MAIN(TestZelfx)
#include "tst_zelfx.moc"
