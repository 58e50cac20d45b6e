#include "studiowindow.h"

#include "effectcatalog.h"
#include "effectsettings.h"
#include "imagefiles.h"
#include "previewworker.h"
#include "showcase.h"

#include "ZelEffectRegistry.h"
#include "ZelImageProcessor.h"
#include "ZelParameterDescriptionContainerWidget.h"
#include "ZelPhotoConverter.h"

#include <QAction>
#include <QActionGroup>
#include <QApplication>
#include <QDockWidget>
#include <QFileDialog>
#include <QFileInfo>
#include <QHeaderView>
#include <QImageReader>
#include <QKeyEvent>
#include <QLabel>
#include <QMenuBar>
#include <QMessageBox>
#include <QProgressBar>
#include <QPushButton>
#include <QScrollArea>
#include <QStatusBar>
#include <QToolBar>
#include <QTreeView>
#include <QUndoStack>
#include <QVBoxLayout>

namespace {

// Holding this key shows the photo without the preview.
const int kBeforeKey = Qt::Key_B;

// One applied edit: the photo before and after it.
class PhotoStep : public QUndoCommand
{
public:
    PhotoStep(StudioWindow* window, const QImage& before, const QImage& after, const QString& text)
        : QUndoCommand(text), myWindow(window), myBefore(before), myAfter(after)
    {
    }
    void undo() override { myWindow->showPhoto(myBefore); }
    void redo() override { myWindow->showPhoto(myAfter); }

private:
    StudioWindow* myWindow;
    QImage myBefore;
    QImage myAfter;
};

QString imageFileFilter()
{
    QStringList patterns;
    for (const QByteArray& format : QImageReader::supportedImageFormats())
        patterns << QStringLiteral("*.") + QString::fromLatin1(format);
    return QStringLiteral("Images (%1)").arg(patterns.join(QLatin1Char(' ')));
}

const QString kSettingsFilter = QStringLiteral("Effect settings (*.xml)");

} // namespace

StudioWindow::StudioWindow(QWidget* parent)
    : QMainWindow(parent)
    , myView(new PhotoView(this))
    , myCatalog(new EffectCatalog(this))
    , myPreviews(new PreviewWorker(this))
    , myUndoStack(new QUndoStack(this))
{
    setCentralWidget(myView);
    auto* effects = new QDockWidget(tr("Effects"), this);
    effects->setObjectName(QStringLiteral("effects"));
    effects->setWidget(createEffectList());
    addDockWidget(Qt::LeftDockWidgetArea, effects);
    auto* settings = new QDockWidget(tr("Settings"), this);
    settings->setObjectName(QStringLiteral("settings"));
    settings->setWidget(createPanelHost());
    addDockWidget(Qt::RightDockWidgetArea, settings);
    createMenus();
    createStatusBar();
    resize(1200, 760);

    connect(myView, &PhotoView::visibleAreaChanged, this, &StudioWindow::requestPreview);
    connect(myView, &PhotoView::fileDropped, this, &StudioWindow::openPhoto);
    connect(myView, &PhotoView::pupilClicked, this, [this](const QPoint& pupil) {
        removeRedEye(QRect(pupil, QSize(1, 1)));
    });
    connect(myView, &PhotoView::rectangleDragged, this, [this](PhotoView::Tool tool, const QRect& region) {
        if (tool == PhotoView::Tool::RedEye)
            removeRedEye(region);
        else
            cut(region);
    });
    connect(myView, &PhotoView::rotationDragged, this, &StudioWindow::rotate);
    connect(myPreviews, &PreviewWorker::previewReady, this, &StudioWindow::showPreview);
    connect(myUndoStack, &QUndoStack::cleanChanged, this, &StudioWindow::updateTitle);
    updateTitle();
}

StudioWindow::~StudioWindow()
{
    // The undo stack is deleted with the window's children, after this object's members, and
    // reports cleanChanged while it goes.
    disconnect(myUndoStack, nullptr, this, nullptr);
    if (myJob) {
        myJob->cancel();
        myJob->wait();
    }
}

void StudioWindow::createMenus()
{
    QMenu* file = menuBar()->addMenu(tr("&File"));
    file->addAction(tr("&Open..."), this, &StudioWindow::openPhotoDialog, QKeySequence::Open);
    file->addAction(tr("&Save As..."), this, &StudioWindow::savePhotoDialog, QKeySequence::SaveAs);
    file->addSeparator();
    file->addAction(tr("&Quit"), this, &QWidget::close, QKeySequence::Quit);

    QMenu* edit = menuBar()->addMenu(tr("&Edit"));
    edit->addAction(myUndoStack->createUndoAction(this, tr("&Undo")));
    edit->actions().last()->setShortcut(QKeySequence::Undo);
    edit->addAction(myUndoStack->createRedoAction(this, tr("&Redo")));
    edit->actions().last()->setShortcut(QKeySequence::Redo);

    QMenu* effect = menuBar()->addMenu(tr("E&ffect"));
    effect->addAction(tr("&Apply"), this, &StudioWindow::applyEffect, Qt::CTRL | Qt::Key_Return);
    effect->addAction(tr("&Load Settings..."), this, &StudioWindow::loadSettingsDialog, Qt::CTRL | Qt::Key_L);
    effect->addAction(tr("Save Se&ttings..."), this, &StudioWindow::saveSettingsDialog, Qt::CTRL | Qt::SHIFT | Qt::Key_L);

    QMenu* view = menuBar()->addMenu(tr("&View"));
    view->addAction(tr("Zoom &In"), this, [this] { myView->setZoom(myView->zoom() * 1.25); }, QKeySequence::ZoomIn);
    view->addAction(tr("Zoom &Out"), this, [this] { myView->setZoom(myView->zoom() / 1.25); }, QKeySequence::ZoomOut);
    view->addAction(tr("&Fit"), this, [this] { myView->setZoom(1.0); }, Qt::CTRL | Qt::Key_0);

    QToolBar* tools = addToolBar(tr("Tools"));
    tools->setObjectName(QStringLiteral("tools"));
    auto* group = new QActionGroup(this);
    const QList<QPair<QString, PhotoView::Tool>> toolActions = {
        {tr("Pan"), PhotoView::Tool::Pan},
        {tr("Red Eye"), PhotoView::Tool::RedEye},
        {tr("Cut"), PhotoView::Tool::Cut},
        {tr("Rotate"), PhotoView::Tool::Rotate},
    };
    for (const auto& toolAction : toolActions) {
        QAction* action = tools->addAction(toolAction.first);
        action->setCheckable(true);
        action->setChecked(toolAction.second == PhotoView::Tool::Pan);
        group->addAction(action);
        const PhotoView::Tool tool = toolAction.second;
        connect(action, &QAction::triggered, this, [this, tool] { myView->setTool(tool); });
    }
    tools->addSeparator();
    auto* before = new QPushButton(tr("Hold for Before"), this);
    before->setToolTip(tr("Shows the photo without the effect while pressed (or hold B)"));
    connect(before, &QPushButton::pressed, this, [this] { myView->setShowOriginal(true); });
    connect(before, &QPushButton::released, this, [this] { myView->setShowOriginal(false); });
    tools->addWidget(before);
}

QWidget* StudioWindow::createEffectList()
{
    myEffectList = new QTreeView(this);
    myEffectList->setModel(myCatalog);
    myEffectList->setHeaderHidden(true);
    myEffectList->setIconSize(QSize(32, 32));
    myEffectList->expandAll();
    connect(myEffectList->selectionModel(), &QItemSelectionModel::currentChanged, this,
            [this](const QModelIndex& current) {
                const QString shortName = current.data(EffectCatalog::ShortNameRole).toString();
                if (!shortName.isEmpty())
                    selectEffect(shortName);
            });
    return myEffectList;
}

QWidget* StudioWindow::createPanelHost()
{
    auto* host = new QWidget(this);
    auto* layout = new QVBoxLayout(host);
    myEffectTitle = new QLabel(tr("Choose an effect"), host);
    myEffectTitle->setWordWrap(true);
    QFont bold = myEffectTitle->font();
    bold.setBold(true);
    myEffectTitle->setFont(bold);
    myPanelHost = new QScrollArea(host);
    myPanelHost->setWidgetResizable(true);
    myApplyButton = new QPushButton(tr("Apply"), host);
    myApplyButton->setEnabled(false);
    connect(myApplyButton, &QPushButton::clicked, this, &StudioWindow::applyEffect);
    layout->addWidget(myEffectTitle);
    layout->addWidget(myPanelHost, 1);
    layout->addWidget(myApplyButton);
    host->setMinimumWidth(300);
    return host;
}

void StudioWindow::createStatusBar()
{
    myProgress = new QProgressBar(this);
    myProgress->setMaximumWidth(240);
    myProgress->setVisible(false);
    myCancelButton = new QPushButton(tr("Cancel"), this);
    myCancelButton->setVisible(false);
    connect(myCancelButton, &QPushButton::clicked, this, &StudioWindow::cancelJob);
    statusBar()->addPermanentWidget(myProgress);
    statusBar()->addPermanentWidget(myCancelButton);
}

void StudioWindow::updateTitle()
{
    const QString name = myPhotoPath.isEmpty() ? tr("No photo") : QFileInfo(myPhotoPath).fileName();
    setWindowTitle(QStringLiteral("%1%2 - zelfx studio").arg(name, myUndoStack->isClean() ? QString() : QStringLiteral("*")));
}

bool StudioWindow::openPhoto(const QString& path)
{
    const QString reason = openPhotoOrReason(path);
    if (!reason.isEmpty())
        statusBar()->showMessage(reason);
    return reason.isEmpty();
}

QString StudioWindow::openPhotoOrReason(const QString& path)
{
    // zelfx's reader: a truncated JPEG that Qt decodes in part is refused, not shown half grey.
    QImage photo;
    QString reason;
    if (!readImageFile(path, &photo, &reason, true))
        return tr("Cannot open %1: %2").arg(path, reason);
    myPhotoPath = path;
    myUndoStack->clear();
    showPhoto(photo.convertToFormat(QImage::Format_ARGB32));
    updateTitle();
    return QString();
}

bool StudioWindow::savePhoto(const QString& path)
{
    if (!photo().save(path)) {
        statusBar()->showMessage(tr("Cannot save %1").arg(path));
        return false;
    }
    myPhotoPath = path;
    myUndoStack->setClean();
    updateTitle();
    return true;
}

const QImage& StudioWindow::photo() const
{
    return myView->photo();
}

void StudioWindow::showPhoto(const QImage& photo)
{
    myView->setPhoto(photo);
    requestPreview();
}

bool StudioWindow::selectEffect(const QString& shortName)
{
    const QMetaObject* effect = ZelEffectRegistry::find(shortName);
    if (!effect)
        return false;
    if (effect != myEffect) {
        myEffect = effect;
        showPanel(showcaseSettings(effect));
        const QModelIndex index = myCatalog->indexOf(ZelEffectRegistry::shortName(effect));
        if (index.isValid() && myEffectList->currentIndex() != index)
            myEffectList->setCurrentIndex(index);
        myEffectList->scrollTo(index);
    }
    requestPreview();
    return true;
}

void StudioWindow::showPanel(const QDomElement& settings)
{
    mySettings = settings;
    const ZelParameterDescriptionContainer container = EffectSettings::unsharedContainer(myEffect, settings);
    myPanel = new ZelParameterDescriptionContainerWidget(container);
    connect(myPanel, &ZelParameterDescriptionContainerWidget::changed, this, &StudioWindow::requestPreview);
    myPanelHost->setWidget(myPanel); // deletes the previous panel
    const QModelIndex index = myCatalog->indexOf(ZelEffectRegistry::shortName(myEffect));
    myEffectTitle->setText(index.data(Qt::DisplayRole).toString());
    myEffectTitle->setToolTip(index.data(Qt::ToolTipRole).toString());
    myApplyButton->setEnabled(true);
}

ZelParameterDescriptionContainer StudioWindow::effectParameters() const
{
    if (!myEffect)
        return ZelParameterDescriptionContainer();
    const ZelUIParameterMap uiValues = myPanel ? myPanel->parameterUIValues() : ZelUIParameterMap();
    return EffectSettings::withUIValues(myEffect, mySettings, uiValues);
}

void StudioWindow::requestPreview()
{
    if (!myEffect || photo().isNull()) {
        myPreviews->cancel();
        return;
    }
    myPreviewRect = myView->visiblePhotoRect();
    const QImage visible = photo().copy(myPreviewRect);
    std::shared_ptr<ZelImageProcessor> effect = createShowcaseEffect(myEffect, visible);
    if (!effect)
        return;
    effect->setParameters(effectParameters());
    myPreviews->request(effect, visible, myView->visibleDisplaySize());
}

void StudioWindow::showPreview(const QImage& preview)
{
    myView->setPreview(preview, myPreviewRect);
    emit previewShown();
}

void StudioWindow::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == kBeforeKey && !event->isAutoRepeat())
        myView->setShowOriginal(true);
    QMainWindow::keyPressEvent(event);
}

void StudioWindow::keyReleaseEvent(QKeyEvent* event)
{
    if (event->key() == kBeforeKey && !event->isAutoRepeat())
        myView->setShowOriginal(false);
    QMainWindow::keyReleaseEvent(event);
}

// Jobs ----------------------------------------------------------------------------------------

ZelPhotoConverter* StudioWindow::startJob(const QString& description)
{
    if (myJob || photo().isNull())
        return nullptr;
    myJob = new ZelPhotoConverter(this);
    myJobSource = photo();
    myJobDescription = description;
    myJobCancelled = false;
    myJob->setPhoto(myJobSource, myPhotoPath);
    connect(myJob, &ZelPhotoConverter::progress, this, [this](int value, int maximum) {
        myProgress->setRange(0, qMax(1, maximum));
        myProgress->setValue(value);
    });
    connect(myJob, &QThread::finished, this, &StudioWindow::finishJob);
    myProgress->setRange(0, 0);
    myProgress->setVisible(true);
    myCancelButton->setVisible(true);
    myApplyButton->setEnabled(false);
    statusBar()->showMessage(tr("%1...").arg(description));
    return myJob;
}

void StudioWindow::applyEffect()
{
    if (!myEffect)
        return;
    QSharedPointer<ZelImageProcessor> effect(createShowcaseEffect(myEffect).release());
    if (!effect)
        return;
    effect->setParameters(effectParameters());
    const QString name = myCatalog->indexOf(ZelEffectRegistry::shortName(myEffect)).data().toString();
    if (ZelPhotoConverter* job = startJob(name))
        job->applyImageProcessorThreaded(effect);
}

void StudioWindow::removeRedEye(const QRect& region)
{
    if (ZelPhotoConverter* job = startJob(tr("Red eye removal")))
        job->removeRedEyeThreaded(region, false);
}

void StudioWindow::cut(const QRect& region)
{
    if (region.width() < 2 || region.height() < 2)
        return;
    if (ZelPhotoConverter* job = startJob(tr("Cut")))
        job->cutThreaded(region);
}

void StudioWindow::rotate(int degrees)
{
    if (ZelPhotoConverter* job = startJob(tr("Rotate by %1°").arg(degrees)))
        job->rotateByDegreesThreaded(degrees);
}

void StudioWindow::cancelJob()
{
    if (!myJob)
        return;
    myJobCancelled = true;
    myJob->cancel();
    statusBar()->showMessage(tr("Cancelling..."));
}

void StudioWindow::finishJob()
{
    ZelPhotoConverter* job = myJob;
    myJob = nullptr;
    job->deleteLater();
    myProgress->setVisible(false);
    myCancelButton->setVisible(false);
    myApplyButton->setEnabled(myEffect != nullptr);
    // A cancelled effect returns its source or a null image; neither is a step worth keeping.
    const QImage result = job->getPhoto();
    const bool applied = !myJobCancelled && !result.isNull();
    if (applied)
        myUndoStack->push(new PhotoStep(this, myJobSource, result, myJobDescription));
    statusBar()->showMessage(applied ? tr("%1: done").arg(myJobDescription) : tr("%1: cancelled").arg(myJobDescription), 4000);
    myJobSource = QImage();
    emit jobFinished(applied);
}

// Files ---------------------------------------------------------------------------------------

bool StudioWindow::saveSettings(const QString& path)
{
    QString error;
    if (!myEffect || !EffectSettings::save(path, myEffect, effectParameters(), &error)) {
        statusBar()->showMessage(tr("Cannot save settings %1: %2").arg(path, error));
        return false;
    }
    return true;
}

bool StudioWindow::loadSettings(const QString& path)
{
    if (!myEffect)
        return false;
    QString error;
    const QDomElement settings = EffectSettings::readFile(path, myEffect, &error);
    if (settings.isNull()) {
        statusBar()->showMessage(tr("Cannot load settings %1: %2").arg(path, error));
        return false;
    }
    showPanel(settings);
    requestPreview();
    return true;
}

void StudioWindow::openPhotoDialog()
{
    const QString path = QFileDialog::getOpenFileName(this, tr("Open Photo"), QString(), imageFileFilter());
    if (path.isEmpty())
        return;
    const QString reason = openPhotoOrReason(path);
    if (!reason.isEmpty())
        QMessageBox::warning(this, tr("Open Photo"), reason);
}

void StudioWindow::savePhotoDialog()
{
    const QString path = QFileDialog::getSaveFileName(this, tr("Save Photo"), myPhotoPath, imageFileFilter());
    if (!path.isEmpty())
        savePhoto(path);
}

void StudioWindow::saveSettingsDialog()
{
    const QString path = QFileDialog::getSaveFileName(this, tr("Save Effect Settings"), QString(), kSettingsFilter);
    if (!path.isEmpty())
        saveSettings(path);
}

void StudioWindow::loadSettingsDialog()
{
    const QString path = QFileDialog::getOpenFileName(this, tr("Load Effect Settings"), QString(), kSettingsFilter);
    if (!path.isEmpty())
        loadSettings(path);
}
