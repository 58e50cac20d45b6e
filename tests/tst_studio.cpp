// zelfx-studio driven as a user would, offscreen: the real window, its panel, its jobs.
#include "previewworker.h"
#include "showcase.h"
#include "../zelfx/showcase.h"
#include "studiowindow.h"

#include "ZelEffectRegistry.h"
#include "ZelImageProcessor.h"
#include "ZelParameterDescriptionContainerWidget.h"
#include "ZelParameterDescriptionNumber_p.h"

#include <QDomDocument>
#include <QProgressBar>
#include <QSignalSpy>
#include <QSlider>
#include <QTemporaryDir>
#include <QUndoStack>
#include <QtTest>

#include <memory>

namespace {
const QString kSamples = QStringLiteral(ZEL_SOURCE_DIR "/samples/");
const int kJobTimeout = 20000;
QSlider* slider(const StudioWindow& window, const QString& key)
{
    return window.panel() ? window.panel()->findChild<QSlider*>(key + QStringLiteral("Slider")) : nullptr;
}
// Red over green plus blue, averaged over the disc: above 2 in a red pupil, below 0.6 once corrected.
double meanRedness(const QImage& image, double cx, double cy, double radius)
{
    double sum = 0;
    int count = 0;
    for (int y = int(cy - radius); y <= int(cy + radius); ++y)
        for (int x = int(cx - radius); x <= int(cx + radius); ++x)
            if (std::hypot(x + 0.5 - cx, y + 0.5 - cy) <= radius && ++count)
                sum += double(qRed(image.pixel(x, y))) / qMax(1, qGreen(image.pixel(x, y)) + qBlue(image.pixel(x, y)));
    return count ? sum / count : 0;
}
// A numeric parameter shown in other units than it holds, from a default container that nobody
// else shares (so its mapping is intact).
const ZelParameterDescriptionNumberImpl* mappedNumber(const ZelParameterDescriptionContainer& container,
                                                      const QString& key, ZelParameterDescription* keep)
{
    *keep = container.parameter(key);
    const auto* number = dynamic_cast<const ZelParameterDescriptionNumberImpl*>(keep->constData());
    if (!number || !keep->visibleInUI())
        return nullptr;
    const bool sameRange = number->minUserVisibleValue() == number->min()
                           && number->maxUserVisibleValue() == number->max();
    return sameRange ? nullptr : number;
}
} // namespace

class TestStudio : public QObject
{
    Q_OBJECT
private slots:
    void init();
    void sliderChangesPreview();
    void newestPreviewReplacesOlder();
    void runningPreviewIsCancelled();
    void applyUndoRedo();
    void cancelLongApply();
    void clickedPupilIsCorrected();
    void cutAndRotateWithTheMouse_data();
    void cutAndRotateWithTheMouse();
    void settingsRoundTrip();
    void showcasePictureIsTheGallerysOnly();
    void slidersReachEffectInValueUnits_data();
    void slidersReachEffectInValueUnits();
    void brokenPhotoKeepsCurrent_data();
    void brokenPhotoKeepsCurrent();
private:
    bool waitForPreview();
    // The job's verdict: 1 applied, 0 cancelled or without picture, -1 not finished in time.
    int waitForJob();
    std::unique_ptr<StudioWindow> myWindow;
};

void TestStudio::init()
{
    myWindow.reset(new StudioWindow);
    myWindow->resize(900, 600);
    myWindow->show();
    QVERIFY(myWindow->openPhoto(kSamples + QStringLiteral("astronaut.png")));
}

bool TestStudio::waitForPreview()
{
    QSignalSpy shown(myWindow.get(), &StudioWindow::previewShown);
    return shown.wait(kJobTimeout);
}

int TestStudio::waitForJob()
{
    QSignalSpy finished(myWindow.get(), &StudioWindow::jobFinished);
    return finished.wait(kJobTimeout) ? int(finished.first().first().toBool()) : -1;
}

// An effect opens with its showcase settings; a slider moved shows a new preview.
void TestStudio::sliderChangesPreview()
{
    QVERIFY(myWindow->selectEffect(QStringLiteral("AdjustContrast")));
    QSlider* strength = slider(*myWindow, QStringLiteral("Strength"));
    QVERIFY(strength);
    QCOMPARE(strength->value(), 60);
    QVERIFY(waitForPreview());
    const QImage before = myWindow->photoView()->preview();
    QCOMPARE(before.size(), myWindow->photoView()->visibleDisplaySize());
    strength->setValue(-50);
    QVERIFY(waitForPreview());
    QVERIFY(myWindow->photoView()->preview() != before);
}

// Requests in a row: stale pictures are never shown, so the first to come back is the newest.
void TestStudio::newestPreviewReplacesOlder()
{
    PreviewWorker worker;
    QSignalSpy ready(&worker, &PreviewWorker::previewReady);
    for (int side : {64, 96, 128})
        worker.request(createShowcaseEffect(ZelEffectRegistry::find("Swirl"), myWindow->photo()), myWindow->photo(),
                       QSize(side, side));
    QVERIFY(ready.wait(kJobTimeout));
    QCOMPARE(ready.size(), 1);
    QCOMPARE(ready.first().first().value<QImage>().size(), QSize(128, 128));
    QVERIFY(!worker.isBusy());
}

// A running plain preview is cancelled by the next request: its object finishes at once, not
// after its paced rows. Scale has a preview rule of its own (factor 1.0) and goes through the library.
void TestStudio::runningPreviewIsCancelled()
{
    PreviewWorker worker;
    QSignalSpy ready(&worker, &PreviewWorker::previewReady);
    const QImage photo = myWindow->photo();
    worker.request(createShowcaseEffect(ZelEffectRegistry::find("ExampleGrayscale"), photo), photo, photo.size());
    ZelImageProcessor* slow = worker.inFlight();
    QVERIFY(slow && !PreviewWorker::usesOwnPreviewRule(*slow));
    QSignalSpy progress(slow, &ZelImageProcessor::progress), finished(slow, &ZelImageProcessor::finished);
    QVERIFY(progress.wait(kJobTimeout) && finished.isEmpty()); // it runs
    std::shared_ptr<ZelImageProcessor> scale = createShowcaseEffect(ZelEffectRegistry::find("Scale"), photo);
    QVERIFY(PreviewWorker::usesOwnPreviewRule(*scale));
    worker.request(scale, photo, QSize(100, 100));
    QCOMPARE(finished.size(), 1);
    QCOMPARE(worker.inFlight(), scale.get());
    QVERIFY(ready.wait(kJobTimeout) && ready.size() == 1);
    QCOMPARE(ready.first().first().value<QImage>().size(), photo.size().scaled(100, 100, Qt::KeepAspectRatio));
}

void TestStudio::applyUndoRedo()
{
    const QImage original = myWindow->photo();
    QVERIFY(myWindow->selectEffect(QStringLiteral("Invert")));
    QSignalSpy progress(myWindow->progressBar(), &QProgressBar::valueChanged);
    myWindow->applyEffect();
    QVERIFY(myWindow->isJobRunning());
    QCOMPARE(waitForJob(), 1);
    QVERIFY(!progress.isEmpty() && !myWindow->progressBar()->isVisible());
    const QImage inverted = myWindow->photo();
    QCOMPARE(inverted.size(), original.size());
    QCOMPARE(qRed(inverted.pixel(100, 100)), 255 - qRed(original.pixel(100, 100)));
    QCOMPARE(myWindow->undoStack()->count(), 1);
    myWindow->undoStack()->undo();
    QCOMPARE(myWindow->photo(), original);
    myWindow->undoStack()->redo();
    QCOMPARE(myWindow->photo(), inverted);
}

void TestStudio::cancelLongApply()
{
    const QImage original = myWindow->photo();
    QVERIFY(myWindow->selectEffect(QStringLiteral("ExampleGrayscale")));
    QSignalSpy progress(myWindow->progressBar(), &QProgressBar::valueChanged);
    myWindow->applyEffect();
    QVERIFY(progress.wait(kJobTimeout));
    myWindow->cancelJob();
    QCOMPARE(waitForJob(), 0);
    QCOMPARE(myWindow->photo(), original);
    QCOMPARE(myWindow->undoStack()->count(), 0);
}

void TestStudio::clickedPupilIsCorrected()
{
    QVERIFY(myWindow->openPhoto(kSamples + QStringLiteral("redeye_portrait.jpg")));
    QFile truthFile(kSamples + QStringLiteral("redeye_portrait.json"));
    QVERIFY(truthFile.open(QIODevice::ReadOnly));
    const QJsonObject pupil = QJsonDocument::fromJson(truthFile.readAll()).object()["pupils"].toArray().first().toObject();
    const QPointF centre(pupil["x"].toDouble(), pupil["y"].toDouble());
    const double radius = pupil["r"].toDouble();
    QVERIFY(meanRedness(myWindow->photo(), centre.x(), centre.y(), radius) > 2.0);
    PhotoView* view = myWindow->photoView();
    view->setTool(PhotoView::Tool::RedEye);
    QTest::mouseClick(view, Qt::LeftButton, Qt::NoModifier, view->toWidget(centre.toPoint()));
    QCOMPARE(waitForJob(), 1);
    QVERIFY(meanRedness(myWindow->photo(), centre.x(), centre.y(), radius) < 0.6);
    myWindow->undoStack()->undo();
    QVERIFY(meanRedness(myWindow->photo(), centre.x(), centre.y(), radius) > 2.0);
}

// A drag from one point of the view to another, each an offset from the view's centre.
void TestStudio::cutAndRotateWithTheMouse_data()
{
    QTest::addColumn<int>("tool");
    QTest::addColumn<QPoint>("from");
    QTest::addColumn<QPoint>("to");
    QTest::addColumn<int>("degrees"); // 0 for a cut
    QTest::newRow("cut") << int(PhotoView::Tool::Cut) << QPoint(-120, -80) << QPoint(90, 60) << 0;
    QTest::newRow("rotate a quarter turn clockwise") << int(PhotoView::Tool::Rotate) << QPoint(100, 0) << QPoint(0, 100) << 90;
    QTest::newRow("rotate 45 degrees back") << int(PhotoView::Tool::Rotate) << QPoint(100, 100) << QPoint(100, 0) << -45;
}

void TestStudio::cutAndRotateWithTheMouse()
{
    QFETCH(int, tool); QFETCH(int, degrees);
    QFETCH(QPoint, from); QFETCH(QPoint, to);
    const QImage original = myWindow->photo();
    PhotoView* view = myWindow->photoView();
    view->setTool(PhotoView::Tool(tool));
    const QPoint centre(view->width() / 2, view->height() / 2);
    const QRect cut(view->toPhoto(centre + from), view->toPhoto(centre + to));
    QTest::mousePress(view, Qt::LeftButton, Qt::NoModifier, centre + from);
    QMouseEvent move(QEvent::MouseMove, centre + to, Qt::LeftButton, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(view, &move);
    QTest::mouseRelease(view, Qt::LeftButton, Qt::NoModifier, centre + to);
    QCOMPARE(waitForJob(), 1);
    const QImage expected = degrees == 0
        ? original.copy(cut)
        : original.transformed(QMatrix().rotate(degrees), Qt::SmoothTransformation);
    QCOMPARE(myWindow->photo().size(), expected.size());
    QCOMPARE(myWindow->photo(), expected.convertToFormat(QImage::Format_ARGB32));
    QCOMPARE(myWindow->undoStack()->count(), 1);
}

// What the studio saves, `zelfx apply --settings` reads: the container under <zelfx effect=...>.
void TestStudio::settingsRoundTrip()
{
    QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("shadow.xml"));
    QVERIFY(myWindow->selectEffect(QStringLiteral("DropShadow")));
    slider(*myWindow, QStringLiteral("Intensity"))->setValue(80);
    const ZelParameterDescriptionContainer saved = myWindow->effectParameters();
    QVERIFY(myWindow->saveSettings(path));
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QDomDocument document;
    QVERIFY(document.setContent(&file));
    QCOMPARE(document.documentElement().attribute(QStringLiteral("effect")), QStringLiteral("ZelImageProcessorDropShadow"));
    QVERIFY(myWindow->selectEffect(QStringLiteral("Invert")));
    QVERIFY(myWindow->selectEffect(QStringLiteral("DropShadow")));
    QVERIFY(myWindow->effectParameters().value(QStringLiteral("Intensity")) != saved.value(QStringLiteral("Intensity")));
    QVERIFY(myWindow->loadSettings(path));
    QCOMPARE(slider(*myWindow, QStringLiteral("Intensity"))->value(), 80);
    QCOMPARE(myWindow->effectParameters().value(QStringLiteral("Intensity")), saved.value(QStringLiteral("Intensity")));
    QVERIFY(!myWindow->loadSettings(folder.filePath(QStringLiteral("missing.xml"))));
}

// Gallery pictures of their own (the portrait's red eyes, a flat photo); the studio keeps the user's.
void TestStudio::showcasePictureIsTheGallerysOnly()
{
    const QImage photo = myWindow->photo();
    const auto showcased = [&photo](const char* name) {
        std::unique_ptr<ZelImageProcessor> effect(ZelEffectRegistry::create(ZelEffectRegistry::find(name), photo));
        applyShowcase(effect.get(), photo);
        return effect->result();
    };
    const QImage eyes = showcased("RedEyeRemoval");
    const QImage before = QImage(QStringLiteral(":/showcase/redeye_portrait.jpg")).copy(700, 250, 400, 300);
    QVERIFY(meanRedness(before, 118, 148, 10.4) > 2.0 && meanRedness(before, 288, 161, 10.4) > 2.0);
    QVERIFY(eyes.size() == before.size() && meanRedness(eyes, 118, 148, 10.4) < 0.6 && meanRedness(eyes, 288, 161, 10.4) < 0.6);
    QCOMPARE(createShowcaseEffect(ZelEffectRegistry::find("RedEyeRemoval"), photo)->result().size(), photo.size());
    QVERIFY(showcased("ContrastStretch") != createShowcaseEffect(ZelEffectRegistry::find("ContrastStretch"), photo)->result());
}

// Every slider whose scale differs from the values it stands for, moved to the middle of its
// scale: the effect receives the value in its own units.
void TestStudio::slidersReachEffectInValueUnits_data()
{
    QTest::addColumn<QString>("effect");
    QTest::addColumn<QString>("key");
    QTest::addColumn<int>("uiValue");
    QTest::addColumn<QVariant>("expected");
    QTest::newRow("DropShadow Intensity 50 of 100") << "DropShadow" << "Intensity" << 50 << QVariant(128);
    for (const QMetaObject* meta : ZelEffectRegistry::effects()) {
        const std::unique_ptr<ZelImageProcessor> effect(ZelEffectRegistry::create(meta));
        const ZelParameterDescriptionContainer container = effect->parameterContainer();
        for (const QString& key : container.parameterNames()) {
            ZelParameterDescription keep;
            const ZelParameterDescriptionNumberImpl* number = mappedNumber(container, key, &keep);
            if (!number)
                continue;
            const int uiMin = number->minUserVisibleValue().toInt(), uiMax = number->maxUserVisibleValue().toInt();
            const int ui = uiMin + (uiMax - uiMin) / 2;
            const double fraction = double(ui - uiMin) / (uiMax - uiMin);
            QVariant expected(number->min().toDouble() + fraction * (number->max().toDouble() - number->min().toDouble()));
            expected.convert(int(keep.type()));
            const QString shortName = ZelEffectRegistry::shortName(meta);
            QTest::addRow("%s %s", qPrintable(shortName), qPrintable(key)) << shortName << key << ui << expected;
        }
    }
}

void TestStudio::slidersReachEffectInValueUnits()
{
    QFETCH(QString, effect);
    QFETCH(QString, key);
    QFETCH(int, uiValue);
    QFETCH(QVariant, expected);
    QVERIFY(myWindow->selectEffect(effect));
    QSlider* editor = slider(*myWindow, key);
    QVERIFY(editor);
    editor->setValue(uiValue);
    const ZelParameterDescriptionContainer parameters = myWindow->effectParameters();
    QCOMPARE(parameters.value(key), expected);
    // The effect given these parameters holds the same value.
    const std::unique_ptr<ZelImageProcessor> target(ZelEffectRegistry::create(ZelEffectRegistry::find(effect)));
    target->setParameters(parameters);
    QCOMPARE(target->parameterContainer().value(key), expected);
}

QTEST_MAIN(TestStudio)
// The open dialog's message names the file and the reason; the photo shown and its title stay.
void TestStudio::brokenPhotoKeepsCurrent_data()
{
    QTest::addColumn<QByteArray>("bytes"); // empty: a folder
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("reason");

    QByteArray jpeg;
    QBuffer buffer(&jpeg);
    buffer.open(QIODevice::WriteOnly);
    QVERIFY(QImage(kSamples + QStringLiteral("astronaut.png")).save(&buffer, "jpg"));
    // Qt decodes the first part and paints the rest grey, warning only.
    QTest::newRow("truncated jpeg") << jpeg.left(jpeg.size() / 2) << "cut.jpg" << "truncated";
    QTest::newRow("text") << QByteArray("no picture") << "text.png" << "not an image";
    QTest::newRow("empty") << QByteArray("") << "empty.png" << "empty";
    QTest::newRow("folder") << QByteArray() << "folder.png" << "directory";
}

void TestStudio::brokenPhotoKeepsCurrent()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QString, name);
    QFETCH(QString, reason);

    QTemporaryDir dir;
    const QString path = dir.filePath(name);
    QFile file(path);
    QVERIFY(bytes.isNull() ? QDir().mkdir(path) : file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size());
    file.close();
    const QImage before = myWindow->photo();
    const QString title = myWindow->windowTitle();
    const QString message = myWindow->openPhotoOrReason(path);
    QVERIFY2(message.contains(path) && message.contains(reason), qPrintable(message));
    QCOMPARE(myWindow->photo(), before);
    QCOMPARE(myWindow->windowTitle(), title);
}

#include "tst_studio.moc"
