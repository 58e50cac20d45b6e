// ZelPhotoConverter: its jobs on the caller's thread and on its own, progress, cancel, the
// shared argument arrays and self-deletion.
//
// Under ThreadSanitizer: Qt's own locks are uninstrumented, so the tests learn that a job ended
// through an atomic set on the job's thread (JobWatcher) rather than through Qt alone; that
// ordering is real and visible to the sanitizer.

#include "ZelEffectRegistry.h"
#include "ZelImageProcessor.h"
#include "ZelImageProcessorImpl_p.h"
#include "ZelImageProcessorRedEyeRemoval.h"
#include "ZelPhotoConverter.h"

#include <QElapsedTimer>
#include <QPointer>
#include <QSignalSpy>
#include <QtTest>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <condition_variable>
#include <memory>
#include <mutex>

class ZelImageProcessorThreadProbe;

// Reports four steps of its own and returns its source as RGB32, so that the converter's
// conversion to ARGB32 shows; remembers the thread result() ran on.
class ZelImageProcessorThreadProbeImpl : public ZelImageProcessorImpl
{
    Q_OBJECT
public:
    explicit ZelImageProcessorThreadProbeImpl(const QImage& image)
        : ZelImageProcessorImpl(image, QStringLiteral("ThreadProbe"))
    {
    }

    std::atomic<QThread*> resultThread{nullptr};

public slots:
    QImage result() override
    {
        resultThread.store(QThread::currentThread());
        for (int step = 0; step <= 3; ++step)
            emit progress(QStringLiteral("Probe"), QStringLiteral("Schritt"), step, 3);
        emit finished(false);
        return sourceImage().convertToFormat(QImage::Format_RGB32);
    }
    QImage generatePreview(const QSize&) override { return QImage(); }
    QImage generatePreview(const QRect&) override { return QImage(); }
};

class ZelImageProcessorThreadProbe : public ZelImageProcessor
{
    Q_OBJECT
public:
    ZelImageProcessorThreadProbe()
    {
        installImplementation(new ZelImageProcessorThreadProbeImpl(QImage()));
    }
    QThread* resultThread() const { return static_cast<ZelImageProcessorThreadProbeImpl*>(myImpl)->resultThread.load(); }

public slots:
    QImage result() override { return myImpl->result(); }
    QImage generatePreview(const QSize& size) override { return myImpl->generatePreview(size); }
    QImage generatePreview(const QRect& rect) override { return myImpl->generatePreview(rect); }
};

namespace {

const int jobTimeoutMs = 20000;

// Pixel (x, y) is 0xFF000000 | x << 8 | y, so every pixel tells where it came from.
QImage testImage(int width, int height)
{
    QImage image(width, height, QImage::Format_ARGB32);
    for (int y = 0; y < height; ++y) {
        QRgb* line = reinterpret_cast<QRgb*>(image.scanLine(y));
        for (int x = 0; x < width; ++x)
            line[x] = 0xFF000000u | uint(x) << 8 | uint(y);
    }
    return image;
}

// Clockwise by 90 degrees with y pointing down: the result is h x w, and its pixel (x, y) is the
// source's (y, h - 1 - x).
QImage rotated90(const QImage& source)
{
    QImage rotated(source.height(), source.width(), QImage::Format_ARGB32);
    for (int y = 0; y < rotated.height(); ++y)
        for (int x = 0; x < rotated.width(); ++x)
            rotated.setPixel(x, y, source.pixel(y, source.height() - 1 - x));
    return rotated;
}

// Pixel (x, y) is the source's (w - 1 - x, h - 1 - y).
QImage rotated180(const QImage& source)
{
    QImage rotated(source.size(), QImage::Format_ARGB32);
    for (int y = 0; y < rotated.height(); ++y)
        for (int x = 0; x < rotated.width(); ++x)
            rotated.setPixel(x, y, source.pixel(source.width() - 1 - x, source.height() - 1 - y));
    return rotated;
}

// Learns that a converter's thread has ended through finished(), which QThread emits on that
// thread once run() has returned, then delivers what was queued for this thread.
class JobWatcher
{
public:
    explicit JobWatcher(ZelPhotoConverter* converter)
        : myConverter(converter)
    {
        myConnection = QObject::connect(converter, &QThread::finished,
                                        [this] { myDone.store(true, std::memory_order_release); });
    }
    ~JobWatcher() { QObject::disconnect(myConnection); }
    JobWatcher(const JobWatcher&) = delete;
    JobWatcher& operator=(const JobWatcher&) = delete;

    bool waitForJob()
    {
        QElapsedTimer timer;
        timer.start();
        while (!myDone.load(std::memory_order_acquire)) {
            if (timer.elapsed() > jobTimeoutMs)
                return false;
            QTest::qWait(2);
        }
        if (myConverter)
            myConverter->wait();
        QCoreApplication::processEvents();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        return true;
    }

private:
    QPointer<ZelPhotoConverter> myConverter;
    QMetaObject::Connection myConnection;
    std::atomic<bool> myDone{false};
};

// Records what the threaded operations hand to startJob and, once opened, lets run() go on:
// a test can start a second job before the first has read its arguments.
class InspectedConverter : public ZelPhotoConverter
{
public:
    explicit InspectedConverter(bool startsThread = true, bool opened = true)
        : myStartsThread(startsThread)
        , myOpen(opened)
    {
    }
    ~InspectedConverter() override
    {
        open();
        wait();
    }

    void startJob(CONVERTJOB job, double* arguments) override
    {
        recordedJob = job;
        recordedArguments = arguments;
        if (myStartsThread)
            ZelPhotoConverter::startJob(job, arguments);
    }

    void open()
    {
        {
            std::lock_guard<std::mutex> lock(myMutex);
            myOpen = true;
        }
        myOpened.notify_all();
    }

    CONVERTJOB recordedJob = NoJob;
    double* recordedArguments = nullptr;

protected:
    void run() override
    {
        {
            std::unique_lock<std::mutex> lock(myMutex);
            myOpened.wait(lock, [this] { return myOpen; });
        }
        ZelPhotoConverter::run();
    }

private:
    const bool myStartsThread;
    std::mutex myMutex;
    std::condition_variable myOpened;
    bool myOpen;
};

// Skin with two eyes of pupil radius 6 at (110.5, 100.5) and (210.5, 100.5): a white, a brown
// iris of 1.9 radii, a red pupil with a white highlight. Hard edges.
const double eyeRadius = 6.0;
const QPointF eyeCentres[2] = {{110.5, 100.5}, {210.5, 100.5}};

QImage redEyedFace()
{
    QImage image(320, 240, QImage::Format_RGB32);
    image.fill(qRgb(205, 165, 145));
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            for (const QPointF& centre : eyeCentres) {
                const double dx = x + 0.5 - centre.x();
                const double dy = y + 0.5 - centre.y();
                const double r = eyeRadius;
                if (std::pow(dx / (3.4 * r), 2) + std::pow(dy / (2.0 * r), 2) <= 1.0)
                    image.setPixel(x, y, qRgb(235, 230, 225));
                if (std::hypot(dx, dy) <= 1.9 * r)
                    image.setPixel(x, y, qRgb(95, 70, 50));
                if (std::hypot(dx, dy) <= r)
                    image.setPixel(x, y, qRgb(200, 30, 35));
                if (std::hypot(dx + 0.4 * r, dy + 0.4 * r) <= 0.25 * r)
                    image.setPixel(x, y, qRgb(250, 250, 250));
            }
        }
    }
    return image;
}

// The mean of R / (G + B) over the pixels whose centres lie within the pupil.
double pupilRedness(const QImage& image, const QPointF& centre)
{
    double sum = 0;
    int count = 0;
    for (int y = int(centre.y() - eyeRadius); y <= int(centre.y() + eyeRadius); ++y) {
        for (int x = int(centre.x() - eyeRadius); x <= int(centre.x() + eyeRadius); ++x) {
            if (std::hypot(x + 0.5 - centre.x(), y + 0.5 - centre.y()) > eyeRadius)
                continue;
            const QRgb pixel = image.pixel(x, y);
            sum += double(qRed(pixel)) / qMax(1, qGreen(pixel) + qBlue(pixel));
            ++count;
        }
    }
    return sum / count;
}

// Whether the images differ anywhere farther than two pupil radii from the given eyes.
bool changedAwayFrom(const QImage& before, const QImage& after, const QVector<QPointF>& centres)
{
    for (int y = 0; y < before.height(); ++y) {
        for (int x = 0; x < before.width(); ++x) {
            if (before.pixel(x, y) == after.pixel(x, y))
                continue;
            const bool near = std::any_of(centres.begin(), centres.end(), [x, y](const QPointF& centre) {
                return std::hypot(x + 0.5 - centre.x(), y + 0.5 - centre.y()) <= 2.0 * eyeRadius;
            });
            if (!near)
                return true;
        }
    }
    return false;
}

enum class Job { Rotate90, Rotate180, Cut, Effect, RedEyeFlagFalse, RedEyeFlagTrue };

// Starts the job on converter, on its thread or on this one.
void startJob(ZelPhotoConverter* converter, Job job, bool threaded)
{
    const QRect cutRect(QPoint(10, 20), QPoint(109, 219));
    switch (job) {
    case Job::Rotate90:
        threaded ? converter->rotateByDegreesThreaded(90) : converter->rotateByDegrees(90);
        break;
    case Job::Rotate180:
        threaded ? converter->rotateByDegreesThreaded(180) : converter->rotateByDegrees(180);
        break;
    case Job::Cut:
        threaded ? converter->cutThreaded(cutRect) : converter->cut(cutRect);
        break;
    case Job::Effect: {
        const QSharedPointer<ZelImageProcessor> probe(new ZelImageProcessorThreadProbe);
        threaded ? converter->applyImageProcessorThreaded(probe) : converter->applyImageProcessor(probe);
        break;
    }
    case Job::RedEyeFlagFalse:
    case Job::RedEyeFlagTrue: {
        const QRect region(5, 6, 100, 130);
        const bool flag = job == Job::RedEyeFlagTrue;
        threaded ? converter->removeRedEyeThreaded(region, flag) : converter->removeRedEye(region, flag);
        break;
    }
    }
}

} // namespace

Q_DECLARE_METATYPE(Job)

class TestConverter : public QObject
{
    Q_OBJECT

private slots:
    void getPhotoBeforeAnyJob();
    void jobs_data();
    void jobs();
    void threadedArguments_data();
    void threadedArguments();
    void sharedStaticArguments();
    void redEyeJob_data();
    void redEyeJob();
    void guards_data();
    void guards();
    void effectRunsOnTheJobThreadAndProgressOnTheConverters();
    void synchronousProgressIsQueuedToo();
    void cancelThreadedEffect_data();
    void cancelThreadedEffect();
    void rotationCannotBeCancelled();
    void autoDestroy_data();
    void autoDestroy();
};

void TestConverter::getPhotoBeforeAnyJob()
{
    ZelPhotoConverter converter;
    QVERIFY(converter.photoChanged());
    QVERIFY(converter.getPhoto().isNull());
    QVERIFY(!converter.photoChanged());

    converter.setPhoto(testImage(4, 3), QStringLiteral("photo"));
    QVERIFY(converter.photoChanged());
    // Setting a photo computes nothing: the result is still the (null) one of no job.
    QVERIFY(converter.getPhoto().isNull());
    QVERIFY(!converter.photoChanged());
}

void TestConverter::jobs_data()
{
    QTest::addColumn<QImage>("photo");
    QTest::addColumn<Job>("job");
    QTest::addColumn<QImage>("expected");

    const QImage photo = testImage(120, 230);
    const QImage small = testImage(3, 2);
    // (10, 20) to (109, 219) inclusive: 100 x 200, pixel (x, y) from the photo's (x + 10, y + 20).
    QImage cut(100, 200, QImage::Format_ARGB32);
    for (int y = 0; y < 200; ++y)
        for (int x = 0; x < 100; ++x)
            cut.setPixel(x, y, 0xFF000000u | uint(x + 10) << 8 | uint(y + 20));

    for (const bool threaded : {false, true}) {
        const char* how = threaded ? "threaded" : "synchronous";
        QTest::addRow("%s rotate 90", how) << small << Job::Rotate90 << rotated90(small);
        QTest::addRow("%s rotate 180", how) << small << Job::Rotate180 << rotated180(small);
        QTest::addRow("%s cut", how) << photo << Job::Cut << cut;
        // The probe returns RGB32; the converter hands out ARGB32.
        QTest::addRow("%s effect", how) << small << Job::Effect << small;
        QTest::addRow("%s rotate null photo", how) << QImage() << Job::Rotate90 << QImage();
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
    converter.setPhoto(photo, QStringLiteral("photo"));
    JobWatcher watcher(&converter);
    startJob(&converter, job, threaded);
    if (threaded)
        QVERIFY(watcher.waitForJob());

    const QImage result = converter.getPhoto();
    QCOMPARE(result.isNull(), expected.isNull());
    if (expected.isNull())
        return;
    if (job == Job::Effect)
        QCOMPARE(result.format(), QImage::Format_ARGB32);
    QCOMPARE(result.convertToFormat(QImage::Format_ARGB32), expected);
}

void TestConverter::threadedArguments_data()
{
    QTest::addColumn<Job>("job");
    QTest::addColumn<int>("convertJob");
    QTest::addColumn<QVector<double>>("arguments");

    QTest::newRow("rotate") << Job::Rotate90 << int(ZelPhotoConverter::RotateJob) << QVector<double>{90.0};
    // Inclusive corners, not x, y, width, height.
    QTest::newRow("cut") << Job::Cut << int(ZelPhotoConverter::CutJob) << QVector<double>{10.0, 20.0, 109.0, 219.0};
    QTest::newRow("effect") << Job::Effect << int(ZelPhotoConverter::ImageProcessorJob) << QVector<double>();
    // x, y, width, height, and the flag as 1.0 or -1.0.
    QTest::newRow("red eye, flag false") << Job::RedEyeFlagFalse << int(ZelPhotoConverter::RemoveRedEyeJob)
                                         << QVector<double>{5.0, 6.0, 100.0, 130.0, -1.0};
    QTest::newRow("red eye, flag true") << Job::RedEyeFlagTrue << int(ZelPhotoConverter::RemoveRedEyeJob)
                                        << QVector<double>{5.0, 6.0, 100.0, 130.0, 1.0};
}

void TestConverter::threadedArguments()
{
    QFETCH(Job, job);
    QFETCH(int, convertJob);
    QFETCH(QVector<double>, arguments);

    InspectedConverter converter(false);
    startJob(&converter, job, true);
    QCOMPARE(int(converter.recordedJob), convertJob);
    if (arguments.isEmpty()) {
        QVERIFY(!converter.recordedArguments);
        return;
    }
    QVERIFY(converter.recordedArguments);
    for (int i = 0; i < arguments.size(); ++i)
        QCOMPARE(converter.recordedArguments[i], arguments.at(i));
}

// Deliberate: the threaded operations share one argument array per operation between all
// converters, so a second start before the first job has read its arguments wins for both.
void TestConverter::sharedStaticArguments()
{
    const QImage photo = testImage(4, 3);
    InspectedConverter first(true, false);
    ZelPhotoConverter second;
    first.setPhoto(photo, QString());
    second.setPhoto(photo, QString());
    JobWatcher firstWatcher(&first);
    JobWatcher secondWatcher(&second);

    first.rotateByDegreesThreaded(90); // waits in run() until opened
    second.rotateByDegreesThreaded(180);
    QVERIFY(secondWatcher.waitForJob());
    first.open();
    QVERIFY(firstWatcher.waitForJob());

    QCOMPARE(second.getPhoto(), rotated180(photo));
    QCOMPARE(first.getPhoto(), rotated180(photo));

    // One array per operation, whichever converter asks.
    for (const Job job : {Job::Rotate90, Job::Cut, Job::RedEyeFlagFalse}) {
        InspectedConverter third(false);
        InspectedConverter fourth(false);
        startJob(&third, job, true);
        startJob(&fourth, job, true);
        QVERIFY(third.recordedArguments);
        QCOMPARE(third.recordedArguments, fourth.recordedArguments);
    }
}

void TestConverter::redEyeJob_data()
{
    QTest::addColumn<QImage>("photo");
    QTest::addColumn<QRect>("region");
    QTest::addColumn<QVector<int>>("corrected"); // indexes into eyeCentres

    const QImage face = redEyedFace();
    const QImage grey = face.convertToFormat(QImage::Format_Grayscale8).convertToFormat(QImage::Format_RGB32);
    for (const bool threaded : {false, true}) {
        const char* how = threaded ? "threaded" : "synchronous";
        QTest::addRow("%s whole photo", how) << face << QRect() << QVector<int>{0, 1};
        // x, y, width, height: 170..239 x 85..115 holds the right eye only; read with x and y or
        // width and height exchanged, or as corners, it would hold no eye.
        QTest::addRow("%s rectangle around the right eye", how) << face << QRect(170, 85, 70, 31) << QVector<int>{1};
        QTest::addRow("%s grey photo", how) << grey << QRect() << QVector<int>();
    }
}

void TestConverter::redEyeJob()
{
    QFETCH(QImage, photo);
    QFETCH(QRect, region);
    QFETCH(QVector<int>, corrected);
    const bool threaded = QByteArray(QTest::currentDataTag()).startsWith("threaded");

    ZelPhotoConverter converter;
    converter.setPhoto(photo, QString());
    JobWatcher watcher(&converter);
    threaded ? converter.removeRedEyeThreaded(region, false) : converter.removeRedEye(region, false);
    if (threaded)
        QVERIFY(watcher.waitForJob());

    const QImage result = converter.getPhoto();
    QCOMPARE(result.format(), QImage::Format_ARGB32);
    QCOMPARE(result.size(), photo.size());
    QVector<QPointF> correctedCentres;
    for (int eye = 0; eye < 2; ++eye) {
        const double before = pupilRedness(photo, eyeCentres[eye]);
        const double after = pupilRedness(result, eyeCentres[eye]);
        if (corrected.contains(eye)) {
            correctedCentres << eyeCentres[eye];
            QVERIFY2(after < 0.6, qPrintable(QStringLiteral("eye %1: %2").arg(eye).arg(after)));
        } else {
            QCOMPARE(after, before);
        }
    }
    QVERIFY(!changedAwayFrom(photo, result, correctedCentres));
}

void TestConverter::guards_data()
{
    QTest::addColumn<int>("convertJob");
    QTest::addColumn<bool>("withArguments");

    QTest::newRow("rotate without arguments") << int(ZelPhotoConverter::RotateJob) << false;
    QTest::newRow("cut without arguments") << int(ZelPhotoConverter::CutJob) << false;
    QTest::newRow("no job") << int(ZelPhotoConverter::NoJob) << true;
    QTest::newRow("1, no operation") << 1 << true;
    QTest::newRow("6, no operation") << 6 << true;
    QTest::newRow("effect job without an effect") << int(ZelPhotoConverter::ImageProcessorJob) << true;
}

// Jobs that cannot run leave the result as it was (null before the first job).
void TestConverter::guards()
{
    QFETCH(int, convertJob);
    QFETCH(bool, withArguments);

    double arguments[5] = {90.0, 0.0, 1.0, 1.0, 1.0};
    ZelPhotoConverter converter;
    converter.setPhoto(testImage(4, 3), QString());
    JobWatcher watcher(&converter);
    converter.startJob(ZelPhotoConverter::CONVERTJOB(convertJob), withArguments ? arguments : nullptr);
    QVERIFY(watcher.waitForJob());
    QVERIFY(converter.getPhoto().isNull());

    converter.applyImageProcessor(QSharedPointer<ZelImageProcessor>());
    QVERIFY(converter.getPhoto().isNull());
}

void TestConverter::effectRunsOnTheJobThreadAndProgressOnTheConverters()
{
    QSharedPointer<ZelImageProcessorThreadProbe> probe(new ZelImageProcessorThreadProbe);
    ZelPhotoConverter converter;
    converter.setPhoto(testImage(4, 3), QString());
    QVector<QThread*> progressThreads;
    connect(&converter, &ZelPhotoConverter::progress, this,
            [&progressThreads] { progressThreads << QThread::currentThread(); });
    QSignalSpy progressSpy(&converter, &ZelPhotoConverter::progress);
    QSignalSpy nameSpy(&converter, &ZelPhotoConverter::processName);
    JobWatcher watcher(&converter);

    converter.applyImageProcessorThreaded(probe);
    QVERIFY(watcher.waitForJob());

    QVERIFY(probe->resultThread());
    QVERIFY(probe->resultThread() != QThread::currentThread());
    QCOMPARE(progressThreads, QVector<QThread*>(4, QThread::currentThread()));
    QCOMPARE(progressSpy.size(), 4);
    for (int step = 0; step <= 3; ++step) {
        QCOMPARE(progressSpy.at(step), (QVariantList{step, 3}));
        QCOMPARE(nameSpy.at(step), (QVariantList{QStringLiteral("Probe"), QStringLiteral("Schritt")}));
    }
    // The relay ends with the job: the effect's later progress no longer reaches the converter.
    probe->result();
    QCoreApplication::processEvents();
    QCOMPARE(progressSpy.size(), 4);
}

void TestConverter::synchronousProgressIsQueuedToo()
{
    QSharedPointer<ZelImageProcessorThreadProbe> probe(new ZelImageProcessorThreadProbe);
    ZelPhotoConverter converter;
    converter.setPhoto(testImage(4, 3), QString());
    QSignalSpy progressSpy(&converter, &ZelPhotoConverter::progress);

    converter.applyImageProcessor(probe);
    QCOMPARE(probe->resultThread(), QThread::currentThread());
    QCOMPARE(progressSpy.size(), 0);
    QTRY_COMPARE(progressSpy.size(), 4);
    QCOMPARE(progressSpy.last(), (QVariantList{3, 3}));
}

void TestConverter::cancelThreadedEffect_data()
{
    QTest::addColumn<QString>("effect");
    QTest::addColumn<QSize>("size");
    QTest::addColumn<QStringList>("setting");
    QTest::addColumn<bool>("nullResult");

    // Uncancelled, the example pauses 100 ms every 50 rows (6 s) and the oil painting takes
    // seconds; cancelled, own loops return their source, ImageMagick gives a null image.
    QTest::newRow("own pixel loop") << "ExampleGrayscale" << QSize(8, 3000) << QStringList() << false;
    QTest::newRow("ImageMagick") << "OilPainting" << QSize(300, 300) << QStringList{"BrushSize", "30"} << true;
}

void TestConverter::cancelThreadedEffect()
{
    QFETCH(QString, effect);
    QFETCH(QSize, size);
    QFETCH(QStringList, setting);
    QFETCH(bool, nullResult);

    QImage photo(size, QImage::Format_ARGB32);
    photo.fill(qRgb(200, 40, 90));
    QSharedPointer<ZelImageProcessor> processor(ZelEffectRegistry::create(ZelEffectRegistry::find(effect)));
    QVERIFY(processor);
    if (!setting.isEmpty()) {
        ZelUIParameterMap values;
        values.insert(setting.at(0), qMakePair(QVariant(setting.at(1).toInt()), true));
        processor->setParameters(values);
    }
    ZelPhotoConverter converter;
    converter.setPhoto(photo, QString());
    QSignalSpy progressSpy(&converter, &ZelPhotoConverter::progress);
    QSignalSpy cancelledSpy(&converter, &ZelPhotoConverter::cancelled);
    JobWatcher watcher(&converter);

    converter.applyImageProcessorThreaded(processor);
    QTRY_VERIFY_WITH_TIMEOUT(!progressSpy.isEmpty(), jobTimeoutMs);
    QElapsedTimer timer;
    timer.start();
    converter.cancel();
    QVERIFY(watcher.waitForJob());

    QCOMPARE(cancelledSpy.size(), 1);
    QVERIFY2(timer.elapsed() < 3000, qPrintable(QString::number(timer.elapsed())));
    const QImage result = converter.getPhoto();
    QCOMPARE(result.isNull(), nullResult);
    if (!nullResult)
        QCOMPARE(result, photo);
}

void TestConverter::rotationCannotBeCancelled()
{
    const QImage photo = testImage(4, 3);
    ZelPhotoConverter converter;
    converter.setPhoto(photo, QString());
    JobWatcher watcher(&converter);
    converter.rotateByDegreesThreaded(90);
    converter.cancel();
    QVERIFY(watcher.waitForJob());
    QCOMPARE(converter.getPhoto(), rotated90(photo));
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

    const QImage photo = testImage(4, 3);
    QPointer<ZelPhotoConverter> converter(new ZelPhotoConverter);
    converter->setPhoto(photo, QString());
    converter->setAutoDestroy(autoDestroy);
    // How an application takes the photo of a converter that deletes itself: its own connection
    // to finished(), queued to this thread like the converter's own.
    QImage taken;
    connect(converter.data(), &QThread::finished, this, [&taken, &converter] {
        QVERIFY(converter);
        taken = converter->getPhoto();
    });
    JobWatcher watcher(converter.data());

    converter->rotateByDegreesThreaded(90);
    QVERIFY(watcher.waitForJob());
    QTRY_COMPARE(taken, rotated90(photo));
    QTRY_COMPARE(converter.isNull(), autoDestroy);
    if (!autoDestroy) {
        QTest::qWait(20);
        QVERIFY(converter);
        delete converter.data();
    }
}

QTEST_MAIN(TestConverter)
#include "tst_converter.moc"
