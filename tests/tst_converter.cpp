// ZelPhotoConverter: its jobs on the caller's thread and on its own, the arguments the jobs read,
// progress, cancel and self-deletion. Under ThreadSanitizer Qt's own locks are uninstrumented, so
// the tests learn that a job ended through an atomic set on the job's thread (JobWatcher).

#include "ZelEffectTestSupport.h"
#include "ZelImageProcessorRedEyeRemoval.h"
#include "ZelPhotoConverter.h"
#include "ZelTestProbe.h"

#include <QPointer>
#include <QSignalSpy>
#include <QtTest>

#include <atomic>
#include <cmath>
#include <mutex>

namespace {

const int jobTimeoutMs = 20000;

QImage rotated(const QImage& source, int degrees)
{
    return source.transformed(QTransform().rotate(degrees)).convertToFormat(QImage::Format_ARGB32);
}

// Skin with two red pupils of radius 6 in brown irises, at (100.5, 150.5) and (230.5, 150.5).
QImage redEyedFace()
{
    QImage image(320, 240, QImage::Format_RGB32);
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const double d = std::min(std::hypot(x - 100.0, y - 150.0), std::hypot(x - 230.0, y - 150.0));
            image.setPixel(x, y, d <= 6 ? qRgb(200, 30, 35) : d <= 11 ? qRgb(95, 70, 50) : qRgb(205, 165, 145));
        }
    }
    return image;
}

// x, y, width, height around the left eye only. Read with x and y or width and height exchanged,
// or with right and bottom taken for width and height, it holds the right eye or none.
const QRect leftEyeRegion(50, 130, 140, 40);

QImage redEyeRemoved(const QImage& photo, const QRect& region)
{
    ZelImageProcessorRedEyeRemoval effect(photo);
    effect.setParameters(region, false);
    return effect.result().convertToFormat(QImage::Format_ARGB32);
}

// Waits for a converter's job through finished(), which QThread emits on the job's thread once
// run() has returned, then delivers what was queued for this thread.
struct JobWatcher
{
    explicit JobWatcher(ZelPhotoConverter* c)
        : converter(c)
    {
        QObject::connect(c, &QThread::finished, [this] { done = true; });
    }
    bool waitForJob()
    {
        if (!QTest::qWaitFor([this] { return done.load(); }, jobTimeoutMs))
            return false;
        if (converter)
            converter->wait();
        QCoreApplication::processEvents();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        return true;
    }
    QPointer<ZelPhotoConverter> converter;
    std::atomic<bool> done{false};
};

enum class Job { Rotate, Cut, RedEye, Effect };

// Starts the job; returns the effect of an effect job.
QSharedPointer<ZelImageProcessorProbe> start(ZelPhotoConverter* converter, Job job, bool threaded)
{
    const QRect cut(QPoint(10, 20), QPoint(109, 219)); // corners included: 100 x 200
    QSharedPointer<ZelImageProcessorProbe> probe(new ZelImageProcessorProbe);
    probe->behaviour().outputFormat = QImage::Format_RGB32; // so that the conversion to ARGB32 shows
    if (job == Job::Rotate)
        threaded ? converter->rotateByDegreesThreaded(90) : converter->rotateByDegrees(90);
    else if (job == Job::Cut)
        threaded ? converter->cutThreaded(cut) : converter->cut(cut);
    else if (job == Job::Effect)
        threaded ? converter->applyImageProcessorThreaded(probe) : converter->applyImageProcessor(probe);
    else
        threaded ? converter->removeRedEyeThreaded(leftEyeRegion, true) : converter->removeRedEye(leftEyeRegion, true);
    return probe;
}

} // namespace

Q_DECLARE_METATYPE(Job)

class TestConverter : public QObject
{
    Q_OBJECT

private slots:
    void jobs_data();
    void jobs();
    void startJobReadsItsArguments_data();
    void startJobReadsItsArguments();
    void progressIsCoalesced_data();
    void progressIsCoalesced();
    void cancel_data();
    void cancel();
    void autoDestroy();
};

void TestConverter::jobs_data()
{
    QTest::addColumn<QImage>("photo");
    QTest::addColumn<Job>("job");
    QTest::addColumn<QImage>("expected");

    const QImage small = photo(3, 2);
    const QImage face = redEyedFace();
    const QImage leftCorrected = redEyeRemoved(face, leftEyeRegion);
    // The region must matter: corrected, yet not like the whole photo.
    QVERIFY(leftCorrected != face.convertToFormat(QImage::Format_ARGB32));
    QVERIFY(leftCorrected != redEyeRemoved(face, QRect()));
    QTest::newRow("synchronous effect") << small << Job::Effect << small;
    QTest::newRow("threaded effect") << small << Job::Effect << small;
    QTest::newRow("synchronous rotate") << small << Job::Rotate << rotated(small, 90);
    QTest::newRow("threaded cut") << photo(120, 230) << Job::Cut << photo(120, 230).copy(10, 20, 100, 200);
    QTest::newRow("threaded red eyes in a region") << face << Job::RedEye << leftCorrected;
}

void TestConverter::jobs()
{
    QFETCH(QImage, photo);
    QFETCH(Job, job);
    QFETCH(QImage, expected);
    const bool threaded = QByteArray(QTest::currentDataTag()).startsWith("threaded");

    ZelPhotoConverter converter;
    converter.setPhoto(photo, QStringLiteral("photo"));
    QVERIFY(converter.photoChanged());
    QVector<QVariantList> progress; // value, maximum, and whether on the converter's thread
    // Direct, so that the thread seen is the one the converter emits on.
    connect(&converter, &ZelPhotoConverter::progress, this, [&](int value, int maximum) {
        progress << QVariantList{value, maximum, QThread::currentThread() == thread()};
    }, Qt::DirectConnection);
    QSignalSpy names(&converter, &ZelPhotoConverter::processName);
    JobWatcher watcher(&converter);
    const QSharedPointer<ZelImageProcessorProbe> probe = start(&converter, job, threaded);
    if (threaded) {
        QVERIFY(watcher.waitForJob());
    } else {
        QVERIFY(progress.isEmpty()); // queued even on the converter's own thread
        QCoreApplication::processEvents();
    }
    const QImage result = converter.getPhoto();
    QVERIFY(!converter.photoChanged());
    QCOMPARE(result.convertToFormat(QImage::Format_ARGB32), expected);
    if (job >= Job::RedEye) // effects' results come as ARGB32
        QCOMPARE(result.format(), expected.format());
    if (job != Job::Effect)
        return;
    QCOMPARE(probe->lastResultThread() == thread(), !threaded);
    QVERIFY(!progress.isEmpty());
    QCOMPARE(progress.last(), (QVariantList{2, 2, true})); // earlier reports may be coalesced into it
    QCOMPARE(progress.first().at(2), true);
    QCOMPARE(names.size(), progress.size());
    QCOMPARE(names.last(), (QVariantList{QStringLiteral("Probe title"), QStringLiteral("step")}));
    // The relay ends with the job: the effect's later progress no longer reaches the converter.
    const int delivered = progress.size();
    probe->result();
    QCoreApplication::processEvents();
    QCOMPARE(progress.size(), delivered);
}

// What an application that calls startJob itself relies on.
void TestConverter::startJobReadsItsArguments_data()
{
    QTest::addColumn<int>("job");
    QTest::addColumn<QVector<double>>("arguments"); // empty: none
    QTest::addColumn<QImage>("expected");

    using C = ZelPhotoConverter;
    const QImage face = redEyedFace().convertToFormat(QImage::Format_ARGB32);
    QTest::newRow("rotate, degrees truncated") << int(C::RotateJob) << QVector<double>{90.9} << rotated(face, 90);
    QTest::newRow("cut, inclusive corners") << int(C::CutJob) << QVector<double>{10, 20, 109, 219}
                                            << face.copy(10, 20, 100, 200);
    QTest::newRow("red eyes, x y width height flag") << int(C::RemoveRedEyeJob) << QVector<double>{50, 130, 140, 40, -1}
                                                     << redEyeRemoved(face, leftEyeRegion);
    // Jobs that cannot run leave the result as it was (null before the first job).
    QTest::newRow("rotate without arguments") << int(C::RotateJob) << QVector<double>() << QImage();
    QTest::newRow("effect job without an effect") << int(C::ImageProcessorJob) << QVector<double>{90, 0, 1} << QImage();
}

void TestConverter::startJobReadsItsArguments()
{
    QFETCH(int, job);
    QFETCH(QVector<double>, arguments);
    QFETCH(QImage, expected);

    ZelPhotoConverter converter;
    converter.setPhoto(redEyedFace(), QString());
    JobWatcher watcher(&converter);
    converter.startJob(ZelPhotoConverter::CONVERTJOB(job), arguments.isEmpty() ? nullptr : arguments.data());
    QVERIFY(watcher.waitForJob());
    QCOMPARE(converter.getPhoto().convertToFormat(QImage::Format_ARGB32), expected);
}

void TestConverter::progressIsCoalesced_data()
{
    QTest::addColumn<bool>("threaded");
    QTest::newRow("on the converter's thread") << false;
    QTest::newRow("threaded") << true;
}

// ImageMagick's dithering reports once per pixel. The converter's thread sees some of the reports,
// in order, always the last one, each followed by its names, and all before finished(); on its own
// thread, where every report comes before the event loop runs, only the last one.
void TestConverter::progressIsCoalesced()
{
    QFETCH(bool, threaded);
    ZelPhotoConverter converter;
    converter.setPhoto(photo(24, 16), QString());
    const QSharedPointer<ZelImageProcessor> effect(makeEffect("BlackWhite", {}).release());
    std::mutex reportedMutex; // Qt's locks are invisible to ThreadSanitizer
    QVector<QVariantList> reported;
    connect(effect.data(), &ZelImageProcessor::progress, this,
            [&](const QString& title, const QString& step, int value, int maximum) {
                const std::lock_guard<std::mutex> lock(reportedMutex);
                reported << QVariantList{value, maximum, title, step};
            },
            Qt::DirectConnection);
    QVector<QVariantList> received;
    connect(&converter, &ZelPhotoConverter::progress, this,
            [&](int value, int maximum) { received << QVariantList{value, maximum}; });
    connect(&converter, &ZelPhotoConverter::processName, this, [&](const QString& title, const QString& step) {
        QVERIFY(!received.isEmpty() && received.last().size() == 2);
        received.last() << title << step;
    });
    int receivedBeforeFinished = -1;
    connect(&converter, &QThread::finished, this, [&] { receivedBeforeFinished = received.size(); });
    JobWatcher watcher(&converter);
    if (threaded) {
        converter.applyImageProcessorThreaded(effect);
        QVERIFY(watcher.waitForJob());
        QCOMPARE(receivedBeforeFinished, received.size());
    } else {
        converter.applyImageProcessor(effect);
        QVERIFY(received.isEmpty());
        QCoreApplication::processEvents();
        QCOMPARE(received.size(), 1);
    }
    QVERIFY(reported.size() > 24 * 16);
    QCOMPARE(received.last(), reported.last());
    int next = 0; // received must be a subsequence of reported
    for (const QVariantList& report : qAsConst(received)) {
        while (next < reported.size() && reported.at(next) != report)
            ++next;
        QVERIFY2(next++ < reported.size(), qPrintable(report.at(0).toString()));
    }
}

void TestConverter::cancel_data()
{
    QTest::addColumn<bool>("effect");
    // Uncancelled, the example pauses 100 ms every 50 rows and returns grey; cancelled, its source.
    QTest::newRow("passed on to the effect") << true;
    QTest::newRow("rotation: no effect to pass it on to, done") << false;
}

void TestConverter::cancel()
{
    QFETCH(bool, effect);
    const QImage picture = effect ? photo(8, 3000) : photo(4, 3);
    ZelPhotoConverter converter;
    converter.setPhoto(picture, QString());
    QSignalSpy progress(&converter, &ZelPhotoConverter::progress);
    QSignalSpy cancelled(&converter, &ZelPhotoConverter::cancelled);
    JobWatcher watcher(&converter);
    if (effect) {
        converter.applyImageProcessorThreaded(
            QSharedPointer<ZelImageProcessor>(makeEffect("ExampleGrayscale", {}).release()));
        QTRY_VERIFY_WITH_TIMEOUT(!progress.isEmpty(), jobTimeoutMs);
    } else {
        converter.rotateByDegreesThreaded(90);
    }
    converter.cancel();
    QVERIFY(watcher.waitForJob());
    QCOMPARE(cancelled.size(), 1);
    QCOMPARE(converter.getPhoto().convertToFormat(QImage::Format_ARGB32), effect ? picture : rotated(picture, 90));
}

// How an application takes the photo of a converter that deletes itself: its own connection to
// finished(), queued to this thread like the converter's own.
void TestConverter::autoDestroy()
{
    QPointer<ZelPhotoConverter> converter(new ZelPhotoConverter);
    converter->setPhoto(photo(4, 3), QString());
    converter->setAutoDestroy(true);
    QImage taken;
    connect(converter.data(), &QThread::finished, this, [&] { taken = converter ? converter->getPhoto() : QImage(); });
    JobWatcher watcher(converter.data());
    converter->rotateByDegreesThreaded(90);
    QVERIFY(watcher.waitForJob());
    QTRY_VERIFY(!taken.isNull());
    QTRY_VERIFY(converter.isNull());
}

QTEST_MAIN(TestConverter)
#include "tst_converter.moc"
