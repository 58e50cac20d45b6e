// zelfx: the units behind --set, --set-ui, --settings and --call driven directly on the probe effect,
// and the tool run as a process: exit statuses, results equal to the library's, trace and cancel.

#include "describe.h"
#include "parameteroptions.h"
#include "valueconversion.h"

#include "ZelEffectTestSupport.h"
#include "ZelTestProbe.h"

#include <QImageReader>
#include <QImageWriter>
#include <QPainterPath>
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

QImage loadArgb(const QString& path) { return QImage(path).convertToFormat(QImage::Format_ARGB32); }

// The lines --trace prints for the effect's signals.
QStringList traceLines(const QString& err)
{
    return err.split(QLatin1Char('\n')).filter(QRegularExpression("^(progress\\t|finished\\t|operationCanceled$)"));
}

bool writeFile(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate) && file.write(bytes) == bytes.size();
}

QVariant valueOf(const ZelImageProcessor& effect, const QString& key) { return effect.parameterContainer().value(key); }

// An option that fails with this exit status and a message with this keyword.
using Failure = QPair<int, QString>;

// What the tool's output must equal: computed by the library on the effect and its input.
using Expectation = std::function<QImage(ZelImageProcessor&, const QImage&)>;

QByteArray fileBytes(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

Q_DECLARE_METATYPE(Expectation)

class TestZelfx : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();

    void textConversion_data();
    void textConversion();
    void parameterOptions_data();
    void parameterOptions();
    void settingsRoundTrip();

    void commands_data();
    void commands();
    void applyMatchesLibrary_data();
    void applyMatchesLibrary();
    void traceAndCancel_data();
    void traceAndCancel();
    void brokenInputs_data();
    void brokenInputs();
    void batch_data();
    void batch();
    void batchJobsAgree();

private:
    QString path(const QString& name) const { return myDir.filePath(name); }
    // {in} the small input, {other} a second image, {out} an output path, {dir} the temporary folder.
    QStringList expand(const QStringList& arguments) const;
    // With interrupt, Ctrl-C reaches the tool once it catches SIGINT and, when it traces, has traced
    // its first progress.
    ToolRun zelfx(const QStringList& arguments, bool interrupt = false) const;
    // "set", "ui", "call" or "settings", a blank and the option's argument.
    ParameterOption option(const QString& text) const
    {
        static const QStringList kinds{"set", "ui", "settings", "call"}; // in the order of ParameterOption::Kind
        return {ParameterOption::Kind(kinds.indexOf(text.section(' ', 0, 0))), expand({text.section(' ', 1)}).first()};
    }

    QTemporaryDir myDir;
};

void TestZelfx::initTestCase()
{
    QVERIFY(myDir.isValid());
    QVERIFY(photo(8, 6).save(path("in.png")));
    QVERIFY(photo(5, 7).mirrored(true, false).save(path("other.png")));
    QVERIFY(photo(4, 3).save(path("rows3.png")));
    // ExampleGrayscale pauses 100 ms every 50 rows: 0.4 s and 6 s of pauses.
    QVERIFY(photo(4, 200).save(path("rows200.png")));
    QVERIFY(photo(4, 3000).save(path("rows3000.png")));
    QVERIFY(writeFile(path("notanimage.png"), "plain text"));
    QVERIFY(writeFile(path("malformed.xml"), "<zelfx effect=\"x\"><unclosed></zelfx>"));
    QVERIFY(writeFile(path("foreign.xml"), "<zelfx effect=\"Other\"><Else a=\"1\"/></zelfx>"));
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

// Whether the process has a handler of its own for SIGINT, as Linux lists in SigCgt.
static bool catchesInterrupt(qint64 pid)
{
    QFile status(QStringLiteral("/proc/%1/status").arg(pid));
    if (!status.open(QIODevice::ReadOnly))
        return false;
    const QRegularExpressionMatch caught = QRegularExpression("SigCgt:\\s*([0-9a-f]+)").match(status.readAll());
    return caught.hasMatch() && (caught.captured(1).toULongLong(nullptr, 16) >> (SIGINT - 1) & 1);
}

ToolRun TestZelfx::zelfx(const QStringList& arguments, bool interrupt) const
{
    QProcess process;
    process.setReadChannel(QProcess::StandardError);
    process.start(ZELFX_PATH, expand(arguments));
    QByteArray err;
    while (interrupt && arguments.contains("--trace") && !err.contains("progress\t") && process.waitForReadyRead(120000))
        err += process.readAllStandardError();
    // Started: run by the tool, no longer by the fork that inherited QtTest's own handler.
    process.waitForStarted();
    QElapsedTimer waited;
    waited.start();
    while (interrupt && !catchesInterrupt(process.processId()) && waited.elapsed() < 120000)
        QThread::msleep(5);
    if (interrupt)
        ::kill(pid_t(process.processId()), SIGINT);
    const bool exited = process.waitForFinished(120000) && process.exitStatus() == QProcess::NormalExit;
    process.kill();
    return {exited ? process.exitCode() : -1, QString::fromUtf8(process.readAllStandardOutput()),
            QString::fromUtf8(err + process.readAllStandardError())};
}

void TestZelfx::textConversion_data()
{
    QTest::addColumn<int>("typeId");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QVariant>("expected"); // invalid: rejected

    const auto row = [](const char* tag, int type, const char* text, const QVariant& expected = QVariant()) {
        QTest::newRow(tag) << type << QString::fromUtf8(text) << expected;
    };
    row("int with blanks", QMetaType::Int, " -7 ", -7);
    row("int rejects a fraction", QMetaType::Int, "4.5");
    row("double exponent", QMetaType::Double, "1e3", 1000.0);
    row("double rejects nan", QMetaType::Double, "nan");
    row("bool 0", QMetaType::Bool, "0", false);
    row("bool rejects yes", QMetaType::Bool, "yes");
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
    using Kernel = QVector<int>;
    row("kernel", kernelTypeId(), "1,4,6,4,1", QVariant::fromValue(Kernel{1, 4, 6, 4, 1}));
    row("kernel rejects a row break", kernelTypeId(), "1,2;1");
    row("2-D kernel", kernel2DTypeId(), "1,2;3,4", QVariant::fromValue(QVector<Kernel>{{1, 2}, {3, 4}}));
    row("2-D kernel of one row", kernel2DTypeId(), "1,2,1;", QVariant::fromValue(QVector<Kernel>{{1, 2, 1}}));
    row("2-D kernel rejects a word", kernel2DTypeId(), "1,2;x,4");
    delete makeEffect("Convolution", QImage()).release(); // registers the painter path type
    QPainterPath path;
    path.addRect(10, 10, 200, 100);
    path.addRect(300, 50, 40, 40);
    row("painter path", painterPathTypeId(), "10,10,200,100;300,50,40,40", QVariant(painterPathTypeId(), &path));
    row("painter path rejects three numbers", painterPathTypeId(), "10,10,200");
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
    // Kernels and painter paths travel in QVariant without comparison operators.
    const auto same = [typeId](const QVariant& a, const QVariant& b) {
        if (typeId == kernelTypeId())
            return a.value<QVector<int>>() == b.value<QVector<int>>();
        if (typeId == kernel2DTypeId())
            return a.value<QVector<QVector<int>>>() == b.value<QVector<QVector<int>>>();
        if (typeId == painterPathTypeId())
            return *static_cast<const QPainterPath*>(a.constData()) == *static_cast<const QPainterPath*>(b.constData());
        return a == b;
    };
    QVERIFY(same(value, expected));
    if (typeId == kernelTypeId() || typeId == kernel2DTypeId())
        return; // arguments of --call only: the tool never writes a kernel
    QVariant back;
    QVERIFY2(convertText(formatValue(expected), typeId, &back), qPrintable(formatValue(expected)));
    QVERIFY(same(back, expected));
}

void TestZelfx::parameterOptions_data()
{
    QTest::addColumn<QStringList>("options"); // for option(), or "describe"
    QTest::addColumn<QString>("key");         // none: what the probe's invokables recorded
    QTest::addColumn<QVariant>("expected");   // the value, or a Failure of the last option

    const auto row = [](const char* tag, const QStringList& options, const char* key, const QVariant& expected) {
        QTest::newRow(tag) << options << QString::fromLatin1(key) << expected;
    };
    const auto fails = [](int code, const char* keyword) { return QVariant::fromValue(Failure(code, keyword)); };
    row("double", {"set AStrength=0.25"}, "AStrength", 0.25);
    row("double in user units is mapped", {"ui AStrength=70"}, "AStrength", 0.7);
    row("int without user range", {"ui BBlur=7"}, "BBlur", 7);
    row("text keeps later equals signs", {"set GLabel=a=b"}, "GLabel", "a=b");
    row("in command-line order", {"set BBlur=2", "set BBlur=9"}, "BBlur", 9);
    // Writes through a container that is still shared, or reading ranges through the detaching
    // accessors, would turn AStrength plain, and the later --set-ui would store 70 unmapped.
    row("user units survive writes", {"set AStrength=0.1", "call record()", "ui AStrength=70"}, "AStrength", 0.7);
    row("user units survive describe", {"describe", "ui AStrength=70"}, "AStrength", 0.7);
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
    row("value of the wrong type", {"ui BBlur=abc"}, "", fails(usage, "int"));
    row("unknown method", {"call missing()"}, "", fails(usage, "record(int,double,bool,QColor,QSize)"));
    row("wrong arity", {"call record(1,2)"}, "", fails(usage, "record(1,2)"));
    row("signals are not invokable", {"call finished(true)"}, "", fails(usage, "finished(true)"));
    row("argument of the wrong type", {"call record(x,2.5,true,red,1x1)"}, "", fails(usage, "argument 1"));
    row("unconvertible parameter type", {"call setMaximumPriority(3)"}, "", fails(usage, "QThread::Priority"));
    row("unknown enumerator", {"call shade(Grey)"}, "", fails(usage, "Light, Dark"));
    row("image list unreadable", {"call loadAll({in};{dir}/none.png)"}, "", fails(ExitInputUnreadable, "none.png"));
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
            QCOMPARE(status.code, expected.value<Failure>().first);
            QVERIFY2(status.message.contains(expected.value<Failure>().second), qPrintable(status.message));
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

// Whatever settings writes, --settings reads: the probe's values, and every effect's element, also
// where its own element name is no XML name (the flips file under "Horizontal spiegeln").
void TestZelfx::settingsRoundTrip()
{
    ZelImageProcessorProbe written;
    ZelImageProcessorProbe read;
    for (const char* set : {"AStrength=0.25", "BBlur=7", "CColor=#00ff00", "DSize=320x200", "EFlag=true", "GLabel=x y"})
        QVERIFY(applySetOption(&written, QString::fromLatin1(set), false).ok());
    QString xml;
    QVERIFY(settingsDocument(written, &xml).ok());
    QVERIFY2(xml.contains("<Probe ") && xml.contains("<zelfx effect=\"ZelImageProcessorProbe\">"), qPrintable(xml));
    QVERIFY(writeFile(path("settings.xml"), xml.toUtf8()));
    const Status status = applySettingsFile(&read, path("settings.xml"));
    QVERIFY2(status.ok(), qPrintable(status.message));
    for (const char* key : {"AStrength", "BBlur", "DSize", "EFlag", "GLabel"})
        QCOMPARE(valueOf(read, key), valueOf(written, key));
    // A valid colour read from XML leaves the colour as it was: the library's deliberate rule.
    QCOMPARE(valueOf(read, "CColor"), QVariant(QColor(255, 0, 0)));
    // Read parameter by parameter, the numeric one keeps its user-visible range.
    QVERIFY(applySetOption(&read, "AStrength=50", true).ok());
    QCOMPARE(valueOf(read, "AStrength"), QVariant(0.5));

    for (const QMetaObject* meta : ZelEffectRegistry::effects()) {
        const std::unique_ptr<ZelImageProcessor> effect(ZelEffectRegistry::create(meta));
        QVERIFY(settingsDocument(*effect, &xml).ok());
        QVERIFY(writeFile(path("settings.xml"), xml.toUtf8()));
        QVERIFY2(applySettingsFile(effect.get(), path("settings.xml")).ok(), meta->className());
    }
}

void TestZelfx::commands_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("keyword"); // on stdout or stderr

    const auto row = [](const char* tag, const QStringList& arguments, int code, const char* keyword) {
        QTest::newRow(tag) << arguments << code << QString::fromUtf8(keyword);
    };
    row("no command", {}, ExitUsage, "usage: zelfx");
    row("unknown option", {"apply", "Invert", "{in}", "{out}", "--bogus"}, ExitUsage, "--bogus");
    row("effect checked before input", {"apply", "NoSuchEffect", "{dir}/none.png", "{out}"}, ExitUsage, "NoSuchEffect");
    row("input is no image", {"apply", "Invert", "{dir}/notanimage.png", "{out}"}, ExitInputUnreadable, "notanimage");
    row("output folder missing", {"apply", "Invert", "{in}", "{dir}/no/out.png"}, ExitOutputUnwritable, "no/out.png");
    row("null image", {"apply", "Template", "{in}", "{out}"}, ExitNullImage, "null image");
    // ImageMagick refuses an implosion this strong on a picture this small; the library keeps the
    // picture and says why, and nothing is written.
    row("ImageMagick failure", {"apply", "Implode", "{in}", "{out}", "--set", "Strength=100"}, ExitEffectFailed,
        "MagickImplodeImage");
    row("written as jpeg by suffix", {"apply", "FlipVertical", "{in}", "{dir}/out.jpg"}, ExitSuccess, "");
    row("--chain empty step", {"apply", "Composer", "{in}", "{out}", "--chain", "Invert;;Invert"}, ExitUsage, "step 2");
    row("--chain on no composer", {"apply", "Invert", "{in}", "{out}", "--chain", "Invert"}, ExitUsage, "composer");
    row("--verbose", {"--verbose", "apply", "Swirl", "{in}", "{out}"}, ExitSuccess, "doing fromMagickWand");
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
    if (arguments.contains("{dir}/out.jpg"))
        QCOMPARE(QImageReader(path("out.jpg")).format(), QByteArray("jpeg"));
    if (arguments.removeAll("--verbose") > 0)
        QVERIFY(!zelfx(arguments).err.contains(keyword));
    QFile::remove(path("out.png"));
}

void TestZelfx::applyMatchesLibrary_data()
{
    QTest::addColumn<QString>("effect");
    QTest::addColumn<QStringList>("options");
    QTest::addColumn<Expectation>("expected"); // after the --call, made in-process, whose conversions are checked above

    const Expectation result = [](ZelImageProcessor& e, const QImage&) { return e.result(); };
    const auto preview = [](auto area) {
        return Expectation([area](ZelImageProcessor& e, const QImage&) { return e.generatePreview(area); });
    };
    const auto call = [](const char* text) { return QStringList{"--call", text}; };
    QTest::newRow("preview") << "FlipHorizontal" << QStringList{"--preview", "4x4"} << preview(QSize(4, 4));
    QTest::newRow("section") << "FlipVertical" << QStringList{"--section", "1,1,3,2"} << preview(QRect(1, 1, 3, 2));
    QTest::newRow("typed setter") << "ExampleGauss" << call("setSigmaAndBoxSize(2.0, 1)") << result;
    QTest::newRow("image argument") << "FlipHorizontal" << call("setSourceImage({other})") << result;
    QTest::newRow("threaded") << "FlipHorizontal" << QStringList{"--threaded"} << result;
    QTest::newRow("chain, a value per step")
        << "Composer" << QStringList{"--chain", " Mosaic : ABlockSize=2 ;FlipHorizontal"}
        << Expectation([](ZelImageProcessor&, const QImage& input) {
               const QImage mosaic = makeEffect("Mosaic", input, {{"ABlockSize", 2}})->result();
               return makeEffect("FlipHorizontal", mosaic)->result();
           });
}

void TestZelfx::applyMatchesLibrary()
{
    QFETCH(QString, effect);
    QFETCH(QStringList, options);
    QFETCH(Expectation, expected);

    const QImage source(path("in.png"));
    const std::unique_ptr<ZelImageProcessor> processor = makeEffect(effect, source);
    if (options.value(0) == QLatin1String("--call")) {
        QVERIFY(applyCall(processor.get(), expand(options).at(1)).ok());
        QVERIFY(expected(*processor, source) != makeEffect(effect, source)->result()); // the call must show
    }
    const QImage image = expected(*processor, source);
    const ToolRun result = zelfx(QStringList{"apply", effect, "{in}", "{out}"} + options);
    QCOMPARE(result.exitCode, int(ExitSuccess));
    QCOMPARE(loadArgb(path("out.png")), image.convertToFormat(QImage::Format_ARGB32));
    QFile::remove(path("out.png"));
}

void TestZelfx::traceAndCancel_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<bool>("interrupt"); // Ctrl-C once the first progress is traced
    QTest::addColumn<QStringList>("lines"); // where they end "finished false" the input is written back as it was

    const QStringList grey{"apply", "ExampleGrayscale", "{dir}/rows3.png", "{out}", "--trace"};
    QStringList rows;
    QStringList inverted;
    for (int row = 0; row < 3; ++row) {
        rows << QStringLiteral("progress\tExample\t\t%1\t2").arg(row);
        inverted << QStringLiteral("progress\tInvertieren\t\t%1\t2").arg(row);
    }
    const QStringList yes{"finished\ttrue"};
    const QStringList no{"finished\tfalse"};
    QTest::newRow("progress per row") << grey << false << rows + yes;
    QTest::newRow("no trace without --trace") << QStringList(grey.mid(0, 4)) << false << QStringList();
    // Through the converter's progress(int, int) and processName(...), in the same form.
    QTest::newRow("threaded") << grey + QStringList{"--threaded"} << false << rows + yes;
    QTest::newRow("cancel in the first") << grey + QStringList{"--cancel-after", "1"} << false << rows.mid(0, 1) + no;
    QTest::newRow("cancel in the last") << grey + QStringList{"--cancel-after", "3"} << false << rows + no;
    const QStringList chain{"apply", "Composer", grey.at(2), "{out}", "--trace", "--chain", "Invert;ExampleGrayscale"};
    QTest::newRow("chain") << chain << false << inverted + rows + yes;
    // Threaded, the converter's progress arrives some rows late, so only the end is compared: the
    // cancel from inside the first lands while the example pauses at row 50, and Ctrl-C mid-way.
    const QStringList threaded{"apply", "ExampleGrayscale", "{dir}/rows200.png", "{out}", "--trace", "--threaded"};
    QTest::newRow("threaded cancel") << threaded + QStringList{"--cancel-after", "1"} << false << no;
    QTest::newRow("threaded Ctrl-C") << QStringList(threaded).replaceInStrings("rows200", "rows3000") << true << no;
}

void TestZelfx::traceAndCancel()
{
    QFETCH(QStringList, arguments);
    QFETCH(bool, interrupt);
    QFETCH(QStringList, lines);

    const ToolRun result = zelfx(arguments, interrupt);
    QCOMPARE(result.exitCode, int(ExitSuccess));
    QVERIFY2(!interrupt || result.err.contains("interrupted"), qPrintable(result.err));
    const QStringList traced = traceLines(result.err);
    const bool cancelled = lines.contains("finished\tfalse");
    // Threaded, the converter coalesces progress that waits for the event loop: an uncancelled run
    // is sure of its last report only.
    const bool threaded = arguments.contains("--threaded");
    if (threaded && !cancelled)
        QCOMPARE(traced.mid(qMax(0, traced.size() - 2)), lines.mid(lines.size() - 2));
    else
        QCOMPARE(threaded && cancelled ? traced.filter("finished") : traced, lines);
    QVERIFY(result.out.isEmpty());
    QCOMPARE(loadArgb(path("out.png")) == loadArgb(expand({arguments.at(2)}).first()), cancelled);
    QFile::remove(path("out.png"));
}

// Damaged files made from a valid picture: cut in the middle, or bytes inverted in the middle,
// where the pixel data lies. Qt decodes part of such a JPEG and only warns.
void TestZelfx::brokenInputs_data()
{
    QTest::addColumn<QString>("command");
    QTest::addColumn<QString>("file"); // in {dir}/broken

    const QImage valid = photo(64, 48);
    QVERIFY(QDir(myDir.path()).mkpath("broken/folder.png"));
    QVERIFY(writeFile(path("broken/empty.png"), ""));
    QVERIFY(writeFile(path("broken/text.png"), "plain text, no picture"));
    QStringList files{"empty.png", "text.png", "folder.png"};
    for (const char* format : {"png", "jpg", "tiff"}) {
        QBuffer buffer;
        buffer.open(QIODevice::WriteOnly);
        QImageWriter writer(&buffer, format);
        writer.setCompression(1); // TIFF: LZW, whose damage shows; uncompressed, it is just other pixels
        if (!writer.write(valid))
            continue; // no TIFF plugin: nothing to damage, and TIFF is unreadable anyway
        const QByteArray bytes = buffer.data();
        QByteArray flipped = bytes;
        for (int i = bytes.size() / 2; i < bytes.size() / 2 + 16; ++i)
            flipped[i] = char(~flipped[i]);
        const QString suffix = QString::fromLatin1(format);
        QVERIFY(writeFile(path("broken/truncated." + suffix), bytes.left(bytes.size() * 6 / 10)));
        QVERIFY(writeFile(path("broken/corrupted." + suffix), flipped));
        files << "truncated." + suffix << "corrupted." + suffix;
    }
    for (const char* command : {"apply", "gallery", "batch"}) {
        for (const QString& file : files)
            QTest::newRow(QStringLiteral("%1 %2").arg(QLatin1String(command), file).toUtf8().constData())
                << QString::fromLatin1(command) << file;
    }
}

// Refused with the file named and status 3, nothing written; batch goes on with the good input.
void TestZelfx::brokenInputs()
{
    QFETCH(QString, command);
    QFETCH(QString, file);

    const QString broken = "{dir}/broken/" + file;
    const QString out = path("brokenout");
    QDir(out).removeRecursively();
    QStringList arguments{command, broken, out};
    if (command == QLatin1String("apply"))
        arguments = QStringList{command, "Invert", broken, out + "/out.png"};
    else if (command == QLatin1String("batch"))
        arguments = QStringList{command, "Invert", out, broken, "{in}"};
    QDir().mkpath(out);
    const ToolRun result = zelfx(arguments);
    QCOMPARE(result.exitCode, int(ExitInputUnreadable));
    QVERIFY2(result.err.contains(path("broken/" + file)), qPrintable(result.err));
    // libjpeg's complaints, which come through Qt, are part of the message, not lines of their own
    // (libpng and libtiff print theirs themselves).
    QVERIFY2(!result.err.contains(QRegularExpression("^(Corrupt|Premature)", QRegularExpression::MultilineOption)),
             qPrintable(result.err));
    const QStringList written = QDir(out).entryList(QDir::Files | QDir::Dirs | QDir::NoDotAndDotDot);
    QCOMPARE(written, command == QLatin1String("batch") ? QStringList{"in.png"} : QStringList());
}

void TestZelfx::batch_data()
{
    QTest::addColumn<QStringList>("arguments"); // {batch} the output folder
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("keyword");      // on stderr
    QTest::addColumn<QStringList>("written");  // new pictures in {batch}; every other file there keeps its bytes
    QTest::addColumn<bool>("existing");        // {batch}/in.png there before
    QTest::addColumn<bool>("interrupt");       // Ctrl-C once the tool catches it

    const auto row = [](const char* tag, const QStringList& arguments, int code, const char* keyword,
                        const QStringList& written, bool existing = false, bool interrupt = false) {
        QTest::newRow(tag) << arguments << code << QString::fromUtf8(keyword) << written << existing << interrupt;
    };
    const QStringList both{"batch", "Invert", "{batch}", "{in}", "{other}"};
    row("all written", both, ExitSuccess, "", {"in.png", "other.png"});
    row("bad input among good ones", {"batch", "Invert", "{batch}", "{in}", "{dir}/notanimage.png", "{other}"},
        ExitInputUnreadable, "notanimage.png", {"in.png", "other.png"});
    row("first failure decides the status",
        {"batch", "Invert", "{batch}", "{dir}/old/in.png", "{dir}/none.png", "{in}"}, ExitOutputUnwritable,
        "none.png", {}, true);
    row("existing output kept", both, ExitOutputUnwritable, "--overwrite", {"other.png"}, true);
    row("existing output replaced", both + QStringList{"--overwrite"}, ExitSuccess, "", {"in.png", "other.png"}, true);
    row("never an input", {"batch", "Invert", "{dir}/batch", "{batch}/in.png", "{other}", "--overwrite"},
        ExitOutputUnwritable, "never overwritten", {"other.png"}, true);
    row("two inputs, one output", {"batch", "Invert", "{batch}", "{in}", "{dir}/old/in.png"}, ExitOutputUnwritable,
        "output of", {"in.png"});
    row("--format", {"batch", "FlipVertical", "{batch}", "{in}", "--format", "JPG"}, ExitSuccess, "", {"in.jpg"});
    row("parameters checked before any photo", both + QStringList{"--set", "Missing=1"}, ExitUsage, "Missing", {});
    row("null image", {"batch", "Template", "{batch}", "{in}"}, ExitNullImage, "null image", {});
    row("ImageMagick failure", {"batch", "Implode", "{batch}", "{in}", "--set", "Strength=100"}, ExitEffectFailed,
        "exceeds limit", {});
    row("no input", {"batch", "Invert", "{batch}"}, ExitUsage, "INPUT...", {});
    // The first photo takes 6 s: cancelled and not written; the second never starts.
    row("Ctrl-C", {"batch", "ExampleGrayscale", "{batch}", "{dir}/rows3000.png", "{in}", "--jobs", "1"}, ExitInterrupted,
        "interrupted", {}, false, true);
}

void TestZelfx::batch()
{
    QFETCH(QStringList, arguments);
    QFETCH(int, code);
    QFETCH(QString, keyword);
    QFETCH(QStringList, written);
    QFETCH(bool, existing);
    QFETCH(bool, interrupt);

    // An earlier picture in the output folder, and a second in.png elsewhere.
    const QString batchDir = path("batch");
    QDir(batchDir).removeRecursively();
    QVERIFY(QDir().mkpath(batchDir) && QDir().mkpath(path("old")));
    QVERIFY(QFile::copy(path("in.png"), path("old/in.png")) || QFile::exists(path("old/in.png")));
    const QByteArray earlier = fileBytes(path("rows3.png"));
    QVERIFY(!existing || writeFile(batchDir + "/in.png", earlier));

    const ToolRun result = zelfx(arguments.replaceInStrings("{batch}", batchDir), interrupt);
    QCOMPARE(result.exitCode, code);
    QVERIFY2(result.err.contains(keyword), qPrintable(result.err));
    const QStringList files = QDir(batchDir).entryList(QDir::Files);
    for (const QString& file : files) {
        const QString filePath = batchDir + "/" + file;
        QCOMPARE(fileBytes(filePath) != earlier, written.contains(file));
    }
    for (const QString& file : written) {
        QVERIFY2(files.contains(file), qPrintable(file));
        const QString input = path(QFileInfo(file).completeBaseName() + ".png");
        if (arguments.at(1) == QLatin1String("Invert"))
            QCOMPARE(loadArgb(batchDir + "/" + file), makeEffect("Invert", QImage(input))->result().convertToFormat(QImage::Format_ARGB32));
    }
    if (code == ExitSuccess)
        QVERIFY2(result.out.contains(QStringLiteral("%1 of %1 photos").arg(written.size())), qPrintable(result.out));
}

// One job or two, the same files, equal to the library's result.
void TestZelfx::batchJobsAgree()
{
    QStringList inputs;
    for (int i = 0; i < 5; ++i) {
        inputs << path(QStringLiteral("jobs%1.png").arg(i));
        QVERIFY(photo(40 + i, 30).save(inputs.last()));
    }
    const QStringList options{"--set", "ABlockSize=3"};
    for (const char* jobs : {"1", "2"}) {
        const ToolRun result = zelfx(QStringList{"batch", "Mosaic", path("jobs") + jobs, "--jobs", jobs} + inputs + options);
        QCOMPARE(result.exitCode, int(ExitSuccess));
    }
    for (const QString& input : inputs) {
        const QString name = QFileInfo(input).fileName();
        const QByteArray one = fileBytes(path("jobs1/") + name);
        QVERIFY(!one.isEmpty());
        QCOMPARE(fileBytes(path("jobs2/") + name), one);
        QCOMPARE(loadArgb(path("jobs1/") + name),
                 makeEffect("Mosaic", QImage(input), {{"ABlockSize", 3}})->result().convertToFormat(QImage::Format_ARGB32));
    }
}

QTEST_MAIN(TestZelfx)
#include "tst_zelfx.moc"
