// ZelPhotoConverter: its jobs on the caller's thread and on its own, the arguments the jobs read,
// progress, cancel, the shared argument arrays and self-deletion.
//
// Under ThreadSanitizer Qt's own locks are uninstrumented, so the tests learn that a job ended
// through an atomic set on the job's thread (JobWatcher) rather than through Qt alone; that
// ordering is real and visible to the sanitizer.

#include "ZelEffectTestSupport.h"
#include "ZelImageProcessorRedEyeRemoval.h"
#include "ZelPhotoConverter.h"
#include "ZelTestProbe.h"

#include <QPointer>
#include <QSignalSpy>
#include <QtTest>

#include <atomic>
#include <cmath>

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

// Starts its thread only when told: a test can start a second job before this one has read its
// arguments.
struct DeferredConverter : ZelPhotoConverter
{
    void startJob(CONVERTJOB job, double* arguments) override { deferred = {job, arguments}; }
    void go() { ZelPhotoConverter::startJob(deferred.first, deferred.second); }
    QPair<CONVERTJOB, double*> deferred;
};

enum class Job { Rotate, Cut, Effect, RedEyeWhole, RedEyeRegion };

// Starts the job; returns the effect of an effect job.
QSharedPointer<ZelImageProcessorProbe> start(ZelPhotoConverter* converter, Job job, bool threaded)
{
    const QRect cut(QPoint(10, 20), QPoint(109, 219));
    const QRect region = job == Job::RedEyeWhole ? QRect() : leftEyeRegion;
    QSharedPointer<ZelImageProcessorProbe> probe(new ZelImageProcessorProbe);
    probe->behaviour().outputFormat = QImage::Format_RGB32; // so that the conversion to ARGB32 shows
    if (job == Job::Rotate)
        threaded ? converter->rotateByDegreesThreaded(90) : converter->rotateByDegrees(90);
    else if (job == Job::Cut)
        threaded ? converter->cutThreaded(cut) : converter->cut(cut);
    else if (job == Job::Effect)
        threaded ? converter->applyImageProcessorThreaded(probe) : converter->applyImageProcessor(probe);
    else
        threaded ? converter->removeRedEyeThreaded(region, true) : converter->removeRedEye(region, true);
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
    void sharedStaticArguments();
    void cancel_data();
    void cancel();
    void autoDestroy_data();
    void autoDestroy();
};

void TestConverter::jobs_data()
{
    QTest::addColumn<QImage>("photo");
    QTest::addColumn<Job>("job");
    QTest::addColumn<QImage>("expected");

    const QImage large = photo(120, 230);
    const QImage small = photo(3, 2);
    const QImage face = redEyedFace();
    const QImage leftCorrected = redEyeRemoved(face, leftEyeRegion);
    // The region must matter: corrected, yet not like the whole photo.
    QVERIFY(leftCorrected != face.convertToFormat(QImage::Format_ARGB32));
    QVERIFY(leftCorrected != redEyeRemoved(face, QRect()));
    for (const bool threaded : {false, true}) {
        const char* how = threaded ? "threaded" : "synchronous";
        QTest::addRow("%s rotate", how) << small << Job::Rotate << rotated(small, 90);
        // Inclusive corners (10, 20) to (109, 219): 100 x 200.
        QTest::addRow("%s cut", how) << large << Job::Cut << large.copy(10, 20, 100, 200);
        QTest::addRow("%s effect", how) << small << Job::Effect << small;
        QTest::addRow("%s red eyes, whole photo", how) << face << Job::RedEyeWhole << redEyeRemoved(face, QRect());
        QTest::addRow("%s red eyes, region", how) << face << Job::RedEyeRegion << leftCorrected;
        QTest::addRow("%s rotate null photo", how) << QImage() << Job::Rotate << QImage();
        QTest::addRow("%s cut null photo", how) << QImage() << Job::Cut << QImage();
        QTest::addRow("%s effect null photo", how) << QImage() << Job::Effect << QImage();
    }
}

void TestConverter::jobs()
{
    QFETCH(QImage, photo);
    QFETCH(Job, job);
    QFETCH(QImage, expected);
    const bool threaded = QByteArray(QTest::currentDataTag()).startsWith("threaded");

    ZelPhotoConverter converter;
    QVERIFY(converter.getPhoto().isNull()); // before any job
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
    if (job >= Job::Effect) // effects' results come as ARGB32
        QCOMPARE(result.format(), expected.format());
    if (job != Job::Effect)
        return;
    QCOMPARE(probe->lastResultThread() == thread(), !threaded);
    QCOMPARE(progress, (QVector<QVariantList>{{1, 2, true}, {2, 2, true}}));
    QCOMPARE(names.size(), 2);
    QCOMPARE(names.last(), (QVariantList{QStringLiteral("Probe title"), QStringLiteral("step")}));
    // The relay ends with the job: the effect's later progress no longer reaches the converter.
    probe->result();
    QCoreApplication::processEvents();
    QCOMPARE(progress.size(), 2);
}

// What an application that calls startJob itself relies on.
void TestConverter::startJobReadsItsArguments_data()
{
    QTest::addColumn<int>("job");
    QTest::addColumn<QVector<double>>("arguments"); // empty: none
    QTest::addColumn<QImage>("expected");

    const QImage face = redEyedFace().convertToFormat(QImage::Format_ARGB32);
    const QVector<double> some{90, 0, 1, 1, 1};
    QTest::newRow("rotate, degrees truncated") << int(ZelPhotoConverter::RotateJob) << QVector<double>{90.9}
                                               << rotated(face, 90);
    QTest::newRow("cut, inclusive corners") << int(ZelPhotoConverter::CutJob) << QVector<double>{10, 20, 109, 219}
                                            << face.copy(10, 20, 100, 200);
    QTest::newRow("red eyes, x y width height flag") << int(ZelPhotoConverter::RemoveRedEyeJob)
                                                     << QVector<double>{50, 130, 140, 40, -1}
                                                     << redEyeRemoved(face, leftEyeRegion);
    // Jobs that cannot run leave the result as it was (null before the first job).
    QTest::newRow("rotate without arguments") << int(ZelPhotoConverter::RotateJob) << QVector<double>() << QImage();
    QTest::newRow("cut without arguments") << int(ZelPhotoConverter::CutJob) << QVector<double>() << QImage();
    QTest::newRow("no job") << int(ZelPhotoConverter::NoJob) << some << QImage();
    QTest::newRow("6, no operation") << 6 << some << QImage();
    QTest::newRow("effect job without an effect") << int(ZelPhotoConverter::ImageProcessorJob) << some << QImage();
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

// Deliberate: the threaded operations share one argument array per operation between all
// converters, so a second start before the first job has read its arguments wins for both.
void TestConverter::sharedStaticArguments()
{
    const QImage picture = photo(4, 3);
    DeferredConverter first;
    ZelPhotoConverter second;
    first.setPhoto(picture, QString());
    second.setPhoto(picture, QString());
    JobWatcher firstWatcher(&first);
    JobWatcher secondWatcher(&second);
    first.rotateByDegreesThreaded(90);
    second.rotateByDegreesThreaded(180);
    QVERIFY(secondWatcher.waitForJob());
    first.go();
    QVERIFY(firstWatcher.waitForJob());
    QCOMPARE(second.getPhoto().convertToFormat(QImage::Format_ARGB32), rotated(picture, 180));
    QCOMPARE(first.getPhoto().convertToFormat(QImage::Format_ARGB32), rotated(picture, 180));
}

void TestConverter::cancel_data()
{
    QTest::addColumn<QString>("effect"); // none: a rotation
    QTest::addColumn<QSize>("size");
    QTest::addColumn<QVariantMap>("values");
    QTest::addColumn<bool>("nullResult");

    // Uncancelled, the example pauses 100 ms every 50 rows and returns grey, the oil painting
    // a painting; cancelled, own loops return their source, ImageMagick gives a null image.
    QTest::newRow("own pixel loop") << "ExampleGrayscale" << QSize(8, 3000) << QVariantMap() << false;
    QTest::newRow("ImageMagick") << "OilPainting" << QSize(300, 300) << QVariantMap{{"BrushSize", 30}} << true;
    // No effect object to pass the cancel to: the rotation is done.
    QTest::newRow("rotation") << QString() << QSize(4, 3) << QVariantMap() << false;
}

void TestConverter::cancel()
{
    QFETCH(QString, effect);
    QFETCH(QSize, size);
    QFETCH(QVariantMap, values);
    QFETCH(bool, nullResult);

    const QImage picture = photo(size.width(), size.height());
    ZelPhotoConverter converter;
    converter.setPhoto(picture, QString());
    QSignalSpy progress(&converter, &ZelPhotoConverter::progress);
    QSignalSpy cancelled(&converter, &ZelPhotoConverter::cancelled);
    JobWatcher watcher(&converter);
    if (effect.isEmpty()) {
        converter.rotateByDegreesThreaded(90);
    } else {
        converter.applyImageProcessorThreaded(QSharedPointer<ZelImageProcessor>(makeEffect(effect, QImage(), values).release()));
        QTRY_VERIFY_WITH_TIMEOUT(!progress.isEmpty(), jobTimeoutMs);
    }
    converter.cancel();
    QVERIFY(watcher.waitForJob());
    QCOMPARE(cancelled.size(), 1);
    const QImage result = converter.getPhoto();
    QCOMPARE(result.isNull(), nullResult);
    if (!nullResult)
        QCOMPARE(result.convertToFormat(QImage::Format_ARGB32), effect.isEmpty() ? rotated(picture, 90) : picture);
}

void TestConverter::autoDestroy_data()
{
    QTest::addColumn<bool>("autoDestroy");
    QTest::newRow("auto-destroy") << true;
    QTest::newRow("kept") << false;
}

void TestConverter::autoDestroy()
{
    QFETCH(bool, autoDestroy);

    QPointer<ZelPhotoConverter> converter(new ZelPhotoConverter);
    converter->setPhoto(photo(4, 3), QString());
    converter->setAutoDestroy(autoDestroy);
    // How an application takes the photo of a converter that deletes itself: its own connection
    // to finished(), queued to this thread like the converter's own.
    QImage taken;
    connect(converter.data(), &QThread::finished, this, [&] { taken = converter ? converter->getPhoto() : QImage(); });
    JobWatcher watcher(converter.data());
    converter->rotateByDegreesThreaded(90);
    QVERIFY(watcher.waitForJob());
    QTRY_VERIFY(!taken.isNull());
    QTRY_COMPARE(converter.isNull(), autoDestroy);
    if (!autoDestroy) {
        QTest::qWait(20);
        QVERIFY(converter);
        delete converter.data();
    }
}

QTEST_MAIN(TestConverter)
#include "tst_converter.moc"
