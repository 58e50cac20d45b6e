#ifndef ZELFX_STUDIO_STUDIOWINDOW_H
#define ZELFX_STUDIO_STUDIOWINDOW_H

#include "photoview.h"

#include "ZelParameterDescriptionContainer.h"

#include <QDomElement>
#include <QMainWindow>

class EffectCatalog;
class PreviewWorker;
class QLabel;
class QProgressBar;
class QPushButton;
class QScrollArea;
class QTreeView;
class QUndoStack;
class ZelParameterDescriptionContainerWidget;
class ZelPhotoConverter;

// The editor: the photo in the middle, the effects on the left, the selected effect's panel on
// the right. Every edit is previewed on the visible part of the photo; Apply runs it at full size
// on the photo converter's thread and becomes one step of the undo stack, and so do red-eye,
// cut and rotation.
class StudioWindow : public QMainWindow
{
    Q_OBJECT
public:
    explicit StudioWindow(QWidget* parent = nullptr);
    ~StudioWindow() override;

    // False, with the reason in the status bar, when the file is no whole picture; the photo
    // shown stays.
    bool openPhoto(const QString& path);
    // As openPhoto, but returns the reason, naming the file (empty when opened), and shows it
    // nowhere: the open dialog puts it in a message box.
    QString openPhotoOrReason(const QString& path);
    bool savePhoto(const QString& path);
    // By short name ("DropShadow"); shows the effect's panel with its showcase settings.
    bool selectEffect(const QString& shortName);
    bool saveSettings(const QString& path);
    bool loadSettings(const QString& path);

    // The parameters the effect gets: the panel's values in value units.
    ZelParameterDescriptionContainer effectParameters() const;
    const QImage& photo() const;
    // Replaces the photo without an undo step (the undo stack's own commands use it).
    void showPhoto(const QImage& photo);

    PhotoView* photoView() const { return myView; }
    EffectCatalog* catalog() const { return myCatalog; }
    ZelParameterDescriptionContainerWidget* panel() const { return myPanel; }
    QUndoStack* undoStack() const { return myUndoStack; }
    QProgressBar* progressBar() const { return myProgress; }
    bool isJobRunning() const { return myJob != nullptr; }

public slots:
    void applyEffect();
    void cancelJob();
    void requestPreview();

signals:
    void previewShown();
    // applied is false when the job was cancelled or gave no picture.
    void jobFinished(bool applied);

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void keyReleaseEvent(QKeyEvent* event) override;

private:
    void createMenus();
    QWidget* createEffectList();
    QWidget* createPanelHost();
    void createStatusBar();
    void showPanel(const QDomElement& settings);
    void showPreview(const QImage& preview);
    void removeRedEye(const QRect& region);
    void cut(const QRect& region);
    void rotate(int degrees);
    ZelPhotoConverter* startJob(const QString& description);
    void finishJob();
    void updateTitle();

    void openPhotoDialog();
    void savePhotoDialog();
    void saveSettingsDialog();
    void loadSettingsDialog();

    PhotoView* myView = nullptr;
    EffectCatalog* myCatalog = nullptr;
    QTreeView* myEffectList = nullptr;
    QScrollArea* myPanelHost = nullptr;
    QLabel* myEffectTitle = nullptr;
    QPushButton* myApplyButton = nullptr;
    ZelParameterDescriptionContainerWidget* myPanel = nullptr;
    PreviewWorker* myPreviews = nullptr;
    QUndoStack* myUndoStack = nullptr;
    QProgressBar* myProgress = nullptr;
    QPushButton* myCancelButton = nullptr;

    QString myPhotoPath;
    const QMetaObject* myEffect = nullptr;
    // The settings the panel started from (showcase or loaded); values the panel cannot show
    // (kernels, paths) come from here.
    QDomElement mySettings;
    QRect myPreviewRect;

    ZelPhotoConverter* myJob = nullptr;
    QImage myJobSource;
    QString myJobDescription;
    bool myJobCancelled = false;
};

#endif
