// zelfx: the units behind --set, --set-ui, --settings and --call driven directly on the probe
// effect, and the tool run as a process: exit statuses, files, results equal to the library's,
// trace and cancel.

#include "bench.h"
#include "describe.h"
#include "parameteroptions.h"
#include "valueconversion.h"

#include "ZelEffectTestSupport.h"
#include "ZelTestProbe.h"

#include <QImageReader>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QtTest>

#include <csignal>
#include <functional>

namespace {

struct ToolRun
{
    int exitCode = -1; // -1: crashed or timed out
    QString out;
    QString err;
};

QProcessEnvironment offscreen()
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    return environment;
}

ToolRun run(const QString& program, const QStringList& arguments, const QProcessEnvironment& environment = offscreen())
{
    QProcess process;
    process.setProcessEnvironment(environment);
    process.start(program, arguments);
    const bool exited = process.waitForFinished(120000) && process.exitStatus() == QProcess::NormalExit;
    process.kill();
    return {exited ? process.exitCode() : -1, QString::fromUtf8(process.readAllStandardOutput()),
            QString::fromUtf8(process.readAllStandardError())};
}

QImage loadArgb(const QString& path) { return QImage(path).convertToFormat(QImage::Format_ARGB32); }

// The lines --trace prints for the effect's signals.
QStringList traceLines(const QString& err)
{
    static const QRegularExpression traced(QStringLiteral("^(progress\\t|finished\\t|operationCanceled$)"));
    QStringList lines;
    for (const QString& line : err.split(QLatin1Char('\n')))
        if (traced.match(line).hasMatch())
            lines << line;
    return lines;
}

bool writeFile(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate) && file.write(bytes) == bytes.size();
}

QVariant valueOf(const ZelImageProcessor& effect, const QString& key) { return effect.parameterContainer().value(key); }

// An option that fails with this exit status and a message with this keyword.
struct Failure
{
    int code;
    QString keyword;
};

// What the tool's output must equal: computed by the library on the effect and its input.
using Expectation = std::function<QImage(ZelImageProcessor&, const QImage&)>;

} // namespace

Q_DECLARE_METATYPE(Expectation)
Q_DECLARE_METATYPE(Failure)

class TestZelfx : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();

    void textConversion_data();
    void textConversion();
    void parameterOptions_data();
    void parameterOptions();
    void settingsRoundTrip_data();
    void settingsRoundTrip();
    void settingsOfEveryEffectReadBack();

    void commands_data();
    void commands();
    void applyMatchesLibrary_data();
    void applyMatchesLibrary();
    void traceAndCancel_data();
    void traceAndCancel();
    void threadedCancel();
    void listings();
    void gallery();

private:
    QString path(const QString& name) const { return myDir.filePath(name); }
    // {in} the small input, {other} a second image, {out} an output path, {dir} the temporary folder.
    QStringList expand(const QStringList& arguments) const;
    ToolRun zelfx(const QStringList& arguments) const { return run(QStringLiteral(ZELFX_PATH), expand(arguments)); }
    // "set", "ui", "call" or "settings", a blank and the option's argument.
    ParameterOption option(const QString& text) const
    {
        static const QStringList kinds{"set", "ui", "settings", "call"}; // in the order of ParameterOption::Kind
        return {ParameterOption::Kind(kinds.indexOf(text.section(' ', 0, 0))), expand({text.section(' ', 1)}).first()};
    }

    QTemporaryDir myDir;
    QImage myInput;
};

void TestZelfx::initTestCase()
{
    QVERIFY(myDir.isValid());
    myInput = photo(8, 6);
    QVERIFY(myInput.save(path("in.png")));
    QVERIFY(photo(5, 7).mirrored(true, false).save(path("other.png")));
    QVERIFY(photo(4, 3).save(path("rows3.png")));
    // ExampleGrayscale pauses 100 ms every 50 rows: 0.4 s and 6 s of pauses.
    QVERIFY(photo(4, 200).save(path("rows200.png")));
    QVERIFY(photo(4, 3000).save(path("rows3000.png")));
    // A red pupil at (60, 50) in a brown iris on skin.
    QImage eye(200, 150, QImage::Format_RGB32);
    for (int y = 0; y < eye.height(); ++y) {
        for (int x = 0; x < eye.width(); ++x) {
            const double d = std::hypot(x - 60.0, y - 50.0);
            eye.setPixel(x, y, d <= 4 ? qRgb(200, 30, 35) : d <= 7 ? qRgb(95, 70, 50) : qRgb(205, 165, 145));
        }
    }
    QVERIFY(eye.save(path("eye.png")));
    QVERIFY(writeFile(path("notanimage.png"), "plain text"));
    QVERIFY(writeFile(path("malformed.xml"), "<zelfx effect=\"x\"><unclosed></zelfx>"));
    QVERIFY(writeFile(path("foreign.xml"), "<zelfx effect=\"Other\"><Else a=\"1\"/></zelfx>"));
    QVERIFY(QDir(myDir.path()).mkpath("pageblocked/index.html"));
    QVERIFY(QDir(myDir.path()).mkpath("pngblocked/FlipVertical.png"));
}

QStringList TestZelfx::expand(const QStringList& arguments) const
{
    QStringList expanded;
    for (QString argument : arguments) {
        argument.replace("{in}", path("in.png")).replace("{other}", path("other.png"));
        expanded << argument.replace("{out}", path("out.png")).replace("{dir}", myDir.path());
    }
    return expanded;
}

// --- the units --------------------------------------------------------------------------------

void TestZelfx::textConversion_data()
{
    QTest::addColumn<int>("typeId");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QVariant>("expected"); // invalid: rejected

    const auto row = [](const char* tag, int type, const char* text, const QVariant& expected = QVariant()) {
        QTest::newRow(tag) << type << QString::fromUtf8(text) << expected;
    };
    row("int", QMetaType::Int, "42", 42);
    row("int with blanks", QMetaType::Int, " -7 ", -7);
    row("int rejects a fraction", QMetaType::Int, "4.5");
    row("double", QMetaType::Double, "2.5", 2.5);
    row("double exponent", QMetaType::Double, "1e3", 1000.0);
    row("double rejects nan", QMetaType::Double, "nan");
    row("bool true", QMetaType::Bool, "true", true);
    row("bool 0", QMetaType::Bool, "0", false);
    row("bool rejects yes", QMetaType::Bool, "yes");
    row("colour #rrggbb", QMetaType::QColor, "#ff8000", QColor(255, 128, 0));
    row("colour #aarrggbb", QMetaType::QColor, "#80ff0000", QColor(255, 0, 0, 128));
    row("colour SVG name", QMetaType::QColor, "navy", QColor(0, 0, 128));
    row("colour rejects", QMetaType::QColor, "nocolour");
    row("size", QMetaType::QSize, "640x480", QSize(640, 480));
    row("size rejects commas", QMetaType::QSize, "640,480");
    row("sizeF", QMetaType::QSizeF, "1.5x2", QSizeF(1.5, 2));
    row("rect", QMetaType::QRect, "1,2,3,4", QRect(1, 2, 3, 4));
    row("rect rejects three", QMetaType::QRect, "1,2,3");
    row("rectF", QMetaType::QRectF, "0.5,1,2.5,3", QRectF(0.5, 1, 2.5, 3));
    row("point", QMetaType::QPoint, "3,-4", QPoint(3, -4));
    row("pointF", QMetaType::QPointF, "1.5,-2", QPointF(1.5, -2));
    row("string as is", QMetaType::QString, " a b,c ", " a b,c ");
    row("string list", QMetaType::QStringList, "a;b;c", QStringList{"a", "b", "c"});
    row("empty string list", QMetaType::QStringList, "", QStringList());
    row("font is not converted", QMetaType::QFont, "Sans");
}

// Text to a value, and the value's own text back to the same value.
void TestZelfx::textConversion()
{
    QFETCH(int, typeId);
    QFETCH(QString, text);
    QFETCH(QVariant, expected);

    QVariant value;
    QCOMPARE(convertText(text, typeId, &value), expected.isValid());
    if (!expected.isValid())
        return;
    QCOMPARE(value.userType(), typeId);
    QCOMPARE(value, expected);
    QVariant back;
    QVERIFY2(convertText(formatValue(expected), typeId, &back), qPrintable(formatValue(expected)));
    QCOMPARE(back, expected);
}

void TestZelfx::parameterOptions_data()
{
    QTest::addColumn<QStringList>("options"); // for option(), or "describe"
    QTest::addColumn<QString>("key");         // none: what the probe's invokables recorded
    QTest::addColumn<QVariant>("expected"); // the value, or a Failure of the last option

    const auto row = [](const char* tag, const QStringList& options, const char* key, const QVariant& expected) {
        QTest::newRow(tag) << options << QString::fromLatin1(key) << expected;
    };
    const auto fails = [](int code, const char* keyword) { return QVariant::fromValue(Failure{code, keyword}); };
    row("double", {"set AStrength=0.25"}, "AStrength", 0.25);
    row("double in user units is mapped", {"ui AStrength=70"}, "AStrength", 0.7);
    row("int", {"set BBlur=7"}, "BBlur", 7);
    row("int without user range", {"ui BBlur=7"}, "BBlur", 7);
    row("colour", {"set CColor=#4000ff00"}, "CColor", QColor(0, 255, 0, 64));
    row("size", {"set DSize=320x200"}, "DSize", QSize(320, 200));
    row("bool", {"set EFlag=1"}, "EFlag", true);
    row("rect", {"set FArea=5,6,7,8"}, "FArea", QRect(5, 6, 7, 8));
    row("text keeps later equals signs", {"set GLabel=a=b"}, "GLabel", "a=b");
    row("empty text", {"set GLabel="}, "GLabel", "");
    row("in command-line order", {"set BBlur=2", "set BBlur=9"}, "BBlur", 9);
    // Writes through a container that is still shared, or reading ranges through the detaching
    // accessors, would turn AStrength plain, and the later --set-ui would store 70 unmapped.
    row("user units survive earlier writes", {"set AStrength=0.1", "call record()", "ui AStrength=70"}, "AStrength", 0.7);
    row("user units survive describe", {"describe", "ui AStrength=70"}, "AStrength", 0.7);
    row("call without arguments", {"call   record ( ) "}, "", QVariantList());
    row("call with numbers, bool, colour, size", {"call record(7, 2.5, true, #80ff0000, 640x480)"}, "",
        QVariantList{7, 2.5, true, QColor(255, 0, 0, 128), QSize(640, 480)});
    row("call: rectangles and points span several commas", {"call record(1,2,3,4, 0.5,1.5,2,3.5, -1,2.25, hi)"}, "",
        QVariantList{QRect(1, 2, 3, 4), QRectF(0.5, 1.5, 2, 3.5), QPointF(-1, 2.25), QStringLiteral("hi")});
    row("call with a string list", {"call names(a;b;c)"}, "", QVariantList{QStringList{"a", "b", "c"}});
    row("call with an enumerator by key", {"call shade(Dark)"}, "", QVariantList{7});
    row("call with an enumerator by number", {"call shade(3)"}, "", QVariantList{3});
    row("call with an image", {"call load({in})"}, "", QVariantList{QSize(8, 6)});
    row("call with an image list", {"call loadAll({in};{other};{in})"}, "", QVariantList{3});

    const int usage = ExitUsage;
    row("unknown key, known ones listed", {"set Missing=1"}, "", fails(usage, "AStrength, BBlur, CColor"));
    row("key without value", {"set BBlur"}, "", fails(usage, "KEY=VALUE"));
    row("int rejects a word", {"set BBlur=abc"}, "", fails(usage, "int"));
    row("int rejects a fraction", {"set BBlur=4.5"}, "", fails(usage, "int"));
    row("colour", {"ui CColor=nocolour"}, "", fails(usage, "#rrggbb"));
    row("size", {"set DSize=12"}, "", fails(usage, "WxH"));
    row("unknown method, invokables listed", {"call missing()"}, "", fails(usage, "record(int,double,bool,QColor,QSize)"));
    row("wrong arity", {"call record(1,2)"}, "", fails(usage, "record(1,2)"));
    row("signals are not invokable", {"call finished(true)"}, "", fails(usage, "finished(true)"));
    row("int argument", {"call record(x,2.5,true,red,1x1)"}, "", fails(usage, "argument 1"));
    row("unconvertible parameter type", {"call setMaximumPriority(3)"}, "", fails(usage, "QThread::Priority"));
    row("unknown enumerator", {"call shade(Grey)"}, "", fails(usage, "Light, Dark"));
    row("not a call", {"call record"}, "", fails(usage, "NAME(ARG"));
    row("unreadable image", {"call load({dir}/none.png)"}, "", fails(ExitInputUnreadable, "none.png"));
    row("unreadable image in a list", {"call loadAll({in};{dir}/none.png)"}, "", fails(ExitInputUnreadable, "none.png"));
    row("settings unreadable", {"settings {dir}/none.xml"}, "", fails(usage, "none.xml"));
    row("settings malformed", {"settings {dir}/malformed.xml"}, "", fails(usage, "malformed"));
    row("settings without the element", {"settings {dir}/foreign.xml"}, "", fails(usage, "<Probe>"));
}

void TestZelfx::parameterOptions()
{
    QFETCH(QStringList, options);
    QFETCH(QString, key);
    QFETCH(QVariant, expected);

    ZelImageProcessorProbe probe;
    // A copy of the container, only where nothing may be written: while a copy is held, writing
    // the effect's container turns its numeric parameters plain, and --set-ui would store 70.
    const bool failure = expected.canConvert<Failure>();
    const ZelParameterDescriptionContainer before = failure ? probe.parameterContainer()
                                                            : ZelParameterDescriptionContainer();
    QList<ParameterOption> pending;
    for (const QString& text : options + QStringList{"describe"}) {
        if (text != QLatin1String("describe")) {
            pending << option(text);
            continue;
        }
        const Status status = applyParameterOptions(&probe, pending);
        if (failure) {
            QCOMPARE(status.code, expected.value<Failure>().code);
            QVERIFY2(status.message.contains(expected.value<Failure>().keyword), qPrintable(status.message));
            // Nothing written (the container would file an unknown key) and nothing called.
            QVERIFY(probe.parameterContainer() == before);
            QCOMPARE(probe.parameterContainer().parameterNames(), before.parameterNames());
            QCOMPARE(probe.recorded, QVariantList{QStringLiteral("not called")});
            return;
        }
        QVERIFY2(status.ok(), qPrintable(status.message));
        pending.clear();
        effectDescriptionJson(probe);
    }
    QCOMPARE(key.isEmpty() ? QVariant(probe.recorded) : valueOf(probe, key), expected);
}

void TestZelfx::settingsRoundTrip_data()
{
    QTest::addColumn<QString>("xmlTagName");
    QTest::addColumn<QString>("element");

    QTest::newRow("type name while no tag name is set") << QString() << "<Probe ";
    QTest::newRow("tag name") << "ProbeSettings" << "<ProbeSettings ";
    QTest::newRow("class name where no XML name") << "Probe Settings" << "<ZelImageProcessorProbe ";
}

void TestZelfx::settingsRoundTrip()
{
    QFETCH(QString, xmlTagName);
    QFETCH(QString, element);

    ZelImageProcessorProbe written;
    ZelImageProcessorProbe read;
    if (!xmlTagName.isEmpty()) {
        written.setXMLTagName(xmlTagName);
        read.setXMLTagName(xmlTagName);
    }
    for (const char* assignment : {"AStrength=0.25", "BBlur=7", "CColor=#00ff00", "DSize=320x200", "EFlag=true", "GLabel=x y"})
        QVERIFY(applySetOption(&written, QString::fromLatin1(assignment), false).ok());
    QString xml;
    QVERIFY(settingsDocument(written, &xml).ok());
    QVERIFY2(xml.contains(element) && xml.contains("<zelfx effect=\"ZelImageProcessorProbe\">"), qPrintable(xml));
    QVERIFY(writeFile(path("probe-settings.xml"), xml.toUtf8()));
    const Status status = applySettingsFile(&read, path("probe-settings.xml"));
    QVERIFY2(status.ok(), qPrintable(status.message));
    for (const char* key : {"AStrength", "BBlur", "DSize", "EFlag", "GLabel"})
        QCOMPARE(valueOf(read, key), valueOf(written, key));
    // A valid colour read from XML leaves the colour as it was: the library's deliberate rule.
    QCOMPARE(valueOf(read, "CColor"), QVariant(QColor(255, 0, 0)));
    // Read parameter by parameter, the numeric one keeps its user-visible range.
    QVERIFY(applySetOption(&read, "AStrength=50", true).ok());
    QCOMPARE(valueOf(read, "AStrength"), QVariant(0.5));
}

// Whatever settings writes, --settings reads, also for effects whose own element name is no XML
// name (the flips file under "Horizontal spiegeln").
void TestZelfx::settingsOfEveryEffectReadBack()
{
    for (const QMetaObject* meta : ZelEffectRegistry::effects()) {
        const std::unique_ptr<ZelImageProcessor> effect(ZelEffectRegistry::create(meta));
        QString xml;
        QVERIFY(settingsDocument(*effect, &xml).ok());
        QVERIFY(writeFile(path("settings.xml"), xml.toUtf8()));
        const Status status = applySettingsFile(effect.get(), path("settings.xml"));
        QVERIFY2(status.ok(), qPrintable(status.message));
    }
}

// --- the tool as a process ----------------------------------------------------------------------

void TestZelfx::commands_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("keyword"); // on stdout or stderr

    const QStringList apply{"apply", "FlipHorizontal", "{in}", "{out}"};
    const QStringList gauss{"apply", "ExampleGauss", "{in}", "{out}"};
    const QStringList bench{"bench", "FlipVertical", "--size", "8x8", "--repeat", "1"};
    const QStringList chain{"apply", "Composer", "{in}", "{out}", "--chain"};
    const auto row = [](const char* tag, const QStringList& arguments, int code, const char* keyword) {
        QTest::newRow(tag) << arguments << code << QString::fromUtf8(keyword);
    };
    row("help", {"--help"}, ExitSuccess, "--cancel-after N");
    row("no command", {}, ExitUsage, "usage: zelfx");
    row("unknown command", {"frobnicate"}, ExitUsage, "frobnicate");
    row("list --json --bench", {"list", "--json", "--bench"}, ExitUsage, "exclude");
    row("describe without effect", {"describe"}, ExitUsage, "EFFECT");
    row("apply without output", {"apply", "FlipHorizontal", "{in}"}, ExitUsage, "OUTPUT");
    row("unknown option", apply + QStringList{"--bogus"}, ExitUsage, "--bogus");
    row("--preview empty", apply + QStringList{"--preview", "0x5"}, ExitUsage, "WxH");
    row("--section three numbers", apply + QStringList{"--section", "1,2,3"}, ExitUsage, "X,Y,W,H");
    row("--preview with --section", apply + QStringList{"--preview", "4x4", "--section", "0,0,2,2"}, ExitUsage, "exclude");
    row("--threaded with --preview", apply + QStringList{"--threaded", "--preview", "4x4"}, ExitUsage, "excludes");
    row("--cancel-after 0", apply + QStringList{"--cancel-after", "0"}, ExitUsage, "positive");
    row("settings takes no run options", {"settings", "FlipHorizontal", "--trace"}, ExitUsage, "--trace");
    row("bench takes no --threaded", {"bench", "FlipHorizontal", "--threaded"}, ExitUsage, "--threaded");
    row("bench --size", {"bench", "FlipHorizontal", "--size", "64x0"}, ExitUsage, "WxH");
    row("bench image too large", {"bench", "FlipVertical", "--size", "70000000x1"}, ExitUsage, "70000000x1");
    row("gallery without outdir", {"gallery", "{in}"}, ExitUsage, "OUTDIR");
    row("unknown effect", {"describe", "NoSuchEffect"}, ExitUsage, "NoSuchEffect");
    row("unknown effect before the input", {"apply", "NoSuchEffect", "{dir}/none.png", "{out}"}, ExitUsage, "NoSuchEffect");
    row("missing input", {"apply", "FlipHorizontal", "{dir}/none.png", "{out}"}, ExitInputUnreadable, "none.png");
    row("input is no image", {"apply", "FlipHorizontal", "{dir}/notanimage.png", "{out}"}, ExitInputUnreadable, "notanimage");
    row("output folder missing", {"apply", "FlipHorizontal", "{in}", "{dir}/no/out.png"}, ExitOutputUnwritable, "no/out.png");
    row("unknown output format", {"apply", "FlipHorizontal", "{in}", "{dir}/out.unknown"}, ExitOutputUnwritable, "unknown");
    row("written as jpeg by suffix", {"apply", "FlipVertical", "{in}", "{dir}/out.jpg"}, ExitSuccess, "");
    row("null image", {"apply", "Template", "{in}", "{out}"}, ExitNullImage, "null image");
    row("--set without =", apply + QStringList{"--set", "Blur"}, ExitUsage, "KEY=VALUE");
    row("bench --set unknown key", bench + QStringList{"--set", "Missing=1"}, ExitUsage, "Missing");
    row("--settings unreadable", gauss + QStringList{"--settings", "{dir}/none.xml"}, ExitUsage, "none.xml");
    row("--call unknown method", gauss + QStringList{"--call", "sharpen(2)"}, ExitUsage, "setSigmaAndBoxSize(double,int)");
    row("--call unreadable image", apply + QStringList{"--call", "setSourceImage({dir}/none.png)"}, ExitInputUnreadable,
        "none.png");
    row("--chain unknown effect", chain + QStringList{"Invert;Nope"}, ExitUsage, "Nope");
    row("--chain unknown parameter", chain + QStringList{"Mosaic:Size=3"}, ExitUsage, "Size");
    row("--chain value of the wrong type", chain + QStringList{"Invert;Mosaic:ABlockSize=big"}, ExitUsage, "big");
    row("--chain empty step", chain + QStringList{"Invert;;FlipVertical"}, ExitUsage, "step 2");
    row("--chain on no composer", {"apply", "Invert", "{in}", "{out}", "--chain", "Invert"}, ExitUsage, "composer");
    row("settings takes no --chain", {"settings", "Composer", "--chain", "Invert"}, ExitUsage, "--chain");
    row("gallery, missing input", {"gallery", "{dir}/none.png", "{dir}/g"}, ExitInputUnreadable, "none.png");
    row("gallery, outdir below a file", {"gallery", "{in}", "{dir}/notanimage.png/g"}, ExitOutputUnwritable, "/g");
    row("gallery, page unwritable", {"gallery", "{in}", "{dir}/pageblocked"}, ExitOutputUnwritable, "index.html");
    row("gallery, one picture unwritable", {"gallery", "{in}", "{dir}/pngblocked"}, ExitSuccess, "FlipVertical.png");
    row("bench, null image", {"bench", "Template", "--size", "16x16", "--repeat", "1"}, ExitNullImage, "Template");
    row("--time", {"apply", "ExampleGrayscale", "{dir}/rows3.png", "{out}", "--time"}, ExitSuccess, "time_ms\t");
    row("bench", {"bench", "FlipHorizontal", "--size", "64x48", "--repeat", "1"}, ExitSuccess, "ns_per_pixel\t");
    // Only effects that go through ImageMagick report the round trip.
    row("bench through ImageMagick", {"bench", "GammaCorrection", "--size", "64x48", "--repeat", "1"}, ExitSuccess,
        "magick_roundtrip_ms\t");
}

void TestZelfx::commands()
{
    QFETCH(QStringList, arguments);
    QFETCH(int, code);
    QFETCH(QString, keyword);

    const ToolRun result = zelfx(arguments);
    QCOMPARE(result.exitCode, code);
    QVERIFY2((result.out + result.err).contains(keyword), qPrintable(result.err));
    QCOMPARE(QFile::exists(path("out.png")), code == ExitSuccess && arguments.contains("{out}"));
    QFile::remove(path("out.png"));
    if (arguments.contains("{dir}/out.jpg"))
        QCOMPARE(QImageReader(path("out.jpg")).format(), QByteArray("jpeg"));
}

void TestZelfx::applyMatchesLibrary_data()
{
    QTest::addColumn<QString>("effect");
    QTest::addColumn<QString>("input");
    QTest::addColumn<QStringList>("options");
    QTest::addColumn<Expectation>("expected"); // after the --call, made in-process, whose conversions are checked above

    const Expectation result = [](ZelImageProcessor& e, const QImage&) { return e.result(); };
    const auto chain = [](const QVector<QPair<QString, QVariantMap>>& steps) {
        return Expectation([steps](ZelImageProcessor&, const QImage& input) {
            QImage image = input;
            for (const auto& step : steps)
                image = makeEffect(step.first, image, step.second)->result();
            return image;
        });
    };
    const auto call = [](const char* text) { return QStringList{"--call", text}; };
    QTest::newRow("short name") << "FlipHorizontal" << "in" << QStringList() << result;
    QTest::newRow("preview") << "FlipHorizontal" << "in" << QStringList{"--preview", "4x4"}
                             << Expectation([](ZelImageProcessor& e, const QImage&) { return e.generatePreview(QSize(4, 4)); });
    QTest::newRow("section") << "FlipVertical" << "in" << QStringList{"--section", "1,1,3,2"}
                             << Expectation([](ZelImageProcessor& e, const QImage&) { return e.generatePreview(QRect(1, 1, 3, 2)); });
    QTest::newRow("typed setter") << "ExampleGauss" << "in" << call("setSigmaAndBoxSize(2.0, 1)") << result;
    QTest::newRow("image argument") << "FlipHorizontal" << "in" << call("setSourceImage({other})") << result;
    QTest::newRow("threaded") << "FlipHorizontal" << "in" << QStringList{"--threaded"} << result;
    QTest::newRow("red eye, rectangle around it") << "RedEyeRemoval" << "eye" << call("setParameters(40,30,40,40,false)")
                                                  << result;
    QTest::newRow("red eye, point on it") << "RedEyeRemoval" << "eye" << call("setParameters(60, 50, 1, 1, true)") << result;
    QTest::newRow("red eye, rectangle elsewhere") << "RedEyeRemoval" << "eye" << call("setParameters(150,100,40,40,true)")
                                                  << result;
    QTest::newRow("chain in order") << "Composer" << "in" << QStringList{"--chain", "Invert;FlipVertical"}
                                    << chain({{"Invert", {}}, {"FlipVertical", {}}});
    QTest::newRow("chain, a value per step") << "Composer" << "in"
                                             << QStringList{"--chain", " Mosaic : ABlockSize=2 ;FlipHorizontal"}
                                             << chain({{"Mosaic", {{"ABlockSize", 2}}}, {"FlipHorizontal", {}}});
    QTest::newRow("empty chain") << "Composer" << "in" << QStringList{"--chain", ""} << chain({});
}

void TestZelfx::applyMatchesLibrary()
{
    QFETCH(QString, effect);
    QFETCH(QString, input);
    QFETCH(QStringList, options);
    QFETCH(Expectation, expected);

    const QImage source(path(input + ".png"));
    const std::unique_ptr<ZelImageProcessor> processor = makeEffect(effect, source);
    if (options.value(0) == QLatin1String("--call")) {
        QVERIFY(applyCall(processor.get(), expand(options).at(1)).ok());
        if (effect != QLatin1String("RedEyeRemoval"))
            QVERIFY(expected(*processor, source) != makeEffect(effect, source)->result()); // the call must show
    }
    const QImage image = expected(*processor, source);
    const ToolRun result = zelfx(QStringList{"apply", effect, path(input + ".png"), "{out}"} + options);
    QCOMPARE(result.exitCode, int(ExitSuccess));
    QCOMPARE(loadArgb(path("out.png")), image.convertToFormat(QImage::Format_ARGB32));
    QFile::remove(path("out.png"));
}

void TestZelfx::traceAndCancel_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("code");
    QTest::addColumn<QStringList>("lines");
    QTest::addColumn<int>("unchanged"); // 1: the input written back as it was, 0: changed, -1: not looked at

    const QStringList grey{"apply", "ExampleGrayscale", "{dir}/rows3.png", "{out}", "--trace"};
    const QStringList chain{"apply", "Composer", "{dir}/rows3.png", "{out}", "--chain", "Invert;ExampleGrayscale", "--trace"};
    QStringList rows;
    QStringList inverted;
    for (int row = 0; row < 3; ++row) {
        rows << QStringLiteral("progress\tExample\t\t%1\t2").arg(row);
        inverted << QStringLiteral("progress\tInvertieren\t\t%1\t2").arg(row);
    }
    const QString yes = "finished\ttrue";
    const QString no = "finished\tfalse";
    QTest::newRow("flip") << QStringList{"apply", "FlipHorizontal", "{in}", "{out}", "--trace"} << 0 << QStringList{no} << -1;
    QTest::newRow("progress per row") << grey << 0 << rows + QStringList{yes} << 0;
    QTest::newRow("signals from --call are traced too")
        << QStringList{"apply", "FlipHorizontal", "{in}", "{out}", "--trace", "--call", "cancel()"} << 0
        << QStringList{no, no} << -1;
    QTest::newRow("null image") << QStringList{"apply", "Template", "{in}", "{out}", "--trace"} << int(ExitNullImage)
                                << QStringList{yes} << -1;
    QTest::newRow("no trace without --trace") << QStringList(grey.mid(0, 4)) << 0 << QStringList() << 0;
    // Through the converter's progress(int, int) and processName(...), in the same form.
    QTest::newRow("threaded") << grey + QStringList{"--threaded"} << 0 << rows + QStringList{yes} << 0;
    QTest::newRow("threaded, ImageMagick")
        << QStringList{"apply", "Sepia", "{dir}/rows3.png", "{out}", "--trace", "--threaded"} << 0
        << traceLines(zelfx({"apply", "Sepia", "{dir}/rows3.png", "{out}", "--trace"}).err) << -1;
    QTest::newRow("cancel in the first signal") << grey + QStringList{"--cancel-after", "1"} << 0
                                                << rows.mid(0, 1) + QStringList{no} << 1;
    QTest::newRow("cancel in the last signal") << grey + QStringList{"--cancel-after", "3"} << 0
                                               << rows + QStringList{no} << 1;
    QTest::newRow("cancel never reached") << grey + QStringList{"--cancel-after", "4"} << 0 << rows + QStringList{yes} << 0;
    QTest::newRow("chain") << chain << 0 << inverted + rows + QStringList{yes} << 0;
}

void TestZelfx::traceAndCancel()
{
    QFETCH(QStringList, arguments);
    QFETCH(int, code);
    QFETCH(QStringList, lines);
    QFETCH(int, unchanged);

    const ToolRun result = zelfx(arguments);
    QCOMPARE(result.exitCode, code);
    QCOMPARE(traceLines(result.err), lines);
    QVERIFY(result.out.isEmpty());
    if (unchanged >= 0)
        QCOMPARE(loadArgb(path("out.png")) == loadArgb(expand({arguments.at(2)}).first()), bool(unchanged));
    QFile::remove(path("out.png"));
}

// Threaded, a cancel from the tool's thread, by --cancel-after or by Ctrl-C, reaches the job: the
// example stops before its rows are done and returns its input.
void TestZelfx::threadedCancel()
{
    // The converter's progress arrives some rows late: the cancel from inside the first one
    // lands while the example pauses at row 50.
    const ToolRun cancelled = zelfx({"apply", "ExampleGrayscale", "{dir}/rows200.png", "{out}", "--trace", "--threaded",
                                     "--cancel-after", "1"});
    QCOMPARE(cancelled.exitCode, int(ExitSuccess));
    QStringList lines = traceLines(cancelled.err);
    QCOMPARE(lines.value(0), QStringLiteral("progress\tExample\t\t0\t199"));
    QVERIFY(lines.contains("finished\tfalse") && !lines.contains("finished\ttrue"));
    QVERIFY(!lines.contains("progress\tExample\t\t199\t199"));
    QCOMPARE(loadArgb(path("out.png")), loadArgb(path("rows200.png")));
    QFile::remove(path("out.png"));

    QProcess process;
    process.setProcessEnvironment(offscreen());
    process.setReadChannel(QProcess::StandardError);
    process.start(ZELFX_PATH, expand({"apply", "ExampleGrayscale", "{dir}/rows3000.png", "{out}", "--trace", "--threaded"}));
    QByteArray err;
    while (!err.contains("progress\t") && process.waitForReadyRead(120000))
        err += process.readAllStandardError();
    QCOMPARE(::kill(pid_t(process.processId()), SIGINT), 0);
    QVERIFY(process.waitForFinished(120000));
    err += process.readAllStandardError();
    QCOMPARE(process.exitStatus(), QProcess::NormalExit);
    QCOMPARE(process.exitCode(), int(ExitSuccess));
    QVERIFY2(err.contains("interrupted"), err.constData());
    lines = traceLines(QString::fromUtf8(err));
    QVERIFY(lines.contains("finished\tfalse") && !lines.contains("finished\ttrue"));
    QCOMPARE(loadArgb(path("out.png")), loadArgb(path("rows3000.png")));
    QFile::remove(path("out.png"));
}

void TestZelfx::listings()
{
    // Without a display the tool chooses the offscreen platform itself.
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const char* variable : {"QT_QPA_PLATFORM", "DISPLAY", "WAYLAND_DISPLAY"})
        environment.remove(variable);
    const ToolRun list = run(ZELFX_PATH, {"list"}, environment);
    QCOMPARE(list.exitCode, int(ExitSuccess));
    QStringList names;
    for (const QMetaObject* meta : ZelEffectRegistry::effects())
        names << ZelEffectRegistry::shortName(meta);
    QStringList listed;
    for (const QString& line : list.out.split('\n', Qt::SkipEmptyParts))
        listed << line.section('\t', 0, 0);
    QCOMPARE(listed, names);
    // Effects marked as not to be benchmarked are left out.
    const QStringList benchmarked = zelfx({"list", "--bench"}).out.split('\n', Qt::SkipEmptyParts);
    QVERIFY(benchmarked.contains("ExampleGauss") && !benchmarked.contains("ExampleGrayscale"));
    QVERIFY(!benchmarked.contains("Template") && benchmarked.size() < names.size());
}

void TestZelfx::gallery()
{
    const QString input = path("astro & co.png");
    QVERIFY(QFile::copy(ZEL_SOURCE_DIR "/samples/astronaut.png", input));
    const QString outDir = path("gallery/nested");
    const ToolRun result = run(ZELFX_PATH, {"gallery", input, outDir});
    QCOMPARE(result.exitCode, int(ExitSuccess));
    QFile file(outDir + "/index.html");
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QString page = QString::fromUtf8(file.readAll());
    QVERIFY(page.contains("astro &amp; co.png") && !page.contains("astro & co.png"));
    for (const QMetaObject* meta : ZelEffectRegistry::effects()) {
        const QString name = ZelEffectRegistry::shortName(meta);
        QVERIFY2(page.contains(QStringLiteral("<code>%1</code>").arg(meta->className())), qPrintable(name));
        // Each picture is there, or the effect named on stderr (Template gives a null image).
        QVERIFY2(!QImage(QStringLiteral("%1/%2.png").arg(outDir, name)).isNull() || result.err.contains(name),
                 qPrintable(name));
    }
    QVERIFY(!QFile::exists(outDir + "/Template.png"));
    QCOMPARE(loadArgb(outDir + "/FlipHorizontal.png"),
             makeEffect("FlipHorizontal", QImage(input))->result().convertToFormat(QImage::Format_ARGB32));
}

QTEST_MAIN(TestZelfx)
#include "tst_zelfx.moc"
