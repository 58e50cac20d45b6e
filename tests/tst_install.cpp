#include <QDir>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

// Installs the build into a staging prefix and builds a small consumer against it, once through
// the CMake package and once through pkg-config.
class TestInstall : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void stagedInstallHasOneHeaderPerPublicClass_data();
    void stagedInstallHasOneHeaderPerPublicClass();
    void cmakeConsumerBuildsAndRuns();
    void pkgConfigConsumerBuildsAndRuns();

private:
    // Runs program with arguments (and extra environment); fails the test with its output if it
    // does not exit with 0.
    QByteArray run(const QString& program, const QStringList& arguments,
                   const QStringList& environment = QStringList());

    QTemporaryDir myWork;
    QString myPrefix;
    QString mySanitizerFlags = QStringLiteral(ZEL_SANITIZER_FLAGS);
};

QByteArray TestInstall::run(const QString& program, const QStringList& arguments,
                            const QStringList& environment)
{
    QProcess process;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    for (const QString& assignment : environment)
        env.insert(assignment.section('=', 0, 0), assignment.section('=', 1));
    process.setProcessEnvironment(env);
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(program, arguments);
    const bool finished = process.waitForFinished(300000);
    const QByteArray output = process.readAll();
    if (!finished || process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0) {
        qWarning().noquote() << program << arguments.join(' ') << "\n" << output;
        return QByteArray("failed");
    }
    return output;
}

void TestInstall::initTestCase()
{
    QVERIFY(myWork.isValid());
    myPrefix = myWork.filePath(QStringLiteral("stage"));
    const QByteArray output = run(QStringLiteral("cmake"), {"--install", ZEL_BINARY_DIR, "--prefix", myPrefix});
    QVERIFY2(output != "failed", "cmake --install failed");
}

void TestInstall::stagedInstallHasOneHeaderPerPublicClass_data()
{
    QTest::addColumn<QString>("path");
    QTest::newRow("effect header") << "include/ZelImageProcessing/ZelImageProcessorFlipHorizontal.h";
    QTest::newRow("framework header") << "include/ZelImageProcessing/ZelImageProcessor.h";
    QTest::newRow("parameter header") << "include/ZelImageProcessing/ZelParameterDescriptionNumber.h";
    QTest::newRow("registry header") << "include/ZelImageProcessing/ZelEffectRegistry.h";
    QTest::newRow("toolkit header") << "include/ZelImageProcessing/ZelConvolution.h";
    QTest::newRow("library") << "lib/libZelImageProcessing.so";
    QTest::newRow("platform library") << "lib/libZelGUIWidgets.so";
    QTest::newRow("tool") << "bin/zelfx";
    QTest::newRow("cmake package") << "lib/cmake/ZelImageProcessing/ZelImageProcessingConfig.cmake";
    QTest::newRow("pkg-config file") << "lib/pkgconfig/ZelImageProcessing.pc";
}

void TestInstall::stagedInstallHasOneHeaderPerPublicClass()
{
    QFETCH(QString, path);
    QVERIFY2(QFile::exists(myPrefix + '/' + path), qPrintable(path));
    // Private headers stay in the source tree, and so does the ImageMagick bridge: consumers
    // compile without ImageMagick's headers.
    QVERIFY(QDir(myPrefix + "/include/ZelImageProcessing").entryList({"*_p.h", "ZelMagick*"}).isEmpty());
}

void TestInstall::cmakeConsumerBuildsAndRuns()
{
    const QString buildDir = myWork.filePath(QStringLiteral("cmake-consumer"));
    QStringList configure = {"-S", QStringLiteral(ZEL_SOURCE_DIR "/tests/consumer"), "-B", buildDir,
                             "-DCMAKE_PREFIX_PATH=" + myPrefix};
    if (!mySanitizerFlags.isEmpty())
        configure << "-DCMAKE_CXX_FLAGS=" + mySanitizerFlags << "-DCMAKE_EXE_LINKER_FLAGS=" + mySanitizerFlags;
    QVERIFY(run(QStringLiteral("cmake"), configure) != "failed");
    QVERIFY(run(QStringLiteral("cmake"), {"--build", buildDir}) != "failed");
    QCOMPARE(run(buildDir + "/consumer", {}).trimmed(), QByteArray("consumer ok"));
}

void TestInstall::pkgConfigConsumerBuildsAndRuns()
{
    const QStringList pkgEnvironment = {"PKG_CONFIG_PATH=" + myPrefix + "/lib/pkgconfig"};
    const QByteArray flags = run(QStringLiteral("pkg-config"), {"--cflags", "--libs", "ZelImageProcessing"},
                                 pkgEnvironment);
    QVERIFY(flags != "failed");
    QVERIFY2(!flags.contains("ImageMagick"), flags.constData());
    const QString binary = myWork.filePath(QStringLiteral("pkg-consumer"));
    QStringList compile = {QStringLiteral(ZEL_SOURCE_DIR "/tests/consumer/main.cpp"), "-o", binary};
    compile += QString::fromLocal8Bit(flags).simplified().split(' ', Qt::SkipEmptyParts);
    compile += mySanitizerFlags.split(' ', Qt::SkipEmptyParts);
    QVERIFY(run(QStringLiteral("c++"), compile) != "failed");
    QCOMPARE(run(binary, {}).trimmed(), QByteArray("consumer ok"));
}

QTEST_GUILESS_MAIN(TestInstall)
#include "tst_install.moc"
